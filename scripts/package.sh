#!/bin/bash
# Builds the service host and packs what an administrator needs: a zip and an installer package.
#
#   scripts/package.sh
#
# Both are put into out/package, with SHA256SUMS for them. The controller library is not in them, as
# it belongs to the components; docs/installing.md tells the rest. The same build is packed into the
# same bytes each time: times are those of the last commit, or SOURCE_DATE_EPOCH. Packages that are
# missing are installed by apt (as root, or through sudo).

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

case ${1:-} in
    '') ;;
    -h | --help) show_help && exit ;;
    *) die "unknown argument: $1 (see --help)" ;;
esac

programs=(tarnwick-service.exe quillon-log.exe controller-check.exe service-tool.exe
    tarnwick-messages.dll)
targets=(tarnwick-service quillon-log controller-check service-tool tarnwick_messages)
documents=(installing operating crashes writing-a-controller)
packages=$root/out/package

# The time of everything that is packed: linker, strip and the packers know this variable or are told.
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git -c safe.directory="$root" log -1 --format=%ct \
    2>/dev/null || stat -c %Y CMakeLists.txt)}
export SOURCE_DATE_EPOCH TZ=UTC

# fill FOLDER: everything that is packed, as it lies on the target machine.
fill() {
    local folder=$1 name
    mkdir -p "$folder/controller-abi" "$folder/docs" "$folder/dev-controller/example"
    for name in "${programs[@]}"; do
        x86_64-w64-mingw32-strip -o "$folder/$name" "$build_folder/bin/$name"
    done
    cp controller-abi/orrin_ctrl_abi.h controller-abi/orrin-ctrl.def "$folder/controller-abi/"
    for name in "${documents[@]}"; do
        cp "docs/$name.md" "$folder/docs/"
    done
    # The page on writing a controller links to it.
    cp dev-controller/example/minimal_controller.c "$folder/dev-controller/example/"
    cp LICENSE "$folder/LICENSE.txt"
    find "$folder" -type f -exec chmod 644 {} +
    find "$folder" -exec touch -d "@$SOURCE_DATE_EPOCH" {} +
}

files_of() { (cd "$1" && find "${2:-.}" -type f | LC_ALL=C sort); }

pack_zip() {
    local result=$1 folder=$2
    files_of "${folder%/*}" "${folder##*/}" | (cd "${folder%/*}" && zip -X -9 -q -@ "$root/$result")
}

# guid TEXT: an identifier that is the same for the same text.
guid() {
    printf %s "$1" | sha1sum |
        sed -E 's/^(.{8})(.{4}).(.{3}).(.{3})(.{12}).*/\1-\2-5\3-8\4-\5/' | tr a-f A-F
}

# The installer compares three fields of a version only: the third is the build here.
installer_version() { sed -E 's/^([0-9]+\.[0-9]+)\.[0-9]+\.([0-9]+)$/\1.\2/' <<<"$1"; }

at_source_date() { faketime -f "$(date -d "@$SOURCE_DATE_EPOCH" '+%F %T')" "$@"; }

pack_msi() {
    local result=$1 folder=$2 contents
    contents=$(files_of "$folder" | (cd "$folder" && xargs -d '\n' sha256sum))
    at_source_date wixl -a x64 -D "Folder=$folder" \
        -D "Version=$(installer_version "$version")" \
        -D "ProductCode=$(guid "tarnwick-service $version")" -o "$result" \
        tools/install/tarnwick-service.wxs
    # Otherwise the code of the package is a new one each time.
    at_source_date msibuild "$result" -s "Tarnwick service host $version" Velmora 'x64;1033' \
        "{$(guid "$contents")}"
}

# Called bare, so that the first step that fails ends the command.
pack_all() {
    local name=tarnwick-service-$version
    fill "$work/$name"
    mkdir -p "$work/done"
    pack_zip "$work/done/$name.zip" "$work/$name"
    pack_msi "$work/done/$name.msi" "$work/$name"
    (cd "$work/done" && sha256sum "$name.msi" "$name.zip" >SHA256SUMS)
    rm -rf "$packages"
    mkdir -p "${packages%/*}"
    mv "$work/done" "$packages"
}

heading "Packing tarnwick-service"
need_packages "${build_packages[@]}" "${package_packages[@]}"
build_targets "${targets[@]}"
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build_folder/CMakeCache.txt")
# Relative, as wixl takes no other paths.
work=build/package
rm -rf "$work"
pack_all
rm -rf "$work"

heading "In out/package"
(cd "$packages" && stat -c '%n %s' -- *) | while read -r name size; do
    printf '  %-34s%6d KiB\n' "$name" $(((size + 1023) / 1024))
done
