// How a routine is made known to JavaScript.

#pragma once

#include <velmorant.h>

#include <emscripten.h>

#define EXPORTED extern "C" EMSCRIPTEN_KEEPALIVE
