// Opens dialogs, listening to what the host is handed meanwhile, and works their controls at random.

#include "host/check/open_dialog.h"

#include <algorithm>
#include <map>
#include <mutex>

// By image; of the outermost dialog that is open. Runs' threads call the host too, but never InitializeFilter.
static std::map<const ImageRecord *, FilterHeader *> &Handed()
{
    static auto &handed = *new std::map<const ImageRecord *, FilterHeader *>;
    return handed;
}

FilterHeader *OpenDialog::HeaderOf(const ImageRecord *image) const
{
    const auto found = Handed().find(image);
    return found == Handed().end() ? nullptr : found->second;
}

EffectBlock *OpenDialog::BlockOf(const ImageRecord *image) const
{
    FilterHeader *header = HeaderOf(image);
    return header ? header->block : nullptr;
}

std::vector<int32_t> OpenDialog::ParametersOf(const ImageRecord *image) const
{
    const EffectBlock *block = BlockOf(image);
    if (!block || block->view.blockSize < int32_t(sizeof *block)) return {};
    const auto *own = reinterpret_cast<const int32_t *>(block + 1);
    return {own, own + (size_t(block->view.blockSize) - sizeof *block) / sizeof(int32_t)};
}

void NoteHandedHeader(const char *call, const intptr_t *arguments)
{
    if (std::string_view(call) != "InitializeFilter") return;
    Handed()[reinterpret_cast<const ImageRecord *>(arguments[1])] = reinterpret_cast<FilterHeader *>(arguments[0]);
}

bool InDialogOf(const CheckedEffect &effect, ModuleStage &stage, const std::function<void(OpenDialog &)> &script)
{
    Handed().clear();
    const std::string before = BeingDone();
    const DialogOutcome outcome = WorkInDialog(stage, effect.offset, [&](HWND dialog) {
        OpenDialog open{stage, effect, dialog, FindDialogTemplate(HostDialogTemplate(dialog))};
        script(open);
    });
    Handed().clear();
    if (!outcome.closed)
        Found(Rule::CLOSE_POSTED, "the close button's command does not close the dialog though nothing runs");
    return outcome.opened;
}

std::vector<HandedHeader> HandedHeaders(const Calls &calls)
{
    std::vector<HandedHeader> handed;
    for (const Call &call : Only(calls, {"InitializeFilter"}))
        handed.push_back(
            {reinterpret_cast<FilterHeader *>(call.arguments[0]), reinterpret_cast<ImageRecord *>(call.arguments[1])});
    return handed;
}

bool IsOwnControl(const ControlTemplate &row)
{
    switch (row.id) {
    case -1:
    case CLOSE_BUTTON:
    case HELP_BUTTON:
    case PREVIEW_ZOOM_OUT:
    case PREVIEW_ZOOM_IN:
    case PREVIEW_ZOOM_FIT:
    case PREVIEW_CHECK:
    case APPLY_BUTTON:
    case PREVIEW_CONTROL:
    case ABORT_BUTTON:
    case PRIORITY_TRACKBAR:
    case SCOPE_IMAGE_RADIO:
    case SCOPE_ALL_RADIO:
    case SCOPE_OBJECTS_RADIO:
    case SCOPE_NEW_OBJECT_RADIO: return false;
    default: return row.id < HOST_COMMAND_FIRST || row.id > HOST_COMMAND_LAST;
    }
}

static void TypeAtRandom(OpenDialog &open, const ControlTemplate &row, int fieldId, std::mt19937 &generator)
{
    int32_t low = 0, high = 0;
    HostSpinRange(open.dialog, row.id, &low, &high);
    if (high < low) return;
    const int32_t value = low + int32_t(Below(uint32_t(high - low) + 1, generator));
    Type(open.dialog, fieldId, std::to_string(value));
}

void SetAtRandom(OpenDialog &open, std::mt19937 &generator)
{
    if (!open.table) return;
    for (int32_t i = 0; i < open.table->controlCount; ++i) {
        const ControlTemplate &row = open.table->controls[i];
        if (!IsOwnControl(row)) continue;
        switch (row.kind) {
        case SPIN_ARROWS: TypeAtRandom(open, row, open.table->controls[i - 1].id, generator); break;
        case NUMBER_FIELD: {
            const bool spin = i + 1 < open.table->controlCount && open.table->controls[i + 1].kind == SPIN_ARROWS;
            if (!spin && Below(4, generator) == 0) TypeAtRandom(open, row, row.id, generator);
            break;
        }
        case RADIO_BUTTON:
        case CHECK_BOX:
            if (Below(3, generator) == 0) Press(open.dialog, row.id);
            break;
        case COLOUR_CONTROL: PickColour(open.dialog, row.id, Below(1 << 24, generator)); break;
        default: break;
        }
    }
}

void ForgetUndoOf(const ModuleStage &stage)
{
    for (ImageRecord *image : stage.images) MiscForgetUndo(image);
}
