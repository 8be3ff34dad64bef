#include "engine/RecalcProfiler.h"

#include <algorithm>

#include "engine/FunctionRegistry.h"

namespace sumora {

void RecalcProfiler::endFunction(const FunctionDeclaration* function, int64_t nanoseconds) {
    int64_t nested = childTime_.back();
    childTime_.pop_back();
    if (!childTime_.empty()) childTime_.back() += nanoseconds;
    Totals& t = functions_[function];
    ++t.calls;
    t.selfNanoseconds += std::max<int64_t>(0, nanoseconds - nested);
}

std::vector<RecalcProfiler::FunctionTiming> RecalcProfiler::functions() const {
    std::vector<FunctionTiming> out;
    out.reserve(functions_.size());
    for (const auto& [entry, totals] : functions_)
        out.push_back({entry ? std::string(entry->name) : std::string("?"), totals.calls, totals.selfNanoseconds});
    std::sort(out.begin(), out.end(), [](const FunctionTiming& a, const FunctionTiming& b) {
        return a.selfNanoseconds != b.selfNanoseconds ? a.selfNanoseconds > b.selfNanoseconds
                                                      : a.name < b.name;
    });
    return out;
}

int64_t RecalcProfiler::totalFormulaNanoseconds() const {
    int64_t total = 0;
    for (const FormulaTiming& f : formulas_)
        total += f.nanoseconds;
    return total;
}

} // namespace sumora
