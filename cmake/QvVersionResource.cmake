# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# The version that Windows shows for a file. Installed with the sample driver, which uses it too.

# qv_add_version_resource(TARGET DESCRIPTION): a VERSIONINFO resource with the project's version.
# The file name in it comes from the target's OUTPUT_NAME, which must be set before.
function(qv_add_version_resource target description)
    get_target_property(type ${target} TYPE)
    get_target_property(name ${target} OUTPUT_NAME)
    if(NOT name)
        set(name ${target})
    endif()
    get_target_property(suffix ${target} SUFFIX)
    if(suffix)
        set(QV_FILE_NAME ${name}${suffix})
        set(QV_FILE_TYPE VFT_DRV)
    elseif(type STREQUAL "EXECUTABLE")
        set(QV_FILE_NAME ${name}.exe)
        set(QV_FILE_TYPE VFT_APP)
    else()
        set(QV_FILE_NAME ${name}.dll)
        set(QV_FILE_TYPE VFT_DLL)
    endif()
    set(QV_FILE_DESCRIPTION "${description}")
    set(resource ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
    configure_file(${CMAKE_CURRENT_FUNCTION_LIST_DIR}/VersionInfo.rc.in ${resource} @ONLY)
    target_sources(${target} PRIVATE ${resource})
endfunction()
