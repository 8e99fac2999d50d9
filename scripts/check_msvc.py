# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
"""Compiles the sources of user mode as Visual Studio would, as far as that is possible without it.

Clang in MSVC's mode parses and type-checks them, with LLVM's C++ library and with mingw-w64's headers
of Windows. Only what starts in our own files counts. First it checks that a GNU extension is refused.

Usage: check_msvc.py [SOURCE…]     (default: all that are compiled in build/mingw)
"""

import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDERS = ("base", "src", "kit", "tools", "examples")
LIBRARY = ROOT / "build/msvc/libc++"
PLANTED = "int Planted() { return ({ 1; }); }\n"
COMPILER = (
    "clang++-19",
    "--target=x86_64-pc-windows-msvc19.38",
    "-fsyntax-only",
    "-fno-caret-diagnostics",
    "-ferror-limit=0",
    "-std=c++17",
    "-fms-extensions",
    "-fms-compatibility",
    # What the standard does not have is an error, and nothing else is of interest.
    "-Wno-everything",
    "-Wpedantic",
    "-Werror",
    "-nostdinc++",
    "-D_LIBCPP_NO_VCRUNTIME",
    "-D_UCRT",
)


def fetch_library():
    """Unpacks LLVM's C++ library. Installing it would remove other versions of it."""
    if (LIBRARY / "usr").exists():
        return
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["apt-get", "-qq", "-o", "APT::Sandbox::User=root", "download",
                        "libc++-19-dev"], cwd=folder, check=True)
        package, = pathlib.Path(folder).glob("*.deb")
        LIBRARY.mkdir(parents=True, exist_ok=True)
        subprocess.run(["dpkg-deb", "-x", package, LIBRARY], check=True)


def command_for(arguments):
    """The compiler's command, with these arguments and the place of the headers."""
    clang = subprocess.run([COMPILER[0], "-print-resource-dir"], check=True, capture_output=True,
                           text=True).stdout.strip()
    places = (LIBRARY / "usr/lib/llvm-19/include/c++/v1", pathlib.Path(clang) / "include",
              "/usr/x86_64-w64-mingw32/include")
    command = [*COMPILER, "-include", ROOT / "scripts/msvc/Runtime.h", *arguments]
    for place in places:
        command += ["-isystem", place]
    return command


def kept(arguments):
    """Those arguments of a GCC command that are the same for any compiler."""
    words = iter(arguments)
    for word in words:
        if word == "-isystem":
            yield from (word, next(words))
        elif word[:2] in ("-D", "-I"):
            yield word


def sources():
    """Each source of user mode with its own arguments."""
    found = {}
    commands = ROOT / "build/mingw/compile_commands.json"
    for entry in json.loads(commands.read_text(encoding="utf-8")):
        file = pathlib.Path(entry["file"])
        if file.suffix != ".cpp" or not file.is_relative_to(ROOT):
            continue
        # Tests compile some of them once more, in another way.
        if file.relative_to(ROOT).parts[0] in FOLDERS and " -o tests/" not in entry["command"]:
            found[file] = list(kept(shlex.split(entry["command"])))
    return found


def check(file, arguments):
    """The errors in our own files that one source has."""
    run = subprocess.run([*command_for(arguments), file], capture_output=True, text=True,
                         cwd=ROOT, check=False)
    errors = []
    for line in run.stderr.splitlines():
        match = re.match(r"(.+?):\d+:\d+: (?:fatal )?error: ", line)
        if not match:
            continue
        place = pathlib.Path(os.path.abspath(ROOT / match[1]))
        if place == file or place.is_relative_to(ROOT) and not place.is_relative_to(ROOT / "build"):
            errors.append(os.path.relpath(place, ROOT) + line[len(match[1]):])
    if run.returncode != 0 and "error: " not in run.stderr:
        errors.append(f"{file}: the compiler failed: {run.stderr}")
    return errors


def refuses_planted_extension():
    """Whether a GNU extension in a source is reported."""
    with tempfile.TemporaryDirectory() as folder:
        file = pathlib.Path(folder) / "Planted.cpp"
        file.write_text(PLANTED, encoding="utf-8")
        return any("GNU statement expression" in error for error in check(file, []))


def main():
    fetch_library()
    if not refuses_planted_extension():
        sys.exit("error: a GNU statement expression is not refused: the check finds nothing")
    found = sources()
    if len(sys.argv) > 1:
        wanted = [pathlib.Path(name).resolve() for name in sys.argv[1:]]
        found = {file: found[file] for file in wanted}
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = list(pool.map(check, found.keys(), found.values()))
    # Errors in headers come once with each source.
    errors = sorted({error for result in results for error in result})
    for error in errors:
        print(error)
    if errors or not found:
        sys.exit(f"error: {len(errors)} errors in {len(found)} sources")
    print(f"{len(found)} sources compile in MSVC's mode")


if __name__ == "__main__":
    main()
