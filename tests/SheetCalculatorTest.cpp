#include "engine/SheetCalculator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "document/ColumnLetters.h"
#include "engine/FormulaEvaluator.h"
#include "engine/FormulaParser.h"
#include "engine/FunctionContext.h"
#include "engine/FunctionRegistry.h"
#include "engine/WorkbookResolver.h"
#include "values/Log.h"

namespace sumora {
namespace {

// The calculator's own behaviour is tested against two small functions, so
// that these tests do not move with the function library.
const FunctionRegistry& testFunctions() {
    static const FunctionRegistry registry = [] {
        FunctionRegistry r;
        // SUM(values…) — the numbers of cells, ranges and names
        r.add("SUM", [](FunctionContext& c) {
            double sum = 0;
            for (double x : c.resolveNumbers())
                sum += x;
            return num(sum);
        });
        // GRID(rows, cols[, start]) — an array counting up from start, row by row
        r.add("GRID", [](FunctionContext& c) {
            auto rows = c.evalNum(0), cols = c.evalNum(1), start = c.evalNumOr(2, 1);
            if (!rows || !cols || !start) return err(ErrorKind::invalidValue);
            ValueRows out;
            double k = *start;
            for (int i = 0; i < static_cast<int>(*rows); ++i) {
                out.emplace_back();
                for (int j = 0; j < static_cast<int>(*cols); ++j)
                    out.back().push_back(num(k++));
            }
            return FormulaValue::array(std::move(out));
        });
        // LET(name, value, …, body) — only its name binding matters here
        static constexpr FunctionDeclaration kLet[] = {
            {"LET", [](FunctionContext&) { return err(ErrorKind::invalidValue); }, declare::atLeast(3),
             ArgumentRule::values, FunctionFlags::bindsNames}};
        r.add(FunctionFamily::logical, kLet);
        return r;
    }();
    return registry;
}

// A workbook of two sheets, "Main" (calculated) and "Data"; "Data!B2"
// addresses the second one.
struct Book {
    SumoraDocument doc;
    Book() {
        doc.sheets[0].name = "Main";
        doc.sheets.push_back(SumoraDocument::makeNewSheet("Data"));
    }
    Cell& at(std::string_view address) {
        size_t sheet = address.starts_with("Data!") ? 1 : 0;
        auto p = *parseCellAddress(address.substr(sheet ? 5 : 0));
        return doc.sheets[sheet].cellForWriting(p.row, p.col);
    }
    // As the editor stores an entry: "=…" becomes the formula (the computed
    // text stays until recalculated), anything else the value and its text.
    Book& put(std::string_view address, std::string_view text) {
        if (text.starts_with('=')) {
            at(address).setFormula(text.substr(1));
            at(address).setValue("");
            return *this;
        }
        return putValue(address, text);
    }
    // Stored as a plain value, "=" and all (as a file or a macro may leave it).
    Book& putValue(std::string_view address, std::string_view text) {
        Cell& c = at(address);
        c.setFormula(std::nullopt);
        c.setValue(text);
        c.setComputedValue(text);
        return *this;
    }
    Book& computed(std::string_view address, std::string_view text) {
        at(address).setComputedValue(text);
        return *this;
    }
    Book& clear(std::string_view address) {
        at(address) = Cell();
        return *this;
    }
    std::string shown(std::string_view address) { return std::string(at(address).displayValue()); }
    SheetCalculator calculator() { return SheetCalculator(doc, 0, testFunctions()); }
};

// Recalculates `address` of the Main sheet after an edit.
void recalc(SheetCalculator& calc, std::string_view address) {
    auto at = *parseCellAddress(address);
    calc.recalculate(at);
}

using Cells = std::vector<std::pair<std::string, std::string>>;
struct SheetCase {
    const char* what;
    Cells cells;
    Cells expected;
};

TEST(SheetCalculator, FullRecalculationTable) {
    const std::vector<SheetCase> cases = {
        {"two-cell cycle and what reads it",
         {{"A1", "=B1"}, {"B1", "=A1"}, {"C1", "=A1+1"}, {"D1", "=5"}},
         {{"A1", "#CIRC!"}, {"B1", "#CIRC!"}, {"C1", "#CIRC!"}, {"D1", "5"}}},
        {"self reference", {{"A1", "=A1"}}, {{"A1", "#CIRC!"}}},
        {"cycle through a range",
         {{"A1", "=SUM(A2:A5)"}, {"A3", "=A1"}, {"B1", "=SUM(A4:A9)"}},
         {{"A1", "#CIRC!"}, {"A3", "#CIRC!"}, {"B1", "0"}}},
        {"formulas below what they read",
         {{"A1", "=A2*2"}, {"A2", "=A3+1"}, {"A3", "=SUM(B1:B3)"}, {"B2", "4"}},
         {{"A1", "10"}, {"A2", "5"}, {"A3", "4"}}},
        {"results are read back as text",
         {{"A1", "=1234567"}, {"A2", "=A1-1234567"}, {"A3", "=A1&\"\""}},
         {{"A1", "1.23457e+06"}, {"A2", "3"}, {"A3", "1.23457e+06"}}},
        {"an error reaches readers as text",
         {{"A1", "=1/0"}, {"A2", "=A1&\"x\""}, {"A3", "=A1+1"}},
         {{"A1", "#DIV/0!"}, {"A2", "#DIV/0!x"}, {"A3", "#VALUE!"}}},
        {"a range on another sheet registers as cells of this one",
         {{"Data!A1", "1"},
          {"Data!A2", "2"},
          {"A2", "=SUM(Data!A1:A3)"},
          {"B2", "=SUM(Data!A1:A3)"},
          {"C9", "=SUM(Data!C1:C3)"}},
         {{"A2", "#CIRC!"}, {"B2", "#CIRC!"}, {"C9", "0"}}},
        {"a range on another sheet reads that sheet",
         {{"Data!A1", "1"}, {"Data!A2", "2"}, {"B2", "=SUM(Data!A1:A3)"}},
         {{"B2", "3"}}},
        {"a single reference to another sheet reads it",
         {{"Data!A1", "5"}, {"A1", "=Data!A1*2"}, {"A2", "=Nowhere!A1"}},
         {{"A1", "10"}, {"A2", "#REF!"}}},
        {"a reference naming this sheet is no dependency", {{"A1", "=Main!A1&\"x\""}}, {{"A1", "x"}}},
        {"a formula that fails to parse keeps its text",
         {{"A1", "=1+"}, {"B1", "=SUM(A1:A1)+1"}},
         {{"A1", ""}, {"B1", "1"}}},
    };
    for (const auto& c : cases) {
        Book book;
        for (const auto& [address, text] : c.cells)
            book.put(address, text);
        book.calculator().recalculateAll();
        for (const auto& [address, text] : c.expected)
            EXPECT_EQ(book.shown(address), text) << c.what << ": " << address;
    }
}

TEST(SheetCalculator, FailedParseKeepsThePreviousComputedText) {
    Book book;
    book.put("A1", "=1+").put("B1", "=A1+1").computed("A1", "41");
    auto calc = book.calculator();
    calc.recalculateAll();
    EXPECT_EQ(book.shown("A1"), "41");
    EXPECT_EQ(book.shown("B1"), "42");
    EXPECT_EQ(calc.parsedFormula({0, 0}), nullptr);

    // Incrementally too, and readers still recompute from that text.
    book.put("A1", "=2*").computed("A1", "9");
    recalc(calc, "A1");
    EXPECT_EQ(book.shown("A1"), "9");
    EXPECT_EQ(book.shown("B1"), "10");
}

TEST(SheetCalculator, PromotesTypedFormulasAndLogsIncrementalPromotion) {
    Book book;
    book.putValue("A1", "=1+1").put("B1", "=A1*10");
    auto calc = book.calculator();
    calc.recalculateAll();
    EXPECT_EQ(book.shown("A1"), "2");
    EXPECT_EQ(book.at("A1").formula(), std::optional<std::string_view>("1+1"));
    EXPECT_EQ(book.at("A1").value(), "");
    EXPECT_EQ(book.shown("B1"), "20");

    book.putValue("A1", "=2*3");
    LogCapture log;
    recalc(calc, "A1");
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{"[Sumora] recalculate: promoted value to formula: \"2*3\""});
    EXPECT_EQ(book.shown("A1"), "6");
    EXPECT_EQ(book.shown("B1"), "60");
}

TEST(SheetCalculator, IncrementalRecomputesReadersAfterWhatTheyRead) {
    // A diamond: D1 reads B1 and C1, both of which read A1. Listed so that
    // row-major order would compute D1 first.
    Book book;
    book.put("D1", "=B2+C3").put("B2", "=A1*2").put("C3", "=B2+A1").put("A1", "1").put("E9", "=7");
    auto calc = book.calculator();
    calc.recalculateAll();
    EXPECT_EQ(book.shown("D1"), "5");

    book.computed("E9", "untouched");
    book.put("A1", "10");
    recalc(calc, "A1");
    EXPECT_EQ(book.shown("B2"), "20");
    EXPECT_EQ(book.shown("C3"), "30");
    EXPECT_EQ(book.shown("D1"), "50");
    EXPECT_EQ(book.shown("E9"), "untouched"); // reads nothing that changed
}

TEST(SheetCalculator, EditsKeepTheGraphInStep) {
    Book book;
    book.put("A1", "1").put("A2", "2").put("B1", "=A1*2").put("C1", "=B1+1");
    auto calc = book.calculator();
    calc.recalculateAll();

    // A formula edit: B1 now reads A2, no longer A1.
    book.put("B1", "=A2*2");
    recalc(calc, "B1");
    EXPECT_EQ(book.shown("C1"), "5");
    book.computed("B1", "stale");
    book.put("A1", "100");
    recalc(calc, "A1");
    EXPECT_EQ(book.shown("B1"), "stale");
    book.put("A2", "3");
    recalc(calc, "A2");
    EXPECT_EQ(book.shown("B1"), "6");
    EXPECT_EQ(book.shown("C1"), "7");

    // A formula deleted: B1 becomes a constant and stops following A2.
    book.put("B1", "50");
    recalc(calc, "B1");
    EXPECT_EQ(book.shown("C1"), "51");
    book.put("A2", "4");
    recalc(calc, "A2");
    EXPECT_EQ(book.shown("B1"), "50");
    EXPECT_EQ(calc.parsedFormula({1, 0}), nullptr);

    // A value turned into a formula reads from then on.
    book.putValue("A2", "=A1+1");
    recalc(calc, "A2");
    EXPECT_EQ(book.shown("A2"), "101");
    book.put("A1", "200");
    recalc(calc, "A1");
    EXPECT_EQ(book.shown("A2"), "201");
    EXPECT_EQ(calc.graph().formulaCount(), 2u); // A2 and C1
}

TEST(SheetCalculator, IncrementalCyclesMarkEveryCellThatReachesOne) {
    Book book;
    book.put("A1", "=B1").put("B1", "=1").put("C1", "=A1+1").put("D1", "=C1").put("E1", "=B5");
    auto calc = book.calculator();
    calc.recalculateAll();
    EXPECT_EQ(book.shown("D1"), "2");

    book.put("B1", "=A1");
    recalc(calc, "B1");
    for (const char* a : {"A1", "B1", "C1", "D1"}) {
        EXPECT_EQ(book.shown(a), "#CIRC!") << a;
        auto at = *parseCellAddress(a);
        EXPECT_TRUE(calc.hasCircularReference(at)) << a;
    }
    EXPECT_FALSE(calc.hasCircularReference({4, 0}));

    // A new reader of the cycle, elsewhere, is circular when it is entered.
    book.put("F1", "=C1*2");
    recalc(calc, "F1");
    EXPECT_EQ(book.shown("F1"), "#CIRC!");

    book.put("B1", "=5");
    recalc(calc, "B1");
    EXPECT_EQ(book.shown("A1"), "5");
    EXPECT_EQ(book.shown("D1"), "6");
    EXPECT_EQ(book.shown("F1"), "12");
    EXPECT_FALSE(calc.hasCircularReference({0, 0}));
}

TEST(SheetCalculator, NamedRangesAreDependencies) {
    Book book;
    book.doc.namedRanges.push_back(NamedRange{
        .name = "Items", .sheetName = std::nullopt, .startCol = 1, .startRow = 0, .endCol = 1, .endRow = 2});
    book.doc.namedRanges.push_back(NamedRange{
        .name = "Rate", .sheetName = "Data", .startCol = 0, .startRow = 0, .endCol = 0, .endRow = 0});
    book.put("B1", "1").put("B2", "2").put("B3", "3").put("Data!A1", "10");
    book.put("A1", "=SUM(items)").put("A2", "=Rate*2").put("A3", "=LET(items,5,items+1)");
    auto calc = book.calculator();
    calc.recalculateAll();
    EXPECT_EQ(book.shown("A1"), "6");
    EXPECT_EQ(book.shown("A2"), "20");
    EXPECT_EQ(calc.graph().rangeRegistrationCount(), 1u);

    book.put("B2", "20");
    recalc(calc, "B2");
    EXPECT_EQ(book.shown("A1"), "24");
    // Like a range, a name on another sheet registers as this sheet's cells.
    book.computed("A2", "stale");
    recalc(calc, "A1");
    EXPECT_EQ(book.shown("A2"), "20");
}

TEST(SheetCalculator, ReferencesToOtherSheetsAreNotFollowedByEdits) {
    Book book;
    book.put("Data!B3", "5").put("A1", "=Data!B3*2");
    auto calc = book.calculator();
    calc.recalculateAll();
    EXPECT_EQ(book.shown("A1"), "10");
    EXPECT_EQ(calc.graph().pointEntryCount(), 0u);

    book.put("Data!B3", "7");
    SheetCalculator(book.doc, 1, testFunctions()).recalculate({1, 2});
    recalc(calc, "B3"); // the same address on this sheet
    EXPECT_EQ(book.shown("A1"), "10");
    recalc(calc, "A1");
    EXPECT_EQ(book.shown("A1"), "14");
}

TEST(SheetCalculator, SpillsArraysAndMarksTheCells) {
    Book book;
    book.put("A1", "=GRID(2,2)").put("Z1", "=GRID(1,3,7)");
    auto calc = book.calculator();
    calc.recalculateAll();
    EXPECT_EQ(book.shown("A1"), "1");
    EXPECT_EQ(book.shown("B1"), "2");
    EXPECT_EQ(book.shown("A2"), "3");
    EXPECT_EQ(book.shown("B2"), "4");
    EXPECT_FALSE(book.at("A1").isSpillResult());
    EXPECT_TRUE(book.at("B2").isSpillResult());
    ASSERT_EQ(calc.spillRanges().count(CellRef{0, 0, std::nullopt}), 1u);
    EXPECT_EQ(calc.spillRanges().at(CellRef{0, 0, std::nullopt}).size(), 3u);
    // The grid grows for a footprint past its edge (26 columns before).
    EXPECT_EQ(book.doc.sheets[0].columnCount(), 28);
    EXPECT_EQ(book.shown("AB1"), "9");

    // A smaller result releases the cells it no longer covers.
    book.put("A1", "=GRID(1,2,5)");
    recalc(calc, "A1");
    EXPECT_EQ(book.shown("B1"), "6");
    EXPECT_EQ(book.shown("B2"), "");
    EXPECT_FALSE(book.at("B2").isSpillResult());
    // So does deleting the formula.
    book.clear("A1");
    recalc(calc, "A1");
    EXPECT_EQ(book.shown("B1"), "");
    EXPECT_TRUE(calc.spillRanges().count(CellRef{0, 0, std::nullopt}) == 0);
}

TEST(SheetCalculator, BlockedSpillShowsSpillUntilTheAnchorIsRecalculatedAfterClearing) {
    Book book;
    book.put("A1", "=GRID(2,1)").put("A2", "x");
    auto calc = book.calculator();
    calc.recalculateAll();
    EXPECT_EQ(book.shown("A1"), "#SPILL!");
    EXPECT_EQ(book.shown("A2"), "x");

    book.clear("A2");
    recalc(calc, "A2");
    EXPECT_EQ(book.shown("A1"), "#SPILL!"); // the anchor does not read its footprint
    recalc(calc, "A1");
    EXPECT_EQ(book.shown("A1"), "1");
    EXPECT_EQ(book.shown("A2"), "2");

    // A formula blocks too, and is left alone.
    book.put("B2", "=7").put("B1", "=GRID(2,1)");
    recalc(calc, "B2");
    recalc(calc, "B1");
    EXPECT_EQ(book.shown("B1"), "#SPILL!");
    EXPECT_EQ(book.shown("B2"), "7");
}

TEST(SheetCalculator, ReadersOfSpilledCellsSeeTheSpilledValues) {
    Book book;
    // C5 reads a spilled cell and is listed before its anchor.
    book.put("C5", "=B2*10").put("D5", "=SUM(A1:B2)").put("F9", "=GRID(2,2,A9)").put("A9", "1");
    auto calc = book.calculator();
    calc.recalculateAll();
    book.put("A1", "=GRID(2,2)");
    recalc(calc, "A1");
    EXPECT_EQ(book.shown("C5"), "40");
    EXPECT_EQ(book.shown("D5"), "10");

    book.put("A1", "=GRID(2,2,10)");
    recalc(calc, "A1");
    EXPECT_EQ(book.shown("C5"), "130");
    book.clear("A1");
    recalc(calc, "A1");
    EXPECT_EQ(book.shown("C5"), "0");
    EXPECT_EQ(book.shown("D5"), "0");

    // Full recalculation agrees, whatever the order of anchor and reader.
    book.put("A1", "=GRID(2,2,A9)").put("H1", "=G10+A2");
    calc.recalculateAll();
    EXPECT_EQ(book.shown("C5"), "40");
    EXPECT_EQ(book.shown("H1"), "7");
    book.put("A9", "2");
    recalc(calc, "A9");
    EXPECT_EQ(book.shown("C5"), "50");
    EXPECT_EQ(book.shown("H1"), "9"); // G10 = 5, A2 = 4
}

TEST(SheetCalculator, LongChainsRecalculateWithoutRecursion) {
    constexpr int kRows = 100000;
    Book book;
    Sheet& sheet = book.doc.sheets[0];
    sheet.cellForWriting(0, 0).setFormula("1");
    for (int r = 1; r < kRows; ++r)
        sheet.cellForWriting(r, 0).setFormula("A" + std::to_string(r) + "+1");
    auto calc = book.calculator();
    calc.recalculateAll();
    EXPECT_EQ(book.shown("A100000"), "100000");
    sheet.cellForWriting(0, 0).setFormula("5");
    calc.recalculate({0, 0});
    EXPECT_EQ(book.shown("A100000"), "100004");
}

// Past 20,000 formulas the graph is built while a second thread parses: the
// results, the promotions, the kept texts of failures, the cycles and later
// edits must come out as they do for a small sheet.
TEST(SheetCalculator, LargeSheetsBuildOnTwoThreadsAlike) {
    constexpr int kRows = 21000;
    Book book;
    for (int n = 1; n <= kRows; ++n) {
        const std::string row = std::to_string(n);
        book.put("A" + row, row);
        if (n % 2)
            book.put("B" + row, "=A" + row + "*2");
        else
            book.putValue("B" + row, "=A" + row + "*2"); // promoted
        book.put("C" + row, n == 1 ? "=1" : "=C" + std::to_string(n - 1) + "+1");
        book.put("D" + row, "=SUM(B" + std::to_string(std::max(1, n - 9)) + ":B" + row + ")");
        if (n % 1000 == 0) book.put("F" + row, "=A" + row + "+").computed("F" + row, "kept");
    }
    book.put("E1", "=E2").put("E2", "=E1").put("E3", "=E1+1");
    auto calc = book.calculator();
    calc.recalculateAll();
    auto window = [](int n) { return n * (n + 1) - std::max(0, n - 10) * (std::max(0, n - 10) + 1); };
    for (int n = 1; n <= kRows; n += 997) {
        const std::string row = std::to_string(n);
        ASSERT_EQ(book.shown("B" + row), std::to_string(2 * n)) << row;
        ASSERT_EQ(book.shown("C" + row), row);
        ASSERT_EQ(book.shown("D" + row), std::to_string(window(n))) << row;
    }
    EXPECT_EQ(book.shown("F2000"), "kept");
    for (const char* cell : {"E1", "E2", "E3"})
        EXPECT_EQ(book.shown(cell), "#CIRC!") << cell;
    book.put("A5", "100");
    recalc(calc, "A5");
    EXPECT_EQ(book.shown("D10"), std::to_string(window(10) - 10 + 200));
    EXPECT_EQ(book.shown("D15"), std::to_string(window(15)));
}

TEST(SheetCalculator, InvalidateRebuildsAfterCellsMove) {
    Book book;
    book.put("A1", "1").put("B2", "=A1+1");
    auto calc = book.calculator();
    calc.recalculateAll();
    book.doc.sheets[0].insertRows(0, 1); // B2 is now B3, reading A1 (empty)
    calc.invalidate();
    book.put("A1", "10");
    recalc(calc, "A1");
    EXPECT_EQ(book.shown("B3"), "11");
    EXPECT_EQ(calc.parsedFormula({1, 1}), nullptr);
}

// ---- Equivalence with the rules applied cell by cell ----

using Pos = std::pair<int64_t, int64_t>; // (col, row)

// The recalculation rules with no cleverness at all: ranges expanded to their
// cells, a fresh graph for every request, cells read straight from the
// document, cycles found by plain reachability.
class NaiveCalculator {
  public:
    NaiveCalculator(SumoraDocument& doc) : doc_(doc) {}

    void recalculateAll() {
        sheet().forEachStoredCell([](int64_t, int64_t, Cell& c) { promote(c); });
        parseAll();
        std::map<Pos, int> inDegree;
        for (const auto& [p, reads] : precedents_) {
            inDegree[p] = 0;
            for (const Pos& q : reads)
                inDegree[p] += trees_.count(q) ? 1 : 0;
        }
        std::vector<Pos> queue;
        for (const auto& [p, n] : inDegree)
            if (n == 0) queue.push_back(p);
        std::set<Pos> done;
        for (size_t i = 0; i < queue.size(); ++i) {
            evaluate(queue[i]);
            done.insert(queue[i]);
            for (const auto& [d, reads] : precedents_)
                if (reads.count(queue[i]) && --inDegree[d] == 0) queue.push_back(d);
        }
        for (const auto& [p, tree] : trees_)
            if (!done.count(p)) write(p, "#CIRC!");
    }

    void recalculate(Pos e) {
        if (Cell* cell = sheet().storedCell(e.second, e.first)) promote(*cell);
        parseAll();
        if (trees_.count(e)) {
            if (reachesCycle(e))
                write(e, "#CIRC!");
            else
                evaluate(e);
        }
        // Readers of e, directly or not, each after the readers it reads.
        std::set<Pos> pending;
        std::vector<Pos> frontier{e};
        while (!frontier.empty()) {
            Pos p = frontier.back();
            frontier.pop_back();
            for (const auto& [d, reads] : precedents_)
                if (reads.count(p) && pending.insert(d).second) frontier.push_back(d);
        }
        for (auto it = pending.begin(); it != pending.end();) {
            if (reachesCycle(*it)) {
                write(*it, "#CIRC!");
                it = pending.erase(it);
            } else {
                ++it;
            }
        }
        while (!pending.empty()) {
            for (auto it = pending.begin(); it != pending.end(); ++it) {
                bool ready = true;
                for (const Pos& q : precedents_[*it])
                    ready = ready && !pending.count(q);
                if (!ready) continue;
                evaluate(*it);
                pending.erase(it);
                break;
            }
        }
    }

  private:
    Sheet& sheet() { return doc_.sheets[0]; }
    static void promote(Cell& c) {
        if (c.hasFormula() || !c.value().starts_with('=')) return;
        c.setFormula(c.value().substr(1));
        c.setValue("");
    }

    void parseAll() {
        trees_.clear();
        precedents_.clear();
        sheet().forEachStoredCell([&](int64_t row, int64_t col, const Cell& c) {
            if (!c.hasFormula()) return;
            try {
                FormulaTree tree = parseFormula(*c.formula(), testFunctions());
                std::set<Pos> reads;
                for (const FormulaNode& n : tree.nodes) {
                    if (n.kind == NodeKind::cellRef && n.sheet < 0) reads.insert({n.ref.col, n.ref.row});
                    if (n.kind == NodeKind::range)
                        for (int64_t r = n.ref.row; r <= n.ref.row2; ++r)
                            for (int64_t k = n.ref.col; k <= n.ref.col2; ++k)
                                reads.insert({k, r});
                }
                precedents_[{col, row}] = std::move(reads);
                trees_[{col, row}] = std::move(tree);
            } catch (const FormulaParseError&) {
            }
        });
    }

    // Whether some formula reachable from p through what formulas read lies on a cycle.
    bool reachesCycle(Pos p) {
        auto reachable = [&](Pos from) {
            std::set<Pos> seen;
            std::vector<Pos> stack{from};
            while (!stack.empty()) {
                Pos x = stack.back();
                stack.pop_back();
                for (const Pos& q : precedents_[x])
                    if (trees_.count(q) && seen.insert(q).second) stack.push_back(q);
            }
            return seen;
        };
        for (const Pos& y : reachable(p))
            if (reachable(y).count(y)) return true;
        return false;
    }

    void evaluate(Pos p) {
        WorkbookResolver resolver(doc_, 0, CellRef{p.first, p.second, std::nullopt});
        FormulaEvaluator evaluator(resolver);
        write(p, evaluator.evaluate(trees_[p]).description());
    }
    void write(Pos p, const std::string& text) {
        sheet().cellForWriting(p.second, p.first).setComputedValue(text);
    }

    SumoraDocument& doc_;
    std::map<Pos, FormulaTree> trees_;
    std::map<Pos, std::set<Pos>> precedents_;
};

class RandomSheet {
  public:
    explicit RandomSheet(unsigned seed) : rng_(seed) {}

    std::string cellAddress() { return sumora::cellAddress({pick(6), pick(6)}); }
    // Content of one cell, in the form Book::put / putValue take.
    std::pair<std::string, bool> content() { // (text, stored as a plain value)
        int64_t kind = pick(20);
        if (kind < 4) return {"", false};
        if (kind < 9) return {std::to_string(pick(10)), false};
        if (kind == 9) return {"ab", false};
        if (kind == 10) return {"=" + expression(), true};
        if (kind == 11) return {"=" + expression() + "+", false}; // does not parse
        return {"=" + expression(), false};
    }

  private:
    int64_t pick(int64_t n) { return static_cast<int64_t>(rng_() % static_cast<unsigned>(n)); }
    std::string term() {
        int64_t kind = pick(7);
        if (kind == 0) return std::to_string(pick(10));
        if (kind == 1) return "SUM(" + cellAddress() + ":" + cellAddress() + ")"; // backwards at times
        if (kind == 2) return "Data!A1";
        return cellAddress();
    }
    std::string expression() {
        static const char* ops[] = {"+", "-", "*", "&", "<"};
        std::string e = term();
        for (int64_t n = pick(3); n > 0; --n)
            e += std::string(ops[pick(5)]) + term();
        return e;
    }
    std::mt19937 rng_;
};

void expectSameSheets(const Book& mine, const Book& naive, const std::string& when) {
    for (int64_t r = 0; r < 8; ++r)
        for (int64_t c = 0; c < 8; ++c) {
            const Cell& a = mine.doc.sheets[0].cell(r, c);
            const Cell& b = naive.doc.sheets[0].cell(r, c);
            ASSERT_EQ(a.computedValue(), b.computedValue()) << when << " at " << sumora::cellAddress({c, r});
            ASSERT_EQ(a.formula(), b.formula()) << when << " at " << sumora::cellAddress({c, r});
            ASSERT_EQ(a.value(), b.value()) << when << " at " << sumora::cellAddress({c, r});
        }
}

TEST(SheetCalculator, MatchesTheCellByCellRulesOnRandomSheets) {
    Log::setEnabled(false);
    for (unsigned seed = 1; seed <= 40; ++seed) {
        RandomSheet random(seed);
        Book mine, naive;
        auto place = [&](const std::string& address, const std::pair<std::string, bool>& content) {
            for (Book* b : {&mine, &naive}) {
                b->clear(address);
                if (content.second)
                    b->putValue(address, content.first);
                else if (!content.first.empty())
                    b->put(address, content.first);
            }
        };
        mine.put("Data!A1", "7");
        naive.put("Data!A1", "7");
        for (int i = 0; i < 24; ++i)
            place(random.cellAddress(), random.content());

        auto calc = mine.calculator();
        NaiveCalculator reference(naive.doc);
        calc.recalculateAll();
        reference.recalculateAll();
        expectSameSheets(mine, naive, "seed " + std::to_string(seed) + " full");

        for (int edit = 0; edit < 30; ++edit) {
            std::string address = random.cellAddress();
            place(address, random.content());
            auto at = *parseCellAddress(address);
            calc.recalculate(at);
            reference.recalculate({at.col, at.row});
            expectSameSheets(mine, naive,
                             "seed " + std::to_string(seed) + " edit " + std::to_string(edit) + " of " +
                                 address);
        }
        calc.recalculateAll();
        reference.recalculateAll();
        expectSameSheets(mine, naive, "seed " + std::to_string(seed) + " full after edits");
    }
    Log::setEnabled(true);
}

} // namespace
} // namespace sumora
