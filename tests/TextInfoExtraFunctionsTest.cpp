// Text, information, lookup-with-LAMBDA and database functions beyond the
// catalogue. Expected values: tests/data/text_info_functions.tsv, computed by
// LibreOffice where it has the function, else from the published
// definitions; text_info_functions_generate.py beside it rebuilds the table
// and names each place where the definition overrides LibreOffice.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "engine/FormulaParser.h"
#include "formats/OdsFormulaTranslation.h"

namespace sumora {
namespace {

// The cells of CELLS in the generator script.
test::TestBook textInfoBook() {
    test::TestBook b;
    const char* table[][3] = {{"Name", "Kind", "Qty"}, {"Ann", "x", "10"}, {"Bob", "y", "20"},
                              {"Cid", "x", "5"},       {"Dee", "z", "7"},  {"Eve", "x", "n/a"}};
    for (int i = 0; i < 6; ++i) {
        std::string row = std::to_string(i + 1);
        b.set("A" + row, table[i][0]).set("B" + row, table[i][1]).set("C" + row, table[i][2]);
    }
    b.set("E1", "Kind").set("E2", "x").set("F1", "Name").set("F2", "Bob");
    b.set("G1", "Kind").set("G2", "q").set("H1", "Qty").set("H2", ">6");
    b.set("I1", "=1+2");
    b.set("J1", "\u30a2\u30a4\u30a6\u30ac \uff21\uff22\uff23\uff11").set("J2", "abc \uff76\uff9e1");
    b.addSheet("Data");
    b.set("A1", "42", 1);
    return b;
}

std::vector<std::pair<std::string, std::string>> readTable(const std::string& path) {
    std::ifstream in(path);
    std::vector<std::pair<std::string, std::string>> rows;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line.front() == '#') continue;
        size_t tab = line.find('\t');
        if (tab == std::string::npos) continue;
        rows.emplace_back(line.substr(0, tab), line.substr(tab + 1));
    }
    return rows;
}

TEST(TextInfoExtraFunctions, MatchTheReferenceTable) {
    test::TestBook book = textInfoBook();
    auto rows = readTable(std::string(SUMORA_SOURCE_DIR) + "/tests/data/text_info_functions.tsv");
    ASSERT_GT(rows.size(), 100u);
    for (const auto& [formula, expected] : rows)
        test::expectFormulaResult(book, {formula, expected});
}

TEST(TextInfoExtraFunctions, CellFormatCodesFollowTheNumberFormat) {
    test::TestBook book = textInfoBook();
    const std::pair<const char*, const char*> formats[] = {
        {"0.00", "F2"},        {"#,##0", ",0"},     {"0%", "P0"},
        {"0.00E+00", "S2"},    {"$#,##0.00", "C2"}, {"#,##0;[Red]-#,##0", ",0-"},
        {"d-mmm-yy", "D1"},    {"h:mm", "D9"},      {"@", "@"},
        {"0.0_);(0.0)", "F1"}, {"(0.0)", "F1()"}};
    Sheet& sheet = book.doc.sheets[0];
    for (const auto& [code, expected] : formats) {
        CellFormat format;
        format.numberFormat = code;
        sheet.cellForWriting(10, 10).setFormat(format);
        EXPECT_EQ(book.eval("=CELL(\"format\",K11)"), expected) << code;
    }
}

TEST(TextInfoExtraFunctions, LambdaParametersAreNotWorkbookNames) {
    // The parameters parse as variables although no workbook name exists.
    test::TestBook book = textInfoBook();
    EXPECT_EQ(test::renderValue(book.evalValue("=MAP(C2:C3,LAMBDA(x,LET(y,x+1,y*x)))")), "110;420");
    EXPECT_EQ(test::renderValue(
                  book.evalValue("=MAKEARRAY(2,1,LAMBDA(r,c,REDUCE(0,SEQUENCE(r),LAMBDA(a,v,a+v))))")),
              "1;3");
}

TEST(TextInfoExtraFunctions, OdsPrefixedNamesReadAsKnownFunctions) {
    const std::pair<const char*, const char*> cases[] = {
        {"COM.MICROSOFT.NORM.S.DIST(1;TRUE())", "NORM.S.DIST(1,TRUE)"},
        {"LEGACY.NORMSINV(0.5)", "NORMSINV(0.5)"},
        {"ORG.OPENOFFICE.WEEKS(1;2;0)", "WEEKS(1,2,0)"},
        {"ORG.LIBREOFFICE.REGEX(\"a\";\"b\")", "REGEX(\"a\",\"b\")"},
        {"CHISQINV(0.5;2)", "CHISQ.INV(0.5,2)"},
        {"CHISQDIST(1;2)", "CHISQ.DIST(1,2,TRUE)"},
        {"CHISQDIST(CHISQDIST(1;2);2;FALSE())", "CHISQ.DIST(CHISQ.DIST(1,2,TRUE),2,FALSE)"},
    };
    for (const auto& [odf, engine] : cases)
        EXPECT_EQ(ods::formulaFromOpenFormula(odf), engine) << odf;
    EXPECT_EQ(ods::openFormulaFromFormula("CHIDIST(3,2)+NORMSDIST(1)"),
              "LEGACY.CHIDIST(3;2)+LEGACY.NORMSDIST(1)");
}

} // namespace
} // namespace sumora
