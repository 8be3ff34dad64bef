#pragma once
// Goal seek's inputs, as its dialog (or the command line) fills them, and its
// outcome. The editor's performGoalSeek takes one and returns the other.
#include <string>

namespace sumora {

struct GoalSeekRequest {
    std::string setCell;      // the formula cell to watch, such as B7
    std::string targetValue;  // the number it should reach, read strictly
    std::string changingCell; // the input cell that is varied
};

struct GoalSeekResult {
    std::string statusText; // "Found solution: 5.000000", "Invalid input. …"
};

} // namespace sumora
