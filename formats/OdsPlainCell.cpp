#include "formats/OdsPlainCell.h"

#include <cstring>
#include <span>

#include "formats/XmlBytes.h"

namespace sumora::ods {

namespace {

// The attributes producers write on cells, most frequent first, each with
// its "=" and the local name the generic reading finds in it.
struct KnownName {
    std::string_view written, local;
};
constexpr KnownName kKnownNames[] = {
    {"office:value-type=", "value-type"},
    {"office:value=", "value"},
    {"calcext:value-type=", "value-type"},
    {"table:style-name=", "style-name"},
    {"table:number-columns-repeated=", "number-columns-repeated"},
    {"table:formula=", "formula"},
    {"office:date-value=", "date-value"},
    {"office:time-value=", "time-value"},
    {"office:boolean-value=", "boolean-value"},
    {"office:string-value=", "string-value"},
    {"office:currency=", "currency"},
    {"table:number-columns-spanned=", "number-columns-spanned"},
    {"table:number-rows-spanned=", "number-rows-spanned"},
    {"table:number-matrix-columns-spanned=", "number-matrix-columns-spanned"},
    {"table:number-matrix-rows-spanned=", "number-matrix-rows-spanned"},
};
static_assert(std::size(kKnownNames) <= 32, "seen names are kept as bits");

std::uint64_t wordAt(const char* p) {
    std::uint64_t word;
    std::memcpy(&word, p, sizeof word);
    return word;
}

// Whether the `size` (at least 8) bytes at `a` and `b` are equal, a word at
// a time: names are compared far more often than they differ.
bool sameBytes(const char* a, const char* b, std::size_t size) {
    for (std::size_t at = 0;; at += 8) {
        if (at + 8 >= size) return wordAt(a + size - 8) == wordAt(b + size - 8);
        if (wordAt(a + at) != wordAt(b + at)) return false;
    }
}

// Moves `p` past `literal` (at least 8 bytes) when it stands there.
bool take(const char*& p, const char* end, std::string_view literal) {
    if (static_cast<std::size_t>(end - p) < literal.size() || !sameBytes(p, literal.data(), literal.size()))
        return false;
    p += literal.size();
    return true;
}

const char* skipBlanks(const char* p, const char* end) {
    return xml::skipClass(p, end, xml::kBlank);
}

// A start tag's attributes and its end; false at anything outside the plain
// shape. Names in `known` are matched whole; `onAttribute(name, local,
// value)` receives each attribute. `p` is left after the tag, and `empty`
// tells "/>" from ">".
template <class OnAttribute>
bool readAttributes(const char*& p, const char* end, std::span<const KnownName> known,
                    OnAttribute&& onAttribute, bool& empty) {
    std::uint32_t seen = 0;
    // Names not in the table, rare enough to be compared pairwise.
    const char* others[PlainCell::kMaxAttributes];
    std::size_t otherSizes[PlainCell::kMaxAttributes];
    std::size_t otherCount = 0, count = 0;
    for (;;) {
        const char* from = p;
        p = skipBlanks(p, end);
        if (p == end) return false;
        if (*p == '>' || *p == '/') {
            empty = *p == '/';
            if (empty && (end - p < 2 || p[1] != '>')) return false;
            p += empty ? 2 : 1;
            return true;
        }
        if (p == from || ++count > PlainCell::kMaxAttributes) return false;

        std::string_view name, local;
        const char* value = nullptr;
        for (std::size_t k = 0; k < known.size(); ++k) {
            std::string_view written = known[k].written;
            if (static_cast<std::size_t>(end - p) < written.size() ||
                !sameBytes(p, written.data(), written.size()))
                continue;
            if (seen & (std::uint32_t{1} << k)) return false; // a duplicate is not well-formed
            seen |= std::uint32_t{1} << k;
            name = written.substr(0, written.size() - 1);
            local = known[k].local;
            value = p + written.size();
            break;
        }
        if (!value) {
            // Another name under a known prefix: "prefix:" and [a-z-]+.
            const char* nameBegin = p;
            for (std::string_view prefix : {"table:", "office:", "calcext:"}) {
                if (static_cast<std::size_t>(end - p) > prefix.size() &&
                    std::memcmp(p, prefix.data(), prefix.size()) == 0) {
                    p += prefix.size();
                    break;
                }
            }
            if (p == nameBegin) return false;
            const char* localBegin = p;
            while (p < end && ((*p >= 'a' && *p <= 'z') || *p == '-'))
                ++p;
            if (p == localBegin || p == end || *p != '=') return false;
            name = std::string_view(nameBegin, static_cast<std::size_t>(p - nameBegin));
            for (std::size_t k = 0; k < otherCount; ++k)
                if (otherSizes[k] == name.size() && std::memcmp(others[k], name.data(), name.size()) == 0)
                    return false;
            others[otherCount] = name.data();
            otherSizes[otherCount++] = name.size();
            local = std::string_view(localBegin, static_cast<std::size_t>(p - localBegin));
            value = p + 1;
        }

        p = value;
        if (p == end || (*p != '"' && *p != '\'')) return false;
        const char quote = *p++;
        const char* valueBegin = p;
        p = xml::skipClass(p, end, xml::kPlainValue);
        if (p == end || *p != quote) return false;
        onAttribute(name, local, std::string_view(valueBegin, static_cast<std::size_t>(p - valueBegin)));
        ++p;
    }
}

} // namespace

std::size_t readPlainCell(const char* data, std::size_t size, PlainCell& cell) {
    const char* const end = data + size;
    const char* p = skipBlanks(data, end);
    cell.covered = !take(p, end, "<table:table-cell");
    if (cell.covered && !take(p, end, "<table:covered-table-cell")) return 0;
    const std::string_view endTag = cell.covered ? "</table:covered-table-cell>" : "</table:table-cell>";

    cell.tag = CellTag();
    bool empty = false;
    auto add = [&](std::string_view, std::string_view local, std::string_view value) {
        cell.tag.add(local, value);
    };
    if (!readAttributes(p, end, kKnownNames, add, empty)) return 0;
    cell.paragraphCount = 0;
    if (empty) return static_cast<std::size_t>(p - data);

    for (;;) {
        p = skipBlanks(p, end);
        if (take(p, end, endTag)) return static_cast<std::size_t>(p - data);
        if (cell.paragraphCount == PlainCell::kMaxParagraphs) return 0;
        std::string_view& paragraph = cell.paragraphs[cell.paragraphCount++];
        paragraph = {};
        if (take(p, end, "<text:p/>")) continue;
        if (!take(p, end, "<text:p>")) return 0;
        const char* text = p;
        p = xml::skipClass(p, end, xml::kPlainText);
        paragraph = std::string_view(text, static_cast<std::size_t>(p - text));
        if (!take(p, end, "</text:p>")) return 0;
    }
}

std::size_t readPlainRowStart(const char* data, std::size_t size, PlainRowStart& row) {
    const char* p = data;
    const char* const end = data + size;
    if (!take(p, end, "<table:table-row")) return 0;
    row.attributeCount = 0;
    auto add = [&](std::string_view name, std::string_view, std::string_view value) {
        std::size_t k = 2 * row.attributeCount++;
        row.pairs[k] = name.data();
        row.lengths[k] = name.size();
        row.pairs[k + 1] = value.data();
        row.lengths[k + 1] = value.size();
    };
    bool empty = false;
    if (!readAttributes(p, end, {}, add, empty) || empty) return 0;
    return static_cast<std::size_t>(p - data);
}

std::size_t readPlainRowEnd(const char* data, std::size_t size) {
    const char* p = skipBlanks(data, data + size);
    return take(p, data + size, "</table:table-row>") ? static_cast<std::size_t>(p - data) : 0;
}

} // namespace sumora::ods
