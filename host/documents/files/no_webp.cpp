// A build without libwebp knows WebP files by sight and says so.

#include "host/documents/files/formats.h"

bool ReadWebP(Reading &reading) { return Fail(reading.error, "this build has no WebP"); }

bool WriteWebP(Writing &writing) { return Fail(writing.error, "this build has no WebP"); }
