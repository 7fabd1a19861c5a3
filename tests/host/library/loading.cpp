// A library that makes an object while it is being loaded, for the check that finds such libraries.

#include <vector>

std::vector<int> made(3);
