// Which commands are possible, and what each one starts. The commands' names, menus and keys are in commands.h; what
// they do to a picture is in the files that this one includes.

#include "host/editor/run_commands.h"

#include "host/editor/canvas_preview.h"
#include "host/editor/clipboard.h"
#include "host/editor/close_commands.h"
#include "host/editor/commands.h"
#include "host/editor/edit_commands.h"
#include "host/editor/effect_dialogs.h"
#include "host/editor/file_commands.h"
#include "host/editor/file_questions.h"
#include "host/editor/find_effect.h"
#include "host/editor/geometry_commands.h"
#include "host/editor/help_window.h"
#include "host/editor/history_window.h"
#include "host/editor/picture_changes.h"
#include "host/editor/picture_view.h"
#include "host/editor/picture_window.h"
#include "host/editor/protect_commands.h"
#include "host/editor/protection.h"
#include "host/editor/questions.h"
#include "host/editor/remembered.h"
#include "host/editor/repeating.h"
#include "host/editor/status_line.h"
#include "host/editor/type_commands.h"
#include "interface/effect_table.h"

#include <algorithm>

bool CommandPossible(const Editor &editor, int command)
{
    const PictureWindow *picture = ActivePicture(editor);
    const bool canChange = picture && CanChange(picture);
    const ImageRecord *image = picture ? picture->image : nullptr;
    switch (command) {
    case OPEN_FILE:
    case QUIT_EDITOR:
    case HELP_EFFECTS:
    case VIEW_PREVIEW:
    case VIEW_TOOLBAR:
    case MASK_EXPLAIN:
    case HELP_ABOUT: return true;
    case EDIT_PASTE_PICTURE: return ClipboardHasPicture();
    case EFFECT_FIND: return canChange;
    case EFFECT_REPEAT:
    case EFFECT_REPEAT_IN_DIALOG: return canChange && CanRepeat(editor);
    case REVERT_FILE: return canChange && !picture->file.empty() && IsModified(*picture);
    case PICTURE_CROP: return canChange && image->selection.pointCount > 0;
    case CLOSE_FILE: return picture && !picture->closing;
    case PICTURE_ABORT: return picture && IsRunning(*picture);
    case WINDOW_DIALOG: return MiscFloaterCount(editor.host.context.floaters) > 0;
    case EDIT_HISTORY: return picture && !picture->closing;
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
    case MASK_BRUSH_SMALLER: return canChange && (image->maskEditing || picture->protecting);
    case PROTECT_NOTHING: return canChange && IsProtected(*picture);
    case PROTECT_MASK: return canChange && image->mask;
    case PICTURE_GREY: return canChange && image->colourType != GREY;
    case PICTURE_PALETTE: return canChange && image->colourType != PALETTE;
    case PICTURE_RGB: return canChange && image->colourType != RGB;
    case PICTURE_ONE_BIT:
    case PICTURE_ONE_BIT_DIFFUSED: return canChange && image->colourType != ONE_BIT;
    case SAVE_FILE:
    case SAVE_FILE_AS:
    case EXPORT_FILE:
    case EDIT_COPY:
    case EDIT_SELECT_ALL:
    case EDIT_SELECT_NOTHING:
    case OBJECT_FROM_FILE:
    case PICTURE_RESIZE:
    case PICTURE_TURN_RIGHT:
    case PICTURE_TURN_LEFT:
    case PICTURE_TURN_HALF:
    case PICTURE_FLIP_ACROSS:
    case PICTURE_FLIP_DOWN:
    case PROTECT_PAINT:
    case PROTECT_INVERT:
    case MASK_EDIT: return canChange;
    case FIRST_RECENT: return true;
    default: return command > FIRST_RECENT || picture != nullptr;   // views and windows
    }
}

//---- Windows

static void Activate(Editor &editor, int step)
{
    const auto count = int(editor.pictures.size());
    for (int i = 0; i < count; ++i) {
        if (editor.pictures[size_t(i)].get() != ActivePicture(editor)) continue;
        return ActivatePicture(editor, editor.pictures[size_t((i + step + count) % count)].get());
    }
}

// Without going round: the buttons of the effects' dialogs name the list's ends.
void ActivateNeighbour(Editor &editor, int step)
{
    const auto count = int(editor.pictures.size());
    for (int i = 0; i < count; ++i) {
        if (editor.pictures[size_t(i)].get() != ActivePicture(editor)) continue;
        if (i + step >= 0 && i + step < count) ActivatePicture(editor, editor.pictures[size_t(i + step)].get());
        return;
    }
}

static void ArrangeWindows(const Editor &editor, int command)
{
    const WPARAM way = command == WINDOW_TILE_DOWN ? MDITILE_HORIZONTAL : MDITILE_VERTICAL;
    if (command == WINDOW_CASCADE) SendMessageA(editor.client, WM_MDICASCADE, 0, 0);
    else SendMessageA(editor.client, WM_MDITILE, way, 0);
}

//---- What has no file of its own

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

static constexpr char ABOUT_LICENCE[] =
    "Free software under the MIT licence; LICENSE beside the program has its words, and those of the libraries in it.";

static void ExplainMask(const Editor &editor)
{
    ShowMessage(
        editor,
        "A mask is the picture's transparency, a plane beside its colours: what it leaves out is seen through, "
        "and is shown as a chessboard. It is the alpha channel of PNG, TIFF and other files.\n\n"
        "Effects work on the mask as they work on the colours: Wave bends both. A mask does not keep an effect "
        "away from a part of the picture. For that, select an area, which effects keep to, or paint protection "
        "(Ctrl+P): what is under its veil stays as it is, whatever an effect does.\n\n"
        "While it is edited (Ctrl+M), what it leaves out is under a red veil: the left button paints it in, the "
        "right button paints it out.",
        MB_ICONINFORMATION);
}

static void ShowAbout(const Editor &editor)
{
    ShowMessage(editor,
                std::string(EDITOR_NAME) + " " VELMORANT_VERSION "\n\nA picture editor with " +
                    std::to_string(EFFECT_COUNT) + " effects.\n\n" + ABOUT_LICENCE,
                MB_ICONINFORMATION);
}

//---- Running

static void RunPictureCommand(Editor &editor, PictureWindow &picture, int command)
{
    switch (command) {
    case CLOSE_FILE: ClosePicture(editor, picture); break;
    case SAVE_FILE: SavePicture(editor, picture); break;
    case SAVE_FILE_AS: SavePictureAs(editor, picture); break;
    case EXPORT_FILE: ExportPicture(editor, picture); break;
    case EDIT_UNDO: GoThroughSteps(editor, picture, -1); break;
    case EDIT_REDO: GoThroughSteps(editor, picture, 1); break;
    case EDIT_COPY: CopyToClipboard(editor, picture); break;
    case EDIT_PASTE: PasteFromClipboard(editor, picture); break;
    case EDIT_SELECT_ALL: SelectRectangle(picture, {0, 0}, {picture.extent.width, picture.extent.height}); break;
    case EDIT_SELECT_NOTHING: SelectNothing(picture.image); break;
    case VIEW_ZOOM_IN: ZoomPicture(editor, picture, NextScale(picture.view.scale, 1)); break;
    case VIEW_ZOOM_OUT: ZoomPicture(editor, picture, NextScale(picture.view.scale, -1)); break;
    case VIEW_ACTUAL: ZoomPicture(editor, picture, 1); break;
    case VIEW_FIT: FitPicture(editor, picture); break;
    case VIEW_SPLIT: ToggleSplit(editor, picture); break;
    case PICTURE_ONE_BIT:
    case PICTURE_ONE_BIT_DIFFUSED:
    case PICTURE_GREY:
    case PICTURE_PALETTE:
    case PICTURE_RGB: ConvertPicture(editor, picture, command); break;
    case REVERT_FILE: RevertPicture(editor, picture); break;
    case PICTURE_CROP:
    case PICTURE_RESIZE:
    case PICTURE_TURN_RIGHT:
    case PICTURE_TURN_LEFT:
    case PICTURE_TURN_HALF:
    case PICTURE_FLIP_ACROSS:
    case PICTURE_FLIP_DOWN: ChangeGeometry(editor, picture, command); break;
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
    case PROTECT_PAINT: ToggleProtecting(editor, picture); break;
    case PROTECT_INVERT:
    case PROTECT_NOTHING:
    case PROTECT_MASK: ChangeProtection(editor, picture, command); break;
    }
}

void RunEditorCommand(Editor &editor, int command)
{
    if (editor.quitting || !CommandPossible(editor, command)) return;
    if (const PictureWindow *picture = ActivePicture(editor); picture && picture->hand != Hand::FREE) {
        ReleaseCapture();   // what the mouse has begun is done: it would go on in a picture that is another by then
    }
    if (command >= FIRST_RECENT && command < FIRST_RECENT + int(MOST_RECENT)) {
        return OpenRecent(editor, size_t(command - FIRST_RECENT));
    }
    switch (command) {
    case EDIT_HISTORY: ShowHistory(editor); break;
    case EFFECT_REPEAT: RepeatEffect(editor); break;
    case EFFECT_REPEAT_IN_DIALOG: RepeatInDialog(editor); break;
    case EFFECT_FIND: FindEffect(editor); break;
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
    case VIEW_PREVIEW: TogglePreviewOnPicture(editor); break;
    case MASK_EXPLAIN: ExplainMask(editor); break;
    case HELP_ABOUT: ShowAbout(editor); break;
    default: RunPictureCommand(editor, *ActivePicture(editor), command); break;
    }
    UpdateTitles(editor);
    UpdateStatus(editor);
}

void RunEffect(Editor &editor, int32_t offset)
{
    const PictureWindow *picture = ActivePicture(editor);
    if (editor.quitting || !picture || picture->closing || !CommandEnabled(editor.host, offset)) return;
    const HWND open = OpenChooser();
    if (open && offset == CHOOSER_COMMAND) HostBringForward(open);
    else RunCommand(editor.host, offset);
}
