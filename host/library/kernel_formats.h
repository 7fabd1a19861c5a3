// Kernels in the words of several programs, read into whole numbers of seven by seven, and written. Knows no folder, no
// dialog and no picture.

#pragma once

#include "host/acting/kernels.h"
#include "host/library/errors.h"

struct NamedKernel {
    std::string name;   // as the text calls it; empty where it does not
    Kernel kernel;
};

// All kernels of a text: this program's own words (with `#` comments), its filter files, ImageMagick's kernel strings and
// what it shows of its own kernels, presets of GIMP's convolution matrix, plain grids of numbers. Fractions become whole
// numbers with a divisor: exactly where one of at most ten thousand does it, else as near as that comes, with a notice.
// VLM_BAD_TEXT, with a line, for what is none or cannot be said in seven by seven.
vlm_code ReadKernels(const std::string &text, std::vector<NamedKernel> &kernels, std::vector<std::string> &notices);

enum class KernelFormat { OWN, GRID, IMAGEMAGICK, GIMP };
bool KernelFormatNamed(const std::string &name, KernelFormat &format);
constexpr char KERNEL_FORMATS[] = "velmorant, grid, imagemagick, gimp";
// What the format cannot say (a mode, a bias, more than five by five) is told.
vlm_code WriteKernel(const Kernel &kernel, const std::string &name, KernelFormat format, std::string &text,
                     std::vector<std::string> &notices);
