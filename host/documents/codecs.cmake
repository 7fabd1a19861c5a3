# giflib, libwebp and Little CMS as archives for Windows and WebAssembly, of which Debian has no packages: from Debian's
# sources as scripts/setup-codecs unpacks them. Set under the names by which CMakeLists.txt looks for them; none of them
# where there are no sources. An archive bears the name of Debian's package for other systems: scripts/licences knows it by that.
include(${PROJECT_SOURCE_DIR}/cmake/debian_sources.cmake)
debian_sources(sources codecs)
if(NOT sources)
    message(STATUS "No sources of giflib, libwebp and Little CMS: built without (scripts/setup-codecs fetches them)")
    return()
endif()

# codec(NAME FOLDER PACKAGE SOURCE...): an archive. The folder of its sources is the user's own, and not told.
function(codec name folder package)
    add_library(${name} STATIC ${ARGN})
    target_compile_options(${name} PRIVATE -w -ffile-prefix-map=${folder}=${package})
    if(EMSCRIPTEN)   # fetched by every visitor
        target_compile_options(${name} PRIVATE -Oz)
    endif()
    set_target_properties(${name} PROPERTIES OUTPUT_NAME ${package})
endfunction()

#---- giflib

source_folder(gif ${sources} giflib)
in_folder(files ${gif} dgif_lib egif_lib gifalloc gif_err gif_hash openbsd-reallocarray quantize)
codec(codec_gif ${gif} libgif-dev ${files})
set(GIF_HEADERS ${gif})
set(GIF_LIBRARY codec_gif)

#---- libwebp. What is for processors other than the target's is empty.

source_folder(webp ${sources} libwebp)
file(GLOB files ${webp}/src/dec/*.c ${webp}/src/dsp/*.c ${webp}/src/enc/*.c ${webp}/src/utils/*.c ${webp}/sharpyuv/*.c)
list(FILTER files EXCLUDE REGEX "_(neon|mips32|mips_dsp_r2|msa|sse41)\\.c$")
codec(codec_webp ${webp} libwebp-dev ${files} ${webp}/src/demux/anim_decode.c ${webp}/src/demux/demux.c
      ${webp}/src/mux/anim_encode.c ${webp}/src/mux/muxedit.c ${webp}/src/mux/muxinternal.c ${webp}/src/mux/muxread.c)
target_include_directories(codec_webp PRIVATE ${webp} ${webp}/src)
set(WEBP_HEADERS ${webp}/src)
set(WEBP_LIBRARY codec_webp)
set(WEBP_DEMUX_LIBRARY codec_webp)
set(WEBP_MUX_LIBRARY codec_webp)

#---- Little CMS

source_folder(lcms ${sources} lcms2)
file(GLOB files ${lcms}/src/*.c)
codec(codec_lcms ${lcms} liblcms2-dev ${files})
target_include_directories(codec_lcms PRIVATE ${lcms}/include)
set(LCMS_HEADERS ${lcms}/include)
set(LCMS_LIBRARY codec_lcms)
