// Cutting text at delimiters: TEXTBEFORE, TEXTAFTER and TEXTSPLIT. A
// delimiter argument may be one text or an array of texts, any of which
// delimits; match_mode 1 ignores case.
#include <cmath>

#include "functions/ArgumentValues.h"
#include "functions/TextFamily.h"
#include "functions/TextSupport.h"

namespace sumora::textfn {

namespace {

// The texts of a delimiter argument; an error among them is the failure.
ArgValue<std::vector<std::string>> delimitersArg(FunctionContext& c, size_t i) {
    std::vector<std::string> out;
    for (const FormulaValue& v : c.resolveValues(i)) {
        if (v.isError()) return {std::nullopt, v};
        out.push_back(v.description());
    }
    return {std::move(out), {}};
}

// The earliest match of any delimiter at or after `from`; on a tie the
// longest delimiter wins. Empty delimiters never match here.
std::optional<TextSpan> firstDelimiter(std::string_view text, const CharacterIndex& chars,
                                       const std::vector<std::string>& delimiters, size_t from,
                                       bool ignoreCase) {
    std::optional<TextSpan> best;
    for (const std::string& d : delimiters) {
        if (d.empty()) continue;
        auto hit = findText(text, chars, d, from, ignoreCase);
        if (hit && (!best || hit->begin < best->begin || (hit->begin == best->begin && hit->end > best->end)))
            best = hit;
    }
    return best;
}

std::vector<TextSpan> allDelimiters(std::string_view text, const CharacterIndex& chars,
                                    const std::vector<std::string>& delimiters, bool ignoreCase) {
    std::vector<TextSpan> spans;
    for (size_t pos = 0; auto hit = firstDelimiter(text, chars, delimiters, pos, ignoreCase);) {
        spans.push_back(*hit);
        pos = hit->end;
    }
    return spans;
}

std::vector<std::string_view> splitAt(std::string_view text, const std::vector<std::string>& delimiters,
                                      bool ignoreCase, bool ignoreEmpty) {
    CharacterIndex chars(text);
    std::vector<std::string_view> pieces;
    size_t pos = 0;
    auto keep = [&](std::string_view piece) {
        if (!(ignoreEmpty && piece.empty())) pieces.push_back(piece);
    };
    for (const TextSpan& hit : allDelimiters(text, chars, delimiters, ignoreCase)) {
        keep(text.substr(pos, hit.begin - pos));
        pos = hit.end;
    }
    keep(text.substr(pos));
    return pieces;
}

bool allEmpty(const std::vector<std::string>& texts) {
    for (const auto& t : texts)
        if (!t.empty()) return false;
    return true;
}

// TEXTBEFORE/TEXTAFTER(text, delimiter, instance_num, match_mode, match_end,
// if_not_found): a negative instance counts from the end; match_end lets the
// end of the text (the start, counting backwards) act as one more delimiter.
FormulaValue textAround(FunctionContext& c, bool before) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    auto delimiters = delimitersArg(c, 1);
    if (!delimiters) return delimiters.failure;
    auto instanceArg = numberArgOr(c, 2, 1);
    if (!instanceArg) return instanceArg.failure;
    auto ignoreCase = zeroOrOneArg(c, 3);
    if (!ignoreCase) return ignoreCase.failure;
    auto matchEnd = boolArgOr(c, 4, false);
    if (!matchEnd) return matchEnd.failure;

    CharacterIndex chars(*text);
    const double instance = std::trunc(*instanceArg);
    if (instance == 0 || std::fabs(instance) > static_cast<double>(std::max<size_t>(chars.count(), 1)))
        return err(ErrorKind::invalidValue);

    std::vector<TextSpan> hits;
    if (allEmpty(*delimiters)) {
        // An empty delimiter stands at the start, or at the end counting backwards.
        size_t at = instance > 0 ? 0 : text->size();
        hits.push_back({at, at});
    } else {
        hits = allDelimiters(*text, chars, *delimiters, *ignoreCase);
        if (*matchEnd) {
            if (instance > 0)
                hits.push_back({text->size(), text->size()});
            else
                hits.insert(hits.begin(), TextSpan{0, 0});
        }
    }
    const double count = static_cast<double>(hits.size());
    std::optional<TextSpan> hit;
    if (instance > 0 && instance <= count) hit = hits[static_cast<size_t>(instance) - 1];
    if (instance < 0 && -instance <= count) hit = hits[static_cast<size_t>(count + instance)];
    if (!hit) return c.hasArg(5) ? scalarOf(c.evaluate(5)) : err(ErrorKind::notAvailable);
    if (before) return txt(text->substr(0, hit->begin));
    return txt(text->substr(hit->end));
}

} // namespace

// TEXTBEFORE(text, delimiter, instance_num, match_mode, match_end, if_not_found)
FormulaValue textBefore(FunctionContext& c) {
    return textAround(c, true);
}

// TEXTAFTER(text, delimiter, instance_num, match_mode, match_end, if_not_found)
FormulaValue textAfter(FunctionContext& c) {
    return textAround(c, false);
}

// TEXTSPLIT(text, col_delimiter, row_delimiter, ignore_empty, match_mode, pad_with)
// — an array: rows at row delimiters, columns at column delimiters; short
// rows are padded with pad_with (#N/A by default)
FormulaValue textSplit(FunctionContext& c) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    auto columnDelimiters = delimitersArg(c, 1);
    if (!columnDelimiters) return columnDelimiters.failure;
    ArgValue<std::vector<std::string>> rowDelimiters{std::vector<std::string>{}, {}};
    if (c.hasArg(2)) rowDelimiters = delimitersArg(c, 2);
    if (!rowDelimiters) return rowDelimiters.failure;
    auto ignoreEmpty = boolArgOr(c, 3, false);
    if (!ignoreEmpty) return ignoreEmpty.failure;
    auto ignoreCase = zeroOrOneArg(c, 4);
    if (!ignoreCase) return ignoreCase.failure;
    FormulaValue pad = c.hasArg(5) ? scalarOf(c.evaluate(5)) : err(ErrorKind::notAvailable);
    if (allEmpty(*columnDelimiters) && allEmpty(*rowDelimiters)) return err(ErrorKind::invalidValue);

    ValueRows rows;
    size_t width = 0;
    for (std::string_view line : splitAt(*text, *rowDelimiters, *ignoreCase, *ignoreEmpty)) {
        ValueRow row;
        for (std::string_view piece : splitAt(line, *columnDelimiters, *ignoreCase, *ignoreEmpty))
            row.push_back(txt(std::string(piece)));
        if (row.empty()) continue;
        width = std::max(width, row.size());
        rows.push_back(std::move(row));
    }
    if (rows.empty()) return FormulaValue::array({{txt("")}});
    for (ValueRow& row : rows)
        row.resize(width, pad);
    return FormulaValue::array(std::move(rows));
}

} // namespace sumora::textfn
