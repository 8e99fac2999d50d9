# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
"""Writes the pages as they are installed, with links that fit the installed tree.

Usage: install_pages.py SOURCE OUTPUT PAGE…

A page of the source tree is written to its place below OUTPUT, which stands for the prefix. A link
to a file that is not installed becomes plain text.
"""

import os
import pathlib
import re
import sys

# Where parts of the source tree are installed. The first match counts; None means not installed.
PLACES = (
    ("LICENSE", "share/licenses/QvUserLib/LICENSE"),
    ("driver/", "share/QvUserLib/driver/"),
    ("examples/", "share/QvUserLib/examples/"),
    ("include/", "include/"),
    ("base/include/", "include/"),
    ("kit/include/", "include/"),
    ("docs/", "share/doc/QvUserLib/docs/"),
    # Beside bin, include and share.
    ("packaging/README.md", "README.md"),
)


def place_of(path, pages):
    """Where a file of the source tree is installed, or None."""
    for source, place in PLACES:
        if path.startswith(source) or path + "/" == source:
            return place + path[len(source):]
    return "share/doc/QvUserLib/" + path if path in pages else None


def installed(text, page, pages):
    """The text with its links as they are in the installed tree."""
    folder = os.path.dirname(place_of(page, pages))

    def replace(match):
        label, target = match.groups()
        if re.match(r"(https?|mailto):|#", target):
            return match[0]
        path, hash_mark, anchor = target.partition("#")
        place = place_of(os.path.normpath(os.path.join(os.path.dirname(page), path)), pages)
        if place is None:
            return label
        return f"[{label}]({os.path.relpath(place, folder)}{hash_mark}{anchor})"

    # Code in brackets and parentheses is no link.
    pieces = re.split(r"(^```.*?^```$)", text, flags=re.S | re.M)
    pieces[::2] = [re.sub(r"\[([^\]]+)\]\(([^)\s]+)\)", replace, piece) for piece in pieces[::2]]
    return "".join(pieces)


def main():
    source, output, *pages = sys.argv[1:]
    for page in pages:
        text = (pathlib.Path(source) / page).read_text(encoding="utf-8")
        file = pathlib.Path(output) / place_of(page, pages)
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(installed(text, page, pages), encoding="utf-8")


if __name__ == "__main__":
    main()
