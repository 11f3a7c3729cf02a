#!/bin/bash
# Measures the service host against limits in the same run and prints one table.
#
#   scripts/bench.sh [--quick]
#
#   --quick   only checks that every measurement runs; its figures are meaningless
#
# The table is also written to out/bench/performance.md and out/bench/performance.json. Everything,
# Wine's server included, is bound to one processor unless a row needs two. docs/performance.md
# explains the table. Missing packages are installed with apt (as root, or through sudo).

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

quick=()
case ${1:-} in
    '') ;;
    --quick) quick=(--quick) ;;
    -h | --help) show_help && exit ;;
    *) die "unknown argument: $1 (see --help)" ;;
esac

# A separate build folder, because the measuring programs are built only on request. The product in it
# is built as it ships.
build_folder=$root/build/bench
build_bench() {
    cmake --preset mingw -B "$build_folder" -DTARNWICK_TESTS=OFF -DTARNWICK_BENCH=ON &&
        cmake --build "$build_folder"
}

heading "Preparing the measurement"
need_packages "${build_packages[@]}" "${wine_packages[@]}" libspdlog-dev libfmt-dev python3-minimal \
    util-linux
(
    flock 8
    quietly build build_bench 8>&-
) 8>"$root/build/build.lock"
programs=$build_folder/bin/bench
x86_64-w64-mingw32-strip -o "$programs/tarnwick-service.exe" "$build_folder/bin/tarnwick-service.exe"
rows=$root/out/bench/rows.jsonl
mkdir -p "$root/out/bench"
: >"$rows"

claim_service
# From here on, this command and all its programs use one processor.
taskset -pc 0 $$ >/dev/null
begin_wine

measure() {
    local label=$1
    shift
    printf '  %-15s' "$label"
    local began=$SECONDS
    timeout 600 "$root/cmake/wine.sh" "$@" "${quick[@]}" 7>&- </dev/null >>"$rows" ||
        die "$label: the measurement failed"
    printf 'done in %d s\n' $((SECONDS - began))
}

heading "Measuring"
measure logger "$build_folder/bin/bench-log.exe"
taskset -pc 0,1 $$ >/dev/null
measure "two processors" "$build_folder/bin/bench-log.exe" --two-processors
taskset -pc 0 $$ >/dev/null
measure processes "$build_folder/bin/bench-process.exe" "Z:${programs//\//\\}"

heading "Product against limit"
python3 "$root/bench/report.py" "$rows" "$build_folder" "$root/out/bench" "${quick[@]}"
