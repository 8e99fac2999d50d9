#!/usr/bin/env python3
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
"""What a verb prints with --json is what the schema says, no member less and none more.

Usage: schema_test.py SCHEMA VERB COMMAND…      (the command without --json)
Exit code 77 where the validator is missing.
"""

import json
import subprocess
import sys

try:
    import jsonschema
except ImportError:
    print("skipped: Debian's python3-jsonschema is not installed")
    sys.exit(77)


def make_strict(node):
    """Lets an object have no members but those that the schema tells of."""
    if isinstance(node, dict):
        if "properties" in node:
            node.setdefault("additionalProperties", False)
        for child in node.values():
            make_strict(child)
    elif isinstance(node, list):
        for child in node:
            make_strict(child)


def main():
    path, verb, *command = sys.argv[1:]
    with open(path, encoding="utf-8") as file:
        schema = json.load(file)
    jsonschema.Draft202012Validator.check_schema(schema)
    make_strict(schema)
    validator = jsonschema.Draft202012Validator({**schema["$defs"][verb], "$defs": schema["$defs"]})

    run = subprocess.run(command + ["--json"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                         check=False, timeout=50)
    output = run.stdout.decode("utf-8")
    # Each line of these is an object of its own.
    texts = output.splitlines() if verb.startswith(("watch", "keep")) else [output]
    if not texts:
        sys.exit("nothing was printed")
    errors = 0
    for text in texts:
        for error in validator.iter_errors(json.loads(text)):
            errors += 1
            print(f"{'/'.join(map(str, error.absolute_path))}: {error.message}")
    sys.exit(1 if errors else 0)


main()
