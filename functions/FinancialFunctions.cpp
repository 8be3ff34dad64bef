#include "engine/FunctionRegistry.h"

namespace sumora {

void registerFinancialFunctions(FunctionRegistry&) {}

} // namespace sumora
