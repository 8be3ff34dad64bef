#pragma once
// A window in which function families may cache what they read (the lookup
// tables' hash indexes). Whoever opens a scope — the recalculation driver,
// for one pass — promises that until it closes, cells change only where it
// reports them with cellWritten, and that every resolver used inside lives
// until it closes. Outside a scope nothing is cached, which is always correct.
// Defined with the caches it governs, in functions/.
#include <cstdint>

namespace sumora {

class EvaluationCacheScope {
public:
    EvaluationCacheScope();
    ~EvaluationCacheScope();
    EvaluationCacheScope(const EvaluationCacheScope&) = delete;
    EvaluationCacheScope& operator=(const EvaluationCacheScope&) = delete;

    // Forgets every cached table containing the cell, on whichever sheet.
    static void cellWritten(int64_t col, int64_t row);
    // Forgets everything cached (after writes too many to report one by one).
    static void clear();
    static bool isOpen();
};

} // namespace sumora
