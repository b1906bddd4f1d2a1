#!/usr/bin/env bash
# Wine prefixes for building, running and testing: one template, made once a
# checkout, and clones of it that cost a twentieth of a second each.
#
#   tools/wine-prefix.sh template            make the template if it isn't there; print its folder
#   tools/wine-prefix.sh clone DIR           a fresh clone in DIR; what stood there goes
#   tools/wine-prefix.sh ensure DIR          a clone in DIR unless there is one; its settings stay
#   tools/wine-prefix.sh env DIR             print the shell lines that select DIR, for eval
#   tools/wine-prefix.sh run DIR CMD ...     ensure DIR, then run CMD with that environment
#   tools/wine-prefix.sh tool CMD ...        the same in a prefix beside the template, for
#                                            the programs of our own that the build runs
#   tools/wine-prefix.sh stop DIR            end everything that still runs in DIR
#
# The template lies in build/wine/template; VELMORA_WINE_DIR, an absolute path, names
# another folder in place of build/wine. Any number of these may run at once. Nothing
# here reads or writes ~/.wine or any other file of the user's home.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
wine_dir=${VELMORA_WINE_DIR:-$here/../build/wine}
mkdir -p "$wine_dir"
wine_dir=$(cd "$wine_dir" && pwd)
template=$wine_dir/template
lock=$wine_dir/.lock

fail() { printf 'wine-prefix: %s\n' "$*" >&2; exit 1; }

# What the template was made from; another value means that it is out of date.
recipe() { { cat "${BASH_SOURCE[0]}"; wine --version; } | sha256sum | cut -d' ' -f1; }

# The private home keeps Wine's Documents, Music and so on out of the user's;
# the X cookie is the one thing of the real home that a display needs. A proxy
# in the environment would be obeyed by Wine's own network code.
select_prefix() {
  local prefix=$1
  if [ -z "${XAUTHORITY:-}" ] && [ -f "${HOME:-/nonexistent}/.Xauthority" ]; then
    export XAUTHORITY=$HOME/.Xauthority
  fi
  USER=$(id -un)
  export USER LOGNAME=$USER  # the name of the Windows user
  export WINEPREFIX=$prefix WINEARCH=win32 HOME=$prefix/home LC_ALL=C.UTF-8
  export WINEDEBUG=${WINEDEBUG:--all}
  export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml,winemenubuilder.exe=}
  unset http_proxy https_proxy ftp_proxy all_proxy no_proxy
  unset HTTP_PROXY HTTPS_PROXY FTP_PROXY ALL_PROXY NO_PROXY
}

print_environment() {
  select_prefix "$1"
  local name
  for name in XAUTHORITY USER LOGNAME WINEPREFIX WINEARCH HOME LC_ALL WINEDEBUG WINEDLLOVERRIDES; do
    [ -z "${!name:-}" ] || printf 'export %s=%q\n' "$name" "${!name}"
  done
  echo "unset http_proxy https_proxy ftp_proxy all_proxy no_proxy"
  echo "unset HTTP_PROXY HTTPS_PROXY FTP_PROXY ALL_PROXY NO_PROXY"
}

# Managed=N: with no window manager about, closing a managed window takes two
# seconds. ShowCrashDialog=0: a crash would wait for somebody to press a button.
# Arial: the captions ask for it, and Wine lists it only as a replacement.
template_settings() {
  cat <<'REG'
REGEDIT4

[HKEY_CURRENT_USER\Software\Wine\X11 Driver]
"Managed"="N"

[HKEY_CURRENT_USER\Software\Wine\WineDbg]
"ShowCrashDialog"=dword:00000000

[HKEY_CURRENT_USER\Software\Wine\Fonts\Replacements]
"Arial"="Liberation Sans"
REG
}

# Wine links Documents and the like to the home folder. Real folders instead
# make the template self-contained, so that clones don't share them.
unlink_home() {
  local link
  find "$1/drive_c/users" -type l | while read -r link; do
    rm "$link"
    mkdir "$link"
  done
}

build_template() {
  local fresh=$template.new.$$
  rm -rf "$template" "$template".new.*
  mkdir -p "$fresh/home"
  (
    select_prefix "$fresh"
    unset DISPLAY
    template_settings > "$fresh/settings.reg"
    wineboot -i && wine regedit /S "Z:${fresh//\//\\}\\settings.reg" && wineserver -w
  ) < /dev/null > "$wine_dir/template.log" 2>&1 ||
    fail "wineboot failed; see $wine_dir/template.log"
  grep -q '"Managed"="N"' "$fresh/user.reg" ||
    fail "the template didn't take its settings; see $wine_dir/template.log"
  rm "$fresh/settings.reg"
  unlink_home "$fresh"
  recipe > "$fresh/.recipe"
  mv "$fresh" "$template"
}

# The first process to come makes the template, the others wait for it.
ensure_template() {
  command -v wine > /dev/null || fail "wine isn't installed; run tools/setup.sh"
  local wanted
  wanted=$(recipe)
  [ "$(cat "$template/.recipe" 2> /dev/null)" != "$wanted" ] || return 0
  exec 9> "$lock"
  flock 9
  if [ "$(cat "$template/.recipe" 2> /dev/null)" != "$wanted" ]; then
    printf 'wine-prefix: making the template prefix, once\n' >&2
    build_template 9>&-
  fi
  exec 9>&-
}

# Hard links, but for the files that Wine rewrites in place: shared, those
# would carry one clone's settings into the template and all others.
copy_template() (
  local to=$1 file
  cd "$template"
  cp -al "$template" "$to" 2> /dev/null || { rm -rf "$to"; cp -a "$template" "$to"; }
  for file in *.reg drive_c/windows/*.ini; do
    rm "$to/$file"
    cp -p "$template/$file" "$to/$file"
  done
)

# A clone is put together aside and moved into place whole.
make_clone() {
  local prefix=$1 fresh=$1.new.$$
  mkdir -p "$(dirname "$prefix")"
  copy_template "$fresh"
  mv -T "$fresh" "$prefix"
}

ensure_clone() {
  local prefix=$1
  [ ! -f "$prefix/.recipe" ] || return 0
  ensure_template
  exec 8> "$lock.clone"
  flock 8
  [ -f "$prefix/.recipe" ] || make_clone "$prefix" 8>&-
  exec 8>&-
}

fresh_clone() {
  local prefix=$1
  ensure_template
  if [ -e "$prefix" ]; then
    stop_prefix "$prefix"
    rm -rf "$prefix"
  fi
  make_clone "$prefix"
}

stop_prefix() {
  [ -d "$1" ] || return 0
  select_prefix "$1"
  wineserver -k 2> /dev/null || return 0  # nothing was running
  wineserver -w
}

run_in() {
  local prefix=$1
  shift
  ensure_clone "$prefix"
  select_prefix "$prefix"
  exec "$@"
}

absolute() { [[ $1 = /* ]] && echo "$1" || echo "$PWD/$1"; }

[ $# -ge 1 ] ||
  fail "usage: template | clone DIR | ensure DIR | env DIR | run DIR CMD... | tool CMD... | stop DIR"
action=$1
shift
[ "$action" = template ] || [ $# -ge 1 ] || fail "$action needs a folder or a command"
case $action in
  template) ensure_template; echo "$template" ;;
  clone) fresh_clone "$(absolute "$1")" ;;
  ensure) ensure_clone "$(absolute "$1")" ;;
  env) print_environment "$(absolute "$1")" ;;
  run) run_in "$(absolute "$1")" "${@:2}" ;;
  tool) run_in "$wine_dir/tools" "$@" ;;
  stop) stop_prefix "$(absolute "$1")" ;;
  *) fail "unknown action $action" ;;
esac
