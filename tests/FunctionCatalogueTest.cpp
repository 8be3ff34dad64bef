#include "functions/FunctionCatalogue.h"

#include "values/Log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace sumora {
namespace {

std::vector<std::string> namesOf(const std::vector<const FunctionDef*>& functions) {
    std::vector<std::string> names;
    for (const auto* f : functions)
        names.push_back(f->name);
    return names;
}

const FunctionDef& entry(std::string_view name) {
    const auto& library = sumoraFunctionLibrary();
    auto it = std::find_if(library.begin(), library.end(), [&](const auto& f) { return f.name == name; });
    if (it == library.end()) throw std::invalid_argument("no catalogue entry " + std::string(name));
    return *it;
}

TEST(FunctionCatalogue, HoldsEveryEntryOnceWithFreshIds) {
    const auto& library = sumoraFunctionLibrary();
    ASSERT_EQ(library.size(), 161u);
    std::set<std::string> names, ids;
    for (const auto& f : library) {
        names.insert(f.name);
        ids.insert(f.id);
        EXPECT_EQ(f.id.size(), 36u) << f.name;
        EXPECT_TRUE(f.signature.starts_with(f.name + "(") && f.signature.ends_with(")")) << f.signature;
        EXPECT_TRUE(f.description.ends_with(".")) << f.name;
        EXPECT_NE(f.category, FunctionCategory::all) << f.name;
    }
    EXPECT_EQ(names.size(), 161u);
    EXPECT_EQ(ids.size(), 161u);
}

TEST(FunctionCatalogue, CountsPerCategoryIncludeDatabaseFunctionsUnderMath) {
    const std::pair<FunctionCategory, size_t> expected[] = {
        {FunctionCategory::all, 161},        {FunctionCategory::math, 48},
        {FunctionCategory::logical, 11},     {FunctionCategory::text, 21},
        {FunctionCategory::lookup, 17},      {FunctionCategory::date, 18},
        {FunctionCategory::statistical, 26}, {FunctionCategory::financial, 9},
        {FunctionCategory::info, 11},
    };
    for (auto [category, count] : expected)
        EXPECT_EQ(filteredFunctions(category, "").size(), count) << displayText(category);
    EXPECT_EQ(entry("DSUM").category, FunctionCategory::math);
}

TEST(FunctionCatalogue, KeepsDisplayOrderWithDatabaseFunctionsLast) {
    const auto& library = sumoraFunctionLibrary();
    EXPECT_EQ(library.front().name, "SUM");
    EXPECT_EQ(library[42].name, "AGGREGATE");
    EXPECT_EQ(library[43].name, "AVERAGE"); // Statistical follows Math directly
    EXPECT_EQ(library[155].name, "NA");
    std::vector<std::string> lastFive;
    for (size_t i = library.size() - 5; i < library.size(); ++i)
        lastFive.push_back(library[i].name);
    EXPECT_EQ(lastFive, (std::vector<std::string>{"DSUM", "DCOUNT", "DAVERAGE", "DMAX", "DMIN"}));

    // Categories appear as contiguous runs in this order (the database block aside).
    std::vector<FunctionCategory> runs;
    for (size_t i = 0; i + 5 < library.size(); ++i)
        if (runs.empty() || runs.back() != library[i].category) runs.push_back(library[i].category);
    EXPECT_EQ(runs, (std::vector<FunctionCategory>{FunctionCategory::math, FunctionCategory::statistical,
                                                   FunctionCategory::logical, FunctionCategory::text,
                                                   FunctionCategory::lookup, FunctionCategory::date,
                                                   FunctionCategory::financial, FunctionCategory::info}));
}

TEST(FunctionCatalogue, EntriesCarryTheirExactTexts) {
    const FunctionDef& sumif = entry("SUMIF");
    EXPECT_EQ(sumif.signature, "SUMIF(range, criteria, sum_range)");
    EXPECT_EQ(sumif.description, "Adds cells that meet a condition.");
    EXPECT_EQ(entry("PI").description, "Returns the value of pi (3.14159...).");
    EXPECT_EQ(entry("AGGREGATE").description, "Returns an aggregate, ignoring errors/hidden rows.");
    EXPECT_EQ(entry("ISNA").description, "Returns TRUE if value is #N/A.");
    EXPECT_EQ(entry("RATE").signature, "RATE(nper, pmt, pv, fv, type, guess)");
    EXPECT_EQ(entry("TRIM").description, "Removes extra spaces from text.");
}

TEST(FunctionCatalogue, IsBuiltOnceAcrossThreads) {
    const std::vector<FunctionDef>* seen[4] = {};
    std::vector<std::thread> threads;
    for (auto& slot : seen)
        threads.emplace_back([&slot] { slot = &sumoraFunctionLibrary(); });
    for (auto& t : threads)
        t.join();
    for (const auto* library : seen)
        EXPECT_EQ(library, &sumoraFunctionLibrary());
}

TEST(FunctionCategoryText, RoundTripsEveryDisplayText) {
    const char* expected[] = {"All",  "Math",        "Logical",   "Text", "Lookup",
                              "Date", "Statistical", "Financial", "Info"};
    auto categories = allFunctionCategories();
    ASSERT_EQ(categories.size(), std::size(expected));
    for (size_t i = 0; i < categories.size(); ++i) {
        EXPECT_EQ(displayText(categories[i]), expected[i]);
        EXPECT_EQ(functionCategoryFromDisplayText(expected[i]), categories[i]);
    }
    EXPECT_EQ(functionCategoryFromDisplayText("math"), std::nullopt);
}

TEST(FunctionFilter, MatchesUpperCasedNameOrDescriptionIgnoringCase) {
    struct Case {
        FunctionCategory category;
        std::string search;
        std::vector<std::string> names;
    };
    const Case cases[] = {
        // Names by substring; SUMPRODUCT and DSUM also match on "sum"/"Sums" in their descriptions.
        {FunctionCategory::all, "sum", {"SUM", "SUMIF", "SUMIFS", "SUMPRODUCT", "DSUM"}},
        {FunctionCategory::all, "SuM", {"SUM", "SUMIF", "SUMIFS", "SUMPRODUCT", "DSUM"}},
        // Description only, in any case.
        {FunctionCategory::all, "ARITHMETIC MEAN", {"AVERAGE"}},
        {FunctionCategory::all, "regression", {"SLOPE", "INTERCEPT"}},
        // The category narrows before the search: DCOUNT is Math.
        {FunctionCategory::statistical, "count", {"COUNT", "COUNTA", "COUNTBLANK", "COUNTIF", "COUNTIFS"}},
        {FunctionCategory::math, "count", {"DCOUNT"}},
        // A search is not trimmed; the blank is part of the text sought.
        {FunctionCategory::all, "xnpv ", {}},
        {FunctionCategory::info, "zzz", {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(namesOf(filteredFunctions(c.category, c.search)), c.names) << c.search;
}

TEST(FunctionFilter, CountTextSingularOnlyForOne) {
    EXPECT_EQ(resultCountText(0), "0 results");
    EXPECT_EQ(resultCountText(1), "1 result");
    EXPECT_EQ(resultCountText(12), "12 results");
    EXPECT_EQ(resultCountText(filteredFunctions(FunctionCategory::all, "arithmetic").size()), "1 result");
}

TEST(FunctionAutocomplete, ProposesByTokenAfterLastSeparator) {
    struct Case {
        std::string text;
        std::vector<std::string> names;
    };
    const Case cases[] = {
        {"=A1+su", {"SUM", "SUMIF", "SUMIFS", "SUMPRODUCT", "SUBTOTAL", "SUBSTITUTE"}},
        {"=c", {"CEILING", "COMBIN", "COS", "COSH", "COUNT", "COUNTA", "COUNTBLANK", "COUNTIF"}},
        {"  =IF(A1>0,  xn\t", {"XNPV"}},
        {"=A1:vlo", {"VLOOKUP"}},
        {"=1&is", {"ISNUMBER", "ISTEXT", "ISBLANK", "ISERROR", "ISNA", "ISEVEN", "ISODD", "ISLOGICAL"}},
        {"=2*da", {"DATE", "DAY", "DATEDIF", "DATEVALUE", "DAVERAGE"}},
        {"=SUM(", {}},
        {"=SUM(A1, ", {}},
        {"SUM", {}},
        {"=", {}},
        {"", {}},
        {"=A1+qq", {}},
        {"=sum(a1)", {}}, // the token after ")" is empty
    };
    for (const auto& c : cases)
        EXPECT_EQ(namesOf(formulaAutocompleteSuggestions(c.text)), c.names) << c.text;
}

TEST(FunctionAutocomplete, EverySeparatorStartsANewToken) {
    for (char separator : std::string_view("(),+-*/><&=: ")) {
        std::string text = std::string("=x") + separator + "ro";
        EXPECT_EQ(namesOf(formulaAutocompleteSuggestions(text)),
                  (std::vector<std::string>{"ROUND", "ROUNDUP", "ROUNDDOWN", "ROW", "ROWS"}))
            << text;
    }
    // A character outside the set does not split: "x;ro" is the token.
    EXPECT_TRUE(formulaAutocompleteSuggestions("=x;ro").empty());
}

TEST(FunctionArguments, SlotsFollowTheSignature) {
    struct Case {
        std::string name;
        std::vector<std::string> parameters;
    };
    const Case cases[] = {
        {"PI", {}},
        {"ABS", {"number"}},
        {"SUM", {"number1", "number2", "..."}},
        {"IFS", {"test1", "value1", "test2", "value2", "..."}},
        {"RATE", {"nper", "pmt", "pv", "fv", "type", "guess"}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(parameterNames(entry(c.name)), c.parameters) << c.name;
        EXPECT_EQ(argumentSlotCount(entry(c.name)), static_cast<int>(c.parameters.size())) << c.name;
    }
}

TEST(FunctionArguments, CommitDropsOnlyTrailingEmptyArguments) {
    struct Case {
        std::vector<std::string> args;
        std::string formula;
        int argCount;
    };
    const Case cases[] = {
        {{"A1>0", "1", ""}, "=IF(A1>0,1)", 2},
        {{"", " ", "\t"}, "=IF()", 0},
        {{}, "=IF()", 0},
        {{"A1", "", "0"}, "=IF(A1,,0)", 3},
        {{"A1", " ", "0", "  "}, "=IF(A1, ,0)", 3},
        {{" A1 ", "B1"}, "=IF( A1 ,B1)", 2},
    };
    LogCapture quiet;
    for (const auto& c : cases) {
        auto commit = commitFunctionArgs("IF", c.args, 0, 0);
        EXPECT_EQ(commit.formula, c.formula);
        EXPECT_EQ(commit.argCount, c.argCount) << c.formula;
    }
}

TEST(FunctionArguments, CommitNamesTargetAsA1Address) {
    LogCapture quiet;
    EXPECT_EQ(commitFunctionArgs("SUM", {"B3:D9"}, 2, 6).target, "C7");
    EXPECT_EQ(commitFunctionArgs("SUM", {}, 27, 0).target, "AB1");
}

TEST(FunctionArguments, CommitLogsFormulaAndEachKeptArgument) {
    LogCapture capture;
    commitFunctionArgs("IF", {"A1>0", "say \"hi\"", "", " "}, 2, 6);
    const std::vector<std::string> expected = {
        R"([Sumora] commitFunctionArgs: formula==IF(A1>0,say "hi"), target=C7, argCount=2, rawArgs=["A1>0", "say \"hi\""])",
        R"([Sumora] commitFunctionArgs arg[0] = "A1>0")",
        R"([Sumora] commitFunctionArgs arg[1] = "say "hi"")",
    };
    EXPECT_EQ(capture.lines(), expected);
}

} // namespace
} // namespace sumora
