#!/bin/bash
# Builds the service host and its packages: a zip and an installer package for administrators, and a
# zip of the symbols for reading dumps.
#
#   scripts/package.sh [--sign CERTIFICATE KEY]
#
#   --sign    signs the programs, the message library and the installer package. Both files are PEM;
#             the first may also hold the issuers' certificates. There is no time stamp. Without this
#             option nothing is signed.
#
# The packages and their SHA256SUMS are written to out/package. They don't contain the controller
# library, which comes with the components. See docs/installing.md and docs/releasing.md. The same
# commit gives the same bytes each time and in each folder: files have the time of the last commit, or
# SOURCE_DATE_EPOCH. Missing packages are installed with apt (as root, or through sudo).

called_from=$PWD
# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# readable FILE: its full path.
readable() {
    local path
    path=$(cd "$called_from" && realpath -- "$1")
    if [ ! -f "$path" ] || [ ! -r "$path" ]; then
        die "no such file: $1"
    fi
    echo "$path"
}

certificate='' key=''
while [ $# -gt 0 ]; do
    case $1 in
        -h | --help) show_help && exit ;;
        --sign)
            [ $# -ge 3 ] || die "--sign takes a certificate and a key"
            certificate=$(readable "$2")
            key=$(readable "$3")
            shift 2
            ;;
        *) die "unknown argument: $1 (see --help)" ;;
    esac
    shift
done

programs=(tarnwick-service.exe quillon-log.exe controller-check.exe service-tool.exe
    tarnwick-messages.dll)
targets=(tarnwick-service quillon-log controller-check service-tool tarnwick_messages)
documents=(installing operating crashes writing-a-controller)
packages=$root/out/package

# The time of all packed files. The packers know this variable or get it as an argument.
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git -c safe.directory="$root" log -1 --format=%ct \
    2>/dev/null || stat -c %Y CMakeLists.txt)}
export SOURCE_DATE_EPOCH TZ=UTC

# fill FOLDER: all files of a package, as on the target machine.
fill() {
    local folder=$1 name
    mkdir -p "$folder/controller-abi" "$folder/docs" "$folder/dev-controller/example"
    cp "${built[@]}" "$folder/"
    cp controller-abi/orrin_ctrl_abi.h controller-abi/orrin-ctrl.def "$folder/controller-abi/"
    for name in "${documents[@]}"; do
        cp "docs/$name.md" "$folder/docs/"
    done
    # The page on writing a controller links to it.
    cp dev-controller/example/minimal_controller.c "$folder/dev-controller/example/"
    cp LICENSE "$folder/LICENSE.txt"
    for name in "${programs[@]}"; do
        sign "$folder/$name"
    done
    scripts/release.py notices "${built[@]}" >"$folder/THIRD-PARTY-NOTICES.txt"
    scripts/release.py sbom "$version" "$SOURCE_DATE_EPOCH" "$folder" "${built[@]}" \
        >"$work/SBOM.spdx.json"
    mv "$work/SBOM.spdx.json" "$folder/"
    settle "$folder"
}

# settle FOLDER: sets modes and times that depend neither on the user nor on the time of day.
settle() {
    find "$1" -type f -exec chmod 644 {} +
    find "$1" -exec touch -d "@$SOURCE_DATE_EPOCH" {} +
}

# Refuses a key that doesn't belong to the certificate before anything is built.
check_key() {
    [ -n "$certificate" ] || return 0
    local own
    own=$(openssl x509 -in "$certificate" -noout -pubkey 2>/dev/null) ||
        die "not a certificate in PEM form: $certificate"
    [ "$own" = "$(openssl pkey -in "$key" -pubout 2>/dev/null)" ] ||
        die "$key is not the key of $certificate"
}

# sign FILE: only if asked for.
sign() {
    [ -n "$certificate" ] || return 0
    osslsigncode sign -h sha256 -n "Tarnwick service host $version" -certs "$certificate" \
        -key "$key" -in "$1" -out "$1.signed" >/dev/null
    mv "$1.signed" "$1"
}

files_of() { (cd "$1" && find "${2:-.}" -type f | LC_ALL=C sort); }

pack_zip() {
    local result=$1 folder=$2
    files_of "${folder%/*}" "${folder##*/}" | (cd "${folder%/*}" && zip -X -9 -q -@ "$root/$result")
}

# guid TEXT: the same identifier for the same text.
guid() {
    printf %s "$1" | sha1sum |
        sed -E 's/^(.{8})(.{4}).(.{3}).(.{3})(.{12}).*/\1-\2-5\3-8\4-\5/' | tr a-f A-F
}

# The installer compares only three fields of a version, so the third is the build number.
installer_version() { sed -E 's/^([0-9]+\.[0-9]+)\.[0-9]+\.([0-9]+)$/\1.\2/' <<<"$1"; }

at_source_date() { faketime -f "$(date -d "@$SOURCE_DATE_EPOCH" '+%F %T')" "$@"; }

# msi_version_rows FILE NAME: an upgrade keeps the newer of two files with a version, and compares all
# others by time and contents. wixl writes no versions.
msi_version_rows() {
    local row=${2//[-.]/_}
    at_source_date msibuild "$1" -q "UPDATE \`File\` SET \`Version\`='$version',
        \`Language\`='1033' WHERE \`File\`='$row'"
    at_source_date msibuild "$1" -q "DELETE FROM \`MsiFileHash\` WHERE \`File_\`='$row'"
}

pack_msi() {
    local result=$1 folder=$2 contents name
    contents=$(files_of "$folder" | (cd "$folder" && xargs -d '\n' sha256sum))
    at_source_date wixl -a x64 -D "Folder=$folder" \
        -D "Version=$(installer_version "$version")" \
        -D "ProductCode=$(guid "tarnwick-service $version")" -o "$result" \
        tools/install/tarnwick-service.wxs
    for name in "${programs[@]}"; do
        msi_version_rows "$result" "$name"
    done
    # Otherwise the package code differs each time.
    at_source_date msibuild "$result" -s "Tarnwick service host $version" Velmora 'x64;1033' \
        "{$(guid "$contents")}"
    sign "$result"
}

# Not called in a condition, so that the first failing step ends the command.
pack_all() {
    local name=tarnwick-service-$version
    scripts/release.py check "$version" "${built[@]}"
    fill "$work/$name"
    mkdir -p "$work/done" "$work/$name-symbols"
    pack_zip "$work/done/$name.zip" "$work/$name"
    pack_msi "$work/done/$name.msi" "$work/$name"
    # The unsigned files: a signature changes nothing that a debugger compares.
    scripts/release.py symbols "$work/$name-symbols" "${built[@]}"
    settle "$work/$name-symbols"
    pack_zip "$work/done/$name-symbols.zip" "$work/$name-symbols"
    (cd "$work/done" && sha256sum "$name"* >SHA256SUMS)
    rm -rf "$packages"
    mkdir -p "${packages%/*}"
    mv "$work/done" "$packages"
}

heading "Packing tarnwick-service"
need_packages "${build_packages[@]}" "${package_packages[@]}"
check_key
build_targets "${targets[@]}"
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build_folder/CMakeCache.txt")
built=("${programs[@]/#/$build_folder/bin/}")
# Relative, because wixl accepts no other paths.
work=build/package
rm -rf "$work"
pack_all
rm -rf "$work"

heading "In out/package"
(cd "$packages" && stat -c '%n %s' -- *) | while read -r name size; do
    printf '  %-40s%6d KiB\n' "$name" $(((size + 1023) / 1024))
done
echo
if [ -n "$certificate" ]; then
    echo "  Signed with $certificate, without a time stamp"
else
    echo "  Not signed; see --sign"
fi
