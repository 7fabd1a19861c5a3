// What host and effects tell the editor.

#pragma once

#include "host/editor/editor.h"

// The editor stays where it is until StopListening.
void ListenToHost(Editor &editor);
void StopListening();
