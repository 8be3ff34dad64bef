#pragma once
// The solver's inputs, as its dialog (or the command line) fills them, and
// its outcome. The editor's runSolver takes one and returns the other.
#include <string>
#include <vector>

#include "document/Identifier.h"

namespace sumora {

struct SolverConstraint {
    std::string id = newIdentifier();
    std::string cellRef;
    std::string op; // "<=", ">=", "=", "int", "bin"
    std::string value;
};

struct SolverRequest {
    std::string objectiveCell;
    std::string goal = "max";  // "max", "min", "value"
    std::string targetValue;   // used with "value"
    std::string variableCells; // references separated by ","
    std::vector<SolverConstraint> constraints;
};

struct SolverResult {
    std::string statusText; // "Solution found. Objective = 7", …
};

} // namespace sumora
