#include "macros/JavaScriptCore.h"

#include <dlfcn.h>

namespace sumora {

namespace {

struct Loaded {
    const JavaScriptCore* library = nullptr;
    std::string failure;
};

Loaded load() {
    Loaded loaded;
    void* handle = dlopen(SUMORA_JAVASCRIPTCORE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* error = dlerror();
        loaded.failure = error ? error : SUMORA_JAVASCRIPTCORE_LIBRARY " could not be loaded";
        return loaded;
    }
    // Kept, with the library, for the life of the process: a context the
    // engine made may outlive the engine.
    auto* functions = new JavaScriptCore;
#define SUMORA_JAVASCRIPTCORE_BIND(name)                                                                     \
    functions->name = reinterpret_cast<decltype(&::name)>(dlsym(handle, #name));                             \
    if (!functions->name && loaded.failure.empty())                                                          \
        loaded.failure = SUMORA_JAVASCRIPTCORE_LIBRARY " has no function " #name;
    SUMORA_JAVASCRIPTCORE_FUNCTIONS(SUMORA_JAVASCRIPTCORE_BIND)
#undef SUMORA_JAVASCRIPTCORE_BIND
    if (loaded.failure.empty())
        loaded.library = functions;
    else
        delete functions;
    return loaded;
}

} // namespace

const JavaScriptCore* javaScriptCore(std::string* whyNot) {
    static const Loaded loaded = load();
    if (!loaded.library && whyNot) *whyNot = loaded.failure;
    return loaded.library;
}

} // namespace sumora
