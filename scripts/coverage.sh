#!/bin/bash
# Counts which lines and branches of the product the tests run.
#
#   scripts/coverage.sh [--all] [ctest arguments]
#
#   --all     all tests. Default: the unit tests, and the command line tests for the entry point
#
# Prints a table. Fails if fewer than 97 of 100 lines were run, if a line that wasn't run has no reason
# in tests/coverage_reasons.txt, or if a reason there is outdated. Missing packages are installed with
# apt (as root, or through sudo).

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

targets=(framework_system_tests framework_logger_tests framework_log_files_tests
    framework_exception_tests tarnwick_service_tests process_tests)
chosen=(-R '^(framework_|tarnwick_service_tests|process_tests)')
case ${1:-} in
    -h | --help) show_help && exit ;;
    --all) targets=(all) chosen=() && shift ;;
esac

use_preset mingw-coverage

# shellcheck disable=SC2317 # called by its name
count_lines() {
    gcovr --root "$root" --gcov-executable x86_64-w64-mingw32-gcov-posix \
        --filter framework/ --filter tarnwick-service/ --exclude-throw-branches \
        --json "$build_folder/coverage.json" "$build_folder"
}

heading "Preparing the tests"
need_packages "${build_packages[@]}" "${wine_packages[@]}" gcovr python3
build_targets "${targets[@]}"
find "$build_folder" -name '*.gcda' -delete
claim_service
begin_wine

# A program writes its counts to the path of its object file on its current drive. A link on drive C
# leads to the same folder.
other_drive=$TARNWICK_WINEPREFIX/drive_c$(dirname "$build_folder")
mkdir -p "$other_drive"
ln -sfn "$build_folder" "$other_drive/$(basename "$build_folder")"

heading "Running the tests"
# One at a time: programs that run at the same time would add to the same files.
status=0
ctest --test-dir "$build_folder" --output-on-failure --no-tests=error --timeout 300 -j1 \
    "${chosen[@]}" "$@" 7>&- </dev/null || status=$?

heading "Counting"
quietly gcov count_lines
echo
python3 scripts/coverage.py "$build_folder/coverage.json" tests/coverage_reasons.txt || status=$?
exit "$status"
