#!/bin/sh
# Runs a Windows program on Wine, in the prefix of TARNWICK_WINEPREFIX. The scripts set it; by default it
# is the prefix of the build folder.
root=$(cd "$(dirname "$0")/.." && pwd)
WINEPREFIX=${TARNWICK_WINEPREFIX:-$root/build/wineprefix}
WINEDEBUG=${WINEDEBUG:--all}
# Wine's debugger is off. A crash then ends the program with the exception code; with the debugger, a
# crashed test program could count as passed.
WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=;winemenubuilder.exe,winedbg.exe=d}
export WINEPREFIX WINEDEBUG WINEDLLOVERRIDES
# With randomised addresses about one start in 8,000 fails with status 1 and no message: the kernel puts
# the loader's heap (132 KiB, somewhere in the GiB above 0x7d000000) over the page at 0x7ffe0000, which
# Windows programs need. Child processes inherit the setting.
fixed=
if setarch -R true 2>/dev/null; then
    fixed='setarch -R'
fi
# The loader itself, because the script /usr/bin/wine warns about 32-bit support on every start.
for loader in /usr/lib/wine/wine64 wine64 wine; do
    if command -v "$loader" >/dev/null 2>&1; then
        # shellcheck disable=SC2086 # two words or none
        exec $fixed "$loader" "$@"
    fi
done
echo "wine.sh: Wine is not installed (Debian: apt-get install wine wine64)" >&2
exit 127
