#!/bin/sh
# Makes the drawings in drawings/ anew with programs from Debian:
#   apt-get install --no-install-recommends libreoffice-draw gnuplot-nox ffmpeg imagemagick shapelib openctm-tools dcmtk \
#       libeccodes-tools
# Other versions of the programs write other bytes; then see what tests/images/DrawingFilesTest.cpp asks of them.
set -eu
target=$(cd "$(dirname "$0")" && pwd)/drawings
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$target"
cd "$work"

cat > shape.svg << 'SVG'
<svg xmlns="http://www.w3.org/2000/svg" width="200" height="200">
<rect x="10" y="10" width="90" height="50" fill="red"/><path d="M0 0L200 200L10 150z"/></svg>
SVG
for format in wmf emf; do
  soffice -env:UserInstallation="file://$work/profile" --headless --convert-to $format --outdir "$target" shape.svg
done

for format in dxf cgm; do
  gnuplot -e "set term $format; set output 'plot.$format'; set samples 20; unset key; plot sin(x)"
  mv plot.$format "$target"
done

convert -size 40x40 plasma:red-blue -quality 40 picture.png
ffmpeg -loglevel error -y -loop 1 -i picture.png -t 0.3 -r 10 -f swf "$target/film.swf"

shpcreate "$target/area" polygon
shpadd "$target/area" 0 0 0 10 10 10 0 0
rm "$target/area.shx"

cat > solid.obj << 'OBJ'
v 0 0 0
v 1 0 0
v 0 1 0
v 0 0 1
f 1 2 3
f 1 2 4
OBJ
ctmconv solid.obj "$target/solid.3ds"

cat > scan.txt << 'DUMP'
(0008,0016) UI =SecondaryCaptureImageStorage
(0008,0018) UI [1.2.3]
(0010,0010) PN [Nobody]
DUMP
dump2dcm scan.txt "$target/scan.dcm"

# Three messages in a row, and one of several sectors.
template=/usr/share/eccodes/samples/regular_ll_sfc_grib1.tmpl
grib_set -s deleteLocalDefinition=1 $template message.grib
cat message.grib message.grib message.grib > "$target/messages.grib"
values=$(seq 1 496 | awk '{ printf "%s%d", (NR > 1 ? "," : ""), $1 * $1 % 251 }')
echo "set deleteLocalDefinition = 1; set bitsPerValue = 16; set values = {$values}; write;" > rules
grib_filter -o "$target/field.grib" rules $template
ls -l "$target"
