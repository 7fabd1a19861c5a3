// See option_values.h.

#include "host/cli/option_values.h"
#include "host/cli/report.h"
#include "host/library/velmorant.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <thread>

static bool ReadNumber(const char *option, const std::string &text, int64_t low, int64_t high, int64_t &number)
{
    if (text.empty()) return true;
    const bool digits = text.size() <= 10 && text.find_first_not_of("0123456789") == std::string::npos;
    const int64_t value = digits ? std::stoll(text) : -1;
    if (value < low || value > high) {
        Report(option, "'" + text + "' is not a whole number of " + std::to_string(low) + ".." + std::to_string(high));
        return false;
    }
    number = value;
    return true;
}

// Words that have a number of their own. False, after a line, where the text is none of them.
static bool ReadWord(const char *option, const std::string &text, const std::vector<std::pair<std::string, int>> &words,
                     int &number)
{
    if (text.empty()) return true;
    std::string list;
    for (const auto &[word, value] : words) {
        if (word == text) {
            number = value;
            return true;
        }
        list += (list.empty() ? "" : ", ") + word;
    }
    Report(option, "'" + text + "' is none of " + list);
    return false;
}

bool ReadFileWords(const NumberTexts &texts, CommandLine &line)
{
    const bool pictures = line.command == Command::APPLY || line.command == Command::BATCH;
    if (pictures && !line.format.empty() && !vlm_format_named(line.format.c_str())) {
        Report("--format", vlm_error_line());
        return false;
    }
    return ReadWord("--strip", texts.strip, {{"metadata", 1}, {"all", 2}}, line.strip) &&
           ReadWord("--progressive", texts.progressive, {{"on", 1}, {"off", -1}}, line.progressive) &&
           ReadWord("--subsampling", texts.subsampling,
                    {{"444", 444}, {"440", 440}, {"422", 422}, {"420", 420}, {"411", 411}}, line.subsampling);
}

bool ReadNumbers(const NumberTexts &texts, CommandLine &line)
{
    int64_t quality = line.quality, compression = line.compression, page = line.page;
    int64_t level = line.level, checkSeed = line.checkSeed, minutes = line.minutes;
    int64_t jobs = std::clamp<int64_t>(std::thread::hardware_concurrency(), 1, MAX_JOBS), threads = 0;
    const char *environment = getenv("VELMORANT_THREADS");
    const std::string wished = environment ? environment : "";
    if (!ReadNumber("--quality", texts.quality, 1, 100, quality)) return false;
    if (!ReadNumber("--compression", texts.compression, 1, 9, compression)) return false;
    if (!ReadNumber("--jobs", texts.jobs, 1, MAX_JOBS, jobs)) return false;
    if (!ReadNumber("VELMORANT_THREADS", wished, 1, MAX_THREADS, threads)) return false;
    if (!ReadNumber("--threads", texts.threads, 1, MAX_THREADS, threads)) return false;
    if (!ReadNumber("--page", texts.page, 1, 1'000'000, page)) return false;
    if (!ReadNumber("--level", texts.level, 1, 10, level)) return false;
    if (!ReadNumber("--seed", texts.checkSeed, 0, UINT32_MAX, checkSeed)) return false;
    if (!ReadNumber("--minutes", texts.minutes, 1, 600, minutes)) return false;
    line.level = int(level);
    line.checkSeed = uint32_t(checkSeed);
    line.minutes = int(minutes);
    line.threads = int(threads);
    line.quality = int(quality);
    line.compression = int(compression);
    line.page = int(page);
    line.jobs = int(jobs);
    line.jobsGiven = !texts.jobs.empty();
    return true;
}

static bool ReadPlace(const std::string &text, int32_t &x, int32_t &y)
{
    const char *const end = text.data() + text.size();
    const std::from_chars_result first = std::from_chars(text.data(), end, x);
    if (first.ec != std::errc() || first.ptr == end || *first.ptr != ',') return false;
    const std::from_chars_result second = std::from_chars(first.ptr + 1, end, y);
    return second.ec == std::errc() && second.ptr == end;
}

// A file's name may hold an @ itself: the last one counts.
static bool ReadObject(const std::string &text, NamedObject &object)
{
    const size_t at = text.rfind('@');
    if (at == std::string::npos || at == 0) return false;
    object.file = text.substr(0, at);
    return ReadPlace(text.substr(at + 1), object.x, object.y);
}

bool ReadStep(const NumberTexts &texts, GivenStep &step)
{
    int64_t seed = 0;
    if (!ReadNumber("--seed", texts.seed, 0, UINT32_MAX, seed)) return false;
    if (!texts.seed.empty()) step.seed = uint32_t(seed);
    step.area = texts.area;
    for (const std::string &text : texts.objects) {
        NamedObject object;
        if (!ReadObject(text, object)) {
            Report("--object", "'" + text + "' is not a picture with its place as FILE@X,Y");
            return false;
        }
        step.objects.push_back(std::move(object));
    }
    return true;
}
