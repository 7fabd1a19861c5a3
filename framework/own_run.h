// What the effects that bring a run routine of their own share: the frame of such a run, from its thread and the
// image's two locks to the word to the dialog, and the changes of size that such effects make: of a picture with its
// mask plane, and of floating objects, whose records are built anew.
//
// All of it is called on the run's thread. From BeginRun to EndRun the image is the run's alone.

#pragma once

#include "framework/effect.h"

#include <functional>

//---- The frame

struct OwnRun {
    ImageRecord *image;
    HWND owner, window;   // the dialog, and the image's window
    AnchorHandle anchor;
    QueueHandle queue;
    bool imageLocked, objectsLocked;
    int32_t *selected;   // which objects were selected at the start, in object order; null: none
    int32_t selectedCount;
};

// Makes the thread ready and takes the image lock. Without the lock the run is over: its dialog has been told, and
// the answer is false.
bool BeginRun(OwnRun &run, const FilterHeader *header);
// Takes the object lock, which comes second; false without it. Clears the abort request either way.
bool LockObjects(OwnRun &run);
// Ends a run that has changed nothing: gives back the locks it has, tells the dialog, and takes the thread down.
void GiveUpRun(OwnRun &run);
void ListSelectedObjects(OwnRun &run);
// Takes an aborted run back, puts the picture together from its base and its objects where it has a base, and draws
// the outline of the selected objects anew.
void FinishPicture(const OwnRun &run);
// Back at normal priority, brings the copy for an 8-bit display and the palette up to date.
void FinishDisplay(const OwnRun &run);
// Gives back the locks, clears the effect thread, redraws or resizes the image's window by the run's scope, tells the
// dialog, and takes the thread down.
void EndRun(OwnRun &run, int32_t scope);

//---- Changes of size

// Replaces a plane and its size; the old plane is freed. A picture's or an object's mask plane comes after its pixels.
typedef std::function<void(uint8_t **plane, int32_t *width, int32_t *height, bool isMask)> PlaneChange;

struct PlaneSize {
    int32_t width, height;
};

// Changes the picture beneath the objects and its mask plane. With a mask plane the size in the image's record stays
// the old one though both planes have changed. Returns the mask plane's new size; without one the old size.
PlaneSize ChangePicture(ImageRecord *image, const PlaneChange &change);

// Changes an object's planes and builds its record anew in its place in the list. An object that would outgrow the
// 16 bits of its size stays as it is, and the answer is null.
FloatingObject *ChangeObject(ImageRecord *image, int32_t index, const PlaneChange &change);

// Planes of a new object; the record takes their place.
struct ObjectPlanes {
    uint8_t *pixels, *mask;   // from KPZ_AllocMem
    int32_t width, height;
};
// Builds an object's record from a header and planes, which are freed. Null when the size does not fit the record.
FloatingObject *BuildObject(const ImageRecord *image, const FloatingObject &header, const ObjectPlanes &planes);
// Puts an object on top of the others. An image without a base picture keeps its picture as the base from now on.
void AddObject(ImageRecord *image, FloatingObject *object);
