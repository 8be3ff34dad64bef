#pragma once
// Conditional formats of a worksheet, read as the stream delivers them: each
// `conditionalFormatting` block names its ranges, each `cfRule` inside it a
// rule and, through `dxfId`, the style sheet's differential format it
// applies. Rules the model has no case for (expressions, icon sets, ranks in
// percent, comparisons it cannot state, bounds that are not plain numbers)
// are left out and counted.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/WorkbookRecords.h"
#include "formats/XlsxWorksheetReader.h"

namespace sumora {
class XmlAttributes;
}

namespace sumora::xlsx {

class ColorResolver;

// Rules kept per sheet at most; a hostile part could name millions.
inline constexpr size_t kMaxConditionalRules = 100000;

// What one cfRule element says, before it is understood.
struct ConditionalRuleElement {
    std::string type, op;
    std::optional<std::string> text;
    std::optional<int64_t> priority, dxfId, rank;
    bool bottom = false, percent = false, above = true, equalAverage = false, deviations = false;
    std::vector<std::string> formulas;
    std::vector<std::optional<std::string>> colors;
    bool damaged = false;
};

class ConditionalFormatReader {
  public:
    // Either may be null: rules then carry no format, and colours only
    // explicit ARGB values.
    ConditionalFormatReader(const std::vector<ConditionalFormat>* differentialFormats,
                            const ColorResolver* colors)
        : differentialFormats_(differentialFormats), colors_(colors) {}

    // From a `conditionalFormatting` start to its end, every element event of
    // the worksheet belongs here.
    bool inBlock() const { return depth_ > 0; }
    void startElement(std::string_view name, const XmlAttributes& attributes);
    void endElement(std::string_view name);
    void characters(std::string_view text);

    // The rules read, lowest priority number first (ties in file order):
    // the order in which they are evaluated.
    std::vector<ConditionalFormatRule> takeRules();
    // cfRule elements that gave no rule.
    int64_t skippedCount() const { return skipped_; }

  private:
    struct Ranked {
        int64_t priority;
        ConditionalFormatRule rule;
    };

    void beginBlock(const XmlAttributes& attributes);
    void beginRule(const XmlAttributes& attributes);
    void endRule();
    std::optional<ConditionalRuleType> ruleType(const ConditionalRuleElement& element) const;
    ConditionalFormat format(const ConditionalRuleElement& element) const;

    const std::vector<ConditionalFormat>* differentialFormats_;
    const ColorResolver* colors_;

    int depth_ = 0;       // elements open inside the block, itself included
    bool active_ = false; // the block has ranges of its own
    std::vector<CellBox> ranges_;
    std::optional<ConditionalRuleElement> rule_;
    bool inFormula_ = false, inScale_ = false;
    std::string formula_;

    std::vector<Ranked> rules_;
    int64_t skipped_ = 0;
};

} // namespace sumora::xlsx
