#!/usr/bin/env bash
# Makes the archives in archives/ anew with programs from Debian: arj, bzip2, dpkg-deb, gcab, genisoimage, gzip,
# jlha, lzop, compress (ncompress), python3, rpm, tar and xz.
# Other versions of the programs write other bytes; then see what tests/archives/ArchiveFilesTest.cpp asks of them.
set -euo pipefail
folder=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/archives
mkdir -p "$folder"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

python3 - <<'PY'
import random
random.seed(7)
words = [bytes(random.choice(b"abcdefghijklmnopqrstuvwxyz") for _ in range(random.randrange(2, 9))) for _ in range(300)]
for name, count in (("first.txt", 700), ("second.txt", 260)):
    open(name, "wb").write(b" ".join(random.choice(words) for _ in range(count)) + b"\n")
PY
touch -d 2020-02-02T02:02:02Z first.txt second.txt
mkdir box && cp -p first.txt box

gzip -k -c first.txt >named.gz
gzip -k -n -c first.txt >unnamed.gz
xz -k -c --check=crc32 first.txt >crc32.xz
xz -k -c first.txt >crc64.xz
bzip2 -k -c first.txt >text.bz2
compress -c first.txt >text.Z
lzop -q -o text.lzo first.txt
tar -b 1 --format=ustar --owner=0 --group=0 -cf ustar.tar box
tar -b 1 --format=gnu --owner=0 --group=0 -cf gnu.tar box
tar -b 1 --format=ustar --owner=0 --group=0 -cf file.tar second.txt
gcab -c two.cab first.txt second.txt
gcab -c -z two_packed.cab first.txt second.txt
jlha a2q two.lzh first.txt second.txt
jlha a0q two_level0.lzh first.txt second.txt
arj a -i -y two.arj first.txt second.txt >&2

mkdir -p package/DEBIAN package/usr/share/words
printf 'Package: words\nVersion: 1\nArchitecture: all\nMaintainer: nobody <nobody@example.org>\nDescription: words\n' \
  >package/DEBIAN/control
cp first.txt package/usr/share/words
SOURCE_DATE_EPOCH=1580608922 dpkg-deb --root-owner-group -b package words.deb >&2

cat >words.spec <<'SPEC'
Name: words
Version: 1
Release: 1
Summary: Words
License: none
BuildArch: noarch
%description
Words.
%install
mkdir -p %{buildroot}/usr/share/words
cp %{_sourcedir}/first.txt %{buildroot}/usr/share/words
%files
/usr/share/words/first.txt
SPEC
for payload in w6.xzdio w9.gzdio; do
  rpmbuild -bb --define "_topdir $work/rpm-$payload" --define "_sourcedir $work" --define "_binary_payload $payload" \
    --define "_buildhost localhost" words.spec >&2
done
cp rpm-w6.xzdio/RPMS/noarch/words-1-1.noarch.rpm xz.rpm
cp rpm-w9.gzdio/RPMS/noarch/words-1-1.noarch.rpm gzip.rpm

# Of the image, which begins with 32768 bytes that are zero, the primary volume descriptor alone.
genisoimage -quiet -no-pad -o image.iso box
dd if=image.iso of=descriptor.iso bs=2048 skip=16 count=1 status=none
stat -c %s image.iso >descriptor.iso.size

# A binary property list as Safari writes them.
python3 - <<'PY'
import plistlib
text = open("second.txt", "rb").read()
page = {"WebResourceData": text, "WebResourceMIMEType": "text/html", "WebResourceURL": "http://example.org/",
        "WebResourceTextEncodingName": "UTF-8", "WebResourceFrameName": ""}
open("page.webarchive", "wb").write(plistlib.dumps({"WebMainResource": page}, fmt=plistlib.FMT_BINARY))
PY

cp ./*.gz ./*.xz ./*.bz2 ./*.Z ./*.lzo ./*.tar ./*.cab ./*.lzh ./*.arj ./*.deb ./*.rpm descriptor.* \
  ./*.webarchive "$folder"
ls -l "$folder"
