#include "host/documents/library.h"

#include <filesystem>
#include <system_error>

#ifdef _WIN32

#include <windows.h>

void *OpenLibrary(const std::string &file, std::string &error)
{
    void *library = LoadLibraryA(file.c_str());
    if (!library) error = file + " cannot be loaded (error " + std::to_string(GetLastError()) + ")";
    return library;
}

void *FindName(void *library, const char *name)
{
    return reinterpret_cast<void *>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void CloseLibrary(void *library) { FreeLibrary(static_cast<HMODULE>(library)); }

std::string ProgramFolder()
{
    char file[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, file, sizeof file);
    return std::filesystem::path(file).parent_path().string();
}

#else

#include <dlfcn.h>

void *OpenLibrary(const std::string &file, std::string &error)
{
    void *library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) error = dlerror();
    return library;
}

void *FindName(void *library, const char *name) { return dlsym(library, name); }

void CloseLibrary(void *library) { dlclose(library); }

std::string ProgramFolder()
{
    std::error_code failure;
    return std::filesystem::read_symlink("/proc/self/exe", failure).parent_path().string();
}

#endif
