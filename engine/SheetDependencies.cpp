#include "engine/SheetDependencies.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>

#include "engine/FormulaTokenizer.h"

namespace sumora {

std::vector<std::vector<size_t>> sheetsReadBy(const SumoraDocument& document) {
    const size_t count = document.sheets.size();
    // A sheet's reads of itself are not listed: one sheet reads no other.
    if (count <= 1) return std::vector<std::vector<size_t>>(count);
    // Upper-cased names of the named ranges that lie on a sheet.
    std::unordered_map<std::string, size_t> namedSheets;
    for (const NamedRange& range : document.namedRanges)
        if (range.sheetName)
            if (auto index = document.sheetIndex(*range.sheetName))
                namedSheets.emplace(toUpperText(range.name), *index);

    std::vector<std::vector<size_t>> reads(count);
    // Sheet t was noted for sheet s when seenBy[t] == s + 1: one array for
    // all sheets, so a workbook of many sheets costs time linear in them.
    std::vector<size_t> seenBy(count, 0);
    for (size_t s = 0; s < count; ++s) {
        seenBy[s] = s + 1;
        auto note = [&](std::optional<size_t> index) {
            if (index && seenBy[*index] != s + 1) {
                seenBy[*index] = s + 1;
                reads[s].push_back(*index);
            }
        };
        document.sheets[s].forEachStoredCell([&](int64_t, int64_t, const Cell& cell) {
            std::string_view formula;
            if (cell.hasFormula())
                formula = *cell.formula();
            else if (std::string_view value = cell.value(); !value.empty() && value.front() == '=')
                formula = value.substr(1);
            else
                return;
            // Only a prefix names another sheet; most formulas have none.
            if (namedSheets.empty() && formula.find('!') == std::string_view::npos) return;
            for (const Token& t : FormulaTokenizer(formula).tokenize()) {
                if (t.kind == TokenKind::sheetCellRef) {
                    note(document.sheetIndex(t.text));
                } else if (t.kind == TokenKind::functionName && !namedSheets.empty()) {
                    auto named = namedSheets.find(t.text);
                    if (named != namedSheets.end()) note(named->second);
                }
            }
        });
    }
    return reads;
}

// Tarjan's strongly connected components, without recursion: a component is
// complete only after every component it reads, so the order in which they
// complete is an order of calculation. Roots are taken in tab order, and a
// component's sheets (sheets that read each other) are put in tab order.
std::vector<size_t> sheetCalculationOrder(const std::vector<std::vector<size_t>>& reads) {
    const size_t count = reads.size();
    constexpr size_t kUnvisited = SIZE_MAX;
    std::vector<size_t> index(count, kUnvisited), low(count, 0), open, order;
    std::vector<bool> isOpen(count, false);
    std::vector<std::pair<size_t, size_t>> path; // a sheet, and how many of its reads were followed
    size_t counter = 0;
    auto visit = [&](size_t s) {
        index[s] = low[s] = counter++;
        open.push_back(s);
        isOpen[s] = true;
        path.emplace_back(s, 0);
    };
    order.reserve(count);
    for (size_t root = 0; root < count; ++root) {
        if (index[root] != kUnvisited) continue;
        visit(root);
        while (!path.empty()) {
            const size_t s = path.back().first;
            if (path.back().second < reads[s].size()) {
                const size_t read = reads[s][path.back().second++];
                if (index[read] == kUnvisited)
                    visit(read);
                else if (isOpen[read])
                    low[s] = std::min(low[s], index[read]);
                continue;
            }
            path.pop_back();
            if (!path.empty()) low[path.back().first] = std::min(low[path.back().first], low[s]);
            if (low[s] != index[s]) continue;
            const size_t first = order.size();
            size_t member;
            do {
                member = open.back();
                open.pop_back();
                isOpen[member] = false;
                order.push_back(member);
            } while (member != s);
            std::sort(order.begin() + static_cast<std::ptrdiff_t>(first), order.end());
        }
    }
    return order;
}

} // namespace sumora
