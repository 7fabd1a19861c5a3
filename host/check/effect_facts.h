// What is fixed of the dialogs of this editor's effects beyond their tables (host/dialogs), which the module brings: for
// checks and tests to hold it to.

#pragma once

#include <cstdint>
#include <span>
#include <vector>

struct SpinFact {
    int id, low, high, value;
};

struct EffectFacts {
    const char *name;        // in messages
    int offset;              // of its command
    const char *title;       // the block's
    const char *openTitle;   // the host's
    int help;
    std::vector<SpinFact> spins;
    std::vector<int> checked;   // radio buttons and check boxes
    bool configuresColour;
};
std::span<const EffectFacts> AllEffectFacts();
// Null where nothing is fixed.
const EffectFacts *FactsOf(int offset);

// Which control changes which of an effect's own parameters, counted in 32-bit fields.
enum class ParameterControl { SPIN, RADIO, CHECK, COLOUR };
struct ParameterFact {
    int offset;
    ParameterControl type;
    int id, fieldId, parameter;
};
std::span<const ParameterFact> AllParameterFacts();

// A message box that an effect shows when Apply is pressed.
struct BoxFact {
    int offset;
    bool runs;   // the run begins all the same
    const char *text, *title;
};
// What Apply is answered with on a picture of this type, in the dialog's first scope; null for a run and nothing else.
const BoxFact *BoxFactOf(int offset, int32_t colourType, bool maskEditing);

// What an effect's worker reports of a plane.
enum class ProgressKind {
    ANY,                 // in order, and something of a plane that it changes
    EACH_ROW,            // row * 10 / (rows - 1), once for each row; the mask goes along with the picture
    ROWS_OR_COLUMNS,     // the same of rows or of columns
    BEFORE_EACH_PLANE,   // the same, and ResetProgress before the mask plane
    BIG_ROWS,            // of rows of tiles
    HUNDRED_PASSES,      // pass / 10, of 100
    ITERATIONS,          // ResetProgress before each iteration
};
ProgressKind ProgressKindOf(int offset);
