// Goes through an XMP packet tag by tag, see xmp.h. Knows of XML what a packet needs: elements, attributes, namespaces,
// and what is passed over. What the properties mean is the caller's business.

#include "host/documents/files/xmp.h"

#include "host/documents/files/words.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

static const size_t MOST_BINDINGS = 500, MOST_DEPTH = 500;
static const char BLANKS[] = " \t\r\n";

namespace
{

struct Attribute {
    std::string_view name, value;
    size_t begin, end;             // with the blank before it, in the packet
    size_t valueBegin, valueEnd;   // between the quotes
};

struct Tag {
    std::string_view name;
    std::vector<Attribute> attributes = {};
    size_t begin = 0, end = 0;   // in the packet, with its brackets
    bool closed = false;         // holds nothing
};

// An element whose end has not come yet.
struct Open {
    std::string_view name;
    size_t bindings;              // that are known outside of it
    size_t begin, contentBegin;   // in what is written
    const XmpChange *change;
    bool holdsElements = false;
};

struct Walk {
    const std::string &packet;
    std::span<const XmpChange> changes;
    bool looksForPreviews;
    std::string out = {};
    size_t at = 0;
    bool preview = false;
    std::vector<std::pair<std::string_view, std::string_view>> bindings = {};   // of prefixes to namespaces
    std::vector<Open> open = {};
};

}   // namespace

//---- Names

// What a prefix means where a packet forgets to say it.
static std::string_view UsualSpace(std::string_view prefix)
{
    static const std::pair<const char *, const char *> usual[] = {
        {"xmp", "http://ns.adobe.com/xap/1.0/"},           {"xap", "http://ns.adobe.com/xap/1.0/"},
        {"xmpGImg", "http://ns.adobe.com/xap/1.0/g/img/"}, {"tiff", "http://ns.adobe.com/tiff/1.0/"},
        {"exif", "http://ns.adobe.com/exif/1.0/"},         {"xmpNote", "http://ns.adobe.com/xmp/note/"}};
    for (const auto &[name, space] : usual)
        if (prefix == name) return space;
    return {};
}

static const XmpChange *ChangeFor(const Walk &walk, std::string_view name, bool attribute)
{
    const size_t colon = name.find(':');
    const std::string_view prefix = colon == name.npos ? std::string_view() : name.substr(0, colon);
    const std::string_view own = colon == name.npos ? name : name.substr(colon + 1);
    if (prefix.empty() && attribute) return nullptr;   // of no namespace
    std::string_view space = UsualSpace(prefix);
    for (const auto &[bound, meaning] : walk.bindings)
        if (bound == prefix) space = meaning;
    for (const XmpChange &change : walk.changes) {
        if (space != change.space) continue;
        const std::string_view wanted = change.name ? change.name : "*";
        const bool begins = wanted.back() == '*' && own.starts_with(wanted.substr(0, wanted.size() - 1));
        if (begins || own == wanted) return &change;
    }
    return nullptr;
}

// The beginning of a JPEG or PNG file, in the letters that bytes are written as.
static bool BeginsPicture(std::string_view text)
{
    for (bool blank = true; blank;) {
        blank = false;
        for (const std::string_view one : {" ", "\t", "\r", "\n", "&#xA;", "&#xD;", "&#10;", "&#13;"}) {
            if (!text.starts_with(one)) continue;
            text.remove_prefix(one.size());
            blank = true;
        }
    }
    return text.starts_with("/9j/") || text.starts_with("iVBORw0KGgo");
}

//---- Tags

static size_t BlanksEnd(const std::string &text, size_t at)
{
    return std::min(text.find_first_not_of(BLANKS, at), text.size());
}

static std::string_view NameAt(const std::string &text, size_t at)
{
    return std::string_view(text).substr(at, std::min(text.find_first_of(" \t\r\n=/><\"'", at), text.size()) - at);
}

// The tag that begins at `walk.at`, which is no end of an element. False where it is not whole.
static bool TakeTag(Walk &walk, Tag &tag)
{
    const std::string &text = walk.packet;
    tag.begin = walk.at;
    tag.name = NameAt(text, walk.at + 1);
    if (tag.name.empty()) return false;
    size_t at = walk.at + 1 + tag.name.size();
    for (;;) {
        Attribute one = {};
        one.begin = at;
        at = BlanksEnd(text, at);
        if (text.compare(at, 1, ">") == 0 || text.compare(at, 2, "/>") == 0) break;
        one.name = NameAt(text, at);
        if (one.name.empty() || at == one.begin) return false;
        at = BlanksEnd(text, at + one.name.size());
        if (at >= text.size() || text[at] != '=') return false;
        at = BlanksEnd(text, at + 1);
        if (at >= text.size() || (text[at] != '"' && text[at] != '\'')) return false;
        one.valueBegin = at + 1;
        one.valueEnd = text.find(text[at], one.valueBegin);
        if (one.valueEnd == text.npos) return false;
        one.value = std::string_view(text).substr(one.valueBegin, one.valueEnd - one.valueBegin);
        at = one.end = one.valueEnd + 1;
        tag.attributes.push_back(one);
    }
    tag.closed = text[at] == '/';
    tag.end = at + (tag.closed ? 2 : 1);
    return true;
}

static bool Bind(Walk &walk, const Tag &tag)
{
    for (const Attribute &attribute : tag.attributes) {
        if (attribute.name == "xmlns") walk.bindings.push_back({"", attribute.value});
        if (attribute.name.starts_with("xmlns:")) walk.bindings.push_back({attribute.name.substr(6), attribute.value});
    }
    return walk.bindings.size() <= MOST_BINDINGS;
}

// The tag with its attributes changed.
static void PutTag(Walk &walk, const Tag &tag)
{
    size_t from = tag.begin;
    const auto putUpTo = [&](size_t to) { walk.out.append(walk.packet, from, to - from); };
    for (const Attribute &attribute : tag.attributes) {
        const XmpChange *change = ChangeFor(walk, attribute.name, true);
        const bool picture = walk.looksForPreviews && BeginsPicture(attribute.value);
        if (change && change->kind == XmpChange::SET) {
            putUpTo(attribute.valueBegin);
            walk.out += change->value;
            from = attribute.valueEnd;
        } else if (change || picture) {
            putUpTo(attribute.begin);
            from = attribute.end;
            walk.preview = walk.preview || picture || change->kind == XmpChange::DROP_PREVIEW;
        }
    }
    putUpTo(tag.end);
}

static bool Drops(const XmpChange *change) { return change && change->kind != XmpChange::SET; }

static bool StartElement(Walk &walk)
{
    Tag tag;
    if (!TakeTag(walk, tag)) return false;
    if (!walk.open.empty()) walk.open.back().holdsElements = true;
    const size_t bindings = walk.bindings.size(), begin = walk.out.size();
    if (!Bind(walk, tag)) return false;
    const XmpChange *change = ChangeFor(walk, tag.name, false);
    walk.at = tag.end;
    if (!tag.closed) {
        PutTag(walk, tag);
        walk.open.push_back({tag.name, bindings, begin, walk.out.size(), change});
        return walk.open.size() <= MOST_DEPTH;
    }
    if (!Drops(change)) PutTag(walk, tag);
    else walk.preview = walk.preview || change->kind == XmpChange::DROP_PREVIEW;
    walk.bindings.resize(bindings);
    return true;
}

static bool EndElement(Walk &walk)
{
    const std::string &text = walk.packet;
    const std::string_view name = NameAt(text, walk.at + 2);
    const size_t end = BlanksEnd(text, walk.at + 2 + name.size());
    if (walk.open.empty() || walk.open.back().name != name || text.compare(end, 1, ">") != 0) return false;
    const Open element = walk.open.back();
    walk.open.pop_back();
    walk.bindings.resize(element.bindings);
    const std::string_view content = std::string_view(walk.out).substr(element.contentBegin);
    const bool picture = walk.looksForPreviews && !element.holdsElements && BeginsPicture(content);
    if (Drops(element.change) || picture) {
        walk.out.resize(element.begin);
        walk.preview = walk.preview || picture || element.change->kind == XmpChange::DROP_PREVIEW;
    } else {
        if (element.change && !element.holdsElements) {
            walk.out.resize(element.contentBegin);
            walk.out += element.change->value;
        }
        walk.out.append(text, walk.at, end + 1 - walk.at);
    }
    walk.at = end + 1;
    return true;
}

//---- The whole

// What stands between `begin` and `end`, with both, as it is.
static bool PassOver(Walk &walk, const char *begin, const char *end, bool &passed)
{
    passed = walk.packet.compare(walk.at, strlen(begin), begin) == 0;
    if (!passed) return true;
    const size_t found = walk.packet.find(end, walk.at + strlen(begin));
    if (found == std::string::npos) return false;
    walk.out.append(walk.packet, walk.at, found + strlen(end) - walk.at);
    walk.at = found + strlen(end);
    return true;
}

static bool Go(Walk &walk)
{
    const std::string &text = walk.packet;
    while (walk.at < text.size()) {
        const size_t next = std::min(text.find('<', walk.at), text.size());
        walk.out.append(text, walk.at, next - walk.at);
        walk.at = next;
        if (next == text.size()) break;
        bool comment = false, letters = false, instruction = false;
        if (!PassOver(walk, "<!--", "-->", comment)) return false;
        if (!comment && !PassOver(walk, "<![CDATA[", "]]>", letters)) return false;
        if (!comment && !letters && !PassOver(walk, "<?", "?>", instruction)) return false;
        if (comment || letters || instruction) continue;
        if (text.compare(next, 2, "<!") == 0) return false;
        if (!(text.compare(next, 2, "</") == 0 ? EndElement(walk) : StartElement(walk))) return false;
    }
    return walk.open.empty();
}

bool ChangeXmp(std::string &packet, std::span<const XmpChange> changes, bool *preview)
{
    const std::string whole = packet.substr(0, packet.find_last_not_of('\0') + 1);   // some end it so
    Walk walk = {whole, changes, preview != nullptr};
    if (!IsUtf8(whole) || whole.find('\0') != std::string::npos || !Go(walk)) return false;
    if (preview) *preview = *preview || walk.preview;
    packet = std::move(walk.out);
    return true;
}
