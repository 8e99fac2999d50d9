# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# What is installed besides the programs and libraries, which their own folders install: the files
# by which other projects find the library, sources to start a driver from, documents, licences.

include(CMakePackageConfigHelpers)

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

foreach(name QvBaseLib QvUserLib)
    configure_file(
        ${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/package/${name}.pc @ONLY
    )
    install(FILES ${PROJECT_BINARY_DIR}/package/${name}.pc DESTINATION lib/pkgconfig)
endforeach()

# The sample driver as a start for one's own, with the INF as it is used.
install(
    DIRECTORY ${PROJECT_SOURCE_DIR}/driver
    DESTINATION share/QvUserLib
    PATTERN .clang-tidy EXCLUDE
)
if(QV_BUILD_DRIVER)
    install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/QvSampleDriver.inf
            DESTINATION share/QvUserLib/driver
    )
endif()

# The default configuration of logging, to start one's own from; the one that is used lies beside
# the library.
install(FILES ${PROJECT_SOURCE_DIR}/config/default.logcfg DESTINATION share/QvUserLib OPTIONAL)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION share/QvUserLib OPTIONAL)

install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
        DESTINATION share/doc/QvUserLib
)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION share/doc/QvUserLib OPTIONAL)

# qv_install_license(NAME FILE): the licence of something that is part of what is installed.
function(qv_install_license name file)
    install(FILES ${file} DESTINATION share/licenses/${name} OPTIONAL)
endfunction()

qv_install_license(QvUserLib ${PROJECT_SOURCE_DIR}/LICENSE)
if(CMAKE_CROSSCOMPILING)
    qv_install_license(gcc-runtime /usr/share/doc/gcc-mingw-w64-base/copyright)
    qv_install_license(mingw-w64-runtime /usr/share/doc/mingw-w64-common/copyright)
    qv_install_license(CLI11 /usr/share/doc/libcli11-dev/copyright)
    qv_install_license(nlohmann-json /usr/share/doc/nlohmann-json3-dev/copyright)
endif()
