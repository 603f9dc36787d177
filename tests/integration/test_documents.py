#!/usr/bin/python3
"""Links between the documents lead somewhere, and the code that one of them quotes is that of the example."""

import os
import re
import unittest
from pathlib import Path

SOURCE_DIR = Path(os.environ["CIMGATE_SOURCE_DIR"])
DOCUMENTS = sorted([*SOURCE_DIR.glob("*.md"), *SOURCE_DIR.glob("docs/*.md"), *SOURCE_DIR.glob("bench/*.md")])
EXAMPLE_DIR = SOURCE_DIR / "docs" / "examples" / "service"
# The language of a quotation, and the file that it is taken from.
QUOTED = {"cpp": EXAMPLE_DIR / "main.cpp", "cmake": EXAMPLE_DIR / "CMakeLists.txt"}

FENCE = re.compile(r"^ *```(\w*)\n(.*?)^ *```$", re.MULTILINE | re.DOTALL)


def text_of(path):
    return path.read_text(encoding="utf-8")


def without_code(text):
    return re.sub(r"`[^`\n]*`", "", FENCE.sub("", text))


def anchors(text):
    """The names that links to the headings of a document use."""
    headings = re.findall(r"^#+ (.*)$", FENCE.sub("", text), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


class Documents(unittest.TestCase):
    def test_links_lead_to_files_and_headings(self):
        for document in DOCUMENTS:
            for link in re.findall(r"\]\(([^)\s]+)\)", without_code(text_of(document))):
                if "://" in link:
                    continue
                with self.subTest(document=document.name, link=link):
                    path, _, anchor = link.partition("#")
                    target = document.parent / path if path else document
                    self.assertTrue(target.exists())
                    if anchor:
                        self.assertIn(anchor, anchors(text_of(target)))

    def test_every_document_is_in_the_index(self):
        index = text_of(SOURCE_DIR / "docs" / "README.md")
        for document in (SOURCE_DIR / "docs").glob("*.md"):
            if document.name != "README.md":
                self.assertIn(f"]({document.name})", index)

    def test_quoted_code_is_that_of_the_example(self):
        blocks = FENCE.findall(text_of(SOURCE_DIR / "docs" / "host-integration.md"))
        quotations = [(language, code) for language, code in blocks if language in QUOTED]
        self.assertEqual({language for language, _ in quotations}, set(QUOTED))
        for language, code in quotations:
            self.assertIn(code, text_of(QUOTED[language]))


if __name__ == "__main__":
    unittest.main(verbosity=2)
