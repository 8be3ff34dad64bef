#include "engine/FunctionRegistry.h"

namespace sumora {

void FunctionRegistry::add(std::string_view name, FunctionImpl impl) {
    std::string key(name);
    entries_.insert_or_assign(key, FunctionEntry{key, impl});
}

const FunctionEntry* FunctionRegistry::find(std::string_view upperName) const {
    auto it = entries_.find(std::string(upperName));
    return it == entries_.end() ? nullptr : &it->second;
}

} // namespace sumora
