// `velmorant kernels`: the ready-made kernels of Filters and the user's own, which are imported, exported and deleted here.
// What texts of kernels mean, and where they are kept, is the library's.

#include "host/cli/commands.h"
#include "host/cli/pictures.h"
#include "host/cli/report.h"
#include "host/library/velmorant.h"
#include "host/paths/paths.h"

#include <cstdio>

static constexpr size_t MOST_BYTES = 1 << 20;   // of a text

static void PrintList()
{
    printf("%3s  %-29s %4s %8s %5s  %s\n", "id", "name", "size", "divisor", "bias", "mode");
    for (int i = 0; i < vlm_kernel_count(); ++i) {
        const vlm_kernel &kernel = *vlm_kernel_at(i);
        printf("%3d  %-29s %4d %8d %5d  %s\n", kernel.id, kernel.name, kernel.size, kernel.divisor, kernel.bias,
               kernel.mode);
    }
    printf("\n\"velmorant kernels NAME\" shows one, \"velmorant apply filters IN OUT --kernel NAME\" applies it.\n");
}

static void PrintKernel(const vlm_kernel &kernel)
{
    printf("%s\n\n", kernel.name);
    for (int i = 0; i < VLM_KERNEL_SIDE * VLM_KERNEL_SIDE; ++i)
        printf("%4d%s", kernel.elements[i], i % VLM_KERNEL_SIDE == VLM_KERNEL_SIDE - 1 ? "\n" : "");
    printf("\ndivisor %d, bias %d, mode %s\n", kernel.divisor, kernel.bias, kernel.mode);
}

static int Show(const CommandLine &line)
{
    const char *name = line.words.empty() ? nullptr : line.words[0].c_str();
    const int count = name ? 1 : vlm_kernel_count();
    const std::vector<std::string> faults = name ? std::vector<std::string>() : Notices();
    const vlm_kernel *kernel = name ? vlm_kernel_named(name) : count ? vlm_kernel_at(0) : nullptr;
    const char *json = kernel && line.json ? vlm_kernels_json(name) : nullptr;
    if (!kernel || (line.json && !json)) {
        ReportLine(vlm_error_line());
        return EXIT_FAILED;
    }
    for (const std::string &fault : faults) ReportLine(fault);
    if (json) printf("%s\n", json);
    else if (name) PrintKernel(*kernel);
    else PrintList();
    return EXIT_DONE;
}

//---- The user's own

static int Fail(const std::string &line)
{
    ReportLine(line);
    return EXIT_FAILED;
}

static bool ReadText(const std::string &file, std::string &text)
{
    FILE *stream = file == "-" ? stdin : OpenByName(file, "rb");
    if (!stream) return false;
    char bytes[4096];
    for (size_t count; text.size() < MOST_BYTES && (count = fread(bytes, 1, sizeof bytes, stream)) > 0;)
        text.append(bytes, count);
    const bool read = !ferror(stream);
    if (stream != stdin) fclose(stream);
    return read;
}

// One that has a name itself keeps it, else it has its file's.
static int Import(const CommandLine &line)
{
    const std::string &file = line.words[1];
    std::string text;
    if (!ReadText(file, text)) return Fail(InputName(file) + ": cannot be read");
    const bool named = text.find("Kernel \"") != std::string::npos || text.find("GimpGegl-") != std::string::npos;
    const std::string ownName = file == "-" ? "" : NameOf(PathOf(file).stem());
    if (line.words.size() < 3 && !named && ownName.empty()) return Fail("kernels: import - NAME: the name is missing");
    const std::string name = line.words.size() > 2 ? line.words[2] : named ? "" : ownName;
    const vlm_code code = vlm_kernel_import(text.c_str(), name.empty() ? nullptr : name.c_str(), line.replace);
    ReportAll(InputName(file), Notices());
    if (code == VLM_BAD_TEXT) return Fail(InputName(file) + ": " + vlm_error_line());
    return code == VLM_OK ? EXIT_DONE : Fail(vlm_error_line());
}

static int Export(const CommandLine &line)
{
    char *text = vlm_kernel_export(line.words[1].c_str(), line.format.empty() ? nullptr : line.format.c_str());
    if (!text) return Fail(vlm_error_line());
    const std::string kept = text, &file = line.words[2];
    vlm_free(text);
    ReportAll(OutputName(file), Notices());
    FILE *stream = file == "-" ? stdout : OpenByName(file, "wb");
    const bool put = stream && fwrite(kept.data(), 1, kept.size(), stream) == kept.size();
    const bool written = put && (stream == stdout ? fflush(stream) : fclose(stream)) == 0;
    return written ? EXIT_DONE : Fail(OutputName(file) + ": cannot be written");
}

static int Delete(const CommandLine &line)
{
    return vlm_kernel_delete(line.words[1].c_str()) == VLM_OK ? EXIT_DONE : Fail(vlm_error_line());
}

int DoKernels(const CommandLine &line)
{
    static constexpr struct {
        const char *name;
        size_t least, most;
        const char *usage;
        int (*act)(const CommandLine &line);
    } actions[] = {{"import", 2, 3, "FILE [NAME]", Import},
                   {"export", 3, 3, "NAME FILE", Export},
                   {"delete", 2, 2, "NAME", Delete}};
    for (const auto &action : actions) {
        if (line.words.empty() || line.words[0] != action.name) continue;
        if (line.words.size() >= action.least && line.words.size() <= action.most) return action.act(line);
        Report(action.name, std::string("is given as velmorant kernels ") + action.name + " " + action.usage);
        return EXIT_USAGE;
    }
    if (line.words.size() <= 1) return Show(line);
    Report(line.words[1], "one argument too many (velmorant kernels --help tells more)");
    return EXIT_USAGE;
}
