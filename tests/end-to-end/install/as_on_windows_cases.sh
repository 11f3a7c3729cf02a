# shellcheck shell=bash
# shellcheck disable=SC2154 # the names are those of install_test.sh

# The scripts as Windows runs them, as far as that goes on Wine: the system folder is one that does
# not show that it is Wine's, and in it stand-ins for the tools without effect tell how they were
# called. That the tools do what is asked of them is not tried here.

as_on_windows() {
    local name system=$scratch/windows/System32
    mkdir -p "$system"
    for name in find ping reg; do
        cp "$drive_c/windows/system32/$name.exe" "$system/"
    done
    for name in cacls icacls sc; do
        cp "$build_folder/bin/install_stand_in.exe" "$system/$name.exe"
    done
    rm -f "$folder/calls.txt"
    windows cmd /c "set SystemRoot=C:\\install-test-$$\\windows&& set \
ALLUSERSPROFILE=C:\\install-test-$$\\data&& $*"
}
elevated() { windows reg add 'HKU\S-1-5-19' /f; }
access_list() { printf 'C:\\data "%s"\r\n\r\n' "$1" >"$folder/cacls.txt"; }
refuse() { echo "$2 5" >"$folder/$1.codes.txt"; }
calls_are() {
    tr -d '\r' <"$folder/calls.txt" | grep -v '^cacls' >"$scratch/calls"
    diff - "$scratch/calls" || fail "the tools were called otherwise"
}

Case_AsOnWindows_ToolsAreCalledAsMeant() {
    elevated
    access_list 'D:AI(A;OICIID;FA;;;SY)(A;OICIID;FA;;;BA)(A;OICIID;0x1200a9;;;BU)'
    mkdir -p "$scratch/data/Velmora/Quillon"
    : >"$scratch/data/Velmora/Quillon/left-by-somebody.txt"
    add_controller
    as_on_windows install.cmd
    code_is 0
    says '  made      recovery: restart after 5 s, 30 s, 2 min'
    says '  made      recovery after a stop with an error too'
    says '  made      rights of the data folder: system and administrators'
    says_not 'not here'
    local data_path="C:\\install-test-$$\\data\\Velmora\\Quillon"
    local grants='[*S-1-5-18:(OI)(CI)F] [*S-1-5-32-544:(OI)(CI)F]'
    calls_are <<END
sc [failure] [$service] [reset=] [86400] [actions=] [restart/5000/restart/30000/restart/120000]
sc [failureflag] [$service] [1]
icacls [$data_path] [/setowner] [*S-1-5-32-544] [/l] [/q]
icacls [$data_path] [/reset] [/l] [/q]
icacls [$data_path] [/inheritance:r] [/grant:r] $grants [/l] [/q]
icacls [$data_path\\*] [/setowner] [*S-1-5-32-544] [/t] [/c] [/l] [/q]
icacls [$data_path\\*] [/reset] [/t] [/c] [/l] [/q]
END
    as_on_windows check.cmd
    code_is 1
    says '  WRONG      recovery actions'
    says '  WRONG      recovery after a stop with an error too'
    says '  WRONG      rights of the data folder'
    says_not 'not checked'
    # What the service manager of Windows stores for the two calls, and an access list as asked for.
    windows reg add "$service_key" /v FailureActions /t REG_BINARY /f /d \
        80510100000000000000000003000000140000000100000088130000010000003075000001000000C0D40100
    windows reg add "$service_key" /v FailureActionsOnNonCrashFailures /t REG_DWORD /d 1 /f
    access_list 'D:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)'
    as_on_windows check.cmd
    code_is 0
    says 'Nothing is wrong\.'
    says_not 'not checked'
    as_on_windows install.cmd
    code_is 0
    says 'All was there already; nothing was changed\.'
    # The rights don't tell the owner, who may change them.
    calls_are <<END
icacls [$data_path] [/setowner] [*S-1-5-32-544] [/l] [/q]
END
    access_list 'D:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;FR;;;BU)'
    as_on_windows check.cmd
    code_is 1
}

Case_AsOnWindows_PromptThatIsNotElevated_IsRefused() {
    as_on_windows install.cmd
    code_is 1
    says 'This needs the rights of an administrator: .*'
    ! has_key "$service_key" || fail "it went on"
    as_on_windows uninstall.cmd
    code_is 1
    says 'This needs the rights of an administrator: .*'
}

Case_AsOnWindows_ServiceOfAnotherFolder_IsMovedHere() {
    elevated
    access_list 'D:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)'
    installed
    windows reg add "$service_key" /v ImagePath /t REG_SZ /d 'C:\old (one)\tarnwick-service.exe' /f
    windows reg add "$service_key" /v FailureActions /t REG_BINARY /d 00 /f
    windows reg add "$service_key" /v FailureActionsOnNonCrashFailures /t REG_DWORD /d 0 /f
    as_on_windows install.cmd
    code_is 0
    says '  made      service, now from this folder'
    says ' *it was C:\\old \(one\)\\tarnwick-service\.exe'
    grep -qF 'sc [config] ['"$service"'] [binPath=] ["C:\install-test-' "$folder/calls.txt" ||
        fail "sc config was called otherwise: $(cat "$folder/calls.txt")"
}

Case_AsOnWindows_PathWithCommands_IsShownAndNotRun() {
    elevated
    access_list 'D:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)'
    installed
    windows reg add "$service_key" /v ImagePath /f /d '"C:\a&echo INJECTED\x.exe" -a&echo INJECTED'
    as_on_windows install.cmd
    code_is 0
    says ' *it was "C:\\a&echo INJECTED\\x\.exe" -a&echo INJECTED'
    says_not '^ *INJECTED'
}

Case_AsOnWindows_RecoveryHalfMade_IsCompleted() {
    elevated
    access_list 'D:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)'
    installed
    refuse sc failureflag
    as_on_windows install.cmd
    code_is 1
    says '  made      recovery: restart after 5 s, 30 s, 2 min'
    says '  FAILED    recovery: sc failure or sc failureflag failed'
    # What the first of the two calls leaves on Windows.
    windows reg add "$service_key" /v FailureActions /t REG_BINARY /d 00 /f
    rm "$folder/sc.codes.txt"
    as_on_windows install.cmd
    code_is 0
    says '  kept      recovery'
    says '  made      recovery after a stop with an error too'
    calls_are <<END
sc [failureflag] [$service] [1]
icacls [C:\\install-test-$$\\data\\Velmora\\Quillon] [/setowner] [*S-1-5-32-544] [/l] [/q]
END
}

Case_AsOnWindows_DataFolderThatIsALink_GetsNoRights() {
    elevated
    mkdir -p "$scratch/target/Quillon" "$scratch/data"
    ln -s "$scratch/target" "$scratch/data/Velmora"
    access_list 'D:AI(A;OICIID;FA;;;SY)(A;OICIID;FA;;;BA)'
    as_on_windows install.cmd
    code_is 1
    says '  FAILED    data folder: .*\\Velmora is a link'
    grep -q '^sc ' "$folder/calls.txt" || fail "no tool was called"
    ! grep '^icacls' "$folder/calls.txt" || fail "the target got rights"
}

Case_AsOnWindows_RemovalOfAServiceThatIsMarkedAlready_WaitsForItsEnd() {
    elevated
    installed
    echo 'delete 1072' >"$folder/sc.codes.txt"
    as_on_windows uninstall.cmd /wait 1
    code_is 1
    says '  FAILED    the service is marked for deletion, but something keeps it open'
}

# The scripts run with all rights: a program in the current folder must not pass for the system's.
Case_AsOnWindows_ProgramsInTheCurrentFolder_AreNotCalled() {
    local name
    elevated
    access_list 'D:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)'
    for name in find ping reg; do
        cp "$build_folder/bin/install_stand_in.exe" "$folder/$name.exe"
    done
    for name in cacls icacls sc; do
        echo 'no program' >"$folder/$name.exe"
    done
    as_on_windows reg query
    grep -q '^reg ' "$folder/calls.txt" || fail "the interpreter itself does not look there"
    for name in install.cmd check.cmd 'uninstall.cmd /removelogs'; do
        as_on_windows "$name"
        [ "$name" = check.cmd ] || code_is 0
        ! grep -E '^(find|ping|reg) ' "$folder/calls.txt" || fail "$name calls them"
    done
}
