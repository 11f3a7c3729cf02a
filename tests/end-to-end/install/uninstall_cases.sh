# shellcheck shell=bash
# shellcheck disable=SC2154 # the names are those of install_test.sh
# uninstall.cmd on Wine.

Case_Uninstall_LeavesNothingButTheLogs() {
    installed
    start_service
    script uninstall.cmd
    code_is 0
    says '  service stopped, its process is gone'
    says '  service and its settings removed'
    says '  event source removed'
    [ -z "$(processes)" ] || fail "its process is still there"
    ! has_key "$service_key" || fail "the service's key is still there"
    ! has_key "$source_key" || fail "the event source is still there"
    local -a logs=("$data"/Logs/*.log.gz)
    [ ${#logs[@]} -eq 1 ] || fail "the log was not kept, or not closed in order"
    script uninstall.cmd
    code_is 0
    says '  service was not registered'
}

Case_Uninstall_RemoveLogs_RemovesTheDataFolder() {
    installed
    mkdir -p "$data/Logs"
    echo left >"$data/Logs/left-by-an-earlier-run.log"
    script uninstall.cmd /removelogs
    code_is 0
    says '  data folder removed, with all logs'
    [ ! -e "${data%/*}" ] || fail "the data folder is still there"
}

Case_Uninstall_TellsTheSettingsThatGo() {
    installed
    windows reg add "$service_key" /v MaxLogFilesSize /t REG_DWORD /d 99000000 /f
    script uninstall.cmd
    says '  setting MaxLogFilesSize was 99000000, default 26214400'
    says_not TraceLevelsMask
}

Case_Uninstall_SlowStop_WaitsForTheProcess() {
    installed
    printf '%s\n' 'on load register' 'on activate enable-stop' 'on free delay 4000' \
        >"$folder/orrin-ctrl.script"
    start_service 'OnStart finished'
    { script uninstall.cmd && echo "$code" >"$scratch/code"; } &
    local _
    for _ in {1..600}; do
        ! grep -qsa 'its process is gone' "$scratch/raw" || break
        sleep 0.1
    done
    [ -z "$(processes)" ] || fail "it says so while its process is still there"
    wait $!
    code=$(<"$scratch/code")
    code_is 0
    says '  service stopped, its process is gone'
    says '  service and its settings removed'
}

Case_Uninstall_ProcessThatStays_RemovesNothing() {
    installed
    printf '%s\n' 'on load register' 'on activate enable-stop' 'on free delay 60000' \
        >"$folder/orrin-ctrl.script"
    start_service 'OnStart finished'
    script uninstall.cmd /wait 2
    code_is 1
    says '  FAILED    a program still runs from the executable after 2 s; nothing was removed'
    has_key "$service_key" || fail "the service was removed"
}

Case_Uninstall_StopNotAllowed_RemovesNothing() {
    installed
    echo 'on load register' >"$folder/orrin-ctrl.script"
    start_service 'OnStart finished'
    script uninstall.cmd /wait 3
    code_is 1
    says '  FAILED    service does not accept a stop now; nothing was removed'
    state_is RUNNING || fail "it does not run"
    has_key "$source_key" || fail "the event source was removed"
}

Case_Uninstall_UnknownArgument_DoesNothing() {
    installed
    script uninstall.cmd /all
    code_is 1
    says 'Usage: uninstall.cmd \[/removelogs\] \[/wait SECONDS\]'
    has_key "$service_key" || fail "the service was removed"
}

Case_Uninstall_WaitThatIsNoNumber_DoesNothing() {
    installed
    local limit
    for limit in abc 08 12x 3-1 -1; do
        script uninstall.cmd /wait "$limit"
        code_is 1
        says "Not a number of seconds: $limit"
        says 'Usage: .*'
    done
    script uninstall.cmd /wait
    code_is 1
    has_key "$service_key" || fail "the service was removed"
}

Case_Uninstall_ExecutableGone_RemovesTheServiceAndMakesNoFile() {
    installed
    rm "$folder/tarnwick-service.exe"
    script uninstall.cmd /wait 2
    code_is 0
    says '  service and its settings removed'
    [ ! -e "$folder/tarnwick-service.exe" ] || fail "an executable was made"
}

Case_Uninstall_FolderGone_RemovesTheService() {
    installed
    mv "$folder" "$scratch/other"
    folder=$scratch/other
    script uninstall.cmd /wait 2
    code_is 0
    says '  service is registered from another folder'
    says '  service and its settings removed'
}

# Renamed, a program can go on while its file seems to be gone.
Case_Uninstall_ExecutableRenamed_WaitsForTheStop() {
    installed
    printf '%s\n' 'on load register' 'on activate enable-stop' 'on deactivate delay 60000' \
        >"$folder/orrin-ctrl.script"
    start_service 'OnStart finished'
    mv "$folder/tarnwick-service.exe" "$folder/renamed.exe"
    script uninstall.cmd /wait 2
    code_is 1
    says '  FAILED    a program still runs from the executable after 2 s; nothing was removed'
    has_key "$service_key" || fail "the service was removed"
}

# A program that runs in a console, whose end no stop of the service brings about.
run_in_console() {
    # Its log is left in this case's folder.
    printf '@set ALLUSERSPROFILE=C:\\install-test-%s\\data\r\n@"%%~dp0tarnwick-service.exe" -run\r\n' \
        $$ >"$folder/console.cmd"
    (cd "$folder" && exec "$root/cmake/wine.sh" cmd /c console.cmd) >/dev/null 2>&1 </dev/null &
    local _
    for _ in {1..100}; do
        [ -z "$(processes)" ] || return 0
        sleep 0.1
    done
    fail "it does not run in a console"
}
end_consoles() {
    local process
    for process in $(processes); do
        kill -KILL "$process" 2>/dev/null || true
    done
}

# finds_program NAME REST: from another folder, the program of a service that is registered by its
# path in the folder NAME, as printf puts it into REST, is seen to run; and when it has ended the
# service is removed.
finds_program() {
    # In no foreign letters, as what is read of a path loses those that the code page lacks.
    in_folder "$1"
    installed
    run_in_console
    # shellcheck disable=SC2059 # that is what the second argument is for
    windows reg add "$service_key" /v ImagePath /t REG_EXPAND_SZ /f \
        /d "$(printf "$2" "install-test-$$\\$1\\tarnwick-service.exe")"
    (cd "$folder" && find . | sort) >"$scratch/first"
    local home=$folder
    cp -r "$folder" "$scratch/other"
    folder=$scratch/other
    script uninstall.cmd /wait 1
    code_is 1
    says '  service is registered from another folder'
    says '  FAILED    a program still runs from the executable after 1 s; nothing was removed'
    end_consoles
    script uninstall.cmd /wait 10
    code_is 0
    says '  service and its settings removed'
    folder=$home
    (cd "$folder" && find . | sort) | diff "$scratch/first" - || fail "other files are there"
}

Case_Uninstall_ProgramInAConsole_RemovesNothing() {
    installed
    run_in_console
    script uninstall.cmd /wait 1
    code_is 1
    says '  FAILED    a program still runs from the executable after 1 s; nothing was removed'
    has_key "$service_key" || fail "the service was removed"
}

Case_Uninstall_ArgumentsBehindThePath_FindsTheProgram() {
    finds_program 'Program Files (x86)' '"C:\\%s" x -y="1 2"'
}

Case_Uninstall_PathWithoutQuotes_FindsTheProgram() {
    finds_program 'Program Files (x86)' 'C:\\%s -x'
}

Case_Uninstall_PathWithApostrophe_FindsTheProgram() {
    finds_program "it's" '"C:\\%s"'
}
