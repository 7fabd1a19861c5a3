// Words by which people look for an effect that has another name here.

#pragma once

#include <span>
#include <string>

struct KnownWord {
    const char *word;       // lower case
    const char *effect;     // its name on the command line
    const char *settings;   // as text of a step that does it; empty where the effect does it by default
    bool nearest = false;   // it does not do that, but nothing comes nearer
};
std::span<const KnownWord> KnownWords();
// Its first row. Null when the word, letters' case ignored, is none of them.
const KnownWord *FindKnownWord(const std::string &word);
// "; blocks does that", "; filters --kernel 'Gaussian 5 by 5' does that"; empty for a word that is not known.
std::string KnownWordHint(const std::string &word);
