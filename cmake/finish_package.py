# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
"""Finishes a tree that CPack is about to pack: adds a bill of materials, and sets the files' times.

The bill is an SPDX document. It names every file with its hashes, and every part by others with its
version and licence. If SOURCE_DATE_EPOCH is set, all files get that time, and the bill states it.

Usage: finish_package.py TREE NAME VERSION SOURCES     (SOURCES: third-party/sources.tsv)
"""

import datetime
import fnmatch
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys
import time
import uuid

BILL = "share/QvUserLib/QvUserLib.spdx.json"
PROGRAMS = ("bin/*.exe", "bin/Qv*.dll")

# The parts by others. The name is that of the directory in share/licenses. The version is that of a
# Debian package, or comes from the table of sources. Then the files that the part consists of, and
# those that contain it.
PARTS = (
    ("gcc-runtime", "GPL-3.0-or-later WITH GCC-exception-3.1", "g++-mingw-w64-x86-64-posix",
     ("bin/libgcc_s_seh-1.dll", "bin/libssp-0.dll", "bin/libstdc++-6.dll"), PROGRAMS),
    ("mingw-w64-runtime", "ZPL-2.1 AND MIT AND BSD-3-Clause", "mingw-w64-x86-64-dev",
     ("bin/libwinpthread-1.dll",), PROGRAMS),
    ("log4cxx", "Apache-2.0", None, ("bin/log4cxx/*.dll",), ()),
    ("apr", "Apache-2.0", None, (), ("bin/log4cxx/*.dll",)),
    ("apr-util", "Apache-2.0", None, (), ("bin/log4cxx/*.dll",)),
    ("expat", "MIT", None, (), ("bin/log4cxx/*.dll",)),
    ("CLI11", "BSD-3-Clause", "libcli11-dev", (), ("bin/qvctl.exe",)),
    ("nlohmann-json", "MIT", "nlohmann-json3-dev", (), ("bin/qvctl.exe", "lib/libQvKit.a")),
)


def epoch():
    return int(os.environ.get("SOURCE_DATE_EPOCH", time.time()))


def version_of(name, debian_package, sources):
    if debian_package:
        return subprocess.run(["dpkg-query", "-W", "-f", "${Version}", debian_package],
                              check=True, capture_output=True, text=True).stdout
    for line in sources.read_text(encoding="utf-8").splitlines():
        if line.split("\t")[0] == name:
            return line.split("\t")[1]
    sys.exit(f"error: {sources} does not name {name}")


def identifier(kind, name):
    return f"SPDXRef-{kind}-" + re.sub(r"[^A-Za-z0-9.-]", lambda sign: f"-{ord(sign[0]):x}-", name)


def relation(first, kind, second):
    return {"spdxElementId": first, "relationshipType": kind, "relatedSpdxElement": second}


def describe_file(tree, path, licence):
    data = (tree / path).read_bytes()
    return {
        "SPDXID": identifier("File", path),
        "fileName": "./" + path,
        "checksums": [
            {"algorithm": "SHA1", "checksumValue": hashlib.sha1(data).hexdigest()},
            {"algorithm": "SHA256", "checksumValue": hashlib.sha256(data).hexdigest()},
        ],
        "licenseConcluded": licence,
        "licenseInfoInFiles": ["NOASSERTION"],
        "copyrightText": "NOASSERTION",
    }


def describe_package(name, version, licence):
    return {
        "SPDXID": identifier("Package", name),
        "name": name,
        "versionInfo": version,
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "licenseConcluded": licence,
        "licenseDeclared": licence,
        "copyrightText": "NOASSERTION",
    }


def verification_code(files):
    """What SPDX defines to recognise a package by: a hash of its files' hashes."""
    hashes = sorted(file["checksums"][0]["checksumValue"] for file in files)
    return hashlib.sha1("".join(hashes).encode("ascii")).hexdigest()


def matches(path, patterns):
    return any(fnmatch.fnmatchcase(path, pattern) for pattern in patterns)


def licence_of(path):
    """Ours, unless the file is a part's own, or the text of a licence."""
    for _, licence, _, own, _ in PARTS:
        if matches(path, own):
            return licence
    return "NOASSERTION" if path.startswith("share/licenses/") else "MIT"


def add_parts(document, paths, sources):
    ours = document["packages"][0]["SPDXID"]
    for name, licence, debian_package, own, users in PARTS:
        contained = [path for path in paths if matches(path, own)]
        containing = [path for path in paths if matches(path, users)]
        if not contained and not containing:
            continue
        package = describe_package(name, version_of(name, debian_package, sources), licence)
        document["packages"].append(package)
        relations = [relation(ours, "CONTAINS", package["SPDXID"])]
        relations += [relation(identifier("File", path), "GENERATED_FROM", package["SPDXID"])
                      for path in contained]
        relations += [relation(identifier("File", path), "STATIC_LINK", package["SPDXID"])
                      for path in containing]
        document["relationships"] += relations


def make_bill(tree, name, version, sources):
    paths = sorted(path.relative_to(tree).as_posix() for path in tree.rglob("*") if path.is_file())
    files = [describe_file(tree, path, licence_of(path)) for path in paths if path != BILL]
    ours = describe_package(name, version, "MIT")
    ours["filesAnalyzed"] = True
    ours["licenseInfoFromFiles"] = ["NOASSERTION"]
    code = verification_code(files)
    ours["packageVerificationCode"] = {
        "packageVerificationCodeValue": code,
        # It cannot contain its own hash.
        "packageVerificationCodeExcludedFiles": ["./" + BILL],
    }
    created = datetime.datetime.fromtimestamp(epoch(), datetime.timezone.utc)
    document = {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"{name}-{version}-win64",
        "documentNamespace": f"urn:uuid:{uuid.uuid5(uuid.NAMESPACE_OID, code)}",
        "creationInfo": {"created": created.strftime("%Y-%m-%dT%H:%M:%SZ"),
                         "creators": [f"Organization: {name} contributors",
                                      "Tool: finish_package.py"]},
        "packages": [ours],
        "files": files,
        "relationships": [relation("SPDXRef-DOCUMENT", "DESCRIBES", ours["SPDXID"])],
    }
    document["relationships"] += [relation(ours["SPDXID"], "CONTAINS", file["SPDXID"])
                                  for file in files]
    add_parts(document, paths, sources)
    return document


def main():
    tree, name, version, sources = sys.argv[1:]
    tree = pathlib.Path(tree)
    bill = make_bill(tree, name, version, pathlib.Path(sources))
    (tree / BILL).write_text(json.dumps(bill, indent=1) + "\n", encoding="utf-8")
    if "SOURCE_DATE_EPOCH" in os.environ:
        for path in [tree, *tree.rglob("*")]:
            os.utime(path, (epoch(), epoch()))


if __name__ == "__main__":
    main()
