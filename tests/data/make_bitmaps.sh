#!/usr/bin/env bash
# Makes the pictures in bitmaps/ anew with programs from Debian: netpbm, imagemagick, icoutils and gimp.
# Other versions of the programs write other bytes; then see what tests/images/BitmapFilesTest.cpp asks of them.
set -euo pipefail
folder=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/bitmaps
mkdir -p "$folder"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# A picture of 40 by 30 points, in colours and in grey, and one of 32 by 32.
pgmramp -lr 40 30 >grey.pgm
rgb3toppm grey.pgm <(pgmramp -tb 40 30) <(pgmramp -ellipse 40 30) >colour.ppm
pamscale -xsize 32 -ysize 32 colour.ppm >square.ppm
pamscale -xsize 16 -ysize 16 colour.ppm >small.ppm

pnmtopng -force colour.ppm >colour.png
convert colour.ppm -define png:exclude-chunk=date,time magick.png
pnmquant 16 colour.ppm 2>log | ppmtogif >colour.gif 2>log
convert colour.ppm -delay 10 \( colour.ppm -negate \) magick.gif
convert colour.ppm bmp3:info.bmp
convert colour.ppm bmp:v5.bmp
ppmtobmp -os2 colour.ppm >os2.bmp 2>log
ppmtopcx colour.ppm >colour.pcx
pamtotga -rgb -norle colour.ppm >colour.tga
pamtotga -rgb colour.ppm >rle.tga
convert colour.ppm magick.tga
pnmtosgi -verbatim colour.ppm >colour.sgi
convert colour.ppm magick.sgi
pnmquant 16 colour.ppm 2>log | ppmtoxpm >colour.xpm 2>log
convert colour.ppm -colors 16 magick.xpm
for name in square small; do pnmtopng -force $name.ppm >$name.png; done
icotool -c -o one.ico square.png
icotool -c -o two.ico square.png small.png
icotool -c --cursor -o one.cur square.png
convert colour.ppm -compress RLE rle.psd
convert colour.ppm -compress None raw.psd
pnmtoplainpnm small.ppm >plain.ppm
pnmtoplainpnm grey.pgm >plain.pgm
pgmtopbm grey.pgm | pnmtoplainpnm >plain.pbm
pgmtopbm grey.pgm >packed.pbm
convert grey.pgm -monochrome -compress none magick.pbm
convert grey.pgm -set comment 'a comment' commented.pgm
gimp -i -d -f -b '(let* ((image (car (gimp-file-load RUN-NONINTERACTIVE "colour.ppm" "colour.ppm")))
  (layer (car (gimp-image-get-active-layer image))))
  (gimp-xcf-save 0 image layer "colour.xcf" "colour.xcf")
  (file-psd-save RUN-NONINTERACTIVE image layer "gimp.psd" "gimp.psd" 1 0))' -b '(gimp-quit 0)' >log 2>&1
rm -rf "$folder"/* square.* small.*
cp ./*.{png,gif,bmp,pcx,tga,sgi,xpm,ico,cur,psd,ppm,pgm,pbm,xcf} "$folder"
ls -l "$folder"
