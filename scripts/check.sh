#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Checks the sources: layout with clang-format, spelling with codespell, links in the pages,
# descriptions of everything public with doxygen. Needs no build. scripts/tidy.sh looks deeper.
# Usage: scripts/check.sh
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

scripts/install-packages.sh --quiet

step "Checking the layout of the sources"
list_sources '*.cpp' '*.c' '*.h' | xargs -0 clang-format-19 --dry-run --Werror

step "Checking the spelling"
list_sources . ':!tests/abi/exports.txt' | xargs -0 codespell

step "Checking the links of the pages"
list_sources '*.md' | xargs -0 python3 scripts/check_docs.py

scripts/docs.sh
