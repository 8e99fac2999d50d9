# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# CPack runs this when the files of a package are in place.

execute_process(
    COMMAND ${CPACK_QV_PYTHON} ${CPACK_QV_SOURCE_DIR}/cmake/finish_package.py
            ${CPACK_TEMPORARY_DIRECTORY} ${CPACK_PACKAGE_NAME} ${CPACK_PACKAGE_VERSION}
            ${CPACK_QV_SOURCE_DIR}/third-party/sources.tsv COMMAND_ERROR_IS_FATAL ANY
)
