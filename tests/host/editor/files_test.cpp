// Files, as a person meets them in the editor: what is saved with everything and what is only exported, the formats that
// are offered, and what is asked before something is lost.

#include "tests/host/editor/editor_fixture.h"

#include "tests/support/read_back.h"

enum { FORM_FIRST_ROW = 101, FORM_SECOND_ROW = 102, TYPE_BOX = 0x470 };

struct EditorFiles : EditorFixture {
    // A slope, and bits that no packing makes small.
    static Picture Slope(int32_t width = 160, int32_t height = 120)
    {
        Picture picture = NewPicture(RGB, width, height);
        const auto stride = size_t(RowStride(24, width));
        for (size_t i = 0; i < stride * size_t(height); ++i)
            picture.pixels[i] = uint8_t(i % stride / 4 + i * i / 7 % 61);
        return picture;
    }
    void PasteItself()
    {
        Choose(editor, EDIT_COPY);
        Choose(editor, EDIT_PASTE);
    }
    // Names a file, and waits for what that brings up instead of for the dialog's end.
    void NameAndPress(const std::string &title, const std::string &file)
    {
        HWND dialog = nullptr, field = nullptr;
        ASSERT_TRUE(WaitFor([&] { return (dialog = FindByTitle(editor, title)) && (field = NameField(dialog)); }));
        SendMessageA(field, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(file.c_str()));
        PostMessageA(dialog, WM_COMMAND, IDOK, 0);
    }
};

TEST_F(EditorFiles, WhatLeavesSomethingOutIsAnExportAndATiffFileKeepsAll)
{
    Start({MakeFile("lake.png", Slope())});
    PasteItself();
    EXPECT_TRUE(HasTitles({"lake.png *"}));
    Choose(editor, MASK_EDIT);   // which gives it a mask
    Choose(editor, SAVE_FILE_AS);
    NameAndPress("Save As", FileOf("lake.ppm"));
    EXPECT_NE(Asked(editor).find("without floating objects and the mask"), std::string::npos) << Asked(editor);
    EXPECT_TRUE(Answer(editor, IDOK));
    EXPECT_TRUE(HasTitles({"lake.png *"})) << "the star stays, and so does the name";
    EXPECT_TRUE(std::filesystem::exists(PathOf(FileOf("lake.ppm"))));

    Choose(editor, SAVE_FILE_AS);
    NameFile(editor, "Save As", FileOf("whole.tif"));
    EXPECT_TRUE(HasTitles({"whole.tif"}));
    QuitUnasked();

    Start({FileOf("whole.tif")});
    EXPECT_TRUE(HasTitles({"whole.tif"})) << "opened, it has no changes";
    Choose(editor, OBJECT_DELETE);
    EXPECT_TRUE(HasTitles({"whole.tif *"})) << "its object was there, and selected";
    Choose(editor, MASK_REMOVE);
    Choose(editor, EDIT_UNDO);
    Choose(editor, EDIT_UNDO);
    EXPECT_TRUE(HasTitles({"whole.tif"})) << "and so was its mask";
    QuitUnasked();
}

TEST_F(EditorFiles, ClosingAsksBeforeWhatTheFileCannotHoldIsLost)
{
    Start({MakeFile("lake.png", Slope())});
    PasteItself();
    EXPECT_TRUE(HasTitles({"lake.png *"}));
    Choose(editor, CLOSE_FILE);
    EXPECT_TRUE(Answer(editor, IDYES)) << "save it";
    EXPECT_TRUE(Answer(editor, IDOK)) << "it is told what is left out";
    EXPECT_NE(Asked(editor).find("lose the rest"), std::string::npos) << Asked(editor);
    EXPECT_TRUE(Answer(editor, IDNO));
    EXPECT_TRUE(HasTitles({"lake.png *"}));
    Choose(editor, EDIT_UNDO);
    EXPECT_TRUE(HasTitles({"lake.png"}));
    QuitUnasked();
}

TEST_F(EditorFiles, AnExportIsACopyAndNothingElse)
{
    Start({MakeFile("lake.png", Slope())});
    PasteItself();
    Choose(editor, OBJECT_MERGE);
    Choose(editor, EXPORT_FILE);
    NameFile(editor, "Export", FileOf("copy.bmp"));
    EXPECT_TRUE(WaitFor([&] { return std::filesystem::exists(PathOf(FileOf("copy.bmp"))); }));
    EXPECT_TRUE(HasTitles({"lake.png *"}));
    EXPECT_EQ(ReadBack(FileOf("copy.bmp")).width, 160);
}

TEST_F(EditorFiles, EveryFormatIsOfferedAndAnUnknownEndingKeepsTheName)
{
    Start({MakeFile("lake.png", Slope())});
    Choose(editor, SAVE_FILE_AS);
    const HWND dialog = AwaitWindow(editor, "Save As");
    ASSERT_TRUE(WaitFor([=] { return NameField(dialog) && GetDlgItem(dialog, TYPE_BOX); }));
    EXPECT_EQ(SendMessageA(GetDlgItem(dialog, TYPE_BOX), CB_GETCOUNT, 0, 0), 7);
    NameAndPress("Save As", FileOf("lake.xyz"));
    EXPECT_NE(Asked(editor).find("png, bmp, tif"), std::string::npos) << Asked(editor);
    EXPECT_TRUE(Answer(editor, IDOK));
    HWND again = nullptr;
    ASSERT_TRUE(WaitFor([&] { return (again = FindByTitle(editor, "Save As")) && NameField(again); }));
    EXPECT_TRUE(WaitFor([&] { return TextOf(NameField(again)).ends_with("lake.xyz"); })) << TextOf(NameField(again));
    NameFile(editor, "Save As", FileOf("plain"));
    EXPECT_TRUE(HasTitles({"plain.png"})) << "without an ending, that of the chosen format";
    Choose(editor, SAVE_FILE_AS);
    NameAndPress("Save As", FileOf("lake.png"));
    EXPECT_NE(Asked(editor).find("Replace it"), std::string::npos);
    EXPECT_TRUE(Answer(editor, IDNO));
    NameFile(editor, "Save As", FileOf("other.bmp"));
    EXPECT_TRUE(HasTitles({"other.bmp"}));
    QuitUnasked();
}

TEST_F(EditorFiles, JpegAsksForItsQualityAndTellsTheFilesSize)
{
    Start({MakeFile("lake.png", Slope())});
    Choose(editor, SAVE_FILE_AS);
    NameAndPress("Save As", FileOf("lake.jpg"));
    const HWND form = AwaitWindow(editor, "JPEG Quality");
    ASSERT_NE(form, nullptr);
    const HWND size = GetDlgItem(form, FORM_SECOND_ROW);
    EXPECT_TRUE(WaitFor([=] { return TextOf(size).starts_with("Size with 90: "); })) << TextOf(size);
    Type(form, FORM_FIRST_ROW, "20");
    EXPECT_TRUE(WaitFor([=] { return TextOf(size).starts_with("Size with 20: "); })) << TextOf(size);
    const double told = std::stod(TextOf(size).substr(14));
    PostMessageA(form, WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(HasTitles({"lake.jpg"}));
    EXPECT_NEAR(double(std::filesystem::file_size(PathOf(FileOf("lake.jpg")))) / 1024, told, 0.06);
    QuitUnasked();
}
