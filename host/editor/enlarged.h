// What Mirror and Shear make of a picture, for a preview: they have no worker that the preview control could run on a
// copy. Made of the host's own routines, which their runs call too.

#pragma once

#include "host/documents/picture.h"
#include "interface/windows_calls.h"

// The picture as a run of this dialog, with its settings as they stand, would leave it: without mask and objects. As it
// is where the dialog is another effect's, or its scope leaves the picture itself alone. [ui]
Picture Enlarged(HWND dialog, Picture picture);
