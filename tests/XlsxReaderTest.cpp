// Reading XLSX packages, cell by cell: contents, formulas, styles, colours,
// sheet layout and validations, from small hand-written packages.
#include "formats/XlsxFormat.h"

#include <gtest/gtest.h>

#include "engine/FormulaAdjuster.h"
#include "values/Log.h"
#include <algorithm>

#include "formats/XlsxColors.h"
#include "formats/XlsxStylesReader.h"
#include "tests/XlsxReaderTestSupport.h"

namespace sumora {
namespace {

using namespace xlsxtest;

// ---------------------------------------------------------------------------
// Cell contents

TEST(XlsxCells, ConstantsKeepTheFilesText) {
    std::string rows = R"(<row r="1">)"
                       R"(<c r="A1"><v>0.1</v></c>)"
                       R"(<c r="B1" t="s"><v>0</v></c>)"
                       R"(<c r="C1" t="s"><v>1</v></c>)"
                       R"(<c r="D1" t="inlineStr"><is><r><t>in</t></r><r><t>line</t></r></is></c>)"
                       R"(<c r="E1" t="b"><v>1</v></c>)"
                       R"(<c r="F1" t="b"><v>0</v></c>)"
                       R"(<c r="G1" t="e"><v>#DIV/0!</v></c>)"
                       R"(<c r="H1" t="str"><v>plain</v></c>)"
                       R"(<c r="I1" t="d"><v>2024-03-01T12:00:00</v></c>)"
                       R"(<c r="J1" t="s"><v>2</v></c>)"
                       R"(<c r="K1" t="s"><v>99</v></c>)"
                       R"(<c r="L1"><v>1.0000000000000002E-3</v></c>)"
                       "</row>";
    SumoraDocument doc =
        TestPackage(worksheet(rows))
            .part("xl/sharedStrings.xml",
                  sharedStrings(
                      "<si><t>Hello</t></si>"
                      "<si><r><rPr><b/></rPr><t>Rich</t></r><r><t xml:space=\"preserve\"> text</t></r>"
                      "<rPh><t>phonetic</t></rPh></si>"
                      "<si><t>line_x000D_break _x005F_x0041_</t></si>"))
            .open();
    const Sheet& s = doc.sheets[0];
    const std::pair<const char*, const char*> cases[] = {
        {"A1", "0.1"},       {"B1", "Hello"},
        {"C1", "Rich text"}, {"D1", "inline"},
        {"E1", "TRUE"},      {"F1", "FALSE"},
        {"G1", "#DIV/0!"},   {"H1", "plain"},
        {"I1", "45352.5"},   {"J1", "line\rbreak _x0041_"},
        {"K1", "99"},        {"L1", "1.0000000000000002E-3"},
    };
    for (auto [address, text] : cases) {
        EXPECT_EQ(at(s, address).value(), text) << address;
        EXPECT_FALSE(at(s, address).formula()) << address;
    }
}

TEST(XlsxCells, CellsWithoutReferencesFollowTheirNeighbours) {
    SumoraDocument doc =
        TestPackage(
            worksheet(R"(<row><c><v>1</v></c><c><v>2</v></c><c r="E1"><v>5</v></c><c><v>6</v></c></row>)"
                      R"(<row><c><v>7</v></c></row><row r="5"><c><v>8</v></c></row>)"))
            .open();
    const Sheet& s = doc.sheets[0];
    for (auto [address, text] :
         {std::pair{"A1", "1"}, {"B1", "2"}, {"E1", "5"}, {"F1", "6"}, {"A2", "7"}, {"A5", "8"}})
        EXPECT_EQ(at(s, address).value(), text) << address;
}

TEST(XlsxCells, FormulasAreRecalculatedAndUnparseableOnesKeepTheirCachedResult) {
    std::string rows = R"(<row r="1"><c r="A1"><v>2</v></c>)"
                       R"(<c r="B1"><f>A1*3</f><v>999</v></c>)"
                       R"(<c r="C1"><f>=A1+1</f></c>)"
                       R"(<c r="D1"><f>SUM((</f><v>42</v></c>)"
                       R"(<c r="E1" t="str"><f>_xlfn.CONCAT("a","_xlfn.")</f><v>a_xlfn.</v></c>)"
                       R"(<c r="F1"><f t="dataTable" ref="F1:F2" dt2D="0" dtr="0" r1="A1"/><v>17</v></c>)"
                       "</row>";
    SumoraDocument doc = TestPackage(worksheet(rows)).open();
    const Sheet& s = doc.sheets[0];
    EXPECT_EQ(at(s, "B1").formula(), "A1*3");
    EXPECT_EQ(at(s, "B1").displayValue(), "6");
    EXPECT_EQ(at(s, "B1").value(), "");
    EXPECT_EQ(at(s, "C1").formula(), "A1+1");
    EXPECT_EQ(at(s, "C1").displayValue(), "3");
    EXPECT_EQ(at(s, "D1").formula(), "SUM((");
    EXPECT_EQ(at(s, "D1").displayValue(), "42");
    EXPECT_EQ(at(s, "E1").formula(), "CONCAT(\"a\",\"_xlfn.\")");
    EXPECT_EQ(at(s, "E1").displayValue(), "a_xlfn.");
    EXPECT_FALSE(at(s, "F1").formula());
    EXPECT_EQ(at(s, "F1").value(), "17");
}

TEST(XlsxCells, SharedFormulasAreExpandedFromTheirMaster) {
    std::string rows =
        R"(<row r="1"><c r="A1"><v>1</v></c><c r="B1"><f t="shared" ref="B1:C3" si="0">A1*2</f><v>2</v></c>)"
        R"(<c r="C1"><f t="shared" si="0"/><v>4</v></c></row>)"
        R"(<row r="2"><c r="A2"><v>2</v></c><c r="B2"><f t="shared" si="0"/><v>4</v></c></row>)"
        R"(<row r="3"><c r="A3"><v>3</v></c><c r="B3"><f t="shared" si="0"/><v>6</v></c>)"
        R"(<c r="D3"><f t="shared" si="7"/><v>5</v></c></row>)";
    SumoraDocument doc = TestPackage(worksheet(rows)).open();
    const Sheet& s = doc.sheets[0];
    const std::pair<const char*, const char*> formulas[] = {
        {"B1", "A1*2"}, {"C1", "B1*2"}, {"B2", "A2*2"}, {"B3", "A3*2"}};
    for (auto [address, formula] : formulas)
        EXPECT_EQ(at(s, address).formula(), formula) << address;
    EXPECT_EQ(at(s, "B3").displayValue(), "6");
    EXPECT_EQ(at(s, "C1").displayValue(), "4");
    // A follower without a master keeps its result as a constant.
    EXPECT_FALSE(at(s, "D3").formula());
    EXPECT_EQ(at(s, "D3").value(), "5");
}

TEST(XlsxCells, SharedFormulasMoveOnlyReferencesAndBrokenMastersKeepResults) {
    std::string rows =
        R"(<row r="2"><c r="C2"><f t="shared" ref="C2:D9" si="0">DAYS360(B2,A2)&amp;DEC2BIN(1)&amp;"A2"</f>)"
        R"(<v>0</v></c><c r="E2"><f t="shared" ref="E2:E3" si="1">SUM((A2</f><v>7</v></c></row>)"
        R"(<row r="3"><c r="E3"><f t="shared" si="1"/><v>8</v></c></row>)"
        R"(<row r="9"><c r="C9"><f t="shared" si="0"/><v>0</v></c><c r="D9"><f t="shared" si="0"/></c></row>)";
    LogCapture log;
    SumoraDocument doc = TestPackage(worksheet(rows)).open();
    const Sheet& s = doc.sheets[0];
    EXPECT_EQ(at(s, "C9").formula(), "DAYS360(B9,A9)&DEC2BIN(1)&\"A2\"");
    EXPECT_EQ(at(s, "D9").formula(), "DAYS360(C9,B9)&DEC2BIN(1)&\"A2\"");
    EXPECT_EQ(at(s, "C9").displayValue(), "01A2");
    // An unparsable master keeps its formula; the rest of its group keeps the saved results.
    EXPECT_EQ(at(s, "E2").formula(), "SUM((A2");
    EXPECT_EQ(at(s, "E2").displayValue(), "7");
    EXPECT_FALSE(at(s, "E3").formula());
    EXPECT_EQ(at(s, "E3").value(), "8");
    EXPECT_EQ(std::count_if(log.lines().begin(), log.lines().end(),
                            [](const std::string& line) {
                                return line.find("Shared formulas without a usable master in 'Sheet1': 1;") !=
                                       std::string::npos;
                            }),
              1);
}

TEST(XlsxCells, ArrayFormulaResultsMayBeReplacedByTheSpill) {
    std::string rows =
        R"(<row r="1"><c r="A1"><v>1</v></c><c r="C1"><f t="array" ref="C1:C3">SEQUENCE(3,1,A1*10,10)</f><v>10</v></c></row>)"
        R"(<row r="2"><c r="A2"><v>2</v></c><c r="C2"><v>20</v></c></row>)"
        R"(<row r="3"><c r="A3"><v>3</v></c><c r="C3"><v>30</v></c></row>)";
    SumoraDocument doc = TestPackage(worksheet(rows)).open();
    const Sheet& s = doc.sheets[0];
    EXPECT_EQ(at(s, "C1").formula(), "SEQUENCE(3,1,A1*10,10)");
    EXPECT_EQ(at(s, "C1").displayValue(), "10");
    EXPECT_FALSE(at(s, "C2").hasContent()); // not a constant that would block the spill
    EXPECT_EQ(at(s, "C2").displayValue(), "20");
    EXPECT_EQ(at(s, "C3").displayValue(), "30");
}

TEST(XlsxCells, UnreadableSharedStringsLeaveTheRawIndex) {
    LogCapture log;
    SumoraDocument doc = TestPackage(worksheet(R"(<row r="1"><c r="A1" t="s"><v>3</v></c></row>)"))
                             .part("xl/sharedStrings.xml", "<sst><si><t>broken</sst>")
                             .open();
    EXPECT_EQ(at(doc.sheets[0], "A1").value(), "3");
    EXPECT_TRUE(log.contains("[Sumora]   SharedStrings parse failed (non-fatal): XML"));
}

// ---------------------------------------------------------------------------
// Styles

const char* const kStyleSheet =
    R"(<numFmts count="1"><numFmt numFmtId="164" formatCode="0.000"/></numFmts>)"
    R"(<fonts count="5"><font><sz val="11"/><color theme="1"/><name val="Calibri"/></font>)"
    R"(<font><b/><i/><u/><strike/><sz val="14"/><color rgb="FFFF0000"/><name val="Arial"/></font>)"
    R"(<font><b val="0"/><u val="none"/><color theme="4" tint="0.39997558519241921"/></font>)"
    R"(<font><color indexed="12"/></font>)"
    R"(<font><color theme="4"/><family val="2" rgb="FF123456"/></font></fonts>)"
    R"(<fills count="4"><fill><patternFill patternType="none"/></fill><fill><patternFill patternType="gray125"/></fill>)"
    R"(<fill><patternFill patternType="solid"><fgColor rgb="FF00FF00"/><bgColor indexed="64"/></patternFill></fill>)"
    R"(<fill><patternFill><fgColor rgb="FF0000FF"/></patternFill></fill></fills>)"
    R"(<borders count="4"><border/>)"
    R"(<border><left style="thin"/><right style="thin"/><top style="thin"/><bottom style="thin"/></border>)"
    R"(<border><left style="none"/><bottom style="thick"/></border>)"
    R"(<border><bottom style="medium"/></border></borders>)"
    R"(<cellStyleXfs count="1"><xf numFmtId="3" fontId="1" fillId="2" borderId="1"/></cellStyleXfs>)"
    R"(<cellXfs count="9"><xf numFmtId="0" fontId="0" fillId="0" borderId="0"/>)"
    R"(<xf numFmtId="164" fontId="1" fillId="2" borderId="1" applyNumberFormat="1"/>)"
    R"(<xf numFmtId="14" fontId="2" fillId="3" borderId="2"><alignment horizontal="center" wrapText="1"/></xf>)"
    R"(<xf numFmtId="4" fontId="3" fillId="1" borderId="3"><alignment horizontal="centerContinuous"/><protection locked="0"/></xf>)"
    R"(<xf numFmtId="7" fontId="4"><alignment horizontal="justify"/></xf></cellXfs>)";

TEST(XlsxStyles, CellFormatRecordsBecomeCellFormats) {
    std::string rows =
        R"(<row r="1"><c r="A1" s="1"><v>1</v></c><c r="B1" s="2"><v>2</v></c><c r="C1" s="3"/>)"
        R"(<c r="D1" s="4"><v>4</v></c><c r="E1" s="0"><v>5</v></c><c r="F1"><v>6</v></c>)"
        R"(<c r="G1" s="77"><v>7</v></c></row>)";
    SumoraDocument doc = TestPackage(worksheet(rows)).part("xl/styles.xml", styles(kStyleSheet)).open();
    const Sheet& s = doc.sheets[0];

    const CellFormat& a = at(s, "A1").format();
    EXPECT_TRUE(a.isBold && a.isItalic && a.isUnderline && a.isStrikethrough);
    EXPECT_EQ(a.fontName, "Arial");
    EXPECT_EQ(a.fontSize, 14.0);
    EXPECT_EQ(a.fontColor, "FF0000");
    EXPECT_EQ(a.fillColor, "00FF00");
    EXPECT_EQ(a.numberFormat, "0.000");
    EXPECT_EQ(a.numberFormatId, 164);
    EXPECT_TRUE(a.borderLeft && a.borderRight && a.borderTop && a.borderBottom && !a.borderThickBottom);

    const CellFormat& b = at(s, "B1").format();
    EXPECT_FALSE(b.isBold || b.isUnderline);
    EXPECT_EQ(b.fontColor, "95B3D7"); // accent 1, 40 % lighter
    EXPECT_EQ(b.numberFormat, "mm-dd-yy");
    EXPECT_EQ(b.numberFormatId, 14);
    EXPECT_FALSE(b.fillColor); // no pattern type means no fill
    EXPECT_EQ(b.alignment, CellAlignment::center);
    EXPECT_TRUE(b.wrapText);
    EXPECT_TRUE(b.borderThickBottom && !b.borderBottom && !b.borderLeft);

    // A cell holding nothing but formatting is kept.
    const CellFormat& c = at(s, "C1").format();
    EXPECT_EQ(c.fontColor, "0000FF"); // indexed 12
    EXPECT_FALSE(c.fillColor);        // gray125 without a foreground
    EXPECT_TRUE(c.borderThickBottom); // medium counts as thick
    EXPECT_EQ(c.alignment, CellAlignment::general);
    EXPECT_EQ(c.numberFormat, "#,##0.00");
    EXPECT_FALSE(at(s, "C1").isLocked());
    EXPECT_TRUE(at(s, "A1").isLocked());

    // The raw rgb of the font piece overrides the typed theme colour.
    EXPECT_EQ(at(s, "D1").format().fontColor, "123456");
    EXPECT_EQ(at(s, "D1").format().alignment, CellAlignment::justify);
    EXPECT_EQ(at(s, "D1").format().numberFormatId, 7);
    EXPECT_FALSE(at(s, "D1").format().numberFormat); // not one of the built-in codes here

    EXPECT_EQ(at(s, "E1").format().fontName, "Calibri");
    EXPECT_EQ(at(s, "E1").format().fontColor, "000000");
    EXPECT_FALSE(at(s, "E1").format().numberFormat);
    EXPECT_EQ(at(s, "F1").formatHandle(), nullptr);
    EXPECT_EQ(at(s, "G1").formatHandle(), nullptr); // an index past the records
}

TEST(XlsxStyles, RawFontColoursComeFromEachFontPiece) {
    auto colors = xlsx::rawFontColors(
        R"(<fonts><font><color theme="1"/></font><font><color rgb="FF00AA00"/></font><font><b/></font></fonts>)"
        R"(<dxfs><dxf><font><color rgb="12345678"/></font></dxf></dxfs>)");
    ASSERT_EQ(colors.size(), 4u);
    EXPECT_FALSE(colors[0]);
    EXPECT_EQ(colors[1], "00AA00");
    EXPECT_FALSE(colors[2]);
    EXPECT_EQ(colors[3], "345678");
}

TEST(XlsxStyles, UnreadableStylesLeaveCellsUnformatted) {
    LogCapture log;
    SumoraDocument doc = TestPackage(worksheet(R"(<row r="1"><c r="A1" s="1"><v>1</v></c></row>)"))
                             .part("xl/styles.xml", "<styleSheet><fonts>")
                             .open();
    EXPECT_EQ(at(doc.sheets[0], "A1").formatHandle(), nullptr);
    EXPECT_EQ(at(doc.sheets[0], "A1").value(), "1");
    EXPECT_TRUE(log.contains("[Sumora]   Styles parse failed (non-fatal): "));
}

TEST(XlsxColors, ThemeAndIndexedColoursResolveToHex) {
    xlsx::ColorResolver colors;
    auto resolve = [&](std::optional<std::string> rgb, std::optional<int> theme, std::optional<int> indexed,
                       double tint) {
        xlsx::ColorElement color;
        color.rgb = std::move(rgb);
        color.theme = theme;
        color.indexed = indexed;
        color.tint = tint;
        return colors.resolve(color).value_or("(none)");
    };
    EXPECT_EQ(resolve("FF112233", std::nullopt, std::nullopt, 0), "112233");
    EXPECT_EQ(resolve("ab12cd", std::nullopt, std::nullopt, 0), "ab12cd");
    EXPECT_EQ(resolve(std::nullopt, 0, std::nullopt, 0), "FFFFFF"); // light 1
    EXPECT_EQ(resolve(std::nullopt, 1, std::nullopt, 0), "000000"); // dark 1
    EXPECT_EQ(resolve(std::nullopt, 4, std::nullopt, -0.249977111117893), "376092");
    EXPECT_EQ(resolve(std::nullopt, 4, std::nullopt, 0.59999389629810485), "B9CDE5");
    EXPECT_EQ(resolve(std::nullopt, 12, std::nullopt, 0), "(none)");
    EXPECT_EQ(resolve(std::nullopt, std::nullopt, 2, 0), "FF0000");
    EXPECT_EQ(resolve(std::nullopt, std::nullopt, 22, 0), "C0C0C0");
    EXPECT_EQ(resolve(std::nullopt, std::nullopt, 64, 0), "000000");
    EXPECT_EQ(resolve(std::nullopt, std::nullopt, 200, 0), "(none)");
    colors.setIndexedColors({"FF0A0B0C"});
    EXPECT_EQ(resolve(std::nullopt, std::nullopt, 0, 0), "0A0B0C");
}

TEST(XlsxColors, TheWorkbookThemeReplacesTheDefault) {
    std::string theme =
        R"(<a:theme xmlns:a="http://schemas.openxmlformats.org/drawingml/2006/main"><a:themeElements>)"
        R"(<a:clrScheme name="x"><a:dk1><a:sysClr val="windowText" lastClr="111111"/></a:dk1>)"
        R"(<a:lt1><a:sysClr val="window"/></a:lt1><a:dk2><a:srgbClr val="222222"/></a:dk2>)"
        R"(<a:lt2><a:srgbClr val="EEEEEE"/></a:lt2><a:accent1><a:srgbClr val="ABCDEF"/></a:accent1>)"
        R"(</a:clrScheme></a:themeElements></a:theme>)";
    std::string sheet = worksheet(R"(<row r="1"><c r="A1" s="1"><v>1</v></c></row>)",
                                  R"(<sheetPr><tabColor theme="4"/></sheetPr>)");
    SumoraDocument doc =
        TestPackage(sheet)
            .part("xl/theme/theme1.xml", theme)
            .part("xl/styles.xml", styles(R"(<fonts><font/><font><color theme="1"/></font></fonts>)"
                                          R"(<cellXfs><xf/><xf fontId="1"/></cellXfs>)"))
            .open();
    EXPECT_EQ(at(doc.sheets[0], "A1").format().fontColor, "111111");
    EXPECT_EQ(doc.sheets[0].tabColorHex, "ABCDEF");
}

// ---------------------------------------------------------------------------
// Sheet features

TEST(XlsxSheet, LayoutMergesAndCommentsAreRead) {
    std::string before =
        R"(<sheetPr><tabColor rgb="FFFF8000"/></sheetPr>)"
        R"(<sheetViews><sheetView workbookViewId="0"><pane xSplit="1" ySplit="2" topLeftCell="B3" )"
        R"(state="frozen"/></sheetView></sheetViews>)"
        R"(<cols><col min="1" max="1" width="10" customWidth="1"/><col min="3" max="4" width="20.7109375"/>)"
        R"(<col min="5" max="16384" width="9.140625"/></cols>)";
    std::string after =
        R"(<mergeCells count="2"><mergeCell ref="A1:B2"/><mergeCell ref="C5:E5"/></mergeCells>)"
        R"(<legacyDrawing r:id="rId2"/>)";
    std::string rows = R"(<row r="1" ht="30" customHeight="1"><c r="A1"><v>1</v></c></row>)"
                       R"(<row r="2" ht="18"><c r="A2"><v>2</v></c></row>)";
    std::string comments =
        R"(<comments xmlns=")" + std::string(kMain) +
        R"("><authors><author>me</author></authors><commentList>)"
        R"(<comment ref="A1" authorId="0"><text><r><rPr><b/></rPr><t>me:</t></r><r><t xml:space="preserve"> note</t></r></text></comment>)"
        R"(<comment ref="B$2" authorId="0"><text><t>odd</t></text></comment>)"
        R"(<comment ref="C3" authorId="0"><text><t>plain</t></text></comment></commentList></comments>)";
    std::string rels = "<Relationships xmlns=\"" + std::string(kPackageRelationships) + "\">" +
                       R"(<Relationship Id="rId1" Type=")" + std::string(kRelationships) +
                       R"(/comments" Target="../comments1.xml"/></Relationships>)";
    SumoraDocument doc = TestPackage(worksheet(rows, before, after))
                             .part("xl/comments1.xml", comments)
                             .part("xl/worksheets/_rels/sheet1.xml.rels", rels)
                             .open();
    const Sheet& s = doc.sheets[0];
    EXPECT_EQ(s.tabColorHex, "FF8000");
    EXPECT_EQ(s.frozenColumns, 1);
    EXPECT_EQ(s.frozenRows, 2);
    EXPECT_EQ(s.columnWidths.at(0), 75.0);  // 10 × 7 + 5
    EXPECT_EQ(s.columnWidths.at(2), 150.0); // 20.71 × 7 + 5, rounded
    EXPECT_EQ(s.columnWidths.at(3), 150.0);
    EXPECT_FALSE(s.columnWidths.count(1));
    EXPECT_EQ(s.columnWidths.size(), 25u); // the last span stops at the grid's edge
    EXPECT_EQ(s.rowHeights.at(0), 40.0);   // 30 points
    EXPECT_FALSE(s.rowHeights.count(1));   // a height the application chose itself
    ASSERT_EQ(s.mergedRegions.size(), 2u);
    EXPECT_EQ(s.mergedRegions[0], (MergedRegion{0, 0, 1, 1}));
    EXPECT_EQ(s.mergedRegions[1], (MergedRegion{2, 4, 4, 4}));
    EXPECT_EQ(s.cellComments,
              (std::map<std::string, std::string>{{"A1", "me: note"}, {"B$2", "odd"}, {"C3", "plain"}}));
}

TEST(XlsxSheet, SplitPanesThatAreNotFrozenAreIgnored) {
    SumoraDocument doc =
        TestPackage(
            worksheet(
                "", R"(<sheetViews><sheetView><pane xSplit="2000" ySplit="600"/></sheetView></sheetViews>)"))
            .open();
    EXPECT_EQ(doc.sheets[0].frozenRows, 0);
    EXPECT_EQ(doc.sheets[0].frozenColumns, 0);
}

TEST(XlsxSheet, GridIsAtLeastANewSheetsSize) {
    SumoraDocument small = TestPackage(worksheet(R"(<row r="3"><c r="B3"><v>1</v></c></row>)")).open();
    EXPECT_EQ(small.sheets[0].rowCount(), 500);
    EXPECT_EQ(small.sheets[0].columnCount(), 26);
    SumoraDocument big =
        TestPackage(worksheet(R"(<row r="700"><c r="AD700"><v>1</v></c><c r="XFE700"><v>2</v></c></row>)"))
            .open();
    EXPECT_EQ(big.sheets[0].rowCount(), 700);
    EXPECT_EQ(big.sheets[0].columnCount(), 30); // a reference past the format's last column is dropped
    EXPECT_TRUE(big.sheets[0].cell(699, 30).isDefault());
}

TEST(XlsxSheet, ProtectionIsRead) {
    SumoraDocument doc =
        TestPackage(
            worksheet("", "",
                      R"(<sheetProtection sheet="1" formatCells="0" sort="0" selectLockedCells="1"/>)"))
            .open();
    const Sheet& s = doc.sheets[0];
    EXPECT_TRUE(s.isProtected);
    EXPECT_TRUE(s.protectionOptions.allowFormatCells);
    EXPECT_TRUE(s.protectionOptions.allowSort);
    EXPECT_FALSE(s.protectionOptions.allowSelectLockedCells);
    EXPECT_TRUE(s.protectionOptions.allowSelectUnlockedCells);
    EXPECT_FALSE(s.protectionOptions.allowInsertRows);
}

TEST(XlsxValidations, RulesOfEveryTypeAreRead) {
    std::string after =
        R"(<dataValidations count="7">)"
        R"(<dataValidation type="list" allowBlank="1" showInputMessage="1" promptTitle="Pick" prompt="One of &quot;three&quot;" sqref="A1:A5">)"
        "\n<formula1>\"Yes,No,Maybe\"</formula1></dataValidation>"
        R"(<dataValidation type="list" showDropDown="1" sqref="B1 D2:D3"><formula1>&quot;a&amp;b,c&quot;</formula1></dataValidation>)"
        R"(<dataValidation type="whole" errorStyle="warning" errorTitle="Oops" error="1 to 10" sqref="C1"><formula1>1</formula1><formula2>10</formula2></dataValidation>)"
        R"(<dataValidation type="decimal" operator="greaterThan" errorStyle="information" sqref="C2"><formula1>0.5</formula1></dataValidation>)"
        R"(<dataValidation type="textLength" operator="lessThanOrEqual" sqref="C3"><formula1>8</formula1></dataValidation>)"
        R"(<dataValidation type="date" sqref="C4"><formula1>45292</formula1><formula2>TODAY()</formula2></dataValidation>)"
        R"(<dataValidation type="custom" sqref="C5"><formula1>=ISNUMBER(C5)</formula1></dataValidation>)"
        R"(<dataValidation type="time" sqref="C6"><formula1>0.5</formula1></dataValidation>)"
        R"(<dataValidation sqref="C7" prompt="just a prompt"/>)"
        R"(</dataValidations><extLst><ext uri="{CCE6A557-97BC-4b89-ADB6-D9C93CAAB3DF}"><x14:dataValidations )"
        R"(xmlns:x14="urn:x14" xmlns:xm="urn:xm"><x14:dataValidation type="list"><x14:formula1><xm:f>Lists!$A$1:$A$3</xm:f></x14:formula1>)"
        R"(<xm:sqref>E1:E9</xm:sqref></x14:dataValidation></x14:dataValidations></ext></extLst>)";
    SumoraDocument doc = TestPackage(worksheet("", "", after)).open();
    const auto& rules = doc.sheets[0].dataValidations;
    ASSERT_EQ(rules.size(), 9u);

    EXPECT_EQ(rules[0].validationType, ValidationType(validation::List{{"Yes", "No", "Maybe"}}));
    EXPECT_EQ(std::tie(rules[0].startCol, rules[0].startRow, rules[0].endCol, rules[0].endRow),
              std::make_tuple(0, 0, 0, 4));
    EXPECT_EQ(rules[0].inputTitle, "Pick");
    EXPECT_EQ(rules[0].inputMessage, "One of \"three\"");
    EXPECT_TRUE(rules[0].showDropdown);
    EXPECT_EQ(rules[0].errorStyle, ValidationErrorStyle::stop);

    EXPECT_EQ(rules[1].validationType, ValidationType(validation::List{{"a&b", "c"}}));
    EXPECT_FALSE(rules[1].showDropdown); // the attribute hides the arrow
    EXPECT_EQ(std::tie(rules[1].startCol, rules[1].startRow), std::make_tuple(1, 0));
    EXPECT_EQ(std::tie(rules[2].startCol, rules[2].startRow, rules[2].endRow), std::make_tuple(3, 1, 2));

    EXPECT_EQ(rules[3].validationType, ValidationType(validation::WholeNumber{1, 10}));
    EXPECT_EQ(rules[3].errorStyle, ValidationErrorStyle::warning);
    EXPECT_EQ(rules[3].errorTitle, "Oops");
    EXPECT_EQ(rules[3].errorMessage, "1 to 10");
    EXPECT_FALSE(rules[3].showDropdown);
    EXPECT_EQ(rules[4].validationType, ValidationType(validation::Decimal{0.5, std::nullopt}));
    EXPECT_EQ(rules[4].errorStyle, ValidationErrorStyle::information);
    EXPECT_EQ(rules[5].validationType, ValidationType(validation::TextLength{std::nullopt, 8}));
    EXPECT_EQ(rules[6].validationType, ValidationType(validation::Date{"2024-01-01", "TODAY()"}));
    EXPECT_EQ(rules[7].validationType, ValidationType(validation::Custom{"ISNUMBER(C5)"}));
    EXPECT_EQ(rules[8].validationType, ValidationType(validation::List{{"Lists!$A$1:$A$3"}}));
    EXPECT_EQ(std::tie(rules[8].startCol, rules[8].endRow), std::make_tuple(4, 8));
}

// The model's bounds are inclusive, so a strict bound becomes the next value.
TEST(XlsxValidations, StrictBoundsBecomeInclusive) {
    struct Case {
        const char* rule;
        ValidationType expected;
    };
    const Case cases[] = {
        {R"(type="whole" operator="greaterThan"><formula1>5</formula1>)", validation::WholeNumber{6, std::nullopt}},
        {R"(type="textLength" operator="lessThan"><formula1>8</formula1>)", validation::TextLength{std::nullopt, 7}},
        {R"(type="date" operator="greaterThan"><formula1>45292</formula1>)",
         validation::Date{"2024-01-02", std::nullopt}},
        {R"(type="date" operator="lessThan"><formula1>45292</formula1>)",
         validation::Date{std::nullopt, "2023-12-31"}},
        {R"(type="date" operator="greaterThanOrEqual"><formula1>45292</formula1>)",
         validation::Date{"2024-01-01", std::nullopt}},
        {R"(type="date" operator="lessThan"><formula1>TODAY()</formula1>)", validation::Date{std::nullopt, "TODAY()"}},
    };
    for (const Case& c : cases) {
        std::string after = std::string(R"(<dataValidations count="1"><dataValidation sqref="A1" )") + c.rule +
                            "</dataValidation></dataValidations>";
        SumoraDocument doc = TestPackage(worksheet("", "", after)).open();
        ASSERT_EQ(doc.sheets[0].dataValidations.size(), 1u) << c.rule;
        EXPECT_EQ(doc.sheets[0].dataValidations[0].validationType, c.expected) << c.rule;
    }
}

} // namespace
} // namespace sumora
