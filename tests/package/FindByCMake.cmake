# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# A project of its own finds the installed library with find_package.

include(${CMAKE_CURRENT_LIST_DIR}/Common.cmake)

file(REMOVE_RECURSE ${WORK}/client)
run(
    ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/client -B ${WORK}/client -G Ninja
    -D CMAKE_BUILD_TYPE=Release -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
    -D CMAKE_FIND_ROOT_PATH=${installed} -D CMAKE_PREFIX_PATH=${installed}
    -D CMAKE_RUNTIME_OUTPUT_DIRECTORY=${WORK}/found-by-cmake
)
run(${CMAKE_COMMAND} --build ${WORK}/client)
expect_output(${WORK}/found-by-cmake/Client.exe "client: code 18 for the null parameter")
expect_output(${WORK}/found-by-cmake/BaseClient.exe "base client: code 25")
expect_output(${WORK}/found-by-cmake/KitClient.exe "kit client: code 2")
