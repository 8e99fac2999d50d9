# Copyright (c) 2026 QvUserLib contributors
# SPDX-License-Identifier: MIT
#
# Compiles every public header on its own, and all of them in reverse order, in each language level
# that clients may use, with all warnings as errors. Headers must not pull in <windows.h>.

set(umbrellas QvUserLib/QvUserLib.h QvBaseLib/QvBaseLib.h)

# Both umbrella headers include whatever is public; a test makes sure that none is missing there.
set(headers)
foreach(umbrella ${umbrellas})
    get_filename_component(library ${umbrella} NAME_WE)
    if(library STREQUAL "QvBaseLib")
        set(folder ${PROJECT_SOURCE_DIR}/base/include)
    else()
        set(folder ${PROJECT_SOURCE_DIR}/include)
    endif()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${folder}/${umbrella})
    file(STRINGS ${folder}/${umbrella} lines REGEX "^#include \"${library}/")
    list(TRANSFORM lines REPLACE "^#include \"(.*)\"$" "\\1")
    list(APPEND headers ${library}/Export.h ${lines} ${umbrella})

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

set(sources)
set(all)
foreach(header ${headers})
    string(MAKE_C_IDENTIFIER ${header} name)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/public-headers/${name}.cpp)
    file(GENERATE OUTPUT ${source}
         CONTENT "#include \"${header}\"\n#include \"${header}\"\n\n${no_windows}"
    )
    list(APPEND sources ${source})
    string(PREPEND all "#include \"${header}\"\n")
endforeach()
set(source ${CMAKE_CURRENT_BINARY_DIR}/public-headers/AllInReverse.cpp)
file(GENERATE OUTPUT ${source} CONTENT "${all}\n${no_windows}")
list(APPEND sources ${source})

# Drivers are C.
set(c_source ${CMAKE_CURRENT_BINARY_DIR}/public-headers/DeviceParameterRecord.c)
file(GENERATE OUTPUT ${c_source}
     CONTENT "#include \"QvBaseLib/DeviceParameterRecord.h\"\n\n${no_windows}
int RecordSize(void);
int RecordSize(void) { return (int)sizeof(QV_PARAMETER_RECORD); }
"
)

# qv_add_header_check(LANGUAGE STANDARD SOURCE…)
function(qv_add_header_check language standard)
    set(target PublicHeaders${language}${standard})
    string(REPLACE "+" "x" target ${target})
    add_library(${target} OBJECT ${ARGN})
    target_link_libraries(${target} PRIVATE QvUserLib)
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
    qv_add_header_check(C++ ${standard} ${sources})
endforeach()
foreach(standard ${c_standards})
    qv_add_header_check(C ${standard} ${c_source})
endforeach()
