#!/bin/bash
# Builds everything and runs all tests on Wine.
#
#   scripts/test.sh [ctest arguments]
#
#   scripts/test.sh -R Logger     only tests whose name matches
#   scripts/test.sh -N            lists the tests
#   scripts/test.sh -j1 -V        one at a time, with all that they say
#
# The output ends with ctest's own summary and the exit code is ctest's, so it is not 0 either when
# no test matches. Packages that are missing are installed by apt (as root, or through sudo).

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

case ${1:-} in
    -h | --help) show_help && exit ;;
esac

test_limit=300 # seconds, for a test that sets none itself

heading "Preparing the tests"
need_packages "${build_packages[@]}" "${wine_packages[@]}"
build_targets all
claim_service
begin_wine

heading "Running the tests"
status=0
ctest --test-dir "$build_folder" --output-on-failure --no-tests=error --timeout "$test_limit" \
    -j2 "$@" 7>&- </dev/null || status=$?
exit "$status"
