// Open images, from the picture that one is made from to the picture that it leaves: records, windows and locks, who
// is told of them and in which order.

#include "host/documents/documents.h"

#include <utility>

static constexpr int32_t MOST_IMAGES = 500;

// An open image as its window knows it.
struct OpenPicture {
    ImageRecord record = {};
    Host *host = nullptr;
    PictureExtras extras;
    WindowSize windowSize;
};

static OpenPicture &Holder(const ImageRecord *image)
{
    return *static_cast<OpenPicture *>(HostWindowData(image->window));
}

Host &HostOf(const ImageRecord *image) { return *Holder(image).host; }

WindowSize WindowSizeOf(const ImageRecord *image) { return Holder(image).windowSize; }

ImageRecord *ImageBefore(const Host &host, const ImageRecord *image)
{
    ImageRecord *before = host.context.firstImage;
    while (before && before->next != image) before = before->next;
    return before;
}

//---- Windows of images

static void OnSized(OpenPicture &picture, int32_t width, int32_t height)
{
    picture.windowSize = {width, height};
    if (picture.host->onSized) picture.host->onSized(&picture.record, width, height);
}

static LRESULT KPZAPI ImageProcedure(HWND window, UINT message, WPARAM word, LPARAM extra)
{
    auto *picture = static_cast<OpenPicture *>(HostWindowData(window));
    if (!picture) return 0;
    if (message == IMAGE_SIZED) OnSized(*picture, int32_t(word), int32_t(extra));
    if (message == PROGRESS_CHANGED && picture->host->onProgress) {
        picture->host->onProgress(&picture->record, int(word));
    }
    return 0;
}

//---- Opening

// The record's planes are the picture's from now on.
static void TakeOver(ImageRecord &record, Picture &picture)
{
    CopyDescription(record, picture);
    record.pixels = picture.pixels.release();
    record.maskBitsPerPixel = picture.mask ? picture.maskBitsPerPixel : 0;
    record.mask = record.secondMask = picture.mask.release();
}

static ImageRecord *MakeImage(Host &host, Picture &picture)
{
    auto *holder = new OpenPicture;
    holder->host = &host;
    holder->extras = std::move(picture.extras);
    ImageRecord &record = holder->record;
    TakeOver(record, picture);
    record.cropArea.image = &record;
    record.imageLock = HostCreateSemaphore();
    record.objectLock = HostCreateSemaphore();
    record.progress = MiscCreateProgress();
    record.nextObjectNumber = 1;
    record.window = HostCreateWindow("image", ImageProcedure, holder);
    holder->windowSize = {record.width, record.height};
    return &record;
}

static void PrepareDisplay(ImageRecord *image)
{
    if (image->bitsPerPixel != 24 || KPZ_GetDisplayDepth() != 8) return;
    Update8BitVersion(image->pixels, &image->displayCopy, image->width, image->height, image->red, image->green,
                      image->blue, 0);
}

static int32_t ImageCount(const Host &host)
{
    int32_t count = 0;
    for (const ImageRecord *image = host.context.firstImage; image; image = image->next) ++count;
    return count;
}

ImageRecord *OpenImage(Host &host, Picture picture, const std::function<void(ImageRecord *)> &furnish)
{
    if (ImageCount(host) >= MOST_IMAGES) return nullptr;
    ImageRecord *image = MakeImage(host, picture);
    PrepareDisplay(image);
    if (furnish) furnish(image);
    ImageRecord *last = ImageBefore(host, nullptr);
    (last ? last->next : host.context.firstImage) = image;
    if (!last) host.context.activeImage = image;
    host.module.newImageProcessor(reinterpret_cast<INT_PTR>(&host.context), reinterpret_cast<INT_PTR>(image));
    TellDialogs(host, IMAGE_OPENED, image);
    ChooseMenus(&host.context);
    return image;
}

void ActivateImage(Host &host, ImageRecord *image)
{
    host.context.activeImage = image;
    TellDialogs(host, ACTIVE_IMAGE_CHANGED, nullptr);
    ChooseMenus(&host.context);
}

// The selected area belongs to the place, not to the picture. What a file said of palettes is true of its own only.
void ReplacePicture(ImageRecord *image, Picture picture)
{
    const Selection selection = std::exchange(image->selection, {});
    const int32_t nextObjectNumber = image->nextObjectNumber;
    if (picture.colourType != image->colourType) Holder(image).extras.paletteAlpha.clear();
    MiscFreePicture(image);
    image->selection = selection;
    image->nextObjectNumber = nextObjectNumber;
    TakeOver(*image, picture);
    PrepareDisplay(image);
}

//---- Closing

// Presses Abort until the run has ended: a run that begins clears the request, and its first report brings us here.
static BOOL KPZAPI RunEnded(void *context)
{
    auto *image = static_cast<ImageRecord *>(context);
    if (!HostRunUnderWay(image)) return TRUE;
    SharedWrite(image->abortRequest, 1);
    return FALSE;
}

static void Unlink(Host &host, ImageRecord *image)
{
    ImageRecord *before = ImageBefore(host, image);
    (before ? before->next : host.context.firstImage) = image->next;
    if (host.context.activeImage == image) host.context.activeImage = image->next ? image->next : before;
}

static void FreeImage(ImageRecord *image)
{
    MiscEndPreviews(image);
    MiscForgetUndo(image);
    MiscDestroyProgress(image->progress);
    HostDestroySemaphore(image->imageLock);
    HostDestroySemaphore(image->objectLock);
    KPZ_FreeMem(image->displayCopy);
    MiscFreePicture(image);
    OpenPicture *holder = &Holder(image);
    HostDestroyWindow(image->window);
    delete holder;
}

void CloseImage(Host &host, ImageRecord *image)
{
    HostRunMessages(RunEnded, image);
    Unlink(host, image);
    TellDialogs(host, IMAGE_CLOSED, image);
    TellDialogs(host, ACTIVE_IMAGE_CHANGED, nullptr);
    ChooseMenus(&host.context);
    FreeImage(image);
}

//---- Pictures

static Picture Description(const ImageRecord *image)
{
    Picture picture;
    CopyDescription(picture, *image);
    picture.maskBitsPerPixel = image->mask ? image->maskBitsPerPixel : 0;
    return picture;
}

void LendPicture(const ImageRecord *image, const ImageRecord *planes, const std::function<void(const Picture &)> &use)
{
    PictureExtras &extras = Holder(image).extras;
    Picture lent = Description(planes);
    lent.pixels.reset(planes->pixels);
    lent.mask.reset(planes->mask);
    lent.extras = std::move(extras);
    use(lent);
    extras = std::move(lent.extras);
    lent.pixels.release();
    lent.mask.release();
}

Picture PictureOf(const ImageRecord *image)
{
    Picture copy;
    LendPicture(image, image, [&copy](const Picture &picture) { copy = CopyOf(picture); });
    return copy;
}

Picture TakePicture(ImageRecord *image)
{
    MiscEndPreviews(image);
    Picture picture = Description(image);
    picture.pixels.reset(image->pixels);
    picture.mask.reset(image->mask);
    if (image->secondMask == image->mask) image->secondMask = nullptr;
    image->pixels = image->mask = nullptr;
    picture.extras = std::move(Holder(image).extras);
    return picture;
}
