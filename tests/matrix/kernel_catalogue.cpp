// The ready-made kernels as the tests know them, typed in apart from the module's strings.

#include "tests/matrix/kernel_catalogue.h"

#include <sstream>

const CatalogueKernel catalogue[CATALOGUE_KERNELS] = {
    {"Contour North", 7,
     "0 0 0 0 0 0 0 / 0 0 0 0 0 0 0 / 1 1 1 1 1 1 1 / 0 0 0 0 0 0 0 / -1 -1 -1 -1 -1 -1 -1 / "
     "0 0 0 0 0 0 0 / 0 0 0 0 0 0 0",
     1, 0, 'R'},
    {"Contour South", 7,
     "0 0 0 0 0 0 0 / 0 0 0 0 0 0 0 / -1 -1 -1 -1 -1 -1 -1 / 0 0 0 0 0 0 0 / 1 1 1 1 1 1 1 / "
     "0 0 0 0 0 0 0 / 0 0 0 0 0 0 0",
     1, 0, 'R'},
    {"Contour East", 7,
     "0 0 -1 0 1 0 0 / 0 0 -1 0 1 0 0 / 0 0 -1 0 1 0 0 / 0 0 -1 0 1 0 0 / 0 0 -1 0 1 0 0 / "
     "0 0 -1 0 1 0 0 / 0 0 -1 0 1 0 0",
     1, 0, 'R'},
    {"Contour West", 7,
     "0 0 1 0 -1 0 0 / 0 0 1 0 -1 0 0 / 0 0 1 0 -1 0 0 / 0 0 1 0 -1 0 0 / 0 0 1 0 -1 0 0 / "
     "0 0 1 0 -1 0 0 / 0 0 1 0 -1 0 0",
     1, 0, 'R'},
    {"Contour North West", 7,
     "1 0 0 0 0 0 0 / 0 1 0 0 0 0 0 / 0 0 1 0 0 0 0 / 0 0 0 0 0 0 0 / 0 0 0 0 -1 0 0 / 0 0 0 0 0 -1 0 / 0 0 0 0 0 0 -1",
     1, 0, 'R'},
    {"Contour North East", 7,
     "0 0 0 0 0 0 1 / 0 0 0 0 0 1 0 / 0 0 0 0 1 0 0 / 0 0 0 0 0 0 0 / 0 0 -1 0 0 0 0 / 0 -1 0 0 0 0 0 / -1 0 0 0 0 0 0",
     1, 0, 'R'},
    {"Contour South West", 7,
     "0 0 0 0 0 0 -1 / 0 0 0 0 0 -1 0 / 0 0 0 0 -1 0 0 / 0 0 0 0 0 0 0 / 0 0 1 0 0 0 0 / 0 1 0 0 0 0 0 / 1 0 0 0 0 0 0",
     1, 0, 'R'},
    {"Contour South East", 7,
     "-1 0 0 0 0 0 0 / 0 -1 0 0 0 0 0 / 0 0 -1 0 0 0 0 / 0 0 0 0 0 0 0 / 0 0 0 0 1 0 0 / 0 0 0 0 0 1 0 / 0 0 0 0 0 0 1",
     1, 0, 'R'},
    {"Emboss North", 3, "1 1 1 / 0 1 0 / -1 -1 -1", 1, 0, 'R'},
    {"Emboss South", 3, "-1 -1 -1 / 0 1 0 / 1 1 1", 1, 0, 'R'},
    {"Emboss East", 3, "-1 0 1 / -1 1 1 / -1 0 1", 1, 0, 'R'},
    {"Emboss West", 3, "1 0 -1 / 1 1 -1 / 1 0 -1", 1, 0, 'R'},
    {"Emboss North West", 3, "1 1 0 / 1 1 -1 / 0 -1 -1", 1, 0, 'R'},
    {"Emboss North East", 3, "0 1 1 / -1 1 1 / -1 -1 0", 1, 0, 'R'},
    {"Emboss South West", 3, "0 -1 -1 / 1 1 -1 / 1 1 0", 1, 0, 'R'},
    {"Emboss South East", 3, "-1 -1 0 / -1 1 1 / 0 1 1", 1, 0, 'R'},
    {"Engrave image", 5, "0 0 0 0 0 / 0 0 0 0 0 / 0 0 0 0 0 / 0 0 0 0 0 / -1 0 0 0 0", 1, 128, 'A'},
    {"Gaussian 3 by 3", 3, "1 2 1 / 2 4 2 / 1 2 1", 16, 0, 'R'},
    {"Gaussian 5 by 5", 5, "1 1 2 1 1 / 1 2 4 2 1 / 2 4 8 4 2 / 1 2 4 2 1 / 1 1 2 1 1", 52, 0, 'R'},
    {"Gaussian 7 by 7", 7,
     "1 1 2 2 2 1 1 / 1 2 2 4 2 2 1 / 2 2 4 8 4 2 2 / 2 4 8 16 8 4 2 / 2 2 4 8 4 2 2 / 1 2 2 4 2 2 1 / 1 1 2 2 2 1 1",
     140, 0, 'R'},
    {"Gradient North", 3, "1 1 1 / 1 -2 1 / -1 -1 -1", 1, 0, 'R'},
    {"Gradient South", 3, "-1 -1 -1 / 1 -2 1 / 1 1 1", 1, 0, 'R'},
    {"Gradient East", 3, "-1 1 1 / -1 -2 1 / -1 1 1", 1, 0, 'R'},
    {"Gradient West", 3, "1 1 -1 / 1 -2 -1 / 1 1 -1", 1, 0, 'R'},
    {"Gradient North West", 3, "1 1 1 / 1 -2 -1 / 1 -1 -1", 1, 0, 'R'},
    {"Gradient North East", 3, "1 1 1 / -1 -2 1 / -1 -1 1", 1, 0, 'R'},
    {"Gradient South West", 3, "1 -1 -1 / 1 -2 -1 / 1 1 1", 1, 0, 'R'},
    {"Gradient South East", 3, "-1 -1 1 / -1 -2 1 / 1 1 1", 1, 0, 'R'},
    {"Hat 5 by 5", 5, "0 0 -1 0 0 / 0 -1 -2 -1 0 / -1 -2 16 -2 -1 / 0 -1 -2 -1 0 / 0 0 -1 0 0", 1, 0, 'R'},
    {"High Pass #1", 3, "0 -1 0 / -1 5 -1 / 0 -1 0", 1, 0, 'R'},
    {"High Pass #2", 3, "1 -2 1 / -2 5 -2 / 1 -2 1", 1, 0, 'R'},
    {"High Pass #3", 3, "0 -1 0 / -1 20 -1 / 0 -1 0", 16, 0, 'R'},
    {"Identity", 1, "1", 1, 0, 'R'},
    {"Laplace 3 by 3", 3, "0 -1 0 / -1 4 -1 / 0 -1 0", 1, 0, 'R'},
    {"Laplace 5 by 5", 5, "-1 -1 -1 -1 -1 / -1 -1 -1 -1 -1 / -1 -1 24 -1 -1 / -1 -1 -1 -1 -1 / -1 -1 -1 -1 -1", 1, 0,
     'R'},
    {"Laplace #2", 3, "-1 -1 -1 / -1 8 -1 / -1 -1 -1", 1, 0, 'R'},
    {"Laplace #3", 3, "1 -2 1 / -2 4 -2 / 1 -2 1", 1, 0, 'R'},
    {"Laplace Vertical", 3, "0 0 0 / -1 2 -1 / 0 0 0", 1, 0, 'R'},
    {"Laplace Horizontal", 3, "0 -1 0 / 0 2 0 / 0 -1 0", 1, 0, 'R'},
    {"Laplace Diagonal", 3, "-1 0 -1 / 0 4 0 / -1 0 -1", 1, 0, 'R'},
    {"Low Pass #1", 3, "1 1 1 / 1 2 1 / 1 1 1", 10, 0, 'R'},
    {"Low Pass #2", 3, "1 1 1 / 1 4 1 / 1 1 1", 12, 0, 'R'},
    {"Low Pass #3", 3, "1 1 1 / 1 12 1 / 1 1 1", 20, 0, 'R'},
    {"Mean & Cruel", 3, "-1 -1 -1 / -1 9 -1 / -1 -1 -1", 1, 0, 'R'},
    {"Relief of image (emboss)", 5, "0 0 0 0 -1 / 0 0 0 0 0 / 0 0 0 0 0 / 0 0 0 0 0 / 0 0 0 0 0", 1, 128, 'A'},
    {"Shadow 3 by 3", 3, "-2 -1 0 / -1 1 1 / 0 1 2", 1, 0, 'R'},
    {"Smooth 3 by 3", 3, "1 1 1 / 1 1 1 / 1 1 1", 9, 0, 'R'},
    {"Smooth 5 by 5", 5, "1 1 1 1 1 / 1 1 1 1 1 / 1 1 1 1 1 / 1 1 1 1 1 / 1 1 1 1 1", 25, 0, 'R'},
    {"Smooth 7 by 7", 7,
     "1 1 1 1 1 1 1 / 1 1 1 1 1 1 1 / 1 1 1 1 1 1 1 / 1 1 1 1 1 1 1 / 1 1 1 1 1 1 1 / 1 1 1 1 1 1 1 / 1 1 1 1 1 1 1",
     49, 0, 'R'},
    {"Sobel North 3 by 3", 3, "-1 -2 -1 / 0 0 0 / 1 2 1", 1, 0, 'R'},
    {"Sobel West 3 by 3", 3, "1 0 -1 / 2 0 -2 / 1 0 -1", 1, 0, 'R'},
    {"Sobel North West 3 by 3", 3, "-2 -1 0 / -1 0 -1 / 0 1 2", -2, 0, 'R'},
    {"Sobel West 7 by 7", 7,
     "0 -1 -1 0 1 1 0 / -1 -2 -2 0 2 2 1 / -1 -2 -3 0 3 2 1 / -1 -2 -3 0 3 2 1 / -1 -2 -3 0 3 2 1 / "
     "-1 -2 -2 0 2 2 1 / 0 -1 -1 0 1 1 0",
     1, 0, 'R'},
    {"Shift & Difference Vert/Horz", 3, "-1 0 0 / 0 1 0 / 0 0 0", 1, 0, 'R'},
    {"Shift & Difference Vert", 3, "0 0 0 / -1 1 0 / 0 0 0", 1, 0, 'R'},
    {"Shift & Difference Horz", 3, "0 -1 0 / 0 1 0 / 0 0 0", 1, 0, 'R'},
};

MatrixSettings SettingsOf(const CatalogueKernel &kernel)
{
    MatrixSettings settings;
    std::istringstream core(kernel.core);
    const int edge = (7 - kernel.size) / 2;
    for (int i = 0; i < kernel.size * kernel.size; ++i) {
        if (i > 0 && i % kernel.size == 0) core.ignore(2);   // " /"
        core >> settings.kernel[size_t(7 * (edge + i / kernel.size) + edge + i % kernel.size)];
    }
    settings.divisor = kernel.divisor;
    settings.bias = kernel.bias;
    settings.combineMode = kernel.mode == 'R' ? 5160 : kernel.mode == 'A' ? 5150 : 5140;
    return settings;
}

// One blank between all parts, but for kernel 1: there the 35th and the 36th number stand two blanks apart.
std::string TextOf(int index)
{
    const MatrixSettings settings = SettingsOf(catalogue[index]);
    std::ostringstream text;
    for (size_t i = 0; i < 49; ++i) text << settings.kernel[i] << (index == 1 && i == 34 ? "  " : " ");
    text << settings.divisor << ' ' << settings.bias << ' ' << catalogue[index].mode;
    return text.str();
}
