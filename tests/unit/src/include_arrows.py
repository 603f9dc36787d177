#!/usr/bin/python3
"""Checks that the includes of src/ run one way, between its rooms and between its files."""
import pathlib
import re
import sys

SOURCES = pathlib.Path("src")
MAPPER = "ResourceMapper"

# Each room, and the rooms that it may include besides itself; BASE is what stands in src/ itself.
BASE = "base"
ALLOWED = {
    "operations": {"action", "read", "convert", "answer", "mapping", BASE},
    "action": {"convert", "answer", "mapping", BASE},
    "read": {"convert", "answer", "mapping", "SQLInterface", BASE},
    "convert": {"mapping", "SQLInterface", BASE},
    "answer": {"mapping", BASE},
    "SQLInterface": {"mapping", BASE},
    "mapping": {BASE},
    BASE: set(),
}


def room(path):
    """The room of a file below src/; the operations stand at the top of ResourceMapper/."""
    parts = pathlib.PurePath(path).parts
    if parts[0] == MAPPER:
        return parts[1] if len(parts) > 2 else "operations"
    return parts[0] if len(parts) > 1 else BASE


def includes():
    """The files of src/ that each of them includes."""
    names = {str(p.relative_to(SOURCES)) for p in SOURCES.rglob("*") if p.suffix in (".h", ".cpp")}
    return {
        name: [other for other in re.findall(r'^#include "([^"]+)"', (SOURCES / name).read_text(), re.M) if other in names]
        for name in sorted(names)
    }


def circle(arrows):
    """Units, a source with its header, that include each other in a circle; empty where there are none."""
    done = set()

    def visit(unit, path):
        if unit in path:
            return path[path.index(unit):] + [unit]
        if unit not in done:
            for other in sorted(arrows[unit]):
                if found := visit(other, path + [unit]):
                    return found
            done.add(unit)
        return []

    for unit in arrows:
        if found := visit(unit, []):
            return found
    return []


def main():
    problems = []
    arrows = {}
    for name, others in includes().items():
        unit = arrows.setdefault(name.rsplit(".", 1)[0], set())
        unit.update(o.rsplit(".", 1)[0] for o in others if o.rsplit(".", 1)[0] != name.rsplit(".", 1)[0])
        for other in others:
            if room(other) not in ALLOWED.get(room(name), set()) | {room(name)}:
                problems.append(f"src/{name} includes {other}: {room(name)} may not include {room(other)}")
    if found := circle(arrows):
        problems.append("a circle of includes: " + " -> ".join(found))
    if not arrows:
        problems.append("no sources found")
    print("\n".join(problems) or f"{len(arrows)} units, no arrow up, no circle")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
