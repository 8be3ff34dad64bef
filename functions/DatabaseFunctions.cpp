#include "engine/FunctionRegistry.h"

namespace sumora {

void registerDatabaseFunctions(FunctionRegistry&) {}

} // namespace sumora
