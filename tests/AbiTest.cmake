# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# The binary interface is the one of the tables in tests/abi; scripts/update-abi.sh writes them anew.

# qv_add_abi_test(NAME WHAT [OPTION…]): compares one table.
function(qv_add_abi_test name what)
    add_test(NAME Abi.${name}
             COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/abi/abi.py check ${what}
                     ${PROJECT_SOURCE_DIR} ${ARGN}
    )
    qv_set_test_label(Abi.${name} unit)
    set_tests_properties(Abi.${name} PROPERTIES SKIP_RETURN_CODE 77)
endfunction()

qv_add_abi_test(ClassesAreLaidOutForMsvcAsInTheTable msvc)
qv_add_abi_test(FunctionsHaveTheNamesOfTheTableForMsvc names)
qv_add_abi_test(EnumeratorsAndNumbersAreThoseOfTheTable values)
# The DLLs that are delivered are GCC's.
if(MINGW AND CMAKE_CROSSCOMPILING AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    qv_add_abi_test(
        ClassesAreLaidOutForGccAsInTheTable itanium --cxx ${CMAKE_CXX_COMPILER}
    )
    qv_add_abi_test(
        ExportsAreThoseOfTheTable exports --objdump ${CMAKE_OBJDUMP} --dlls
        $<TARGET_FILE:QvBaseLib> $<TARGET_FILE:QvUserLib>
    )
    # Which inline functions are called in a DLL depends on the optimisation.
    if(NOT QV_SANITIZE_UNDEFINED AND NOT QV_COVERAGE)
        qv_add_abi_test(
            ImportsFromTheBaseLibraryAreThoseOfTheTable imports --objdump ${CMAKE_OBJDUMP} --dlls
            $<TARGET_FILE:QvBaseLib> $<TARGET_FILE:QvUserLib>
        )
    endif()
endif()
