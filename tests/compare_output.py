# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
"""Runs a program in an empty directory and compares what it prints with a file.

Usage: compare_output.py EXPECTED COMMAND [ARGUMENT…]

Line ends may be those of either system. The program's exit code has to be 0.
"""

import difflib
import pathlib
import subprocess
import sys
import tempfile


def run(command):
    """Returns the exit code and the standard output, with plain line feeds."""
    with tempfile.TemporaryDirectory() as folder, tempfile.TemporaryFile() as output:
        # A file: a process that the program leaves behind would hold a pipe open.
        done = subprocess.run(
            command, cwd=folder, stdin=subprocess.DEVNULL, stdout=output, check=False
        )
        output.seek(0)
        return done.returncode, output.read().decode("cp1252").replace("\r\n", "\n")


def main():
    expected = pathlib.Path(sys.argv[1]).read_text(encoding="utf-8")
    code, text = run(sys.argv[2:])
    for line in difflib.unified_diff(
        expected.splitlines(), text.splitlines(), "expected", "printed", lineterm=""
    ):
        print(line)
    if code != 0:
        print(f"exit code {code}")
    return 0 if code == 0 and text == expected else 1


if __name__ == "__main__":
    sys.exit(main())
