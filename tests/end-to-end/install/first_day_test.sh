#!/bin/bash
# Runs scripts/windows-first-day.cmd on Wine, with the programs of the build, and checks its
# results. Only steps that need Windows may differ.

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/../../../scripts/lib.sh"

scratch=$TARNWICK_WINEPREFIX/drive_c/first-day-$$
answers=$scratch/first-day-answers

fail() {
    printf 'FAILED: %s\n' "$1"
    cat "$scratch/output" "$answers/summary.txt" 2>/dev/null || true
    exit 1
}

# The Windows command interpreter loses labels in scripts without carriage returns.
first_day() {
    code=0
    (cd "$scratch" && timeout 240 "$root/cmake/wine.sh" "$build_folder/bin/elevated.exe" \
        cmd /c first-day.cmd "$@") >"$scratch/raw" 2>&1 </dev/null || code=$?
    tr -d '\r' <"$scratch/raw" >"$scratch/output"
}

mkdir -p "$scratch/programs"
trap 'rm -rf "$scratch"' EXIT
sed 's/\r*$/\r/' scripts/windows-first-day.cmd >"$scratch/first-day.cmd"
cp "$build_folder"/bin/{tarnwick-service,service-tool,quillon-log,controller-check}.exe \
    "$build_folder"/bin/{orrin-ctrl,tarnwick-messages}.dll "$scratch/programs/"

first_day no-such-folder
[ "$code" -eq 2 ] || fail "exit code $code for a folder without programs"
rm -r "$answers"

first_day programs
[ -s "$answers/summary.txt" ] || fail "no summary"
tr -d '\r' <"$answers/summary.txt" >"$scratch/summary"
# Wine's sc shows no configuration (Wine 8 ends it with 1, Wine 10 with 1639), and its service manager
# restarts nothing.
grep '^DIFFERS' "$scratch/summary" | sed 's/ code 1639,/ code 1,/' | diff - <(printf 'DIFFERS  %s\n' \
    '24-configuration: exit code 1, expected 0' \
    '42-recovery-restarted: the service is not RUNNING') ||
    fail "other differences than those of Wine"
[ "$code" -eq 1 ] || fail "exit code $code"
for step in 20-install-dry-run 32-check-running 53-stop-after-crash 54-console-crash-read \
    60-controller-check 74-check-rights 90-uninstall; do
    grep -q " $step: exit code" "$scratch/summary" || fail "$step was not run"
    [ -s "$answers/$step.txt" ] || fail "no answer of $step"
done
[ -s "$answers/console-crash.dmp" ] || fail "no dump"
grep -q 'RUNNING' "$answers/31-running.txt" || fail "the service did not run"

first_day programs
[ "$code" -eq 2 ] || fail "exit code $code over old answers"
grep -q 'exists here already' "$scratch/output" || fail "old answers are not kept"
echo passed
