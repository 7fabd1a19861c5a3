// A person at the editor: finds windows on the screen and works them by the messages of mouse and keyboard. What should
// come of it stands in the tests.

#include "tests/host/editor/person.h"

#include "host/documents/library.h"
#include "host/paths/paths.h"
#include "interface/messages.h"

#include <algorithm>
#include <filesystem>
#include <shlobj.h>
#include <tlhelp32.h>

static constexpr UINT ANSWER_WAIT = 20000;   // milliseconds that a window may take to answer

//---- The process

static constexpr char PROGRAM[] = "velmorant-editor.exe";

static PROCESS_INFORMATION StartProgram(const std::string &folder, const std::string &name,
                                        const std::string &arguments)
{
    const std::string from = folder.empty() ? ProgramFolder() : folder;   // beside this one
    std::wstring line = WideOf("\"" + from + "\\" + name + "\" " + arguments);
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    PROCESS_INFORMATION made = {};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &made)) return {};
    CloseHandle(made.hThread);
    return made;
}

void CopyEditorTo(const std::string &folder)
{
    std::filesystem::create_directories(PathOf(folder));
    for (const char *name : {PROGRAM, "VLMEFF.dll", "VLMAPI.dll", "VLMMISC.dll"})
        std::filesystem::copy(PathOf(ProgramFolder()) / name, PathOf(folder) / name);
}

int RunProgram(const std::string &name, const std::string &arguments)
{
    const PROCESS_INFORMATION made = StartProgram("", name, arguments);
    if (!made.hProcess) return -1;
    DWORD code = DWORD(-1);
    WaitForSingleObject(made.hProcess, 60000);
    GetExitCodeProcess(made.hProcess, &code);
    CloseHandle(made.hProcess);
    return int(code);
}

struct WindowQuery {
    DWORD process;
    std::string title, windowClass;   // empty: any
    HWND found = nullptr;
};

static BOOL CALLBACK TakeMatching(HWND window, LPARAM extra)
{
    WindowQuery &query = *reinterpret_cast<WindowQuery *>(extra);
    DWORD process = 0;
    char text[300] = "";
    GetWindowThreadProcessId(window, &process);
    if (process != query.process || !IsWindowVisible(window)) return TRUE;
    GetClassNameA(window, text, sizeof text);
    if (!query.windowClass.empty() && query.windowClass != text) return TRUE;
    if (!query.title.empty() && query.title != TextOf(window)) return TRUE;
    query.found = window;
    return FALSE;
}

static HWND Find(WindowQuery query)
{
    EnumWindows(TakeMatching, reinterpret_cast<LPARAM>(&query));
    return query.found;
}

// Once it answers, its thread has come back to its messages: the windows stand where they will stay.
static void AwaitAnswer(HWND window)
{
    DWORD_PTR answer = 0;
    SendMessageTimeoutA(window, WM_NULL, 0, 0, SMTO_NORMAL, ANSWER_WAIT, &answer);
}

EditorProcess StartEditor(const std::vector<std::string> &files, const std::string &folder)
{
    SetCursorPos(0, 0);   // out of the windows' way: their mouse messages are the test's
    std::string arguments;
    for (const std::string &file : files) arguments += " \"" + file + "\"";
    const PROCESS_INFORMATION made = StartProgram(folder, PROGRAM, arguments);
    EditorProcess editor;
    if (!made.hProcess) return editor;
    editor.process = made.hProcess;
    editor.id = made.dwProcessId;
    WaitFor([&] { return (editor.frame = Find({editor.id, "", "VelmorantEditor"})) != nullptr; });
    WaitFor([&] { return PictureTitles(editor).size() == files.size() || Find({editor.id, "Velmorant", "#32770"}); });
    AwaitAnswer(editor.frame);
    return editor;
}

bool HasEnded(const EditorProcess &editor) { return WaitForSingleObject(editor.process, ANSWER_WAIT) == WAIT_OBJECT_0; }

void EndEditor(EditorProcess &editor)
{
    if (!editor.process) return;
    if (WaitForSingleObject(editor.process, 0) != WAIT_OBJECT_0) TerminateProcess(editor.process, 1);
    WaitForSingleObject(editor.process, ANSWER_WAIT);
    CloseHandle(editor.process);
    editor.process = nullptr;
}

// Numbers come again: another program's process may have had a parent of this number.
int CountProcessesOf(const EditorProcess &editor, const std::string &program)
{
    const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32 one = {};
    one.dwSize = sizeof one;
    int count = 0;
    for (BOOL more = Process32First(all, &one); more; more = Process32Next(all, &one))
        count += one.th32ParentProcessID == editor.id && one.szExeFile == program;
    CloseHandle(all);
    return count;
}

//---- Looking

bool WaitFor(const std::function<bool()> &condition, int seconds)
{
    const ULONGLONG end = GetTickCount64() + ULONGLONG(seconds) * 1000;
    while (!condition()) {
        if (GetTickCount64() > end) return false;
        Sleep(10);
    }
    return true;
}

std::string TextOf(HWND window)
{
    char text[600] = "";
    DWORD_PTR length = 0;
    SendMessageTimeoutA(window, WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text), SMTO_NORMAL, ANSWER_WAIT,
                        &length);
    return text;
}

HWND FindByTitle(const EditorProcess &editor, const std::string &title) { return Find({editor.id, title, ""}); }

HWND AwaitWindow(const EditorProcess &editor, const std::string &title)
{
    HWND window = nullptr;
    WaitFor([&] { return (window = FindByTitle(editor, title)) != nullptr; });
    return window;
}

bool IsGone(HWND window)
{
    return WaitFor([=] { return !IsWindow(window); });
}

static BOOL CALLBACK TakeTitle(HWND window, LPARAM extra)
{
    char name[64] = "";
    GetClassNameA(window, name, sizeof name);
    auto &titles = *reinterpret_cast<std::vector<std::string> *>(extra);
    if (std::string(name) == "VelmorantPicture") titles.push_back(TextOf(window));
    return TRUE;
}

std::vector<std::string> PictureTitles(const EditorProcess &editor)
{
    std::vector<std::string> titles;
    EnumChildWindows(editor.frame, TakeTitle, reinterpret_cast<LPARAM>(&titles));
    std::sort(titles.begin(), titles.end());
    return titles;
}

std::vector<uint32_t> SeenAt(const RECT &area)
{
    const LONG width = area.right - area.left, height = area.bottom - area.top;
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof info.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    const HDC screen = GetDC(nullptr), space = CreateCompatibleDC(screen);
    void *words = nullptr;
    const HBITMAP memory = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &words, nullptr, 0);
    const HGDIOBJ before = SelectObject(space, memory);
    BitBlt(space, 0, 0, width, height, screen, area.left, area.top, SRCCOPY);
    GdiFlush();
    const auto *first = static_cast<const uint32_t *>(words);
    std::vector<uint32_t> seen(first, first + size_t(width) * size_t(height));
    for (uint32_t &word : seen) word &= 0xFFFFFF;
    SelectObject(space, before);
    DeleteObject(memory);
    DeleteDC(space);
    ReleaseDC(nullptr, screen);
    return seen;
}

std::vector<uint32_t> Seen(HWND window)
{
    RECT area;
    GetClientRect(window, &area);
    MapWindowPoints(window, nullptr, reinterpret_cast<POINT *>(&area), 2);
    return SeenAt(area);
}

bool OfOneColour(const std::vector<uint32_t> &seen)
{
    return std::all_of(seen.begin(), seen.end(), [&](uint32_t word) { return word == seen[0]; });
}

std::vector<uint32_t> AwaitStill(HWND window, int milliseconds)
{
    std::vector<uint32_t> seen;
    ULONGLONG since = 0;
    const bool still = WaitFor([&] {
        std::vector<uint32_t> now = Seen(window);
        if (now != seen || OfOneColour(now)) since = GetTickCount64();
        seen = std::move(now);
        return GetTickCount64() - since >= ULONGLONG(milliseconds);
    });
    return still ? seen : std::vector<uint32_t>();
}

//---- Acting

void Choose(const EditorProcess &editor, int command) { PostMessageA(editor.frame, WM_COMMAND, WPARAM(command), 0); }

void Click(HWND dialog, int button) { PostMessageA(GetDlgItem(dialog, button), BM_CLICK, 0, 0); }

bool CloseAfterRun(HWND dialog)
{
    return WaitFor([=] {
        Click(dialog, CLOSE_BUTTON);
        Sleep(20);
        return !IsWindow(dialog);
    });
}

void Type(HWND dialog, int field, const std::string &text)
{
    const HWND edit = GetDlgItem(dialog, field);
    PostMessageA(edit, EM_SETSEL, 0, -1);
    for (const char letter : text) PostMessageA(edit, WM_CHAR, WPARAM(letter), 1);
}

void TypeFirstDigit(HWND dialog, int field, char digit)
{
    const HWND edit = GetDlgItem(dialog, field);
    PostMessageA(edit, EM_SETSEL, 0, 1);
    PostMessageA(edit, WM_CHAR, WPARAM(digit), 1);
}

static GUITHREADINFO Keyboard(const EditorProcess &editor)
{
    GUITHREADINFO info = {};
    info.cbSize = sizeof info;
    GetGUIThreadInfo(GetWindowThreadProcessId(editor.frame, nullptr), &info);
    return info;
}

// Asked for again and again: under Wine a window takes the display's word that it has lost the keyboard when that word
// comes, which on a loaded machine is after it has got the keyboard back.
bool TakeKeyboard(const EditorProcess &editor)
{
    const auto has = [&] { return GetForegroundWindow() == editor.frame && Keyboard(editor).hwndFocus; };
    return WaitFor([&] {
        SetForegroundWindow(editor.frame);
        return WaitFor(has, 1);
    });
}

HWND FocusOf(const EditorProcess &editor) { return Keyboard(editor).hwndFocus; }
bool MenuIsOpen(const EditorProcess &editor) { return Find({editor.id, "", "#32768"}) != nullptr; }
bool InMenuBar(const EditorProcess &editor) { return Keyboard(editor).flags & GUI_INMENUMODE; }

static void SendKey(WORD key, bool up)
{
    INPUT input = {};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = key;
    input.ki.dwFlags = up ? KEYEVENTF_KEYUP : 0;
    SendInput(1, &input, sizeof input);
}

void Key(WORD key, bool control)
{
    if (control) SendKey(VK_CONTROL, false);
    SendKey(key, false);
    SendKey(key, true);
    if (control) SendKey(VK_CONTROL, true);
}

// The active picture's window stands first among its neighbours, and its canvas is its only child.
HWND CanvasOf(const EditorProcess &editor)
{
    const HWND client = FindWindowExA(editor.frame, nullptr, "MDIClient", nullptr);
    const HWND window = client ? FindWindowExA(client, nullptr, "VelmorantPicture", nullptr) : nullptr;
    return window ? GetWindow(window, GW_CHILD) : nullptr;
}

POINT RoomOf(const EditorProcess &editor)
{
    RECT area = {};
    GetClientRect(CanvasOf(editor), &area);
    return {area.right, area.bottom};
}

void Drag(const EditorProcess &editor, const std::vector<POINT> &way, bool right)
{
    const HWND canvas = CanvasOf(editor);
    const WPARAM held = right ? MK_RBUTTON : MK_LBUTTON;
    const auto place = [](const POINT &point) { return MAKELPARAM(point.x, point.y); };
    PostMessageA(canvas, right ? WM_RBUTTONDOWN : WM_LBUTTONDOWN, held, place(way.front()));
    for (const POINT &point : way) PostMessageA(canvas, WM_MOUSEMOVE, held, place(point));
    PostMessageA(canvas, right ? WM_RBUTTONUP : WM_LBUTTONUP, 0, place(way.back()));
}

// The list of files stands in the editor's own memory, where the system puts it for a program that is dropped on.
void Drop(const EditorProcess &editor, const std::vector<std::string> &files)
{
    DROPFILES head = {};
    head.pFiles = sizeof head;
    std::string list(reinterpret_cast<const char *>(&head), sizeof head);
    for (const std::string &file : files) list += file + '\0';
    list += '\0';
    void *place = VirtualAllocEx(editor.process, nullptr, list.size(), MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    WriteProcessMemory(editor.process, place, list.data(), list.size(), nullptr);
    PostMessageA(editor.frame, WM_DROPFILES, reinterpret_cast<WPARAM>(place), 0);
}

std::string Asked(const EditorProcess &editor)
{
    constexpr int TEXT = 0xFFFF;
    HWND box = nullptr;
    WaitFor([&] { return (box = Find({editor.id, "Velmorant", "#32770"})) && GetDlgItem(box, TEXT); });
    return box ? TextOf(GetDlgItem(box, TEXT)) : "";
}

bool Answer(const EditorProcess &editor, int button)
{
    HWND box = nullptr;
    if (!WaitFor([&] { return (box = Find({editor.id, "Velmorant", "#32770"})) && GetDlgItem(box, button); }))
        return false;
    PostMessageA(box, WM_COMMAND, WPARAM(button), reinterpret_cast<LPARAM>(GetDlgItem(box, button)));
    return IsGone(box);
}

// The name's field is a combo box's in newer dialogs, and an edit field in older ones; it need not be the dialog's own
// child.
struct FieldQuery {
    HWND found;
};

static BOOL CALLBACK TakeNameField(HWND window, LPARAM extra)
{
    constexpr int COMBO_BOX = 0x47C, EDIT_FIELD = 0x480;
    FieldQuery &query = *reinterpret_cast<FieldQuery *>(extra);
    const int id = GetDlgCtrlID(window);
    if (id == COMBO_BOX) query.found = FindWindowExA(window, nullptr, "Edit", nullptr);
    if (id == EDIT_FIELD) query.found = window;
    return !query.found;
}

HWND NameField(HWND dialog)
{
    FieldQuery query = {nullptr};
    EnumChildWindows(dialog, TakeNameField, reinterpret_cast<LPARAM>(&query));
    return query.found;
}

void NameFile(const EditorProcess &editor, const std::string &title, const std::string &file)
{
    HWND dialog = nullptr, field = nullptr;
    WaitFor([&] { return (dialog = FindByTitle(editor, title)) && (field = NameField(dialog)); });
    DWORD_PTR answer = 0;
    SendMessageTimeoutA(field, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(file.c_str()), SMTO_NORMAL, ANSWER_WAIT,
                        &answer);
    PostMessageA(dialog, WM_COMMAND, IDOK, 0);
    IsGone(dialog);
}

//---- The system

void SetLook(Look look)
{
    constexpr char KEY[] = "Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize";
    constexpr char NAME[] = "AppsUseLightTheme";
    const DWORD light = look == Look::LIGHT;
    if (look == Look::NONE) RegDeleteKeyValueA(HKEY_CURRENT_USER, KEY, NAME);
    else RegSetKeyValueA(HKEY_CURRENT_USER, KEY, NAME, REG_DWORD, &light, sizeof light);
}

//---- Trouble

static BYTE *ModuleIn(DWORD process, const char *name)
{
    const HANDLE modules = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, process);
    MODULEENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    BYTE *base = nullptr;
    for (BOOL more = Module32First(modules, &entry); more && !base; more = Module32Next(modules, &entry))
        if (lstrcmpiA(entry.szModule, name) == 0) base = entry.modBaseAddr;
    CloseHandle(modules);
    return base;
}

// A call of HostRefuseMemory in the other process, as a thread's routine, which takes one argument too.
void RefuseMemory(const EditorProcess &editor, int requests)
{
    const HMODULE own = LoadLibraryA("VLMAPI.dll");
    const auto *routine = reinterpret_cast<BYTE *>(GetProcAddress(own, "HostRefuseMemory"));
    BYTE *there = ModuleIn(editor.id, "VLMAPI.dll") + (routine - reinterpret_cast<BYTE *>(own));
    const auto start = reinterpret_cast<LPTHREAD_START_ROUTINE>(there);
    auto *argument = reinterpret_cast<void *>(intptr_t(requests));
    const HANDLE thread = CreateRemoteThread(editor.process, nullptr, 0, start, argument, 0, nullptr);
    WaitForSingleObject(thread, ANSWER_WAIT);
    CloseHandle(thread);
    FreeLibrary(own);
}

//---- Measuring

static double Milliseconds()
{
    LARGE_INTEGER ticks, perSecond;
    QueryPerformanceCounter(&ticks);
    QueryPerformanceFrequency(&perSecond);
    return 1000.0 * double(ticks.QuadPart) / double(perSecond.QuadPart);
}

double TimeToChange(HWND window, const std::function<void()> &act)
{
    constexpr double REST = 200, PATIENCE = 60000;
    std::vector<uint32_t> view = Seen(window);
    const double start = Milliseconds();
    double changed = 0;
    act();
    while (Milliseconds() < (changed > 0 ? changed + REST : start + PATIENCE)) {
        Sleep(1);
        std::vector<uint32_t> now = Seen(window);
        if (now == view) continue;
        view = std::move(now);
        changed = Milliseconds();
    }
    return changed > 0 ? changed - start : PATIENCE;
}

double LongestWait(const EditorProcess &editor, const std::function<bool()> &done)
{
    double longest = 0;
    const double end = Milliseconds() + 60000;
    do {
        DWORD_PTR answer = 0;
        const double sent = Milliseconds();
        SendMessageTimeoutA(editor.frame, WM_NULL, 0, 0, SMTO_NORMAL, ANSWER_WAIT, &answer);
        longest = std::max(longest, Milliseconds() - sent);
        Sleep(1);
    } while (!done() && Milliseconds() < end);
    return longest;
}
