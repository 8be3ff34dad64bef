#include "engine/FunctionRegistry.h"

namespace sumora {

const FunctionRegistry& FunctionRegistry::builtin() {
    static const FunctionRegistry registry = [] {
        FunctionRegistry r;
        registerMathFunctions(r);
        registerStatisticalFunctions(r);
        registerTextFunctions(r);
        registerLookupFunctions(r);
        registerDateFunctions(r);
        registerFinancialFunctions(r);
        registerLogicalFunctions(r);
        registerInfoFunctions(r);
        registerDatabaseFunctions(r);
        registerTextExtraFunctions(r);
        registerRegexFunctions(r);
        registerInfoExtraFunctions(r);
        registerLambdaFunctions(r);
        registerLookupExtraFunctions(r);
        registerDatabaseExtraFunctions(r);
        return r;
    }();
    return registry;
}

} // namespace sumora
