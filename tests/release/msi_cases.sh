# shellcheck shell=bash
# shellcheck disable=SC2154 # the names are those of release_test.sh
# The tables of the installer package, and the upgrade between two of them.

# table FILE NAME: its rows, columns separated by tabs.
table() { msiinfo export "$1" "$2" | tr -d '\r' | tail -n +4; }
property() { table "$1" Property | awk -F '\t' -v name="$2" '$1 == name { print $2 }'; }
# sequence FILE ACTION: its number among the actions.
sequence() { table "$1" InstallExecuteSequence | awk -F '\t' -v name="$2" '$1 == name { print $3 }'; }
package_code() { msiinfo suminfo "$1" | sed -n 's/^Revision number[^{]*//p'; }

# A file with a version must have it in its row; otherwise the installer treats it as unversioned.
Case_Msi_RowsOfProgramsHaveTheirVersion() {
    table "$(package .msi)" MsiFileHash | cut -f1 | sort >"$scratch/hashed"
    table "$(package .msi)" File |
        awk -F '\t' '{ sub(/.*[|]/, "", $3); print $1 "\t" $3 "\t" $5 "\t" $6 }' >"$scratch/output"
    local row name file_version language count=0
    while IFS=$'\t' read -r row name file_version language; do
        case $name in
            *.exe | *.dll)
                count=$((count + 1))
                [ "$file_version $language" = "$version 1033" ] || fail "$name: '$file_version'"
                ! grep -qx "$row" "$scratch/hashed" || fail "$name has a hash"
                ;;
            *)
                [ -z "${file_version#$'\t'}" ] || fail "$name: version '$file_version'"
                grep -qx "$row" "$scratch/hashed" || fail "$name has no hash"
                ;;
        esac
    done < <(sed 's/\t\t/\t-\t/g; s/\t$/\t-/; s/\t-/\t/g' "$scratch/output")
    [ "$count" -eq ${#programs[@]} ] || fail "$count files with a version"
}

Case_Msi_FilesAreNumberedAsTheyLie() {
    table "$(package .msi)" File | cut -f8 | sort -n >"$scratch/output"
    diff <(seq "$(wc -l <"$scratch/output")") "$scratch/output" || fail "the numbers have gaps"
    [ "$(table "$(package .msi)" Media | cut -f2)" = "$(wc -l <"$scratch/output")" ] ||
        fail "the last number of the medium"
}

# The old files are removed before the new ones are installed, and all is undone on failure.
Case_Msi_ActionsHaveTheirOrder() {
    local last=0 number action
    for action in FindRelatedProducts CostFinalize InstallValidate RemoveExistingProducts \
        InstallInitialize RemoveFiles InstallFiles RegisterProduct InstallFinalize; do
        number=$(sequence "$(package .msi)" "$action")
        [ "${number:-0}" -gt "$last" ] || fail "$action is number ${number:-none}, after $last"
        last=$number
    done
}

Case_Msi_KeysOfComponentsAreTheirOwnFiles() {
    local component guid key
    table "$(package .msi)" Component >"$scratch/output"
    while IFS=$'\t' read -r component guid _ _ _ key; do
        [[ $guid =~ ^\{[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\}$ ]] || fail "$component: $guid"
        table "$(package .msi)" File | grep -q "^$key"$'\t'"$component"$'\t' ||
            fail "$component: its key $key is not a file of its own"
    done < <(awk -F '\t' -v OFS='\t' '{ print $1, $2, $3, $4, $5 == "" ? "-" : $5, $6 }' "$scratch/output")
    [ -z "$(cut -f2 "$scratch/output" | sort | uniq -d)" ] || fail "two components share a code"
    grep -q $'^Programs\t.*\ttarnwick_service_exe$' "$scratch/output" || fail "key of Programs"
    # 256: for 64-bit Windows
    [ -z "$(awk -F '\t' '!int($4 / 256) % 2' "$scratch/output")" ] || fail "not for 64 bit"
}

# service-tool registers the service, with a quoted path; nothing here registers it too.
Case_Msi_RegistersNoService() {
    local name
    for name in ServiceInstall ServiceControl Registry CustomAction; do
        [ -z "$(table "$(package .msi)" "$name" 2>/dev/null)" ] || fail "the table $name has rows"
    done
}

Case_Msi_UpgradeIsRecognised() {
    local old new
    old=$(package .msi)
    new=$(next_package .msi)
    [ "$(property "$old" UpgradeCode)" = '{5D0C6B5E-2D36-4C1F-9A4B-6F0E7B1C93A8}' ] ||
        fail "another upgrade code"
    [ "$(property "$old" UpgradeCode)" = "$(property "$new" UpgradeCode)" ] || fail "upgrade codes"
    [ "$(property "$old" ProductCode)" != "$(property "$new" ProductCode)" ] || fail "product codes"
    [ "$(package_code "$old")" != "$(package_code "$new")" ] || fail "package codes"
    # Three fields are compared; the third is the build number.
    [ "$(property "$new" ProductVersion)" = "1.0.${next##*.}" ] || fail "product version"
    table "$new" Upgrade >"$scratch/output"
    # Older ones are removed, but not this version (attribute 256 or 512 would include it).
    grep -qP "^\{5D0C6B5E-2D36-4C1F-9A4B-6F0E7B1C93A8\}\t[0-9.]*\t1\.0\.${next##*.}\t[^\t]*\t\d+\t" \
        "$scratch/output" || fail "no row for older versions"
}

Case_Msi_UpgradeReplacesEveryProgram() {
    local old new
    old=$(package .msi)
    new=$(next_package .msi)
    # Components with the same codes and keys, so that each finds its predecessor.
    diff <(table "$old" Component) <(table "$new" Component) || fail "the components differ"
    # Each version rises.
    diff <(table "$old" File | cut -f1,2,3,5,6 | sed "s/\t$version\t/\t$next\t/") \
        <(table "$new" File | cut -f1,2,3,5,6) || fail "the versions don't rise"
    [ "$(printf '%s\n' "$version" "$next" | sort -V | tail -n 1)" = "$next" ] || fail "not newer"
}

# ---- the upgrade itself, on Wine -------------------------------------------------------------------

installed_folder=$TARNWICK_WINEPREFIX/drive_c/"Program Files/Velmora/Tarnwick"

# msi SWITCH FILE
msi() {
    cp "$2" "$scratch/package.msi"
    (cd "$scratch" && run timeout 120 "$root/cmake/wine.sh" msiexec "$1" package.msi /qn &&
        exit "$code") || fail "msiexec $1 $2"
}

holds_version() {
    local name
    for name in "${programs[@]}"; do
        scripts/pe_image.py "$1/$name" >"$scratch/output"
        says "^version $2\$"
    done
}

Case_Upgrade_ByMsi_ReplacesThePrograms() {
    trap 'rm -rf "$scratch" "$installed_folder"' EXIT
    msi /i "$(package .msi)"
    holds_version "$installed_folder" "$version"
    : >"$installed_folder/orrin-ctrl.dll"
    msi /i "$(next_package .msi)"
    holds_version "$installed_folder" "$next"
    [ -e "$installed_folder/orrin-ctrl.dll" ] || fail "the controller library is gone"
    msi /x "$(next_package .msi)"
    rm "$installed_folder/orrin-ctrl.dll"
    [ ! -e "$installed_folder/tarnwick-service.exe" ] || fail "files are still there"
}

Case_Upgrade_ByZip_ReplacesEveryFile() {
    unpack "$(package .zip)"
    mv "$scratch/unpacked" "$scratch/folder"
    : >"$scratch/folder/orrin-ctrl.dll"
    unpack "$(next_package .zip)"
    diff <(cd "$scratch/folder" && find . -type f ! -name orrin-ctrl.dll | sort) \
        <(cd "$scratch/unpacked" && find . -type f | sort) || fail "an old file stays"
    cp -r "$scratch/unpacked/." "$scratch/folder/"
    holds_version "$scratch/folder" "$next"
}
