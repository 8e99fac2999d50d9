# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# The script that runs the tool in Wine, through a link to it and in a prefix where nothing runs yet:
# arguments and exit code are handed on as they are, the output ends with the tool, and Wine's server
# does not.

include(${CMAKE_CURRENT_LIST_DIR}/Common.cmake)

set(link "${WORK}/a link")
set(ENV{WINEPREFIX} ${WORK}/wine)
set(ENV{WINEDEBUG} -all)
set(ENV{WINEDLLOVERRIDES} mscoree,mshtml=d)
# The poorest of locales.
set(ENV{LC_ALL} C)
file(REMOVE_RECURSE ${WORK}/wine "${link}")
file(CREATE_LINK ${installed}/bin/qvctl "${link}" SYMBOLIC)

# qvctl(ARGUMENT…): sets `output`, `messages` and `code`.
function(qvctl)
    execute_process(
        COMMAND "${link}" ${ARGN}
        OUTPUT_VARIABLE output
        ERROR_VARIABLE messages
        RESULT_VARIABLE code
        TIMEOUT 60
    )
    set(output "${output}" PARENT_SCOPE)
    set(messages "${messages}" PARENT_SCOPE)
    set(code "${code}" PARENT_SCOPE)
endfunction()

qvctl(--version)
set(version "${code} ${output}")
# Waits for its end, which would come after two seconds.
execute_process(COMMAND wineserver -w RESULT_VARIABLE server TIMEOUT 6)
qvctl(list --interface "{0f6b1f2e-8f0a-4f53-9a64-1c2f7e5d9b30}")
set(nothing "${code}")
# No such files.
set(names "two  blanks" "Größe 日本" "a \"quoted\" C:\\x" "$HOME * 'x'")
qvctl(md5 ${names})
execute_process(COMMAND wineserver -k)
file(REMOVE_RECURSE ${WORK}/wine)

if(NOT version MATCHES "^0 qvctl [0-9.]+\n$")
    message(SEND_ERROR "--version: ${version}")
endif()
if(server EQUAL 0)
    message(SEND_ERROR "Wine's server has ended")
endif()
if(NOT nothing EQUAL 3)
    message(SEND_ERROR "exit code ${nothing} without devices")
endif()
string(REGEX REPLACE " \\(error [^\n]*" "" messages "${messages}")
set(expected "")
foreach(name IN LISTS names)
    string(APPEND expected "qvctl: ${name}: cannot be read\n")
endforeach()
if(NOT code EQUAL 1 OR NOT messages STREQUAL expected)
    message(SEND_ERROR "exit code ${code} and messages\n${messages}instead of\n${expected}")
endif()
