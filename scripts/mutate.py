# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
"""Plants one mistake at a time into src/, base/ and kit/, and lists those that no quick test notices.

The mistakes go into a copy of the sources in build/mutants, with a build directory of its own. A
mistake that does not compile without a warning does not count. The tests are the programs that
contain the source, or for the library the unit tests, those first that noticed a mistake in it
before. A mistake is noticed when one of them fails, crashes or hangs. Tests on devices come last,
and after them the one that lets every call fail.
kit/driver/ is left out, because a mistake in it could spoil the installation that other tests use.

scripts/unnoticed-mistakes.tsv lists mistakes that need not be planted, with the reason.

Usage: mutate.py [--seconds N] [--seed N] [FOLDER…]
       (default: 600 seconds, a seed from the clock, all folders)
Exit code: 1 when more than one of twenty mistakes was not noticed.
"""

import argparse
import collections
import pathlib
import random
import re
import shutil
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
SOURCES = ROOT / "build/mutants"
BUILD = SOURCES / "build/mingw"
FOLDERS = ("src", "base/src", "kit/device", "kit/settings", "kit/stream", "kit/support")
KNOWN = ROOT / "scripts/unnoticed-mistakes.tsv"
ALLOWED = 0.05

Mistake = collections.namedtuple("Mistake", "file line before after")
Program = collections.namedtuple("Program", "name is_for_kit needs_device")

LAST_PROGRAM = Program("FailingCallsTest", is_for_kit=True, needs_device=True)

EXCHANGES = {
    " == ": (" != ",), " != ": (" == ",),
    " < ": (" <= ", " >= "), " <= ": (" < ",),
    " > ": (" >= ", " <= "), " >= ": (" > ",),
    " + ": (" - ",), " - ": (" + ",), " += ": (" -= ",), " -= ": (" += ",),
    " && ": (" || ",), " || ": (" && ",),
    "return true;": ("return false;",), "return false;": ("return true;",),
    "++": ("--",), "--": ("++",),
}

# Alone in a line. Without an assertion or va_end this compiler makes the same code.
CALL = r"\s+(?!(?:return|throw|using|else|static_assert|va_end)\b)[\w:.>-]+\(.*\);$"


def without_texts(line):
    """The line with texts, characters and comments blanked, of the same length."""
    pattern = r'"(?:[^"\\]|\\.)*"|\'(?:[^\'\\]|\\.)\'|//.*|/\*.*?\*/'
    return re.sub(pattern, lambda match: " " * len(match[0]), line)


def changed_lines(line):
    """Every form of the line with one mistake."""
    code = without_texts(line)
    for old, news in EXCHANGES.items():
        for match in re.finditer(re.escape(old), code):
            for new in news:
                yield line[:match.start()] + new + line[match.end():]
    for match in re.finditer(r"(?<![\w.])\d+(?![\w.])", code):
        for number in (int(match[0]) + 1, int(match[0]) - 1):
            # No pause is promised to be so long exactly.
            if number >= 0 and "milliseconds k" not in code:
                yield line[:match.start()] + str(number) + line[match.end():]
    condition = re.match(r"(\s*(?:\} else )?if \()(.+)(\) (?:\{|[^(){}]+;))$", code)
    if condition and condition[2].count("(") == condition[2].count(")"):
        start, end = condition.span(2)
        yield f"{line[:start]}!({line[start:end]}){line[end:]}"
    if re.match(CALL, code):
        yield line[:len(line) - len(line.lstrip())] + ";"


def find_mistakes(folders):
    """All mistakes that can be planted."""
    for folder in folders:
        for file in sorted((SOURCES / folder).rglob("*.cpp")):
            lines = file.read_text(encoding="utf-8").split("\n")
            for number, line in enumerate(lines):
                if not line.startswith(("#", "//", "namespace", "}", "template", "using")):
                    for after in changed_lines(line):
                        yield Mistake(file.relative_to(SOURCES).as_posix(), number, line, after)


def run(*command, seconds=600):
    """Whether the command succeeds in time."""
    return subprocess.run(["timeout", str(seconds), *command], cwd=SOURCES, check=False,
                          stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL).returncode == 0


def build(*targets):
    return run("cmake", "--build", BUILD, "--target", *targets)


def list_programs(folder):
    """The test programs of one folder of tests, by its lists of names."""
    text = (SOURCES / folder / "CMakeLists.txt").read_text(encoding="utf-8")
    lists = re.findall(r"foreach\(\s*name\s+([\w\s]+?)\)\s*qv_add_(\w+)\(\$\{name\}([^)]*)\)", text)
    lists += re.findall(r"^()qv_add_(test)\((\w+ \w+)\)", text, re.M)
    for names, _, label in lists:
        for name in names.split() or [label.split()[0]]:
            if name != "KitDriverTest":
                yield Program(name, folder == "tests/kit", label.endswith("device"))


def copy_sources():
    """Copies what has changed, so that little is built again."""
    names = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                           cwd=ROOT, check=True, capture_output=True, text=True).stdout.split("\0")
    for name in filter(None, names):
        source, copy = ROOT / name, SOURCES / name
        if not copy.exists() or copy.read_bytes() != source.read_bytes():
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, copy)


class Tests:
    """The test programs of the copy, built."""

    def __init__(self):
        self.programs = [program for folder in ("tests/base", "tests/src", "tests/kit")
                         for program in list_programs(folder)] + [LAST_PROGRAM]
        self.limits = {}   # In seconds, by program.
        self.last = {}     # The program that noticed the last mistake in a source.
        self.functions = {}  # By source.
        self.images = {}   # The files of the programs, which hold the names of functions.

    def set_up(self):
        names = [program.name for program in self.programs]
        if not run("cmake", "--preset", "mingw",
                   f"-DQV_LOG4CXX_ROOT={ROOT}/build/log4cxx/prefix"):
            sys.exit("error: the copy cannot be configured")
        for target in ("QvUserLib", "QvSampleDriver", "qvctl", *names):
            if not build(target):
                sys.exit(f"error: {target} does not build")
        self.install_devices()
        for program in self.programs:
            begin = time.monotonic()
            # Wine does not start a program once in some thousand times.
            if not self.is_passed(program) and not self.is_passed(program):
                sys.exit(f"error: {program.name} fails without a mistake")
            self.limits[program.name] = 10 + 5 * int(time.monotonic() - begin)
            self.images[program.name] = (BUILD / f"bin/{program.name}.exe").read_bytes()

    def install_devices(self):
        """Whatever mistakes have left on the devices is gone then."""
        script = ('source scripts/common.sh; source scripts/wine-environment.sh; '
                  'use_wine "$0"; stop_wine; start_wine; '
                  'wine "$0/bin/qvctl.exe" driver install "$0/bin/QvSampleDriver.inf" --devices 2')
        if not run("bash", "-c", script, BUILD):
            sys.exit("error: the sample driver cannot be installed")

    def is_passed(self, program):
        return run("scripts/run-in-wine.sh", BUILD / f"bin/{program.name}.exe",
                   seconds=self.limits.get(program.name, 300))

    def list_for(self, file):
        """The programs to run for a source, in this order."""
        name = pathlib.Path(file).stem
        programs = [program for program in self.programs if self.is_about(program, file)]
        return sorted(programs, key=lambda program: (
            program.name != self.last.get(file), program is LAST_PROGRAM, program.needs_device,
            not program.name.removeprefix("Kit").startswith(name[:6])))

    def is_about(self, program, file):
        """Whether the program contains the source, or uses the library that does."""
        if program is LAST_PROGRAM:
            return True
        if not file.startswith("kit/"):
            return not program.is_for_kit
        if file not in self.functions:
            object_file = BUILD / f"kit/CMakeFiles/QvKit.dir/{file.removeprefix('kit/')}.obj"
            names = subprocess.run(["x86_64-w64-mingw32-nm", "--defined-only", object_file],
                                   check=True, capture_output=True).stdout
            self.functions[file] = re.findall(rb" T (\w+)", names)
        image = self.images[program.name]
        return program.is_for_kit and any(name in image for name in self.functions[file])

    def notice(self, file):
        """Whether a test fails; nothing when the sources do not compile."""
        is_for_kit = file.startswith("kit/")
        # Programs load the DLLs when they start.
        if not build("QvKit" if is_for_kit else "QvUserLib"):
            return None
        for program in self.list_for(file):
            if (is_for_kit and not build(program.name)) or not self.is_passed(program):
                self.last[file] = program.name
                if program.needs_device:
                    self.install_devices()
                return True
        return False

    def notice_mistake(self, mistake):
        file = SOURCES / mistake.file
        original = file.read_text(encoding="utf-8")
        lines = original.split("\n")
        lines[mistake.line] = mistake.after
        try:
            file.write_text("\n".join(lines), encoding="utf-8")
            return self.notice(mistake.file)
        finally:
            file.write_text(original, encoding="utf-8")


def known_mistakes():
    """The mistakes that need not be planted: source, line before, line after."""
    rows = [line.split("\t") for line in KNOWN.read_text(encoding="utf-8").splitlines()
            if not line.startswith("#")]
    return {tuple(row[:3]) for row in rows if len(row) == 4}


def try_mistakes(tests, mistakes, seconds):
    """The mistakes that were planted until the time is over, and whether each was noticed."""
    known = known_mistakes()
    outcomes = []
    end = time.monotonic() + seconds
    for mistake in mistakes:
        if time.monotonic() > end:
            break
        before, after = mistake.before.strip(), mistake.after.strip()
        if (mistake.file, before, after) in known:
            continue
        is_noticed = tests.notice_mistake(mistake)
        if is_noticed is None:
            continue
        outcomes.append((mistake, is_noticed))
        if not is_noticed:
            print(f"{mistake.file}:{mistake.line + 1}: {before}\n    as  {after}", flush=True)
    return outcomes


def print_totals(outcomes):
    for folder in FOLDERS:
        noticed = [is_noticed for mistake, is_noticed in outcomes
                   if mistake.file.startswith(f"{folder}/")]
        if noticed:
            print(f"{folder}: {sum(noticed)} of {len(noticed)} mistakes were noticed")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seconds", type=int, default=600)
    parser.add_argument("--seed", type=int, default=int(time.time()))
    parser.add_argument("folders", nargs="*", default=FOLDERS)
    arguments = parser.parse_args()
    print(f"The seed is {arguments.seed}", flush=True)
    copy_sources()
    tests = Tests()
    tests.set_up()
    mistakes = list(find_mistakes(arguments.folders))
    random.Random(arguments.seed).shuffle(mistakes)
    try:
        outcomes = try_mistakes(tests, mistakes, arguments.seconds)
    except KeyboardInterrupt:
        sys.exit(130)
    print_totals(outcomes)
    print(f"{len(outcomes)} mistakes of {len(mistakes)} were planted")
    unnoticed = sum(not is_noticed for _, is_noticed in outcomes)
    if not outcomes or unnoticed > ALLOWED * len(outcomes):
        sys.exit(1)


if __name__ == "__main__":
    main()
