// See words.h.

#include "host/documents/files/words.h"

#include "host/documents/files/exif.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <utility>

const char COMMENT[] = "Comment";

static bool IsNamed(const FileText &text, const std::string &name)
{
    return std::equal(text.name.begin(), text.name.end(), name.begin(), name.end(), [](char a, char b) {
        return tolower(static_cast<unsigned char>(a)) == tolower(static_cast<unsigned char>(b));
    });
}

bool IsComment(const FileText &text) { return IsNamed(text, COMMENT); }

bool IsUtf8(const std::string &text)
{
    for (size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const size_t more = byte < 0x80                   ? 0
                            : byte >= 0xC2 && byte < 0xE0 ? 1
                            : byte >> 4 == 0xE            ? 2
                            : byte >> 3 == 0x1E           ? 3
                                                          : 9;
        if (more == 9 || i + more >= text.size()) return false;
        for (size_t k = 1; k <= more; ++k)
            if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
        i += 1 + more;
    }
    return true;
}

std::string TextInUtf8(const Bytes &bytes)
{
    size_t end = bytes.size();
    while (end > 0 && bytes[end - 1] == 0) --end;
    std::string text(bytes.begin(), bytes.begin() + ptrdiff_t(end));
    std::replace(text.begin(), text.end(), '\0', ' ');
    if (IsUtf8(text)) return text;
    std::string wide;
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (byte < 0x80) wide += letter;
        else wide += {char(0xC0 | byte >> 6), char(0x80 | (byte & 0x3F))};
    }
    return wide;
}

bool TextInLatin1(const std::string &text, std::string &latin)
{
    latin.clear();
    for (size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x80) latin += text[i];
        else if ((byte == 0xC2 || byte == 0xC3) && i + 1 < text.size())
            latin += char((byte & 3) << 6 | (text[++i] & 0x3F));
        else return false;
    }
    return true;
}

void MoveTexts(std::vector<FileText> &texts, Exif &exif)
{
    static const struct {
        const char *name;
        int tag;
    } places[] = {{"Description", EXIF_DESCRIPTION},
                  {"Author", EXIF_ARTIST},
                  {"Copyright", EXIF_COPYRIGHT},
                  {"Software", EXIF_SOFTWARE}};
    for (const auto &place : places) {
        const auto found =
            std::find_if(texts.begin(), texts.end(), [&](const FileText &text) { return IsNamed(text, place.name); });
        if (found == texts.end() || FieldOf(std::as_const(exif.picture), place.tag)) continue;
        SetText(exif.picture, place.tag, found->text);
        texts.erase(found);
    }
}
