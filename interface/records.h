// The records that host and module both read: the host's application and image records, the block that an effect
// keeps for each image, and the records of the geometry helpers. Fields stand in an order that both sides rely on.
// Where pointers have 32 bits the sizes are a contract too and are asserted; with 64-bit pointers order and names
// are the same.
//
// A plane of pixels is rows of ((bitsPerPixel * width + 31) >> 5) * 4 bytes. Row 0 is the picture's top row. One-bit
// pixels stand most significant bit first; 8-bit pixels are grey levels or palette indices; 24-bit pixels are blue,
// green, red. A colour is 0x00BBGGRR: red in the low byte.

#pragma once

#include "interface/messages.h"
#include "interface/windows_calls.h"

// Handles that the host gives out. They are pointer-sized, null is none, and nobody follows them.
typedef void *SemaphoreHandle;
typedef void *ThreadHandle;
typedef void *ModuleHandle;
typedef void *AnchorHandle;
typedef void *QueueHandle;
typedef void *DrawSpace;

typedef struct ImageRecord ImageRecord;
typedef struct EffectBlock EffectBlock;
typedef struct FilterHeader FilterHeader;
typedef struct FloaterList FloaterList;         // the host's list of open dialogs; only the host looks inside
typedef struct ProgressRecord ProgressRecord;   // the host's progress of one image; only the host looks inside

// Asserts a record's size in bytes where pointers have 32 bits, the layout that the contract gives.
#define RECORD_SIZE(record, bytes) \
    static_assert(sizeof(void *) != 4 || sizeof(record) == (bytes), #record " must have " #bytes " bytes")
#define RECORD_OFFSET(record, field, bytes) \
    static_assert(sizeof(void *) != 4 || offsetof(record, field) == (bytes), #record "::" #field " moved")

// Some fields are written by one thread while another reads them: an image's abort request, effect thread and run
// started, and a block's priority and preview mode. They are plain fields, read and written whole through these two.
template <typename Field> inline Field SharedRead(const Field &field)
{
    Field value;
    __atomic_load(const_cast<Field *>(&field), &value, __ATOMIC_ACQUIRE);
    return value;
}

template <typename Field, typename Value> inline void SharedWrite(Field &field, Value newValue)
{
    Field value = static_cast<Field>(newValue);
    __atomic_store(&field, &value, __ATOMIC_RELEASE);
}

//---- The host's records

// The host's application. One per host; the module gets its address with every command and dialog.
struct HostContext {
    const char *resourceModule;   // name of the module that holds dialog templates and host strings
    HWND window;                  // the host's main window; takes FORWARDED_COMMAND
    HWND openEffectDialog;        // the effect dialog opened last; null when it has gone
    FloaterList *floaters;        // the open dialogs, for AddToFloaters and RemoveFromFloaters
    char openEffectTitle[32];     // what the host shows as the open effect; empty when none
    ImageRecord *firstImage;      // open images, linked by ImageRecord::next; null when none is open
    ImageRecord *activeImage;     // the image that commands act on; null when none
};

// A floating object: this header, then its pixel rows at the image's depth, then its mask rows (8 bits per pixel for
// grey and RGB images, else 1).
struct FloatingObject {
    uint8_t mark[3];         // 100, 0, 1
    uint8_t selected;        // non-zero: the person has selected it
    int16_t number;          // from the image's nextObjectNumber
    int16_t height, width;   // pixels
    int32_t x, y;            // image coordinates of its first pixel
    uint8_t *pixels;         // the first byte after this header
    uint8_t reserved[160];   // zero in a new object, kept when an object is rebuilt
};
RECORD_SIZE(FloatingObject, 184);

struct ObjectList {
    FloatingObject **objects;   // bottom to top
    int32_t count, capacity;    // entries in use and entries there is room for
};

// What is cut by Cropping: the selected area of this image.
struct CropArea {
    ImageRecord *image;
};

// The outline shown around the selected objects: their corners, clockwise from the top left.
struct ObjectOutline {
    int32_t pointCount;   // four for each
    POINT *points;
};

// The selected area. Its outline is `points` (a rectangle has four); left, top, right, bottom bound it, inclusive.
struct Selection {
    int32_t pointCount;   // 0: nothing is selected
    int32_t left, top, right, bottom;
    POINT *points;
};

// The picture beneath the floating objects, kept while an image has any. No pixels: there is none.
struct BasePicture {
    uint8_t *pixels;
    uint8_t *mask;
    int32_t bitsPerPixel;
    int32_t width, height;
    int32_t paletteEntries;
    uint8_t red[256], green[256], blue[256];
};

// One open image. It is the host's; the module reads it, and writes only the fields named in its own steps.
struct ImageRecord {
    ImageRecord *next;   // next open image
    uint8_t *pixels;
    uint8_t *displayCopy;     // the picture in 8 bits, for displays of that depth; null when none
    int32_t width, height;    // pixels
    int32_t bitsPerPixel;     // 1, 8 or 24
    int32_t paletteEntries;   // 2 for ONE_BIT, 256 for GREY, 1..256 for PALETTE, 0 for RGB
    int32_t colourType;       // a ColourType
    uint8_t red[256], green[256], blue[256];
    SemaphoreHandle imageLock;    // taken first, for the whole of a run
    int32_t maskEditing;          // non-zero while the person edits the mask
    int32_t windowPlacement[2];   // the host's; handed on to SizeWindow
    CropArea cropArea;
    ObjectOutline objectOutline;
    ObjectList objectList;
    Selection selection;
    HWND window;                  // redrawn or resized after a run
    int32_t paletteChanged;       // set by KPZ_AdjustPalette
    int32_t runStarted;           // 1 once a run has been started. SharedRead, SharedWrite
    int32_t abortRequest;         // 1 asks the run to end; the run sets it to 0 first. SharedRead, SharedWrite
    SemaphoreHandle objectLock;   // taken second
    ThreadHandle effectThread;    // not null while an effect runs on this image. SharedRead, SharedWrite

    uint8_t *mask;              // the mask plane, null when the image has none
    int32_t maskBitsPerPixel;   // 8 or 1; 0 without a mask plane
    uint8_t *secondMask;        // the mask as the display holds it; as a rule the same plane
    BasePicture base;
    ProgressRecord *progress;
    int32_t nextObjectNumber;
};
RECORD_OFFSET(ImageRecord, red, 32);
RECORD_OFFSET(ImageRecord, imageLock, 800);
RECORD_OFFSET(ImageRecord, selection, 840);
RECORD_OFFSET(ImageRecord, window, 864);
RECORD_OFFSET(ImageRecord, effectThread, 884);
RECORD_OFFSET(ImageRecord, mask, 888);
RECORD_OFFSET(ImageRecord, base, 900);
RECORD_OFFSET(ImageRecord, progress, 1692);
RECORD_SIZE(ImageRecord, 1700);

// Bits per pixel of the mask that an image of this type gets, and of its floating objects' masks.
constexpr int32_t MaskBitsOf(int32_t colourType) { return colourType == GREY || colourType == RGB ? 8 : 1; }

// Copies a palette between any two records that name its fields as ImageRecord does.
template <typename To, typename From> inline void CopyPalette(To &to, const From &from)
{
    static_assert(sizeof to.red == 256 && sizeof from.red == 256, "palettes are whole tables");
    to.paletteEntries = from.paletteEntries;
    for (int i = 0; i < 256; ++i) {
        to.red[i] = from.red[i];
        to.green[i] = from.green[i];
        to.blue[i] = from.blue[i];
    }
}

// Copies what describes a picture's pixels, but no planes: size, depth, palette, and the colour type where both have
// one (BasePicture has none, since it is its image's).
template <typename To, typename From> inline void CopyDescription(To &to, const From &from)
{
    to.width = from.width;
    to.height = from.height;
    to.bitsPerPixel = from.bitsPerPixel;
    if constexpr (requires { to.colourType, from.colourType; }) to.colourType = from.colourType;
    CopyPalette(to, from);
}

//---- The module's records

// What a worker works on. The host fills it before every run: an image, an object, or a copy for the preview.
struct ImageView {
    int32_t blockSize;             // bytes of the whole block; written by the effect's create routine
    int32_t width, height;         // pixels
    int32_t bitsPerPixel;          // 1, 8 or 24
    int32_t *paletteEntries;       // points to the image's number of palette entries
    int32_t colourType;            // a ColourType
    uint8_t *pixels;               // changed in place
    uint8_t *red, *green, *blue;   // the palette, 256 bytes each
    int32_t *abortFlag;            // non-zero asks the worker to stop. SharedRead
    uint8_t *mask;                 // the mask plane, worked on after the pixels; null when there is none
    int32_t maskInUse;             // non-zero: the mask is the pixels' own transparency (a floating object's)
    int32_t maskBitsPerPixel;      // 8 or 1
    HWND progressWindow;           // the two arguments of IncrementProgress and ResetProgress
    ProgressRecord *progress;
};

// An effect's way of changing a picture; called on the run's thread with the block that the dialog keeps.
typedef void(KPZAPI *WorkerRoutine)(EffectBlock *block);

// The part of a block that is handed to the host: to InitializeFilter, to the preview control, to the run thread.
struct FilterHeader {
    HWND owner;             // the dialog, told RUN_FINISHED
    EffectBlock *block;     // the block this header is part of
    WorkerRoutine worker;   // null where the effect brings a run thread of its own
    void *hostField;        // the host's
    int32_t previewMode;    // SCOPE_... SharedRead, SharedWrite; a run reads it once
    int32_t zero;           // always 0
    char title[32];         // the effect's short title, for the undo step
    int32_t priority;       // 0..4. SharedRead, SharedWrite
    ImageRecord *image;     // the image the block belongs to
};

// The common part of every effect's block; the effect's own parameters follow it, 32 bits each.
struct EffectBlock {
    ImageView view;
    int32_t *previewOn;   // the dialog's preview switch
    FilterHeader header;
};
RECORD_SIZE(ImageView, 64);
RECORD_SIZE(FilterHeader, 64);
RECORD_SIZE(EffectBlock, 132);

// One pixel for Relocate to fetch. See Relocate for which fields are read for which colour type.
struct RelocateRequest {
    const uint8_t *source;       // the plane to sample
    uint8_t *destination;        // the pixel to set; for ONE_BIT the first byte of the plane to set it in
    const uint8_t *maskSource;   // weighs the samples; null when no mask is in use
    int32_t width, height;       // of the source plane, in pixels
    int32_t bitsPerPixel;
    int32_t stride;   // bytes per row of source and destination
    int32_t colourType;
    int32_t secondWidth;       // the same as width
    int32_t x, y;              // the destination pixel, for ONE_BIT
    int32_t maskStride;        // bytes per row of the mask source
    double sourceX, sourceY;   // 0..width - 1 and 0..height - 1
};
RECORD_SIZE(RelocateRequest, 64);

// What the effect chooser is opened with.
struct ChooserRecord {
    const char *resourceModule;
    char title[100];   // "Effects Helper"
    HostContext *host;
    int32_t entryCount;   // the original image and the effects
    int32_t unset[2];
    int32_t ids[22];      // 911..932
    char names[22][50];   // "Original Image", then the host strings 5101..5121: room for 21 effects
};
RECORD_SIZE(ChooserRecord, 1308);

// What Cropping cut out. The planes are the caller's, to be freed with KPZ_FreeMem; all is zero when nothing was cut.
struct CropRequest {
    int32_t left, top, right, bottom;   // image coordinates, inclusive
    uint8_t *pixels;                    // at the image's depth
    uint8_t *mask;                      // 1 bit per pixel; null for a rectangle
};
