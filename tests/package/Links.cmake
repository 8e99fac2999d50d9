# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# The links of the pages lead somewhere in the installed tree, too.

include(${CMAKE_CURRENT_LIST_DIR}/Common.cmake)

file(GLOB_RECURSE pages ${installed}/share/*.md)
if(NOT pages)
    message(FATAL_ERROR "no pages in ${installed}/share")
endif()
run(${PYTHON} ${CMAKE_CURRENT_LIST_DIR}/../../scripts/check_docs.py --links-only ${pages})
