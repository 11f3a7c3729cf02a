# shellcheck shell=bash
# shellcheck disable=SC2154 # the names are those of release_test.sh
# Dumps of the packed host, in a separate folder, read with the packed symbols.

# crash PLACE: the packed host crashes there; its dump is then $scratch/PLACE.dmp.
crash() {
    unpack "$(package .zip)"
    mv "$scratch/unpacked" "$scratch/Prögram Files"
    cp "$build_folder/bin/crashing-controller.dll" "$scratch/Prögram Files/orrin-ctrl.dll"
    local data=$TARNWICK_WINEPREFIX/drive_c/ProgramData/Velmora/Quillon
    rm -f "$data/tarnwick-service.exe.dmp"
    (cd "$scratch/Prögram Files" && CRASH_PLACE=$1 timeout 100 "$root/cmake/wine.sh" \
        tarnwick-service.exe -run) >"$scratch/output" 2>&1 </dev/null || true
    mv "$data/tarnwick-service.exe.dmp" "$scratch/dump" || fail "no dump"
    # The symbols of the library, under their name there.
    mkdir "$scratch/library"
    cp "$build_folder/bin/crashing-controller.dll" "$scratch/library/orrin-ctrl.dll"
    cp "$build_folder/bin/crashing-controller.pdb" "$scratch/library/"
}

read_dump() { run scripts/read-dump.sh "$scratch/dump" "$@"; }

# in_order PATTERN...: the output has lines with these, in this order, with others between them.
in_order() {
    local line=0 pattern found
    for pattern in "$@"; do
        found=$(grep -nE -- "$pattern" "$scratch/output" | cut -d: -f1 |
            awk -v line="$line" '$1 > line { print; exit }') || true
        [ -n "$found" ] || fail "no '$pattern' after line $line"
        line=$found
    done
}

# The path from the entry point to the library.
host_below=('tarnwick::OrrinLoader::Start at tarnwick-service/orrin_ctrl_loader.cpp:[0-9]+$'
    'tarnwick::RunKeldane at tarnwick-service/console_run.cpp:[0-9]+$'
    'wmain at tarnwick-service/main.cpp:[0-9]+$')

Case_Dump_CrashInTheHost() {
    crash host
    read_dump "$(package -symbols.zip)" "$scratch/library"
    in_order '^Exception: 0xc0000005 access violation reading 0x10,' '^Thread [0-9]+, crashed$' \
        'framework::Logger::.* at framework/logger/logger.cpp:[0-9]+$' \
        'OrrinLoggingCallback at tarnwick-service/orrin_ctrl_loader.cpp:[0-9]+$' \
        'Activate at .*crashing_controller.c:[0-9]+$' "${host_below[@]}"
}

Case_Dump_CrashInAComponent() {
    crash component
    read_dump "$(package -symbols.zip)" "$scratch/library"
    in_order '^Exception: 0xc0000005 access violation writing 0x10,' '^Thread [0-9]+, crashed$' \
        ' 0 CrashInComponent at .*crashing_controller.c:[0-9]+$' \
        ' 1 Activate at .*crashing_controller.c:[0-9]+$' "${host_below[@]}"
}

Case_Dump_CrashInAThread() {
    crash thread
    read_dump "$(package -symbols.zip)" "$scratch/library"
    in_order '^Thread [0-9]+, crashed$' ' 0 CrashInThread at .*crashing_controller.c:[0-9]+$' \
        '^Thread [0-9]+$' 'Activate at .*crashing_controller.c:[0-9]+$' "${host_below[@]}"
}

Case_Dump_CrashInASystemCall() {
    crash system
    read_dump "$(package -symbols.zip)" "$scratch/library"
    in_order '^Thread [0-9]+, crashed$' 'GetSystemTime' \
        'Activate at .*crashing_controller.c:[0-9]+$' "${host_below[@]}"
}

Case_Dump_WhatIsNotKnownIsNamed() {
    crash component
    read_dump "$(package -symbols.zip)"
    in_order '^Not given: .*orrin-ctrl.dll' ' 0 not known, in orrin-ctrl.dll$' \
        "can't be followed without orrin-ctrl.dll"
    # The symbols of another build are not accepted.
    read_dump "$(next_package -symbols.zip)" "$scratch/library"
    in_order '^Given from another build only: tarnwick-service.exe$' ' 0 CrashInComponent' \
        'not known, in tarnwick-service.exe'
    says_not 'OrrinLoader'
}

Case_Dump_WrongArgumentsAreTold() {
    echo text >"$scratch/text"
    run scripts/read-dump.sh
    says 'name a dump and its symbols'
    run scripts/read-dump.sh "$scratch/none" "$(package -symbols.zip)"
    says "no such file: $scratch/none"
    run scripts/read-dump.sh "$scratch/text" "$(package -symbols.zip)"
    says "not a dump: $scratch/text"
    printf 'MDMP' >"$scratch/short"
    run scripts/read-dump.sh "$scratch/short" "$(package -symbols.zip)"
    says 'the dump could not be read'
    [ "$code" -ne 0 ] || fail "exit code 0"
    run scripts/read-dump.sh "$scratch/short" "$scratch/text"
    says "not a zip of symbols: $scratch/text"
}
