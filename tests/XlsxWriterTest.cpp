// The parts an XLSX save writes: their order, fixed literals, cell typing,
// the style sheet's sharing of records, rules, charts and comments, and the
// archive checks.
#include <gtest/gtest.h>

#include "XlsxTestSupport.h"
#include "formats/FileErrors.h"
#include "formats/XlsxFormat.h"
#include "formats/XlsxFormulaText.h"
#include "formats/XlsxPackageParts.h"
#include "formats/XlsxSheetRulesWriter.h"
#include "formats/XlsxWriterText.h"

namespace sumora {
namespace {

using test::occurrences;
using test::Package;
using test::put;
using test::putFormula;

std::vector<Sheet> oneSheet() {
    return {SumoraDocument::makeNewSheet("Sheet 1")};
}

Package written(const std::vector<Sheet>& sheets) {
    return Package(writeXlsx(sheets));
}

// The worksheet markup of one cell, from "<c r=" to its end.
std::string cellXml(const std::string& sheetXml, std::string_view ref) {
    std::string open = "<c r=\"" + std::string(ref) + "\"";
    size_t start = sheetXml.find(open);
    if (start == std::string::npos) return "(none)";
    size_t selfClosed = sheetXml.find("/>", start);
    size_t closed = sheetXml.find("</c>", start);
    size_t nextTag = sheetXml.find('>', start);
    if (selfClosed != std::string::npos && selfClosed + 1 == nextTag)
        return sheetXml.substr(start, selfClosed + 2 - start);
    return sheetXml.substr(start, closed + 4 - start);
}

TEST(XlsxWriter, PartsComeInPackageOrderAndChartsNumberAcrossSheets) {
    std::vector<Sheet> sheets = {SumoraDocument::makeNewSheet("Plain"), SumoraDocument::makeNewSheet("One"),
                                 SumoraDocument::makeNewSheet("Two")};
    sheets[1].charts.emplace_back();
    sheets[2].charts.emplace_back();
    sheets[2].charts.emplace_back();
    sheets[2].cellComments["B2"] = "note";
    Package p = written(sheets);
    std::vector<std::string> expected = {"[Content_Types].xml",
                                         "_rels/.rels",
                                         "docProps/app.xml",
                                         "docProps/core.xml",
                                         "xl/workbook.xml",
                                         "xl/_rels/workbook.xml.rels",
                                         "xl/sharedStrings.xml",
                                         "xl/styles.xml",
                                         "xl/worksheets/sheet1.xml",
                                         "xl/worksheets/sheet2.xml",
                                         "xl/worksheets/_rels/sheet2.xml.rels",
                                         "xl/drawings/drawing2.xml",
                                         "xl/drawings/_rels/drawing2.xml.rels",
                                         "xl/charts/chart1.xml",
                                         "xl/worksheets/sheet3.xml",
                                         "xl/worksheets/_rels/sheet3.xml.rels",
                                         "xl/drawings/drawing3.xml",
                                         "xl/drawings/_rels/drawing3.xml.rels",
                                         "xl/charts/chart2.xml",
                                         "xl/charts/chart3.xml",
                                         "xl/comments3.xml",
                                         "xl/drawings/vmlDrawing3.vml"};
    EXPECT_EQ(p.paths, expected);
    for (const auto& [path, xml] : p.parts)
        EXPECT_NO_THROW(test::parseXml(xml)) << path;

    EXPECT_NE(p["xl/drawings/_rels/drawing3.xml.rels"].find(
                  "<Relationship Id=\"rId3\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/"
                  "relationships/chart\" Target=\"../charts/chart3.xml\"/>"),
              std::string::npos);
    EXPECT_NE(p["xl/drawings/drawing3.xml"].find("r:id=\"rId2\""), std::string::npos);
    EXPECT_NE(p["xl/worksheets/sheet2.xml"].find("<drawing r:id=\"rId1\"/>"), std::string::npos);
    EXPECT_NE(p["xl/worksheets/sheet3.xml"].find("<drawing r:id=\"rId1\"/><legacyDrawing r:id=\"rId3\"/>"),
              std::string::npos);
    EXPECT_EQ(p["xl/worksheets/sheet1.xml"].find("<drawing"), std::string::npos);
    for (std::string part : {"/xl/worksheets/sheet3.xml", "/xl/drawings/drawing2.xml",
                             "/xl/charts/chart3.xml", "/xl/comments3.xml"})
        EXPECT_NE(p["[Content_Types].xml"].find("PartName=\"" + part + "\""), std::string::npos) << part;
}

TEST(XlsxWriter, FixedPartsAreWrittenLiterally) {
    Package p = written(oneSheet());
    EXPECT_EQ(
        p["docProps/app.xml"],
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
        "<Properties xmlns=\"http://schemas.openxmlformats.org/officeDocument/2006/extended-properties\">"
        "<Application>Sumora</Application></Properties>");
    const std::string& types = p["[Content_Types].xml"];
    size_t workbook = types.find("PartName=\"/xl/workbook.xml\" ContentType=\"application/"
                                 "vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml\"");
    size_t strings = types.find("/xl/sharedStrings.xml");
    size_t styles = types.find("/xl/styles.xml");
    size_t app = types.find("/docProps/app.xml");
    size_t core = types.find("/docProps/core.xml");
    size_t sheet = types.find("/xl/worksheets/sheet1.xml");
    EXPECT_TRUE(workbook < strings && strings < styles && styles < app && app < core && core < sheet)
        << types;
    EXPECT_NE(types.find("<Default Extension=\"rels\" ContentType=\"application/"
                         "vnd.openxmlformats-package.relationships+xml\"/><Default Extension=\"xml\" "
                         "ContentType=\"application/xml\"/>"),
              std::string::npos);

    const std::string& rels = p["_rels/.rels"];
    EXPECT_NE(
        rels.find("Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/"
                  "officeDocument\" Target=\"xl/workbook.xml\""),
        std::string::npos);
    EXPECT_NE(
        rels.find("Id=\"rId2\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/"
                  "extended-properties\" Target=\"docProps/app.xml\""),
        std::string::npos);
    EXPECT_NE(
        rels.find("Id=\"rId3\" Type=\"http://schemas.openxmlformats.org/package/2006/relationships/metadata/"
                  "core-properties\" Target=\"docProps/core.xml\""),
        std::string::npos);

    const std::string& coreProps = p["docProps/core.xml"];
    EXPECT_NE(coreProps.find("<dcterms:created xsi:type=\"dcterms:W3CDTF\">20"), std::string::npos);
    EXPECT_NE(coreProps.find("<dcterms:modified xsi:type=\"dcterms:W3CDTF\">20"), std::string::npos);

    const std::string& workbookRels = p["xl/_rels/workbook.xml.rels"];
    size_t ws = workbookRels.find("Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/"
                                  "relationships/worksheet\" Target=\"worksheets/sheet1.xml\"");
    size_t ss = workbookRels.find("Id=\"rId2\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/"
                                  "relationships/sharedStrings\" Target=\"sharedStrings.xml\"");
    size_t st = workbookRels.find("Id=\"rId3\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/"
                                  "relationships/styles\" Target=\"styles.xml\"");
    EXPECT_TRUE(ws != std::string::npos && ws < ss && ss < st && st != std::string::npos) << workbookRels;
    EXPECT_NE(p["xl/workbook.xml"].find("<sheet name=\"Sheet 1\" sheetId=\"1\" r:id=\"rId1\"/>"),
              std::string::npos);
    EXPECT_NE(p["xl/worksheets/sheet1.xml"].find("<sheetView tabSelected=\"1\" workbookViewId=\"0\">"),
              std::string::npos);
}

TEST(XlsxWriter, UnformattedWorkbookStillHasTheFixedStyleRecords) {
    Sheet sheet = SumoraDocument::makeNewSheet("Sheet 1");
    put(sheet, "A1", "1");
    Package p = written({sheet});
    const std::string& styles = p["xl/styles.xml"];
    EXPECT_NE(styles.find("<fills count=\"2\"><fill><patternFill patternType=\"none\"/></fill>"
                          "<fill><patternFill patternType=\"gray125\"/></fill></fills>"),
              std::string::npos);
    EXPECT_NE(styles.find("<cellXfs count=\"1\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\""),
              std::string::npos);
    EXPECT_NE(styles.find("<cellStyleXfs count=\"1\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" "
                          "borderId=\"0\"/></cellStyleXfs>"),
              std::string::npos);
    EXPECT_NE(styles.find("<cellStyles count=\"1\"><cellStyle name=\"Normal\" xfId=\"0\" builtinId=\"0\"/>"
                          "</cellStyles>"),
              std::string::npos);
    EXPECT_NE(styles.find("<name val=\"Calibri\"/>"), std::string::npos);
    EXPECT_EQ(styles.find("<numFmts"), std::string::npos);
    EXPECT_EQ(cellXml(p["xl/worksheets/sheet1.xml"], "A1"), "<c r=\"A1\"><v>1</v></c>");
}

TEST(XlsxWriter, EqualFormatsShareOneXfAndEachFillColourGetsAFill) {
    Sheet sheet = SumoraDocument::makeNewSheet("Sheet 1");
    CellFormat red;
    red.fillColor = "FF0000";
    CellFormat blue;
    blue.fillColor = "#0000FF";
    test::at(sheet, "A1").setFormat(red);
    test::at(sheet, "B1").setFormat(red);
    test::at(sheet, "C1").setFormat(blue);
    Package p = written({sheet});
    const std::string& styles = p["xl/styles.xml"];
    EXPECT_NE(styles.find("<fills count=\"4\">"), std::string::npos);
    EXPECT_NE(
        styles.find(
            "<fill><patternFill patternType=\"solid\"><fgColor rgb=\"FFFF0000\"/></patternFill></fill>"
            "<fill><patternFill patternType=\"solid\"><fgColor rgb=\"FF0000FF\"/></patternFill></fill>"),
        std::string::npos);
    EXPECT_NE(styles.find("<cellXfs count=\"3\">"), std::string::npos);
    const std::string& xml = p["xl/worksheets/sheet1.xml"];
    EXPECT_EQ(cellXml(xml, "A1"), "<c r=\"A1\" s=\"1\"/>");
    EXPECT_EQ(cellXml(xml, "B1"), "<c r=\"B1\" s=\"1\"/>");
    EXPECT_EQ(cellXml(xml, "C1"), "<c r=\"C1\" s=\"2\"/>");
}

// A sheet this long is written in two halves at once; shared strings and
// style records must still be numbered in the order cells first use them.
TEST(XlsxWriter, LongSheetNumbersStringsAndStylesByFirstUse) {
    Sheet sheet("Long", 30000, 3);
    for (int64_t r = 0; r < 30000; ++r)
        sheet.cellForWriting(r, 0).setValue("t" + std::to_string(r % 3));
    sheet.cellForWriting(15000, 0).setValue("late"); // the first text of the second half
    sheet.cellForWriting(25000, 2).setValue("t1");
    CellFormat italic, bold;
    italic.isItalic = true;
    bold.isBold = true;
    sheet.cellForWriting(5, 1).setFormat(italic);
    sheet.cellForWriting(22000, 1).setFormat(bold);
    sheet.cellForWriting(29000, 1).setFormat(italic);
    Package p = written({sheet});
    EXPECT_NE(
        p["xl/sharedStrings.xml"].find("count=\"30001\" uniqueCount=\"4\"><si><t>t0</t></si><si><t>t1</t>"
                                       "</si><si><t>t2</t></si><si><t>late</t></si></sst>"),
        std::string::npos);
    EXPECT_NE(p["xl/styles.xml"].find("<cellXfs count=\"3\">"), std::string::npos);
    const std::string& xml = p["xl/worksheets/sheet1.xml"];
    const std::pair<const char*, const char*> cells[] = {
        {"B6", "<c r=\"B6\" s=\"1\"/>"},
        {"B22001", "<c r=\"B22001\" s=\"2\"/>"},
        {"B29001", "<c r=\"B29001\" s=\"1\"/>"},
        {"A15001", "<c r=\"A15001\" t=\"s\"><v>3</v></c>"},
        {"C25001", "<c r=\"C25001\" t=\"s\"><v>1</v></c>"},
        {"A30000", "<c r=\"A30000\" t=\"s\"><v>2</v></c>"},
    };
    for (const auto& [ref, markup] : cells)
        EXPECT_EQ(cellXml(xml, ref), markup);
    EXPECT_EQ(occurrences(xml, "<row "), 30000u);
}

TEST(XlsxWriter, NumberFormatsUseBuiltInIdsOrCustomRecordsFrom164) {
    Sheet sheet = SumoraDocument::makeNewSheet("Sheet 1");
    auto withFormat = [&](std::string_view ref, std::optional<std::string> code, int64_t id) {
        test::at(sheet, ref).updateFormat([&](CellFormat& f) {
            f.numberFormat = code;
            f.numberFormatId = id;
        });
    };
    withFormat("A1", "mm-dd-yy", 14);      // built in: the id alone
    withFormat("A2", "0.000", 0);          // custom
    withFormat("A3", "#,##0.0 \"kg\"", 0); // another custom
    withFormat("A4", "0.000", 7);          // the same custom code again
    withFormat("A5", std::nullopt, 5);     // an id without a code stays as it is
    withFormat("A6", "0.0 %", 170);        // a code read from a file keeps its id …
    withFormat("A7", "# ?/8", 170);        // … unless another code took it first
    Package p = written({sheet});
    const std::string& styles = p["xl/styles.xml"];
    EXPECT_NE(styles.find("<numFmts count=\"4\"><numFmt numFmtId=\"164\" formatCode=\"0.000\"/>"
                          "<numFmt numFmtId=\"165\" formatCode=\"#,##0.0 &quot;kg&quot;\"/>"
                          "<numFmt numFmtId=\"166\" formatCode=\"# ?/8\"/>"
                          "<numFmt numFmtId=\"170\" formatCode=\"0.0 %\"/></numFmts>"),
              std::string::npos)
        << styles;
    EXPECT_NE(styles.find("<xf numFmtId=\"14\" "), std::string::npos);
    EXPECT_NE(styles.find("<xf numFmtId=\"5\" "), std::string::npos);
    EXPECT_EQ(occurrences(styles, "numFmtId=\"164\""), 3u); // the record and the xfs of A2 and A4
}

TEST(XlsxWriter, ConstantsAreNumbersOnlyWhenTheirTextSurvives) {
    struct Case {
        std::string_view ref, text, expected;
    };
    const Case constants[] = {
        {"A1", "42", "<c r=\"A1\"><v>42</v></c>"},
        {"A2", "-1.5e3", "<c r=\"A2\"><v>-1.5e3</v></c>"},
        {"A3", ".5", "<c r=\"A3\" t=\"s\"><v>0</v></c>"},   // a number would read back as 0.5
        {"A4", " 5", "<c r=\"A4\" t=\"s\"><v>1</v></c>"},   // leading space: text
        {"A5", "0x1A", "<c r=\"A5\" t=\"s\"><v>2</v></c>"}, // no hexadecimal in the file
        {"A6", "inf", "<c r=\"A6\" t=\"s\"><v>3</v></c>"},
        {"A7", "1e999", "<c r=\"A7\" t=\"s\"><v>4</v></c>"},
        {"A8", "TRUE", "<c r=\"A8\" t=\"b\"><v>1</v></c>"},
        {"A9", " 5", "<c r=\"A9\" t=\"s\"><v>1</v></c>"}, // the same text shares its index
    };
    Sheet sheet = SumoraDocument::makeNewSheet("Sheet 1");
    for (const Case& c : constants)
        put(sheet, c.ref, c.text);
    Package p = written({sheet});
    for (const Case& c : constants)
        EXPECT_EQ(cellXml(p["xl/worksheets/sheet1.xml"], c.ref), c.expected) << c.text;
    EXPECT_NE(p["xl/sharedStrings.xml"].find("count=\"6\" uniqueCount=\"5\">"), std::string::npos);
    EXPECT_NE(p["xl/sharedStrings.xml"].find("<si><t xml:space=\"preserve\"> 5</t></si>"), std::string::npos);
}

TEST(XlsxWriter, FormulaResultsCarryTheirType) {
    struct Case {
        std::string_view formula, result, expected;
    };
    const Case cases[] = {
        {"=A1*2", "84", "<c r=\"B1\"><f>A1*2</f><v>84</v></c>"},
        {"A1>1", "TRUE", "<c r=\"B2\" t=\"b\"><f>A1&gt;1</f><v>1</v></c>"},
        {"A1<1", "FALSE", "<c r=\"B3\" t=\"b\"><f>A1&lt;1</f><v>0</v></c>"},
        {"1/0", "#DIV/0!", "<c r=\"B4\" t=\"e\"><f>1/0</f><v>#DIV/0!</v></c>"},
        {"FOO()", "#NAME? (FOO)", "<c r=\"B5\" t=\"e\"><f>FOO()</f><v>#NAME?</v></c>"},
        {"B6", "#CIRC!", "<c r=\"B6\" t=\"str\"><f>B6</f><v>#CIRC!</v></c>"},
        {"\"a\"&\"b\"", "ab", "<c r=\"B7\" t=\"str\"><f>&quot;a&quot;&amp;&quot;b&quot;</f><v>ab</v></c>"},
        {"\"\"", "", "<c r=\"B8\" t=\"str\"><f>&quot;&quot;</f><v></v></c>"},
        {"IFS(A1>1,1)", "1", "<c r=\"B9\"><f>_xlfn.IFS(A1&gt;1,1)</f><v>1</v></c>"},
    };
    Sheet sheet = SumoraDocument::makeNewSheet("Sheet 1");
    int row = 1;
    for (const Case& c : cases)
        putFormula(sheet, "B" + std::to_string(row++), c.formula, c.result);
    test::at(sheet, "B10").setFormula("A1+1"); // never calculated: no cached value
    Package p = written({sheet});
    row = 1;
    for (const Case& c : cases)
        EXPECT_EQ(cellXml(p["xl/worksheets/sheet1.xml"], "B" + std::to_string(row++)), c.expected)
            << c.formula;
    EXPECT_EQ(cellXml(p["xl/worksheets/sheet1.xml"], "B10"), "<c r=\"B10\"><f>A1+1</f></c>");
}

TEST(XlsxWriter, SpilledResultsBecomeAnArrayFormulaRange) {
    Sheet sheet = SumoraDocument::makeNewSheet("Sheet 1");
    putFormula(sheet, "A1", "SEQUENCE(3)", "1");
    test::at(sheet, "A1").setArrayAnchor(true);
    for (std::string_view ref : {"A2", "A3"}) {
        test::at(sheet, ref).setComputedValue(ref == "A2" ? "2" : "3");
        test::at(sheet, ref).setSpillResult(true);
    }
    Package p = written({sheet});
    const std::string& xml = p["xl/worksheets/sheet1.xml"];
    EXPECT_EQ(cellXml(xml, "A1"),
              "<c r=\"A1\"><f t=\"array\" ref=\"A1:A3\">_xlfn.SEQUENCE(3)</f><v>1</v></c>");
    EXPECT_EQ(cellXml(xml, "A3"), "<c r=\"A3\"><v>3</v></c>");
}

TEST(XlsxWriter, FrozenPanesNameTheirActivePane) {
    struct Case {
        int64_t rows, cols;
        std::string_view pane;
    };
    const Case cases[] = {
        {1, 0, "<pane ySplit=\"1\" topLeftCell=\"A2\" activePane=\"bottomLeft\" state=\"frozen\"/>"},
        {0, 2, "<pane xSplit=\"2\" topLeftCell=\"C1\" activePane=\"topRight\" state=\"frozen\"/>"},
        {3, 1,
         "<pane xSplit=\"1\" ySplit=\"3\" topLeftCell=\"B4\" activePane=\"bottomRight\" state=\"frozen\"/>"},
    };
    for (const Case& c : cases) {
        Sheet sheet = SumoraDocument::makeNewSheet("Sheet 1");
        sheet.frozenRows = c.rows;
        sheet.frozenColumns = c.cols;
        std::string xml = written({sheet})["xl/worksheets/sheet1.xml"];
        EXPECT_NE(xml.find(std::string("<sheetView tabSelected=\"1\" workbookViewId=\"0\">") +
                           std::string(c.pane) + "</sheetView>"),
                  std::string::npos)
            << xml;
    }
}

TEST(XlsxWriter, SheetLevelElementsKeepTheWorksheetOrder) {
    Sheet sheet = SumoraDocument::makeNewSheet("Sheet 1");
    sheet.tabColorHex = "#FF8800";
    sheet.columnWidths[1] = 138;
    sheet.rowHeights[4] = 40;
    sheet.mergedRegions.push_back({0, 0, 2, 1});
    sheet.mergedRegions.push_back({5, 5, 5, 5}); // one cell: nothing to merge
    sheet.isProtected = true;
    sheet.protectionPassword = "test";
    sheet.protectionOptions.allowSort = true;
    sheet.conditionalFormats.push_back({});
    sheet.dataValidations.push_back({});
    std::string xml = written({sheet})["xl/worksheets/sheet1.xml"];
    std::vector<std::string_view> order = {
        "<sheetPr><tabColor rgb=\"FFFF8800\"/></sheetPr>",
        "<sheetViews>",
        "<cols><col min=\"2\" max=\"2\" width=\"19\" customWidth=\"1\"/></cols>",
        "<sheetData><row r=\"5\" ht=\"30\" customHeight=\"1\"></row></sheetData>",
        "<sheetProtection password=\"CBEB\" sheet=\"1\" objects=\"1\" "
        "scenarios=\"1\" sort=\"0\"/>",
        "<mergeCells count=\"1\"><mergeCell ref=\"A1:C2\"/></mergeCells>",
        "<conditionalFormatting",
        "<dataValidations"};
    size_t last = 0;
    for (std::string_view piece : order) {
        size_t at = xml.find(piece);
        ASSERT_NE(at, std::string::npos) << piece << "\n" << xml;
        EXPECT_GE(at, last) << piece;
        last = at;
    }
}

TEST(XlsxWriter, ConditionalRulesAreWrittenByType) {
    ConditionalFormat bold;
    bold.isBold = true;
    struct Case {
        ConditionalRuleType type;
        std::string_view expected;
    };
    const Case cases[] = {
        {rule::GreaterThan{5}, "<cfRule type=\"cellIs\" operator=\"greaterThan\" priority=\"1\" dxfId=\"0\">"
                               "<formula>5</formula></cfRule>"},
        {rule::LessThan{-2.5}, "<cfRule type=\"cellIs\" operator=\"lessThan\" priority=\"2\" dxfId=\"0\">"
                               "<formula>-2.5</formula></cfRule>"},
        {rule::EqualTo{0}, "<cfRule type=\"cellIs\" operator=\"equal\" priority=\"3\" dxfId=\"0\">"},
        {rule::Between{1, 9}, "<cfRule type=\"cellIs\" operator=\"between\" priority=\"4\" dxfId=\"0\">"
                              "<formula>1</formula><formula>9</formula></cfRule>"},
        {rule::NotBetween{1, 9}, "<cfRule type=\"cellIs\" operator=\"notBetween\" priority=\"5\" dxfId=\"0\">"
                                 "<formula>1</formula><formula>9</formula>"},
        {rule::TextContains{"a\"b"},
         "<cfRule type=\"containsText\" text=\"a&quot;b\" priority=\"6\" dxfId=\"0\" "
         "operator=\"containsText\"><formula>NOT(ISERROR(SEARCH(&quot;a&quot;&quot;b&quot;,B2)))"},
        {rule::TextNotContains{"x"}, "<cfRule type=\"notContainsText\" text=\"x\""},
        {rule::TextStartsWith{"x"}, "<cfRule type=\"beginsWith\" text=\"x\""},
        {rule::TextEndsWith{"x"}, "<cfRule type=\"endsWith\" text=\"x\""},
        {rule::TopN{3}, "<cfRule type=\"top10\" rank=\"3\" priority=\"10\" dxfId=\"0\"/>"},
        {rule::BottomN{2}, "<cfRule type=\"top10\" rank=\"2\" bottom=\"1\" priority=\"11\" dxfId=\"0\"/>"},
        {rule::ColorScale2{"FF0000", "00FF00"},
         "<cfRule type=\"colorScale\" priority=\"12\"><colorScale><cfvo type=\"min\"/><cfvo type=\"max\"/>"
         "<color rgb=\"FFFF0000\"/><color rgb=\"FF00FF00\"/></colorScale></cfRule>"},
        {rule::ColorScale3{"FF0000", "FFFF00", "00FF00"},
         "<cfRule type=\"colorScale\" priority=\"13\"><colorScale><cfvo type=\"min\"/>"
         "<cfvo type=\"percentile\" val=\"50\"/><cfvo type=\"max\"/><color rgb=\"FFFF0000\"/>"
         "<color rgb=\"FFFFFF00\"/><color rgb=\"FF00FF00\"/></colorScale></cfRule>"},
        {rule::DataBar{"638EC6"}, "<cfRule type=\"dataBar\" priority=\"14\"><dataBar><cfvo type=\"min\"/>"
                                  "<cfvo type=\"max\"/><color rgb=\"FF638EC6\"/></dataBar></cfRule>"},
        {rule::DuplicateValues{}, "<cfRule type=\"duplicateValues\" priority=\"15\" dxfId=\"0\"/>"},
        {rule::UniqueValues{}, "<cfRule type=\"uniqueValues\" priority=\"16\" dxfId=\"0\"/>"},
        {rule::IsBlank{}, "<cfRule type=\"containsBlanks\" priority=\"17\" dxfId=\"0\">"},
        {rule::IsNotBlank{}, "<cfRule type=\"notContainsBlanks\" priority=\"18\" dxfId=\"0\">"},
        {rule::AboveAverage{}, "<cfRule type=\"aboveAverage\" priority=\"19\" dxfId=\"0\"/>"},
        {rule::BelowAverage{},
         "<cfRule type=\"aboveAverage\" aboveAverage=\"0\" priority=\"20\" dxfId=\"0\"/>"},
    };
    Sheet sheet = SumoraDocument::makeNewSheet("Sheet 1");
    for (const Case& c : cases) {
        ConditionalFormatRule r;
        r.ruleType = c.type;
        r.format = bold;
        r.startCol = 1, r.startRow = 1, r.endCol = 3, r.endRow = 9;
        sheet.conditionalFormats.push_back(r);
    }
    Package p = written({sheet});
    const std::string& xml = p["xl/worksheets/sheet1.xml"];
    for (const Case& c : cases)
        EXPECT_NE(xml.find(c.expected), std::string::npos) << c.expected;
    EXPECT_EQ(occurrences(xml, "<conditionalFormatting sqref=\"B2:D10\">"), std::size(cases));
    EXPECT_NE(p["xl/styles.xml"].find("<dxfs count=\"1\"><dxf><font><b/></font></dxf></dxfs>"),
              std::string::npos);
}

TEST(XlsxWriter, DifferentialFormatsCarryFillFontColourBoldAndItalic) {
    Sheet sheet = SumoraDocument::makeNewSheet("Sheet 1");
    ConditionalFormatRule first, second, plain;
    first.format = {"FFC7CE", "9C0006", false, true};
    second.format.fillColor = "C6EFCE";
    plain.ruleType = rule::IsBlank{};
    sheet.conditionalFormats = {first, second, plain};
    Package p = written({sheet});
    EXPECT_NE(p["xl/styles.xml"].find(
                  "<dxfs count=\"2\"><dxf><font><b val=\"0\"/><i/><color rgb=\"FF9C0006\"/></font><fill>"
                  "<patternFill patternType=\"solid\"><fgColor rgb=\"FFFFC7CE\"/><bgColor rgb=\"FFFFC7CE\"/>"
                  "</patternFill></fill></dxf><dxf><fill>"),
              std::string::npos)
        << p["xl/styles.xml"];
    // A rule that formats nothing refers to no record.
    EXPECT_NE(p["xl/worksheets/sheet1.xml"].find("<cfRule type=\"containsBlanks\" priority=\"3\">"),
              std::string::npos);
}

TEST(XlsxWriter, ValidationsSpellTheirBounds) {
    struct Case {
        ValidationType type;
        std::string_view expected;
    };
    const Case cases[] = {
        {validation::WholeNumber{1, 10},
         "<dataValidation type=\"whole\" allowBlank=\"1\" showInputMessage=\"1\" "
         "showErrorMessage=\"1\" sqref=\"A1\"><formula1>1</formula1>"
         "<formula2>10</formula2></dataValidation>"},
        {validation::Decimal{0.5, std::nullopt},
         "<dataValidation type=\"decimal\" operator=\"greaterThanOrEqual\""},
        {validation::TextLength{std::nullopt, 5},
         "<dataValidation type=\"textLength\" operator=\"lessThanOrEqual\""},
        {validation::List{{"Yes", "No", "Maybe"}}, "<formula1>&quot;Yes,No,Maybe&quot;</formula1>"},
        {validation::Date{"2024-01-31", std::nullopt}, "operator=\"greaterThanOrEqual\""},
        {validation::Date{"2024-01-31", std::nullopt}, "<formula1>45322</formula1>"},
        {validation::Custom{"=A1>0"}, "<dataValidation type=\"custom\""},
        {validation::Custom{"=A1>0"}, "<formula1>A1&gt;0</formula1>"},
    };
    for (const Case& c : cases) {
        Sheet sheet = SumoraDocument::makeNewSheet("Sheet 1");
        DataValidationRule r;
        r.validationType = c.type;
        r.showDropdown = true;
        sheet.dataValidations.push_back(r);
        std::string xml = written({sheet})["xl/worksheets/sheet1.xml"];
        EXPECT_NE(xml.find(c.expected), std::string::npos) << c.expected << "\n" << xml;
    }
}

TEST(XlsxWriter, HiddenSheetsAreHiddenButNeverAll) {
    std::vector<Sheet> sheets = {SumoraDocument::makeNewSheet("Shown"), SumoraDocument::makeNewSheet("Gone")};
    sheets[1].isHidden = true;
    std::string workbook = written(sheets)["xl/workbook.xml"];
    EXPECT_NE(workbook.find("<sheet name=\"Gone\" sheetId=\"2\" state=\"hidden\" r:id=\"rId2\"/>"),
              std::string::npos);
    EXPECT_NE(workbook.find("<workbookView activeTab=\"0\"/>"), std::string::npos);

    sheets[0].isHidden = true; // every sheet hidden: the first is shown after all
    workbook = written(sheets)["xl/workbook.xml"];
    EXPECT_NE(workbook.find("<sheet name=\"Shown\" sheetId=\"1\" r:id=\"rId1\"/>"), std::string::npos);
    EXPECT_NE(workbook.find("<sheet name=\"Gone\" sheetId=\"2\" state=\"hidden\""), std::string::npos);
}

TEST(XlsxWriter, DocumentOverloadWritesDefinedNamesAndWorkbookProtection) {
    SumoraDocument doc;
    doc.sheets[0].name = "My Data";
    NamedRange onSheet;
    onSheet.name = "Sales";
    onSheet.sheetName = "My Data";
    onSheet.startCol = 0, onSheet.startRow = 0, onSheet.endCol = 2, onSheet.endRow = 9;
    NamedRange bare;
    bare.name = "Rate";
    bare.startCol = 1, bare.startRow = 1, bare.endCol = 1, bare.endRow = 1;
    doc.namedRanges = {onSheet, bare};
    doc.isWorkbookProtected = true;
    doc.workbookPassword = "secret";
    std::string workbook = Package(writeXlsx(doc))["xl/workbook.xml"];
    EXPECT_NE(
        workbook.find("<definedNames><definedName name=\"Sales\">&apos;My Data&apos;!$A$1:$C$10</definedName>"
                      "<definedName name=\"Rate\">$B$2</definedName></definedNames>"),
        std::string::npos)
        << workbook;
    EXPECT_NE(workbook.find("<workbookProtection workbookPassword=\"DAA7\" lockStructure=\"1\"/>"),
              std::string::npos);
    EXPECT_EQ(written(doc.sheets)["xl/workbook.xml"].find("definedName"), std::string::npos);
}

TEST(XlsxWriter, ChartsPickTheirElementAndReferToTheSheet) {
    struct Case {
        ChartType type;
        std::vector<std::string_view> expected;
    };
    const Case cases[] = {
        {ChartType::bar, {"<c:barChart><c:barDir val=\"col\"/><c:grouping val=\"clustered\"/>"}},
        {ChartType::line, {"<c:lineChart><c:grouping val=\"standard\"/>"}},
        {ChartType::pie, {"<c:pieChart>", "<c:dPt><c:idx val=\"2\"/>"}},
        {ChartType::area, {"<c:areaChart><c:grouping val=\"standard\"/>"}},
        {ChartType::scatter,
         {"<c:scatterChart><c:scatterStyle val=\"lineMarker\"/>",
          "<c:ser><c:idx val=\"0\"/><c:order val=\"0\"/>",
          "<c:xVal><c:numRef><c:f>&apos;Q1 Sales&apos;!$A$2:$A$4</c:f>",
          "<c:yVal><c:numRef><c:f>&apos;Q1 Sales&apos;!$C$2:$C$4</c:f>"}},
        {ChartType::combo,
         {"<c:barChart>", "</c:barChart><c:lineChart>", "<c:idx val=\"1\"/><c:order val=\"1\"/>"}},
        {ChartType::waterfall,
         {"<c:grouping val=\"stacked\"/>", "<c:tx><c:v>Base</c:v></c:tx><c:spPr><a:noFill/>",
          "<c:numLit><c:formatCode>General</c:formatCode><c:ptCount val=\"3\"/><c:pt "
          "idx=\"0\"><c:v>0</c:v></c:pt>"
          "<c:pt idx=\"1\"><c:v>7</c:v></c:pt><c:pt idx=\"2\"><c:v>7</c:v></c:pt></c:numLit>"}},
    };
    for (const Case& c : cases) {
        Sheet sheet = SumoraDocument::makeNewSheet("Q1 Sales");
        const char* rows[4][3] = {
            {"Month", "North", "South"}, {"Jan", "10", "4"}, {"Feb", "-3", "5"}, {"Mar", "7", "6"}};
        for (int r = 0; r < 4; ++r)
            for (int col = 0; col < 3; ++col)
                sheet.cellForWriting(r, col).setValue(rows[r][col]);
        EmbeddedChart chart;
        chart.chartType = c.type;
        chart.title = "Sales & Costs";
        chart.dataStartCol = 0, chart.dataStartRow = 0, chart.dataEndCol = 2, chart.dataEndRow = 3;
        chart.anchorCol = 4, chart.anchorRow = 1, chart.widthCols = 6, chart.heightRows = 12;
        chart.colorPalette = {"AA0000", "#00AA00"};
        sheet.charts.push_back(chart);
        Package p = written({sheet});
        const std::string& xml = p["xl/charts/chart1.xml"];
        EXPECT_NO_THROW(test::parseXml(xml));
        for (std::string_view piece : c.expected)
            EXPECT_NE(xml.find(piece), std::string::npos) << piece << "\n" << xml;
        EXPECT_NE(
            xml.find("<c:title><c:tx><c:rich><a:bodyPr/><a:lstStyle/><a:p><a:r><a:t>Sales &amp; Costs</a:t>"),
            std::string::npos);
        EXPECT_NE(
            xml.find("<c:legend><c:legendPos val=\"b\"/><c:overlay val=\"0\"/></c:legend><c:plotVisOnly "
                     "val=\"1\"/>"),
            std::string::npos);
        if (c.type != ChartType::scatter && c.type != ChartType::waterfall) {
            EXPECT_NE(xml.find("<c:tx><c:strRef><c:f>&apos;Q1 Sales&apos;!$B$1</c:f>"), std::string::npos);
            EXPECT_NE(xml.find("<c:cat><c:strRef><c:f>&apos;Q1 Sales&apos;!$A$2:$A$4</c:f>"),
                      std::string::npos);
            EXPECT_NE(xml.find("<c:val><c:numRef><c:f>&apos;Q1 Sales&apos;!$C$2:$C$4</c:f>"),
                      std::string::npos);
            EXPECT_NE(xml.find("<a:srgbClr val=\"AA0000\"/>"), std::string::npos);
        }
        if (c.type != ChartType::pie) {
            EXPECT_NE(xml.find("<c:axPos val=\"b\"/><c:crossAx val=\"2\"/>"), std::string::npos);
            EXPECT_NE(xml.find("<c:valAx><c:axId val=\"2\"/>"), std::string::npos);
            EXPECT_NE(xml.find("<c:axPos val=\"l\"/><c:crossAx val=\"1\"/></c:valAx>"), std::string::npos);
        }
        EXPECT_NE(
            p["xl/drawings/drawing1.xml"].find(
                "<xdr:from><xdr:col>4</xdr:col><xdr:colOff>0</xdr:colOff><xdr:row>1</xdr:row><xdr:rowOff>0"
                "</xdr:rowOff></xdr:from><xdr:to><xdr:col>10</xdr:col><xdr:colOff>0</xdr:colOff><xdr:row>13"
                "</xdr:row><xdr:rowOff>0</xdr:rowOff></xdr:to><xdr:graphicFrame macro=\"\">"),
            std::string::npos);
    }
}

TEST(XlsxWriter, CommentsGetACommentsPartAndNoteShapes) {
    Sheet sheet = SumoraDocument::makeNewSheet("Sheet 1");
    sheet.cellComments["C3"] = "Check <this>";
    sheet.cellComments["A1"] = "first";
    sheet.cellComments["not a cell"] = "dropped";
    Package p = written({sheet});
    const std::string& comments = p["xl/comments1.xml"];
    EXPECT_NE(
        comments.find("<comment ref=\"A1\" authorId=\"0\"><text><r><t>first</t></r></text></comment>"
                      "<comment ref=\"C3\" authorId=\"0\"><text><r><t>Check &lt;this&gt;</t></r></text>"),
        std::string::npos);
    EXPECT_EQ(comments.find("dropped"), std::string::npos);
    const std::string& vml = p["xl/drawings/vmlDrawing1.vml"];
    EXPECT_EQ(occurrences(vml, "<x:ClientData ObjectType=\"Note\">"), 2u);
    EXPECT_NE(vml.find("<x:Row>2</x:Row><x:Column>2</x:Column>"), std::string::npos);
    EXPECT_NE(p["[Content_Types].xml"].find("<Default Extension=\"vml\""), std::string::npos);
}

TEST(XlsxWriter, ArchiveChecksNameWhatIsWrong) {
    auto message = [](std::string_view bytes) -> std::string {
        try {
            xlsx::verifyPackageBytes(bytes);
        } catch (const FileWriteError& e) {
            return e.what();
        }
        return "(accepted)";
    };
    EXPECT_EQ(message(""), "XLSX export produced empty data.");
    EXPECT_EQ(message("<xml/>"), "XLSX export produced invalid archive (missing ZIP signature).");
    EXPECT_EQ(message(std::string("PK\x03\x04", 4)), "(accepted)");
    EXPECT_TRUE(writeXlsx(std::vector<Sheet>{}).starts_with("PK")); // no sheets: one empty sheet is written
}

TEST(XlsxWriterText, StringsEscapeWhatXmlCannotCarry) {
    struct Case {
        std::string_view text, expected;
    };
    const Case cases[] = {
        {"plain", "plain"},
        {"a<b & 'c'", "a&lt;b &amp; &apos;c&apos;"},
        {"_x0041_", "_x005F_x0041_"},
        {"_x00G1_ and x_", "_x00G1_ and x_"},
        {std::string_view("bell\x07", 5), "bell_x0007_"},
        {"tab\tand\nline", "tab\tand\nline"},
    };
    for (const Case& c : cases) {
        std::string out;
        xlsx::appendStringText(out, c.text);
        EXPECT_EQ(out, c.expected);
    }
}

// Expected: the double nearest the text, printed with as many significant
// digits as the text has, gives the text's digits back (checked with
// Python's float and "%.*e").
TEST(XlsxWriterText, ExactNumberTextsSurviveADouble) {
    const std::pair<std::string_view, bool> cases[] = {
        {"0.1", true},
        {"0.10000000000000001", true},
        {"0.1000000000000001", true},
        {"9007199254740992", true},
        {"9007199254740993", false},
        {"0.30000000000000004", true},
        {"432.7670679050534", true},
        {"432.76706790505335", true},
        {"1.7976931348623157e308", true},
        {"4.9e-324", true},
        {"1234567890123456789", false},
        {"1.50", false},
        {"00123", false},
        {"-0", true},
    };
    for (const auto& [text, exact] : cases)
        EXPECT_EQ(xlsx::isExactNumberText(text), exact) << text;
}

TEST(XlsxWriterText, SheetNamesAreQuotedWhenAFormulaNeedsIt) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"Data", "Data"},    {"Sheet1", "Sheet1"},     {"My Data", "'My Data'"},
        {"It's", "'It''s'"}, {"A1", "'A1'"},           {"2024", "'2024'"},
        {"R1C1", "'R1C1'"},  {"Ünicode", "'Ünicode'"}, {"Q1-Sales", "'Q1-Sales'"},
    };
    for (const auto& [name, expected] : cases)
        EXPECT_EQ(xlsx::formulaSheetName(name), expected);
}

TEST(XlsxWriterText, NewerFunctionsGetTheirFilePrefix) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"=SUM(A1:A3)", "SUM(A1:A3)"},
        {"XLOOKUP(1,A:A,B:B)", "_xlfn.XLOOKUP(1,A:A,B:B)"},
        {"iferror(ifs(A1,1),0)", "iferror(_xlfn.ifs(A1,1),0)"},
        {"SORT(FILTER(A1:A9,B1:B9>0))", "_xlfn._xlws.SORT(_xlfn._xlws.FILTER(A1:A9,B1:B9>0))"},
        {"\"XLOOKUP(\"&'IFS(x'!A1", "\"XLOOKUP(\"&'IFS(x'!A1"},
        {"STDEV.S(A1:A3)+MYSTDEV.S(1)", "_xlfn.STDEV.S(A1:A3)+MYSTDEV.S(1)"},
        {"_xlfn.CONCAT(A1)", "_xlfn.CONCAT(A1)"},
        {"CONCAT", "CONCAT"},
    };
    for (const auto& [formula, expected] : cases)
        EXPECT_EQ(xlsx::exportedFormula(formula), expected);
}

TEST(XlsxWriterText, LegacyPasswordHashMatchesTheFormat) {
    EXPECT_EQ(xlsx::legacyPasswordHash("test"), "CBEB");
    EXPECT_EQ(xlsx::legacyPasswordHash("secret"), "DAA7");
    EXPECT_EQ(xlsx::legacyPasswordHash("a"), "CE88");
}

} // namespace
} // namespace sumora
