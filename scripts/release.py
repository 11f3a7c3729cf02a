#!/usr/bin/env python3
"""Checks and describes the files of a release; called by scripts/package.sh.

    release.py check VERSION FILE...            every file has this version and its own PDB
    release.py symbols FOLDER FILE...           the files and their PDBs as a symbol store
    release.py notices FILE...                  licences of the libraries linked into the files
    release.py sbom VERSION SECONDS FOLDER FILE...
                                                SPDX document for FOLDER; SECONDS: time of the source

FILE is a program or library that ships, as it was built, with its PDB next to it. Problems are
reported on standard error, with exit code 1.
"""

import hashlib
import json
import os
import re
import shutil
import subprocess
import sys
from datetime import datetime, timezone
from pathlib import Path

from pe_image import Image

LLVM = "19"

# ---- programs and their PDBs -----------------------------------------------------------------------


def pdb_guid(path):
    output = subprocess.run([f"llvm-pdbutil-{LLVM}", "dump", "--summary", path],
                            capture_output=True, text=True, check=True).stdout
    return re.search(r"GUID: \{([0-9A-F-]+)\}", output)[1].replace("-", "")


def check(version, files):
    problems = []
    for image in map(Image, files):
        name = image.path.name
        if image.version() != version:
            problems.append(f"{name} has version {image.version()}, the package {version}")
        if not image.pdb().is_file():
            problems.append(f"{name} has no PDB beside it")
        elif image.pdb_key() is None or not image.pdb_key().startswith(pdb_guid(image.pdb())):
            problems.append(f"{image.pdb().name} is of another build than {name}")
    if problems:
        sys.exit("\n".join(problems + ["Remove build/mingw/bin and pack again."]))


def symbols(folder, files):
    for image in map(Image, files):
        for source, name in ((image.path, image.store_key()),
                             (image.pdb(), image.pdb_key())):
            place = Path(folder, source.name, name)
            place.mkdir(parents=True)
            shutil.copy(source, place)


# ---- linked libraries ------------------------------------------------------------------------------

# Debian packages of libraries: name, licence of the linked part, texts that their notices refer to.
GCC = ("GCC run-time libraries (libstdc++, libgcc)", "GPL-3.0-or-later WITH GCC-exception-3.1",
       ["GPL-3"])
COMPONENTS = {
    "libz-mingw-w64-dev": ("zlib", "Zlib", []),
    "g++-mingw-w64-x86-64-posix": GCC,
    "gcc-mingw-w64-x86-64-posix": GCC,
    "gcc-mingw-w64-x86-64-posix-runtime": GCC,
    "mingw-w64-x86-64-dev": ("MinGW-w64 run-time library and winpthreads",
                             "ZPL-2.1 AND MIT AND BSD-3-Clause", []),
}
TOOLS = [f"clang-{LLVM}", f"lld-{LLVM}"]


def linked_packages(files):
    """The Debian packages of the linked libraries, by the PDBs."""
    archives = set()
    for image in map(Image, files):
        output = subprocess.run([f"llvm-pdbutil-{LLVM}", "dump", "--modules", image.pdb()],
                                capture_output=True, text=True, check=True).stdout
        archives.update(map(os.path.normpath, re.findall(r"Obj: `(/usr/[^`]+)`", output)))
    owners = subprocess.run(["dpkg-query", "-S", *sorted(archives)],
                            capture_output=True, text=True, check=True).stdout
    packages = sorted({line.split(":")[0] for line in owners.splitlines()})
    unknown = [package for package in packages if package not in COMPONENTS]
    if unknown:
        sys.exit(f"linked in, but its licence is not in {__file__}: {', '.join(unknown)}")
    return packages


def field(package, name):
    return subprocess.run(["dpkg-query", "-W", "-f", "${" + name + "}", package],
                          capture_output=True, text=True, check=True).stdout


def notices(files):
    packages = linked_packages(files)
    line = "=" * 78
    parts = ["The programs of this package are linked with libraries of third parties. Their notices\n"
             "follow, then the licences to which the notices refer. If a notice names several\n"
             "licences, the one at its head applies to the linked part.\n"]
    texts, shown = [], set()
    for package in packages:
        title, licence, needed = COMPONENTS[package]
        if title in shown:
            continue
        shown.add(title)
        source = f"{field(package, 'source:Package')} {field(package, 'source:Version')}"
        notice = Path("/usr/share/doc", package, "copyright").read_text("utf-8")
        parts.append(f"{line}\n{title}\n{licence}\nDebian source: {source}\n{line}\n\n{notice}")
        texts += [text for text in needed if text not in texts]
    for text in texts:
        whole = Path("/usr/share/common-licenses", text).read_text("utf-8")
        parts.append(f"{line}\n{text}\n{line}\n\n{whole}")
    sys.stdout.write("\n".join(parts))


# ---- the SBOM --------------------------------------------------------------------------------------


def debian_package(name):
    title, licence, _ = COMPONENTS.get(name, (name, "NOASSERTION", []))
    version = field(name, "Version")
    return {
        "SPDXID": "SPDXRef-" + name.replace("+", "-plus"),
        "name": name,
        "summary": title,
        "versionInfo": version,
        "supplier": "Organization: Debian",
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "licenseConcluded": licence,
        "licenseDeclared": "NOASSERTION",
        "copyrightText": "NOASSERTION",
        "externalRefs": [{
            "referenceCategory": "PACKAGE-MANAGER",
            "referenceType": "purl",
            "referenceLocator": f"pkg:deb/debian/{name.replace('+', '%2B')}@{version.replace('+', '%2B')}",
        }],
    }


def shipped_file(folder, path):
    content = path.read_bytes()
    name = path.relative_to(folder).as_posix()
    return {
        "SPDXID": "SPDXRef-File-" + re.sub(r"[^A-Za-z0-9.-]", "-", name),
        "fileName": "./" + name,
        "checksums": [{"algorithm": kind.upper(), "checksumValue": hashlib.new(kind, content).hexdigest()}
                      for kind in ("sha1", "sha256")],
        "licenseConcluded": "NOASSERTION",
        "copyrightText": "NOASSERTION",
    }


def product(version, shipped):
    sums = sorted(file["checksums"][0]["checksumValue"] for file in shipped)
    return {
        "SPDXID": "SPDXRef-Product",
        "name": "tarnwick-service",
        "versionInfo": version,
        "supplier": "Organization: Velmora",
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": True,
        "packageVerificationCode": {
            "packageVerificationCodeValue": hashlib.sha1("".join(sums).encode()).hexdigest(),
            "packageVerificationCodeExcludedFiles": ["./SBOM.spdx.json"],
        },
        "licenseConcluded": "MIT",
        "licenseDeclared": "MIT",
        "copyrightText": "NOASSERTION",
    }


def sbom(version, seconds, folder, files):
    folder = Path(folder)
    shipped = [shipped_file(folder, path)
               for path in sorted(folder.rglob("*")) if path.is_file() and path.name != "SBOM.spdx.json"]
    ours = product(version, shipped)
    linked = [debian_package(name) for name in linked_packages(files)]
    tools = [debian_package(name) for name in TOOLS]

    def relation(one, kind, other):
        return {"spdxElementId": one, "relationshipType": kind, "relatedSpdxElement": other}

    document = {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"tarnwick-service-{version}",
        "documentNamespace": "https://velmora.example/spdx/tarnwick-service-" + version + "-"
                             + ours["packageVerificationCode"]["packageVerificationCodeValue"],
        "creationInfo": {
            "created": datetime.fromtimestamp(int(seconds), timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ"),
            "creators": ["Tool: scripts/package.sh"],
        },
        "packages": [ours, *linked, *tools],
        "files": shipped,
        "relationships":
            [relation("SPDXRef-DOCUMENT", "DESCRIBES", ours["SPDXID"])]
            + [relation(ours["SPDXID"], "STATIC_LINK", package["SPDXID"]) for package in linked]
            + [relation(package["SPDXID"], "BUILD_TOOL_OF", ours["SPDXID"]) for package in tools]
            + [relation(ours["SPDXID"], "CONTAINS", file["SPDXID"]) for file in shipped],
    }
    json.dump(document, sys.stdout, indent=2)
    print()


def main():
    command, *arguments = sys.argv[1:] or [""]
    if command == "check":
        check(arguments[0], arguments[1:])
    elif command == "symbols":
        symbols(arguments[0], arguments[1:])
    elif command == "notices":
        notices(arguments)
    elif command == "sbom":
        sbom(*arguments[:3], arguments[3:])
    else:
        sys.exit(__doc__)


main()
