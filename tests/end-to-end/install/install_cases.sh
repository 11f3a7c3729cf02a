# shellcheck shell=bash
# shellcheck disable=SC2154 # the names are those of install_test.sh
# install.cmd and check.cmd on Wine.

Case_Install_MakesWhatCheckLooksFor() {
    installed
    says 'Done\. .*'
    says_not 'FAILED|kept'
    script check.cmd
    code_is 0
    says 'Nothing is wrong\.'
    says 'Not checked here: 2\.'
    windows reg query "$service_key" /v ImagePath
    says '.*"C:\\install-test-.* \(x86\)\\Tarnwick\\tarnwick-service.exe"'
}

Case_Install_SecondTime_ChangesNothing() {
    installed
    windows reg query "$service_key" /s
    cp "$scratch/output" "$scratch/first"
    script install.cmd
    code_is 0
    says 'All was there already; nothing was changed\.'
    says_not made
    windows reg query "$service_key" /s
    diff "$scratch/first" "$scratch/output" || fail "the registry has changed"
}

Case_Install_KeepsWhatAnAdministratorHasChanged() {
    windows reg add "$service_key" /v TraceLevelsMask /t REG_DWORD /d 15 /f
    installed
    says '  kept      setting TraceLevelsMask'
    script check.cmd
    code_is 0
    says '  well       setting TraceLevelsMask = 15, default 7'
}

Case_Install_OverARunningService_LeavesItRunning() {
    installed
    start_service
    local before
    before=$(processes)
    script install.cmd
    code_is 0
    says 'All was there already; nothing was changed\.'
    [ -n "$before" ] || fail "no process is found"
    [ "$(processes)" = "$before" ] || fail "the process is another one"
    state_is RUNNING || fail "it does not run"
    script check.cmd
    code_is 0
    says '  state      RUNNING'
}

Case_Install_WithoutController_SaysWhatFollows() {
    script install.cmd
    code_is 0
    says 'orrin-ctrl.dll is missing in this folder\..*'
    script check.cmd
    code_is 1
    says '  WRONG      orrin-ctrl.dll in this folder'
    windows sc start "$service"
    [ "$code" -ne 0 ] || fail "it starts without a controller"
}

Case_Install_ServiceOfAnotherFolder_IsNotTakenOver() {
    installed
    cp -r "$folder" "$scratch/other"
    folder=$scratch/other
    script check.cmd
    code_is 1
    says '  WRONG      program of the service is the one in this folder, its path in quotes'
    # On Windows sc config moves the service here; Wine's can't.
    script install.cmd
    code_is 1
    says '  FAILED    service: registered from another folder, and sc config failed'
}

Case_Check_FindsWhatIsMissing_AndInstallMendsIt() {
    installed
    local name
    for name in TraceLevelsMask ExpiredPeriodInDays MaxLogFilesSize DisableLogRetention DumpType; do
        windows reg delete "$service_key" /v $name /f
    done
    windows reg add "$source_key" /v EventMessageFile /t REG_EXPAND_SZ /d 'C:\other.dll' /f
    windows reg add "$source_key" /v TypesSupported /t REG_DWORD /d 1 /f
    rm -r "$data"
    script check.cmd
    code_is 1
    for name in TraceLevelsMask ExpiredPeriodInDays MaxLogFilesSize DisableLogRetention DumpType; do
        says "  WRONG      setting $name"
    done
    says '  WRONG      event source with the message file of this folder'
    says '  WRONG      event source for errors, warnings and information'
    says '  WRONG      data folder'
    says 'Wrong: 8\.'
    script install.cmd
    code_is 0
    script check.cmd
    code_is 0
}

Case_Check_WithoutService_FindsWhatIsMissing() {
    add_controller
    script check.cmd
    code_is 1
    says '  WRONG      service registered'
    says '  WRONG      event source with the message file of this folder'
    says '  WRONG      data folder'
    says 'Wrong: 4\.'
    rm "$folder/tarnwick-service.exe"
    script check.cmd
    says '  WRONG      tarnwick-service.exe in this folder'
    script install.cmd
    code_is 1
    says 'tarnwick-service.exe is not in the folder of this script\..*'
}

Case_Check_FindsDefectsThatInstallLeavesAlone() {
    installed
    windows reg add "$service_key" /v DumpType /t REG_SZ /d 0 /f
    windows reg add "$service_key" /v ImagePath /t REG_SZ \
        /d "C:\\install-test-$$\\Prögram Files (x86)\\Tarnwick\\tarnwick-service.exe" /f
    windows reg add "$service_key" /v Start /t REG_DWORD /d 4 /f
    windows reg add "$service_key" /v Type /t REG_DWORD /d 32 /f
    rm "$folder/tarnwick-messages.dll"
    script check.cmd
    code_is 1
    says '  WRONG      setting DumpType'
    says '  WRONG      program of the service is the one in this folder, its path in quotes'
    says '  WRONG      service starts with the system'
    says '  WRONG      service has a process of its own'
    says '  WRONG      tarnwick-messages.dll in this folder'
    says 'Wrong: 5\.'
}

Case_Install_ServiceMarkedForDeletion_IsNotKept() {
    installed
    windows reg add "$service_key" /v DeleteFlag /t REG_DWORD /d 1 /f
    script check.cmd
    code_is 1
    says '  WRONG      service registered, but marked for deletion'
    script install.cmd
    code_is 1
    says '  FAILED    service: the old one is marked for deletion, but not gone yet'
}

Case_Install_PathOfAnotherService_IsShownAndNotRun() {
    installed
    windows reg add "$service_key" /v ImagePath /f /d '"C:\a&echo INJECTED\x.exe" -a&echo INJECTED'
    script check.cmd
    code_is 1
    says '  WRONG      program of the service is the one in this folder, its path in quotes'
    says_not '^ *INJECTED'
    script install.cmd
    code_is 1
    says '.* registered is "C:\\a&echo INJECTED\\x\.exe" -a&echo INJECTED'
    says_not '^ *INJECTED'
    script uninstall.cmd
    code_is 0
    says_not '^ *INJECTED'
}

# The machine-wide data folder is open to all users, so what is there can be anybody's.
Case_Install_DataFolderThatIsALink_IsRefused() {
    local link
    mkdir -p "$scratch/target/Quillon" "${data%/*}"
    add_controller
    for link in "$data" "${data%/*}"; do
        rm -rf "$data"
        [ "$link" = "$data" ] || rmdir "$link"
        ln -s "$scratch/target" "$link"
        script install.cmd
        code_is 1
        says "  FAILED    data folder: .*\\\\${link##*/} is a link"
        says_not 'data folder$'
        script check.cmd
        code_is 1
        says "  WRONG      data folder: .*\\\\${link##*/} is a link"
        script uninstall.cmd /removelogs
        code_is 1
        says "  FAILED    data folder: .*\\\\${link##*/} is a link; .*"
        [ -d "$scratch/target/Quillon" ] || fail "the target was removed"
    done
}

Case_Scripts_LeaveTheUsersRegistryAsItWas() {
    windows reg add "HKCU\\Software\\$service" /v Mine /d kept /f
    windows reg query 'HKCU\Software' /s
    cp "$scratch/output" "$scratch/first"
    installed
    script check.cmd
    code_is 0
    script uninstall.cmd
    code_is 0
    windows reg query 'HKCU\Software' /s
    cp "$scratch/output" "$scratch/second"
    windows reg delete "HKCU\\Software\\$service" /f
    diff "$scratch/first" "$scratch/second" || fail "the user's registry has changed"
    grep -q Mine "$scratch/first" || fail "the user's key was not there"
}
