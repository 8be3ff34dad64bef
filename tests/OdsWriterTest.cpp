// The OpenDocument package as written: its parts and their exact texts,
// automatic styles, cells and formulas in the format's notation.
#include <gtest/gtest.h>

#include "TestSupport.h"
#include "formats/FileErrors.h"
#include "formats/OdsFormat.h"
#include "formats/OdsFormulaTranslation.h"
#include "formats/OdsWriter.h"
#include "formats/ZipArchive.h"

namespace sumora {
namespace {

using test::TestBook;

size_t count(std::string_view text, std::string_view needle) {
    size_t n = 0;
    for (size_t at = text.find(needle); at != std::string_view::npos; at = text.find(needle, at + 1))
        ++n;
    return n;
}

std::string contentOf(const std::vector<Sheet>& sheets) {
    ZipReader zip(writeOds(sheets));
    return zip.read("content.xml");
}

// The <table:table …>…</table:table> of the first table, columns left out.
std::string rowsOf(const std::string& content) {
    size_t start = content.find("<table:table-row");
    size_t end = content.find("</table:table>");
    return content.substr(start, end - start);
}

Cell formatted(std::string_view value, const CellFormat& format) {
    Cell c;
    c.setValue(value);
    c.setFormat(format);
    return c;
}

TEST(OdsWrite, MimetypeComesFirstStoredAndExact) {
    std::string bytes = writeOds(SumoraDocument().sheets);
    const std::string mime = "application/vnd.oasis.opendocument.spreadsheet";
    ASSERT_GT(bytes.size(), 38 + mime.size());
    EXPECT_EQ(bytes.substr(0, 2), "PK");
    EXPECT_EQ(bytes.substr(30, 8), "mimetype");
    EXPECT_EQ(bytes.substr(38, mime.size()), mime); // stored, no extra field
    ZipReader zip(bytes);
    ASSERT_EQ(zip.entries().size(), 5u);
    std::vector<std::string> order;
    for (const ZipEntry& e : zip.entries())
        order.push_back(e.path);
    EXPECT_EQ(order, (std::vector<std::string>{"mimetype", "META-INF/manifest.xml", "meta.xml", "styles.xml",
                                               "content.xml"}));
    EXPECT_EQ(zip.read("mimetype"), mime);
}

TEST(OdsWrite, ManifestStylesAndMetaTexts) {
    ZipReader zip(writeOds(SumoraDocument().sheets));
    EXPECT_EQ(zip.read("META-INF/manifest.xml"),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<manifest:manifest xmlns:manifest=\"urn:oasis:names:tc:opendocument:xmlns:manifest:1.0\" "
              "manifest:version=\"1.2\">"
              "<manifest:file-entry manifest:media-type=\"application/vnd.oasis.opendocument.spreadsheet\" "
              "manifest:version=\"1.2\" manifest:full-path=\"/\"/>"
              "<manifest:file-entry manifest:media-type=\"text/xml\" manifest:full-path=\"content.xml\"/>"
              "<manifest:file-entry manifest:media-type=\"text/xml\" manifest:full-path=\"styles.xml\"/>"
              "<manifest:file-entry manifest:media-type=\"text/xml\" manifest:full-path=\"meta.xml\"/>"
              "</manifest:manifest>");
    std::string styles = zip.read("styles.xml");
    EXPECT_NE(styles.find("<style:default-style style:family=\"table-cell\"><style:text-properties "
                          "fo:font-family=\"Calibri\" fo:font-size=\"11pt\"/></style:default-style>"),
              std::string::npos);
    EXPECT_EQ(ODSWriter::metaXML(0).find("<office:meta><meta:generator>Sumora/1.0</meta:generator>"
                                         "<meta:creation-date>1970-01-01T00:00:00Z</meta:creation-date>"
                                         "<dc:date>1970-01-01T00:00:00Z</dc:date></office:meta>") ==
                  std::string::npos,
              false);
}

TEST(OdsWrite, UnformattedWorkbookHasAnEmptyAutomaticStylesBlock) {
    TestBook book;
    book.set("A1", "x").set("B2", "=A1");
    std::string content = contentOf(book.doc.sheets);
    EXPECT_NE(content.find("<office:automatic-styles></office:automatic-styles>"), std::string::npos);
    EXPECT_EQ(content.find("table:style-name"), std::string::npos);
}

TEST(OdsWrite, EqualFormattingOnDifferentSheetsSharesOneStyle) {
    TestBook book;
    book.addSheet("Two");
    CellFormat bold;
    bold.isBold = true;
    book.doc.sheets[0].setCell(0, 0, formatted("a", bold));
    CellFormat boldWithBorder = bold; // borders are not carried: the same style
    boldWithBorder.borderTop = true;
    book.doc.sheets[1].setCell(3, 2, formatted("b", boldWithBorder));
    CellFormat italic;
    italic.isItalic = true;
    book.doc.sheets[1].setCell(4, 2, formatted("c", italic));
    std::string content = contentOf(book.doc.sheets);
    EXPECT_EQ(count(content, "style:family=\"table-cell\""), 2u);
    EXPECT_EQ(count(content, "table:style-name=\"ce1\""), 2u);
    EXPECT_EQ(count(content, "table:style-name=\"ce2\""), 1u);
}

TEST(OdsWrite, FormulaCellWithItsResult) {
    TestBook book;
    book.set("A1", "1").set("A2", "2").set("A3", "3").set("A4", "=SUM(A1:A3)").computed("A4", "6");
    EXPECT_NE(contentOf(book.doc.sheets)
                  .find("<table:table-cell table:formula=\"of:=SUM([.A1:.A3])\" office:value-type=\"float\" "
                        "office:value=\"6\"><text:p>6</text:p></table:table-cell>"),
              std::string::npos);
}

TEST(OdsWrite, SheetNamesAreEscaped) {
    TestBook book;
    book.doc.sheets[0].name = "Bob's <R&D>";
    EXPECT_NE(contentOf(book.doc.sheets).find("<table:table table:name=\"Bob&apos;s &lt;R&amp;D&gt;\">"),
              std::string::npos);
}

TEST(OdsWrite, ColumnWidthsBecomeColumnStyles) {
    TestBook book;
    book.doc.sheets[0].columnWidths = {{1, 100}, {3, 100}, {4, 50.5}};
    std::string content = contentOf(book.doc.sheets);
    EXPECT_NE(content.find("<style:style style:name=\"co1\" style:family=\"table-column\">"
                           "<style:table-column-properties style:column-width=\"26.458cm\"/></style:style>"),
              std::string::npos);
    EXPECT_NE(content.find("style:column-width=\"13.361cm\""), std::string::npos);
    EXPECT_NE(
        content.find(
            "<table:table-column/><table:table-column table:style-name=\"co1\"/><table:table-column/>"
            "<table:table-column table:style-name=\"co1\"/><table:table-column table:style-name=\"co2\"/>"),
        std::string::npos);
    EXPECT_EQ(count(content, "<table:table-column"), 26u);
}

TEST(OdsWrite, CellStyleProperties) {
    using Key = ODSWriter::CellStyleKey;
    Key all;
    all.bold = all.italic = all.underline = all.strike = true;
    all.fontName = "Liberation Sans";
    all.fontSize = 10.5;
    all.fontColor = "#FF0000";
    all.fillColor = "00FF00";
    all.alignment = "right";
    Key filled;
    filled.alignment = "fill";
    Key justified;
    justified.alignment = "justify";
    struct Case {
        Key key;
        const char* xml;
    } cases[] = {
        {all, "<style:text-properties fo:font-weight=\"bold\" fo:font-style=\"italic\" "
              "style:text-underline-style=\"solid\" "
              "style:text-underline-width=\"auto\" style:text-line-through-style=\"solid\" "
              "fo:font-family=\"Liberation Sans\" "
              "fo:font-size=\"10.5pt\" fo:color=\"#FF0000\"/><style:table-cell-properties "
              "fo:background-color=\"#00FF00\"/>"
              "<style:paragraph-properties fo:text-align=\"end\"/>"},
        {filled, "<style:text-properties/><style:table-cell-properties style:repeat-content=\"true\"/>"},
        {justified, "<style:text-properties/><style:paragraph-properties fo:text-align=\"justify\"/>"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ODSWriter::cellStyleProperties(c.key), c.xml);
}

TEST(OdsWrite, CellsByWhatTheyHold) {
    struct Case {
        const char* value;
        const char* xml;
    } cases[] = {
        {"42", "<table:table-cell office:value-type=\"float\" "
               "office:value=\"42\"><text:p>42</text:p></table:table-cell>"},
        {"-1.5e3", "office:value-type=\"float\" office:value=\"-1.5e3\"><text:p>-1.5e3</text:p>"},
        {"007", "office:value=\"007\"><text:p>007</text:p>"},
        {"0x10", "office:value=\"16\"><text:p>0x10</text:p>"},
        {"inf", "office:value-type=\"string\"><text:p>inf</text:p>"},
        {"<a & 'b'>", "office:value-type=\"string\"><text:p>&lt;a &amp; &apos;b&apos;&gt;</text:p>"},
        {"two\nlines", "<text:p>two</text:p><text:p>lines</text:p>"},
        {"a  b", "<text:p>a <text:s/>b</text:p>"},
        {" lead", "<text:p><text:s/>lead</text:p>"},
        {"tail  ", "<text:p>tail<text:s text:c=\"2\"/></text:p>"},
        {"a\tb", "<text:p>a<text:tab/>b</text:p>"},
    };
    for (const Case& c : cases) {
        TestBook book;
        book.set("A1", c.value);
        EXPECT_NE(contentOf(book.doc.sheets).find(c.xml), std::string::npos) << c.value;
    }
}

TEST(OdsWrite, EmptyCellsAndRowsKeepPositionsCompactly) {
    TestBook book;
    book.set("A1", "a").set("D1", "d").set("B4", "b");
    CellFormat bold;
    bold.isBold = true;
    book.doc.sheets[0].setCell(5, 1, formatted("", bold));
    book.doc.sheets[0].cellForWriting(6, 5); // stored but default: nothing to write
    EXPECT_EQ(
        rowsOf(contentOf(book.doc.sheets)),
        "<table:table-row><table:table-cell "
        "office:value-type=\"string\"><text:p>a</text:p></table:table-cell>"
        "<table:table-cell table:number-columns-repeated=\"2\"/>"
        "<table:table-cell "
        "office:value-type=\"string\"><text:p>d</text:p></table:table-cell></table:table-row>"
        "<table:table-row table:number-rows-repeated=\"2\"><table:table-cell/></table:table-row>"
        "<table:table-row><table:table-cell/><table:table-cell "
        "office:value-type=\"string\"><text:p>b</text:p>"
        "</table:table-cell></table:table-row>"
        "<table:table-row><table:table-cell/></table:table-row>"
        "<table:table-row><table:table-cell/><table:table-cell table:style-name=\"ce1\"/></table:table-row>");
}

// Big tables are written in blocks of rows on two threads: the joined text
// must be the one a single pass writes, with a run of empty rows that
// crosses blocks as one element.
TEST(OdsWrite, RowsOfABigTableJoinInOrder) {
    const int64_t filled[] = {1, 4095, 4096, 4097, 20000, 20001, 33000};
    Sheet sheet("Big", 0, 0);
    for (int64_t row : filled)
        sheet.cellForWriting(row, 0).setValue(std::to_string(row));
    sheet.cellForWriting(40000, 3); // stored but default: the rows after 33000 are not written
    std::string expected;
    int64_t previous = -1;
    for (int64_t row : filled) {
        int64_t empty = row - previous - 1;
        if (empty == 1) expected += "<table:table-row><table:table-cell/></table:table-row>";
        if (empty > 1)
            expected += "<table:table-row table:number-rows-repeated=\"" + std::to_string(empty) +
                        "\"><table:table-cell/></table:table-row>";
        std::string n = std::to_string(row);
        expected += "<table:table-row><table:table-cell office:value-type=\"float\" office:value=\"" + n +
                    "\"><text:p>" + n + "</text:p></table:table-cell></table:table-row>";
        previous = row;
    }
    EXPECT_EQ(rowsOf(contentOf({sheet})), expected);
}

TEST(OdsWrite, EmptySheetStillHasARow) {
    Sheet empty("Empty", 0, 0);
    std::string content = contentOf({empty});
    EXPECT_NE(content.find("<table:table table:name=\"Empty\"><table:table-column/>"
                           "<table:table-row><table:table-cell/></table:table-row></table:table>"),
              std::string::npos);
}

TEST(OdsFormulaWrite, A1BecomesOpenFormula) {
    struct Case {
        const char* engine;
        const char* odf;
    } cases[] = {
        {"A1", "[.A1]"},
        {"SUM(A1:A3)", "SUM([.A1:.A3])"},
        {"$A$1+B$2+$C3", "[.$A$1]+[.B$2]+[.$C3]"},
        {"Sheet2!A1", "[Sheet2.A1]"},
        {"Sheet2!A1:B3", "[Sheet2.A1:.B3]"},
        {"Sheet1!A1:Sheet2!B3", "[Sheet1.A1:Sheet2.B3]"},
        {"'My Sheet'!A1*2", "['My Sheet'.A1]*2"},
        {"'It''s'!A1", "['It''s'.A1]"},
        {"IF(A1>0,\"a,b\",\"A1\")", "IF([.A1]>0;\"a,b\";\"A1\")"},
        {"\"say \"\"A1\"\"\"&B1", "\"say \"\"A1\"\"\"&[.B1]"},
        {"IF(TRUE,1,FALSE)", "IF(TRUE();1;FALSE())"},
        {"LOG10(A1)+1E5+2.5e-3", "LOG10([.A1])+1E5+2.5e-3"},
        {"CONCAT(A1,\"x\")&TEXTJOIN(\",\",TRUE,A1:A2)",
         "COM.MICROSOFT.CONCAT([.A1];\"x\")&COM.MICROSOFT.TEXTJOIN(\",\";TRUE();[.A1:.A2])"},
        {"STDEV.S(A1:A3)+ERROR.TYPE(A1)", "COM.MICROSOFT.STDEV.S([.A1:.A3])+ERROR.TYPE([.A1])"},
        {"FORMULATEXT(A1)", "FORMULA([.A1])"},
        {"myName*2", "myName*2"},
        {"SUM({1,2;3,4})", "SUM({1;2|3;4})"},
        {"A1 : B2", "[.A1] : [.B2]"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ods::openFormulaFromFormula(c.engine), c.odf) << c.engine;
}

TEST(OdsWrite, ALeadingEqualsSignIsNotWrittenTwice) {
    TestBook book;
    book.doc.sheets[0].cellForWriting(0, 0).setFormula("=1+A2");
    EXPECT_NE(contentOf(book.doc.sheets).find("table:formula=\"of:=1+[.A2]\""), std::string::npos);
}

} // namespace
} // namespace sumora
