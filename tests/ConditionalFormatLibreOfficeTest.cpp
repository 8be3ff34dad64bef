// Which cells a rule marks, against LibreOffice: the table beside
// conditional_format_marks_generate.py lists, per cfRule over one column of
// values, the rows LibreOffice shows with the rule's fill. The same rule is
// read from a worksheet here and evaluated with formulas, as the grid does.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include "editing/ConditionalFormulas.h"
#include "tests/XlsxReaderTestSupport.h"
#include "values/Log.h"

namespace sumora {
namespace {

using namespace xlsxtest;

std::vector<std::string> split(const std::string& line) {
    std::vector<std::string> out;
    std::stringstream in(line);
    for (std::string field; std::getline(in, field, '\t');)
        out.push_back(field);
    if (!line.empty() && line.back() == '\t') out.emplace_back();
    return out;
}

std::string replaced(std::string text, std::string_view from, std::string_view to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

std::string valueCell(const std::string& ref, const std::string& text) {
    char* end = nullptr;
    std::strtod(text.c_str(), &end);
    if (!text.empty() && *end == '\0') return "<c r=\"" + ref + "\"><v>" + text + "</v></c>";
    return "<c r=\"" + ref + "\" t=\"inlineStr\"><is><t>" + text + "</t></is></c>";
}

TEST(ConditionalFormatsAgainstLibreOffice, RulesMarkTheCellsLibreOfficeMarks) {
    std::ifstream file(std::string(SUMORA_SOURCE_DIR) + "/tests/data/conditional_format_marks.tsv");
    ASSERT_TRUE(file) << "conditional_format_marks.tsv";
    // Where we decide otherwise: a share of the numbers that rounds down to
    // none still marks the best one, as desktop spreadsheets do.
    const std::map<std::string, std::string> ours = {
        {R"(<cfRule type="top10" percent="1" rank="3" dxfId="0" priority="1"/>)", "15"},
    };
    std::vector<std::string> values;
    int rules = 0;
    for (std::string line; std::getline(file, line);) {
        std::vector<std::string> fields = split(line);
        if (fields.size() > 1 && fields[0] == "# values") values.assign(fields.begin() + 1, fields.end());
        if (line.empty() || line[0] == '#') continue;
        ASSERT_EQ(fields.size(), 2u) << line;
        ASSERT_EQ(values.size(), 20u);
        std::string rows;
        for (size_t r = 0; r < values.size(); ++r) {
            std::string ref = "A" + std::to_string(r + 1);
            rows += "<row r=\"" + std::to_string(r + 1) + "\">" + valueCell(ref, values[r]) + "</row>";
        }
        const std::string rule = replaced(fields[0], "{c}", "A");
        Log::setEnabled(false);
        SumoraDocument doc =
            TestPackage(
                worksheet(rows, "",
                          "<conditionalFormatting sqref=\"A1:A20\">" + rule + "</conditionalFormatting>"))
                .part(
                    "xl/styles.xml",
                    styles(
                        R"(<dxfs count="1"><dxf><fill><patternFill><bgColor rgb="FFFF0000"/></patternFill></fill></dxf></dxfs>)"))
                .open();
        Log::setEnabled(true);
        ASSERT_EQ(doc.sheets[0].conditionalFormats.size(), 1u) << rule;
        std::string marked;
        for (int64_t r = 0; r < 20; ++r) {
            auto f = conditionalFormatAt(doc, 0, {0, r});
            if (!f || f->fillColor != "FF0000") continue;
            marked += (marked.empty() ? "" : ",") + std::to_string(r + 1);
        }
        auto decided = ours.find(fields[0]);
        EXPECT_EQ(marked, decided == ours.end() ? fields[1] : decided->second) << rule;
        ++rules;
    }
    EXPECT_GE(rules, 15);
}

} // namespace
} // namespace sumora
