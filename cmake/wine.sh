#!/bin/sh
# Runs a Windows program on Wine, in the project's own prefix. The scripts name the prefix in
# TARNWICK_WINEPREFIX; a test started by hand uses the one of the build folder.
root=$(cd "$(dirname "$0")/.." && pwd)
WINEPREFIX=${TARNWICK_WINEPREFIX:-$root/build/wineprefix}
WINEDEBUG=${WINEDEBUG:--all}
# Without its debugger a crash ends the program with the code of the exception; with it, a crashed
# test program could count as passed.
WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=;winemenubuilder.exe,winedbg.exe=d}
export WINEPREFIX WINEDEBUG WINEDLLOVERRIDES
# The loader itself: /usr/bin/wine is a script that warns about 32-bit support on every start.
for loader in /usr/lib/wine/wine64 wine64 wine; do
    if command -v "$loader" >/dev/null 2>&1; then
        exec "$loader" "$@"
    fi
done
echo "wine.sh: Wine is not installed (Debian: apt-get install wine wine64)" >&2
exit 127
