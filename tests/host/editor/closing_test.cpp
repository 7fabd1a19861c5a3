#include "host/editor/closing.h"

#include <gtest/gtest.h>

TEST(Closing, NothingIsAskedWhenNothingIsLost) { EXPECT_EQ(QuestionOnClosing(false, false), Question::NONE); }

TEST(Closing, ChangesAreAskedAbout) { EXPECT_EQ(QuestionOnClosing(false, true), Question::SAVE); }

TEST(Closing, ARunIsAskedAboutBeforeChanges)
{
    EXPECT_EQ(QuestionOnClosing(true, false), Question::ABORT);
    EXPECT_EQ(QuestionOnClosing(true, true), Question::ABORT);
}

TEST(Closing, QuestionsNameThePicture)
{
    EXPECT_EQ(TextOf(Question::SAVE, "lake.png", ""), "Save the changes to lake.png?");
    EXPECT_EQ(TextOf(Question::LOSE, "lake.png", ""),
              "Not all of lake.png is in a file.\n\nClose it and lose the rest?");
    EXPECT_EQ(TextOf(Question::ABORT, "lake.png", "Wave"),
              "Wave is still at work on lake.png.\n\nAbort it and close the picture?");
    EXPECT_EQ(TextOnQuitting(1), "An effect is still at work on a picture.\n\nAbort and quit?");
    EXPECT_EQ(TextOnQuitting(3), "Effects are still at work on 3 pictures.\n\nAbort and quit?");
}
