// What several formats, and the codecs of both systems, say to a person in the same words.

#pragma once

inline constexpr char CANNOT_BE_WRITTEN[] = "the file cannot be written",
                      HEADER_IS_NOT_COMPLETE[] = "the header is not complete",
                      ENDS_BEFORE_ITS_PICTURE[] = "the file ends before its picture does",
                      TOO_SHORT_FOR_ITS_PICTURE[] = "the file is too short for the picture it promises",
                      HAS_NO_PICTURE[] = "there is no picture in it",
                      FRAMES_ARE_TOO_LARGE[] =
                          "its frames have more than 512 megapixels together, which is only done when asked for",
                      MAKERS_NOTES_ARE_DROPPED[] = "the camera maker's notes are left out: they cannot be moved",
                      UNKNOWN_PARTS_ARE_DROPPED[] = "parts of the file that are not known here are left out: ";
