// The program that `velmorant check --host` starts in a host's folder: loads the module made for watching, which takes
// the host's VLMAPI and VLMMISC for its own since they are loaded already, and hands it the host's driver. It knows
// nothing of what is looked at. Needs nothing but interface/.

#include "interface/host_driver.h"

#include <cstdio>
#include <string>
#include <vector>

#ifdef _WIN32
#include <shellapi.h>
#else
#include <dlfcn.h>
#endif

enum { MODULE = 1, REPORT, ONLY, AFTER, COUNT };

#ifdef _WIN32

// The texts as they were given, in UTF-8, whatever the program's code page is.
static std::vector<std::string> TextsOf(int, char **)
{
    int count = 0;
    wchar_t **wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> texts;
    for (int i = 0; i < count; ++i) {
        std::string text(size_t(WideCharToMultiByte(CP_UTF8, 0, wide[i], -1, nullptr, 0, nullptr, nullptr)), '\0');
        WideCharToMultiByte(CP_UTF8, 0, wide[i], -1, text.data(), int(text.size()), nullptr, nullptr);
        text.pop_back();
        texts.push_back(text);
    }
    return texts;
}

static std::wstring WideOf(const std::string &text)
{
    std::wstring wide(size_t(MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, nullptr, 0)), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, wide.data(), int(wide.size()));
    wide.pop_back();
    return wide;
}

static FILE *OpenReport(const std::string &file) { return _wfopen(WideOf(file).c_str(), L"ab"); }

static WatchHostEntry LoadWatcher(const std::string &file, std::string &problem)
{
    const HMODULE library = LoadLibraryW(WideOf(file).c_str());
    if (!library) problem = "it cannot be loaded: error " + std::to_string(GetLastError());
    return library ? reinterpret_cast<WatchHostEntry>(reinterpret_cast<void *>(GetProcAddress(library, "WatchHost")))
                   : nullptr;
}

#else

static std::vector<std::string> TextsOf(int argc, char **argv) { return {argv, argv + argc}; }

static FILE *OpenReport(const std::string &file) { return fopen(file.c_str(), "ab"); }

static WatchHostEntry LoadWatcher(const std::string &file, std::string &problem)
{
    void *library = dlopen(file.c_str(), RTLD_NOW);
    if (!library) problem = dlerror();
    return library ? reinterpret_cast<WatchHostEntry>(dlsym(library, "WatchHost")) : nullptr;
}

#endif

int main(int argc, char **argv)
{
    const std::vector<std::string> texts = TextsOf(argc, argv);
    if (texts.size() != COUNT) {
        fprintf(stderr, "check_driver: is started by velmorant check --host FOLDER\n");
        return 2;
    }
    std::string problem = "it has no WatchHost";
    if (const WatchHostEntry watch = LoadWatcher(texts[MODULE], problem))
        return watch(TheHostDriver(), texts[REPORT].c_str(), texts[ONLY].c_str(), texts[AFTER].c_str());
    if (FILE *report = OpenReport(texts[REPORT])) {
        fprintf(report, "%s%s\n", UNLOADED_LINE, problem.c_str());
        fclose(report);
    }
    return 1;
}
