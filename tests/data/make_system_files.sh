#!/usr/bin/env bash
# Makes the files in system/ anew with programs from Debian: gcc-mingw-w64, gcc-multilib, default-jdk-headless,
# fontforge-nox, t1utils, libhivex-bin, python3-pil, file and python3.
# Other versions of the programs write other bytes; then see what tests/system/SystemFilesTest.cpp asks of them.
set -euo pipefail
folder=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/system
mkdir -p "$folder"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# Windows modules for 64-bit and for 32-bit machines.
cat >program.c <<'C'
static const char text[] = "sample";
static volatile int counter;
int start(void) { counter += text[1]; return counter; }
C
cat >library.c <<'C'
__declspec(dllexport) int answer(void) { return 42; }
int start(void *module, int reason, void *reserved) { return 1; }
C
options=(-Os -s -nostdlib -Wl,--no-insert-timestamp)
x86_64-w64-mingw32-gcc "${options[@]}" -Wl,--entry=start program.c -o program64.exe
i686-w64-mingw32-gcc "${options[@]}" -Wl,--entry=_start program.c -o program32.exe
x86_64-w64-mingw32-gcc "${options[@]}" -shared -Wl,--entry=start library.c -o library64.dll
i686-w64-mingw32-gcc "${options[@]}" -shared -Wl,--entry=_start library.c -o library32.dll

# ELF files of the three kinds, and one for a 32-bit machine.
cat >unix.c <<'C'
int answer(void) { return 42; }
void _start(void) { for (;;) answer(); }
C
options=(-Os -s -nostdlib -Wl,--build-id=none -Wl,-n -Wl,-z,noseparate-code -Wl,-z,max-page-size=512)
gcc "${options[@]}" -static -no-pie unix.c -o program64
gcc -m32 "${options[@]}" -static -fno-pic -no-pie unix.c -o program32
gcc "${options[@]}" -shared -fPIC unix.c -o library64.so
gcc -Os -c unix.c -o object64.o

# A compiled class.
cat >Sample.java <<'JAVA'
public class Sample {
  public static void main(String[] words) {
    for (String word : words) System.out.println("sample of " + word);
  }
}
JAVA
javac Sample.java

# A font in three forms. Adobe's own fonts end with a last line that fontforge's don't have.
cat >font.py <<'PY'
import fontforge
font = fontforge.font()
font.fontname = font.familyname = font.fullname = "Sample"
font.copyright = "Copyright (c) the makers of the sample"
glyph = font.createChar(65, "A")
pen = glyph.glyphPen()
for move, point in (("moveTo", (0, 0)), ("lineTo", (250, 700)), ("lineTo", (500, 0))):
    getattr(pen, move)(point)
pen.closePath()
pen = None
glyph.width = 520
font.generate("sample.ttf")
font.generate("sample.pfb", flags=("pfm",))
PY
fontforge -quiet -lang=py -script font.py
t1ascii sample.pfb | sed 's/^cleartomark$/cleartomark{restore}if/' | t1binary >adobe.pfb
printf '\r\x80\x03' >end
truncate -s -3 adobe.pfb
cat end >>adobe.pfb

# A hive: an empty one, and what hivex makes of it.
python3 - <<'PY'
import struct
name = b"root"
key = b"nk" + struct.pack("<HQIIIIIIIIIIIIIIIHH", 0x2C, 0, 0, 0, 0, 0, 0xFFFFFFFF, 0xFFFFFFFF, 0, 0xFFFFFFFF, 0x80,
                          0xFFFFFFFF, 0, 0, 0, 0, 0, len(name), 0) + name
descriptor = struct.pack("<BBHIIII", 1, 0, 0x8000, 0, 0, 0, 0)
security = b"sk" + struct.pack("<HIIII", 0, 0x80, 0x80, 1, len(descriptor)) + descriptor
def cell(content, size):
    return struct.pack("<i", -size) + content.ljust(size - 4, b"\0")
cells = cell(key, 0x60) + cell(security, 0x40)
free = 0x1000 - 0x20 - len(cells)
page = struct.pack("<4sIIIIQI", b"hbin", 0, 0x1000, 0, 0, 0, 0) + cells + struct.pack("<i", free).ljust(free, b"\0")
base = struct.pack("<4sIIQIIIIII", b"regf", 1, 1, 0, 1, 3, 0, 1, 0x20, 0x1000) + struct.pack("<I", 1)
base = base.ljust(508, b"\0")
checksum = 0
for (word,) in struct.iter_unpack("<I", base):
    checksum ^= word
open("empty.hiv", "wb").write((base + struct.pack("<I", checksum)).ljust(4096, b"\0") + page)
PY
hivexsh -w empty.hiv <<'HIVEX'
add software
cd software
setval 1
sample
string:a value
commit sample.hiv
HIVEX

# Colour profiles of a display, by Little CMS.
/usr/bin/python3 - <<'PY'
from PIL import ImageCms
open("display.icc", "wb").write(ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes())
PY

# A shell link to a folder. No program in Debian writes one.
python3 - <<'PY'
import struct
head = struct.pack("<I", 0x4C) + bytes.fromhex("0114020000000000C000000000000046") + struct.pack("<II", 0x88, 0x10)
link = head.ljust(0x4C, b"\0")
for text in ("..\\folder", "C:\\folder"):
    link += struct.pack("<H", len(text)) + text.encode("utf-16-le")
open("folder.lnk", "wb").write(link + bytes(4))
PY
file folder.lnk | grep -q 'MS Windows shortcut'

cp program64.exe program32.exe library64.dll library32.dll program64 program32 library64.so object64.o Sample.class \
  sample.ttf sample.pfm sample.pfb adobe.pfb sample.hiv display.icc folder.lnk "$folder"
chmod 644 "$folder"/*
ls -l "$folder"
