#include "editing/SheetOperations.h"

#include <algorithm>
#include <cctype>

namespace sumora {

namespace {

bool sameNameIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

size_t visibleCount(const SumoraDocument& document) {
    return static_cast<size_t>(std::count_if(document.sheets.begin(), document.sheets.end(),
                                             [](const Sheet& s) { return !s.isHidden; }));
}

} // namespace

std::string nextSheetName(const SumoraDocument& document) {
    for (size_t n = document.sheets.size() + 1;; ++n) {
        std::string name = "Sheet " + std::to_string(n);
        if (!document.sheetIndex(name)) return name;
    }
}

std::optional<std::string> sheetNameProblem(const SumoraDocument& document, size_t index,
                                            std::string_view name) {
    if (name.find_first_not_of(" \t") == std::string_view::npos) return "A sheet name cannot be empty.";
    // Sheet names end up in formulas and in XLSX, which allows 31 characters.
    if (name.size() > 31) return "A sheet name can have at most 31 characters.";
    if (name.find_first_of(":\\/?*[]") != std::string_view::npos)
        return "A sheet name cannot contain any of these characters: : \\ / ? * [ ]";
    for (size_t i = 0; i < document.sheets.size(); ++i)
        if (i != index && sameNameIgnoringCase(document.sheets[i].name, name))
            return "A sheet named \"" + std::string(name) + "\" already exists.";
    return std::nullopt;
}

size_t addSheet(SumoraDocument& document, std::optional<size_t> after) {
    const size_t at = after && *after < document.sheets.size() ? *after + 1 : document.sheets.size();
    document.sheets.insert(document.sheets.begin() + static_cast<std::ptrdiff_t>(at),
                           SumoraDocument::makeNewSheet(nextSheetName(document)));
    return at;
}

std::optional<std::string> renameSheet(SumoraDocument& document, size_t index, std::string_view name) {
    if (index >= document.sheets.size()) return "There is no such sheet.";
    if (auto problem = sheetNameProblem(document, index, name)) return problem;
    document.sheets[index].name = std::string(name);
    return std::nullopt;
}

bool deleteSheet(SumoraDocument& document, size_t index) {
    if (index >= document.sheets.size()) return false;
    if (!document.sheets[index].isHidden && visibleCount(document) <= 1) return false;
    const std::string name = document.sheets[index].name;
    document.sheets.erase(document.sheets.begin() + static_cast<std::ptrdiff_t>(index));
    SumoraDocument::cleanupReferencesToDeletedSheet(name, document.sheets);
    return true;
}

void moveSheet(SumoraDocument& document, size_t from, size_t to) {
    auto& sheets = document.sheets;
    if (from >= sheets.size() || to >= sheets.size() || from == to) return;
    Sheet moving = std::move(sheets[from]);
    sheets.erase(sheets.begin() + static_cast<std::ptrdiff_t>(from));
    sheets.insert(sheets.begin() + static_cast<std::ptrdiff_t>(to), std::move(moving));
}

bool setSheetHidden(SumoraDocument& document, size_t index, bool hidden) {
    if (index >= document.sheets.size()) return false;
    Sheet& sheet = document.sheets[index];
    if (hidden && !sheet.isHidden && visibleCount(document) <= 1) return false;
    sheet.isHidden = hidden;
    return true;
}

std::vector<size_t> visibleSheetIndices(const SumoraDocument& document) {
    std::vector<size_t> indices;
    for (size_t i = 0; i < document.sheets.size(); ++i)
        if (!document.sheets[i].isHidden) indices.push_back(i);
    return indices;
}

} // namespace sumora
