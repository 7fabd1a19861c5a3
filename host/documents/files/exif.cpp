// Takes EXIF data apart and puts them together, see exif.h. Knows which fields tell how a file is stored and which
// point elsewhere, and what a preview looks like; what the others mean is not asked.

#include "host/documents/files/exif.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

static const int LAST_TYPE = 12;
static const uint64_t MOST_TIFF_BYTES = 16 * 1024 * 1024;   // of a TIFF file's fields that are kept
static const size_t FIELD_BYTES = 12;
static const uint64_t JPEG_BLOCK = 65000;   // beyond it a note would make the block too long for a JPEG file

//---- Which fields

// How strips are stored, and what stands at a place of its own: none of it holds in another file.
static bool TellsStorage(int tag)
{
    static const int tags[] = {254, 255, 258, 259, 262, 263, 264, 265,   266,   273,   277,   278,   279,  280,
                               281, 284, 288, 289, 290, 291, 292, 293,   317,   320,   321,   322,   323,  324,
                               325, 326, 327, 328, 330, 332, 333, 334,   336,   338,   339,   340,   341,  342,
                               343, 344, 345, 346, 347, 351, 400, 512,   513,   514,   515,   517,   518,  519,
                               520, 521, 529, 530, 532, 559, 700, 33723, 34377, 34675, 37724, 50838, 50839};
    return std::binary_search(std::begin(tags), std::end(tags), tag);
}

// Of a TIFF file's directory: what is said of the picture in words and numbers that hold in any file.
static bool KeepsTiffTag(int tag)
{
    static const int tags[] = {11,    269,   270,   271,   272,   274,   285,   286,   287,   297,   301,
                               305,   306,   315,   316,   318,   319,   337,   18246, 18249, 32781, 33432,
                               33550, 33922, 34264, 34735, 34736, 34737, 40091, 40092, 40093, 40094, 40095};
    return std::binary_search(std::begin(tags), std::end(tags), tag);
}

// Of the same: what becomes samples, is written anew, or is read by others than this.
static bool IsTakenElsewhere(int tag)
{
    static const int tags[] = {254, 255, 256, 257, 258, 259, 262, 266, 273,   277,   278,   279,      282,
                               283, 284, 288, 289, 292, 293, 296, 317, 320,   322,   323,   324,      325,
                               326, 327, 328, 330, 338, 339, 347, 512, 513,   514,   515,   517,      518,
                               519, 520, 521, 529, 530, 531, 532, 700, 33723, 34377, 34675, TIFF_NOTE};
    return std::binary_search(std::begin(tags), std::end(tags), tag);
}

static bool Points(int tag) { return tag == EXIF_FIELDS || tag == EXIF_GPS_FIELDS || tag == EXIF_INTEROPERABILITY; }

// The beginning of a JPEG file somewhere in a field.
static bool HoldsPreview(const Bytes &bytes)
{
    static const uint8_t start[] = {0xFF, 0xD8, 0xFF};
    return std::search(bytes.begin(), bytes.end(), std::begin(start), std::end(start)) != bytes.end();
}

//---- Taking apart

struct Taking {
    TiffFile &file;
    Exif &exif;
    uint64_t room;   // bytes that fields may still take
};

static void TakeField(Taking &taking, const TiffField &field, ExifFields &fields)
{
    const uint64_t bytes = field.count * BytesOfType(field.type) + FIELD_BYTES;
    if (field.type > LAST_TYPE || bytes > taking.room || FieldOf(fields, field.tag)) return;
    ExifField taken = {field.tag, field.type, TakeBytes(taking.file, field, size_t(bytes)), field.at};
    if (taken.bytes.empty()) return;
    if (HoldsPreview(taken.bytes)) {
        taking.exif.preview = true;
        return;
    }
    taking.room -= bytes;
    fields.push_back(std::move(taken));
}

static void TakeFields(Taking &taking, const TiffDirectory &directory, ExifFields &fields)
{
    for (const TiffField &field : directory.fields)
        if (!Points(field.tag) && !TellsStorage(field.tag)) TakeField(taking, field, fields);
}

// The directory that a field points to.
static void TakeFieldsAt(Taking &taking, const TiffDirectory &from, int tag, ExifFields &fields,
                         TiffDirectory &directory)
{
    const uint64_t at = TakeNumber(taking.file, from, tag, 0);
    directory = {};
    if (at == 0) return;
    TakeSoundFields(taking.file, at, directory);
    TakeFields(taking, directory, fields);
}

static void TakeOthers(Taking &taking, const TiffDirectory &first)
{
    TiffDirectory camera, other;
    TakeFieldsAt(taking, first, EXIF_FIELDS, taking.exif.camera, camera);
    TakeFieldsAt(taking, first, EXIF_GPS_FIELDS, taking.exif.place, other);
    TakeFieldsAt(taking, camera, EXIF_INTEROPERABILITY, taking.exif.interoperability, other);
}

bool TakeExif(std::span<const uint8_t> block, Exif &exif)
{
    exif = {};
    Source source;
    Picture none;
    std::vector<std::string> notices;
    std::string error;
    if (block.size() < 8) return false;
    const bool low = memcmp(block.data(), "II*\0", 4) == 0;
    if (!low && memcmp(block.data(), "MM\0*", 4) != 0) return false;
    OpenBytes(source, block);
    Reading reading = {source, none, notices, error};
    TiffFile file = {reading};
    if (!OpenTiff(file)) return false;
    exif.lowFirst = file.lowFirst;
    Taking taking = {file, exif, block.size()};
    TiffDirectory first, second;
    TakeSoundFields(file, file.first, first);
    TakeFields(taking, first, exif.picture);
    TakeOthers(taking, first);
    if (first.next) TakeSoundFields(file, first.next, second);
    exif.smallPicture = !second.fields.empty();
    return !first.fields.empty();
}

void TakeExif(TiffFile &file, const TiffDirectory &directory, Exif &exif, std::vector<int> &others)
{
    exif = {};
    exif.lowFirst = file.lowFirst;
    Taking taking = {file, exif, MOST_TIFF_BYTES};
    for (const TiffField &field : directory.fields) {
        // A transfer function of more than 8 bits says nothing of samples that have 8.
        const bool holds = field.tag != TIFF_TRANSFER || field.count <= 3 * 256;
        if (KeepsTiffTag(field.tag) && holds) TakeField(taking, field, exif.picture);
        else if (!Points(field.tag) && !IsTakenElsewhere(field.tag)) others.push_back(field.tag);
    }
    TakeOthers(taking, directory);
}

//---- Single fields

const ExifField *FieldOf(const ExifFields &fields, int tag)
{
    const auto found =
        std::find_if(fields.begin(), fields.end(), [=](const ExifField &field) { return field.tag == tag; });
    return found == fields.end() ? nullptr : &*found;
}

static ExifField *FieldOf(ExifFields &fields, int tag)
{
    return const_cast<ExifField *>(FieldOf(std::as_const(fields), tag));
}

static uint32_t NumberAt(bool lowFirst, const uint8_t *bytes, size_t count)
{
    uint32_t number = 0;
    for (size_t i = 0; i < count; ++i) number = number << 8 | bytes[lowFirst ? count - 1 - i : i];
    return number;
}

static void AddNumber(Bytes &bytes, bool lowFirst, uint32_t number, size_t count)
{
    for (size_t i = 0; i < count; ++i) bytes.push_back(uint8_t(number >> 8 * (lowFirst ? i : count - 1 - i)));
}

uint32_t NumberOf(const Exif &exif, const ExifFields &fields, int tag, uint32_t otherwise)
{
    const ExifField *field = FieldOf(fields, tag);
    if (!field || (field->type != TIFF_SHORTS && field->type != TIFF_LONGS)) return otherwise;
    const size_t each = BytesOfType(field->type);
    return field->bytes.size() < each ? otherwise : NumberAt(exif.lowFirst, field->bytes.data(), each);
}

double FractionOf(const Exif &exif, const ExifFields &fields, int tag)
{
    const ExifField *field = FieldOf(fields, tag);
    if (!field || field->type != TIFF_FRACTIONS || field->bytes.size() < 8) return 0;
    const uint32_t below = NumberAt(exif.lowFirst, field->bytes.data() + 4, 4);
    return below ? NumberAt(exif.lowFirst, field->bytes.data(), 4) / double(below) : 0;
}

void SetNumber(const Exif &exif, ExifFields &fields, int tag, int type, uint32_t number)
{
    ExifField *field = FieldOf(fields, tag);
    if (!field) field = &fields.emplace_back();
    *field = {tag, type};
    AddNumber(field->bytes, exif.lowFirst, number, BytesOfType(type));
}

void ChangeNumber(const Exif &exif, ExifFields &fields, int tag, uint32_t number)
{
    const ExifField *field = FieldOf(std::as_const(fields), tag);
    if (field) SetNumber(exif, fields, tag, TIFF_LONGS, number);
}

void ChangeFraction(const Exif &exif, ExifFields &fields, int tag, double value)
{
    ExifField *field = FieldOf(fields, tag);
    if (!field || std::abs(FractionOf(exif, fields, tag) - value) < 0.01 || !(value > 0 && value < 4e6)) return;
    *field = {tag, TIFF_FRACTIONS};
    AddNumber(field->bytes, exif.lowFirst, uint32_t(std::round(value * 1000)), 4);
    AddNumber(field->bytes, exif.lowFirst, 1000, 4);
}

void SetText(ExifFields &fields, int tag, const std::string &text)
{
    ExifField *field = FieldOf(fields, tag);
    if (!field) field = &fields.emplace_back();
    *field = {tag, TIFF_TEXT};
    AddBytes(field->bytes, text.c_str(), text.size() + 1);
}

void DropField(ExifFields &fields, int tag)
{
    std::erase_if(fields, [=](const ExifField &field) { return field.tag == tag; });
}

//---- Putting together

// Hands out places in a block, but for the one that a maker's note has kept.
struct Places {
    uint64_t next = 8, noteAt = 0, noteEnd = 0;
};

static uint64_t PlaceFor(Places &places, size_t bytes)
{
    if (places.next < places.noteEnd && places.next + bytes > places.noteAt) {
        places.next = places.noteEnd + places.noteEnd % 2;
    }
    const uint64_t at = places.next;
    places.next += bytes + bytes % 2;
    return at;
}

static void PutAt(Bytes &block, uint64_t at, const Bytes &bytes)
{
    block.resize(std::max<size_t>(block.size(), size_t(at) + bytes.size()));
    std::copy(bytes.begin(), bytes.end(), block.begin() + ptrdiff_t(at));
}

static ExifField Pointer(const Exif &exif, int tag, uint64_t at)
{
    ExifField field = {tag, TIFF_LONGS};
    AddNumber(field.bytes, exif.lowFirst, uint32_t(at), 4);
    return field;
}

// Where it begins; `nextAt` is where the place of the directory behind it is to be written.
static uint64_t PutFields(const Exif &exif, ExifFields fields, Places &places, Bytes &block, uint64_t &nextAt)
{
    std::stable_sort(fields.begin(), fields.end(),
                     [](const ExifField &a, const ExifField &b) { return a.tag < b.tag; });
    Bytes directory;
    AddNumber(directory, exif.lowFirst, uint32_t(fields.size()), 2);
    const uint64_t at = PlaceFor(places, 2 + FIELD_BYTES * fields.size() + 4);
    for (const ExifField &field : fields) {
        AddNumber(directory, exif.lowFirst, uint32_t(field.tag), 2);
        AddNumber(directory, exif.lowFirst, uint32_t(field.type), 2);
        AddNumber(directory, exif.lowFirst, uint32_t(field.bytes.size() / BytesOfType(field.type)), 4);
        Bytes value = field.bytes;
        if (value.size() > 4) {
            const bool stays = field.tag == EXIF_MAKER_NOTE && places.noteEnd > 0;
            const uint64_t valueAt = stays ? places.noteAt : PlaceFor(places, value.size());
            PutAt(block, valueAt, value);
            value.clear();
            AddNumber(value, exif.lowFirst, uint32_t(valueAt), 4);
        }
        value.resize(4);
        AddBytes(directory, value.data(), 4);
    }
    nextAt = at + directory.size();
    AddNumber(directory, exif.lowFirst, 0, 4);
    PutAt(block, at, directory);
    return at;
}

static void PutSmallPicture(const Exif &exif, std::span<const uint8_t> smallPicture, Places &places, Bytes &block,
                            uint64_t nextAt)
{
    uint64_t ignored;
    const uint64_t at = PlaceFor(places, smallPicture.size());
    PutAt(block, at, Bytes(smallPicture.begin(), smallPicture.end()));
    ExifFields fields;
    SetNumber(exif, fields, TIFF_COMPRESSION, TIFF_SHORTS, 6);   // JPEG
    for (int tag : {TIFF_X_RESOLUTION, TIFF_Y_RESOLUTION}) {     // which must be there, and mean nothing
        ExifField &field = fields.emplace_back(ExifField{tag, TIFF_FRACTIONS});
        AddNumber(field.bytes, exif.lowFirst, 72, 4);
        AddNumber(field.bytes, exif.lowFirst, 1, 4);
    }
    SetNumber(exif, fields, TIFF_RESOLUTION_UNIT, TIFF_SHORTS, 2);
    SetNumber(exif, fields, EXIF_SMALL_PICTURE, TIFF_LONGS, uint32_t(at));
    SetNumber(exif, fields, EXIF_SMALL_PICTURE_BYTES, TIFF_LONGS, uint32_t(smallPicture.size()));
    Bytes place;
    AddNumber(place, exif.lowFirst, uint32_t(PutFields(exif, fields, places, block, ignored)), 4);
    PutAt(block, nextAt, place);
}

Bytes ExifBlock(const Exif &exif, std::span<const uint8_t> smallPicture, bool &noteDropped)
{
    Places places;
    ExifFields picture = exif.picture, camera = exif.camera;
    const ExifField *note = FieldOf(std::as_const(camera), EXIF_MAKER_NOTE);
    noteDropped = note && (note->at < 8 || note->at + note->bytes.size() > JPEG_BLOCK);
    if (noteDropped) DropField(camera, EXIF_MAKER_NOTE);
    else if (note && note->bytes.size() > 4) places.noteAt = note->at, places.noteEnd = note->at + note->bytes.size();

    // Directories stand before those that point to them, the first of all before the rest in the block.
    Bytes block;
    uint64_t nextAt = 0;
    if (!exif.interoperability.empty())
        camera.push_back(
            Pointer(exif, EXIF_INTEROPERABILITY, PutFields(exif, exif.interoperability, places, block, nextAt)));
    if (!camera.empty()) picture.push_back(Pointer(exif, EXIF_FIELDS, PutFields(exif, camera, places, block, nextAt)));
    if (!exif.place.empty())
        picture.push_back(Pointer(exif, EXIF_GPS_FIELDS, PutFields(exif, exif.place, places, block, nextAt)));
    const uint64_t first = PutFields(exif, picture, places, block, nextAt);
    if (!smallPicture.empty()) PutSmallPicture(exif, smallPicture, places, block, nextAt);
    const Bytes header = TiffHeader({exif.lowFirst, false}, first);
    PutAt(block, 0, header);
    return block;
}

//---- As a TIFF file's own

static void TurnValues(ExifField &field)
{
    const size_t each = field.type == TIFF_FRACTIONS || field.type == 10 ? 4 : BytesOfType(field.type);
    for (size_t i = 0; each > 1 && i + each <= field.bytes.size(); i += each)
        std::reverse(field.bytes.begin() + ptrdiff_t(i), field.bytes.begin() + ptrdiff_t(i + each));
}

static std::vector<TiffEntry> EntriesOf(const Exif &exif, const ExifFields &fields)
{
    std::vector<TiffEntry> entries;
    for (ExifField field : fields) {
        if (!exif.lowFirst) TurnValues(field);
        entries.push_back({field.tag, field.type, {}, std::move(field.bytes)});
    }
    return entries;
}

static TiffEntry Directory(const Exif &exif, int tag, ExifFields fields, std::vector<TiffEntry> more, Bytes &bytes,
                           uint64_t fileAt)
{
    DropField(fields, EXIF_MAKER_NOTE);
    std::vector<TiffEntry> entries = EntriesOf(exif, fields);
    entries.insert(entries.end(), more.begin(), more.end());
    const uint64_t at = fileAt + bytes.size();
    Bytes directory;
    AddDirectory(directory, {}, at, entries);
    AddBytes(bytes, directory.data(), directory.size());
    bytes.resize(bytes.size() + bytes.size() % 2);
    return {tag, TIFF_LONGS, {at}};
}

std::vector<TiffEntry> ExifEntries(const Exif &exif, Bytes &bytes, uint64_t fileAt, bool &noteDropped)
{
    noteDropped = FieldOf(exif.camera, EXIF_MAKER_NOTE);
    ExifFields picture = exif.picture;
    for (int tag :
         {TIFF_WIDTH, TIFF_HEIGHT, TIFF_X_RESOLUTION, TIFF_Y_RESOLUTION, TIFF_RESOLUTION_UNIT, TIFF_ORIENTATION})
        DropField(picture, tag);
    std::vector<TiffEntry> entries = EntriesOf(exif, picture), more;
    if (!exif.interoperability.empty())
        more.push_back(Directory(exif, EXIF_INTEROPERABILITY, exif.interoperability, {}, bytes, fileAt));
    if (!exif.camera.empty()) entries.push_back(Directory(exif, EXIF_FIELDS, exif.camera, more, bytes, fileAt));
    if (!exif.place.empty()) entries.push_back(Directory(exif, EXIF_GPS_FIELDS, exif.place, {}, bytes, fileAt));
    return entries;
}
