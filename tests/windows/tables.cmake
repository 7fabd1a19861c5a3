# Holds the export and import tables of a built library against what they must be: exports are EXPORTS, or what
# HEADERS declare; imported libraries are among IMPORTS, and what comes from vlmapi.dll, vlmmisc.dll and user32.dll is
# declared in OFFERED, when there are any.
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/../../cmake/declared_functions.cmake)

execute_process(COMMAND ${OBJDUMP} --private-headers ${FILE} OUTPUT_VARIABLE dump COMMAND_ERROR_IS_FATAL ANY)

string(REGEX REPLACE "[][;]" "|" dump "${dump}")   # which lists would take for their own

# Exports: a line per name, "|   0| KPZCommandProcessor".
string(REGEX REPLACE ".*Name Pointer. Table\n" "" names "${dump}")
string(REGEX REPLACE "\n\n.*" "\n" names "${names}")
string(REGEX MATCHALL " [^ \n]+\n" exported "${names}")
list(TRANSFORM exported STRIP)
set(expected ${EXPORTS})
declared_functions(declared ${HEADERS})
list(APPEND expected ${declared})
foreach(list exported expected)
    list(SORT ${list})
endforeach()
if(NOT exported STREQUAL expected)
    set(missing ${expected})
    set(more ${exported})
    list(REMOVE_ITEM missing ${exported})
    list(REMOVE_ITEM more ${expected})
    message(SEND_ERROR "${FILE}: exports lack \"${missing}\" and have besides \"${more}\"")
endif()

# Imports: a line per library, and below it a line per name.
string(REGEX REPLACE "\n" ";" lines "${dump}")
declared_functions(offered ${OFFERED})
set(library "")
set(imported 0)
foreach(line IN LISTS lines)
    if(line MATCHES "DLL Name: (.+)")
        string(TOLOWER "${CMAKE_MATCH_1}" library)
        math(EXPR imported "${imported} + 1")
        if(NOT library IN_LIST IMPORTS)
            message(SEND_ERROR "${FILE} imports from ${library}")
        endif()
    elseif(line STREQUAL "")
        set(library "")
    elseif(OFFERED AND library MATCHES "vlm|user32" AND line MATCHES "^\t[0-9a-f]+\t *[0-9]+  ([^ ]+)")
        if(NOT CMAKE_MATCH_1 IN_LIST offered)
            message(SEND_ERROR "${FILE} imports ${CMAKE_MATCH_1} from ${library}")
        endif()
    endif()
endforeach()
if(imported EQUAL 0)
    message(SEND_ERROR "${FILE}: no imports found")
endif()
