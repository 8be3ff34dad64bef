#include "engine/FunctionRegistry.h"

namespace sumora {

void registerTextFunctions(FunctionRegistry&) {}

} // namespace sumora
