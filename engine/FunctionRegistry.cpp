#include "engine/FunctionRegistry.h"

#include "values/Log.h"

namespace sumora {

void FunctionRegistry::insert(FunctionDeclaration declaration) {
    std::string key(declaration.name);
    auto [it, inserted] = entries_.insert_or_assign(key, declaration);
    // The declaration's name views the map's key, which outlives it.
    it->second.name = it->first;
    if (inserted) {
        order_.push_back(&it->second);
        return;
    }
    Log::info("function " + key + " is declared twice");
}

void FunctionRegistry::add(FunctionFamily family, std::span<const FunctionDeclaration> table) {
    for (FunctionDeclaration declaration : table) {
        declaration.family = family;
        insert(declaration);
    }
}

void FunctionRegistry::add(std::string_view name, FunctionImpl impl) {
    FunctionDeclaration declaration;
    declaration.name = name;
    declaration.impl = impl;
    insert(declaration);
}

const FunctionDeclaration* FunctionRegistry::find(std::string_view upperName) const {
    auto it = entries_.find(std::string(upperName));
    return it == entries_.end() ? nullptr : &it->second;
}

} // namespace sumora
