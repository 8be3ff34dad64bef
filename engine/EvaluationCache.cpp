#include "engine/EvaluationCache.h"

#include <vector>

namespace sumora {

namespace {

struct ScopeState {
    int openScopes = 0;
    std::vector<EvaluationCacheListener*> listeners;
};

ScopeState& state() {
    thread_local ScopeState s;
    return s;
}

} // namespace

EvaluationCacheScope::EvaluationCacheScope() {
    ++state().openScopes;
}

EvaluationCacheScope::~EvaluationCacheScope() {
    if (--state().openScopes == 0) clear();
}

void EvaluationCacheScope::cellWritten(CellPosition at) {
    for (EvaluationCacheListener* l : state().listeners)
        l->cellWritten(at);
}

void EvaluationCacheScope::clear() {
    for (EvaluationCacheListener* l : state().listeners)
        l->clear();
}

bool EvaluationCacheScope::isOpen() {
    return state().openScopes > 0;
}

void addEvaluationCacheListener(EvaluationCacheListener& listener) {
    state().listeners.push_back(&listener);
}

void removeEvaluationCacheListener(EvaluationCacheListener& listener) {
    std::erase(state().listeners, &listener);
}

} // namespace sumora
