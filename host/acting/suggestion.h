#pragma once

#include <string>
#include <vector>

// "; did you mean A or B?" with the known words that are nearest to a mistyped one, at most three, or empty when none
// is near. Letters' case is ignored.
std::string Suggestion(const std::string &word, const std::vector<std::string> &known);

std::string LowerCase(std::string text);   // ASCII letters only
