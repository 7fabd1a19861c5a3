// See batch_program.h: where the installer puts the two programs.

#include "host/editor/batch_program.h"

#include "host/paths/paths.h"

std::string BatchProgramIn(const std::string &editorFolder, bool of64Bits)
{
    const std::filesystem::path folder = PathOf(editorFolder);
    const std::filesystem::path large = folder / "command" / "velmorant.exe", own = folder / "velmorant.exe";
    std::error_code ignored;
    if (of64Bits && std::filesystem::exists(large, ignored)) return NameOf(large);
    return std::filesystem::exists(own, ignored) ? NameOf(own) : "";
}
