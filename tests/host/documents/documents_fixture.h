// A host with the tests' own module in it, for each test a new one.

#pragma once

#include "host/documents/documents.h"
#include "host/documents/library.h"
#include "tests/host/documents/test_module.h"

#include <gtest/gtest.h>

inline BOOL KPZAPI AskDone(void *context) { return (*static_cast<const std::function<bool()> *>(context))(); }

inline void WaitUntil(const std::function<bool()> &done)
{
    HostRunMessages(AskDone, const_cast<std::function<bool()> *>(&done));
}

struct DocumentsTest : testing::Test {
    Host host;
    ModuleNotes *notes = nullptr;
    void *kept = nullptr;   // keeps the module's notes readable after the host has unloaded it
    int32_t blocks = HostAllocatedBlocks();

    DocumentsTest()
    {
        std::string error;
        kept = OpenLibrary(TEST_MODULE, error);
        notes = reinterpret_cast<NotesRoutine>(FindName(kept, "TestNotes"))();
        *notes = {};
        EXPECT_TRUE(StartHost(host, TEST_MODULE, error)) << error;
    }
    ~DocumentsTest() override
    {
        EndHost(host);
        EXPECT_EQ(HostAllocatedBlocks(), blocks) << "every plane is freed with its image";
        CloseLibrary(kept);
    }
    ImageRecord *Open(int32_t type = GREY, int32_t width = 6, int32_t height = 4)
    {
        return OpenImage(host, NewPicture(type, width, height));
    }
    void EndHostsImages()
    {
        while (host.context.firstImage) CloseImage(host, host.context.firstImage);
    }
    // Runs a script on the open dialog, then closes it.
    INT_PTR InDialog(const std::function<void(HWND dialog)> &script)
    {
        host.onDialogOpened = [&script](HWND dialog) {
            script(dialog);
            KPZ_SendMsgNoWait(dialog, WM_CLOSE, 0, 0);
        };
        const INT_PTR result = RunCommand(host, TEST_COMMAND);
        host.onDialogOpened = nullptr;
        return result;
    }
};

inline void Command(HWND dialog, int32_t id) { KPZ_SendMsgAndWait(dialog, WM_COMMAND, WPARAM(id), 0); }
