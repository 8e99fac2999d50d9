# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Run with -P: fails unless qvctl prints for VERB exactly what is in FILE.

execute_process(
    COMMAND ${EMULATOR} ${QVCTL} ${VERB}
    OUTPUT_VARIABLE printed
    RESULT_VARIABLE code
)
file(READ ${FILE} expected)
if(NOT code EQUAL 0 OR NOT printed STREQUAL expected)
    message(FATAL_ERROR "${FILE} is not what the parser takes. Renew it with\n"
                        "  qvctl ${VERB} > ${FILE}")
endif()
