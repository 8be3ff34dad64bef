// Workbooks written by other programs — openpyxl, XlsxWriter and
// LibreOffice, generated here when they are installed — come through with
// their values, formulas, styles, merges, names and sheet settings.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>

#include "document/ColumnLetters.h"
#include "values/Log.h"
#include "formats/DocumentIO.h"

namespace sumora {
namespace {

namespace fs = std::filesystem;

class ScratchFolder {
  public:
    ScratchFolder() {
        path_ = fs::temp_directory_path() / ("sumora-xlsx-interop-" + std::to_string(std::random_device{}()));
        fs::create_directories(path_);
    }
    ~ScratchFolder() {
        std::error_code ec;
        fs::remove_all(path_, ec);
    }
    fs::path file(const std::string& name) const { return path_ / name; }
    fs::path write(const std::string& name, const std::string& text) const {
        std::ofstream(file(name), std::ios::binary) << text;
        return file(name);
    }

  private:
    fs::path path_;
};

int run(const std::string& command) {
    return std::system((command + " >/dev/null 2>&1").c_str());
}

// A Python interpreter that has `module`, or "" (the Debian packages install
// into the system interpreter, which need not be the first python3 on PATH).
std::string pythonWith(const std::string& module) {
    for (const char* candidate : {"/usr/bin/python3", "python3"})
        if (run(std::string(candidate) + " -c 'import " + module + "'") == 0) return candidate;
    return {};
}

const Cell& at(const Sheet& sheet, std::string_view address) {
    auto p = parseCellAddress(address);
    return sheet.cell(p->row, p->col);
}

class QuietLog {
  public:
    QuietLog() : was_(Log::enabled()) { Log::setEnabled(false); }
    ~QuietLog() { Log::setEnabled(was_); }

  private:
    bool was_;
};

SumoraDocument generate(const std::string& module, const std::string& script) {
    std::string python = pythonWith(module);
    if (python.empty()) return SumoraDocument::empty();
    ScratchFolder folder;
    fs::path source = folder.write("make.py", script);
    fs::path book = folder.file("book.xlsx");
    if (run(python + " " + source.string() + " " + book.string()) != 0) {
        ADD_FAILURE() << module << " script failed";
        return SumoraDocument::empty();
    }
    QuietLog quiet;
    return openDocumentFile(book);
}

TEST(XlsxInterop, OpenpyxlWorkbookComesThrough) {
    const char* script = R"PY(
import sys
from openpyxl import Workbook
from openpyxl.comments import Comment
from openpyxl.styles import Alignment, Border, Font, PatternFill, Side
from openpyxl.workbook.defined_name import DefinedName
from openpyxl.worksheet.datavalidation import DataValidation

wb = Workbook()
ws = wb.active
ws.title = "Data"
ws["A1"] = "Name"; ws["B1"] = "Value"; ws["C1"] = "=SUM(B2:B3)"
ws["A2"] = "alpha"; ws["B2"] = 1.5
ws["A3"] = "beta"; ws["B3"] = "=B2*2"
ws["A4"] = True
ws["A1"].font = Font(bold=True, italic=True, color="FFFF0000", name="Arial", size=14)
ws["A1"].fill = PatternFill("solid", fgColor="FFFFFF00")
ws["A1"].border = Border(left=Side("thin"), bottom=Side("thick"))
ws["A1"].alignment = Alignment(horizontal="center", wrap_text=True)
ws["B2"].number_format = "0.00%"
ws.merge_cells("D1:E2")
ws.column_dimensions["A"].width = 20
ws.row_dimensions[1].height = 30
ws.freeze_panes = "B2"
ws.sheet_properties.tabColor = "FF0000"
ws["A2"].comment = Comment("checked", "me")
dv = DataValidation(type="list", formula1='"Yes,No,Maybe"')
ws.add_data_validation(dv)
dv.add("F1:F5")
wb.defined_names.append(DefinedName("Total", attr_text="Data!$C$1"))
hidden = wb.create_sheet("Hidden")
hidden.sheet_state = "hidden"
hidden["A1"] = "=Data!B2*3"
wb.save(sys.argv[1])
)PY";
    if (pythonWith("openpyxl").empty()) GTEST_SKIP() << "openpyxl is not installed";
    SumoraDocument doc = generate("openpyxl", script);
    ASSERT_EQ(doc.sheets.size(), 2u);
    const Sheet& s = doc.sheets[0];
    EXPECT_EQ(s.name, "Data");
    EXPECT_EQ(at(s, "A2").value(), "alpha");
    EXPECT_EQ(at(s, "B2").value(), "1.5");
    EXPECT_EQ(at(s, "A4").value(), "TRUE");
    EXPECT_EQ(at(s, "B3").formula(), "B2*2");
    EXPECT_EQ(at(s, "B3").displayValue(), "3");
    EXPECT_EQ(at(s, "C1").displayValue(), "4.5");
    EXPECT_EQ(doc.sheets[1].cell(0, 0).displayValue(), "4.5");

    const CellFormat& a1 = at(s, "A1").format();
    EXPECT_TRUE(a1.isBold && a1.isItalic);
    EXPECT_EQ(a1.fontName, "Arial");
    EXPECT_EQ(a1.fontSize, 14.0);
    EXPECT_EQ(a1.fontColor, "FF0000");
    EXPECT_EQ(a1.fillColor, "FFFF00");
    EXPECT_TRUE(a1.borderLeft && a1.borderThickBottom && !a1.borderTop);
    EXPECT_EQ(a1.alignment, CellAlignment::center);
    EXPECT_TRUE(a1.wrapText);
    EXPECT_EQ(at(s, "B2").format().numberFormat, "0.00%");
    EXPECT_EQ(at(s, "B2").format().numberFormatId, 10);

    ASSERT_EQ(s.mergedRegions.size(), 1u);
    EXPECT_EQ(s.mergedRegions[0], (MergedRegion{3, 0, 4, 1}));
    EXPECT_EQ(s.columnWidths.at(0), 145.0);
    EXPECT_EQ(s.rowHeights.at(0), 40.0);
    EXPECT_EQ(s.frozenRows, 1);
    EXPECT_EQ(s.frozenColumns, 1);
    EXPECT_EQ(s.tabColorHex, "FF0000");
    EXPECT_EQ(s.cellComments.at("A2").find("checked") != std::string::npos, true);
    ASSERT_EQ(s.dataValidations.size(), 1u);
    EXPECT_EQ(s.dataValidations[0].validationType, ValidationType(validation::List{{"Yes", "No", "Maybe"}}));
    EXPECT_TRUE(doc.sheets[1].isHidden);
    ASSERT_EQ(doc.namedRanges.size(), 1u);
    EXPECT_EQ(doc.namedRanges[0].name, "Total");
    EXPECT_EQ(doc.namedRanges[0].sheetName, "Data");
    EXPECT_EQ(std::tie(doc.namedRanges[0].startCol, doc.namedRanges[0].startRow), std::make_tuple(2, 0));
}

TEST(XlsxInterop, XlsxWriterWorkbookComesThrough) {
    const char* script = R"PY(
import sys
import xlsxwriter

wb = xlsxwriter.Workbook(sys.argv[1])
ws = wb.add_worksheet("Report")
bold = wb.add_format({"bold": True, "font_color": "#0000FF", "bg_color": "#00FF00", "num_format": "#,##0.00"})
date = wb.add_format({"num_format": 14})
ws.write_string("A1", "Item")
ws.write_number("B1", 1234.5, bold)
ws.write_number("B2", 0.25)
ws.write_formula("B3", "=B1+B2", None, 1234.75)
ws.write_formula("B4", '=IF(B3>1000,"big","small")', None, "big")
ws.write_array_formula("C1:C2", "{=B1:B2*2}", None, 2469)
ws.write_boolean("A5", False)
ws.write_number("A6", 45000, date)
ws.merge_range("D1:F1", "Merged title", bold)
ws.set_column("A:A", 30)
ws.freeze_panes(1, 0)
ws.set_tab_color("#00AA00")
ws.write_comment("A1", "first cell")
ws.data_validation("G1:G3", {"validate": "integer", "criteria": "between", "minimum": 1, "maximum": 10,
                              "error_type": "warning", "error_title": "Bad", "error_message": "1 to 10"})
wb.define_name("Amount", "=Report!$B$1")
other = wb.add_worksheet("Archive")
other.hide()
other.write("A1", "old")
wb.close()
)PY";
    if (pythonWith("xlsxwriter").empty()) GTEST_SKIP() << "XlsxWriter is not installed";
    SumoraDocument doc = generate("xlsxwriter", script);
    ASSERT_EQ(doc.sheets.size(), 2u);
    const Sheet& s = doc.sheets[0];
    EXPECT_EQ(at(s, "A1").value(), "Item");
    EXPECT_EQ(at(s, "B1").value(), "1234.5");
    EXPECT_EQ(at(s, "B3").formula(), "B1+B2");
    EXPECT_EQ(at(s, "B3").displayValue(), "1234.75");
    EXPECT_EQ(at(s, "B4").displayValue(), "big");
    EXPECT_EQ(at(s, "C1").formula(), "B1:B2*2");
    EXPECT_EQ(at(s, "A5").value(), "FALSE");
    EXPECT_EQ(at(s, "A6").format().numberFormat, "mm-dd-yy");

    const CellFormat& b1 = at(s, "B1").format();
    EXPECT_TRUE(b1.isBold);
    EXPECT_EQ(b1.fontColor, "0000FF");
    EXPECT_EQ(b1.fillColor, "00FF00");
    EXPECT_EQ(b1.numberFormat, "#,##0.00");
    EXPECT_EQ(at(s, "D1").value(), "Merged title");
    ASSERT_EQ(s.mergedRegions.size(), 1u);
    EXPECT_EQ(s.mergedRegions[0], (MergedRegion{3, 0, 5, 0}));
    EXPECT_EQ(s.columnWidths.at(0), 220.0); // 30 characters, stored with the cell padding as 30.71
    EXPECT_EQ(s.frozenRows, 1);
    EXPECT_EQ(s.frozenColumns, 0);
    EXPECT_EQ(s.tabColorHex, "00AA00");
    EXPECT_EQ(s.cellComments.at("A1"), "first cell");
    ASSERT_EQ(s.dataValidations.size(), 1u);
    const DataValidationRule& rule = s.dataValidations[0];
    EXPECT_EQ(rule.validationType, ValidationType(validation::WholeNumber{1, 10}));
    EXPECT_EQ(rule.errorStyle, ValidationErrorStyle::warning);
    EXPECT_EQ(rule.errorMessage, "1 to 10");
    EXPECT_TRUE(doc.sheets[1].isHidden);
    ASSERT_EQ(doc.namedRanges.size(), 1u);
    EXPECT_EQ(doc.namedRanges[0].name, "Amount");
    EXPECT_EQ(doc.namedRanges[0].sheetName, "Report");
}

// A flat OpenDocument spreadsheet converted to XLSX by LibreOffice.
const char* const kFlatOds = R"FODS(<?xml version="1.0" encoding="UTF-8"?>
<office:document xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0"
 xmlns:style="urn:oasis:names:tc:opendocument:xmlns:style:1.0"
 xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0"
 xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0"
 xmlns:fo="urn:oasis:names:tc:opendocument:xmlns:xsl-fo-compatible:1.0"
 xmlns:of="urn:oasis:names:tc:opendocument:xmlns:of:1.2"
 office:version="1.2" office:mimetype="application/vnd.oasis.opendocument.spreadsheet">
 <office:automatic-styles>
  <style:style style:name="bold" style:family="table-cell">
   <style:table-cell-properties fo:background-color="#ffcc00"/>
   <style:text-properties fo:font-weight="bold" fo:color="#c00000"/>
  </style:style>
 </office:automatic-styles>
 <office:body><office:spreadsheet>
  <table:table table:name="Values">
   <table:table-row>
    <table:table-cell office:value-type="float" office:value="1"><text:p>1</text:p></table:table-cell>
    <table:table-cell table:formula="of:=[.A1]*2" office:value-type="float" office:value="2"><text:p>2</text:p></table:table-cell>
    <table:table-cell table:style-name="bold" office:value-type="string" table:number-columns-spanned="2" table:number-rows-spanned="1"><text:p>Head</text:p></table:table-cell>
    <table:covered-table-cell/>
   </table:table-row>
   <table:table-row>
    <table:table-cell office:value-type="float" office:value="2.5"><text:p>2.5</text:p></table:table-cell>
    <table:table-cell table:formula="of:=[.A2]*2" office:value-type="float" office:value="5"><text:p>5</text:p></table:table-cell>
    <table:table-cell table:formula="of:=SUM([.B1:.B2])" office:value-type="float" office:value="7"><text:p>7</text:p></table:table-cell>
   </table:table-row>
  </table:table>
  <table:named-expressions>
   <table:named-range table:name="Base" table:base-cell-address="$Values.$A$1" table:cell-range-address="$Values.$A$1:.$A$2"/>
  </table:named-expressions>
 </office:spreadsheet></office:body>
</office:document>
)FODS";

TEST(XlsxInterop, LibreOfficeWorkbookComesThrough) {
    if (run("command -v soffice") != 0) GTEST_SKIP() << "LibreOffice is not installed";
    ScratchFolder folder;
    fs::path source = folder.write("book.fods", kFlatOds);
    std::string command =
        "timeout 180 soffice --headless -env:UserInstallation=file:///tmp/lo-sumora-xlsx-reader-" +
        std::to_string(::getpid()) +
        " "
        "--convert-to xlsx --outdir " +
        folder.file("").string() + " " + source.string();
    ASSERT_EQ(run(command), 0) << command;
    QuietLog quiet;
    SumoraDocument doc = openDocumentFile(folder.file("book.xlsx"));
    ASSERT_EQ(doc.sheets.size(), 1u);
    const Sheet& s = doc.sheets[0];
    EXPECT_EQ(s.name, "Values");
    EXPECT_EQ(at(s, "A2").value(), "2.5");
    EXPECT_EQ(at(s, "B1").formula(), "A1*2");
    EXPECT_EQ(at(s, "B2").displayValue(), "5");
    EXPECT_EQ(at(s, "C2").formula(), "SUM(B1:B2)");
    EXPECT_EQ(at(s, "C2").displayValue(), "7");
    EXPECT_EQ(at(s, "C1").value(), "Head");
    EXPECT_TRUE(at(s, "C1").format().isBold);
    EXPECT_EQ(at(s, "C1").format().fontColor, "C00000");
    EXPECT_EQ(at(s, "C1").format().fillColor, "FFCC00");
    ASSERT_EQ(s.mergedRegions.size(), 1u);
    EXPECT_EQ(s.mergedRegions[0], (MergedRegion{2, 0, 3, 0}));
    ASSERT_EQ(doc.namedRanges.size(), 1u);
    EXPECT_EQ(doc.namedRanges[0].name, "Base");
    EXPECT_EQ(doc.namedRanges[0].sheetName, "Values");
    EXPECT_EQ(std::tie(doc.namedRanges[0].startRow, doc.namedRanges[0].endRow), std::make_tuple(0, 1));
}

} // namespace
} // namespace sumora
