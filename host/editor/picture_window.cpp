// Windows of pictures: which message goes where, and how such a window comes and goes. What is drawn in it, what mouse
// and keyboard do there and what it shows of the picture have files of their own.

#include "host/editor/picture_window.h"

#include "host/editor/chooser.h"
#include "host/editor/commands.h"
#include "host/editor/picture_changes.h"
#include "host/editor/picture_drawing.h"
#include "host/editor/picture_keys.h"
#include "host/editor/picture_mouse.h"
#include "host/editor/picture_view.h"
#include "host/editor/questions.h"
#include "host/editor/screen.h"
#include "host/editor/status_line.h"
#include "host/editor/tabs.h"
#include "host/paths/paths.h"

#include <algorithm>

static constexpr char PICTURE_CLASS[] = "VelmorantPicture";

static PictureWindow *Of(HWND window)
{
    return reinterpret_cast<PictureWindow *>(GetWindowLongPtrA(window, GWLP_USERDATA));
}

//---- The image's own window

// A run tells its own dialog of its end. The others, which may have greyed their controls for it and show previews of
// the picture that was, hear of it as of a picture that has just become active.
static void OnRunEnded(PictureWindow &picture)
{
    Editor &editor = *picture.editor;
    PictureChanged(editor, picture);
    if (ActivePicture(editor) != &picture || !CanChange(&picture)) return;
    MiscTellFloaters(editor.host.context.floaters, ACTIVE_IMAGE_CHANGED, 0, 0);
    ChooseMenus(&editor.host.context);
}

// A right button's press paints over nothing but masks, so it keeps its system meaning otherwise.
static LRESULT KPZAPI CanvasProcedure(HWND canvas, UINT message, WPARAM word, LPARAM extra)
{
    PictureWindow *picture = Of(canvas);
    if (!picture) return KPZ_DefWindowProc(canvas, message, word, extra);
    switch (message) {
    case WM_PAINT: PaintPicture(*picture); return 0;
    case WM_ERASEBKGND: return 1;
    case WM_TIMER: PaintAgain(*picture); return 0;
    case WM_SIZE:
        LayOutPicture(*picture);
        UpdateStatus(*picture->editor);
        return 0;
    case WM_HSCROLL: OnScrollBar(*picture, SB_HORZ, LOWORD(word)); return 0;
    case WM_VSCROLL: OnScrollBar(*picture, SB_VERT, LOWORD(word)); return 0;
    case WM_MOUSEWHEEL: OnWheel(*picture, word, extra, false); return 0;
    case WM_MOUSEHWHEEL: OnWheel(*picture, word, extra, true); return 0;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
    case WM_MBUTTONDOWN: OnPress(*picture, word, extra, false); return 0;
    case WM_RBUTTONDOWN: OnPress(*picture, word, extra, true); return 0;
    case WM_MOUSEMOVE: OnMove(*picture, extra); return 0;
    case WM_MOUSELEAVE: OnLeave(*picture); return 0;
    case WM_LBUTTONUP:
    case WM_MBUTTONUP:
    case WM_RBUTTONUP: OnRelease(*picture); return 0;
    case WM_CAPTURECHANGED: picture->hand = Hand::FREE; return 0;
    case WM_KEYDOWN:
        if (OnKey(*picture, word)) return 0;
        break;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
        if (picture->cursorShown) RedrawPicture(*picture);
        break;
    case WM_GETDLGCODE: return DLGC_WANTALLKEYS;
    case WM_NULL: OnRunEnded(*picture); break;   // HostRunUnderWay has become 0
    case PROGRESS_CHANGED:
    case IMAGE_SIZED: return KPZ_DefWindowProc(canvas, message, word, extra);
    }
    return DefWindowProcA(canvas, message, word, extra);
}

static void FurnishCanvas(PictureWindow &picture)
{
    SetWindowLongPtrA(picture.canvas, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&picture));
    SetWindowLongPtrA(picture.canvas, GWL_STYLE, WS_CHILD | WS_HSCROLL | WS_VSCROLL);
    SetParent(picture.canvas, picture.window);
    KPZ_SubclassWindow(picture.canvas, CanvasProcedure);
    const Extent room = SizeOf(picture.window);
    SetWindowPos(picture.canvas, nullptr, 0, 0, room.width, room.height,
                 SWP_NOZORDER | SWP_FRAMECHANGED | SWP_SHOWWINDOW | SWP_NOACTIVATE);
}

//---- The frame around it

// The picture that the open dialogs work on keeps an active window's caption while a dialog has the keyboard.
static bool StaysMarked(const PictureWindow &picture)
{
    const HostContext &host = picture.editor->host.context;
    return host.activeImage == picture.image && MiscFloaterCount(host.floaters) > 0;
}

static void OnActivated(PictureWindow &picture)
{
    Host &host = picture.editor->host;
    if (!picture.closing && host.context.activeImage != picture.image) ActivateImage(host, picture.image);
    for (const auto &other : picture.editor->pictures)   // which may have stayed marked
        if (other.get() != &picture) SendMessageA(other->window, WM_NCACTIVATE, FALSE, 0);
    if (StaysMarked(picture)) SendMessageA(picture.window, WM_NCACTIVATE, TRUE, 0);
    UpdateStatus(*picture.editor);
    RefreshChooser();
}

static LRESULT CALLBACK PictureProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    PictureWindow *picture = Of(window);
    if (!picture) return DefMDIChildProcA(window, message, word, extra);
    switch (message) {
    case WM_SIZE:
        if (word != SIZE_MINIMIZED) MoveWindow(picture->canvas, 0, 0, LOWORD(extra), HIWORD(extra), TRUE);
        break;
    case WM_MDIACTIVATE:
        if (reinterpret_cast<HWND>(extra) == window) OnActivated(*picture);
        break;
    case WM_NCACTIVATE:
        if (StaysMarked(*picture)) word = TRUE;
        break;
    case WM_SETFOCUS: SetFocus(picture->canvas); break;
    case WM_CLOSE:
        ActivatePicture(*picture->editor, picture);
        PostMessageA(picture->editor->frame, WM_COMMAND, CLOSE_FILE, 0);
        return 0;
    }
    return DefMDIChildProcA(window, message, word, extra);
}

void RegisterPictureWindows()
{
    WNDCLASSEXA made = {};
    made.cbSize = sizeof made;
    made.lpfnWndProc = PictureProcedure;
    made.hInstance = GetModuleHandleA(nullptr);
    made.hIcon = LoadIcon(made.hInstance, MAKEINTRESOURCE(1));
    made.hCursor = LoadCursor(nullptr, IDC_ARROW);
    made.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_APPWORKSPACE + 1);
    made.lpszClassName = PICTURE_CLASS;
    RegisterClassExA(&made);
}

//---- Opening and closing

// The first picture fills the room; later ones do as the one before them.
static bool OpensLarge(const Editor &editor)
{
    BOOL large = FALSE;
    const auto active = reinterpret_cast<HWND>(SendMessageA(editor.client, WM_MDIGETACTIVE, 0, LPARAM(&large)));
    return !active || large;
}

static HWND MakeWindow(const Editor &editor, const PictureWindow &picture)
{
    const double scale = FittingScale(picture.extent, SizeOf(editor.client));
    const Extent size = WindowAround(editor, ShownExtent({scale, 0, 0}, picture.extent));
    const DWORD style = OpensLarge(editor) ? WS_MAXIMIZE : 0;
    return CreateMDIWindowA(PICTURE_CLASS, picture.name.c_str(), style, CW_USEDEFAULT, CW_USEDEFAULT, size.width,
                            size.height, editor.client, GetModuleHandleA(nullptr), 0);
}

// Undo keeps whole pictures; together they should leave a 32-bit program the room it works in.
static void LimitUndo(const Editor &editor)
{
    constexpr double ROOM = 600e6;
    double bytes = 1;
    for (const auto &picture : editor.pictures) {
        const ImageRecord &image = *picture->image;
        bytes += double(RowStride(image.bitsPerPixel, image.width)) * image.height;
    }
    MiscKeepUndoSteps(int32_t(std::clamp(ROOM / bytes, 3.0, 50.0)));
}

PictureWindow *ShowPicture(Editor &editor, Picture &&contents, const std::string &file, FileFormat format,
                           Document *document)
{
    const Extent extent = {contents.width, contents.height};
    bool unchanged = true;
    const auto furnish = [&](ImageRecord *opened) { unchanged = !document || Furnish(opened, *document); };
    ImageRecord *image = OpenImage(editor.host, std::move(contents), furnish);
    if (!image) {
        ShowMessage(editor, "No more pictures can be open at once.", MB_ICONERROR);
        return nullptr;
    }
    editor.pictures.push_back(std::make_unique<PictureWindow>());
    PictureWindow *picture = editor.pictures.back().get();
    picture->editor = &editor;
    picture->image = image;
    picture->canvas = image->window;
    picture->extent = extent;
    picture->file = file;
    picture->format = format;
    picture->name = file.empty() ? "Untitled " + std::to_string(++editor.untitled) : WithoutFolder(file);
    LimitUndo(editor);
    picture->window = MakeWindow(editor, *picture);
    SetWindowLongPtrA(picture->window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(picture));
    FurnishCanvas(*picture);
    ActivatePicture(editor, picture);
    OnActivated(*picture);
    LayOutPicture(*picture);
    SetWindowTextA(picture->window, picture->name.c_str());   // the main window's title follows
    picture->title = picture->name;
    RefreshTabs(editor);
    SetFocus(picture->canvas);
    if (!unchanged) {
        ShowMessage(editor,
                    picture->name + ": another program has changed the picture. It is shown as that program left it, "
                                    "without its floating objects.",
                    MB_ICONINFORMATION);
    }
    return picture;
}

void RemovePictureWindow(Editor &editor, PictureWindow *picture)
{
    const HWND window = picture->window;
    SetWindowLongPtrA(window, GWLP_USERDATA, 0);
    std::erase_if(editor.pictures, [=](const auto &one) { return one.get() == picture; });
    SendMessageA(editor.client, WM_MDIDESTROY, reinterpret_cast<WPARAM>(window), 0);
    if (PictureWindow *next = ActivePicture(editor)) ActivatePicture(editor, next);
    RefreshTabs(editor);
    UpdateStatus(editor);
    RefreshChooser();
}
