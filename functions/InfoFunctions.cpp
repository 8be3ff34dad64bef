#include "engine/FunctionRegistry.h"

namespace sumora {

void registerInfoFunctions(FunctionRegistry&) {}

} // namespace sumora
