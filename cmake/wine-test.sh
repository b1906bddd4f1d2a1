#!/usr/bin/env bash
# Runs a Windows program of the tests in the prefix that tests/environment.sh
# has prepared (WINEPREFIX and DISPLAY come from there).
#
# A program that crashed may end with 0, once Wine's debugger is through with it.
# So a GoogleTest program has passed only if its summary says so.
set -uo pipefail
case " $* " in
  *" --gtest_brief=1 "*) ;;
  *) exec wine "$@" ;;
esac

output=$(mktemp)
trap 'rm -f "$output"' EXIT
wine "$@" 2>&1 | tee "$output" || exit
grep -q '^\[  PASSED  \]' "$output" || { echo "the program ended before its tests did"; exit 1; }
