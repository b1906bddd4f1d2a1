#!/usr/bin/env bash
# Runs a command in what a unit test needs: a display without a screen, a
# fresh Wine prefix and a server that stays warm, so that a program in it starts
# in a few hundredths of a second. All of it ends with the command, also when
# that fails or is interrupted.
#
#   tests/environment.sh wine build/windows-release/tests/unit/base/unit_base.exe
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
prefix_tool=$here/../tools/wine-prefix.sh
wine_dir=${VELMORA_WINE_DIR:-$here/../build/wine}

fail() { printf 'environment: %s\n' "$*" >&2; exit 1; }
for tool in Xvfb wine; do
  command -v "$tool" > /dev/null || fail "$tool isn't installed; run tools/setup.sh"
done

mkdir -p "$wine_dir"
folder=$(mktemp -d "$wine_dir/unit-XXXXXX")
display_pid=
command_pid=

# The command has a process group of its own, which takes the signal whole.
clean_up() {
  trap - EXIT INT TERM
  [ -z "$command_pid" ] || kill -TERM -- "-$command_pid" 2> /dev/null || true
  "$prefix_tool" stop "$folder/prefix" || true
  [ -z "$display_pid" ] || kill "$display_pid" 2> /dev/null || true
  rm -rf "$folder"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# The server picks a free number by itself and tells it through the pipe. It
# ends with this script, even if that is killed.
mkfifo "$folder/number"
setpriv --pdeathsig TERM Xvfb -screen 0 1024x768x24 -nolisten tcp -noreset -displayfd 3 \
  3> "$folder/number" > "$folder/display.log" 2>&1 < /dev/null &
display_pid=$!
read -r number < "$folder/number" || fail "Xvfb didn't start: $(cat "$folder/display.log")"
export DISPLAY=:$number

"$prefix_tool" clone "$folder/prefix"
eval "$("$prefix_tool" env "$folder/prefix")"
wineserver -p60  # a minute without any program ends it
wine wineboot  # the services that the first program would wait for

set -m
"$@" &
command_pid=$!
set +m
status=0
wait "$command_pid" || status=$?
command_pid=
exit "$status"
