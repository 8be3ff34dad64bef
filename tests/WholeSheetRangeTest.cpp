// Ranges as large as the grid allows (B1:XFD1048576 holds 17 billion cells):
// functions walk only the stored cells, results that would have to hold the
// range cell by cell are "#NUM!", and nothing allocates in proportion to the
// area. Expected values follow from the functions' definitions: the range
// holds four values, every other cell is blank.
#include <gtest/gtest.h>

#include "engine/SheetCalculator.h"
#include "formats/CsvFormat.h"
#include "formats/DocumentIO.h"
#include "functions/BuiltinFunctions.h"
#include "tests/MemoryLimitSupport.h"
#include "tests/TestSupport.h"

namespace sumora {
namespace {

// B1 1, C1 a, B2 2 and XFD1048576 z: the grid reaches the last cell.
test::TestBook wholeSheetBook() {
    test::TestBook book;
    book.set("B1", "1").set("C1", "a").set("B2", "2").set("XFD1048576", "z");
    return book;
}

// Whole numbers print with "%g", so large counts are offset to show every digit.
const std::vector<test::FormulaCase> kWholeSheetCases = {
    {"=COUNTBLANK(B1:XFD1048576)-17178820000", "604"}, // 16383 × 1048576 − 4
    {"=COUNTA(B1:XFD1048576)", "4"},
    {"=COUNTIF(B1:B1048576,\"\")-1048000", "574"},
    {"=COUNTIF(B1:XFD1048576,\">0\")", "2"},
    {"=COUNTIFS(B1:B1048576,\"\",C1:C1048576,\"\")-1048000", "574"},
    {"=SUMIF(B1:XFD1048576,\"<>a\")", "3"},
    {"=SUMIFS(B1:B1048576,C1:C1048576,\"\")", "2"},
    {"=AVERAGEIF(B1:B1048576,\">0\")", "1.5"},
    {"=MAXIFS(B1:B1048576,C1:C1048576,\"a\")", "1"},
    {"=SUM(B1:XFD1048576)", "3"},
    {"=MATCH(1,B1:XFD1048576,0)", "1"},
    {"=MATCH(\"z\",B1:XFD1048576,0)-17178820000", "608"}, // row-major position of XFD1048576
    {"=MATCH(2,B1:B1048576,0)", "2"},
    {"=XMATCH(\"z\",XFD1:XFD1048576)-1048000", "576"},
    {"=VLOOKUP(\"a\",C1:XFD1048576,1,FALSE)", "a"},
    {"=INDEX(B1:XFD1048576,1048576,16383)", "z"},
    {"=TEXTJOIN(\",\",TRUE,B1:XFD1048576)", "1,a,2,z"},
    {"=TEXTJOIN(\",\",FALSE,B1:XFD1048576)", "#VALUE!"}, // past 32,767 characters
    {"=CONCAT(B1:XFD1048576)", "1a2z"},
    {"=SORT(B1:XFD1048576)", "#NUM!"},
    {"=SUMPRODUCT(B1:XFD1048576)", "#NUM!"},
    {"=IFERROR(SORT(B1:XFD1048576),\"too big\")", "too big"},
};

TEST(WholeSheetRanges, FunctionsReadOnlyTheStoredCells) {
    test::TestBook book = wholeSheetBook();
    test::expectFormulaResults(book, kWholeSheetCases, test::exactText);
}

TEST(WholeSheetRanges, RecalculationGivesTheSameResults) {
    test::TestBook book = wholeSheetBook();
    for (size_t i = 0; i < kWholeSheetCases.size(); ++i)
        book.set("A" + std::to_string(i + 1), kWholeSheetCases[i].formula);
    SheetCalculator(book.doc, 0, builtinFunctions()).recalculateAll();
    for (size_t i = 0; i < kWholeSheetCases.size(); ++i)
        EXPECT_EQ(book.doc.sheets[0].cell(static_cast<int64_t>(i), 0).displayValue(),
                  kWholeSheetCases[i].expected)
            << kWholeSheetCases[i].formula;
}

TEST(WholeSheetRanges, AWorkbookHoldingSuchAFormulaOpens) {
    test::TestBook book = wholeSheetBook();
    book.set("A1", "=COUNTBLANK(B1:XFD1048576)-17178820000").set("A2", "=SORT(B1:XFD1048576)");
    const std::string bytes = documentFileContents(book.doc, FileType::xlsx);
    SumoraDocument opened = openDocument(bytes, "whole.xlsx", kXlsxContentType);
    EXPECT_EQ(opened.sheets[0].cell(0, 0).displayValue(), "604");
    EXPECT_EQ(opened.sheets[0].cell(1, 0).displayValue(), "#NUM!");
}

TEST(WholeSheetRanges, CsvExportStreamsAGridLargerThanMemoryAllows) {
    // 1,048,576 rows of 1,024 fields: a gigabyte of commas, written under a
    // limit of a quarter of that.
    test::TestBook book;
    book.set("AMJ1048576", "z");
    const int status = test::runWithMemoryLimit(size_t{256} << 20, [&] {
        uint64_t bytes = 0;
        writeCsv(book.doc, [&](std::string_view piece) { bytes += piece.size(); });
        return bytes == uint64_t{1048576} * 1024 + 1 ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
}

} // namespace
} // namespace sumora
