#include "engine/FunctionRegistry.h"

namespace sumora {

void registerMathFunctions(FunctionRegistry&) {}

} // namespace sumora
