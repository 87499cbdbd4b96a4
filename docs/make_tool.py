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
from the start, an image of some files that the tests have, and "disk.img", which has the same files in two partitions, one
with a file system. Both are the same on all machines.

What differs from run to run or from machine to machine is shown as if it didn't: times, rates, versions, the host and the
user.
"""

import os
import pathlib
import re
import struct
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENT = ROOT / "docs/tool.md"
BLOCK = re.compile(r"<!-- run: (.*?) -->\n```(\w+)\n(.*?)```\n", re.DOTALL)

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

# The same in the disk image. Its first partition is a FAT file system that has one of its files in use.
PARTITION = 64
PARTITION_SECTORS = 1024
SECOND_PARTITION = 1088
USED = "photos/camera.jpg"

STEADY = [
    (r"^qzmtraw: running without a sandbox: .*\n", ""),
    (r"in [0-9.]+ (s|min|h)\b", "in 0.1 s"),
    (r"[0-9.]+ [KMG]?i?B/s", "10.0 MiB/s"),
    (r'"seconds":[0-9.e-]+', '"seconds":0.1'),
    (r'seconds="[0-9.e-]+"', 'seconds="0.1"'),
    (r'"bytes_per_second":[0-9]+', '"bytes_per_second":10485760'),
    (r"20[0-9]{2}-[0-9]{2}-[0-9]{2}T[0-9:]{8}Z", "2026-01-01T12:00:00Z"),
    (r" for \S+ on \S+ since ", " for anna on lab since "),
    (r'"host":"[^"]*","user":"[^"]*","uid":[0-9]+', '"host":"lab","user":"anna","uid":1000'),
    (r'"compiler":"[^"]*"', '"compiler":"GCC 12.2.0"'),
    (r'"libraries":\{[^}]*\}', '"libraries":{"sqlite":"3.40.1"}'),
    (r'"version":"[^"]*"', '"version":"0.1.0"'),
    (r"qzmtraw [0-9]+\.[0-9]+\.[0-9]+", "qzmtraw 0.1.0"),
]


def make_image(path):
    with open(path, "wb") as image:
        image.truncate(SECTORS * SECTOR)
        for sector, name in FILES.items():
            image.seek(sector * SECTOR)
            image.write((ROOT / "tests/data" / name).read_bytes())


def put(image, sector, content):
    image.seek(sector * SECTOR)
    image.write(content)


def make_disk(path):
    """A partition table; in its first partition a FAT file system with one file, and with deleted ones behind it."""
    used = (ROOT / "tests/data" / USED).read_bytes()
    clusters = -(-len(used) // SECTOR)
    fat_sectors, root_sectors = 4, 4
    with open(path, "wb") as image:
        image.truncate(SECTORS * SECTOR)
        entries = [(0x01, PARTITION, PARTITION_SECTORS), (0x83, SECOND_PARTITION, SECTORS - SECOND_PARTITION)]
        table = b"".join(struct.pack("<B3xB3xII", 0, kind, start, count) for kind, start, count in entries)
        put(image, 0, bytes(446) + table.ljust(64, b"\0") + b"\x55\xaa")
        # One sector is a cluster, one is reserved, and there are two tables of clusters.
        boot = struct.pack("<3s8sHBHBHHBHHHII", b"\xeb\x3c\x90", b"mkdosfs\0", SECTOR, 1, 1, 2,
                           root_sectors * SECTOR // 32, PARTITION_SECTORS, 0xF8, fat_sectors, 32, 2, PARTITION, 0)
        boot += struct.pack("<BBBI11s8s", 0x80, 0, 0x29, 1, b"NO NAME    ", b"FAT12   ")
        put(image, PARTITION, boot.ljust(510, b"\0") + b"\x55\xaa")
        chain = [0xFF8, 0xFFF, *range(3, 2 + clusters), 0xFFF]
        chain += [0] * (len(chain) % 2)
        fat = b"".join((low | high << 12).to_bytes(3, "little") for low, high in zip(chain[::2], chain[1::2]))
        for copy in range(2):
            put(image, PARTITION + 1 + copy * fat_sectors, fat)
        root = PARTITION + 1 + 2 * fat_sectors
        put(image, root, struct.pack("<11sB14xHI", b"CAMERA  JPG", 0x20, 2, len(used)))
        data = root + root_sectors
        put(image, data, used)
        put(image, data + 100, (ROOT / "tests/data/photos/baseline.jpg").read_bytes())
        put(image, SECOND_PARTITION + 12, (ROOT / "tests/data/bitmaps/colour.png").read_bytes())


def run(command, tool, folder):
    """What a command writes, and its exit code."""
    environment = dict(os.environ, PATH=f"{pathlib.Path(tool).resolve().parent}:{os.environ['PATH']}", TERM="dumb",
                       HOME=folder, LC_ALL="C.UTF-8")
    environment.pop("XDG_CONFIG_HOME", None)
    done = subprocess.run(
        ["bash", "-o", "pipefail", "-c", command],
        cwd=folder, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
        check=False)
    text = done.stdout.decode().replace("\r\n", "\n")
    for pattern, steady in STEADY:
        text = re.sub(pattern, steady, text, flags=re.MULTILINE)
    return re.sub(r"[ \t]+$", "", text, flags=re.MULTILINE), done.returncode


def renewed(document, tool, folder):
    """The document with what comes out today."""

    def block(match):
        command, language, _ = match.groups()
        text, code = run(command, tool, folder)
        if code > 3 or "not expected" in text:
            sys.exit(f"'{command}' fails with {code}:\n{text}")
        return f"<!-- run: {command} -->\n```{language}\n$ {command}\n{text}```\n"

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
        make_disk(f"{folder}/disk.img")
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
