// Edges of the caller's choosing, for effects that look around each pixel: the picture goes on beyond its border for as far
// as the effect reaches, is run, and is cut back.

#pragma once

#include "host/documents/picture.h"
#include "host/library/steps.h"

enum class Edges { OWN, WRAP, MIRROR, CLAMP };   // OWN: whatever the effect itself does there
constexpr char EDGES_OPTION[] = "edges";

Edges EdgesOf(const Step &step);
// VLM_OK, or the noted error: a word that is none, or what edges do not go with.
vlm_code CheckEdges(const Step &step);

// How far an effect reaches, as far as can be told before its picture is known.
struct Reach {
    int32_t times = 0, standard = 0, high = 0;   // `times` the setting, whose default and greatest value these are
};
// Asks the catalogue: not on the dialogs' thread.
Reach ReachOf(const Step &step);
int32_t PixelsReached(const Step &step, const Reach &reach, int32_t width, int32_t height);

Picture WithBorder(const Picture &picture, int32_t border, Edges edges);
Picture WithoutBorder(const Picture &picture, int32_t border);
