# Writes the .def of a DLL: every function that HEADERS declare with KPZ_IMPORT and OBJECTS define, under the name that
# the compiler gave it. See stdcall_dll.cmake.
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/declared_functions.cmake)
declared_functions(declared ${HEADERS})

execute_process(COMMAND ${NM} --defined-only --extern-only --format=just-symbols ${OBJECTS}
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "_[A-Za-z0-9_]+@[0-9]+" symbols "${symbols}")
list(SORT symbols)

set(definition "LIBRARY ${LIBRARY}.dll\nEXPORTS\n")
foreach(symbol IN LISTS symbols)
    string(REGEX REPLACE "^_([A-Za-z0-9_]+)@[0-9]+$" "\\1" name "${symbol}")
    if(name IN_LIST declared)
        string(REGEX REPLACE "^_" "    " export "${symbol}")
        string(APPEND definition "${export}\n")
    endif()
endforeach()
file(WRITE ${OUTPUT} "${definition}")
