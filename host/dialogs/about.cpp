// The text of each effect's help page, and options that show it well: the gallery's picture is made with them, and help
// on the command line gives them as the example. What single controls mean stands in the effect's table of settings.

#include "host/dialogs/sheets.h"

#include <cstring>

static constexpr EffectAbout abouts[] = {
    {"filters", "--kernel 'Contour North West'",
     "Every pixel becomes a weighted sum of the pixels around it, up to 7 by 7, divided by the divisor and with the "
     "bias added. The list has 56 ready-made kernels that blur, sharpen, emboss, find edges or move the picture; the "
     "fields take one of your own. It can be saved to a file and loaded again."},
    {"acid", "--acid-level 180",
     "Every value is combined with a pattern that falls off with the square of the distance from one point, which "
     "lays garish rings over the picture. The acid level moves that point along the diagonal and changes the rings "
     "with it. It works on RGB and grey pictures."},
    {"blocks", "--block-width 12 --block-height 8",
     "The picture is cut into rectangles, and each takes the colour of its top left pixel: a mosaic, or a way to "
     "make a face or a number plate unreadable. Palette pictures keep their palette."},
    {"cone-head", "--cone-power 18",
     "Above 10 the middle of the picture is drawn together towards a point, as if it lay on a cone; below 10 it "
     "bulges, and 10 changes nothing. What lies outside the ellipse that fits the picture stays. It takes back what "
     "Fisheye does."},
    {"double-vision", "--distance 24",
     "Strips of the picture show, squeezed to half their width, the stretch that is twice as wide around them, so "
     "that neighbouring strips repeat each other: the picture looks seen twice. The distance is how far apart the "
     "two stand. The margins of a strip's width at both ends stay."},
    {"fisheye", "--lens-power 20",
     "The middle of the picture bulges as through a wide-angle lens. Above 10 it comes nearer, below 10 it sinks "
     "back, and 10 changes nothing. What lies outside the ellipse that fits the picture stays."},
    {"median", "--radius 3",
     "Every pixel becomes a copy of the one of middle brightness around it, which removes speckle and keeps edges. "
     "The maximum spreads light areas and the minimum dark ones. No new colours arise, and a palette stays as it is."},
    {"melt", "--amount 60 --direction down",
     "Dark pixels sink in one direction for as long as what lies ahead is at least as bright, as wax does that runs. "
     "The amount is how many pixels set out: at 100 percent as many as the picture has. No two runs are the same."},
    {"mirror", "--direction right",
     "The picture is joined with its mirror image to one of twice the size. Selected objects can be mirrored alone, "
     "and a selected area can become a new object next to it."},
    {"noise", "--amount 40 --variation 60",
     "Some pixels become a little lighter or darker, as film has grain. The amount is how many of them, the "
     "variation by how much at most. All channels of a pixel change alike, so no colours appear. It works on RGB and "
     "grey pictures. No two runs are the same."},
    {"oil-painting", "--brush-size 5",
     "Every channel takes the value that is most frequent in the square around it, so that small detail runs "
     "together into flat daubs with crisp edges. The larger the brush, the coarser the paint."},
    {"polar-coordinates", "--fill-colour '#202830'",
     "Columns become rays and rows become rings: the picture is wrapped round its centre, with the left edge at the "
     "right and the top in the middle. What lies outside the circle takes the fill colour."},
    {"random-shear", "--fill-colour '#202830'",
     "Rows slide sideways and columns up and down, each a pixel further or nearer than its neighbour, by chance. "
     "Edges fray and far parts drift away; what is uncovered takes the fill colour. No two runs are the same."},
    {"ripple", "--amplitude 30 --wavelength 15",
     "Rings about the centre are twisted to and fro, like the water into which a stone has fallen. Amplitude is how "
     "far they swing, wavelength how wide the rings are, and the phase where the first begins. Faded, the rings die "
     "away towards the edge."},
    {"shear", "--angle 20 --fill-colour '#202830'",
     "The picture is slanted: rows slide sideways or columns up and down, the further the farther they are from the "
     "edge that stays. It grows to hold the slanted picture, and the corners take the fill colour. The sketch in the "
     "dialog shows the slant. Selected objects can be slanted alone, as one group."},
    {"slices", "--background '#202830' --max-shift 24 --min-width 8 --max-width 40",
     "The picture is cut into bands of random width, across and down, and each band slides by an amount of its own. "
     "What is uncovered at the right and at the bottom takes the background. No two runs are the same."},
    {"solarize", "--threshold 150",
     "Tones on one side of a threshold turn into their negative, as on a plate that saw light while it was "
     "developed. The threshold is the same everywhere, or grows from top to bottom or from left to right, so that "
     "the change sweeps over the picture. It works on RGB and grey pictures."},
    {"swirl", "--swirl-amount 240",
     "The middle of the picture is turned, and the turn dies away towards the circle that fits the picture. A "
     "negative amount turns the other way."},
    {"tiles", "--tile-size 28 --background '#202830' --offset 14",
     "Square tiles are taken out of the picture and put down again a little to the side, each by an amount of its "
     "own. They overlap, and the gaps between them show the background. No two runs are the same."},
    {"wave", "--amplitude 16 --background '#202830' --wavelength 45",
     "Rows slide sideways along a sine curve, or columns up and down, and are squeezed so that they still fit. "
     "Amplitude is how far they swing, wavelength how long a wave is, and the phase where it begins. What is "
     "uncovered takes the background."},
};

EffectAbout AboutOf(const char *effect)
{
    for (const EffectAbout &about : abouts) {
        if (effect && std::strcmp(about.effect, effect) == 0) return about;
    }
    return {"", "", ""};
}
