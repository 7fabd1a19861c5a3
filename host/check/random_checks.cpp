// Level 7: messages at random: raw ones, in any order, and what a person and the host do in a sensible one. Nothing is
// expected of a single message; the module must be there, whole and clean, when they end.

#include "host/check/guarded_memory.h"
#include "host/check/open_dialog.h"

#include <algorithm>

constexpr int MESSAGES = 10000;

static void KPZAPI DropText(void *, const char *, int32_t) {}

static int32_t AnyControl(const OpenDialog &open, std::mt19937 &generator)
{
    if (!open.table || Below(10, generator) == 0) return int32_t(Below(8000, generator));
    return open.table->controls[Below(uint32_t(open.table->controlCount), generator)].id;
}

// What would close the dialog, or wait for a person.
static bool Closes(int32_t id) { return id == CLOSE_BUTTON; }

static void SendRaw(OpenDialog &open, uint32_t &colour, std::mt19937 &generator)
{
    static constexpr int NOTIFICATIONS[] = {0, 1, 2, 10, 11, 0x100, 0x200, EN_CHANGE, EN_UPDATE, SPIN_CHANGED};
    const auto &images = open.stage.images;
    ImageRecord *image = images[Below(uint32_t(images.size()), generator)];
    const int32_t id = AnyControl(open, generator);
    const auto control = reinterpret_cast<LPARAM>(GetDlgItem(open.dialog, id));
    switch (Below(12, generator)) {
    case 0: Send(open.dialog, WM_HSCROLL, Below(9, generator), control); break;
    case 1: Send(open.dialog, WM_VSCROLL, Below(9, generator), control); break;
    case 2: Send(open.dialog, REFRESH_PREVIEW); break;
    case 3:
        open.stage.host.context.activeImage = image;
        Send(open.dialog, ACTIVE_IMAGE_CHANGED);
        break;
    case 4:   // an image that runs can neither open nor close
        if (!IsRunning(image)) Send(open.dialog, IMAGE_OPENED, 0, image);
        break;
    case 5:
        if (!IsRunning(image)) Send(open.dialog, IMAGE_CLOSED, 0, image);
        break;
    case 6: Send(open.dialog, RUN_FINISHED, reinterpret_cast<WPARAM>(image->window)); break;
    case 7: Send(open.dialog, WM_USER + 1000 + Below(500, generator), generator(), 0); break;
    default:
        if (Closes(id)) break;
        Command(open.dialog, id, NOTIFICATIONS[Below(uint32_t(std::size(NOTIFICATIONS)), generator)],
                reinterpret_cast<LPARAM>(&(colour = Below(1 << 24, generator))));
    }
}

// An image that may be closed: not while it runs, and never the last.
static void ComeAndGo(OpenDialog &open, std::mt19937 &generator)
{
    auto &stage = open.stage;
    ImageRecord *image = stage.images[Below(uint32_t(stage.images.size()), generator)];
    switch (Below(4, generator)) {
    case 0:
        if (stage.images.size() > 2) Close(stage, image);
        break;
    case 1:
        if (stage.images.size() < 8) Open(stage, RandomPictureOf(ALL_TYPES[Below(4, generator)], 12, 9, 0, generator));
        break;
    default: ActivateImage(stage.host, image);
    }
}

static void ActAsPerson(OpenDialog &open, std::mt19937 &generator)
{
    switch (Below(8, generator)) {
    case 0: ComeAndGo(open, generator); break;
    case 1: Press(open.dialog, APPLY_BUTTON); break;
    case 2: Press(open.dialog, ABORT_BUTTON); break;
    case 3: WaitForRuns(); break;
    case 4: Slide(open.dialog, PRIORITY_TRACKBAR, int32_t(Below(5, generator))); break;
    case 5: Tick(open.dialog, PREVIEW_CHECK, Below(2, generator) != 0); break;
    case 6:
        for (const int id : {SCOPE_IMAGE_RADIO, SCOPE_ALL_RADIO, SCOPE_OBJECTS_RADIO, SCOPE_NEW_OBJECT_RADIO})
            if (Below(4, generator) == 0) Press(open.dialog, id);
        break;
    default: SetAtRandom(open, generator);
    }
}

static void CheckMessages(const CheckedModule &module, const CheckedEffect &effect, bool raw)
{
    const uint64_t mark = BlockMark();
    {
        ModuleStage stage(module.request.module);
        std::mt19937 generator(module.request.seed + (raw ? 1 : 2));
        MiscStandInForFiles("no filter", DropText, nullptr);
        MiscKeepUndoSteps(2);
        for (const int32_t type : {RGB, PALETTE, ONE_BIT}) Open(stage, RandomPictureOf(type, 12, 9, 0, generator));
        uint32_t colour = 0;
        Doing("opened the dialog of " + effect.word);
        InDialogOf(effect, stage, [&](OpenDialog &open) {
            const int count = raw ? MESSAGES : MESSAGES / 20;
            for (int i = 0; i < count && IsOpen(open.dialog); ++i) {
                Doing("sent " + Number(i + 1) + (raw ? " messages" : " orders of a person") + " to the dialog of " +
                      effect.word);
                if (raw) SendRaw(open, colour, generator);
                else ActAsPerson(open, generator);
            }
            WaitForRuns();
            for (ImageRecord *image : stage.images)
                Expect(!IsRunning(image), Rule::END_ORDER, "effectThread is not null though nothing runs");
            stage.host.context.activeImage = stage.images[0];
        });
        MiscKeepUndoSteps(20);
        MiscStandInForFiles(nullptr, nullptr, nullptr);
    }
    Expect(BlocksMadeSince(mark) == 0, Rule::RETURNED, "when all had gone there were still " + BlocksSince(mark));
}

void PlanRandomChecks(const CheckedModule &module, Plan &plan)
{
    for (const CheckedEffect &effect : module.effects) {
        const std::string start = "7/" + effect.word + "/";
        plan.push_back({7, start + "raw", effect.word, [&] { CheckMessages(module, effect, true); }});
        plan.push_back({7, start + "in-order", effect.word, [&] { CheckMessages(module, effect, false); }});
    }
}
