// A person at a dialog: opens it by its command, works its controls with the messages that a mouse or a keyboard sends,
// waits for runs, and finds controls by the words of the command line. Ranges are asked of the controls; nothing here
// knows an effect.

#include "host/acting/acting.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <vector>

//---- Dialogs

// What acting remembers between the outermost ActInDialog's start and its end. Only the dialogs' thread looks at it.
static Host *actingHost = nullptr;

// Windows of the images whose runs are under way. Made at the first call: loading the library costs a program nothing.
static std::vector<HWND> &Running()
{
    static auto &running = *new std::vector<HWND>;
    return running;
}

static void NoteRun(HWND imageWindow)
{
    std::vector<HWND> &running = Running();
    if (std::find(running.begin(), running.end(), imageWindow) == running.end()) running.push_back(imageWindow);
}

// An Apply that started a run leaves the button greyed until the dialog hears of the run's end. The image's effect
// thread tells less: it is cleared before the dialog hears.
static void KPZAPI Observe(void *, HWND window, UINT message, WPARAM word, LPARAM)
{
    if (message == RUN_FINISHED) {
        std::erase(Running(), reinterpret_cast<HWND>(word));
    } else if (message == WM_COMMAND && LOWORD(word) == APPLY_BUTTON) {
        const HWND apply = GetDlgItem(window, APPLY_BUTTON);
        const ImageRecord *active = actingHost ? actingHost->context.activeImage : nullptr;
        if (apply && active && !KPZ_IsWindowEnabled(apply)) NoteRun(active->window);
    }
}

struct DialogScript {
    const std::function<void(HWND dialog)> &run;
    bool opened = false;
};

static void RunScript(DialogScript &script, HWND dialog)
{
    if (script.opened) return;
    script.opened = true;
    script.run(dialog);
}

// What acting has set, put back when the dialog has closed or there was no memory for it, and so without any.
struct PutBack {
    Host &host;
    std::function<void(HWND dialog)> outer;
    std::vector<HWND> &running;
    const bool outermost;
    ~PutBack()
    {
        host.onDialogOpened.swap(outer);
        if (!outermost) return;
        HostObserve(nullptr, nullptr);
        actingHost = nullptr;
        running.clear();
    }
};

bool ActInDialog(Host &host, int32_t commandOffset, const std::function<void(HWND dialog)> &script)
{
    const PutBack putBack = {host, host.onDialogOpened, Running(), actingHost == nullptr};
    if (putBack.outermost) HostObserve(Observe, nullptr);
    actingHost = &host;

    DialogScript once{script};
    // A script that opens another dialog replaces this routine while it runs: it touches nothing after the script.
    host.onDialogOpened = [&once](HWND dialog) { RunScript(once, dialog); };
    RunCommand(host, commandOffset);
    return once.opened;
}

//---- Controls

static bool CanWork(HWND dialog, int32_t id)
{
    const HWND control = GetDlgItem(dialog, id);
    return control && KPZ_IsWindowEnabled(control);
}

static void Click(HWND dialog, int32_t id)
{
    if (CanWork(dialog, id)) KPZ_SendDlgItemMsg(dialog, id, BM_CLICK, 0, 0);
}

void Press(HWND dialog, int32_t id) { Click(dialog, id); }
void Choose(HWND dialog, int32_t id) { Click(dialog, id); }

void Tick(HWND dialog, int32_t id, bool on)
{
    if ((KPZ_IsButtonChecked(dialog, id) != 0) != on) Click(dialog, id);
}

void Type(HWND dialog, int32_t fieldId, const std::string &number)
{
    if (CanWork(dialog, fieldId)) HostTypeNumber(dialog, fieldId, number.c_str());
}

void SpinTo(HWND dialog, int32_t spinId, int32_t value)
{
    if (CanWork(dialog, spinId)) HostClickArrows(dialog, spinId, value - KPZ_GetSpinBoxIntValue(dialog, spinId));
}

void Slide(HWND dialog, int32_t trackbarId, int32_t position)
{
    if (CanWork(dialog, trackbarId)) HostSlideTrackbar(dialog, trackbarId, position);
}

void PickColour(HWND dialog, int32_t id, uint32_t colour)
{
    if (CanWork(dialog, id)) HostPickColour(dialog, id, colour);
}

void DoubleClick(HWND dialog, int32_t listId, int32_t entry)
{
    if (CanWork(dialog, listId)) HostDoubleClick(dialog, listId, entry);
}

void PressAndGive(HWND dialog, int32_t id, const std::string &text)
{
    MiscStandInForFiles(text.c_str(), nullptr, nullptr);
    Press(dialog, id);
    MiscStandInForFiles(nullptr, nullptr, nullptr);
}

// Called by another library, through which no exception may pass everywhere.
static void KPZAPI KeepText(void *context, const char *text, int32_t length)
{
    try {
        static_cast<std::string *>(context)->assign(text, size_t(length));
    } catch (const std::bad_alloc &) {
    }
}

std::string PressAndTake(HWND dialog, int32_t id)
{
    std::string text;
    MiscStandInForFiles(nullptr, KeepText, &text);
    Press(dialog, id);
    MiscStandInForFiles(nullptr, nullptr, nullptr);
    return text;
}

//---- Runs

bool RunUnderWay(const ImageRecord *image)
{
    const std::vector<HWND> &running = Running();
    return std::find(running.begin(), running.end(), image->window) != running.end();
}

static BOOL KPZAPI AskDone(void *context) { return (*static_cast<const std::function<bool()> *>(context))(); }

void WaitUntil(const std::function<bool()> &done)
{
    HostRunMessages(AskDone, const_cast<std::function<bool()> *>(&done));
}

void WaitForRun(ImageRecord *image)
{
    WaitUntil([image] { return !RunUnderWay(image); });
}

//---- Options

const ControlTemplate *FindOption(const DialogTemplate &table, const std::string &option)
{
    for (int32_t i = 0; i < table.controlCount; ++i) {
        if (table.controls[i].option && option == table.controls[i].option) return &table.controls[i];
    }
    return nullptr;
}

// The number fields of an option that has several: they stand in a row, and the first carries its name.
static std::vector<const ControlTemplate *> FieldsOf(const DialogTemplate &table, const ControlTemplate &first)
{
    std::vector<const ControlTemplate *> fields = {&first};
    const ControlTemplate *end = table.controls + table.controlCount;
    for (const ControlTemplate *row = &first + 1; row < end && row->kind == NUMBER_FIELD; ++row) {
        if (row->startsGroup) break;
        fields.push_back(row);
    }
    return fields;
}

// The radio buttons of an option: those of its rows in the table that `chosen` accepts.
template <typename Condition>
static const ControlTemplate *FindButton(const DialogTemplate &table, const std::string &option, Condition chosen)
{
    for (int32_t i = 0; i < table.controlCount; ++i) {
        const ControlTemplate &row = table.controls[i];
        if (row.kind == RADIO_BUTTON && row.option && option == row.option && chosen(row)) return &row;
    }
    return nullptr;
}

// A button of an option by its number, also one that the option has no word for: it stands in the same group.
static const ControlTemplate *FindButtonByNumber(const DialogTemplate &table, const std::string &option,
                                                 const std::string &number)
{
    bool inGroup = false;
    const ControlTemplate *found = nullptr;
    for (const ControlTemplate *row = table.controls; row < table.controls + table.controlCount; ++row) {
        if (row->kind != RADIO_BUTTON || row->startsGroup) {
            if (inGroup) return found;
            found = nullptr;
        }
        if (row->kind != RADIO_BUTTON) continue;
        if (number == std::to_string(row->id)) found = row;
        if (row->option && option == row->option) inGroup = true;
    }
    return inGroup ? found : nullptr;
}

static std::string WordsOf(const DialogTemplate &table, const std::string &option)
{
    std::string words;
    FindButton(table, option, [&words](const ControlTemplate &row) {
        words += (words.empty() ? "" : ", ") + std::string(row.word);
        return false;
    });
    return words;
}

static bool ReadNumber(const std::string &text, int32_t &number)
{
    char *end;
    const long long value = strtoll(text.c_str(), &end, 10);
    if (text.empty() || *end || isspace(static_cast<unsigned char>(text[0]))) return false;
    if (value < INT32_MIN || value > INT32_MAX) return false;
    number = int32_t(value);
    return true;
}

void OptionRange(HWND dialog, const ControlTemplate &row, int32_t &low, int32_t &high)
{
    low = LOWEST_PRIORITY;
    high = HIGHEST_PRIORITY;   // the one trackbar
    if (row.kind != TRACKBAR) HostSpinRange(dialog, row.id, &low, &high);
}

static bool TakeNumber(HWND dialog, const ControlTemplate &row, const std::string &value, int32_t &number,
                       std::string &error)
{
    int32_t low, high;
    OptionRange(dialog, row, low, high);
    const std::string range = std::to_string(low) + ".." + std::to_string(high);
    if (!ReadNumber(value, number)) {
        error = "'" + value + "' is not a whole number of " + range;
        return false;
    }
    if (number < low || number > high) {
        error = value + " is outside " + range;
        return false;
    }
    return true;
}

static bool SetNumber(HWND dialog, const ControlTemplate &row, const std::string &value, std::string &error)
{
    int32_t number;
    if (!TakeNumber(dialog, row, value, number, error)) return false;
    if (row.kind == TRACKBAR) Slide(dialog, row.id, number);
    else Type(dialog, (&row - 1)->id, std::to_string(number));
    return true;
}

static std::vector<std::string> SplitNumbers(const std::string &text)
{
    std::vector<std::string> numbers;
    constexpr char GAPS[] = " ,\t\n";
    for (size_t end, start = text.find_first_not_of(GAPS); start != std::string::npos;
         start = text.find_first_not_of(GAPS, end)) {
        end = std::min(text.find_first_of(GAPS, start), text.size());
        numbers.push_back(text.substr(start, end - start));
    }
    return numbers;
}

// All or none: a person would not want half of them.
static bool SetNumbers(HWND dialog, const DialogTemplate &table, const ControlTemplate &first, const std::string &value,
                       std::string &error)
{
    const std::vector<const ControlTemplate *> fields = FieldsOf(table, first);
    const std::vector<std::string> texts = SplitNumbers(value);
    if (texts.size() != fields.size()) {
        error = std::to_string(texts.size()) + " numbers where there are " + std::to_string(fields.size());
        return false;
    }
    std::vector<int32_t> numbers(texts.size());
    for (size_t i = 0; i < texts.size(); ++i)
        if (!TakeNumber(dialog, *fields[i], texts[i], numbers[i], error)) return false;
    for (size_t i = 0; i < texts.size(); ++i) Type(dialog, fields[i]->id, std::to_string(numbers[i]));
    return true;
}

static bool SetChoice(HWND dialog, const DialogTemplate &table, const std::string &option, const std::string &value,
                      std::string &error)
{
    const ControlTemplate *button =
        FindButton(table, option, [&value](const ControlTemplate &row) { return value == row.word; });
    if (!button) button = FindButtonByNumber(table, option, value);
    if (!button) {
        error = "'" + value + "' is not one of " + WordsOf(table, option);
        return false;
    }
    Choose(dialog, button->id);
    return true;
}

static bool SetSwitch(HWND dialog, const ControlTemplate &row, const std::string &value, std::string &error)
{
    if (value != "on" && value != "off") {
        error = "'" + value + "' is neither on nor off";
        return false;
    }
    Tick(dialog, row.id, value == "on");
    return true;
}

static bool SetColour(HWND dialog, const ControlTemplate &row, const std::string &value, std::string &error)
{
    const bool wellFormed = value.size() == 7 && value[0] == '#' &&
                            value.find_first_not_of("0123456789abcdefABCDEF", 1) == std::string::npos;
    if (!wellFormed) {
        error = "'" + value + "' is not a colour as #RRGGBB";
        return false;
    }
    const uint32_t rgb = uint32_t(strtoul(value.c_str() + 1, nullptr, 16));
    PickColour(dialog, row.id, rgb >> 16 | (rgb & 0xFF00) | (rgb & 0xFF) << 16);
    return true;
}

bool CanSetOption(HWND dialog, const ControlTemplate &row) { return CanWork(dialog, row.id); }

bool SetOption(HWND dialog, const DialogTemplate &table, const std::string &option, const std::string &value,
               std::string &error)
{
    const ControlTemplate *row = FindOption(table, option);
    if (row && !CanWork(dialog, row->id)) {
        error = "its control is greyed";
        return false;
    }
    switch (row ? row->kind : LABEL) {
    case SPIN_ARROWS:
    case TRACKBAR: return SetNumber(dialog, *row, value, error);
    case NUMBER_FIELD: return SetNumbers(dialog, table, *row, value, error);
    case RADIO_BUTTON: return SetChoice(dialog, table, option, value, error);
    case CHECK_BOX: return SetSwitch(dialog, *row, value, error);
    case COLOUR_CONTROL: return SetColour(dialog, *row, value, error);
    default: error = "no such parameter"; return false;
    }
}

static std::string ShownNumbers(HWND dialog, const DialogTemplate &table, const ControlTemplate &first)
{
    std::string numbers;
    for (const ControlTemplate *field : FieldsOf(table, first)) {
        numbers += (numbers.empty() ? "" : " ") + std::to_string(KPZ_GetSpinBoxIntValue(dialog, field->id));
    }
    return numbers;
}

static std::string ColourText(uint32_t colour)
{
    char text[8];
    snprintf(text, sizeof text, "#%02X%02X%02X", colour & 0xFF, colour >> 8 & 0xFF, colour >> 16 & 0xFF);
    return text;
}

std::string ShownOption(HWND dialog, const DialogTemplate &table, const std::string &option)
{
    const ControlTemplate *row = FindOption(table, option);
    switch (row ? row->kind : LABEL) {
    case SPIN_ARROWS: return std::to_string(KPZ_GetSpinBoxIntValue(dialog, row->id));
    case NUMBER_FIELD: return ShownNumbers(dialog, table, *row);
    case TRACKBAR: return std::to_string(KPZ_TrackbarGetPos(dialog, row->id));
    case CHECK_BOX: return KPZ_IsButtonChecked(dialog, row->id) ? "on" : "off";
    case COLOUR_CONTROL: return ColourText(HostShownColour(dialog, row->id));
    case RADIO_BUTTON: break;
    default: return "";
    }
    const ControlTemplate *checked = FindButton(
        table, option, [dialog](const ControlTemplate &button) { return KPZ_IsButtonChecked(dialog, button.id) != 0; });
    return checked ? checked->word : "";
}
