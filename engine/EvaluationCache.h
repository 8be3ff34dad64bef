#pragma once
// A window in which function families may cache what they read (the lookup
// tables' hash indexes). Whoever opens a scope — the recalculation driver,
// for one pass — promises that until it closes, cells change only where it
// reports them with cellWritten, and that every resolver used inside lives
// until it closes. Outside a scope nothing is cached, which is always correct.
// The caches themselves live with the function families that keep them; they
// subscribe here to hear of writes and of the outermost scope closing.
#include <cstdint>

#include "document/CellPosition.h"

namespace sumora {

class EvaluationCacheScope {
  public:
    EvaluationCacheScope();
    ~EvaluationCacheScope();
    EvaluationCacheScope(const EvaluationCacheScope&) = delete;
    EvaluationCacheScope& operator=(const EvaluationCacheScope&) = delete;

    // Forgets every cached table containing the cell, on whichever sheet.
    static void cellWritten(CellPosition at);
    // Forgets everything cached (after writes too many to report one by one).
    static void clear();
    static bool isOpen();
};

// A cache kept for the duration of a scope. Listeners are per thread, as
// scopes are.
class EvaluationCacheListener {
  public:
    virtual void cellWritten(CellPosition at) = 0;
    // Everything cached must go: the outermost scope closed or clear() was called.
    virtual void clear() = 0;

  protected:
    ~EvaluationCacheListener() = default;
};

// Subscribes a listener on the calling thread until it unsubscribes.
void addEvaluationCacheListener(EvaluationCacheListener& listener);
void removeEvaluationCacheListener(EvaluationCacheListener& listener);

} // namespace sumora
