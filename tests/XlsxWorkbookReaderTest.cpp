// Reading XLSX packages as a whole: sheets and defined names of the
// workbook, the repair pass, the failure messages, the two-halves read of big
// worksheets, and the size units shared with the writer.
#include "formats/XlsxFormat.h"

#include <gtest/gtest.h>

#include <atomic>

#include "document/StorageAhead.h"
#include "formats/XlsxSanitizer.h"
#include "formats/XlsxSharedStringsReader.h"
#include "formats/XlsxUnits.h"
#include "formats/XlsxWorksheetReader.h"
#include "formats/XmlReader.h"
#include "formats/XmlScanner.h"
#include "tests/XlsxReaderTestSupport.h"
#include "values/Log.h"

namespace sumora {
namespace {

using namespace xlsxtest;

// ---------------------------------------------------------------------------
// Workbook

TEST(XlsxWorkbook, SheetsKeepWorkbookOrderNamesAndHiddenStates) {
    TestPackage package(worksheet(R"(<row r="1"><c r="A1"><v>1</v></c></row>)"));
    package.addSheet("R&amp;D", worksheet(""), R"( state="hidden")")
        .addSheet("Secret", worksheet(""), R"( state="veryHidden")")
        .addSheet("Shown", worksheet(""), R"( state="visible")");
    LogCapture log;
    SumoraDocument doc = package.open();
    ASSERT_EQ(doc.sheets.size(), 4u);
    EXPECT_EQ(doc.sheets[1].name, "R&D");
    std::vector<bool> hidden;
    for (const Sheet& s : doc.sheets)
        hidden.push_back(s.isHidden);
    EXPECT_EQ(hidden, (std::vector<bool>{false, true, true, false}));
    for (const char* line :
         {"[Sumora]   Sanitized XLSX: ", "[Sumora]   Workbooks: 1", "[Sumora]   Worksheets: 4",
          "[Sumora]   Parsing sheet 'Sheet1' at xl/worksheets/sheet1.xml",
          "[Sumora]   Parsing sheet 'Shown' at xl/worksheets/sheet4.xml",
          "[Sumora]   Sheet parsed, rows=500"})
        EXPECT_TRUE(log.contains(line)) << line;
}

TEST(XlsxWorkbook, DefinedNamesNameCellsAndRectangles) {
    TestPackage package;
    package.addSheet("Data", worksheet("")).addSheet("My Sheet", worksheet(""));
    package.workbookTail(
        R"(<definedNames>)"
        R"(<definedName name="_xlnm.Print_Area" localSheetId="0">Data!$A$1:$C$10</definedName>)"
        R"(<definedName name="Table">Data!$A$1:$C$10</definedName>)"
        R"(<definedName name="Rate">'My Sheet'!$B$2</definedName>)"
        R"(<definedName name="Loose">B3:C4</definedName>)"
        R"(<definedName name="Whole">Data!$A:$A</definedName>)"
        R"(<definedName name="Formula">OFFSET(Data!$A$1,0,0,3)</definedName>)"
        R"(<definedName function="false" hidden="false" name="Later">Data!$D$4</definedName>)"
        R"(</definedNames>)");
    SumoraDocument doc = package.open();
    ASSERT_EQ(doc.namedRanges.size(), 4u);
    NamedRange table;
    table.name = "Table";
    table.sheetName = "Data";
    table.endCol = 2;
    table.endRow = 9;
    EXPECT_EQ(doc.namedRanges[0], table);
    EXPECT_EQ(doc.namedRanges[1].sheetName, "My Sheet");
    EXPECT_EQ(std::tie(doc.namedRanges[1].startCol, doc.namedRanges[1].endRow), std::make_tuple(1, 1));
    EXPECT_FALSE(doc.namedRanges[2].sheetName);
    EXPECT_EQ(std::tie(doc.namedRanges[2].startCol, doc.namedRanges[2].startRow, doc.namedRanges[2].endCol,
                       doc.namedRanges[2].endRow),
              std::make_tuple(1, 2, 2, 3));
    EXPECT_EQ(doc.namedRanges[3].name, "Later"); // attributes before the name
    EXPECT_EQ(std::tie(doc.namedRanges[3].startCol, doc.namedRanges[3].startRow), std::make_tuple(3, 3));
}

TEST(XlsxWorkbook, DatesCountedFrom1904MoveToThe1900Count) {
    std::string rows = R"(<row r="1"><c r="A1" s="1"><v>39385</v></c><c r="B1" s="1"><v>0.25</v></c>)"
                       R"(<c r="C1"><v>39385</v></c><c r="D1" s="1" t="s"><v>0</v></c></row>)";
    SumoraDocument doc = TestPackage(worksheet(rows))
                             .part("xl/styles.xml", styles(R"(<cellXfs><xf/><xf numFmtId="14"/></cellXfs>)"))
                             .part("xl/sharedStrings.xml", sharedStrings("<si><t>39385</t></si>"))
                             .workbookTail(R"(<workbookPr date1904="1"/>)")
                             .open();
    const Sheet& s = doc.sheets[0];
    EXPECT_EQ(at(s, "A1").value(), "40847"); // 1 November 2007 either way
    EXPECT_EQ(at(s, "B1").value(), "1462.25");
    EXPECT_EQ(at(s, "C1").value(), "39385"); // not shown as a date
    EXPECT_EQ(at(s, "D1").value(), "39385"); // text stays text
}

TEST(XlsxWorkbook, AWorkbookWithoutWorksheetsGetsOneEmptySheet) {
    ZipWriter zip;
    zip.add("xl/workbook.xml", "<workbook><sheets/></workbook>");
    SumoraDocument doc = readXlsxDocument(zip.finish());
    ASSERT_EQ(doc.sheets.size(), 1u);
    EXPECT_EQ(doc.sheets[0].name, "Sheet 1");
    EXPECT_EQ(doc.sheets[0].rowCount(), 500);
    EXPECT_EQ(doc.sheets[0].columnCount(), 26);
}

TEST(XlsxWorkbook, StrictNamespacesReadLikeTransitionalOnes) {
    const std::string strict = "http://purl.oclc.org/ooxml/spreadsheetml/main";
    const std::string rel = "http://purl.oclc.org/ooxml/officeDocument/relationships";
    ZipWriter zip;
    zip.add("_rels/.rels", "<Relationships xmlns=\"" + std::string(kPackageRelationships) +
                               "\"><Relationship Id=\"a\" Type=\"" + rel +
                               "/officeDocument\" Target=\"/book/wb.xml\"/></Relationships>");
    zip.add("book/wb.xml",
            "<x:workbook xmlns:x=\"" + strict + "\" xmlns:r=\"" + rel +
                "\"><x:sheets><x:sheet name=\"S\" sheetId=\"1\" r:id=\"s1\"/></x:sheets></x:workbook>");
    zip.add("book/_rels/wb.xml.rels",
            "<Relationships xmlns=\"" + std::string(kPackageRelationships) +
                "\"><Relationship Id=\"s1\" Type=\"" + rel +
                "/worksheet\" Target=\"sheets/one.xml\"/><Relationship Id=\"t\" Type=\"" + rel +
                "/sharedStrings\" Target=\"/book/strings.xml\"/></Relationships>");
    zip.add("book/strings.xml", "<x:sst xmlns:x=\"" + strict + "\"><x:si><x:t>strict</x:t></x:si></x:sst>");
    zip.add("book/sheets/one.xml",
            "<x:worksheet xmlns:x=\"" + strict +
                "\"><x:sheetData><x:row r=\"1\"><x:c r=\"A1\" t=\"s\"><x:v>0</x:v></x:c>"
                "<x:c r=\"B1\"><x:f>A1&amp;\"!\"</x:f></x:c></x:row></x:sheetData></x:worksheet>");
    SumoraDocument doc = openDocument(zip.finish(), "strict.xlsx", kXlsxContentType);
    ASSERT_EQ(doc.sheets.size(), 1u);
    EXPECT_EQ(doc.sheets[0].name, "S");
    EXPECT_EQ(at(doc.sheets[0], "A1").value(), "strict");
    EXPECT_EQ(at(doc.sheets[0], "B1").displayValue(), "strict!");
}

// ---------------------------------------------------------------------------
// Repair and failures

TEST(XlsxRepair, DoubledDeclarationIsRepairedAndLogged) {
    std::string doubled = std::string(xlsx::kXmlDeclaration) + "\n" + std::string(xlsx::kXmlDeclaration);
    TestPackage package(doubled + worksheet(R"(<row r="1"><c r="A1"><v>5</v></c></row>)"));
    LogCapture log;
    SumoraDocument doc = package.open();
    EXPECT_EQ(at(doc.sheets[0], "A1").value(), "5");
    EXPECT_TRUE(
        log.contains("[Sumora]   sanitizeXLSX: fixed double declaration in xl/worksheets/sheet1.xml"));
    EXPECT_FALSE(log.contains("fixed double declaration in xl/workbook.xml"));

    std::string bytes = package.bytes();
    std::string repaired = xlsx::sanitizeXlsx(bytes);
    ZipReader zip(repaired);
    EXPECT_EQ(zip.read("xl/worksheets/sheet1.xml").find(doubled), std::string::npos);
    EXPECT_EQ(zip.entries().size(), ZipReader(bytes).entries().size());
    // A sound package comes back as it was.
    std::string sound = TestPackage().bytes();
    EXPECT_EQ(xlsx::sanitizeXlsx(sound), sound);
}

TEST(XlsxFailures, EachFailureGetsItsMessage) {
    const std::string archive = "The file is not a valid XLSX archive. It may be corrupted or truncated.";
    const std::string xml = "The file contains invalid XML data. A worksheet may be corrupted.";
    std::string good = TestPackage(worksheet(R"(<row r="1"><c r="A1"><v>1</v></c></row>)")).bytes();
    ZipWriter noWorkbook;
    noWorkbook.add("hello.txt", "hi");
    ZipWriter missingSheet;
    missingSheet.add("xl/workbook.xml", "<workbook xmlns:r=\"r\"><sheets><sheet name=\"A\" sheetId=\"1\" "
                                        "r:id=\"rId1\"/></sheets></workbook>");
    missingSheet.add("xl/_rels/workbook.xml.rels",
                     "<Relationships><Relationship Id=\"rId1\" Type=\"x/worksheet\" "
                     "Target=\"worksheets/a.xml\"/></Relationships>");

    const std::pair<std::optional<std::string>, std::string> cases[] = {
        {std::nullopt, "The file appears to be empty or could not be read."},
        {std::string(), archive},
        {std::string("PK\x03\x04 not really", 15), archive},
        {good.substr(0, good.size() / 2), archive},
        {std::string("<html>not a workbook</html>"), archive},
        {noWorkbook.finish(), archive},
        {missingSheet.finish(), archive},
        {TestPackage(worksheet(R"(<row r="1"><c r="A1"><v>1</v></row>)")).bytes(), xml},
        {TestPackage("<worksheet><sheetData>").bytes(), xml},
    };
    for (const auto& [contents, message] : cases)
        EXPECT_EQ(openMessage(contents), message) << (contents ? contents->substr(0, 40) : "(none)");
    EXPECT_EQ(openMessage(good), "(opened)");
}

TEST(XlsxFailures, TextBeyondTheWorkbooksBudgetFailsCleanly) {
    ZipWriter zip;
    std::string rows;
    for (int r = 1; r <= 8; ++r)
        rows += "<row r=\"" + std::to_string(r) + "\"><c r=\"A" + std::to_string(r) +
                "\" t=\"s\"><v>0</v></c></row>";
    zip.add("sheet.xml", worksheet(rows));
    std::string bytes = zip.finish();
    ZipReader archive(bytes);
    xlsx::SharedStringTable strings;
    strings.push_back(std::string(100, 'x'));
    // As if the workbook's earlier sheets had nearly used the budget up.
    std::atomic<int64_t> stored{xlsx::kMaxStoredTextBytes - 500};
    xlsx::WorksheetContext context;
    context.sharedStrings = &strings;
    context.storedTextBytes = &stored;
    Sheet sheet("S", 0, 0);
    try {
        xlsx::readWorksheet(archive, "sheet.xml", context, sheet);
        FAIL() << "the budget was not enforced";
    } catch (const std::runtime_error& e) {
        EXPECT_EQ(xlsxFailureMessage(e.what()).rfind("Could not open this XLSX file: ", 0), 0u) << e.what();
    }
}

// ---------------------------------------------------------------------------
// Reading big parts in two halves

// Rows with shared formulas whose masters lie before the middle and an array
// result that reaches across it.
std::string bigRows(int count, bool numberRows = true) {
    const int arrayFirst = count / 2, arrayLast = count * 7 / 10; // the cut falls in between
    std::string rows;
    for (int r = 1; r <= count; ++r) {
        std::string n = std::to_string(r);
        rows += numberRows ? "<row r=\"" + n + "\">" : "<row>";
        rows += "<c r=\"A" + n + "\"><v>" + n + "</v></c>";
        if (r == 1)
            rows += R"(<c r="B1"><f t="shared" ref="B1:B)" + std::to_string(count) +
                    R"(" si="0">A1*2</f><v>2</v></c>)";
        else
            rows += "<c r=\"B" + n + "\"><f t=\"shared\" si=\"0\"/><v>" + std::to_string(2 * r) + "</v></c>";
        if (r == arrayFirst)
            rows += "<c r=\"C" + n + "\"><f t=\"array\" ref=\"C" + n + ":C" + std::to_string(arrayLast) +
                    "\">A" + n + ":A" + std::to_string(arrayLast) + "</f><v>" + n + "</v></c>";
        else if (r > arrayFirst && r <= arrayLast)
            rows += "<c r=\"C" + n + "\"><v>" + n + "</v></c>";
        rows += "<c r=\"D" + n + "\" t=\"inlineStr\"><is><t>row " + n + "</t></is></c></row>";
    }
    return rows;
}

// Reads a part whole (no threshold) or in halves if it fits (threshold 0);
// `halves` tells whether it was. Expat reads it unless `scanned`.
Sheet readPart(const std::string& xml, uint64_t splitThreshold, bool* halves = nullptr,
               bool scanned = false) {
    setXmlScannerEnabled(scanned);
    ZipWriter zip;
    zip.add("sheet.xml", xml);
    std::string bytes = zip.finish();
    ZipReader archive(bytes);
    xlsx::WorksheetContext context;
    context.packageBytes = bytes;
    context.splitThreshold = splitThreshold;
    int readInHalves = 0;
    context.partsReadInHalves = &readInHalves;
    Sheet sheet("S", 0, 0);
    xlsx::readWorksheet(archive, "sheet.xml", context, sheet);
    setXmlScannerEnabled(true);
    if (halves) *halves = readInHalves == 1;
    return sheet;
}

TEST(XlsxHalves, ReadingInHalvesGivesTheWholeReadsSheet) {
    for (bool numbered : {true, false}) {
        std::string xml =
            worksheet(bigRows(6000, numbered), R"(<cols><col min="1" max="2" width="12"/></cols>)",
                      R"(<mergeCells><mergeCell ref="A1:B1"/></mergeCells>)");
        Sheet whole = readPart(xml, UINT64_MAX);
        bool split = false;
        Sheet halves = readPart(xml, 0, &split);
        // Rows without numbers cannot be counted from the middle: read whole.
        EXPECT_EQ(split, numbered);
        halves.id = whole.id;
        EXPECT_TRUE(halves == whole) << "numbered rows: " << numbered;
        EXPECT_EQ(halves.cell(5500, 1).formula(), "A5501*2");
        EXPECT_EQ(halves.cell(4099, 2).displayValue(), "4100");
        EXPECT_TRUE(halves.cell(4099, 2).isSpillResult()); // an array result beyond the cut
        EXPECT_EQ(halves.cell(5999, 3).value(), "row 6000");
        EXPECT_EQ(halves.mergedRegions.size(), 1u);
        EXPECT_EQ(halves.columnWidths.at(1), 89.0);
    }
}

TEST(XlsxScanned, TheScannerReadsWhatExpatReads) {
    std::string xml = worksheet(
        bigRows(3000), R"(<dimension ref="A1:D3000"/><cols><col min="1" max="2" width="12"/></cols>)",
        R"(<mergeCells><mergeCell ref="A1:B1"/></mergeCells>)");
    Sheet expat = readPart(xml, UINT64_MAX);
    Sheet scanned = readPart(xml, UINT64_MAX, nullptr, true);
    scanned.id = expat.id;
    EXPECT_TRUE(scanned == expat);
    EXPECT_EQ(scanned.cell(2999, 3).value(), "row 3000");
}

// The handler reads plain cells straight from the markup and leaves the
// rest to the scanner's events; either way a sheet reads as expat reads it.
TEST(XlsxScanned, CellsReadFromTheMarkupReadAsTheirEvents) {
    const std::vector<std::string> sheetData = {
        // Value kinds.
        R"(<row r="1"><c r="A1"><v>1.5</v></c><c r="B1" t="s"><v>7</v></c><c r="C1" t="b"><v>1</v></c>)"
        R"(<c r="D1" t="e"><v>#N/A</v></c><c r="E1" t="str"><v>x_x000D_y</v></c>)"
        R"(<c r="F1" t="d"><v>2024-02-29T12:00:00</v></c><c r="G1" t="n"><v></v></c></row>)"
        R"(<row r="2"><c r="A2" t="d"><v>no date</v></c><c r="B2" t="s"><v>99999</v></c><c r="C2" t="b"><v/></c></row>)",
        // Formulas, their results before or after them, empty results.
        R"(<row r="1"><c r="A1"><f>SUM(B1:B2)</f><v>3</v></c><c r="B1"><v>1</v><f>_xlfn.CONCAT("a",'b')</f></c>)"
        R"(<c r="C1"><f>1+1</f><v/></c><c r="D1" t="str"><f>"a"</f><v></v></c><c r="E1"><f/></c></row>)",
        // Shared formulas: master, followers, a group without a master.
        R"(<row r="1"><c r="A1"><f t="shared" ref="A1:A3" si="0">B1*2</f><v>2</v></c></row>)"
        R"(<row r="2"><c r="A2"><f t="shared" si="0"/><v>4</v></c></row>)"
        R"(<row r="3"><c r="A3"><f t='shared' si='0'></f></c><c r="B3"><f t="shared" si="9"/><v>5</v></c></row>)",
        // An array formula and its results; a data table.
        R"(<row r="1"><c r="A1"><f t="array" ref="A1:B2">C1:D2</f><v>1</v></c><c r="B1"><v>2</v></c></row>)"
        R"(<row r="2"><c r="A2"><v>3</v></c><c r="B2"><v>4</v></c><c r="C2"><f t="dataTable" ref="C2">X</f></c></row>)",
        // Positions: none, out of order, outside rows, beyond the grid, malformed.
        R"(<c><v>1</v></c><row><c><v>2</v></c><c r="C1"><v>3</v></c><c><v>4</v></c><c r="B1"><v>0</v></c></row>)"
        R"(<row r="5"><c r="XFD5"><v>5</v></c><c r="XFE5"><v>6</v></c><c r="b5"><v>7</v></c>)"
        R"(<c r="A0"><v>8</v></c><c r=""><v>9</v></c><c r="C1048577"><v>9</v></c></row>)",
        // Rows: their properties, none, beyond the grid, empty, and one with a cell left to the events.
        R"(<row r="1" spans="1:3" ht="30" customHeight="1" x14ac:dyDescent="0.25"><c r="A1"><v>1</v></c></row>)"
        R"(<row r="2" hidden="1" outlineLevel="2" collapsed="true" s="1" customFormat="1"/><row><c><v>2</v></c></row>)"
        "<row r=\"1048577\" hidden=\"1\"><c><v>3</v></c></row>\n<row r=\"6\" spans=\"2:9\">\n<c "
        "r=\"B6\"><v>4</v></c>"
        "<c r=\"C6\" t=\"inlineStr\"><is><t>x</t></is></c><c r=\"D6\"><v>5</v></c></row><row r=\"x\"></row>",
        // Styles and empty cells.
        R"(<row r="1"><c r="A1" s="3"/><c r="B1" s=""/><c r="C1" s="x"><v>1</v></c><c s="2" r="D1" t="s"></c></row>)",
        // Blanks between the parts, and forms left to the events.
        "<row r=\"1\">\n  <c r=\"A1\">\n <v>1</v>\n </c>\n <c r=\"B1\" cm=\"1\"><v>2</v></c> "
        "<c r=\"C1\"><v>1</v><v>2</v></c><c r=\"D1\" t=\"inlineStr\"><is><t>a &amp; b</t></is></c>"
        "<c r=\"E1\"><v>&#49;</v></c><x:c r=\"F1\" xmlns:x=\"urn:x\"><v>5</v></x:c><c r=\"G1\"><f "
        "aca=\"1\">1</f></c>"
        "<c r=\"H1\"><v>caf\xC3\xA9</v></c><c r=\"I1\" t=\"s\"><v> 1</v></c><c r=\"J1\"><v>a]b</v></c></row>",
    };
    for (const std::string& rows : sheetData) {
        SCOPED_TRACE(rows);
        std::string xml = worksheet(rows);
        Sheet expat = readPart(xml, UINT64_MAX);
        Sheet scanned = readPart(xml, UINT64_MAX, nullptr, true);
        scanned.id = expat.id;
        EXPECT_TRUE(scanned == expat);
    }
}

// An attribute written twice is malformed markup: the plain-form reader
// declines it, and the read fails as expat's does.
TEST(XlsxScanned, AnAttributeWrittenTwiceFailsAsWithExpat) {
    const std::vector<std::string> sheetData = {
        R"(<row r="1"><c r="A1" r="B1"><v>1</v></c></row>)",
        R"(<row r="1"><c r="A1" t="n" s="1" t="s"><v>1</v></c></row>)",
        R"(<row r="1"><c r="A1"><f t="shared" si="0" ref="A1" si="1">1</f></c></row>)",
        R"(<row r="1" spans="1:1" r="2"><c r="A1"><v>1</v></c></row>)",
        R"(<row r="1" x="1" x="2"><c r="A1"><v>1</v></c></row>)",
    };
    auto failure = [](const std::string& xml, bool scanned) -> std::string {
        try {
            readPart(xml, UINT64_MAX, nullptr, scanned);
        } catch (const std::exception& e) {
            return e.what();
        }
        return "no error";
    };
    for (const std::string& rows : sheetData) {
        SCOPED_TRACE(rows);
        const std::string xml = worksheet(rows);
        const std::string expat = failure(xml, false);
        EXPECT_NE(expat, "no error");
        EXPECT_EQ(failure(xml, true), expat);
    }
}

// Plain shared strings are read straight from the markup, the rest through
// the events; the items come out as expat's events give them.
TEST(XlsxScanned, SharedStringsReadFromTheMarkupReadAsTheirEvents) {
    const std::string head = "<sst xmlns=\"" + std::string(kMain) + "\" uniqueCount=\"3\">";
    const std::vector<std::string> items = {
        "<si><t>plain</t></si><si/><si><t/></si><si><t></t></si>\n <si><t xml:space=\"preserve\"> x "
        "</t></si>",
        "<si><t>a_x000D_b</t></si><si><t>a &amp; b</t></si><si><r><t>ri</t></r><r><t>ch</t></r></si>"
        "<si><t>ph</t><rPh sb=\"0\" eb=\"1\"><t>x</t></rPh></si><si><t>\xC3\xA9</t></si>"
        "<si><t xml:space=\"preserve\" a=\"1\">y</t></si><si> <t>z</t> </si><si><t>last</t></si>",
    };
    for (const std::string& body : items) {
        SCOPED_TRACE(body);
        ZipWriter zip;
        zip.add("sst.xml", head + body + "</sst>");
        std::string bytes = zip.finish();
        ZipReader archive(bytes);
        std::vector<std::vector<std::string>> read;
        for (bool scanned : {false, true}) {
            setXmlScannerEnabled(scanned);
            xlsx::SharedStringTable table = xlsx::readSharedStrings(archive, "sst.xml");
            setXmlScannerEnabled(true);
            read.emplace_back();
            for (size_t i = 0; i < table.size(); ++i)
                read.back().emplace_back(table[i]);
        }
        EXPECT_EQ(read[1], read[0]);
        EXPECT_GE(read[0].size(), 5u);
    }
}

TEST(XlsxScanned, ADimensionClaimingTheWholeGridCostsWhatTheCellsCost) {
    std::string xml =
        worksheet(R"(<row r="1"><c r="A1"><v>7</v></c></row>)", R"(<dimension ref="A1:XFD1048576"/>)");
    Sheet sheet = readPart(xml, UINT64_MAX, nullptr, true);
    EXPECT_EQ(sheet.cell(0, 0).value(), "7");
    // The grid and its storage follow the cells, not the claim.
    EXPECT_EQ(sheet.rowCount(), 500);
    EXPECT_EQ(sheet.columnCount(), 26);
    EXPECT_EQ(sheet.storedRowCount(), 1);
}

TEST(XlsxHalves, MalformedSecondHalfReportsTheWholeReadsError) {
    std::string xml = worksheet(bigRows(6000) + "<row r=\"6001\"><c r=\"A6001\"><v>1</v></row>");
    EXPECT_THROW(readPart(xml, 0), XmlError);
}

// ---------------------------------------------------------------------------
// Units shared with the writer

TEST(XlsxUnits, WidthsAndHeightsSurviveAWriteAndARead) {
    for (double pixels : {5.0, 64.0, 75.0, 100.0, 333.0}) {
        EXPECT_EQ(xlsx::columnPixelsFromWidth(xlsx::columnWidthFromPixels(pixels)), pixels) << pixels;
        EXPECT_DOUBLE_EQ(xlsx::rowPixelsFromPoints(xlsx::rowPointsFromPixels(pixels)), pixels) << pixels;
    }
    EXPECT_EQ(xlsx::columnPixelsFromWidth(8.43), 64.0); // the usual default column
    EXPECT_EQ(xlsx::rowPixelsFromPoints(15), 20.0);
}

// ---------------------------------------------------------------------------
// Hints of the storage the next rows take

std::vector<size_t> storageHints;
void recordHint(const void*, size_t bytes) {
    storageHints.push_back(bytes);
}

// A reader hints only as far as the dimension claims rows, so that memory
// made ready ahead of it is memory it goes on to use.
TEST(XlsxStorageHints, HintsReachNoFurtherThanTheDimensionClaims) {
    struct Case {
        std::string dimension; // empty: none
        int rows;
        int width; // as the rows' spans give it
        size_t hints;
        size_t lastHintBytes;
    };
    constexpr size_t cell = sizeof(Cell);
    const std::vector<Case> cases = {
        {"", 9000, 2, 0, 0},                                // no dimension, no hints
        {"A1:B9000", 9000, 2, 4, (9000 - 8192) * 2 * cell}, // hints at rows 2048, 4096, 6144 and 8192
        {"A1:B4096", 4096, 2, 1, (4096 - 2048) * 2 * cell}, // the last row reserved claims nothing beyond
        {"A1:B40000", 9000, 2, 4, 16384 * 2 * cell}, // a dimension claiming more: as far as hints reach
        {"A1:B2047", 2047, 2, 0, 0},                 // fewer rows than between two hints
        {"A1:IV40000", 4096, 256, 2, 8 << 20},       // wide rows: no more than 8 MB at once
    };
    for (const Case& c : cases) {
        std::string rows;
        for (int r = 1; r <= c.rows; ++r) {
            const std::string n = std::to_string(r);
            rows += "<row r=\"" + n + "\" spans=\"1:" + std::to_string(c.width) + "\"><c r=\"A" + n +
                    "\"><v>1</v></c><c r=\"B" + n + "\"><v>2</v></c></row>";
        }
        const std::string before = c.dimension.empty() ? "" : "<dimension ref=\"" + c.dimension + "\"/>";
        storageHints.clear();
        setStorageAheadHook(recordHint);
        Sheet sheet = readPart(worksheet(rows, before), UINT64_MAX, nullptr, true);
        setStorageAheadHook(nullptr);
        EXPECT_EQ(sheet.cell(c.rows - 1, 1).value(), "2");
        ASSERT_EQ(storageHints.size(), c.hints) << c.dimension;
        if (c.hints > 0) EXPECT_EQ(storageHints.back(), c.lastHintBytes) << c.dimension;
    }
}

} // namespace
} // namespace sumora
