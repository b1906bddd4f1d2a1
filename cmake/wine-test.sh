#!/usr/bin/env bash
# Runs a Windows program of the tests in the prefix that tests/environment.sh
# has prepared (WINEPREFIX and DISPLAY come from there).
exec wine "$@"
