# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
"""The code blocks of README and the guide, as programs and tests.

A block's language says what is done with it:

cpp             Compiled and run, alone. A block without a `main` becomes the body of one. What it
                prints is the `text` block that follows before the next block of code; without one
                it prints nothing.
console         Each line `$ qvctl …` is run; what it prints follows.
c, cmake,       Stands word for word, up to indentation, in the file that the comment before it
properties      names: `<!-- from driver/src/Driver.c -->`.
text            The output of the program before it, or of the commands before it.
sh              Commands with `<!-- follow -->` in front are typed by `follow`. Others are not tried;
                scripts that are named have to be there.
mermaid         Not tried.

A comment `<!-- before … -->` in front of a block holds what the reader need not see: statements
for `cpp`, commands for `console`. A comment `<!-- file NAME -->` tells the file that `follow` puts
the block into.

Usage: guide_blocks.py generate ROOT OUTPUT PAGE…     writes programs, expectations and a list
       guide_blocks.py excerpts ROOT PAGE…            checks excerpts and named scripts
       guide_blocks.py console ROOT PAGE NUMBER BIN [EMULATOR…]
       guide_blocks.py follow DIRECTORY PAGE…         does in the directory what the pages say
"""

import dataclasses
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
import textwrap

PRELUDE = """\
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "QvBaseLib/QvBaseLib.h"
#include "QvSample/QvSampleDevice.h"
#include "QvSample/QvSamplePacket.h"
#include "QvUserLib/QvUserLib.h"

using namespace QvUserLib;

int main() {
"""

EXCERPTS = ("c", "cmake", "properties")
LANGUAGES = ("cpp", "console", "text", "sh", "mermaid", *EXCERPTS)


@dataclasses.dataclass
class Block:
    """One fenced block of a page."""

    page: str
    number: int
    line: int
    language: str
    text: str
    comment: str = ""
    output: str = ""

    @property
    def name(self):
        """README.md's second block is readme-2."""
        return f"{pathlib.Path(self.page).stem.lower()}-{self.number}"

    @property
    def place(self):
        """Where it is, for messages."""
        return f"{self.page}:{self.line}"

    def file(self):
        """The file that the reader makes of it; empty for none."""
        match = re.fullmatch(r"file (\S+)", self.comment)
        return match[1] if match else ""

    def is_followed(self):
        """Whether the reader types it."""
        return self.language == "sh" and self.comment == "follow"

    def before(self):
        """The hidden part."""
        match = re.fullmatch(r"before\s+(.*)", self.comment, re.DOTALL)
        return match.group(1).rstrip() if match else ""


def blocks_of(root, page):
    """The blocks of a page, each with its comment and output."""
    blocks = []
    comment = ""
    pattern = re.compile(
        r"^<!--(?P<comment>.*?)-->\n|^```(?P<language>[^\n]*)\n(?P<text>.*?)^```$"
        r"|^(?P<prose>\S[^\n]*)$",
        re.DOTALL | re.MULTILINE,
    )
    content = (root / page).read_text(encoding="utf-8")
    for match in pattern.finditer(content):
        if match["comment"] is not None:
            comment = match["comment"].strip()
            continue
        if match["prose"] is not None:
            comment = ""
            continue
        line = content.count("\n", 0, match.start()) + 2
        block = Block(page, len(blocks) + 1, line, match["language"], match["text"], comment)
        comment = ""
        if block.language not in LANGUAGES:
            raise SystemExit(f"{block.place}: unknown language '{block.language}'")
        if block.language == "text":
            last = blocks[-1] if blocks else None
            if not last or last.output or not (last.language == "cpp" or last.is_followed()):
                raise SystemExit(f"{block.place}: a text block follows the program it belongs to")
            last.output = block.text
            continue
        blocks.append(block)
    return blocks


def program_of(block):
    """The source of a whole program."""
    mark = f'#line {block.line} "{block.page}"\n'
    if "int main(" in block.text:
        return mark + block.text
    return PRELUDE + block.before() + "\n" + mark + block.text + "}\n"


def write(path, text):
    """Leaves a file that is right already alone, so that nothing is built again."""
    if not path.exists() or path.read_text(encoding="utf-8") != text:
        path.write_text(text, encoding="utf-8")


def generate(root, output, pages):
    """Writes what tests/GuideTest.cmake builds and runs."""
    output.mkdir(parents=True, exist_ok=True)
    calls = []
    for page in pages:
        for block in blocks_of(root, page):
            if block.language == "console":
                calls.append(f"qv_add_console_test({block.name} {page} {block.number})")
            if block.language != "cpp":
                continue
            source = program_of(block)
            label = "device" if "GUID_DEVINTERFACE_QVSAMPLE" in source else "unit"
            write(output / f"{block.name}.cpp", source)
            write(output / f"{block.name}.txt", block.output)
            calls.append(f"qv_add_guide_program({block.name} {label})")
    write(output / "blocks.cmake", "\n".join(calls) + "\n")


def excerpt_error(root, block):
    """What is wrong with a block that is not run; empty when nothing is."""
    if block.is_followed():
        return ""
    if block.language == "sh":
        missing = [
            name
            for name in re.findall(r"(?<![\w/])(?:scripts|examples|docs|tests)/[\w./-]+", block.text)
            if not (root / name).exists()
        ]
        return f"no such file: {missing[0]}" if missing else ""
    if block.language not in EXCERPTS or block.file():
        return ""
    match = re.fullmatch(r"from (\S+)", block.comment)
    if not match:
        return "no comment names the file that it is from"
    source = (root / match[1]).read_text(encoding="utf-8")
    lines = [line.strip() for line in source.splitlines()]
    wanted = [line.strip() for line in block.text.splitlines()]
    if any(lines[i : i + len(wanted)] == wanted for i in range(len(lines))):
        return ""
    return f"does not stand so in {match[1]}"


def check_excerpts(root, pages):
    """Prints what is wrong, and answers how often something is."""
    errors = 0
    for page in pages:
        for block in blocks_of(root, page):
            error = excerpt_error(root, block)
            if error:
                print(f"{block.place}: {error}")
                errors += 1
    return errors


def run_command(line, programs, emulator):
    """What a command prints, on both streams."""
    words = shlex.split(line)
    program = programs / (words[0] + ".exe")
    # A file: a process that the program leaves behind would hold a pipe open.
    with tempfile.TemporaryFile() as output:
        subprocess.run(
            [*emulator, str(program), *words[1:]],
            stdin=subprocess.DEVNULL,
            stdout=output,
            stderr=output,
            check=False,
        )
        output.seek(0)
        return output.read().decode("utf-8").replace("\r\n", "\n")


def run_console(root, page, number, programs, emulator):
    """Runs the session, and answers whether it reads as in the page."""
    block = blocks_of(root, page)[number - 1]
    for line in block.before().splitlines():
        run_command(line, programs, emulator)
    seen = ""
    for line in block.text.splitlines():
        if line.startswith("$ "):
            seen += line + "\n" + run_command(line[2:], programs, emulator)
    if seen == block.text:
        return True
    print(f"{block.place} shows:\n{textwrap.indent(block.text, '  ')}but this is printed:")
    print(textwrap.indent(seen, "  "))
    return False


def script_of(blocks):
    """Everything that is typed, in one shell; what a block prints goes to a file of its name."""
    commands = ["set -euo pipefail", "start=$PWD"]
    for block in blocks:
        if block.is_followed():
            commands.append("{\n" + block.text + f'}} >"$start/{block.name}.out"')
    return "\n".join(commands) + "\n"


def follow(directory, pages):
    """Answers whether all commands succeed and print what the pages show."""
    blocks = [block for page in pages for block in blocks_of(pathlib.Path("/"), page)]
    for block in blocks:
        if block.file():
            write(directory / block.file(), block.text)
    with open(directory / "followed.log", "wb") as log:
        code = subprocess.run(
            ["bash", "-x", "-c", script_of(blocks)],
            cwd=directory,
            stdin=subprocess.DEVNULL,
            stdout=log,
            stderr=log,
            check=False,
        ).returncode
    if code != 0:
        print((directory / "followed.log").read_text(encoding="utf-8", errors="replace"))
        for output in sorted(directory.glob("*.out")):
            print(f"{output.name}:\n{output.read_text(encoding='utf-8', errors='replace')}")
        print(f"a command fails with {code}")
        return False
    wrong = False
    for block in blocks:
        if not block.is_followed() or not block.output:
            continue
        seen = (directory / f"{block.name}.out").read_text(encoding="utf-8")
        # The build's own messages come first.
        if not seen.endswith(block.output):
            wrong = True
            print(f"{block.place} shows:\n{textwrap.indent(block.output, '  ')}but this is printed:")
            print(textwrap.indent(seen, "  "))
    return not wrong


def main():
    verb, root, *rest = sys.argv[1:]
    root = pathlib.Path(root)
    if verb == "generate":
        generate(root, pathlib.Path(rest[0]), rest[1:])
        return 0
    if verb == "excerpts":
        return 1 if check_excerpts(root, rest) else 0
    if verb == "follow":
        directory = root
        return 0 if follow(directory, rest) else 1
    page, number, programs, *emulator = rest
    return 0 if run_console(root, page, int(number), pathlib.Path(programs), emulator) else 1


if __name__ == "__main__":
    sys.exit(main())
