#!/bin/bash
# first_day_test.sh CASE: runs scripts/windows-first-day.cmd on Wine with the programs of the build, and
# checks the answers. Only the steps that Wine can't do may differ. A build and packages are tried on
# Windows only.

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/../../../scripts/lib.sh"

scratch=$TARNWICK_WINEPREFIX/drive_c/first-day-$$
installed=$TARNWICK_WINEPREFIX/drive_c/'Program Files'/Velmora/Tarnwick
system_folder=$TARNWICK_WINEPREFIX/drive_c/windows/system32
answers=$scratch/first-day-answers

fail() {
    printf 'FAILED: %s\n' "$1"
    cat "$scratch/output" "$answers/summary.txt" 2>/dev/null || true
    exit 1
}

in_folder() {
    local folder=$1
    shift
    (cd "$folder" && timeout 900 "$root/cmake/wine.sh" "$build_folder/bin/elevated.exe" "$@") \
        2>&1 </dev/null
}

# cmd loses labels in scripts without carriage returns.
first_day() { first_day_in "$scratch" "$@"; }
first_day_in() {
    local folder=$1
    shift
    code=0
    in_folder "$folder" cmd /c "C:\\${scratch##*/}\\first-day.cmd" "$@" >"$scratch/raw" || code=$?
    tr -d '\r' <"$scratch/raw" >"$scratch/output"
}

# expect_refusal TEXT ARGUMENT...: exit code 2, the text, and no folder that stops the next attempt.
expect_refusal() {
    local text=$1
    shift
    first_day "$@"
    [ "$code" -eq 2 ] || fail "exit code $code with arguments: $*"
    grep -q "$text" "$scratch/output" || fail "no refusal \"$text\" with arguments: $*"
    [ ! -e "$answers" ] || fail "the refusal \"$text\" leaves a folder"
}

clean_up() {
    in_folder "$scratch" programs/service-tool.exe uninstall --remove-logs >/dev/null || true
    rm -rf "$scratch" "$installed"
}

mkdir -p "$scratch/programs" "$scratch/no-controller"
trap clean_up EXIT
sed 's/\r*$/\r/' scripts/windows-first-day.cmd >"$scratch/first-day.cmd"
cp "$build_folder"/bin/{tarnwick-service,service-tool,quillon-log,controller-check}.exe \
    "$build_folder"/bin/{orrin-ctrl,tarnwick-messages}.dll "$scratch/programs/"
cp "$build_folder/bin/service-tool.exe" "$scratch/no-controller/"

Case_Refusals() {
    expect_refusal 'Usage:' '/?'
    expect_refusal 'Usage:' programs old.msi new.msi more
    expect_refusal 'Usage:' programs old.msi
    expect_refusal 'There is no service-tool.exe' no-such-folder
    expect_refusal 'There is no orrin-ctrl.dll' no-controller
    expect_refusal 'There is no package' programs old.msi new.msi
    # Wine has no key that only administrators can read, and no cmake: a build is always refused.
    expect_refusal 'needs administrator rights\|no cmake'

    touch "$scratch"/{old,new}.msi
    mkdir -p "$installed"
    expect_refusal 'exists already' programs old.msi new.msi
    rm -r "$installed"

    # An elevated prompt starts in the system folder.
    first_day_in "$system_folder" "C:\\${scratch##*/}\\programs"
    [ "$code" -eq 2 ] || fail "exit code $code in the system folder"
    [ ! -e "$system_folder/first-day-answers" ] || fail "answers in the system folder"
}

# The installed service may be in use. One session, because Wine ends services with their session.
Case_InstalledServiceIsLeftAlone() {
    local folder
    for folder in programs ''; do
        sed 's/$/\r/' >"$scratch/in-use.cmd" <<END
@echo off
programs\\service-tool.exe install
sc start VelmoraTarnwickService
ping -n 4 127.0.0.1 >nul
cmd /c first-day.cmd $folder
echo exit code %errorlevel%
sc query VelmoraTarnwickService
programs\\service-tool.exe uninstall --remove-logs
END
        in_folder "$scratch" cmd /c in-use.cmd >"$scratch/raw" || true
        tr -d '\r' <"$scratch/raw" >"$scratch/output"
        sed -n '/^exit code/,$p' "$scratch/output" | grep -q RUNNING || fail "the service was stopped"
        grep -q '^The service is installed' "$scratch/output" || fail "the service was not noticed"
        grep -q '^exit code 2$' "$scratch/output" || fail "another exit code"
        [ ! -e "$answers" ] || fail "a folder over an installed service"
    done
}

Case_AllSteps() {
    local step kind
    first_day programs
    [ -s "$answers/summary.txt" ] || fail "no summary"
    tr -d '\r' <"$answers/summary.txt" >"$scratch/summary"
    # Wine's sc shows no configuration, its service manager restarts nothing and goes on showing a
    # crashed service as running, and its folders are open to everybody. The exit codes of sc depend on
    # the version.
    grep '^DIFFERS' "$scratch/summary" | sed '/ \(24\|54\)-/s/ code [0-9]*,/ code 1,/' | diff - <(printf 'DIFFERS  %s\n' \
        '24-configuration: exit code 1, expected 0' \
        '42-O9-recovery-restarted: the service is not RUNNING' \
        '54-sc-stop-after-restart: exit code 1, expected 0' \
        '72-foreign-folder-is-closed: exit code 0, expected 1') ||
        fail "other differences than those of Wine"
    [ "$code" -eq 1 ] || fail "exit code $code"
    # Test programs are in a build only, and Wine has no PowerShell, which starts the other process.
    grep '^not run' "$scratch/summary" | diff - <(printf 'not run  %s\n' \
        '83-O5-dump-of-another-process: no process to dump' \
        '85-O1: there is no scm_races.exe' \
        '85-O2: there is no service_tests.exe' \
        '85-O3: there is no framework_exception_tests.exe' \
        '85-O4: there is no crash_tests.exe' \
        '85-O5: there is no crash_tests.exe' \
        '85-O6: there is no console_tests.exe') || fail "other steps are missing than on Wine"
    for step in 20-install-dry-run 32-check-running 51-status-after-crash 55-stop-after-restart \
        56-console-crash-read 60-controller-check 62-O14-start-without-controller 74-O13-check-rights \
        85-O8 87-service-manager-events 88-uninstall; do
        grep -q " $step: exit code" "$scratch/summary" || fail "$step was not run"
        grep -q '^exit code' "$answers/$step.txt" || fail "no answer of $step"
        [ "$(grep -c '^time ' "$answers/$step.txt")" -eq 2 ] || fail "no times of $step"
    done
    grep -q 'RUNNING' "$answers/31-running.txt" || fail "the service did not run"
    for kind in read divide illegal cpp heap-corruption; do
        [ -s "$answers/console-crash-$kind.dmp" ] || fail "no dump of $kind"
    done
    # A dump that a crash before it wrote isn't taken for its own.
    [ ! -e "$answers/console-crash-fail-fast.dmp" ] || fail "a dump of fail-fast"
    compgen -G "$answers/logs/*.log*" >/dev/null || fail "the logs were not kept"
    [ -s "$scratch/programs/orrin-ctrl.dll" ] || fail "the controller was not put back"

    # The answers are kept.
    first_day programs
    [ "$code" -eq 2 ] || fail "exit code $code over old answers"
    grep -q 'exists here already' "$scratch/output" || fail "old answers are not kept"
    [ -s "$answers/summary.txt" ] || fail "old answers are gone"
}

"Case_$1"
echo passed
