#!/bin/bash
# Builds everything and runs all tests on Wine.
#
#   scripts/test.sh [--traps] [--long] [ctest arguments]
#
#   scripts/test.sh --traps       in a build that ends a program where the behaviour is undefined
#   scripts/test.sh --long        the tests that draw cases or provoke races take their time
#   scripts/test.sh -R Logger     only tests whose name matches
#   scripts/test.sh -N            lists the tests
#   scripts/test.sh -j1 -V        one at a time, with all that they say
#
# The output ends with ctest's own summary and the exit code is ctest's, so it is not 0 either when
# no test matches. Packages that are missing are installed by apt (as root, or through sudo).

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

while :; do
    case ${1:-} in
        -h | --help) show_help && exit ;;
        --traps) use_preset mingw-traps ;;
        --long) export TARNWICK_LONG_TESTS=1 ;;
        *) break ;;
    esac
    shift
done

test_limit=300 # seconds, for a test that sets none itself

heading "Preparing the tests"
need_packages "${build_packages[@]}" "${wine_packages[@]}" "${package_packages[@]}" \
    "${engine_packages[@]}"
build_targets all
claim_service
begin_wine

heading "Running the tests"
setarch -R true 2>/dev/null ||
    field note 'no fixed addresses here: a start of Wine in some 8,000 fails (docs/testing.md)'
status=0
ctest --test-dir "$build_folder" --output-on-failure --no-tests=error --timeout "$test_limit" \
    -j2 "$@" 7>&- </dev/null || status=$?
exit "$status"
