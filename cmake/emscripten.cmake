# Compiles to WebAssembly with Debian's emscripten, for doors/web. Debian's one refuses to build libraries of its own at
# will, so the codecs are built from Debian's sources: doors/web/codecs.
include(/usr/share/emscripten/cmake/Modules/Platform/Emscripten.cmake)

# The linker's steps in JavaScript stand on what Debian keeps in /usr/share/nodejs: the preset sets NODE_PATH.

# Both ways of leaving a routine are the engine's own: next to nothing until they are used.
set(leaving "-fwasm-exceptions -sSUPPORT_LONGJMP=wasm")
set(CMAKE_C_FLAGS_INIT "${leaving}")
set(CMAKE_CXX_FLAGS_INIT "${leaving}")
