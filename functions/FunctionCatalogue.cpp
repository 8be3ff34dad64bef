#include "functions/FunctionCatalogue.h"

#include "document/ColumnLetters.h"
#include "values/Log.h"

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

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

struct CatalogueRow {
    std::string_view name, signature, description;
    FunctionCategory category;
};

constexpr auto math = FunctionCategory::math;
constexpr auto logical = FunctionCategory::logical;
constexpr auto text = FunctionCategory::text;
constexpr auto lookup = FunctionCategory::lookup;
constexpr auto date = FunctionCategory::date;
constexpr auto statistical = FunctionCategory::statistical;
constexpr auto financial = FunctionCategory::financial;
constexpr auto info = FunctionCategory::info;

// The catalogue in display order, which is also autocomplete's tie-break. The
// database functions are filed under Math and stand last on purpose.
// clang-format off
constexpr CatalogueRow kCatalogue[] = {
    {"SUM", "SUM(number1, number2, ...)", "Adds all the numbers in a range.", math},
    {"SUMIF", "SUMIF(range, criteria, sum_range)", "Adds cells that meet a condition.", math},
    {"SUMIFS", "SUMIFS(sum_range, range1, criteria1, ...)", "Adds cells that meet multiple conditions.", math},
    {"SUMPRODUCT", "SUMPRODUCT(array1, array2, ...)", "Returns the sum of products of corresponding ranges.", math},
    {"PRODUCT", "PRODUCT(number1, number2, ...)", "Multiplies all the numbers together.", math},
    {"ABS", "ABS(number)", "Returns the absolute value of a number.", math},
    {"ROUND", "ROUND(number, digits)", "Rounds a number to a given number of digits.", math},
    {"ROUNDUP", "ROUNDUP(number, digits)", "Rounds a number up, away from zero.", math},
    {"ROUNDDOWN", "ROUNDDOWN(number, digits)", "Rounds a number down, toward zero.", math},
    {"CEILING", "CEILING(number, significance)", "Rounds a number up to the nearest multiple.", math},
    {"FLOOR", "FLOOR(number, significance)", "Rounds a number down to the nearest multiple.", math},
    {"INT", "INT(number)", "Rounds a number down to the nearest integer.", math},
    {"TRUNC", "TRUNC(number, digits)", "Truncates a number to an integer.", math},
    {"MOD", "MOD(number, divisor)", "Returns the remainder after division.", math},
    {"POWER", "POWER(number, power)", "Returns a number raised to a power.", math},
    {"SQRT", "SQRT(number)", "Returns the positive square root.", math},
    {"EXP", "EXP(number)", "Returns e raised to the power of number.", math},
    {"LN", "LN(number)", "Returns the natural logarithm.", math},
    {"LOG", "LOG(number, base)", "Returns the logarithm of a number.", math},
    {"LOG10", "LOG10(number)", "Returns the base-10 logarithm.", math},
    {"SIGN", "SIGN(number)", "Returns the sign of a number (-1, 0, or 1).", math},
    {"PI", "PI()", "Returns the value of pi (3.14159...).", math},
    {"RAND", "RAND()", "Returns a random number between 0 and 1.", math},
    {"RANDBETWEEN", "RANDBETWEEN(bottom, top)", "Returns a random integer between two values.", math},
    {"FACT", "FACT(number)", "Returns the factorial of a number.", math},
    {"GCD", "GCD(number1, number2, ...)", "Returns the greatest common divisor.", math},
    {"LCM", "LCM(number1, number2, ...)", "Returns the least common multiple.", math},
    {"MROUND", "MROUND(number, multiple)", "Rounds to the nearest specified multiple.", math},
    {"COMBIN", "COMBIN(number, chosen)", "Returns the number of combinations.", math},
    {"PERMUT", "PERMUT(number, chosen)", "Returns the number of permutations.", math},
    {"DEGREES", "DEGREES(angle)", "Converts radians to degrees.", math},
    {"RADIANS", "RADIANS(angle)", "Converts degrees to radians.", math},
    {"SIN", "SIN(number)", "Returns the sine of an angle.", math},
    {"COS", "COS(number)", "Returns the cosine of an angle.", math},
    {"TAN", "TAN(number)", "Returns the tangent of an angle.", math},
    {"ASIN", "ASIN(number)", "Returns the arcsine.", math},
    {"ACOS", "ACOS(number)", "Returns the arccosine.", math},
    {"ATAN", "ATAN(number)", "Returns the arctangent.", math},
    {"SINH", "SINH(number)", "Returns the hyperbolic sine.", math},
    {"COSH", "COSH(number)", "Returns the hyperbolic cosine.", math},
    {"TANH", "TANH(number)", "Returns the hyperbolic tangent.", math},
    {"SUBTOTAL", "SUBTOTAL(function_num, ref1, ...)", "Returns a subtotal using a specified function.", math},
    {"AGGREGATE", "AGGREGATE(function_num, options, ...)", "Returns an aggregate, ignoring errors/hidden rows.", math},
    {"AVERAGE", "AVERAGE(number1, number2, ...)", "Returns the arithmetic mean.", statistical},
    {"AVERAGEIF", "AVERAGEIF(range, criteria, avg_range)", "Averages cells that meet a condition.", statistical},
    {"AVERAGEIFS", "AVERAGEIFS(avg_range, range1, criteria1, ...)", "Averages cells that meet multiple conditions.", statistical},
    {"COUNT", "COUNT(value1, value2, ...)", "Counts cells that contain numbers.", statistical},
    {"COUNTA", "COUNTA(value1, value2, ...)", "Counts non-empty cells.", statistical},
    {"COUNTBLANK", "COUNTBLANK(range)", "Counts empty cells in a range.", statistical},
    {"COUNTIF", "COUNTIF(range, criteria)", "Counts cells that meet a condition.", statistical},
    {"COUNTIFS", "COUNTIFS(range1, criteria1, ...)", "Counts cells that meet multiple conditions.", statistical},
    {"MIN", "MIN(number1, number2, ...)", "Returns the smallest value.", statistical},
    {"MAX", "MAX(number1, number2, ...)", "Returns the largest value.", statistical},
    {"MEDIAN", "MEDIAN(number1, number2, ...)", "Returns the median of the given numbers.", statistical},
    {"MODE", "MODE(number1, number2, ...)", "Returns the most frequently occurring value.", statistical},
    {"STDEV", "STDEV(number1, number2, ...)", "Estimates standard deviation based on a sample.", statistical},
    {"STDEVP", "STDEVP(number1, number2, ...)", "Calculates standard deviation for entire population.", statistical},
    {"VAR", "VAR(number1, number2, ...)", "Estimates variance based on a sample.", statistical},
    {"VARP", "VARP(number1, number2, ...)", "Calculates variance for entire population.", statistical},
    {"LARGE", "LARGE(array, k)", "Returns the k-th largest value.", statistical},
    {"SMALL", "SMALL(array, k)", "Returns the k-th smallest value.", statistical},
    {"RANK", "RANK(number, ref, order)", "Returns the rank of a number in a list.", statistical},
    {"PERCENTILE", "PERCENTILE(array, k)", "Returns the k-th percentile of values.", statistical},
    {"QUARTILE", "QUARTILE(array, quart)", "Returns the quartile of a data set.", statistical},
    {"FORECAST", "FORECAST(x, known_ys, known_xs)", "Predicts a future value along a linear trend.", statistical},
    {"CORREL", "CORREL(array1, array2)", "Returns the correlation coefficient.", statistical},
    {"SLOPE", "SLOPE(known_ys, known_xs)", "Returns the slope of a linear regression line.", statistical},
    {"INTERCEPT", "INTERCEPT(known_ys, known_xs)", "Returns the intercept of a linear regression line.", statistical},
    {"FREQUENCY", "FREQUENCY(data_array, bins_array)", "Returns a frequency distribution as a vertical array.", statistical},
    {"IF", "IF(test, then, else)", "Returns one value if true, another if false.", logical},
    {"IFS", "IFS(test1, value1, test2, value2, ...)", "Checks multiple conditions and returns the first true result.", logical},
    {"AND", "AND(cond1, cond2, ...)", "Returns TRUE if all conditions are true.", logical},
    {"OR", "OR(cond1, cond2, ...)", "Returns TRUE if any condition is true.", logical},
    {"NOT", "NOT(logical)", "Reverses the logic of its argument.", logical},
    {"XOR", "XOR(cond1, cond2, ...)", "Returns TRUE if an odd number of conditions are true.", logical},
    {"IFERROR", "IFERROR(value, fallback)", "Returns fallback if value is an error.", logical},
    {"IFNA", "IFNA(value, fallback)", "Returns fallback if value is #N/A.", logical},
    {"SWITCH", "SWITCH(expr, val1, result1, ...)", "Evaluates an expression against a list of values.", logical},
    {"TRUE", "TRUE()", "Returns the logical value TRUE.", logical},
    {"FALSE", "FALSE()", "Returns the logical value FALSE.", logical},
    {"LEFT", "LEFT(text, num_chars)", "Returns characters from the start of a string.", text},
    {"RIGHT", "RIGHT(text, num_chars)", "Returns characters from the end of a string.", text},
    {"MID", "MID(text, start, num_chars)", "Returns characters from the middle of a string.", text},
    {"LEN", "LEN(text)", "Returns the number of characters in a string.", text},
    {"FIND", "FIND(find_text, within_text, start)", "Finds text within another string (case-sensitive).", text},
    {"SEARCH", "SEARCH(find_text, within_text, start)", "Finds text within another string (case-insensitive).", text},
    {"SUBSTITUTE", "SUBSTITUTE(text, old, new, instance)", "Replaces occurrences of text in a string.", text},
    {"REPLACE", "REPLACE(old_text, start, num, new_text)", "Replaces part of a text string.", text},
    {"TRIM", "TRIM(text)", "Removes extra spaces from text.", text},
    {"UPPER", "UPPER(text)", "Converts text to uppercase.", text},
    {"LOWER", "LOWER(text)", "Converts text to lowercase.", text},
    {"PROPER", "PROPER(text)", "Capitalizes the first letter of each word.", text},
    {"CONCATENATE", "CONCATENATE(text1, text2, ...)", "Joins several text strings into one.", text},
    {"CONCAT", "CONCAT(text1, text2, ...)", "Joins text strings and ranges.", text},
    {"TEXTJOIN", "TEXTJOIN(delimiter, ignore_empty, text1, ...)", "Joins text with a delimiter between each.", text},
    {"TEXT", "TEXT(value, format_text)", "Formats a number as text with a given format.", text},
    {"VALUE", "VALUE(text)", "Converts text that represents a number to a number.", text},
    {"CHAR", "CHAR(number)", "Returns the character for a given code number.", text},
    {"CODE", "CODE(text)", "Returns the code number for the first character.", text},
    {"REPT", "REPT(text, times)", "Repeats text a given number of times.", text},
    {"EXACT", "EXACT(text1, text2)", "Checks whether two text strings are identical.", text},
    {"VLOOKUP", "VLOOKUP(value, table, col_index, approx)", "Looks up a value in the first column of a table.", lookup},
    {"HLOOKUP", "HLOOKUP(value, table, row_index, approx)", "Looks up a value in the first row of a table.", lookup},
    {"INDEX", "INDEX(array, row_num, col_num)", "Returns a value at a given position in a range.", lookup},
    {"MATCH", "MATCH(value, lookup_array, match_type)", "Returns the position of a value in a range.", lookup},
    {"CHOOSE", "CHOOSE(index, value1, value2, ...)", "Returns a value from a list based on position.", lookup},
    {"LOOKUP", "LOOKUP(value, lookup_range, result_range)", "Looks up a value in a one-row or one-column range.", lookup},
    {"INDIRECT", "INDIRECT(ref_text)", "Returns the reference specified by a text string.", lookup},
    {"OFFSET", "OFFSET(ref, rows, cols, height, width)", "Returns a reference offset from a given reference.", lookup},
    {"ROW", "ROW(reference)", "Returns the row number of a reference.", lookup},
    {"COLUMN", "COLUMN(reference)", "Returns the column number of a reference.", lookup},
    {"ROWS", "ROWS(array)", "Returns the number of rows in a reference.", lookup},
    {"COLUMNS", "COLUMNS(array)", "Returns the number of columns in a reference.", lookup},
    {"FILTER", "FILTER(array, include, if_empty)", "Filters an array based on a Boolean array.", lookup},
    {"SORT", "SORT(array, sort_index, sort_order, by_col)", "Sorts the contents of a range or array.", lookup},
    {"UNIQUE", "UNIQUE(array, by_col, exactly_once)", "Returns the unique values from a range.", lookup},
    {"SEQUENCE", "SEQUENCE(rows, columns, start, step)", "Generates a list of sequential numbers.", lookup},
    {"TRANSPOSE", "TRANSPOSE(array)", "Transposes the rows and columns of an array.", lookup},
    {"TODAY", "TODAY()", "Returns the current date.", date},
    {"NOW", "NOW()", "Returns the current date and time.", date},
    {"DATE", "DATE(year, month, day)", "Creates a date from year, month, and day.", date},
    {"TIME", "TIME(hour, minute, second)", "Creates a time from hours, minutes, and seconds.", date},
    {"YEAR", "YEAR(serial_number)", "Returns the year from a date.", date},
    {"MONTH", "MONTH(serial_number)", "Returns the month from a date (1-12).", date},
    {"DAY", "DAY(serial_number)", "Returns the day of the month from a date.", date},
    {"HOUR", "HOUR(serial_number)", "Returns the hour from a time value.", date},
    {"MINUTE", "MINUTE(serial_number)", "Returns the minute from a time value.", date},
    {"SECOND", "SECOND(serial_number)", "Returns the second from a time value.", date},
    {"WEEKDAY", "WEEKDAY(serial_number, type)", "Returns the day of the week (1-7).", date},
    {"DATEDIF", "DATEDIF(start, end, unit)", "Returns the difference between two dates.", date},
    {"EOMONTH", "EOMONTH(start_date, months)", "Returns the last day of a month offset.", date},
    {"EDATE", "EDATE(start_date, months)", "Returns a date offset by a number of months.", date},
    {"NETWORKDAYS", "NETWORKDAYS(start, end, holidays)", "Returns the number of working days between dates.", date},
    {"WORKDAY", "WORKDAY(start, days, holidays)", "Returns a date offset by working days.", date},
    {"DATEVALUE", "DATEVALUE(date_text)", "Converts a date string to a serial number.", date},
    {"TIMEVALUE", "TIMEVALUE(time_text)", "Converts a time string to a serial number.", date},
    {"PV", "PV(rate, nper, pmt, fv, type)", "Returns the present value of an investment.", financial},
    {"FV", "FV(rate, nper, pmt, pv, type)", "Returns the future value of an investment.", financial},
    {"PMT", "PMT(rate, nper, pv, fv, type)", "Returns the periodic payment for a loan.", financial},
    {"RATE", "RATE(nper, pmt, pv, fv, type, guess)", "Returns the interest rate per period.", financial},
    {"NPER", "NPER(rate, pmt, pv, fv, type)", "Returns the number of periods for an investment.", financial},
    {"NPV", "NPV(rate, value1, value2, ...)", "Returns the net present value of cash flows.", financial},
    {"IRR", "IRR(values, guess)", "Returns the internal rate of return.", financial},
    {"XNPV", "XNPV(rate, values, dates)", "Returns the NPV for irregular cash flows.", financial},
    {"XIRR", "XIRR(values, dates, guess)", "Returns the IRR for irregular cash flows.", financial},
    {"ISNUMBER", "ISNUMBER(value)", "Returns TRUE if value is a number.", info},
    {"ISTEXT", "ISTEXT(value)", "Returns TRUE if value is text.", info},
    {"ISBLANK", "ISBLANK(value)", "Returns TRUE if the cell is empty.", info},
    {"ISERROR", "ISERROR(value)", "Returns TRUE if value is any error.", info},
    {"ISNA", "ISNA(value)", "Returns TRUE if value is #N/A.", info},
    {"ISEVEN", "ISEVEN(number)", "Returns TRUE if value is even.", info},
    {"ISODD", "ISODD(number)", "Returns TRUE if value is odd.", info},
    {"ISLOGICAL", "ISLOGICAL(value)", "Returns TRUE if value is a logical value.", info},
    {"TYPE", "TYPE(value)", "Returns a number indicating the data type.", info},
    {"N", "N(value)", "Converts a value to a number.", info},
    {"NA", "NA()", "Returns the error value #N/A.", info},
    {"DSUM", "DSUM(database, field, criteria)", "Sums values in a field matching criteria.", math},
    {"DCOUNT", "DCOUNT(database, field, criteria)", "Counts numeric values matching criteria.", math},
    {"DAVERAGE", "DAVERAGE(database, field, criteria)", "Averages values in a field matching criteria.", math},
    {"DMAX", "DMAX(database, field, criteria)", "Returns the max value matching criteria.", math},
    {"DMIN", "DMIN(database, field, criteria)", "Returns the min value matching criteria.", math},
};
// clang-format on

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

std::vector<FunctionDef> buildLibrary() {
    std::mt19937_64 random{std::random_device{}()};
    std::vector<FunctionDef> library;
    library.reserve(std::size(kCatalogue));
    for (const auto& row : kCatalogue)
        library.push_back({makeUuid(random), std::string(row.name), std::string(row.signature),
                           std::string(row.description), row.category});
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
    commit.target = cellAddress(targetCol, targetRow);
    commit.argCount = static_cast<int>(kept);

    Log::info("commitFunctionArgs: formula=" + commit.formula + ", target=" + commit.target +
              ", argCount=" + std::to_string(commit.argCount) + ", rawArgs=" + printedStringList(keptArgs));
    for (size_t i = 0; i < keptArgs.size(); ++i)
        Log::info("commitFunctionArgs arg[" + std::to_string(i) + "] = \"" + keptArgs[i] + "\"");
    return commit;
}

} // namespace sumora
