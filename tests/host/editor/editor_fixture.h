// The editor as a test's own process, and a folder for its files; both go with the test.

#pragma once

#include "host/documents/picture_file.h"
#include "host/editor/commands.h"
#include "host/paths/paths.h"
#include "tests/host/editor/person.h"

#include <filesystem>
#include <gtest/gtest.h>

// The module's commands, as the editor numbers them, count from here.
constexpr int MODULE_BASE = 1000;

struct EditorFixture : testing::Test {
    std::filesystem::path folder = MakeFolder();
    EditorProcess editor;

    static std::filesystem::path MakeFolder()
    {
        const std::string name = "velmorant ünï ŁØ日 " + std::to_string(GetCurrentProcessId());
        const auto made = std::filesystem::temp_directory_path() / PathOf(name);
        std::filesystem::create_directories(made);
        return made;
    }
    // What the editor remembers, and the presets that it saves, go with the test.
    EditorFixture() { SetEnvironmentVariableW(L"APPDATA", (folder / "data").c_str()); }
    ~EditorFixture() override
    {
        EndEditor(editor);
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    std::string FileOf(const std::string &name) const { return NameOf(folder / PathOf(name)); }
    std::string MakeFile(const std::string &name, const Picture &picture) const
    {
        std::vector<std::string> notices;
        std::string error;
        EXPECT_TRUE(WritePicture(FileOf(name), picture, FormatOfName(name), {}, notices, error)) << error;
        return FileOf(name);
    }
    void Start(const std::vector<std::string> &files)
    {
        editor = StartEditor(files);
        ASSERT_NE(editor.frame, nullptr);
        ASSERT_EQ(PictureTitles(editor).size(), files.size());
    }
    bool HasTitles(const std::vector<std::string> &titles)
    {
        return WaitFor([&] { return PictureTitles(editor) == titles; });
    }
    void QuitUnasked()
    {
        Choose(editor, QUIT_EDITOR);
        EXPECT_TRUE(HasEnded(editor));
    }
    HWND OpenDialog(int command, const std::string &title)
    {
        Choose(editor, command);
        const HWND dialog = AwaitWindow(editor, title);
        EXPECT_NE(dialog, nullptr) << title;
        return dialog;
    }
};
