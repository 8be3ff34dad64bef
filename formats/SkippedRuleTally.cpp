#include "formats/SkippedRuleTally.h"

namespace sumora {

void SkippedRuleTally::add(const std::string& reason) {
    ++count_;
    if (byReason_.size() < kMaxNamedReasons || byReason_.count(reason)) ++byReason_[reason];
}

std::string SkippedRuleTally::sentence(const std::string& sheetName) const {
    if (count_ == 0) return {};
    std::string out = "Conditional formats on '" + sheetName + "': " + std::to_string(count_) +
                      (count_ == 1 ? " rule was" : " rules were") + " left out: ";
    bool first = true;
    for (const auto& [reason, count] : byReason_) {
        out += first ? "" : "; ";
        first = false;
        out += reason + " (" + std::to_string(count) + ")";
    }
    return out + ".";
}

} // namespace sumora
