// What the strip beneath an effect's dialog does. It works the dialog's controls as a person does, so that the dialog
// hears of each value as of a typed one, and hears itself what the dialog is told by a procedure before the dialog's own.

#include "host/editor/strip.h"

#include "host/acting/kernels.h"
#include "host/acting/preset_files.h"
#include "host/editor/colours.h"
#include "host/editor/commands.h"
#include "host/editor/dark_menus.h"
#include "host/editor/dialog_size.h"
#include "host/editor/history.h"
#include "host/editor/last_settings.h"
#include "host/editor/protection.h"
#include "host/editor/questions.h"
#include "host/editor/refusals.h"
#include "host/editor/result_pane.h"
#include "host/editor/run_commands.h"
#include "host/editor/strip_layout.h"
#include "host/paths/paths.h"

#include <algorithm>
#include <commctrl.h>
#include <cstring>
#include <utility>

static constexpr ULONGLONG KEEP_OPEN = 500;   // milliseconds after a run's end in which Esc closes nothing
static constexpr size_t MOST_STEPS = 100;     // of settings

// What a dialog has for one picture.
struct StripPicture {
    bool given = false;             // the values that were used last
    std::vector<Settings> before;   // what Undo Settings brings back, the latest last
};

struct DialogStrip {
    Editor *editor = nullptr;
    HWND dialog = nullptr, window = nullptr, tips = nullptr;
    const DialogTemplate *effect = nullptr;
    Settings defaults;
    std::map<const ImageRecord *, StripPicture> pictures;
    bool filling = false, putting = false;   // what changes now in the strip, or in the dialog, is no person's doing
    bool enlarged = false;                   // the preview has gone to actual size, or need not
    bool trying = false;                     // a kernel stands in the fields that a click has put there
    std::string note, usualNote;
    uint64_t notedState = 0;   // MiscStateNumber of the picture that the note was told of
    int exceeded = 0;          // the field that was typed into beyond its range
    std::string exceededText;
    HWND focus = nullptr;               // where the keyboard was when a run began
    std::optional<TakenStep> applied;   // what Apply was pressed with, until its run has begun
    ULONGLONG ended = 0;                // when the last one has ended; 0: none has
};

static std::map<HWND, std::unique_ptr<DialogStrip>> &Strips()
{
    static auto &strips = *new std::map<HWND, std::unique_ptr<DialogStrip>>;
    return strips;
}

static DialogStrip *StripOf(HWND dialog)
{
    const auto found = Strips().find(dialog);
    return found == Strips().end() ? nullptr : found->second.get();
}

//---- Texts

static void SetText(HWND window, const std::string &text)
{
    char shown[1024] = "";
    GetWindowTextA(window, shown, sizeof shown);
    if (text != shown) SetWindowTextA(window, text.c_str());
}

static std::string TextOf(HWND window)
{
    std::string text(size_t(GetWindowTextLengthA(window)), 0);
    GetWindowTextA(window, text.data(), int(text.size()) + 1);
    return text;
}

static HWND Part(const DialogStrip &strip, int id) { return GetDlgItem(strip.window, id); }

static void ShowNote(DialogStrip &strip);

static PictureWindow *ActiveIn(const DialogStrip &strip) { return ActivePicture(*strip.editor); }

static void Tell(DialogStrip &strip, const std::string &note)
{
    strip.note = note;
    if (const PictureWindow *picture = ActiveIn(strip)) strip.notedState = MiscStateNumber(picture->image);
    ShowNote(strip);
}

//---- The picture

static bool Works(const DialogStrip &strip)
{
    const PictureWindow *picture = ActiveIn(strip);
    return picture && CanChange(picture);
}

static Refusal RefusalIn(const DialogStrip &strip)
{
    const PictureWindow *picture = ActiveIn(strip);
    if (!picture || IsRunning(*picture)) return {};
    return RefusalOf(*strip.effect, picture->image->colourType, picture->image->maskEditing);
}

// What stands in the way is told before all else.
static void ShowNote(DialogStrip &strip)
{
    const Refusal refusal = RefusalIn(strip);
    std::string note = strip.note.empty() ? strip.usualNote : strip.note;
    if (!refusal.why.empty()) note = refusal.why + (refusal.converting ? "." : ": " + refusal.helps + ".");
    const HWND line = Part(strip, STRIP_NOTE);
    ShowConvertButton(strip.window, refusal.converting);
    SetText(line, note);
    ShowWindow(line, note.empty() ? SW_HIDE : SW_SHOWNA);
}

static void ShowPicture(const DialogStrip &strip)
{
    const PictureWindow *picture = ActiveIn(strip);
    if (!picture || IsRunning(*picture)) return;   // a running image's record is its run's
    SetText(Part(strip, STRIP_PICTURE), picture->name + ": " + WordOfType(picture->image->colourType) + ", " +
                                            std::to_string(picture->extent.width) + " x " +
                                            std::to_string(picture->extent.height) +
                                            (IsProtected(*picture) ? ", parts protected" : ""));
}

//---- The seed

static void ShowSeed(DialogStrip &strip)
{
    const HWND field = Part(strip, STRIP_SEED);
    const PictureWindow *picture = ActiveIn(strip);
    if (!field || !picture || IsRunning(*picture)) return;
    const std::string seed = std::to_string(MiscSeed(picture->image));
    if (GetFocus() == field && TextOf(field).empty()) return;   // it is about to be typed
    strip.filling = true;
    SetText(field, seed);
    strip.filling = false;
}

static void UseSeed(DialogStrip &strip, uint32_t seed)
{
    MiscSetSeed(ActiveIn(strip)->image, seed);
    MiscTellFloaters(strip.editor->host.context.floaters, REFRESH_PREVIEW, 0, 0);
    RefreshStrips();
}

static void OnSeedTyped(DialogStrip &strip)
{
    if (strip.filling || !Works(strip)) return;
    const std::string text = TextOf(Part(strip, STRIP_SEED));
    const unsigned long long seed = strtoull(text.c_str(), nullptr, 10);
    if (text.size() > 10 || seed > UINT32_MAX)
        return Tell(strip, "Seed: " + text + " is outside 0 to " + std::to_string(UINT32_MAX));
    if (text.empty()) return;
    Tell(strip, "");
    UseSeed(strip, uint32_t(seed));
}

//---- Settings

static int32_t EdgeOf(const PictureWindow *picture)
{
    return picture ? std::min(picture->extent.width, picture->extent.height) : 0;
}

static StripPicture &OwnOf(DialogStrip &strip) { return strip.pictures[ActiveIn(strip)->image]; }

static void Put(DialogStrip &strip, const Settings &settings)
{
    std::string fault;
    strip.putting = true;
    PutSettings(strip.dialog, *strip.effect, settings, EdgeOf(ActiveIn(strip)), fault);
    strip.putting = false;
    strip.exceeded = 0;
    if (!fault.empty()) Tell(strip, fault);
}

static void Remember(DialogStrip &strip)
{
    std::vector<Settings> &before = OwnOf(strip).before;
    before.push_back(SettingsIn(strip.dialog, *strip.effect, Which::ALL));
    if (before.size() > MOST_STEPS) before.erase(before.begin());
}

// What changes several settings at once can be undone.
static void Change(DialogStrip &strip, const Settings &settings, const std::string &note)
{
    if (!Works(strip)) return;
    Remember(strip);
    strip.trying = false;
    Tell(strip, note);
    Put(strip, settings);
    RefreshStrips();
}

static void UndoSettings(DialogStrip &strip)
{
    if (!Works(strip) || OwnOf(strip).before.empty()) return;
    std::vector<Settings> &before = OwnOf(strip).before;
    const Settings settings = before.back();
    before.pop_back();
    strip.trying = false;
    Tell(strip, "The settings are what they were before.");
    Put(strip, settings);
    RefreshStrips();
}

static void Randomise(DialogStrip &strip)
{
    const auto draw = [](uint32_t most) { return most == UINT32_MAX ? HostFreshSeed() : HostFreshSeed() % (most + 1); };
    Change(strip, RandomSettings(strip.dialog, *strip.effect, draw), "Drawn by lot.");
}

// Once for each picture, when the dialog comes to it.
static void GiveLastSettings(DialogStrip &strip)
{
    if (!Works(strip) || OwnOf(strip).given) return;
    OwnOf(strip).given = true;
    const Settings last = LastSettings(ActiveIn(strip), *strip.effect);
    if (!last.empty()) Put(strip, last);
}

//---- Presets

static std::vector<PresetLine> PresetsOf(const DialogStrip &strip)
{
    std::vector<PresetLine> presets = PresetLines();
    std::string effect;
    Settings settings;
    std::erase_if(presets, [&](const PresetLine &preset) {
        return !ReadStep(preset.line, effect, settings) || effect != strip.effect->effect;
    });
    return presets;
}

static void FillPresets(DialogStrip &strip)
{
    const HWND list = Part(strip, STRIP_PRESET);
    const std::string typed = TextOf(list);
    SendMessageA(list, CB_RESETCONTENT, 0, 0);
    for (const PresetLine &preset : PresetsOf(strip))
        SendMessageA(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(preset.name.c_str()));
    SetWindowTextA(list, typed.c_str());
}

static void TakePreset(DialogStrip &strip)
{
    const HWND list = Part(strip, STRIP_PRESET);
    char name[300] = "";
    const LRESULT chosen = SendMessageA(list, CB_GETCURSEL, 0, 0);
    if (chosen == CB_ERR || SendMessageA(list, CB_GETLBTEXTLEN, WPARAM(chosen), 0) >= LRESULT(sizeof name)) return;
    SendMessageA(list, CB_GETLBTEXT, WPARAM(chosen), reinterpret_cast<LPARAM>(name));
    for (const PresetLine &preset : PresetsOf(strip)) {
        std::string effect;
        Settings settings;
        if (preset.name != name || !ReadStep(preset.line, effect, settings)) continue;
        // What a preset does not name has its default.
        Settings all = strip.defaults;
        for (const GivenOption &given : settings) {
            const auto own =
                std::find_if(all.begin(), all.end(), [&](const GivenOption &one) { return one.name == given.name; });
            if (own != all.end()) own->value = given.value;
        }
        Change(strip, all, preset.summary.empty() ? "" : preset.name + ": " + preset.summary);
    }
}

// Its name with what stands for it here; no file: it comes with the program, or there is none.
static std::string PresetFault(const std::string &name)
{
    const std::string fault = FaultOfUserName(PRESET_FILES, name);
    if (name.empty()) return "Type a name for the preset first.";
    return fault.empty() ? "" : "\"" + name + "\" " + fault;
}

static bool Confirmed(const DialogStrip &strip, const std::string &question)
{
    return ShowMessage(*strip.editor, question, MB_YESNO | MB_ICONQUESTION) == IDYES;
}

static void SavePreset(DialogStrip &strip)
{
    const std::string name = TextOf(Part(strip, STRIP_PRESET)), fault = PresetFault(name);
    if (!fault.empty()) return Tell(strip, fault);
    const std::vector<PresetLine> all = PresetLines();
    const bool taken =
        std::any_of(all.begin(), all.end(), [&](const PresetLine &one) { return SameName(one.name, name); });
    const std::string line = StepLine(*strip.effect, SettingsIn(strip.dialog, *strip.effect, Which::USABLE));
    const HWND dialog = strip.dialog;
    if (taken && !Confirmed(strip, "There is a preset \"" + name + "\" already. Replace it?")) return;
    if (StripOf(dialog) != &strip) return;   // it has gone while the question stood
    const std::string before = FindUserFile(PRESET_FILES, name);
    std::string error;
    if (!WriteStepLines(before.empty() ? FileForUser(PRESET_FILES, name) : before, {line}, error))
        return Tell(strip, "\"" + name + "\" cannot be saved: " + error);
    FillPresets(strip);
    Tell(strip, "Saved: \"" + name + "\" is a preset, on the command line too.");
}

static void DeletePreset(DialogStrip &strip)
{
    const std::string name = TextOf(Part(strip, STRIP_PRESET)), file = FindUserFile(PRESET_FILES, name);
    const std::vector<PresetLine> all = PresetLines();
    const bool shipped =
        std::any_of(all.begin(), all.end(), [&](const PresetLine &one) { return SameName(one.name, name); });
    if (file.empty())
        return Tell(strip, name.empty() ? "Choose the preset to delete first."
                           : shipped    ? "\"" + name + "\" comes with the program and stays."
                                        : "There is no preset \"" + name + "\".");
    const HWND dialog = strip.dialog;
    if (!Confirmed(strip, "Delete the preset \"" + name + "\"?") || StripOf(dialog) != &strip) return;
    std::error_code failure;
    std::filesystem::remove(PathOf(file), failure);
    if (failure) return Tell(strip, "\"" + name + "\" cannot be deleted: " + failure.message());
    SetWindowTextA(Part(strip, STRIP_PRESET), "");
    FillPresets(strip);
    Tell(strip, "Deleted: \"" + name + "\".");
}

//---- The command line's words

static RunWords WordsOf(const DialogStrip &strip, const PictureWindow &picture)
{
    const std::string file = picture.file.empty() ? picture.name : picture.file;
    const std::filesystem::path path = PathOf(file);
    const bool known = FormatOfName(file) != FileFormat::UNKNOWN;
    const std::string output =
        NameOf(path.stem()) + " " + strip.effect->effect + (known ? NameOf(path.extension()) : ".png");
    RunWords words = {file, NameOf(path.parent_path() / PathOf(output)), "", ""};
    if (strip.effect->draws) words.seed = std::to_string(MiscSeed(picture.image));
    words.area = AreaInWords(picture.image->selection);
    return words;
}

static bool PutOnClipboard(HWND owner, const std::string &text)
{
    const std::wstring wide = WideOf(text);
    const size_t bytes = (wide.size() + 1) * sizeof(wchar_t);
    if (!OpenClipboard(owner)) return false;
    EmptyClipboard();
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes);
    if (memory) {
        memcpy(GlobalLock(memory), wide.c_str(), bytes);
        GlobalUnlock(memory);
        SetClipboardData(CF_UNICODETEXT, memory);
    }
    CloseClipboard();
    return memory != nullptr;
}

static void CopyCommand(DialogStrip &strip)
{
    if (!Works(strip)) return;
    const PictureWindow &picture = *ActiveIn(strip);
    const std::string line =
        CommandLine(*strip.effect, SettingsIn(strip.dialog, *strip.effect, Which::USABLE), WordsOf(strip, picture));
    if (!PutOnClipboard(strip.dialog, line)) return Tell(strip, "The clipboard is in other hands; try again.");
    std::string note = "Copied: " + line;
    if (IsProtected(picture)) note = "Copied, without what is protected: " + line;
    if (picture.image->objectList.count > 0) note = "Copied, without the floating objects: " + line;
    else if (IsModified(picture)) note = "Copied; save the picture first, since the command reads its file: " + line;
    Tell(strip, note);
}

//---- Types

static void AskForType(DialogStrip &strip)
{
    const HMENU menu = CreatePopupMenu();
    for (const int command : {PICTURE_RGB, PICTURE_GREY, PICTURE_PALETTE}) {
        const PictureWindow *picture = ActiveIn(strip);
        const int32_t type = command == PICTURE_RGB ? RGB : command == PICTURE_GREY ? GREY : PALETTE;
        const bool helps = picture && RefusalOf(*strip.effect, type, false).why.empty();
        if (helps && CommandPossible(*strip.editor, command))
            AppendMenuA(menu, MF_STRING, UINT_PTR(command), LabelOf(command));
    }
    DressMenu(menu);
    RECT button;
    GetWindowRect(Part(strip, STRIP_CONVERT), &button);
    Editor &editor = *strip.editor;
    const int chosen =
        TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTALIGN, button.right, button.bottom, 0, strip.window, nullptr);
    DestroyMenu(menu);
    if (chosen) RunEditorCommand(editor, chosen);
}

//---- Number fields

static void OnFieldChanged(DialogStrip &strip, int id)
{
    const ControlTemplate *row = FindControl(strip.effect, id);
    const HWND field = GetDlgItem(strip.dialog, id);
    if (!row || row->kind != NUMBER_FIELD || !field) return;
    const bool typing = GetFocus() == field;
    if (!typing && strip.exceeded != id) return;
    const std::string text = TextOf(field), fault = FaultOfField(strip.dialog, *strip.effect, *row, text);
    if (typing && !fault.empty()) {
        strip.exceeded = id;
        strip.exceededText = fault;
        Tell(strip, fault + ".");
    } else if (typing) {
        if (strip.exceeded == id) Tell(strip, "");
        strip.exceeded = 0;
    } else {
        Tell(strip, strip.exceededText + ", so it has become " + text + ".");
        strip.exceeded = 0;
    }
}

static const ControlTemplate *FieldRow(const DialogStrip &strip, HWND field)
{
    return FindControl(strip.effect, GetDlgCtrlID(field));
}

static LRESULT OnTip(const DialogStrip &strip, NMTTDISPINFOA &asked)
{
    static std::string shown;
    const ControlTemplate *row = FieldRow(strip, reinterpret_cast<HWND>(asked.hdr.idFrom));
    if (row) shown = RangeOfField(strip.dialog, *strip.effect, *row);
    asked.lpszText = shown.data();
    return 0;
}

// The ranges are asked when they are shown: a choice may change them.
static void AddTips(DialogStrip &strip)
{
    strip.tips = CreateWindowExA(WS_EX_TOPMOST, TOOLTIPS_CLASSA, "", WS_POPUP | TTS_NOPREFIX | TTS_ALWAYSTIP, 0, 0, 0,
                                 0, strip.dialog, nullptr, GetModuleHandleA(nullptr), nullptr);
    for (int32_t i = 0; i < strip.effect->controlCount; ++i) {
        const ControlTemplate &row = strip.effect->controls[i];
        if (row.kind != NUMBER_FIELD) continue;
        TOOLINFOA tool = {};
        tool.cbSize = TTTOOLINFOA_V1_SIZE;
        tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
        tool.hwnd = strip.window;
        tool.uId = reinterpret_cast<UINT_PTR>(GetDlgItem(strip.dialog, row.id));
        tool.lpszText = LPSTR_TEXTCALLBACKA;
        SendMessageA(strip.tips, TTM_ADDTOOLA, 0, reinterpret_cast<LPARAM>(&tool));
    }
}

//---- Kernels

// A click shows what a kernel makes, as far as the fields' values can be brought back.
static void TryKernel(DialogStrip &strip)
{
    if (!Works(strip)) return;
    if (!strip.trying) Remember(strip);
    strip.trying = true;
    const HWND list = GetDlgItem(strip.dialog, KERNEL_LIST);
    KPZ_DefWindowProc(strip.dialog, WM_COMMAND, MAKEWPARAM(KERNEL_LIST, LBN_DBLCLK), reinterpret_cast<LPARAM>(list));
    Tell(strip, "Shown. Double click or Enter keeps its weights; Esc or Undo Settings brings yours back.");
    RefreshStrips();
}

static void KeepKernel(DialogStrip &strip)
{
    strip.trying = false;
    Tell(strip, "The kernel's weights stand in the fields.");
}

static void ShowWholeRows(HWND list)
{
    RECT inside, place;
    GetClientRect(list, &inside);
    GetWindowRect(list, &place);
    const auto row = int(SendMessageA(list, LB_GETITEMHEIGHT, 0, 0));
    if (row <= 0) return;
    SetWindowPos(list, nullptr, 0, 0, place.right - place.left, place.bottom - place.top - inside.bottom % row,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

//---- Its window

static void OnCommand(DialogStrip &strip, int id, int notification)
{
    switch (id) {
    case STRIP_SEED:
        if (notification == EN_CHANGE) OnSeedTyped(strip);
        return;
    case STRIP_PRESET:
        if (notification == CBN_SELCHANGE) TakePreset(strip);
        if (notification == CBN_DROPDOWN) FillPresets(strip);
        return;
    }
    if (notification != BN_CLICKED || !Works(strip)) return;
    switch (id) {
    case STRIP_NEW_SEED: UseSeed(strip, HostFreshSeed()); break;
    case STRIP_RESET: Change(strip, strip.defaults, "All settings have their defaults."); break;
    case STRIP_RANDOMISE: Randomise(strip); break;
    case STRIP_UNDO_SETTINGS: UndoSettings(strip); break;
    case STRIP_COPY_COMMAND: CopyCommand(strip); break;
    case STRIP_SAVE_PRESET: SavePreset(strip); break;
    case STRIP_DELETE_PRESET: DeletePreset(strip); break;
    case STRIP_CONVERT: AskForType(strip); break;
    }
}

static void DrawLine(HWND window)
{
    PAINTSTRUCT paint;
    RECT area;
    const HDC space = BeginPaint(window, &paint);
    GetClientRect(window, &area);
    const RECT line = {area.left, area.top, area.right, area.top + 1};
    if (IsDark()) FillRect(space, &line, ColourBrush(COLOR_BTNSHADOW));
    else DrawEdge(space, &area, EDGE_ETCHED, BF_TOP);
    EndPaint(window, &paint);
}

static LRESULT CALLBACK StripProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    auto *strip = reinterpret_cast<DialogStrip *>(GetWindowLongPtrA(window, GWLP_USERDATA));
    LRESULT taken = 0;
    if (TakeColourMessage(window, message, word, taken)) return taken;
    if (TakeMenuMessage(window, message, word, extra, taken)) return taken;
    if (!strip || !strip->window) return DefWindowProcA(window, message, word, extra);
    switch (message) {
    case WM_COMMAND: OnCommand(*strip, LOWORD(word), HIWORD(word)); return 0;
    case WM_PAINT: DrawLine(window); return 0;
    case WM_NOTIFY:
        if (reinterpret_cast<const NMHDR *>(extra)->code == TTN_GETDISPINFOA)
            return OnTip(*strip, *reinterpret_cast<NMTTDISPINFOA *>(extra));
        break;
    }
    return DefWindowProcA(window, message, word, extra);
}

static void OnApplyPressed(DialogStrip &strip)
{
    strip.focus = GetFocus();
    strip.applied.reset();   // another dialog's run may be under way
    if (!Works(strip)) return;
    strip.applied = StepAbout(strip.dialog, *strip.effect, *ActiveIn(strip));
    if (IsProtected(*ActiveIn(strip)) && !strip.effect->changesSize) strip.applied->unfit = "with parts protected";
}

// Stands before the dialog's own, so that it knows where the keyboard is, and what can be worked, before a run greys it.
static LRESULT KPZAPI DialogProcedure(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    DialogStrip *strip = StripOf(dialog);
    if (strip && message == WM_COMMAND && LOWORD(word) == APPLY_BUTTON) OnApplyPressed(*strip);
    if (message == WM_DESTROY) {
        SetWindowLongPtrA(strip ? strip->window : nullptr, GWLP_USERDATA, 0);
        Strips().erase(dialog);
        strip = nullptr;
    }
    LRESULT colours = 0;
    if (TakeColourMessage(dialog, message, word, colours)) return colours;
    const LRESULT result = KPZ_DefWindowProc(dialog, message, word, extra);
    if (!strip || StripOf(dialog) != strip || strip->putting) return result;
    if (message == WM_COMMAND || message == WM_VSCROLL) UpdateResultPane(dialog, ActiveIn(*strip));
    if (message != WM_COMMAND) return result;
    const int id = LOWORD(word), notification = HIWORD(word);
    if (notification == EN_CHANGE || notification == EN_KILLFOCUS) OnFieldChanged(*strip, id);
    if (id == KERNEL_LIST && notification == LBN_SELCHANGE) TryKernel(*strip);
    if (id == KERNEL_LIST && notification == LBN_DBLCLK) KeepKernel(*strip);
    return result;
}

static void Refresh(DialogStrip &strip)
{
    if (!ActiveIn(strip)) return;
    const bool works = Works(strip);
    for (int id = STRIP_PRESET_LABEL; id <= STRIP_NEW_SEED; ++id)
        if (const HWND part = Part(strip, id)) EnableWindow(part, works);
    EnableWindow(Part(strip, STRIP_UNDO_SETTINGS), works && !OwnOf(strip).before.empty());
    EnableWindow(Part(strip, STRIP_CONVERT), works);
    if (works && MiscStateNumber(ActiveIn(strip)->image) != strip.notedState) strip.note.clear();
    UpdateResultPane(strip.dialog, ActiveIn(strip));
    ShowPicture(strip);
    ShowSeed(strip);
    ShowNote(strip);
}

//---- For the editor

void FurnishDialog(Editor &editor, HWND dialog, const DialogTemplate &effect)
{
    auto made = std::make_unique<DialogStrip>();
    DialogStrip &strip = *made;
    strip.editor = &editor;
    strip.dialog = dialog;
    strip.effect = &effect;
    strip.defaults = SettingsIn(dialog, effect, Which::ALL);
    strip.window = MakeStrip(dialog, StripProcedure, &strip, effect.draws);
    Strips()[dialog] = std::move(made);
    KPZ_SubclassWindow(dialog, DialogProcedure);
    if (const HWND list = GetDlgItem(dialog, KERNEL_LIST)) {
        ShowWholeRows(list);
        strip.usualNote =
            "A click on a kernel shows what it makes, a double click or Enter puts its weights into the fields.";
    }
    AddResultPane(dialog, effect);
    AddTips(strip);
    FillPresets(strip);
    GiveLastSettings(strip);
    DressControls(dialog);
    LetDialogGrow(dialog, [&strip] { UpdateResultPane(strip.dialog, ActiveIn(strip)); });
    Refresh(strip);
}

void DressDialogs()
{
    for (const auto &[dialog, strip] : Strips()) DressControls(dialog);
}

void TellStrip(HWND dialog, UINT message, LPARAM extra)
{
    DialogStrip *strip = StripOf(dialog);
    if (!strip) return;
    if (message == IMAGE_CLOSED) strip->pictures.erase(reinterpret_cast<const ImageRecord *>(extra));
    if (message != ACTIVE_IMAGE_CHANGED && message != RUN_FINISHED) return;
    if (message == ACTIVE_IMAGE_CHANGED) strip->trying = false;
    GiveLastSettings(*strip);
    Refresh(*strip);
}

// Grain, strokes and what a kernel does to edges are not seen in a picture that is reduced.
static bool IsJudgedByPixels(const DialogTemplate &effect)
{
    const char *names[] = {"filters", "median", "noise", "oil-painting"};
    return std::any_of(std::begin(names), std::end(names),
                       [&](const char *name) { return !strcmp(name, effect.effect); });
}

static void KPZAPI LookAway(void *, const ImageRecord *) {}

// As a double click in its middle does; a picture that fits is at actual size anyway.
void OnPreviewShown(HWND dialog, HWND preview)
{
    DialogStrip *strip = StripOf(dialog);
    if (!strip || strip->enlarged || !ActiveIn(*strip)) return;
    if (!MiscLookAtPreview(preview, ActiveIn(*strip)->image, LookAway, nullptr)) return;
    strip->enlarged = true;
    RECT area;
    GetClientRect(preview, &area);
    if (IsJudgedByPixels(*strip->effect))
        SendMessageA(preview, WM_LBUTTONDBLCLK, MK_LBUTTON, MAKELPARAM(area.right / 2, area.bottom / 2));
}

void OnRunBegun(HWND dialog, PictureWindow &picture)
{
    DialogStrip *strip = StripOf(dialog);
    if (!strip) return;
    strip->trying = false;
    Tell(*strip, "");
    RememberSettings(picture, *strip->effect, SettingsIn(dialog, *strip->effect, Which::ALL));
    if (strip->applied) picture.begun = std::exchange(strip->applied, std::nullopt);
    Refresh(*strip);
}

// A control that was greyed meanwhile has the keyboard again, unless a person has gone elsewhere.
static void BringFocusBack(DialogStrip &strip)
{
    const HWND focus = std::exchange(strip.focus, nullptr);
    if (!focus || !IsChild(strip.dialog, focus) || GetActiveWindow() != strip.dialog) return;
    if (!IsWindowEnabled(focus) || !IsWindowVisible(focus)) return;
    SendMessageA(strip.dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(focus), TRUE);
}

void OnRunEnded(HWND dialog, bool unchanged)
{
    DialogStrip *strip = StripOf(dialog);
    if (!strip) return;
    strip->ended = GetTickCount64();
    if (unchanged) Tell(*strip, "Nothing has changed: with these settings the picture stays as it is.");
    Refresh(*strip);
    BringFocusBack(*strip);
}

void RefreshStrips()
{
    for (const auto &[dialog, strip] : Strips()) Refresh(*strip);
}

//---- Keys

// The system takes Enter on a button of the strip for one of the dialog's own.
static bool TakeEnter(const DialogStrip &strip, HWND control)
{
    if (GetParent(control) != strip.window) return false;
    char name[16] = "";
    GetClassNameA(control, name, sizeof name);
    if (lstrcmpiA(name, "BUTTON") != 0) return false;
    SendMessageA(strip.window, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(control), BN_CLICKED),
                 reinterpret_cast<LPARAM>(control));
    return true;
}

static bool ClosePresetList(const DialogStrip &strip)
{
    const HWND list = Part(strip, STRIP_PRESET);
    if (!SendMessageA(list, CB_GETDROPPEDSTATE, 0, 0)) return false;
    SendMessageA(list, CB_SHOWDROPDOWN, FALSE, 0);
    return true;
}

bool TakeStripKey(HWND dialog, HWND control, WPARAM key)
{
    DialogStrip *strip = StripOf(dialog);
    if (!strip || (key != VK_RETURN && key != VK_ESCAPE)) return false;
    if (ClosePresetList(*strip)) return true;
    if (key == VK_RETURN) return TakeEnter(*strip, control);
    if (GetTickCount64() - strip->ended < KEEP_OPEN && Works(*strip)) return true;
    if (!strip->trying) return false;
    UndoSettings(*strip);
    return true;
}
