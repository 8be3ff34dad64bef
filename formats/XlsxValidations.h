#pragma once
// Data validations of a worksheet. The worksheet reader hands over the
// `dataValidation` elements re-serialised from the XML stream, one element
// per rule with local names, escaped attribute values and formula texts,
// and no line breaks; the rules are then read from that markup with regular
// expressions. Re-serialising keeps every match inside one element (the
// non-greedy ".*?" never runs across two rules) and treats prefixed and
// strict-namespace markup like the usual one.
#include <string>
#include <string_view>
#include <vector>

#include "document/WorkbookRecords.h"

namespace sumora::xlsx {

// Appends `<dataValidation a="v" …>` + children + `</dataValidation>` to a
// markup buffer as the stream delivers the element.
class ValidationMarkup {
  public:
    void beginRule();
    void attribute(std::string_view localName, std::string_view value);
    // `formula1`, `formula2` or `sqref` (the extension list's form).
    void beginChild(std::string_view localName);
    void text(std::string_view text);
    void endChild();
    void endRule();

    const std::string& markup() const { return markup_; }
    bool inRule() const { return inRule_; }
    bool inChild() const { return !child_.empty(); }

  private:
    std::string markup_;
    std::string attributes_;
    std::string children_;
    std::string child_;
    std::string childText_;
    std::string sqref_;
    bool inRule_ = false;
};

// One rule per element and per range of its sqref (a space-separated list).
std::vector<DataValidationRule> parseDataValidations(std::string_view markup);

} // namespace sumora::xlsx
