#!/bin/bash
# Runs the service for a long time under load and judges what it used.
#
#   scripts/soak.sh [--minutes N]    10 minutes unless told otherwise
#
# Four threads of the development controller log without a break, so that a file is closed and
# compressed every few seconds. The log folder is filled up beforehand, so that retention has
# something to take away. The service is stopped and started from time to time. Its handles, threads,
# private memory and log folder are sampled once a second.
#
# The result is a verdict, a picture (out/soak/soak.svg) and the table behind it
# (out/soak/samples.csv). The exit code is 0 if nothing grew, nothing was lost and every limit was
# kept. docs/soak.md tells what each check means.
#
# It works in a Wine prefix of its own, so that other commands can run beside it. Packages that are
# missing are installed by apt (as root, or through sudo).

soak_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
export TARNWICK_WINEPREFIX=${TARNWICK_WINEPREFIX:-$soak_root/build/wineprefix-soak}
# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

minutes=10
while [ $# -gt 0 ]; do
    case $1 in
        --minutes)
            [[ ${2:-} =~ ^[1-9][0-9]{0,4}$ ]] || die "--minutes takes a number from 1"
            minutes=$2
            shift
            ;;
        -h | --help) show_help && exit ;;
        *) die "unknown argument: $1 (see --help)" ;;
    esac
    shift
done

# Lives of one minute, or of two where there is time for five of them. The first half minute of each
# is its warm-up.
seconds=$((minutes * 60))
life=$((minutes < 10 ? 60 : 120))

folder=$root/out/soak
report=$root/tests/soak/report.py

# 400 lines of 1600 characters a second are 5 MiB in four seconds.
prepare_folders() {
    rm -rf "$folder" "$logs"
    mkdir -p "$folder/host"
    local name
    for name in tarnwick-service.exe orrin-ctrl.dll probe-plain.exe; do
        x86_64-w64-mingw32-strip -o "$folder/host/$name" "$build_folder/bin/$name"
    done
    echo 'chatty threads=4 rate=100 length=1600' >"$folder/host/orrin-ctrl.script"
    python3 -B "$report" --fill "$logs"
}

heading "Preparing"
need_packages "${build_packages[@]}" "${wine_packages[@]}" python3
build_targets tarnwick-service orrin_ctrl probe_plain soak-run
claim_service
begin_wine
windows_logs=$(service_data_folder)'\Velmora\Quillon\Logs'
logs=$(unix_path "$TARNWICK_WINEPREFIX" "$windows_logs")
quietly folders prepare_folders

heading "Running for $minutes min"
field lives "$((seconds / life)) of $life s"
field "log folder" "${logs#"$root/"}"
timeout $((seconds + 300)) "$root/cmake/wine.sh" "$build_folder/bin/soak-run.exe" "$seconds" \
    "$life" 'out\soak\host' "$windows_logs" 'out\soak\samples.csv' \
    7>&- </dev/null || die "the run failed"

heading Verdict
python3 -B "$report" "$folder" "$logs"
