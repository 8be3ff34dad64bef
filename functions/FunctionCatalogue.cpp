#include "functions/FunctionCatalogue.h"
#include "functions/BuiltinFunctions.h"

#include "document/ColumnLetters.h"
#include "engine/FunctionRegistry.h"
#include "values/Log.h"

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <random>

namespace sumora {
namespace {

constexpr std::array<FunctionCategory, 9> kCategories = {
    FunctionCategory::all,         FunctionCategory::math,      FunctionCategory::logical,
    FunctionCategory::text,        FunctionCategory::lookup,    FunctionCategory::date,
    FunctionCategory::statistical, FunctionCategory::financial, FunctionCategory::info,
};

// The catalogue category of a family: database functions are filed under Math.
FunctionCategory categoryOf(FunctionFamily family) {
    switch (family) {
    case FunctionFamily::math:
    case FunctionFamily::database:
        return FunctionCategory::math;
    case FunctionFamily::statistical:
        return FunctionCategory::statistical;
    case FunctionFamily::logical:
        return FunctionCategory::logical;
    case FunctionFamily::text:
        return FunctionCategory::text;
    case FunctionFamily::lookup:
        return FunctionCategory::lookup;
    case FunctionFamily::date:
        return FunctionCategory::date;
    case FunctionFamily::financial:
        return FunctionCategory::financial;
    case FunctionFamily::info:
        return FunctionCategory::info;
    }
    return FunctionCategory::math;
}

// A version-4 UUID in the usual upper-case 8-4-4-4-12 form.
std::string makeUuid(std::mt19937_64& random) {
    std::array<uint8_t, 16> bytes{};
    for (size_t i = 0; i < bytes.size(); i += 8) {
        uint64_t word = random();
        for (size_t j = 0; j < 8; ++j)
            bytes[i + j] = static_cast<uint8_t>(word >> (8 * j));
    }
    bytes[6] = static_cast<uint8_t>((bytes[6] & 0x0F) | 0x40);
    bytes[8] = static_cast<uint8_t>((bytes[8] & 0x3F) | 0x80);
    std::string uuid;
    uuid.reserve(36);
    static constexpr char kHex[] = "0123456789ABCDEF";
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) uuid.push_back('-');
        uuid.push_back(kHex[bytes[i] >> 4]);
        uuid.push_back(kHex[bytes[i] & 0x0F]);
    }
    return uuid;
}

// The listed declarations, families in their declared order (which puts the
// database functions last) and each family in its table's order.
std::vector<FunctionDef> buildLibrary() {
    std::vector<const FunctionDeclaration*> listed;
    for (const FunctionDeclaration* declaration : builtinFunctions().declarations())
        if (declaration->is(FunctionFlags::listed)) listed.push_back(declaration);
    std::stable_sort(listed.begin(), listed.end(),
                     [](const auto* a, const auto* b) { return a->family < b->family; });

    std::mt19937_64 random{std::random_device{}()};
    std::vector<FunctionDef> library;
    library.reserve(listed.size());
    for (const FunctionDeclaration* declaration : listed)
        library.push_back({makeUuid(random), std::string(declaration->name),
                           std::string(declaration->signature), std::string(declaration->description),
                           categoryOf(declaration->family)});
    return library;
}

// Horizontal white space (blanks of category Zs and the tab) at both ends, the
// set the editor trims from typed text.
std::string_view trimBlanks(std::string_view text) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = static_cast<int32_t>(text.size());
    int32_t start = 0;
    while (start < length) {
        int32_t next = start;
        UChar32 c;
        U8_NEXT(bytes, next, length, c);
        if (!u_isblank(c)) break;
        start = next;
    }
    int32_t end = length;
    while (end > start) {
        int32_t previous = end;
        UChar32 c;
        U8_PREV(bytes, start, previous, c);
        if (!u_isblank(c)) break;
        end = previous;
    }
    return text.substr(static_cast<size_t>(start), static_cast<size_t>(end - start));
}

std::string upperCased(std::string_view text) {
    auto unicode =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    std::string result;
    unicode.toUpper(icu::Locale::getRoot()).toUTF8String(result);
    return result;
}

icu::UnicodeString caseFolded(std::string_view text) {
    auto unicode =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    return unicode.foldCase(U_FOLD_CASE_DEFAULT);
}

// Case-insensitive containment by full Unicode case folding of both sides.
// Folding rather than a collator keeps accents and punctuation significant, as
// a user searching descriptions expects, and needs no per-search collator.
bool containsIgnoringCase(std::string_view haystack, const icu::UnicodeString& foldedNeedle) {
    return caseFolded(haystack).indexOf(foldedNeedle) >= 0;
}

// The argument list as an array of strings prints: ["A1>0", "1"].
std::string printedStringList(const std::vector<std::string>& items) {
    std::string printed = "[";
    for (size_t i = 0; i < items.size(); ++i) {
        if (i > 0) printed += ", ";
        printed += '"';
        for (char c : items[i]) {
            switch (c) {
            case '"':
                printed += "\\\"";
                break;
            case '\\':
                printed += "\\\\";
                break;
            case '\n':
                printed += "\\n";
                break;
            case '\r':
                printed += "\\r";
                break;
            case '\t':
                printed += "\\t";
                break;
            default:
                printed += c;
            }
        }
        printed += '"';
    }
    printed += ']';
    return printed;
}

} // namespace

std::string_view displayText(FunctionCategory category) {
    switch (category) {
    case FunctionCategory::all:
        return "All";
    case FunctionCategory::math:
        return "Math";
    case FunctionCategory::logical:
        return "Logical";
    case FunctionCategory::text:
        return "Text";
    case FunctionCategory::lookup:
        return "Lookup";
    case FunctionCategory::date:
        return "Date";
    case FunctionCategory::statistical:
        return "Statistical";
    case FunctionCategory::financial:
        return "Financial";
    case FunctionCategory::info:
        return "Info";
    }
    return {};
}

std::span<const FunctionCategory> allFunctionCategories() {
    return kCategories;
}

std::optional<FunctionCategory> functionCategoryFromDisplayText(std::string_view text) {
    for (auto category : kCategories)
        if (displayText(category) == text) return category;
    return std::nullopt;
}

const std::vector<FunctionDef>& sumoraFunctionLibrary() {
    static const std::vector<FunctionDef> library = buildLibrary();
    return library;
}

std::vector<const FunctionDef*> filteredFunctions(FunctionCategory category, std::string_view search) {
    const std::string upperSearch = search.empty() ? std::string() : upperCased(search);
    const icu::UnicodeString foldedSearch = search.empty() ? icu::UnicodeString() : caseFolded(search);
    std::vector<const FunctionDef*> result;
    for (const auto& function : sumoraFunctionLibrary()) {
        if (category != FunctionCategory::all && function.category != category) continue;
        if (!search.empty() && function.name.find(upperSearch) == std::string::npos &&
            !containsIgnoringCase(function.description, foldedSearch))
            continue;
        result.push_back(&function);
    }
    return result;
}

std::string resultCountText(std::size_t count) {
    return count == 1 ? "1 result" : std::to_string(count) + " results";
}

std::vector<const FunctionDef*> formulaAutocompleteSuggestions(std::string_view editorText) {
    constexpr size_t kMaxSuggestions = 8;
    // The characters after which a new function name may start.
    constexpr std::string_view kSeparators = "(),+-*/><&=: ";

    std::string_view formula = trimBlanks(editorText);
    if (formula.empty() || formula.front() != '=') return {};
    formula.remove_prefix(1);
    // The separators are ASCII, so a byte search cannot land inside a
    // multi-byte character.
    const size_t lastSeparator = formula.find_last_of(kSeparators);
    std::string_view token =
        lastSeparator == std::string_view::npos ? formula : formula.substr(lastSeparator + 1);
    token = trimBlanks(token);
    if (token.empty()) return {};
    const std::string prefix = upperCased(token);

    std::vector<const FunctionDef*> suggestions;
    for (const auto& function : sumoraFunctionLibrary()) {
        if (!function.name.starts_with(prefix)) continue;
        suggestions.push_back(&function);
        if (suggestions.size() == kMaxSuggestions) break;
    }
    return suggestions;
}

std::vector<std::string> parameterNames(const FunctionDef& function) {
    const std::string_view signature = function.signature;
    const size_t open = signature.find('(');
    const size_t close = signature.rfind(')');
    if (open == std::string_view::npos || close == std::string_view::npos || close <= open + 1) return {};
    std::string_view list = signature.substr(open + 1, close - open - 1);
    std::vector<std::string> names;
    for (;;) {
        const size_t comma = list.find(", ");
        names.emplace_back(list.substr(0, comma));
        if (comma == std::string_view::npos) break;
        list.remove_prefix(comma + 2);
    }
    return names;
}

int argumentSlotCount(const FunctionDef& function) {
    return static_cast<int>(parameterNames(function).size());
}

FunctionArgsCommit commitFunctionArgs(std::string_view name, const std::vector<std::string>& args,
                                      int64_t targetCol, int64_t targetRow) {
    // Only trailing empties go: an empty argument in the middle is meaningful
    // (=IF(A1,,0)).
    size_t kept = args.size();
    while (kept > 0 && trimBlanks(args[kept - 1]).empty())
        --kept;
    const std::vector<std::string> keptArgs(args.begin(), args.begin() + static_cast<std::ptrdiff_t>(kept));

    FunctionArgsCommit commit;
    commit.formula = "=" + std::string(name) + "(";
    for (size_t i = 0; i < keptArgs.size(); ++i) {
        if (i > 0) commit.formula += ',';
        commit.formula += keptArgs[i];
    }
    commit.formula += ')';
    commit.target = cellAddress({targetCol, targetRow});
    commit.argCount = static_cast<int>(kept);

    Log::info("commitFunctionArgs: formula=" + commit.formula + ", target=" + commit.target +
              ", argCount=" + std::to_string(commit.argCount) + ", rawArgs=" + printedStringList(keptArgs));
    for (size_t i = 0; i < keptArgs.size(); ++i)
        Log::info("commitFunctionArgs arg[" + std::to_string(i) + "] = \"" + keptArgs[i] + "\"");
    return commit;
}

} // namespace sumora
