#!/usr/bin/env python3
"""Makes host/types/TypeRules.def, the essentials of each row's rule, which the tool prints.

    host/types/make_rules.py            writes the file
    host/types/make_rules.py --check    changes nothing; fails where the file doesn't go with its sources

The words come from docs/formats.txt, classes from the library's table, and the greatest sizes from the sources, all as
docs/make_formats.py reads them. The tool itself knows the library by its interface alone, so it takes them from here.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "docs"))
sys.dont_write_bytecode = True

import make_formats  # noqa: E402

RULES = ROOT / "host/types/TypeRules.def"
FACTS = ROOT / "host/types/TypeFacts.def"


def literal(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def document():
    rows = make_formats.read_rows()
    _, entries = make_formats.read_entries()
    sources = make_formats.Sources()
    lines = [
        "// Made by host/types/make_rules.py from docs/formats.txt and the library's table.",
        "//",
        "// greatest  the greatest size that is reported, in bytes; 0: there is none",
        "// set       whether SetMaxFileSize changes it",
        "",
        "// clang-format off",
        "//    row, class, greatest, set, start, size",
    ]
    for index, name, *_ in rows:
        if index not in entries:
            sys.exit(f"make_rules.py: row {index}, {name}, has no entry in docs/formats.txt")
        fields = entries[index][1]
        greatest, settable = make_formats.maximum_of(name, fields, sources) or (0, False)
        cells = [str(index), name, str(greatest), str(settable).lower(), literal(fields["start"]), literal(fields["size"])]
        lines.append(f"RULE({', '.join(cells)})")
    return "\n".join([*lines, "// clang-format on"]) + "\n"


def check_facts():
    """The table that is written by hand has to name the same classes."""
    named = [(int(row), name) for row, name in re.findall(r"^FACTS\((\d+), *(\w+),", FACTS.read_text("utf-8"), re.M)]
    for row, (expected, found) in enumerate(zip([r[:2] for r in make_formats.read_rows()], named)):
        if expected != found:
            sys.exit(f"make_rules.py: {FACTS.name}: row {row} must be {expected[1]}, and is row {found[0]}, {found[1]}")
    if len(named) != len(make_formats.read_rows()):
        sys.exit(f"make_rules.py: {FACTS.name} has {len(named)} rows, the library {len(make_formats.read_rows())}")


def main():
    if sys.argv[1:] not in ([], ["--check"]):
        sys.exit(__doc__)
    text = document()
    if not sys.argv[1:]:
        RULES.write_text(text, "utf-8")
        return
    check_facts()
    if not RULES.exists() or RULES.read_text("utf-8") != text:
        sys.exit("make_rules.py: host/types/TypeRules.def is out of date; run host/types/make_rules.py")


if __name__ == "__main__":
    main()
