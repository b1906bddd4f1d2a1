#!/usr/bin/env bash
# Makes the encoded sounds that the decoders are tried on, and what an
# independent decoder makes of each: NAME.f32, floating point, channels as in
# the file.
#
#   make_sounds.sh FOLDER
set -euo pipefail

folder=$1
command -v ffmpeg > /dev/null || { echo "make_sounds: ffmpeg isn't installed; run tools/setup.sh" >&2; exit 1; }
rm -rf "$folder"
mkdir -p "$folder"

run() { ffmpeg -nostdin -hide_banner -loglevel error -y "$@"; }

# Three seconds of two chords that fade in and out and a slow sweep, not the
# same on both sides.
chord() { printf '0.2*sin(2*PI*%s*t)+0.15*sin(2*PI*%s*t)+0.1*sin(2*PI*(300+200*t)*t)' "$1" "$2"; }
fade='sin(PI*t/3)'
run -f lavfi -i "aevalsrc=$fade*($(chord 440 660))|$fade*($(chord 330 880)):d=3:s=44100" \
  -c:a pcm_f32le "$folder/source.wav"

# encode NAME OPTIONS...: the sound in one more format, and its decoded form.
encode() {
  local name=$1
  shift
  run -i "$folder/source.wav" -map_metadata -1 "$@" "$folder/$name"
  run -i "$folder/$name" -f f32le -c:a pcm_f32le "$folder/$name.f32"
}

encode u8.wav -c:a pcm_u8
encode s16.wav -c:a pcm_s16le
encode s24.wav -c:a pcm_s24le
encode s32.wav -c:a pcm_s32le
encode f32.wav -c:a pcm_f32le
encode f64.wav -c:a pcm_f64le
encode alaw.wav -c:a pcm_alaw
encode mulaw.wav -c:a pcm_mulaw
encode mono-8k.wav -c:a pcm_s16le -ac 1 -ar 8000
encode six-channels.wav -c:a pcm_s16le -af 'pan=5.1|c0=c0|c1=c1|c2=0.5*c0|c3=0.5*c1|c4=0.25*c0|c5=0.25*c1'
encode ms-adpcm.wav -c:a adpcm_ms
encode ms-adpcm-mono-22k.wav -c:a adpcm_ms -ac 1 -ar 22050
encode ima-adpcm.wav -c:a adpcm_ima_wav
encode ima-adpcm-mono-22k.wav -c:a adpcm_ima_wav -ac 1 -ar 22050
encode mp2.mp2 -c:a mp2 -b:a 192k
encode mp3.mp3 -c:a libmp3lame -b:a 128k
encode mp3-vbr-48k.mp3 -c:a libmp3lame -q:a 4 -ar 48000
encode mp3-mono-22k.mp3 -c:a libmp3lame -b:a 48k -ac 1 -ar 22050
encode mp3-tagged.mp3 -c:a libmp3lame -b:a 128k -metadata title=Tagged -id3v2_version 3
encode mp3-in.wav -c:a libmp3lame -b:a 128k
encode vorbis.ogg -c:a libvorbis -q:a 5
encode vorbis-mono-22k.ogg -c:a libvorbis -q:a 3 -ac 1 -ar 22050
encode vorbis-48k.ogg -c:a libvorbis -q:a 5 -ar 48000

# Two streams in a row, of different rates.
cat "$folder/vorbis.ogg" "$folder/vorbis-mono-22k.ogg" > "$folder/vorbis-chained.ogg"
