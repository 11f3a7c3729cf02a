#!/bin/bash
# Builds the service host and puts it into out/bin, with the files it needs and its tools.
#
#   scripts/build.sh
#
# Missing packages are installed with apt (as root, or through sudo).

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

case ${1:-} in
    '') ;;
    -h | --help) show_help && exit ;;
    *) die "unknown argument: $1 (see --help)" ;;
esac

heading "Building tarnwick-service"
need_packages "${build_packages[@]}" "${wine_packages[@]}"
build_targets "${product_targets[@]}" quillon-log controller-check
programs=(tarnwick-service.exe quillon-log.exe controller-check.exe orrin-ctrl.dll probe-plain.exe)
put_in_out "${programs[@]}"

heading "In out/bin"
for name in "${programs[@]}"; do
    case $name in
        tarnwick-service.exe) what="the service host" ;;
        quillon-log.exe) what="reads and follows its log files" ;;
        controller-check.exe) what="checks a controller library" ;;
        orrin-ctrl.dll) what="development controller, in place of the closed library" ;;
        probe-plain.exe) what="sample program for the option -test" ;;
    esac
    printf '  %-22s%6d KiB  %s\n' "$name" $(($(stat -c %s "out/bin/$name") / 1024)) "$what"
done
echo
echo "  Their PDBs: build/mingw/bin"
