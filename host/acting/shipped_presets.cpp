// The presets that come with the library, each a step that is worth having as it stands: tried on photographs of a few
// megapixels. Names are what people look for; what is in pixels is a share of the picture, so that it is seen on large ones
// too, but for grain and sharpness, which are of single pixels.

#include "host/acting/shipped_presets.h"

static constexpr ShippedPreset shipped[] = {
    {"film-grain", "fine grain, as of fast film", "noise --amount 70 --variation 22"},
    {"pushed-film", "coarse grain that eats the details", "noise --amount 100 --variation 70"},
    {"mosaic", "large blocks that hide a face or a number plate", "blocks --block-width 2.5% --block-height 2.5%"},
    {"despeckle", "takes dust and hot pixels away and keeps edges", "median --radius 1"},
    {"cut-paper", "areas of one tone each, as cut from paper", "oil-painting --brush-size 1.5%"},
    {"oil-sketch", "broad strokes that follow the shapes", "oil-painting --brush-size 0.6%"},
    {"soft-focus", "softens what is sharp",
     "filters --kernel '1 1 1 1 1 1 1; 1 1 1 1 1 1 1; 1 1 1 1 1 1 1; 1 1 1 1 1 1 1; 1 1 1 1 1 1 1; 1 1 1 1 1 1 1; "
     "1 1 1 1 1 1 1 divisor 49 bias 0 replace'"},
    {"crisp", "sharpens without bright seams", "filters --kernel '0 -1 0; -1 9 -1; 0 -1 0 divisor 5 bias 0 replace'"},
    {"pencil", "dark lines on white paper",
     "filters --kernel '1 1 1 1 1 1 1; 1 1 1 1 1 1 1; 1 1 1 1 1 1 1; 1 1 1 -48 1 1 1; 1 1 1 1 1 1 1; 1 1 1 1 1 1 1; "
     "1 1 1 1 1 1 1 divisor 5 bias 255 replace'"},
    {"relief", "pressed into grey metal, lit from the top left",
     "filters --kernel '-1 -1 -1 -1 0; -1 -1 -1 0 1; -1 -1 0 1 1; -1 0 1 1 1; 0 1 1 1 1 divisor 3 bias 128 replace'"},
    {"darkroom", "shadows turn to light, as of film that saw light too early", "solarize --threshold 96"},
    {"negative", "dark becomes light and light dark", "solarize --threshold 255"},
    {"glitch", "bands torn apart, as of a signal that is lost",
     "slices --max-shift 5% --min-width 0.4% --max-width 3% --background '#101010'"},
    {"bulge", "the middle swells towards the viewer", "fisheye --lens-power 22"},
    {"pinch", "the middle is drawn together", "cone-head --cone-power 17"},
    {"whirlpool", "a full turn around the middle", "swirl --swirl-amount 360"},
    {"pond", "rings run out from the middle and fade", "ripple --amplitude 9 --wavelength 16 --fade on"},
    {"flag", "long waves, as of cloth in wind", "wave --amplitude 5 --wavelength 60 --orientation columns"},
    {"loose-tiles", "tiles that have come off the wall", "tiles --tile-size 3% --offset 0.8% --background '#1C1C1C'"},
    {"running-paint", "dark colours run down", "melt --amount 60 --direction down"},
    {"little-planet", "the picture bent into a disc", "polar-coordinates --fill-colour '#0E1420'"},
};

std::span<const ShippedPreset> ShippedPresets() { return shipped; }
