// What the command line says to a person on standard error: one line each, and a bar while a run is under way.

#pragma once

#include <string>
#include <vector>

enum ExitCode { EXIT_DONE = 0, EXIT_FAILED = 1, EXIT_USAGE = 2, EXIT_INTERRUPTED = 130 };

// "velmorant: SUBJECT: TEXT". The subject is a file, an effect or an option.
void Report(const std::string &subject, const std::string &text);
// "velmorant: LINE", whose subject is in it.
void ReportLine(const std::string &line);
// Whether any line has been told yet.
bool AnythingReported();
void ReportAll(const std::string &subject, const std::vector<std::string> &notices);
// A file's name for a person: the standard streams for "-".
std::string InputName(const std::string &file);
std::string OutputName(const std::string &file);

// One line with a bar, drawn anew when it changes, on a terminal only. A Report in between erases it first.
void ShowProgress(const std::string &label, double share);
void EraseProgress();
// Whether there is a bar at all; off at first.
void AllowProgress(bool allowed);
bool ProgressShown();
