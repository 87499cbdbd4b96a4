#!/bin/sh
# Makes the audio and video files in tests/data/media anew. On Debian:
#   apt-get install --no-install-recommends abcmidi assimp-utils ffmpeg flac lame sox wavpack
# The files are kept so that the tests need none of these programs. The tests ask the files themselves for their sizes,
# which may differ a little from one making to the next.
set -eu
target=$(cd "$(dirname "$0")" && pwd)/media
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$target"
cd "$work"

# encode OPTIONS…: ffmpeg without its version and the date in the result.
encode() { ffmpeg -hide_banner -loglevel error -y -bitexact -fflags +bitexact "$@"; }
picture() { echo "-f lavfi -i testsrc=size=$1:rate=$2:duration=$3"; }

# Long enough for 512 frames. A tag of each kind: in front and behind.
sox -n -r 48000 -c 1 -b 16 long.wav synth 12.4 sine 440 vol 0.3
lame --quiet -b 32 -m m --resample 48 --tt Tone --ta Nobody --ty 2020 --add-id3v2 long.wav "$target/tagged.mp3"

sox -n -r 32000 -c 2 -b 16 stereo.wav synth 0.2 sine 440 sine 550
sox -n -r 8000 -c 1 -b 16 mono.wav synth 0.3 sine 440
encode -i stereo.wav -c:a mp2 -b:a 64k "$target/tone.mp2"
encode -i mono.wav -c:a libvorbis "$target/tone.ogg"
encode -i mono.wav -c:a libopus -b:a 16k "$target/tone.opus"
flac --silent --force --no-padding -o "$target/tone.flac" mono.wav
wavpack -q -y --blocksize=700 mono.wav -o "$target/tone.wv"

encode $(picture 64x48 25 0.2) -c:v libx264 -qp 40 "$target/clip.mkv"
encode $(picture 64x48 25 0.2) -c:v flv1 -q:v 20 "$target/clip.flv"
encode $(picture 64x48 25 0.2) -c:v mpeg2video -q:v 20 "$target/clip.m2v"
encode $(picture 64x48 25 0.2) -i stereo.wav -c:v mpeg1video -q:v 20 -c:a mp2 -b:a 64k -f mpeg "$target/clip.mpg"
encode $(picture 64x48 25 0.2) -i stereo.wav -c:v mpeg2video -q:v 20 -c:a mp2 -b:a 64k -f vob "$target/clip.vob"
encode $(picture 64x48 25 0.12) -c:v mpeg2video -q:v 20 -muxrate 300k -mpegts_m2ts_mode 1 \
  -mpegts_pmt_start_pid 0x100 -f mpegts "$target/clip.m2ts"
encode $(picture 32x32 15 0.2) -f lavfi -i sine=sample_rate=22050:duration=0.2 -c:v amv -c:a adpcm_ima_amv -ac 1 \
  -block_size 1470 -strict -1 -f amv "$target/clip.amv"

{
  printf 'X:1\nT:Scale\nM:4/4\nL:1/8\nK:C\n'
  for bar in 1 2 3 4 5 6; do printf 'CDEFGABc|cBAGFEDC|'; done
} > scale.abc
abc2midi scale.abc -o "$target/scale.mid" > log

printf 'v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n' > triangle.obj
assimp export triangle.obj "$target/triangle.fbx" > log
