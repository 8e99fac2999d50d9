# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Compiles every public header on its own in the oldest language level, and all of them in reverse
# order in each level that clients may use, with all warnings as errors. Headers must not pull in
# <windows.h>.

# Each is the umbrella header of a library: it includes whatever is public, and a test makes sure that
# none is missing there.
set(base_umbrella QvBaseLib/QvBaseLib.h)
set(base_folder ${PROJECT_SOURCE_DIR}/base/include)
set(user_umbrella QvUserLib/QvUserLib.h)
set(user_folder ${PROJECT_SOURCE_DIR}/include)
set(kit_umbrella QvKit/QvKit.h)
set(kit_folder ${PROJECT_SOURCE_DIR}/kit/include)

foreach(name base user kit)
    set(umbrella ${${name}_umbrella})
    set(folder ${${name}_folder})
    get_filename_component(library ${umbrella} NAME_WE)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${folder}/${umbrella})
    file(STRINGS ${folder}/${umbrella} lines REGEX "^#include \"${library}/")
    list(TRANSFORM lines REPLACE "^#include \"(.*)\"$" "\\1")
    set(${name}_headers ${lines} ${umbrella})
    if(EXISTS ${folder}/${library}/Export.h)
        list(PREPEND ${name}_headers ${library}/Export.h)
    endif()

    add_test(
        NAME PublicHeadersTest.${library}IncludesEveryHeader
        COMMAND ${CMAKE_COMMAND} -D FOLDER=${folder} -D UMBRELLA=${umbrella} -P
                ${CMAKE_CURRENT_SOURCE_DIR}/CheckUmbrellaHeader.cmake
    )
    set_tests_properties(
        PublicHeadersTest.${library}IncludesEveryHeader PROPERTIES LABELS unit TIMEOUT 60
    )
endforeach()

set(no_windows
    "#if defined(_WINDOWS_) || defined(_MINWINDEF_) || defined(_WINDEF_) || defined(_WINNT_)
#error a public header includes <windows.h>
#endif
"
)

# qv_add_header_sources(OUTPUT HEADER…): makes sources that include each of the headers alone, named
# in OUTPUT_alone, and one that includes all in reverse, named in OUTPUT_reversed.
function(qv_add_header_sources output)
    set(sources)
    set(all)
    foreach(header ${ARGN})
        string(MAKE_C_IDENTIFIER ${header} name)
        set(source ${CMAKE_CURRENT_BINARY_DIR}/public-headers/${name}.cpp)
        file(GENERATE OUTPUT ${source}
             CONTENT "#include \"${header}\"\n#include \"${header}\"\n\n${no_windows}"
        )
        list(APPEND sources ${source})
        string(PREPEND all "#include \"${header}\"\n")
    endforeach()
    set(source ${CMAKE_CURRENT_BINARY_DIR}/public-headers/${output}InReverse.cpp)
    file(GENERATE OUTPUT ${source} CONTENT "${all}\n${no_windows}")
    set(${output}_alone ${sources} PARENT_SCOPE)
    set(${output}_reversed ${source} PARENT_SCOPE)
endfunction()

qv_add_header_sources(library ${base_headers} ${user_headers})
qv_add_header_sources(kit ${kit_headers})

# Drivers are C.
set(c_source ${CMAKE_CURRENT_BINARY_DIR}/public-headers/DeviceParameterRecord.c)
file(GENERATE OUTPUT ${c_source}
     CONTENT "#include \"QvBaseLib/DeviceParameterRecord.h\"\n\n${no_windows}
int RecordSize(void);
int RecordSize(void) { return (int)sizeof(QV_PARAMETER_RECORD); }
"
)

# qv_add_header_check(LIBRARY LANGUAGE STANDARD SOURCE…)
function(qv_add_header_check library language standard)
    set(target PublicHeadersOf${library}${language}${standard})
    string(REPLACE "+" "x" target ${target})
    add_library(${target} OBJECT ${ARGN})
    target_link_libraries(${target} PRIVATE ${library})
    string(REPLACE "C++" "CXX" property ${language})
    set_target_properties(
        ${target} PROPERTIES ${property}_STANDARD ${standard} ${property}_STANDARD_REQUIRED ON
                             ${property}_EXTENSIONS OFF
    )
    if(MSVC)
        target_compile_options(${target} PRIVATE /W4 /WX /permissive-)
    else()
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Werror)
    endif()
endfunction()

if(MSVC)
    # It has no switch for C++11 and C99.
    set(cxx_standards 14 17 20)
    set(c_standards 11)
else()
    set(cxx_standards 11 14 17 20)
    set(c_standards 99 11)
endif()
foreach(standard ${cxx_standards})
    qv_add_header_check(QvUserLib C++ ${standard} ${library_alone} ${library_reversed})
    set(library_alone)
endforeach()
foreach(standard 17 20)
    qv_add_header_check(QvKit C++ ${standard} ${kit_alone} ${kit_reversed})
    set(kit_alone)
endforeach()
foreach(standard ${c_standards})
    qv_add_header_check(QvUserLib C ${standard} ${c_source})
endforeach()
