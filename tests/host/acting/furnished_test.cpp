// Every effect in every scope on several pictures at once, each with objects, a mask and a selected area: undo, and an
// abort at any report, leave all of them as they were.

#include "host/acting/acting.h"
#include "tests/support/comparison.h"
#include "tests/support/furnished.h"

#include <algorithm>

namespace
{

constexpr int32_t scopeButtons[] = {SCOPE_IMAGE_RADIO, SCOPE_ALL_RADIO, SCOPE_OBJECTS_RADIO, SCOPE_NEW_OBJECT_RADIO};

// Three effects change nothing, or nothing of so small a picture, as they open.
void MakeItShow(HWND dialog, const DialogTemplate &effect)
{
    std::string ignored;
    for (const auto &[option, value] : {std::pair("angle", "20"), {"distance", "4"}, {"bias", "20"}})
        if (FindOption(effect, option)) SetOption(dialog, effect, option, value, ignored);
}

class Furnished : public testing::Test
{
protected:
    Host host;
    std::vector<ImageRecord *> images;
    std::vector<std::string> before;

    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(StartHost(host, "", error)) << error;
        HostFixSeed(TRUE, 1);
        for (const int32_t type : {RGB, GREY, PALETTE, ONE_BIT, RGB}) {
            images.push_back(OpenFurnished(host, type, uint32_t(2 * images.size())));
            before.push_back(StateOf(images.back()));
        }
    }
    void TearDown() override
    {
        EndHost(host);
        HostFixSeed(FALSE, 0);
    }

    // Presses Apply on every picture and waits until all runs have ended.
    void RunAll(HWND dialog, int32_t scope)
    {
        for (ImageRecord *image : images) {
            ActivateImage(host, image);
            Choose(dialog, scope);
            Press(dialog, APPLY_BUTTON);
        }
        WaitUntil([this] { return std::none_of(images.begin(), images.end(), HostRunUnderWay); });
    }
    size_t HowManyChanged() const
    {
        size_t changed = 0;
        for (size_t i = 0; i < images.size(); ++i) changed += StateOf(images[i]) != before[i];
        return changed;
    }
    // Takes back what a run that was not aborted has left.
    void ExpectAllAsBefore(const std::string &what)
    {
        for (size_t i = 0; i < images.size(); ++i) {
            while (MiscUndo(images[i])) {}
            EXPECT_EQ(StateOf(images[i]) == before[i], true) << what << ", picture " << i;
        }
    }
    void InEveryDialog(const std::function<void(HWND dialog, const std::string &effect)> &script)
    {
        for (int32_t i = 0; i < DialogTemplateCount(); ++i) {
            const DialogTemplate &table = *DialogTemplateAt(i);
            if (!table.effect) continue;
            ActivateImage(host, images[0]);
            ActInDialog(host, table.commandOffset, [&](HWND dialog) {
                for (ImageRecord *image : images) {
                    ActivateImage(host, image);
                    MakeItShow(dialog, table);
                }
                script(dialog, table.effect);
                Press(dialog, CLOSE_BUTTON);
            });
        }
    }
};

}   // namespace

TEST_F(Furnished, UndoTakesBackEveryEffectInEveryScope)
{
    InEveryDialog([&](HWND dialog, const std::string &effect) {
        for (const int32_t scope : scopeButtons) {
            RunAll(dialog, scope);
            if (scope == SCOPE_ALL_RADIO) {
                EXPECT_GE(HowManyChanged(), 2u) << effect;   // the RGB pictures at least
            }
            ExpectAllAsBefore(effect + " " + std::to_string(scope));
        }
    });
}

TEST_F(Furnished, AbortsAtAnyReportLeaveThemAsTheyWere)
{
    for (const int report : {0, 3, 10}) {
        host.onProgress = [report](ImageRecord *image, int tenths) {
            if (tenths >= report) SharedWrite(image->abortRequest, 1);
        };
        InEveryDialog([&](HWND dialog, const std::string &effect) {
            for (const int32_t scope : scopeButtons) {
                RunAll(dialog, scope);
                for (size_t i = 0; i < images.size(); ++i) {
                    if (MiscLastRunAborted(images[i])) {
                        EXPECT_EQ(StateOf(images[i]) == before[i], true) << effect << " " << scope << ", picture " << i;
                    }
                }
                ExpectAllAsBefore(effect + " " + std::to_string(scope));
            }
        });
    }
}
