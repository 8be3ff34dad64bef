#include "engine/FunctionRegistry.h"

namespace sumora {

void registerDateFunctions(FunctionRegistry&) {}

} // namespace sumora
