#!/bin/bash
# Builds the service host and puts it, with what it needs to run, into out/bin.
#
#   scripts/build.sh
#
# Packages that are missing are installed by apt (as root, or through sudo).

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

case ${1:-} in
    '') ;;
    -h | --help) show_help && exit ;;
    *) die "unknown argument: $1 (see --help)" ;;
esac

heading "Building tarnwick-service"
need_packages "${build_packages[@]}" "${wine_packages[@]}"
build_targets "${product_targets[@]}"
put_in_out tarnwick-service.exe orrin-ctrl.dll probe-plain.exe

heading "In out/bin"
for name in tarnwick-service.exe orrin-ctrl.dll probe-plain.exe; do
    case $name in
        tarnwick-service.exe) what="the service host" ;;
        orrin-ctrl.dll) what="development controller; stands in for the closed library" ;;
        probe-plain.exe) what="sample program that waits, for the option -test" ;;
    esac
    printf '  %-22s%6d KiB  %s\n' "$name" $(($(stat -c %s "out/bin/$name") / 1024)) "$what"
done
echo
echo "  The same with debug information: build/mingw/bin"
