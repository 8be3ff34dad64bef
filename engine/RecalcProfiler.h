#pragma once
// Where a recalculation spends its time: each formula's evaluation and each
// function's own time (its arguments' calls excluded), with call counts.
// Recalculation takes an optional profiler; without one the only cost is a
// null check per formula and per function call.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace sumora {

struct FunctionDeclaration;

class RecalcProfiler {
  public:
    using Clock = std::chrono::steady_clock;

    struct FormulaTiming {
        size_t sheet = 0;
        int32_t col = 0, row = 0;
        int64_t nanoseconds = 0;
    };
    struct FunctionTiming {
        std::string name;
        int64_t calls = 0;
        int64_t selfNanoseconds = 0;
    };

    // Set by the calculator before each formula's evaluation.
    void setSheet(size_t sheet) { sheet_ = sheet; }
    void addFormula(int32_t col, int32_t row, int64_t nanoseconds) {
        formulas_.push_back({sheet_, col, row, nanoseconds});
    }

    // Brackets one function call; nested calls are taken out of the outer
    // call's own time.
    void beginFunction() { childTime_.push_back(0); }
    void endFunction(const FunctionDeclaration* function, int64_t nanoseconds);

    const std::vector<FormulaTiming>& formulas() const { return formulas_; }
    // Every function called, slowest own time first.
    std::vector<FunctionTiming> functions() const;
    // The sum of every formula's time.
    int64_t totalFormulaNanoseconds() const;

    static int64_t nanosecondsSince(Clock::time_point start) {
        return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - start).count();
    }

  private:
    struct Totals {
        int64_t calls = 0;
        int64_t selfNanoseconds = 0;
    };
    size_t sheet_ = 0;
    std::vector<FormulaTiming> formulas_;
    std::unordered_map<const FunctionDeclaration*, Totals> functions_;
    std::vector<int64_t> childTime_; // time spent in calls nested in each open call
};

} // namespace sumora
