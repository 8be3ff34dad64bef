#include <iostream>
#include <set>

#include "cli/CliCommands.h"
#include "cli/ReportText.h"
#include "document/SumoraDocument.h"
#include "engine/WorkbookDependencies.h"
#include "functions/BuiltinFunctions.h"
#include "formats/XlsxWorksheetReader.h"

namespace sumora::cli {

namespace {

// Deep chains keep their lines readable: past this level the indentation
// stops growing and the line names its level instead.
constexpr size_t kMaxIndentLevel = 32;

// One line of the tree: a cell, or a range whose formula cells follow it.
struct TraceNode {
    SheetArea area;
    size_t level = 0;
};

class TracePrinter {
  public:
    TracePrinter(const SumoraDocument& doc, const WorkbookDependencies& deps, bool dependents,
                 size_t maxDepth)
        : doc_(doc), deps_(deps), dependents_(dependents), maxDepth_(maxDepth) {}

    void print(const SheetCell& root) {
        // Depth first without recursion (a chain can be a sheet tall); each
        // cell's subtree is shown once, later mentions point back to it.
        std::vector<TraceNode> stack{{{root.sheet, CellRect::cell(root.col, root.row)}, 0}};
        std::vector<TraceNode> children;
        while (!stack.empty()) {
            TraceNode node = stack.back();
            stack.pop_back();
            children.clear();
            std::string label = labelOf(node.area);
            bool repeated = !shown_.insert(label).second;
            if (!repeated) childrenOf(node, children);
            std::string line = indent(node.level) + label;
            if (node.area.isCell()) line += " " + content(node.area);
            if (repeated && hasChildren(node))
                line += "  (see above)";
            else if (node.level >= maxDepth_ && !children.empty())
                line += "  …";
            std::cout << line << '\n';
            if (node.level >= maxDepth_) continue;
            for (auto it = children.rbegin(); it != children.rend(); ++it)
                stack.push_back(*it);
        }
    }

  private:
    std::string labelOf(const SheetArea& a) const {
        const CellRect& r = a.rect;
        return rangeLabel(doc_.sheets[a.sheet].name, r.col1, r.row1, r.col2, r.row2);
    }

    std::string content(const SheetArea& a) const {
        const Cell& cell = doc_.sheets[a.sheet].cell(a.rect.row1, a.rect.col1);
        if (auto f = cell.formula(); f && !f->empty())
            return "=" + std::string(*f) + "  → " + std::string(cell.displayValue());
        if (cell.displayValue().empty()) return "(empty)";
        return std::string(cell.displayValue());
    }

    bool hasChildren(const TraceNode& node) const {
        std::vector<TraceNode> probe;
        childrenOf(node, probe);
        return !probe.empty();
    }

    void childrenOf(const TraceNode& node, std::vector<TraceNode>& out) const {
        size_t level = node.level + 1;
        if (!node.area.isCell()) {
            // A range leads to the formula cells inside it.
            for (const SheetCell& c : deps_.formulasIn(node.area))
                out.push_back({{c.sheet, CellRect::cell(c.col, c.row)}, level});
            return;
        }
        SheetCell at{node.area.sheet, node.area.rect.col1, node.area.rect.row1};
        if (dependents_) {
            for (const SheetCell& c : deps_.dependents(at))
                out.push_back({{c.sheet, CellRect::cell(c.col, c.row)}, level});
        } else {
            for (const SheetArea& a : deps_.precedents(at))
                if (!a.rect.isBackwards()) out.push_back({a, level});
        }
    }

    static std::string indent(size_t level) {
        if (level <= kMaxIndentLevel) return std::string(2 * level, ' ');
        return std::string(2 * kMaxIndentLevel, ' ') + "[" + std::to_string(level) + "] ";
    }

    const SumoraDocument& doc_;
    const WorkbookDependencies& deps_;
    bool dependents_;
    size_t maxDepth_;
    std::set<std::string> shown_;
};

} // namespace

// trace FILE Sheet!Cell [--precedents|--dependents] [--depth N]: the cells a
// formula reads, transitively, or the formulas that read the cell.
void addTraceCommand(CLI::App& app) {
    auto* cmd = app.add_subcommand("trace", "Print the precedents or dependents of a cell as a tree");
    auto input = std::make_shared<std::string>();
    auto target = std::make_shared<std::string>();
    auto depth = std::make_shared<size_t>(SIZE_MAX);
    auto precedents = std::make_shared<bool>(false);
    auto dependents = std::make_shared<bool>(false);
    cmd->add_option("input", *input, "Workbook (xlsx, ods, csv)")->required();
    cmd->add_option("cell", *target, "The cell, as Sheet!B2 (or B2 on the first sheet)")->required();
    auto* p = cmd->add_flag("--precedents", *precedents, "The cells the formula reads (the default)");
    cmd->add_flag("--dependents", *dependents, "The formulas that read the cell")->excludes(p);
    cmd->add_option("--depth", *depth, "Levels below the cell to show (default: all)");
    cmd->callback([=] {
        auto arg = parseCellArgument(*target);
        if (!arg) {
            std::cerr << "Not a cell: " << *target << " (expected Sheet!B2)\n";
            throw CLI::RuntimeError(2);
        }
        if (arg->row >= xlsx::kMaxRows || arg->col >= xlsx::kMaxColumns) {
            std::cerr << "Cell " << *target << " lies outside the grid\n";
            throw CLI::RuntimeError(2);
        }
        SumoraDocument doc = openWorkbookForReport(*input, true);
        std::optional<size_t> sheet = arg->sheet ? doc.sheetIndex(*arg->sheet) : std::optional<size_t>(0);
        if (!sheet) {
            std::cerr << "No sheet named \"" << *arg->sheet << "\" in " << *input << '\n';
            throw CLI::RuntimeError(2);
        }
        WorkbookDependencies deps(doc, builtinFunctions());
        TracePrinter(doc, deps, *dependents, *depth)
            .print({*sheet, static_cast<int32_t>(arg->col), static_cast<int32_t>(arg->row)});
    });
}

} // namespace sumora::cli
