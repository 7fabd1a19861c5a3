#include "host/paths/user_folder.h"

#include "host/paths/paths.h"

#include <cstdlib>

#ifdef _WIN32

std::string UserFolder()
{
    const wchar_t *data = _wgetenv(L"APPDATA");
    return data && *data ? NameOf(std::filesystem::path(data) / "Velmorant") : "";
}

#else

// A place that is no full path counts for nothing, as freedesktop.org's rules have it.
std::string UserFolder()
{
    const char *config = getenv("XDG_CONFIG_HOME"), *home = getenv("HOME");
    if (config && *config == '/') return NameOf(PathOf(config) / "velmorant");
    return home && *home == '/' ? NameOf(PathOf(home) / ".config" / "velmorant") : "";
}

#endif
