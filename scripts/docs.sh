#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Makes the reference of the public headers, in build/reference/html. Fails when anything public has
# no description.
# Usage: scripts/docs.sh
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

scripts/install-packages.sh --quiet
QV_VERSION=$(sed -n 's/^    VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt)
QV_DOCS_OUTPUT=build/reference
export QV_VERSION QV_DOCS_OUTPUT
mkdir -p "$QV_DOCS_OUTPUT"
step "Making the reference of the headers"
run_quietly "$QV_DOCS_OUTPUT/doxygen.log" doxygen docs/Doxyfile
echo "The reference begins with $QV_DOCS_OUTPUT/html/index.html"
