#!/usr/bin/env bash
# Makes the files in media/ whose containers tell their size, with programs from Debian: ffmpeg, sox and
# libsox-fmt-all. Other versions of the programs write other bytes; then see what
# tests/media/MediaFilesTest.cpp asks of them.
set -euo pipefail
folder=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/media
mkdir -p "$folder"
cd "$folder"

picture=(-f lavfi -i testsrc=size=48x32:rate=5:duration=0.6)
phonePicture=(-f lavfi -i testsrc=size=128x96:rate=5:duration=0.4)
sound=(-f lavfi -i sine=frequency=440:sample_rate=8000:duration=0.1)
exact=(-fflags +bitexact -flags:v +bitexact -flags:a +bitexact -map_metadata -1)
convert() { ffmpeg -hide_banner -loglevel error -y "$@"; }

convert "${picture[@]}" "${exact[@]}" -c:v mpeg4 -brand qt movie.mov
convert "${picture[@]}" "${exact[@]}" -c:v mpeg4 plain.mp4
convert "${picture[@]}" "${exact[@]}" -c:v mpeg4 -movflags +faststart faststart.mp4
convert "${picture[@]}" "${exact[@]}" -c:v mpeg4 -g 1 -movflags +frag_keyframe+empty_moov fragments.mp4
convert "${picture[@]}" "${sound[@]}" "${exact[@]}" -c:v mpeg4 -c:a aac -b:a 16k -f psp player.mp4
convert "${phonePicture[@]}" "${exact[@]}" -c:v h263 -s 128x96 phone.3gp
convert "${phonePicture[@]}" "${exact[@]}" -c:v h263 -s 128x96 phone.3g2
convert "${sound[@]}" "${exact[@]}" -c:a aac -b:a 16k audio.m4a
convert "${sound[@]}" "${exact[@]}" audio.wav
convert "${sound[@]}" "${exact[@]}" audio.aiff
convert "${sound[@]}" "${exact[@]}" audio.au
convert "${sound[@]}" "${exact[@]}" -c:a pcm_u8 audio.voc
convert "${sound[@]}" "${exact[@]}" -c:a tta audio.tta
convert "${picture[@]}" "${exact[@]}" -c:v mjpeg clip.avi
convert "${sound[@]}" "${exact[@]}" -c:a wmav2 -ar 22050 audio.wma
convert "${picture[@]}" "${sound[@]}" "${exact[@]}" -c:v wmv2 -c:a wmav2 -ar 22050 -f asf video.wmv
convert "${picture[@]}" "${exact[@]}" -c:v wmv2 -f asf silent.wmv
convert -f lavfi -i testsrc=size=48x32:rate=25:duration=0.04 "${exact[@]}" -c:v mpeg2video picture.mxf
sox -R -n -r 8000 -c 1 speech.amr-nb synth 0.2 sine 300
mv speech.amr-nb speech.amr
ls -l
