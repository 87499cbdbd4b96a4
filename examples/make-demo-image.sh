#!/usr/bin/env bash
# Makes a disk image without a file system, from files that programs on this machine write at this moment and from a few
# small documents. The files stand at sector boundaries with unused space between them, as the remains of deleted files
# do.
#
# Usage: make-demo-image.sh IMAGE
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
image=$(realpath -m "$1")
mkdir -p "$(dirname "$image")"
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# What the archives hold.
mkdir "$folder/content" "$folder/files"
cp "$here/LICENSE" "$folder/content/license.txt"
cp -r "$here/src" "$folder/content/"
cp -r "$here/tests/data/zip" "$folder/content/documents"
cd "$folder/content"

number=100
# Runs a program that writes to the path it gets as its last word.
add() {
  local name=$1
  shift
  "$@" "$folder/files/$number-$name"
  number=$((number + 1))
}
make_7z() { 7z a -bso0 -bsp0 "${@:$#}" "${@:1:$#-1}"; }
make_cpio() { find "$2" -type f | cpio --quiet -o -H "$1" >"${@:$#}"; }
make_zip() { zip -qr "${@:$#}" "${@:1:$#-1}"; }
# An archive whose first member is the stored file "mimetype", as books and documents have it.
make_epub() {
  printf application/epub+zip >mimetype
  zip -q0X "$1" mimetype
  zip -q "$1" license.txt
}
make_jar() {
  mkdir -p META-INF
  printf 'Manifest-Version: 1.0\r\n\r\n' >META-INF/MANIFEST.MF
  zip -qr "$1" META-INF license.txt
}

add text.7z make_7z license.txt
add stored.7z make_7z -mx=0 documents
add new.cpio make_cpio newc documents
add old.cpio make_cpio odc documents
add checksum.cpio make_cpio crc documents
add sources.zip make_zip src
add book.epub make_epub
add program.jar make_jar
for document in "$here"/tests/data/{archives,bitmaps,compound,drawings,media,photos,stores,system,text,zip}/*; do add "$(basename "$document")" cp "$document"; done

sector_size=512
sector=64
rm -f "$image"
for file in "$folder"/files/*; do
  dd if="$file" of="$image" bs=$sector_size seek=$sector conv=notrunc status=none
  sectors=$((($(stat --format=%s "$file") + sector_size - 1) / sector_size))
  sector=$((sector + sectors + 100))
done
truncate --size=$((sector * sector_size)) "$image"
