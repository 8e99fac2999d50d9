# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Tests of whole programs by their output.

find_package(Python3 REQUIRED COMPONENTS Interpreter)

# qv_set_test_label(NAME LABEL): label "device" is for tests on the sample driver's devices. They
# share the devices, so they run one at a time.
function(qv_set_test_label name label)
    set_tests_properties(${name} PROPERTIES LABELS ${label} TIMEOUT 60)
    if(label STREQUAL "device")
        set_tests_properties(${name} PROPERTIES RESOURCE_LOCK sample-devices)
    endif()
endfunction()

# qv_add_output_test(NAME LABEL EXPECTED PROGRAM [ARGUMENT…]): PROGRAM, run in an empty directory,
# ends with exit code 0 and prints exactly the text of the file EXPECTED.
function(qv_add_output_test name label expected program)
    add_test(NAME ${name}
             COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/tests/compare_output.py ${expected}
                     ${CMAKE_CROSSCOMPILING_EMULATOR} ${program} ${ARGN}
    )
    qv_set_test_label(${name} ${label})
endfunction()
