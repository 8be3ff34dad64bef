#pragma once
// The record selection shared by the database functions: the records of a
// table (first row: field names) that pass a criteria block, and the chosen
// field's value in each.
#include <cstddef>
#include <optional>
#include <vector>

#include "engine/FunctionContext.h"
#include "functions/ArgumentValues.h"

namespace sumora {

struct DatabaseSelection {
    std::optional<size_t> column;     // the field; none when the field argument is empty
    std::vector<FormulaValue> values; // the field's value in each matching record
    size_t records = 0;               // matching records
    FormulaValue failure;             // an error the field argument held
};

// Reads the (database, field, criteria) arguments of a call; nothing when the
// database is empty, the field names no column or a criterion names no field
// (the functions answer "#VALUE!").
std::optional<DatabaseSelection> selectDatabaseRecords(FunctionContext& c);

} // namespace sumora
