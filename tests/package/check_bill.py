# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
"""Checks the bill of materials of an unpacked package.

Usage: check_bill.py TREE
"""

import hashlib
import json
import pathlib
import re
import sys

BILL = "share/QvUserLib/QvUserLib.spdx.json"
DOCUMENT = {"spdxVersion": r"SPDX-2\.3", "dataLicense": r"CC0-1\.0", "SPDXID": "SPDXRef-DOCUMENT",
            "name": r"QvUserLib-\d+\.\d+\.\d+-win64", "documentNamespace": r"urn:uuid:[0-9a-f-]{36}"}
PACKAGE = {"SPDXID": r"SPDXRef-[A-Za-z0-9.-]+", "name": ".+", "versionInfo": r".*\d.*",
           "downloadLocation": ".+", "licenseConcluded": ".+", "licenseDeclared": ".+",
           "copyrightText": ".+"}
FILE = {"SPDXID": r"SPDXRef-[A-Za-z0-9.-]+", "fileName": r"\./.+", "licenseConcluded": ".+",
        "copyrightText": ".+"}


def check_members(what, members, found):
    for name, pattern in members.items():
        if not re.fullmatch(pattern, found.get(name, "")):
            yield f"{what}: {name} is {found.get(name)}"


def check_structure(bill):
    yield from check_members("the document", DOCUMENT, bill)
    created = bill["creationInfo"]["created"]
    if not re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", created):
        yield f"the time of creation is {created}"
    elements = [bill, *bill["packages"], *bill["files"]]
    for package in bill["packages"]:
        yield from check_members(f"package {package.get('name')}", PACKAGE, package)
    for file in bill["files"]:
        yield from check_members(f"file {file.get('fileName')}", FILE, file)
    names = {element["SPDXID"] for element in elements}
    if len(names) != len(elements):
        yield "two elements have the same identifier"
    for relation in bill["relationships"]:
        for end in ("spdxElementId", "relatedSpdxElement"):
            if relation[end] not in names:
                yield f"a relation names {relation[end]}, which is not there"


def check_files(bill, tree):
    there = {path.relative_to(tree).as_posix(): path for path in tree.rglob("*") if path.is_file()}
    del there[BILL]
    there.pop("Uninstall.exe", None)  # The installer makes it, so no bill can know its bytes.
    listed = {file["fileName"].removeprefix("./"): file for file in bill["files"]}
    yield from (f"{path} is not listed" for path in there.keys() - listed.keys())
    yield from (f"{path} is listed and not there" for path in listed.keys() - there.keys())
    hashes = []
    for path in there.keys() & listed.keys():
        data = there[path].read_bytes()
        expected = {"SHA1": hashlib.sha1(data).hexdigest(),
                    "SHA256": hashlib.sha256(data).hexdigest()}
        hashes.append(expected["SHA1"])
        found = {sum["algorithm"]: sum["checksumValue"] for sum in listed[path]["checksums"]}
        if found != expected:
            yield f"{path} has other hashes: {found} instead of {expected}"
    code = hashlib.sha1("".join(sorted(hashes)).encode("ascii")).hexdigest()
    if bill["packages"][0]["packageVerificationCode"]["packageVerificationCodeValue"] != code:
        yield "the verification code is another one"


def check_licences(bill, tree):
    """Each part has a licence in the package, and each licence is of a part."""
    listed = {package["name"] for package in bill["packages"]}
    there = {path.name for path in (tree / "share/licenses").iterdir()}
    yield from (f"{name} has no licence in the package" for name in listed - there)
    yield from (f"{name} has a licence and is not listed" for name in there - listed)


def problems(tree):
    bill = json.loads((tree / BILL).read_text(encoding="utf-8"))
    return [*check_structure(bill), *check_files(bill, tree), *check_licences(bill, tree)]


def main():
    tree = pathlib.Path(sys.argv[1])
    found = problems(tree)
    if found:
        sys.exit("\n".join(found))
    # A file more is found, or the check finds nothing.
    stranger = tree / "bin/stranger.dll"
    stranger.write_bytes(b"")
    found = problems(tree)
    stranger.unlink()
    if "bin/stranger.dll is not listed" not in found:
        sys.exit(f"a file that is not listed is not found: {found}")


if __name__ == "__main__":
    main()
