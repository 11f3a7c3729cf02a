#!/bin/bash
# Checks the packages of scripts/package.sh: those of this folder, the same ones made in another
# folder at another time, and those of the next version. Each case is a ctest test.
#
#   release_test.sh make_others | CASE

# shellcheck disable=SC2317 # the cases are called by their names
# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/../../scripts/lib.sh"

others=$root/build/release-test
copy=$others/copy/deeper
scratch=$others/scratch-$$
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build_folder/CMakeCache.txt")
next=${version%.*}.$((${version##*.} + 1))
# The files with a version and symbols: all packed programs and libraries.
mapfile -t programs < <(zipinfo -1 "$root/out/package/tarnwick-service-$version.zip" 2>/dev/null |
    sed -nE 's#^[^/]*/([^/]*\.(exe|dll))$#\1#p')

# shellcheck source=tests/release/made_cases.sh
# shellcheck source=tests/release/msi_cases.sh
# shellcheck source=tests/release/content_cases.sh
# shellcheck source=tests/release/dump_cases.sh
for file in made msi content dump; do
    . "$root/tests/release/${file}_cases.sh"
done

fail() {
    printf 'FAILED: %s\nlast output:\n' "$1"
    cat "$scratch/output" 2>/dev/null || true
    exit 1
}

# run COMMAND...: sets $code to its exit code and writes its output to $scratch/output.
run() {
    code=0
    "$@" >"$scratch/output" 2>&1 </dev/null || code=$?
}
says() { grep -qE -- "$1" "$scratch/output" || fail "no line with '$1'"; }
says_not() { ! grep -qE -- "$1" "$scratch/output" || fail "a line with '$1'"; }

package() { echo "$root/out/package/tarnwick-service-$version$1"; }
next_package() { echo "$others/next/tarnwick-service-$next$1"; }

# unpack ZIP: unpacks its one folder to $scratch/unpacked.
unpack() {
    rm -rf "$scratch/unpacked" "$scratch/zip"
    unzip -q "$1" -d "$scratch/zip"
    mv "$scratch"/zip/* "$scratch/unpacked"
}

case ${1:-} in
    make_others) make_others ;;
    *)
        mkdir -p "$scratch"
        trap 'rm -rf "$scratch"' EXIT
        "Case_$1"
        echo passed
        ;;
esac
