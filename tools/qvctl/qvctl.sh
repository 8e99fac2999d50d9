#!/bin/sh
# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Runs qvctl.exe, which lies beside this script, in Wine. Wine's server normally ends two seconds
# after the last program, and with it the drivers and the values of their devices: this one stays
# until "wineserver -k".

program=$(dirname -- "$(readlink -f -- "$0")")/qvctl.exe
command -v wine >/dev/null || exec "$program" "$@"

# In a locale of 7 bits Wine would cut arguments down to that.
case $(locale charmap 2>/dev/null) in
    ANSI*) export LC_ALL=C.UTF-8 ;;
esac

# The exit code is 0 only when it started a server, for which the prefix has to exist. Then Wine's
# services start with the first program; they would hold the output of ours open.
mkdir -p "${WINEPREFIX:-$HOME/.wine}"
if wineserver -p </dev/null >/dev/null 2>&1; then
    wine cmd /c exit </dev/null >/dev/null 2>&1
fi
exec wine "$program" "$@"
