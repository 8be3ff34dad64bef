#pragma once
// The table of every built-in function family. The engine parses against
// whatever table its caller hands it; the layers above the functions hand it
// this one.
#include "engine/FunctionRegistry.h"

namespace sumora {

// Built on first use; lives until exit.
const FunctionRegistry& builtinFunctions();

} // namespace sumora
