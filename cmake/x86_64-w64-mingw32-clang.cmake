# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Cross-compiles for 64-bit Windows with Clang, its linker, and mingw-w64's headers and runtime.
# Clang by itself finds the headers of the win32 thread model, so it is given the place of those of
# the posix model.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER clang-19)
set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
foreach(tool AR NM OBJCOPY OBJDUMP RANLIB STRIP)
    string(TOLOWER ${tool} name)
    set(CMAKE_${tool} /usr/bin/x86_64-w64-mingw32-${name})
endforeach()

# The compiler whose runtime DLLs the programs need.
set(QV_RUNTIME_COMPILER x86_64-w64-mingw32-g++-posix)
execute_process(
    COMMAND ${QV_RUNTIME_COMPILER} -print-file-name=libstdc++.a
    OUTPUT_VARIABLE qv_runtime
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY
)
get_filename_component(qv_runtime ${qv_runtime} DIRECTORY)

# mingw-w64's <intrin.h> includes a header that Clang warns of. The C++ runtime has thread-local
# variables of the kind that GCC makes, and sorts with a function that it calls deprecated.
set(CMAKE_C_FLAGS_INIT "-Wno-#warnings -femulated-tls")
set(CMAKE_CXX_FLAGS_INIT
    "${CMAKE_C_FLAGS_INIT} -Wno-deprecated-declarations -nostdinc++ -isystem ${qv_runtime}/include/c++ \
-isystem ${qv_runtime}/include/c++/x86_64-w64-mingw32 \
-isystem ${qv_runtime}/include/c++/backward"
)
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-fuse-ld=lld -L${qv_runtime}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${CMAKE_MODULE_LINKER_FLAGS_INIT} -lpthread")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${CMAKE_MODULE_LINKER_FLAGS_INIT} -lpthread")

# Add further places with -D CMAKE_FIND_ROOT_PATH=…
list(APPEND CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Tests run in a Wine prefix of the build directory.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/run-in-wine.sh)
