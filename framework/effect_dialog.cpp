// The dialog procedure of all effects: blocks per image, the table of controls read and shown, messages, commands. What
// one effect alone does is in its hooks; what a run does on its thread is the worker's or own_run.cpp's.

#include "framework/effect_dialog.h"

#include "framework/worker.h"
#include "interface/effect_table.h"

#include <initializer_list>
#include <stdio.h>
#include <string.h>

static constexpr uint32_t RUN_STACK_BYTES = 32768;

// What part of the picture a run works on, by the radio button that chooses it.
static constexpr struct {
    int id;
    int32_t mode;
} scopes[] = {
    {SCOPE_IMAGE_RADIO, SCOPE_IMAGE},
    {SCOPE_ALL_RADIO, SCOPE_ALL},
    {SCOPE_OBJECTS_RADIO, SCOPE_OBJECTS},
    {SCOPE_NEW_OBJECT_RADIO, SCOPE_NEW_OBJECT},
};

//---- Blocks

// What the dialog remembers beside what every host may look at.
struct DialogMemory {
    DialogState state;                  // first: the dialog's system pointer points here
    int32_t waitingScopes[MAX_SLOTS];   // by slot, one more than the scope chosen while the slot's image ran; 0: none
};

static int32_t &WaitingScope(DialogState *state, int slot)
{
    return reinterpret_cast<DialogMemory *>(state)->waitingScopes[slot];
}

// Makes an image's block in its slot.
static void CreateBlock(const EffectDescriptor &effect, DialogState *state, int slot, ImageRecord *image)
{
    EffectBlock *block;
    KPZ_AllocMem(&block, uint32_t(effect.blockSize), Scratch::ALLOCATION_FLAGS);
    memset(block, 0, size_t(effect.blockSize));
    state->slots[slot] = block;
    WaitingScope(state, slot) = 0;
    block->view.blockSize = effect.blockSize;
    block->header.image = image;
    block->header.block = block;
    InitializeFilter(&block->header, image);

    // From here on the host no longer writes over what is set.
    block->header.owner = state->dialog;
    block->header.worker = effect.worker;
    block->header.zero = 0;
    if (effect.title) snprintf(block->header.title, sizeof block->header.title, "%s", effect.title);
    block->header.priority = LOWEST_PRIORITY;
    block->previewOn = &state->previewOn;
    memcpy(block + 1, effect.defaults.bytes, effect.defaults.size);
    if (effect.freshBlock) effect.freshBlock(block);
}

static void FreeBlocksOf(DialogState *state, const ImageRecord *image)
{
    for (EffectBlock *&slot : state->slots) {
        if (!slot || slot->header.image != image) continue;
        KPZ_FreeMem(slot);
        slot = nullptr;
    }
}

static bool IsRunning(const ImageRecord *image) { return SharedRead(image->effectThread) != nullptr; }

static bool AnyRuns(const DialogState *state)
{
    for (const EffectBlock *block : state->slots)
        if (block && IsRunning(block->header.image)) return true;
    return false;
}

// Gives the current block the scope that was chosen during its run, once that has ended.
static void TakeWaitingScope(DialogState *state)
{
    EffectBlock *block = CurrentBlock(state);
    int32_t &waiting = WaitingScope(state, state->currentSlot);
    if (waiting == 0 || IsRunning(block->header.image)) return;
    SharedWrite(block->header.previewMode, waiting - 1);
    waiting = 0;
}

//---- Controls

// While a run is under way only Abort, priority and the preview's zoom can be used.
static void EnableControls(HWND dialog, bool enable)
{
    for (HWND control = GetWindow(dialog, GW_CHILD); control; control = GetWindow(control, GW_HWNDNEXT))
        EnableWindow(control, enable);
    for (int id : {ABORT_BUTTON, PRIORITY_TRACKBAR, PREVIEW_ZOOM_FIT, PREVIEW_ZOOM_IN, PREVIEW_ZOOM_OUT})
        KPZ_EnableDlgItem(dialog, id, TRUE);
    KPZ_ShowWindow(KPZ_WindowFromID(dialog, ABORT_BUTTON), !enable);
}

static void RedrawPreview(const EffectDescriptor &effect, HWND dialog, EffectBlock *block)
{
    if (effect.showPreview) return effect.showPreview(dialog, block);
    KPZ_SendDlgItemMsg(dialog, PREVIEW_CONTROL, SHOW_PREVIEW, 0, reinterpret_cast<LPARAM>(&block->header));
}

void ParametersChanged(HWND dialog, const DialogState *state)
{
    if (state->previewOn) KPZ_SendDlgItemMsg(dialog, PREVIEW_CONTROL, PREVIEW_CHANGED, 0, 0);
}

static int32_t *FieldsOf(EffectBlock *block, const ControlBinding &row)
{
    return reinterpret_cast<int32_t *>(reinterpret_cast<uint8_t *>(block) + row.field);
}

static int32_t &FieldOf(EffectBlock *block, const ControlBinding &row) { return *FieldsOf(block, row); }

// Checks the radio button that the field names. The rows of one field are one group: the first of them acts for all.
static void ShowRadios(HWND dialog, EffectBlock *block, const ControlTable &controls, const ControlBinding &first)
{
    for (const ControlBinding &row : controls) {
        if (row.kind != BindingKind::RADIO || row.field != first.field) continue;
        if (&row < &first) return;
        if (row.clearsGroup) KPZ_CheckButton(dialog, row.id, FALSE);
    }
    KPZ_CheckButton(dialog, FieldOf(block, first), TRUE);
}

static void ShowGrid(HWND dialog, EffectBlock *block, const ControlBinding &row)
{
    const int32_t *values = FieldsOf(block, row);
    for (int32_t id = row.id; id <= row.editId; ++id) SetDlgItemInt(dialog, id, UINT(values[id - row.id]), TRUE);
}

static void ReadGrid(HWND dialog, EffectBlock *block, const ControlBinding &row)
{
    int32_t *values = FieldsOf(block, row);
    for (int32_t id = row.id; id <= row.editId; ++id)
        values[id - row.id] = int32_t(GetDlgItemInt(dialog, id, nullptr, TRUE));
}

static void ShowControl(HWND dialog, EffectBlock *block, const ControlTable &controls, const ControlBinding &row)
{
    const int32_t value = FieldOf(block, row);
    switch (row.kind) {
    case BindingKind::SPIN: KPZ_SetSpinBoxValue(dialog, row.id, value); break;
    case BindingKind::RADIO: ShowRadios(dialog, block, controls, row); break;
    case BindingKind::CHECK: KPZ_CheckButton(dialog, row.id, value); break;
    case BindingKind::COLOUR: KPZ_SendDlgItemMsg(dialog, row.id, COLOUR_SETTING, COLOUR_SHOWN, value); break;
    case BindingKind::GRID: ShowGrid(dialog, block, row); break;
    }
}

void LoadControls(const EffectDescriptor &effect, HWND dialog, DialogState *state)
{
    EffectBlock *block = CurrentBlock(state);
    if (!block) return;
    state->updatingControls = 1;
    TakeWaitingScope(state);
    RedrawPreview(effect, dialog, block);
    KPZ_TrackbarSetPos(dialog, PRIORITY_TRACKBAR, SharedRead(block->header.priority));
    EnableControls(dialog, !IsRunning(block->header.image));
    for (const auto &scope : scopes) KPZ_CheckButton(dialog, scope.id, block->header.previewMode == scope.mode);
    for (const ControlBinding &row : effect.controls) ShowControl(dialog, block, effect.controls, row);
    state->updatingControls = 0;
}

static void ReadRows(HWND dialog, EffectBlock *block, const ControlTable &controls, BindingKind kind)
{
    for (const ControlBinding &row : controls) {
        if (row.kind != kind) continue;
        if (kind == BindingKind::GRID) ReadGrid(dialog, block, row);
        else if (kind == BindingKind::SPIN) FieldOf(block, row) = KPZ_GetSpinBoxIntValue(dialog, row.id);
        else FieldOf(block, row) = KPZ_IsButtonChecked(dialog, row.id);
    }
}

// Whether a notification of this row's control tells of a new value.
static bool TellsOfChange(const ControlBinding &row, int id, int notification)
{
    switch (row.kind) {
    case BindingKind::SPIN: return notification == EN_CHANGE || (id == row.id && notification == SPIN_CHANGED);
    case BindingKind::COLOUR: return notification == COLOUR_CHANGING || notification == COLOUR_CHANGED;
    case BindingKind::GRID: return notification == EN_CHANGE;
    default: return true;
    }
}

static bool IsOf(const ControlBinding &row, int id)
{
    switch (row.kind) {
    case BindingKind::SPIN: return id == row.id || id == row.editId;
    case BindingKind::GRID: return id >= row.id && id <= row.editId;
    default: return id == row.id;
    }
}

Taken TakeControl(const ControlTable &controls, HWND dialog, EffectBlock *block, int id, int notification, LPARAM extra)
{
    for (const ControlBinding &row : controls) {
        if (!IsOf(row, id)) continue;
        if (!TellsOfChange(row, id, notification)) return Taken::NO_CHANGE;

        switch (row.kind) {
        case BindingKind::RADIO: FieldOf(block, row) = id; break;
        case BindingKind::COLOUR: FieldOf(block, row) = *reinterpret_cast<const int32_t *>(extra); break;
        default: ReadRows(dialog, block, controls, row.kind);
        }
        return Taken::CHANGE;
    }
    return Taken::NOTHING;
}

bool TakeScope(DialogState *state, int id)
{
    for (const auto &scope : scopes) {
        if (scope.id != id) continue;
        WaitingScope(state, state->currentSlot) = scope.mode + 1;
        TakeWaitingScope(state);
        return true;
    }
    return false;
}

void ShowError(HWND dialog, const char *text, const char *title) { KPZ_MessageBox(dialog, text, title, MB_ICONERROR); }

//---- Messages

static void SetRanges(const EffectDescriptor &effect, HWND dialog)
{
    KPZ_TrackbarSetRange(dialog, PRIORITY_TRACKBAR, LOWEST_PRIORITY, HIGHEST_PRIORITY);
    for (const ControlBinding &row : effect.controls) {
        if (row.kind == BindingKind::SPIN) KPZ_SetSpinBoxRange(dialog, row.id, row.low, row.high);
        if (row.kind != BindingKind::GRID) continue;
        for (int32_t id = row.id; id <= row.editId; ++id) KPZ_SetSpinBoxRange(dialog, id, row.low, row.high);
    }
    for (const ControlBinding &row : effect.controls) {
        if (!row.configured) continue;
        KPZ_SendDlgItemMsg(dialog, row.id, COLOUR_SETTING, COLOUR_SETTING_4, 0);
        KPZ_SendDlgItemMsg(dialog, row.id, COLOUR_SETTING, COLOUR_SETTING_5, 1);
    }
}

static void AnnounceOpen(const EffectDescriptor &effect, HWND dialog, HostContext *host)
{
    const char *title = effect.openTitle ? effect.openTitle : effect.title;
    host->openEffectDialog = dialog;
    if (title) snprintf(host->openEffectTitle, sizeof host->openEffectTitle, "%s", title);
}

// The active image's place in the host's list, 0 when it is not there.
static int PositionOfActiveImage(const HostContext *host)
{
    int position = 0;
    for (const ImageRecord *image = host->firstImage; image; image = image->next, ++position)
        if (image == host->activeImage) return position < MAX_SLOTS ? position : 0;
    return 0;
}

static INT_PTR OnCreate(const EffectDescriptor &effect, HWND dialog, HostContext *host)
{
    KPZ_SetupDialogHotkeys(dialog, host->resourceModule);

    DialogMemory *memory;
    KPZ_AllocMem(&memory, sizeof *memory, Scratch::ALLOCATION_FLAGS);
    memset(memory, 0, sizeof *memory);
    DialogState *state = &memory->state;
    state->updatingControls = 1;
    KPZ_SetWindowPtrSystem(dialog, state);
    state->dialog = dialog;
    state->currentSlot = PositionOfActiveImage(host);
    state->host = host;
    state->previewOn = 1;
    KPZ_CheckButton(dialog, PREVIEW_CHECK, TRUE);

    int slot = 0;
    for (ImageRecord *image = host->firstImage; image && slot < MAX_SLOTS; image = image->next)
        CreateBlock(effect, state, slot++, image);

    SetRanges(effect, dialog);
    if (effect.initialise) effect.initialise(dialog, state);
    LoadControls(effect, dialog, state);
    AnnounceOpen(effect, dialog, host);
    AddToFloaters(dialog, host->floaters);
    CenterWindow(dialog);
    state->updatingControls = 0;
    return 1;
}

static INT_PTR OnDestroy(HWND dialog, DialogState *state)
{
    HostContext *host = state->host;
    KPZ_RemoveDialogHotkeys(dialog);
    RemoveFromFloaters(dialog, host->floaters);
    host->openEffectDialog = nullptr;
    host->openEffectTitle[0] = 0;
    KPZ_SetWindowPtrSystem(dialog, nullptr);
    for (EffectBlock *block : state->slots)
        if (block) KPZ_FreeMem(block);
    KPZ_FreeMem(state);
    return 1;
}

static INT_PTR OnHorizontalScroll(HWND dialog, WPARAM word, LPARAM sender)
{
    if (reinterpret_cast<HWND>(sender) == KPZ_WindowFromID(dialog, PRIORITY_TRACKBAR))
        word = MAKEWPARAM(PRIORITY_TRACKBAR, LOWORD(word));
    return KPZ_SendMsgAndWait(dialog, WM_COMMAND, word, sender);
}

static INT_PTR OnVerticalScroll(const EffectDescriptor &effect, HWND dialog, WPARAM word, LPARAM sender)
{
    for (const ControlBinding &row : effect.controls) {
        if (row.kind != BindingKind::SPIN) continue;
        if (reinterpret_cast<HWND>(sender) != KPZ_WindowFromID(dialog, row.id)) continue;
        word = MAKEWPARAM(row.id, SPIN_CHANGED);
        break;
    }
    return KPZ_SendMsgAndWait(dialog, WM_COMMAND, word, sender);
}

static INT_PTR OnRefreshPreview(const EffectDescriptor &effect, HWND dialog, DialogState *state)
{
    EffectBlock *block = CurrentBlock(state);
    if (block && state->previewOn) RedrawPreview(effect, dialog, block);
    return 1;
}

static INT_PTR OnImageActivated(const EffectDescriptor &effect, HWND dialog, DialogState *state)
{
    for (int slot = 0; slot < MAX_SLOTS; ++slot) {
        if (!state->slots[slot] || state->slots[slot]->header.image != state->host->activeImage) continue;
        state->currentSlot = slot;
        break;
    }
    LoadControls(effect, dialog, state);
    return 1;
}

// With every slot taken the image gets no block, and no message is shown.
static INT_PTR OnImageOpened(const EffectDescriptor &effect, HWND dialog, DialogState *state, ImageRecord *image)
{
    FreeBlocksOf(state, image);
    for (int slot = 0; slot < MAX_SLOTS; ++slot) {
        if (state->slots[slot]) continue;
        CreateBlock(effect, state, slot, image);
        LoadControls(effect, dialog, state);
        break;
    }
    return 1;
}

// The host follows with ACTIVE_IMAGE_CHANGED, which leads the current slot back to a block.
static INT_PTR OnImageClosed(HWND dialog, DialogState *state, const ImageRecord *image)
{
    if (!state->host->firstImage) KPZ_DismissDialog(dialog, 1);
    else FreeBlocksOf(state, image);
    return 1;
}

static INT_PTR OnRunFinished(const EffectDescriptor &effect, HWND dialog, DialogState *state)
{
    LoadControls(effect, dialog, state);
    ChooseMenus(state->host);
    return 1;
}

//---- Commands

static void OnPreviewCheck(const EffectDescriptor &effect, HWND dialog, DialogState *state)
{
    state->previewOn = KPZ_IsButtonChecked(dialog, PREVIEW_CHECK);
    RedrawPreview(effect, dialog, CurrentBlock(state));
}

static void OnPriority(HWND dialog, EffectBlock *block)
{
    const int32_t priority = KPZ_TrackbarGetPos(dialog, PRIORITY_TRACKBAR);
    SharedWrite(block->header.priority, priority);
    KPZ_SetThreadPriority(SharedRead(block->header.image->effectThread), priority);
}

// Starts a run of the current image. The end of it comes back as RUN_FINISHED.
static void OnApply(const EffectDescriptor &effect, HWND dialog, DialogState *state)
{
    EffectBlock *block = CurrentBlock(state);
    ImageRecord *image = block->header.image;
    if (effect.beforeRun && !effect.beforeRun(dialog, block)) return;
    // A message box may have let images close and the dialog with them.
    if (effect.beforeRun && (KPZ_QueryWindowPtrSystem(dialog) != state || CurrentBlock(state) != block)) return;
    if (IsRunning(image)) return;

    TakeWaitingScope(state);
    EnableControls(dialog, false);
    SharedWrite(image->runStarted, 1);
    ThreadHandle thread =
        KPZ_CreateThread(effect.thread ? effect.thread : FilterThread, RUN_STACK_BYTES, &block->header);
    SharedWrite(image->effectThread, thread);
    ChooseMenus(state->host);
    // To the host a null thread is the caller: without a run there is no priority to set, and the controls come back.
    if (thread) KPZ_SetThreadPriority(thread, SharedRead(block->header.priority));
    else LoadControls(effect, dialog, state);
}

static void OnClose(const EffectDescriptor &effect, HWND dialog, const DialogState *state)
{
    if (!KPZ_IsWindowEnabled(KPZ_WindowFromID(dialog, CLOSE_BUTTON))) return;
    if (!AnyRuns(state)) {
        KPZ_DismissDialog(dialog, 1);
        return;
    }
    char text[160], title[48];
    snprintf(text, sizeof text,
             "The %s function is running on some images, abort those images or wait for them to finish", effect.name);
    snprintf(title, sizeof title, "%s Error", effect.name);
    ShowError(dialog, text, title);
}

// A command of the effect's own controls. False when it is none of them either.
static bool OnParameter(const EffectDescriptor &effect, HWND dialog, DialogState *state, int id, int notification,
                        LPARAM extra)
{
    const Taken taken = TakeControl(effect.controls, dialog, CurrentBlock(state), id, notification, extra);
    if (taken == Taken::CHANGE) ParametersChanged(dialog, state);
    return taken != Taken::NOTHING;
}

// A command that needs a block. False when it is none of the dialog's.
static bool OnBlockCommand(const EffectDescriptor &effect, HWND dialog, DialogState *state, WPARAM word, LPARAM extra)
{
    const int id = int16_t(LOWORD(word)), notification = HIWORD(word);
    if (effect.command && effect.command(dialog, state, id, notification, extra)) return true;
    EffectBlock *block = CurrentBlock(state);
    if (TakeScope(state, id)) return RedrawPreview(effect, dialog, block), true;
    switch (id) {
    case PREVIEW_CHECK: OnPreviewCheck(effect, dialog, state); break;
    case PRIORITY_TRACKBAR: OnPriority(dialog, block); break;
    case APPLY_BUTTON: OnApply(effect, dialog, state); break;
    case ABORT_BUTTON: SharedWrite(block->header.image->abortRequest, 1); break;
    default: return OnParameter(effect, dialog, state, id, notification, extra);
    }
    return true;
}

// Whether OnBlockCommand would take a command.
static bool NeedsBlock(const EffectDescriptor &effect, int id)
{
    for (const auto &scope : scopes)
        if (scope.id == id) return true;
    for (const ControlBinding &row : effect.controls)
        if (IsOf(row, id)) return true;
    const bool shared = id == PREVIEW_CHECK || id == PRIORITY_TRACKBAR || id == APPLY_BUTTON || id == ABORT_BUTTON;
    return shared || (effect.takes && effect.takes(id));
}

static INT_PTR OnCommand(const EffectDescriptor &effect, HWND dialog, DialogState *state, WPARAM word, LPARAM extra)
{
    const int id = int16_t(LOWORD(word));
    if (id == CLOSE_BUTTON) {
        OnClose(effect, dialog, state);
    } else if (id == HELP_BUTTON) {
        RunHelp(EffectOfCommand(effect.commandOffset)->helpContext);
    } else if (id >= HOST_COMMAND_FIRST && id <= HOST_COMMAND_LAST) {
        KPZ_SendMsgNoWait(state->host->window, FORWARDED_COMMAND, word, extra);
    } else if (id != UNUSED_COMMAND) {
        // Without a block, between an image's closing and the next one's turn, what would need one is ignored.
        const bool own =
            CurrentBlock(state) ? OnBlockCommand(effect, dialog, state, word, extra) : NeedsBlock(effect, id);
        if (!own) return KPZ_DefDlgProc(dialog, WM_COMMAND, word, extra);
    }
    return 1;
}

INT_PTR EffectDialog(const EffectDescriptor &effect, HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    if (message == WM_INITDIALOG) return OnCreate(effect, dialog, reinterpret_cast<HostContext *>(extra));
    auto *state = static_cast<DialogState *>(KPZ_QueryWindowPtrSystem(dialog));
    if (!state || state->updatingControls) return KPZ_DefDlgProc(dialog, message, word, extra);

    switch (message) {
    case WM_DESTROY: return OnDestroy(dialog, state);
    case WM_CLOSE: return KPZ_SendMsgNoWait(dialog, WM_COMMAND, CLOSE_BUTTON, 0), 1;
    case WM_COMMAND: return OnCommand(effect, dialog, state, word, extra);
    case WM_HSCROLL: return OnHorizontalScroll(dialog, word, extra);
    case WM_VSCROLL: return OnVerticalScroll(effect, dialog, word, extra);
    case REFRESH_PREVIEW: return OnRefreshPreview(effect, dialog, state);
    case ACTIVE_IMAGE_CHANGED: return OnImageActivated(effect, dialog, state);
    case IMAGE_OPENED: return OnImageOpened(effect, dialog, state, reinterpret_cast<ImageRecord *>(extra));
    case IMAGE_CLOSED: return OnImageClosed(dialog, state, reinterpret_cast<const ImageRecord *>(extra));
    case RUN_FINISHED: return OnRunFinished(effect, dialog, state);
    default: return KPZ_DefDlgProc(dialog, message, word, extra);
    }
}
