#pragma once
// The name → implementation table of built-in functions. Built once; the
// parser resolves each call's entry when it parses, so evaluation never looks
// a name up. Each family registers its entries from its own source file.
#include <string>
#include <string_view>
#include <unordered_map>

#include "engine/FormulaValue.h"

namespace sumora {

class FunctionContext;
using FunctionImpl = FormulaValue (*)(FunctionContext&);

struct FunctionEntry {
    std::string name;
    FunctionImpl impl;
};

class FunctionRegistry {
public:
    // Registers (or replaces) a function under its upper-case name.
    void add(std::string_view name, FunctionImpl impl);
    const FunctionEntry* find(std::string_view upperName) const;
    size_t size() const { return entries_.size(); }

private:
    std::unordered_map<std::string, FunctionEntry> entries_;
};

// Family registration functions, one per source file in functions/.
void registerMathFunctions(FunctionRegistry&);
void registerStatisticalFunctions(FunctionRegistry&);
void registerTextFunctions(FunctionRegistry&);
void registerLookupFunctions(FunctionRegistry&);
void registerDateFunctions(FunctionRegistry&);
void registerFinancialFunctions(FunctionRegistry&);
void registerLogicalFunctions(FunctionRegistry&);
void registerInfoFunctions(FunctionRegistry&);
void registerDatabaseFunctions(FunctionRegistry&);

} // namespace sumora
