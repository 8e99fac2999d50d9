#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Completes a command line as bash does and compares what is offered.
# Usage: complete.sh SCRIPT EXPECTED WORD…    (the last word is the one at the cursor; "nothing"
# stands for an empty one)
# QVCTL names the tool, when names are to come from a device.
set -euo pipefail

source "$1"
expected=${2/#nothing/}
COMP_WORDS=("${@:3}")
COMP_WORDS[-1]=${COMP_WORDS[-1]/#nothing/}
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))

# The tool, or what stands for it with a device.
qvctl() {
    if [[ -n "${QVCTL-}" ]]; then
        # One word each, without blanks inside.
        # shellcheck disable=SC2086
        $QVCTL "$@"
        return
    fi
    if [[ "$1" == list ]]; then
        printf '0  \\\\?\\a\n1  \\\\?\\b\n'
        return
    fi
    cat <<'EOF'
{
  "parameters": [
    {
      "name": "Gain",
      "id": 2,
      "marks": {
        "readOnly": false
      }
    },
    {
      "name": "Mode",
      "entries": [
        "8 bit",
        "Fast"
      ],
      "marks": {
        "readOnly": false
      }
    },
    {
      "name": "Gauge",
      "marks": {
        "readOnly": true
      }
    },
    {
      "name": "$(exit 9) x",
      "marks": {
        "readOnly": false
      }
    }
  ]
}
EOF
}

# Stands for bash's own, which works only while a word is completed.
compopt() {
    :
}

cd "$(dirname "${BASH_SOURCE[0]}")"
_qvctl
offered="${COMPREPLY[*]-}"
if [[ "$offered" != "$expected" ]]; then
    printf 'offered: %s\ninstead of: %s\n' "$offered" "$expected"
    exit 1
fi
