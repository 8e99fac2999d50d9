# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# A project that needs another major version, or a newer one, does not get this one.

include(${CMAKE_CURRENT_LIST_DIR}/Common.cmake)

foreach(version 0.9 1.99 2.0)
    file(REMOVE_RECURSE ${WORK}/other-version)
    execute_process(
        COMMAND
            ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/client -B ${WORK}/other-version -G Ninja
            -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -D CMAKE_FIND_ROOT_PATH=${installed}
            -D CMAKE_PREFIX_PATH=${installed} -D CLIENT_WANTED_VERSION=${version}
        OUTPUT_VARIABLE output
        ERROR_VARIABLE output
        RESULT_VARIABLE code
    )
    string(REGEX REPLACE "[ \n]+" " " output "${output}")
    if(code EQUAL 0 OR NOT output MATCHES "compatible with requested version \"${version}\"")
        message(FATAL_ERROR "version ${version} was not refused (${code}):\n${output}")
    endif()
endforeach()
