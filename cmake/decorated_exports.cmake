# Writes the .def of a DLL: every function that HEADERS declare with KPZ_IMPORT and OBJECTS define, under the name that
# the compiler gave it: _Name@12 where DECORATED, else Name. See stdcall_dll.cmake.
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/declared_functions.cmake)
declared_functions(declared ${HEADERS})

execute_process(COMMAND ${NM} --defined-only --extern-only --format=just-symbols ${OBJECTS}
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" symbols "${symbols}")
list(SORT symbols)

set(definition "LIBRARY ${LIBRARY}.dll\nEXPORTS\n")
foreach(symbol IN LISTS symbols)
    set(export ${symbol})
    if(DECORATED)
        string(REGEX REPLACE "^_" "" export ${export})
    endif()
    string(REGEX REPLACE "@[0-9]+$" "" name ${export})
    if(name IN_LIST declared)
        string(APPEND definition "    ${export}\n")
    endif()
endforeach()
file(WRITE ${OUTPUT} "${definition}")
