#!/usr/bin/env python3
"""Compares qzmtraw with the carvers that Debian has on an image whose contents are known.

    bench/compare.py FOLDER [--size SIZE] [--document FILE]    all of what follows
    bench/compare.py FOLDER make [--size SIZE]                 makes the image and the list of its files
    bench/compare.py FOLDER measure [NAME...]                  runs the programs, or those runs that bear the names
    bench/compare.py FOLDER table [--document FILE]            prints the tables; puts them into a document as well

FOLDER takes the image, the list and the results; what the programs write goes to /dev/shm and is removed. A run is
measured as often as it is asked for, and the tables show the median.

The image holds files of this machine's packages, files that are made of them by programs that happen to be installed,
and the files that the tests use, at sectors' starts, with zeros or noise between them.
"""

import argparse
import bisect
import collections
import dataclasses
import gzip
import hashlib
import json
import mmap
import os
import pathlib
import random
import re
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import time
import zipfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
TOOL = ROOT / "build/release/qzmtraw"
MEMORY_FOLDER = pathlib.Path("/dev/shm")
SECTOR = 512
SEED = 20

# Where the machine's packages put files. What was installed by hand stands in /usr/local.
PACKAGE_FOLDERS = ["/usr/bin", "/usr/games", "/usr/lib", "/usr/share"]
FILES_OF_A_KIND = 200
LARGEST_SHARE = 1 / 32  # of the image, for the files of a kind
FILLED_SHARE = 3 / 4

TIME_LIMIT = 300  # seconds
OUTPUT_LIMIT = 12 << 30  # of the memory file system
GRACE = 5  # seconds from being asked to stop to being killed
SCALPEL_LARGEST = 10_000_000  # bytes for a file; its own configuration allows up to 500 MB

# Kinds that one of the programs knows: the names of such files, and how they begin. A file counts only if both are
# right.
KINDS = {
    "7z": (r"\.7z$", rb"7z\xbc\xaf\x27\x1c"),
    "a (ar)": (r"\.a$", rb"!<arch>\n"),
    "avi": (r"\.avi$", rb"RIFF....AVI "),
    "bmp": (r"\.bmp$", rb"BM"),
    "bz2": (r"\.bz2$", rb"BZh"),
    "doc": (r"\.doc$", rb"\xd0\xcf\x11\xe0"),
    "docx": (r"\.docx$", rb"PK\x03\x04"),
    "elf": (r"/[^.]+$|\.so|\.o$", rb"\x7fELF"),
    "eps": (r"\.eps$", rb"%!PS-Adobe-.{1,6}EPSF"),
    "exe, dll": (r"\.(exe|dll)$", rb"MZ"),
    "flac": (r"\.flac$", rb"fLaC"),
    "flv": (r"\.flv$", rb"FLV\x01"),
    "gif": (r"\.gif$", rb"GIF8[79]a"),
    "gz": (r"\.(gz|tgz|svgz)$", rb"\x1f\x8b\x08"),
    "html": (r"\.html?$", rb"(?i)\s*<(!doctype html|html)"),
    "icc": (r"\.ic[cm]$", rb".{36}acsp"),
    "ico": (r"\.ico$", rb"\x00\x00\x01\x00"),
    "jar": (r"\.jar$", rb"PK\x03\x04"),
    "jpg": (r"\.jpe?g$", rb"\xff\xd8\xff"),
    "mid": (r"\.midi?$", rb"MThd"),
    "mkv, webm": (r"\.(mkv|webm)$", rb"\x1a\x45\xdf\xa3"),
    "mov": (r"\.mov$", rb"....(ftypqt|moov|wide|mdat)"),
    "mp3": (r"\.mp3$", rb"ID3|\xff[\xe0-\xff]"),
    "mp4, m4a": (r"\.(mp4|m4a)$", rb"....ftyp"),
    "mpg": (r"\.mpg$", rb"\x00\x00\x01\xba"),
    "odp": (r"\.o[dt]p$", rb"PK\x03\x04"),
    "ods": (r"\.o[dt]s$", rb"PK\x03\x04"),
    "odt, ott": (r"\.o[dt]t$", rb"PK\x03\x04"),
    "ogg": (r"\.og[ga]$", rb"OggS"),
    "pcx": (r"\.pcx$", rb"\x0a[\x00-\x05]\x01"),
    "pdf": (r"\.pdf$", rb"%PDF-"),
    "pfb": (r"\.pfb$", rb"\x80\x01"),
    "png": (r"\.png$", rb"\x89PNG"),
    "ppm, pgm, pbm": (r"\.p[pgb]m$", rb"P[1-6]\s"),
    "ppt": (r"\.ppt$", rb"\xd0\xcf\x11\xe0"),
    "pptx": (r"\.pptx$", rb"PK\x03\x04"),
    "ps": (r"\.ps$", rb"%!PS(?!-Adobe-.{1,6}EPSF)"),
    "rtf": (r"\.rtf$", rb"\{\\rtf"),
    "sgi": (r"\.sgi$", rb"\x01\xda"),
    "sqlite": (r"\.(db|sqlite3?)$", rb"SQLite format 3"),
    "svg": (r"\.svg$", rb"\s*<(\?xml|svg)"),
    "tar": (r"\.tar$", rb".{257}ustar"),
    "tga": (r"\.tga$", rb"\x00[\x00\x01][\x01\x02\x03\x09\x0a\x0b]"),
    "tif": (r"\.tiff?$", rb"II\x2a\x00|MM\x00\x2a"),
    "ttf": (r"\.ttf$", rb"\x00\x01\x00\x00|true"),
    "txt": (r"\.(txt|md|rst)$", rb"[\t\n\r -~]{128}"),
    "wav": (r"\.wav$", rb"RIFF....WAVE"),
    "wmv, wma": (r"\.(wmv|wma)$", rb"\x30\x26\xb2\x75"),
    "xls": (r"\.xls$", rb"\xd0\xcf\x11\xe0"),
    "xlsx": (r"\.xlsx$", rb"PK\x03\x04"),
    "xml": (r"\.xml$", rb"<\?xml"),
    "xz": (r"\.xz$", rb"\xfd7zXZ\x00"),
    "zip": (r"\.zip$", rb"PK\x03\x04"),
}
TEST_KIND = "files of the tests"
HEAD_SIZE = 512


class Mistake(Exception):
    """Something that the reader of the message has to mend."""


# ---------------------------------------------------------------------------------------------------------------------
# Making the image


def kind_of(path):
    """The kind of a file by its name and its beginning, or None."""
    kinds = [(kind, head) for kind, (name, head) in KINDS.items() if re.search(name, path, re.IGNORECASE)]
    if not kinds:
        return None
    with open(path, "rb") as file:
        beginning = file.read(HEAD_SIZE)
    return next((kind for kind, head in kinds if re.match(head, beginning, re.DOTALL)), None)


def paths_below(folders):
    """The regular files below some folders, in an order that has nothing to do with their names."""
    paths = []
    for folder in folders:
        for here, _, names in os.walk(folder):
            paths += [path for name in names if not os.path.islink(path := f"{here}/{name}") and os.path.isfile(path)]
    return sorted(paths, key=lambda path: hashlib.sha1(os.fsencode(path)).digest())


def package_files(image_size):
    """Some files of each kind that this machine has, as {kind: [path]}."""
    chosen = collections.defaultdict(list)
    room = collections.defaultdict(lambda: image_size * LARGEST_SHARE)
    for path in paths_below(PACKAGE_FOLDERS):
        try:
            size = os.path.getsize(path)
            if size == 0 or size > image_size * LARGEST_SHARE / 4:
                continue
            kind = kind_of(path)
        except OSError:
            continue
        if kind and len(chosen[kind]) < FILES_OF_A_KIND and size <= room[kind]:
            chosen[kind].append(path)
            room[kind] -= size
    return chosen


def run_quietly(*command, **options):
    subprocess.run(
        command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False, **options
    )


def make_archives(folder, chosen):
    """Archives of the machine's own files."""
    everything = [path for paths in chosen.values() for path in paths]
    for number in range(12):
        members = [path for path in everything[number::12] if os.path.getsize(path) < 1 << 18][: 2 + 2 * number]
        with zipfile.ZipFile(folder / f"{number}.zip", "w", zipfile.ZIP_DEFLATED if number % 4 else 0) as archive:
            for member in members:
                archive.write(member)
        if shutil.which("7z"):
            run_quietly("7z", "a", f"-mx={number % 3 * 4}", folder / f"{number}.7z", *members)
        run_quietly("tar", "-cf", folder / f"{number}.tar", *members)
        run_quietly("tar", "-czf", folder / f"{number}.tgz", *members)
        run_quietly("xz", "-k", folder / f"{number}.tar")
        if number % 3 == 0:
            run_quietly("bzip2", "-k", folder / f"{number}.tar")


def make_pictures(folder, chosen):
    """The machine's larger pictures in other formats."""
    pictures = sorted(chosen["png"], key=os.path.getsize)[-12:]
    for number, picture in enumerate(pictures):
        for suffix in ("jpg", "bmp", "tif", "gif", "ppm", "pcx", "tga", "sgi"):
            flat = ["-pix_fmt", "rgb24"] if suffix in ("tif", "pcx", "tga", "sgi") else []
            run_quietly("ffmpeg", "-i", picture, *flat, "-update", "1", "-frames:v", "1", folder / f"{number}.{suffix}")
        if shutil.which("cjpeg"):
            run_quietly("cjpeg", "-outfile", folder / f"{number}-plain.jpg", folder / f"{number}.ppm")


def make_media(folder, _):
    """Clips and sounds of several lengths."""
    def sound_of(seconds):
        return ["-f", "lavfi", "-i", f"anoisesrc=duration={seconds}:amplitude=0.2:seed={SEED}"]

    for seconds in (1, 2, 4, 8):
        video = ["-f", "lavfi", "-i", f"testsrc2=size=320x240:rate=25:duration={seconds}"]
        for suffix in ("avi", "flv", "mkv", "webm", "mov", "mp4", "mpg", "wmv"):
            rate = ["-ar", "44100"] if suffix == "flv" else []
            run_quietly("ffmpeg", *video, *sound_of(seconds), *rate, folder / f"{seconds}.{suffix}")
    for seconds in (1, 5, 20, 60):
        for suffix in ("mp3", "ogg", "flac", "m4a", "wma"):
            run_quietly("ffmpeg", *sound_of(seconds), "-vn", folder / f"{seconds}.{suffix}")


def make_documents(folder, chosen):
    """The machine's office templates in the formats that others use."""
    profile = f"-env:UserInstallation=file://{folder}/profile"
    texts = [path for path in chosen["odt, ott"] if path.endswith((".odt", ".ott"))][:15]
    slides = [path for path in chosen["odp"]][:10]
    for suffix, sources in (("docx", texts), ("doc", texts), ("rtf", texts), ("odt", texts), ("pdf", texts),
                            ("pptx", slides), ("ppt", slides), ("pdf", slides)):
        run_quietly("soffice", "--headless", profile, "--convert-to", suffix, "--outdir", folder, *sources)
    for number in range(10):
        rows = folder / f"table{number}.csv"
        rows.write_text("".join(f"{row},{row * number},row {row}\n" for row in range(50 * (number + 1))))
    tables = sorted(folder.glob("table*.csv"))
    for suffix in ("xlsx", "xls", "ods"):
        run_quietly("soffice", "--headless", profile, "--convert-to", suffix, "--outdir", folder, *tables)


def make_databases(folder, _):
    try:
        import sqlite3  # Some builds of python come without it.
    except ImportError:
        return
    for number in range(10):
        with sqlite3.connect(folder / f"{number}.sqlite") as database:
            database.execute("create table things (name text, value real)")
            database.executemany("insert into things values (?, ?)",
                                 [(f"thing {row}", row / 7) for row in range(10 ** (number % 5))])


def made_files(folder, chosen):
    """Files that this machine's programs make, as {kind: [path]}."""
    makers = {make_archives: "tar", make_pictures: "ffmpeg", make_media: "ffmpeg", make_documents: "soffice",
              make_databases: None}
    for maker, program in makers.items():
        if program and not shutil.which(program):
            print(f"{program} isn't installed, so there are fewer kinds of files", file=sys.stderr)
            continue
        place = folder / maker.__name__
        place.mkdir()
        maker(place, chosen)
        shutil.rmtree(place / "profile", ignore_errors=True)
    made = collections.defaultdict(list)
    for path in sorted(folder.rglob("*.*")):
        if path.is_file() and path.stat().st_size > 0 and (kind := kind_of(str(path))):
            made[kind].append(str(path))
    return made


def files_for_image(work, image_size):
    """The files to put on the image as (kind, path), each content once, in an order by chance."""
    print("Looking through the files of the machine's packages …", file=sys.stderr)
    chosen = package_files(image_size)
    print("Making files …", file=sys.stderr)
    made = made_files(work, chosen)
    for kind, paths in made.items():
        chosen[kind] += paths[:FILES_OF_A_KIND]
    chosen[TEST_KIND] = [path for path in paths_below([ROOT / "tests/data"]) if not path.endswith(".sh")]
    seen, files, total = set(), [], 0
    for kind in sorted(chosen):
        for path in chosen[kind]:
            content = pathlib.Path(path).read_bytes()
            digest = hashlib.sha1(content).digest()
            if digest not in seen and total + len(content) <= image_size * FILLED_SHARE:
                seen.add(digest)
                files.append((kind, path))
                total += len(content)
    random.Random(SEED).shuffle(files)
    return files, total


def make(folder, image_size):
    """Writes FOLDER/image and FOLDER/files.jsonl."""
    folder.mkdir(parents=True, exist_ok=True)
    chance = random.Random(SEED)
    (folder / "results.jsonl").unlink(missing_ok=True)
    with tempfile.TemporaryDirectory(prefix="compare-") as work:
        files, total = files_for_image(pathlib.Path(work), image_size)
        print(f"Writing {len(files)} files of {total / 2**20:.0f} MiB into an image …", file=sys.stderr)
        sectors = sum(-(-os.path.getsize(path) // SECTOR) for _, path in files)
        # Places to cut what is left into gaps, one more than there are files; some of them are empty.
        free = image_size // SECTOR - sectors
        cuts = sorted(chance.randrange(free) for _ in files)
        gaps = [end - begin for begin, end in zip([0] + cuts, cuts + [free])]
        with open(folder / "image", "wb") as image, open(folder / "files.jsonl", "w") as listing:
            for number, gap in enumerate(gaps):
                is_noise = chance.random() < 0.5
                image.write(chance.randbytes(gap * SECTOR) if is_noise else bytes(gap * SECTOR))
                if number < len(files):
                    kind, path = files[number]
                    content = pathlib.Path(path).read_bytes()
                    entry = {"offset": image.tell(), "size": len(content), "kind": kind, "path": path}
                    listing.write(json.dumps(entry) + "\n")
                    image.write(content + bytes(-len(content) % SECTOR))


# ---------------------------------------------------------------------------------------------------------------------
# The programs


@dataclasses.dataclass
class Find:
    """What a program lists: where it starts, how long it is (None where the program leaves that open), the copy."""

    offset: int
    size: int | None
    path: pathlib.Path | None = None


def files_by_name(folder):
    return {path.name: path for path in folder.rglob("*") if path.is_file()}


def finds_of_qzmtraw(out):
    for line in (out / "stdout").read_text("utf-8").splitlines():
        entry = json.loads(line)
        if entry["type"] == "find":
            path = entry.get("path")
            yield Find(entry["offset"], entry["written" if path else "size"], pathlib.Path(path) if path else None)


def finds_of_photorec(out):
    report = out / "found.1/report.xml"
    paths = files_by_name(out)
    for name, size, runs in re.findall(
        r"<filename>(.*?)</filename>\s*<filesize>(\d+)</filesize>(.*?)</fileobject>",
        report.read_text("utf-8", "replace") if report.exists() else "", re.DOTALL,
    ):
        offset = re.search(r"img_offset='(\d+)'", runs)
        if offset:
            yield Find(int(offset[1]), int(size), paths.get(name.rpartition("/")[2]))


def finds_of_foremost(out):
    paths = files_by_name(out / "found")
    for name, offset in re.findall(
        r"^\d+:\s+(\S+)\s+\d+ [KMG]?B\s+(\d+)", (out / "found/audit.txt").read_text("latin-1"), re.MULTILINE
    ):
        path = paths.get(name)
        # The list rounds the sizes, so that only the copies tell them.
        yield Find(int(offset), path.stat().st_size if path else None, path)


def finds_of_scalpel(out):
    paths = files_by_name(out / "found")
    for name, offset, size in re.findall(
        r"^(\S+)\s+(\d+)\s+(?:YES|NO)\s+(\d+)\s+\S+$", (out / "found/audit.txt").read_text("latin-1"), re.MULTILINE
    ):
        yield Find(int(offset), int(size), paths.get(name))


# Lines of scalpel's own configuration that stay off: an example, and those it advises against for what they bring.
SCALPEL_OFF = re.compile(r"NONE|mov.*\?{4}(widev|skip|free|idsc|pckg)")
SCALPEL_LINE = re.compile(r"#\s*(\w+\s+[yn])\s+(\d+)\s+(\S.*)$")


def scalpel_configuration():
    """Scalpel's own configuration, switched on, with a limit for large files."""
    text = pathlib.Path("/etc/scalpel/scalpel.conf").read_text("latin-1")
    lines = [match.groups() for line in text.splitlines() if (match := SCALPEL_LINE.match(line))]
    return "".join(
        f"{name} {min(int(size), SCALPEL_LARGEST)} {bytes_}\n"
        for name, size, bytes_ in lines if not SCALPEL_OFF.match(name + bytes_)
    )


@dataclasses.dataclass
class Run:
    program: str
    what: str
    command: list
    finds: object
    is_listing: bool = False


def runs(image, out):
    """What is measured, by name. The commands run in OUT and write below it."""
    recover = [TOOL, "recover", image, "--out", out / "found", "--format", "jsonl"]
    scan = [TOOL, "scan", image, "--format", "jsonl"]
    photorec = ["photorec", "/d", out / "found", "/cmd", image,
                "partition_none,options,wholespace,fileopt,everything,enable,search"]
    foremost = ["foremost", "-t", "all", "-i", image, "-o", out / "found"]
    scalpel = ["scalpel", "-c", out / "scalpel.conf", "-o", out / "found"]
    return {
        "qzmtraw": Run("qzmtraw", "recover", recover, finds_of_qzmtraw),
        "qzmtraw-embedded": Run("qzmtraw", "recover --embedded", [*recover, "--embedded"], finds_of_qzmtraw),
        "qzmtraw-all": Run("qzmtraw", "recover --all", [*recover, "--all", "--ignore-free-space"], finds_of_qzmtraw),
        "photorec": Run("photorec", "everything,enable", photorec, finds_of_photorec),
        "foremost": Run("foremost", "-t all", foremost, finds_of_foremost),
        "foremost-q": Run("foremost", "-t all -q", [*foremost, "-q"], finds_of_foremost),
        # Without -q scalpel finds, and writes, next to everything.
        "scalpel-q": Run("scalpel", "-q 512", [*scalpel, "-q", "512", image], finds_of_scalpel),
        "list": Run("qzmtraw", "scan", scan, finds_of_qzmtraw, True),
        "list-1": Run("qzmtraw", "scan --jobs 1", [*scan, "--jobs", "1"], finds_of_qzmtraw, True),
        "list-all": Run("qzmtraw", "scan --all", [*scan, "--all"], finds_of_qzmtraw, True),
        "list-foremost": Run("foremost", "-t all -q -w", [*foremost, "-q", "-w"], finds_of_foremost, True),
        "list-scalpel": Run("scalpel", "-q 512 -p", [*scalpel, "-q", "512", "-p", image], finds_of_scalpel, True),
    }


# ---------------------------------------------------------------------------------------------------------------------
# Measuring


def read_files(folder):
    """The list of the image's files, in their order on it."""
    try:
        return [json.loads(line) for line in (folder / "files.jsonl").read_text().splitlines()]
    except FileNotFoundError:
        raise Mistake(f"{folder} holds no image yet: run 'make' first") from None


def free_bytes():
    return shutil.disk_usage(MEMORY_FOLDER).free


def signal_children(pid, number):
    for child in pathlib.Path(f"/proc/{pid}/task/{pid}/children").read_text().split():
        os.kill(int(child), number)


def watch(command, out):
    """Runs a command to its end or to a limit. Tells wall and CPU seconds, peak memory, and why it was stopped if so.

    The measures are those of time(1): what is started from here would have this program's own memory counted as its.
    """
    free_before = free_bytes()
    stopped = None
    with open(out / "stdout", "wb") as stdout, open(out / "stderr", "wb") as stderr:
        process = subprocess.Popen(
            ["/usr/bin/time", "-o", out / "usage", "-f", "%e %U %S %M", *map(str, command)], cwd=out,
            stdin=subprocess.DEVNULL, stdout=stdout, stderr=stderr, start_new_session=True,
            env={**os.environ, "TERM": "linux"},
        )
        begin = time.monotonic()
        try:
            while process.poll() is None and not stopped:
                time.sleep(0.05)
                if time.monotonic() - begin > TIME_LIMIT:
                    stopped = f"stopped after {TIME_LIMIT} s"
                elif free_before - free_bytes() > OUTPUT_LIMIT:
                    stopped = f"stopped at {OUTPUT_LIMIT >> 30} GiB"
            if stopped:
                signal_children(process.pid, signal.SIGINT)
                try:
                    process.wait(GRACE)
                except subprocess.TimeoutExpired:
                    signal_children(process.pid, signal.SIGKILL)
                    process.wait()
        finally:
            if process.poll() is None:
                os.killpg(process.pid, signal.SIGKILL)
    usage = (out / "usage").read_text().splitlines()
    wall, user, system, memory = map(float, usage[-1].split()) if usage else (time.monotonic() - begin, 0, 0, 0)
    return {"wall": wall, "cpu": user + system, "memory": memory * 1024, "status": process.returncode,
            "stopped": stopped}


EXACT, COMPLETE, STARTED, MISSED = range(4)


def grade(find, file, image):
    """What a find at a file's start is worth: exactly the file, the file and more, or its start alone."""
    if find.size is None or find.size < file["size"]:
        return STARTED
    if find.path:
        wanted = image[file["offset"] : file["offset"] + file["size"]]
        with open(find.path, "rb") as copy:
            if copy.read(file["size"]) != wanted:
                return STARTED
    return EXACT if find.size == file["size"] else COMPLETE


def judge(finds, files, image):
    """Holds finds against the image's files."""
    starts = [file["offset"] for file in files]
    best = {}
    counts = collections.Counter(finds=0, again=0, inside=0, gap=0, open=0)
    for find in finds:
        counts["finds"] += 1
        place = bisect.bisect_right(starts, find.offset) - 1
        file = files[place] if place >= 0 else None
        if file and find.offset == file["offset"]:
            counts["again"] += place in best
            best[place] = min(best.get(place, MISSED), grade(find, file, image))
            counts["open"] += find.size is None
        else:
            counts["inside" if file and find.offset < file["offset"] + file["size"] else "gap"] += 1
    kinds = collections.defaultdict(lambda: [0, 0, 0, 0])
    grades = [best.get(place, MISSED) for place in range(len(files))]
    for file, worth in zip(files, grades):
        kinds[file["kind"]][worth] += 1
    return {**counts, "kinds": kinds, "grades": grades}


def measure(folder, names):
    """Runs programs and adds what came of it to FOLDER/results.jsonl."""
    files = read_files(folder)
    image_path = (folder / "image").resolve()
    for name in names:
        out = pathlib.Path(tempfile.mkdtemp(prefix="compare-", dir=MEMORY_FOLDER))
        try:
            run = runs(image_path, out)[name]
            if not shutil.which(run.command[0]):
                print(f"{run.program} isn't installed and left out", file=sys.stderr)
                continue
            print(f"{run.program} {run.what} …", file=sys.stderr)
            if run.program == "scalpel":
                (out / "scalpel.conf").write_text(scalpel_configuration())
            with open(image_path, "rb") as file:
                while file.read(1 << 20):  # The image is in memory from here on.
                    pass
            result = {"name": name, **watch(run.command, out)}
            finds = [find for find in run.finds(out) if find.path or run.is_listing]
            result["bytes"] = sum(find.path.stat().st_size for find in finds if find.path)
            with open(image_path, "rb") as file, mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ) as image:
                result.update(judge(finds, files, image))
            if not finds:
                raise Mistake(f"{run.program} found nothing; it said: {(out / 'stderr').read_text()[-500:]}")
            with open(folder / "results.jsonl", "a") as results:
                results.write(json.dumps(result) + "\n")
            with open(folder / f"finds-{name}.jsonl", "w") as listing:
                for find in finds:
                    listing.write(json.dumps([find.offset, find.size, find.path and find.path.name]) + "\n")
        finally:
            shutil.rmtree(out)


# ---------------------------------------------------------------------------------------------------------------------
# Tables


def machine():
    cpu = re.search(r"^model name\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.MULTILINE)
    memory = re.search(r"^MemTotal:\s*(\d+)", pathlib.Path("/proc/meminfo").read_text(), re.MULTILINE)
    versions = subprocess.run(
        ["dpkg-query", "--show", "--showformat=${Package} ${Version}\n", "testdisk", "foremost", "scalpel"],
        capture_output=True, text=True, check=False,
    ).stdout.split("\n")
    commit = subprocess.run(
        ["git", "-C", ROOT, "rev-parse", "--short", "HEAD"], capture_output=True, text=True, check=False
    ).stdout.strip()
    return [
        f"{cpu[1] if cpu else 'unknown processor'}, {os.cpu_count()} cores, {int(memory[1]) / 2**20:.0f} GiB of memory,"
        f" Linux {os.uname().release}",
        ", ".join([f"qzmtraw {commit}", *filter(None, versions)]).replace("testdisk", "photorec of testdisk"),
    ]


def table_lines(head, rows):
    yield "| " + " | ".join(head) + " |"
    yield "| --- " + "| ---: " * (len(head) - 1) + "|"
    for row in rows:
        yield "| " + " | ".join(map(str, row)) + " |"


def tables(folder):
    """The tables in Markdown."""
    files = read_files(folder)
    everything = runs("image", pathlib.Path("out"))
    results = collections.defaultdict(list)
    for line in (folder / "results.jsonl").read_text().splitlines():
        result = json.loads(line)
        results[result["name"]].append(result)
    if not results:
        raise Mistake(f"{folder} holds no results yet: run 'measure' first")
    others = [place for place, file in enumerate(files) if file["kind"] != TEST_KIND]

    def cells(name):
        run, all_of_it = everything[name], results[name]
        last = all_of_it[-1]
        count = collections.Counter(last["grades"][place] for place in others)
        found = count[EXACT] + count[COMPLETE] + count[STARTED]
        measures = ("wall", "cpu", "memory")
        wall, cpu, memory = (statistics.median(result[key] for result in all_of_it) for key in measures)
        complete, exact = count[EXACT] + count[COMPLETE], count[EXACT]
        tells_sizes = any(worth < STARTED for worth in last["grades"])
        return [
            f"{run.program} {run.what}".strip(), last["finds"], found, complete if tells_sizes else "–",
            exact if tells_sizes else "–", last["again"], last["inside"], last["gap"],
            "–" if run.is_listing else f"{last['bytes'] / 2**20:.0f}",
            f"{wall:.1f}" + (f" ({last['stopped']})" if last["stopped"] else ""), f"{cpu:.1f}", f"{memory / 2**20:.0f}",
        ]

    size = (folder / "image").stat().st_size
    total = sum(file["size"] for file in files)
    tests = len(files) - len(others)
    yield from machine()
    yield ""
    yield (
        f"The image: {size / 2**20:.0f} MiB with {len(files)} files of {total / 2**20:.0f} MiB, of which {tests} are"
        " the tests' and not counted in the first table. Runs of each program: "
        + " to ".join(sorted({str(len(found)) for found in results.values()})) + "; times are medians."
    )
    yield ""
    names = [name for name in everything if name in results]
    head = ["program", "finds", f"starts found of {len(others)}", "complete", "exact", "again", "inside files",
            "in gaps", "MiB written", "wall s", "CPU s", "memory MiB"]
    for is_listing in (False, True):
        rows = [cells(name) for name in names if everything[name].is_listing == is_listing]
        if rows:
            yield from table_lines(head, rows)
            yield ""
    columns = [name for name in ("qzmtraw", "photorec", "foremost-q", "scalpel-q") if name in results]

    def kind_cells(kind):
        for name in columns:
            exact, complete, started, _ = results[name][-1]["kinds"].get(kind, [0] * 4)
            found = exact + complete + started
            yield f"{found} / {exact + complete} / {exact}" if found else "·"

    kinds = collections.Counter(file["kind"] for file in files)
    order = sorted(kinds, key=lambda kind: (kind == TEST_KIND, kind))
    yield "Starts found / complete / exact by kind, in the runs " + ", ".join(
        f"`{everything[name].program} {everything[name].what}`" for name in columns
    ) + ":"
    yield ""
    yield from table_lines(
        ["kind", "files", *(everything[name].program for name in columns)],
        [[kind, kinds[kind], *kind_cells(kind)] for kind in order],
    )


BEGIN, END = "<!-- The tables below are written by ./dev compare. -->", "<!-- The tables end here. -->"


def show(folder, document):
    text = "\n".join(tables(folder)) + "\n"
    print(text)
    if document:
        before, begin, rest = document.read_text("utf-8").partition(BEGIN)
        _, end, after = rest.partition(END)
        if not begin or not end:
            raise Mistake(f"{document} has no place for the tables: the lines '{BEGIN}' and '{END}'")
        document.write_text(f"{before}{begin}\n\n{text}\n{end}{after}", "utf-8")


def byte_count(text):
    match = re.fullmatch(r"(\d+)([KMG]?)(?:i?B)?", text)
    if not match:
        raise argparse.ArgumentTypeError("a size is a number with K, M or G behind it, as in 1G")
    return int(match[1]) << {"": 0, "K": 10, "M": 20, "G": 30}[match[2]]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder", type=pathlib.Path, metavar="FOLDER")
    parser.add_argument("step", nargs="?", choices=["make", "measure", "table"])
    parser.add_argument("names", nargs="*", metavar="NAME", help=f"one of {', '.join(runs('', pathlib.Path()))}")
    parser.add_argument("--size", type=byte_count, default=1 << 30, help="size of the image; 1G unless stated")
    parser.add_argument("--document", type=pathlib.Path, metavar="FILE", help="document to put the tables into")
    options = parser.parse_args()
    known = runs("", pathlib.Path())
    try:
        if unknown := set(options.names) - set(known):
            raise Mistake(f"No run is called {', '.join(unknown)}: they are {', '.join(known)}")
        if options.step in (None, "make"):
            make(options.folder, options.size)
        if options.step in (None, "measure"):
            measure(options.folder, options.names or known)
        if options.step in (None, "table"):
            show(options.folder, options.document)
    except Mistake as mistake:
        sys.exit(f"compare.py: {mistake}")


if __name__ == "__main__":
    main()
