# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Builds the source tree that contains this port.

vcpkg_check_linkage(ONLY_DYNAMIC_LIBRARY)
vcpkg_find_acquire_program(PYTHON3)
get_filename_component(SOURCE_PATH ${CMAKE_CURRENT_LIST_DIR}/../../../.. ABSOLUTE)

vcpkg_cmake_configure(
    SOURCE_PATH ${SOURCE_PATH}
    OPTIONS -DQV_BUILD_TESTS=OFF -DQV_BUILD_EXAMPLES=OFF -DQV_BUILD_DRIVER=OFF
            -DPython3_EXECUTABLE=${PYTHON3}
)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(CONFIG_PATH lib/cmake/QvUserLib)
vcpkg_fixup_pkgconfig()
vcpkg_copy_tools(TOOL_NAMES qvctl AUTO_CLEAN)
# For the installer only.
file(REMOVE ${CURRENT_PACKAGES_DIR}/bin/QvPathEntry.exe ${CURRENT_PACKAGES_DIR}/debug/bin/QvPathEntry.exe)
file(REMOVE_RECURSE ${CURRENT_PACKAGES_DIR}/debug/include ${CURRENT_PACKAGES_DIR}/debug/share)
vcpkg_install_copyright(FILE_LIST ${SOURCE_PATH}/LICENSE)
file(INSTALL ${CMAKE_CURRENT_LIST_DIR}/usage DESTINATION ${CURRENT_PACKAGES_DIR}/share/${PORT})
