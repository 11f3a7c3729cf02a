#!/bin/bash
# Loads the files of a spool folder into ClickHouse and deletes each file that the engine has taken.
#
#   load.sh [--once] [--url URL] [--batch BYTES] SPOOL
#
#   SPOOL           holds a folder for each host, in which collect.cmd leaves *.jsonl files
#   --once          loads the present files and ends; otherwise checks again every five seconds
#   --url URL       of the engine's HTTP interface (http://127.0.0.1:8123)
#   --batch BYTES   size of one insertion (67108864); larger insertions make fewer parts to merge
#
# It may be killed at any time. A file that was sent but not deleted is sent again, and the table
# drops the records that come twice. A file that the engine can't parse is moved to SPOOL/refused.
# Exit code of --once: 0 everything was loaded, 1 something was refused or is left, 2 wrong usage.

set -uo pipefail

url=http://127.0.0.1:8123 batch=67108864 once='' pause=5
most_files=2000 # in one insertion: their names must fit into a command line
while [ $# -gt 1 ]; do
    case $1 in
        --once) once=1 ;;
        --url) url=$2 && shift ;;
        --batch) batch=$2 && shift ;;
        *) break ;;
    esac
    shift
done
spool=${1:-}
if [ $# -ne 1 ] || [ ! -d "$spool" ] || [[ ! $batch =~ ^[1-9][0-9]*$ ]]; then
    sed -n '2,${/^#/!q;s/^# \{0,1\}//p}' "$0" >&2
    exit 2
fi

answer=$(mktemp)
trap 'rm -f "$answer"' EXIT
say() { printf 'load.sh: %s\n' "$*" >&2; }

# Prints the whole lines of the files. A collection that was killed leaves part of a line at the end
# of a file; its record comes again. The engine rejects an insertion for half a surrogate pair, which
# a cut message can end in; it becomes U+FFFD.
whole_lines() {
    perl -ne '
        next unless /^\{.*\}\n\z/;
        s/((?:\\\\)+)|(\\u[dD][89abAB]..\\u[dD][c-fC-F]..)|\\u[dD][89a-fA-F]../$1 || $2 || "\\ufffd"/ge
            if /\\u[dD]/;
        print' "$@"
}

# send FILE...: one insertion. Returns 0: taken, 1: try again later, 2: the data can't be parsed.
send() {
    local status
    status=$(whole_lines "$@" | curl -sS --max-time 600 -o "$answer" -w '%{http_code}' -H 'Expect:' \
        --data-binary @- \
        "$url/?input_format_skip_unknown_fields=1&query=INSERT%20INTO%20quillon.arrivals%20FORMAT%20JSONEachRow") ||
        return 1
    [ "$status" != 200 ] || return 0
    # The codes for input that can't be parsed. The HTTP status is the same for an overload.
    if grep -qE '^Code: (6|25|26|27|33|38|41|72|117)[,.]' "$answer"; then
        return 2
    fi
    say "not taken, status $status: $(head -c 300 "$answer")"
    return 1
}

refuse() {
    local host
    host=$(basename "$(dirname "$1")")
    say "refused: $1: $(head -c 300 "$answer")"
    mkdir -p "$spool/refused" && mv -f "$1" "$spool/refused/$host-$(basename "$1")"
}

# load FILE...: an insertion that can't be parsed is repeated file by file to find the bad one.
load() {
    local result=0 file
    send "$@" || result=$?
    if [ $result -eq 0 ]; then
        rm -f "$@"
    elif [ $result -eq 2 ] && [ $# -gt 1 ]; then
        result=0
        for file in "$@"; do
            load "$file" || result=1
        done
    elif [ $result -eq 2 ]; then
        refuse "$1"
    fi
    return $result
}

# One look at the spool, in insertions of at most $batch bytes or $most_files files.
load_all() {
    local size path bytes=0 result=0
    local -a files=()
    while IFS=$'\t' read -r -d '' size path; do
        if [ ${#files[@]} -gt 0 ] &&
            { [ $((bytes + size)) -gt "$batch" ] || [ ${#files[@]} -ge $most_files ]; }; then
            load "${files[@]}" || result=1
            files=() bytes=0
        fi
        files+=("$path")
        bytes=$((bytes + size))
    done < <(find "$spool" -mindepth 2 -maxdepth 2 -name '*.jsonl' ! -path "$spool/refused/*" \
        -printf '%s\t%p\0' | sort -z -k2)
    [ ${#files[@]} -eq 0 ] || load "${files[@]}" || result=1
    return $result
}

if [ "$once" ]; then
    load_all
    exit
fi
while :; do
    load_all || say "something is left; trying again in $pause s"
    sleep "$pause"
done
