# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Third-party packages. Nothing is downloaded here: they come from Debian's header and source
# packages when cross-building, and from find_package (for example with vcpkg) on Windows.

# qv_header_package(TARGET FOLDER DEBIAN_PACKAGE): an interface target for a header-only package.
# Only its folder is linked into the build tree, since -I/usr/include would mix in Linux headers.
function(qv_header_package target folder debian_package)
    if(TARGET ${target})
        return()
    endif()
    if(NOT EXISTS /usr/include/${folder})
        message(FATAL_ERROR "${target} is missing: install Debian's ${debian_package}, or run "
                            "scripts/install-packages.sh")
    endif()
    set(root ${CMAKE_BINARY_DIR}/packages/${debian_package})
    file(MAKE_DIRECTORY ${root})
    file(CREATE_LINK /usr/include/${folder} ${root}/${folder} SYMBOLIC)
    add_library(${target} INTERFACE IMPORTED GLOBAL)
    target_include_directories(${target} SYSTEM INTERFACE ${root})
endfunction()

# The target log4cxx, for Logger, if log4cxx is found. The one made by scripts/build-log4cxx.sh is
# looked for first.
set(QV_LOG4CXX_ROOT ${PROJECT_SOURCE_DIR}/build/log4cxx/prefix
    CACHE PATH "Where log4cxx for Windows is installed"
)
macro(qv_find_log4cxx)
    if(EXISTS ${QV_LOG4CXX_ROOT}/bin/log4cxx.dll)
        add_library(log4cxx SHARED IMPORTED GLOBAL)
        set_target_properties(
            log4cxx
            PROPERTIES IMPORTED_LOCATION ${QV_LOG4CXX_ROOT}/bin/log4cxx.dll
                       IMPORTED_IMPLIB ${QV_LOG4CXX_ROOT}/lib/liblog4cxx.dll.a
                       INTERFACE_INCLUDE_DIRECTORIES ${QV_LOG4CXX_ROOT}/include
        )
    elseif(NOT CMAKE_CROSSCOMPILING)
        find_package(log4cxx CONFIG QUIET GLOBAL)
    endif()
    if(NOT TARGET log4cxx)
        message(STATUS "log4cxx is not there: loggers will stay empty")
    endif()
endmacro()

# JSON, for the kit, which no public header shows, and for qvctl.
macro(qv_find_json)
    if(NOT CMAKE_CROSSCOMPILING)
        find_package(nlohmann_json CONFIG REQUIRED)
    endif()
    qv_header_package(nlohmann_json::nlohmann_json nlohmann nlohmann-json3-dev)
endmacro()

# Command-line parsing and JSON, for qvctl.
macro(qv_find_tool_packages)
    if(NOT CMAKE_CROSSCOMPILING)
        find_package(CLI11 CONFIG REQUIRED)
    endif()
    qv_header_package(CLI11::CLI11 CLI libcli11-dev)
    qv_find_json()
endmacro()

# GoogleTest and GoogleMock, for the tests.
macro(qv_find_test_packages)
    if(NOT CMAKE_CROSSCOMPILING)
        find_package(GTest CONFIG REQUIRED)
    elseif(NOT EXISTS /usr/src/googletest/CMakeLists.txt)
        message(FATAL_ERROR "GoogleTest's source is missing: install Debian's googletest, or run "
                            "scripts/install-packages.sh")
    else()
        set(INSTALL_GTEST OFF)
        set(CMAKE_POLICY_DEFAULT_CMP0077 NEW)
        add_subdirectory(
            /usr/src/googletest ${CMAKE_BINARY_DIR}/packages/googletest EXCLUDE_FROM_ALL SYSTEM
        )
        if(NOT TARGET GTest::gmock_main)
            add_library(GTest::gmock_main ALIAS gmock_main)
            add_library(GTest::gmock ALIAS gmock)
        endif()
    endif()
endmacro()

# Google Benchmark, from the source that scripts/bench.sh fetches, and spdlog with the fmt library,
# for the benchmarks.
macro(qv_find_bench_packages)
    if(NOT CMAKE_CROSSCOMPILING)
        find_package(benchmark CONFIG REQUIRED)
        find_package(spdlog CONFIG REQUIRED)
    elseif(NOT EXISTS ${QV_BENCHMARK_SOURCE}/CMakeLists.txt)
        message(FATAL_ERROR "Google Benchmark's source is missing: run scripts/bench.sh, which "
                            "fetches it, or say where it is with QV_BENCHMARK_SOURCE")
    else()
        set(BENCHMARK_ENABLE_TESTING OFF)
        set(BENCHMARK_ENABLE_INSTALL OFF)
        set(BENCHMARK_ENABLE_WERROR OFF)
        # Its checks run programs, which they cannot do when cross-compiling.
        set(HAVE_STD_REGEX 1)
        set(HAVE_STEADY_CLOCK 1)
        set(CMAKE_POLICY_DEFAULT_CMP0077 NEW)
        add_subdirectory(
            ${QV_BENCHMARK_SOURCE} ${CMAKE_BINARY_DIR}/packages/benchmark EXCLUDE_FROM_ALL SYSTEM
        )
        qv_header_package(fmt::fmt-header-only fmt libfmt-dev)
        qv_header_package(spdlog::spdlog_header_only spdlog libspdlog-dev)
        target_link_libraries(spdlog::spdlog_header_only INTERFACE fmt::fmt-header-only)
        target_compile_definitions(
            spdlog::spdlog_header_only INTERFACE SPDLOG_FMT_EXTERNAL FMT_HEADER_ONLY
        )
    endif()
endmacro()
