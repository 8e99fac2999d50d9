# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# What is installed serves other projects: a separate client is built against it in both ways.

find_program(QV_PKG_CONFIG NAMES pkgconf pkg-config)

# What pkg-config tells is all that a compiler of its target needs to know. Clang has to be told of
# more, so that GCC builds the client of its DLLs.
set(qv_client_compiler ${CMAKE_CXX_COMPILER})
if(QV_RUNTIME_COMPILER)
    set(qv_client_compiler ${QV_RUNTIME_COMPILER})
endif()

# qv_add_package_test(NAME SCRIPT)
function(qv_add_package_test name script)
    add_test(
        NAME PackageTest.${name}
        COMMAND
            ${CMAKE_COMMAND} -D BUILD=${PROJECT_BINARY_DIR}
            -D WORK=${PROJECT_BINARY_DIR}/tests/package -D TOOLCHAIN=${CMAKE_TOOLCHAIN_FILE} -D
            CXX=${qv_client_compiler} -D PKG_CONFIG=${QV_PKG_CONFIG} -D
            PYTHON=${Python3_EXECUTABLE} -D EMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR} -P
            ${PROJECT_SOURCE_DIR}/tests/package/${script}.cmake
    )
    set_tests_properties(
        PackageTest.${name} PROPERTIES LABELS package TIMEOUT 120 FIXTURES_REQUIRED installed
    )
endfunction()

qv_add_package_test(InstallsInAnyPlace Install)
set_tests_properties(
    PackageTest.InstallsInAnyPlace PROPERTIES FIXTURES_REQUIRED "" FIXTURES_SETUP installed
)
qv_add_package_test(IsFoundByCMake FindByCMake)
qv_add_package_test(IsNotFoundForAnotherVersion RefuseOtherVersion)
if(QV_PKG_CONFIG)
    qv_add_package_test(IsFoundByPkgConfig FindByPkgConfig)
endif()
qv_add_package_test(PagesHaveNoBrokenLinks Links)
if(CMAKE_CROSSCOMPILING)
    qv_add_package_test(QvctlRunsInWineAsItIsCalled Wrapper)
endif()
if(CMAKE_CROSSCOMPILING AND QV_PKG_CONFIG)
    qv_add_package_test(GuideLeadsFromTheZipFileToAClientAndADriver FollowGuide)
    set_tests_properties(
        PackageTest.GuideLeadsFromTheZipFileToAClientAndADriver
        PROPERTIES FIXTURES_REQUIRED "" TIMEOUT 600
    )
endif()
