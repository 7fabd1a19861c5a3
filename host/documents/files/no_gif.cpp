// A build without giflib knows GIF files by sight and says so.

#include "host/documents/files/formats.h"

bool ReadGif(Reading &reading) { return Fail(reading.error, "this build has no GIF"); }

bool WriteGif(Writing &writing) { return Fail(writing.error, "this build has no GIF"); }
