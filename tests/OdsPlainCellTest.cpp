// Table cells read straight from the bytes: which shapes are taken, and
// that taking them changes nothing — the same sheets as the XML events give,
// for hand-written rows cut into pieces anywhere. XmlScannerCorpus does the
// same for every corpus file (expat never takes the plain path).
#include <gtest/gtest.h>

#include "formats/OdsContentHandler.h"
#include "formats/OdsPlainCell.h"
#include "formats/XmlScanner.h"

namespace sumora {
namespace {

using ods::PlainCell;

struct ShapeCase {
    std::string_view bytes;
    bool taken;
    std::vector<std::string_view> paragraphs = {};
};

const ShapeCase kShapes[] = {
    {R"(<table:table-cell office:value-type="float" office:value="1408.91" calcext:value-type="float"><text:p>1408.91</text:p></table:table-cell>)",
     true,
     {"1408.91"}},
    {R"(<table:table-cell table:style-name='ce1' office:value-type="string"><text:p>Id</text:p></table:table-cell>)",
     true,
     {"Id"}},
    {R"(<table:table-cell table:number-columns-repeated="1014"/>)", true},
    {R"(<table:covered-table-cell/>)", true},
    {R"(<table:table-cell><text:p>a</text:p><text:p/><text:p>c "d" 'e' > f</text:p></table:table-cell>)",
     true,
     {"a", "", "c \"d\" 'e' > f"}},
    {"<table:table-cell\n\toffice:value-type=\"string\" >\n  <text:p>x\ty</text:p>\n</table:table-cell>",
     true,
     {"x\ty"}},
    {R"(<table:table-cell table:formula="of:=[.A1]+1" office:value-type="float" office:value="2" table:protected="true"/>)",
     true},
    // Left to the events: references, pieces of paragraphs, other elements, other names.
    {R"(<table:table-cell><text:p>A &amp; B</text:p></table:table-cell>)", false},
    {R"(<table:table-cell><text:p>a<text:s/>b</text:p></table:table-cell>)", false},
    {R"(<table:table-cell><text:p><text:span>a</text:span></text:p></table:table-cell>)", false},
    {R"(<table:table-cell><office:annotation><text:p>n</text:p></office:annotation></table:table-cell>)",
     false},
    {R"(<table:table-cell><text:p text:style-name="P1">a</text:p></table:table-cell>)", false},
    {R"(<table:table-cell><text:h>a</text:h></table:table-cell>)", false},
    {"<table:table-cell><text:p>caf\xC3\xA9</text:p></table:table-cell>", false},
    {R"(<table:table-cell><text:p>a]]>b</text:p></table:table-cell>)", false},
    {R"(<table:table-cell xmlns:x="urn:x" office:value="1"/>)", false},
    {R"(<table:table-cell style:name="a"/>)", false},
    {R"(<table:table-cell office:value="1" office:value="2"/>)", false},
    {R"(<table:table-cell table:protected="true" table:protected="false"/>)", false},
    {R"(<table:table-cell office:a:value="1"/>)", false},
    {R"(<table:table-cell office:value="a&lt;b"/>)", false},
    {"<table:table-cell office:value=\"a\tb\"/>", false},
    {"<table:table-cell\r\noffice:value=\"1\"/>", false},
    {R"(<table:table-cell office:value = "1"/>)", false},
    {R"(<table:table-cell><text:p>a</text:p></table:covered-table-cell>)", false},
    {R"(<table:table-cell><text:p>a</text:p></table:table-cell >)", false},
    {R"(<table:table-cell><text:p >a</text:p></table:table-cell>)", false},
    {R"(<table:table-cellx/>)", false},
    {R"(<table:table-row/>)", false},
};

TEST(OdsPlainCell, TakesThePlainShapesWholeAndLeavesTheRest) {
    for (const ShapeCase& c : kShapes) {
        PlainCell cell;
        std::size_t used = ods::readPlainCell(c.bytes.data(), c.bytes.size(), cell);
        ASSERT_EQ(used, c.taken ? c.bytes.size() : 0) << c.bytes;
        if (!c.taken) continue;
        ASSERT_EQ(cell.paragraphCount, c.paragraphs.size()) << c.bytes;
        for (std::size_t k = 0; k < c.paragraphs.size(); ++k)
            EXPECT_EQ(cell.paragraphs[k], c.paragraphs[k]) << c.bytes;
        // Cut off anywhere, a cell is not taken: the rest may still change its meaning.
        for (std::size_t cut = 0; cut < c.bytes.size(); ++cut)
            EXPECT_EQ(ods::readPlainCell(c.bytes.data(), cut, cell), 0u) << c.bytes << " cut at " << cut;
    }
}

TEST(OdsPlainCell, RowStartsTakenAreTheirPlainTags) {
    const std::pair<std::string_view, bool> kRows[] = {
        {"<table:table-row>", true},
        {"<table:table-row table:style-name=\"ro1\" table:number-rows-repeated='3' >", true},
        {"<table:table-row/>", false},
        {"<table:table-rows>", false},
        {"<table:table-row xmlns:t=\"urn:t\">", false},
        {"<table:table-row table:visibility=\"collapse\" table:visibility=\"filter\">", false},
    };
    for (auto [bytes, taken] : kRows) {
        ods::PlainRowStart row;
        EXPECT_EQ(ods::readPlainRowStart(bytes.data(), bytes.size(), row), taken ? bytes.size() : 0) << bytes;
    }
}

// Sheets read through the scanner with plain cells taken or not, the part
// fed in pieces of `piece` bytes.
std::vector<Sheet> readContent(std::string_view content, bool plainCells, std::size_t piece) {
    ods::setPlainCellsEnabled(plainCells);
    ods::OdsContentHandler handler;
    XmlScanner scanner(handler);
    for (std::size_t at = 0; at < content.size(); at += piece) {
        std::string chunk(content.substr(at, piece));
        scanner.feedWritable(chunk.data(), chunk.size());
    }
    scanner.finish();
    ods::setPlainCellsEnabled(true);
    return handler.takeSheets();
}

TEST(OdsPlainCell, RowsOfMixedCellsReadAsTheirEventsRead) {
    std::string rows;
    for (int r = 0; r < 6; ++r)
        rows +=
            "<table:table-row>"
            R"(<table:table-cell office:value-type="float" office:value=")" +
            std::to_string(r) + R"(" calcext:value-type="float"><text:p>)" + std::to_string(r) +
            "</text:p></table:table-cell>"
            R"(<table:table-cell table:style-name="ce1" office:value-type="percentage" office:value="0.125"><text:p>12.50 %</text:p></table:table-cell>)"
            R"(<table:table-cell office:value-type="string" table:number-columns-spanned="2"><office:annotation><text:p>note</text:p></office:annotation><text:p>merged</text:p></table:table-cell><table:covered-table-cell/>)"
            R"(<table:table-cell table:number-columns-repeated="2"><text:p>two</text:p><text:p>lines</text:p></table:table-cell>)"
            R"(<table:table-cell><text:p>a &amp; b<text:s text:c="2"/>c</text:p></table:table-cell>)"
            R"(<table:table-cell table:formula="of:=[.A1]*2" office:value-type="float" office:value="0"><text:p>0</text:p></table:table-cell>)"
            R"(<table:table-cell office:value-type="boolean" office:boolean-value="true"/>)"
            R"(<table:table-cell table:number-columns-repeated="1000"/></table:table-row>)";
    rows += "<table:table-row table:style-name=\"ro1\">\n <table:table-cell office:value-type=\"float\" "
            "office:value=\"7\"><text:p>7</text:p></table:table-cell>\n <table:table-cell/>"
            "<table:covered-table-cell table:number-columns-repeated=\"2\"/>\n</table:table-row>";
    // Longer than a row read whole may be: its cells are read one by one.
    rows += "<table:table-row>";
    for (int c = 0; c < 1100; ++c)
        rows +=
            R"(<table:table-cell office:value-type="float" office:value=")" + std::to_string(c) + R"("/>)";
    rows += "</table:table-row>";
    rows +=
        R"(<table:table-row table:number-rows-repeated="2"><table:table-cell office:value-type="string"><text:p>twice</text:p></table:table-cell></table:table-row>)";
    std::string content =
        R"(<?xml version="1.0" encoding="UTF-8"?><office:document-content><office:automatic-styles>)"
        R"(<style:style style:name="ce1" style:family="table-cell"><style:text-properties fo:font-weight="bold"/></style:style>)"
        R"(<style:style style:name="ro1" style:family="table-row"><style:table-row-properties style:row-height="1cm"/></style:style>)"
        R"(</office:automatic-styles><office:body><office:spreadsheet><table:table table:name="T">)" +
        rows + "</table:table></office:spreadsheet></office:body></office:document-content>";

    std::vector<Sheet> byEvents = readContent(content, false, content.size());
    ASSERT_EQ(byEvents.size(), 1u);
    ASSERT_EQ(byEvents[0].cell(5, 0).value(), "5");
    for (std::size_t piece :
         {content.size(), std::size_t{1}, std::size_t{7}, std::size_t{64}, std::size_t{333}}) {
        std::vector<Sheet> plain = readContent(content, true, piece);
        ASSERT_EQ(plain.size(), 1u);
        plain[0].id = byEvents[0].id;
        EXPECT_TRUE(plain[0] == byEvents[0]) << "pieces of " << piece;
    }
}

} // namespace
} // namespace sumora
