# stdcall_dll(TARGET [NAME name] HEADERS header... [OBJECTS object_library...]): makes a shared library of Windows
# export what the headers declare with KPZ_IMPORT, under plain names. Does nothing elsewhere.
#
# On 32 bits a stdcall function is _Name@12 inside objects and Name in the DLL. The import library that the linker writes
# beside plain names has no _Name@12, so dlltool writes it anew from the decorated names, and those are read from the
# objects: there is no list to keep. On 64 bits there is one calling convention, and a function has one name.
function(stdcall_dll target)
    if(NOT WIN32)
        return()
    endif()
    cmake_parse_arguments(DLL "" "NAME" "HEADERS;OBJECTS" ${ARGN})
    if(NOT DLL_NAME)
        set(DLL_NAME ${target})
    endif()
    list(TRANSFORM DLL_HEADERS PREPEND ${PROJECT_SOURCE_DIR}/)
    oldest_windows(${target} 6)
    set(objects $<TARGET_OBJECTS:${target}>)
    foreach(library IN LISTS DLL_OBJECTS)
        list(APPEND objects $<TARGET_OBJECTS:${library}>)
    endforeach()
    set(script ${PROJECT_SOURCE_DIR}/cmake/decorated_exports.cmake)
    set(decorated OFF)
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
        set(decorated ON)
    endif()
    set(definition ${CMAKE_CURRENT_BINARY_DIR}/${target}.def)
    add_custom_command(TARGET ${target} PRE_LINK
        COMMAND ${CMAKE_COMMAND} -D LIBRARY=${DLL_NAME} -D OUTPUT=${definition} "-D HEADERS=${DLL_HEADERS}"
            "-D OBJECTS=${objects}" -D NM=${CMAKE_NM} -D DECORATED=${decorated} -P ${script} VERBATIM)
    target_link_options(${target} PRIVATE ${definition})
    set_target_properties(${target} PROPERTIES PREFIX "" OUTPUT_NAME ${DLL_NAME}
        LINK_DEPENDS "${script};${DLL_HEADERS}")
    # Without its folder: the library's name, as it is given here, becomes part of names within, and they get into what is
    # linked with it.
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_DLLTOOL} --kill-at --input-def ${definition}
            --output-lib $<TARGET_LINKER_FILE_NAME:${target}>
        WORKING_DIRECTORY $<TARGET_LINKER_FILE_DIR:${target}> VERBATIM)
endfunction()
