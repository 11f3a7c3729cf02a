# shellcheck shell=bash
# shellcheck disable=SC2034 # most of the names here are read by the commands
# What the commands of this folder share. A command reads this file first and then calls
# need_packages, build_targets, claim_service and begin_wine as it needs them.
#
# Everything that is made stands below build/ and out/ of the checkout; nothing is written to the
# user's home folder.

set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
command_file=$root/scripts/${0##*/}
# The preset of CMakePresets.json that is built, and its folder. A command that wants another one
# calls use_preset before anything else.
use_preset() { preset=$1 build_folder=$root/build/$1; }
use_preset mingw
# Run from any folder, work in one: Windows programs get relative paths, which need no translation.
cd "$root"
mkdir -p "$root/build"

# Names with foreign letters reach Windows programs only under a UTF-8 locale, and Debian has this
# one without any set-up.
export LC_ALL=C.UTF-8
# No window is ever wanted, and a display that can't be reached costs time.
unset DISPLAY WAYLAND_DISPLAY

# One Wine prefix for each checkout. Whoever names another one keeps it.
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

# with_progress LABEL LOG COMMAND...: runs the command into the log. On a terminal it shows the last
# line that begins with a count in brackets, as ninja's do.
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

# quietly LABEL COMMAND...: one line for a step that went well; all that it said when it failed.
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

# The version of clang and its tools is written in one place.
llvm_version=$(sed -n 's/^set(llvm_version \([0-9]*\))$/\1/p' cmake/mingw64-target.cmake)
build_packages=("clang-$llvm_version" "lld-$llvm_version" "llvm-$llvm_version"
    g++-mingw-w64-x86-64-posix libz-mingw-w64-dev googletest cmake ninja-build)
wine_packages=(wine wine64)
# What the tests of shipping/ need. Debian 13 has no ClickHouse, and these tests say so there.
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

# The package manager refuses a second one that runs at the same time. Taking turns on its folder
# lets two checkouts be set up at once.
as_root() {
    local -a sudo=()
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive flock /var/lib/dpkg "$@"
}

install_packages() {
    as_root apt-get -o DPkg::Lock::Timeout=300 update &&
        as_root apt-get -o DPkg::Lock::Timeout=300 install -y --no-install-recommends "$@"
}

# need_packages PACKAGE...: installs what is missing; looks at the network only if something is.
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

# The executable, what it needs beside it, and what the commands here need.
product_targets=(tarnwick-service orrin_ctrl probe_plain service-watch)

configure_and_build() {
    # A build folder that was copied or moved with the checkout belongs to another place.
    local cache=$build_folder/CMakeCache.txt
    if [ -f "$cache" ] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$cache"; then
        rm -rf "$build_folder"
    fi
    # In CI a warning is an error; a person who only builds isn't stopped by one.
    local errors=CMAKE_COMPILE_WARNING_AS_ERROR
    if [ -n "${CI:-}" ]; then errors+=:BOOL=ON; else errors+=:BOOL=OFF; fi
    if [ ! -f "$build_folder/build.ninja" ] || ! grep -qxF "$errors" "$cache"; then
        cmake --preset "$preset" -D "$errors" || return
    fi
    cmake --build --preset "$preset" "$@"
}

# build_targets TARGET...: one build at a time in one checkout; the lock is not handed on to the
# programs that the build starts.
build_targets() {
    (
        flock 8
        quietly build configure_and_build --target "$@" 8>&-
    ) 8>"$root/build/build.lock"
}

# put_in_out FILE...: copies programs of the build folder to out/bin, each in one step so
# that nobody ever sees half a file.
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

# Prefixes are copies of this one, in which nothing has run: making one takes Wine ten seconds.
blank_prefix=$root/build/wineprefix-blank

make_blank_prefix() {
    rm -rf "$blank_prefix" &&
        mkdir -p "$blank_prefix" &&
        # A new prefix links its document folders to those of the home folder; without one it keeps
        # to itself.
        HOME=$blank_prefix/no-home TARNWICK_WINEPREFIX=$blank_prefix \
            timeout 300 setsid -w "$root/cmake/wine.sh" wineboot -i &&
        WINEPREFIX=$blank_prefix timeout 60 wineserver -w &&
        "$root/cmake/wine.sh" --version >"$blank_prefix/.made"
}

# need_blank_prefix: makes it if there is none, or one of another version of Wine.
need_blank_prefix() {
    (
        flock 9
        "$root/cmake/wine.sh" --version | cmp -s - "$blank_prefix/.made" ||
            quietly "Wine prefix" make_blank_prefix 9>&-
    ) 9>"$blank_prefix.lock"
}

# need_prefix: makes the checkout's own prefix if there is none.
need_prefix() {
    need_blank_prefix
    [ ! -f "$TARNWICK_WINEPREFIX/.made" ] || return 0
    rm -rf "$TARNWICK_WINEPREFIX"
    cp -al "$blank_prefix" "$TARNWICK_WINEPREFIX"
    # Wine writes into a registry file in place if the file has more than one link.
    cp --remove-destination "$blank_prefix"/*.reg "$TARNWICK_WINEPREFIX/"
}

# Runs a function while no other command begins or ends its use of the prefix.
with_prefix_lock() {
    (
        flock 9
        "$@" 7>&- 9>&-
    ) 9>"$TARNWICK_WINEPREFIX.lock"
}

# Every command that uses the prefix keeps a file there named by its process id.
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
    # A command that was killed could not clear up behind itself.
    if [ -d "$wine_users" ] && ! prefix_in_use; then
        stop_wine
    fi
    mkdir -p "$wine_users"
    : >"$wine_users/$$"
    need_prefix
    [ -O "$TARNWICK_WINEPREFIX" ] ||
        die "$TARNWICK_WINEPREFIX belongs to another user; remove it or work as that user"
    # The server lives until the last command ends, and with it the Service Control Manager that
    # the first program starts. That one gets none of our files: whoever waits for the end of this
    # command's output would wait for the manager's end too.
    wine_server -p >/dev/null 2>&1 </dev/null || true
    timeout 60 setsid -w "$root/cmake/wine.sh" cmd /c exit >/dev/null 2>&1 </dev/null ||
        die "Wine doesn't start in $TARNWICK_WINEPREFIX; remove that folder to have it made anew"
}

leave_prefix() {
    rm -f "$wine_users/$$"
    if ! prefix_in_use; then
        stop_wine
    fi
}

# A command that has something to undo before Wine goes puts it into a function of its own of this
# name. It finds the exit status of the command in $status.
before_end_of_wine() { :; }

end_wine() {
    local status=$?
    trap - EXIT
    trap '' INT TERM HUP
    before_end_of_wine || true
    with_prefix_lock leave_prefix || true
    exit "$status"
}

# begin_wine: from here to the end of the command Wine is ready, and nothing of it stays behind.
begin_wine() {
    mkdir -p "$(dirname "$TARNWICK_WINEPREFIX")"
    trap end_wine EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
    trap 'exit 129' HUP
    with_prefix_lock enter_prefix
}

# claim_service: the service's name stands once in a prefix, so one command at a time may use it.
# File 7 holds the claim until the command ends; no program that may live longer gets it. A command
# that was started by the one that holds the claim shares it.
claim_service() {
    [ "${TARNWICK_SERVICE_CLAIM:-}" != "$TARNWICK_WINEPREFIX" ] || return 0
    mkdir -p "$(dirname "$TARNWICK_WINEPREFIX")"
    exec 7>"$TARNWICK_WINEPREFIX.service"
    flock -n 7 || die "another command of this checkout is using the service; wait for its end"
    export TARNWICK_SERVICE_CLAIM=$TARNWICK_WINEPREFIX
}

wine_quietly() { timeout 60 "$root/cmake/wine.sh" "$@" >/dev/null 2>&1 </dev/null 7>&- || true; }

# service_data_folder: prints the Windows path of the machine-wide data folder of services
# (ALLUSERSPROFILE). Versions of Wine give a service another one than a console program, so a service
# is asked: a command that fails to be one, but runs as one.
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
