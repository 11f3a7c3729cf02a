# shellcheck shell=bash
# shellcheck disable=SC2154 # the names are those of release_test.sh
# How packages are made: the same in any folder, and only from matching files.

# The checkout's files with their times, so that only changed files are built again.
copy_checkout() {
    mkdir -p "$copy"
    find "$copy" -mindepth 1 -maxdepth 1 ! -name build -exec rm -rf {} +
    tar -C "$root" --exclude=./build --exclude=./out --exclude=./.git -c . | tar -C "$copy" -x
    # The version of the copy's last build is the next one.
    touch "$copy/CMakeLists.txt"
}

pack_copy() {
    local result=$1
    shift
    "$copy/scripts/package.sh" "$@" || return
    rm -rf "${others:?}/$result"
    mv "$copy/out/package" "$others/$result"
}

make_others() {
    local SOURCE_DATE_EPOCH
    # Without a repository the time is that of a file, which the copy has changed.
    SOURCE_DATE_EPOCH=$(stat -c %Y "$root/CMakeLists.txt")
    git -C "$root" rev-parse 2>/dev/null || export SOURCE_DATE_EPOCH
    copy_checkout
    pack_copy same
    sed -i "s/^project(\(.*\) VERSION $version/project(\1 VERSION $next/" "$copy/CMakeLists.txt"
    pack_copy next
}

Case_OtherFolderAndTime_GiveTheSameBytes() {
    diff -r "$root/out/package" "$others/same" || fail "the packages differ"
}

Case_NextVersion_IsChangedInOnePlace() {
    unpack "$(next_package .zip)"
    local name
    for name in "${programs[@]}"; do
        scripts/pe_image.py "$scratch/unpacked/$name" >"$scratch/output"
        says "^version $next\$"
    done
    run cmake/wine.sh "$scratch/unpacked/quillon-log.exe" --version
    says "^quillon-log $next"
    run grep -aqF "version=\"$next\"" "$scratch/unpacked/tarnwick-service.exe"
    [ "$code" -eq 0 ] || fail "the manifest has another version"
}

# With the current time, so that the build doesn't make them again.
old_into_copy() {
    unpack "$(package -symbols.zip)"
    # Restores what an earlier case has removed.
    cmake --build "$copy/build/mingw" --target quillon-log >/dev/null
    local name
    for name in "$@"; do
        cp "$scratch/unpacked/$name"/*/"$name" "$copy/build/mingw/bin/$name"
    done
    run "$copy/scripts/package.sh"
    rm "$copy"/build/mingw/bin/quillon-log.*
    [ "$code" -ne 0 ] || fail "it was packed"
}

Case_ProgramOfAnotherVersion_IsNotPacked() {
    old_into_copy quillon-log.exe quillon-log.pdb
    says "^quillon-log.exe has version $version, the package $next\$"
}

Case_SymbolsOfAnotherBuild_AreNotPacked() {
    old_into_copy quillon-log.pdb
    says '^quillon-log.pdb is of another build than quillon-log.exe$'
}

Case_WrongArguments_AreToldBeforeAnythingIsBuilt() {
    local key
    for key in one other; do
        openssl genrsa -out "$scratch/$key.pem" 2048 2>/dev/null
    done
    openssl req -x509 -key "$scratch/one.pem" -subj /CN=One -out "$scratch/certificate.pem"
    run scripts/package.sh --sing
    says 'unknown argument: --sing'
    run scripts/package.sh --sign
    says 'takes a certificate and a key'
    run scripts/package.sh --sign "$scratch/none.pem" "$scratch/one.pem"
    says "no such file: $scratch/none.pem"
    run scripts/package.sh --sign "$scratch/one.pem" "$scratch/one.pem"
    says "not a certificate in PEM form"
    run scripts/package.sh --sign "$scratch/certificate.pem" "$scratch/other.pem"
    says "other.pem is not the key of"
    says_not '^ *build'
    [ "$code" -ne 0 ] || fail "exit code 0"
}

# verified FILE
verified() {
    run osslsigncode verify -CAfile "$scratch/certificate.pem" -in "$1"
    [ "$code" -eq 0 ] || fail "$1 is not signed well"
    says '^Signature verification: ok'
    says_not '^Timestamp Server Signature verification: ok'
}

Case_Signing_AddsToTheSameBytes() {
    openssl req -x509 -newkey rsa:2048 -nodes -keyout "$scratch/key.pem" -subj /CN=Test \
        -addext extendedKeyUsage=codeSigning -out "$scratch/certificate.pem" 2>/dev/null
    pack_copy signed --sign "$scratch/certificate.pem" "$scratch/key.pem" >"$scratch/output"
    cmp "$others/signed/tarnwick-service-$next-symbols.zip" "$(next_package -symbols.zip)"
    verified "$others/signed/tarnwick-service-$next.msi"
    unpack "$(next_package .zip)"
    mv "$scratch/unpacked" "$scratch/plain"
    unpack "$others/signed/tarnwick-service-$next.zip"
    local name
    for name in "${programs[@]}"; do
        run osslsigncode verify -CAfile "$scratch/certificate.pem" -in "$scratch/plain/$name"
        [ "$code" -ne 0 ] || fail "$name is signed unasked"
        verified "$scratch/unpacked/$name"
        osslsigncode remove-signature -in "$scratch/unpacked/$name" -out "$scratch/$name" >/dev/null
        same_but_for_checksum "$scratch/plain/$name" "$scratch/$name"
    done
}

# A signature sets the image's checksum, 4 bytes that are 0 without it, and removing it doesn't
# reset them.
same_but_for_checksum() {
    local header
    header=$(od -An -td4 -j60 -N4 "$1")
    { cmp -l "$1" "$2" || true; } | awk -v first=$((header + 88)) '
        $1 <= first || $1 > first + 4 { exit 1 }' || fail "$1 has more than a signature"
    [ "$(stat -c %s "$1")" -eq "$(stat -c %s "$2")" ] || fail "$1 has another size"
}
