#include "document/SumoraDocument.h"
#include "document/HexColor.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <unicode/unistr.h>

namespace sumora {

SumoraDocument::SumoraDocument() { sheets.push_back(makeNewSheet("Sheet 1")); }

SumoraDocument SumoraDocument::empty() {
    SumoraDocument d;
    d.sheets.clear();
    return d;
}

Sheet SumoraDocument::makeNewSheet(std::string name) { return Sheet(std::move(name), kNewSheetRows, kNewSheetColumns); }

std::optional<size_t> SumoraDocument::sheetIndexById(std::string_view id) const {
    for (size_t i = 0; i < sheets.size(); ++i)
        if (sheets[i].id == id) return i;
    return std::nullopt;
}

void SumoraDocument::ensureGridSize(int64_t sheetIndex, int64_t rows, int64_t cols) {
    if (sheetIndex < 0 || static_cast<size_t>(sheetIndex) >= sheets.size()) return;
    sheets[static_cast<size_t>(sheetIndex)].growTo(rows, cols);
}

std::optional<size_t> SumoraDocument::sheetIndex(std::string_view name) const {
    for (size_t i = 0; i < sheets.size(); ++i)
        if (sheets[i].name == name) return i;
    auto folded = [](std::string_view s) {
        icu::UnicodeString u = icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())));
        return u.foldCase();
    };
    auto target = folded(name);
    for (size_t i = 0; i < sheets.size(); ++i)
        if (folded(sheets[i].name) == target) return i;
    return std::nullopt;
}

bool SumoraDocument::operator==(const SumoraDocument& o) const {
    return changeCount == o.changeCount && sheets == o.sheets && namedRanges == o.namedRanges &&
           scenarios == o.scenarios && isWorkbookProtected == o.isWorkbookProtected &&
           workbookPassword == o.workbookPassword;
}

namespace {
struct Rgb {
    double r, g, b;
};
Rgb parseHex(std::string_view s) {
    s = withoutHash(s);
    // Hexadecimal digits only (an optional "+" aside): "0x" prefixes, blanks
    // and values beyond 32 bits count as black, as an unparseable text does.
    std::string_view digits = !s.empty() && s.front() == '+' ? s.substr(1) : s;
    uint64_t v = 0;
    bool valid = !digits.empty();
    for (char c : digits) {
        int d = -1;
        if (c >= '0' && c <= '9') d = c - '0';
        else if (c >= 'a' && c <= 'f') d = c - 'a' + 10;
        else if (c >= 'A' && c <= 'F') d = c - 'A' + 10;
        if (d < 0 || (v = v * 16 + static_cast<uint64_t>(d)) > 0xFFFFFFFFULL) {
            valid = false;
            break;
        }
    }
    if (!valid) v = 0;
    return {double((v >> 16) & 0xFF), double((v >> 8) & 0xFF), double(v & 0xFF)};
}
int channel(double a, double b, double pct) {
    double v = std::trunc(a + pct * (b - a));
    if (std::isnan(v)) return 0;
    return static_cast<int>(std::clamp(v, 0.0, 255.0));
}
} // namespace

std::string SumoraDocument::blendHex(std::string_view a, std::string_view b, double pct) {
    Rgb x = parseHex(a), y = parseHex(b);
    char buf[8];
    std::snprintf(buf, sizeof buf, "%02X%02X%02X", channel(x.r, y.r, pct), channel(x.g, y.g, pct),
                  channel(x.b, y.b, pct));
    return buf;
}

void SumoraDocument::mergeFormat(std::optional<ConditionalFormat>& into, const ConditionalFormat& from) {
    if (!into) {
        into = from;
        return;
    }
    if (from.fillColor) into->fillColor = from.fillColor;
    if (from.fontColor) into->fontColor = from.fontColor;
    if (from.isBold) into->isBold = from.isBold;
    if (from.isItalic) into->isItalic = from.isItalic;
}

namespace {

bool isIdentifierByte(unsigned char c) { return std::isalnum(c) || c == '_' || c == '.' || c == '$' || c >= 0x80; }
bool isRefByte(unsigned char c) { return std::isalnum(c) || c == '$'; }

bool equalsIgnoringAsciiCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return std::tolower(x) == std::tolower(y); });
}

// Rewrites every reference that names `sheet` (quoted or bare, single cell or
// range) into "#REF!", leaving string literals alone.
bool rewriteSheetReferences(std::string& formula, std::string_view sheet) {
    std::string out;
    bool changed = false;
    size_t i = 0;
    while (i < formula.size()) {
        char c = formula[i];
        if (c == '"') {
            size_t j = formula.find('"', i + 1);
            while (j != std::string::npos && j + 1 < formula.size() && formula[j + 1] == '"') j = formula.find('"', j + 2);
            size_t end = j == std::string::npos ? formula.size() : j + 1;
            out.append(formula, i, end - i);
            i = end;
            continue;
        }
        size_t nameEnd = std::string::npos, afterBang = 0;
        bool atBoundary = i == 0 || !isIdentifierByte(static_cast<unsigned char>(formula[i - 1]));
        if (c == '\'' && atBoundary) {
            size_t close = formula.find('\'', i + 1);
            if (close != std::string::npos && close + 1 < formula.size() && formula[close + 1] == '!' &&
                equalsIgnoringAsciiCase(std::string_view(formula).substr(i + 1, close - i - 1), sheet)) {
                nameEnd = close;
                afterBang = close + 2;
            }
        } else if (atBoundary && formula.compare(i, sheet.size(), sheet) == 0 && i + sheet.size() < formula.size() &&
                   formula[i + sheet.size()] == '!') {
            nameEnd = i + sheet.size();
            afterBang = nameEnd + 1;
        } else if (atBoundary && i + sheet.size() < formula.size() && formula[i + sheet.size()] == '!' &&
                   equalsIgnoringAsciiCase(std::string_view(formula).substr(i, sheet.size()), sheet)) {
            nameEnd = i + sheet.size();
            afterBang = nameEnd + 1;
        }
        if (nameEnd != std::string::npos) {
            size_t j = afterBang;
            while (j < formula.size() && isRefByte(static_cast<unsigned char>(formula[j]))) ++j;
            if (j < formula.size() && formula[j] == ':') {
                size_t k = j + 1;
                // The far corner may repeat the sheet prefix.
                size_t bang = formula.find('!', k);
                size_t probe = k;
                while (probe < formula.size() && (isIdentifierByte(static_cast<unsigned char>(formula[probe])) || formula[probe] == '\'' || formula[probe] == ' '))
                    ++probe;
                if (bang != std::string::npos && bang == probe) k = bang + 1;
                size_t m = k;
                while (m < formula.size() && isRefByte(static_cast<unsigned char>(formula[m]))) ++m;
                if (m > k) j = m;
            }
            out += "#REF!";
            changed = true;
            i = j;
            continue;
        }
        out += c;
        ++i;
    }
    if (changed) formula = std::move(out);
    return changed;
}

} // namespace

void SumoraDocument::cleanupReferencesToDeletedSheet(std::string_view deletedName, std::vector<Sheet>& sheets) {
    if (deletedName.empty()) return;
    for (Sheet& sheet : sheets) {
        sheet.forEachStoredCell([&](int64_t, int64_t, Cell& cell) {
            if (!cell.hasFormula()) return;
            std::string text(*cell.formula());
            if (rewriteSheetReferences(text, deletedName)) {
                cell.setFormula(text);
                cell.setComputedValue("#REF!");
            }
        });
    }
}

} // namespace sumora
