#include "formats/XlsxSharedFormula.h"

#include <algorithm>
#include <charconv>

#include "document/ColumnLetters.h"
#include "formats/XlsxText.h"

namespace sumora::xlsx {

namespace {

// The reference pattern of FormulaAdjuster, whose results these must equal
// (the tests compare the two): an optional sheet prefix, then $?COLUMN$?ROW.
constexpr std::string_view kReferencePattern =
    R"re((?:'[^']+'\!|[A-Za-z_]\w*\!)?(\$?)([A-Z]{1,3})(\$?)(\d{1,7}))re";

} // namespace

SharedFormula::SharedFormula(std::string text, int64_t row, int64_t col)
    : text_(std::move(text)), row_(row), col_(col) {
    static const TextPattern pattern(kReferencePattern);
    pattern.forEachMatch(text_, [&](const TextPattern::Match& m) {
        auto whole = m.group(0);
        auto columnMark = m.group(1), letters = m.group(2), rowMark = m.group(3), digits = m.group(4);
        if (!whole || !columnMark || !letters || !rowMark || !digits) return;
        auto column = columnIndex(*letters);
        if (!column) return; // the adjuster leaves such a match as it is
        Reference r;
        r.start = static_cast<size_t>(whole->data() - text_.data());
        r.end = r.start + whole->size();
        r.letters = static_cast<size_t>(columnMark->data() - text_.data());
        r.absoluteColumn = !columnMark->empty();
        r.absoluteRow = !rowMark->empty();
        r.column = *column;
        std::from_chars(digits->data(), digits->data() + digits->size(), r.row);
        references_.push_back(r);
    });
}

std::string SharedFormula::textAt(int64_t row, int64_t col) const {
    int64_t rowDelta = row - row_, colDelta = col - col_;
    if (references_.empty()) return text_;
    std::string out;
    out.reserve(text_.size() + 8);
    size_t copied = 0;
    for (const Reference& r : references_) {
        out.append(text_, copied, r.letters - copied); // text before, and the sheet prefix
        int64_t column = r.absoluteColumn ? r.column : std::max<int64_t>(r.column + colDelta, 0);
        int64_t line = r.absoluteRow ? r.row : std::max<int64_t>(r.row + rowDelta, 1);
        if (r.absoluteColumn) out += '$';
        appendColumnLetter(out, column);
        if (r.absoluteRow) out += '$';
        char digits[24];
        auto [end, ec] = std::to_chars(digits, digits + sizeof digits, line);
        out.append(digits, end);
        copied = r.end;
    }
    out.append(text_, copied, std::string::npos);
    return out;
}

} // namespace sumora::xlsx
