#include "host/library/module_file.h"

#include "host/documents/library.h"
#include "host/paths/paths.h"

#ifdef _WIN32
static constexpr char MODULE_FILE[] = "VLMEFF.dll";
#else
static constexpr char MODULE_FILE[] = "VLMEFF.so";
#endif

std::string ModuleFile()
{
    std::error_code ignored;
    const std::string file = FileOfCode(reinterpret_cast<const void *>(&ModuleFile));
    const std::filesystem::path folder = PathOf(file).parent_path();
    const std::filesystem::path below = folder / "velmorant" / MODULE_FILE;
    if (!std::filesystem::exists(folder / MODULE_FILE, ignored) && std::filesystem::exists(below, ignored)) {
        return NameOf(below);
    }
    return NameOf(folder / MODULE_FILE);
}
