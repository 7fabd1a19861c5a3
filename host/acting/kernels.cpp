// The kernels of the Filters dialog as a person meets them: the ready-made ones by name, out of the module's strings,
// and filter files, loaded and saved through the dialog's buttons. What a kernel computes is not known here.

#include "host/acting/kernels.h"

#include "host/acting/suggestion.h"
#include "host/paths/paths.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

//---- Ready-made kernels

// The module's strings: a kernel's text and its name.
static constexpr int32_t FIRST_TEXT = 16, FIRST_NAME = 100;

static std::string ModuleText(int32_t id)
{
    char text[256] = "";
    KPZ_LoadString(nullptr, "VLMEFF", id, text, sizeof text);
    return text;
}

static Kernel ReadKernel(int32_t index, const std::string &name)
{
    Kernel kernel = {FIRST_TEXT + index, name, {}, 1, 0, ""};
    std::istringstream text(ModuleText(kernel.id));
    for (int32_t &element : kernel.elements) text >> element;
    char mode = 0;
    text >> kernel.divisor >> kernel.bias >> mode;
    kernel.mode = mode == 'R' ? "replace" : mode == 'A' ? "add" : "subtract";
    return kernel;
}

std::vector<Kernel> ReadyMadeKernels()
{
    std::vector<Kernel> kernels;
    for (;;) {
        const int32_t index = int32_t(kernels.size());
        const std::string name = ModuleText(FIRST_NAME + index);
        if (name.empty()) return kernels;
        kernels.push_back(ReadKernel(index, name));
    }
}

int32_t FindKernel(const std::vector<Kernel> &kernels, const std::string &name, std::string &error)
{
    std::vector<std::string> names;
    for (size_t i = 0; i < kernels.size(); ++i) {
        if (LowerCase(kernels[i].name) == LowerCase(name)) return int32_t(i);
        names.push_back(kernels[i].name);
    }
    const std::string suggestion = Suggestion(name, names);
    error = "no such kernel" + (suggestion.empty() ? " (velmorant kernels lists them)" : suggestion);
    return -1;
}

int32_t SizeOf(const Kernel &kernel)
{
    constexpr int32_t CENTRE = KERNEL_SIDE / 2;
    int32_t reach = 0;
    for (int32_t i = 0; i < KERNEL_SIDE * KERNEL_SIDE; ++i) {
        if (kernel.elements[i] == 0) continue;
        reach = std::max({reach, abs(i % KERNEL_SIDE - CENTRE), abs(i / KERNEL_SIDE - CENTRE)});
    }
    return 2 * reach + 1;
}

bool LooksLikeNumbers(const std::string &value)
{
    const size_t first = value.find_first_not_of(" ,\t\n");
    return first == std::string::npos || std::string("+-0123456789").find(value[first]) != std::string::npos;
}

bool ChooseKernel(HWND dialog, const std::string &name, std::string &error)
{
    const int32_t entry = FindKernel(ReadyMadeKernels(), name, error);
    if (entry < 0) {
        error = "'" + name + "': " + error;
        return false;
    }
    DoubleClick(dialog, KERNEL_LIST, entry);
    return true;
}

bool SetOptionOrKernel(HWND dialog, const DialogTemplate &table, const std::string &option, const std::string &value,
                       std::string &error)
{
    if (option == "kernel" && !LooksLikeNumbers(value)) return ChooseKernel(dialog, value, error);
    return SetOption(dialog, table, option, value, error);
}

//---- Files

// Beside the file: the module tells nobody whether its Save worked, so it saves where nothing stood.
static std::string FreeNameBeside(const std::string &file)
{
    std::error_code ignored;
    std::string name = file + ".new";
    for (int i = 2; std::filesystem::exists(PathOf(name), ignored); ++i) name = file + ".new" + std::to_string(i);
    return name;
}

// Only ordinary files: another kind may be readable but once, or would be replaced by the file that is saved.
std::string FaultOfKernelFile(const std::string &file, bool save)
{
    std::error_code ignored;
    const std::filesystem::path path = PathOf(file), folder = path.parent_path();
    if (file.empty()) return "a file's name is missing";
    if (file.size() > FILE_NAME_BYTES) return "its name is longer than " + std::to_string(FILE_NAME_BYTES) + " bytes";
    if (std::filesystem::is_directory(path, ignored)) return "is a folder";
    const bool exists = std::filesystem::exists(path, ignored);
    if (exists && !std::filesystem::is_regular_file(path, ignored)) return "is not an ordinary file";
    if (!save) return !exists ? "does not exist" : std::ifstream(path) ? "" : "cannot be read";
    return folder.empty() || std::filesystem::is_directory(folder, ignored) ? "" : "its folder does not exist";
}

bool SaveKernel(HWND dialog, const std::string &file, bool keep, std::string &error)
{
    error = FaultOfKernelFile(file, true);
    if (!error.empty()) return false;
    std::error_code failure;
    const std::string beside = FreeNameBeside(file);
    if (beside.size() <= FILE_NAME_BYTES) PressAndName(dialog, SAVE_KERNEL_BUTTON, beside);
    if (!std::filesystem::exists(PathOf(beside), failure)) {
        error = "cannot be written";
        return false;
    }
    if (keep) std::filesystem::rename(PathOf(beside), PathOf(file), failure);
    else std::filesystem::remove(PathOf(beside), failure);
    if (!failure) return true;
    error = failure.message();
    std::filesystem::remove(PathOf(beside), failure);
    return false;
}
