// Words of a step's line, and numbers that may stand there as shares of a picture's edge.

#pragma once

#include <stdint.h>
#include <string>
#include <vector>

// Splits words as a POSIX shell does: blanks, '...', "...", backslashes; with `comment`, which takes it, also a # where
// a word would begin. False with one line.
bool SplitWords(const std::string &line, std::vector<std::string> &words, std::string &error,
                std::string *comment = nullptr);
// A word that SplitWords gives back as it is.
std::string Quoted(const std::string &word);

// A number of pixels may be given as a share of a picture's smaller edge: "2%", "0.5%". False when the text is none; else
// the pixels, rounded.
bool ShareOfEdge(const std::string &text, int32_t edge, int32_t &pixels);
