# shellcheck shell=bash
# shellcheck disable=SC2154 # the names are those of package_test.sh
# The contents of the package, and what the installer package installs.

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
    tool check
    code_is 0
    tool uninstall
    code_is 0
    folder=$files
    rm "$drive_c/Program Files/Velmora/Tarnwick/orrin-ctrl.dll"
    windows msiexec /x package.msi /qn
    code_is 0
    [ ! -e "$drive_c/Program Files/Velmora/Tarnwick" ] || fail "files are still there"
}
