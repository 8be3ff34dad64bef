#include "engine/FunctionRegistry.h"

namespace sumora {

void registerLookupFunctions(FunctionRegistry&) {}

} // namespace sumora
