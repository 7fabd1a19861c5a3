// Kernels in the user's own folder, a file each, in the words of --kernel.

#pragma once

#include "host/library/kernel_formats.h"

// All that are there, in the order of their files' names; a line for each that cannot be read.
std::vector<Kernel> OwnKernels(std::vector<std::string> &faults);
// The words of one; false when there is none of that name. With `fault` when it cannot be read. [any]
bool FindOwnKernel(const std::string &name, std::string &words, std::string &fault);
