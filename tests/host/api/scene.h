// What tests of VLMAPI share: dialogs that write down what they are told, windows that answer as a test wants, and a
// message loop. Only what both back ends promise is used, so the tests hold for either.

#pragma once

#include "host/api/host_api.h"

#include <functional>
#include <gtest/gtest.h>
#include <ostream>
#include <thread>
#include <vector>

enum { NOISE_TEMPLATE = 4240, WAVE_TEMPLATE = 4610, FILTERS_TEMPLATE = 4010, RIPPLE_TEMPLATE = 4370 };
// For the tests' own use, up to TEST_MESSAGE + 99. A real dialog has the first three private messages itself.
enum { TEST_MESSAGE = WM_USER + 3 };

struct Told {
    UINT message;
    WPARAM word;
    LPARAM extra;
    bool operator==(const Told &other) const = default;
};
void PrintTo(const Told &told, std::ostream *out);

// An open dialog.
struct Scene {
    HWND dialog = nullptr;
    LPARAM parameter = 0;                   // long parameter of WM_INITDIALOG
    std::vector<Told> told;                 // notifications, test messages and WM_DESTROY since the script's start
    std::vector<std::thread::id> threads;   // that handled them
    std::function<INT_PTR(const Told &)> answer;   // to what is told; without it the default procedure answers
};
typedef std::function<void(Scene &scene)> Script;

// Opens a dialog, runs the script in it from its message loop, and closes it with result 1 if the script has not.
INT_PTR InDialog(int32_t templateId, const Script &script);
// A notification as a control sends it; 0 for long where the test does not look at it.
Told Notified(int32_t id, int notification, HWND control);

inline ModuleHandle HostModule() { return KPZ_GetLoadedModuleHandle(HOST_RESOURCES); }

// Handles this thread's messages until the condition holds.
void RunUntil(const std::function<bool()> &done);
// Handles everything posted to this thread so far.
void HandlePosted();

// A host window whose messages a routine answers, on the thread that made it. WM_PAINT and the like are left out.
struct Listener {
    HWND window = nullptr;
    std::function<LRESULT(const Told &)> answer;

    explicit Listener(std::function<LRESULT(const Told &)> routine);
    ~Listener();
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;
};
