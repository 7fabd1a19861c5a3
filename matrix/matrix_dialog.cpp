// Filters: replaces every pixel by a weighted sum of its neighbours, divided and biased, or adds or subtracts that. The
// weights are a kernel of 7 x 7 whole numbers, typed, taken from the list of ready-made ones, or loaded from a file.

#include "effects/effects.h"
#include "matrix/matrix.h"

enum {
    FIRST_ELEMENT = 4020,
    LAST_ELEMENT = 4068,
    DIVISOR = 990,
    DIVISOR_EDIT = 1000,
    BIAS = 980,
    BIAS_EDIT = 970,
    ITERATIONS = 920,
    ITERATIONS_EDIT = 930,
    USE_RED = 6600,
    USE_GREEN = 6550,
    USE_BLUE = 6540,
    KERNEL_LIST = 960,
    SAVE_BUTTON = 2630,
    LOAD_BUTTON = 2640,
};

static constexpr MatrixParameters MakeIdentity()
{
    MatrixParameters own = {{}, 0, 1, PASS_PLAIN, COMBINE_REPLACE, 1, 1, 1, 1};
    own.kernel[KERNEL_ELEMENTS / 2] = 1;
    return own;
}
static constexpr MatrixParameters defaults = MakeIdentity();

static constexpr ControlBinding controls[] = {
    Spin(DIVISOR, DIVISOR_EDIT, FIELD(MatrixBlock, own.divisor), 1, 1000),
    Spin(BIAS, BIAS_EDIT, FIELD(MatrixBlock, own.bias), -255, 255),
    ClearedRadio(COMBINE_ADD, FIELD(MatrixBlock, own.combineMode)),
    ClearedRadio(COMBINE_SUBTRACT, FIELD(MatrixBlock, own.combineMode)),
    ClearedRadio(COMBINE_REPLACE, FIELD(MatrixBlock, own.combineMode)),
    Check(USE_RED, FIELD(MatrixBlock, own.useRed)),
    Check(USE_GREEN, FIELD(MatrixBlock, own.useGreen)),
    Check(USE_BLUE, FIELD(MatrixBlock, own.useBlue)),
    Radio(PASS_DIFFERENCE, FIELD(MatrixBlock, own.passMode)),
    Radio(PASS_ITERATIVE, FIELD(MatrixBlock, own.passMode)),
    Radio(PASS_PLAIN, FIELD(MatrixBlock, own.passMode)),
    Spin(ITERATIONS, ITERATIONS_EDIT, FIELD(MatrixBlock, own.iterations), 1, 50),
    Grid(FIRST_ELEMENT, LAST_ELEMENT, FIELD(MatrixBlock, own.kernel), -50, 50),
};

//---- The list of kernels

// The string table's ids. Entry i of the list is kernel FIRST_KERNEL + i.
static constexpr int FIRST_KERNEL = 16, FIRST_KERNEL_NAME = 100, LAST_KERNEL_NAME = 155;
static constexpr char MODULE_NAME[] = "VLMEFF";

struct LoadedString {
    char text[256];
};

static LoadedString LoadModuleString(HWND dialog, int id)
{
    LoadedString string = {};
    KPZ_LoadString(dialog, MODULE_NAME, id, string.text, sizeof string.text - 1);
    return string;
}

static void MatrixInitialise(HWND dialog, DialogState *)
{
    for (int id = FIRST_KERNEL_NAME; id <= LAST_KERNEL_NAME; ++id)
        KPZ_ListBoxAddToEnd(dialog, KERNEL_LIST, LoadModuleString(dialog, id).text);
}

static MatrixParameters &CurrentParameters(const DialogState *state)
{
    return reinterpret_cast<MatrixBlock *>(CurrentBlock(state))->own;
}

static void ShowNewKernel(HWND dialog, DialogState *state)
{
    LoadControls(filters, dialog, state);
    ParametersChanged(dialog, state);
}

static void ApplySelectedKernel(HWND dialog, DialogState *state)
{
    const int selected = KPZ_ListBoxQuerySelection(dialog, KERNEL_LIST);
    if (selected < 0) return;
    ParseKernelText(CurrentParameters(state), LoadModuleString(dialog, FIRST_KERNEL + selected).text);
    ShowNewKernel(dialog, state);
}

//---- Files

// Pairs of a label and a pattern. The first pattern is not the label's: files have been saved under both.
static constexpr char FILE_TYPES[] = "Filter files (*.flt)\0*.crv\0All files (*.*)\0*.*\0";

static void SaveFilter(HWND dialog, const DialogState *state)
{
    Scratch text(FILTER_FILE_BYTES);
    char *contents = reinterpret_cast<char *>(text.bytes);
    const int length = FormatFilterFile(CurrentParameters(state), contents);
    SaveFile(contents, length, 0, "Filter Save", FILE_TYPES, 0, dialog);
}

static void LoadFilter(HWND dialog, DialogState *state)
{
    char name[256] = "";
    char *contents = LoadFile(name, "Filter Load", FILE_TYPES, 0, dialog, 0);
    if (!contents) return;
    if (ParseFilterFile(CurrentParameters(state), contents)) ShowNewKernel(dialog, state);
    else ShowError(dialog, "File is not a Filter Utility File.", "File Error");
    KPZ_FreeMem(contents);
}

//---- Dialog

static bool MatrixCommand(HWND dialog, DialogState *state, int id, int notification, LPARAM)
{
    switch (id) {
    case KERNEL_LIST:   // a single click only selects
        if (notification == LBN_DBLCLK) ApplySelectedKernel(dialog, state);
        return true;
    case SAVE_BUTTON: SaveFilter(dialog, state); return true;
    case LOAD_BUTTON: LoadFilter(dialog, state); return true;
    default: return false;
    }
}

static bool MatrixTakes(int id) { return id == KERNEL_LIST || id == SAVE_BUTTON || id == LOAD_BUTTON; }

static INT_PTR KPZAPI MatrixDialog(HWND dialog, UINT message, WPARAM word, LPARAM extra)
{
    return EffectDialog(filters, dialog, message, word, extra);
}

const EffectDescriptor filters = {
    .name = "Matrix",
    .title = "Filters",
    .commandOffset = FILTERS_COMMAND,
    .blockSize = sizeof(MatrixBlock),
    .defaults = defaults,
    .controls = controls,
    .worker = MatrixWorker,
    .dialog = MatrixDialog,
    .initialise = MatrixInitialise,
    .command = MatrixCommand,
    .takes = MatrixTakes,
};
