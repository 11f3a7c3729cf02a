# shellcheck shell=bash
# shellcheck disable=SC2154 # the names are those of install_test.sh

# The scripts in folders whose names mean something to the interpreter.

# refused COMMAND...: a script that only says that it can't work here.
refused() {
    script "$@"
    code_is 1
    says "The script can't work in this folder: its path has one of the characters & % \^ ! in .*"
    [ "$(wc -l <"$scratch/output")" -eq 2 ] || fail "it says more than that"
}

# breaks_commands NAME
breaks_commands() {
    local name
    in_folder "$1"
    # What would be found if the interpreter read on behind the &.
    mkdir -p "$folder/b"
    cp "$build_folder/bin/install_stand_in.exe" "$folder/b/tarnwick-service.exe"
    for name in install check uninstall; do
        refused $name.cmd
        windows cmd /v:on /c $name.cmd
        code_is 1
        says "The script can't work in this folder: .*"
    done
    [ ! -e "$folder/calls.txt" ] || fail "called was $(cat "$folder/calls.txt")"
    ! has_key "$service_key" || fail "the service was registered"
}

Case_Folder_Ampersand_IsRefused() {
    breaks_commands 'a&b'
}

Case_Folder_Percent_IsRefused() {
    breaks_commands 'a%b'
}

Case_Folder_VariableName_IsRefused() {
    breaks_commands 'a%OS%b'
}

Case_Folder_Caret_IsRefused() {
    breaks_commands 'a^b'
}

Case_Folder_ExclamationMark_IsRefused() {
    breaks_commands 'a!b'
}

Case_Folder_WithoutSharedScript_IsRefused() {
    rm "$folder/shared.cmd"
    refused install.cmd
    refused check.cmd
    refused uninstall.cmd
    refused 'set service=VelmoraTarnwickService&& install.cmd'
}

# serves NAME: all three scripts do their work there, and the service runs.
serves() {
    in_folder "$1"
    installed
    script check.cmd
    code_is 0
    windows cmd /v:on /c install.cmd
    code_is 0
    says 'All was there already; nothing was changed\.'
    start_service
    script uninstall.cmd
    code_is 0
    says '  service stopped, its process is gone'
    ! has_key "$service_key" || fail "the service's key is still there"
}

Case_Folder_Apostrophe_Serves() {
    serves "it's"
}

Case_Folder_ParenthesesAndBlanks_Serves() {
    serves ' a (b) [c] {d} )'
}

Case_Folder_Separators_Serves() {
    serves 'a=b,c  -d'
}

# shellcheck disable=SC2016 # nothing is to be expanded
Case_Folder_OtherSigns_Serves() {
    serves '#a~b@c+d`e$f_'
}

Case_Folder_ForeignLetters_Serves() {
    serves 'äÖß Ж 日本'
}
