// The family tables are the one list of functions: every row must be usable,
// the names that the function definitions document beyond the catalogue must
// be declared, and each row's declared count and number rule must be what its
// body does.
#include <gtest/gtest.h>

#include "engine/FunctionRegistry.h"
#include "functions/BuiltinFunctions.h"
#include "functions/FunctionCatalogue.h"
#include "tests/TestSupport.h"

namespace sumora {
namespace {

const FunctionRegistry& registry() {
    return builtinFunctions();
}

// Known to the dispatcher without a catalogue entry, as the function library's
// documentation lists them by family.
// clang-format off
constexpr std::string_view kDocumentedUnlisted[] = {
    "SUMSQ", "SUMXMY2", "SUMX2MY2", "SUMX2PY2", "CEILING.MATH", "FLOOR.MATH", "QUOTIENT", "EVEN", "ATAN2",
    "ACOT", "ASINH", "ACOSH", "ATANH", "BASE", "DECIMAL", "ROMAN", "ARABIC", "DEC2BIN", "DEC2OCT", "DEC2HEX",
    "BIN2DEC", "BIN2OCT", "BIN2HEX", "OCT2DEC", "OCT2BIN", "OCT2HEX", "HEX2DEC", "HEX2BIN", "HEX2OCT",
    "MAXIFS", "MINIFS", "STDEV.S", "STDEV.P", "VAR.S", "RANK.EQ", "PERCENTRANK", "TRIMMEAN", "GEOMEAN",
    "HARMEAN", "AVEDEV", "DEVSQ", "SKEW", "FISHER", "FISHERINV", "CONFIDENCE", "NORM.DIST", "NORMDIST",
    "NORMSDIST", "NORM.INV", "NORMINV", "NORM.S.INV", "NORMSINV", "POISSON", "POISSON.DIST", "BINOM.DIST",
    "BINOMDIST", "EXPON.DIST", "EXPONDIST", "T.DIST",
    "CLEAN", "NUMBERVALUE", "FIXED", "DOLLAR", "TEXTBEFORE", "TEXTAFTER", "TEXTSPLIT", "VALUETOTEXT", "ARRAYTOTEXT",
    "DAYS", "DAYS360", "NETWORKDAYS.INTL", "WORKDAY.INTL", "YEARFRAC", "ISOWEEKNUM", "WEEKNUM",
    "ISNONTEXT", "ISFORMULA", "ERROR.TYPE", "SYD", "DB", "DDB", "IPMT", "EFFECT", "NOMINAL",
    "XLOOKUP", "XMATCH", "ADDRESS", "WRAPROWS", "WRAPCOLS", "TOCOL", "TOROW", "HSTACK", "TAKE", "DROP",
    "EXPAND", "CHOOSECOLS", "CHOOSEROWS", "MAKEARRAY", "LET",
};
// clang-format on

TEST(FunctionDeclarations, DocumentedNamesBeyondTheCatalogueAreDeclaredUnlisted) {
    for (std::string_view name : kDocumentedUnlisted) {
        const FunctionDeclaration* declaration = registry().find(name);
        ASSERT_NE(declaration, nullptr) << name;
        EXPECT_FALSE(declaration->is(FunctionFlags::listed)) << name;
    }
}

TEST(FunctionDeclarations, EveryRowIsWellFormed) {
    size_t listed = 0;
    for (const FunctionDeclaration* f : registry().declarations()) {
        const std::string name(f->name);
        EXPECT_TRUE(std::all_of(name.begin(), name.end(), [](char c) {
            return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.';
        })) << name;
        EXPECT_NE(f->impl, nullptr) << name;
        EXPECT_LE(f->count.min, f->count.max) << name;
        if (!f->signature.empty()) {
            EXPECT_TRUE(f->signature.starts_with(name + "(")) << name;
        }
        if (!f->is(FunctionFlags::listed)) continue;
        ++listed;
        EXPECT_TRUE(f->signature.ends_with(")")) << name;
        EXPECT_TRUE(f->description.ends_with(".")) << name;
    }
    EXPECT_EQ(listed, sumoraFunctionLibrary().size());
}

TEST(FunctionDeclarations, NoDeclaredNameEvaluatesToNameError) {
    test::TestBook book;
    book.set("A1", "1").set("A2", "2").set("B1", "x");
    std::vector<std::string> failing;
    for (const FunctionDeclaration* f : registry().declarations()) {
        // Argument shapes vary; any result but an unknown-name error is fine.
        for (const char* args : {"()", "(A1)", "(A1,A2)", "(A1:A2,B1,1)"}) {
            const std::string formula = "=" + std::string(f->name) + args;
            if (book.eval(formula).starts_with("#NAME?")) {
                failing.push_back(formula);
                break;
            }
        }
    }
    EXPECT_TRUE(failing.empty()) << ::testing::PrintToString(failing);
}

// An error in the first argument is "#VALUE!" under the evalNum rule and
// passes through under numberArg; the other arguments are 1s up to the
// declared minimum. Two different errors must both pass through, so that a
// function that makes one of them of its own accord is not taken for passing.
TEST(FunctionDeclarations, BodiesFollowTheirDeclaredNumberRule) {
    test::TestBook book;
    std::vector<std::string> failing;
    for (const FunctionDeclaration* f : registry().declarations()) {
        if (f->rule == ArgumentRule::values || f->count.max == 0) continue;
        std::string rest;
        for (uint8_t k = 1; k < std::max<uint8_t>(f->count.min, 1); ++k)
            rest += ",1";
        const std::string name(f->name);
        const bool passedThrough = book.eval("=" + name + "(NA()" + rest + ")") == "#N/A" &&
                                   book.eval("=" + name + "(1/0" + rest + ")") == "#DIV/0!";
        if (passedThrough != (f->rule == ArgumentRule::numberArg)) failing.push_back(name);
    }
    EXPECT_TRUE(failing.empty()) << ::testing::PrintToString(failing);
}

TEST(FunctionDeclarations, DispatcherChecksDeclaredArgumentCounts) {
    test::TestBook book;
    test::expectFormulaResults(
        book, {
                  {"=XLOOKUP(1,2)", "#VALUE! (XLOOKUP expects 3-6 args, got 2)"},
                  {"=XLOOKUP(1,A1:A2,A1:A2,0,0,1,1)", "#VALUE! (XLOOKUP expects 3-6 args, got 7)"},
                  {"=IFERROR(XLOOKUP(1),5)", "5"},
                  {"=ABS(-2,9)", "2"}, // extra arguments are ignored unless declared
              });
}

TEST(FunctionDeclarations, FlagsDriveReferencesAndNameBinding) {
    test::TestBook book;
    book.set("B7", "42").set("A1", "3").set("A2", "4");
    test::expectFormulaResults(book, {
                                         {"=ROW(INDIRECT(\"B7\"))", "7"},
                                         {"=SUM(OFFSET(A1,0,0,2,1))", "7"},
                                         {"=ROWS(CHOOSE(2,A1,A1:A2))", "2"},
                                         {"=LET(x,A1,y,x*2,y+A2)", "10"},
                                     });
    for (std::string_view name : {"INDIRECT", "OFFSET", "INDEX", "CHOOSE"}) {
        const FunctionDeclaration* declaration = registry().find(name);
        ASSERT_NE(declaration, nullptr) << name;
        EXPECT_TRUE(declaration->returnsReference()) << name;
    }
}

} // namespace
} // namespace sumora
