#include "host/paths/paths.h"

std::string WithoutFolder(const std::string &name) { return NameOf(PathOf(name).filename()); }

#ifdef _WIN32

#include <windows.h>

std::wstring WideOf(const std::string &text)
{
    const int count = MultiByteToWideChar(CP_UTF8, 0, text.data(), int(text.size()), nullptr, 0);
    std::wstring wide(size_t(count), 0);
    MultiByteToWideChar(CP_UTF8, 0, text.data(), int(text.size()), wide.data(), count);
    return wide;
}

std::string Utf8Of(const std::wstring &wide)
{
    const auto length = int(wide.size());
    const int count = WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
    std::string text(size_t(count), 0);
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, text.data(), count, nullptr, nullptr);
    return text;
}

std::filesystem::path PathOf(const std::string &name) { return WideOf(name); }

std::string NameOf(const std::filesystem::path &path) { return Utf8Of(path.native()); }

FILE *OpenByName(const std::string &name, const char *mode)
{
    return _wfopen(WideOf(name).c_str(), WideOf(mode).c_str());
}

#else

std::filesystem::path PathOf(const std::string &name) { return name; }

std::string NameOf(const std::filesystem::path &path) { return path.native(); }

FILE *OpenByName(const std::string &name, const char *mode) { return fopen(name.c_str(), mode); }

#endif
