// `velmorant kernels`: the ready-made kernels of Filters.

#include "host/acting/kernels.h"
#include "host/cli/commands.h"
#include "host/cli/report.h"

#include <nlohmann/json.hpp>

#include <cstdio>

typedef nlohmann::ordered_json Json;

static Json KernelJson(const Kernel &kernel)
{
    return {{"id", kernel.id},     {"name", kernel.name}, {"size", SizeOf(kernel)},   {"divisor", kernel.divisor},
            {"bias", kernel.bias}, {"mode", kernel.mode}, {"kernel", kernel.elements}};
}

static void PrintJson(const std::vector<Kernel> &kernels, bool single)
{
    Json json = Json::array();
    for (const Kernel &kernel : kernels) json.push_back(KernelJson(kernel));
    printf("%s\n", (single ? json[0] : json).dump(2).c_str());
}

static void PrintList(const std::vector<Kernel> &kernels)
{
    printf("%3s  %-29s %4s %8s %5s  %s\n", "id", "name", "size", "divisor", "bias", "mode");
    for (const Kernel &kernel : kernels) {
        printf("%3d  %-29s %4d %8d %5d  %s\n", kernel.id, kernel.name.c_str(), SizeOf(kernel), kernel.divisor,
               kernel.bias, kernel.mode.c_str());
    }
    printf("\n\"velmorant kernels NAME\" shows one, \"velmorant apply filters IN OUT --kernel NAME\" applies it.\n");
}

static void PrintKernel(const Kernel &kernel)
{
    printf("%s\n\n", kernel.name.c_str());
    for (int32_t i = 0; i < KERNEL_SIDE * KERNEL_SIDE; ++i) {
        printf("%4d%s", kernel.elements[i], i % KERNEL_SIDE == KERNEL_SIDE - 1 ? "\n" : "");
    }
    printf("\ndivisor %d, bias %d, mode %s\n", kernel.divisor, kernel.bias, kernel.mode.c_str());
}

static bool LoadKernels(std::vector<Kernel> &kernels)
{
    Host host;
    std::string error;
    if (!StartHost(host, "", error)) {
        Report("effects module", error);
        return false;
    }
    kernels = ReadyMadeKernels();
    EndHost(host);
    return true;
}

int ListKernels(const CommandLine &line)
{
    std::vector<Kernel> kernels;
    if (!LoadKernels(kernels)) return EXIT_FAILED;
    if (!line.kernel.empty()) {
        std::string error;
        const int32_t found = FindKernel(kernels, line.kernel, error);
        if (found < 0) {
            Report(line.kernel, error);
            return EXIT_FAILED;
        }
        kernels = {kernels[size_t(found)]};
    }
    if (line.json) PrintJson(kernels, !line.kernel.empty());
    else if (line.kernel.empty()) PrintList(kernels);
    else PrintKernel(kernels[0]);
    return EXIT_DONE;
}
