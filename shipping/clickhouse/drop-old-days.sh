#!/bin/bash
# Retention: drops the days that are older than a number of days. For a daily timer.
#
#   drop-old-days.sh [--url URL] DAYS
#
# Dropping a partition deletes its files; nothing is rewritten. From ClickHouse 19.6 on a TTL of the
# table can take the place of this script.

set -euo pipefail

url=http://127.0.0.1:8123
if [ "${1:-}" = --url ] && [ $# -eq 3 ]; then
    url=$2
    shift 2
fi
if [ $# -ne 1 ] || [[ ! $1 =~ ^[1-9][0-9]*$ ]]; then
    sed -n '2,${/^#/!q;s/^# \{0,1\}//p}' "$0" >&2
    exit 2
fi

ask() { curl -sS --fail --max-time 600 --data-binary "$1" "$url/"; }

days=$(ask "SELECT DISTINCT partition FROM system.parts WHERE active AND database = 'quillon'
    AND table = 'records' AND partition < toString(today() - $1) ORDER BY partition")
for day in $days; do
    ask "ALTER TABLE quillon.records DROP PARTITION ${day@Q}"
    echo "dropped $day"
done
