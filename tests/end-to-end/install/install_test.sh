#!/bin/bash
# Tries the package as an administrator does, on Wine. Each case is a ctest test of its own, with the
# package unpacked anew into a folder with blanks, parentheses and a letter that is not English.
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
    rm -rf "$data" "$scratch"
}

# ---- the cases ---------------------------------------------------------------------------------

make_package() {
    rm -rf "$root/out/package"
    "$root/scripts/package.sh"
}

Case_Package_HoldsTheSameFilesInBothForms() {
    (cd "$folder" && find . -type f -printf '%f\n') | sort >"$scratch/zip"
    msiinfo export "$root"/out/package/*.msi File | tr -d '\r' |
        awk -F '\t' 'NR > 3 { sub(/.*[|]/, "", $3); print $3 }' | sort >"$scratch/output"
    diff "$scratch/zip" "$scratch/output" || fail "the files differ"
    [ "$(wc -l <"$scratch/zip")" -eq 15 ] || fail "other files than expected"
    says_not orrin-ctrl.dll
    (cd "$root/out/package" && sha256sum -c SHA256SUMS) || fail "SHA256SUMS"
}

Case_Package_PackedAgain_HasTheSameBytes() {
    cp "$root/out/package/SHA256SUMS" "$scratch/first"
    sleep 2.1 # the clocks of both formats go on, by two seconds at a time
    "$root/scripts/package.sh"
    diff "$scratch/first" "$root/out/package/SHA256SUMS" || fail "the second package differs"
}

Case_Scripts_HaveCarriageReturns() {
    local name
    for name in "$folder"/{install,uninstall,check,shared}.cmd; do
        [ -s "$name" ] || fail "$name is missing"
        [ "$(grep -c '' "$name")" -eq "$(grep -c $'\r$' "$name")" ] || fail "$name"
    done
}

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

# The scripts as Windows runs them, as far as that goes on Wine: they don't see that it is Wine, and
# stand-ins for the tools without effect tell how they were called. That the tools do what is asked of
# them is not tried here.
as_on_windows() {
    local name
    for name in sc icacls cacls; do
        cp "$build_folder/bin/install_stand_in.exe" "$folder/$name.exe"
    done
    rm -f "$folder/calls.txt"
    windows cmd /c "set SystemRoot=C:\\elsewhere&& set ALLUSERSPROFILE=C:\\install-test-$$\\data&& $*"
}
access_list() { printf 'C:\\data "%s"\r\n\r\n' "$1" >"$folder/cacls.txt"; }
calls_are() {
    tr -d '\r' <"$folder/calls.txt" | grep -v '^cacls' >"$scratch/calls"
    diff - "$scratch/calls" || fail "the tools were called otherwise"
}

Case_AsOnWindows_ToolsAreCalledAsMeant() {
    windows reg add 'HKU\S-1-5-19' /f
    access_list 'D:AI(A;OICIID;FA;;;SY)(A;OICIID;FA;;;BA)(A;OICIID;0x1200a9;;;BU)'
    mkdir -p "$scratch/data/Velmora/Quillon"
    : >"$scratch/data/Velmora/Quillon/left-by-somebody.txt"
    add_controller
    as_on_windows install.cmd
    code_is 0
    says '  made      recovery: restart after 5 s, 30 s, 2 min'
    says '  made      rights of the data folder: system and administrators'
    says_not 'not here'
    local data_path="C:\\install-test-$$\\data\\Velmora\\Quillon"
    calls_are <<END
sc [failure] [$service] [reset=] [86400] [actions=] [restart/5000/restart/30000/restart/120000]
sc [failureflag] [$service] [1]
icacls [$data_path] [/setowner] [*S-1-5-32-544] [/t] [/c] [/l] [/q]
icacls [$data_path] [/inheritance:r] [/q]
icacls [$data_path] [/grant:r] [*S-1-5-18:(OI)(CI)F] [*S-1-5-32-544:(OI)(CI)F] [/q]
icacls [$data_path\\*] [/reset] [/t] [/c] [/l] [/q]
END
    as_on_windows check.cmd
    code_is 1
    says '  WRONG      recovery actions'
    says '  WRONG      recovery after a forced stop too'
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
    windows reg add 'HKU\S-1-5-19' /f
    access_list 'D:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)'
    installed
    windows reg add "$service_key" /v ImagePath /t REG_SZ /d 'C:\old (one)\tarnwick-service.exe' /f
    windows reg add "$service_key" /v FailureActions /t REG_BINARY /d 00 /f
    as_on_windows install.cmd
    code_is 0
    says "  made      service, now from this folder; was C:\\\\old \(one\)\\\\tarnwick-service.exe"
    grep -q '^sc \[config\] \['$service'\] \[binPath=\] \["C:\\install-test-' "$folder/calls.txt" ||
        fail "sc config was called otherwise: $(cat "$folder/calls.txt")"
}

Case_InstallerPackage_LaysDownFilesAndTakesThemAway() {
    cp "$root"/out/package/*.msi "$folder/package.msi"
    local files=$folder
    windows msiexec /i package.msi /qn
    code_is 0
    folder="$drive_c/Program Files/Velmora/Tarnwick"
    local name
    while IFS= read -r name; do
        cmp "$files/$name" "$folder/$name" || fail "$name"
    done < <(cd "$files" && find . -type f ! -name package.msi)
    installed
    script check.cmd
    code_is 0
    script uninstall.cmd
    code_is 0
    folder=$files
    rm "$drive_c/Program Files/Velmora/Tarnwick/orrin-ctrl.dll"
    windows msiexec /x package.msi /qn
    code_is 0
    [ ! -e "$drive_c/Program Files/Velmora/Tarnwick" ] || fail "files are still there"
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
