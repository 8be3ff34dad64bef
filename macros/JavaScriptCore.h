#pragma once
// JavaScriptCore, loaded the first time a script engine is made rather than
// when the process starts: the library and the stack beneath it take some
// 6 MB and a share of the start-up in every process, and most runs never
// execute a script. The engine calls the library only through here.
#include <JavaScriptCore/JavaScript.h>

#include <string>

// Exported by the library but left out of its public headers. A callback that
// returns false is not called again unless the limit is set anew.
extern "C" {
void JSContextGroupSetExecutionTimeLimit(JSContextGroupRef group, double limit,
                                         bool (*shouldTerminate)(JSContextRef, void*), void* context);
void JSContextGroupClearExecutionTimeLimit(JSContextGroupRef group);
}

namespace sumora {

#define SUMORA_JAVASCRIPTCORE_FUNCTIONS(X)                                                                   \
    X(JSClassCreate)                                                                                         \
    X(JSContextGetGlobalObject)                                                                              \
    X(JSContextGroupClearExecutionTimeLimit)                                                                 \
    X(JSContextGroupCreate)                                                                                  \
    X(JSContextGroupRelease)                                                                                 \
    X(JSContextGroupSetExecutionTimeLimit)                                                                   \
    X(JSEvaluateScript)                                                                                      \
    X(JSGlobalContextCreateInGroup)                                                                          \
    X(JSGlobalContextRelease)                                                                                \
    X(JSObjectGetPrivate)                                                                                    \
    X(JSObjectMake)                                                                                          \
    X(JSObjectMakeArray)                                                                                     \
    X(JSObjectMakeError)                                                                                     \
    X(JSObjectSetProperty)                                                                                   \
    X(JSObjectSetPropertyAtIndex)                                                                            \
    X(JSStringCreateWithCharacters)                                                                          \
    X(JSStringCreateWithUTF8CString)                                                                         \
    X(JSStringGetCharactersPtr)                                                                              \
    X(JSStringGetLength)                                                                                     \
    X(JSStringRelease)                                                                                       \
    X(JSValueMakeString)                                                                                     \
    X(JSValueMakeUndefined)                                                                                  \
    X(JSValueToNumber)                                                                                       \
    X(JSValueToStringCopy)

// The functions the engine uses, named as the library names them.
struct JavaScriptCore {
#define SUMORA_JAVASCRIPTCORE_MEMBER(name) decltype(&::name) name = nullptr;
    SUMORA_JAVASCRIPTCORE_FUNCTIONS(SUMORA_JAVASCRIPTCORE_MEMBER)
#undef SUMORA_JAVASCRIPTCORE_MEMBER
};

// The library, loaded on the first call; nothing, with `whyNot` set, when it
// cannot be loaded or lacks a function.
const JavaScriptCore* javaScriptCore(std::string* whyNot = nullptr);

} // namespace sumora
