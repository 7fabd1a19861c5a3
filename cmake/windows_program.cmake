# windows_program(TARGET [WINDOWS]): what a program needs on Windows besides its code. Does nothing elsewhere.
#
# A manifest makes UTF-8 its code page, so that arguments, titles and messages hold every letter of a file's name, and
# lets its paths be longer than 260 letters; WINDOWS, for a program that shows windows, also asks for the system's newer
# controls and heeds the screens' dots. The header says which Windows is the oldest that starts it: 10, of which version
# 1903 is the first that knows of the code page. Large pictures want all the room that 32 bits can name.
set(WINDOWS_PROGRAM_FOLDER ${CMAKE_CURRENT_LIST_DIR})

function(windows_program target)
    if(NOT WIN32)
        return()
    endif()
    cmake_parse_arguments(PROGRAM "WINDOWS" "" "" ${ARGN})
    set(LOOKS "")
    if(PROGRAM_WINDOWS)
        file(READ ${WINDOWS_PROGRAM_FOLDER}/windows.manifest.in LOOKS)
    endif()
    set(manifest ${CMAKE_CURRENT_BINARY_DIR}/${target}.manifest)
    set(resource ${CMAKE_CURRENT_BINARY_DIR}/${target}_manifest.rc)
    configure_file(${WINDOWS_PROGRAM_FOLDER}/program.manifest.in ${manifest} @ONLY)
    file(CONFIGURE OUTPUT ${resource} CONTENT "1 24 \"${manifest}\"\n" @ONLY)
    set_source_files_properties(${resource} PROPERTIES OBJECT_DEPENDS ${manifest})
    target_sources(${target} PRIVATE ${resource})
    oldest_windows(${target} 10)
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
        target_link_options(${target} PRIVATE LINKER:--large-address-aware)
    endif()
endfunction()

# oldest_windows(TARGET MAJOR): the Windows that a file's header names: 6 is Vista.
function(oldest_windows target major)
    if(WIN32)
        target_link_options(${target} PRIVATE
            LINKER:--major-subsystem-version,${major},--minor-subsystem-version,0
            LINKER:--major-os-version,${major},--minor-os-version,0)
    endif()
endfunction()
