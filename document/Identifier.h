#pragma once
#include <string>

namespace sumora {
// A fresh random UUID text (version 4) for list records; never written to files.
std::string newIdentifier();
} // namespace sumora
