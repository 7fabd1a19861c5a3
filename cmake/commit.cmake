# Writes OUTPUT, a header that names the commit which SOURCE stands at, with "-changed" where files differ from it; left
# alone where it says so already, so that nothing is built anew. COMMIT, where it is given, is taken for the answer: what
# is built from a copy without a history asks nobody.
cmake_minimum_required(VERSION 3.25)
if(NOT COMMIT)
    set(COMMIT unknown)
    find_program(GIT git)
    if(GIT AND EXISTS ${SOURCE}/.git)
        execute_process(COMMAND ${GIT} -C ${SOURCE} rev-parse --short=12 HEAD
            OUTPUT_VARIABLE found RESULT_VARIABLE status OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
        if(status EQUAL 0)
            set(COMMIT ${found})
            execute_process(COMMAND ${GIT} -C ${SOURCE} diff --quiet HEAD RESULT_VARIABLE status ERROR_QUIET)
            if(NOT status EQUAL 0)
                string(APPEND COMMIT -changed)
            endif()
        endif()
    endif()
endif()
file(CONFIGURE OUTPUT ${OUTPUT} CONTENT "#define VELMORANT_COMMIT \"@COMMIT@\"\n" @ONLY)
