# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
"""Checks the links of Markdown pages, and the messages that the guide quotes.

Usage: check_docs.py [--links-only] PAGE…      (from the project's directory)

Each link has to lead to a file and, if it has an anchor, to a heading of that page. Each message in
quotation marks in the first column of docs/troubleshooting.md has to be in a source of the library.
Each command of the tool within a line has to have a verb and options that its manual page has.
"""

import pathlib
import re
import sys

MESSAGES = pathlib.Path("docs/troubleshooting.md")
MANUAL = pathlib.Path("tools/qvctl/qvctl.1")


def prose_of(page):
    """Returns the text without blocks of code, whose brackets are not links."""
    return re.sub(r"^```.*?^```$", "", page.read_text(encoding="utf-8"), flags=re.S | re.M)


def anchors_of(page):
    """Returns the anchors of a page, which GitHub makes from its headings."""
    headings = re.findall(r"^#+ (.*)$", prose_of(page), re.M)
    plain = [re.sub(r"[^\w\- ]", "", heading.lower()) for heading in headings]
    return {heading.strip().replace(" ", "-") for heading in plain}


def broken_links(page):
    """Yields the links that lead nowhere."""
    for target in re.findall(r"\]\(([^)\s]+)\)", prose_of(page)):
        if re.match(r"(https?|mailto):", target):
            continue
        path, _, anchor = target.partition("#")
        file = page if not path else page.parent / path
        if not file.exists() or (anchor and anchor not in anchors_of(file)):
            yield target


def unknown_messages():
    """Yields the quoted messages that no source has. Sources have long messages in pieces."""
    sources = [*pathlib.Path("src").glob("*.cpp"), *pathlib.Path("src").glob("*.h")]
    code = "".join(source.read_text(encoding="utf-8") for source in sources)
    code = re.sub(r'"\s*"', "", code).replace('\\n"', '"')
    for cell in re.findall(r"^\|([^|]+)\|", prose_of(MESSAGES), re.M):
        for message in re.findall(r'"([^"]+)"', cell):
            if f'"{message}"' not in code:
                yield message


def unknown_commands(page):
    """Yields the commands within lines that the tool would refuse. It takes capitals as any word."""
    manual = MANUAL.read_text(encoding="utf-8").replace("\\-", "-")
    verbs = set(re.findall(r"^\.SS (.*)$", manual, re.M))
    options = set(re.findall(r"^\\fB(--[\w-]+)", manual, re.M))
    for command in re.findall(r"`qvctl ([^`]+)`", prose_of(page)):
        first, *rest = command.split()
        is_known = first in verbs or first.isupper() or command in ("--help", "--version")
        if not is_known or any(word not in options for word in rest if word.startswith("--")):
            yield f"qvctl {command}"


def main():
    pages = sys.argv[1:]
    links_only = pages[:1] == ["--links-only"]
    errors = [f"{page}: broken link {target}" for page in pages[links_only:]
              for target in broken_links(pathlib.Path(page))]
    if not links_only:
        errors += [f"{page}: qvctl would refuse this: {command}" for page in pages
                   for command in unknown_commands(pathlib.Path(page))]
        errors += [f"{MESSAGES}: no such message: {message}" for message in unknown_messages()]
    print("\n".join(errors), end="\n" if errors else "")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
