// Libraries at run time, by each system's own calls: opening one, finding names in it, and the files that code and
// the program came from. Where to look for a library, what to do without one and when to close it is the callers'
// business.

#include "host/documents/library.h"

#include "host/paths/paths.h"

#include <system_error>

#ifdef _WIN32

#include <windows.h>

void *OpenLibrary(const std::string &file, std::string &error)
{
    void *library = LoadLibraryW(PathOf(file).c_str());
    if (!library) error = file + " cannot be loaded (error " + std::to_string(GetLastError()) + ")";
    return library;
}

void *FindName(void *library, const char *name)
{
    return reinterpret_cast<void *>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void CloseLibrary(void *library) { FreeLibrary(static_cast<HMODULE>(library)); }

static std::string FileOf(HMODULE module)
{
    std::wstring file(MAX_PATH, 0);
    DWORD length;
    while ((length = GetModuleFileNameW(module, file.data(), DWORD(file.size()))) == file.size())
        file.resize(2 * file.size());   // cut off
    file.resize(length);
    return Utf8Of(file);
}

std::string FileOfCode(const void *address)
{
    constexpr DWORD WAY = GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS;
    HMODULE module = nullptr;
    return GetModuleHandleExW(WAY, static_cast<const wchar_t *>(address), &module) ? FileOf(module) : "";
}

std::string ProgramFile() { return FileOf(nullptr); }

#else

#include <dlfcn.h>
#include <fstream>
#include <stdlib.h>

void *OpenLibrary(const std::string &file, std::string &error)
{
    void *library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) error = dlerror();
    return library;
}

void *FindName(void *library, const char *name) { return dlsym(library, name); }

void CloseLibrary(void *library) { dlclose(library); }

// The file that the system has mapped there. A line of the list is "begin-end rights offset device inode   /file".
static std::string MappedFile(const void *address)
{
    std::ifstream list("/proc/self/maps");
    for (std::string line; std::getline(list, line);) {
        char *rest = nullptr;
        const uint64_t begin = strtoull(line.c_str(), &rest, 16),
                       end = *rest == '-' ? strtoull(rest + 1, nullptr, 16) : 0, wanted = uintptr_t(address);
        const size_t file = line.find('/');
        if (wanted >= begin && wanted < end && file != std::string::npos) return line.substr(file);
    }
    return "";
}

// What was loaded by a relative name is known by that to the loader, whichever folder the program has gone to since.
std::string FileOfCode(const void *address)
{
    Dl_info info;
    if (!dladdr(address, &info) || !info.dli_fname) return "";
    const std::string mapped = info.dli_fname[0] == '/' ? "" : MappedFile(address);
    const std::string name = mapped.empty() ? info.dli_fname : mapped;
    std::error_code failure;
    const std::filesystem::path file = std::filesystem::canonical(PathOf(name), failure);
    return failure ? name : NameOf(file);
}

std::string ProgramFile()
{
    std::error_code failure;
    return NameOf(std::filesystem::read_symlink("/proc/self/exe", failure));
}

#endif

std::string ProgramFolder() { return NameOf(PathOf(ProgramFile()).parent_path()); }
