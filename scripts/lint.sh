#!/bin/bash
# Checks all sources, scripts and build files of the checkout and prints a fix for each finding.
#
#   scripts/lint.sh [--all]
#
# With --all each source is also compiled alone, analysed by clang-tidy (a test only for its names)
# and parsed as Visual C++ would. The first such run takes half an hour. build/lint caches what
# passed; a source is checked again only if it, a header that it includes, or a rule has changed.
# Missing packages are installed with apt (as root, or through sudo).

# shellcheck disable=SC2317 # the checks are called by their names
# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
# shellcheck source=scripts/lint_visual_cpp.sh
. "$root/scripts/lint_visual_cpp.sh"

all=
case ${1:-} in
    '') ;;
    --all) all=yes ;;
    -h | --help) show_help && exit ;;
    *) die "unknown argument: $1 (see --help)" ;;
esac

# ---- which files -------------------------------------------------------------------------------

# Files that match the patterns and are in git, or would be added by it.
sources() {
    local path
    git -c safe.directory="$root" ls-files -co --exclude-standard -- "$@" |
        while IFS= read -r path; do
            [ ! -f "$path" ] || echo "$path"
        done
}

shell_scripts() {
    sources | while IFS= read -r path; do
        case $(head -n 1 "$path" | tr -d '\0') in
            '#!'*sh | '# shellcheck shell='*) echo "$path" ;;
        esac
    done
}

# ---- the checks --------------------------------------------------------------------------------

check_format() {
    sources '*.cpp' '*.h' '*.c' | tr '\n' '\0' |
        xargs -0r "clang-format-$llvm_version" --dry-run -Werror
}

# Rules of this code base that no general tool knows. Each line: the reason, the forbidden pattern, the
# files.
check_conventions() {
    local status=0
    forbid() {
        local why=$1 pattern=$2 found
        shift 2
        found=$(sources "$@" | tr '\n' '\0' | xargs -0r grep -nEH -- "$pattern" || true)
        if [ -n "$found" ]; then
            printf '%s:\n%s\n' "$why" "$found"
            status=1
        fi
    }
    forbid "windows.h comes through platform.h" '^#include <windows\.h>' '*.h' '*.cpp' \
        ':!*/platform.h'
    forbid "names of system headers are in lower case" '^#include <[^>]*[A-Z]' '*.h' '*.cpp' '*.c'
    forbid "headers have include guards" '^#pragma once' '*.h'
    forbid "a blank at the end of a line" '[[:blank:]]$' ':!*.md' ':!LICENSE'
    forbid "a tab" $'\t' '*.h' '*.cpp' '*.c' '*.sh' '*.cmake' '*CMakeLists.txt' '*.json'
    # The interpreter of Windows loses labels in scripts without them.
    forbid "a carriage return" $'\r$' ':!*.cmd'
    return "$status"
}

check_shell() { shell_scripts | tr '\n' '\0' | xargs -0r shellcheck -x; }

check_json() { sources '*.json' | tr '\n' '\0' | xargs -0r cmake -P scripts/check_json.cmake; }

# Configures in a separate folder and checks that every list file is used.
check_cmake() {
    local folder=$root/build/lint/cmake trace=$root/build/lint/cmake.trace status=0 path
    rm -rf "$folder"
    if ! cmake --preset mingw -B "$folder" -DTARNWICK_BENCH=ON -Werror=dev \
        --trace --trace-redirect="$trace" \
        >"$folder.log" 2>&1; then
        cat "$folder.log"
        return 1
    fi
    while IFS= read -r path; do
        grep -qF "$root/$path(" "$trace" || {
            echo "$path is not reached from the top CMakeLists.txt"
            status=1
        }
    done < <(sources '*CMakeLists.txt')
    rm -rf "$folder" "$folder.log" "$trace"
    return "$status"
}

# More warnings than those of the build (cmake/warnings.cmake), and no precompiled header.
compiler_flags() {
    flags=(--target=x86_64-w64-mingw32 -DUNICODE -D_UNICODE -I.
        -isystem /usr/src/googletest/googletest/include
        -isystem /usr/src/googletest/googlemock/include)
    case $1 in
        *.c) flags+=(-std=c11) ;;
        *) flags+=(-std=c++20 -fsized-deallocation -Wnon-virtual-dtor -Woverloaded-virtual
            -Wextra-semi -Wold-style-cast) ;;
    esac
    flags+=(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-align
        -Wnull-dereference -Wundef)
    case $1 in
        # __try, as in its CMakeLists.txt.
        */filter_frame.cpp) flags+=(-fms-extensions -Wno-language-extension-token) ;;
        # Headers of the host system, by links, as in its CMakeLists.txt.
        bench/log/peers.cpp) flags+=(-isystem build/lint/peers -DSPDLOG_HEADER_ONLY
            -DFMT_HEADER_ONLY -DSPDLOG_FMT_EXTERNAL) ;;
    esac
}

check_tidy() {
    local file=$1
    shift
    "clang-tidy-$llvm_version" --quiet --header-filter='.*' "$@" "$file" -- "${flags[@]}" 2>/dev/null
}

# check_source FILE: runs clang and clang-tidy, unless the same text has passed.
check_source() {
    local flags key stamp
    compiler_flags "$1"
    key=$({
        "clang-tidy-$llvm_version" --version
        declare -f compiler_flags
        # The rule file, and the source with all included headers except the system's.
        "clang-$llvm_version" "${flags[@]}" -MM "$1" | tr -s '\134[:blank:]' '[\n*]' | grep -v ':$' |
            xargs -d '\n' sha256sum .clang-tidy ./*/.clang-tidy ./*/*/.clang-tidy
    } 2>&1 | sha256sum)
    stamp=build/lint/${key%% *}
    [ ! -e "$stamp" ] || return 0
    "clang-$llvm_version" "${flags[@]}" -Werror -fsyntax-only "$1" || return
    # A test is checked only for its names: all checks follow each matcher into the test library,
    # which takes minutes for one file.
    case $1 in
        *.c) ;;
        tests/*) check_tidy "$1" --checks='-*,readability-identifier-naming' || return ;;
        *) check_tidy "$1" || return ;;
    esac
    touch "$stamp"
}

check_sources() {
    export llvm_version
    export -f check_source check_tidy compiler_flags
    # shellcheck disable=SC2016 # expanded by the inner shell
    sources '*.cpp' '*.c' | tr '\n' '\0' |
        xargs -0r -n1 -P "$(nproc)" bash -c 'check_source "$1"' check
}

# ---- the run -----------------------------------------------------------------------------------

failed=0
# check LABEL HOW-TO-FIX COMMAND
check() {
    local began=$SECONDS log=$root/build/lint/$1.$$.log
    printf '  %-13s' "$1"
    if "$3" >"$log" 2>&1 </dev/null; then
        printf '%sdone%s in %d s\n' "$green" "$plain" $((SECONDS - began))
    else
        failed=1
        printf '%sfailed%s after %d s\n\n' "$red" "$plain" $((SECONDS - began))
        sed 's/^/    /' "$log"
        printf '\n    %sTo fix it:%s %s\n\n' "$bold" "$plain" "$2"
    fi
    rm -f "$log"
}

heading "Checking the sources"
need_packages "${build_packages[@]}" "${lint_packages[@]}"
mkdir -p build/lint/peers
ln -sfn /usr/include/spdlog /usr/include/fmt build/lint/peers/
find build/lint -maxdepth 1 -type f -mtime +14 -delete

check format "clang-format-$llvm_version -i FILE for each file named above" check_format
check conventions "change the lines named above" check_conventions
check shell "https://www.shellcheck.net/wiki/SC.... explains each number" \
    check_shell
check json "the message names file and place" check_json
check cmake "add the list file by add_subdirectory in the one above it" check_cmake
if [ -n "$all" ]; then
    check sources "change the code; a place that must stay gets a NOLINT with the check and the reason" \
        check_sources
    check visual-cpp "change the code; where clang is wrong about Visual C++, change the list of warnings" \
        check_visual_cpp
fi

if [ "$failed" -eq 0 ]; then
    heading "No problems found"
else
    heading "Problems found"
fi
exit "$failed"
