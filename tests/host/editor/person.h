// A person at the desktop editor: the program as a process of its own, its windows found on the screen and worked
// through the messages that mouse and keyboard come to.

#pragma once

#include "interface/windows_calls.h"

#include <functional>
#include <string>
#include <vector>

struct EditorProcess {
    HANDLE process = nullptr;
    DWORD id = 0;
    HWND frame = nullptr;
};

// Starts the editor with these pictures and waits for its window; ends it, by force if it must be. `folder` has the
// program, with all that it loads; when it is empty, it is the one beside the test's own.
EditorProcess StartEditor(const std::vector<std::string> &files, const std::string &folder = "");
// A copy of the program and all that it loads.
void CopyEditorTo(const std::string &folder);
void EndEditor(EditorProcess &editor);
// Whether it has ended by itself, within some seconds.
bool HasEnded(const EditorProcess &editor);
// How many processes that it has started run: of its own program, or of another one.
int CountProcessesOf(const EditorProcess &editor, const std::string &program = "velmorant-editor.exe");

// Runs another program that stands beside the test's own, to its end; its exit code, or -1.
int RunProgram(const std::string &name, const std::string &arguments);

// Waits until a condition holds; false after `seconds`.
bool WaitFor(const std::function<bool()> &condition, int seconds = 30);

// A window of the editor's on the screen by its title; null when there is none.
HWND FindByTitle(const EditorProcess &editor, const std::string &title);
// Waits for it.
HWND AwaitWindow(const EditorProcess &editor, const std::string &title);
bool IsGone(HWND window);
// As windows tell: the titles of the picture windows, and a control's text.
std::vector<std::string> PictureTitles(const EditorProcess &editor);
std::string TextOf(HWND window);

// Chooses a menu command.
void Choose(const EditorProcess &editor, int command);
// Clicks a button of a dialog.
void Click(HWND dialog, int button);
// Clicks Close until the dialog is gone: while the run goes on that Apply has just been clicked for, it stays.
bool CloseAfterRun(HWND dialog);
// Types over what a field holds.
void Type(HWND dialog, int field, const std::string &text);
// Types over its first digit, of which a dialog hears as one change.
void TypeFirstDigit(HWND dialog, int field, char digit);
// Makes the editor's the window that keys come to; false when it does not become so.
bool TakeKeyboard(const EditorProcess &editor);
// The editor's window that has the keyboard when the editor has it, and the picture's window that is seen.
HWND FocusOf(const EditorProcess &editor);
HWND CanvasOf(const EditorProcess &editor);
// Whether the keyboard is in the menu bar, and whether one of its menus is open.
bool InMenuBar(const EditorProcess &editor);
bool MenuIsOpen(const EditorProcess &editor);
// Presses a key, with Ctrl when told, wherever the keyboard is at.
void Key(WORD key, bool control = false);
// Presses a mouse button in the picture that is seen, at window positions, and lets it go at the last of them.
void Drag(const EditorProcess &editor, const std::vector<POINT> &way, bool right = false);
// The size of the inside of the window that shows the picture.
POINT RoomOf(const EditorProcess &editor);
// Drops files on the main window.
void Drop(const EditorProcess &editor, const std::vector<std::string> &files);
// What an open message box of the editor's asks; empty when none comes.
std::string Asked(const EditorProcess &editor);
// The answer to a message box of the editor's, by its button; false when none comes, or it does not go.
bool Answer(const EditorProcess &editor, int button);
// The field for the name in an open file dialog; null until it is there.
HWND NameField(HWND dialog);
// Names a file in an open file dialog.
void NameFile(const EditorProcess &editor, const std::string &dialog, const std::string &file);

// What the system is set to for programs: dark, light, or nothing.
enum class Look { DARK, LIGHT, NONE };
void SetLook(Look look);

// Lets the editor run out of memory: the system refuses it the next so many large requests.
void RefuseMemory(const EditorProcess &editor, int requests);

// What the screen shows of an area, and of a window's inside: 0x00RRGGBB from the top left on.
std::vector<uint32_t> SeenAt(const RECT &area);
std::vector<uint32_t> Seen(HWND window);
bool OfOneColour(const std::vector<uint32_t> &seen);
// Waits until a window's inside shows something and has stayed as it is for a time: a preview, as a rule. What is seen
// then; nothing when it does not come to that.
std::vector<uint32_t> AwaitStill(HWND window, int milliseconds = 1000);
// How long it takes from `act` until the screen shows in a window what it then goes on showing, in milliseconds; at
// least one change is waited for.
double TimeToChange(HWND window, const std::function<void()> &act);
// How long the editor's messages wait at most while something goes on, in milliseconds: a message is sent again and
// again until `done` holds. The best of several rounds means something on a machine that has other things to do.
double LongestWait(const EditorProcess &editor, const std::function<bool()> &done);
