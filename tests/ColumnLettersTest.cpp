// Column letters, A1 references and the value types CellRef and CellRange.
#include "document/ColumnLetters.h"

#include <gtest/gtest.h>

#include <unordered_set>

#include "engine/CellRef.h"
#include "engine/FormulaTokenizer.h"

namespace sumora {
namespace {

TEST(ColumnLetters, NumbersPrintAsBijectiveBase26) {
    const struct {
        int64_t column;
        const char* letters;
    } cases[] = {
        {0, "A"},       {1, "B"},       {25, "Z"},       {26, "AA"},       {27, "AB"},
        {51, "AZ"},     {52, "BA"},     {701, "ZZ"},     {702, "AAA"},     {703, "AAB"},
        {16383, "XFD"}, {18277, "ZZZ"}, {18278, "AAAA"}, {475253, "ZZZZ"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(columnLetter(c.column), c.letters) << c.column;
        EXPECT_EQ(columnIndex(c.letters), c.column) << c.letters;
    }
}

TEST(ColumnLetters, LettersToIndexUpperCasesAndSkipsNonAscii) {
    const struct {
        const char* letters;
        int64_t column;
    } cases[] = {
        {"", -1}, {"aa", 26}, {"zZ", 701}, {"xfd", 16383}, {"\u00e9B", 1}, {"\xC3\xA9", -1},
    };
    for (const auto& c : cases)
        EXPECT_EQ(columnIndex(c.letters), c.column) << c.letters;
}

TEST(ColumnLetters, EveryColumnRoundTrips) {
    for (int64_t n = 0; n < 20000; ++n)
        ASSERT_EQ(columnIndex(columnLetter(n)), n) << n;
}

TEST(ColumnLetters, OverlongLettersAreRejectedInsteadOfWrapping) {
    EXPECT_TRUE(columnIndex("ZZZZZZZZZZZZZ").has_value()); // 13 letters still fit
    EXPECT_FALSE(columnIndex("ZZZZZZZZZZZZZZ").has_value());
    EXPECT_FALSE(columnIndex(std::string(40, 'A')).has_value());
    EXPECT_FALSE(parseCellRef(std::string(40, 'A') + "1").has_value());
}

TEST(ColumnLetters, NegativeColumnPrintsNothing) {
    EXPECT_EQ(columnLetter(-1), "");
}

TEST(ColumnLetters, CellAddressIsLettersThenOneBasedRow) {
    EXPECT_EQ(cellAddress({0, 0}), "A1");
    EXPECT_EQ(cellAddress({2, 4}), "C5");
    EXPECT_EQ(cellAddress({27, 99}), "AB100");
}

struct RefCase {
    const char* text;
    bool parses;
    int64_t col = 0, row = 0;
    bool absCol = false, absRow = false;
};

TEST(ParseCellRef, A1TextToReference) {
    const RefCase cases[] = {
        {"A1", true, 0, 0},
        {"b7", true, 1, 6},
        {"$B$12", true, 1, 11, true, true},
        {"$C3", true, 2, 2, true, false},
        {"C$3", true, 2, 2, false, true},
        {"A01", true, 0, 0},
        {"A+1", true, 0, 0}, // the row may carry a sign
        {"XFD1048576", true, 16383, 1048575},
        {"AAAA99999999", true, 18278, 99999998},
        {"A0", false},
        {"A", false},
        {"1", false},
        {"", false},
        {"$", false},
        {"$$A1", false},
        {"A$$1", false},
        {"A-1", false},
        {"A+0", false},
        {"A1B", false},
        {"A1.5", false},
        {"A 1", false},
        {"1A", false},
        {"A99999999999999999999", false}, // row overflows
    };
    for (const auto& c : cases) {
        auto ref = parseCellRef(c.text);
        ASSERT_EQ(ref.has_value(), c.parses) << c.text;
        if (!ref) continue;
        EXPECT_EQ(ref->col, c.col) << c.text;
        EXPECT_EQ(ref->row, c.row) << c.text;
        EXPECT_EQ(ref->absCol, c.absCol) << c.text;
        EXPECT_EQ(ref->absRow, c.absRow) << c.text;
    }
}

TEST(ParseCellRef, LettersOfAnyScriptMakeAReference) {
    // Non-ASCII letters count as letters but add nothing to the column.
    auto ref = parseCellRef("\u00e9B2");
    ASSERT_TRUE(ref);
    EXPECT_EQ(ref->col, 1);
    EXPECT_EQ(ref->row, 1);
}

TEST(ParseCellAddress, AsciiAddressesOfReadersAndTools) {
    EXPECT_EQ(parseCellAddress("B7"), (CellPosition{1, 6}));
    EXPECT_EQ(parseCellAddress("$AA$10"), (CellPosition{26, 9}));
    EXPECT_FALSE(parseCellAddress("A0"));
    EXPECT_FALSE(parseCellAddress("7B"));
    EXPECT_FALSE(parseCellAddress("B7x"));
    EXPECT_FALSE(parseCellAddress(""));
}

TEST(CellRef, DescriptionWritesTheSheetUnquoted) {
    EXPECT_EQ((CellRef{0, 0, std::nullopt}.description()), "A1");
    EXPECT_EQ((CellRef{27, 9, "Data"}.description()), "Data!AB10");
    EXPECT_EQ((CellRef{2, 4, "My Sheet"}.description()), "My Sheet!C5");
}

TEST(CellRef, SheetIsPartOfTheKey) {
    CellRef bare{0, 0, std::nullopt};
    CellRef onSheet1{0, 0, "Sheet1"};
    EXPECT_NE(bare, onSheet1);
    EXPECT_NE(onSheet1, (CellRef{0, 0, "Sheet2"}));
    std::unordered_set<CellRef, CellRefHash> keys{bare, onSheet1, CellRef{0, 0, std::nullopt}};
    EXPECT_EQ(keys.size(), 2u);
    // Column and row are not interchangeable.
    EXPECT_NE((CellRef{1, 2, std::nullopt}), (CellRef{2, 1, std::nullopt}));
}

std::vector<std::pair<int64_t, int64_t>> cellsOf(const CellRange& r) {
    std::vector<std::pair<int64_t, int64_t>> out;
    r.forEachCell([&](int64_t c, int64_t row) { out.emplace_back(c, row); });
    return out;
}

TEST(CellRange, VisitsRowByRowLeftToRight) {
    CellRange r{{0, 0, std::nullopt}, {1, 1, std::nullopt}};
    EXPECT_EQ(cellsOf(r), (std::vector<std::pair<int64_t, int64_t>>{{0, 0}, {1, 0}, {0, 1}, {1, 1}}));
    EXPECT_EQ(r.rowCount(), 2);
    EXPECT_EQ(r.columnCount(), 2);
}

TEST(CellRange, BackwardsRangesYieldNoCellsAndAreNotSwapped) {
    const CellRange backwards[] = {
        {{2, 2, std::nullopt}, {0, 0, std::nullopt}}, // C3:A1
        {{2, 0, std::nullopt}, {0, 4, std::nullopt}}, // columns backwards only
        {{0, 4, std::nullopt}, {2, 0, std::nullopt}}, // rows backwards only
    };
    for (const auto& r : backwards) {
        EXPECT_TRUE(cellsOf(r).empty());
        EXPECT_EQ(r.rowCount(), 0);
        EXPECT_EQ(r.columnCount(), 0);
    }
    EXPECT_EQ(backwards[0].start.col, 2);
    EXPECT_NE(backwards[0], (CellRange{{0, 0, std::nullopt}, {2, 2, std::nullopt}}));
}

} // namespace
} // namespace sumora
