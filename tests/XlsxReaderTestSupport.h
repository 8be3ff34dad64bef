#pragma once
// Small XLSX packages written by hand for the reader's tests: a worksheet's
// markup, the shared parts, and a package builder that writes the workbook
// and its relationships from the sheets added.
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/ColumnLetters.h"
#include "formats/DocumentIO.h"
#include "formats/FileErrors.h"
#include "formats/XlsxFormat.h"
#include "formats/ZipArchive.h"

namespace sumora::xlsxtest {

constexpr std::string_view kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
constexpr std::string_view kRelationships =
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
constexpr std::string_view kPackageRelationships =
    "http://schemas.openxmlformats.org/package/2006/relationships";

inline std::string worksheet(std::string_view rows, std::string_view before = "",
                             std::string_view after = "") {
    return "<worksheet xmlns=\"" + std::string(kMain) + "\" xmlns:r=\"" + std::string(kRelationships) +
           "\">" + std::string(before) + "<sheetData>" + std::string(rows) + "</sheetData>" +
           std::string(after) + "</worksheet>";
}

// A package built from parts; the workbook, its relationships and the
// package relationships are written from the sheets added.
class TestPackage {
  public:
    explicit TestPackage(std::string sheetXml = worksheet("")) { addSheet("Sheet1", std::move(sheetXml)); }

    TestPackage& addSheet(std::string name, std::string xml, std::string attributes = "") {
        sheets_.push_back({std::move(name), std::move(attributes)});
        parts_["xl/worksheets/sheet" + std::to_string(sheets_.size()) + ".xml"] = std::move(xml);
        return *this;
    }
    TestPackage& part(const std::string& path, std::string content) {
        parts_[path] = std::move(content);
        return *this;
    }
    TestPackage& workbookTail(std::string xml) {
        workbookTail_ = std::move(xml);
        return *this;
    }

    std::string bytes() const {
        ZipWriter zip;
        zip.add(
            "[Content_Types].xml",
            R"(<?xml version="1.0"?><Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types"/>)");
        zip.add("_rels/.rels", "<Relationships xmlns=\"" + std::string(kPackageRelationships) +
                                   "\"><Relationship Id=\"rId1\" Type=\"" + std::string(kRelationships) +
                                   "/officeDocument\" Target=\"xl/workbook.xml\"/></Relationships>");
        std::string workbook = "<workbook xmlns=\"" + std::string(kMain) + "\" xmlns:r=\"" +
                               std::string(kRelationships) + "\"><sheets>";
        std::string rels = "<Relationships xmlns=\"" + std::string(kPackageRelationships) + "\">";
        for (size_t i = 0; i < sheets_.size(); ++i) {
            std::string n = std::to_string(i + 1);
            workbook += "<sheet name=\"" + sheets_[i].name + "\" sheetId=\"" + n + "\"" +
                        sheets_[i].attributes + " r:id=\"rId" + n + "\"/>";
            rels += "<Relationship Id=\"rId" + n + "\" Type=\"" + std::string(kRelationships) +
                    "/worksheet\" Target=\"worksheets/sheet" + n + ".xml\"/>";
        }
        for (auto [path, type] :
             {std::pair<std::string, std::string>{"xl/sharedStrings.xml", "sharedStrings"},
              {"xl/styles.xml", "styles"},
              {"xl/theme/theme1.xml", "theme"}})
            if (parts_.count(path))
                rels += "<Relationship Id=\"r" + type + "\" Type=\"" + std::string(kRelationships) + "/" +
                        type + "\" Target=\"" + path.substr(3) + "\"/>";
        workbook += "</sheets>" + workbookTail_ + "</workbook>";
        rels += "</Relationships>";
        zip.add("xl/workbook.xml", workbook);
        zip.add("xl/_rels/workbook.xml.rels", rels);
        for (const auto& [path, content] : parts_)
            zip.add(path, content);
        return zip.finish();
    }

    SumoraDocument open() const { return openDocument(bytes(), "book.xlsx", kXlsxContentType); }

  private:
    struct SheetInfo {
        std::string name, attributes;
    };
    std::vector<SheetInfo> sheets_;
    std::map<std::string, std::string> parts_;
    std::string workbookTail_;
};

inline std::string sharedStrings(std::string_view items) {
    return "<sst xmlns=\"" + std::string(kMain) + "\">" + std::string(items) + "</sst>";
}

inline std::string styles(std::string_view body) {
    return "<styleSheet xmlns=\"" + std::string(kMain) + "\">" + std::string(body) + "</styleSheet>";
}

inline const Cell& at(const Sheet& sheet, std::string_view address) {
    auto p = parseCellAddress(address);
    return sheet.cell(p->row, p->col);
}

inline std::string openMessage(const std::optional<std::string>& contents) {
    try {
        openDocument(contents, "book.xlsx", kXlsxContentType);
    } catch (const FileReadError& e) {
        return e.what();
    }
    return "(opened)";
}

} // namespace sumora::xlsxtest
