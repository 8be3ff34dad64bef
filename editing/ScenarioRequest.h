#pragma once
// What the scenario manager hands the editor's saveScenario: the scenario's
// name and comment, its changing cells as typed, and the scenario being
// edited (nothing for a new one).
#include <optional>
#include <string>

namespace sumora {

struct ScenarioRequest {
    std::string name;
    std::string comment;
    std::string changingCells; // references separated by ","
    std::optional<std::string> editingScenarioId;
};

} // namespace sumora
