#include "functions/BuiltinFunctions.h"

namespace sumora {

const FunctionRegistry& builtinFunctions() {
    static const FunctionRegistry registry = [] {
        FunctionRegistry r;
        registerMathFunctions(r);
        registerStatisticalFunctions(r);
        registerTextFunctions(r);
        registerLookupFunctions(r);
        registerDateFunctions(r);
        registerFinancialFunctions(r);
        registerCouponFunctions(r);
        registerDiscountSecurityFunctions(r);
        registerOddPeriodFunctions(r);
        registerDepreciationFunctions(r);
        registerCashFlowFunctions(r);
        registerLogicalFunctions(r);
        registerInfoFunctions(r);
        registerDatabaseFunctions(r);
        registerDistributionFunctions(r);
        registerDiscreteDistributionFunctions(r);
        registerStatisticalTestFunctions(r);
        registerDescriptiveStatisticsFunctions(r);
        registerRegressionFunctions(r);
        registerMathExtraFunctions(r);
        registerEngineeringFunctions(r);
        registerComplexFunctions(r);
        registerMatrixFunctions(r);
        registerUnitConversionFunctions(r);
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
