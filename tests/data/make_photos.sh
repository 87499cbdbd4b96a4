#!/usr/bin/env bash
# Makes the pictures in photos/ anew with programs from Debian: libjpeg-turbo-progs, libimage-exiftool-perl,
# libtiff-tools, netpbm, imagemagick and python3.
# Other versions of the programs write other bytes; then see what tests/images/PhotosTest.cpp asks of them.
set -euo pipefail
folder=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/photos
mkdir -p "$folder"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# A picture with shapes and noise, and a small one of it.
python3 - <<'PY'
import random
random.seed(1)
def picture(name, width, height):
    pixels = bytes(min(255, (x * y // 7 + c * 80 + random.randrange(30)) % 256)
                   for y in range(height) for x in range(width) for c in range(3))
    open(name, "wb").write(b"P6\n%d %d\n255\n" % (width, height) + pixels)
picture("picture.ppm", 60, 44)
picture("small.ppm", 16, 12)
PY

cjpeg -quality 75 picture.ppm >baseline.jpg
cjpeg -quality 75 -restart 1 -optimize picture.ppm >restarts.jpg
cjpeg -quality 75 -progressive picture.ppm >progressive.jpg
cjpeg -quality 50 small.ppm >thumbnail.jpg
cp baseline.jpg camera.jpg
exiftool -q -overwrite_original -JFIF:all= -Make=Maker -Model=Model -DateTimeOriginal="2020:01:02 03:04:05" \
  "-ThumbnailImage<=thumbnail.jpg" camera.jpg
cp progressive.jpg camera-progressive.jpg
exiftool -q -overwrite_original -JFIF:all= -Make=Maker "-ThumbnailImage<=thumbnail.jpg" camera-progressive.jpg
# With JFIF in front of Exif.
cp baseline.jpg both.jpg
exiftool -q -overwrite_original -Make=Maker "-ThumbnailImage<=thumbnail.jpg" both.jpg

ppmtopgm picture.ppm | pnmtotiff -none -rowsperstrip 200 >gray.tif 2>log
tiffcp -L -c none -r 44 gray.tif little.tif
tiffcp -B -c none -r 44 gray.tif big.tif
tiffcp -L -c none -r 8 gray.tif little-strips.tif
tiffcp -B -c none -r 8 gray.tif big-strips.tif
tiffcp -L -c lzw -r 44 gray.tif little-lzw.tif
convert picture.ppm -compress zip -define tiff:rows-per-strip=44 -endian LSB convert.tif
cp little.tif nikon.tif
exiftool -q -overwrite_original -Make="NIKON CORPORATION" nikon.tif
cp little.tif negative.tif
exiftool -q -overwrite_original -DNGVersion="1 4 0 0" -Make=PENTAX negative.tif

cp baseline.jpg restarts.jpg progressive.jpg camera.jpg camera-progressive.jpg both.jpg \
  little.tif big.tif little-strips.tif big-strips.tif little-lzw.tif convert.tif nikon.tif negative.tif "$folder"
ls -l "$folder"
