#include "host/editor/editor.h"

#include <algorithm>
#include <shellapi.h>

static constexpr char FRAME_CLASS[] = "VelmorantEditor";
enum StatusPart { HINT_PART, TYPE_PART, SIZE_PART, ZOOM_PART, PLACE_PART, PROGRESS_PART, STATUS_PARTS };

// The one editor of the process.
static Editor *theEditor;

UINT DotsPerInch(HWND window)
{
    typedef UINT(WINAPI * GetDpi)(HWND);
    static const auto getDpi = reinterpret_cast<GetDpi>(
        reinterpret_cast<void *>(GetProcAddress(GetModuleHandleA("user32.dll"), "GetDpiForWindow")));
    if (const UINT dots = getDpi ? getDpi(window) : 0) return dots;
    return UINT(ScreenDotsPerInch());
}

int ScreenDotsPerInch()
{
    const HDC screen = GetDC(nullptr);
    const int dots = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    return dots;
}

HFONT FontFor(HWND window, LOGFONTA font)
{
    font.lfHeight = MulDiv(font.lfHeight, int(DotsPerInch(window)), ScreenDotsPerInch());
    return CreateFontIndirectA(&font);
}

static int Scaled(const Editor &editor, int length) { return MulDiv(length, int(DotsPerInch(editor.frame)), 96); }

//---- Pictures

PictureWindow *PictureOfImage(const Editor &editor, const ImageRecord *image)
{
    for (const auto &picture : editor.pictures)
        if (picture->image == image) return picture.get();
    return nullptr;
}

PictureWindow *ActivePicture(const Editor &editor) { return PictureOfImage(editor, editor.host.context.activeImage); }

bool IsRunning(const PictureWindow &picture) { return HostRunUnderWay(picture.image); }

bool IsModified(const PictureWindow &picture)
{
    return picture.neverSaved || MiscStateNumber(picture.image) != picture.savedState;
}

bool CanChange(const PictureWindow *picture) { return picture && !picture->closing && !IsRunning(*picture); }

//---- Dialogs

// The chooser has no place on the list of dialogs.
static BOOL CALLBACK FindChooser(HWND window, LPARAM found)
{
    if (HostDialogTemplate(window) != CHOOSER_TEMPLATE) return TRUE;
    *reinterpret_cast<HWND *>(found) = window;
    return FALSE;
}

static HWND OpenChooser()
{
    HWND chooser = nullptr;
    EnumThreadWindows(GetCurrentThreadId(), FindChooser, reinterpret_cast<LPARAM>(&chooser));
    return chooser;
}

//---- Messages to the person

// While a question is open nothing else of the editor may be worked: the effects' dialogs and the chooser neither.
struct Standstill {
    std::vector<HWND> disabled;
    explicit Standstill(const Editor &editor)
    {
        const FloaterList *floaters = editor.host.context.floaters;
        for (int32_t i = 0; i < MiscFloaterCount(floaters); ++i) Disable(MiscFloaterAt(floaters, i));
        if (const HWND chooser = OpenChooser()) Disable(chooser);
        Disable(editor.frame);
    }
    void Disable(HWND dialog)
    {
        if (!EnableWindow(dialog, FALSE)) disabled.push_back(dialog);
    }
    Standstill(const Standstill &) = delete;
    Standstill &operator=(const Standstill &) = delete;
    ~Standstill()
    {
        for (HWND dialog : disabled) EnableWindow(dialog, TRUE);
    }
};

int32_t ShowMessage(const Editor &editor, const std::string &text, UINT style)
{
    const Standstill standstill(editor);
    return KPZ_MessageBox(editor.frame, text.c_str(), EDITOR_NAME, int32_t(style));
}

bool AskForFile(const Editor &editor, BOOL save, OPENFILENAMEA &question)
{
    const Standstill standstill(editor);
    return save ? GetSaveFileNameA(&question) : GetOpenFileNameA(&question);
}

//---- The status line

static const char *TypeText(const ImageRecord &image)
{
    switch (image.colourType) {
    case ONE_BIT: return "1 bit";
    case GREY: return "Grey";
    case PALETTE: return "Palette";
    default: return "RGB";
    }
}

// The status line draws a part at once, so a part that says the same is left alone.
static void SetPart(const Editor &editor, StatusPart part, const std::string &text)
{
    static std::string shown[STATUS_PARTS];
    if (shown[part] == text) return;
    shown[part] = text;
    SendMessageA(editor.status, SB_SETTEXTA, WPARAM(part), reinterpret_cast<LPARAM>(text.c_str()));
}

static std::string TimesText(LONG width, LONG height) { return std::to_string(width) + " x " + std::to_string(height); }

static std::string ZoomText(double scale)
{
    char text[32];
    snprintf(text, sizeof text, scale * 100 == int(scale * 100) ? "%.0f %%" : "%.1f %%", scale * 100);
    return text;
}

static std::string PlaceText(const PictureWindow &picture)
{
    const Selection &selection = picture.image->selection;
    if (selection.pointCount > 0) {
        return std::to_string(selection.left) + ", " + std::to_string(selection.top) + ": " +
               TimesText(selection.right - selection.left + 1, selection.bottom - selection.top + 1);
    }
    if (!picture.cursorShown) return "";
    return std::to_string(picture.cursor.x) + ", " + std::to_string(picture.cursor.y);
}

static std::string HintText(const Editor &editor, const PictureWindow &picture)
{
    if (picture.image->maskEditing) {
        return "Mask: left button paints, right button clears; brush " + std::to_string(editor.brush);
    }
    return picture.image->mask ? "Has a mask" : "";
}

static void UpdateParts(const Editor &editor, const PictureWindow *picture)
{
    const bool still = picture && !picture->closing && !IsRunning(*picture);
    if (still) {
        SetPart(editor, HINT_PART, HintText(editor, *picture));
        SetPart(editor, TYPE_PART, TypeText(*picture->image));
        SetPart(editor, PLACE_PART, PlaceText(*picture));
    }
    if (!picture) {
        SetPart(editor, HINT_PART, "Open a picture: Ctrl+O, or drop it here");
        for (const StatusPart part : {TYPE_PART, SIZE_PART, ZOOM_PART, PLACE_PART}) SetPart(editor, part, "");
        return;
    }
    SetPart(editor, SIZE_PART, TimesText(picture->extent.width, picture->extent.height));
    SetPart(editor, ZOOM_PART, ZoomText(picture->view.scale));
}

// Drawn with what else waits to be drawn, however many reports have come meanwhile.
static void ShowProgress(const Editor &editor)
{
    RECT area;
    if (SendMessageA(editor.status, SB_GETRECT, PROGRESS_PART, reinterpret_cast<LPARAM>(&area))) {
        InvalidateRect(editor.status, &area, FALSE);
    }
}

void UpdateStatus(Editor &editor)
{
    UpdateParts(editor, ActivePicture(editor));
    ShowProgress(editor);
}

static int StatusWidth(const Editor &editor, const std::string &text)
{
    SIZE size = {};
    const HDC space = GetDC(editor.status);
    const LRESULT font = SendMessageA(editor.status, WM_GETFONT, 0, 0);
    const HGDIOBJ before = SelectObject(space, reinterpret_cast<HFONT>(font));
    GetTextExtentPoint32A(space, text.c_str(), int(text.size()), &size);
    SelectObject(space, before);
    ReleaseDC(editor.status, space);
    return size.cx + Scaled(editor, 14);   // its borders, and room before the text
}

// Each part is as wide as its longest text; hint and progress share what the others leave.
static void LayOutStatus(const Editor &editor)
{
    static constexpr const char *longest[STATUS_PARTS] = {
        "", "Palette", "30000 x 30000", "1600.0 %", "30000, 30000: 30000 x 30000", ""};
    RECT area;
    GetClientRect(editor.status, &area);
    int edges[STATUS_PARTS] = {};
    for (int part = TYPE_PART; part <= PLACE_PART; ++part)
        edges[part] = edges[part - 1] + StatusWidth(editor, longest[part]);
    const int hint = std::max<int>(0, (area.right - edges[PLACE_PART]) / 2);
    for (int part = HINT_PART; part <= PLACE_PART; ++part) edges[part] += hint;
    edges[PROGRESS_PART] = -1;
    SendMessageA(editor.status, SB_SETPARTS, STATUS_PARTS, reinterpret_cast<LPARAM>(edges));
}

static void DrawBar(HDC space, RECT area, const std::string &name, int32_t tenths)
{
    InflateRect(&area, -2, -1);
    FillRect(space, &area, GetSysColorBrush(COLOR_WINDOW));
    RECT done = area;
    done.right = area.left + MulDiv(area.right - area.left, tenths, 10);
    const RECT rest = {done.right, area.top, area.right, area.bottom};
    FillRect(space, &done, GetSysColorBrush(COLOR_HIGHLIGHT));
    FrameRect(space, &area, GetSysColorBrush(COLOR_BTNSHADOW));
    SetBkMode(space, TRANSPARENT);
    RECT text = area;
    InflateRect(&text, -4, 0);
    // The name is dark before the bar and light on it.
    for (const bool onBar : {true, false}) {
        const RECT &part = onBar ? done : rest;
        const int saved = SaveDC(space);
        IntersectClipRect(space, part.left, part.top, part.right, part.bottom);
        SetTextColor(space, GetSysColor(onBar ? COLOR_HIGHLIGHTTEXT : COLOR_WINDOWTEXT));
        DrawTextA(space, name.c_str(), -1, &text, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_END_ELLIPSIS | DT_NOPREFIX);
        RestoreDC(space, saved);
    }
}

// A bar for each picture that runs, side by side.
static void DrawProgress(const Editor &editor, HDC space, const RECT &area)
{
    FillRect(space, &area, GetSysColorBrush(COLOR_BTNFACE));
    std::vector<const PictureWindow *> running;
    for (const auto &picture : editor.pictures)
        if (IsRunning(*picture)) running.push_back(picture.get());
    const auto count = int(running.size());
    for (int i = 0; i < count; ++i) {
        const int left = area.left + MulDiv(area.right - area.left, i, count);
        const int right = area.left + MulDiv(area.right - area.left, i + 1, count);
        const int32_t tenths = std::max(0, MiscProgress(running[size_t(i)]->image->progress));
        DrawBar(space, {left, area.top, right, area.bottom}, running[size_t(i)]->name, tenths);
    }
}

void UpdateTitles(Editor &editor)
{
    for (const auto &picture : editor.pictures) {
        const std::string title = picture->name + (IsModified(*picture) ? " *" : "");
        if (title == picture->title) continue;
        picture->title = title;
        SetWindowTextA(picture->window, title.c_str());
    }
}

//---- Commands

bool CommandPossible(const Editor &editor, int command)
{
    const PictureWindow *picture = ActivePicture(editor);
    const bool canChange = CanChange(picture);
    const ImageRecord *image = picture ? picture->image : nullptr;
    switch (command) {
    case OPEN_FILE:
    case QUIT_EDITOR:
    case HELP_EFFECTS:
    case HELP_ABOUT: return true;
    case EDIT_PASTE_PICTURE: return ClipboardHasPicture();
    case CLOSE_FILE: return picture && !picture->closing;
    case PICTURE_ABORT: return picture && IsRunning(*picture);
    case WINDOW_DIALOG: return MiscFloaterCount(editor.host.context.floaters) > 0;
    case EDIT_UNDO: return canChange && MiscUndoCount(image) > 0;
    case EDIT_REDO: return canChange && MiscRedoCount(image) > 0;
    case EDIT_PASTE: return canChange && ClipboardHasPicture();
    case OBJECT_NEXT:
    case OBJECT_PREVIOUS:
    case OBJECT_SELECT_ALL:
    case OBJECT_MERGE: return canChange && image->objectList.count > 0;
    case OBJECT_DELETE: return canChange && HasSelectedObjects(*picture);
    case MASK_FILL:
    case MASK_CLEAR:
    case MASK_INVERT:
    case MASK_REMOVE: return canChange && image->mask;
    case MASK_BRUSH_LARGER:
    case MASK_BRUSH_SMALLER: return canChange && image->maskEditing;
    case PICTURE_GREY: return canChange && image->colourType != GREY;
    case PICTURE_PALETTE: return canChange && image->colourType != PALETTE;
    case PICTURE_RGB: return canChange && image->colourType != RGB;
    case PICTURE_ONE_BIT:
    case PICTURE_ONE_BIT_DIFFUSED: return canChange && image->colourType != ONE_BIT;
    case SAVE_FILE:
    case SAVE_FILE_AS:
    case EDIT_COPY:
    case EDIT_SELECT_ALL:
    case EDIT_SELECT_NOTHING:
    case OBJECT_FROM_FILE:
    case MASK_EDIT: return canChange;
    default: return picture != nullptr;   // views and windows
    }
}

static void Activate(Editor &editor, int step)
{
    const auto count = int(editor.pictures.size());
    for (int i = 0; i < count; ++i) {
        if (editor.pictures[size_t(i)].get() != ActivePicture(editor)) continue;
        return ActivatePicture(editor, editor.pictures[size_t((i + step + count) % count)].get());
    }
}

// Without going round: the buttons of the effects' dialogs name the list's ends.
static void ActivateNeighbour(Editor &editor, int step)
{
    const auto count = int(editor.pictures.size());
    for (int i = 0; i < count; ++i) {
        if (editor.pictures[size_t(i)].get() != ActivePicture(editor)) continue;
        if (i + step >= 0 && i + step < count) ActivatePicture(editor, editor.pictures[size_t(i + step)].get());
        return;
    }
}

static void GoToDialog(const Editor &editor)
{
    const FloaterList *floaters = editor.host.context.floaters;
    SetActiveWindow(MiscFloaterAt(floaters, MiscFloaterCount(floaters) - 1));
}

static void PasteFromFile(Editor &editor, PictureWindow &picture)
{
    const std::string file = AskForPicture(editor, "Picture to Become an Object");
    Picture contents;
    FileFormat format;
    if (!file.empty() && CanChange(&picture) && ReadFile(editor, file, contents, format)) {
        PasteObject(editor, picture, contents);
    }
}

static void PasteFromClipboard(Editor &editor, PictureWindow &picture)
{
    Picture contents;
    if (PictureOnClipboard(contents)) PasteObject(editor, picture, contents);
}

static void PasteAsPicture(Editor &editor)
{
    Picture contents;
    if (!PictureOnClipboard(contents)) return;
    PictureWindow *picture = ShowPicture(editor, std::move(contents), "", FileFormat::UNKNOWN);
    if (!picture) return;
    picture->neverSaved = true;
    UpdateTitles(editor);
}

static void ChangeBrush(Editor &editor, bool larger)
{
    const int32_t step = std::max(1, editor.brush / 4);
    editor.brush = std::clamp(editor.brush + (larger ? step : -step), 1, 400);
    UpdateStatus(editor);
}

static void ShowAbout(const Editor &editor)
{
    ShowMessage(editor,
                std::string(EDITOR_NAME) + " " VELMORANT_VERSION "\n\nA picture editor with " +
                    std::to_string(EFFECT_COUNT) + " effects.",
                MB_ICONINFORMATION);
}

// The Help button of an effect's dialog.
static void ShowHelpOf(const Editor &editor, int32_t helpContext)
{
    for (int32_t i = 0; i < DialogTemplateCount(); ++i) {
        const DialogTemplate &dialog = *DialogTemplateAt(i);
        if (dialog.effect && dialog.helpContext == helpContext) ShowHelp(editor, &dialog);
    }
}

// Windows come from the front to the back.
static BOOL CALLBACK FindEffect(HWND window, LPARAM found)
{
    const int32_t id = HostDialogTemplate(window);
    const DialogTemplate *dialog = id && IsWindowVisible(window) ? FindDialogTemplate(id) : nullptr;
    if (!dialog || !dialog->effect) return TRUE;
    *reinterpret_cast<const DialogTemplate **>(found) = dialog;
    return FALSE;
}

static const DialogTemplate *EffectInFront()
{
    const DialogTemplate *effect = nullptr;
    EnumThreadWindows(GetCurrentThreadId(), FindEffect, reinterpret_cast<LPARAM>(&effect));
    return effect;
}

static void ArrangeWindows(const Editor &editor, int command)
{
    const WPARAM way = command == WINDOW_TILE_DOWN ? MDITILE_HORIZONTAL : MDITILE_VERTICAL;
    if (command == WINDOW_CASCADE) SendMessageA(editor.client, WM_MDICASCADE, 0, 0);
    else SendMessageA(editor.client, WM_MDITILE, way, 0);
}

static void RunPictureCommand(Editor &editor, PictureWindow &picture, int command)
{
    switch (command) {
    case CLOSE_FILE: ClosePicture(editor, picture); break;
    case SAVE_FILE: SavePicture(editor, picture); break;
    case SAVE_FILE_AS: SavePictureAs(editor, picture); break;
    case EDIT_UNDO: UndoOrRedo(editor, picture, false); break;
    case EDIT_REDO: UndoOrRedo(editor, picture, true); break;
    case EDIT_COPY: CopyToClipboard(editor, picture); break;
    case EDIT_PASTE: PasteFromClipboard(editor, picture); break;
    case EDIT_SELECT_ALL: SelectRectangle(picture, {0, 0}, {picture.extent.width, picture.extent.height}); break;
    case EDIT_SELECT_NOTHING: SelectNothing(picture.image); break;
    case VIEW_ZOOM_IN: ZoomPicture(editor, picture, NextScale(picture.view.scale, 1)); break;
    case VIEW_ZOOM_OUT: ZoomPicture(editor, picture, NextScale(picture.view.scale, -1)); break;
    case VIEW_ACTUAL: ZoomPicture(editor, picture, 1); break;
    case VIEW_FIT: FitPicture(editor, picture); break;
    case PICTURE_ONE_BIT:
    case PICTURE_ONE_BIT_DIFFUSED:
    case PICTURE_GREY:
    case PICTURE_PALETTE:
    case PICTURE_RGB: ConvertPicture(editor, picture, command); break;
    case PICTURE_ABORT: SharedWrite(picture.image->abortRequest, 1); break;
    case OBJECT_FROM_FILE: PasteFromFile(editor, picture); break;
    case OBJECT_NEXT: SelectNextObject(picture, 1); break;
    case OBJECT_PREVIOUS: SelectNextObject(picture, -1); break;
    case OBJECT_SELECT_ALL: SelectAllObjects(picture); break;
    case OBJECT_DELETE: DeleteObjects(editor, picture); break;
    case OBJECT_MERGE: MergeObjects(editor, picture); break;
    case MASK_EDIT: ToggleMaskEditing(editor, picture); break;
    case MASK_FILL:
    case MASK_CLEAR:
    case MASK_INVERT: ChangeWholeMask(editor, picture, command); break;
    case MASK_REMOVE: RemoveMask(editor, picture); break;
    }
}

void RunEditorCommand(Editor &editor, int command)
{
    if (editor.quitting || !CommandPossible(editor, command)) return;
    if (const PictureWindow *picture = ActivePicture(editor); picture && picture->hand != Hand::FREE) {
        ReleaseCapture();   // what the mouse has begun is done: it would go on in a picture that is another by then
    }
    switch (command) {
    case OPEN_FILE: OpenByDialog(editor); break;
    case QUIT_EDITOR: PostMessageA(editor.frame, WM_CLOSE, 0, 0); break;
    case EDIT_PASTE_PICTURE: PasteAsPicture(editor); break;
    case MASK_BRUSH_LARGER: ChangeBrush(editor, true); break;
    case MASK_BRUSH_SMALLER: ChangeBrush(editor, false); break;
    case WINDOW_CASCADE:
    case WINDOW_TILE_ACROSS:
    case WINDOW_TILE_DOWN: ArrangeWindows(editor, command); break;
    case WINDOW_NEXT: Activate(editor, 1); break;
    case WINDOW_PREVIOUS: Activate(editor, -1); break;
    case WINDOW_DIALOG: GoToDialog(editor); break;
    case HELP_EFFECTS: ShowHelp(editor, EffectInFront()); break;
    case HELP_ABOUT: ShowAbout(editor); break;
    default: RunPictureCommand(editor, *ActivePicture(editor), command); break;
    }
    UpdateTitles(editor);
    UpdateStatus(editor);
}

static void RunEffect(Editor &editor, int32_t offset)
{
    const PictureWindow *picture = ActivePicture(editor);
    if (editor.quitting || !picture || picture->closing || !CommandEnabled(editor.host, offset)) return;
    const HWND open = OpenChooser();
    if (open && offset == CHOOSER_COMMAND) HostBringForward(open);
    else RunCommand(editor.host, offset);
}

//---- Menus

static void GreyMenu(const Editor &editor, HMENU menu)
{
    for (int i = 0; i < GetMenuItemCount(menu); ++i) {
        const UINT command = GetMenuItemID(menu, i);
        if (command < OPEN_FILE || command >= FIRST_WINDOW) continue;
        EnableMenuItem(menu, command, CommandPossible(editor, int(command)) ? MF_ENABLED : MF_GRAYED);
    }
}

// "Undo Wave", with the key behind it.
static void NameStep(HMENU menu, int command, const char *step)
{
    std::string label = LabelOf(command);
    if (step && step[0]) label.insert(label.find('\t'), std::string(" ") + step);
    ModifyMenuA(menu, UINT(command), MF_BYCOMMAND | MF_STRING, UINT_PTR(command), label.c_str());
}

static bool Holds(HMENU menu, int command) { return GetMenuState(menu, UINT(command), MF_BYCOMMAND) != UINT(-1); }

static void OnMenuOpens(Editor &editor, HMENU menu)
{
    if (menu == editor.host.menu) return ChooseMenus(&editor.host.context);
    const PictureWindow *picture = ActivePicture(editor);
    const bool still = CanChange(picture);
    if (Holds(menu, EDIT_UNDO)) {
        NameStep(menu, EDIT_UNDO, still ? MiscUndoLabel(picture->image) : nullptr);
        NameStep(menu, EDIT_REDO, still ? MiscRedoLabel(picture->image) : nullptr);
    }
    if (Holds(menu, MASK_EDIT)) {
        const bool edited = picture && picture->image->maskEditing;
        CheckMenuItem(menu, MASK_EDIT, edited ? MF_CHECKED : MF_UNCHECKED);
    }
    GreyMenu(editor, menu);
}

//---- Keys

static bool IsDown(int key) { return GetKeyState(key) < 0; }

static BOOL KPZAPI TakeKey(void *context, HWND window, UINT message, WPARAM key, LPARAM extra)
{
    Editor &editor = *static_cast<Editor *>(context);
    if (TakeHelpMessage(window, message, key, extra)) return TRUE;
    if (message != WM_KEYDOWN && message != WM_SYSKEYDOWN) return FALSE;
    const HWND root = window ? GetAncestor(window, GA_ROOT) : nullptr;
    const bool ofDialog = HostDialogTemplate(root) && IsWindowEnabled(root);
    if ((ofDialog || IsHelp(root)) && key == VK_F6) {
        if (IsHelp(root) && CommandPossible(editor, WINDOW_DIALOG)) GoToDialog(editor);
        else SetActiveWindow(editor.frame);
        return TRUE;
    }
    if (ofDialog && key == VK_F1) {
        RunEditorCommand(editor, HELP_EFFECTS);
        return TRUE;
    }
    if (root != editor.frame || !IsWindowEnabled(root)) return FALSE;
    const int command = CommandOfKey(key, IsDown(VK_CONTROL), IsDown(VK_SHIFT), IsDown(VK_MENU));
    if (!command) return FALSE;
    RunEditorCommand(editor, command);
    return TRUE;
}

//---- What the host tells

// The effects' dialogs forward their undo, redo, previous and next buttons here.
static LRESULT KPZAPI HostWindowProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    if (message != FORWARDED_COMMAND) return KPZ_DefWindowProc(window, message, word, extra);
    switch (LOWORD(word)) {
    case HOST_COMMAND_FIRST: RunEditorCommand(*theEditor, EDIT_UNDO); break;
    case HOST_COMMAND_FIRST + 1: RunEditorCommand(*theEditor, EDIT_REDO); break;
    case HOST_COMMAND_FIRST + 2: ActivateNeighbour(*theEditor, -1); break;
    case HOST_COMMAND_LAST: ActivateNeighbour(*theEditor, 1); break;
    }
    return 0;
}

// A run of this dialog's has just been started, or refused: another dialog's may be under way. The record is the run's to
// change by now.
static void OnApply(Editor &editor, HWND dialog)
{
    PictureWindow *picture = ActivePicture(editor);
    if (picture && IsRunning(*picture) && picture->image->mask && !picture->enlarger) {
        const TrueSize before = {picture->extent.width, picture->extent.height};
        const TrueSize after = SizeAfterRun(dialog, before);
        const bool grows = after.width != before.width || after.height != before.height;
        picture->enlarger = grows ? dialog : nullptr;
        picture->sizeToCome = after;
    }
    UpdateStatus(editor);
}

static void OnRunFinished(Editor &editor, PictureWindow &picture, HWND dialog)
{
    const bool enlarged = picture.enlarger == dialog && !MiscLastRunAborted(picture.image);
    picture.enlarger = nullptr;
    if (enlarged) PutSizeOnRecord(editor, picture, picture.sizeToCome);
    PictureChanged(editor, picture);
}

static void KPZAPI Observe(void *context, HWND window, UINT message, WPARAM word, LPARAM)
{
    Editor &editor = *static_cast<Editor *>(context);
    if (message == WM_INITDIALOG && HostDialogTemplate(window) == CHOOSER_TEMPLATE) FurnishChooser(editor, window);
    if (message == WM_COMMAND && LOWORD(word) == APPLY_BUTTON) OnApply(editor, window);
    if (message != RUN_FINISHED) return;
    for (const auto &picture : editor.pictures)
        if (picture->canvas == reinterpret_cast<HWND>(word)) OnRunFinished(editor, *picture, window);
}

static void FitWindowTo(Editor &editor, ImageRecord *image)
{
    if (PictureWindow *picture = PictureOfImage(editor, image)) PictureChanged(editor, *picture);
}

//---- The window

static void OnSize(const Editor &editor)
{
    RECT area, status;
    SendMessageA(editor.status, WM_SIZE, 0, 0);
    GetClientRect(editor.frame, &area);
    GetWindowRect(editor.status, &status);
    MoveWindow(editor.client, 0, 0, area.right, area.bottom - (status.bottom - status.top), TRUE);
    LayOutStatus(editor);
}

static void UseStatusFont(const Editor &editor)
{
    NONCLIENTMETRICSA metrics = {};
    metrics.cbSize = sizeof metrics;
    SystemParametersInfoA(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    static HFONT used;
    const HFONT before = used;
    used = FontFor(editor.frame, metrics.lfStatusFont);
    SendMessageA(editor.status, WM_SETFONT, reinterpret_cast<WPARAM>(used), TRUE);
    if (before) DeleteObject(before);
}

static void OnCreate(Editor &editor, HWND frame)
{
    editor.frame = frame;
    CLIENTCREATESTRUCT creation = {editor.windowMenu, FIRST_WINDOW};
    editor.client = CreateWindowExA(0, "MDICLIENT", "", WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN, 0, 0, 0, 0, frame,
                                    nullptr, GetModuleHandleA(nullptr), &creation);
    editor.status = CreateWindowExA(0, STATUSCLASSNAMEA, "", WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP, 0, 0, 0, 0, frame,
                                    nullptr, GetModuleHandleA(nullptr), nullptr);
    UseStatusFont(editor);
    LayOutStatus(editor);
    SendMessageA(editor.status, SB_SETTEXTA, WPARAM(PROGRESS_PART) | SBT_OWNERDRAW, 0);
    DragAcceptFiles(frame, TRUE);
}

static void OnDrop(Editor &editor, HDROP drop)
{
    std::vector<std::string> files;
    const UINT count = DragQueryFileA(drop, UINT(-1), nullptr, 0);
    for (UINT i = 0; i < count; ++i) {
        std::string file(DragQueryFileA(drop, i, nullptr, 0), 0);
        DragQueryFileA(drop, i, file.data(), UINT(file.size()) + 1);
        files.push_back(file);
    }
    DragFinish(drop);
    if (editor.quitting) return;
    SetForegroundWindow(editor.frame);
    for (const std::string &file : files) OpenFile(editor, file);
}

// Every dialog's loop ends when its dialog has gone, the main one's with `ended`.
static void OnClose(Editor &editor)
{
    if (editor.quitting || editor.ended) return;
    editor.quitting = true;
    editor.ended = CloseAll(editor);
    editor.quitting = false;
    if (!editor.ended) return;
    if (const HWND chooser = OpenChooser()) SendMessageA(chooser, WM_CLOSE, 0, 0);
    HostWake(editor.host.context.window);
}

// Small enough for any corner of a screen, and still with its menu and its status line.
static void OnLimits(MINMAXINFO &limits, HWND frame)
{
    const int dots = int(DotsPerInch(frame));
    limits.ptMinTrackSize = {MulDiv(480, dots, 96), MulDiv(200, dots, 96)};
}

static void OnDotsChanged(const Editor &editor, const RECT &place)
{
    SetWindowPos(editor.frame, nullptr, place.left, place.top, place.right - place.left, place.bottom - place.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    UseStatusFont(editor);
    OnSize(editor);
}

static void OnCommand(Editor &editor, WPARAM word, LPARAM extra)
{
    const int command = LOWORD(word), offset = command - editor.host.base;
    if (command >= OPEN_FILE && command < FIRST_WINDOW) RunEditorCommand(editor, command);
    else if (IsModuleCommand(offset)) RunEffect(editor, offset);
    else DefFrameProcA(editor.frame, editor.client, WM_COMMAND, word, extra);
}

static LRESULT CALLBACK FrameProcedure(HWND frame, UINT message, WPARAM word, LPARAM extra)
{
    Editor &editor = *theEditor;
    switch (message) {
    case WM_CREATE: OnCreate(editor, frame); return 0;
    case WM_SIZE: OnSize(editor); return 0;
    case WM_COMMAND: OnCommand(editor, word, extra); return 0;
    case WM_INITMENUPOPUP:
        if (!HIWORD(extra)) OnMenuOpens(editor, reinterpret_cast<HMENU>(word));
        break;
    case WM_DROPFILES: OnDrop(editor, reinterpret_cast<HDROP>(word)); return 0;
    case WM_DRAWITEM: {
        const auto &item = *reinterpret_cast<const DRAWITEMSTRUCT *>(extra);
        if (item.hwndItem == editor.status) DrawProgress(editor, item.hDC, item.rcItem);
        return TRUE;
    }
    case WM_GETMINMAXINFO: OnLimits(*reinterpret_cast<MINMAXINFO *>(extra), frame); return 0;
    case WM_CLOSE: OnClose(editor); return 0;
    case MEMORY_HAS_RUN_OUT: PostMessageA(frame, END_FOR_MEMORY, 0, 0); return TRUE;
    case END_FOR_MEMORY: EndForMemory(editor); return 0;
    case WM_QUERYENDSESSION: OnClose(editor); return editor.ended;
    case WM_DPICHANGED: OnDotsChanged(editor, *reinterpret_cast<const RECT *>(extra)); return 0;
    }
    return DefFrameProcA(frame, editor.client, message, word, extra);
}

static void RegisterFrame()
{
    WNDCLASSEXA made = {};
    made.cbSize = sizeof made;
    made.lpfnWndProc = FrameProcedure;
    made.hInstance = GetModuleHandleA(nullptr);
    made.hIcon = LoadIcon(nullptr, IDI_APPLICATION);
    made.hCursor = LoadCursor(nullptr, IDC_ARROW);
    made.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_APPWORKSPACE + 1);
    made.lpszClassName = FRAME_CLASS;
    RegisterClassExA(&made);
}

// Three quarters of the screen that is free, in its middle.
static RECT FirstPlace()
{
    RECT work;
    SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0);
    const LONG width = work.right - work.left, height = work.bottom - work.top;
    return {work.left + width / 10, work.top + height / 10, work.right - width / 10, work.bottom - height / 10};
}

bool MakeFrame(Editor &editor)
{
    static const INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_WIN95_CLASSES | ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&controls);
    theEditor = &editor;
    RegisterFrame();
    RegisterPictureWindows();
    editor.menuBar = MakeMenuBar(editor.host.menu, &editor.windowMenu);
    const RECT place = FirstPlace();
    CreateWindowExA(0, FRAME_CLASS, EDITOR_NAME, WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, place.left, place.top,
                    place.right - place.left, place.bottom - place.top, nullptr, editor.menuBar,
                    GetModuleHandleA(nullptr), nullptr);
    if (!editor.frame || !editor.client) return false;
    PrepareForMemoryEnd(editor);
    HostShowDialogs(TRUE);
    HostKeepDialogsBefore(editor.frame);
    HostTakeMessages(TakeKey, &editor);
    HostObserve(Observe, &editor);
    MiscAnswerFileNames(AnswerFileName, &editor);
    KPZ_SubclassWindow(editor.host.context.window, HostWindowProcedure);
    editor.host.onChooserOpened = [](HWND) { BeginChooser(); };
    editor.host.onProgress = [&editor](ImageRecord *, int) { ShowProgress(editor); };
    editor.host.onHelp = [&editor](int32_t helpContext) { ShowHelpOf(editor, helpContext); };
    editor.host.onSized = [&editor](ImageRecord *image, int32_t, int32_t) { FitWindowTo(editor, image); };
    ShowWindow(editor.frame, SW_SHOW);
    UpdateStatus(editor);
    return true;
}

void EndFrame(Editor &editor)
{
    HostBeforeMemoryEnd(nullptr, nullptr);
    CloseHelp();
    HostTakeMessages(nullptr, nullptr);
    HostObserve(nullptr, nullptr);
    MiscAnswerFileNames(nullptr, nullptr);
    HostKeepDialogsBefore(nullptr);
    // The menu of effects is the host's to destroy.
    for (int i = GetMenuItemCount(editor.menuBar); i-- > 0;)
        if (GetSubMenu(editor.menuBar, i) == editor.host.menu) RemoveMenu(editor.menuBar, UINT(i), MF_BYPOSITION);
    DestroyWindow(editor.frame);
    editor.frame = editor.client = editor.status = nullptr;
}
