#!/usr/bin/env bash
# Makes a disk image without a file system, from files that programs on this machine write at this moment. The files
# stand at sector boundaries with unused space between them, as the remains of deleted files do.
#
# Usage: make-demo-image.sh IMAGE
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
image=$(realpath -m "$1")
mkdir -p "$(dirname "$image")"
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# What the files hold.
mkdir "$folder/content"
cp "$here/LICENSE" "$folder/content/license.txt"
cp -r "$here/include" "$here/src" "$folder/content/"

mkdir "$folder/files"
cd "$folder/content"
7z a -bso0 -bsp0 "$folder/files/01-text.7z" license.txt
7z a -bso0 -bsp0 -mx=0 "$folder/files/02-sources.7z" include src
find include -type f | cpio --quiet -o -H newc >"$folder/files/03-new.cpio"
find src -type f | cpio --quiet -o -H odc >"$folder/files/04-old.cpio"
find src/frame -type f | cpio --quiet -o -H crc >"$folder/files/05-checksum.cpio"

sector_size=512
sector=64
rm -f "$image"
for file in "$folder"/files/*; do
  dd if="$file" of="$image" bs=$sector_size seek=$sector conv=notrunc status=none
  sectors=$((($(stat --format=%s "$file") + sector_size - 1) / sector_size))
  sector=$((sector + sectors + 100))
done
truncate --size=$((sector * sector_size)) "$image"
