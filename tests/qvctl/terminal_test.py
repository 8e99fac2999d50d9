#!/usr/bin/env python3
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
"""How the tool prints on a terminal of 80 columns, or into a pipe.

Usage: terminal_test.py terminal|pipe coloured|plain COMMAND…   whether its message is in colours
       terminal_test.py terminal|pipe TEXT COMMAND…             whether TEXT stands in one line
"""

import fcntl
import os
import pty
import re
import struct
import subprocess
import sys
import termios


def output_on_terminal(command):
    terminal, program_side = pty.openpty()
    fcntl.ioctl(program_side, termios.TIOCSWINSZ, struct.pack("HHHH", 25, 80, 0, 0))
    run = subprocess.Popen(command, stdin=program_side, stdout=program_side, stderr=program_side)
    os.close(program_side)
    output = b""
    while True:
        try:
            piece = os.read(terminal, 65536)
        except OSError:  # The program's side is closed.
            break
        if not piece:
            break
        output += piece
    run.wait(timeout=50)
    return output


def output_in_pipe(command):
    return subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, check=False, timeout=50).stdout


def main():
    place, expected, *command = sys.argv[1:]
    output = output_on_terminal(command) if place == "terminal" else output_in_pipe(command)
    if expected not in ("coloured", "plain"):
        if expected.encode() not in output:
            sys.exit(f"'{expected}' does not stand in one line: {output!r}")
        return
    if b"qvctl:" not in output:
        sys.exit(f"no message: {output!r}")
    # The red of the message, in either form.
    is_coloured = re.search(rb"\x1b\[[0-9;]*(31|91)m", output) is not None
    if is_coloured != (expected == "coloured"):
        sys.exit(f"not {expected}: {output!r}")


main()
