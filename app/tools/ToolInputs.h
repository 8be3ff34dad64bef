#pragma once
// The inputs each tool dialog last ran with, kept per document window so that
// a dialog opened again starts from them.
#include <string>

#include "editing/GoalSeek.h"
#include "editing/RemoveDuplicates.h"
#include "editing/Solver.h"
#include "editing/SortRequest.h"
#include "editing/TextToColumns.h"

namespace sumora::app {

struct ToolInputs {
    GoalSeekRequest goalSeek;
    SolverRequest solver;
    SortRequest sort;
    TextToColumnsRequest textToColumns;
    RemoveDuplicatesRequest removeDuplicates;
    std::string scenarioChangingCells;
};

} // namespace sumora::app
