# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# A program is compiled with the flags that pkg-config tells, and with no others.

include(${CMAKE_CURRENT_LIST_DIR}/Common.cmake)

# PKG_CONFIG_LIBDIR is where it looks, and nowhere else.
set(ENV{PKG_CONFIG_LIBDIR} ${installed}/lib/pkgconfig)
file(MAKE_DIRECTORY ${WORK}/found-by-pkg-config)

# build_client(PACKAGE NAME)
function(build_client package name)
    run(${PKG_CONFIG} --exists "${package} >= 1.0")
    run(${PKG_CONFIG} --cflags --libs ${package})
    separate_arguments(flags UNIX_COMMAND "${output}")
    run(${CXX} -O2 ${CMAKE_CURRENT_LIST_DIR}/client/${name}.cpp -o
        ${WORK}/found-by-pkg-config/${name}.exe ${flags}
    )
endfunction()

build_client(QvUserLib Client)
build_client(QvBaseLib BaseClient)
build_client(QvKit KitClient)
expect_output(${WORK}/found-by-pkg-config/Client.exe "client: code 18 for the null parameter")
expect_output(${WORK}/found-by-pkg-config/BaseClient.exe "base client: code 25")
expect_output(${WORK}/found-by-pkg-config/KitClient.exe "kit client: code 2")
