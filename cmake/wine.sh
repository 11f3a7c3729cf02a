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
# With addresses drawn by chance, one start in some 8,000 fails without a word and with status 1: the
# kernel puts the loader's heap (132 KiB, somewhere in the GiB above 0x7d000000) where Windows keeps
# the page at 0x7ffe0000. What the program starts takes the setting over.
fixed=
if setarch -R true 2>/dev/null; then
    fixed='setarch -R'
fi
# The loader itself: /usr/bin/wine is a script that warns about 32-bit support on every start.
for loader in /usr/lib/wine/wine64 wine64 wine; do
    if command -v "$loader" >/dev/null 2>&1; then
        # shellcheck disable=SC2086 # two words or none
        exec $fixed "$loader" "$@"
    fi
done
echo "wine.sh: Wine is not installed (Debian: apt-get install wine wine64)" >&2
exit 127
