// The database family: aggregates over the records of a table whose first
// row names the fields, filtered by a criteria block in the same layout.
// Within a criteria row every non-empty cell must match (AND); the rows are
// alternatives (OR). Criteria cells use the criteria language of SUMIF.
#include <algorithm>
#include <cmath>
#include <limits>

#include "engine/FunctionContext.h"
#include "engine/FunctionRegistry.h"
#include "functions/Criteria.h"
#include "functions/DatabaseSupport.h"

namespace sumora {

namespace {

// The column whose header equals `name`, ignoring case.
std::optional<size_t> fieldColumn(const ValueRow& headers, std::string_view name) {
    for (size_t i = 0; i < headers.size(); ++i)
        if (collateCaseInsensitive(headers[i].description(), name) == 0) return i;
    return std::nullopt;
}

struct Condition {
    size_t column;
    CompiledCriterion criterion;
};
using CriteriaRow = std::vector<Condition>;

// The criteria block as rows of conditions on database columns; nothing
// when a condition stands under a header that names no field.
std::optional<std::vector<CriteriaRow>> compileCriteria(const ValueRows& block, const ValueRow& fields) {
    std::vector<CriteriaRow> rows;
    if (block.empty()) return rows;
    const ValueRow& headers = block.front();
    for (size_t r = 1; r < block.size(); ++r) {
        CriteriaRow row;
        for (size_t col = 0; col < block[r].size() && col < headers.size(); ++col) {
            std::string text = block[r][col].description();
            if (text.empty()) continue;
            std::optional<size_t> column = fieldColumn(fields, headers[col].description());
            if (!column) return std::nullopt;
            row.push_back({*column, CompiledCriterion(text)});
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

// A record passes when any criteria row has all its conditions met; a block
// of headers alone, like an all-empty row, lets every record through.
bool recordMatches(const ValueRow& record, const std::vector<CriteriaRow>& criteria) {
    if (criteria.empty()) return true;
    static const FormulaValue missing;
    for (const CriteriaRow& row : criteria) {
        bool all = std::all_of(row.begin(), row.end(), [&](const Condition& condition) {
            return condition.criterion.matches(condition.column < record.size() ? record[condition.column]
                                                                                : missing);
        });
        if (all) return true;
    }
    return false;
}

enum class Aggregate { sum, count, average, max, min };

// Aggregates the numbers of the chosen field over the matching records.
FormulaValue databaseAggregate(FunctionContext& c, Aggregate kind) {
    ValueRows database = c.resolve2DValues(0);
    if (database.empty()) return err(ErrorKind::invalidValue);
    const ValueRow& fields = database.front();

    FormulaValue field = c.evaluate(1);
    std::optional<size_t> column;
    if (field.isNumber()) {
        double index = std::trunc(field.numberValue());
        if (index < 1 || index > static_cast<double>(fields.size())) return err(ErrorKind::invalidValue);
        column = static_cast<size_t>(index) - 1;
    } else if (kind == Aggregate::count && field.description().empty()) {
        // DCOUNT without a field counts the matching records.
    } else {
        column = fieldColumn(fields, field.description());
        if (!column) return err(ErrorKind::invalidValue);
    }

    auto criteria = compileCriteria(c.resolve2DValues(2), fields);
    if (!criteria) return err(ErrorKind::invalidValue);
    double sum = 0, count = 0;
    double max = -std::numeric_limits<double>::infinity(), min = std::numeric_limits<double>::infinity();
    for (size_t r = 1; r < database.size(); ++r) {
        const ValueRow& record = database[r];
        if (!recordMatches(record, *criteria)) continue;
        if (!column) {
            count += 1;
            continue;
        }
        if (*column >= record.size() || !record[*column].isNumber()) continue;
        double x = record[*column].numberValue();
        sum += x;
        count += 1;
        max = std::max(max, x);
        min = std::min(min, x);
    }
    switch (kind) {
    case Aggregate::sum:
        return num(sum);
    case Aggregate::count:
        return num(count);
    case Aggregate::average:
        return count == 0 ? err(ErrorKind::divisionByZero) : num(sum / count);
    case Aggregate::max:
        return num(count == 0 ? 0 : max);
    case Aggregate::min:
        return num(count == 0 ? 0 : min);
    }
    return num(sum);
}

// DSUM(database, field, criteria) — sum of the field over matching records
FormulaValue dSum(FunctionContext& c) {
    return databaseAggregate(c, Aggregate::sum);
}
// DCOUNT(database, field, criteria) — numbers in the field over matching records
FormulaValue dCount(FunctionContext& c) {
    return databaseAggregate(c, Aggregate::count);
}
// DAVERAGE(database, field, criteria) — mean of the field; "#DIV/0!" for none
FormulaValue dAverage(FunctionContext& c) {
    return databaseAggregate(c, Aggregate::average);
}
// DMAX(database, field, criteria) — largest number of the field; 0 for none
FormulaValue dMax(FunctionContext& c) {
    return databaseAggregate(c, Aggregate::max);
}
// DMIN(database, field, criteria) — smallest number of the field; 0 for none
FormulaValue dMin(FunctionContext& c) {
    return databaseAggregate(c, Aggregate::min);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kDatabaseFunctions[] = {
    {"DSUM", dSum, atLeast(3), valuesRule, listed, "DSUM(database, field, criteria)", "Sums values in a field matching criteria."},
    {"DCOUNT", dCount, atLeast(3), valuesRule, listed, "DCOUNT(database, field, criteria)", "Counts numeric values matching criteria."},
    {"DAVERAGE", dAverage, atLeast(3), valuesRule, listed, "DAVERAGE(database, field, criteria)", "Averages values in a field matching criteria."},
    {"DMAX", dMax, atLeast(3), valuesRule, listed, "DMAX(database, field, criteria)", "Returns the max value matching criteria."},
    {"DMIN", dMin, atLeast(3), valuesRule, listed, "DMIN(database, field, criteria)", "Returns the min value matching criteria."},
};
// clang-format on

} // namespace

std::optional<DatabaseSelection> selectDatabaseRecords(FunctionContext& c) {
    ValueRows database = c.resolve2DValues(0);
    if (database.empty()) return std::nullopt;
    const ValueRow& fields = database.front();
    DatabaseSelection selection;
    FormulaValue field = scalarOf(c.evaluate(1));
    if (field.isError()) {
        selection.failure = field;
        return selection;
    }
    if (field.isNumber()) {
        double index = std::trunc(field.numberValue());
        if (index < 1 || index > static_cast<double>(fields.size())) return std::nullopt;
        selection.column = static_cast<size_t>(index) - 1;
    } else if (!field.description().empty()) {
        selection.column = fieldColumn(fields, field.description());
        if (!selection.column) return std::nullopt;
    }
    auto criteria = compileCriteria(c.resolve2DValues(2), fields);
    if (!criteria) return std::nullopt;
    for (size_t r = 1; r < database.size(); ++r) {
        const ValueRow& record = database[r];
        if (!recordMatches(record, *criteria)) continue;
        ++selection.records;
        if (selection.column)
            selection.values.push_back(*selection.column < record.size() ? record[*selection.column]
                                                                         : FormulaValue::empty());
    }
    return selection;
}

void registerDatabaseFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::database, kDatabaseFunctions);
}

} // namespace sumora
