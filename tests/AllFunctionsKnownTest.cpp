// Every function name the system documents must reach an implementation:
// none may answer "#NAME?".
#include <gtest/gtest.h>

#include "engine/FunctionRegistry.h"
#include "tests/AllFunctionNames.h"
#include "tests/TestSupport.h"
#include "functions/BuiltinFunctions.h"

namespace sumora {
namespace {

TEST(AllFunctions, EveryDocumentedNameIsRegistered) {
    const FunctionRegistry& registry = builtinFunctions();
    std::vector<std::string> missing;
    for (std::string_view name : kAllFunctionNames)
        if (!registry.find(name)) missing.emplace_back(name);
    EXPECT_TRUE(missing.empty()) << "unknown to the dispatcher: " << ::testing::PrintToString(missing);
}

TEST(AllFunctions, NoDocumentedNameEvaluatesToNameError) {
    test::TestBook book;
    book.set("A1", "1").set("A2", "2").set("B1", "x");
    std::vector<std::string> failing;
    for (std::string_view name : kAllFunctionNames) {
        // Argument shapes vary; any result but an unknown-name error is fine.
        for (const char* args : {"()", "(A1)", "(A1,A2)", "(A1:A2,B1,1)"}) {
            std::string text = book.eval("=" + std::string(name) + args);
            if (text.rfind("#NAME?", 0) == 0) {
                failing.push_back(std::string(name) + args + " → " + text);
                break;
            }
        }
    }
    EXPECT_TRUE(failing.empty()) << ::testing::PrintToString(failing);
}

} // namespace
} // namespace sumora
