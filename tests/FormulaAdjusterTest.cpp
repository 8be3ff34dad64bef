#include "engine/FormulaAdjuster.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace sumora {
namespace {

struct AdjustCase {
    std::string text;
    int64_t rowDelta, colDelta;
    std::string expected;
};

TEST(FormulaAdjuster, ShiftsRelativePartsAndKeepsAbsoluteOnes) {
    const std::vector<AdjustCase> cases = {
        {"=A1+$B$2+C$3+$D4", 2, 1, "=B3+$B$2+D$3+$D6"},
        {"=SUM(A1:A3)", 1, 0, "=SUM(A2:A4)"},
        {"=Sheet2!A1*2", 1, 0, "=Sheet2!A2*2"},
        {"='My Sheet'!B2", 0, 1, "='My Sheet'!C2"},
        {"=_data!Z9", -1, 1, "=_data!AA8"},
        {"A1+B2", 1, 1, "B2+C3"}, // no "=": adjusted, returned without one
        {"=A1", 0, 0, "=A1"},
        {"", 3, 3, ""},
        {"=", 3, 3, "="},
        {"=1+2", 5, 5, "=1+2"},
        {"=ZZ10", -2, 1, "=AAA8"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(FormulaAdjuster::adjustReferences(c.text, c.rowDelta, c.colDelta), c.expected) << c.text;
}

TEST(FormulaAdjuster, ClampsAtColumnAAndRowOne) {
    const std::vector<AdjustCase> cases = {
        {"=A1", -5, 0, "=A1"},    {"=B1", 0, -3, "=A1"}, {"=C5+$C5", -10, -10, "=A1+$C1"},
        {"=A0", 0, 0, "=A1"}, // a written row 0 is relative and becomes row 1
        {"=$A$0", 0, 0, "=$A$0"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(FormulaAdjuster::adjustReferences(c.text, c.rowDelta, c.colDelta), c.expected) << c.text;
}

// The pattern knows nothing of names, literals or case; these are kept as they are.
TEST(FormulaAdjuster, TreatsAnyCapitalsWithDigitsAsAReference) {
    const std::vector<AdjustCase> cases = {
        {"=LOG10(A1)", 1, 0, "=LOG11(A2)"},
        {"=\"AB12\"&A1", 1, 0, "=\"AB13\"&A2"},
        {"=a1+b2", 4, 4, "=a1+b2"},
        {"=XFD1", 1, 0, "=XFD2"},
        {"=AAAA1", 1, 0, "=AAAA2"},         // the last three letters and the digits
        {"=A12345678", 1, 0, "=A12345688"}, // seven digits at most: "8" is left over
        {"=ATAN2(B1,C1)", 1, 0, "=ATAN3(B2,C2)"},
        {"=ATAN2(B1)", 0, 1, "=ATAO2(C1)"},           // "TAN2" is a reference too
        {"=Q1data!A1", 1, 0, "=Q1data!A2"},           // a sheet prefix is copied, not shifted
        {"='Q1 x'!A1&'Q1'", 1, 0, "='Q1 x'!A2&'Q2'"}, // only a prefix followed by "!" is kept
    };
    for (const auto& c : cases)
        EXPECT_EQ(FormulaAdjuster::adjustReferences(c.text, c.rowDelta, c.colDelta), c.expected) << c.text;
}

} // namespace
} // namespace sumora
