// Takes kernels out of texts and puts them into texts. Every reader fills a rectangle of fractions, which only then becomes
// whole numbers in the middle of seven by seven: so what cannot be said there is told once, in the same words.
//
// Weights stand as they are seen: the one at the left weighs the pixel at the left. ImageMagick's -convolve and its
// -morphology Correlate take them so, its -morphology Convolve turns them half round; GIMP's matrix has its rows from a to
// e. GIMP weighs light, not the file's values, so its pictures come out a little otherwise.

#include "host/library/kernel_formats.h"

#include "host/acting/suggestion.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <utility>

static constexpr int MOST_SCALE = 10'000;
static constexpr double LARGEST_WEIGHT = 1e9;
static constexpr char GIMP_MARK[] = "GimpGegl-gegl-convolution-matrix-config", GEGL_MARK[] = "gegl:convolution-matrix";

// As a text has it, before it is brought to whole numbers.
struct TextKernel {
    std::vector<double> weights = {};   // row by row
    size_t width = 0, height = 0;
    size_t centreX = 0, centreY = 0;
    double divisor = 1, bias = 0;
    std::string mode = "replace";
};

static vlm_code Bad(const std::string &line) { return Fail(VLM_BAD_TEXT, line); }

//---- Words of a text

static std::vector<std::string> SplitAt(const std::string &text, const char *gaps)
{
    std::vector<std::string> words;
    for (size_t start = text.find_first_not_of(gaps); start != std::string::npos;) {
        const size_t end = std::min(text.find_first_of(gaps, start), text.size());
        words.push_back(text.substr(start, end - start));
        start = text.find_first_not_of(gaps, end);
    }
    return words;
}

static bool ReadFraction(const std::string &word, double &number)
{
    char *end;
    if (word.empty() || strspn(word.c_str(), "+-.0123456789eE") != word.size()) return false;
    number = strtod(word.c_str(), &end);
    return !*end && std::isfinite(number) && std::fabs(number) <= LARGEST_WEIGHT;
}

static std::string WithoutComments(const std::string &text)
{
    std::string plain;
    for (const std::string &line : SplitAt(text, "\r\n")) plain += line.substr(0, line.find('#')) + "\n";
    return plain;
}

//---- Whole numbers

static bool IsWhole(double number)
{
    return std::fabs(number - std::round(number)) <= 1e-6 * std::max(1.0, std::fabs(number));
}

static bool AllWhole(const TextKernel &from, int scale)
{
    return IsWhole(from.divisor * scale) && std::all_of(from.weights.begin(), from.weights.end(),
                                                        [scale](double weight) { return IsWhole(weight * scale); });
}

// By which all weights and the divisor become whole: the least that does it. 0 where none does.
static int ScaleOf(const TextKernel &from)
{
    for (int scale = 1; scale <= MOST_SCALE; ++scale)
        if (AllWhole(from, scale)) return scale;
    return 0;
}

static vlm_code BringToWhole(TextKernel &from, std::vector<std::string> &notices)
{
    if (const int scale = ScaleOf(from)) {
        for (double &weight : from.weights) weight = std::round(weight * scale);
        from.divisor = std::round(from.divisor * scale);
        return VLM_OK;
    }
    // As near as a largest weight of ten thousand comes; the divisor keeps what the sum stands for.
    const double largest =
        std::accumulate(from.weights.begin(), from.weights.end(), 0.0,
                        [](double most, double weight) { return std::max(most, std::fabs(weight)); });
    if (largest == 0) return Bad("a kernel's divisor is a number whose parts are at most ten thousandths");
    const double scale = MOST_SCALE / largest, divisor = std::round(from.divisor * scale);
    if (divisor == 0) return Bad("weights and divisor are too far apart for whole numbers");
    double worst = std::fabs(divisor - from.divisor * scale) / std::fabs(divisor);
    for (double &weight : from.weights) {
        worst = std::max(worst, std::fabs(std::round(weight * scale) - weight * scale) / MOST_SCALE);
        weight = std::round(weight * scale);
    }
    from.divisor = divisor;
    char line[120];
    snprintf(line, sizeof line,
             "weights are brought to whole numbers, which changes them by at most %.2g of the largest", worst);
    notices.push_back(line);
    return VLM_OK;
}

static vlm_code Finish(TextKernel from, const std::string &name, std::vector<NamedKernel> &kernels,
                       std::vector<std::string> &notices)
{
    if (from.divisor == 0) return Bad("a kernel's divisor is not 0");
    if (const vlm_code code = BringToWhole(from, notices)) return code;
    NamedKernel named = {name, {0, name, {}, 1, 0, from.mode}};
    constexpr int MIDDLE = KERNEL_SIDE / 2;
    for (size_t i = 0; i < from.weights.size(); ++i) {
        const int x = MIDDLE + int(i % from.width) - int(from.centreX),
                  y = MIDDLE + int(i / from.width) - int(from.centreY);
        if (from.weights[i] == 0) continue;
        if (x < 0 || y < 0 || x >= KERNEL_SIDE || y >= KERNEL_SIDE)
            return Bad("reaches further than three pixels from its middle, which seven by seven cannot say");
        if (std::fabs(from.weights[i]) > INT32_MAX) return Bad("has weights beyond 32 bits");
        named.kernel.elements[y * KERNEL_SIDE + x] = int32_t(from.weights[i]);
    }
    if (from.divisor > INT32_MAX || std::fabs(from.bias) > INT32_MAX)
        return Bad("has a divisor or bias beyond 32 bits");
    named.kernel.divisor = int32_t(from.divisor);
    named.kernel.bias = int32_t(std::lround(from.bias));
    if (!IsWhole(from.bias)) notices.push_back("the bias is brought to a whole number");
    kernels.push_back(std::move(named));
    return VLM_OK;
}

//---- ImageMagick

// "3x3+1+1" or "3". A mark for turning it round and round, as in "3x3>:", asks for several kernels.
static bool ReadGeometry(const std::string &text, TextKernel &kernel)
{
    char *end;
    kernel.width = kernel.height = strtoul(text.c_str(), &end, 10);
    if (*end == 'x') kernel.height = strtoul(end + 1, &end, 10);
    if (kernel.width < 1 || kernel.height < 1 || kernel.width > 99 || kernel.height > 99) return false;
    kernel.centreX = (kernel.width - 1) / 2;
    kernel.centreY = (kernel.height - 1) / 2;
    if (*end == '+') {
        kernel.centreX = strtoul(end + 1, &end, 10);
        if (*end != '+') return false;
        kernel.centreY = strtoul(end + 1, &end, 10);
    }
    return !*end && kernel.centreX < kernel.width && kernel.centreY < kernel.height;
}

// What has no weight takes no part: nan, or a dash.
static bool ReadWeights(const std::string &text, TextKernel &kernel)
{
    for (const std::string &word : SplitAt(text, ", \t\r\n")) {
        double weight = 0;
        if (word != "-" && LowerCase(word) != "nan" && !ReadFraction(word, weight)) return false;
        kernel.weights.push_back(weight);
    }
    return true;
}

static vlm_code ReadImageMagick(std::string text, std::vector<NamedKernel> &kernels, std::vector<std::string> &notices)
{
    while (!text.empty() && strchr(" \t\r\n;", text.back())) text.pop_back();
    if (text.find(';') != std::string::npos)
        return Bad("holds several kernels after each other; one is taken at a time");
    const size_t colon = text.find(':');
    const std::vector<std::string> head = SplitAt(text.substr(0, colon), " \t\r\n");
    TextKernel kernel;
    if (head.size() != 1 || !isdigit(static_cast<unsigned char>(head[0][0])) || !ReadGeometry(head[0], kernel)) {
        return Bad("'" + text.substr(0, colon) +
                   "' is no size as 3x3; a kernel by name becomes numbers with -define morphology:showKernel=1");
    }
    if (!ReadWeights(text.substr(colon + 1), kernel)) return Bad("has a weight that is no number");
    if (kernel.weights.size() != kernel.width * kernel.height) {
        return Bad("has " + std::to_string(kernel.weights.size()) + " weights where its size asks for " +
                   std::to_string(kernel.width * kernel.height));
    }
    return Finish(kernel, "", kernels, notices);
}

// What -define morphology:showKernel=1 prints: a line with name and size, a line about the sums, the rows with numbers.
static vlm_code ReadShownKernels(const std::string &text, std::vector<NamedKernel> &kernels,
                                 std::vector<std::string> &notices)
{
    TextKernel kernel;
    std::string name;
    const auto finish = [&] {
        if (name.empty()) return VLM_OK;
        if (kernel.weights.size() != kernel.width * kernel.height) return Bad("'" + name + "' lacks weights");
        return Finish(std::exchange(kernel, {}), name, kernels, notices);
    };
    for (const std::string &line : SplitAt(text, "\r\n")) {
        const size_t mark = line.find("Kernel "), quote = line.find('"'), last = line.rfind('"'),
                     size = line.find("of size ");
        if (mark == 0 && last > quote && size != std::string::npos) {
            if (const vlm_code code = finish()) return code;
            name = line.substr(quote + 1, last - quote - 1);
            const std::string geometry = line.substr(size + 8, line.find(' ', size + 8) - size - 8);
            if (!ReadGeometry(geometry, kernel)) return Bad("'" + geometry + "' is no size");
            continue;
        }
        const size_t colon = line.find(':');
        const bool row =
            colon != std::string::npos && line.substr(0, colon).find_first_not_of(" 0123456789") == std::string::npos;
        if (!name.empty() && row && !ReadWeights(line.substr(colon + 1), kernel))
            return Bad("has a weight that is no number");
    }
    return finish();
}

//---- GIMP

// Its words are a1..a5 to e1..e5, divisor, offset (1 is white) and normalize, each with its value behind it.
static vlm_code ReadMatrix(const std::string &text, const std::string &name, std::vector<NamedKernel> &kernels,
                           std::vector<std::string> &notices)
{
    TextKernel kernel = {std::vector<double>(25), 5, 5, 2, 2};
    kernel.weights[12] = 1;
    bool normalizes = true;
    const std::vector<std::string> words = SplitAt(text, " \t\r\n()=\"'<>/");
    for (size_t i = 0; i + 1 < words.size(); ++i) {
        const std::string &word = words[i];
        double number = 0;
        const bool known = ReadFraction(words[i + 1], number);
        if (word == "normalize") normalizes = words[i + 1] == "yes" || words[i + 1] == "true";
        else if (!known) continue;
        else if (word == "divisor") kernel.divisor = number;
        else if (word == "offset") kernel.bias = 255 * number;
        else if (word.size() == 2 && word[0] >= 'a' && word[0] <= 'e' && word[1] >= '1' && word[1] <= '5')
            kernel.weights[size_t(5 * (word[0] - 'a') + word[1] - '1')] = number;
    }
    if (normalizes) {
        const double sum = std::accumulate(kernel.weights.begin(), kernel.weights.end(), 0.0);
        kernel.divisor = sum ? std::fabs(sum) : 1;
        kernel.bias = sum > 0 ? 0 : sum < 0 ? 255 : 128;
    }
    return Finish(kernel, name, kernels, notices);
}

// A file of its presets has several, each in brackets behind its mark with its name in quotes.
static vlm_code ReadGimp(const std::string &text, std::vector<NamedKernel> &kernels, std::vector<std::string> &notices)
{
    size_t start = text.find(GIMP_MARK);
    if (start == std::string::npos) return ReadMatrix(text, "", kernels, notices);
    while (start != std::string::npos) {
        const size_t from = start + strlen(GIMP_MARK), next = text.find(GIMP_MARK, from);
        const std::string part = text.substr(from, next == std::string::npos ? next : next - from);
        const size_t quote = part.find_first_not_of(" \t\r\n"),
                     end = part.find('"', quote == std::string::npos ? quote : quote + 1);
        const bool named = quote != std::string::npos && part[quote] == '"' && end != std::string::npos;
        const std::string name = named ? part.substr(quote + 1, end - quote - 1) : "";
        if (const vlm_code code = ReadMatrix(named ? part.substr(end + 1) : part, name, kernels, notices)) return code;
        start = next;
    }
    return VLM_OK;
}

//---- This program's own

// A line of the module's, then 49 numbers, divisor, bias and a letter.
static bool ReadFilterFile(const std::string &text, std::vector<NamedKernel> &kernels)
{
    const size_t end = text.find("\n\r");
    if (end == std::string::npos) return false;
    const std::vector<std::string> words = SplitAt(text.substr(end), " \t\r\n");
    constexpr size_t COUNT = KERNEL_SIDE * KERNEL_SIDE;
    if (words.size() != COUNT + 3 || words.back().size() != 1 || !strchr("RAS", words.back()[0])) return false;
    NamedKernel named = {"", {}};
    for (size_t i = 0; i < COUNT + 2; ++i) {
        double number = 0;
        if (!ReadFraction(words[i], number) || number != std::round(number)) return false;
        (i < COUNT    ? named.kernel.elements[i]
         : i == COUNT ? named.kernel.divisor
                      : named.kernel.bias) = int32_t(number);
    }
    const char mode = words.back()[0];
    named.kernel.mode = mode == 'R' ? "replace" : mode == 'A' ? "add" : "subtract";
    kernels.push_back(named);
    return named.kernel.divisor != 0;
}

// Rows of numbers, a line each or ended by semicolons; or all in one line.
static vlm_code ReadGrid(const std::string &text, std::vector<NamedKernel> &kernels, std::vector<std::string> &notices)
{
    TextKernel kernel;
    for (const std::string &line : SplitAt(text, ";\r\n")) {
        const size_t before = kernel.weights.size();
        if (!ReadWeights(line, kernel)) return Bad("'" + line + "' is no row of numbers");
        const size_t count = kernel.weights.size() - before;
        if (count == 0) continue;
        if (kernel.height && count != kernel.width) return Bad("its rows are not alike long");
        kernel.width = count;
        ++kernel.height;
    }
    if (kernel.weights.empty()) return Bad("there are no numbers in it");
    const auto side = size_t(std::lround(std::sqrt(double(kernel.width))));
    if (kernel.height == 1 && side * side == kernel.width) kernel.width = kernel.height = side;
    kernel.centreX = (kernel.width - 1) / 2;
    kernel.centreY = (kernel.height - 1) / 2;
    return Finish(kernel, "", kernels, notices);
}

static vlm_code ReadOwn(const std::string &text, std::vector<NamedKernel> &kernels)
{
    KernelWords words;
    std::string error;
    if (!ReadKernelWords(text, words, error)) return Bad(error);
    kernels.push_back({"", words.kernel});
    return VLM_OK;
}

vlm_code ReadKernels(const std::string &text, std::vector<NamedKernel> &kernels, std::vector<std::string> &notices)
{
    kernels.clear();
    if (text.find('\0') != std::string::npos) return Bad("is no text");
    if (text.find(GIMP_MARK) != std::string::npos || text.find(GEGL_MARK) != std::string::npos)
        return ReadGimp(text, kernels, notices);
    if (text.find("Kernel \"") != std::string::npos) return ReadShownKernels(text, kernels, notices);
    if (ReadFilterFile(text, kernels)) return VLM_OK;
    kernels.clear();
    const std::string plain = WithoutComments(text);
    if (plain.find(':') != std::string::npos) return ReadImageMagick(plain, kernels, notices);
    const bool words = plain.find("divisor") != std::string::npos || plain.find("bias") != std::string::npos ||
                       plain.find("replace") != std::string::npos || plain.find("add") != std::string::npos ||
                       plain.find("subtract") != std::string::npos;
    return words ? ReadOwn(plain, kernels) : ReadGrid(plain, kernels, notices);
}

//---- Writing

bool KernelFormatNamed(const std::string &name, KernelFormat &format)
{
    static const std::pair<const char *, KernelFormat> formats[] = {{"velmorant", KernelFormat::OWN},
                                                                    {"grid", KernelFormat::GRID},
                                                                    {"imagemagick", KernelFormat::IMAGEMAGICK},
                                                                    {"gimp", KernelFormat::GIMP}};
    for (const auto &[own, value] : formats)
        if (LowerCase(name) == own) return format = value, true;
    return false;
}

// The weight divided, in as few digits as tell it.
static std::string Divided(int32_t weight, int32_t divisor)
{
    char text[40];
    snprintf(text, sizeof text, "%.9g", double(weight) / divisor);
    return text;
}

static std::string RowsOf(const Kernel &kernel, int side, const char *between, const char *after, bool divided)
{
    std::string rows;
    const int from = (KERNEL_SIDE - side) / 2;
    for (int y = from; y < from + side; ++y) {
        for (int x = from; x < from + side; ++x) {
            const int32_t weight = kernel.elements[y * KERNEL_SIDE + x];
            rows += (x > from ? between : "") + (divided ? Divided(weight, kernel.divisor) : std::to_string(weight));
        }
        if (y < from + side - 1) rows += after;
    }
    return rows;
}

static std::string Matrix(const Kernel &kernel, const std::string &name)
{
    std::string text = "# settings\n\n(" + std::string(GIMP_MARK) + " \"" + name + "\"\n";
    for (int i = 0; i < 25; ++i) {
        const int32_t weight = kernel.elements[(1 + i / 5) * KERNEL_SIDE + 1 + i % 5];
        text += "    (" + std::string(1, char('a' + i / 5)) + std::to_string(1 + i % 5) + " " + std::to_string(weight) +
                ")\n";
    }
    return text + "    (divisor " + std::to_string(kernel.divisor) + ")\n    (offset " + Divided(kernel.bias, 255) +
           ")\n    (normalize no))\n\n# end of settings\n";
}

vlm_code WriteKernel(const Kernel &kernel, const std::string &name, KernelFormat format, std::string &text,
                     std::vector<std::string> &notices)
{
    const int side = SizeOf(kernel);
    const std::string divisor = std::to_string(kernel.divisor), bias = std::to_string(kernel.bias);
    const bool own = format == KernelFormat::OWN, gimp = format == KernelFormat::GIMP;
    if (!own && kernel.mode != "replace") notices.push_back("that it is to " + kernel.mode + " is not in it");
    if (!own && !gimp && kernel.bias) notices.push_back("its bias of " + bias + " is not in it");
    if (format == KernelFormat::GRID && kernel.divisor != 1)
        notices.push_back("its divisor of " + divisor + " is not in it");
    if (gimp && side > 5) return Fail(VLM_BAD_VALUE, name, "is 7 by 7, and GIMP's matrix 5 by 5");
    switch (format) {
    case KernelFormat::OWN:
        text = RowsOf(kernel, side, " ", ";\n", false) + ";\ndivisor " + divisor + " bias " + bias + " " + kernel.mode +
               "\n";
        break;
    case KernelFormat::GRID: text = RowsOf(kernel, side, " ", "\n", false) + "\n"; break;
    case KernelFormat::IMAGEMAGICK: {
        const std::string edge = std::to_string(side);
        text = edge + "x" + edge + ": " + RowsOf(kernel, side, ",", "  ", true) + "\n";
        break;
    }
    case KernelFormat::GIMP: text = Matrix(kernel, name); break;
    }
    return VLM_OK;
}
