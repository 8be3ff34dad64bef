#pragma once
// The name → declaration table of built-in functions. Built once; the parser
// resolves each call's declaration when it parses, so evaluation never looks a
// name up. Each family registers its table from its own source file.
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "engine/FunctionDeclaration.h"

namespace sumora {

class FunctionRegistry {
  public:
    FunctionRegistry() = default;
    // Moving keeps the declarations in place; a copy would leave `order_`
    // pointing into the original.
    FunctionRegistry(FunctionRegistry&&) = default;
    FunctionRegistry(const FunctionRegistry&) = delete;
    FunctionRegistry& operator=(const FunctionRegistry&) = delete;

    // Registers a family's table; a name registered twice is a programming
    // error, logged, and the later row wins.
    void add(FunctionFamily family, std::span<const FunctionDeclaration> table);
    // Registers one function with no count limits or flags (tests, tools).
    void add(std::string_view name, FunctionImpl impl);
    const FunctionDeclaration* find(std::string_view upperName) const;
    size_t size() const { return entries_.size(); }
    // Every declaration in registration order.
    const std::vector<const FunctionDeclaration*>& declarations() const { return order_; }

  private:
    void insert(FunctionDeclaration declaration);

    std::unordered_map<std::string, FunctionDeclaration> entries_;
    std::vector<const FunctionDeclaration*> order_;
};

// Family registration functions, one per source file in functions/.
void registerMathFunctions(FunctionRegistry&);
void registerStatisticalFunctions(FunctionRegistry&);
void registerTextFunctions(FunctionRegistry&);
void registerLookupFunctions(FunctionRegistry&);
void registerDateFunctions(FunctionRegistry&);
void registerFinancialFunctions(FunctionRegistry&);
void registerCouponFunctions(FunctionRegistry&);
void registerDiscountSecurityFunctions(FunctionRegistry&);
void registerOddPeriodFunctions(FunctionRegistry&);
void registerDepreciationFunctions(FunctionRegistry&);
void registerCashFlowFunctions(FunctionRegistry&);
void registerLogicalFunctions(FunctionRegistry&);
void registerInfoFunctions(FunctionRegistry&);
void registerDatabaseFunctions(FunctionRegistry&);
void registerDistributionFunctions(FunctionRegistry&);
void registerDiscreteDistributionFunctions(FunctionRegistry&);
void registerStatisticalTestFunctions(FunctionRegistry&);
void registerDescriptiveStatisticsFunctions(FunctionRegistry&);
void registerRegressionFunctions(FunctionRegistry&);
void registerMathExtraFunctions(FunctionRegistry&);
void registerEngineeringFunctions(FunctionRegistry&);
void registerComplexFunctions(FunctionRegistry&);
void registerMatrixFunctions(FunctionRegistry&);
void registerUnitConversionFunctions(FunctionRegistry&);
void registerTextExtraFunctions(FunctionRegistry&);
void registerRegexFunctions(FunctionRegistry&);
void registerInfoExtraFunctions(FunctionRegistry&);
void registerLambdaFunctions(FunctionRegistry&);
void registerLookupExtraFunctions(FunctionRegistry&);
void registerDatabaseExtraFunctions(FunctionRegistry&);

} // namespace sumora
