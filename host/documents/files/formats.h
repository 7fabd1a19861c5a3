// One pair of routines per format. What they read starts at the file's first byte; both return false with a line.

#pragma once

#include "host/documents/files/sentences.h"
#include "host/documents/files/streams.h"
#include "host/documents/files/type_rules.h"
#include "host/documents/picture_file.h"

#include <span>

struct Reading {
    Source &source;
    Picture &picture;
    Notices &notices;
    std::string &error;
    bool allowHuge = false;                    // see ReadOptions
    int page = 0;                              // which of several pictures is wanted, from 1; 0: the first
    std::vector<Picture> *further = nullptr;   // where the others go; null: nowhere, with a notice
    bool asStored = false;
    std::string *note = nullptr;
};

struct Writing {
    Sink &sink;
    const Picture &picture;             // with what is to be written of its extras
    std::span<const Picture> further;   // pages or frames behind it, likewise
    const SaveOptions &options;
    const std::string &name;   // the target's, whose ending tells PNM files apart
    Notices &notices;
    std::string &error;
};

bool ReadPng(Reading &reading);
bool WritePng(Writing &writing);
bool ReadBmp(Reading &reading);
bool WriteBmp(Writing &writing);
bool ReadTiff(Reading &reading);
bool WriteTiff(Writing &writing);
bool ReadJpeg(Reading &reading);
bool WriteJpeg(Writing &writing);
bool ReadGif(Reading &reading);
bool WriteGif(Writing &writing);
bool ReadWebP(Reading &reading);
bool WriteWebP(Writing &writing);
bool ReadPnm(Reading &reading);
bool WritePnm(Writing &writing);

// Fills `error` and returns false, so that a reader can leave with `return Fail(reading.error, ...)`.
bool Fail(std::string &error, const std::string &line);
bool FailShort(std::string &error, int64_t rowsPromised, int64_t rowsFound);
bool EndsWith(const std::string &name, const char *ending);   // letters' case ignored
