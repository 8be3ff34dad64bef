// The workbook value: new documents, grid growth, cells and their storage,
// formats, rule records, colour blending and deleted-sheet clean-up.
#include "document/SumoraDocument.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "document/ColumnLetters.h"

namespace sumora {
namespace {

TEST(NewDocument, OneSheetOf500By26LockedDefaultCells) {
    SumoraDocument doc;
    EXPECT_EQ(doc.changeCount, 0);
    ASSERT_EQ(doc.sheets.size(), 1u);
    const Sheet& s = doc.sheets[0];
    EXPECT_EQ(s.name, "Sheet 1");
    EXPECT_EQ(s.rowCount(), 500);
    EXPECT_EQ(s.columnCount(), 26);
    for (int64_t r = 0; r < 500; ++r)
        for (int64_t c = 0; c < 26; ++c) {
            const Cell& cell = s.cell(r, c);
            ASSERT_TRUE(cell.isLocked()) << r << "," << c;
            ASSERT_TRUE(cell.isDefault());
        }
}

TEST(EnsureGridSize, GrowsButNeverShrinks) {
    const struct {
        int64_t rows, cols;
        int64_t expectRows, expectCols;
    } cases[] = {
        {10, 5, 500, 26},   // inside: untouched
        {500, 26, 500, 26}, // exactly the grid
        {500, 40, 500, 40}, // columns only: rows stay
        {800, 10, 800, 26}, // rows only
        {600, 30, 600, 30}, // both
        {0, 0, 500, 26},
    };
    for (const auto& c : cases) {
        SumoraDocument doc;
        doc.ensureGridSize(0, c.rows, c.cols);
        EXPECT_EQ(doc.sheets[0].rowCount(), c.expectRows) << c.rows << "x" << c.cols;
        EXPECT_EQ(doc.sheets[0].columnCount(), c.expectCols) << c.rows << "x" << c.cols;
    }
}

TEST(EnsureGridSize, NewCellsAreDefaultAndExistingCellsStay) {
    SumoraDocument doc;
    doc.sheets[0].cellForWriting(3, 2).setValue("x");
    doc.sheets[0].cellForWriting(4, 25).setValue("y");
    doc.ensureGridSize(0, 700, 30);
    const Sheet& s = doc.sheets[0];
    EXPECT_EQ(s.cell(3, 2).value(), "x");
    EXPECT_EQ(s.cell(4, 25).value(), "y");
    EXPECT_TRUE(s.contains(699, 29));
    EXPECT_FALSE(s.contains(700, 29));
    EXPECT_FALSE(s.contains(699, 30));
    EXPECT_TRUE(s.cell(3, 29).isDefault());
    EXPECT_TRUE(s.cell(699, 29).isLocked());
}

TEST(EnsureGridSize, InvalidSheetIndexDoesNothing) {
    SumoraDocument doc;
    SumoraDocument before = doc;
    doc.ensureGridSize(1, 1000, 100);
    doc.ensureGridSize(-1, 1000, 100);
    EXPECT_EQ(doc, before);
}

TEST(CellText, DisplayValueIsComputedElseValue) {
    Cell c;
    c.setValue("cached");
    c.setFormula("1+1");
    EXPECT_EQ(c.displayValue(), "cached"); // before the first evaluation
    c.setComputedValue("2");
    EXPECT_EQ(c.displayValue(), "2");
    c.setComputedValue("");
    EXPECT_EQ(c.displayValue(), ""); // present though empty
    c.setComputedValue(std::nullopt);
    EXPECT_EQ(c.displayValue(), "cached");
}

TEST(CellText, LongAndShortTextsKeepTheirFlags) {
    const std::string longText(100, 'x');
    for (const std::string& text :
         {std::string("short"), longText, std::string(15, 'y'), std::string(16, 'z')}) {
        Cell c;
        c.setLocked(false);
        c.setSpillResult(true);
        c.setValue(text);
        c.setComputedValue(text + "!");
        EXPECT_EQ(c.value(), text);
        EXPECT_EQ(c.computedValue(), text + "!");
        EXPECT_FALSE(c.isLocked());
        EXPECT_TRUE(c.isSpillResult());
        Cell copy = c;
        EXPECT_EQ(copy, c);
        EXPECT_FALSE(copy.isLocked());
        Cell moved = std::move(copy);
        EXPECT_EQ(moved, c);
        c.setValue("");
        EXPECT_FALSE(c.isLocked());
        EXPECT_NE(moved, c);
    }
}

// A computed text equal to the value is kept once; every later change must
// still see two independent texts.
TEST(CellText, ComputedTextEqualToTheValueStaysIndependent) {
    const std::string longText(40, 'q');
    const struct {
        const char* name;
        void (*steps)(Cell&);
        std::optional<std::string> computed;
        std::string value;
    } cases[] = {
        {"value changed after", [](Cell& c) { c.setValue("13"); }, "12", "13"},
        {"result removed", [](Cell& c) { c.setComputedValue(std::nullopt); }, std::nullopt, "12"},
        {"other result", [](Cell& c) { c.setComputedValue("7"); }, "7", "12"},
        {"value emptied", [](Cell& c) { c.setValue(""); }, "12", ""},
        {"same value again", [](Cell& c) { c.setValue("12"); }, "12", "12"},
        {"formula added", [](Cell& c) { c.setFormula("A1"); }, "12", "12"},
    };
    for (const auto& k : cases) {
        Cell c;
        c.setValue("12");
        c.setComputedValue("12");
        k.steps(c);
        EXPECT_EQ(c.computedValue(), k.computed) << k.name;
        EXPECT_EQ(c.value(), k.value) << k.name;
        EXPECT_EQ(c.displayValue(), k.computed.value_or(k.value)) << k.name;
    }

    // Equal however each was reached; the array mark survives sharing.
    Cell shared, separate;
    shared.setValue(longText);
    shared.setArrayAnchor(true);
    shared.setComputedValue(longText);
    separate.setComputedValue(longText);
    separate.setValue(longText);
    EXPECT_EQ(shared, separate);
    EXPECT_TRUE(shared.isArrayAnchor());
    Cell copy = shared;
    copy.setValue("other");
    EXPECT_EQ(copy.computedValue(), longText);
    EXPECT_EQ(shared.value(), longText);

    Cell cleared;
    cleared.setFormula("1");
    cleared.setComputedValue("1");
    cleared.setFormula(std::nullopt);
    cleared.setComputedValue(std::nullopt);
    EXPECT_TRUE(cleared.isDefault());
}

TEST(CellText, EqualityCoversEveryPart) {
    Cell base;
    base.setValue("v");
    auto changed = [&](auto change) {
        Cell c = base;
        change(c);
        return c;
    };
    EXPECT_EQ(changed([](Cell&) {}), base);
    EXPECT_NE(changed([](Cell& c) { c.setValue("w"); }), base);
    EXPECT_NE(changed([](Cell& c) { c.setFormula("1"); }), base);
    EXPECT_NE(changed([](Cell& c) { c.setFormula(""); }), base); // an empty formula is not an absent one
    EXPECT_NE(changed([](Cell& c) { c.setComputedValue(""); }), base);
    EXPECT_NE(changed([](Cell& c) { c.setLocked(false); }), base);
    EXPECT_NE(changed([](Cell& c) { c.setSpillResult(true); }), base);
    EXPECT_NE(changed([](Cell& c) { c.updateFormat([](CellFormat& f) { f.isBold = true; }); }), base);
}

TEST(CellStorage, StoredCellsAreSmall) {
    EXPECT_EQ(sizeof(Cell), 32u);
}

TEST(CellFormatInterning, EqualFormatsShareOneInstance) {
    CellFormat a;
    a.isBold = true;
    a.fontColor = "FF0000";
    CellFormat b = a;
    EXPECT_EQ(CellFormat::intern(a), CellFormat::intern(b));
    b.fontColor = "00FF00";
    EXPECT_NE(CellFormat::intern(a), CellFormat::intern(b));
    EXPECT_EQ(CellFormat::intern(CellFormat{}), nullptr);
    Cell x, y;
    x.setFormat(a);
    y.updateFormat([](CellFormat& f) {
        f.fontColor = "FF0000";
        f.isBold = true;
    });
    EXPECT_EQ(x.formatHandle(), y.formatHandle());
    EXPECT_TRUE(x.format().isBold);
    y.setFormat(CellFormat{});
    EXPECT_EQ(y.formatHandle(), nullptr);
    EXPECT_TRUE(y.isDefault());
}

TEST(CellFormatInterning, EveryFieldDistinguishesFormats) {
    std::vector<CellFormat> formats(18);
    formats[1].isBold = true;
    formats[2].isItalic = true;
    formats[3].isUnderline = true;
    formats[4].isStrikethrough = true;
    formats[5].fontName = "Arial";
    formats[6].fontSize = 12;
    formats[7].fontColor = "000000";
    formats[8].fillColor = "FFFFFF";
    formats[9].alignment = CellAlignment::right;
    formats[10].numberFormat = "0.00";
    formats[11].numberFormatId = 2;
    formats[12].wrapText = true;
    formats[13].borderTop = true;
    formats[14].borderBottom = true;
    formats[15].borderLeft = true;
    formats[16].borderRight = true;
    formats[17].borderThickBottom = true;
    std::set<const CellFormat*> handles;
    for (const auto& f : formats)
        handles.insert(CellFormat::intern(f));
    EXPECT_EQ(handles.size(), formats.size());
}

TEST(SheetStorage, CellsBeyondStorageReadAsDefault) {
    Sheet s("S", 500, 26);
    EXPECT_EQ(s.storedRowCount(), 0);
    EXPECT_TRUE(s.cell(499, 25).isDefault());
    EXPECT_TRUE(s.cell(5000000, 9000).isDefault());
    EXPECT_TRUE(s.cell(-1, -1).isDefault());
    EXPECT_EQ(s.storedCell(2, 2), nullptr);
    s.cellForWriting(2, 2).setValue("x");
    ASSERT_NE(s.storedCell(2, 2), nullptr);
    EXPECT_EQ(s.storedCell(2, 3), nullptr);
    EXPECT_EQ(s.storedRowCount(), 3);
    EXPECT_EQ(s.storedColumnCount(2), 3);
}

TEST(SheetStorage, WritingBeyondTheGridGrowsIt) {
    Sheet s("S", 500, 26);
    s.cellForWriting(999, 39).setValue("far");
    EXPECT_EQ(s.rowCount(), 1000);
    EXPECT_EQ(s.columnCount(), 40);
    EXPECT_EQ(s.cell(999, 39).value(), "far");
    EXPECT_THROW(s.cellForWriting(-1, 0), std::out_of_range);
    EXPECT_THROW(s.cellForWriting(0, -1), std::out_of_range);
    EXPECT_EQ(s.rowCount(), 1000);
}

TEST(SheetStorage, ClearingAndSettingDefaultCellsReleaseStorage) {
    Sheet s("S", 10, 10);
    s.cellForWriting(0, 5).setValue("x");
    s.clearCell(0, 5);
    EXPECT_TRUE(s.cell(0, 5).isDefault());
    EXPECT_EQ(s.storedColumnCount(0), 0);
    Cell c;
    c.setValue("y");
    s.setCell(1, 1, c);
    EXPECT_EQ(s.cell(1, 1), c);
    s.setCell(1, 1, Cell());
    EXPECT_TRUE(s.cell(1, 1).isDefault());
    s.setCell(20, 20, Cell()); // a default cell still grows the grid
    EXPECT_EQ(s.rowCount(), 21);
    EXPECT_EQ(s.columnCount(), 21);
}

// The values of column `col` in rows 0..n-1, "" for default cells.
std::vector<std::string> column(const Sheet& s, int64_t col, int64_t n) {
    std::vector<std::string> out;
    for (int64_t r = 0; r < n; ++r)
        out.emplace_back(s.cell(r, col).value());
    return out;
}
std::vector<std::string> row(const Sheet& s, int64_t r, int64_t n) {
    std::vector<std::string> out;
    for (int64_t c = 0; c < n; ++c)
        out.emplace_back(s.cell(r, c).value());
    return out;
}

Sheet lettered() {
    Sheet s("S", 500, 26);
    for (int64_t r = 0; r < 4; ++r)
        for (int64_t c = 0; c < 4; ++c)
            s.cellForWriting(r, c).setValue(cellAddress({c, r}));
    return s;
}

TEST(SheetStorage, InsertAndRemoveRowsMoveCells) {
    Sheet s = lettered();
    s.insertRows(1, 2);
    EXPECT_EQ(s.rowCount(), 502);
    EXPECT_EQ(column(s, 0, 6), (std::vector<std::string>{"A1", "", "", "A2", "A3", "A4"}));
    s.removeRows(0, 3);
    EXPECT_EQ(s.rowCount(), 499);
    EXPECT_EQ(column(s, 1, 4), (std::vector<std::string>{"B2", "B3", "B4", ""}));
    s.insertRows(100, 1); // past the stored rows: only the grid grows
    EXPECT_EQ(s.rowCount(), 500);
    EXPECT_EQ(column(s, 1, 3), (std::vector<std::string>{"B2", "B3", "B4"}));
    s.removeRows(498, 10); // clipped to the grid
    EXPECT_EQ(s.rowCount(), 498);
}

TEST(SheetStorage, InsertAndRemoveColumnsMoveCells) {
    Sheet s = lettered();
    s.insertColumns(1, 1);
    EXPECT_EQ(s.columnCount(), 27);
    EXPECT_EQ(row(s, 2, 5), (std::vector<std::string>{"A3", "", "B3", "C3", "D3"}));
    s.removeColumns(0, 2);
    EXPECT_EQ(s.columnCount(), 25);
    EXPECT_EQ(row(s, 0, 4), (std::vector<std::string>{"B1", "C1", "D1", ""}));
}

TEST(SheetStorage, PermuteRowsReordersWholeRows) {
    Sheet s = lettered();
    s.permuteRows(1, {2, 0, 1});
    EXPECT_EQ(column(s, 0, 4), (std::vector<std::string>{"A1", "A4", "A2", "A3"}));
}

TEST(SheetStorage, UsedExtentEndsAtTheLastContent) {
    Sheet s("S", 500, 26);
    EXPECT_EQ(s.usedExtent().rows, 0);
    s.cellForWriting(4, 1).setValue("x");
    s.cellForWriting(2, 6).setFormula("1");
    s.cellForWriting(9, 9).setLocked(false); // formatting only: not content
    auto e = s.usedExtent();
    EXPECT_EQ(e.rows, 5);
    EXPECT_EQ(e.cols, 7);
}

TEST(SheetStorage, CopiesAreEqualUntilChanged) {
    SumoraDocument doc;
    doc.sheets[0].cellForWriting(1, 1).setValue("x");
    doc.sheets[0].cellForWriting(300, 20).setFormula("A1");
    SumoraDocument copy = doc;
    EXPECT_EQ(copy, doc);
    copy.sheets[0].cellForWriting(300, 20).setFormula("A2");
    EXPECT_NE(copy, doc);
    EXPECT_EQ(doc.sheets[0].cell(300, 20).formula(), "A1");
    // A stored default cell equals an unstored one.
    Sheet a("S", 10, 10), b("S", 10, 10);
    a.cellForWriting(5, 5);
    EXPECT_EQ(a, b);
    b.rowHeights[1] = 20;
    EXPECT_NE(a, b);
}

TEST(SheetLookup, SheetIndexPrefersAnExactName) {
    SumoraDocument doc;
    doc.sheets.push_back(SumoraDocument::makeNewSheet("data"));
    doc.sheets.push_back(SumoraDocument::makeNewSheet("Data"));
    EXPECT_EQ(doc.sheetIndex("Data"), 2u);
    EXPECT_EQ(doc.sheetIndex("data"), 1u);
    EXPECT_EQ(doc.sheetIndex("DATA"), 1u);
    EXPECT_FALSE(doc.sheetIndex("Dat"));
}

TEST(BlendHex, BlendsChannelsTruncatingAndClamping) {
    const struct {
        const char* a;
        const char* b;
        double pct;
        const char* result;
    } cases[] = {
        {"#000000", "FFFFFF", 0.5, "7F7F7F"},
        {"", "FFFFFF", 1, "FFFFFF"},
        {"zzz", "FFFFFF", 0, "000000"}, // unparseable counts as black
        {"#", "FFFFFF", 0, "000000"},
        {"ff0000", "0000ff", 0.25, "BF003F"},
        {"FF0000", "0000FF", 0, "FF0000"},
        {"FF0000", "0000FF", 1, "0000FF"},
        {"FFFFFF", "000000", 2, "000000"}, // clamped below
        {"000000", "FFFFFF", -1, "000000"},
        {"808080", "FFFFFF", 3, "FFFFFF"}, // clamped above
        {"abc", "000000", 0, "000ABC"},
        {"80FF0000", "000000", 0, "FF0000"},  // ARGB: the alpha byte is ignored
        {"1FFFFFFFF", "000000", 0, "000000"}, // more than 32 bits
        {"0x00FF00", "000000", 0, "000000"},  // no "0x" prefix
        {"##FFFFFF", "000000", 0, "000000"},
        {"FF FFFF", "000000", 0, "000000"},
        {"000000", "FFFFFF", std::nan(""), "000000"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(SumoraDocument::blendHex(c.a, c.b, c.pct), c.result) << c.a << " " << c.b << " " << c.pct;
}

TEST(ConditionalFormatMerge, LaterRulesOverrideFieldByField) {
    std::optional<ConditionalFormat> into;
    ConditionalFormat first{"FF0000", std::nullopt, true, std::nullopt};
    SumoraDocument::mergeFormat(into, first);
    ASSERT_TRUE(into);
    EXPECT_EQ(*into, first);
    SumoraDocument::mergeFormat(into, ConditionalFormat{std::nullopt, "0000FF", false, std::nullopt});
    EXPECT_EQ(*into, (ConditionalFormat{"FF0000", "0000FF", false, std::nullopt}));
    SumoraDocument::mergeFormat(into, ConditionalFormat{});
    EXPECT_EQ(*into, (ConditionalFormat{"FF0000", "0000FF", false, std::nullopt}));
}

TEST(ValidationRule, AppliesInsideTheInclusiveRange) {
    DataValidationRule rule;
    rule.startCol = 1;
    rule.endCol = 3;
    rule.startRow = 2;
    rule.endRow = 4;
    const struct {
        int64_t col, row;
        bool applies;
    } cases[] = {{1, 2, true},  {3, 4, true},  {2, 3, true}, {0, 2, false},
                 {4, 2, false}, {1, 1, false}, {1, 5, false}};
    for (const auto& c : cases)
        EXPECT_EQ(rule.applies({c.col, c.row}), c.applies) << c.col << "," << c.row;
}

TEST(RecordIdentity, FreshIdentifiersAreIgnoredByEquality) {
    NamedRange a, b;
    a.name = b.name = "X";
    EXPECT_NE(a.id, b.id);
    EXPECT_EQ(a, b);
    EXPECT_EQ(a.id.size(), 36u);
}

TEST(EnumerationRawTexts, RoundTripAndRejectUnknownText) {
    const std::vector<std::string> alignments{"general", "left", "center", "right", "fill", "justify"};
    ASSERT_EQ(allCellAlignments().size(), alignments.size());
    for (size_t i = 0; i < alignments.size(); ++i) {
        EXPECT_EQ(rawText(allCellAlignments()[i]), alignments[i]);
        EXPECT_EQ(cellAlignmentFromRaw(alignments[i]), allCellAlignments()[i]);
    }
    EXPECT_FALSE(cellAlignmentFromRaw("Left"));

    const std::vector<std::string> charts{"Bar", "Line", "Pie", "Area", "Scatter", "Combo", "Waterfall"};
    ASSERT_EQ(allChartTypes().size(), charts.size());
    for (size_t i = 0; i < charts.size(); ++i) {
        EXPECT_EQ(rawText(allChartTypes()[i]), charts[i]);
        EXPECT_EQ(chartTypeFromRaw(charts[i]), allChartTypes()[i]);
    }
    EXPECT_FALSE(chartTypeFromRaw("bar"));

    EXPECT_EQ(rawText(ValidationErrorStyle::information), "Info");
    EXPECT_EQ(validationErrorStyleFromRaw("Warning"), ValidationErrorStyle::warning);
    EXPECT_FALSE(validationErrorStyleFromRaw("Information"));
    EXPECT_EQ(rawText(AggregationType::average), "AVERAGE");
    EXPECT_EQ(aggregationTypeFromRaw("MAX"), AggregationType::max);
    EXPECT_FALSE(aggregationTypeFromRaw("Sum"));
    EXPECT_EQ(rawText(SparklineType::winLoss), "Win/Loss");
    EXPECT_EQ(sparklineTypeFromRaw("Bar"), SparklineType::bar);
    EXPECT_EQ(rawText(TrendlineType::movingAverage), "Moving Avg");
    EXPECT_EQ(trendlineTypeFromRaw("Exponential"), TrendlineType::exponential);
    EXPECT_FALSE(trendlineTypeFromRaw("Moving Average"));
}

TEST(DeletedSheetCleanup, ReferencesToTheDeletedSheetBecomeRefErrors) {
    const struct {
        const char* deleted;
        const char* formula;
        const char* result;
    } cases[] = {
        {"Data", "Data!A1+1", "#REF!+1"},
        {"Data", "'Data'!A1*2", "#REF!*2"},
        {"Data", "Data!$A$1", "#REF!"},
        {"Data", "data!A1", "#REF!"},
        {"Data", "SUM(Data!A1:B3)", "SUM(#REF!)"},
        {"Data", "SUM(Data!A1:Data!B3,1)", "SUM(#REF!,1)"},
        {"Data", "Data!A1&Data!B2", "#REF!&#REF!"},
        {"My Sheet", "'My Sheet'!B2+'My Sheet'!C3:D4", "#REF!+#REF!"},
        {"Data", "\"Data!A1\"&Other!A1", "\"Data!A1\"&Other!A1"},
        {"Data", "\"say \"\"Data!A1\"\"\"&1", "\"say \"\"Data!A1\"\"\"&1"},
        {"Data", "Other!A1+MyData!A1+Data2!A1", "Other!A1+MyData!A1+Data2!A1"},
        {"Data", "A1+Data", "A1+Data"},
    };
    for (const auto& c : cases) {
        std::vector<Sheet> sheets{SumoraDocument::makeNewSheet("Other")};
        Cell& cell = sheets[0].cellForWriting(0, 0);
        cell.setFormula(c.formula);
        cell.setComputedValue("old");
        SumoraDocument::cleanupReferencesToDeletedSheet(c.deleted, sheets);
        const Cell& after = sheets[0].cell(0, 0);
        EXPECT_EQ(after.formula(), c.result) << c.formula;
        bool rewritten = std::string_view(c.formula) != c.result;
        EXPECT_EQ(after.computedValue(), rewritten ? "#REF!" : "old") << c.formula;
    }
}

TEST(DeletedSheetCleanup, ConstantsAndOtherSheetsAreUntouched) {
    std::vector<Sheet> sheets{SumoraDocument::makeNewSheet("A"), SumoraDocument::makeNewSheet("B")};
    sheets[0].cellForWriting(0, 0).setValue("Data!A1");
    sheets[1].cellForWriting(2, 2).setFormula("Data!A1");
    std::vector<Sheet> before = sheets;
    SumoraDocument::cleanupReferencesToDeletedSheet("Gone", sheets);
    EXPECT_EQ(sheets, before);
    SumoraDocument::cleanupReferencesToDeletedSheet("Data", sheets);
    EXPECT_EQ(sheets[0], before[0]);
    EXPECT_EQ(sheets[1].cell(2, 2).formula(), "#REF!");
}

} // namespace
} // namespace sumora
