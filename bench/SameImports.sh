#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Prints the assembler source of a DLL that imports what another one imports, and does nothing.
# Usage: bench/SameImports.sh OBJDUMP DLL
set -euo pipefail

printf '.section .text\n.globl QvBenchEntry\nQvBenchEntry:\n    movl $1, %%eax\n    ret\n'
printf '.section .rdata\n'
"$1" -p "$2" | awk '
    /^The Import Tables/ { inside = 1 }
    /^The Export Tables|^There is an export table/ { inside = 0 }
    inside && NF == 3 && $1 ~ /^[0-9a-f]+$/ && $2 ~ /^[0-9]+$/ { print "    .quad __imp_" $3 }'
