// Conditional formats in XLSX packages: what the writer saves reads back as
// the same rules, and what other producers write reads as far as the model
// has cases for it.
#include <gtest/gtest.h>

#include <sstream>

#include "document/SumoraDocument.h"
#include "formats/XlsxConditionalFormats.h"
#include "formats/XlsxFormat.h"
#include "tests/ConditionalFormatCases.h"
#include "tests/XlsxReaderTestSupport.h"
#include "tests/XlsxTestSupport.h"
#include "values/Log.h"

namespace sumora {
namespace {

using namespace xlsxtest;
using test::everyRuleKind;
using test::makeRule;

std::string describe(const std::vector<ConditionalFormatRule>& rules) {
    std::ostringstream out;
    for (const ConditionalFormatRule& r : rules) {
        const ConditionalFormat& f = r.format;
        out << "\n  case " << r.ruleType.index() << " at " << r.startCol << "," << r.startRow << ":"
            << r.endCol << "," << r.endRow << " fill=" << f.fillColor.value_or("-")
            << " font=" << f.fontColor.value_or("-") << " bold=" << (f.isBold ? (*f.isBold ? "1" : "0") : "-")
            << " italic=" << (f.isItalic ? (*f.isItalic ? "1" : "0") : "-");
    }
    return out.str();
}

TEST(XlsxConditionalFormats, EveryRuleTypeSurvivesSavingAndReopening) {
    const std::vector<ConditionalFormatRule> cases = everyRuleKind();
    ASSERT_EQ(cases.size(), std::variant_size_v<ConditionalRuleType>);

    // One sheet per case, and a last one holding them all in their order.
    std::vector<Sheet> sheets;
    for (size_t i = 0; i < cases.size(); ++i) {
        sheets.push_back(SumoraDocument::makeNewSheet("Case " + std::to_string(i)));
        sheets.back().conditionalFormats = {cases[i]};
    }
    sheets.push_back(SumoraDocument::makeNewSheet("All"));
    sheets.back().conditionalFormats = cases;

    Log::setEnabled(false);
    SumoraDocument back = readXlsxDocument(writeXlsx(sheets));
    Log::setEnabled(true);
    ASSERT_EQ(back.sheets.size(), sheets.size());
    for (size_t i = 0; i < sheets.size(); ++i) {
        const auto& got = back.sheets[i].conditionalFormats;
        const auto& expected = sheets[i].conditionalFormats;
        EXPECT_EQ(got, expected) << sheets[i].name << "\n read:" << describe(got)
                                 << "\n saved:" << describe(expected);
    }
}

TEST(XlsxConditionalFormats, ReadsRulesAsOtherProducersWriteThem) {
    std::string stylesXml = styles(
        "<dxfs count=\"4\">"
        // The fill in the background colour, beside the system foreground.
        "<dxf><font><b/><color rgb=\"FF9C0006\"/></font><fill><patternFill patternType=\"solid\">"
        "<fgColor indexed=\"64\"/><bgColor rgb=\"FFFFC7CE\"/></patternFill></fill></dxf>"
        // A theme colour; a border's colour is no font colour.
        "<dxf><font><i val=\"0\"/><color theme=\"1\"/></font>"
        "<border><left style=\"thin\"><color rgb=\"FF00FF00\"/></left></border></dxf>"
        // Only the foreground named, from the legacy palette.
        "<dxf><fill><patternFill patternType=\"solid\"><fgColor indexed=\"10\"/></patternFill></fill></dxf>"
        "<dxf><fill><patternFill patternType=\"none\"><bgColor rgb=\"FF123456\"/></patternFill></fill></dxf>"
        "</dxfs>"
        // The extension list's own records come after the ones the rules name.
        "<extLst><ext uri=\"{46F421CA-312F-682f-3DD2-61675219B42D}\" "
        "xmlns:x14=\"http://schemas.microsoft.com/office/spreadsheetml/2009/9/main\"><x14:dxfs count=\"1\">"
        "<dxf><font><color rgb=\"FFABCDEF\"/></font></dxf></x14:dxfs></ext></extLst>");
    std::string rules =
        R"(<conditionalFormatting sqref="A1:A5 C5:C1">)"
        R"(<cfRule type="cellIs" dxfId="0" priority="3" operator="between"><formula>10</formula><formula>20</formula></cfRule>)"
        R"(<cfRule type="expression" dxfId="1" priority="1"><formula>MOD(ROW(),2)=0</formula></cfRule>)"
        R"(</conditionalFormatting>)"
        R"(<conditionalFormatting sqref="B2">)"
        R"(<cfRule type="containsText" dxfId="1" priority="2" operator="containsText" text="ok">)"
        R"(<formula>NOT(ISERROR(SEARCH("ok",B2)))</formula></cfRule>)"
        R"(<cfRule type="cellIs" dxfId="0" priority="4" operator="greaterThanOrEqual"><formula>5</formula></cfRule>)"
        R"(<cfRule type="cellIs" dxfId="0" priority="5" operator="equal"><formula>"Yes"</formula></cfRule>)"
        R"(<cfRule type="top10" dxfId="2" priority="6" percent="1" rank="10"/>)"
        R"(<cfRule type="aboveAverage" dxfId="2" priority="0" aboveAverage="0"/>)"
        R"(<cfRule type="dataBar" priority="7"><dataBar><cfvo type="min"/><cfvo type="max"/><color theme="4"/>)"
        R"(</dataBar><extLst><ext uri="{B025F937-C7B1-47D3-B67F-A62EFF666E3E}" )"
        R"(xmlns:x14="http://schemas.microsoft.com/office/spreadsheetml/2009/9/main">)"
        R"(<x14:id>{00000000-0000-0000-0000-000000000001}</x14:id></ext></extLst></cfRule>)"
        R"(<cfRule type="colorScale" priority="8"><colorScale><cfvo type="min"/><cfvo type="percentile" val="50"/>)"
        R"(<cfvo type="max"/><color rgb="FFF8696B"/><color rgb="FFFFEB84"/><color rgb="FF63BE7B"/></colorScale></cfRule>)"
        R"(<cfRule type="uniqueValues" dxfId="4" priority="9"/>)"
        R"(<cfRule type="duplicateValues" dxfId="3" priority="10"/>)"
        R"(</conditionalFormatting>)"
        // The same bar again, refined in the extension list: no second rule.
        R"(<extLst><ext uri="{78C0D931-6437-407d-A8EE-F0AAD7539E65}" )"
        R"(xmlns:x14="http://schemas.microsoft.com/office/spreadsheetml/2009/9/main"><x14:conditionalFormattings>)"
        R"(<x14:conditionalFormatting xmlns:xm="http://schemas.microsoft.com/office/excel/2006/main">)"
        R"(<x14:cfRule type="dataBar" id="{00000000-0000-0000-0000-000000000001}"><x14:dataBar>)"
        R"(<x14:cfvo type="autoMin"/><x14:cfvo type="autoMax"/><x14:negativeFillColor rgb="FFFF0000"/>)"
        R"(</x14:dataBar></x14:cfRule><xm:sqref>B2</xm:sqref></x14:conditionalFormatting>)"
        R"(</x14:conditionalFormattings></ext></extLst>)";

    LogCapture log;
    SumoraDocument doc = TestPackage(worksheet("", "", rules)).part("xl/styles.xml", stylesXml).open();

    const ConditionalFormat dxf0{"FFC7CE", "9C0006", true, std::nullopt};
    const ConditionalFormat dxf1{std::nullopt, "000000", std::nullopt, false};
    const ConditionalFormat dxf2{"FF0000", std::nullopt, std::nullopt, std::nullopt};
    const std::vector<ConditionalFormatRule> expected = {
        makeRule(rule::BelowAverage{}, dxf2, 1, 1, 1, 1),
        makeRule(rule::Expression{"MOD(ROW(),2)=0"}, dxf1, 0, 0, 0, 4),
        makeRule(rule::Expression{"MOD(ROW(),2)=0"}, dxf1, 2, 0, 2, 4),
        makeRule(rule::TextContains{"ok"}, dxf1, 1, 1, 1, 1),
        makeRule(rule::Between{10, 20}, dxf0, 0, 0, 0, 4),
        makeRule(rule::Between{10, 20}, dxf0, 2, 0, 2, 4),
        makeRule(rule::GreaterOrEqual{5}, dxf0, 1, 1, 1, 1),
        makeRule(rule::Expression{"B2=(\"Yes\")"}, dxf0, 1, 1, 1, 1), // a text bound
        makeRule(rule::TopPercent{10}, dxf2, 1, 1, 1, 1),
        makeRule(rule::DataBar{"4F81BD"}, {}, 1, 1, 1, 1),
        makeRule(rule::ColorScale3{"F8696B", "FFEB84", "63BE7B"}, {}, 1, 1, 1, 1),
        makeRule(rule::UniqueValues{}, {}, 1, 1, 1, 1), // no such record in the main list
        makeRule(rule::DuplicateValues{}, {}, 1, 1, 1, 1),
    };
    const auto& got = doc.sheets[0].conditionalFormats;
    EXPECT_EQ(got, expected) << "read:" << describe(got);
    EXPECT_FALSE(log.contains("left out")) << ::testing::PrintToString(log.lines());
}

// Damaged rules and blocks are passed over without losing the sheet, and
// the number of rules stays bounded however many ranges a block names.
TEST(XlsxConditionalFormats, DamagedAndOversizedBlocksStayBounded) {
    std::string longNumber(5000, '1');
    std::string rules =
        R"(<conditionalFormatting sqref="ZZZZ1 A0 B3:"><cfRule type="uniqueValues" priority="1"/></conditionalFormatting>)"
        R"(<conditionalFormatting><cfRule type="uniqueValues" priority="1"/></conditionalFormatting>)"
        R"(<conditionalFormatting sqref="A1">)"
        R"(<cfRule type="cellIs" operator="greaterThan" priority="1"><formula>)" +
        longNumber +
        R"(</formula></cfRule>)"
        R"(<cfRule type="top10" rank="many" priority="2"/>)"
        R"(<cfRule type="top10" rank="0" priority="2"/>)"
        R"(<cfRule type="colorScale" priority="3"><colorScale><color rgb="FF000000"/><color rgb="FF111111"/>)"
        R"(<color rgb="FF222222"/><color rgb="FF333333"/></colorScale></cfRule>)"
        R"(<cfRule type="colorScale" priority="3"><colorScale><color auto="1"/><color rgb="FF111111"/></colorScale></cfRule>)"
        R"(<cfRule type="cellIs" operator="lessThan" dxfId="-1" priority="x"><formula>1E999</formula></cfRule>)"
        R"(<cfRule type="cellIs" operator="lessThan" dxfId="99999999999999999999"><formula> 4 </formula></cfRule>)"
        R"(<cfRule><cfRule type="isBlank"/></cfRule>)"
        R"(</conditionalFormatting>)"
        R"(<conditionalFormatting sqref=")";
    for (size_t i = 0; i <= xlsx::kMaxConditionalRules; ++i)
        rules += "D4 ";
    rules += R"("><cfRule type="containsBlanks" priority="4"/></conditionalFormatting>)";

    Log::setEnabled(false);
    SumoraDocument doc =
        TestPackage(worksheet(R"(<row r="1"><c r="A1"><v>7</v></c></row>)", "", rules)).open();
    Log::setEnabled(true);
    const Sheet& sheet = doc.sheets[0];
    EXPECT_EQ(at(sheet, "A1").value(), "7");
    const auto& got = sheet.conditionalFormats;
    ASSERT_EQ(got.size(), xlsx::kMaxConditionalRules);
    // The rule without a priority comes after the numbered ones.
    EXPECT_EQ(got.front(), makeRule(rule::IsBlank{}, {}, 3, 3, 3, 3)) << describe({got.front()});
    EXPECT_EQ(got.back(), makeRule(rule::LessThan{4}, {}, 0, 0, 0, 0)) << describe({got.back()});
}

// A rule as another producer wrote it over B2:B9, and as we write it back
// (empty: unchanged; "-": left out, for the reason given).
struct Spelling {
    const char* read;
    const char* written;
    const char* reason = "";
};

TEST(XlsxConditionalFormats, RulesReadAndWriteBackAsTheFormatSpellsThem) {
    const std::vector<Spelling> table = {
        {R"(<cfRule type="cellIs" operator="greaterThanOrEqual" priority="1"><formula>12</formula></cfRule>)",
         ""},
        {R"(<cfRule type="cellIs" operator="lessThanOrEqual" priority="1"><formula>-0.5</formula></cfRule>)",
         ""},
        {R"(<cfRule type="cellIs" operator="notEqual" priority="1"><formula>12</formula></cfRule>)", ""},
        {R"(<cfRule type="top10" percent="1" bottom="1" rank="25" priority="1"/>)",
         R"(<cfRule type="top10" rank="25" percent="1" bottom="1" priority="1"/>)"},
        {R"(<cfRule type="expression" priority="1"><formula>MOD(ROW(B2),2)=0</formula></cfRule>)", ""},
        // Bounds that are not numbers, and types that carry their test as a formula.
        {R"(<cfRule type="cellIs" operator="lessThan" priority="1"><formula>$A$1</formula></cfRule>)",
         R"(<cfRule type="expression" priority="1"><formula>B2&lt;($A$1)</formula></cfRule>)"},
        {R"(<cfRule type="containsErrors" priority="1"><formula>ISERROR(B2)</formula></cfRule>)",
         R"(<cfRule type="expression" priority="1"><formula>ISERROR(B2)</formula></cfRule>)"},
        {R"(<cfRule type="timePeriod" timePeriod="today" priority="1"><formula>FLOOR(B2,1)=TODAY()</formula></cfRule>)",
         R"(<cfRule type="expression" priority="1"><formula>FLOOR(B2,1)=TODAY()</formula></cfRule>)"},
        {R"(<cfRule type="iconSet" priority="1"><iconSet iconSet="3Arrows" showValue="0" reverse="1"><cfvo type="percent" val="0"/>)"
         R"(<cfvo type="percentile" val="33"/><cfvo type="num" val="67" gte="0"/></iconSet></cfRule>)",
         ""},
        {R"(<cfRule type="iconSet" priority="1"><iconSet><cfvo type="percent" val="0"/><cfvo type="percent" val="33"/>)"
         R"(<cfvo type="formula" val="$A$1"/></iconSet></cfRule>)",
         R"(<cfRule type="iconSet" priority="1"><iconSet iconSet="3TrafficLights1"><cfvo type="percent" val="0"/>)"
         R"(<cfvo type="percent" val="33"/><cfvo type="formula" val="$A$1"/></iconSet></cfRule>)"},
        {R"(<cfRule type="colorScale" priority="1"><colorScale><cfvo type="num" val="0"/><cfvo type="formula" val="$A$1"/>)"
         R"(<color rgb="FFFF0000"/><color rgb="FF00FF00"/></colorScale></cfRule>)",
         ""},
        {R"(<cfRule type="colorScale" priority="1"><colorScale><cfvo type="min"/><cfvo type="percentile" val="50"/>)"
         R"(<cfvo type="max"/><color rgb="FFFF0000"/><color rgb="FFFFFF00"/><color rgb="FF00FF00"/></colorScale></cfRule>)",
         ""},
        {R"(<cfRule type="dataBar" priority="1"><dataBar><cfvo type="percentile" val="10"/><cfvo type="max"/>)"
         R"(<color rgb="FF638EC6"/></dataBar></cfRule>)",
         ""},
        {R"(<cfRule type="iconSet" priority="1"><iconSet iconSet="3Arrows"></iconSet></cfRule>)", "-",
         "an icon set of 3 icons with 0 thresholds"},
        {R"(<cfRule type="iconSet" priority="1"><iconSet iconSet="3Stars"><cfvo type="percent" val="0"/>)"
         R"(<cfvo type="percent" val="33"/><cfvo type="percent" val="67"/></iconSet></cfRule>)",
         "-", "icon set '3Stars'"},
        {R"(<cfRule type="expression" priority="1"><formula>SUM(((</formula></cfRule>)", "-",
         "an expression that does not parse"},
        {R"(<cfRule type="mystery" priority="1"/>)", "-", "rule type 'mystery'"},
    };
    for (const Spelling& row : table) {
        const std::string block =
            std::string(R"(<conditionalFormatting sqref="B2:B9">)") + row.read + "</conditionalFormatting>";
        LogCapture log;
        SumoraDocument doc = TestPackage(worksheet("", "", block)).open();
        if (std::string_view(row.written) == "-") {
            EXPECT_TRUE(doc.sheets[0].conditionalFormats.empty()) << row.read;
            ASSERT_EQ(doc.droppedOnOpen.size(), 1u) << row.read;
            EXPECT_NE(doc.droppedOnOpen[0].find(row.reason), std::string::npos) << doc.droppedOnOpen[0];
            EXPECT_TRUE(log.contains(doc.droppedOnOpen[0])) << row.read;
            continue;
        }
        EXPECT_TRUE(doc.droppedOnOpen.empty()) << row.read;
        test::Package saved(writeXlsx(doc.sheets));
        const std::string& sheet = saved["xl/worksheets/sheet1.xml"];
        size_t from = sheet.find(R"(<conditionalFormatting sqref="B2:B9">)");
        size_t to = sheet.find("</conditionalFormatting>", from);
        ASSERT_NE(to, std::string::npos) << row.read;
        from += std::string_view(R"(<conditionalFormatting sqref="B2:B9">)").size();
        EXPECT_EQ(sheet.substr(from, to - from), *row.written ? row.written : row.read);
    }
}

} // namespace
} // namespace sumora
