#include "engine/FormulaAdjuster.h"

#include <memory>
#include <stdexcept>

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include "document/ColumnLetters.h"
#include "engine/ReferenceShifter.h"

namespace sumora {

namespace {

// Optional sheet prefix (quoted, or an identifier, then "!"), then
// $?COLUMN$?ROW; groups: column "$", letters, row "$", digits.
constexpr std::string_view kReferencePattern =
    R"((?:'[^']+'\!|[A-Za-z_]\w*\!)?(\$?)([A-Z]{1,3})(\$?)(\d{1,7}))";

const icu::RegexPattern& referencePattern() {
    static const std::unique_ptr<icu::RegexPattern> pattern = [] {
        UErrorCode status = U_ZERO_ERROR;
        UParseError where;
        std::unique_ptr<icu::RegexPattern> p(icu::RegexPattern::compile(
            icu::UnicodeString::fromUTF8(
                icu::StringPiece(kReferencePattern.data(), static_cast<int32_t>(kReferencePattern.size()))),
            where, status));
        if (U_FAILURE(status))
            throw std::logic_error("FormulaAdjuster: the reference pattern does not compile");
        return p;
    }();
    return *pattern;
}

std::string toUtf8(const icu::UnicodeString& s) {
    std::string out;
    s.toUTF8String(out);
    return out;
}

} // namespace

std::string FormulaAdjuster::adjustReferences(std::string_view text, int64_t rowDelta, int64_t colDelta) {
    std::string result;
    if (!text.empty() && text.front() == '=') {
        result = "=";
        text.remove_prefix(1);
    }
    icu::UnicodeString input =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(referencePattern().matcher(input, status));
    if (U_FAILURE(status)) return result + std::string(text);

    icu::UnicodeString out;
    int32_t copied = 0;
    while (matcher->find(status) && U_SUCCESS(status)) {
        int32_t start = matcher->start(status), end = matcher->end(status);
        out.append(input, copied, start - copied);
        copied = end;
        int32_t columnMarkStart = matcher->start(1, status);
        bool absoluteColumn = matcher->end(1, status) > columnMarkStart;
        bool absoluteRow = matcher->end(3, status) > matcher->start(3, status);
        auto column = columnIndex(toUtf8(matcher->group(2, status)));
        int64_t row = std::stoll(toUtf8(matcher->group(4, status))); // at most seven digits
        if (!column || U_FAILURE(status)) {
            out.append(input, start, end - start);
            continue;
        }
        ParsedCellRef moved = clampedShift(ParsedCellRef{*column, row - 1, absoluteColumn, absoluteRow},
                                           rowDelta, colDelta);
        out.append(input, start, columnMarkStart - start); // the sheet prefix as written
        std::string reference;
        appendReference(reference, moved);
        out.append(icu::UnicodeString::fromUTF8(reference));
    }
    out.append(input, copied, input.length() - copied);
    out.toUTF8String(result);
    return result;
}

} // namespace sumora
