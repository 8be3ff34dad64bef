#pragma once
// Conditional formats of a worksheet, read as the stream delivers them: each
// `conditionalFormatting` block names its ranges, each `cfRule` inside it a
// rule and, through `dxfId`, the style sheet's differential format it
// applies. Rules the model has no case for are left out, and the reader
// says which in droppedSentence().
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/WorkbookRecords.h"
#include "formats/SkippedRuleTally.h"
#include "formats/XlsxConditionalRuleTypes.h"
#include "formats/XlsxWorksheetReader.h"

namespace sumora {
class XmlAttributes;
}

namespace sumora::xlsx {

class ColorResolver;

// Rules kept per sheet at most; a hostile part could name millions.
inline constexpr size_t kMaxConditionalRules = 100000;

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
    int64_t skippedCount() const { return skipped_.count(); }
    // One sentence naming what was left out on `sheetName`, by reason;
    // empty when nothing was.
    std::string droppedSentence(const std::string& sheetName) const { return skipped_.sentence(sheetName); }

  private:
    struct Ranked {
        int64_t priority;
        ConditionalFormatRule rule;
    };

    void beginBlock(const XmlAttributes& attributes);
    void beginRule(const XmlAttributes& attributes);
    void endRule();
    void skip(const std::string& reason);
    ConditionalFormat format(const ConditionalRuleElement& element) const;

    const std::vector<ConditionalFormat>* differentialFormats_;
    const ColorResolver* colors_;

    int depth_ = 0;       // elements open inside the block, itself included
    bool active_ = false; // the block has ranges of its own
    std::vector<CellArea> ranges_;
    std::optional<ConditionalRuleElement> rule_;
    bool inFormula_ = false, inScale_ = false;
    std::string formula_;

    std::vector<Ranked> rules_;
    SkippedRuleTally skipped_;
};

} // namespace sumora::xlsx
