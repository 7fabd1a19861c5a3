#pragma once

#include <string>

// The file of the effects module: beside the library that this is part of, else in a folder `velmorant` there. Named as if
// beside it where it is in neither, for the message. Where the module is linked in the name says nothing.
std::string ModuleFile();
