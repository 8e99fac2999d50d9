# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
"""The binary interface of the two DLLs, compared with the tables beside this file.

Usage: abi.py check|update msvc|names|itanium|values|exports|imports ROOT [--cxx CXX]
               [--objdump OBJDUMP --dlls DLL…]

msvc      Sizes, fields and virtual functions of the exported classes as MSVC lays them out. Clang
          knows its rules; msvc/ stands in for its standard library.
names     What MSVC calls the functions, which tells of what they return and who may call them.
itanium   The same as msvc for GCC and Clang, with the headers of mingw-w64's GCC, whose name is
          CXX. The order of the virtual functions has to be that of the table for MSVC.
values    Enumerators and the numbers that macros stand for, as they are written in the headers.
exports   The names that the DLLs export, as GCC makes them.
imports   What the last of the DLLs wants of the others: any base library that has this will do.

Ends with 77 when Clang is not installed.
"""

import argparse
import difflib
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

TABLES = pathlib.Path(__file__).parent
CLANG = "clang++-19"
SKIPPED = 77
MSVC = ["--target=x86_64-pc-windows-msvc", "-fms-compatibility-version=19.29", "-nostdinc",
        f"-I{TABLES / 'msvc'}"]
UMBRELLAS = ("base/include/QvBaseLib/QvBaseLib.h", "include/QvUserLib/QvUserLib.h")


def headers(root):
    """The public headers of both libraries, in the order of the umbrella headers."""
    for umbrella in UMBRELLAS:
        folder = (root / umbrella).parent
        for name in re.findall(rf'"{folder.name}/(\w+\.h)"', (root / umbrella).read_text("utf-8")):
            yield folder / name


def exported_classes(root):
    """Their qualified names."""
    names = []
    for header in headers(root):
        text = header.read_text("utf-8")
        names += [f"{header.parent.name}::{name}"
                  for name in re.findall(r"^class QV\w+LIB_API (\w+)", text, re.M)]
    return sorted(set(names))


def probe(classes):
    """A source that has the compiler lay out each class and its virtual table."""
    lines = ['#include "QvBaseLib/QvBaseLib.h"', '#include "QvUserLib/QvUserLib.h"']
    for number, name in enumerate(classes):
        base = name.rpartition("::")[2]
        lines.append(f"struct Probe{number} : {name} {{ using {base}::{base}; ~Probe{number}(); }};")
        lines.append(f"Probe{number}::~Probe{number}() {{}}")
    return "\n".join(lines) + "\n"


def clang(root, flags, text):
    """What Clang prints about a source."""
    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder) / "probe.cpp"
        source.write_text(text, "utf-8")
        command = [CLANG, *flags, "-std=c++17", f"-I{root}/include", f"-I{root}/base/include",
                   "-DQVUSERLIB_STATIC", "-DQVBASELIB_STATIC", "-w", str(source)]
        return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def dump(root, flags, classes):
    """How Clang lays out the classes."""
    return clang(root, [*flags, "-S", "-emit-llvm", "-o", "/dev/null",
                        "-Xclang", "-fdump-vtable-layouts",
                        "-Xclang", "-fdump-record-layouts"], probe(classes))


def layout_of(text, name):
    """The size of a class and its own fields; what they consist of is left out."""
    start = re.search(rf"^ +0 \| class {name}$", text, re.M)
    lines = []
    for line in text[start.end() + 1:].splitlines():
        field = re.match(r" +(\d+) \|   (\S.*)$", line)
        size = re.search(r"\[sizeof=(\d+)", line)
        if field:
            # What a compiler calls the pointer to the virtual table, and a type of the library
            # beneath, is its own.
            words = re.sub(r"\bvf?table\b", "vtable", field[2])
            lines.append(f"  at {field[1]:>3}: {re.sub('^(class|struct) ', '', words)}")
        if size:
            return [f"class {name}, {size[1]} bytes", *lines]
    raise ValueError(f"no layout of {name}")


def slots_of(text, number):
    """The virtual functions in order; the destructor counts as one, whatever it takes."""
    start = re.search(rf"^V(?:F)?[tT]able for .*'Probe{number}' \(\d+ entries\)\.$", text, re.M)
    if not start:
        return []
    slots = []
    for line in text[start.end() + 1:].splitlines():
        if not line.strip():
            break
        entry = re.match(r" +\d+ \| (.*)$", line)
        if not entry or re.search(r"offset_to_top| RTTI$", entry[1]):
            continue
        function = re.sub(r" \[pure\]$", " = 0", entry[1])
        function = "destructor" if "::~" in function else function
        if function not in slots[-1:]:
            slots.append(function)
    return [f"  virtual {slot}" for slot in slots]


def layouts(root, flags):
    """The whole table."""
    classes = exported_classes(root)
    text = dump(root, flags, classes)
    lines = []
    for number, name in enumerate(classes):
        lines += [*layout_of(text, name), *slots_of(text, number), ""]
    return "\n".join(lines)


def msvc(root):
    """For MSVC."""
    return layouts(root, MSVC)


def functions(node, scope):
    """The functions below a node of Clang's tree that have code in the DLLs, with their names."""
    for child in node.get("inner", ()):
        kind = child.get("kind", "")
        if kind in ("NamespaceDecl", "CXXRecordDecl", "LinkageSpecDecl"):
            yield from functions(child, [*scope, child.get("name", "")])
        elif "mangledName" in child and scope[:1] in (["QvBaseLib"], ["QvUserLib"]):
            hidden = ("inline", "isImplicit", "explicitlyDeleted", "pure")
            if not any(child.get(word) for word in hidden):
                yield f"{'::'.join([*scope, child['name']])} {child['mangledName']}"


def names(root):
    """Of the functions, as MSVC decorates them."""
    tree = json.loads(clang(root, [*MSVC, "-fsyntax-only", "-Xclang", "-ast-dump=json"], probe([])))
    return "\n".join(sorted(set(functions(tree, [])))) + "\n"


def itanium(root, cxx):
    """For GCC and Clang."""
    library = subprocess.run([cxx, "-print-libgcc-file-name"], check=True, capture_output=True,
                             text=True).stdout.strip()
    include = pathlib.Path(library).parent / "include/c++"
    flags = ["--target=x86_64-w64-mingw32", "-nostdinc++"]
    for folder in (include, include / "x86_64-w64-mingw32", include / "backward"):
        flags += ["-isystem", str(folder)]
    return layouts(root, flags)


def virtuals(table):
    """Only the classes and their virtual functions."""
    return [re.sub(", .*", "", line) for line in table.splitlines()
            if line.startswith(("class", "  virtual"))]


def values(root):
    """Enumerators and numbers."""
    lines = []
    for header in headers(root):
        text = re.sub(r"/\*.*?\*/|//[^\n]*", "", header.read_text("utf-8"), flags=re.S)
        for name, body in re.findall(r"\benum (?:class )?(\w+)[^{;]*\{([^}]*)\}", text):
            entries = [" ".join(entry.split()) for entry in body.split(",") if entry.strip()]
            lines += [f"{header.parent.name} {name}: {entry}" for entry in entries]
        for name, value in re.findall(r"^#define (\w+) ([\w()][^\n]*?)\s*$", text, re.M):
            if not name.endswith("_API"):
                lines.append(f"{header.parent.name} {name}: {value}")
    return "\n".join(lines) + "\n"


def exports(objdump, dlls):
    """The names, by DLL."""
    lines = []
    for dll in dlls:
        text = subprocess.run([objdump, "-p", dll], check=True, capture_output=True, text=True).stdout
        table = text[text.index("[Ordinal/Name Pointer] Table"):]
        names = re.findall(r"^\s+\[ *\d+\](?: \+base\[ *\d+\])?(?: +[0-9a-f]+)? (\S+)$", table, re.M)
        lines += [f"{pathlib.Path(dll).name} {name}" for name in sorted(names)]
    return "\n".join(lines) + "\n"


def imports(objdump, dlls):
    """The names that the last DLL imports from the others."""
    text = subprocess.run([objdump, "-p", dlls[-1]], check=True, capture_output=True,
                          text=True).stdout
    lines = []
    for dll in dlls[:-1]:
        name = pathlib.Path(dll).name
        table = text[text.index(f"DLL Name: {name}"):].split("\n\n")[0]
        lines += [f"{name} {each}" for each in
                  sorted(re.findall(r"^\s+[0-9a-f]+\s+\d+\s+(\S+)$", table, re.M))]
    return "\n".join(lines) + "\n"


def compare(table, text):
    """Prints what differs."""
    expected = table.read_text("utf-8")
    differences = list(difflib.unified_diff(expected.splitlines(), text.splitlines(), table.name,
                                            "as it is now", lineterm="", n=1))
    print("\n".join(differences))
    if differences:
        print("The binary interface has changed. If that is meant, announce it in CHANGELOG.md and "
              "run scripts/update-abi.sh.")
    return not differences


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("verb", choices=("check", "update"))
    parser.add_argument("what", choices=("msvc", "names", "itanium", "values", "exports",
                                         "imports"))
    parser.add_argument("root", type=pathlib.Path)
    parser.add_argument("--objdump")
    parser.add_argument("--cxx")
    parser.add_argument("--dlls", nargs="+")
    given = parser.parse_args()

    if given.what in ("msvc", "names", "itanium") and not shutil.which(CLANG):
        print(f"{CLANG} is not installed")
        return SKIPPED
    makers = {"msvc": lambda: msvc(given.root), "names": lambda: names(given.root),
              "itanium": lambda: itanium(given.root, given.cxx),
              "values": lambda: values(given.root),
              "exports": lambda: exports(given.objdump, given.dlls),
              "imports": lambda: imports(given.objdump, given.dlls)}
    text = makers[given.what]()
    table = TABLES / f"{given.what}.txt"
    if given.verb == "update":
        table.write_text(text, "utf-8")
    same = given.verb == "update" or compare(table, text)
    if given.what == "itanium" and virtuals(text) != virtuals((TABLES / "msvc.txt").read_text()):
        print("The virtual functions stand in another order than with MSVC: overloads are declared "
              "together, and in reverse for MSVC.")
        same = False
    return 0 if same else 1


if __name__ == "__main__":
    sys.exit(main())
