// Reads and writes the directories of TIFF files: numbers of every size at any place, in either order of bytes. Holds
// places and counts against the file, not against each other: whether the fields make a picture, and what their
// numbers mean, is for the callers to judge.

#include "host/documents/files/tiff_fields.h"

#include <algorithm>
#include <cstring>

static const size_t WINDOW_BYTES = 4096;
static const uint64_t MOST_FIELDS = 65535;

size_t BytesOfType(int type)
{
    static const uint8_t bytes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
    return type >= 0 && size_t(type) < sizeof bytes ? bytes[type] : 0;
}

static bool EndsTooSoon(TiffFile &file) { return Fail(file.reading.error, ENDS_BEFORE_ITS_PICTURE); }

//---- Numbers at a place

static uint64_t NumberIn(const TiffFile &file, const uint8_t *bytes, size_t count)
{
    uint64_t number = 0;
    for (size_t i = 0; i < count; ++i) number = number << 8 | bytes[file.lowFirst ? count - 1 - i : i];
    return number;
}

// The `count` bytes at a place, at most 16; null where the file has ended. Good until the next call.
static const uint8_t *BytesAt(TiffFile &file, uint64_t at, size_t count)
{
    if (at < file.windowAt || at + count > file.windowAt + file.window.size()) {
        file.window.resize(WINDOW_BYTES);
        file.window.resize(TakeAt(file.reading.source, at, file.window.data(), WINDOW_BYTES));
        file.windowAt = at;
        if (file.window.size() < count) return nullptr;
    }
    return file.window.data() + (at - file.windowAt);
}

static bool NumberAt(TiffFile &file, uint64_t at, size_t count, uint64_t &number)
{
    const uint8_t *bytes = BytesAt(file, at, count);
    if (bytes) number = NumberIn(file, bytes, count);
    return bytes;
}

//---- Directories

bool OpenTiff(TiffFile &file)
{
    if (!MakeSeekable(file.reading.source, file.reading.error)) return false;
    const uint8_t *start = BytesAt(file, 0, 8);
    if (!start) return EndsTooSoon(file);
    file.lowFirst = start[0] == 'I';
    file.wide = NumberIn(file, start + 2, 2) == 43;
    if (!file.wide) {
        file.first = NumberIn(file, start + 4, 4);
        return true;
    }
    if (NumberIn(file, start + 4, 2) != 8) return Fail(file.reading.error, "damaged or unknown TIFF data (its header)");
    return NumberAt(file, 8, 8, file.first) || EndsTooSoon(file);
}

static bool TakeField(TiffFile &file, uint64_t at, TiffField &field)
{
    const size_t width = file.wide ? 8 : 4;
    uint64_t tag, type;
    if (!NumberAt(file, at, 2, tag) || !NumberAt(file, at + 2, 2, type)) return false;
    field.tag = uint16_t(tag);
    field.type = uint16_t(type);
    field.at = at + 4 + width;
    if (!NumberAt(file, at + 4, width, field.count)) return false;
    const uint64_t each = BytesOfType(field.type), size = uint64_t(file.reading.source.size);
    if (each == 0) return true;
    if (field.count > size / each) return false;
    if (field.count * each > width && !NumberAt(file, at + 4 + width, width, field.at)) return false;
    return field.at <= size && field.count * each <= size - field.at;
}

bool TakeDirectory(TiffFile &file, uint64_t at, TiffDirectory &directory)
{
    const size_t countBytes = file.wide ? 8 : 2, width = file.wide ? 8 : 4, fieldBytes = 4 + 2 * width;
    uint64_t count = 0;
    if (at < 8 || at > uint64_t(file.reading.source.size) || !NumberAt(file, at, countBytes, count)) {
        return EndsTooSoon(file);
    }
    if (count > MOST_FIELDS || count > uint64_t(file.reading.source.size) / fieldBytes) return EndsTooSoon(file);
    directory.fields.clear();
    directory.at = at;
    for (uint64_t i = 0; i < count; ++i) {
        TiffField field;
        if (!TakeField(file, at + countBytes + i * fieldBytes, field)) return EndsTooSoon(file);
        if (BytesOfType(field.type) && field.count > 0) directory.fields.push_back(field);
    }
    return NumberAt(file, at + countBytes + count * fieldBytes, width, directory.next) || EndsTooSoon(file);
}

void TakeSoundFields(TiffFile &file, uint64_t at, TiffDirectory &directory)
{
    const size_t countBytes = file.wide ? 8 : 2, width = file.wide ? 8 : 4, fieldBytes = 4 + 2 * width;
    uint64_t count = 0;
    directory = {};
    const uint64_t size = uint64_t(file.reading.source.size);
    if (at < 8 || at > size || !NumberAt(file, at, countBytes, count)) return;
    count = std::min({count, MOST_FIELDS, size / fieldBytes});
    for (uint64_t i = 0; i < count; ++i) {
        TiffField field;
        const bool sound = TakeField(file, at + countBytes + i * fieldBytes, field);
        if (sound && BytesOfType(field.type) && field.count > 0) directory.fields.push_back(field);
    }
    if (!NumberAt(file, at + countBytes + count * fieldBytes, width, directory.next)) directory.next = 0;
}

const TiffField *FieldOf(const TiffDirectory &directory, int tag)
{
    for (const TiffField &field : directory.fields) {
        if (field.tag == tag) return &field;
    }
    return nullptr;
}

static bool HoldsNumbers(const TiffField &field)
{
    switch (field.type) {
    case TIFF_BYTES:
    case TIFF_SHORTS:
    case TIFF_LONGS:
    case TIFF_PLACES:
    case TIFF_WIDE:
    case TIFF_WIDE_PLACES: return true;
    default: return false;
    }
}

std::vector<uint64_t> TakeNumbers(TiffFile &file, const TiffField &field, uint64_t first, uint64_t count)
{
    std::vector<uint64_t> numbers;
    if (!HoldsNumbers(field) || first >= field.count) return numbers;
    const size_t each = BytesOfType(field.type);
    const uint64_t end = first + std::min(count, field.count - first);
    uint64_t number = 0;
    for (uint64_t i = first; i < end && NumberAt(file, field.at + i * each, each, number); ++i) {
        numbers.push_back(number);
    }
    return numbers;
}

uint64_t TakeNumber(TiffFile &file, const TiffDirectory &directory, int tag, uint64_t otherwise)
{
    const TiffField *field = FieldOf(directory, tag);
    const std::vector<uint64_t> numbers = field ? TakeNumbers(file, *field, 0, 1) : std::vector<uint64_t>();
    return numbers.empty() ? otherwise : numbers[0];
}

double TakeFraction(TiffFile &file, const TiffDirectory &directory, int tag)
{
    const TiffField *field = FieldOf(directory, tag);
    uint64_t above = 0, below = 0;
    if (!field || field->type != TIFF_FRACTIONS) return 0;
    if (!NumberAt(file, field->at, 4, above) || !NumberAt(file, field->at + 4, 4, below)) return 0;
    return below ? double(above) / double(below) : 0;
}

Bytes TakeBytes(TiffFile &file, const TiffField &field, size_t most)
{
    const uint64_t count = field.count * BytesOfType(field.type);
    if (count > most) return {};
    Bytes bytes(static_cast<size_t>(count));
    if (TakeAt(file.reading.source, field.at, bytes.data(), bytes.size()) != bytes.size()) return {};
    return bytes;
}

//---- Writing

static void AddNumber(Bytes &bytes, const TiffForm &form, uint64_t number, size_t count)
{
    for (size_t i = 0; i < count; ++i) bytes.push_back(uint8_t(number >> 8 * (form.lowFirst ? i : count - 1 - i)));
}

Bytes TiffHeader(const TiffForm &form, uint64_t first)
{
    Bytes bytes(2, form.lowFirst ? 'I' : 'M');
    AddNumber(bytes, form, form.wide ? 43 : 42, 2);
    if (form.wide) AddNumber(bytes, form, 8, 2);
    if (form.wide) AddNumber(bytes, form, 0, 2);
    AddNumber(bytes, form, first, form.wide ? 8 : 4);
    return bytes;
}

static Bytes ValuesOf(const TiffEntry &entry, const TiffForm &form)
{
    Bytes bytes = entry.bytes;
    const size_t each = entry.type == TIFF_FRACTIONS ? 4 : BytesOfType(entry.type);
    for (uint64_t number : entry.numbers) AddNumber(bytes, form, number, each);
    return bytes;
}

void AddDirectory(Bytes &bytes, const TiffForm &form, uint64_t fileAt, std::vector<TiffEntry> entries)
{
    std::stable_sort(entries.begin(), entries.end(),
                     [](const TiffEntry &a, const TiffEntry &b) { return a.tag < b.tag; });
    const size_t width = form.wide ? 8 : 4, countBytes = form.wide ? 8 : 2;
    const uint64_t valuesAt = fileAt + bytes.size() + countBytes + (4 + 2 * width) * entries.size() + width;
    Bytes values;
    AddNumber(bytes, form, entries.size(), countBytes);
    for (const TiffEntry &entry : entries) {
        Bytes own = ValuesOf(entry, form);
        AddNumber(bytes, form, uint64_t(entry.tag), 2);
        AddNumber(bytes, form, uint64_t(entry.type), 2);
        const size_t each = std::max<size_t>(BytesOfType(entry.type), 1);   // our own entries all have a type
        AddNumber(bytes, form, own.size() / each, width);
        if (own.size() <= width) {
            own.resize(width);
            AddBytes(bytes, own.data(), width);
        } else {
            AddNumber(bytes, form, valuesAt + values.size(), width);
            own.resize(own.size() + own.size() % 2);
            AddBytes(values, own.data(), own.size());
        }
    }
    AddNumber(bytes, form, 0, width);
    AddBytes(bytes, values.data(), values.size());
}
