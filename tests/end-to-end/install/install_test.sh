#!/bin/bash
# Tries the package as an administrator does, on Wine. Each case is a ctest test of its own, with
# the package unpacked anew into a folder with blanks, parentheses and a letter that is not English.
#
#   install_test.sh make_package | CASE

# shellcheck disable=SC2317 # the cases are called by their names
# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/../../../scripts/lib.sh"

service=VelmoraTarnwickService
service_key="HKLM\\SYSTEM\\CurrentControlSet\\Services\\$service"
source_key="HKLM\\SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\$service"
drive_c=$TARNWICK_WINEPREFIX/drive_c
data=$drive_c/users/Public/Velmora/Quillon
scratch=$drive_c/install-test-$$
folder="$scratch/Prögram Files (x86)/Tarnwick"
shopt -s nullglob

# shellcheck source=tests/end-to-end/install/package_cases.sh
# shellcheck source=tests/end-to-end/install/install_cases.sh
# shellcheck source=tests/end-to-end/install/uninstall_cases.sh
# shellcheck source=tests/end-to-end/install/folder_cases.sh
# shellcheck source=tests/end-to-end/install/as_on_windows_cases.sh
for file in package install uninstall folder as_on_windows; do
    . "$root/tests/end-to-end/install/${file}_cases.sh"
done

# ---- what the cases are made of ----------------------------------------------------------------

fail() {
    printf 'FAILED: %s\nlast output:\n' "$1"
    cat "$scratch/output" 2>/dev/null || true
    exit 1
}

# windows COMMAND...: runs a Windows program in the package's folder. Its exit code is in $code and
# its output, without carriage returns, in $scratch/output.
windows() {
    code=0
    (cd "$folder" && timeout 90 "$root/cmake/wine.sh" "$@") >"$scratch/raw" 2>&1 </dev/null ||
        code=$?
    tr -d '\r' <"$scratch/raw" >"$scratch/output"
}
script() { windows cmd /c "$@"; }

# Windows programs write in a code page of their own: letters above 127 are bytes like all others.
says() { LC_ALL=C grep -qaxE -- "$1" "$scratch/output" || fail "no line '$1'"; }
says_not() { ! LC_ALL=C grep -qaE -- "$1" "$scratch/output" || fail "a line with '$1'"; }
code_is() { [ "$code" -eq "$1" ] || fail "exit code $code instead of $1"; }
has_key() { windows reg query "$1" && [ "$code" -eq 0 ]; }

state_is() {
    windows sc query "$service"
    grep -q "$1" "$scratch/output"
}
await_state() {
    local _
    for _ in {1..100}; do
        ! state_is "$1" || return 0
        sleep 0.1
    done
    fail "the service did not become $1"
}

start_service() {
    windows sc start "$service"
    await_state RUNNING
    # A stop is accepted only from when a component allows it.
    local _
    for _ in {1..100}; do
        ! grep -qsF "${1:-beat 1}" <(newest_log) || return 0
        sleep 0.1
    done
    fail "the log does not say '${1:-beat 1}'"
}

newest_log() {
    local -a logs=("$data"/Logs/*.log)
    [ ${#logs[@]} -eq 0 ] || iconv -f UTF-16 -t UTF-8 "${logs[-1]}" 2>/dev/null
}

# The processes that run from this case's folder, and no others.
processes() { pgrep -f "install-test-$$.*tarnwick-service" || true; }

unpack() {
    rm -rf "$data"
    mkdir -p "${folder%/*}"
    unzip -q "$root"/out/package/tarnwick-service-*.zip -d "$scratch"
    mv "$scratch"/tarnwick-service-* "$folder"
}

# in_folder NAME: the package lies there from now on.
in_folder() {
    mv "$folder" "$scratch/$1"
    folder="$scratch/$1"
}

add_controller() { cp "$build_folder/bin/orrin-ctrl.dll" "$folder/"; }

installed() {
    add_controller
    script install.cmd
    code_is 0
}

clear_up() {
    local process
    folder=$scratch # the system's own tools, not what stands in for them
    for process in $(processes); do
        kill -KILL "$process" 2>/dev/null || true
    done
    windows sc delete "$service"
    windows reg delete "$service_key" /f
    windows reg delete "$source_key" /f
    windows reg delete 'HKU\S-1-5-19' /f
    [ ! -L "${data%/*}" ] || rm "${data%/*}"
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
