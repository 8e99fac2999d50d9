# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# To be included by the scripts beside it, which CTest runs with -P. They are given BUILD, the build
# directory of this project, and WORK, a directory in it that is theirs.

set(installed ${WORK}/installed)

# run(COMMAND…): runs it, sets `output`, and fails when it fails.
function(run)
    execute_process(
        COMMAND ${ARGN}
        OUTPUT_VARIABLE output
        ERROR_VARIABLE output
        RESULT_VARIABLE code
    )
    if(NOT code EQUAL 0)
        message(FATAL_ERROR "failed (${code}): ${ARGN}\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

# expect_output(PROGRAM TEXT): a Windows program prints this with the installed DLLs.
function(expect_output program text)
    set(ENV{WINEPATH} Z:${installed}/bin)
    set(ENV{PATH} "${installed}/bin:$ENV{PATH}")
    run(${EMULATOR} ${program})
    string(STRIP "${output}" output)
    if(NOT output STREQUAL text)
        message(FATAL_ERROR "${program} printed\n${output}\ninstead of\n${text}")
    endif()
endfunction()
