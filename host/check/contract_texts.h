// The files that promises stand in, as they were when this program was built; their texts are put in by CMakeLists.txt.

#pragma once

struct ContractText {
    const char *file, *text;
};
// Ends with a null file.
extern const ContractText contractTexts[];
