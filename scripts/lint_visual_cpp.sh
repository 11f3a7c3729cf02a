# shellcheck shell=bash
# Parses the sources like Visual C++, as far as clang and the headers of MinGW-w64 allow. For lint.sh.
#
# The system headers are read first, under their own rules. After them `_MSC_VER` is defined and
# `__MINGW32__` is not, so that every conditional of this tree takes its branch for Visual C++.
# Not covered: further warnings of Visual C++ and its headers.

# Sources that Visual C++ does not build: see the conditions in the CMakeLists.txt of their folders.
not_for_visual_cpp=(':!bench' ':!tests/faults' ':!*_cases.cpp'
    ':!tests/support/undefined_traps_test.cpp' ':!tarnwick-service/mingw_start_up.cpp')

# The nearest equivalent of /W4. Unreachable code covers C4702 and C4127.
visual_cpp_flags=(--target=x86_64-w64-mingw32 -std=c++20 -DUNICODE -D_UNICODE -I.
    -isystem /usr/src/googletest/googletest/include
    -isystem /usr/src/googletest/googlemock/include
    -fms-extensions -fms-compatibility -fms-compatibility-version=19.40 -fgnuc-version=4.2.1
    -fsized-deallocation -D__STRICT_ANSI__
    -Wall -Wextra -Wconversion -Wsign-compare -Wshadow-all -Wno-shadow-uncaptured-local -Wcomma
    -Wconditional-uninitialized -Wunreachable-code-aggressive -Wsystem-headers)
visual_cpp_headers=build/lint/visual_cpp.h

# Compiles the system headers of all sources ahead of them.
prepare_visual_cpp() {
    {
        # Some headers need windows.h before them. dbghelp.h is left to the sources, because one of
        # them renames one of its functions.
        printf '#define %s\n' NOMINMAX WIN32_LEAN_AND_MEAN 'WINVER 0x0A00' '_WIN32_WINNT 0x0A00'
        printf '#include <windows.h>\n'
        sources '*.cpp' '*.h' '*.c' "${not_for_visual_cpp[@]}" | tr '\n' '\0' |
            xargs -0r grep -hE '^ *# *include <' | tr -d ' ' | sort -u |
            grep -vE '<(windows|dbghelp|gcov|intrin)\.h>'
        printf '#undef %s\n' NOMINMAX WIN32_LEAN_AND_MEAN WINVER _WIN32_WINNT __MINGW32__ \
            __MINGW64__
        # The second one prevents intrin.h from repeating declarations of windows.h.
        printf '#define %s\n' '_MSC_VER 1940' __INTRIN_H
    } >"$visual_cpp_headers.new"
    if [ ! -e "$visual_cpp_headers.pch" ] ||
        ! cmp -s "$visual_cpp_headers.new" "$visual_cpp_headers"; then
        mv "$visual_cpp_headers.new" "$visual_cpp_headers"
        "clang++-$llvm_version" "${visual_cpp_flags[@]}" -w -x c++-header "$visual_cpp_headers" \
            -o "$visual_cpp_headers.pch"
    fi
}

# Keeps warnings about this tree, and those of system headers about a source here that narrows wide
# text (C4244). Drops the headers' own warnings.
warnings_for_visual_cpp() {
    awk '
        function end_of_one() { if (ours) printf "%s", text; text = ""; ours = 0 }
        /: (warning|error|fatal error): / {
            end_of_one()
            narrowing = /wchar_t.* to .*char/
            ours = !/^\// || / error: /
        }
        /: note: in instantiation of / { if (narrowing && !/^\//) ours = 1 }
        /: (warning|error|fatal error): / || (/: note: / && !/^\//) { text = text $0 "\n" }
        END { end_of_one() }'
}

# The source and the headers of this tree that it includes.
own_files_of() {
    "clang++-$llvm_version" -MM -MG -nostdinc -nostdinc++ -D_MSC_VER=1940 -I. "$1" |
        tr -s '\134[:blank:]' '[\n*]' | while IFS= read -r path; do
        [ ! -f "$path" ] || echo "$path"
    done
}

check_source_for_visual_cpp() {
    local key stamp found
    key=$({
        "clang++-$llvm_version" --version
        echo "$visual_cpp_flag_text"
        own_files_of "$1" | xargs -d '\n' sha256sum "$visual_cpp_headers"
    } 2>&1 | sha256sum)
    stamp=build/lint/${key%% *}
    [ ! -e "$stamp" ] || return 0
    # shellcheck disable=SC2086 # a list of words
    found=$("clang++-$llvm_version" $visual_cpp_flag_text -include-pch "$visual_cpp_headers.pch" \
        -fsyntax-only "$1" 2>&1 | warnings_for_visual_cpp)
    if [ -n "$found" ]; then
        echo "$found"
        return 1
    fi
    touch "$stamp"
}

check_visual_cpp() {
    prepare_visual_cpp || return
    # C4310 and C4312: clang has no such warnings.
    local status=0 byte='0x[89A-Fa-f][0-9A-Fa-f]|12[89]|1[3-9][0-9]|2[0-9][0-9]'
    if sources '*.cpp' '*.h' "${not_for_visual_cpp[@]}" | tr '\n' '\0' | xargs -0r grep -nE \
        "static_cast<(char|signed char|std::int8_t)>\(($byte)\)|reinterpret_cast<[^>]*>\(-?[0-9A-Fa-fx]+\)"; then
        echo "a constant cast to a smaller type (C4310), or an int cast to a pointer (C4312)"
        status=1
    fi
    export llvm_version visual_cpp_headers visual_cpp_flag_text="${visual_cpp_flags[*]}"
    export -f check_source_for_visual_cpp own_files_of warnings_for_visual_cpp
    # shellcheck disable=SC2016 # expanded by the inner shell
    sources '*.cpp' "${not_for_visual_cpp[@]}" | tr '\n' '\0' |
        xargs -0r -n1 -P "$(nproc)" bash -c 'check_source_for_visual_cpp "$1"' check || status=1
    return "$status"
}
