# Fails with a line for each object of C++ that one of the LIBRARIES would make while it is being loaded: a program that
# calls nothing pays nothing. Looks for what GCC names such a source's initialiser, in libraries that are not stripped.
#
#     cmake -DNM=PROGRAM "-DLIBRARIES=FILE;..." -P cmake/check_loading.cmake
cmake_minimum_required(VERSION 3.25)
set(breaches "")
foreach(library IN LISTS LIBRARIES)
    execute_process(COMMAND ${NM} ${library} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
    if(NOT symbols MATCHES " [tT] ")
        message(FATAL_ERROR "${library} does not tell its routines' names")
    endif()
    string(REGEX MATCHALL "_GLOBAL__sub_I_[^\n]*" initialisers "${symbols}")
    foreach(initialiser IN LISTS initialisers)
        list(APPEND breaches "${library} makes objects while it is loaded: ${initialiser}")
    endforeach()
endforeach()
if(breaches)
    list(JOIN breaches "\n" lines)
    message("${lines}")
    message(FATAL_ERROR "objects are made when they are first asked for, or by the compiler")
endif()
