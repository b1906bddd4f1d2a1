#!/usr/bin/env bash
# Makes the pictures and sounds that MakeBundle's tests feed it, and what other
# programs say that they look like upright. Usage: make_fixtures.sh FOLDER
set -euo pipefail

rm -rf "$1"
mkdir -p "$1"
cd "$1"

# No two corners alike, so that no wrong turn looks right.
corners() {
  local size=$1 right=$((${1%x*} - 1)) bottom=$((${1#*x} - 1))
  shift
  convert -size "$size" xc: -sparse-color Bilinear \
    "0,0 #E02010 $right,0 #20C040 0,$bottom #2040E0 $right,$bottom #F0E060" "$@"
}

# Notes tags for a file (the last word); write_tags writes all of them in one
# go, since exiftool takes long to start.
tag() { printf '%s\n' "$@" -execute >> tags.args; }
write_tags() { exiftool -@ tags.args -common_args -q -q -n -overwrite_original; }

# In raw pixels, what the file should show.
upright() { convert "$1" -auto-orient -colorspace sRGB -depth 8 "rgb:${1%.jpg}.rgb"; }

# Whole blocks: 16 px a block with halved colours, 8 px with full ones.
corners 64x48 -sampling-factor 4:2:0 -quality 92 blocks.jpg
corners 61x47 -sampling-factor 4:2:0 -quality 92 uneven.jpg
turned=()
for name in blocks uneven; do
  for orientation in 1 2 3 4 5 6 7 8; do
    cp $name.jpg $name-$orientation.jpg
    tag -Orientation=$orientation $name-$orientation.jpg
    turned+=($name-$orientation.jpg)
  done
done

corners 72x40 -sampling-factor 4:4:4 -quality 92 full.jpg
corners 64x48 -sampling-factor 4:2:2 -quality 92 wide.jpg
corners 64x48 -interlace JPEG -sampling-factor 4:2:0 -quality 92 progressive.jpg
corners 64x48 -colorspace Gray -quality 92 gray.jpg
corners 64x48 -colorspace CMYK -quality 92 cmyk.jpg
for name in full wide progressive gray cmyk; do
  tag -Orientation=6 $name.jpg
  turned+=($name.jpg)
done

for kind in png gif bmp webp tiff; do corners 40x30 "plain.$kind"; done
for kind in png webp tiff; do
  corners 40x30 -define webp:lossless=true "turned.$kind"
  tag -Orientation=6 "turned.$kind"
done
corners 40x30 -rotate 90 -depth 8 rgb:turned.rgb

describe() {
  corners 16x16 "$1"
  tag "${@:2}" "$1"
}
describe exif.jpg '-EXIF:ImageDescription=From EXIF'
describe iptc.jpg '-IPTC:Caption-Abstract=From IPTC'
describe both.jpg '-IPTC:Caption-Abstract=From IPTC' '-EXIF:ImageDescription=DIGITAL CAMERA'
describe comment.jpg '-EXIF:UserComment=Grüße'
describe utf8.jpg '-EXIF:ImageDescription=Café & Bar'
describe latin.jpg -charset exif=latin '-EXIF:ImageDescription=Café'
describe date-2.jpg '-EXIF:DateTimeOriginal=2001:01:02 10:00:00'
describe date-1.jpg '-EXIF:DateTimeOriginal=2003:01:02 10:00:00'
corners 16x16 date-0.jpg

write_tags
for name in "${turned[@]}"; do upright "$name"; done
head -c 700 blocks-1.jpg > cut.jpg
head -c 700 blocks-6.jpg > cut-6.jpg

for kind in mp3 ogg wav; do
  ffmpeg -nostdin -v error -y -f lavfi -i sine=duration=0.3 "tone.$kind"
done

# So large that decoding it takes a while.
corners 300x200 -scale 3000x2000! -quality 90 large.jpg

# Names that only a file system of this machine can hold.
mkdir same-names question-mark
cp blocks.jpg same-names/a.jpg
cp blocks.jpg same-names/A.jpg
cp blocks.jpg 'question-mark/?a.jpg'
