// Opening a workbook recalculates it across sheets: every formula shows what
// its inputs produce, whichever way the sheets read each other, and not the
// results the file saved (all saved here as 99).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/SheetDependencies.h"
#include "formats/DocumentIO.h"
#include "formats/OdsFormat.h"
#include "formats/XlsxFormat.h"
#include "tests/XlsxTestSupport.h"

namespace sumora {
namespace {

struct Entry {
    std::string sheet, address, text; // text: "=…" for a formula
};
struct Expected {
    std::string sheet, address, shown;
};
struct Workbook {
    std::string name;
    std::vector<std::string> sheets;
    std::vector<Entry> entries;
    std::vector<Expected> expected;
};

const std::vector<Workbook>& workbooks() {
    static const std::vector<Workbook> books = {
        {"ReadsALaterSheet",
         {"First", "Other"},
         {{"First", "A1", "=Other!A1"}, {"Other", "A1", "=2+3"}},
         {{"First", "A1", "5"}, {"Other", "A1", "5"}}},
        {"ReadsAnEarlierSheet",
         {"First", "Second"},
         {{"First", "A1", "=1+1"}, {"Second", "A1", "=First!A1*10"}},
         {{"First", "A1", "2"}, {"Second", "A1", "20"}}},
        {"ChainAcrossThreeSheetsInReverseTabOrder",
         {"S1", "S2", "S 3"},
         {{"S1", "A1", "=S2!A1*2"}, {"S2", "A1", "=1+'S 3'!A1"}, {"S 3", "A1", "=2*2"}},
         {{"S1", "A1", "10"}, {"S2", "A1", "5"}, {"S 3", "A1", "4"}}},
        {"PairReadingEachOther",
         {"Left", "Right"},
         {{"Left", "A1", "=1+Right!A1"},
          {"Left", "B1", "=1+Right!B1"},
          {"Right", "A1", "=5*1"},
          {"Right", "B1", "=Left!A1*2"},
          {"Right", "C1", "=SUM(Left!A1:B1)"}},
         {{"Left", "A1", "6"}, {"Left", "B1", "13"}, {"Right", "B1", "12"}, {"Right", "C1", "19"}}},
    };
    return books;
}

SumoraDocument build(const Workbook& book) {
    SumoraDocument doc = SumoraDocument::empty();
    for (const std::string& name : book.sheets)
        doc.sheets.push_back(SumoraDocument::makeNewSheet(name));
    for (const Entry& e : book.entries) {
        Sheet& sheet = doc.sheets[*doc.sheetIndex(e.sheet)];
        if (e.text.front() == '=')
            test::putFormula(sheet, e.address, e.text.substr(1), "99");
        else
            test::put(sheet, e.address, e.text);
    }
    return doc;
}

void expectShown(const SumoraDocument& doc, const Workbook& book, const std::string& format) {
    for (const Expected& e : book.expected) {
        auto index = doc.sheetIndex(e.sheet);
        ASSERT_TRUE(index) << book.name << " " << format << ": no sheet " << e.sheet;
        auto p = parseCellAddress(e.address);
        EXPECT_EQ(doc.sheets[*index].cell(p->row, p->col).displayValue(), e.shown)
            << book.name << " " << format << ": " << e.sheet << "!" << e.address;
    }
}

TEST(OpenRecalculation, XlsxFormulasShowTheirInputsResultsAcrossSheets) {
    for (const Workbook& book : workbooks())
        expectShown(openDocument(writeXlsx(build(book)), "book.xlsx", kXlsxContentType), book, "xlsx");
}

TEST(OpenRecalculation, OdsFormulasShowTheirInputsResultsAcrossSheets) {
    for (const Workbook& book : workbooks())
        expectShown(openDocument(writeOds(build(book).sheets), "book.ods", kOdsContentType), book, "ods");
}

TEST(OpenRecalculation, NamedRangesOnAnotherSheetCountAsReads) {
    Workbook book{"Named",
                  {"Sheet1", "Data"},
                  {{"Sheet1", "B1", "=Total*2"}, {"Data", "A1", "=3+4"}},
                  {{"Sheet1", "B1", "14"}}};
    SumoraDocument doc = build(book);
    NamedRange total;
    total.name = "Total";
    total.sheetName = "Data";
    doc.namedRanges.push_back(total);
    expectShown(openDocument(writeXlsx(doc), "book.xlsx", kXlsxContentType), book, "xlsx");
}

// Each sheet after those it reads; sheets on a cycle in tab order, and a
// sheet that reads a cycle after all of it, whatever its own place.
TEST(OpenRecalculation, SheetsAreCalculatedAfterTheSheetsTheyRead) {
    struct OrderCase {
        std::vector<std::vector<size_t>> reads;
        std::vector<size_t> order;
    };
    const std::vector<OrderCase> cases = {
        {{{}, {}, {}}, {0, 1, 2}},
        {{{1}, {2}, {}}, {2, 1, 0}},
        {{{}, {0}, {0, 1}}, {0, 1, 2}},
        {{{1}, {0}}, {0, 1}},
        {{{1}, {2}, {1}}, {1, 2, 0}},
        {{{2}, {}, {3}, {2}}, {2, 3, 0, 1}},
    };
    for (const OrderCase& c : cases)
        EXPECT_EQ(sheetCalculationOrder(c.reads), c.order) << ::testing::PrintToString(c.reads);
}

} // namespace
} // namespace sumora
