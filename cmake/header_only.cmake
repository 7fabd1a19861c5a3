# header_only(TARGET FOLDER): a library of headers under /usr/include/FOLDER for the cross build, seen through a folder
# that holds nothing else, so that no header of this machine's own C library comes with it.
function(header_only target folder)
    find_path(${folder}_PARENT ${folder} PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    set(only ${PROJECT_BINARY_DIR}/headers/${folder})
    file(MAKE_DIRECTORY ${only})
    file(CREATE_LINK ${${folder}_PARENT}/${folder} ${only}/${folder} SYMBOLIC)
    add_library(${target} INTERFACE IMPORTED GLOBAL)
    target_include_directories(${target} SYSTEM INTERFACE ${only})
endfunction()
