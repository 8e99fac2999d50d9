# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# A project that needs another major version does not get this one.

include(${CMAKE_CURRENT_LIST_DIR}/Common.cmake)

file(REMOVE_RECURSE ${WORK}/other-version)
execute_process(
    COMMAND
        ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/client -B ${WORK}/other-version -G Ninja
        -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -D CMAKE_FIND_ROOT_PATH=${installed}
        -D CMAKE_PREFIX_PATH=${installed} -D CLIENT_WANTED_VERSION=2.0
    OUTPUT_VARIABLE output
    ERROR_VARIABLE output
    RESULT_VARIABLE code
)
string(REGEX REPLACE "[ \n]+" " " output "${output}")
if(code EQUAL 0 OR NOT output MATCHES "compatible with requested version \"2.0\"")
    message(FATAL_ERROR "version 2.0 was not refused (${code}):\n${output}")
endif()
