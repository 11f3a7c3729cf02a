#!/bin/bash
# Tests the packages of scripts/package.sh on Wine. Each case is a ctest test, with the package
# freshly unpacked into a folder with blanks, parentheses and a letter that is not English.
#
#   package_test.sh make_package | CASE

# shellcheck disable=SC2317 # the cases are called by their names
# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/../../../scripts/lib.sh"

service=VelmoraTarnwickService
service_key="HKLM\\SYSTEM\\CurrentControlSet\\Services\\$service"
source_key="HKLM\\SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\$service"
drive_c=$TARNWICK_WINEPREFIX/drive_c
data=$drive_c/users/Public/Velmora/Quillon
scratch=$drive_c/package-test-$$
folder="$scratch/Prögram Files (x86)/Tarnwick"
shopt -s nullglob

# shellcheck source=tests/end-to-end/install/package_cases.sh
. "$root/tests/end-to-end/install/package_cases.sh"

# ---- helpers for the cases ----------------------------------------------------------------------

fail() {
    printf 'FAILED: %s\nlast output:\n' "$1"
    cat "$scratch/output" 2>/dev/null || true
    exit 1
}

# windows COMMAND...: runs a Windows program in the package's folder. Sets $code to its exit code
# and writes its output, without carriage returns, to $scratch/output.
windows() {
    code=0
    (cd "$folder" && timeout 90 "$root/cmake/wine.sh" "$build_folder/bin/elevated.exe" "$@") \
        >"$scratch/raw" 2>&1 </dev/null || code=$?
    tr -d '\r' <"$scratch/raw" >"$scratch/output"
}
tool() { windows service-tool.exe "$@"; }

# Windows programs write in another code page, so treat letters above 127 as plain bytes.
says() { LC_ALL=C grep -qaxE -- "$1" "$scratch/output" || fail "no line '$1'"; }
says_not() { ! LC_ALL=C grep -qaE -- "$1" "$scratch/output" || fail "a line with '$1'"; }
code_is() { [ "$code" -eq "$1" ] || fail "exit code $code instead of $1"; }
unpack() {
    rm -rf "$data"
    mkdir -p "${folder%/*}"
    unzip -q "$root"/out/package/tarnwick-service-*[0-9].zip -d "$scratch"
    mv "$scratch"/tarnwick-service-* "$folder"
}

add_controller() { cp "$build_folder/bin/orrin-ctrl.dll" "$folder/"; }

installed() {
    add_controller
    tool install
    code_is 0
}

clear_up() {
    folder=$scratch
    windows sc delete "$service"
    windows reg delete "$service_key" /f
    windows reg delete "$source_key" /f
    rm -rf "$data" "$scratch"
}

# ---- the run -----------------------------------------------------------------------------------

case ${1:-} in
    make_package) make_package ;;
    *)
        mkdir -p "$scratch"
        trap clear_up EXIT
        unpack
        "Case_$1"
        echo passed
        ;;
esac
