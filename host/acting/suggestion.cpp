#include "host/acting/suggestion.h"

#include <algorithm>

std::string LowerCase(std::string text)
{
    for (char &c : text)
        if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    return text;
}

// How many letters have to change, come or go to make one word of the other.
static size_t Distance(const std::string &one, const std::string &other)
{
    std::vector<size_t> row(other.size() + 1);
    for (size_t j = 0; j < row.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= one.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= other.size(); ++j) {
            const size_t replaced = diagonal + (one[i - 1] != other[j - 1]);
            diagonal = row[j];
            row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

static bool Near(const std::string &word, const std::string &known, size_t distance)
{
    return distance <= 1 + known.size() / 4 || (word.size() > 2 && known.starts_with(word));
}

std::string Suggestion(const std::string &word, const std::vector<std::string> &known)
{
    struct Candidate {
        size_t distance;
        std::string word;
    };
    std::vector<Candidate> near;
    const std::string mistyped = LowerCase(word);
    for (const std::string &candidate : known) {
        const std::string lower = LowerCase(candidate);
        const size_t distance = Distance(mistyped, lower);
        if (Near(mistyped, lower, distance)) near.push_back({distance, candidate});
    }
    std::stable_sort(near.begin(), near.end(),
                     [](const Candidate &one, const Candidate &other) { return one.distance < other.distance; });
    if (near.empty()) return "";
    std::string text = "; did you mean " + near[0].word;
    for (size_t i = 1; i < near.size() && i < 3; ++i) text += " or " + near[i].word;
    return text + "?";
}
