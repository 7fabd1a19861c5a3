// Kernels that are kept by name: reading their folder anew at every question, since other programs keep kernels there too,
// and importing, exporting and deleting them. What a text of a kernel means is kernel_formats.cpp's.

#include "host/library/own_kernels.h"

#include "host/acting/suggestion.h"
#include "host/documents/files/streams.h"
#include "host/library/calls.h"
#include "host/library/user_places.h"
#include "host/paths/paths.h"

#include <algorithm>
#include <stdio.h>
#include <string.h>

static constexpr UserFiles kind = {"kernels", ".kernel", "kernel"};
static constexpr size_t MOST_BYTES = 64 * 1024;

static bool ReadText(const std::string &file, std::string &text)
{
    FILE *stream = OpenByName(file, "rb");
    if (!stream) return false;
    text.resize(MOST_BYTES + 1);
    text.resize(fread(text.data(), 1, text.size(), stream));
    const bool read = !ferror(stream) && text.size() <= MOST_BYTES;
    fclose(stream);
    return read;
}

// Empty with a kernel, else what is wrong.
static std::string FaultOf(const std::string &file, Kernel &kernel)
{
    std::string text;
    std::vector<NamedKernel> kernels;
    std::vector<std::string> ignored;
    if (!ReadText(file, text)) return file + ": cannot be read";
    if (ReadKernels(text, kernels, ignored) != VLM_OK) return file + ": " + vlm_error_line();
    if (kernels.size() != 1) return file + ": holds " + std::to_string(kernels.size()) + " kernels";
    kernel = kernels[0].kernel;
    kernel.name = NameOfUserFile(kind, file);
    return "";
}

std::vector<Kernel> OwnKernels(std::vector<std::string> &faults)
{
    std::vector<Kernel> kernels;
    for (const std::string &file : FilesOf(kind)) {
        Kernel kernel;
        const std::string fault = FaultOf(file, kernel);
        if (fault.empty()) kernels.push_back(std::move(kernel));
        else faults.push_back(fault);
    }
    return kernels;
}

bool FindOwnKernel(const std::string &name, std::string &words, std::string &fault)
{
    const std::string file = FindUserFile(kind, name);
    if (file.empty()) return false;
    Kernel kernel;
    fault = FaultOf(file, kernel);
    words = WordsOf(kernel, true);
    return true;
}

//---- Through the door

static bool IsReadyMade(const std::string &name)
{
    for (int i = 0; i < vlm_kernel_count() && vlm_kernel_at(i)->id; ++i)
        if (SameName(vlm_kernel_at(i)->name, name)) return true;
    return false;
}

static vlm_code Keep(const NamedKernel &named, const std::string &name, bool replace)
{
    if (const vlm_code code = CheckUserName(kind, name)) return code;
    const bool numbers = LooksLikeNumbers(name);
    if (numbers) return Fail(VLM_BAD_VALUE, name, "would be taken for a kernel's numbers");
    if (IsReadyMade(name)) return Fail(VLM_BAD_VALUE, name, "is a ready-made kernel");
    std::string file = FindUserFile(kind, name), text, error;
    std::vector<std::string> notices;
    if (!file.empty() && !replace) return Fail(VLM_BAD_VALUE, name, "is a kernel already");
    if (file.empty())
        if (const vlm_code code = PlaceForUserFile(kind, name, file)) return code;
    if (const vlm_code code = WriteKernel(named.kernel, name, KernelFormat::OWN, text, notices)) return code;
    Sink sink;
    const bool written = OpenSink(sink, file, false, error) && Put(sink, text.data(), text.size());
    return written && FinishSink(sink, notices, error) ? VLM_OK : Fail(VLM_CANNOT_WRITE, file, error);
}

static vlm_code KeepOf(const std::vector<NamedKernel> &kernels, const char *name, bool replace)
{
    if (!name) {
        for (const NamedKernel &kernel : kernels)
            if (const vlm_code code = Keep(kernel, kernel.name, replace)) return code;
        return VLM_OK;
    }
    const auto named = std::find_if(kernels.begin(), kernels.end(),
                                    [name](const NamedKernel &kernel) { return SameName(kernel.name, name); });
    if (named != kernels.end()) return Keep(*named, name, replace);
    if (kernels.size() == 1) return Keep(kernels[0], name, replace);
    std::string names;
    for (const NamedKernel &kernel : kernels) names += (names.empty() ? "" : ", ") + kernel.name;
    return Fail(VLM_BAD_VALUE, name, "is none of the kernels there: " + names);
}

vlm_code vlm_kernel_import(const char *text, const char *name, int replace)
{
    return Guarded([&] {
        if (!text) return FailArgument("text");
        std::vector<NamedKernel> kernels;
        std::vector<std::string> notices;
        vlm_code code = ReadKernels(text, kernels, notices);
        if (code == VLM_OK) code = KeepOf(kernels, name, replace);
        SetNotices(notices);
        return code;
    });
}

char *vlm_kernel_export(const char *name, const char *format)
{
    char *made = nullptr;
    Guarded([&] {
        if (!name) return FailArgument("name");
        KernelFormat wanted = KernelFormat::OWN;
        if (format && !KernelFormatNamed(format, wanted))
            return Fail(VLM_BAD_VALUE, format, std::string("is no format of kernels: ") + KERNEL_FORMATS);
        const vlm_kernel *found = vlm_kernel_named(name);
        if (!found) return vlm_error_code();
        Kernel kernel = {found->id, found->name, {}, found->divisor, found->bias, found->mode};
        std::copy(std::begin(found->elements), std::end(found->elements), kernel.elements);
        std::string text;
        std::vector<std::string> notices;
        const vlm_code code = WriteKernel(kernel, found->name, wanted, text, notices);
        SetNotices(notices);
        if (code) return code;
        made = strdup(text.c_str());
        return made ? VLM_OK : FailMemory();
    });
    return made;
}

vlm_code vlm_kernel_delete(const char *name)
{
    return Guarded([&] {
        if (!name) return FailArgument("name");
        const std::string file = FindUserFile(kind, name);
        if (file.empty()) {
            if (IsReadyMade(name)) return Fail(VLM_BAD_VALUE, name, "comes with the program and stays as it is");
            return Fail(VLM_BAD_VALUE, name, "no such kernel (velmorant kernels lists them)");
        }
        std::error_code failure;
        std::filesystem::remove(PathOf(file), failure);
        return failure ? Fail(VLM_CANNOT_WRITE, file, failure.message()) : VLM_OK;
    });
}

const char *vlm_kernel_folder(void)
{
    static thread_local char kept[1000];
    Guarded([] {
        snprintf(kept, sizeof kept, "%s", FolderOf(kind).c_str());
        return VLM_OK;
    });
    return kept;
}
