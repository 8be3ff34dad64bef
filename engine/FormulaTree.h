#pragma once
// The parsed form of one formula: nodes in one flat array, children linked by
// index. A formula of five nodes is one allocation of 160 bytes, so a sheet
// can keep hundreds of thousands of parsed formulas alive between edits.
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace sumora {

struct FunctionDeclaration;

enum class NodeKind : uint8_t { literal, cellRef, range, unaryOp, binaryOp, functionCall, percent, name };
enum class LiteralKind : uint8_t { number, text, boolean };
enum class BinaryOp : uint8_t { eq, ne, lt, gt, le, ge, concat, add, sub, mul, div, pow };

std::string_view binaryOpText(BinaryOp op);

struct FormulaNode {
    static constexpr uint32_t kNone = std::numeric_limits<uint32_t>::max();

    NodeKind kind = NodeKind::literal;
    uint8_t op = 0;          // BinaryOp, or for unaryOp the sign character
    LiteralKind literal = LiteralKind::number;
    int32_t sheet = -1;      // index into strings of the reference's sheet, −1 for none
    uint32_t first = kNone;  // first child (operand, left operand, first argument)
    uint32_t next = kNone;   // next sibling (right operand, next argument)
    union {
        double number;
        bool boolean;
        uint32_t stringIndex; // text literal, bare name
        struct {
            int32_t col, row, col2, row2;
        } ref;
        struct {
            const FunctionDeclaration* function; // resolved once at parse time; nullptr if unknown
            uint32_t argCount;
            uint32_t nameIndex;
        } call;
    };

    FormulaNode() : number(0) {}
};
static_assert(sizeof(FormulaNode) == 32);

class FormulaTree {
public:
    std::vector<FormulaNode> nodes;
    std::vector<std::string> strings;
    uint32_t root = FormulaNode::kNone;

    const FormulaNode& node(uint32_t i) const { return nodes[i]; }
    std::string_view string(uint32_t i) const { return strings[i]; }
    // Sheet name of a reference node, or nullptr for the formula's own sheet.
    const std::string* sheetOf(const FormulaNode& n) const { return n.sheet < 0 ? nullptr : &strings[static_cast<size_t>(n.sheet)]; }
    std::string_view functionName(const FormulaNode& n) const { return strings[n.call.nameIndex]; }

    // Argument node indices of a call, in order.
    template <class Out> void arguments(const FormulaNode& call, Out& out) const {
        for (uint32_t a = call.first; a != FormulaNode::kNone; a = nodes[a].next) out.push_back(a);
    }
    // Calls f(nodeIndex) for every node (any order).
    size_t size() const { return nodes.size(); }
};

// Stored coordinates are 32-bit; references beyond that (never inside a real
// grid) are clamped to a position outside every grid.
inline int32_t clampCoordinate(int64_t v) {
    if (v > std::numeric_limits<int32_t>::max()) return std::numeric_limits<int32_t>::max();
    if (v < 0) return 0;
    return static_cast<int32_t>(v);
}

} // namespace sumora
