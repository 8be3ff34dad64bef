#pragma once
// Conditional formats of an OpenDocument table, as the calc extension writes
// them after the table's rows: each `conditional-format` names its target
// ranges and holds conditions (a comparison, a keyword such as
// "top-percent(10)" or "formula-is(…)", each applying a named cell style),
// a colour scale, a data bar or an icon set. Each is turned into the form a
// worksheet's cfRule has and read through the same interpretation, so both
// formats keep and leave out the same things.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "document/WorkbookRecords.h"
#include "formats/SkippedRuleTally.h"
#include "formats/XlsxConditionalRuleTypes.h"

namespace sumora {
class XmlAttributes;
class ZipReader;
} // namespace sumora

namespace sumora::ods {

// What the named cell styles of the package's style part apply, by name and
// by display name (conditions name styles by either).
using ConditionalStyles = std::unordered_map<std::string, ConditionalFormat>;
ConditionalStyles readConditionalStyles(ZipReader& archive);

class ConditionalFormatCollector {
  public:
    void setStyles(const ConditionalStyles* styles) { styles_ = styles; }

    // From a `conditional-formats` element to its end, every element of the
    // table belongs here (local names).
    bool inBlock() const { return depth_ > 0; }
    void startElement(std::string_view name, const XmlAttributes& attributes);
    void endElement(std::string_view name);

    std::vector<ConditionalFormatRule> takeRules() { return std::move(rules_); }
    // One sentence naming what was left out on `sheetName`; empty when nothing
    // was. The tally starts again for the next sheet.
    std::string droppedSentence(const std::string& sheetName);

  private:
    void beginFormat(const XmlAttributes& a);
    void condition(const XmlAttributes& a);
    void entry(std::string_view name, const XmlAttributes& a);
    void finish(const xlsx::ConditionalRuleElement& element, const ConditionalFormat& format);
    void skip(const std::string& reason);

    const ConditionalStyles* styles_ = nullptr;
    int depth_ = 0;
    std::vector<CellArea> ranges_;
    std::optional<xlsx::ConditionalRuleElement> scale_; // colour scale, data bar or icon set being read
    std::vector<ConditionalFormatRule> rules_;
    SkippedRuleTally skipped_;
};

// "Sheet1.A1:Sheet1.B3 'My sheet'.$C$4": the ranges of a cell range address
// list, sheet names and "$" ignored; pieces that are no references skipped.
std::vector<CellArea> parseRangeList(std::string_view list, size_t limit);

} // namespace sumora::ods
