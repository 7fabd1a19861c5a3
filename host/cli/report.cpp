// Standard error's lines and the bar of progress, which is drawn on a terminal alone and gives way to every line.
// Decides neither what is said nor when; what a program asked for goes to standard output elsewhere.

#include "host/cli/report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#ifdef _WIN32
#include <io.h>
static bool OnTerminal() { return _isatty(_fileno(stderr)) != 0; }
#else
#include <unistd.h>
static bool OnTerminal() { return isatty(STDERR_FILENO) != 0; }
#endif

static bool progressAllowed = false;
static std::string shownBar;   // what stands in the terminal's last line; empty when nothing does

//---- Lines

// A file's name may hold anything; a line stays a line.
static std::string OneLine(std::string text)
{
    if (text.empty()) return "''";
    for (char &c : text)
        if (static_cast<unsigned char>(c) < ' ' || c == 127) c = c == '\n' ? ' ' : '?';
    return text;
}

static bool anyLine = false;
bool AnythingReported() { return anyLine; }

void ReportLine(const std::string &line)
{
    anyLine = true;
    EraseProgress();
    fprintf(stderr, "velmorant: %s\n", line.c_str());
}

void Report(const std::string &subject, const std::string &text)
{
    ReportLine(OneLine(subject) + ": " + OneLine(text));
}

void ReportAll(const std::string &subject, const std::vector<std::string> &notices)
{
    for (const std::string &notice : notices) Report(subject, notice);
}

std::string InputName(const std::string &file) { return file == "-" ? "standard input" : file; }
std::string OutputName(const std::string &file) { return file == "-" ? "standard output" : file; }

//---- Progress

void AllowProgress(bool allowed) { progressAllowed = allowed && OnTerminal(); }
bool ProgressShown() { return progressAllowed; }

void ShowProgress(const std::string &label, double share)
{
    if (!progressAllowed) return;
    constexpr int WIDTH = 40;
    const double within = std::clamp(share, 0.0, 1.0);
    const int filled = int(std::lround(within * WIDTH));
    char percent[32];
    snprintf(percent, sizeof percent, "%3ld %%", std::lround(within * 100));
    const std::string bar =
        label + " [" + std::string(size_t(filled), '#') + std::string(size_t(WIDTH - filled), '.') + "] " + percent;
    if (bar == shownBar) return;
    EraseProgress();
    fprintf(stderr, "\r%s", bar.c_str());
    fflush(stderr);
    shownBar = bar;
}

void EraseProgress()
{
    if (shownBar.empty()) return;
    fprintf(stderr, "\r%*s\r", int(shownBar.size()), "");
    fflush(stderr);
    shownBar.clear();
}
