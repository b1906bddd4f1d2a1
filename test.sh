#!/usr/bin/env bash
# Builds everything and runs the tests.
#
#   ./test.sh                      all of them
#   ./test.sh unit                 one layer: native, unit, e2e or content; several may be named
#   ./test.sh unit -R slideshow    what follows goes to ctest
#   GTEST_FILTER='*Wipes*' ./test.sh unit   the unit tests of these names
#   ./test.sh e2e -k wallpaper     what follows e2e goes to pytest, unless it starts with -R
#
# The last lines are ctest's (or pytest's) summary; the exit status says whether
# all tests passed.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

say() { printf 'test: %s\n' "$*"; }
fail() { printf 'test: %s\n' "$*" >&2; exit 1; }
usage() { sed -n '2,11s/^# \{0,1\}//p' "$0"; }

layers=()
while [ $# -gt 0 ]; do
  case $1 in
    native | unit | e2e | content) layers+=("$1"); shift ;;
    -h | --help) usage; exit 0 ;;
    *) break ;;
  esac
done
all=0
if [ "${#layers[@]}" = 0 ]; then
  all=1
  layers=(native unit content e2e)
fi

wants() { [[ " ${layers[*]} " = *" $1 "* ]]; }

# What follows the layers are options. A slip is told before anything is built.
check_options() {
  case ${1:--} in
    -k*) [ "${layers[*]}" = e2e ] || fail "-k is pytest's, for e2e alone: ./test.sh e2e $*" ;;
    -*) ;;
    *) fail "there is no layer '$1'; the layers are native, unit, content and e2e" ;;
  esac
}
check_options "$@"

build() {
  local preset=$1
  say "building $preset"
  [ -f "build/$preset/build.ninja" ] || cmake --preset "$preset"
  cmake --build --preset "$preset"
}

tools/setup.sh
trees=()
if wants unit || wants content || wants e2e; then
  build windows-release
  trees+=(windows-release)
fi
if wants native; then
  build host-asan
  trees+=(host-asan)
fi

if [ "${layers[*]}" = e2e ] && [ $# -gt 0 ] && [ "$1" != -R ]; then
  say "running the end-to-end tests that '$*' selects"
  exec /usr/bin/python3 -m pytest tests/e2e "$@"
fi

# One ctest over both build trees, and so one summary. Tests wait more than they
# compute; cmake/TestShares.cmake tells what each takes of the eight shares.
printf 'subdirs("%s")\n' "${trees[@]}" > build/CTestTestfile.cmake
selection=()
if [ "$all" = 0 ]; then
  selection=(-L "^($(IFS='|'; echo "${layers[*]}"))\$")
fi
run=(ctest --test-dir build -j8 --output-on-failure --no-tests=error "${selection[@]}" "$@")
say "running: ${layers[*]}"
exec "${run[@]}"
