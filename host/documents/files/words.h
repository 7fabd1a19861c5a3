// Texts in files: their alphabets, and which of them go by a name of their own in another format.

#pragma once

#include "host/documents/files/bytes.h"
#include "host/documents/picture.h"

#include <string>

extern const char COMMENT[];            // the name of a text that formats without names have
bool IsComment(const FileText &text);   // by that name, letters' case ignored: there are programs that write it small

// Bytes of a file as UTF-8: as they are where they are that, else one letter each (Latin 1). Without zeros at the end.
std::string TextInUtf8(const Bytes &bytes);
bool IsUtf8(const std::string &text);
// One letter a byte where all letters are Latin 1; false where they are not.
bool TextInLatin1(const std::string &text, std::string &latin);
struct Exif;
// For a format without named texts: those that have a field among the EXIF data move there, unless there is one already.
void MoveTexts(std::vector<FileText> &texts, Exif &exif);
