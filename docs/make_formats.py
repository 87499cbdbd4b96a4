#!/usr/bin/env python3
"""Makes docs/formats.md, which tells of every row of the table how its files are found.

    docs/make_formats.py            writes the document
    docs/make_formats.py --check    changes nothing; fails where the document doesn't go with its sources

The rows come from src/frame/TypeTable.def, the greatest sizes and the size hints from the classes, and what has to be
told in words from docs/formats.txt. There, behind an introduction in Markdown, an entry for each row stands:

    row 17 KMbFileType
    start: how the start of a file is told
    size: how its size is worked out
    know: what else one should know; may be left out
    maximum: the greatest size in bytes where the class has no constant for it, or "none" where that isn't applied
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TABLE = ROOT / "src/frame/TypeTable.def"
ENTRIES = ROOT / "docs/formats.txt"
DOCUMENT = ROOT / "docs/formats.md"

REQUIRED = {"start", "size"}
OPTIONAL = {"know", "maximum"}

TOKEN = re.compile(r'//[^\n]*|/\*.*?\*/|("(?:\\.|[^"\\])*")|(\'(?:\\.|[^\'\\])+\')', re.DOTALL)
MACRO = re.compile(r"^#define (\w+)\((.*?)\) *(.*)$", re.MULTILINE)
CLASS = re.compile(r"\b(?:class|struct) (\w+)(?: final)? *: *public ([^{]+)\{")
ROW = re.compile(r'^TYPE\((\d+), *(\w+), *((?:"(?:\\.|[^"\\])*" *)+), *"(.*?)", *(\w+), *(\w+)\)', re.MULTILINE)


class Mistake(Exception):
    """Something that the reader of the message has to mend."""


def read_rows():
    """The table's rows as (index, class, description, extension, category)."""

    def text(literals):
        parts = re.findall(r'"((?:\\.|[^"\\])*)"', literals)
        return "".join(part.encode("latin-1").decode("unicode_escape") for part in parts)

    rows = [
        (int(index), name, text(description), extension, category)
        for index, name, description, extension, category, _ in ROW.findall(TABLE.read_text("latin-1"))
    ]
    if [row[0] for row in rows] != list(range(len(rows))) or not rows:
        raise Mistake(f"{TABLE.name}: the rows can't be read as 0, 1, 2 …")
    return rows


def read_entries():
    """The introduction, and the entries as {row: (class, {key: text})}."""
    introduction, *blocks = re.split(r"^row (?=\d+ \w+$)", ENTRIES.read_text("utf-8"), flags=re.MULTILINE)
    entries = {}
    for block in blocks:
        title, *lines = block.strip().split("\n")
        fields = {}
        for line in lines:
            key, colon, text = line.partition(": ")
            if not colon or key in fields or key not in REQUIRED | OPTIONAL:
                raise Mistake(f"{ENTRIES.name}: row {title}: can't read the line: {line}")
            fields[key] = text
        number, _, name = title.partition(" ")
        if missing := REQUIRED - fields.keys():
            raise Mistake(f"{ENTRIES.name}: row {title}: no {' and no '.join(sorted(missing))}")
        if int(number) in entries:
            raise Mistake(f"{ENTRIES.name}: row {number} has two entries")
        entries[int(number)] = (name, fields)
    if list(entries) != sorted(entries):
        raise Mistake(f"{ENTRIES.name}: the rows are not in order")
    return introduction, entries


def split_arguments(text, start):
    """The arguments of a macro from behind its opening parenthesis on, and where its closing one ends."""
    arguments, depth, begin = [], 0, start
    for i in range(start, len(text)):
        if text[i] in "([{":
            depth += 1
        elif text[i] in ")]}" and depth > 0:
            depth -= 1
        elif text[i] == ")" or (text[i] == "," and depth == 0):
            arguments.append(text[begin:i].strip())
            begin = i + 1
            if text[i] == ")":
                return arguments, i + 1
    raise Mistake("a macro's arguments have no end")


class Sources:
    """The classes of the library, as far as constants and bases go."""

    def __init__(self):
        paths = sorted([*ROOT.glob("src/**/*.h"), *ROOT.glob("src/**/*.cpp")])
        files = [self._stripped(path.read_text("latin-1")) for path in paths]
        macros = {name: (params, body) for text in files for name, params, body in MACRO.findall(text)}
        self.classes = {}  # name: (bases, body, the whole file)
        for text in files:
            text = self._expanded(text, macros)
            found = list(CLASS.finditer(text))
            for match, following in zip(found, [*found[1:], None]):
                body = text[match.end() : following.start() if following else len(text)]
                self.classes[match[1]] = (re.findall(r"\w+", match[2]), body, text)

    @staticmethod
    def _stripped(text):
        text = TOKEN.sub(lambda match: '""' if match[1] else "'" if match[2] else "", text)
        return text.replace("'", "").replace("\\\n", " ")

    @staticmethod
    def _expanded(text, macros):
        text = MACRO.sub("", text)
        for name, (params, body) in macros.items():
            params = [param.strip() for param in params.split(",")]
            while call := re.search(rf"\b{name}\(", text):
                arguments, end = split_arguments(text, call.end())
                expansion = body
                for param, argument in zip(params, arguments):
                    expansion = re.sub(rf"\b{re.escape(param)}\b", lambda _, value=argument: value, expansion)
                text = text[: call.start()] + expansion + text[end:]
        return text

    def _lineage(self, name):
        """The class and its bases, nearest first."""
        lineage = [name]
        for ancestor in lineage:
            for base in self.classes.get(ancestor, ((), "", ""))[0]:
                if base in self.classes and base not in lineage:
                    lineage.append(base)
        return lineage

    def inherits(self, name, base):
        return base in self._lineage(name)

    def constant(self, name, constant):
        """The initialiser of a constant as the class has it, or None."""
        for ancestor in self._lineage(name):
            _, body, text = self.classes[ancestor]
            if match := re.search(rf"constexpr [\w:]+ {constant}(?: = |(?={{))([^;]+);", body):
                value = match[1].strip()
                if re.fullmatch(r"k\w+", value):
                    match = re.search(rf"constexpr SizeHints {value}{{([^}}]*)}};", text)
                    value = match and match[1]
                if not value:
                    raise Mistake(f"{ancestor}: can't read {constant}")
                return value.strip("{}")
        return None

    def number(self, name, text):
        if re.fullmatch(r"k\w+", text):
            text = self.constant(name, text) or text
        try:
            return int(text, 0)
        except ValueError:
            raise Mistake(f"{name}: {text} is no number") from None

    def maximum(self, name):
        """The greatest size that the class reports, and whether a host can set it; or None."""
        for constant in "kDefaultMaxFileSize", "kLimit":
            if value := self.constant(name, constant):
                settable = self.inherits(name, "OpenFile") and not self.inherits(name, "Face")
                return self.number(name, value), settable
        return None

    def hints(self, name):
        value = self.constant(name, "kHints")
        return value and tuple(self.number(name, part.strip()) for part in value.split(","))


def maximum_of(name, fields, sources):
    """The greatest size of a row: the source's, or the one that its entry states."""
    stated = fields.get("maximum")
    known = sources.maximum(name)
    if stated is None or (stated == "none" and known):
        return None if stated else known
    if stated == "none":
        raise Mistake(f"{name}: the entry says that its maximum isn't applied, but the class has none")
    if known and known[0] != int(stated, 0):
        raise Mistake(f"{name}: the entry states a maximum of {int(stated, 0)}, the class one of {known[0]}")
    return known or (int(stated, 0), False)


def size_text(size):
    """A size in the greatest unit of which it is a whole number, or roughly, with the bytes."""
    units = (1 << 30, "GiB"), (1 << 20, "MiB"), (1 << 10, "KiB"), (1, "bytes")
    for unit, name in units:
        if size % unit == 0 and size // unit < 10000:
            return f"{size // unit} {name}"
    unit, name = next(pair for pair in units if size >= pair[0])
    return f"{size / unit:.1f} {name} ({size} bytes)"


def escaped(text):
    """The text as a cell of a Markdown table."""
    text = text.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;")
    return re.sub(r"([\\`*_{}\[\]|~#$])", r"\\\1", text).strip()


def category_title(category):
    """AudioVideo: Audio and video."""
    known = {"AudioVideo": "Audio and video", "InternetMail": "Internet and mail"}
    return known.get(category) or re.sub(r"(?<=[a-z])([A-Z])", lambda match: " " + match[1].lower(), category)


def document():
    rows = read_rows()
    introduction, entries = read_entries()
    sources = Sources()
    for index, name, *_ in rows:
        if entries.get(index, ("",))[0] != name:
            raise Mistake(f"row {index}, {name}, has no entry in {ENTRIES.name}")
    if surplus := entries.keys() - {row[0] for row in rows}:
        raise Mistake(f"{ENTRIES.name}: the table has no row {min(surplus)}")

    categories = {}
    for index, name, description, extension, category in rows:
        fields = entries[index][1]
        if name not in sources.classes:
            raise Mistake(f"row {index}: the sources have no class {name}")
        maximum = maximum_of(name, fields, sources)
        hints = sources.hints(name)
        cells = [
            str(index),
            escaped(extension),
            escaped(description),
            escaped(fields["start"]),
            escaped(fields["size"]),
            size_text(maximum[0]) + ("" if maximum[1] else ", fixed") if maximum else "",
            f"{size_text(hints[0])} to {size_text(hints[1])}" if hints else "",
            escaped(fields.get("know", "")),
        ]
        categories.setdefault(category, []).append("| " + " | ".join(cells) + " |")

    lines = ["<!-- Made by docs/make_formats.py from docs/formats.txt and the sources. -->", "", introduction.strip()]
    for category, table in categories.items():
        lines += ["", f"## {category_title(category)}", ""]
        lines += ["| row | ext. | description | start | size | maximum | hints | to know |"]
        lines += ["| --: " + "| --- " * 7 + "|", *table]
    return re.sub(r" +\|", " |", "\n".join(lines)) + "\n"


def main():
    if sys.argv[1:] not in ([], ["--check"]):
        sys.exit(__doc__)
    try:
        text = document()
    except Mistake as mistake:
        sys.exit(f"make_formats.py: {mistake}")
    if not sys.argv[1:]:
        DOCUMENT.write_text(text, "utf-8")
    elif not DOCUMENT.exists() or DOCUMENT.read_text("utf-8") != text:
        sys.exit("make_formats.py: docs/formats.md is out of date; run docs/make_formats.py")


if __name__ == "__main__":
    main()
