# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Fails unless the umbrella header includes every header beside it, but for the export macros, which
# come with all of them.
#
# cmake -D FOLDER=… -D UMBRELLA=QvUserLib/QvUserLib.h -P CheckUmbrellaHeader.cmake

get_filename_component(library ${UMBRELLA} DIRECTORY)
file(STRINGS ${FOLDER}/${UMBRELLA} included REGEX "^#include \"")
list(TRANSFORM included REPLACE "^#include \"(.*)\"$" "\\1")

file(GLOB headers RELATIVE ${FOLDER} ${FOLDER}/${library}/*.h)
list(REMOVE_ITEM headers ${UMBRELLA} ${library}/Export.h)
if(NOT headers)
    message(FATAL_ERROR "there are no headers in ${FOLDER}/${library}")
endif()
list(REMOVE_ITEM headers ${included})
if(headers)
    message(FATAL_ERROR "${UMBRELLA} does not include: ${headers}")
endif()
