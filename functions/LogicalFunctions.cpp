#include "engine/FunctionRegistry.h"

namespace sumora {

void registerLogicalFunctions(FunctionRegistry&) {}

} // namespace sumora
