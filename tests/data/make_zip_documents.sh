#!/bin/sh
# Makes the documents in tests/data/zip anew, with LibreOffice. On Debian:
#   apt-get install --no-install-recommends libreoffice-writer libreoffice-calc libreoffice-impress libreoffice-draw
# The documents are kept because the program is large. Their sizes may differ a little from one making to the next: the
# tests ask the files themselves.
set -eu
target=$(cd "$(dirname "$0")" && pwd)/zip
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$target"

# convert SOURCE FORMAT: converts $work/SOURCE and puts the result into the target folder.
convert() {
  soffice "-env:UserInstallation=file://$work/profile" --headless --convert-to "$2" --outdir "$target" "$work/$1"
}

printf 'Names on a sheet of paper.\n' > "$work/document.txt"
printf 'name,number\nfirst,1\nsecond,2\n' > "$work/sheet.csv"
for format in odt docx; do convert document.txt $format; done
for format in ods xlsx; do convert sheet.csv $format; done

# A drawing and a presentation of one page, as single XML files for the converter to start from.
flat() {
  cat << XML
<?xml version="1.0" encoding="UTF-8"?>
<office:document xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0"
    xmlns:draw="urn:oasis:names:tc:opendocument:xmlns:drawing:1.0"
    xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0"
    xmlns:svg="urn:oasis:names:tc:opendocument:xmlns:svg-compatible:1.0"
    office:version="1.2" office:mimetype="application/vnd.oasis.opendocument.$1">
  <office:body><office:$2><draw:page draw:name="page1">
    <draw:frame svg:width="10cm" svg:height="2cm" svg:x="2cm" svg:y="2cm">
      <draw:text-box><text:p>A line.</text:p></draw:text-box></draw:frame>
  </draw:page></office:$2></office:body>
</office:document>
XML
}
flat graphics drawing > "$work/drawing.fodg"
flat presentation presentation > "$work/slides.fodp"
convert drawing.fodg odg
for format in odp pptx; do convert slides.fodp $format; done
