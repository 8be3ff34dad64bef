// Conditional formats in ODS packages: what LibreOffice writes reads as rules,
// and saving as ODS leaves them out.
#include <gtest/gtest.h>

#include "formats/OdsFormat.h"
#include "formats/ZipArchive.h"
#include "tests/ConditionalFormatCases.h"
#include "tests/XlsxTestSupport.h"
#include "values/Log.h"

namespace sumora {
namespace {

constexpr std::string_view kNamespaces =
    "xmlns:office=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\" "
    "xmlns:style=\"urn:oasis:names:tc:opendocument:xmlns:style:1.0\" "
    "xmlns:table=\"urn:oasis:names:tc:opendocument:xmlns:table:1.0\" "
    "xmlns:fo=\"urn:oasis:names:tc:opendocument:xmlns:xsl-fo-compatible:1.0\" "
    "xmlns:calcext=\"urn:org:documentfoundation:names:experimental:calc:xmlns:calcext:1.0\"";

// A package whose one table holds `formats`, with the named style
// LibreOffice gives the first conditional format.
std::string libreOfficePackage(std::string_view formats) {
    ZipWriter zip;
    zip.add("mimetype", "application/vnd.oasis.opendocument.spreadsheet", Compression::store);
    zip.add("styles.xml", "<office:document-styles " + std::string(kNamespaces) +
                              "><office:styles><style:style style:name=\"ConditionalStyle_5f_1\" "
                              "style:display-name=\"ConditionalStyle_1\" style:family=\"table-cell\">"
                              "<style:table-cell-properties fo:background-color=\"#ff0000\"/>"
                              "<style:text-properties fo:font-weight=\"bold\"/></style:style>"
                              "</office:styles></office:document-styles>");
    zip.add("content.xml", "<office:document-content " + std::string(kNamespaces) +
                               "><office:body><office:spreadsheet><table:table table:name=\"Sheet1\">"
                               "<table:table-row><table:table-cell/></table:table-row>"
                               "<calcext:conditional-formats>" +
                               std::string(formats) +
                               "</calcext:conditional-formats></table:table></office:spreadsheet>"
                               "</office:body></office:document-content>");
    return zip.finish();
}

// The ODS writer keeps cell content and character formatting only: rules
// read from any file are left out of what it writes.
TEST(OdsConditionalFormats, SavingAsOdsLeavesRulesOut) {
    std::vector<Sheet> sheets = {SumoraDocument::makeNewSheet("Rules")};
    sheets[0].conditionalFormats = test::everyRuleKind();
    test::Package saved(writeOds(sheets));
    EXPECT_EQ(saved["content.xml"].find("conditional-format"), std::string::npos);
    EXPECT_EQ(saved["styles.xml"].find("SumoraConditional"), std::string::npos);
    EXPECT_TRUE(readOdsSheets(writeOds(sheets))[0].conditionalFormats.empty());
}

// Conditional formats as LibreOffice writes them over B2:B9 ("-": left out on
// reading, for the reason given).
std::string conditionOver(std::string_view condition) {
    return R"(<calcext:conditional-format calcext:target-range-address="Sheet1.B2:Sheet1.B9">)" +
           std::string(condition) + "</calcext:conditional-format>";
}

std::string condition(std::string_view style, std::string_view value) {
    return conditionOver(R"(<calcext:condition calcext:apply-style-name=")" + std::string(style) +
                         R"(" calcext:value=")" + std::string(value) +
                         R"(" calcext:base-cell-address="Sheet1.B2"/>)");
}

TEST(OdsConditionalFormats, LibreOfficeRulesRead) {
    struct Row {
        std::string read, written, reason;
    };
    auto kept = [](std::string_view value) { return Row{condition("ConditionalStyle_1", value), "", ""}; };
    auto dropped = [](std::string read, std::string reason) {
        return Row{std::move(read), "-", std::move(reason)};
    };
    const std::vector<Row> table = {
        kept("top-percent(10)"),
        kept("bottom-percent(25)"),
        kept("top-elements(3)"),
        kept("&gt;=12"),
        kept("&lt;=5"),
        kept("!=12"),
        kept("between(1,3)"),
        kept("contains-text(&quot;a&quot;&quot;b&quot;)"),
        kept("formula-is(MOD(ROW();2)=0)"),
        kept("formula-is([.B2]&gt;[.$B$3])"),
        kept("duplicate"),
        kept("above-average"),
        kept("=&quot;apple&quot;"),
        kept("is-error"),
        kept("is-true-formula([.B2]&lt;0)"),
        {conditionOver(
             R"(<calcext:color-scale><calcext:color-scale-entry calcext:value="0" calcext:type="number" calcext:color="#ff0000"/>)"
             R"(<calcext:color-scale-entry calcext:value="40" calcext:type="percent" calcext:color="#ffff00"/>)"
             R"(<calcext:color-scale-entry calcext:value="=[.$B$3]*2" calcext:type="formula" calcext:color="#00ff00"/></calcext:color-scale>)"),
         "", ""},
        {conditionOver(
             R"(<calcext:data-bar calcext:min-length="10" calcext:max-length="90" calcext:negative-color="#ff0000" )"
             R"(calcext:axis-position="none" calcext:positive-color="#638ec6" calcext:axis-color="#000000">)"
             R"(<calcext:formatting-entry calcext:value="10" calcext:type="percentile"/>)"
             R"(<calcext:formatting-entry calcext:value="0" calcext:type="auto-maximum"/></calcext:data-bar>)"),
         "", ""},
        {conditionOver(
             R"(<calcext:icon-set calcext:icon-set-type="3Arrows"><calcext:formatting-entry calcext:show-value="false" )"
             R"(calcext:value="0" calcext:type="percent"/><calcext:formatting-entry calcext:value="2" calcext:type="number"/>)"
             R"(<calcext:formatting-entry calcext:value="=[.$B$3]" calcext:type="formula"/></calcext:icon-set>)"),
         "", ""},
        dropped(
            conditionOver(R"(<calcext:date-is calcext:date="today" calcext:style="ConditionalStyle_1"/>)"),
            "a date condition"),
        dropped(conditionOver(R"(<calcext:icon-set calcext:icon-set-type="3Arrows"/>)"),
                "an icon set of 3 icons with 0 thresholds"),
        dropped(conditionOver(R"(<calcext:icon-set calcext:icon-set-type="3Smilies"/>)"),
                "icon set '3Smilies'"),
        dropped(condition("ConditionalStyle_1", "formula-is(SUM((()"), "an expression that does not parse"),
        dropped(condition("ConditionalStyle_1", "later-than(1)"), "rule type 'later-than'"),
    };
    for (const Row& row : table) {
        std::vector<std::string> droppedOnOpen;
        LogCapture log;
        std::vector<Sheet> sheets = readOdsSheets(libreOfficePackage(row.read), &droppedOnOpen);
        ASSERT_EQ(sheets.size(), 1u);
        if (row.written == "-") {
            EXPECT_TRUE(sheets[0].conditionalFormats.empty()) << row.read;
            ASSERT_EQ(droppedOnOpen.size(), 1u) << row.read;
            EXPECT_NE(droppedOnOpen[0].find(row.reason), std::string::npos) << droppedOnOpen[0];
            EXPECT_TRUE(log.contains(droppedOnOpen[0]));
            continue;
        }
        EXPECT_TRUE(droppedOnOpen.empty()) << row.read;
        ASSERT_EQ(sheets[0].conditionalFormats.size(), 1u) << row.read;
        const ConditionalFormatRule& rule = sheets[0].conditionalFormats[0];
        if (std::holds_alternative<rule::TextContains>(rule.ruleType)) {
            EXPECT_EQ(rule.format, (ConditionalFormat{"FF0000", std::nullopt, true, std::nullopt}));
        }
    }
}

} // namespace
} // namespace sumora
