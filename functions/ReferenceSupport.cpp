#include "functions/ReferenceSupport.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "document/ColumnLetters.h"
#include "engine/FormulaTokenizer.h"
#include "engine/FunctionDeclaration.h"
#include "engine/WorkbookResolver.h"
#include "values/StrictNumber.h"

namespace sumora {

namespace {

// "'My Sheet'!" (a doubled quote stands for one) or "Data!" at the front of
// `text`: sets `sheet` and advances the text past the "!". Without a prefix
// both are left alone; false when the prefix is malformed.
bool takeSheetPrefix(std::string_view& text, std::optional<std::string>& sheet) {
    if (!text.empty() && text.front() == '\'') {
        std::string name;
        size_t i = 1;
        for (; i < text.size(); ++i) {
            if (text[i] != '\'') {
                name += text[i];
            } else if (i + 1 < text.size() && text[i + 1] == '\'') {
                name += '\'';
                ++i;
            } else {
                break;
            }
        }
        if (i + 1 >= text.size() || text[i] != '\'' || text[i + 1] != '!' || name.empty()) return false;
        text.remove_prefix(i + 2);
        sheet = std::move(name);
        return true;
    }
    size_t bang = text.find('!');
    if (bang == std::string_view::npos) return true;
    std::string_view name = text.substr(0, bang);
    if (!isPlainSheetName(name)) return false;
    sheet = std::string(name);
    text.remove_prefix(bang + 1);
    return true;
}

// One R1C1 coordinate: "R5" (absolute, 1-based), "R[-2]" (relative to
// `base`) or a bare "R" (the base itself).
bool takeR1C1Part(std::string_view& text, char letter, int64_t base, int64_t& out) {
    if (text.empty() || (text.front() != letter && text.front() != letter + 32)) return false;
    text.remove_prefix(1);
    if (!text.empty() && text.front() == '[') {
        size_t close = text.find(']');
        if (close == std::string_view::npos) return false;
        auto delta = parseStrictNumber(text.substr(1, close - 1));
        if (!delta || *delta != std::trunc(*delta) || std::fabs(*delta) > 1e9) return false;
        out = base + static_cast<int64_t>(*delta);
        text.remove_prefix(close + 1);
        return true;
    }
    size_t digits = 0;
    while (digits < text.size() && digits < 10 && std::isdigit(static_cast<unsigned char>(text[digits])))
        ++digits;
    if (digits == 0) {
        out = base;
        return true;
    }
    out = std::stoll(std::string(text.substr(0, digits))) - 1;
    text.remove_prefix(digits);
    return true;
}

std::optional<std::pair<int64_t, int64_t>> parseCorner(std::string_view text, bool a1Style,
                                                       const CellRef& current) {
    if (a1Style) {
        auto ref = parseCellRef(text);
        if (!ref) return std::nullopt;
        return std::make_pair(ref->col, ref->row);
    }
    int64_t row = 0, col = 0;
    if (!takeR1C1Part(text, 'R', current.row, row) || !takeR1C1Part(text, 'C', current.col, col) ||
        !text.empty())
        return std::nullopt;
    if (row < 0 || col < 0) return std::nullopt;
    return std::make_pair(col, row);
}

} // namespace

ArgValue<int64_t> wholeNumberArg(FunctionContext& c, size_t i) {
    auto x = numberArg(c, i);
    if (!x) return {std::nullopt, x.failure};
    if (std::isnan(*x)) return {std::nullopt, err(ErrorKind::invalidValue)};
    constexpr double kLimit = 9007199254740992.0; // 2^53
    return {static_cast<int64_t>(std::clamp(std::trunc(*x), -kLimit, kLimit)), {}};
}

ArgValue<int64_t> wholeNumberArgOr(FunctionContext& c, size_t i, int64_t fallback) {
    if (!c.hasArg(i)) return {fallback, {}};
    return wholeNumberArg(c, i);
}

bool isPlainSheetName(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char ch) {
        auto u = static_cast<unsigned char>(ch);
        return u >= 0x80 || std::isalnum(u) || ch == '_' || ch == '.';
    });
}

namespace {
std::string sheetPrefix(std::string_view sheet) {
    if (isPlainSheetName(sheet)) return std::string(sheet) + "!";
    std::string quoted = "'";
    for (char c : sheet)
        quoted += c == '\'' ? std::string("''") : std::string(1, c);
    return quoted + "'!";
}
} // namespace

std::string cellLabel(std::string_view sheet, CellPosition at) {
    return sheetPrefix(sheet) + cellAddress(at);
}

std::string rangeLabel(std::string_view sheet, int64_t col1, int64_t row1, int64_t col2, int64_t row2) {
    if (col1 == col2 && row1 == row2) return cellLabel(sheet, {col1, row1});
    return sheetPrefix(sheet) + cellAddress({col1, row1}) + ":" + cellAddress({col2, row2});
}

RangeSpec Reference::rangeSpec() const {
    return RangeSpec{col1, row1, col2, row2, sheetView()};
}

std::optional<Reference> parseReferenceText(std::string_view text, bool a1Style, CellResolver& resolver) {
    std::string_view rest = text;
    Reference ref;
    if (takeSheetPrefix(rest, ref.sheet)) {
        size_t colon = rest.find(':');
        std::string_view first = rest.substr(0, colon);
        auto a = parseCorner(first, a1Style, resolver.currentCell());
        std::optional<std::pair<int64_t, int64_t>> b = a;
        if (a && colon != std::string_view::npos) {
            std::string_view second = rest.substr(colon + 1);
            std::optional<std::string> secondSheet;
            if (!takeSheetPrefix(second, secondSheet) || (secondSheet && secondSheet != ref.sheet))
                return std::nullopt;
            b = parseCorner(second, a1Style, resolver.currentCell());
        }
        if (a && b) {
            // Text names a rectangle, whichever corners it gives first.
            ref.col1 = std::min(a->first, b->first);
            ref.col2 = std::max(a->first, b->first);
            ref.row1 = std::min(a->second, b->second);
            ref.row2 = std::max(a->second, b->second);
            if (!resolver.gridSize(ref.sheetView())) return std::nullopt;
            return ref;
        }
    }
    if (auto named = resolver.resolveNamedRange(text)) {
        Reference r{named->start.col, named->start.row, named->end.col, named->end.row, named->start.sheet};
        if (!resolver.gridSize(r.sheetView())) return std::nullopt;
        return r;
    }
    return std::nullopt;
}

ReferenceResult referenceArg(FunctionContext& c, size_t i) {
    if (!c.hasArg(i)) return {};
    const FormulaNode& n = c.argNode(i);
    if (n.kind == NodeKind::functionCall) {
        const FunctionDeclaration* function = n.call.function;
        if (!function || !function->returnsReference()) return {};
        if (c.depth() >= FormulaEvaluator::kMaxDepth)
            return ReferenceResult::failure(ErrorKind::circularReference);
        if (!function->count.accepts(n.call.argCount))
            return ReferenceResult::failure(ErrorKind::invalidValue);
        FunctionContext inner(c.evaluator(), c.tree(), c.argIndex(i), c.depth() + 1);
        return function->reference(inner);
    }
    if (n.kind != NodeKind::cellRef && n.kind != NodeKind::range && n.kind != NodeKind::name) return {};
    auto rangeSpec = c.reference(i);
    if (!rangeSpec) {
        // A LET variable is a value; an unknown name is an error.
        if (n.kind == NodeKind::name && !c.evaluator().variable(c.tree().string(n.stringIndex)))
            return ReferenceResult::failure(ErrorKind::invalidName);
        return {};
    }
    Reference r{rangeSpec->col1, rangeSpec->row1, rangeSpec->col2, rangeSpec->row2, std::nullopt};
    if (rangeSpec->sheet) r.sheet = std::string(*rangeSpec->sheet);
    return {r, std::nullopt};
}

ReferenceResult indirectReference(FunctionContext& c) {
    FormulaValue text = c.evaluate(0);
    if (text.isError()) return {std::nullopt, text};
    auto a1 = c.evalBoolOr(1, true);
    if (!a1) return ReferenceResult::failure(ErrorKind::invalidValue);
    auto ref = parseReferenceText(text.description(), *a1, c.resolver());
    if (!ref) return ReferenceResult::failure(ErrorKind::invalidReference);
    return {std::move(ref), std::nullopt};
}

ReferenceResult offsetReference(FunctionContext& c) {
    ReferenceResult base = referenceArg(c, 0);
    if (!base.reference) return base.error ? base : ReferenceResult::failure(ErrorKind::invalidValue);
    const Reference& b = *base.reference;
    auto rows = wholeNumberArg(c, 1), cols = wholeNumberArg(c, 2);
    auto height = wholeNumberArgOr(c, 3, b.rows()), width = wholeNumberArgOr(c, 4, b.cols());
    for (const auto* a : {&rows, &cols, &height, &width})
        if (!*a) return {std::nullopt, a->failure};
    if (*height < 1 || *width < 1) return ReferenceResult::failure(ErrorKind::invalidReference);
    auto grid = c.resolver().gridSize(b.sheetView());
    if (!grid) return ReferenceResult::failure(ErrorKind::invalidReference);
    int64_t row1 = b.row1 + *rows, col1 = b.col1 + *cols;
    if (row1 < 0 || col1 < 0 || row1 > grid->first - *height || col1 > grid->second - *width)
        return ReferenceResult::failure(ErrorKind::invalidReference);
    return {Reference{col1, row1, col1 + *width - 1, row1 + *height - 1, b.sheet}, std::nullopt};
}

IndexSelection indexSelection(FunctionContext& c, int64_t rows, int64_t cols) {
    IndexSelection s;
    auto rowArg = wholeNumberArg(c, 1);
    auto colArg = wholeNumberArgOr(c, 2, 0);
    auto area = wholeNumberArgOr(c, 3, 1);
    for (const auto* a : {&rowArg, &colArg, &area})
        if (!*a) {
            s.error = a->failure;
            return s;
        }
    int64_t row = *rowArg, col = *colArg;
    if (!c.hasArg(2)) {
        // One index into a single row counts along the row.
        if (rows == 1 && cols > 1)
            std::swap(row, col);
        else if (cols == 1)
            col = 1;
    }
    if (row < 0 || col < 0)
        s.error = err(ErrorKind::invalidValue);
    else if (row > rows || col > cols || *area != 1)
        s.error = err(ErrorKind::invalidReference);
    if (s.error) return s;
    s.row1 = row == 0 ? 0 : row - 1;
    s.row2 = row == 0 ? rows - 1 : row - 1;
    s.col1 = col == 0 ? 0 : col - 1;
    s.col2 = col == 0 ? cols - 1 : col - 1;
    return s;
}

ReferenceResult indexReference(FunctionContext& c) {
    ReferenceResult base = referenceArg(c, 0);
    if (!base.reference) return base;
    const Reference& b = *base.reference;
    IndexSelection s = indexSelection(c, std::max<int64_t>(b.rows(), 0), std::max<int64_t>(b.cols(), 0));
    if (s.error) return {std::nullopt, std::move(s.error)};
    return {Reference{b.col1 + s.col1, b.row1 + s.row1, b.col1 + s.col2, b.row1 + s.row2, b.sheet},
            std::nullopt};
}

ReferenceResult chooseReference(FunctionContext& c) {
    auto index = wholeNumberArg(c, 0);
    if (!index) return {std::nullopt, index.failure};
    if (*index < 1 || *index >= static_cast<int64_t>(c.argCount()))
        return ReferenceResult::failure(ErrorKind::invalidValue);
    return referenceArg(c, static_cast<size_t>(*index));
}

ValueRows referenceRows(CellResolver& resolver, const Reference& ref) {
    ValueRows rows;
    auto grid = resolver.gridSize(ref.sheetView());
    if (!grid) return rows;
    auto clipped = clipToGrid(ref.rangeSpec(), grid->first, grid->second);
    if (!clipped) return rows;
    std::vector<FormulaValue> flat;
    resolver.rangeValues(*clipped, flat);
    auto cols = static_cast<size_t>(clipped->cols());
    flat.resize(static_cast<size_t>(clipped->rows()) * cols);
    rows.reserve(flat.size() / cols);
    for (size_t k = 0; k < flat.size(); k += cols)
        rows.emplace_back(std::make_move_iterator(flat.begin() + static_cast<ptrdiff_t>(k)),
                          std::make_move_iterator(flat.begin() + static_cast<ptrdiff_t>(k + cols)));
    return rows;
}

FormulaValue referenceValue(CellResolver& resolver, const Reference& ref) {
    if (ref.isSingleCell()) return resolver.cellValue({ref.col1, ref.row1}, ref.sheetView());
    ValueRows rows = referenceRows(resolver, ref);
    if (rows.empty()) return FormulaValue::error(ErrorKind::invalidReference);
    return FormulaValue::array(std::move(rows));
}

// ---- Table ---------------------------------------------------------------

Table Table::fromArg(FunctionContext& c, size_t i) {
    Table t;
    if (!c.hasArg(i)) {
        t.error_ = FormulaValue::error(ErrorKind::invalidValue);
        return t;
    }
    ReferenceResult r = referenceArg(c, i);
    if (r.error) {
        t.error_ = std::move(r.error);
        return t;
    }
    if (r.reference) {
        auto grid = c.resolver().gridSize(r.reference->sheetView());
        if (!grid) {
            t.error_ = FormulaValue::error(ErrorKind::invalidReference);
            return t;
        }
        t.resolver_ = &c.resolver();
        if (r.reference->col2 < r.reference->col1 || r.reference->row2 < r.reference->row1)
            return t; // no cells
        auto clipped = clipToGrid(r.reference->rangeSpec(), grid->first, grid->second);
        if (!clipped) {
            t.error_ = FormulaValue::error(ErrorKind::invalidReference);
            return t;
        }
        t.rows_ = clipped->rows();
        t.cols_ = clipped->cols();
        t.reference_ =
            Reference{clipped->col1, clipped->row1, clipped->col2, clipped->row2, r.reference->sheet};
        return t;
    }
    FormulaValue v = c.evaluate(i);
    if (v.isError()) {
        t.error_ = std::move(v);
        return t;
    }
    if (v.isArray()) {
        t.rows_ = static_cast<int64_t>(v.arrayRows().size());
        for (const auto& row : v.arrayRows())
            t.cols_ = std::max(t.cols_, static_cast<int64_t>(row.size()));
    } else {
        t.rows_ = t.cols_ = 1;
    }
    t.array_ = std::move(v);
    return t;
}

FormulaValue Table::at(int64_t row, int64_t col) const {
    if (reference_)
        return resolver_->cellValue({reference_->col1 + col, reference_->row1 + row},
                                    reference_->sheetView());
    if (!array_.isArray()) return array_;
    const ValueRow& r = array_.arrayRows()[static_cast<size_t>(row)];
    return static_cast<size_t>(col) < r.size() ? r[static_cast<size_t>(col)] : FormulaValue::empty();
}

ValueRows Table::values() const {
    if (reference_) return referenceRows(*resolver_, *reference_);
    if (!array_.isArray()) return {{array_}};
    ValueRows rows = array_.arrayRows();
    for (ValueRow& row : rows)
        row.resize(static_cast<size_t>(cols_));
    return rows;
}

LookupVector Table::slice(int64_t row1, int64_t col1, int64_t row2, int64_t col2) const {
    if (reference_) {
        RangeSpec rangeSpec{reference_->col1 + col1, reference_->row1 + row1, reference_->col1 + col2,
                            reference_->row1 + row2, reference_->sheetView()};
        return LookupVector(*resolver_, rangeSpec);
    }
    std::vector<FormulaValue> values;
    for (int64_t r = row1; r <= row2; ++r)
        for (int64_t c = col1; c <= col2; ++c)
            values.push_back(at(r, c));
    return LookupVector(std::move(values));
}

LookupVector Table::column(int64_t col) const {
    return slice(0, col, rows_ - 1, col);
}
LookupVector Table::row(int64_t row) const {
    return slice(row, 0, row, cols_ - 1);
}
LookupVector Table::flattened() const {
    return slice(0, 0, rows_ - 1, cols_ - 1);
}

FormulaValue Table::rowResult(int64_t row) const {
    if (cols_ == 1) return at(row, 0);
    ValueRow out;
    out.reserve(static_cast<size_t>(cols_));
    for (int64_t c = 0; c < cols_; ++c)
        out.push_back(at(row, c));
    return FormulaValue::array({std::move(out)});
}

FormulaValue Table::columnResult(int64_t col) const {
    if (rows_ == 1) return at(0, col);
    ValueRows out;
    out.reserve(static_cast<size_t>(rows_));
    for (int64_t r = 0; r < rows_; ++r)
        out.push_back({at(r, col)});
    return FormulaValue::array(std::move(out));
}

} // namespace sumora
