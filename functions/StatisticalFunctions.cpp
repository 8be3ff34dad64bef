#include "engine/FunctionRegistry.h"

namespace sumora {

void registerStatisticalFunctions(FunctionRegistry&) {}

} // namespace sumora
