#!/usr/bin/env bash
# Builds Velmora 2 and starts the show.
#
#   ./run.sh [options]
#
# With a display the show opens there; a key, a click or the mouse ends it, but
# for the arrow keys, which steer the music: right and left for the next and the
# previous track, up to start it again, down to pause and go on.
# Without one it runs on a display that nobody sees, and leaves a contact sheet,
# out/show.png, and the program's log, out/VelmoraLog.txt.
#
#   --build          only build
#   --fast           fast mode: draw without Direct3D, for weak machines; for this
#                    show alone, whatever is set
#   --pictures DIR   show the pictures in DIR
#   --config         open the settings instead of the show; needs a display
#   --seconds N      without a display: watch the show for N seconds; the exit
#                    status is 1 if fewer than two pictures came in that time
#   --out DIR        where the sheet and the log go; out/ unless told
#   --size WxH       on a display: the show in a window of that size;
#                    without one: the size of the screen, 1024x768 unless told
#   --help           this text
#
# The first run installs what is missing and builds everything; later ones need
# no network. Settings live in a Wine prefix of the show's own, build/wine/show,
# and stay from one run to the next.
set -euo pipefail
called_from=$PWD
cd "$(dirname "${BASH_SOURCE[0]}")"

say() { printf 'run: %s\n' "$*"; }
fail() { printf 'run: %s\n' "$*" >&2; exit 1; }
usage() { sed -n '2,/^set /s/^# \{0,1\}//p' "$0"; }
absolute() { [[ $1 = /* ]] && echo "$1" || echo "$called_from/$1"; }

wanted_pictures=4
only_build=0 config=0 fast=0 pictures= seconds= out=out size=
parse() {
  while [ $# -gt 0 ]; do
    case $1 in
      --pictures | --seconds | --out | --size) [ $# -ge 2 ] || fail "$1 needs a value" ;;
    esac
    case $1 in
      --build) only_build=1 ;;
      --fast) fast=1 ;;
      --config) config=1 ;;
      --pictures) pictures=$(absolute "$2"); shift ;;
      --seconds) seconds=$2; shift ;;
      --out) out=$(absolute "$2"); shift ;;
      --size) size=$2; shift ;;
      -h | --help) usage; exit 0 ;;
      *) fail "unknown option $1; --help tells what there is" ;;
    esac
    shift
  done
  [[ -z $seconds || $seconds =~ ^[0-9]+$ ]] ||
    fail "--seconds takes a whole number, not '$seconds'"
  [[ -z $size || $size =~ ^[1-9][0-9]*x[1-9][0-9]*$ ]] ||
    fail "--size takes something like 1024x768, not '$size'"
  [ -z "$pictures" ] || [ -d "$pictures" ] || fail "there is no folder $pictures"
  [ -z "$seconds" ] || wanted_pictures=2
}

build() {
  say "building"
  [ -f build/windows-release/build.ninja ] || cmake --preset windows-release
  cmake --build --preset windows-release --target "$1"
}

# --- The prefix that the show runs in

prefix=
select_prefix() {
  prefix=${VELMORA_WINE_DIR:-$PWD/build/wine}/$1
  tools/wine-prefix.sh ensure "$prefix"
  eval "$(tools/wine-prefix.sh env "$prefix")"
}

readonly settings_key='HKCU\Software\Tarnwick\TarnwickSaver\Velmora2'
store() { wine reg add "$settings_key" /v "$1" /t "$2" /d "$3" /f > /dev/null; }

# Type and value of a stored number; nothing if there is none.
stored() {
  wine reg query "$settings_key" /v "$1" 2> /dev/null |
    tr -d '\r' | awk -v name="$1" '$1 == name { print $2, $3 }' || true
}

# A setting for this run alone. What stood there comes back at the end.
declare -A kept=()
borrow() {
  kept[$1]=$(stored "$1")
  store "$1" REG_DWORD "$2"
}

give_back() {
  local name type value
  for name in "${!kept[@]}"; do
    read -r type value <<< "${kept[$name]}"
    if [ -n "$value" ]; then
      store "$name" "$type" "$value"
    else
      wine reg delete "$settings_key" /v "$name" /f > /dev/null
    fi
  done
}

# --- What is shown: the install folder, or one like it with the user's pictures

folder=$PWD/build/dist
pack_pictures() {
  folder=$PWD/build/own-show
  say "packing the pictures in $pictures"
  rm -rf "$folder"
  cp -al build/dist "$folder"
  rm -f "$folder/images.bdl"
  wine "$folder/MakeBundle.exe" pack "$(winepath -w "$folder/images.bdl")" \
    --pictures "$(winepath -w "$pictures")" --captions-from-picture --skip-bad \
    --music "$(winepath -w build/windows-release/content/music)" ||
    fail "the pictures couldn't be packed"
  local count
  tools/chksum/chksum.py "$folder"
  count=$(count_pictures)
  say "packed $count pictures"
  [ "$count" -ge "$wanted_pictures" ] || wanted_pictures=$count
}

# The lines of the list's part [image] that begin with a number.
count_pictures() {
  wine "$folder/MakeBundle.exe" list "$(winepath -w "$folder/images.bdl")" |
    awk '/^\[/ { part = $1 }
      part ~ /^\[image\]/ && $1 ~ /^[0-9]+$/ { count++ }
      END { print count + 0 }'
}

prepare() {
  select_prefix "$1"
  [ -z "$pictures" ] || pack_pictures
  [ -f "$folder/images.bdl" ] ||
    fail "$folder/images.bdl is missing: the build didn't pack the pictures"
  # An installer's copy; the program looks for it after a failure.
  cp "$folder/Velmora2.scr" "$prefix/drive_c/windows/"
}

# Ends with this script, however that ends: what was set for it, the programs in
# the prefix, and the display if it is ours.
display_pid= work=
clean_up() {
  trap - EXIT INT TERM
  give_back || true
  [ -z "$prefix" ] || tools/wine-prefix.sh stop "$prefix" || true
  [ -z "$display_pid" ] || kill "$display_pid" 2> /dev/null || true
  [ -z "$work" ] || rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# --- On a display

has_display() { [ -n "${DISPLAY:-}" ] && xdpyinfo > /dev/null 2>&1; }

# A sound server with a real output, or a sound card. Asking must not start a
# server, nor wait for one that hangs.
has_sound() {
  local sink
  sink=$(PULSE_CLIENTCONFIG=<(echo "autospawn = no") timeout 3 \
    pactl get-default-sink 2> /dev/null) || sink=
  [[ -n $sink && $sink != auto_null ]] || compgen -G '/dev/snd/pcm*p' > /dev/null
}

# Without a device the program would say so in a box that somebody has to close.
do_without_music() {
  say "there is no sound device here: the show is silent"
  borrow PlayMusic 0
}

# In the background, so that a signal to this script is heeded at once.
start_program() {
  local desktop=()
  [ -z "$size" ] || desktop=(explorer "/desktop=Velmora,$size")
  wine "${desktop[@]}" "$folder/Velmora2.scr" "$1" &
  wait $!
}

configure() {
  prepare show
  say "opening the settings; OK stores them, and every show here keeps to them"
  start_program /c
}

run_on_display() {
  local sound=1
  has_sound || sound=0  # asked of the user's own surroundings, before the prefix's
  prepare show
  [ "$fast" = 0 ] || borrow FastMode 1
  [ "$sound" = 1 ] || do_without_music
  say "starting; the arrow keys steer the music, any other key, a click or the mouse ends the show"
  start_program /s
}

# --- Without one

# The server picks a free number by itself and tells it through the pipe.
start_display() {
  command -v Xvfb > /dev/null || fail "Xvfb isn't installed; run tools/setup.sh"
  work=$(mktemp -d "$PWD/build/show-XXXXXX")
  mkfifo "$work/number"
  setpriv --pdeathsig TERM Xvfb -screen 0 "${size:-1024x768}x24" -nolisten tcp -noreset \
    -fbdir "$work" -displayfd 3 3> "$work/number" > "$work/display.log" 2>&1 < /dev/null &
  display_pid=$!
  read -r number < "$work/number" || fail "Xvfb didn't start: $(cat "$work/display.log")"
  export DISPLAY=:$number
}

log_file() { echo "$prefix/drive_c/users/$USER/AppData/Roaming/Tarnwick/Velmora2/VelmoraLog.txt"; }

# A prefix of its own: the short delay and the captions are for the sheet alone.
# Nobody hears the music there.
run_unseen() {
  start_display
  prepare sheet
  store FastMode REG_DWORD "$fast"
  store ImageDelay REG_SZ 2.500000
  store PlayMusic REG_DWORD 0
  store ShowCaptions REG_DWORD 1
  mkdir -p "$out"
  rm -f "$(log_file)" "$out/show.png" "$out/VelmoraLog.txt"
  say "no display: watching the show on one of its own, ${size:-1024x768}, without music"
  wine "$folder/Velmora2.scr" /s &
  local show=$! status=0
  /usr/bin/python3 -B tools/contact_sheet.py "$work" "$out/show.png" --pid "$show" \
    --wanted "$wanted_pictures" --change "$([ "$fast" = 1 ] && echo wipe || echo crossfade)" \
    ${seconds:+--seconds "$seconds"} || status=$?
  xdotool key q 2> /dev/null || true
  wait_for_end "$show" || say "the show doesn't end by a key"
  cp "$(log_file)" "$out/VelmoraLog.txt" || fail "the show wrote no log"
  say "the log is $out/VelmoraLog.txt"
  [ ! -f "$out/show.png" ] || say "the contact sheet is $out/show.png"
  return "$status"
}

wait_for_end() {
  local turn
  for turn in $(seq 100); do
    kill -0 "$1" 2> /dev/null || return 0
    sleep 0.1
  done
  return 1
}

parse "$@"
tools/setup.sh
build "$([ "$only_build" = 1 ] && echo installer || echo dist)"
if [ "$only_build" = 1 ]; then
  say "built: build/dist, and build/installer/Velmora2-Setup.exe that installs it"
elif has_display; then
  if [ "$config" = 1 ]; then configure; else run_on_display; fi
elif [ "$config" = 1 ]; then
  fail "the settings need a display, and there is none (DISPLAY is '${DISPLAY:-}')"
else
  run_unseen
fi
