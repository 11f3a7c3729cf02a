# shellcheck shell=bash
# shellcheck disable=SC2034 # most of the names here are read by the commands
# Shared by the commands of this folder. A command reads this file first and then calls
# need_packages, build_targets, claim_service and begin_wine as needed.
#
# All output goes to build/ and out/ of the checkout; nothing is written to the user's home folder.

set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
command_file=$root/scripts/${0##*/}
# The preset of CMakePresets.json to build, and its folder. A command for another preset calls
# use_preset before anything else.
use_preset() { preset=$1 build_folder=$root/build/$1; }
use_preset mingw
# Always work in the checkout: Windows programs get relative paths, which need no translation.
cd "$root"
mkdir -p "$root/build"

# Names with foreign letters reach Windows programs only under a UTF-8 locale. Debian always has this
# one.
export LC_ALL=C.UTF-8
# Wine needs no window, and an unreachable display costs time.
unset DISPLAY WAYLAND_DISPLAY

# One Wine prefix per checkout, unless the caller has set another one.
export TARNWICK_WINEPREFIX=${TARNWICK_WINEPREFIX:-$root/build/wineprefix}
wine_users=$TARNWICK_WINEPREFIX.users

if [ -t 1 ] && [ -z "${NO_COLOR:-}" ] && [ "${TERM:-dumb}" != dumb ]; then
    bold=$'\e[1m' red=$'\e[31m' green=$'\e[32m' plain=$'\e[0m'
else
    bold='' red='' green='' plain=''
fi

heading() { printf '\n%s%s%s\n\n' "$bold" "$1" "$plain"; }
field() { printf '  %-13s%s\n' "$1" "$2"; }
die() {
    printf '%s%s: %s%s\n' "$red" "${0##*/}" "$1" "$plain" >&2
    exit 1
}

# Prints the comment block at the top of the running command.
show_help() { sed -n '2,${/^#/!q;s/^# \{0,1\}//p}' "$command_file"; }

# with_progress LABEL LOG COMMAND...: runs the command with its output in the log. On a terminal it
# shows the last line that begins with a count in brackets, like ninja's.
with_progress() {
    local label=$1 log=$2
    shift 2
    if [ ! -t 1 ]; then
        "$@" >"$log" 2>&1 </dev/null
        return
    fi
    "$@" 2>&1 </dev/null | tee "$log" | while IFS= read -r line; do
        case $line in
            '['[0-9]*/*']'*) printf '\r  %-13s%s]\e[K' "$label" "${line%%]*}" ;;
        esac
    done
    local result=${PIPESTATUS[0]}
    printf '\r  %-13s\e[K' "$label"
    return "$result"
}

# quietly LABEL COMMAND...: prints one line for a successful step, the whole output of a failed one.
quietly() {
    local label=$1 log=$root/build/${1// /-}.$$.log began=$SECONDS
    shift
    printf '  %-13s' "$label"
    if with_progress "$label" "$log" "$@"; then
        printf '%sdone%s in %d s\n' "$green" "$plain" $((SECONDS - began))
        rm -f "$log"
    else
        local status=$?
        printf '%sfailed%s with status %d after %d s\n\n' \
            "$red" "$plain" "$status" $((SECONDS - began))
        cat "$log"
        rm -f "$log"
        exit "$status"
    fi
}

# ---- packages ----------------------------------------------------------------------------------

# The version of clang and its tools has one source.
llvm_version=$(sed -n 's/^set(llvm_version \([0-9]*\))$/\1/p' cmake/mingw64-target.cmake)
build_packages=("clang-$llvm_version" "lld-$llvm_version" "llvm-$llvm_version"
    g++-mingw-w64-x86-64-posix libz-mingw-w64-dev googletest cmake ninja-build)
wine_packages=(wine wine64)
# For the tests of shipping/. Debian 13 has no ClickHouse; these tests report that there.
engine_packages=(python3 curl)
# shellcheck source=/dev/null
[ "$(. /etc/os-release && echo "${ID:-}${VERSION_ID:-}")" != debian12 ] ||
    engine_packages+=(clickhouse-server)
package_packages=(zip unzip wixl msitools faketime procps python3 osslsigncode openssl)
dump_packages=("lldb-$llvm_version" unzip wine64)
lint_packages=("clang-format-$llvm_version" "clang-tidy-$llvm_version" shellcheck git libspdlog-dev libfmt-dev)

missing_packages() {
    local package
    for package in "$@"; do
        # shellcheck disable=SC2016 # the field is dpkg-query's, not the shell's
        if [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
            echo "$package"
        fi
    done
}

# The package manager fails if another one is running. A lock on its folder lets two checkouts be set
# up at the same time.
as_root() {
    local -a sudo=()
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive flock /var/lib/dpkg "$@"
}

install_packages() {
    as_root apt-get -o DPkg::Lock::Timeout=300 update &&
        as_root apt-get -o DPkg::Lock::Timeout=300 install -y --no-install-recommends "$@"
}

# need_packages PACKAGE...: installs missing packages. Uses the network only if one is missing.
need_packages() {
    local -a missing
    command -v dpkg-query >/dev/null ||
        die "this system has no apt; install the equivalents of: $*"
    mapfile -t missing < <(missing_packages "$@")
    [ ${#missing[@]} -eq 0 ] && return
    if [ "$(id -u)" -ne 0 ] && ! sudo -n true 2>/dev/null && ! { [ -t 0 ] && sudo -v; }; then
        die "missing packages; as root run: apt-get install ${missing[*]}"
    fi
    quietly packages install_packages "${missing[@]}"
}

# ---- building ----------------------------------------------------------------------------------

# The executable, the files it needs, and the programs that these commands need.
product_targets=(tarnwick-service orrin_ctrl probe_plain service-watch)

configure_and_build() {
    # A build folder that was copied or moved with the checkout has the old paths.
    local cache=$build_folder/CMakeCache.txt
    if [ -f "$cache" ] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$cache"; then
        rm -rf "$build_folder"
    fi
    # Warnings are errors only in CI.
    local errors=CMAKE_COMPILE_WARNING_AS_ERROR
    if [ -n "${CI:-}" ]; then errors+=:BOOL=ON; else errors+=:BOOL=OFF; fi
    if [ ! -f "$build_folder/build.ninja" ] || ! grep -qxF "$errors" "$cache"; then
        cmake --preset "$preset" -D "$errors" || return
    fi
    cmake --build --preset "$preset" "$@"
}

# build_targets TARGET...: one build at a time per checkout. Programs that the build starts don't
# inherit the lock.
build_targets() {
    (
        flock 8
        quietly build configure_and_build --target "$@" 8>&-
    ) 8>"$root/build/build.lock"
}

# put_in_out FILE...: copies programs of the build folder to out/bin. Each file appears there complete.
put_in_out() {
    local name
    mkdir -p "$root/out/bin"
    for name in "$@"; do
        if [ "$build_folder/bin/$name" -nt "$root/out/bin/$name" ]; then
            cp "$build_folder/bin/$name" "$root/out/bin/$name.$$"
            mv -f "$root/out/bin/$name.$$" "$root/out/bin/$name"
        fi
    done
}

# ---- Wine --------------------------------------------------------------------------------------

wine_server() { WINEPREFIX=$TARNWICK_WINEPREFIX WINEDEBUG=-all timeout 60 wineserver "$@"; }

# Prefixes are copies of this unused one, because creating one takes Wine ten seconds.
blank_prefix=$root/build/wineprefix-blank

make_blank_prefix() {
    rm -rf "$blank_prefix" &&
        mkdir -p "$blank_prefix" &&
        # A new prefix links its document folders to those of the home folder, unless there is none.
        HOME=$blank_prefix/no-home TARNWICK_WINEPREFIX=$blank_prefix \
            timeout 300 setsid -w "$root/cmake/wine.sh" wineboot -i &&
        WINEPREFIX=$blank_prefix timeout 60 wineserver -w &&
        "$root/cmake/wine.sh" --version >"$blank_prefix/.made"
}

# need_blank_prefix: creates it if it is missing or of another version of Wine.
need_blank_prefix() {
    (
        flock 9
        "$root/cmake/wine.sh" --version | cmp -s - "$blank_prefix/.made" ||
            quietly "Wine prefix" make_blank_prefix 9>&-
    ) 9>"$blank_prefix.lock"
}

# need_prefix: creates the checkout's own prefix if it is missing.
need_prefix() {
    need_blank_prefix
    [ ! -f "$TARNWICK_WINEPREFIX/.made" ] || return 0
    rm -rf "$TARNWICK_WINEPREFIX"
    cp -al "$blank_prefix" "$TARNWICK_WINEPREFIX"
    # Wine overwrites a registry file in place if it has more than one link.
    cp --remove-destination "$blank_prefix"/*.reg "$TARNWICK_WINEPREFIX/"
}

# Runs a function while no other command enters or leaves the prefix.
with_prefix_lock() {
    (
        flock 9
        "$@" 7>&- 9>&-
    ) 9>"$TARNWICK_WINEPREFIX.lock"
}

# Each command that uses the prefix has a file there, named after its process id.
prefix_in_use() {
    local entry
    for entry in "$wine_users"/*; do
        if [ -e "$entry" ] && [ -d "/proc/${entry##*/}" ]; then
            return 0
        fi
    done
    return 1
}

stop_wine() {
    wine_server -k || true
    wine_server -w || true
    rm -rf "$wine_users"
}

enter_prefix() {
    # A killed command has left its file behind.
    if [ -d "$wine_users" ] && ! prefix_in_use; then
        stop_wine
    fi
    mkdir -p "$wine_users"
    : >"$wine_users/$$"
    need_prefix
    [ -O "$TARNWICK_WINEPREFIX" ] ||
        die "$TARNWICK_WINEPREFIX belongs to another user; remove it or work as that user"
    # The server lives until the last command ends, and so does the Service Control Manager that the
    # first program starts. The manager must not inherit our output, or a reader of that output would
    # wait for the manager's end too.
    wine_server -p >/dev/null 2>&1 </dev/null || true
    timeout 60 setsid -w "$root/cmake/wine.sh" cmd /c exit >/dev/null 2>&1 </dev/null ||
        die "Wine doesn't start in $TARNWICK_WINEPREFIX; remove that folder and try again"
}

leave_prefix() {
    rm -f "$wine_users/$$"
    if ! prefix_in_use; then
        stop_wine
    fi
}

# A command redefines this function to clean up before Wine ends. $status is the command's exit
# status.
before_end_of_wine() { :; }

end_wine() {
    local status=$?
    trap - EXIT
    trap '' INT TERM HUP
    before_end_of_wine || true
    with_prefix_lock leave_prefix || true
    exit "$status"
}

# begin_wine: starts Wine for the rest of the command. No process of it remains after the command.
begin_wine() {
    mkdir -p "$(dirname "$TARNWICK_WINEPREFIX")"
    trap end_wine EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
    trap 'exit 129' HUP
    with_prefix_lock enter_prefix
}

# claim_service: a prefix has one service of this name, so only one command at a time may use it.
# File descriptor 7 holds the claim until the command ends; programs that may live longer don't inherit
# it. A command started by the owner of the claim shares it.
claim_service() {
    [ "${TARNWICK_SERVICE_CLAIM:-}" != "$TARNWICK_WINEPREFIX" ] || return 0
    mkdir -p "$(dirname "$TARNWICK_WINEPREFIX")"
    exec 7>"$TARNWICK_WINEPREFIX.service"
    flock -n 7 || die "another command of this checkout is using the service; wait for its end"
    export TARNWICK_SERVICE_CLAIM=$TARNWICK_WINEPREFIX
}

wine_quietly() { timeout 60 "$root/cmake/wine.sh" "$@" >/dev/null 2>&1 </dev/null 7>&- || true; }

# service_data_folder: prints the Windows path of the machine-wide data folder of services
# (ALLUSERSPROFILE). In some versions of Wine it differs from that of console programs, so a command
# registered as a service prints it. As a service it fails, but it runs.
service_data_folder() {
    local name=TarnwickQuestion$$
    local answer=$TARNWICK_WINEPREFIX/drive_c/windows/temp/$name.txt
    wine_quietly sc create "$name" binPath= \
        "cmd /v:on /c echo !ALLUSERSPROFILE!>C:\\windows\\temp\\$name.txt"
    wine_quietly sc start "$name"
    wine_quietly sc delete "$name"
    tr -d '\r' <"$answer" || die "Wine's service manager starts no services"
    rm -f "$answer"
}

# unix_path PREFIX WINDOWS-PATH: of a folder on drive C.
unix_path() {
    local path=${2#[A-Za-z]:}
    printf '%s' "$1/drive_c${path//\\//}"
}
