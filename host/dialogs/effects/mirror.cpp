#include "host/dialogs/sheets.h"

static constexpr Setting settings[] = {
    Frame("Put the &mirror image", "direction", "where the mirror image goes"),
    Radio(1230, "Above", "up", "the mirror image goes above the picture"),
    Radio(1240, "Below", "down", "the mirror image goes below the picture"),
    Radio(1250, "To the right", "right", "the mirror image goes to the right of the picture"),
    Radio(1260, "To the left", "left", "the mirror image goes to the left of the picture"),
};

constinit const EffectSheet mirrorSheet = {
    .summary = "doubles the picture with its mirror image",
    .about =
        "The picture is joined with its mirror image to one of twice the size. Selected objects can be mirrored alone, "
        "and a selected area can become a new object next to it.",
    .example = "--direction right",
    .settings = settings,
    .scope = MIRROR_SCOPE,
};
