# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Imports that are bound at run time, when the program needs them.

# qv_delay_import(TARGET DLL_TARGET OBJECTS): delay-loads TARGET's imports from the DLL of
# DLL_TARGET, so that the DLL can be unloaded again. OBJECTS is the object library of TARGET that
# uses them. MSVC's linker does this itself. GNU's cannot, so the tables and thunks are written
# here, in MSVC's layout: <delayimp.h> works with both.
function(qv_delay_import target dll_target objects)
    if(MSVC)
        target_link_libraries(${target} PRIVATE ${dll_target} delayimp)
        target_link_options(
            ${target} PRIVATE /DELAYLOAD:$<TARGET_FILE_NAME:${dll_target}> /DELAY:UNLOAD
        )
        return()
    endif()

    find_package(Python3 REQUIRED COMPONENTS Interpreter)
    set(tool ${PROJECT_SOURCE_DIR}/cmake/delay_import.py)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${dll_target}-delay-import.s)
    set(object ${CMAKE_CURRENT_BINARY_DIR}/${dll_target}-delay-import.obj)
    set(assembler_target)
    if(CMAKE_C_COMPILER_TARGET)
        set(assembler_target --target=${CMAKE_C_COMPILER_TARGET})
    endif()
    add_custom_command(
        OUTPUT ${object}
        COMMAND
            Python3::Interpreter ${tool} generate --nm ${CMAKE_NM}
            --dll $<TARGET_FILE_NAME:${dll_target}> --namespace ${dll_target}
            --import-library $<TARGET_LINKER_FILE:${dll_target}> --output ${source}
            $<TARGET_OBJECTS:${objects}>
        COMMAND ${CMAKE_C_COMPILER} ${assembler_target} -c ${source} -o ${object}
        DEPENDS ${tool} ${objects} $<TARGET_OBJECTS:${objects}>
                $<TARGET_LINKER_FILE:${dll_target}>
        COMMENT "Generating the delay import of ${dll_target}"
        COMMAND_EXPAND_LISTS VERBATIM
    )
    set_source_files_properties(${object} PROPERTIES EXTERNAL_OBJECT ON GENERATED ON)
    target_sources(${target} PRIVATE ${object})
    add_custom_command(
        TARGET ${target}
        POST_BUILD
        COMMAND Python3::Interpreter ${tool} patch $<TARGET_FILE:${target}>
        VERBATIM
    )
endfunction()
