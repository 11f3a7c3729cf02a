#!/bin/bash
# Measures quillon-log against the least that its job takes, and against zcat, iconv and grep.
#
#   scripts/bench_logs.sh [--quick] [NAME=PROGRAM...]
#
#   --quick        a small folder and one round; its figures mean nothing
#   NAME=PROGRAM   measures another quillon-log.exe in the same run
#
# The logs, 600 files of 5 MiB each before compression and 24 more of processes that ran at the same
# time, are made once in out/bench (330 MB, ten minutes). ROUNDS=N changes the number of rounds from
# 5. The table is written to out/bench/logs.md too. Packages that are missing are installed by apt
# (as root, or through sudo).

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

files=600 rounds=${ROUNDS:-5}
case ${1:-} in
    --quick) files=6 rounds=1 && shift ;;
    -h | --help) show_help && exit ;;
esac

build_folder=$root/build/bench
logs=$root/out/bench/logs-$files
overlapping=$root/out/bench/overlapping
build_bench() {
    cmake --preset mingw -B "$build_folder" -DTARNWICK_TESTS=OFF -DTARNWICK_BENCH=ON &&
        cmake --build "$build_folder" --target quillon-log bare-inflate
}

heading "Preparing the measurement"
need_packages "${build_packages[@]}" "${wine_packages[@]}" python3-minimal time
(
    flock 8
    quietly build build_bench 8>&-
) 8>"$root/build/build.lock"
# make_logs FOLDER ARGUMENT...
make_logs() {
    [ ! -d "$1" ] || return 0
    rm -rf "$1.new"
    quietly "${1##*/}" python3 "$root/bench/reader/make_logs.py" "$1.new" "${@:2}"
    mv "$1.new" "$1"
}
make_logs "$logs" "$files"
make_logs "$overlapping" 24 overlapping
begin_wine

heading "Measuring"
python3 "$root/bench/reader/measure.py" "$root/cmake/wine.sh" "$build_folder/bin/quillon-log.exe" \
    "$build_folder/bin/bare-inflate.exe" "$logs" "$overlapping" "$rounds" "$@" 7>&- | tee "$root/out/bench/logs.md"
