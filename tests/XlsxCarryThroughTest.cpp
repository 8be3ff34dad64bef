// Parts of an XLSX package the model does not describe survive an
// XLSX → XLSX save with their links, follow their sheet through renames and
// moves, go when it is deleted; damaged charts and drawings cost only
// themselves. The package is our own writer's, with parts added as another
// application would write them.
#include <gtest/gtest.h>

#include <optional>

#include "XlsxTestSupport.h"
#include "formats/SaveLosses.h"
#include "formats/XlsxFormat.h"
#include "values/Log.h"

namespace sumora {
namespace {

using test::occurrences;
using test::Package;

// The parts in order with some replaced (a value), removed (nullopt) or added.
std::string edited(const Package& package, const std::map<std::string, std::optional<std::string>>& changes) {
    ZipWriter zip;
    for (const std::string& path : package.paths) {
        auto change = changes.find(path);
        if (change == changes.end())
            zip.add(path, package[path]);
        else if (change->second)
            zip.add(path, *change->second);
    }
    for (const auto& [path, bytes] : changes)
        if (!package.has(path) && bytes) zip.add(path, *bytes);
    return zip.finish();
}

std::string insertedBefore(std::string text, std::string_view marker, std::string_view addition) {
    size_t at = text.rfind(marker);
    EXPECT_NE(at, std::string::npos) << marker;
    if (at != std::string::npos) text.insert(at, addition);
    return text;
}

const std::string kPng("\x89PNG\r\n\x1a\n-pixels-", 17);
const std::string kRelationships = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";

SumoraDocument chartDocument() {
    SumoraDocument doc;
    Sheet& sheet = doc.sheets.front();
    sheet.name = "Data";
    test::put(sheet, "A1", "Month");
    test::put(sheet, "B1", "Sales");
    test::put(sheet, "A2", "Jan");
    test::put(sheet, "B2", "5");
    EmbeddedChart chart;
    chart.title = "Sales";
    chart.dataEndCol = 1, chart.dataEndRow = 1;
    chart.anchorCol = 3;
    sheet.charts.push_back(chart);
    return doc;
}

// A workbook with a chart the model holds, and beside it a picture on the
// same drawing, printer settings, a pivot table and its cache, and macros.
std::string richPackage() {
    Package plain(writeXlsx(chartDocument()));
    auto rel = [](std::string_view id, std::string_view type, std::string_view target) {
        return "<Relationship Id=\"" + std::string(id) + "\" Type=\"" + kRelationships + std::string(type) +
               "\" Target=\"" + std::string(target) + "\"/>";
    };
    std::string picture =
        "<xdr:oneCellAnchor><xdr:from><xdr:col>0</xdr:col><xdr:colOff>0</xdr:colOff><xdr:row>5</xdr:row>"
        "<xdr:rowOff>0</xdr:rowOff></xdr:from><xdr:ext cx=\"9525\" cy=\"9525\"/><xdr:pic><xdr:nvPicPr>"
        "<xdr:cNvPr id=\"9\" name=\"Logo\"/><xdr:cNvPicPr/></xdr:nvPicPr><xdr:blipFill>"
        "<a:blip xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\" "
        "r:embed=\"rId1\"/>"
        "<a:stretch><a:fillRect/></a:stretch></xdr:blipFill><xdr:spPr><a:prstGeom prst=\"rect\"/></xdr:spPr>"
        "</xdr:pic><xdr:clientData/></xdr:oneCellAnchor>";
    std::string overrides =
        "<Default Extension=\"png\" ContentType=\"image/png\"/>"
        "<Override PartName=\"/xl/pivotTables/pivotTable1.xml\" "
        "ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.pivotTable+xml\"/>"
        "<Override PartName=\"/xl/pivotCache/pivotCacheDefinition1.xml\" "
        "ContentType=\"application/"
        "vnd.openxmlformats-officedocument.spreadsheetml.pivotCacheDefinition+xml\"/>"
        "<Override PartName=\"/xl/vbaProject.bin\" ContentType=\"application/vnd.ms-office.vbaProject\"/>"
        "<Override PartName=\"/xl/printerSettings/printerSettings1.bin\" "
        "ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.printerSettings\"/>";
    std::string drawingRels = plain["xl/drawings/_rels/drawing1.xml.rels"];
    // The picture takes the id the chart has, as another writer may number them.
    std::string chartRel = rel("rId1", "chart", "../charts/chart1.xml");
    EXPECT_NE(drawingRels.find(chartRel), std::string::npos);
    drawingRels.replace(drawingRels.find(chartRel), chartRel.size(),
                        rel("rId7", "chart", "../charts/chart1.xml"));
    std::string drawing = plain["xl/drawings/drawing1.xml"];
    drawing.replace(drawing.find("r:id=\"rId1\""), 11, "r:id=\"rId7\"");
    return edited(
        plain,
        {{"[Content_Types].xml", insertedBefore(plain["[Content_Types].xml"], "</Types>", overrides)},
         {"xl/drawings/drawing1.xml", insertedBefore(drawing, "</xdr:wsDr>", picture)},
         {"xl/drawings/_rels/drawing1.xml.rels",
          insertedBefore(drawingRels, "</Relationships>", rel("rId1", "image", "../media/image1.png"))},
         {"xl/media/image1.png", kPng},
         {"xl/worksheets/sheet1.xml",
          insertedBefore(plain["xl/worksheets/sheet1.xml"], "<drawing", "<pageSetup r:id=\"rId5\"/>")},
         {"xl/worksheets/_rels/sheet1.xml.rels",
          insertedBefore(plain["xl/worksheets/_rels/sheet1.xml.rels"], "</Relationships>",
                         rel("rId5", "printerSettings", "../printerSettings/printerSettings1.bin") +
                             rel("rId6", "pivotTable", "/xl/pivotTables/pivotTable1.xml"))},
         {"xl/printerSettings/printerSettings1.bin", "printer"},
         {"xl/pivotTables/pivotTable1.xml", "<pivotTableDefinition name=\"P\" cacheId=\"1\"/>"},
         {"xl/pivotTables/_rels/pivotTable1.xml.rels",
          "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">" +
              rel("rId1", "pivotCacheDefinition", "../pivotCache/pivotCacheDefinition1.xml") +
              "</Relationships>"},
         {"xl/pivotCache/pivotCacheDefinition1.xml", "<pivotCacheDefinition/>"},
         {"xl/vbaProject.bin", "macros"},
         {"xl/workbook.xml",
          insertedBefore(plain["xl/workbook.xml"], "</workbook>",
                         "<pivotCaches><pivotCache cacheId=\"1\" r:id=\"rId9\"/></pivotCaches>")},
         {"xl/_rels/workbook.xml.rels",
          insertedBefore(plain["xl/_rels/workbook.xml.rels"], "</Relationships>",
                         rel("rId9", "pivotCacheDefinition", "pivotCache/pivotCacheDefinition1.xml") +
                             rel("rId10", "vbaProject", "vbaProject.bin"))}});
}

// The part a relationship of `from` with this id leads to ("" when none).
std::string target(const Package& package, const std::string& relsPath, const std::string& id) {
    const std::string& rels = package[relsPath];
    size_t at = rels.find("Id=\"" + id + "\"");
    if (at == std::string::npos) return "";
    size_t t = rels.find("Target=\"", at) + 8;
    return rels.substr(t, rels.find('"', t) - t);
}

std::string attribute(const std::string& xml, const std::string& element, const std::string& name) {
    size_t at = xml.find("<" + element + " ");
    if (at == std::string::npos) return "";
    size_t v = xml.find(name + "=\"", at);
    if (v == std::string::npos) return "";
    v += name.size() + 2;
    return xml.substr(v, xml.find('"', v) - v);
}

void expectCarried(const Package& saved, int sheet) {
    std::string n = std::to_string(sheet);
    std::string sheetXml = saved["xl/worksheets/sheet" + n + ".xml"];
    std::string sheetRels = "xl/worksheets/_rels/sheet" + n + ".xml.rels";
    EXPECT_EQ(target(saved, sheetRels, attribute(sheetXml, "pageSetup", "r:id")),
              "../printerSettings/printerSettings1.bin");
    EXPECT_EQ(saved["xl/printerSettings/printerSettings1.bin"], "printer");
    EXPECT_NE(saved[sheetRels].find("../pivotTables/pivotTable1.xml"), std::string::npos);
    EXPECT_EQ(target(saved, "xl/pivotTables/_rels/pivotTable1.xml.rels", "rId1"),
              "../pivotCache/pivotCacheDefinition1.xml");
    // One drawing holds the model's chart, written anew, and the picture.
    std::string drawingPath = "xl/drawings/drawing" + n + ".xml";
    std::string drawingRels = "xl/drawings/_rels/drawing" + n + ".xml.rels";
    const std::string& drawing = saved[drawingPath];
    EXPECT_EQ(occurrences(drawing, "<c:chart "), 1u);
    EXPECT_EQ(occurrences(drawing, "<xdr:pic>"), 1u);
    EXPECT_EQ(target(saved, drawingRels, attribute(drawing, "a:blip", "r:embed")), "../media/image1.png");
    EXPECT_EQ(target(saved, drawingRels, attribute(drawing, "c:chart", "r:id")), "../charts/chart1.xml");
    EXPECT_EQ(saved["xl/media/image1.png"], kPng);
    EXPECT_NE(
        saved["[Content_Types].xml"].find("PartName=\"/xl/media/image1.png\" ContentType=\"image/png\""),
        std::string::npos);
    for (const auto& [path, bytes] : saved.parts) {
        if (path.ends_with(".xml") || path.ends_with(".rels")) {
            EXPECT_NO_THROW(test::parseXml(bytes)) << path;
        }
    }
}

void expectWorkbookParts(const Package& saved) {
    std::string cache = attribute(saved["xl/workbook.xml"], "pivotCache", "r:id");
    EXPECT_EQ(target(saved, "xl/_rels/workbook.xml.rels", cache), "pivotCache/pivotCacheDefinition1.xml");
    EXPECT_EQ(saved["xl/vbaProject.bin"], "macros");
    EXPECT_NE(saved["[Content_Types].xml"].find("/xl/vbaProject.bin"), std::string::npos);
}

TEST(XlsxCarryThrough, PartsTheModelDoesNotHoldAreSavedWithTheirLinks) {
    SumoraDocument doc = readXlsxDocument(richPackage());
    ASSERT_EQ(doc.sheets.front().charts.size(), 1u);
    EXPECT_EQ(doc.sheets.front().charts.front().title, "Sales");
    EXPECT_TRUE(doc.droppedOnOpen.empty());
    Package saved(writeXlsx(doc));
    expectCarried(saved, 1);
    expectWorkbookParts(saved);

    // Opened and saved again, nothing is added or lost.
    Package again(writeXlsx(readXlsxDocument(writeXlsx(doc))));
    EXPECT_EQ(again.paths.size(), saved.paths.size());
    expectCarried(again, 1);
}

TEST(XlsxCarryThrough, PartsFollowTheirSheetAndGoWithIt) {
    SumoraDocument doc = readXlsxDocument(richPackage());
    doc.sheets.front().name = "Renamed";
    doc.sheets.insert(doc.sheets.begin(), SumoraDocument::makeNewSheet("First"));
    Package moved(writeXlsx(doc));
    expectCarried(moved, 2);
    EXPECT_EQ(moved["xl/worksheets/sheet1.xml"].find("pageSetup"), std::string::npos);

    // Without the chart the picture keeps the drawing to itself.
    doc.sheets[1].charts.clear();
    Package pictureOnly(writeXlsx(doc));
    EXPECT_EQ(occurrences(pictureOnly["xl/drawings/carried/drawing1.xml"], "<xdr:pic>"), 1u);
    EXPECT_EQ(target(pictureOnly, "xl/worksheets/_rels/sheet2.xml.rels",
                     attribute(pictureOnly["xl/worksheets/sheet2.xml"], "drawing", "r:id")),
              "../drawings/carried/drawing1.xml");

    doc.sheets.erase(doc.sheets.begin() + 1);
    Package deleted(writeXlsx(doc));
    for (const char* gone :
         {"xl/media/image1.png", "xl/pivotTables/pivotTable1.xml", "xl/printerSettings/printerSettings1.bin"})
        EXPECT_FALSE(deleted.has(gone)) << gone;
    expectWorkbookParts(deleted);
}

TEST(XlsxCarryThrough, DamagedChartsAndDrawingsCostOnlyThemselves) {
    const Package plain(richPackage());
    const std::string chart = "xl/charts/chart1.xml";
    const std::string drawing = "xl/drawings/drawing1.xml";
    std::string outside = plain[drawing];
    outside.replace(outside.find("<xdr:col>3</xdr:col>"), 20, "<xdr:col>99999</xdr:col>");
    struct Case {
        const char* name;
        std::map<std::string, std::optional<std::string>> changes;
        const char* sentence;
        bool pictureKept;
    };
    const Case cases[] = {
        {"chart part not XML", {{chart, "<c:chartSpace><c:chart>"}}, "could not be read", true},
        {"chart part missing", {{chart, std::nullopt}}, "does not hold", true},
        {"anchor outside the grid", {{drawing, outside}}, "outside the grid", true},
        {"drawing not XML", {{drawing, "<xdr:wsDr><oops"}}, "drawing of sheet", false},
        {"drawing missing", {{drawing, std::nullopt}}, "names a drawing", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        LogCapture log;
        SumoraDocument doc = readXlsxDocument(edited(plain, c.changes));
        EXPECT_EQ(doc.sheets.front().cell(1, 1).value(), "5");
        EXPECT_TRUE(doc.sheets.front().charts.empty());
        ASSERT_EQ(doc.droppedOnOpen.size(), 1u);
        EXPECT_NE(doc.droppedOnOpen.front().find(c.sentence), std::string::npos) << doc.droppedOnOpen.front();
        EXPECT_TRUE(log.contains("Skipped: " + doc.droppedOnOpen.front()));
        EXPECT_EQ(lossesOnSave(doc, FileType::xlsx), doc.droppedOnOpen); // said again before every save
        Package saved(writeXlsx(doc));
        EXPECT_EQ(saved.has("xl/media/image1.png"), c.pictureKept);
        EXPECT_TRUE(saved.has("xl/pivotTables/pivotTable1.xml"));
    }
}

} // namespace
} // namespace sumora
