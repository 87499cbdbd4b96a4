#!/usr/bin/env bash
# Makes the documents in text/ anew with programs from Debian: ghostscript, qpdf, libreoffice-writer,
# libreoffice-draw and python3.
# Other versions of the programs write other bytes; then see what tests/text/MarkupDocumentsTest.cpp asks of them.
set -euo pipefail
folder=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/text
mkdir -p "$folder"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# A page of graphics and text, through ghostscript's devices.
cat >page.ps <<'PS'
%!PS-Adobe-3.0
%%BoundingBox: 0 0 200 200
%%Pages: 1
%%EndComments
%%Page: 1 1
/Helvetica findfont 18 scalefont setfont
20 150 moveto (Markup) show
1 2 60 { dup 20 add 20 moveto 3 mul 0 rlineto 10 100 lineto stroke } for
showpage
%%EOF
PS
gs -q -dSAFER -dBATCH -dNOPAUSE -dDEVICEWIDTHPOINTS=200 -dDEVICEHEIGHTPOINTS=200 -sDEVICE=pdfwrite -o plain.pdf page.ps
gs -q -dSAFER -dBATCH -dNOPAUSE -dDEVICEWIDTHPOINTS=200 -dDEVICEHEIGHTPOINTS=200 -sDEVICE=tiffpack -r36 -o preview.tif page.ps
qpdf --linearize --deterministic-id plain.pdf linearized.pdf

# A drawing in PostScript.
cat >drawing.svg <<'SVG'
<svg xmlns="http://www.w3.org/2000/svg" width="200" height="200">
<rect x="10" y="10" width="90" height="50" fill="red"/><path d="M0 0L200 200L10 150z"/></svg>
SVG
soffice -env:UserInstallation="file://$work/profile" --headless --convert-to eps drawing.svg >&2

# Encapsulated PostScript with the preview behind it (Adobe technical note 5002).
python3 - <<'PY'
import struct
eps, tiff = open("drawing.eps", "rb").read(), open("preview.tif", "rb").read()
head = struct.pack("<4s6IH", b"\xC5\xD0\xD3\xC6", 30, len(eps), 0, 0, 30 + len(eps), len(tiff), 0xFFFF)
open("preview.eps", "wb").write(head + eps + tiff)
text = "".join("Paragraph %d of a text that is longer than a few sectors.\n" % i for i in range(120))
open("page.txt", "w").write(text)
PY

# A text, as writer keeps it in several formats.
for format in fodt:"OpenDocument Text Flat XML" rtf:"Rich Text Format" html:"HTML (StarWriter)"; do
  soffice -env:UserInstallation="file://$work/profile" --headless --convert-to "$format" --outdir out page.txt >&2
done
cp plain.pdf linearized.pdf preview.eps "$folder"
cp drawing.eps "$folder/drawing.ps"
cp out/page.fodt "$folder/flat.xml"
cp out/page.rtf "$folder/writer.rtf"
cp out/page.html "$folder/writer.html"
ls -l "$folder"
