// Regular expressions in ICU syntax: REGEXTEST, REGEXEXTRACT and
// REGEXREPLACE. A pattern that does not compile is "#VALUE!"; matching is
// bounded by ICU's time limit so that a catastrophic pattern cannot hang a
// recalculation.
#include <cmath>
#include <memory>
#include <optional>

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include "engine/FunctionRegistry.h"
#include "functions/ArgumentValues.h"
#include "functions/ArrayFunctions.h"

namespace sumora {

namespace {

// Matching steps ICU may take per match call (about a second of work).
constexpr int32_t kMatchTimeLimit = 100;

std::string utf8(const icu::UnicodeString& s) {
    std::string out;
    s.toUTF8String(out);
    return out;
}

// The case_sensitivity argument at i: 0 (default) exact, 1 ignoring case.
ArgValue<bool> ignoreCaseArg(FunctionContext& c, size_t i) {
    auto x = numberArgOr(c, i, 0);
    if (!x) return {std::nullopt, x.failure};
    double n = std::trunc(*x);
    if (n != 0 && n != 1) return {std::nullopt, err(ErrorKind::invalidValue)};
    return {n == 1, {}};
}

// A matcher of the pattern (argument 1) over the text (argument 0). The
// matcher keeps a pointer to `text`, so a Compiled is filled in place.
struct Compiled {
    icu::UnicodeString text;
    std::unique_ptr<icu::RegexMatcher> matcher;
};

// Nothing when the pattern compiled, else the call's result.
std::optional<FormulaValue> compile(FunctionContext& c, size_t caseArg, Compiled& re) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    auto pattern = textArg(c, 1);
    if (!pattern) return pattern.failure;
    auto ignoreCase = ignoreCaseArg(c, caseArg);
    if (!ignoreCase) return ignoreCase.failure;
    re.text = icu::UnicodeString::fromUTF8(*text);
    UErrorCode status = U_ZERO_ERROR;
    re.matcher = std::make_unique<icu::RegexMatcher>(icu::UnicodeString::fromUTF8(*pattern),
                                                     *ignoreCase ? UREGEX_CASE_INSENSITIVE : 0, status);
    if (U_FAILURE(status)) return err(ErrorKind::invalidValue);
    re.matcher->setTimeLimit(kMatchTimeLimit, status);
    re.matcher->reset(re.text);
    return std::nullopt;
}

// The next match, or false at the end or when ICU gave up.
bool findNext(icu::RegexMatcher& m, UErrorCode& status) {
    return m.find(status) && U_SUCCESS(status);
}

// REGEXTEST(text, pattern, [case_sensitivity]) — whether any part matches
FormulaValue regexTest(FunctionContext& c) {
    Compiled re;
    if (auto failure = compile(c, 2, re)) return *failure;
    UErrorCode status = U_ZERO_ERROR;
    bool found = findNext(*re.matcher, status);
    if (U_FAILURE(status)) return err(ErrorKind::invalidValue);
    return boolean(found);
}

// REGEXEXTRACT(text, pattern, [return_mode], [case_sensitivity]) — mode 0
// the first match, 1 every match (a column), 2 the first match's capture
// groups (a row); "#N/A" without a match
FormulaValue regexExtract(FunctionContext& c) {
    auto mode = numberArgOr(c, 2, 0);
    if (!mode) return mode.failure;
    const double m = std::trunc(*mode);
    if (m != 0 && m != 1 && m != 2) return err(ErrorKind::invalidValue);
    Compiled re;
    if (auto failure = compile(c, 3, re)) return *failure;
    UErrorCode status = U_ZERO_ERROR;
    if (!findNext(*re.matcher, status))
        return err(U_FAILURE(status) ? ErrorKind::invalidValue : ErrorKind::notAvailable);
    if (m == 0) return txt(utf8(re.matcher->group(status)));
    if (m == 2) {
        ValueRow groups;
        for (int32_t g = 1; g <= re.matcher->groupCount(); ++g)
            groups.push_back(txt(utf8(re.matcher->group(g, status))));
        if (groups.empty()) groups.push_back(txt(utf8(re.matcher->group(status))));
        return FormulaValue::array({std::move(groups)});
    }
    ValueRows matches;
    do {
        if (static_cast<int64_t>(matches.size()) >= kMaxArrayCells) return err(ErrorKind::invalidNumber);
        matches.push_back({txt(utf8(re.matcher->group(status)))});
    } while (findNext(*re.matcher, status));
    if (U_FAILURE(status)) return err(ErrorKind::invalidValue);
    return FormulaValue::array(std::move(matches));
}

// REGEXREPLACE(text, pattern, replacement, [occurrence], [case_sensitivity])
// — replaces every match (occurrence 0), the n-th, or the n-th from the end
// (negative); $1… in the replacement name capture groups
FormulaValue regexReplace(FunctionContext& c) {
    auto replacement = textArg(c, 2);
    if (!replacement) return replacement.failure;
    auto occurrence = numberArgOr(c, 3, 0);
    if (!occurrence) return occurrence.failure;
    Compiled re;
    if (auto failure = compile(c, 4, re)) return *failure;
    const icu::UnicodeString with = icu::UnicodeString::fromUTF8(*replacement);
    UErrorCode status = U_ZERO_ERROR;
    const double n = std::trunc(*occurrence);
    if (n == 0) {
        icu::UnicodeString out = re.matcher->replaceAll(with, status);
        if (U_FAILURE(status)) return err(ErrorKind::invalidValue);
        return txt(utf8(out));
    }
    // Count the matches, then rewrite only the chosen one.
    double count = 0;
    while (findNext(*re.matcher, status))
        ++count;
    if (U_FAILURE(status)) return err(ErrorKind::invalidValue);
    const double target = n > 0 ? n : count + n + 1;
    if (target < 1 || target > count) return txt(utf8(re.text));
    re.matcher->reset();
    icu::UnicodeString out;
    for (double k = 1; findNext(*re.matcher, status); ++k) {
        if (k != target) continue;
        re.matcher->appendReplacement(out, with, status);
        break;
    }
    re.matcher->appendTail(out);
    if (U_FAILURE(status)) return err(ErrorKind::invalidValue);
    return txt(utf8(out));
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kRegexFunctions[] = {
    {"REGEXTEST", regexTest, between(2, 3), numberArgRule, none, "REGEXTEST(text, pattern, case_sensitivity)", "Returns TRUE if any part of the text matches the pattern."},
    {"REGEXEXTRACT", regexExtract, between(2, 4), numberArgRule, producesArray, "REGEXEXTRACT(text, pattern, return_mode, case_sensitivity)", "Extracts the text that matches a pattern."},
    {"REGEXREPLACE", regexReplace, between(3, 5), numberArgRule, none, "REGEXREPLACE(text, pattern, replacement, occurrence, case_sensitivity)", "Replaces the text that matches a pattern."},
};
// clang-format on

} // namespace

void registerRegexFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::text, kRegexFunctions);
}

} // namespace sumora
