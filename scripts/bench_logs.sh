#!/bin/bash
# Measures quillon-log against the least that its job takes, and against zcat, iconv and grep.
#
#   scripts/bench_logs.sh [--quick] [NAME=PROGRAM...]
#
#   --quick        a small folder and one round; its figures mean nothing
#   NAME=PROGRAM   measures another quillon-log.exe in the same run
#
# The folder of logs, 600 files of 5 MiB compressed, is made once in out/bench/logs. The table is
# written to out/bench/logs.md too. Packages that are missing are installed by apt (as root, or
# through sudo).

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

files=600 rounds=5
case ${1:-} in
    --quick) files=6 rounds=1 && shift ;;
    -h | --help) show_help && exit ;;
esac

build_folder=$root/build/bench
logs=$root/out/bench/logs-$files
build_bench() {
    cmake --preset mingw -B "$build_folder" -DTARNWICK_TESTS=OFF -DTARNWICK_BENCH=ON &&
        cmake --build "$build_folder" --target quillon-log bare-inflate
}

heading "Preparing the measurement"
need_packages "${build_packages[@]}" "${wine_packages[@]}" python3-minimal
(
    flock 8
    quietly build build_bench 8>&-
) 8>"$root/build/build.lock"
if [ ! -d "$logs" ]; then
    rm -rf "$logs.new"
    quietly "folder of logs" python3 "$root/bench/reader/make_logs.py" "$logs.new" "$files"
    mv "$logs.new" "$logs"
fi
begin_wine

heading "Measuring"
python3 "$root/bench/reader/measure.py" "$root/cmake/wine.sh" "$build_folder/bin/quillon-log.exe" \
    "$build_folder/bin/bare-inflate.exe" "$logs" "$rounds" "$@" 7>&- | tee "$root/out/bench/logs.md"
