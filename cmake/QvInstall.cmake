# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Installs everything but the programs and libraries, which their own folders install: the files by
# which other projects find the library, sources to start a driver from, documents, licences.

include(CMakePackageConfigHelpers)

# Everything that must be built before it is installed.
add_custom_target(delivered)
add_dependencies(delivered QvBaseLib QvUserLib QvKit qvctl QvPathEntry)
foreach(target QvSampleDriver QvRuntimeDlls)
    if(TARGET ${target})
        add_dependencies(delivered ${target})
    endif()
endforeach()

set(qv_package_dir lib/cmake/QvUserLib)
configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/QvUserLibConfig.cmake.in
    ${PROJECT_BINARY_DIR}/package/QvUserLibConfig.cmake
    INSTALL_DESTINATION ${qv_package_dir}
    NO_SET_AND_CHECK_MACRO
)
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/package/QvUserLibConfigVersion.cmake COMPATIBILITY SameMajorVersion
)
install(FILES ${PROJECT_BINARY_DIR}/package/QvUserLibConfig.cmake
              ${PROJECT_BINARY_DIR}/package/QvUserLibConfigVersion.cmake
        DESTINATION ${qv_package_dir}
)
install(
    EXPORT QvUserLibTargets
    NAMESPACE QvUserLib::
    DESTINATION ${qv_package_dir}
)

foreach(name QvBaseLib QvUserLib QvKit)
    configure_file(
        ${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/package/${name}.pc @ONLY
    )
    install(FILES ${PROJECT_BINARY_DIR}/package/${name}.pc DESTINATION lib/pkgconfig)
endforeach()

# The sample driver as a start for a new driver: a separate project.
install(
    DIRECTORY ${PROJECT_SOURCE_DIR}/driver
    DESTINATION share/QvUserLib
    PATTERN .clang-tidy EXCLUDE
    PATTERN README.md EXCLUDE
)
install(FILES ${PROJECT_SOURCE_DIR}/cmake/QvVersionResource.cmake
              ${PROJECT_SOURCE_DIR}/cmake/VersionInfo.rc.in
        DESTINATION share/QvUserLib/driver/cmake
)
install(
    DIRECTORY ${PROJECT_SOURCE_DIR}/examples
    DESTINATION share/QvUserLib
    PATTERN README.md EXCLUDE
)
install(FILES ${PROJECT_SOURCE_DIR}/cmake/x86_64-w64-mingw32.cmake
        DESTINATION share/QvUserLib/cmake
)

# The default configuration of logging, as a start for a new one. The one in use is beside the
# library.
install(FILES ${PROJECT_SOURCE_DIR}/config/default.logcfg DESTINATION share/QvUserLib)

# The pages, with links that fit the installed tree, and the reference if it was made before.
set(qv_pages
    README.md
    CHANGELOG.md
    CONTRIBUTING.md
    SECURITY.md
    docs/README.md
    docs/abi.md
    docs/architecture.md
    docs/building-blocks.md
    docs/building.md
    docs/changes.md
    docs/devices.md
    docs/errors-and-logs.md
    docs/getting-started.md
    docs/log4cxx.md
    docs/parameters.md
    docs/profiles.md
    docs/performance.md
    docs/qvctl.md
    docs/reliability.md
    docs/requests-that-end.md
    docs/streaming.md
    docs/troubleshooting.md
    docs/unknown-devices.md
    docs/writing-a-driver.md
    driver/README.md
    examples/README.md
    packaging/README.md
)
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(qv_page_tool ${PROJECT_SOURCE_DIR}/cmake/install_pages.py)
execute_process(
    COMMAND ${Python3_EXECUTABLE} ${qv_page_tool} ${PROJECT_SOURCE_DIR}
            ${PROJECT_BINARY_DIR}/package/pages ${qv_pages} COMMAND_ERROR_IS_FATAL ANY
)
list(TRANSFORM qv_pages PREPEND ${PROJECT_SOURCE_DIR}/)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${qv_pages} ${qv_page_tool})
install(DIRECTORY ${PROJECT_BINARY_DIR}/package/pages/share DESTINATION .)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/build/reference/html
        DESTINATION share/doc/QvUserLib/reference OPTIONAL
)

# qv_install_license(NAME FILE): installs the licence of a part of the package.
function(qv_install_license name file)
    install(FILES ${file} DESTINATION share/licenses/${name} OPTIONAL)
endfunction()

qv_install_license(QvUserLib ${PROJECT_SOURCE_DIR}/LICENSE)
if(CMAKE_CROSSCOMPILING)
    qv_install_license(gcc-runtime /usr/share/doc/gcc-mingw-w64-base/copyright)
    # That file refers to this one.
    qv_install_license(gcc-runtime /usr/share/common-licenses/GPL-3)
    qv_install_license(mingw-w64-runtime /usr/share/doc/mingw-w64-common/copyright)
    qv_install_license(CLI11 /usr/share/doc/libcli11-dev/copyright)
    qv_install_license(nlohmann-json /usr/share/doc/nlohmann-json3-dev/copyright)
endif()
