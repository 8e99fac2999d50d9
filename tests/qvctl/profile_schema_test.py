#!/usr/bin/env python3
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
"""Saved parameters are what their schema says: a file that was just saved, and the real ones of the
corpus. Files of the corpus that the tool refuses for their members are not.

Usage: profile_schema_test.py SCHEMA CORPUS SAVED
Exit code 77 where the validator is missing.
"""

import json
import pathlib
import sys

try:
    import jsonschema
except ImportError:
    print("skipped: Debian's python3-jsonschema is not installed")
    sys.exit(77)


def main():
    schema_path, corpus, saved = map(pathlib.Path, sys.argv[1:])
    schema = json.loads(schema_path.read_text(encoding="utf-8"))
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    real = sorted(corpus.glob("real*.json"))
    if not real:
        sys.exit("the corpus has no real profile")
    errors = 0
    for path in [*real, saved]:
        for error in validator.iter_errors(json.loads(path.read_text(encoding="utf-8"))):
            errors += 1
            print(f"{path}: {'/'.join(map(str, error.absolute_path))}: {error.message}")
    for name in ("newer-version.json", "numbers-too-large.json"):
        if validator.is_valid(json.loads((corpus / name).read_text(encoding="utf-8"))):
            errors += 1
            print(f"{name} is refused by the tool, but not by the schema")
    sys.exit(1 if errors else 0)


main()
