// The kernels of Filters by the words of the command line: the ready-made ones, and files. What the dialog does with
// them is worked in the dialog.

#pragma once

#include "host/acting/acting.h"

#include <vector>

constexpr int KERNEL_SIDE = 7;

struct Kernel {
    int32_t id;   // of its text among the module's strings
    std::string name;
    int32_t elements[KERNEL_SIDE * KERNEL_SIDE];   // row by row from the top left
    int32_t divisor, bias;
    std::string mode;   // a word of --combine-mode
};

// The module's, in the order of the dialog's list. Empty when it has none.
std::vector<Kernel> ReadyMadeKernels();
// The one of a name, letters' case ignored: its place in the list, or -1 with a line that suggests near ones.
int32_t FindKernel(const std::vector<Kernel> &kernels, const std::string &name, std::string &error);
// The side (1, 3, 5 or 7) of the smallest centred square that holds all of its weights.
int32_t SizeOf(const Kernel &kernel);

// Whether a value for the kernel's fields is to be read as numbers rather than a name.
bool LooksLikeNumbers(const std::string &value);

// A kernel in words: the numbers of a square of 1, 3, 5 or 7 a side, whose rows end in ';', or 49 numbers; and behind
// them, where it brings these too, "divisor N", "bias N" and a word of --combine-mode.
struct KernelWords {
    Kernel kernel;        // divisor 1, bias 0 and replace where they are not named
    bool whole = false;   // any of them was named: elements may be any number then
};
// False with one line.
bool ReadKernelWords(const std::string &value, KernelWords &words, std::string &error);
// Such words for a kernel. `whole` names divisor, bias and mode.
std::string WordsOf(const Kernel &kernel, bool whole);
// The kernel that stands in the dialog, with its divisor, bias and mode, however far beyond the fields' ranges. It has no
// name and no id.
Kernel KernelIn(HWND dialog);
// Puts one into the dialog, as its Load button would from a file.
void GiveKernel(HWND dialog, const Kernel &kernel);
// Whether the dialog has a kernel, and whether its fields can take one: what they cannot is told as a whole.
bool HasKernel(const DialogTemplate &effect);
bool FitsFields(HWND dialog, const DialogTemplate &effect, const Kernel &kernel);
// Its sum, by which it keeps a picture's brightness; 1 where that is 0.
int64_t SumOf(const Kernel &kernel);

// Double-clicks a kernel's entry. False with a line when there is none of that name.
bool ChooseKernel(HWND dialog, const std::string &name, std::string &error);
// As SetOption; the kernel's fields take a ready-made kernel's name too.
bool SetOptionOrKernel(HWND dialog, const DialogTemplate &table, const std::string &option, const std::string &value,
                       std::string &error);

// Loads a filter file into the dialog, whose box tells when the module does not like it. False with a line when it cannot
// be read.
bool LoadKernel(HWND dialog, const std::string &file, std::string &error);
// Saves the dialog's kernel. Without `keep` nothing is written: a trial that leaves all as it was.
bool SaveKernel(HWND dialog, const std::string &file, bool keep, std::string &error);
