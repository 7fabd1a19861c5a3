// The kernels of the Filters dialog as a person meets them: the ready-made ones by name, out of the module's strings,
// and filter files, loaded and saved through the dialog's buttons. What a kernel computes is not known here.

#include "host/acting/kernels.h"

#include "host/acting/suggestion.h"
#include "host/documents/files/streams.h"
#include "host/paths/paths.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <sstream>

//---- Ready-made kernels

// The module's strings: a kernel's text and its name.
static constexpr int32_t FIRST_TEXT = 16, FIRST_NAME = 100;

static std::string ModuleText(int32_t id)
{
    char text[256] = "";
    KPZ_LoadString(nullptr, "VLMEFF", id, text, sizeof text);
    return text;
}

static Kernel ParseKernel(const std::string &numbers, int32_t id, const std::string &name)
{
    Kernel kernel = {id, name, {}, 1, 0, ""};
    std::istringstream text(numbers);
    for (int32_t &element : kernel.elements) text >> element;
    char mode = 0;
    text >> kernel.divisor >> kernel.bias >> mode;
    kernel.mode = mode == 'R' ? "replace" : mode == 'A' ? "add" : "subtract";
    return kernel;
}

std::vector<Kernel> ReadyMadeKernels()
{
    std::vector<Kernel> kernels;
    for (;;) {
        const int32_t index = int32_t(kernels.size());
        const std::string name = ModuleText(FIRST_NAME + index);
        if (name.empty()) return kernels;
        kernels.push_back(ParseKernel(ModuleText(FIRST_TEXT + index), FIRST_TEXT + index, name));
    }
}

int32_t FindKernel(const std::vector<Kernel> &kernels, const std::string &name, std::string &error)
{
    std::vector<std::string> names;
    for (size_t i = 0; i < kernels.size(); ++i) {
        if (LowerCase(kernels[i].name) == LowerCase(name)) return int32_t(i);
        names.push_back(kernels[i].name);
    }
    const std::string suggestion = Suggestion(name, names);
    error = "no such kernel" + (suggestion.empty() ? " (velmorant kernels lists them)" : suggestion);
    return -1;
}

int32_t SizeOf(const Kernel &kernel)
{
    constexpr int32_t CENTRE = KERNEL_SIDE / 2;
    int32_t reach = 0;
    for (int32_t i = 0; i < KERNEL_SIDE * KERNEL_SIDE; ++i) {
        if (kernel.elements[i] == 0) continue;
        reach = std::max({reach, abs(i % KERNEL_SIDE - CENTRE), abs(i / KERNEL_SIDE - CENTRE)});
    }
    return 2 * reach + 1;
}

bool LooksLikeNumbers(const std::string &value)
{
    const size_t first = value.find_first_not_of(" ,\t\n");
    return first == std::string::npos || std::string("+-0123456789").find(value[first]) != std::string::npos;
}

//---- In words

static bool TakeWord(std::string &text, std::string &word)
{
    constexpr char GAPS[] = " ,\t\n\r";
    const size_t start = text.find_first_not_of(GAPS);
    if (start == std::string::npos) return false;
    size_t end = std::min(text.find_first_of(std::string(GAPS) + ";", start), text.size());
    if (text[start] == ';') end = start + 1;
    word = text.substr(start, end - start);
    text.erase(0, end);
    return true;
}

static bool IsNumber(const std::string &word, int32_t &number)
{
    char *end;
    const long long value = strtoll(word.c_str(), &end, 10);
    number = int32_t(std::clamp<long long>(value, INT32_MIN, INT32_MAX));
    return !word.empty() && !*end && value == number;
}

// What stands behind the elements; `word` is the first of it.
static bool ReadTail(std::string &text, std::string word, Kernel &kernel, std::string &error)
{
    do {
        if (word == ";") continue;
        if (word == "replace" || word == "add" || word == "subtract") {
            kernel.mode = word;
            continue;
        }
        std::string number;
        const bool known = word == "divisor" || word == "bias";
        if (!known || !TakeWord(text, number) || !IsNumber(number, word == "bias" ? kernel.bias : kernel.divisor)) {
            error = "'" + word + (number.empty() ? "" : " " + number) +
                    "' is none of divisor N, bias N, replace, add and subtract, which may follow a kernel's numbers";
            return false;
        }
        if (word == "divisor" && kernel.divisor == 0) {
            error = "a kernel's divisor is not 0";
            return false;
        }
    } while (TakeWord(text, word));
    return true;
}

// Into the middle of the fields.
static void PlaceElements(const std::vector<int32_t> &elements, int32_t side, Kernel &kernel)
{
    const int32_t from = (KERNEL_SIDE - side) / 2;
    for (int32_t i = 0; i < side * side; ++i)
        kernel.elements[(from + i / side) * KERNEL_SIDE + from + i % side] = elements[size_t(i)];
}

static bool FitRows(const std::vector<int32_t> &elements, std::vector<size_t> rows, Kernel &kernel, std::string &error)
{
    constexpr size_t ALL = size_t(KERNEL_SIDE) * KERNEL_SIDE;
    for (const int32_t side : {3, 5})   // which can be meant as nothing else
        if (rows.empty() && elements.size() == size_t(side) * size_t(side))
            return PlaceElements(elements, side, kernel), true;
    if (rows.empty() && elements.size() != ALL) {
        error = std::to_string(elements.size()) + " numbers where there are " + std::to_string(ALL) +
                " (a smaller kernel's rows end in ';', as in 1 2 1; 2 4 2; 1 2 1)";
        return false;
    }
    if (rows.empty()) return PlaceElements(elements, KERNEL_SIDE, kernel), true;
    if (elements.size() > rows.back()) rows.push_back(elements.size());
    const size_t side = rows.size();
    bool square = side % 2 == 1 && side <= size_t(KERNEL_SIDE);
    for (size_t i = 0; i < rows.size(); ++i) square = square && rows[i] == (i + 1) * side;
    if (square) return PlaceElements(elements, int32_t(side), kernel), true;
    error = "a kernel in rows is a square of 1, 3, 5 or 7 a side, as 1 2 1; 2 4 2; 1 2 1";
    return false;
}

bool ReadKernelWords(const std::string &value, KernelWords &words, std::string &error)
{
    words.kernel = {0, "", {}, 1, 0, "replace"};
    words.whole = false;
    std::string text = value, word;
    std::vector<int32_t> elements;
    std::vector<size_t> rows;   // how many numbers stand before the end of each
    while (TakeWord(text, word)) {
        int32_t number;
        if (IsNumber(word, number)) elements.push_back(number);
        else if (word == ";") rows.push_back(elements.size());
        else if (isalpha(static_cast<unsigned char>(word[0]))) {
            words.whole = true;
            if (!ReadTail(text, word, words.kernel, error)) return false;
        } else {
            error = "'" + word + "' is not a whole number";
            return false;
        }
    }
    return FitRows(elements, rows, words.kernel, error);
}

std::string WordsOf(const Kernel &kernel, bool whole)
{
    std::string words;
    for (const int32_t element : kernel.elements) words += (words.empty() ? "" : " ") + std::to_string(element);
    if (!whole) return words;
    return words + " divisor " + std::to_string(kernel.divisor) + " bias " + std::to_string(kernel.bias) + " " +
           kernel.mode;
}

int64_t SumOf(const Kernel &kernel)
{
    int64_t sum = 0;
    for (const int32_t element : kernel.elements) sum += element;
    return sum ? sum : 1;
}

//---- In the dialog

// A filter file is a line and the numbers; which line is the module's to say.
static constexpr char LINE_END[] = "\n\r";

Kernel KernelIn(HWND dialog)
{
    const std::string file = PressAndTake(dialog, SAVE_KERNEL_BUTTON);
    const size_t end = file.find(LINE_END);
    return end == std::string::npos ? Kernel{} : ParseKernel(file.substr(end + sizeof LINE_END - 1), 0, "");
}

void GiveKernel(HWND dialog, const Kernel &kernel)
{
    std::string file = PressAndTake(dialog, SAVE_KERNEL_BUTTON);
    file.erase(std::min(file.find(LINE_END), file.size()));
    file += LINE_END;
    for (const int32_t element : kernel.elements) file += " " + std::to_string(element);
    const char mode = kernel.mode == "replace" ? 'R' : kernel.mode == "add" ? 'A' : 'S';
    file += " " + std::to_string(kernel.divisor) + " " + std::to_string(kernel.bias) + " " + mode;
    PressAndGive(dialog, LOAD_KERNEL_BUTTON, file);
}

bool ChooseKernel(HWND dialog, const std::string &name, std::string &error)
{
    const int32_t entry = FindKernel(ReadyMadeKernels(), name, error);
    if (entry < 0) {
        error = "'" + name + "': " + error;
        return false;
    }
    DoubleClick(dialog, KERNEL_LIST, entry);
    return true;
}

bool SetOptionOrKernel(HWND dialog, const DialogTemplate &table, const std::string &option, const std::string &value,
                       std::string &error)
{
    const ControlTemplate *row = FindOption(table, option);
    if (!row || row->id != FIRST_KERNEL_FIELD) return SetOption(dialog, table, option, value, error);
    if (!LooksLikeNumbers(value)) return ChooseKernel(dialog, value, error);
    KernelWords words;
    const bool bare = value.find_first_of(";dbras") == std::string::npos;   // its numbers are counted by the dialog
    if (!ReadKernelWords(value, words, error))
        return bare ? error.clear(), SetOption(dialog, table, option, value, error) : false;
    if (!words.whole) return SetOption(dialog, table, option, WordsOf(words.kernel, false), error);
    GiveKernel(dialog, words.kernel);
    return true;
}

//---- Files

// Empty when a filter file may be read or written there. Only ordinary files: another kind may be readable but once, or
// would be replaced by the file that is saved.
static std::string FaultOfKernelFile(const std::string &file, bool save)
{
    std::error_code ignored;
    const std::filesystem::path path = PathOf(file), folder = path.parent_path();
    if (file.empty()) return "a file's name is missing";
    if (std::filesystem::is_directory(path, ignored)) return "is a folder";
    const bool exists = std::filesystem::exists(path, ignored);
    if (exists && !std::filesystem::is_regular_file(path, ignored)) return "is not an ordinary file";
    if (!save) return exists ? "" : "does not exist";
    if (!folder.empty() && !std::filesystem::is_directory(folder, ignored)) return "its folder does not exist";
    FILE *existing = exists ? OpenByName(file, "rb+") : nullptr;
    if (exists && !existing) return "cannot be written: " + SystemText(errno);
    if (existing) fclose(existing);
    return "";
}

// Read here and handed over as a text: the module takes a file that cannot be read for one that nobody chose.
bool LoadKernel(HWND dialog, const std::string &file, std::string &error)
{
    error = FaultOfKernelFile(file, false);
    if (!error.empty()) return false;
    FILE *stream = OpenByName(file, "rb");
    std::string text;
    char part[8192];
    for (size_t count = 1; stream && count > 0;) text.append(part, count = fread(part, 1, sizeof part, stream));
    if (!stream || ferror(stream)) error = "cannot be read: " + SystemText(errno);
    if (stream) fclose(stream);
    if (error.empty()) PressAndGive(dialog, LOAD_KERNEL_BUTTON, text);
    return error.empty();
}

// A trial writes all of it too, and takes it away again.
static bool WriteText(const std::string &file, const std::string &text, bool keep, std::string &error)
{
    Sink sink;
    std::vector<std::string> notices;
    if (!OpenSink(sink, file, false, error)) return false;
    const bool put = Put(sink, text.data(), text.size());
    if (keep) return FinishSink(sink, notices, error);
    if (put && fflush(sink.file) == 0) return true;
    error = "cannot be written: " + SystemText(errno);
    return false;
}

bool SaveKernel(HWND dialog, const std::string &file, bool keep, std::string &error)
{
    error = FaultOfKernelFile(file, true);
    if (!error.empty()) return false;
    const std::string text = PressAndTake(dialog, SAVE_KERNEL_BUTTON);
    if (!text.empty()) return WriteText(file, text, keep, error);
    error = "cannot be written";
    return false;
}

//---- Fields

bool HasKernel(const DialogTemplate &effect)
{
    const ControlTemplate *field = FindControl(&effect, FIRST_KERNEL_FIELD);
    return field && field->option;
}

bool FitsFields(HWND dialog, const DialogTemplate &effect, const Kernel &kernel)
{
    const auto within = [&](const ControlTemplate *row, int32_t number) {
        int32_t low, high;
        OptionRange(dialog, *row, low, high);
        return number >= low && number <= high;
    };
    const ControlTemplate *field = FindControl(&effect, FIRST_KERNEL_FIELD);
    const ControlTemplate *divisor = FindControl(&effect, KERNEL_DIVISOR), *bias = FindControl(&effect, KERNEL_BIAS);
    return divisor && bias && within(divisor, kernel.divisor) && within(bias, kernel.bias) &&
           std::all_of(std::begin(kernel.elements), std::end(kernel.elements),
                       [&](int32_t element) { return within(field, element); });
}
