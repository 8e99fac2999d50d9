# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# How our targets are built: language level, warnings, hardening, runtime DLLs.

include(QvVersionResource)

# qv_configure_compilation(TARGET): how all our code is compiled. Everything here is private to the
# target; clients keep their own flags.
function(qv_configure_compilation target)
    set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden)
    target_compile_features(${target} PRIVATE cxx_std_17)
    target_compile_definitions(${target} PRIVATE _WIN32_WINNT=0x0601 WINVER=0x0601)

    if(MSVC)
        target_compile_options(${target} PRIVATE /W4 /utf-8 $<$<BOOL:${QV_WARNINGS_AS_ERRORS}>:/WX>)
    else()
        target_compile_options(
            ${target}
            PRIVATE -Wall -Wextra $<$<BOOL:${QV_WARNINGS_AS_ERRORS}>:-Werror>
                    -fstack-protector-strong
                    # The compiler looks for memory to free only when it has a GB: a twelfth faster.
                    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:--param=ggc-min-heapsize=1000000>
        )
        target_compile_definitions(
            ${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>
        )
    endif()
    qv_instrument_target(${target})
endfunction()

# qv_precompile_headers(TARGET HEADER…): parses these headers and those that most of our sources
# include only once. Sources include all that they use nevertheless: the presets mingw-ubsan and
# mingw-clang compile them without this.
function(qv_precompile_headers target)
    target_precompile_headers(
        ${target} PRIVATE ${PROJECT_SOURCE_DIR}/base/src/WindowsApi.h ${ARGN} <algorithm> <chrono>
        <condition_variable> <cstdint> <functional> <map> <memory> <mutex> <optional> <string>
        <string_view> <thread> <vector>
    )
endfunction()

# qv_link_image(TARGET): how GNU and LLVM linkers lay out our images. In a build that is delivered
# the C library's debug information, half of a small DLL, is left out, and sections begin at page
# boundaries in the file, so that Wine maps them instead of reading them. The time of linking is left
# out, so that the same sources give the same bytes.
function(qv_link_image target)
    target_link_options(
        ${target}
        PRIVATE -Wl,--dynamicbase -Wl,--nxcompat -Wl,--high-entropy-va -Wl,--no-insert-timestamp
                $<$<NOT:$<CONFIG:Debug,RelWithDebInfo>>:-Wl,--strip-debug,--file-alignment=4096>
    )
endfunction()

# qv_configure_target(TARGET DESCRIPTION): what all our DLLs and programs share. Static libraries only
# need qv_configure_compilation.
function(qv_configure_target target description)
    qv_configure_compilation(${target})
    if(MSVC)
        target_link_options(${target} PRIVATE /DYNAMICBASE /NXCOMPAT /HIGHENTROPYVA)
    else()
        target_link_options(${target} PRIVATE -fstack-protector-strong)
        qv_link_image(${target})
    endif()

    qv_add_version_resource(${target} "${description}")
    if(TARGET QvRuntimeDlls)
        add_dependencies(${target} QvRuntimeDlls)
    endif()
endfunction()

# qv_instrument_target(TARGET): what the presets for tests add to the code. Undefined behaviour ends
# the program with an illegal instruction, which needs no runtime library and works in the kernel
# too. Calls on null objects are part of the interface and not trapped.
function(qv_instrument_target target)
    if(QV_SANITIZE_UNDEFINED)
        target_compile_options(
            ${target}
            PRIVATE $<$<COMPILE_LANGUAGE:C,CXX>:-fsanitize=undefined
                    -fsanitize=float-cast-overflow,float-divide-by-zero
                    -fno-sanitize=null
                    -fsanitize-undefined-trap-on-error>
        )
    endif()
    get_target_property(type ${target} TYPE)
    set(static_libraries QvKit QvctlParts)
    if(QV_COVERAGE AND (type MATCHES "^(SHARED|OBJECT)_LIBRARY$" OR target IN_LIST static_libraries))
        # Atomically: several threads count.
        target_compile_options(
            ${target} PRIVATE $<$<COMPILE_LANGUAGE:C,CXX>:--coverage
                              -fprofile-update=atomic>
        )
        # Programs link the counters of a static library.
        target_link_options(${target} PUBLIC --coverage)
    endif()
endfunction()

# qv_add_runtime_dlls(): copies the compiler's runtime DLLs, stripped, beside our programs and
# installs them. CMake's own list of runtime DLLs lacks them. MSVC's come with Windows or its
# redistributable package.
function(qv_add_runtime_dlls)
    if(NOT MINGW)
        return()
    endif()
    # Code from another compiler may use GCC's runtime.
    set(compiler ${CMAKE_CXX_COMPILER})
    if(QV_RUNTIME_COMPILER)
        set(compiler ${QV_RUNTIME_COMPILER})
    endif()
    set(copies)
    foreach(name libgcc_s_seh-1.dll libssp-0.dll libstdc++-6.dll libwinpthread-1.dll)
        execute_process(
            COMMAND ${compiler} -print-file-name=${name}
            OUTPUT_VARIABLE file
            OUTPUT_STRIP_TRAILING_WHITESPACE
        )
        if(NOT IS_ABSOLUTE "${file}")
            # The place of a MinGW installation on Windows.
            get_filename_component(folder ${CMAKE_CXX_COMPILER} DIRECTORY)
            set(file ${folder}/${name})
        endif()
        if(NOT EXISTS "${file}")
            continue()
        endif()
        set(copy ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name})
        add_custom_command(
            OUTPUT ${copy}
            COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}
            # Otherwise it writes the present time into the copy.
            COMMAND ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0 ${CMAKE_STRIP} -o ${copy} ${file}
            DEPENDS ${file}
            COMMENT "Copying ${name}"
            VERBATIM
        )
        list(APPEND copies ${copy})
    endforeach()
    add_custom_target(QvRuntimeDlls ALL DEPENDS ${copies})
    install(FILES ${copies} DESTINATION ${CMAKE_INSTALL_BINDIR})
endfunction()
