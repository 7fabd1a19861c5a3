# Fails with a line for each of the FILES that lacks what releases for Linux are hardened by: tables that are read-only once
# all is bound, and bound at the start, and checks of the stack.
#
#     cmake -DREADELF=PROGRAM "-DFILES=FILE;..." -P cmake/check_hardened.cmake
cmake_minimum_required(VERSION 3.25)
set(breaches "")
foreach(file IN LISTS FILES)
    execute_process(COMMAND ${READELF} --wide --segments --dynamic --dyn-syms ${file} OUTPUT_VARIABLE told
                    COMMAND_ERROR_IS_FATAL ANY)
    foreach(mark GNU_RELRO "(BIND_NOW|FLAGS[^\n]*NOW)" __stack_chk_fail)
        if(NOT told MATCHES ${mark})
            list(APPEND breaches "${file} has no ${mark}")
        endif()
    endforeach()
endforeach()
if(breaches)
    list(JOIN breaches "\n" lines)
    message("${lines}")
    message(FATAL_ERROR "releases for Linux are built with VELMORANT_HARDENED")
endif()
