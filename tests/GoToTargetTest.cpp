// Where the Name Box and Go To land, and where Ctrl+arrows stop on a grid
// larger than the stored sheet.
#include "editing/GoToTarget.h"

#include <gtest/gtest.h>

#include "editing/GridNavigation.h"

namespace sumora {
namespace {

SumoraDocument twoSheetsWithNames() {
    SumoraDocument doc;
    doc.sheets.emplace_back("Q1 Sales", 500, 26);
    doc.sheets.emplace_back("It's", 500, 26);
    NamedRange total;
    total.name = "Total";
    total.sheetName = "Q1 Sales";
    total.startCol = 3, total.startRow = 9, total.endCol = 1, total.endRow = 4;
    NamedRange rate;
    rate.name = "rate";
    rate.startCol = 7, rate.startRow = 0, rate.endCol = 7, rate.endRow = 0;
    doc.namedRanges = {total, rate};
    return doc;
}

TEST(GoToTarget, ReadsCellsRangesSheetsAndNames) {
    const SumoraDocument doc = twoSheetsWithNames();
    const struct {
        const char* text;
        std::optional<GoToTarget> expected; // {sheet, {left, top, right, bottom}}
    } cases[] = {
        {"AB1000", GoToTarget{0, {27, 999, 27, 999}}},
        {" b2 ", GoToTarget{0, {1, 1, 1, 1}}},
        {"$C$3", GoToTarget{0, {2, 2, 2, 2}}},
        {"D9:B2", GoToTarget{0, {1, 1, 3, 8}}},
        {"XFD1048576", GoToTarget{0, {16383, 1048575, 16383, 1048575}}},
        {"'Q1 Sales'!C3", GoToTarget{1, {2, 2, 2, 2}}},
        {"q1 sales!A1:B2", GoToTarget{1, {0, 0, 1, 1}}},
        {"'It''s'!E5", GoToTarget{2, {4, 4, 4, 4}}},
        {"TOTAL", GoToTarget{1, {1, 4, 3, 9}}},
        {"Rate", GoToTarget{0, {7, 0, 7, 0}}},
        // Past the grid, unknown sheets and names, and plain words name nothing.
        {"XFE1", std::nullopt},
        {"A1048577", std::nullopt},
        {"Nowhere!A1", std::nullopt},
        {"Sheet 1!Total", std::nullopt},
        {"hello world", std::nullopt},
        {"", std::nullopt},
        {"A0", std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(resolveGoToTarget(doc, 0, c.text), c.expected) << c.text;
}

TEST(GoToTarget, UnqualifiedReferencesStayOnTheActiveSheet) {
    const SumoraDocument doc = twoSheetsWithNames();
    EXPECT_EQ(resolveGoToTarget(doc, 2, "C3"), (GoToTarget{2, {2, 2, 2, 2}}));
    EXPECT_EQ(resolveGoToTarget(doc, 2, "rate"), (GoToTarget{2, {7, 0, 7, 0}}));
}

TEST(GridNavigation, CtrlArrowsOffTheDataReachTheShownGridsEdge) {
    Sheet sheet("S", 500, 26);
    sheet.cellForWriting(4, 2).setValue("x");
    const struct {
        CellPosition from;
        int dRow, dCol;
        CellPosition expected;
    } cases[] = {
        // from {col, row}, step, expected {col, row}
        {{0, 0}, 1, 0, {0, 1048575}},                             // empty column: the last row of the grid
        {{0, 0}, 0, 1, {16383, 0}},                               // empty row: column XFD
        {{2, 0}, 1, 0, {2, 4}},                                   // the next cell with content
        {{0, 4}, 0, 1, {2, 4}},       {{2, 4}, 0, 1, {16383, 4}}, // past the row's last content
        {{2, 4}, 1, 0, {2, 1048575}}, {{2, 9}, -1, 0, {2, 4}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(dataEdge(sheet, c.from, c.dRow, c.dCol, kSheetRowLimit, kSheetColumnLimit), c.expected)
            << c.from.row << "," << c.from.col << " by " << c.dRow << "," << c.dCol;
    // The sheet's own grid stays the limit of the original form.
    EXPECT_EQ(dataEdge(sheet, {0, 0}, 1, 0), (CellPosition{0, 499}));
}

} // namespace
} // namespace sumora
