# Holds what a built file tells Windows before it runs against what it must be: SUBSYSTEM, the oldest Windows that starts
# it ("10.0"); LARGE, whether it may use all that 32 bits can name; MANIFEST, words that its manifest has. Nothing in it may
# tell the folder FOLDER that it was built in, as a path or as part of a name: packages of one commit are the same bytes.
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${OBJDUMP} --private-headers ${FILE} OUTPUT_VARIABLE dump COMMAND_ERROR_IS_FATAL ANY)
foreach(field MajorSubsystemVersion MinorSubsystemVersion MajorOSystemVersion)
    if(NOT dump MATCHES "${field}[ \t]+([0-9]+)")
        message(FATAL_ERROR "${FILE}: no ${field} found")
    endif()
    set(${field} ${CMAKE_MATCH_1})
endforeach()
set(subsystem ${MajorSubsystemVersion}.${MinorSubsystemVersion})
if(NOT subsystem STREQUAL SUBSYSTEM OR NOT SUBSYSTEM MATCHES "^${MajorOSystemVersion}[.]")
    message(SEND_ERROR "${FILE}: asks for Windows ${subsystem}, on a system ${MajorOSystemVersion}, not for ${SUBSYSTEM}")
endif()
if(LARGE AND dump MATCHES "pei-i386" AND NOT dump MATCHES "large address aware")
    message(SEND_ERROR "${FILE}: is not large address aware")
endif()

file(STRINGS ${FILE} lines REGEX "activeCodePage|longPathAware|supportedOS|asInvoker|dpiAware|Common-Controls")
foreach(word IN LISTS MANIFEST)
    if(NOT lines MATCHES "${word}")
        message(SEND_ERROR "${FILE}: its manifest has no ${word}")
    endif()
endforeach()

string(REGEX REPLACE "[^A-Za-z0-9]" "_" name ${FOLDER})
string(REGEX REPLACE "[^A-Za-z0-9]" "." path ${FOLDER})   # as a pattern
file(STRINGS ${FILE} places REGEX "${path}|${name}")
if(places)
    message(SEND_ERROR "${FILE}: tells where it was built: ${places}")
endif()
