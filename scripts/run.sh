#!/bin/bash
# Builds the service host and runs it.
#
#   scripts/run.sh [--for SECONDS]             as a service, until Ctrl+C or for some seconds
#   scripts/run.sh --console [--for SECONDS]   in a console, with the log on the terminal
#
# As a service it is registered with the Service Control Manager of a private Wine prefix and started.
# Its states and its log are shown. Then it is stopped and removed; the log files stay. The exit code
# is 0 if the service started, stopped in order, and reported no error.
#
# There are no colours if the output isn't a terminal or NO_COLOR is set. Missing packages are
# installed with apt (as root, or through sudo).

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

service=VelmoraTarnwickService
logs='Velmora/Quillon/Logs'

mode=service
seconds=
while [ $# -gt 0 ]; do
    case $1 in
        --console) mode=console ;;
        --for)
            [[ ${2:-} =~ ^[0-9]{1,6}$ ]] || die "--for takes a number of seconds"
            seconds=$((10#$2))
            shift
            ;;
        -h | --help) show_help && exit ;;
        *) die "unknown argument: $1 (see --help)" ;;
    esac
    shift
done

shown_path() { printf '%s' "${1#"$root/"}"; }
drive_c=$(shown_path "$TARNWICK_WINEPREFIX/drive_c")

# run_windows_program COMMAND...: runs a program detached from the terminal, so that Wine draws no
# console over it. Ctrl+C and SIGTERM become the program's own Ctrl+C. Returns its exit code.
run_windows_program() {
    local program reader status=0
    exec 6> >(trap '' INT TERM HUP && exec sed -u 's|\r$||' 7>&-)
    reader=$!
    setsid "$@" </dev/null >&6 2>&6 6>&- 7>&- &
    program=$!
    exec 6>&-
    # shellcheck disable=SC2064 # this program's id, as it is now
    trap "kill -INT $program 2>/dev/null || true" INT TERM HUP
    # A signal interrupts the wait; the program continues until its own end.
    while kill -0 "$program" 2>/dev/null; do
        wait "$program" || true
    done
    wait "$program" || status=$?
    wait "$reader" || true
    return "$status"
}

run_as_service() {
    heading "tarnwick-service as a Windows service"
    field service "$service, own process"
    field executable out/bin/tarnwick-service.exe
    field controller "out/bin/orrin-ctrl.dll (development controller)"
    field "log files" "$(shown_path "$(unix_path "$TARNWICK_WINEPREFIX" "$(service_data_folder)")/$logs")"
    field ends "${seconds:+after $seconds s, or }with Ctrl+C"
    echo
    # The program removes the service itself; this is for when it couldn't.
    before_end_of_wine() {
        [ "$status" -eq 0 ] ||
            "$root/cmake/wine.sh" "$watch" --remove "$service" >/dev/null 2>&1 </dev/null 7>&-
    }
    run_windows_program "$root/cmake/wine.sh" "$watch" ${seconds:+--for "$seconds"} \
        ${bold:+--color} --system-drive "$drive_c" "$service" 'out\bin\tarnwick-service.exe'
}

run_in_console() {
    heading "tarnwick-service in a console"
    field command "tarnwick-service.exe -run -log-console"
    field controller "out/bin/orrin-ctrl.dll (development controller)"
    field "log files" "none with -log-console; else $drive_c/ProgramData/$logs"
    field ends "${seconds:+after $seconds s, or }with Ctrl+C"
    echo
    local -a limit=()
    [ -z "$seconds" ] || limit=(timeout --foreground --preserve-status -s INT "$seconds")
    local status=0
    run_windows_program "${limit[@]}" "$root/cmake/wine.sh" 'out\bin\tarnwick-service.exe' \
        -run -log-console || status=$?
    heading Result
    field "exit code" "$status"
    return "$status"
}

watch=$build_folder/bin/service-watch.exe

heading "Preparing"
need_packages "${build_packages[@]}" "${wine_packages[@]}"
build_targets "${product_targets[@]}"
put_in_out tarnwick-service.exe orrin-ctrl.dll probe-plain.exe
claim_service
begin_wine
if [ "$mode" = console ]; then
    run_in_console
else
    run_as_service
fi
