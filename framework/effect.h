// What an effect tells the framework about itself. An effect is one source: its parameters, a table that ties each
// control to a parameter, the few routines that are its own, and at the end an EffectDescriptor that names them all.
// Whatever a field leaves out, the family's own way stands in.

#pragma once

#include "interface/host_interface.h"

constexpr int MAX_SLOTS = 500;   // images that one dialog keeps a block for

// One per open effect dialog, kept as the dialog's system pointer.
struct DialogState {
    HWND dialog;
    int32_t currentSlot;        // whose block the controls show: the active image's
    int32_t updatingControls;   // 1 while the dialog writes its own controls: what they tell is not a person's
    int32_t previewOn;          // the preview check box; blocks point here
    HostContext *host;
    EffectBlock *slots[MAX_SLOTS];   // one block per open image; null: free
};
RECORD_SIZE(DialogState, 20 + 4 * MAX_SLOTS);

//---- Controls

enum class BindingKind { SPIN, RADIO, CHECK, COLOUR, GRID };

// Ties one control to one 32-bit field of the effect's block, or a grid of number fields to as many of them. A change
// of a spin box, a check box or a grid reads all rows of its kind anew, in row order, which is also the order in which
// controls are written.
struct ControlBinding {
    BindingKind kind;
    int32_t id;
    int32_t editId;      // SPIN: the number field that goes with it. GRID: its last field; `id` is the first
    int32_t field;       // bytes from the block's start; of a GRID, the first of its fields
    int32_t low, high;   // SPIN, GRID: the range
    bool clearsGroup;    // RADIO: unchecked before the chosen one is checked
    bool configured;     // COLOUR: takes two settings of the host's picker when the dialog opens
};

#define FIELD(block, field) int32_t(offsetof(block, field))
#define BLOCK_SIZE(block, bytes) RECORD_SIZE(block, bytes)

constexpr ControlBinding Spin(int id, int editId, int field, int low, int high)
{
    return {BindingKind::SPIN, id, editId, field, low, high, false, false};
}
// A radio button that is checked when the field holds its id. The first kind leaves the others to the host.
constexpr ControlBinding Radio(int id, int field) { return {BindingKind::RADIO, id, 0, field, 0, 0, false, false}; }
constexpr ControlBinding ClearedRadio(int id, int field)
{
    return {BindingKind::RADIO, id, 0, field, 0, 0, true, false};
}
constexpr ControlBinding Check(int id, int field) { return {BindingKind::CHECK, id, 0, field, 0, 1, false, false}; }
constexpr ControlBinding Colour(int id, int field) { return {BindingKind::COLOUR, id, 0, field, 0, 0, false, false}; }
constexpr ControlBinding ConfiguredColour(int id, int field)
{
    return {BindingKind::COLOUR, id, 0, field, 0, 0, false, true};
}
// Number fields without arrows, with ids that run on from the first to the last.
constexpr ControlBinding Grid(int firstId, int lastId, int field, int low, int high)
{
    return {BindingKind::GRID, firstId, lastId, field, low, high, false, false};
}

// A view of a constant table.
struct ControlTable {
    const ControlBinding *rows = nullptr;
    int32_t count = 0;

    constexpr ControlTable() = default;
    template <size_t N> constexpr ControlTable(const ControlBinding (&table)[N]) : rows(table), count(int32_t(N)) {}
    const ControlBinding *begin() const { return rows; }
    const ControlBinding *end() const { return rows + count; }
};

// The parameters of a fresh block, as the effect's own constant record.
struct Defaults {
    const void *bytes = nullptr;
    size_t size = 0;

    constexpr Defaults() = default;
    template <typename Parameters> constexpr Defaults(const Parameters &own) : bytes(&own), size(sizeof own) {}
};

//---- The descriptor

struct EffectDescriptor {
    const char *name;                  // in messages: "The Noise function is running ...", "Noise Error"
    const char *title = nullptr;       // the block's short title; null: the block gets none
    const char *openTitle = nullptr;   // what the host shows as the open effect, where it is not the block's title
    int32_t commandOffset = 0;         // leads to its row of interface/effect_table.inc
    int32_t blockSize = 0;             // bytes: the common part and the parameters
    Defaults defaults;
    ControlTable controls;
    WorkerRoutine worker = nullptr;
    DLGPROC dialog = nullptr;
    ThreadRoutine thread = nullptr;   // a run routine of its own in place of FilterThread

    // Gives a fresh block what its defaults cannot say; nothing writes over it afterwards.
    void (*freshBlock)(EffectBlock *block) = nullptr;
    // Once, when the dialog opens, after the control ranges are set.
    void (*initialise)(HWND dialog, DialogState *state) = nullptr;
    // True when the command was the effect's own and needs nothing more. Asked before the family.
    bool (*command)(HWND dialog, DialogState *state, int id, int notification, LPARAM extra) = nullptr;
    // Whether a command is one that `command` takes and the table of controls does not name. Asked where the current
    // slot is empty, when `command` is not.
    bool (*takes)(int id) = nullptr;
    // Hands a block to the preview control, in place of the family's way, which is SHOW_PREVIEW with the header.
    void (*showPreview)(HWND dialog, EffectBlock *block) = nullptr;
    // Asked when Apply is pressed, before anything else: false refuses the run.
    bool (*beforeRun)(HWND dialog, EffectBlock *block) = nullptr;
};
