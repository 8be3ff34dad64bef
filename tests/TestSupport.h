#pragma once
// Helpers shared by the tests: a small workbook whose cells are filled by
// address, evaluation of one formula against it and the check of a
// formula → expected text table; an editor over a document; a scratch folder.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

#include "document/ColumnLetters.h"
#include "document/SumoraDocument.h"
#include "editing/SumoraEditorView.h"
#include "engine/FormulaEvaluator.h"
#include "engine/FormulaParser.h"
#include "engine/WorkbookResolver.h"
#include "functions/BuiltinFunctions.h"
#include "values/StrictNumber.h"

namespace sumora::test {

struct TestBook {
    SumoraDocument doc;

    // "=…" stores a formula (its computed text stays absent until evaluated);
    // anything else is a constant, as a CSV file or the editor stores it.
    TestBook& set(std::string_view address, std::string_view text, size_t sheet = 0) {
        auto at = parseCellAddress(address);
        if (!at) throw std::invalid_argument("bad address");
        Cell& c = doc.sheets[sheet].cellForWriting(at->row, at->col);
        if (!text.empty() && text.front() == '=') {
            c.setFormula(text.substr(1));
            c.setValue("");
        } else {
            c.setValue(text);
            c.setComputedValue(text);
        }
        return *this;
    }
    // Stores a computed result text on a cell (as recalculation would).
    TestBook& computed(std::string_view address, std::string_view text, size_t sheet = 0) {
        auto at = parseCellAddress(address);
        doc.sheets[sheet].cellForWriting(at->row, at->col).setComputedValue(text);
        return *this;
    }
    Sheet& addSheet(std::string name) {
        doc.sheets.push_back(SumoraDocument::makeNewSheet(std::move(name)));
        return doc.sheets.back();
    }

    // Evaluates `formula` as if it stood in cell AZ1 of the given sheet.
    FormulaValue evalValue(std::string_view formula, size_t sheet = 0) {
        WorkbookResolver resolver(doc, sheet, CellRef{51, 0, std::nullopt});
        FormulaEvaluator evaluator(resolver);
        try {
            FormulaTree tree = parseFormula(formula, builtinFunctions(), [this](std::string_view name) {
                return findNamedRange(doc.namedRanges, name).has_value();
            });
            return evaluator.evaluate(tree);
        } catch (const FormulaParseError& e) {
            return FormulaValue::error(e.error);
        }
    }
    std::string eval(std::string_view formula, size_t sheet = 0) {
        return evalValue(formula, sheet).description();
    }
};

// One table row: a formula and the text its result renders as.
struct FormulaCase {
    std::string_view formula;
    std::string_view expected;
};

// A plain value as a cell shows it; an array row by row, "a,b;c,d".
inline std::string renderValue(const FormulaValue& v) {
    if (!v.isArray()) return v.description();
    std::string out;
    for (const ValueRow& row : v.arrayRows()) {
        if (!out.empty()) out += ';';
        for (size_t c = 0; c < row.size(); ++c)
            out += (c ? "," : "") + row[c].description();
    }
    return out;
}

// As the relative tolerance, asks for the rendered text to the letter.
inline constexpr double exactText = 0;

// A number expected against a number result agrees within the relative
// tolerance (oracles print fifteen digits, and numerical methods differ in
// the last ones); anything else must render exactly as expected.
inline void expectFormulaResult(TestBook& book, const FormulaCase& c, double relativeTolerance = 1e-9) {
    SCOPED_TRACE(c.formula);
    const std::string actual = renderValue(book.evalValue(c.formula));
    const auto want = relativeTolerance > 0 ? parseStrictNumber(c.expected) : std::nullopt;
    const auto got = parseStrictNumber(actual);
    if (!want || !got) {
        EXPECT_EQ(actual, c.expected);
        return;
    }
    EXPECT_NEAR(*got, *want, std::max(1e-300, std::fabs(*want) * relativeTolerance)) << actual;
}

inline void expectFormulaResults(TestBook& book, const std::vector<FormulaCase>& cases,
                                 double relativeTolerance = 1e-9) {
    for (const FormulaCase& c : cases)
        expectFormulaResult(book, c, relativeTolerance);
}

// A document open in the editor, its cells named by address ("B2").
class EditorTest : public ::testing::Test {
  protected:
    static CellPosition at(std::string_view address) {
        auto p = parseCellAddress(address);
        return {p->col, p->row};
    }
    // Enters the text as if typed into the cell.
    void type(std::string_view address, std::string_view text) { editor.setCellValue(at(address), text); }
    const Cell& cell(std::string_view address, size_t sheet = 0) {
        auto p = at(address);
        return doc.sheets[sheet].cell(p.row, p.col);
    }
    std::string shown(std::string_view address, size_t sheet = 0) {
        return std::string(cell(address, sheet).displayValue());
    }
    // Selects the block from `from` to `to`; the active cell stays.
    void select(std::string_view from, std::string_view to) {
        auto a = at(from), b = at(to);
        editor.selection = SelectionRange{a.col, a.row, b.col, b.row};
    }
    UndoManager& undo() { return *editor.undoManager; }

    SumoraDocument doc;
    SumoraEditorView editor{doc};
};

// A folder of its own for each test, removed afterwards.
class ScratchFolderTest : public ::testing::Test {
  protected:
    void SetUp() override {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        dir_ = std::filesystem::temp_directory_path() /
               ("sumora-" + std::to_string(::getpid()) + "-" + info->test_suite_name() + "-" + info->name());
        std::filesystem::remove_all(dir_);
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override { std::filesystem::remove_all(dir_); }

    // Writes a file of the folder and returns its path.
    std::filesystem::path file(const std::string& name, std::string_view text) {
        std::ofstream(dir_ / name, std::ios::binary) << text;
        return dir_ / name;
    }
    static std::string slurp(const std::filesystem::path& p) {
        std::ifstream in(p, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    // The names in the folder, sorted.
    std::vector<std::string> entries() const {
        std::vector<std::string> names;
        for (const auto& e : std::filesystem::directory_iterator(dir_))
            names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    std::filesystem::path dir_;
};

} // namespace sumora::test
