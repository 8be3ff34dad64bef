#include "functions/ReferenceFunctions.h"

#include <algorithm>

#include "document/ColumnLetters.h"
#include "functions/ReferenceSupport.h"

namespace sumora {

namespace {

FormulaValue valueOf(FunctionContext& c, const ReferenceResult& r) {
    if (r.error) return *r.error;
    return referenceValue(c.resolver(), *r.reference);
}

// ROWS and COLUMNS: the size of a reference as written, else of the value.
FormulaValue extent(FunctionContext& c, bool rows) {
    ReferenceResult r = referenceArg(c, 0);
    if (r.error) return *r.error;
    if (r.reference)
        return num(
            static_cast<double>(std::max<int64_t>(0, rows ? r.reference->rows() : r.reference->cols())));
    Table t = Table::fromArg(c, 0);
    if (t.error()) return *t.error();
    return num(static_cast<double>(rows ? t.rows() : t.cols()));
}

// ROW and COLUMN: the formula's own cell without an argument, else the
// first row or column of the reference.
FormulaValue position(FunctionContext& c, bool row) {
    if (c.argCount() == 0) {
        CellRef at = c.resolver().currentCell();
        return num(static_cast<double>((row ? at.row : at.col) + 1));
    }
    ReferenceResult r = referenceArg(c, 0);
    if (r.error) return *r.error;
    if (!r.reference) return err(ErrorKind::invalidValue);
    return num(static_cast<double>((row ? r.reference->row1 : r.reference->col1) + 1));
}

void appendQuotedSheet(std::string& out, std::string_view sheet) {
    if (isPlainSheetName(sheet)) {
        out += sheet;
    } else {
        out += '\'';
        for (char ch : sheet) {
            if (ch == '\'') out += '\'';
            out += ch;
        }
        out += '\'';
    }
    out += '!';
}

} // namespace

// INDEX(array, row_num, col_num) — a cell, or a whole row or column for 0
FormulaValue evaluateIndex(FunctionContext& c) {
    ReferenceResult r = indexReference(c);
    if (r.error || r.reference) return valueOf(c, r);
    Table t = Table::fromArg(c, 0);
    if (t.error()) return *t.error();
    IndexSelection s = indexSelection(c, t.rows(), t.cols());
    if (s.error) return *s.error;
    if (s.row1 == s.row2 && s.col1 == s.col2) return t.at(s.row1, s.col1);
    ValueRows rows;
    for (int64_t row = s.row1; row <= s.row2; ++row) {
        ValueRow& out = rows.emplace_back();
        for (int64_t col = s.col1; col <= s.col2; ++col)
            out.push_back(t.at(row, col));
    }
    return FormulaValue::array(std::move(rows));
}

// CHOOSE(index, value1, value2, ...) — evaluates only the chosen value
FormulaValue evaluateChoose(FunctionContext& c) {
    ReferenceResult r = chooseReference(c);
    if (r.error || r.reference) return valueOf(c, r);
    auto index = wholeNumberArg(c, 0);
    return c.evaluate(static_cast<size_t>(*index));
}

// INDIRECT(ref_text, a1) — the cell or range a text names
FormulaValue evaluateIndirect(FunctionContext& c) {
    return valueOf(c, indirectReference(c));
}

// OFFSET(ref, rows, cols, height, width) — a reference moved and resized
FormulaValue evaluateOffset(FunctionContext& c) {
    return valueOf(c, offsetReference(c));
}

// ROW(reference) — 1-based row number
FormulaValue evaluateRow(FunctionContext& c) {
    return position(c, true);
}

// COLUMN(reference) — 1-based column number
FormulaValue evaluateColumn(FunctionContext& c) {
    return position(c, false);
}

// ROWS(array) — number of rows
FormulaValue evaluateRows(FunctionContext& c) {
    return extent(c, true);
}

// COLUMNS(array) — number of columns
FormulaValue evaluateColumns(FunctionContext& c) {
    return extent(c, false);
}

// ADDRESS(row, column, abs_num, a1, sheet_text) — a reference as text
FormulaValue evaluateAddress(FunctionContext& c) {
    auto row = wholeNumberArg(c, 0), col = wholeNumberArg(c, 1), abs = wholeNumberArgOr(c, 2, 1);
    for (const auto* a : {&row, &col, &abs})
        if (!*a) return a->failure;
    auto a1 = boolArgOr(c, 3, true);
    if (!a1) return a1.failure;
    if (*row < 1 || *col < 1 || *abs < 1 || *abs > 4) return err(ErrorKind::invalidValue);
    bool absRow = *abs == 1 || *abs == 2, absCol = *abs == 1 || *abs == 3;
    std::string out;
    if (c.hasArg(4)) {
        auto sheet = textArg(c, 4);
        if (!sheet) return sheet.failure;
        if (!sheet->empty()) appendQuotedSheet(out, *sheet);
    }
    if (*a1) {
        if (absCol) out += '$';
        appendColumnLetter(out, *col - 1);
        if (absRow) out += '$';
        out += std::to_string(*row);
    } else {
        auto part = [&](char letter, int64_t n, bool absolute) {
            out += letter;
            out += absolute ? std::to_string(n) : "[" + std::to_string(n) + "]";
        };
        part('R', *row, absRow);
        part('C', *col, absCol);
    }
    return txt(std::move(out));
}

} // namespace sumora
