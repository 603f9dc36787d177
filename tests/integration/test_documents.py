#!/usr/bin/python3
"""What the documents say of the tree: links between them lead somewhere, the code that one of them quotes is that of
the example; what another one names is there, and headers are included along its arrows."""

import os
import re
import unittest
from pathlib import Path

SOURCE_DIR = Path(os.environ["CIMGATE_SOURCE_DIR"])
DOCUMENTS = sorted([*SOURCE_DIR.glob("*.md"), *SOURCE_DIR.glob("docs/*.md"), *SOURCE_DIR.glob("bench/*.md")])
EXAMPLE_DIR = SOURCE_DIR / "docs" / "examples" / "service"
# The language of a quotation, and the file that it is taken from.
QUOTED = {"cpp": EXAMPLE_DIR / "main.cpp", "cmake": EXAMPLE_DIR / "CMakeLists.txt"}

# Where the programs' sources are.
ROOMS = ("cimxml", "cli", "filler", "host", "httpd", "include", "platform", "service", "src", "tools")

ARCHITECTURE = SOURCE_DIR / "docs" / "architecture.md"
ARROW = re.compile(r"^ *(\S+/) +-> +(.*)$", re.MULTILINE)
INCLUDE = re.compile(r'^#include ["<]([^">]+)[">]', re.MULTILINE)
# Where the compiler looks for headers, beside the file that includes them.
HEADER_DIRS = [*(SOURCE_DIR / room for room in ("include", "src", "host", "filler")), *SOURCE_DIR.glob("*/include"),
               *SOURCE_DIR.glob("platform/*/include"), *SOURCE_DIR.glob("tools/*")]

FENCE = re.compile(r"^ *```(\w*)\n(.*?)^ *```$", re.MULTILINE | re.DOTALL)


def text_of(path):
    return path.read_text(encoding="utf-8")


def without_code(text):
    return re.sub(r"`[^`\n]*`", "", FENCE.sub("", text))


def anchors(text):
    """The names that links to the headings of a document use."""
    headings = re.findall(r"^#+ (.*)$", FENCE.sub("", text), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def sources():
    files = [path for room in ROOMS for path in sorted((SOURCE_DIR / room).rglob("*"))]
    return [path for path in files if path.suffix in (".cpp", ".h")]


def includes():
    """Each header of the tree that a source of the programs includes: (source, header), as texts from its root."""
    for source in sources():
        for name in INCLUDE.findall(text_of(source)):
            found = [folder / name for folder in (source.parent, *HEADER_DIRS) if (folder / name).is_file()]
            if found:
                yield source.relative_to(SOURCE_DIR).as_posix(), found[0].relative_to(SOURCE_DIR).as_posix()


def circle(arrows):
    """Units that include each other in a circle, from the first to itself; empty where there is none."""
    done = set()

    def visit(unit, path):
        if unit in path:
            return [*path[path.index(unit):], unit]
        if unit not in done:
            for other in sorted(arrows.get(unit, ())):
                if found := visit(other, [*path, unit]):
                    return found
            done.add(unit)
        return []

    return next((found for unit in sorted(arrows) if (found := visit(unit, []))), [])


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

    def test_what_the_architecture_names_is_in_the_tree(self):
        words = set(re.findall(r"\w+", "".join(map(text_of, [*sources(), *SOURCE_DIR.glob("*/CMakeLists.txt")]))))
        paths = [path.as_posix() for room in (*ROOMS, "tests") for path in (SOURCE_DIR / room).rglob("*")]
        for name in set(re.findall(r"`([^`\n]+)`", FENCE.sub("", text_of(ARCHITECTURE)))):
            with self.subTest(name=name):
                if re.fullmatch(r"[\w./-]*(/|\.(cpp|h|py))[\w./-]*", name):
                    self.assertTrue((SOURCE_DIR / name).exists() or
                                    any(path.endswith(f"/{name.rstrip('/')}") for path in paths))
                elif re.fullmatch(r"[\w:]+(\(\w*\))?", name):
                    self.assertEqual(set(re.findall(r"[A-Za-z]\w+", name)) - words, set())

    def test_headers_are_included_along_the_arrows(self):
        arrows = {room: targets.split() for room, targets in ARROW.findall(text_of(ARCHITECTURE))}
        self.assertIn("src/", arrows)
        rooms = {*arrows, *(target for targets in arrows.values() for target in targets if target.endswith("/")),
                 *(f"{folder.relative_to(SOURCE_DIR).as_posix()}/" for folder in SOURCE_DIR.glob("platform/*"))}

        def rooms_of(path):
            """From the outermost to the innermost."""
            return sorted((room for room in rooms if path.startswith(room)), key=len)

        for source, header in includes():
            around = rooms_of(source)
            if set(around) >= set(rooms_of(header)):
                continue  # in the same room, or in one around it
            allowed = [*arrows.get(around[0], []), *arrows.get(around[-1], [])]
            with self.subTest(source=source, header=header):
                self.assertTrue(any(header.startswith(target) for target in allowed), allowed)

    def test_units_do_not_include_each_other_in_a_circle(self):
        arrows = {}
        for source, header in includes():
            # A unit is a source and its header.
            unit, other = source.rpartition(".")[0], header.rpartition(".")[0]
            if unit != other:
                arrows.setdefault(unit, set()).add(other)
        self.assertEqual(circle(arrows), [])


if __name__ == "__main__":
    unittest.main(verbosity=2)
