# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Packages of the installed tree: a zip file, and an installer if makensis is found.
# scripts/package.sh makes them, or cpack in the build directory.

set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VENDOR "QvUserLib contributors")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-win64)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/dist)
set(CPACK_PACKAGE_INSTALL_DIRECTORY ${PROJECT_NAME})
set(CPACK_PACKAGE_INSTALL_REGISTRY_KEY ${PROJECT_NAME})
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

# Read first: at the top of a package, but not of a prefix that others install into as well.
foreach(file CHANGELOG.md LICENSE)
    configure_file(${PROJECT_SOURCE_DIR}/${file} ${PROJECT_BINARY_DIR}/package/top/${file} COPYONLY)
endforeach()
configure_file(
    ${PROJECT_BINARY_DIR}/package/pages/README.md ${PROJECT_BINARY_DIR}/package/top/README.md
    COPYONLY
)
set(CPACK_INSTALLED_DIRECTORIES ${PROJECT_BINARY_DIR}/package/top .)

set(CPACK_GENERATOR ZIP)
find_program(QV_MAKENSIS makensis)
if(QV_MAKENSIS)
    list(APPEND CPACK_GENERATOR NSIS)
    # Contains our installer script, which replaces CPack's.
    set(CPACK_MODULE_PATH ${PROJECT_SOURCE_DIR}/packaging/nsis)
    set(CPACK_NSIS_PACKAGE_NAME ${PROJECT_NAME})
    set(CPACK_NSIS_DISPLAY_NAME "${PROJECT_NAME} ${PROJECT_VERSION}")
    set(CPACK_NSIS_COMPRESSOR "/SOLID lzma")
endif()

if(CMAKE_CROSSCOMPILING)
    # The versions of what others made are those of Debian's packages.
    set(CPACK_QV_PYTHON ${Python3_EXECUTABLE})
    set(CPACK_QV_SOURCE_DIR ${PROJECT_SOURCE_DIR})
    set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/QvFinishPackage.cmake)
endif()

include(CPack)
