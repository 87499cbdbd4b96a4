#!/bin/sh
# Makes the documents in compound/ anew: a text, a sheet and a presentation in the old binary forms with LibreOffice,
# and with gsf a file that has the streams of a mail message.
#   apt-get install --no-install-recommends libreoffice-writer libreoffice-calc libreoffice-impress libgsf-bin
set -eu
target=$(cd "$(dirname "$0")" && pwd)/compound
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# Flat OpenDocument: $1 file, $2 kind, $3 body.
write() {
  cat > "$1" <<EOF
<?xml version="1.0" encoding="UTF-8"?>
<office:document office:version="1.2" office:mimetype="application/vnd.oasis.opendocument.$2"
 xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0"
 xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0"
 xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0"
 xmlns:draw="urn:oasis:names:tc:opendocument:xmlns:drawing:1.0">
<office:body><office:$2>$3</office:$2></office:body></office:document>
EOF
}
write text.fodt text '<text:p>A short text.</text:p>'
write sheet.fods spreadsheet '<table:table table:name="One"><table:table-row><table:table-cell office:value-type="float" office:value="42"/></table:table-row></table:table>'
write slides.fodp presentation '<draw:page draw:name="One"/>'

# Without the picture of the first slide, which would take 440 KB.
mkdir -p profile/user
cat > profile/user/registrymodifications.xcu <<EOF
<?xml version="1.0" encoding="UTF-8"?>
<oor:items xmlns:oor="http://openoffice.org/2001/registry">
<item oor:path="/org.openoffice.Office.Common/Filter/Microsoft/Export">
<prop oor:name="EnablePowerPointPreview" oor:op="fuse"><value>false</value></prop></item>
</oor:items>
EOF

convert() {
  soffice --headless -env:UserInstallation="file://$work/profile" --convert-to "$1" "$2" > /dev/null 2>&1
}
convert 'doc:MS Word 97' text.fodt
convert 'xls:MS Excel 97' sheet.fods
convert 'ppt:MS PowerPoint 97' slides.fodp

echo ids > __nameid_version1.0
seq 1000 1199 > __properties_version1.0
seq 1000 1849 > __substg1.0_1000001E
gsf createole message.msg __nameid_version1.0 __properties_version1.0 __substg1.0_1000001E > /dev/null 2>&1

mkdir -p "$target"
mv text.doc sheet.xls slides.ppt message.msg "$target"
