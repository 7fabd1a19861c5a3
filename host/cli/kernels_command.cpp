// `velmorant kernels`: the ready-made kernels of Filters.

#include "host/cli/commands.h"
#include "host/cli/report.h"
#include "host/library/velmorant.h"

#include <cstdio>

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

int ListKernels(const CommandLine &line)
{
    const char *name = line.kernel.empty() ? nullptr : line.kernel.c_str();
    const vlm_kernel *kernel = name ? vlm_kernel_named(name) : vlm_kernel_at(0);
    const char *json = kernel && line.json ? vlm_kernels_json(name) : nullptr;
    if (!kernel || (line.json && !json)) {
        ReportLine(vlm_error_line());
        return EXIT_FAILED;
    }
    if (json) printf("%s\n", json);
    else if (name) PrintKernel(*kernel);
    else PrintList();
    return EXIT_DONE;
}
