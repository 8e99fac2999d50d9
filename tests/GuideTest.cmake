# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Every block of code in README and the guide is tried: programs are compiled, run, and compared
# with the output shown, sessions are run, excerpts compared with their source.

set(guide_tool ${CMAKE_CURRENT_SOURCE_DIR}/guide_blocks.py)
set(guide_pages
    README.md
    docs/getting-started.md
    docs/parameters.md
    docs/changes.md
    docs/profiles.md
    docs/devices.md
    docs/requests-that-end.md
    docs/writing-a-driver.md
    docs/streaming.md
    docs/errors-and-logs.md
    docs/log4cxx.md
    docs/building-blocks.md
    docs/building.md
    docs/qvctl.md
    docs/troubleshooting.md
    docs/unknown-devices.md
    docs/architecture.md
    docs/abi.md
    docs/reference.md
    CONTRIBUTING.md
    SECURITY.md
    examples/README.md
)
set(guide_output ${CMAKE_CURRENT_BINARY_DIR}/guide)

# qv_add_guide_program(NAME LABEL): a block that became the program NAME.cpp and has to print
# NAME.txt. LABEL as of qv_add_test.
function(qv_add_guide_program name label)
    set(target guide-${name})
    add_executable(${target} ${guide_output}/${name}.cpp)
    target_compile_features(${target} PRIVATE cxx_std_17)
    target_link_libraries(${target} PRIVATE QvKit QvSampleDevice)
    if(NOT MSVC)
        target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
    endif()
    if(TARGET QvRuntimeDlls)
        add_dependencies(${target} QvRuntimeDlls)
    endif()
    qv_add_output_test(
        Guide.${name} ${label} ${guide_output}/${name}.txt $<TARGET_FILE:${target}>
    )
endfunction()

# qv_add_console_test(NAME PAGE NUMBER): the session in block NUMBER of PAGE.
function(qv_add_console_test name page number)
    add_test(NAME Guide.${name}
             COMMAND ${Python3_EXECUTABLE} ${guide_tool} console ${PROJECT_SOURCE_DIR} ${page}
                     ${number} ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} ${CMAKE_CROSSCOMPILING_EMULATOR}
    )
    qv_set_test_label(Guide.${name} device)
endfunction()

add_test(NAME Guide.ExcerptsAreTheSources
         COMMAND ${Python3_EXECUTABLE} ${guide_tool} excerpts ${PROJECT_SOURCE_DIR} ${guide_pages}
)
qv_set_test_label(Guide.ExcerptsAreTheSources unit)

execute_process(
    COMMAND ${Python3_EXECUTABLE} ${guide_tool} generate ${PROJECT_SOURCE_DIR} ${guide_output}
            ${guide_pages}
    COMMAND_ERROR_IS_FATAL ANY
)
list(TRANSFORM guide_pages PREPEND ${PROJECT_SOURCE_DIR}/)
set_property(
    DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${guide_pages} ${guide_tool}
)
include(${guide_output}/blocks.cmake)
