# shellcheck shell=bash
# shellcheck disable=SC2154 # the names are those of release_test.sh
# The contents of the packages besides programs: symbols, notices, the bill of materials.

# Read by LLVM's tool, independent of the code that created the store.
Case_Symbols_LieAsDebuggersLookForThem() {
    unpack "$(package -symbols.zip)"
    mv "$scratch/unpacked" "$scratch/store"
    unpack "$(package .zip)"
    local name image pdb
    for name in "${programs[@]}"; do
        "llvm-readobj-$llvm_version" --file-headers --coff-debug-directory \
            "$scratch/unpacked/$name" >"$scratch/output"
        image=$(sed -n 's/^  TimeDateStamp: .*(0x\(.*\))/\1/p' "$scratch/output")
        image=$(printf '%08X%x' "0x$image" "$(sed -n 's/^ *SizeOfImage: //p' "$scratch/output")")
        pdb=$(sed -n 's/^ *PDBGUID: {\(.*\)}/\1/p' "$scratch/output" | tr -d -)
        pdb+=$(printf %X "$(sed -n 's/^ *PDBAge: //p' "$scratch/output")")
        says "PDBFileName: ${name%.*}.pdb"
        cmp "$scratch/unpacked/$name" "$scratch/store/$name/$image/$name" || fail "$name"
        [ -s "$scratch/store/${name%.*}.pdb/$pdb/${name%.*}.pdb" ] || fail "PDB of $name"
    done
    [ "$(find "$scratch/store" -type f | wc -l)" -eq $((2 * ${#programs[@]})) ] || fail "more"
}

Case_NothingPacked_NamesTheCheckout() {
    local zip
    for zip in .zip -symbols.zip; do
        unpack "$(package $zip)"
        run grep -raloF -e "$root" -e "$HOME/" "$scratch/unpacked"
        [ "$code" -eq 1 ] || fail "$zip"
        run grep -raloF -f <(printf %s "$root" | iconv -t UTF-16LE) "$scratch/unpacked"
        [ "$code" -ne 0 ] || fail "$zip, in wide letters"
    done
    run grep -aoF -e "$root" "$(package .msi)"
    [ "$code" -eq 1 ] || fail "msi"
}

# holds FILE: the notices contain its whole text.
holds() {
    python3 -c 'import sys; sys.exit(open(sys.argv[1]).read() not in open(sys.argv[2]).read())' \
        "$1" "$scratch/unpacked/THIRD-PARTY-NOTICES.txt" || fail "notices without $1"
}

Case_Notices_HoldWholeLicences() {
    unpack "$(package .zip)"
    local package
    for package in libz-mingw-w64-dev mingw-w64-x86-64-dev g++-mingw-w64-x86-64-posix; do
        holds "/usr/share/doc/$package/copyright"
    done
    holds /usr/share/common-licenses/GPL-3
    cp "$scratch/unpacked/THIRD-PARTY-NOTICES.txt" "$scratch/output"
    says '^GCC RUNTIME LIBRARY EXCEPTION'
    says '^Files: mingw-w64-libraries/winpthreads'
    says "provided 'as-is', without any express or implied"
    says 'ZPL'
}

Case_BillOfMaterials_ListsWhatIsThere() {
    unpack "$(package .zip)"
    run python3 - "$scratch/unpacked" "$version" <<'PYTHON'
import hashlib, json, pathlib, sys
folder, version = pathlib.Path(sys.argv[1]), sys.argv[2]
document = json.loads((folder / "SBOM.spdx.json").read_text())
assert document["spdxVersion"] == "SPDX-2.3", document["spdxVersion"]
told = {file["fileName"]: {sum["algorithm"]: sum["checksumValue"] for sum in file["checksums"]}
        for file in document["files"]}
there = {"./" + path.relative_to(folder).as_posix(): path.read_bytes()
         for path in folder.rglob("*") if path.is_file() and path.name != "SBOM.spdx.json"}
assert told.keys() == there.keys(), told.keys() ^ there.keys()
for name, content in there.items():
    assert told[name]["SHA256"] == hashlib.sha256(content).hexdigest(), name
    assert told[name]["SHA1"] == hashlib.sha1(content).hexdigest(), name
packages = {package["name"]: package for package in document["packages"]}
assert packages["tarnwick-service"]["versionInfo"] == version
linked = {relation["relatedSpdxElement"] for relation in document["relationships"]
          if relation["relationshipType"] == "STATIC_LINK"}
assert linked >= {packages[name]["SPDXID"] for name in (
    "libz-mingw-w64-dev", "g++-mingw-w64-x86-64-posix", "mingw-w64-x86-64-dev")}, linked
assert all(package["versionInfo"] for package in packages.values())
identifiers = [item["SPDXID"] for item in document["packages"] + document["files"]]
assert len(identifiers) == len(set(identifiers))
PYTHON
    [ "$code" -eq 0 ] || fail "the bill is wrong"
}
