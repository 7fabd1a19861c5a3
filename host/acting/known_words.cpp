// The words, a row each for every effect that they lead to: what other programs and people call what it does. Words that
// are in an effect's own name or summary need no row.

#include "host/acting/known_words.h"

#include "host/acting/suggestion.h"

static constexpr char BLUR[] = "--kernel 'Gaussian 5 by 5'", SHARPEN[] = "--kernel 'High Pass #2'",
                      EDGES[] = "--kernel 'Laplace 3 by 3'", EMBOSS[] = "--kernel 'Relief of image (emboss)'";

static constexpr KnownWord words[] = {
    {"blur", "filters", BLUR},
    {"gaussian", "filters", BLUR},
    {"soften", "filters", "--kernel 'Smooth 3 by 3'"},
    {"sharpen", "filters", SHARPEN},
    {"sharp", "filters", SHARPEN},
    {"unsharp", "filters", SHARPEN},
    {"emboss", "filters", EMBOSS},
    {"relief", "filters", EMBOSS},
    {"edge", "filters", EDGES},
    {"edges", "filters", EDGES},
    {"edge-detect", "filters", EDGES},
    {"outline", "filters", EDGES},
    {"sobel", "filters", "--kernel 'Sobel North 3 by 3'"},
    {"convolve", "filters", ""},
    {"convolution", "filters", ""},
    {"kernel", "filters", ""},
    {"pixelate", "blocks", ""},
    {"pixelize", "blocks", ""},
    {"mosaic", "blocks", ""},
    {"censor", "blocks", "--block-width 24 --block-height 24"},
    {"grain", "noise", ""},
    {"film-grain", "noise", "--amount 70 --variation 22"},
    {"speckle", "noise", ""},
    {"denoise", "median", ""},
    {"despeckle", "median", ""},
    {"scratches", "median", ""},
    {"dilate", "median", "--select-mode maximum"},
    {"erode", "median", "--select-mode minimum"},
    {"bulge", "fisheye", ""},
    {"magnify", "fisheye", ""},
    {"lens", "fisheye", ""},
    {"spherize", "fisheye", ""},
    {"barrel", "fisheye", ""},
    {"pinch", "cone-head", ""},
    {"squeeze", "cone-head", ""},
    {"twirl", "swirl", ""},
    {"whirl", "swirl", ""},
    {"twist", "swirl", ""},
    {"vortex", "swirl", ""},
    {"flip", "mirror", "--direction down"},
    {"flop", "mirror", "--direction right"},
    {"reflect", "mirror", ""},
    {"negative", "solarize", "--threshold 255"},
    {"negate", "solarize", "--threshold 255"},
    {"invert", "solarize", "--threshold 255"},
    {"posterize", "oil-painting", "--brush-size 3", true},
    {"paint", "oil-painting", ""},
    {"artistic", "oil-painting", ""},
    {"cartoon", "oil-painting", "--brush-size 5", true},
    {"glitch", "slices", ""},
    {"tear", "slices", ""},
    {"skew", "shear", "--angle 20"},
    {"slant", "shear", "--angle 20"},
    {"italic", "shear", "--angle 20"},
    {"jitter", "random-shear", ""},
    {"water", "ripple", ""},
    {"pond", "ripple", ""},
    {"drip", "melt", "--direction down"},
    {"polar", "polar-coordinates", ""},
    {"planet", "polar-coordinates", ""},
    {"shatter", "tiles", ""},
    {"ghost", "double-vision", ""},
    {"psychedelic", "acid", ""},
    {"distort", "wave", ""},
    // Words that mean more than one: what an effect is suggested for stands above.
    {"blur", "median", ""},
    {"blur", "double-vision", ""},
    {"smooth", "median", ""},
    {"mosaic", "tiles", ""},
    {"water", "wave", ""},
    {"glitch", "random-shear", ""},
};

std::span<const KnownWord> KnownWords() { return words; }

const KnownWord *FindKnownWord(const std::string &word)
{
    const std::string lower = LowerCase(word);
    for (const KnownWord &known : words)
        if (lower == known.word) return &known;
    return nullptr;
}

std::string KnownWordHint(const std::string &word)
{
    const KnownWord *known = FindKnownWord(word);
    if (!known) return "";
    return std::string("; ") + known->effect + (known->settings[0] ? " " : "") + known->settings +
           (known->nearest ? " comes nearest" : " does that");
}
