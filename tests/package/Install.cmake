# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Installs into one place and moves everything to another: nothing installed may depend on where.

include(${CMAKE_CURRENT_LIST_DIR}/Common.cmake)

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/first)
file(RENAME ${WORK}/first ${installed})

foreach(
    file
    bin/QvUserLib64.dll
    bin/QvBaseLib64.dll
    bin/qvctl.exe
    bin/log4cxx/default.logcfg
    lib/libQvUserLib64.dll.a
    lib/libQvBaseLib64.dll.a
    lib/libQvKit.a
    include/QvUserLib/QvUserLib.h
    include/QvBaseLib/QvBaseLib.h
    include/QvKit/QvKit.h
    include/QvSample/QvSampleDevice.h
    lib/cmake/QvUserLib/QvUserLibConfig.cmake
    lib/pkgconfig/QvUserLib.pc
    lib/pkgconfig/QvKit.pc
    share/QvUserLib/cmake/x86_64-w64-mingw32.cmake
    share/QvUserLib/default.logcfg
    share/QvUserLib/driver/src/Driver.c
    share/QvUserLib/examples/list-devices.cpp
    share/doc/QvUserLib/README.md
    share/doc/QvUserLib/docs/getting-started.md
    share/bash-completion/completions/qvctl
    share/man/man1/qvctl.1
    share/qvctl/profile.schema.json
    share/qvctl/qvctl.schema.json
    share/licenses/QvUserLib/LICENSE
)
    if(NOT EXISTS ${installed}/${file})
        message(SEND_ERROR "not installed: ${file}")
    endif()
endforeach()

# What was installed must not know the directory that it was made in.
foreach(pattern lib/cmake/*/*.cmake lib/pkgconfig/*.pc)
    file(GLOB files ${installed}/${pattern})
    foreach(file ${files})
        file(READ ${file} text)
        string(FIND "${text}" ${WORK} place)
        if(NOT place EQUAL -1)
            message(SEND_ERROR "${file} names the place that it was installed in")
        endif()
    endforeach()
endforeach()
