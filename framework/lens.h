// Bending a picture inside the ellipse inscribed in it: what Fisheye and Cone Head have in common.

#pragma once

#include "framework/worker.h"

// Fetches every pixel inside the ellipse, of the picture and of its mask, from its own ray from the centre: a pixel at
// radius r, where the ellipse has radius R, from radius r * (r / R)^exponent. Above 0 the middle grows, below 0 it
// shrinks. The centre itself and what lies on the ellipse or outside stays. The exponent is from -1 to 10. Reports and
// heeds the abort flag once per row. [run]
void BendRays(const ImageView &view, double exponent);
