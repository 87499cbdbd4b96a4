#!/usr/bin/env python3
"""Scans a thousand real files, and holds what is found against what the rules in docs/formats.md promise.

    bench/thousand.py FOLDER [--count N]

The files are those that bench/compare.py puts together from this machine's packages and makes with its programs, as
many of each kind as there are others. Where FOLDER/../compare has its image, they are taken from there; otherwise it is
made. They go onto FOLDER/image at sectors' starts; FOLDER/files.jsonl tells which one stands where.

For every file the rules of its kind, written down here once more, tell under which rows and with which size it has to be
found, or why it isn't. The report tells of each kind how many were found so, and lists all others with the reason.
"""

import argparse
import collections
import dataclasses
import json
import mmap
import pathlib
import re
import subprocess
import sys

import compare

SECTOR = 512
ANY = object()  # A size that isn't worked out here.


@dataclasses.dataclass
class Expected:
    """A find that there has to be: under one of the rows, and of this size; None: the size isn't told."""

    rows: set
    size: object = ANY
    # Why it may be missing all the same, where that hangs on what isn't worked out here.
    excuse: str = ""


def u16(data, at):
    return int.from_bytes(data[at : at + 2], "little")


def u32(data, at, order="little"):
    return int.from_bytes(data[at : at + 4], order)


def sector_tail(data, tail, more=0):
    """The end of a tail that stands in one sector and doesn't end with it; ANY: there is none, so others decide."""
    for match in re.finditer(re.escape(tail), data, re.DOTALL):
        inside = match.start() % SECTOR
        if inside + len(tail) < SECTOR:
            return match.end() + more
    return ANY


def least(size, limit, expected):
    return expected if size >= limit else f"of less than {limit} bytes"


def zip_file(data):
    """The end as the searcher takes it, and the reason why there is none."""
    end = data.find(b"PK\x05\x06\0")
    if end < 0:
        return None, "has no end that is known as one"
    # A member at a sector's start begins a new file as long as the kind isn't known.
    return end + 22, None


def zip_of(rows):
    def rule(data):
        size, reason = zip_file(data)
        if reason:
            return reason
        return least(size, 256, Expected(rows, size))

    return rule


def plain_zip(data):
    size, reason = zip_file(data)
    if reason:
        return reason
    if any(data[at : at + 4] == b"PK\x03\x04" for at in range(SECTOR, size, SECTOR)):
        return "has a member at a sector's start, from which it is found again"
    return least(size, 256, Expected({143}, size))


def png(data):
    size = sector_tail(data, b"IEND\xae\x42\x60\x82")
    return Expected({73}, size) if size is ANY else least(size, 256, Expected({73}, size))


def gif(_):
    return Expected({70}, excuse="its size is worked out of another place, and came out too small")


def jpg(data):
    if data[6:10].upper() == b"EXIF":
        rows = {68}
    elif data[6:10].upper() == b"JFIF" or data[6:15].upper() == b"PHOTOSHOP":
        rows = {69}
    else:
        return "begins with another segment"
    # Over the segments to the first FF C0 or FF DA, and up to the next FF D9.
    at = 2
    while at + 4 <= len(data) and data[at] == 0xFF and data[at + 1] not in (0xC0, 0xDA):
        at += 2 + u16(data[at + 2 : at + 4][::-1], 0)
    end = data.find(b"\xff\xd9", at)
    if end < 0:
        return "has no end"
    return least(end + 2, 512, Expected(rows, end + 2))


def bmp(data):
    if data[6:10] != bytes(4) or u32(data, 14) not in (40, 108, 124):
        return "has another header"
    return least(u32(data, 2), 256, Expected({75}, u32(data, 2)))


def ico(data):
    count = u16(data, 4)
    entries = [6 + 16 * i for i in range(count)]
    if not all(1 <= data[at] <= 127 and 1 <= data[at + 1] <= 127 for at in entries):
        return "has an image of 128 pixels and more"
    return least(len(data), 128, Expected({91}, excuse="its size is that of another image, and came out too small"))


def pcx(data):
    if data[1] not in (0, 2, 3, 4, 5) or data[2] != 1 or any(data[74:128]):
        return "has another header"
    return Expected({67}, sector_tail(data, b"\xfc\xfc\xcc\xfc\xfc\xdc\xfc\xfc"),
                    "has no tail, and was still open when the scan ended")


def sgi(_):
    return Expected({119})


def tga(data):
    if data[0] == 255 or data[1] > 1 or data[2] not in (2, 10) or u16(data, 16) not in (16, 24, 32):
        return "of another kind of pixels"
    return Expected({118}, u16(data, 12) * u16(data, 14) * u16(data, 16) // 8 + 18)


def portable_map(data):
    return Expected({"3": {120}, "6": {120}, "2": {121}, "5": {121}, "1": {122}, "4": {122}}[chr(data[1])],
                    excuse="its dimensions are looked for in the samples, where none were")


def tif(_):
    return Expected({77, 78, 80, 82, 85, 86, 97, 103, 110})


def gz(data):
    if data[3] not in (0, 2, 8) or data[8] not in (0, 2, 4) or not (data[9] <= 18 or data[9] == 255):
        return "has other flags"
    return Expected({148, 171})


def tar(data):
    name = data[: data.index(0)] if 0 in data[:100] else data[:100]
    if name and (b"/" not in name or name.index(b"/") != len(name) - 1):
        return "has a first member that is no directory at the top"
    return Expected({154}, None)


def xz(data):
    # Four zero bytes inside a sector end it; across sectors the whole tail is needed.
    for match in re.finditer(rb"(?=\0\0\0\0)", data[6:]):
        at = match.start() + 6
        if at % SECTOR + 4 < SECTOR:
            return Expected({151})
    return Expected({151})


def seven_zip(data):
    return least(u32(data, 12) + u32(data, 20) + 32, 256, Expected({144}, u32(data, 12) + u32(data, 20) + 32))


def pdf(data):
    if not re.match(rb"%PDF-\d\.\d", data):
        return "has another version"
    stated = re.search(rb"/L (\d+)", data[:48])
    size = int(stated[1]) if stated and int(stated[1]) else sector_tail(data, b"%%EOF", 1)
    return Expected({14}, size) if size is ANY else least(size, 512, Expected({14}, size))


def ps(data):
    return Expected({30}) if data.startswith(b"%!PS-Adobe-") else "begins otherwise"


def rtf(data):
    return Expected({24}) if re.match(rb"\{\\rtf[1-9]", data) else "begins otherwise"


def html(data):
    head = data[:128].lstrip(b" \t\r\n").upper()
    if not (head.startswith((b"<!DOCTYPE HTML", b"<HTML"))) or b">" not in head:
        return "begins otherwise, or its first tag is longer"
    return least(len(data), 256, Expected({260}))


def xml(data):
    head = data[:128].removeprefix(b"\xef\xbb\xbf").lstrip(b" \t\r\n")
    if not head.startswith(b'<?xml version="1.0"'):
        return "begins otherwise"
    tag = data[data.find(b"<", data.find(b"?>")) :]
    if re.match(rb"<[^ >]*[\r\n\t]", tag):
        return "has a line break behind the name in its first tag"
    if not re.match(rb"<[^<]*>", tag):
        return "has another tag inside of its first one"
    return least(len(data), 256, Expected({38, 39, 43, 141, 298}))


def svg(data):
    return xml(data)


def txt(data):
    first = data[:SECTOR]
    if first[0] in {0x21, 0x22, *range(0x24, 0x2F), 0x3D, 0x3E, 0x3F}:
        return "begins with a mark that texts don't begin with"
    if not all(0x20 <= byte <= 0xFE or byte in b"\t\r\n" for byte in first) or first[0] >= 0x80:
        return "has other bytes in its first sector"
    return least(len(data), 256, Expected(TEXT_ROWS))


# A text's words may make it any of the kinds that share the classifier.
TEXT_ROWS = {int(row) for row in re.findall(r"^TYPE\((\d+),.*, +C\)$", (compare.ROOT / "src/frame/TypeTable.def").read_text(),
                                            re.MULTILINE)}


def elf(data):
    if data[5] != 1:
        return "has the most significant byte first"
    row = {2: 290, 1: 291, 3: 292}.get(u16(data, 16))
    return Expected({row}) if row else "of another type"


def windows_module(data):
    header = u32(data, 60)
    if data[header : header + 4] != b"PE\0\0":
        return "is no Windows module"
    return Expected({294, 296, 299} if u16(data, header + 22) & 0x2000 else {295, 296, 299})


def archive(data):
    return Expected({297}, None) if data[8:9] == b"/" else "has no table of symbols at its beginning"


def wav(data):
    if data[12:16] != b"fmt ":
        return "begins with another chunk"
    return least(u32(data, 4), 256, Expected({182}, min(u32(data, 4), 32 << 20)))


def mp3(data):
    if not data.startswith((b"ID3", b"\xff\xfb", b"\xff\xfa")):
        return "of another layer or version"
    return "has less than 512 frames" if len(data) < 100_000 else Expected({180})


def ogg(data):
    return least(len(data), 512, Expected({187}, ANY))


def flac(data):
    return Expected({193}, None) if data[4:8] in (bytes(4), b"\x80\0\0\0") else "states the length of its first block"


def flv(_):
    return Expected({189}, excuse="its size is read roughly, and came out too small")


def mkv(data):
    place = data[:SECTOR].find(b"\x18\x53\x80\x67\x01\0\0\0")
    if place < 0:
        return "has a segment whose size is of another width"
    return Expected({191}, u32(data, place + 8, "big") + place + 12)


def ttf(data):
    if data[:5] != b"\0\1\0\0\0":
        return "begins otherwise"
    for table in range(u16(data[4:6][::-1], 0)):
        at = 12 + 16 * table
        end = (u32(data, at + 8, "big") + u32(data, at + 12, "big")) & 0xFFFFFFFF
        if end:
            return Expected({318}, end)
    return "has no tables"


def pfb(data):
    if data[4:20] != b"\0\0%!PS-AdobeFont":
        return "begins otherwise"
    end = data.find(b"cleartomark{restore}if\r\x80\x03")
    if end < 0:
        return Expected({313}, excuse="has no tail, and was still open when the scan ended")
    return Expected({313}, end + 25)


def icc(data):
    return Expected({263, 285}, u32(data, 0, "big"))


def midi(data):
    at = 14
    for _ in range(u16(data[10:12][::-1], 0)):
        if data[at : at + 4] != b"MTrk":
            break
        at += 8 + u32(data, at + 4, "big")
    return least(at, 512, Expected({185}, at))


def mov(data):
    return Expected({177})


def mp4(data):
    brand = data[8:12]
    if brand in (b"M4A ", b"mp42") or brand == b"3gp6":
        return Expected({179})
    return Expected({181}) if brand in (b"isom", b"MSNV", b"f4v ") else "of another brand"


def avi(data):
    return Expected({183}, u32(data, 4) + 8) if data[12:16] == b"LIST" else "begins with another chunk"


def compound(rows):
    return lambda _: Expected(rows)


def only(rows, size=ANY):
    return lambda _: Expected(rows, size)


RULES = {
    "7z": seven_zip, "a (ar)": archive, "avi": avi, "bmp": bmp, "bz2": only({152}, None), "doc": compound({0}),
    "docx": zip_of({6}), "elf": elf, "exe, dll": windows_module, "flac": flac, "flv": flv, "gif": gif, "gz": gz,
    "html": html, "icc": icc, "ico": ico, "jar": zip_of({147}), "jpg": jpg, "mid": midi, "mkv, webm": mkv, "mov": mov,
    "mp3": mp3, "mp4, m4a": mp4, "mpg": only({194}), "odp": zip_of({11}), "ods": zip_of({10}),
    "odt, ott": zip_of({9}), "ogg": ogg, "pcx": pcx, "pdf": pdf, "pfb": pfb, "png": png, "ppm, pgm, pbm": portable_map,
    "ppt": compound({2}), "pptx": zip_of({8}), "ps": ps, "rtf": rtf, "sgi": sgi, "svg": svg, "tar": tar, "tga": tga,
    "tif": tif, "ttf": ttf, "txt": txt, "wav": wav, "wmv, wma": only({174, 175, 176}), "xls": compound({1}),
    "xlsx": zip_of({7}), "xml": xml, "xz": xz, "zip": plain_zip,
}


def choose(files, count):
    """So many of the files, of each kind as many as there are others, in their order."""
    kinds = collections.defaultdict(list)
    for file in files:
        if file["kind"] in RULES:
            kinds[file["kind"]].append(file)
    chosen = []
    while len(chosen) < count and kinds:
        for kind in sorted(kinds):
            chosen.append(kinds[kind].pop(0))
            if not kinds[kind]:
                del kinds[kind]
    return sorted(chosen[:count], key=lambda file: file["offset"])


def make(folder, count):
    """Writes the image and the list."""
    source = folder.parent / "compare"
    if not (source / "image").exists():
        compare.make(source, 1 << 30)
    files = choose([json.loads(line) for line in (source / "files.jsonl").read_text().splitlines()], count)
    folder.mkdir(parents=True, exist_ok=True)
    with open(source / "image", "rb") as old, open(folder / "image", "wb") as image, open(
            folder / "files.jsonl", "w", encoding="utf-8") as listing:
        # Not at sector 0, where some detectors find nothing; zeros between the files keep each to itself.
        image.write(bytes(8 * SECTOR))
        for file in files:
            old.seek(file["offset"])
            content = old.read(file["size"])
            listing.write(json.dumps({**file, "offset": image.tell()}) + "\n")
            image.write(content + bytes(-len(content) % SECTOR + 8 * SECTOR))


def check(folder):
    """Scans the image. Returns the lines of the report."""
    files = [json.loads(line) for line in (folder / "files.jsonl").read_text().splitlines()]
    scan = subprocess.run([compare.TOOL, "scan", folder / "image", "--all", "--format", "jsonl"], cwd=folder,
                          stdout=subprocess.PIPE, check=True)
    finds = collections.defaultdict(list)
    for line in scan.stdout.splitlines():
        entry = json.loads(line)
        if entry["type"] == "find":
            finds[entry["offset"]].append((entry["row"], entry["size"]))
    counts = collections.defaultdict(collections.Counter)
    odd = []
    with open(folder / "image", "rb") as file, mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ) as image:
        for each in files:
            expected = RULES[each["kind"]](image[each["offset"] : each["offset"] + each["size"]])
            found = finds[each["offset"]]
            if isinstance(expected, str):
                worth = "not promised"
                odd.append((each, worth, f"{expected}; found: {sorted(found, key=str)}"))
            elif not (right := [size for row, size in found if row in expected.rows]):
                worth = "not promised" if expected.excuse else "missed"
                odd.append((each, worth, expected.excuse or f"found: {sorted(found, key=str)}"))
            elif expected.size is ANY:
                worth = "type right"
            elif expected.size in right:
                worth = "type and size right"
            else:
                worth = "size wrong"
                odd.append((each, "size wrong", f"{right} instead of {expected.size}"))
            counts[each["kind"]][worth] += 1
            counts[each["kind"]]["whole"] += any(row in getattr(expected, "rows", ()) and size == each["size"]
                                                 for row, size in found)
    columns = ["type and size right", "type right", "size wrong", "missed", "not promised", "whole"]
    total = sum(counts.values(), collections.Counter())
    yield f"| kind | files | {' | '.join(columns)} |"
    yield "| --- " * (len(columns) + 2) + "|"
    for kind, row in [*sorted(counts.items()), ("all", total)]:
        number = sum(row[column] for column in columns[:-1])
        yield f"| {kind} | {number} | {' | '.join(str(row[column] or '') for column in columns)} |"
    yield ""
    for each, worth, reason in odd:
        yield f"{worth}: {each['kind']}, {each['path']}, {each['size']} bytes at {each['offset']}: {reason}"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--count", type=int, default=1000)
    options = parser.parse_args()
    if not compare.TOOL.exists():
        sys.exit(f"{compare.TOOL} isn't there: build it with ./dev build")
    make(options.folder.resolve(), options.count)
    lines = list(check(options.folder.resolve()))
    print("\n".join(lines))
    if any(line.startswith(("missed", "size wrong")) for line in lines):
        sys.exit("some files weren't found as promised")


if __name__ == "__main__":
    main()
