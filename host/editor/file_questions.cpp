// Which file: the system's file dialogs, asked by the editor's own commands and by the effects' dialogs. Nothing is
// read or written here.

#include "host/editor/file_questions.h"

#include "host/editor/forms.h"
#include "host/editor/own_dialogs.h"
#include "host/editor/questions.h"
#include "host/editor/remembered.h"
#include "host/paths/paths.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <shlobj.h>

static constexpr size_t NAME_BYTES = 1024;

// "*.png;*.bmp"
static std::string Patterns()
{
    std::string patterns, endings = KnownEndings() + ", ";
    for (size_t start = 0, end; (end = endings.find(", ", start)) != std::string::npos; start = end + 2) {
        patterns += (patterns.empty() ? "*." : ";*.") + endings.substr(start, end - start);
    }
    return patterns;
}

// Pairs of a label and patterns, each ended by a zero byte, and one more at the end.
static std::string Filter()
{
    const std::string patterns = Patterns();
    return "Pictures (" + patterns + ")" + '\0' + patterns + '\0' + "All files" + '\0' + "*.*" + '\0';
}

// Whose button was pressed: an effect's dialog or one of the editor's own, which is then the active one.
static HWND AskingWindow(const Editor &editor)
{
    const HWND active = GetActiveWindow();
    return HostDialogTemplate(active) || IsOwnDialog(active) ? active : editor.frame;
}

static OPENFILENAMEA Question(const Editor &editor, const char *title, const char *filter, char *name, size_t size)
{
    OPENFILENAMEA question = {};
    question.lStructSize = sizeof question;
    question.hwndOwner = AskingWindow(editor);
    question.lpstrFilter = filter;
    question.lpstrFile = name;
    question.nMaxFile = DWORD(size);
    question.lpstrTitle = title;
    question.Flags = OFN_EXPLORER | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
    return question;
}

// From the folder of the last time; the system's dialog copies its name.
static bool AskFrom(const Editor &editor, BOOL save, OPENFILENAMEA &question)
{
    const std::string folder = Remembered("folder");
    if (!folder.empty()) question.lpstrInitialDir = folder.c_str();
    if (!AskForFile(editor, save, question)) return false;
    const std::filesystem::path path = PathOf(question.lpstrFile);
    const bool several = question.Flags & OFN_ALLOWMULTISELECT && question.lpstrFile[question.nFileOffset - 1] == 0;
    Remember("folder", NameOf(several ? path : path.parent_path()));
    return true;
}

std::string AskForPicture(const Editor &editor, const char *title)
{
    char name[NAME_BYTES] = "";
    const std::string filter = Filter();
    OPENFILENAMEA question = Question(editor, title, filter.c_str(), name, sizeof name);
    question.Flags |= OFN_FILEMUSTEXIST;
    return AskFrom(editor, FALSE, question) ? name : "";
}

// Several files come as their folder and then their names, each ended by a zero byte.
std::vector<std::string> AskForPictures(const Editor &editor, const char *title)
{
    std::vector<char> names(32768);
    const std::string filter = Filter();
    OPENFILENAMEA question = Question(editor, title, filter.c_str(), names.data(), names.size());
    question.Flags |= OFN_FILEMUSTEXIST | OFN_ALLOWMULTISELECT;
    if (!AskFrom(editor, FALSE, question)) return {};
    const std::string first = names.data();
    const char *name = names.data() + first.size() + 1;
    if (!*name) return {first};
    std::vector<std::string> files;
    for (; *name; name += strlen(name) + 1) files.push_back(NameOf(PathOf(first) / PathOf(name)));
    return files;
}

static int CALLBACK ChooseFirst(HWND window, UINT message, LPARAM, LPARAM first)
{
    if (message == BFFM_INITIALIZED && first) SendMessageW(window, BFFM_SETSELECTIONW, TRUE, first);
    return 0;
}

std::string AskForFolder(const Editor &editor, const std::string &first)
{
    const std::wstring start = WideOf(first);
    BROWSEINFOW question = {};
    question.hwndOwner = AskingWindow(editor);
    question.lpszTitle = L"Folder for the pictures";
    question.ulFlags = BIF_RETURNONLYFSDIRS | BIF_EDITBOX;
    question.lpfn = ChooseFirst;
    question.lParam = first.empty() ? 0 : reinterpret_cast<LPARAM>(start.c_str());
    std::string folder;
    AskByDialog(editor, [&]() -> INT_PTR {
        const LPITEMIDLIST chosen = SHBrowseForFolderW(&question);
        wchar_t name[MAX_PATH] = L"";
        if (chosen && SHGetPathFromIDListW(chosen, name)) folder = Utf8Of(name);
        if (chosen) CoTaskMemFree(chosen);
        return 0;
    });
    return folder;
}

//---- Saving

// In the order in which they are offered.
static constexpr struct {
    FileFormat format;
    const char *label;
} savedFormats[] = {
    {FileFormat::TIFF, "TIFF, keeps objects, mask and selected area"},
    {FileFormat::PNG, "PNG"},
    {FileFormat::JPEG, "JPEG, small files, loses a little"},
    {FileFormat::BMP, "BMP"},
    {FileFormat::PNM, "PNM"},
    {FileFormat::GIF, "GIF, 256 colours"},
    {FileFormat::WEBP, "WebP"},
};

static std::string PatternsOf(FileFormat format)
{
    std::string patterns;
    for (const std::string &ending : EndingsOf(format)) patterns += (patterns.empty() ? "*." : ";*.") + ending;
    return patterns;
}

static std::string SaveFilter()
{
    std::string filter;
    for (const auto &row : savedFormats) {
        const std::string patterns = PatternsOf(row.format);
        filter += std::string(row.label) + " (" + patterns + ")" + '\0' + patterns + '\0';
    }
    return filter;
}

static DWORD RowOf(FileFormat format)
{
    for (DWORD i = 0; i < std::size(savedFormats); ++i)
        if (savedFormats[i].format == format) return i + 1;
    return 1;
}

// What stands behind the last dot of the name itself.
static bool HasEnding(const std::string &name) { return !PathOf(name).extension().empty(); }

// Without the system's own question, which does not know yet which ending the name gets.
static bool MayReplace(const Editor &editor, const std::string &name)
{
    std::error_code ignored;
    if (!std::filesystem::exists(PathOf(name), ignored)) return true;
    const std::string text = WithoutFolder(name) + " is there already.\n\nReplace it?";
    return ShowMessage(editor, text, MB_YESNO | MB_ICONQUESTION) == IDYES;
}

std::string AskWhereToSave(const Editor &editor, const char *title, const std::string &suggested, FileFormat &format)
{
    char name[NAME_BYTES] = "";
    snprintf(name, sizeof name, "%s", suggested.c_str());
    const std::string filter = SaveFilter();
    DWORD row = RowOf(FormatOfName(name));
    for (;;) {
        OPENFILENAMEA question = Question(editor, title, filter.c_str(), name, sizeof name);
        question.Flags |= OFN_PATHMUSTEXIST;
        question.nFilterIndex = row;
        if (!AskFrom(editor, TRUE, question)) return "";
        row = std::clamp<DWORD>(question.nFilterIndex, 1, DWORD(std::size(savedFormats)));
        std::string answer = name;
        if (!HasEnding(answer)) answer += "." + EndingsOf(savedFormats[row - 1].format)[0];
        format = FormatOfName(answer);
        if (format == FileFormat::UNKNOWN) {
            ShowMessage(editor,
                        WithoutFolder(answer) + ": its ending tells no format. There are " + KnownEndings() + ".",
                        MB_ICONERROR);
        } else if (MayReplace(editor, answer)) {
            return answer;
        }
    }
}

std::string AskForRecipe(const Editor &editor, const std::string &suggested)
{
    char name[NAME_BYTES] = "";
    snprintf(name, sizeof name, "%s", suggested.c_str());
    const std::string filter = std::string("Recipes (*.recipe)") + '\0' + "*.recipe" + '\0';
    for (;;) {
        OPENFILENAMEA question = Question(editor, "Save as Recipe", filter.c_str(), name, sizeof name);
        question.Flags |= OFN_PATHMUSTEXIST;
        question.lpstrDefExt = "recipe";
        if (!AskFrom(editor, TRUE, question)) return "";
        if (MayReplace(editor, name)) return name;
    }
}

enum { QUALITY = 1, SIZE_TEXT };

static std::string SizeText(size_t bytes)
{
    char text[40];
    if (bytes < 100 * 1024) snprintf(text, sizeof text, "%.1f KB", double(bytes) / 1024);
    else snprintf(text, sizeof text, "%.2f MB", double(bytes) / (1024 * 1024));
    return text;
}

bool AskForQuality(const Editor &editor, const PictureWindow &picture, int &quality)
{
    Form form = {"JPEG Quality",
                 {{FormKind::NUMBER, QUALITY, "&Quality, 1 to 100:", quality ? quality : 90, 1, 100},
                  {FormKind::TEXT, SIZE_TEXT, "Size with 100: 0000000000"}}};
    form.changed = [&](HWND window, const Form &now) {
        SaveOptions options;
        options.quality = now.rows[0].value;
        std::vector<uint8_t> bytes;
        std::vector<std::string> notices;
        std::string error;
        LendPicture(picture.image, picture.image, [&](const Picture &contents) {
            WritePictureBytes("a.jpg", contents, FileFormat::JPEG, options, bytes, notices, error);
        });
        SetRowText(window, SIZE_TEXT,
                   error.empty() ? "Size with " + std::to_string(options.quality) + ": " + SizeText(bytes.size())
                                 : error);
    };
    if (!ShowForm(editor, form)) return false;
    quality = form.rows[0].value;
    return true;
}

// The pattern that a list's first label promises, "*.flt" in "Filter files (*.flt)"; empty when it promises none.
static std::string PromisedPattern(const std::string &label)
{
    const size_t start = label.rfind("(*."), end = label.find(')', start);
    return start == std::string::npos || end == std::string::npos ? "" : label.substr(start + 1, end - start - 1);
}

// A dialog's own list of types, and before it what its first label promises, where its pattern is another: what was
// saved under the promised ending is to be found again.
static std::string TypesWithPromised(const char *types, std::string &ending)
{
    std::string filter;
    const std::string label = types, promised = PromisedPattern(label);
    if (!promised.empty()) {
        ending = promised.substr(promised.find('.') + 1);
        if (types[0] && promised != types + label.size() + 1) filter = label + '\0' + promised + '\0';
    }
    for (const char *text = types; *text; text += strlen(text) + 1) filter += std::string(text) + '\0';
    return filter;
}

BOOL KPZAPI AnswerFileName(void *context, BOOL save, const char *title, const char *types, char *name)
{
    const Editor &editor = *static_cast<Editor *>(context);
    std::string ending;
    const std::string filter = TypesWithPromised(types, ending);
    OPENFILENAMEA question = Question(editor, title, filter.c_str(), name, 256);
    if (save && !ending.empty()) question.lpstrDefExt = ending.c_str();
    question.Flags |= save ? OFN_OVERWRITEPROMPT : OFN_FILEMUSTEXIST;
    return AskForFile(editor, save, question);
}
