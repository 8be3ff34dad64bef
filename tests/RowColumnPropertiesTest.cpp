// Hidden rows and columns, row heights, outline groups and hyperlinks: what
// structural edits do to them, what the readers take from other producers'
// files (openpyxl's XLSX and LibreOffice's ODS of it, see
// data/row-column-links/generate.py), what survives saving in both formats,
// and what a damaged file costs.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <sstream>

#include "TestSupport.h"
#include "XlsxReaderTestSupport.h"
#include "document/ColumnLetters.h"
#include "editing/HyperlinkTarget.h"
#include "formats/DocumentIO.h"
#include "formats/OdsFormat.h"
#include "formats/XlsxFormat.h"
#include "values/Log.h"

namespace sumora {
namespace {

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

std::string hiddenText(const LineSet& set) {
    std::string out;
    for (const auto& [first, last] : set.spans())
        out += (out.empty() ? "" : " ") + std::to_string(first) +
               (first == last ? "" : "-" + std::to_string(last));
    return out;
}

std::string groupText(const Sheet& sheet) {
    std::string out;
    for (const OutlineGroup& g : sheet.outlineGroups)
        out += (out.empty() ? "" : " ") + std::to_string(g.startRow) + "-" + std::to_string(g.endRow) + "@" +
               std::to_string(g.level) + (g.isCollapsed ? "c" : "");
    return out;
}

std::string linkKeys(const Sheet& sheet) {
    std::string out;
    for (const auto& [address, link] : sheet.hyperlinks)
        out += (out.empty() ? "" : " ") + address;
    return out;
}

// ---------------------------------------------------------------------------
// Structural edits move row properties with their rows.

Sheet editedSheet() {
    Sheet sheet("S", 20, 10);
    sheet.hiddenRows.add(2, 4);
    sheet.hiddenRows.add(8);
    sheet.rowHeights[3] = 30;
    sheet.rowHeights[9] = 40;
    OutlineGroup group;
    group.startRow = 5;
    group.endRow = 7;
    group.level = 1;
    group.summaryRow = 8;
    sheet.outlineGroups.push_back(group);
    sheet.hyperlinks["B4"] = {"https://a.example", "", std::nullopt};
    sheet.hyperlinks["C10"] = {"", "S!A1", std::nullopt};
    return sheet;
}

TEST(RowProperties, MoveWithStructuralEdits) {
    struct Case {
        const char* edit;
        std::function<void(Sheet&)> apply;
        const char* hidden;
        const char* heights; // row:height
        const char* groups;
        const char* links;
    };
    const Case cases[] = {
        {"insert 2 at 3 (inside a hidden run)", [](Sheet& s) { s.insertRows(3, 2); }, "2 5-6 10",
         "5:30 11:40", "7-9@1", "B6 C12"},
        {"insert at 0", [](Sheet& s) { s.insertRows(0); }, "3-5 9", "4:30 10:40", "6-8@1", "B5 C11"},
        {"remove 3..4", [](Sheet& s) { s.removeRows(3, 2); }, "2 6", "7:40", "3-5@1", "C8"},
        {"remove the group", [](Sheet& s) { s.removeRows(5, 3); }, "2-5", "3:30 6:40", "", "B4 C7"},
        {"remove inside the group", [](Sheet& s) { s.removeRows(6); }, "2-4 7", "3:30 8:40", "5-6@1",
         "B4 C9"},
        {"reverse rows 2..4 and 8..9",
         [](Sheet& s) {
             s.permuteRows(2, {7, 6, 5, 4, 3, 2, 1, 0});
         },
         "3 7-9", "2:40 8:30", "5-7@1", "B9 C3"},
        {"insert a column before B", [](Sheet& s) { s.insertColumns(1); }, "2-4 8", "3:30 9:40", "5-7@1",
         "C4 D10"},
        {"remove column B", [](Sheet& s) { s.removeColumns(1); }, "2-4 8", "3:30 9:40", "5-7@1", "B10"},
    };
    for (const Case& c : cases) {
        Sheet sheet = editedSheet();
        c.apply(sheet);
        std::string heights;
        for (const auto& [row, height] : sheet.rowHeights)
            heights += (heights.empty() ? "" : " ") + std::to_string(row) + ":" + std::to_string(int(height));
        EXPECT_EQ(hiddenText(sheet.hiddenRows), c.hidden) << c.edit;
        EXPECT_EQ(heights, c.heights) << c.edit;
        EXPECT_EQ(groupText(sheet), c.groups) << c.edit;
        EXPECT_EQ(linkKeys(sheet), c.links) << c.edit;
    }
}

TEST(RowProperties, HiddenColumnsMoveAndMerge) {
    Sheet sheet("S", 10, 30);
    sheet.hiddenColumns.add(5, 16383); // everything right of the data, as files often do
    sheet.hiddenColumns.add(2);
    sheet.insertColumns(3, 2);
    EXPECT_EQ(hiddenText(sheet.hiddenColumns), "2 7-16385");
    sheet.removeColumns(2, 6);
    EXPECT_EQ(hiddenText(sheet.hiddenColumns), "2-16379");
}

// ---------------------------------------------------------------------------
// Other producers' files, as read and after saving in either format.

struct Expectation {
    std::string kind, sheet, key, expected;
};

std::vector<Expectation> expectations() {
    std::vector<Expectation> rows;
    std::istringstream in(
        readFile(std::string(SUMORA_SOURCE_DIR) + "/tests/data/row-column-links/expected.tsv"));
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        Expectation e;
        std::getline(fields, e.kind, '\t');
        std::getline(fields, e.sheet, '\t');
        std::getline(fields, e.key, '\t');
        std::getline(fields, e.expected, '\t');
        rows.push_back(e);
    }
    return rows;
}

// What the document holds for one expectation, in the table's terms.
std::string actual(const SumoraDocument& doc, const Expectation& e) {
    auto index = doc.sheetIndex(e.sheet);
    if (!index) return "no sheet";
    const Sheet& sheet = doc.sheets[*index];
    auto group = [&](auto& groups, auto first, auto last) -> std::string {
        size_t colon = e.key.find(':');
        for (const auto& g : groups) {
            std::string from = e.kind == "rowGroup" ? std::to_string(g.*first + 1) : columnLetter(g.*first);
            std::string to = e.kind == "rowGroup" ? std::to_string(g.*last + 1) : columnLetter(g.*last);
            if (from == e.key.substr(0, colon) && to == e.key.substr(colon + 1))
                return std::to_string(g.level) + (g.isCollapsed ? " collapsed" : "");
        }
        return "none";
    };
    if (e.kind == "hiddenRow") return sheet.hiddenRows.contains(std::stoll(e.key) - 1) ? "1" : "0";
    if (e.kind == "hiddenColumn") return sheet.hiddenColumns.contains(*columnIndex(e.key)) ? "1" : "0";
    if (e.kind == "rowHeight") {
        auto it = sheet.rowHeights.find(std::stoll(e.key) - 1);
        return it == sheet.rowHeights.end() ? "none" : std::to_string(std::lround(it->second));
    }
    if (e.kind == "rowGroup")
        return group(sheet.outlineGroups, &OutlineGroup::startRow, &OutlineGroup::endRow);
    if (e.kind == "columnGroup")
        return group(sheet.columnOutlineGroups, &ColumnOutlineGroup::startCol, &ColumnOutlineGroup::endCol);
    if (e.kind == "hyperlink") {
        auto it = sheet.hyperlinks.find(e.key);
        if (it == sheet.hyperlinks.end()) return "none";
        return it->second.target.empty() ? "#" + it->second.location : it->second.target;
    }
    auto at = parseCellAddress(e.key);
    const Cell& cell = sheet.cell(at->row, at->col);
    if (e.kind == "font") return cell.format().fontName.value_or("none");
    return std::string(cell.displayValue());
}

TEST(RowColumnFixtures, ReadAndSurviveSavingInBothFormats) {
    std::vector<Expectation> table = expectations();
    ASSERT_FALSE(table.empty());
    for (const char* name : {"book.xlsx", "book.ods"}) {
        std::string bytes = readFile(std::string(SUMORA_SOURCE_DIR) + "/tests/data/row-column-links/" + name);
        SumoraDocument read = openDocument(bytes, name, "");
        SumoraDocument viaXlsx = openDocument(writeXlsx(read), "saved.xlsx", kXlsxContentType);
        SumoraDocument viaOds = openDocument(writeOds(read.sheets), "saved.ods", kOdsContentType);
        for (const Expectation& e : table) {
            std::string where = std::string(name) + " " + e.kind + " " + e.sheet + "!" + e.key;
            EXPECT_EQ(actual(read, e), e.expected) << where << " as read";
            EXPECT_EQ(actual(viaXlsx, e), e.expected) << where << " after saving as XLSX";
            // The ODS writer keeps cell contents and character formats only.
            bool keptByOds = e.kind == "value" || e.kind == "font";
            if (keptByOds) {
                EXPECT_EQ(actual(viaOds, e), e.expected) << where << " after saving as ODS";
            }
        }
    }
}

// openpyxl reads what saving as XLSX wrote from LibreOffice's file.
class RowColumnOpenpyxl : public test::ScratchFolderTest {};

TEST_F(RowColumnOpenpyxl, ReadsHiddenLinesHeightsGroupsAndLinks) {
    if (std::system("/usr/bin/python3 -c 'import openpyxl' >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "python3-openpyxl is not installed";
    std::string ods = readFile(std::string(SUMORA_SOURCE_DIR) + "/tests/data/row-column-links/book.ods");
    file("book.xlsx", writeXlsx(openDocument(ods, "book.ods", "")));
    file("read.py", "import sys, openpyxl\n"
                    "ws = openpyxl.load_workbook(sys.argv[1])['Data']\n"
                    "print('hidden rows', [r for r in range(1, 13) if ws.row_dimensions[r].hidden])\n"
                    "print('row 5', round(ws.row_dimensions[5].height))\n"
                    "print('levels', [ws.row_dimensions[r].outline_level for r in range(5, 11)])\n"
                    "print('hidden columns', [c for c in 'ABCDEF' if ws.column_dimensions[c].hidden])\n"
                    "print('column spans', [(d.min, d.max, d.outline_level, d.hidden) for d in "
                    "ws.column_dimensions.values() if d.outline_level or d.hidden])\n"
                    "for a in ('B1', 'B2', 'B3'):\n"
                    "    h = ws[a].hyperlink\n"
                    "    print(a, h.target, h.location)\n");
    std::string command = "/usr/bin/python3 '" + (dir_ / "read.py").string() + "' '" +
                          (dir_ / "book.xlsx").string() + "' > '" + (dir_ / "out.txt").string() + "' 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0) << slurp(dir_ / "out.txt");
    EXPECT_EQ(slurp(dir_ / "out.txt"), "hidden rows [3, 7, 8]\n"
                                       "row 5 30\n"
                                       "levels [0, 1, 2, 2, 1, 0]\n"
                                       "hidden columns ['C']\n"
                                       "column spans [(3, 3, 0, True), (5, 6, 1, False)]\n"
                                       "B1 https://example.org/a?b=1&c=2 None\n"
                                       "B2 mailto:someone@example.org None\n"
                                       "B3 None Sheet2!C4\n");
}

TEST(HyperlinkDestination, NamesASheetAndCell) {
    SumoraDocument doc;
    doc.sheets.push_back(SumoraDocument::makeNewSheet("Sheet2"));
    doc.sheets.push_back(SumoraDocument::makeNewSheet("It's here"));
    NamedRange total;
    total.name = "Total";
    total.sheetName = "Sheet2";
    total.startRow = 9;
    total.startCol = 2;
    doc.namedRanges.push_back(total);
    const struct {
        const char* location;
        std::optional<LinkDestination> expected;
    } cases[] = {
        {"Sheet2!B4", LinkDestination{1, 3, 1}},
        {"#Sheet2!$B$4", LinkDestination{1, 3, 1}},
        {"sheet2!B4:C9", LinkDestination{1, 3, 1}},
        {"'It''s here'!A1", LinkDestination{2, 0, 0}},
        {"D2", LinkDestination{0, 1, 3}},
        {"Total", LinkDestination{1, 9, 2}},
        {"Gone!A1", std::nullopt},
        {"Sheet2!", std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(linkDestination(doc, c.location, 0), c.expected) << c.location;
}

// ---------------------------------------------------------------------------
// Damaged input: the rest opens; one sentence per kind of loss.

TEST(RowColumnDamage, SkippedPropertiesAndLinksAreReportedOnce) {
    using namespace xlsxtest;
    std::string rows = R"(<row r="1" hidden="1"><c r="A1"><v>1</v></c></row>)"
                       R"(<row r="2000000" hidden="1" ht="30" customHeight="1"/>)"
                       R"(<row r="3000000" outlineLevel="2"/>)";
    std::string links =
        R"(<hyperlinks><hyperlink ref="B1" r:id="rId9"/><hyperlink ref="ZZZZ1" location="S!A1"/>)"
        R"(<hyperlink ref="C1" r:id="rId1"/></hyperlinks>)";
    TestPackage package(worksheet(rows, "", links));
    package.part("xl/worksheets/_rels/sheet1.xml.rels",
                 "<Relationships xmlns=\"" + std::string(kPackageRelationships) +
                     "\"><Relationship Id=\"rId1\" Type=\"" + std::string(kRelationships) +
                     "/hyperlink\" Target=\"https://ok.example/\" TargetMode=\"External\"/></Relationships>");
    LogCapture log;
    SumoraDocument doc = package.open();
    const Sheet& sheet = doc.sheets.at(0);
    EXPECT_EQ(sheet.cell(0, 0).displayValue(), "1");
    EXPECT_EQ(hiddenText(sheet.hiddenRows), "0");
    EXPECT_TRUE(sheet.rowHeights.empty());
    EXPECT_EQ(linkKeys(sheet), "C1");
    EXPECT_EQ(sheet.hyperlinks.at("C1").target, "https://ok.example/");
    ASSERT_EQ(doc.droppedOnOpen.size(), 2u);
    EXPECT_NE(doc.droppedOnOpen[0].find("2 row(s) beyond the grid (first: row 2000000)"), std::string::npos);
    EXPECT_NE(doc.droppedOnOpen[1].find("2 hyperlink(s)"), std::string::npos);
    EXPECT_TRUE(log.contains(doc.droppedOnOpen[0]));
    EXPECT_TRUE(log.contains(doc.droppedOnOpen[1]));
}

// Rows hidden by default (all rows below the data, as users hide them) stay
// one span in the model and in the saved file.
TEST(RowColumnDamage, RowsHiddenByDefaultStayCheap) {
    using namespace xlsxtest;
    std::string rows = R"(<row r="1"><c r="A1"><v>1</v></c></row><row r="2"/><row r="3" hidden="1"/>)";
    SumoraDocument doc =
        TestPackage(worksheet(rows, R"(<sheetFormatPr defaultRowHeight="15" zeroHeight="1"/>)")).open();
    EXPECT_EQ(hiddenText(doc.sheets[0].hiddenRows), "2-1048575");
    std::string saved = writeXlsx(doc);
    SumoraDocument reopened = openDocument(saved, "saved.xlsx", kXlsxContentType);
    EXPECT_EQ(hiddenText(reopened.sheets[0].hiddenRows), "2-1048575");
    EXPECT_LT(saved.size(), 4096u);
}

} // namespace
} // namespace sumora
