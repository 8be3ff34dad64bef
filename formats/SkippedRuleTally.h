#pragma once
// Conditional-format rules a reader left out, counted by reason, for the one
// sentence each sheet gives in the loss report. Only the first few reasons
// are named; later ones still count.
#include <cstdint>
#include <map>
#include <string>

namespace sumora {

class SkippedRuleTally {
  public:
    void add(const std::string& reason);
    int64_t count() const { return count_; }
    // "Conditional formats on 'S': 2 rules were left out: a (1); b (1)."; empty when none were.
    std::string sentence(const std::string& sheetName) const;
    void clear() {
        count_ = 0;
        byReason_.clear();
    }

  private:
    static constexpr size_t kMaxNamedReasons = 8;
    int64_t count_ = 0;
    std::map<std::string, int64_t> byReason_;
};

} // namespace sumora
