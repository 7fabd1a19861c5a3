#include "tests/framework/stage.h"

#include <ostream>

Stage::Stage(int imageCount) : ModuleStage("")
{
    for (int i = 0; i < imageCount; ++i) Open(*this, AnyPicture(RGB));
}

Picture AnyPicture(int32_t colourType, int32_t width, int32_t height)
{
    static std::mt19937 generator(4242);
    return RandomPicture(colourType, width, height, generator);
}

void InDialog(Stage &stage, int commandOffset, const Script &script)
{
    const DialogOutcome outcome = WorkInDialog(stage, commandOffset, script);
    EXPECT_TRUE(outcome.opened) << "the command opened no dialog";
    EXPECT_TRUE(outcome.closed) << "the dialog stays open though nothing runs";
}

void ApplyAndHold(HWND dialog, ImageRecord *image, int report)
{
    ASSERT_TRUE(HoldRunOfApply(dialog, image, report))
        << "the run of the active image has not come to report " << report;
}

void PrintTo(const Call &call, std::ostream *out)
{
    *out << call.name << "(";
    for (size_t i = 0; i < call.arguments.size(); ++i) *out << (i ? ", " : "") << call.arguments[i];
    *out << ")";
}

void PrintTo(const Message &message, std::ostream *out)
{
    *out << "{" << message.message << ", " << message.word << ", " << message.extra << "}";
}
