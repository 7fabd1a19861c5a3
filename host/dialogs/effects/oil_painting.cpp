#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Spin(1450, 1460, "&Brush size:", "pixels", "brush-size", "half the side of the brush's square, pixels"),
};

constinit const EffectSheet oilPaintingSheet = {
    .summary = "gives the picture the flat, daubed look of paint",
    .about = "Every channel takes the value that is most frequent in the square around it, so that small detail runs "
             "together into flat daubs with crisp edges. The larger the brush, the coarser the paint.",
    .example = "--brush-size 5",
    .settings = settings,
    .reachOption = "brush-size",
    .reach = 1,
};
