#!/usr/bin/env bash
# Makes the documents in text/ anew with programs from Debian: ghostscript, qpdf, libreoffice-writer and python3.
# The tests state the sizes of the files as they were made once; new versions of the programs write others.
set -euo pipefail
folder=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/text
mkdir -p "$folder"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# A page of vector graphics and text, as PostScript by hand and through ghostscript's devices.
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
gs -q -dSAFER -dBATCH -dNOPAUSE -dDEVICEWIDTHPOINTS=200 -dDEVICEHEIGHTPOINTS=200 -sDEVICE=ps2write -o written.ps page.ps
gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=eps2write -o written.eps page.ps
gs -q -dSAFER -dBATCH -dNOPAUSE -dDEVICEWIDTHPOINTS=200 -dDEVICEHEIGHTPOINTS=200 -sDEVICE=tiffpack -r36 -o preview.tif page.ps
qpdf --linearize --deterministic-id plain.pdf linearized.pdf

# Encapsulated PostScript with the preview behind it (Adobe technical note 5002).
python3 - <<'PY'
import struct
eps, tiff = open("written.eps", "rb").read(), open("preview.tif", "rb").read()
head = struct.pack("<4s6IH", b"\xC5\xD0\xD3\xC6", 30, len(eps), 0, 0, 30 + len(eps), len(tiff), 0xFFFF)
open("preview.eps", "wb").write(head + eps + tiff)
text = "\n".join("<p>Paragraph %d of a page that is longer than a few sectors.</p>" % i for i in range(120))
open("page.html", "w").write("<!DOCTYPE html>\n<html><head><title>Page</title></head><body>\n%s\n</body></html>\n" % text)
PY

# A text, as writer keeps it in several formats.
soffice -env:UserInstallation="file://$work/profile" --headless --convert-to odt:writer8 page.html >/dev/null
for format in fodt:"OpenDocument Text Flat XML" rtf:"Rich Text Format" html:"HTML (StarWriter)"; do
  soffice -env:UserInstallation="file://$work/profile" --headless --outdir out --convert-to "$format" page.odt >/dev/null
done
cp plain.pdf linearized.pdf written.ps preview.eps "$folder"
cp out/page.fodt "$folder/flat.xml"
cp out/page.rtf "$folder/writer.rtf"
cp out/page.html "$folder/writer.html"
ls -l "$folder"
