// Interoperability with a real client of the format: LibreOffice reads what
// Sumora writes (and recalculates the formulas the same way), and Sumora
// reads what LibreOffice writes. Skipped when soffice is not installed
// (scripts/install-test-deps.sh installs it).
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

#include "TestSupport.h"
#include "engine/Recalculation.h"
#include "formats/DocumentIO.h"
#include "formats/OdsFormat.h"
#include "functions/BuiltinFunctions.h"

namespace sumora {
namespace {

namespace fs = std::filesystem;

bool haveSoffice() {
    return std::system("command -v soffice >/dev/null 2>&1") == 0;
}

class OdsInterop : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!haveSoffice()) GTEST_SKIP() << "soffice is not installed";
        dir_ = fs::temp_directory_path() / ("sumora-ods-interop-" + std::to_string(getpid()));
        fs::create_directories(dir_);
    }
    void TearDown() override {
        std::error_code ec;
        if (!dir_.empty()) fs::remove_all(dir_, ec);
    }

    // Runs LibreOffice without a window, on a profile of this test's own
    // (tests may run in parallel; the profile goes with the test's folder).
    int soffice(const std::string& arguments) {
        std::string command = "timeout 240 soffice -env:UserInstallation=file://" +
                              (dir_ / "profile").string() + " --headless " + arguments + " >/dev/null 2>&1";
        return std::system(command.c_str());
    }

    // Converts `input` into `outdir` and returns the converted file's path.
    fs::path convert(const fs::path& input, const std::string& format, const std::string& extension,
                     fs::path outdir = {}) {
        if (outdir.empty()) outdir = dir_;
        fs::create_directories(outdir);
        EXPECT_EQ(soffice("--convert-to " + format + " --outdir '" + outdir.string() + "' '" +
                          input.string() + "'"),
                  0);
        return outdir / (input.stem().string() + "." + extension);
    }

    fs::path write(const std::string& name, const std::string& bytes) {
        fs::path path = dir_ / name;
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }

    static std::string read(const fs::path& path) {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream out;
        out << in.rdbuf();
        return out.str();
    }

    fs::path dir_;
};

// The fields of CSV text, quotes removed and doubled quotes undone.
std::vector<std::vector<std::string>> csvRows(const std::string& text) {
    std::vector<std::vector<std::string>> rows(1, std::vector<std::string>(1));
    bool quoted = false;
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (quoted) {
            if (c == '"' && i + 1 < text.size() && text[i + 1] == '"')
                rows.back().back() += text[++i];
            else if (c == '"')
                quoted = false;
            else
                rows.back().back() += c;
        } else if (c == '"') {
            quoted = true;
        } else if (c == ',') {
            rows.back().emplace_back();
        } else if (c == '\n') {
            rows.emplace_back(1);
        } else if (c != '\r') {
            rows.back().back() += c;
        }
    }
    return rows;
}

TEST_F(OdsInterop, LibreOfficeReadsOurValuesAndRecalculatesOurFormulas) {
    test::TestBook book;
    book.addSheet("Other Sheet");
    book.set("A1", "5").set("A2", "7").set("A3", "=A1*A2").set("A4", "=SUM(A1:A3)");
    book.set("B1", "hello, world")
        .set("B2", "=CONCAT(B1,\"!\")")
        .set("B3", "  two  spaces")
        .set("B4", "1.5e3");
    book.set("A1", "21", 1);
    book.set("C1", "='Other Sheet'!A1*2")
        .set("D1", "=IF(A1>3,\"big\",\"small\")")
        .set("E1", "=STDEV.S(A1:A2)*0");
    book.set("F1", "=AND(TRUE,A1>1)");
    book.set("H1", "3").set("H2", "4").set("I1", "=TRANSPOSE(H1:H2)"); // spills into J1
    // An ordinary formula beside another one's spilled block is no array formula.
    book.set("M1", "1").set("N1", "2").set("L1", "=TRANSPOSE(M1:N1)").set("K2", "=M1*10");
    recalculateDocument(book.doc, builtinFunctions());
    book.set("A5", "=A1+A2").computed("A5", "999"); // a stale result: LibreOffice computes its own

    fs::path csv = convert(write("ours.ods", writeOds(book.doc.sheets)), "csv", "csv");
    auto rows = csvRows(read(csv));
    ASSERT_GE(rows.size(), 5u);
    ASSERT_GE(rows[0].size(), 6u);
    EXPECT_EQ(rows[0][0], "5");
    EXPECT_EQ(rows[2][0], "35");
    EXPECT_EQ(rows[3][0], "47");
    EXPECT_EQ(rows[4][0], "12");
    EXPECT_EQ(rows[0][1], "hello, world");
    EXPECT_EQ(rows[1][1], "hello, world!");
    EXPECT_EQ(rows[2][1], "  two  spaces");
    EXPECT_EQ(rows[3][1], "1500");
    EXPECT_EQ(rows[0][2], "42");
    EXPECT_EQ(rows[0][3], "big");
    EXPECT_EQ(rows[0][4], "0");
    EXPECT_EQ(rows[0][5], "TRUE");
    ASSERT_GE(rows[0].size(), 10u);
    EXPECT_EQ(rows[0][8], "3");
    EXPECT_EQ(rows[0][9], "4");
    ASSERT_GE(rows[1].size(), 12u);
    EXPECT_EQ(rows[1][10], "10");
    EXPECT_EQ(rows[0][11], "1");
    EXPECT_EQ(rows[1][11], "2");
}

// A flat document in LibreOffice's own format; converting it makes
// LibreOffice write the package the way it writes every file.
constexpr std::string_view kFlatDocument = R"~(<?xml version="1.0" encoding="UTF-8"?>
<office:document xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0" xmlns:style="urn:oasis:names:tc:opendocument:xmlns:style:1.0" xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0" xmlns:fo="urn:oasis:names:tc:opendocument:xmlns:xsl-fo-compatible:1.0" xmlns:of="urn:oasis:names:tc:opendocument:xmlns:of:1.2" office:version="1.2" office:mimetype="application/vnd.oasis.opendocument.spreadsheet">
 <office:automatic-styles>
  <style:style style:name="co1" style:family="table-column"><style:table-column-properties style:column-width="5cm"/></style:style>
  <style:style style:name="ta2" style:family="table"><style:table-properties table:display="false"/></style:style>
  <style:style style:name="ceB" style:family="table-cell"><style:text-properties fo:font-weight="bold" fo:color="#c00000" fo:font-size="14pt"/><style:table-cell-properties fo:background-color="#ffff00"/><style:paragraph-properties fo:text-align="center"/></style:style>
  <style:style style:name="ceI" style:family="table-cell"><style:text-properties fo:font-style="italic" style:text-underline-style="solid" style:text-underline-width="auto"/><style:paragraph-properties fo:text-align="end"/></style:style>
 </office:automatic-styles>
 <office:body><office:spreadsheet>
  <table:table table:name="Data">
   <table:table-column/><table:table-column table:style-name="co1"/><table:table-column table:number-columns-repeated="3"/>
   <table:table-row><table:table-cell table:style-name="ceB" office:value-type="string"><text:p>Header</text:p></table:table-cell><table:table-cell table:number-columns-repeated="2"/><table:table-cell office:value-type="string" table:number-columns-spanned="2" table:number-rows-spanned="2"><text:p>merged</text:p></table:table-cell><table:covered-table-cell/></table:table-row>
   <table:table-row><table:table-cell office:value-type="float" office:value="10"/><table:table-cell office:value-type="float" office:value="20"/><table:table-cell table:formula="of:=[.A2]+[.B2]" office:value-type="float" office:value="0"/><table:table-cell table:number-columns-repeated="2"/></table:table-row>
   <table:table-row table:number-rows-repeated="3"><table:table-cell/></table:table-row>
   <table:table-row><table:table-cell table:style-name="ceI" table:formula="of:=SUM([.A1:.C2])*[$Hidden.A1]" office:value-type="float" office:value="0"/><table:table-cell office:value-type="string"><text:p>line one</text:p><text:p>line two</text:p></table:table-cell><table:table-cell office:value-type="percentage" office:value="0.25"><text:p>25%</text:p></table:table-cell><table:table-cell office:value-type="boolean" office:boolean-value="true"/></table:table-row>
  </table:table>
  <table:table table:name="Hidden" table:style-name="ta2"><table:table-row><table:table-cell office:value-type="float" office:value="2"/></table:table-row></table:table>
 </office:spreadsheet></office:body>
</office:document>
)~";

TEST_F(OdsInterop, WeReadWhatLibreOfficeWritesInTheTruePlaces) {
    fs::path ods = convert(write("made.fods", std::string(kFlatDocument)), "ods", "ods");
    SumoraDocument doc = openDocument(read(ods), "made.ods", kOdsContentType);
    recalculateDocument(doc, builtinFunctions());
    ASSERT_EQ(doc.sheets.size(), 2u);
    const Sheet& data = doc.sheets[0];
    EXPECT_EQ(data.name, "Data");
    EXPECT_FALSE(data.isHidden);
    EXPECT_EQ(data.rowCount(), 500);
    EXPECT_EQ(data.columnCount(), 26);

    const Cell& header = data.cell(0, 0);
    EXPECT_EQ(header.value(), "Header");
    EXPECT_TRUE(header.format().isBold);
    EXPECT_EQ(header.format().fontColor, "c00000");
    EXPECT_EQ(header.format().fontSize, 14.0);
    EXPECT_EQ(header.format().fillColor, "ffff00");
    EXPECT_EQ(header.format().alignment, CellAlignment::center);

    ASSERT_EQ(data.mergedRegions.size(), 1u);
    EXPECT_EQ(data.mergedRegions[0], (MergedRegion{3, 0, 4, 1}));
    EXPECT_EQ(data.cell(0, 3).value(), "merged");

    EXPECT_EQ(data.cell(1, 0).value(), "10");
    EXPECT_EQ(data.cell(1, 2).formula(), "A2+B2");
    EXPECT_EQ(data.cell(1, 2).displayValue(), "30");

    const Cell& total = data.cell(5, 0); // behind three repeated empty rows
    EXPECT_EQ(total.formula(), "SUM(A1:C2)*Hidden!A1");
    EXPECT_EQ(total.displayValue(), "120");
    EXPECT_TRUE(total.format().isItalic);
    EXPECT_TRUE(total.format().isUnderline);
    EXPECT_EQ(total.format().alignment, CellAlignment::right);
    EXPECT_EQ(data.cell(5, 1).value(), "line one\nline two");
    EXPECT_EQ(data.cell(5, 2).value(), "0.25");
    EXPECT_EQ(data.cell(5, 2).format().numberFormat, "0.00%"); // LibreOffice shows 25.00%
    EXPECT_EQ(data.cell(5, 3).value(), "TRUE");

    // 5 cm in pixels at 96 per inch; LibreOffice rounds to 1.9689 in.
    ASSERT_EQ(data.columnWidths.count(1), 1u);
    EXPECT_NEAR(data.columnWidths.at(1), 5.0 / 0.0264583, 0.1);

    EXPECT_TRUE(doc.sheets[1].isHidden);
    EXPECT_EQ(doc.sheets[1].cell(0, 0).value(), "2");
}

TEST_F(OdsInterop, LibreOfficeOpensOurFileAndWeOpenItsResave) {
    test::TestBook book;
    book.doc.sheets[0].name = "Bob's & Co";
    book.set("A1", "1").set("A2", "2").set("A3", "=SUM(A1:A2)*10");
    book.doc.sheets[0].cellForWriting(0, 1).setValue("styled");
    book.doc.sheets[0].cellForWriting(0, 1).updateFormat([](CellFormat& f) {
        f.isBold = true;
        f.fillColor = "00B050";
        f.alignment = CellAlignment::right;
    });
    book.doc.sheets[0].columnWidths[1] = 100;
    recalculateDocument(book.doc, builtinFunctions());

    // LibreOffice resaves our package in its own words.
    fs::path resaved = convert(write("ours.ods", writeOds(book.doc.sheets)), "ods", "ods", dir_ / "resaved");
    SumoraDocument doc = openDocument(read(resaved), "ours.ods", kOdsContentType);
    recalculateDocument(doc, builtinFunctions());
    const Sheet& s = doc.sheets.at(0);
    EXPECT_EQ(s.name, "Bob's & Co");
    EXPECT_EQ(s.cell(2, 0).formula(), "SUM(A1:A2)*10");
    EXPECT_EQ(s.cell(2, 0).displayValue(), "30");
    EXPECT_TRUE(s.cell(0, 1).format().isBold);
    EXPECT_EQ(s.cell(0, 1).format().fillColor.value_or(""), "00b050");
    EXPECT_EQ(s.cell(0, 1).format().alignment, CellAlignment::right);
    // Our writer's 100 is 26.458 cm, which LibreOffice keeps as a true length.
    ASSERT_EQ(s.columnWidths.count(1), 1u);
    EXPECT_NEAR(s.columnWidths.at(1), 1000, 1);
}

} // namespace
} // namespace sumora
