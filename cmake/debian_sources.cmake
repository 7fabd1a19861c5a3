# Archives from Debian's sources, for targets that Debian has no packages of. Read by the folders that make them; scripts
# fetch the sources (fetch_sources in scripts/debian.sh).

# debian_sources(VARIABLE NAME): the folder of sources that a script has fetched, named by the environment's
# VELMORANT_NAME, else in the user's cache; empty where there is none.
function(debian_sources variable name)
    string(TOUPPER VELMORANT_${name} setting)
    if(DEFINED ENV{${setting}})
        set(folder $ENV{${setting}}/sources)
    elseif(DEFINED ENV{XDG_CACHE_HOME})
        set(folder $ENV{XDG_CACHE_HOME}/velmorant/${name}/sources)
    else()
        set(folder $ENV{HOME}/.cache/velmorant/${name}/sources)
    endif()
    if(NOT EXISTS ${folder})
        set(folder "")
    endif()
    set(${variable} "${folder}" PARENT_SCOPE)
endfunction()

# source_folder(VARIABLE SOURCES NAME): the one folder of a package.
function(source_folder variable sources name)
    file(GLOB folder LIST_DIRECTORIES true ${sources}/${name}-*)
    list(FILTER folder INCLUDE REGEX "/${name}-[0-9][^/]*$")
    list(LENGTH folder count)
    if(NOT count EQUAL 1)
        message(FATAL_ERROR "${sources} should have one folder ${name}-VERSION")
    endif()
    set(${variable} ${folder} PARENT_SCOPE)
endfunction()

# in_folder(VARIABLE FOLDER NAME...): sources by their names without ending.
function(in_folder variable folder)
    set(files ${ARGN})
    list(TRANSFORM files PREPEND ${folder}/)
    list(TRANSFORM files APPEND .c)
    set(${variable} ${files} PARENT_SCOPE)
endfunction()
