// Words of a step's line: split and quoted as a POSIX shell does it, without any of its expansions; shares of an edge.

#include "host/acting/words.h"

#include <algorithm>

static bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// Takes one quoted piece whose opening mark is at `at`. Within double quotes a backslash keeps its meaning before a
// double quote and another backslash.
static bool TakeQuoted(const std::string &line, size_t &at, std::string &word)
{
    const char mark = line[at++];
    for (; at < line.size() && line[at] != mark; ++at) {
        const bool escape =
            mark == '"' && line[at] == '\\' && at + 1 < line.size() && (line[at + 1] == '"' || line[at + 1] == '\\');
        if (escape) ++at;
        word += line[at];
    }
    if (at == line.size()) return false;
    ++at;
    return true;
}

static bool TakeWord(const std::string &line, size_t &at, std::string &word, std::string &error)
{
    while (at < line.size() && !IsBlank(line[at])) {
        if (line[at] == '\'' || line[at] == '"') {
            const char mark = line[at];
            if (TakeQuoted(line, at, word)) continue;
            error = std::string("a quotation that ") + mark + " begins does not end";
            return false;
        }
        if (line[at] == '\\' && at + 1 == line.size()) {
            error = "nothing follows the backslash at the end";
            return false;
        }
        if (line[at] == '\\') ++at;
        word += line[at++];
    }
    return true;
}

bool SplitWords(const std::string &line, std::vector<std::string> &words, std::string &error, std::string *comment)
{
    for (size_t at = 0;;) {
        while (at < line.size() && IsBlank(line[at])) ++at;
        if (at == line.size()) return true;
        if (comment && line[at] == '#') return *comment = line.substr(at), true;
        std::string word;
        if (!TakeWord(line, at, word, error)) return false;
        words.push_back(std::move(word));
    }
}

std::string Quoted(const std::string &word)
{
    constexpr char PLAIN[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.,/:=+@%";
    if (!word.empty() && word.find_first_not_of(PLAIN) == std::string::npos) return word;
    std::string quoted = "'";
    for (const char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

//---- Shares

// In millionths of a hundredth: up to six digits behind the point.
static bool ReadShare(const std::string &text, int64_t &share)
{
    constexpr size_t DIGITS = 6;
    const size_t point = std::min(text.find('.'), text.size() - 1), sign = text.size() - 1;
    std::string whole = text.substr(0, std::min(point, sign)),
                part = point < sign ? text.substr(point + 1, sign - point - 1) : "";
    if (text.back() != '%' || whole.empty() || whole.size() > 3 || part.size() > DIGITS) return false;
    part.resize(DIGITS, '0');
    if ((whole + part).find_first_not_of("0123456789") != std::string::npos) return false;
    share = std::stoll(whole + part);
    return share > 0 && share <= 100'000'000;
}

bool ShareOfEdge(const std::string &text, int32_t edge, int32_t &pixels)
{
    int64_t share;
    if (text.empty() || !ReadShare(text, share)) return false;
    pixels = int32_t((share * edge + 50'000'000) / 100'000'000);
    return true;
}
