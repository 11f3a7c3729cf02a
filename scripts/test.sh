#!/bin/bash
# Builds everything and runs all tests on Wine.
#
#   scripts/test.sh [--traps | --gcc] [--long] [ctest arguments]
#
#   scripts/test.sh --traps       in a build that traps undefined behaviour
#   scripts/test.sh --gcc         in a build by the second compiler
#   scripts/test.sh --long        long form of the tests with random cases or races
#
#   scripts/test.sh -R Logger     only tests whose name matches; -E, -L, -LE and -I as in ctest
#   scripts/test.sh --rerun-failed    only the tests that failed in the last run
#   scripts/test.sh -N            lists the tests of the last build
#   scripts/test.sh -j1 -V        one at a time, with their output
#   scripts/test.sh --repeat until-fail:N, --stop-on-failure, --timeout SECONDS
#   scripts/test.sh --count       writes the number of tests of each program to tests/known_cases.txt
#
# Two test programs run at a time, each in its own Wine prefix. The exit code is not 0 if a test
# failed, if none matched, or if a complete run has fewer tests than tests/known_cases.txt says.
# Missing packages are installed with apt (as root, or through sudo).

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# ---- arguments ---------------------------------------------------------------------------------

selection=() # for ctest
patterns=()
running=(--jobs 2 --timeout 300)
count=compare build=yes

need_value() { [ $# -ge 2 ] || die "$1 takes a value (see --help)"; }
need_number() {
    need_value "$@"
    [[ $2 =~ ^[1-9][0-9]{0,5}$ ]] || die "$1 takes a number from 1, not '$2'"
}
select_tests() { selection+=("$@") count=no; }

while [ $# -gt 0 ]; do
    case $1 in
        -h | --help) show_help && exit ;;
        --traps) use_preset mingw-traps ;;
        --gcc) use_preset mingw-gcc ;;
        --long) export TARNWICK_LONG_TESTS=1 ;;
        --count) count="write" ;;
        -N | --show-only) build=no running+=(--list) ;;
        -R | -E | -L | -LE | --tests-regex | --exclude-regex | --label-regex | --label-exclude)
            need_value "$@"
            patterns+=("$2")
            select_tests "$1" "$2"
            shift
            ;;
        -I | --tests-information)
            need_value "$@"
            select_tests "$1" "$2"
            shift
            ;;
        --rerun-failed) select_tests "$1" ;;
        -j | --parallel)
            need_number "$@"
            running+=(--jobs "$2")
            shift
            ;;
        -j[1-9]*)
            need_number -j "${1#-j}"
            running+=(--jobs "${1#-j}")
            ;;
        --timeout)
            need_number "$@"
            running+=(--timeout "$2")
            shift
            ;;
        --repeat)
            need_value "$@"
            [[ $2 =~ ^until-fail:[1-9][0-9]{0,4}$ ]] ||
                die "--repeat takes until-fail:N; failed tests are never retried"
            running+=(--rounds "${2#*:}")
            shift
            ;;
        -V | -VV | --verbose | --extra-verbose) running+=(--verbose) ;;
        --stop-on-failure) running+=("$1") ;;
        --output-on-failure) ;; # always
        *) die "unknown argument: $1 (see --help)" ;;
    esac
    shift
done

# check_patterns: ends the command unless all are regular expressions of ctest, which are CMake's.
check_patterns() {
    local pattern
    for pattern in "${patterns[@]}"; do
        PATTERN=$pattern cmake -P scripts/check_pattern.cmake 2>/dev/null ||
            die "not a regular expression: $pattern"
    done
}

# ---- the run -----------------------------------------------------------------------------------

if [ "$build" = yes ]; then
    heading "Preparing the tests"
    need_packages "${build_packages[@]}" "${wine_packages[@]}" "${package_packages[@]}" \
        "${engine_packages[@]}"
    check_patterns
    build_targets all
else
    [ -f "$build_folder/CTestTestfile.cmake" ] ||
        die "nothing is built in ${build_folder#"$root/"} yet; run scripts/test.sh without -N"
fi
with_prefix_lock need_prefix

if [ "$build" = yes ]; then
    heading "Running the tests"
    setarch -R true 2>/dev/null ||
        field note 'no fixed addresses: about one start of Wine in 8,000 fails (docs/testing.md)'
fi
case $preset:$count in
    mingw:compare) [ -z "${CI:-}" ] || count=exact ;;
    *:compare) count=no ;;
esac
exec python3 -B scripts/run_tests.py --build "$build_folder" --blank-prefix "$blank_prefix" \
    --count "$count" "${running[@]}" -- "${selection[@]}"
