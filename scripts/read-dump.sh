#!/bin/bash
# Prints a dump of the service host: the exception, and the stacks of all threads with function, file
# and line, the crashed thread first.
#
#   scripts/read-dump.sh DUMP SYMBOLS...
#
#   DUMP       tarnwick-service.exe.dmp
#   SYMBOLS    the symbols zip of the release that crashed, or a folder with programs, libraries and
#              their PDBs, for example of a controller library; can be repeated
#
# Unknown parts are marked: a module that is in none of SYMBOLS, or only from another build. A stack
# ends early at a missing library. Missing packages are installed with apt (as root, or through sudo).

called_from=$PWD
# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

case ${1:-} in
    -h | --help) show_help && exit ;;
esac
[ $# -ge 2 ] || die "name a dump and its symbols (see --help)"
cd "$called_from"
for path in "$@"; do
    [ -e "$path" ] || die "no such file: $path"
done
[ "$(head -c 4 "$1")" = MDMP ] || die "not a dump: $1"
dump=$(realpath -- "$1")
shift

need_packages "${dump_packages[@]}"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

folders=()
for path in "$@"; do
    if [ -f "$path" ]; then
        unzip -q "$path" -d "$work/${#folders[@]}" || die "not a zip of symbols: $path"
        folders+=("$work/${#folders[@]}")
    else
        folders+=("$(realpath -- "$path")")
    fi
done

mkdir "$work/modules"
export READ_DUMP_FILE=$dump READ_DUMP_MODULES=$work/modules READ_DUMP_SYMBOLS
READ_DUMP_SYMBOLS=$(printf '%s\n' "${folders[@]}")
# Wine's own libraries; without them a stack ends there.
export READ_DUMP_SYSTEM=/usr/lib/x86_64-linux-gnu/wine/x86_64-windows
LLDB_USE_NATIVE_PDB_READER=1 "lldb-$llvm_version" --no-lldbinit --batch \
    -o "command script import \"$root/scripts/read_dump.py\"" 2>"$work/errors" >"$work/output" || true
sed '/^(lldb) /d' "$work/output"
grep -qx 'End of the dump' "$work/output" || {
    cat "$work/errors" >&2
    die "the dump could not be read"
}
