#pragma once
// Conditional formats in an OpenDocument package, as the calc extension
// writes them: after a table's rows, one `calcext:conditional-format` per
// rule; conditions apply named cell styles, which the style part declares.
#include <string>
#include <string_view>
#include <vector>

#include "document/Sheet.h"

namespace sumora::ods {

// The named cell styles of the rules' formats, one per distinct format in
// the order the sheets first use them ("SumoraConditional1", …).
class ConditionalStyleNames {
  public:
    explicit ConditionalStyleNames(const std::vector<Sheet>& sheets);
    bool empty() const { return formats_.empty(); }
    std::string nameOf(const ConditionalFormat& format) const;
    // The `style:style` elements, for the style part's office:styles.
    void appendStyles(std::string& out) const;

  private:
    std::vector<ConditionalFormat> formats_;
};

// The style part: `fixedStyles` with the named styles added to its
// office:styles; unchanged when there are none.
std::string stylesWithConditionalStyles(std::string_view fixedStyles, const ConditionalStyleNames& names);

// `<calcext:conditional-formats>` for the sheet's rules; nothing without rules.
void appendConditionalFormats(std::string& out, const Sheet& sheet, const ConditionalStyleNames& names);

} // namespace sumora::ods
