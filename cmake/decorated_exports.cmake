# Writes the .def of a DLL: every function that HEADERS declare with KPZ_IMPORT and OBJECTS define, under the name that
# the compiler gave it. See stdcall_dll.cmake.
cmake_minimum_required(VERSION 3.25)

set(declared "")
foreach(header IN LISTS HEADERS)
    file(READ ${header} text)
    string(REGEX MATCHALL "KPZ_IMPORT[^;(]*KPZAPI[ \n]+[A-Za-z0-9_]+\\(" declarations "${text}")
    foreach(declaration IN LISTS declarations)
        string(REGEX REPLACE ".*[ \n]([A-Za-z0-9_]+)\\($" "\\1" name "${declaration}")
        list(APPEND declared ${name})
    endforeach()
endforeach()

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
