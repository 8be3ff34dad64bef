// Saving as ODS and opening the result again keeps every field the format
// carries: values, formulas, character and fill formatting, alignment,
// column widths, sheet names and cell positions.
#include <gtest/gtest.h>

#include "TestSupport.h"
#include "engine/Recalculation.h"
#include "formats/DocumentIO.h"
#include "formats/OdsFormat.h"
#include "formats/OdsFormulaTranslation.h"
#include "formats/ZipArchive.h"
#include "functions/BuiltinFunctions.h"

namespace sumora {
namespace {

using test::TestBook;

std::vector<Sheet> roundTrip(const std::vector<Sheet>& sheets) {
    return readOdsSheets(writeOds(sheets));
}

void expectSameCarriedFormat(const CellFormat& a, const CellFormat& b, const std::string& where) {
    EXPECT_EQ(a.isBold, b.isBold) << where;
    EXPECT_EQ(a.isItalic, b.isItalic) << where;
    EXPECT_EQ(a.isUnderline, b.isUnderline) << where;
    EXPECT_EQ(a.isStrikethrough, b.isStrikethrough) << where;
    EXPECT_EQ(a.fontName, b.fontName) << where;
    EXPECT_EQ(a.fontSize, b.fontSize) << where;
    EXPECT_EQ(a.fontColor, b.fontColor) << where;
    EXPECT_EQ(a.fillColor, b.fillColor) << where;
    EXPECT_EQ(a.alignment, b.alignment) << where;
}

TEST(OdsRoundTrip, EveryCarriedFieldSurvives) {
    TestBook book;
    book.doc.sheets[0].name = "Data";
    book.addSheet("My Sheet");
    book.addSheet("Bob's & Co");
    const char* texts[] = {"plain",
                           "<tags> & \"quotes\" 'apostrophes'",
                           "two\nlines",
                           "  padded  ",
                           "a\tb",
                           "Grüße, 東京",
                           "-12.5",
                           "1e-7",
                           "007",
                           "TRUE",
                           ""};
    for (size_t i = 0; i < std::size(texts); ++i)
        book.set("A" + std::to_string(i + 1), texts[i]);
    book.set("C3", "=SUM(A7:A8)+'My Sheet'!B2");
    book.set("D3", "=CONCAT(\"x\",A1)&IF(TRUE,\";\",\"\")");
    book.set("AD40", "far away"); // past the default 26 columns
    book.set("B2", "21", 1).set("C2", "=Data!A7*2", 1).set("A1", "=SUM('My Sheet'!B2:C2)", 2);
    recalculateDocument(book.doc, builtinFunctions());

    const CellAlignment alignments[] = {CellAlignment::left, CellAlignment::center, CellAlignment::right,
                                        CellAlignment::fill, CellAlignment::justify};
    for (size_t i = 0; i < std::size(alignments); ++i) {
        Cell& c = book.doc.sheets[0].cellForWriting(static_cast<int64_t>(i), 5);
        c.setValue("aligned");
        c.updateFormat([&](CellFormat& f) { f.alignment = alignments[i]; });
    }
    book.doc.sheets[0].cellForWriting(0, 6).updateFormat([](CellFormat& f) {
        f.isBold = f.isItalic = f.isUnderline = f.isStrikethrough = true;
        f.fontName = "DejaVu Serif";
        f.fontSize = 13.5;
        f.fontColor = "1F4E79";
        f.fillColor = "FFF2CC";
    });
    book.doc.sheets[0].cellForWriting(0, 6).setValue("styled");
    book.doc.sheets[1].cellForWriting(4, 4).updateFormat([](CellFormat& f) { f.fillColor = "FF0000"; });
    book.doc.sheets[0].columnWidths = {{0, 100}, {2, 57}, {29, 250.25}};
    book.doc.sheets[2].columnWidths = {{1, 8.53}};

    std::vector<Sheet> read = roundTrip(book.doc.sheets);
    ASSERT_EQ(read.size(), 3u);
    for (size_t s = 0; s < read.size(); ++s) {
        const Sheet& original = book.doc.sheets[s];
        const Sheet& back = read[s];
        EXPECT_EQ(back.name, original.name);
        EXPECT_EQ(back.columnWidths, original.columnWidths) << original.name;
        EXPECT_EQ(back.rowCount(), std::max<int64_t>(original.usedExtent().rows, 500));
        original.forEachStoredCell([&](int64_t r, int64_t c, const Cell& cell) {
            std::string where = original.name + " " + cellAddress({c, r});
            const Cell& got = back.cell(r, c);
            EXPECT_EQ(got.value(), cell.displayValue()) << where;
            EXPECT_EQ(got.formula(), cell.formula()) << where;
            expectSameCarriedFormat(got.format(), cell.format(), where);
        });
    }
    EXPECT_EQ(read[0].columnCount(), 30);

    // The formulas evaluate as they did before saving.
    SumoraDocument reopened = SumoraDocument::empty();
    reopened.sheets = read;
    recalculateDocument(reopened, builtinFunctions());
    EXPECT_EQ(reopened.sheets[0].cell(2, 2).displayValue(), book.doc.sheets[0].cell(2, 2).displayValue());
    EXPECT_EQ(reopened.sheets[0].cell(2, 3).displayValue(), "xplain;");
    EXPECT_EQ(reopened.sheets[2].cell(0, 0).displayValue(), "-4");
}

TEST(OdsRoundTrip, SavingAndOpeningAFileGoesThroughTheDispatch) {
    TestBook book;
    book.set("A1", "5").set("A2", "=A1*3");
    recalculateDocument(book.doc, builtinFunctions());
    std::string bytes = documentFileContents(book.doc, FileType::ods);
    SumoraDocument doc = openDocument(bytes, "saved.ods", kOdsContentType);
    ASSERT_EQ(doc.sheets.size(), 1u);
    EXPECT_EQ(doc.sheets[0].cell(1, 0).formula(), "A1*3");
    EXPECT_EQ(doc.sheets[0].cell(1, 0).displayValue(), "15");
}

TEST(OdsRoundTrip, BigSheetsKeepRowPositionsAcrossTheWritersHalves) {
    Sheet big("Big", 500, 26);
    // Content, then a gap across the middle row, then content again.
    for (int64_t r = 0; r < 30000; ++r)
        if (r < 10000 || r > 20000) big.cellForWriting(r, r % 3).setValue(std::to_string(r));
    Sheet top("Top", 500, 26); // rows stored in the second half, but none with content
    for (int64_t r = 0; r < 25000; ++r)
        if (r < 100)
            top.cellForWriting(r, 0).setValue("x");
        else
            top.cellForWriting(r, 1);
    std::vector<Sheet> read = roundTrip({big, top});
    ASSERT_EQ(read.size(), 2u);
    EXPECT_TRUE(read[0].sameGrid(big));
    EXPECT_EQ(read[0].rowCount(), 30000);
    EXPECT_EQ(read[0].cell(20001, 0).value(), "20001");
    EXPECT_EQ(read[1].rowCount(), 500);
    EXPECT_EQ(read[1].cell(99, 0).value(), "x");
}

TEST(OdsRoundTrip, ArrayResultsSpillAgainAfterReopening) {
    TestBook book;
    book.set("A1", "=SEQUENCE(3,2)").set("D1", "=SUM(A1:B3)");
    recalculateDocument(book.doc, builtinFunctions());
    ASSERT_TRUE(book.doc.sheets[0].cell(2, 1).isSpillResult());
    std::string content = ZipReader(writeOds(book.doc.sheets)).read("content.xml");
    EXPECT_NE(
        content.find(
            "table:formula=\"of:=COM.MICROSOFT.SEQUENCE(3;2)\" table:number-matrix-columns-spanned=\"2\" "
            "table:number-matrix-rows-spanned=\"3\""),
        std::string::npos);

    SumoraDocument reopened = SumoraDocument::empty();
    reopened.sheets = readOdsSheets(writeOds(book.doc.sheets));
    const Cell& spilled = reopened.sheets[0].cell(2, 1);
    EXPECT_TRUE(spilled.isSpillResult());
    EXPECT_EQ(spilled.value(), "");
    EXPECT_EQ(spilled.computedValue(), "6");
    recalculateDocument(reopened, builtinFunctions());
    EXPECT_EQ(reopened.sheets[0].cell(0, 0).displayValue(), "1");
    EXPECT_EQ(reopened.sheets[0].cell(2, 1).displayValue(), "6");
    EXPECT_EQ(reopened.sheets[0].cell(0, 3).displayValue(), "21");
}

TEST(OdsRoundTrip, FormulasSurviveTranslationBothWays) {
    const char* formulas[] = {
        "A1",
        "SUM(A1:B3)*$C$4-D$5/$E6",
        "Sheet2!A1+'My Sheet'!$B$2:C3",
        "IF(A1>0,\"a,b;c\",\"[.A1]\")",
        "CONCAT(\"x\",TEXTJOIN(\",\",TRUE,A1:A3))",
        "STDEV.S(A1:A9)+NORM.DIST(1,0,1,TRUE)+ERROR.TYPE(A1)",
        "VLOOKUP(\"k\",Data!A1:B10,2,FALSE)&\"\"\"quoted\"\"\"",
        "-(-A1)^2%",
        "LOG10(A1)+1E5+.5",
        "SUM({1,2;3,4})",
    };
    for (const char* f : formulas)
        EXPECT_EQ(ods::formulaFromOpenFormula(ods::openFormulaFromFormula(f)), f) << f;
}

} // namespace
} // namespace sumora
