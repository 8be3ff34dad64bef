// Shared formulas expanded by tokens: the table beside generate.py holds what
// LibreOffice makes of each master in the cells of its group.
#include "engine/ReferenceShifter.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace sumora {
namespace {

struct ShiftCase {
    std::string master;
    int64_t rowDelta = 0, colDelta = 0;
    std::string expected;
};

std::vector<ShiftCase> libreOfficeTable() {
    std::ifstream in(SUMORA_SOURCE_DIR "/tests/data/shared-formulas/shifted.tsv");
    std::vector<ShiftCase> cases;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        ShiftCase c;
        std::string rows, cols;
        std::getline(fields, c.master, '\t');
        std::getline(fields, rows, '\t');
        std::getline(fields, cols, '\t');
        std::getline(fields, c.expected, '\t');
        c.rowDelta = std::stoll(rows);
        c.colDelta = std::stoll(cols);
        cases.push_back(c);
    }
    return cases;
}

TEST(ReferenceShifter, ExpandsSharedFormulasAsLibreOfficeDoes) {
    const std::vector<ShiftCase> cases = libreOfficeTable();
    ASSERT_GE(cases.size(), 40u);
    for (const ShiftCase& c : cases)
        EXPECT_EQ(ReferenceShifter(c.master).shifted(c.rowDelta, c.colDelta), c.expected)
            << c.master << " moved by " << c.rowDelta << ", " << c.colDelta;
}

// What LibreOffice rewrites on saving (numbers, TRUE) or cannot show (upward moves).
TEST(ReferenceShifter, MovesOnlyReferencesAndKeepsTheRestAsWritten) {
    const std::vector<ShiftCase> cases = {
        {"A1*1E3+TRUE", 1, 0, "A2*1E3+TRUE"},
        {"SALES2024+XFE1+A1", 1, 0, "SALES2024+XFE1+A2"}, // beyond column XFD: names
        {"Ünï1+A1", 0, 1, "Ünï1+B1"},
        {"Q1!A1:Q1!B2", 2, 0, "Q1!A3:Q1!B4"},
        {"SUM( A1 : B2 )", 0, 1, "SUM( B1 : C2 )"},
        {"'It''s'!A1", 1, 0, "'It''s'!A2"},
        {"B2-A1", -1, 0, "B1-#REF!"},
        {"SUM(Q1!A1:B2)", 0, -1, "SUM(#REF!)"},
        {"A1+B1", 0, 0, "A1+B1"},
        {"\"unterminated A1", 1, 0, "\"unterminated A1"},
        {"", 1, 1, ""},
    };
    for (const ShiftCase& c : cases)
        EXPECT_EQ(ReferenceShifter(c.master).shifted(c.rowDelta, c.colDelta), c.expected)
            << c.master << " moved by " << c.rowDelta << ", " << c.colDelta;
}

} // namespace
} // namespace sumora
