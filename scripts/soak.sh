#!/bin/bash
# Runs the service for a long time under load and checks its resource use.
#
#   scripts/soak.sh [--minutes N]    default: 10 minutes
#
# Four threads of the development controller log continuously, so that a file is closed and compressed
# every few seconds. The log folder is full at the start, so that retention has files to delete. The
# service is restarted from time to time. Its handles, threads, private memory and log folder are
# sampled every second.
#
# The results are a verdict and its samples (out/soak/samples.csv). The exit code is 0 if nothing grew,
# nothing was lost and every limit was kept. docs/soak.md explains the checks.
#
# It uses its own Wine prefix, so other commands can run at the same time. Missing packages are
# installed with apt (as root, or through sudo).

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

# A life of the service takes one minute, or two if there is time for five. Its first half minute is a
# warm-up.
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
