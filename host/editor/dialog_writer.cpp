#include "host/editor/dialog_writer.h"

#include "host/paths/paths.h"

static constexpr size_t COUNT = 4;   // the word that counts the controls

DialogWriter::DialogWriter(const std::string &title, DWORD style, SIZE size)
{
    AddLong(style | DS_SETFONT);
    AddLong(0);
    Add({0, 0, 0, int(size.cx), int(size.cy)});
    Add({0, 0});
    AddText(title);
    Add({8});
    AddText("MS Shell Dlg");
}

void DialogWriter::AddControl(const char *kind, const std::string &text, int id, DWORD style, RECT place,
                              DWORD extended)
{
    if (words.size() % 2) words.push_back(0);
    AddLong(style | WS_CHILD | WS_VISIBLE);
    AddLong(extended);
    Add({int(place.left), int(place.top), int(place.right - place.left), int(place.bottom - place.top), id});
    AddText(kind);
    AddText(text);
    Add({0});
    ++words[COUNT];
}

void DialogWriter::Add(std::initializer_list<int> values)
{
    for (int value : values) words.push_back(WORD(value));
}

void DialogWriter::AddLong(DWORD value) { Add({LOWORD(value), HIWORD(value)}); }

void DialogWriter::AddText(const std::string &text)
{
    for (const wchar_t letter : WideOf(text)) words.push_back(WORD(letter));
    words.push_back(0);
}
