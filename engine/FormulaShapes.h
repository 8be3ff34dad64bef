#pragma once
// Parses the formulas of one sheet, once per shape: formulas filled down a
// column ("A5*2+1", "A6*2+1", …) differ only in the row numbers of their
// cell references, so the first one is parsed and the others are copies of
// its tree with those rows replaced.
//
// A formula's shape is its text with the row digits of each cell reference
// cut out. Only plain ASCII formulas are shaped (letters, digits, operators,
// parentheses, commas, colons, "$", "_", ".", spaces); a string literal, a
// sheet prefix or any other character sends the formula to the parser on its
// own. Within that subset the tokenizer treats a reference's row digits the
// same whatever their value (any row from 1 up is a reference), so two
// formulas of one shape tokenize alike except for those rows. The first
// formula of a shape is checked against its parsed tree: its references must
// be the tree's reference corners, in order, or the shape is never shared.
//
// A calculator keeps a formula of a shared shape as the shape's number and
// its rows, not as a tree of its own: instance() writes those rows into the
// shape's one tree, so 300,000 filled-down formulas cost no allocation each.
//
// Filled-down formulas come in runs of a few shapes, so a formula is first
// compared with the keys of the shapes read last: equal to a key outside its
// row marks, with a row scan() would cut out at each mark, it is of that shape
// (scan() would give that key), and neither scanning nor hashing is needed.
#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "engine/FormulaTree.h"
#include "engine/RangeIndex.h"

namespace sumora {

class FunctionRegistry;

class FormulaShapes {
  public:
    FormulaShapes(const FunctionRegistry& registry, std::function<bool(std::string_view)> isWorkbookName);

    static constexpr uint32_t kAlone = UINT32_MAX;

    // What parseFormula gives for the text; throws FormulaParseError as it does.
    FormulaTree parse(std::string_view formula);
    // Reads a formula as parse() does. When it is of a shared shape, returns
    // the shape's number and appends its rows (rowCount(shape) of them) to
    // `rows`; otherwise returns kAlone and leaves its own tree in `alone`.
    uint32_t read(std::string_view formula, std::vector<int32_t>& rows, FormulaTree& alone);
    size_t rowCount(uint32_t shape) const { return shapes_[shape].corners.size(); }
    // The tree of the formula of `shape` with those rows. The shape's tree is
    // rewritten in place: the reference lasts until the next instance of it.
    const FormulaTree& instance(uint32_t shape, const int32_t* rows);
    // Whether what a formula of the shared shape reads is exactly its cell
    // references and ranges (it names nothing), so that appendReads() gives
    // what DependencyGraph::collectRefs gives for its tree.
    bool readsOnlyReferences(uint32_t shape) const { return shapes_[shape].readsOnlyReferences; }
    // The rectangles those references cover with these rows, in tree order.
    void appendReads(uint32_t shape, const int32_t* rows, std::vector<CellRect>& out) const;

    // How many formulas were copied from a shape rather than parsed.
    size_t sharedCount() const { return shared_; }
    // Forgets every shape (their numbers become invalid).
    void clear();

  private:
    struct Corner {
        uint32_t node;
        bool second; // the range's second corner
    };
    struct Shape {
        FormulaTree tree;
        std::vector<Corner> corners; // one per cell reference of the text
        std::string key;
        bool shared = false;
        bool readsOnlyReferences = false;
    };
    struct ScannedRef {
        int32_t col, row;
    };

    // Fills key_ and refs_; false when the text is not of the shaped subset.
    bool scan(std::string_view formula);
    // The reference corners of the tree match refs_, in order.
    bool matches(const FormulaTree& tree, std::vector<Corner>& corners) const;
    // Whether scan() would give the text this key; appends its rows if so.
    static bool hasKey(std::string_view text, std::string_view key, std::vector<int32_t>& rows);
    // Notes a shared shape among the ones to try first.
    void markRecent(uint32_t shape);

    const FunctionRegistry& registry_;
    std::function<bool(std::string_view)> isWorkbookName_;
    std::vector<Shape> shapes_;
    std::unordered_map<std::string, uint32_t> shapeIndex_; // key → index into shapes_
    std::string key_;
    std::vector<ScannedRef> refs_;
    // The shared shapes met last, tried before scanning (kAlone: none yet),
    // replaced in turn.
    std::array<uint32_t, 4> recent_{kAlone, kAlone, kAlone, kAlone};
    size_t nextRecent_ = 0;
    size_t shared_ = 0;
};

} // namespace sumora
