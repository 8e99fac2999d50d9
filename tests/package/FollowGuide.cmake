# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# A new user has the zip file, an empty directory, and the guide that is in the zip: everything that
# the guide says is done there, to a running client and a driver of the user's own, in a Wine prefix
# of its own.
# ZIP names the zip file; without it one is made of what was built.

include(${CMAKE_CURRENT_LIST_DIR}/Common.cmake)

set(user ${WORK}/user)
set(pages getting-started.md writing-a-driver.md)
file(REMOVE_RECURSE ${user} ${WORK}/read)
file(MAKE_DIRECTORY ${user} ${WORK}/read)

if(NOT ZIP)
    run(cpack --config ${BUILD}/CPackConfig.cmake -G ZIP -B ${WORK}/read)
    file(GLOB ZIP ${WORK}/read/QvUserLib-*-win64.zip)
endif()
file(COPY ${ZIP} DESTINATION ${user})
file(ARCHIVE_EXTRACT INPUT ${ZIP} DESTINATION ${WORK}/read)
file(GLOB read ${WORK}/read/*-win64)
foreach(file README.md CHANGELOG.md LICENSE)
    if(NOT EXISTS ${read}/${file})
        message(FATAL_ERROR "not at the top of the zip file: ${file}")
    endif()
endforeach()
run(${PYTHON} ${CMAKE_CURRENT_LIST_DIR}/../../scripts/check_docs.py --links-only ${read}/README.md)
run(${PYTHON} ${CMAKE_CURRENT_LIST_DIR}/check_bill.py ${read})
list(TRANSFORM pages PREPEND ${read}/share/doc/QvUserLib/docs/)

execute_process(
    COMMAND ${PYTHON} ${CMAKE_CURRENT_LIST_DIR}/../guide_blocks.py follow ${user} ${pages}
    OUTPUT_VARIABLE output
    ERROR_VARIABLE output
    RESULT_VARIABLE code
)
set(ENV{WINEPREFIX} ${user}/wine)
execute_process(COMMAND wineserver -k OUTPUT_QUIET ERROR_QUIET)
if(NOT code EQUAL 0)
    message(FATAL_ERROR "${output}")
endif()
# Some ten thousand files of Wine.
file(REMOVE_RECURSE ${user} ${WORK}/read)
