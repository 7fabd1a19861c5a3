// Whether the dialogs can be drawn and worked as the tables say: nothing overlaps or is cut off, and every letter
// leads to one place.

#include "host/dialogs/dialogs.h"

#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <span>
#include <string>
#include <vector>

static std::vector<const DialogTemplate *> AllDialogs()
{
    std::vector<const DialogTemplate *> dialogs;
    for (int i = 0; i < DialogTemplateCount(); ++i) dialogs.push_back(DialogTemplateAt(i));
    return dialogs;
}

static std::span<const ControlTemplate> RowsOf(const DialogTemplate &dialog)
{
    return {dialog.controls, size_t(dialog.controlCount)};
}

static std::string NameOf(const ControlTemplate &row) { return std::to_string(row.id) + " \"" + row.label + "\""; }

static bool Overlap(const ControlTemplate &a, const ControlTemplate &b)
{
    return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height && b.y < a.y + a.height;
}

// Whether `inner` lies within `outer`, clear of its frame and heading.
static bool Holds(const ControlTemplate &outer, const ControlTemplate &inner)
{
    return outer.x + 2 <= inner.x && inner.x + inner.width <= outer.x + outer.width - 2 && outer.y + 8 <= inner.y &&
           inner.y + inner.height <= outer.y + outer.height - 2;
}

// The letter after the label's "&"; 0 for none.
static char AcceleratorOf(const ControlTemplate &row)
{
    const std::string label = row.label;
    const size_t mark = label.find('&');
    return mark == std::string::npos ? '\0' : char(std::tolower(static_cast<unsigned char>(label.at(mark + 1))));
}

TEST(Layout, DialogsFitTheScreen)
{
    for (const DialogTemplate *dialog : AllDialogs()) {
        EXPECT_LE(dialog->width, 500) << dialog->title;
        EXPECT_LE(dialog->height, 380) << dialog->title;
    }
}

TEST(Layout, EveryControlHasASizeAndLiesWithinItsDialog)
{
    for (const DialogTemplate *dialog : AllDialogs()) {
        SCOPED_TRACE(dialog->title);
        for (const ControlTemplate &row : RowsOf(*dialog)) {
            EXPECT_GT(row.width, 0) << NameOf(row);
            EXPECT_GT(row.height, 0) << NameOf(row);
            EXPECT_GE(row.x, 7) << NameOf(row);
            EXPECT_GE(row.y, 7) << NameOf(row);
            EXPECT_LE(row.x + row.width, dialog->width - 7) << NameOf(row);
            EXPECT_LE(row.y + row.height, dialog->height - 7) << NameOf(row);
        }
    }
}

TEST(Layout, NothingOverlapsAndFramesHoldTheirControlsWhole)
{
    for (const DialogTemplate *dialog : AllDialogs()) {
        SCOPED_TRACE(dialog->title);
        for (const ControlTemplate &a : RowsOf(*dialog)) {
            for (const ControlTemplate &b : RowsOf(*dialog)) {
                if (&a == &b || !Overlap(a, b)) continue;
                const bool framed = (a.kind == GROUP_BOX && Holds(a, b)) || (b.kind == GROUP_BOX && Holds(b, a));
                EXPECT_TRUE(framed) << NameOf(a) << " and " << NameOf(b);
            }
        }
    }
}

TEST(Layout, EveryTextHasRoom)
{
    // Room beside the text: a button's border, the box or circle before a choice, the gaps in a frame's heading.
    const std::map<ControlKind, int> padding = {
        {LABEL, 0}, {GROUP_BOX, 12}, {PUSH_BUTTON, 6}, {CHECK_BOX, 12}, {RADIO_BUTTON, 12}};
    for (const DialogTemplate *dialog : AllDialogs()) {
        SCOPED_TRACE(dialog->title);
        for (const ControlTemplate &row : RowsOf(*dialog)) {
            const int letters = int(std::string(row.label).size()) - (AcceleratorOf(row) ? 1 : 0);
            if (letters == 0) continue;
            ASSERT_TRUE(padding.contains(row.kind)) << NameOf(row);
            EXPECT_LE(4 * letters + padding.at(row.kind), row.width) << NameOf(row);
            EXPECT_GE(row.height, 8) << NameOf(row);
        }
    }
}

TEST(Layout, AnAcceleratorLeadsToOnePlace)
{
    for (const DialogTemplate *dialog : AllDialogs()) {
        SCOPED_TRACE(dialog->title);
        std::map<char, std::string> taken;
        for (const ControlTemplate &row : RowsOf(*dialog)) {
            const char letter = AcceleratorOf(row);
            if (!letter) continue;
            EXPECT_TRUE(std::isalpha(static_cast<unsigned char>(letter))) << NameOf(row);
            EXPECT_TRUE(taken.emplace(letter, NameOf(row)).second) << NameOf(row) << " and " << taken[letter];
        }
    }
}

TEST(Layout, EverySettingIsReachedByALetter)
{
    for (const DialogTemplate *dialog : AllDialogs()) {
        SCOPED_TRACE(dialog->title);
        const auto rows = RowsOf(*dialog);
        char heading = 0;   // of the frame around a choice: its letter leads to the chosen button
        for (size_t i = 0; i < rows.size(); ++i) {
            if (rows[i].kind == GROUP_BOX) heading = AcceleratorOf(rows[i]);
            if (!rows[i].option) continue;
            const size_t labelled = rows[i].kind == SPIN_ARROWS ? i - 2 : i - 1;
            const bool own = AcceleratorOf(rows[i]) || AcceleratorOf(rows[labelled]);
            EXPECT_TRUE(own || (rows[i].kind == RADIO_BUTTON && heading)) << rows[i].option;
        }
    }
}

TEST(Layout, ArrowsTouchTheirField)
{
    for (const DialogTemplate *dialog : AllDialogs()) {
        const auto rows = RowsOf(*dialog);
        for (size_t i = 0; i < rows.size(); ++i) {
            if (rows[i].kind != SPIN_ARROWS) continue;
            ASSERT_GT(i, 0u);
            EXPECT_EQ(rows[i - 1].x + rows[i - 1].width, rows[i].x) << dialog->title;
            EXPECT_EQ(rows[i - 1].y, rows[i].y) << dialog->title;
            EXPECT_EQ(rows[i - 1].height, rows[i].height) << dialog->title;
        }
    }
}

TEST(Layout, FieldsOfAFamilyDialogStandInOneColumn)
{
    for (const DialogTemplate *dialog : AllDialogs()) {
        if (!dialog->effect || dialog->id == 4010) continue;
        int column = -1;
        for (const ControlTemplate &row : RowsOf(*dialog)) {
            if (row.kind != NUMBER_FIELD && row.kind != COLOUR_CONTROL) continue;
            if (column < 0) column = row.x;
            EXPECT_EQ(row.x, column) << dialog->title << " " << row.id;
        }
    }
}
