# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Cross-compiles for 64-bit Windows with mingw-w64. The compilers are named by their thread model:
# the unsuffixed ones may be the win32 model, which lacks std::mutex and std::thread.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Add further places with -D CMAKE_FIND_ROOT_PATH=…
list(APPEND CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
# When installed, this file is in share/QvUserLib/cmake and finds the library by itself.
cmake_path(SET qv_prefix NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../../..)
if(EXISTS ${qv_prefix}/lib/cmake/QvUserLib)
    list(APPEND CMAKE_FIND_ROOT_PATH ${qv_prefix})
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Tests run in a Wine prefix of the build directory; other projects choose themselves.
if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/../scripts/run-in-wine.sh)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/run-in-wine.sh)
endif()
