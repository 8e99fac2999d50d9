# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# The unit tests on the guarded heap. It has to reach all allocations, so these programs are static
# and hold the objects of both libraries, compiled for that. The tests' own objects are the same as
# in the programs that use the DLLs.

# qv_add_guarded_objects(DLL NAME): the library DLLGuarded of the DLL's sources, with an import table
# that tests reach as qv_NAME_slots.
function(qv_add_guarded_objects dll name)
    get_target_property(folder ${dll} SOURCE_DIR)
    get_target_property(sources ${dll} SOURCES)
    list(FILTER sources INCLUDE REGEX "\\.cpp$")
    # Without log4cxx, which is a DLL that is loaded late.
    if(dll STREQUAL "QvUserLib")
        list(APPEND sources Log4cxxAbsent.cpp)
        list(REMOVE_DUPLICATES sources)
    endif()
    list(TRANSFORM sources PREPEND ${folder}/)

    set(static ${dll}Static)
    add_library(${static} STATIC ${sources})
    target_compile_definitions(
        ${static} PRIVATE QVUSERLIB_STATIC QVBASELIB_STATIC _GLIBCXX_ASSERTIONS
    )
    target_include_directories(
        ${static} PRIVATE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/base/include
                          ${PROJECT_SOURCE_DIR}/base/src
    )
    # A block may end at any byte, and so begins at any that its size admits.
    qv_configure_compilation(${static})
    target_compile_options(${static} PRIVATE -O2 -fno-delete-null-pointer-checks -faligned-new=8)
    if(QV_SANITIZE_UNDEFINED)
        target_compile_options(${static} PRIVATE -fno-sanitize=alignment)
    endif()

    set(archive ${CMAKE_CURRENT_BINARY_DIR}/lib${dll}.a)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${dll}Slots.cpp)
    set(script ${PROJECT_SOURCE_DIR}/tests/guarded/MakeSlots.cmake)
    add_custom_command(
        OUTPUT ${archive} ${source}
        COMMAND ${CMAKE_COMMAND} -D NM=${CMAKE_NM} -D OBJCOPY=${CMAKE_OBJCOPY} -D NAME=${name} -D
                ARCHIVE=$<TARGET_FILE:${static}> -D OUTPUT_ARCHIVE=${archive} -D
                OUTPUT_SOURCE=${source} -P ${script}
        DEPENDS ${static} ${script}
        COMMENT "Giving the objects of ${dll} an import table"
        VERBATIM
    )
    add_library(${dll}Guarded STATIC ${source})
    target_include_directories(${dll}Guarded PRIVATE ${PROJECT_SOURCE_DIR}/tests/guarded)
    target_link_libraries(${dll}Guarded INTERFACE ${archive})
endfunction()

qv_add_guarded_objects(QvBaseLib base)
qv_add_guarded_objects(QvUserLib user)

add_library(QvGuardedHeap STATIC GuardedHeap.cpp)
target_include_directories(
    QvGuardedHeap PUBLIC ${CMAKE_CURRENT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests/support
    PRIVATE ${PROJECT_SOURCE_DIR}/base/src
)
# The compiler must not take these functions for the ones that it knows.
target_compile_options(QvGuardedHeap PRIVATE -fno-builtin)
qv_configure_compilation(QvGuardedHeap)

add_library(QvGuardedMain STATIC GuardedMain.cpp)
target_include_directories(
    QvGuardedMain PRIVATE ${PROJECT_SOURCE_DIR}/base/src ${PROJECT_SOURCE_DIR}/include
                          ${PROJECT_SOURCE_DIR}/base/include
)
target_link_libraries(QvGuardedMain PUBLIC QvGuardedHeap GTest::gmock)
qv_configure_compilation(QvGuardedMain)

# What the tests link beside the libraries, without the DLLs that CMake would add. The libraries need
# each other, so all of them are searched until nothing is missing.
set(qv_guarded_files
    -static
    -Wl,--start-group
    $<TARGET_FILE:QvGuardedMain>
    $<TARGET_FILE:QvTestSupport>
    $<TARGET_FILE:QvGuardedHeap>
    $<TARGET_FILE:QvUserLibGuarded>
    $<TARGET_FILE:QvBaseLibGuarded>
    ${CMAKE_CURRENT_BINARY_DIR}/libQvUserLib.a
    ${CMAKE_CURRENT_BINARY_DIR}/libQvBaseLib.a
)

# qv_link_guarded(PROGRAM [LIBRARY…])
function(qv_link_guarded program)
    add_dependencies(
        ${program} QvGuardedMain QvTestSupport QvGuardedHeap QvUserLibGuarded QvBaseLibGuarded
    )
    set(files ${qv_guarded_files})
    foreach(library ${ARGN})
        list(APPEND files $<TARGET_FILE:${library}>)
        add_dependencies(${program} ${library})
    endforeach()
    target_link_libraries(
        ${program} PRIVATE ${files} -Wl,--end-group GTest::gmock newdev ole32 setupapi shell32 version
                           version
    )
    target_link_options(${program} PRIVATE -s -fstack-protector-strong)
endfunction()

# qv_add_guarded_test(NAME [LIBRARY…]): links the objects of the test program NAME into GuardedNAME.
# All its cases run in one process, which costs the least time.
function(qv_add_guarded_test name)
    set(program Guarded${name})
    add_executable(${program} $<TARGET_OBJECTS:${name}>)
    add_dependencies(QvGuardedTests ${program})
    set_target_properties(${program} PROPERTIES LINKER_LANGUAGE CXX)
    qv_link_guarded(${program} ${ARGN})
    add_test(NAME Guarded.${name} COMMAND ${program} CONFIGURATIONS Guarded)
    set_tests_properties(Guarded.${name} PROPERTIES LABELS guarded TIMEOUT 600)
endfunction()
