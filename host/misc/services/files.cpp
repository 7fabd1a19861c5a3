// Text files that a dialog loads and saves; the name is asked of the host's own program, or the text handed to it. A
// file takes its target's place when it is whole, so that a failed write leaves what stood there before.

#include "host/misc/misc.h"
#include "host/misc/pictures/image_copy.h"
#include "host/paths/paths.h"
#include "host/paths/replacement.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

static constexpr size_t NAME_BYTES = 256;

static FileNameRoutine nameRoutine;
static void *nameContext;

void KPZAPI MiscAnswerFileNames(FileNameRoutine routine, void *context)
{
    nameRoutine = routine;
    nameContext = context;
}

static const char *standInText;
static SavedTextRoutine standInRoutine;
static void *standInContext;

void KPZAPI MiscStandInForFiles(const char *loaded, SavedTextRoutine saved, void *context)
{
    standInText = loaded;
    standInRoutine = saved;
    standInContext = context;
}

static bool AskForName(BOOL save, const char *title, const char *types, char *name)
{
    if (!nameRoutine || !nameRoutine(nameContext, save, title, types, name)) return false;
    name[NAME_BYTES - 1] = 0;
    return name[0] != 0;
}

static char *CopyOf(const char *text, size_t length)
{
    auto *contents = reinterpret_cast<char *>(AllocateBytes(uint32_t(length) + 1));
    memcpy(contents, text, length + 1);
    return contents;
}

static char *ReadText(const char *name)
{
    std::ifstream file(PathOf(name), std::ios::binary);
    if (!file) return nullptr;
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (file.bad() || text.size() >= INT32_MAX) return nullptr;
    return CopyOf(text.c_str(), text.size());
}

static bool WriteText(const std::string &name, const char *text, int32_t length)
{
    Replacement replacement;
    if (BeginReplacement(replacement, name)) return false;
    const bool written = fwrite(text, 1, size_t(length), replacement.file) == size_t(length);
    return written && !FinishReplacement(replacement);
}

char *KPZAPI LoadFile(char *name, const char *title, const char *types, int32_t zero, HWND owner, int32_t alsoZero)
{
    LogCall("LoadFile", title, name, title, types, zero, owner, alsoZero);
    std::error_code ignored;
    if (standInText) return CopyOf(standInText, strlen(standInText));
    if (!AskForName(FALSE, title, types, name) || std::filesystem::is_directory(PathOf(name), ignored)) return nullptr;
    return ReadText(name);
}

int32_t KPZAPI SaveFile(const char *text, int32_t length, int32_t zero, const char *title, const char *types,
                        int32_t alsoZero, HWND owner)
{
    LogCall("SaveFile", title, text, length, zero, title, types, alsoZero);
    (void)owner;
    if (standInRoutine) return standInRoutine(standInContext, text, length), 1;
    char name[NAME_BYTES] = "";
    std::error_code ignored;
    if (!AskForName(TRUE, title, types, name)) return 0;
    return !std::filesystem::is_directory(PathOf(name), ignored) && WriteText(name, text, length);
}
