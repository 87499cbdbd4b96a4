#!/usr/bin/env python3
"""Runs the commands whose output docs/tool.md shows.

    docs/make_tool.py TOOL            puts what comes out today into the document
    docs/make_tool.py --check TOOL    changes nothing; fails where something else comes out than the document shows

A block that is run stands behind a comment with its command, which bash runs in a folder of its own:

    <!-- run: qzmtraw types | head -3 -->
    ```text
    ...
    ```

The blocks follow one another in the same folder, so a later one finds what an earlier one has made. "card.img" is there
from the start: an image of some files that the tests have, which is the same on all machines. A command with options that
the tool doesn't know leaves its block as it is if the comment says "run if known:".

What differs from run to run is shown as if it didn't: times, rates and the tool's version.
"""

import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENT = ROOT / "docs/tool.md"
BLOCK = re.compile(r"<!-- run( if known)?: (.*?) -->\n```(\w+)\n(.*?)```\n", re.DOTALL)

# What the image has, and the sectors where it stands.
SECTOR = 512
SECTORS = 2048
FILES = {
    64: "photos/baseline.jpg",
    80: "photos/camera.jpg",
    96: "bitmaps/colour.png",
    160: "zip/document.docx",
    200: "text/linearized.pdf",
    260: "archives/words.deb",
    320: "media/tagged.mp3",
    480: "system/folder.lnk",
    512: "zip/sheet.ods",
}

STEADY = [
    (r"in [0-9.]+ (s|min|h)\b", "in 0.1 s"),
    (r"[0-9.]+ [KMG]?i?B/s", "10.0 MiB/s"),
    (r'"seconds":[0-9.e-]+', '"seconds":0.1'),
    (r'"bytes_per_second":[0-9]+', '"bytes_per_second":10485760'),
    (r'"started":"[^"]*"', '"started":"2026-01-01T12:00:00Z"'),
    (r'"version":"[^"]*"', '"version":"0.1.0"'),
    (r"qzmtraw [0-9]+\.[0-9]+\.[0-9]+", "qzmtraw 0.1.0"),
]


def make_image(path):
    with open(path, "wb") as image:
        image.truncate(SECTORS * SECTOR)
        for sector, name in FILES.items():
            image.seek(sector * SECTOR)
            image.write((ROOT / "tests/data" / name).read_bytes())


def run(command, tool, folder):
    """What a command writes, and its exit code."""
    environment = dict(os.environ, PATH=f"{pathlib.Path(tool).resolve().parent}:{os.environ['PATH']}", TERM="dumb")
    done = subprocess.run(
        ["bash", "-o", "pipefail", "-c", command],
        cwd=folder, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
        check=False)
    text = done.stdout.decode()
    for pattern, steady in STEADY:
        text = re.sub(pattern, steady, text)
    return re.sub(r"[ \t]+$", "", text, flags=re.MULTILINE), done.returncode


def renewed(document, tool, folder):
    """The document with what comes out today."""

    def block(match):
        may_be_unknown, command, language, _ = match.groups()
        text, code = run(command, tool, folder)
        is_unknown = not text or "not expected" in text or "subcommand is required" in text
        if may_be_unknown and code == 2 and is_unknown:
            return match.group(0)
        return f"<!-- run{may_be_unknown or ''}: {command} -->\n```{language}\n$ {command}\n{text}```\n"

    return BLOCK.sub(block, document)


def main(arguments):
    is_check = arguments[:1] == ["--check"]
    if is_check:
        arguments = arguments[1:]
    if len(arguments) != 1 or not os.access(arguments[0], os.X_OK):
        sys.exit(__doc__)
    folder = subprocess.run(["mktemp", "-d"], stdout=subprocess.PIPE, check=True).stdout.decode().strip()
    try:
        make_image(f"{folder}/card.img")
        before = DOCUMENT.read_text(encoding="utf-8")
        after = renewed(before, arguments[0], folder)
        if not is_check:
            DOCUMENT.write_text(after, encoding="utf-8")
        elif before != after:
            subprocess.run(["diff", "-u", "--label", "docs/tool.md", "--label", "today", DOCUMENT, "-"],
                           input=after.encode(), check=False)
            sys.exit("docs/tool.md shows other output than there is today: run docs/make_tool.py build/release/qzmtraw")
    finally:
        subprocess.run(["rm", "-rf", folder], check=True)


if __name__ == "__main__":
    main(sys.argv[1:])
