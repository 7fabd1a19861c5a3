// What dialogs hear of images that open, become active and close.

#include "host/check/watching/watch.h"

static std::string Times(size_t count) { return "it came " + std::to_string(count) + " times"; }

// The place of the first message of a kind among those told; -1 when there is none.
static int PlaceOf(UINT message)
{
    for (size_t i = 0; i < watch.told.size(); ++i)
        if (watch.told[i].message == message) return int(i);
    return -1;
}

static void LookAtActivation(ImageRecord *image)
{
    const std::vector<Told> told = ToldOf(ACTIVE_IMAGE_CHANGED);
    if (!Expect(!told.empty(), Rule::HOST_ACTIVATED, Times(0))) return;
    const Told &last = told.back();
    Expect(last.active == image, Rule::HOST_ACTIVATED, "HostContext::activeImage was not yet the image when it came");
    Expect(!last.word && !last.extra, Rule::HOST_ACTIVATED, "its parameters are not 0");
    Expect(watch.setUps > last.setUps && watch.setUpFor == image, Rule::HOST_SETUP,
           "it did not follow ACTIVE_IMAGE_CHANGED with the active image");
}

static void OpenSecond(ImageRecord *&second)
{
    Doing("opened a second picture while a dialog was open");
    watch.told.clear();
    const int newImages = watch.newImages;
    second = watch.driver->openImage(17, 9, RGB);
    if (!Expect(second != nullptr, Rule::HOST_PICTURE, "a second picture could not be opened")) return;
    const std::vector<Told> told = ToldOf(IMAGE_OPENED);
    if (Expect(told.size() == 1, Rule::HOST_OPENED, Times(told.size()))) {
        Expect(told[0].extra == reinterpret_cast<LPARAM>(second), Rule::HOST_OPENED,
               "its long parameter is not the image");
        Expect(told[0].linked, Rule::HOST_OPENED, "the image was not yet on the host's list when it came");
        Expect(told[0].newImages == newImages + 1, Rule::HOST_OPENED,
               "KPZNewImageProcessor had been called " + std::to_string(told[0].newImages - newImages) +
                   " times when it came");
        Expect(PlaceOf(IMAGE_OPENED) < PlaceOf(ACTIVE_IMAGE_CHANGED) || PlaceOf(ACTIVE_IMAGE_CHANGED) < 0,
               Rule::HOST_OPENED, "ACTIVE_IMAGE_CHANGED came before it");
    }
    LookAtActivation(second);
}

static void Activate(ImageRecord *image)
{
    if (!watch.driver->activateImage) return Note("other images are not made active: the driver has no activateImage");
    Doing("made the other picture active");
    watch.told.clear();
    watch.driver->activateImage(image);
    const std::vector<Told> told = ToldOf(ACTIVE_IMAGE_CHANGED);
    Expect(told.size() == 1, Rule::HOST_ACTIVATED, Times(told.size()));
    LookAtActivation(image);
}

static void CloseActive(ImageRecord *image)
{
    Doing("closed the active picture of two");
    watch.told.clear();
    watch.driver->closeImage(image);
    const std::vector<Told> told = ToldOf(IMAGE_CLOSED);
    if (!Expect(told.size() == 1, Rule::HOST_CLOSED, Times(told.size()))) return;
    Expect(told[0].extra == reinterpret_cast<LPARAM>(image), Rule::HOST_CLOSED, "its long parameter is not the image");
    Expect(!told[0].linked, Rule::HOST_CLOSED, "the image was still on the host's list when it came");
    Expect(told[0].active && told[0].active != image, Rule::HOST_CLOSED,
           "HostContext::activeImage was not yet the other image when it came");
    Expect(PlaceOf(IMAGE_CLOSED) < PlaceOf(ACTIVE_IMAGE_CHANGED), Rule::HOST_CLOSED,
           "ACTIVE_IMAGE_CHANGED did not follow it");
    if (watch.host->activeImage) LookAtActivation(watch.host->activeImage);
}

static void LookAtFloaters(Play &play)
{
    Doing("took the dialog off the list of floating windows and opened a picture");
    watch.told.clear();
    RemoveFromFloaters(play.dialog, watch.host->floaters);
    ImageRecord *third = watch.driver->openImage(5, 5, RGB);
    Expect(ToldOf(IMAGE_OPENED).empty(), Rule::HOST_FLOATERS, "the dialog was sent IMAGE_OPENED all the same");
    AddToFloaters(play.dialog, watch.host->floaters);
    Doing("put the dialog back on the list and closed the picture");
    watch.told.clear();
    if (third) watch.driver->closeImage(third);
    const size_t count = ToldOf(IMAGE_CLOSED).size();
    Expect(!third || count == 1, Rule::HOST_FLOATERS,
           "the dialog was sent IMAGE_CLOSED " + std::to_string(count) + " times");
}

static void Images()
{
    ImageRecord *second = nullptr;
    InCommand({
        [&](Play &) { OpenSecond(second); },
        [&](Play &) {
            if (second) Activate(OwnImage());
        },
        [&](Play &) {
            if (second && watch.driver->activateImage) Activate(second);
        },
        [&](Play &) {
            if (second) CloseActive(second);
        },
        [&](Play &play) { LookAtFloaters(play); },
    });
}

// Three dialogs that go by themselves while the host walks over its list of them.
static void LastImage()
{
    Play middle, upper;
    std::vector<HWND> dialogs;
    bool closed = false;
    upper.steps = {[&](Play &play) {
        dialogs.push_back(play.dialog);
        Doing("closed the last picture while three dialogs were open");
        watch.told.clear();
        watch.driver->closeImage(OwnImage());
        closed = true;
    }};
    middle.steps = {[&](Play &play) {
        dialogs.push_back(play.dialog);
        PlayInDialog(upper);
    }};
    InCommand({[&](Play &play) {
        dialogs.push_back(play.dialog);
        PlayInDialog(middle);
    }});
    if (!closed) return;
    for (size_t i = 0; i < dialogs.size(); ++i) {
        const size_t count = ToldOf(IMAGE_CLOSED, dialogs[i]).size();
        Expect(count == 1, Rule::HOST_FLOATERS,
               "dialog " + std::to_string(i + 1) + " of three was sent IMAGE_CLOSED " + std::to_string(count) +
                   " times; each goes by itself when it is");
    }
    Expect(!watch.host->activeImage && !watch.host->firstImage, Rule::HOST_RECORD,
           "firstImage or activeImage is not null after the last image");
}

const HostCheck imageChecks[] = {
    {4, "host/images", Images},
    {4, "host/last-image", LastImage},
    {0, nullptr, nullptr},
};
