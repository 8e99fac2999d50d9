# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Run with -P: fails unless README shows exactly the program that is built and run as a test.

file(READ ${README} readme)
file(READ ${PROGRAM} program)
string(REGEX REPLACE "^//[^\n]*\n//[^\n]*\n\n" "" program "${program}")
string(FIND "${readme}" "```cpp\n${program}```" place)
if(place EQUAL -1)
    message(FATAL_ERROR "README.md does not show the program of ${PROGRAM}")
endif()
