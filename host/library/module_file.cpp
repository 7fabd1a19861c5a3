#include "host/library/module_file.h"

#include <filesystem>

#ifdef _WIN32
#include <windows.h>
static constexpr char MODULE_FILE[] = "VLMEFF.dll";
#else
#include <dlfcn.h>
static constexpr char MODULE_FILE[] = "VLMEFF.so";
#endif

#ifdef _WIN32

static std::filesystem::path OwnFile()
{
    HMODULE module = nullptr;
    char file[MAX_PATH] = "";
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<const char *>(&ModuleFile), &module);
    GetModuleFileNameA(module, file, sizeof file);
    return file;
}

#else

// Symbolic links are followed: the module stands beside the file itself.
static std::filesystem::path OwnFile()
{
    Dl_info info;
    if (!dladdr(reinterpret_cast<const void *>(&ModuleFile), &info) || !info.dli_fname) return "";
    std::error_code failure;
    const std::filesystem::path file = std::filesystem::canonical(info.dli_fname, failure);
    return failure ? std::filesystem::path(info.dli_fname) : file;
}

#endif

std::string ModuleFile()
{
    std::error_code ignored;
    const std::filesystem::path folder = OwnFile().parent_path();
    const std::filesystem::path below = folder / "velmorant" / MODULE_FILE;
    if (!std::filesystem::exists(folder / MODULE_FILE, ignored) && std::filesystem::exists(below, ignored)) {
        return below.string();
    }
    return (folder / MODULE_FILE).string();
}
