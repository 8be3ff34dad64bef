// Reading OpenDocument spreadsheets from hand-written content parts: value
// types, formulas, positions under repeats, styles, merges, widths, hidden
// tables and the failures.
#include <gtest/gtest.h>

#include "document/ColumnLetters.h"
#include "formats/DocumentIO.h"
#include "formats/FileErrors.h"
#include "formats/OdsFormat.h"
#include "formats/OdsFormulaTranslation.h"
#include "formats/OdsReader.h"
#include "formats/XmlScanner.h"
#include "formats/ZipArchive.h"
#include "values/Log.h"

namespace sumora {
namespace {

constexpr std::string_view kNamespaces =
    "xmlns:office=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\" "
    "xmlns:style=\"urn:oasis:names:tc:opendocument:xmlns:style:1.0\" "
    "xmlns:text=\"urn:oasis:names:tc:opendocument:xmlns:text:1.0\" "
    "xmlns:table=\"urn:oasis:names:tc:opendocument:xmlns:table:1.0\" "
    "xmlns:fo=\"urn:oasis:names:tc:opendocument:xmlns:xsl-fo-compatible:1.0\" "
    "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" "
    "xmlns:calcext=\"urn:org:documentfoundation:names:experimental:calc:xmlns:calcext:1.0\" "
    "xmlns:of=\"urn:oasis:names:tc:opendocument:xmlns:of:1.2\"";

std::string package(std::string_view content) {
    ZipWriter zip;
    zip.add("mimetype", "application/vnd.oasis.opendocument.spreadsheet", Compression::store);
    zip.add("content.xml", content);
    return zip.finish();
}

// A content part with automatic styles and a spreadsheet body.
std::string content(std::string_view styles, std::string_view tables) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><office:document-content " + std::string(kNamespaces) +
           "><office:automatic-styles>" + std::string(styles) +
           "</office:automatic-styles><office:body><office:spreadsheet>" + std::string(tables) +
           "</office:spreadsheet></office:body></office:document-content>";
}

std::vector<Sheet> readTables(std::string_view tables, std::string_view styles = "") {
    return readOdsSheets(package(content(styles, tables)));
}

// One table of one row holding `cells`.
Sheet readRow(std::string_view cells, std::string_view styles = "") {
    auto sheets = readTables("<table:table table:name=\"T\"><table:table-row>" + std::string(cells) +
                                 "</table:table-row></table:table>",
                             styles);
    EXPECT_EQ(sheets.size(), 1u);
    return sheets.empty() ? Sheet() : std::move(sheets.front());
}

const Cell& at(const Sheet& sheet, std::string_view address) {
    auto a = parseCellAddress(address);
    return sheet.cell(a->row, a->col);
}

TEST(OdsRead, ValueTypesGiveTheirValues) {
    struct Case {
        const char* cell;
        const char* value;
    } cases[] = {
        {R"~(<table:table-cell office:value-type="float" office:value="1234.5"><text:p>1,234.50</text:p></table:table-cell>)~",
         "1234.5"},
        {R"~(<table:table-cell office:value-type="currency" office:currency="EUR" office:value="-3"><text:p>-3.00 €</text:p></table:table-cell>)~",
         "-3"},
        {R"~(<table:table-cell office:value-type="percentage" office:value="0.125"><text:p>12.50%</text:p></table:table-cell>)~",
         "0.125"},
        {R"~(<table:table-cell office:value-type="date" office:date-value="2024-02-29"><text:p>02/29/24</text:p></table:table-cell>)~",
         "2024-02-29"},
        {R"~(<table:table-cell office:value-type="boolean" office:boolean-value="true"><text:p>TRUE</text:p></table:table-cell>)~",
         "TRUE"},
        {R"~(<table:table-cell office:value-type="boolean" office:boolean-value="false"><text:p>FALSCH</text:p></table:table-cell>)~",
         "FALSE"},
        {R"~(<table:table-cell office:value-type="string"><text:p>plain <text:span>text</text:span></text:p></table:table-cell>)~",
         "plain text"},
        {R"~(<table:table-cell office:value-type="string" office:string-value="from attribute"><text:p>shown</text:p></table:table-cell>)~",
         "from attribute"},
        {R"~(<table:table-cell office:value-type="time" office:time-value="PT12H30M00S"><text:p>12:30:00</text:p></table:table-cell>)~",
         "12:30:00"},
        {R"~(<table:table-cell><text:p>no type</text:p></table:table-cell>)~", "no type"},
        {R"~(<table:table-cell office:value-type="float"><text:p>7</text:p></table:table-cell>)~", "7"},
        {R"~(<table:table-cell office:value-type="string" calcext:value-type="error"><text:p>#DIV/0!</text:p></table:table-cell>)~",
         "#DIV/0!"},
    };
    for (const Case& c : cases) {
        Sheet sheet = readRow(c.cell);
        EXPECT_EQ(at(sheet, "A1").value(), c.value) << c.cell;
        EXPECT_FALSE(at(sheet, "A1").formula()) << c.cell;
    }
}

TEST(OdsRead, PercentagesShowAsPercentages) {
    Sheet sheet = readRow(
        R"~(<table:table-cell office:value-type="percentage" office:value="0.5"><text:p>50%</text:p></table:table-cell>)~"
        R"~(<table:table-cell office:value-type="percentage" office:value="0.125"><text:p>12.50%</text:p></table:table-cell>)~");
    EXPECT_EQ(at(sheet, "A1").format().numberFormat, "0%");
    EXPECT_EQ(at(sheet, "A1").format().numberFormatId, 9);
    EXPECT_EQ(at(sheet, "B1").format().numberFormat, "0.00%");
    EXPECT_EQ(at(sheet, "B1").format().numberFormatId, 10);
}

TEST(OdsRead, ParagraphsBecomeLinesAndSpaceElementsTheirCharacters) {
    Sheet sheet = readRow(
        R"~(<table:table-cell office:value-type="string"><text:p>first</text:p><text:p>second</text:p></table:table-cell>)~"
        R"~(<table:table-cell office:value-type="string"><text:p>a<text:s text:c="3"/>b<text:tab/>c<text:line-break/>d<text:s/></text:p></table:table-cell>)~"
        R"~(<table:table-cell office:value-type="string"><text:p><text:a xlink:href="http://x" xmlns:xlink="http://www.w3.org/1999/xlink">link</text:a></text:p></table:table-cell>)~");
    EXPECT_EQ(at(sheet, "A1").value(), "first\nsecond");
    EXPECT_EQ(at(sheet, "B1").value(), "a   b\tc\nd ");
    EXPECT_EQ(at(sheet, "C1").value(), "link");
}

TEST(OdsRead, AnnotationsAreCommentsNotCellText) {
    Sheet sheet =
        readRow(R"~(<table:table-cell/><table:table-cell office:value-type="float" office:value="5">)~"
                R"~(<office:annotation><dc:creator>Ann</dc:creator><dc:date>2024-01-01</dc:date>)~"
                R"~(<text:p>note one</text:p><text:p>note <text:s/>two</text:p></office:annotation>)~"
                R"~(<text:p>5</text:p></table:table-cell>)~");
    EXPECT_EQ(at(sheet, "B1").value(), "5");
    ASSERT_EQ(sheet.cellComments.count("B1"), 1u);
    EXPECT_EQ(sheet.cellComments.at("B1"), "note one\nnote  two");
}

TEST(OdsRead, FormulaPrefixesAreStrippedAndReferencesRewritten) {
    Sheet sheet = readRow(
        R"~(<table:table-cell table:formula="of:=SUM([.A2:.A4])" office:value-type="float" office:value="6"><text:p>6</text:p></table:table-cell>)~"
        R"~(<table:table-cell table:formula="of:[.A1]*2" office:value-type="float" office:value="12"/>)~"
        R"~(<table:table-cell table:formula="=A1+1"/>)~"
        R"~(<table:table-cell table:formula="oooc:=[.A1]&amp;&quot;;&quot;" office:value-type="string"><text:p>6;</text:p></table:table-cell>)~");
    EXPECT_EQ(at(sheet, "A1").formula(), "SUM(A2:A4)");
    EXPECT_EQ(at(sheet, "A1").value(), "6"); // the cached result stays until recalculation
    EXPECT_EQ(at(sheet, "B1").formula(), "A1*2");
    EXPECT_EQ(at(sheet, "C1").formula(), "A1+1");
    EXPECT_EQ(at(sheet, "D1").formula(), "A1&\";\"");
    EXPECT_EQ(at(sheet, "D1").value(), "6;");
}

TEST(OdsRead, ValuesInsideAnArrayFormulasBlockAreItsResults) {
    auto sheets = readTables(
        R"~(<table:table table:name="T"><table:table-row><table:table-cell table:formula="of:=TRANSPOSE([.D1:.D2])" )~"
        R"~(table:number-matrix-columns-spanned="2" table:number-matrix-rows-spanned="1" office:value-type="float" office:value="4"/>)~"
        R"~(<table:table-cell office:value-type="float" office:value="5"/><table:table-cell office:value-type="float" office:value="6"/>)~"
        R"~(</table:table-row></table:table>)~");
    const Sheet& s = sheets[0];
    EXPECT_EQ(at(s, "A1").formula(), "TRANSPOSE(D1:D2)");
    EXPECT_TRUE(at(s, "B1").isSpillResult());
    EXPECT_EQ(at(s, "B1").value(), "");
    EXPECT_EQ(at(s, "B1").displayValue(), "5");
    EXPECT_FALSE(at(s, "C1").isSpillResult()); // outside the block
    EXPECT_EQ(at(s, "C1").value(), "6");
}

TEST(OdsFormulaRead, OpenFormulaBecomesA1) {
    struct Case {
        const char* odf;
        const char* engine;
    } cases[] = {
        {"[.A1]", "A1"},
        {"SUM([.A1:.B3])", "SUM(A1:B3)"},
        {"[Sheet2.A1]", "Sheet2!A1"},
        {"[$Sheet2.$A$1]", "Sheet2!$A$1"},
        {"['My Sheet'.A1]", "'My Sheet'!A1"},
        {"[$'My Sheet'.B2:.C3]", "'My Sheet'!B2:C3"},
        {"SUM([$Other.A1:.B3])", "SUM(Other!A1:B3)"},
        {"[Sheet1.A1:Sheet1.B2]", "Sheet1!A1:B2"},
        {"['It''s'.A1]", "'It''s'!A1"},
        {"['2024'.A1]", "'2024'!A1"},
        {"IF([.A1]>0;\"a;b\";\"[.A1]\")", "IF(A1>0,\"a;b\",\"[.A1]\")"},
        {"\"say \"\"hi\"\";\"&[.B1]", "\"say \"\"hi\"\";\"&B1"},
        {"IF(TRUE();1;FALSE())", "IF(TRUE,1,FALSE)"},
        {"COM.MICROSOFT.CONCAT([.A1];\"x\")", "CONCAT(A1,\"x\")"},
        {"com.microsoft.textjoin(\",\";TRUE();[.A1:.A3])", "textjoin(\",\",TRUE,A1:A3)"},
        {"LEGACY.NORMSDIST(1)", "NORMSDIST(1)"},
        {"FORMULA([.A1])", "FORMULATEXT(A1)"},
        {"SUM([.A:.A])+SUM([.1:.2])", "SUM(A:A)+SUM(1:2)"},
        {"[.#REF!]+[$#REF!.A1]", "#REF!+#REF!"},
        {"['file:///tmp/x.ods'#$Sheet1.A1]", "#REF!"},
        {"SUM({1;2|3;4})", "SUM({1,2;3,4})"},
        {"LOG10([.A1])", "LOG10(A1)"},
        {"[.A1", "[.A1"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ods::formulaFromOpenFormula(c.odf), c.engine) << c.odf;
}

TEST(OdsFormulaRead, PrefixRules) {
    EXPECT_EQ(ods::stripFormulaPrefix("of:=A1"), "A1");
    EXPECT_EQ(ods::stripFormulaPrefix("of:A1"), "A1");
    EXPECT_EQ(ods::stripFormulaPrefix("=A1"), "A1");
    EXPECT_EQ(ods::stripFormulaPrefix("msoxl:=A1"), "A1");
    EXPECT_EQ(ods::stripFormulaPrefix("SUM(A1)"), "SUM(A1)");
}

TEST(OdsRead, CellsKeepTheirTruePositions) {
    auto sheets = readTables(
        R"~(<table:table table:name="T">)~"
        R"~(<table:table-row><table:table-cell table:number-columns-repeated="3"/>)~"
        R"~(<table:table-cell office:value-type="string"><text:p>D1</text:p></table:table-cell></table:table-row>)~"
        R"~(<table:table-row table:number-rows-repeated="4"><table:table-cell/></table:table-row>)~"
        R"~(<table:table-row><table:table-cell office:value-type="string"><text:p>A6</text:p></table:table-cell>)~"
        R"~(<table:table-cell table:number-columns-repeated="1000"/></table:table-row>)~"
        R"~(<table:table-row table:number-rows-repeated="1048570"><table:table-cell table:number-columns-repeated="1024"/></table:table-row>)~"
        R"~(</table:table>)~");
    ASSERT_EQ(sheets.size(), 1u);
    const Sheet& s = sheets[0];
    EXPECT_EQ(at(s, "D1").value(), "D1");
    EXPECT_EQ(at(s, "A6").value(), "A6");
    EXPECT_EQ(s.rowCount(), 500);
    EXPECT_EQ(s.columnCount(), 26);
    EXPECT_EQ(s.storedRowCount(), 6);
}

TEST(OdsRead, PrefixesDoNotMatter) {
    auto sheets = readTables(
        R"~(<t:table xmlns:t="urn:oasis:names:tc:opendocument:xmlns:table:1.0" t:name="Other prefix"><t:table-row>)~"
        R"~(<t:table-cell number-columns-repeated="2"/><t:table-cell value-type="float" value="9"/></t:table-row></t:table>)~");
    ASSERT_EQ(sheets.size(), 1u);
    EXPECT_EQ(sheets[0].name, "Other prefix");
    EXPECT_EQ(at(sheets[0], "C1").value(), "9");
}

TEST(OdsRead, AMillionRepeatedEmptyRowsCostNothing) {
    auto sheets = readTables(
        R"~(<table:table table:name="T"><table:table-row table:number-rows-repeated="1048576">)~"
        R"~(<table:table-cell table:number-columns-repeated="16384"/></table:table-row></table:table>)~");
    ASSERT_EQ(sheets.size(), 1u);
    EXPECT_EQ(sheets[0].rowCount(), 500);
    EXPECT_EQ(sheets[0].columnCount(), 26);
    EXPECT_EQ(sheets[0].storedRowCount(), 0);
}

TEST(OdsRead, RepeatedContentIsCopied) {
    auto sheets = readTables(
        R"~(<table:table table:name="T"><table:table-row table:number-rows-repeated="3">)~"
        R"~(<table:table-cell office:value-type="float" office:value="0" table:number-columns-repeated="2"><text:p>0</text:p></table:table-cell>)~"
        R"~(<table:table-cell office:value-type="string"><text:p>x</text:p></table:table-cell></table:table-row></table:table>)~");
    const Sheet& s = sheets[0];
    for (const char* a : {"A1", "B1", "A2", "B2", "A3", "B3"})
        EXPECT_EQ(at(s, a).value(), "0") << a;
    for (const char* a : {"C1", "C2", "C3"})
        EXPECT_EQ(at(s, a).value(), "x") << a;
    EXPECT_TRUE(at(s, "A4").isDefault());
}

TEST(OdsRead, AHugeRepeatOfContentIsCutShortNotMaterialised) {
    auto sheets = readTables(
        R"~(<table:table table:name="T"><table:table-row table:number-rows-repeated="1000000">)~"
        R"~(<table:table-cell office:value-type="string"><text:p>same</text:p></table:table-cell></table:table-row>)~"
        R"~(<table:table-row><table:table-cell office:value-type="string"><text:p>after</text:p></table:table-cell></table:table-row>)~"
        R"~(</table:table>)~");
    const Sheet& s = sheets[0];
    EXPECT_EQ(s.cell(0, 0).value(), "same");
    EXPECT_EQ(s.cell(1000, 0).value(), "same");
    int64_t stored = 0;
    s.forEachStoredCell([&](int64_t, int64_t, const Cell& c) { stored += c.hasContent(); });
    EXPECT_LT(stored, 100000);        // not every copy was stored
    EXPECT_EQ(s.rowCount(), 1000001); // yet later rows keep their place
    EXPECT_EQ(s.cell(1000000, 0).value(), "after");
}

TEST(OdsRead, RowsBeyondTheSheetLimitAreIgnored) {
    auto sheets = readTables(
        R"~(<table:table table:name="T"><table:table-row table:number-rows-repeated="1048575"><table:table-cell/></table:table-row>)~"
        R"~(<table:table-row table:number-rows-repeated="3"><table:table-cell office:value-type="float" office:value="1"/></table:table-row>)~"
        R"~(</table:table>)~");
    EXPECT_EQ(sheets[0].rowCount(), 1048576);
    EXPECT_EQ(sheets[0].cell(1048575, 0).value(), "1");
}

TEST(OdsRead, TablesAreNamedOrNumbered) {
    auto sheets = readTables(
        R"~(<table:table table:name="Data &amp; 'More'"><table:table-row><table:table-cell/></table:table-row></table:table>)~"
        R"~(<table:table><table:table-row><table:table-cell/></table:table-row></table:table>)~");
    ASSERT_EQ(sheets.size(), 2u);
    EXPECT_EQ(sheets[0].name, "Data & 'More'");
    EXPECT_EQ(sheets[1].name, "Sheet 2");
}

constexpr std::string_view kCellStyles =
    R"~(<style:style style:name="ce1" style:family="table-cell"><style:text-properties fo:font-weight="bold" fo:font-style="italic")~"
    R"~( style:text-underline-style="solid" style:text-line-through-style="solid" fo:font-family="'DejaVu Sans'" fo:font-size="14pt" fo:color="#ff0000"/>)~"
    R"~(<style:table-cell-properties fo:background-color="#00ff00"/><style:paragraph-properties fo:text-align="center"/></style:style>)~"
    R"~(<style:style style:name="ce2" style:family="table-cell"><style:text-properties style:font-name="Liberation Sans" fo:font-weight="normal"/>)~"
    R"~(<style:table-cell-properties fo:background-color="transparent"/><style:paragraph-properties fo:text-align="end"/></style:style>)~"
    R"~(<style:style style:name="ce3" style:family="table-cell"><style:paragraph-properties fo:text-align="start"/></style:style>)~"
    R"~(<style:style style:name="ce4" style:family="table-cell"><style:paragraph-properties fo:text-align="justify"/></style:style>)~"
    R"~(<style:style style:name="ce5" style:family="table-cell"><style:table-cell-properties style:repeat-content="true"/></style:style>)~"
    R"~(<style:style style:name="ce6" style:family="table-cell"><style:text-properties style:text-underline-style="none" fo:font-weight="700"/></style:style>)~";

TEST(OdsRead, CellStylesGiveTheirFormatting) {
    Sheet sheet = readRow(
        R"~(<table:table-cell table:style-name="ce1" office:value-type="string"><text:p>a</text:p></table:table-cell>)~"
        R"~(<table:table-cell table:style-name="ce2" office:value-type="string"><text:p>b</text:p></table:table-cell>)~"
        R"~(<table:table-cell table:style-name="ce3" office:value-type="string"><text:p>c</text:p></table:table-cell>)~"
        R"~(<table:table-cell table:style-name="ce4" office:value-type="string"><text:p>d</text:p></table:table-cell>)~"
        R"~(<table:table-cell table:style-name="ce5" office:value-type="string"><text:p>e</text:p></table:table-cell>)~"
        R"~(<table:table-cell table:style-name="ce6" office:value-type="string"><text:p>f</text:p></table:table-cell>)~"
        R"~(<table:table-cell table:style-name="unknown" office:value-type="string"><text:p>g</text:p></table:table-cell>)~",
        kCellStyles);
    const CellFormat& a = at(sheet, "A1").format();
    EXPECT_TRUE(a.isBold && a.isItalic && a.isUnderline && a.isStrikethrough);
    EXPECT_EQ(a.fontName, "DejaVu Sans");
    EXPECT_EQ(a.fontSize, 14.0);
    EXPECT_EQ(a.fontColor, "ff0000");
    EXPECT_EQ(a.fillColor, "00ff00");
    EXPECT_EQ(a.alignment, CellAlignment::center);
    const CellFormat& b = at(sheet, "B1").format();
    EXPECT_FALSE(b.isBold);
    EXPECT_EQ(b.fontName, "Liberation Sans");
    EXPECT_FALSE(b.fillColor);
    EXPECT_EQ(b.alignment, CellAlignment::right);
    EXPECT_EQ(at(sheet, "C1").format().alignment, CellAlignment::left);
    EXPECT_EQ(at(sheet, "D1").format().alignment, CellAlignment::justify);
    EXPECT_EQ(at(sheet, "E1").format().alignment, CellAlignment::fill);
    EXPECT_TRUE(at(sheet, "F1").format().isBold);
    EXPECT_FALSE(at(sheet, "F1").format().isUnderline);
    EXPECT_EQ(at(sheet, "G1").formatHandle(), nullptr);
    EXPECT_EQ(at(sheet, "G1").value(), "g");
}

TEST(OdsRead, ColumnDefaultStylesAndFormattedEmptyCellsStayInsideTheGrid) {
    auto sheets = readTables(
        R"~(<table:table table:name="T"><table:table-column table:default-cell-style-name="ce1"/>)~"
        R"~(<table:table-column table:number-columns-repeated="1023"/>)~"
        R"~(<table:table-row><table:table-cell office:value-type="string"><text:p>bold by column</text:p></table:table-cell>)~"
        R"~(<table:table-cell table:style-name="ce3"/><table:table-cell office:value-type="float" office:value="1"/></table:table-row>)~"
        R"~(<table:table-row table:number-rows-repeated="1048575"><table:table-cell table:style-name="ce3" table:number-columns-repeated="1024"/></table:table-row>)~"
        R"~(</table:table>)~",
        kCellStyles);
    const Sheet& s = sheets[0];
    EXPECT_TRUE(at(s, "A1").format().isBold);
    EXPECT_EQ(at(s, "B1").format().alignment, CellAlignment::left); // empty, formatted, between contents
    EXPECT_EQ(at(s, "Z500").format().alignment, CellAlignment::left);
    EXPECT_EQ(s.rowCount(), 500);
    EXPECT_EQ(s.columnCount(), 26);
    EXPECT_LE(s.storedRowCount(), 500);
    EXPECT_LE(s.storedColumnCount(499), 26);
}

TEST(OdsRead, MergesAndCoveredCells) {
    auto sheets = readTables(
        R"~(<table:table table:name="T"><table:table-row>)~"
        R"~(<table:table-cell office:value-type="string" table:number-columns-spanned="3" table:number-rows-spanned="2"><text:p>m</text:p></table:table-cell>)~"
        R"~(<table:covered-table-cell table:number-columns-repeated="2"/>)~"
        R"~(<table:table-cell office:value-type="string"><text:p>D1</text:p></table:table-cell></table:table-row>)~"
        R"~(<table:table-row><table:covered-table-cell table:number-columns-repeated="3"/>)~"
        R"~(<table:table-cell office:value-type="string"><text:p>D2</text:p></table:table-cell></table:table-row>)~"
        R"~(</table:table>)~");
    const Sheet& s = sheets[0];
    ASSERT_EQ(s.mergedRegions.size(), 1u);
    EXPECT_EQ(s.mergedRegions[0], (MergedRegion{0, 0, 2, 1}));
    EXPECT_EQ(at(s, "A1").value(), "m");
    EXPECT_EQ(at(s, "D1").value(), "D1");
    EXPECT_EQ(at(s, "D2").value(), "D2");
}

// A package from another producer: lengths are true lengths, read as pixels
// at 96 per inch (our own files use the writer's scale; see the round trip).
TEST(OdsRead, ColumnWidthsInEveryUnit) {
    auto sheets = readTables(
        R"~(<table:table table:name="T"><table:table-column table:style-name="co1"/>)~"
        R"~(<table:table-column table:style-name="co2" table:number-columns-repeated="2"/><table:table-column/>)~"
        R"~(<table:table-column table:style-name="co3"/><table:table-column table:style-name="co4" table:number-columns-repeated="16379"/>)~"
        R"~(<table:table-row><table:table-cell/></table:table-row></table:table>)~",
        R"~(<style:style style:name="co1" style:family="table-column"><style:table-column-properties style:column-width="26.458cm"/></style:style>)~"
        R"~(<style:style style:name="co2" style:family="table-column"><style:table-column-properties style:column-width="1in"/></style:style>)~"
        R"~(<style:style style:name="co3" style:family="table-column"><style:table-column-properties style:column-width="72pt"/></style:style>)~"
        R"~(<style:style style:name="co4" style:family="table-column"><style:table-column-properties style:column-width="20mm"/></style:style>)~");
    const Sheet& s = sheets[0];
    EXPECT_NEAR(s.columnWidths.at(0), 1000.0, 0.01); // 26.458 cm
    EXPECT_NEAR(s.columnWidths.at(1), 96.0, 0.01);   // an inch
    EXPECT_NEAR(s.columnWidths.at(2), 96.0, 0.01);
    EXPECT_EQ(s.columnWidths.count(3), 0u);
    EXPECT_NEAR(s.columnWidths.at(4), 96.0, 0.01);   // 72 pt
    EXPECT_NEAR(s.columnWidths.at(25), 75.59, 0.01); // 2 cm
    EXPECT_EQ(s.columnWidths.size(), 25u);           // the columns past the grid are not kept
}

TEST(OdsRead, HiddenTables) {
    auto sheets = readTables(
        R"~(<table:table table:name="A" table:style-name="ta1"><table:table-row><table:table-cell/></table:table-row></table:table>)~"
        R"~(<table:table table:name="B" table:style-name="ta2"><table:table-row><table:table-cell/></table:table-row></table:table>)~"
        R"~(<table:table table:name="C" table:display="false"><table:table-row><table:table-cell/></table:table-row></table:table>)~",
        R"~(<style:style style:name="ta1" style:family="table"><style:table-properties table:display="true"/></style:style>)~"
        R"~(<style:style style:name="ta2" style:family="table"><style:table-properties table:display="false"/></style:style>)~");
    ASSERT_EQ(sheets.size(), 3u);
    EXPECT_FALSE(sheets[0].isHidden);
    EXPECT_TRUE(sheets[1].isHidden);
    EXPECT_TRUE(sheets[2].isHidden);
}

TEST(OdsRead, GridIsPaddedOrGrownToTheContent) {
    Sheet small = readRow(R"~(<table:table-cell office:value-type="float" office:value="1"/>)~");
    EXPECT_EQ(small.rowCount(), 500);
    EXPECT_EQ(small.columnCount(), 26);
    Sheet wide = readRow(
        R"~(<table:table-cell table:number-columns-repeated="29"/><table:table-cell office:value-type="float" office:value="1"/>)~");
    EXPECT_EQ(wide.columnCount(), 30);
    EXPECT_EQ(wide.cell(0, 29).value(), "1");
}

// A content part big enough to be read in two halves, with what a second
// half cannot know by itself: column default styles, styles defined at the
// head of the part, and positions that depend on every row before the cut.
std::string bigContent() {
    std::string rows;
    for (int r = 0; r < 30000; ++r) {
        if (r == 15000)
            rows +=
                R"~(<table:table-row table:number-rows-repeated="3"><table:table-cell/></table:table-row>)~";
        rows += "<table:table-row><table:table-cell office:value-type=\"float\" office:value=\"" +
                std::to_string(r) + "\"><text:p>" + std::to_string(r) + "</text:p></table:table-cell>";
        rows +=
            R"~(<table:table-cell office:value-type="string"><text:p>by column</text:p></table:table-cell>)~";
        rows +=
            R"~(<table:table-cell table:style-name="ce3" office:value-type="string"><text:p>own style</text:p></table:table-cell>)~";
        if (r % 1000 == 999)
            rows +=
                R"~(<table:table-cell office:value-type="string" table:number-columns-spanned="2"><office:annotation>)~"
                R"~(<text:p>note</text:p></office:annotation><text:p>merged</text:p></table:table-cell><table:covered-table-cell/>)~";
        rows += R"~(<table:table-cell table:number-columns-repeated="1000"/></table:table-row>)~";
    }
    return content(
        kCellStyles,
        R"~(<table:table table:name="Big"><table:table-column table:default-cell-style-name="ce4"/>)~"
        R"~(<table:table-column table:default-cell-style-name="ce1" table:number-columns-repeated="2"/>)~"
        R"~(<table:table-column table:number-columns-repeated="1021"/>)~" +
            rows +
            R"~(<table:table-row table:number-rows-repeated="1000000"><table:table-cell/></table:table-row></table:table>)~"
            R"~(<table:table table:name="After"><table:table-row><table:table-cell office:value-type="string">)~"
            R"~(<text:p>last</text:p></table:table-cell></table:table-row></table:table>)~");
}

TEST(OdsRead, ABigPartReadInHalvesEqualsAWholeRead) {
    std::string text = bigContent();
    ASSERT_GT(text.size(), size_t{8} << 20);
    std::string bytes = package(text);
    LogCapture log;
    // The halves are expat's way; the fast scanner reads the part whole.
    setXmlScannerEnabled(false);
    std::vector<Sheet> halves = ods::readSheets(bytes, true);
    ASSERT_TRUE(log.contains("  ODS: content.xml read in two halves"));
    std::vector<Sheet> whole = ods::readSheets(bytes, false);
    setXmlScannerEnabled(true);
    ASSERT_EQ(halves.size(), 2u);
    EXPECT_TRUE(halves == whole);
    EXPECT_TRUE(ods::readSheets(bytes, true) == whole);
    EXPECT_EQ(halves[0].mergedRegions, whole[0].mergedRegions);
    EXPECT_EQ(halves[0].cellComments, whole[0].cellComments);

    const Sheet& big = halves[0];
    EXPECT_EQ(big.rowCount(), 30003);
    EXPECT_EQ(big.cell(0, 0).value(), "0");
    EXPECT_EQ(big.cell(29999 + 3, 0).value(), "29999"); // behind the three empty rows
    EXPECT_EQ(big.cell(29999 + 3, 0).format().alignment, CellAlignment::justify);
    EXPECT_TRUE(big.cell(29999 + 3, 1).format().isBold);  // the column's default style
    EXPECT_FALSE(big.cell(29999 + 3, 2).format().isBold); // a style of its own
    EXPECT_EQ(big.cell(29999 + 3, 2).format().alignment, CellAlignment::left);
    EXPECT_TRUE(big.cell(15001, 1).isDefault() || !big.cell(15001, 1).hasContent());
    EXPECT_EQ(big.cellComments.size(), 30u);
    EXPECT_EQ(big.cellComments.at("D30003"), "note");
    EXPECT_EQ(big.mergedRegions.back(), (MergedRegion{3, 30002, 4, 30002}));
    EXPECT_EQ(halves[1].name, "After");
    EXPECT_EQ(halves[1].cell(0, 0).value(), "last");
}

std::string openMessage(const std::string& bytes) {
    try {
        openDocument(bytes, "broken.ods", kOdsContentType);
    } catch (const FileReadError& e) {
        return e.what();
    }
    return "(opened)";
}

TEST(OdsRead, FailuresNameTheProblem) {
    EXPECT_EQ(openMessage("not a zip at all").rfind("Could not open this ODS file: ", 0), 0u);
    EXPECT_NE(openMessage("not a zip at all").find("ZIP"), std::string::npos);

    ZipWriter noContent;
    noContent.add("mimetype", "application/vnd.oasis.opendocument.spreadsheet", Compression::store);
    EXPECT_EQ(openMessage(noContent.finish()), "Could not open this ODS file: the package has no "
                                               "content.xml, so it is not an OpenDocument spreadsheet");

    std::string badXml = openMessage(package(content("", "<table:table><table:table-row>")));
    EXPECT_EQ(badXml.rfind("Could not open this ODS file: ", 0), 0u);
    EXPECT_NE(badXml.find("XML"), std::string::npos);

    ZipWriter encrypted;
    encrypted.add("mimetype", "application/vnd.oasis.opendocument.spreadsheet", Compression::store);
    encrypted.add("content.xml", std::string("\x8f\x12\xa0 ciphertext", 14));
    encrypted.add(
        "META-INF/manifest.xml",
        R"~(<manifest:file-entry manifest:full-path="content.xml"><manifest:encryption-data/></manifest:file-entry>)~");
    EXPECT_EQ(openMessage(encrypted.finish()), "Could not open this ODS file: the spreadsheet is encrypted "
                                               "with a password, which Sumora cannot open");
}

TEST(OdsRead, APackageWithoutTablesOpensAsOneEmptySheet) {
    SumoraDocument doc = openDocument(package(content("", "")), "empty.ods", kOdsContentType);
    ASSERT_EQ(doc.sheets.size(), 1u);
    EXPECT_EQ(doc.sheets[0].name, "Sheet 1");
}

} // namespace
} // namespace sumora
