// See effect_search.h. Words that people have for an effect and that stand in no sheet are known_words.h's; all others are
// the dialogs' own.

#include "host/editor/effect_search.h"

#include "host/acting/known_words.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <sstream>

static std::string Lowered(std::string text)
{
    for (char &letter : text) letter = char(tolower(static_cast<unsigned char>(letter)));
    return text;
}

// Whether the text has a word that begins so.
static bool HasWord(const std::string &text, const std::string &beginning)
{
    for (size_t at = text.find(beginning); at != std::string::npos; at = text.find(beginning, at + 1))
        if (at == 0 || !isalnum(static_cast<unsigned char>(text[at - 1]))) return true;
    return false;
}

static std::string SettingsOf(const DialogTemplate &effect)
{
    std::string text;
    for (int32_t i = 0; i < effect.controlCount; ++i)
        for (const char letter : std::string(effect.controls[i].label) + " ")
            if (letter != '&') text += letter;
    return text;
}

// How well a word fits: 0 not at all, 4 the effect's name.
static int FitOf(const DialogTemplate &effect, const std::string &word, const std::vector<std::string> &kernels)
{
    if (Lowered(effect.title).starts_with(word)) return 5;
    if (HasWord(Lowered(effect.title), word)) return 4;
    for (const KnownWord &known : KnownWords())
        if (strcmp(known.effect, effect.effect) == 0 && HasWord(known.word, word)) return 3;
    if (HasWord(Lowered(effect.summary), word)) return 2;
    if (HasWord(Lowered(effect.about), word) || HasWord(Lowered(SettingsOf(effect)), word)) return 1;
    if (strcmp(effect.effect, "filters") != 0) return 0;
    return std::any_of(kernels.begin(), kernels.end(),
                       [&](const std::string &kernel) { return HasWord(Lowered(kernel), word); });
}

std::vector<const DialogTemplate *> FindEffects(const std::string &words, const std::vector<std::string> &kernels)
{
    struct Found {
        const DialogTemplate *effect;
        int fit;
    };
    std::vector<Found> found;
    for (int32_t i = 0; i < DialogTemplateCount(); ++i) {
        const DialogTemplate &effect = *DialogTemplateAt(i);
        if (!effect.effect) continue;
        std::istringstream each(Lowered(words));
        std::string word;
        int fit = 5;
        while (each >> word) fit = std::min(fit, FitOf(effect, word, kernels));
        if (fit > 0) found.push_back({&effect, fit});
    }
    std::stable_sort(found.begin(), found.end(), [](const Found &one, const Found &other) {
        return one.fit != other.fit ? one.fit > other.fit : strcmp(one.effect->title, other.effect->title) < 0;
    });
    std::vector<const DialogTemplate *> effects;
    effects.reserve(found.size());
    for (const Found &one : found) effects.push_back(one.effect);
    return effects;
}
