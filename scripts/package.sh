#!/usr/bin/env bash
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Builds what we deliver and packs it into a zip file and an installer, in build/mingw/dist. The times
# in the packages are that of the commit.
# Usage: scripts/package.sh
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

scripts/install-packages.sh --quiet nsis
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH
scripts/build.sh mingw delivered
scripts/docs.sh
step "Packing into build/mingw/dist"
rm -rf build/mingw/dist
run_quietly build/mingw/package.log cpack --config build/mingw/CPackConfig.cmake
rm -rf build/mingw/dist/_CPack_Packages
(cd build/mingw/dist && sha256sum -- QvUserLib-* | tee SHA256SUMS)
