#include <iostream>
#include <set>

#include "cli/CliCommands.h"
#include "cli/ReportText.h"
#include "document/SumoraDocument.h"
#include "engine/WorkbookDependencies.h"
#include "formats/XlsxWorksheetReader.h"
#include "functions/BuiltinFunctions.h"

namespace sumora::cli {

namespace {

// Deep chains keep their lines readable: past this level the indentation
// stops growing and the line names its level instead.
constexpr size_t kMaxIndentLevel = 32;

// One entry of the tree: a cell, or a range whose formula cells follow it.
struct TraceNode {
    SheetArea area;
    size_t level = 0;
    size_t parent = SIZE_MAX; // index of the entry it hangs under
};

struct TraceLine {
    TraceNode node;
    std::string label;
    bool repeated = false; // shown earlier with its own subtree
    bool cut = false;      // has entries below --depth
};

class TraceWalker {
  public:
    TraceWalker(const SumoraDocument& doc, const WorkbookDependencies& deps, bool dependents, size_t maxDepth)
        : doc_(doc), deps_(deps), dependents_(dependents), maxDepth_(maxDepth) {}

    std::vector<TraceLine> walk(const SheetCell& root) {
        // Depth first without recursion (a chain can be a sheet tall); each
        // cell's subtree is shown once, later mentions point back to it.
        std::vector<TraceLine> lines;
        std::vector<TraceNode> stack{{{root.sheet, CellRect::cell(root.col, root.row)}, 0}};
        std::vector<TraceNode> children;
        std::set<std::string> shown;
        while (!stack.empty()) {
            TraceNode node = stack.back();
            stack.pop_back();
            children.clear();
            TraceLine line{node, labelOf(node.area)};
            line.repeated = !shown.insert(line.label).second;
            if (!line.repeated) childrenOf(node, lines.size(), children);
            if (line.repeated)
                line.repeated = hasChildren(node);
            else
                line.cut = node.level >= maxDepth_ && !children.empty();
            lines.push_back(std::move(line));
            if (node.level >= maxDepth_) continue;
            for (auto it = children.rbegin(); it != children.rend(); ++it)
                stack.push_back(*it);
        }
        return lines;
    }

    // "=formula  → value", the constant, or "(empty)".
    std::string content(const SheetArea& a) const {
        const Cell& cell = this->cell(a);
        if (auto f = cell.formula(); f && !f->empty())
            return "=" + std::string(*f) + "  → " + std::string(cell.displayValue());
        if (cell.displayValue().empty()) return "(empty)";
        return std::string(cell.displayValue());
    }
    const Cell& cell(const SheetArea& a) const { return doc_.sheets[a.sheet].cell(a.rect.row1, a.rect.col1); }

  private:
    std::string labelOf(const SheetArea& a) const {
        const CellRect& r = a.rect;
        return rangeLabel(doc_.sheets[a.sheet].name, r.col1, r.row1, r.col2, r.row2);
    }

    bool hasChildren(const TraceNode& node) const {
        std::vector<TraceNode> probe;
        childrenOf(node, 0, probe);
        return !probe.empty();
    }

    void childrenOf(const TraceNode& node, size_t index, std::vector<TraceNode>& out) const {
        size_t level = node.level + 1;
        if (!node.area.isCell()) {
            // A range leads to the formula cells inside it.
            for (const SheetCell& c : deps_.formulasIn(node.area))
                out.push_back({{c.sheet, CellRect::cell(c.col, c.row)}, level, index});
            return;
        }
        SheetCell at{node.area.sheet, node.area.rect.col1, node.area.rect.row1};
        if (dependents_) {
            for (const SheetCell& c : deps_.dependents(at))
                out.push_back({{c.sheet, CellRect::cell(c.col, c.row)}, level, index});
        } else {
            for (const SheetArea& a : deps_.precedents(at))
                if (!a.rect.isBackwards()) out.push_back({a, level, index});
        }
    }

    const SumoraDocument& doc_;
    const WorkbookDependencies& deps_;
    bool dependents_;
    size_t maxDepth_;
};

std::string indent(size_t level) {
    if (level <= kMaxIndentLevel) return std::string(2 * level, ' ');
    return std::string(2 * kMaxIndentLevel, ' ') + "[" + std::to_string(level) + "] ";
}

void printText(const TraceWalker& walker, const std::vector<TraceLine>& lines) {
    for (const TraceLine& l : lines) {
        std::string line = indent(l.node.level) + l.label;
        if (l.node.area.isCell()) line += " " + walker.content(l.node.area);
        if (l.repeated)
            line += "  (see above)";
        else if (l.cut)
            line += "  …";
        std::cout << line << '\n';
    }
}

// {"file", "cell", "direction", "nodes": [{"ref", "level", "parent", "formula",
// "value", "seeAbove", "more"}]}: the tree in the text's order, each entry
// naming the index of the entry it hangs under.
void printJson(const std::string& path, bool dependents, const TraceWalker& walker,
               const std::vector<TraceLine>& lines) {
    std::string out = "{\n  \"file\": " + jsonString(path) + ",\n  \"cell\": " + jsonString(lines[0].label) +
                      ",\n  \"direction\": " + (dependents ? "\"dependents\"" : "\"precedents\"") +
                      ",\n  \"nodes\": [";
    for (size_t i = 0; i < lines.size(); ++i) {
        const TraceLine& l = lines[i];
        out += i ? ",\n    " : "\n    ";
        out += "{\"ref\": " + jsonString(l.label) + ", \"level\": " + std::to_string(l.node.level) +
               ", \"parent\": " + (l.node.parent == SIZE_MAX ? "null" : std::to_string(l.node.parent));
        std::string formula = "null", value = "null";
        if (l.node.area.isCell()) {
            const Cell& cell = walker.cell(l.node.area);
            if (auto f = cell.formula(); f && !f->empty()) formula = jsonString("=" + std::string(*f));
            value = jsonString(cell.displayValue());
        }
        out += ", \"formula\": " + formula + ", \"value\": " + value +
               ", \"seeAbove\": " + (l.repeated ? "true" : "false") +
               ", \"more\": " + (l.cut ? "true" : "false") + "}";
        if (out.size() > (1 << 20)) {
            std::cout << out;
            out.clear();
        }
    }
    std::cout << out << "\n  ]\n}\n";
}

} // namespace

// trace FILE Sheet!Cell [--precedents|--dependents] [--depth N] [--json]: the cells a
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
    auto json = std::make_shared<bool>(false);
    cmd->add_flag("--json", *json, "Print one JSON document");
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
        SumoraDocument& doc = heldUntilExit(openWorkbookForReport(*input, true));
        std::optional<size_t> sheet = arg->sheet ? doc.sheetIndex(*arg->sheet) : std::optional<size_t>(0);
        if (!sheet) {
            std::cerr << "No sheet named \"" << *arg->sheet << "\" in " << *input << '\n';
            throw CLI::RuntimeError(2);
        }
        WorkbookDependencies deps(doc, builtinFunctions());
        TraceWalker walker(doc, deps, *dependents, *depth);
        std::vector<TraceLine> lines =
            walker.walk({*sheet, static_cast<int32_t>(arg->col), static_cast<int32_t>(arg->row)});
        if (*json)
            printJson(*input, *dependents, walker, lines);
        else
            printText(walker, lines);
    });
}

} // namespace sumora::cli
