#include "engine/FormulaShapes.h"

#include <algorithm>
#include <array>

#include "engine/FormulaParser.h"

namespace sumora {

namespace {

// Rows are cut out only up to this many digits, so that every row read is a
// valid one (at least 1, no overflow) and tokenizes as a reference.
constexpr size_t kMaxRowDigits = 9;
// Longer letter runs are left in the shape (they rarely name a column).
constexpr size_t kMaxColumnLetters = 3;
// Marks where a row was cut out of a shape.
constexpr char kRowMark = '\x01';
// Shapes remembered per sheet; past this, formulas of new shapes are parsed alone.
constexpr size_t kMaxShapes = 4096;

// What a character is to the shape scanner: a formula of the shaped subset
// holds only separators (each a token of its own) and identifier characters
// (read by the tokenizer into one identifier).
enum CharClass : uint8_t { unshaped, separator, letter, digit, identifierMark };

constexpr std::array<uint8_t, 256> makeCharClasses() {
    std::array<uint8_t, 256> classes{};
    for (char c : std::string_view(" +-*/^&=<>(),:%"))
        classes[static_cast<uint8_t>(c)] = separator;
    for (int c = 'A'; c <= 'Z'; ++c)
        classes[static_cast<size_t>(c)] = classes[static_cast<size_t>(c - 'A' + 'a')] = letter;
    for (int c = '0'; c <= '9'; ++c)
        classes[static_cast<size_t>(c)] = digit;
    for (char c : std::string_view("$_."))
        classes[static_cast<uint8_t>(c)] = identifierMark;
    return classes;
}
constexpr std::array<uint8_t, 256> kCharClasses = makeCharClasses();

uint8_t classOf(char c) {
    return kCharClasses[static_cast<uint8_t>(c)];
}
bool isLetter(char c) {
    return classOf(c) == letter;
}
bool isDigit(char c) {
    return classOf(c) == digit;
}
bool isIdentifierChar(char c) {
    return classOf(c) >= letter;
}

} // namespace

FormulaShapes::FormulaShapes(const FunctionRegistry& registry,
                             std::function<bool(std::string_view)> isWorkbookName)
    : registry_(registry), isWorkbookName_(std::move(isWorkbookName)) {}

bool FormulaShapes::scan(std::string_view text) {
    key_.clear();
    refs_.clear();
    size_t copied = 0; // text before this is in key_
    size_t i = 0;
    while (i < text.size()) {
        const uint8_t kind = classOf(text[i]);
        if (kind == separator) {
            ++i;
            continue;
        }
        if (kind == unshaped) return false;
        // An identifier run. It follows a separator or the start (runs are
        // read whole), and only one that begins with a letter, "$" or "_" can
        // be a reference: the "E5" of "1E5" belongs to a number.
        size_t end = i + 1;
        while (end < text.size() && isIdentifierChar(text[end]))
            ++end;
        if (kind == digit || text[i] == '.') {
            i = end;
            continue;
        }
        // A reference: "$"? letters "$"? digits, not followed by "(".
        size_t p = i + (text[i] == '$' ? 1 : 0);
        const size_t lettersBegin = p;
        // Runs longer than a reference can be are still walked, but no
        // longer accumulated: they are not references and would overflow.
        int64_t col = 0;
        for (; p < end && isLetter(text[p]); ++p)
            if (p - lettersBegin < kMaxColumnLetters) col = col * 26 + ((text[p] & ~0x20) - 'A' + 1);
        const size_t letters = p - lettersBegin;
        if (p < end && text[p] == '$') ++p;
        const size_t digitsBegin = p;
        int64_t row = 0;
        for (; p < end && isDigit(text[p]); ++p)
            if (p - digitsBegin < kMaxRowDigits) row = row * 10 + (text[p] - '0');
        const size_t digits = p - digitsBegin;
        const bool call = end < text.size() && text[end] == '(';
        if (p == end && letters >= 1 && letters <= kMaxColumnLetters && digits >= 1 &&
            digits <= kMaxRowDigits && row >= 1 && !call) {
            key_.append(text, copied, digitsBegin - copied);
            key_ += kRowMark;
            copied = end;
            refs_.push_back({static_cast<int32_t>(col - 1), static_cast<int32_t>(row - 1)});
        }
        i = end;
    }
    key_.append(text, copied, text.size() - copied);
    return true;
}

bool FormulaShapes::matches(const FormulaTree& tree, std::vector<Corner>& corners) const {
    corners.clear();
    for (uint32_t n = 0; n < tree.nodes.size(); ++n) {
        const FormulaNode& node = tree.nodes[n];
        if (node.kind != NodeKind::cellRef && node.kind != NodeKind::range) continue;
        if (node.sheet >= 0) return false;
        corners.push_back({n, false});
        if (node.kind == NodeKind::range) corners.push_back({n, true});
    }
    if (corners.size() != refs_.size()) return false;
    for (size_t k = 0; k < corners.size(); ++k) {
        const FormulaNode& node = tree.nodes[corners[k].node];
        const int32_t col = corners[k].second ? node.ref.col2 : node.ref.col;
        const int32_t row = corners[k].second ? node.ref.row2 : node.ref.row;
        if (col != refs_[k].col || row != refs_[k].row) return false;
    }
    return true;
}

bool FormulaShapes::hasKey(std::string_view text, std::string_view key, std::vector<int32_t>& rows) {
    const size_t rowsBefore = rows.size();
    const char* t = text.data();
    const char* const end = t + text.size();
    bool same = true;
    for (const char k : key) {
        if (k != kRowMark) {
            same = t != end && *t == k;
            if (!same) break;
            ++t;
            continue;
        }
        // The row digits of a reference. What follows them in the key ends the
        // reference's run (it is no identifier character), so the text's next
        // character is checked against it like any other.
        const char* const digits = t;
        while (t != end && isDigit(*t))
            ++t;
        same = t != digits && t - digits <= static_cast<ptrdiff_t>(kMaxRowDigits);
        if (!same) break;
        int64_t row = 0;
        for (const char* d = digits; d != t; ++d)
            row = row * 10 + (*d - '0');
        same = row >= 1;
        if (!same) break;
        rows.push_back(static_cast<int32_t>(row - 1));
    }
    if (same && t == end) return true;
    rows.resize(rowsBefore);
    return false;
}

void FormulaShapes::markRecent(uint32_t shape) {
    if (std::find(recent_.begin(), recent_.end(), shape) != recent_.end()) return;
    recent_[nextRecent_] = shape;
    nextRecent_ = (nextRecent_ + 1) % recent_.size();
}

uint32_t FormulaShapes::read(std::string_view formula, std::vector<int32_t>& rows, FormulaTree& alone) {
    for (const uint32_t shape : recent_) {
        if (shape == kAlone) break;
        // A key never starts with a row mark: the first character rules most shapes out.
        const std::string& key = shapes_[shape].key;
        if (!formula.empty() && key[0] == formula[0] && hasKey(formula, key, rows)) {
            ++shared_;
            return shape;
        }
    }
    if (!scan(formula)) {
        alone = parseFormula(formula, registry_, isWorkbookName_);
        return kAlone;
    }
    auto found = shapeIndex_.find(key_);
    if (found == shapeIndex_.end()) {
        FormulaTree tree = parseFormula(formula, registry_, isWorkbookName_);
        if (shapes_.size() >= kMaxShapes) {
            alone = std::move(tree);
            return kAlone;
        }
        const auto index = static_cast<uint32_t>(shapes_.size());
        shapeIndex_.emplace(key_, index);
        Shape& shape = shapes_.emplace_back();
        shape.shared = matches(tree, shape.corners);
        if (!shape.shared) {
            alone = std::move(tree);
            return kAlone;
        }
        shape.key = key_;
        shape.readsOnlyReferences =
            std::none_of(tree.nodes.begin(), tree.nodes.end(),
                         [](const FormulaNode& n) { return n.kind == NodeKind::name; });
        shape.tree = std::move(tree);
        for (const ScannedRef& ref : refs_)
            rows.push_back(ref.row);
        markRecent(index);
        return index;
    }
    if (!shapes_[found->second].shared) {
        alone = parseFormula(formula, registry_, isWorkbookName_);
        return kAlone;
    }
    for (const ScannedRef& ref : refs_)
        rows.push_back(ref.row);
    ++shared_;
    markRecent(found->second);
    return found->second;
}

const FormulaTree& FormulaShapes::instance(uint32_t index, const int32_t* rows) {
    Shape& shape = shapes_[index];
    for (size_t k = 0; k < shape.corners.size(); ++k) {
        FormulaNode& node = shape.tree.nodes[shape.corners[k].node];
        if (shape.corners[k].second) {
            node.ref.row2 = rows[k];
        } else {
            node.ref.row = rows[k];
            if (node.kind == NodeKind::cellRef) node.ref.row2 = rows[k];
        }
    }
    return shape.tree;
}

void FormulaShapes::appendReads(uint32_t index, const int32_t* rows, std::vector<CellRect>& out) const {
    const Shape& shape = shapes_[index];
    for (size_t k = 0; k < shape.corners.size(); ++k) {
        const FormulaNode& node = shape.tree.nodes[shape.corners[k].node];
        if (node.kind == NodeKind::cellRef) {
            out.push_back(CellRect::cell(node.ref.col, rows[k]));
        } else { // a range: its two corners are consecutive
            out.push_back({node.ref.col, rows[k], node.ref.col2, rows[k + 1]});
            ++k;
        }
    }
}

void FormulaShapes::clear() {
    recent_.fill(kAlone);
    nextRecent_ = 0;
    shapes_.clear();
    shapeIndex_.clear();
    shared_ = 0;
}

FormulaTree FormulaShapes::parse(std::string_view formula) {
    FormulaTree alone;
    std::vector<int32_t> rows;
    const uint32_t shape = read(formula, rows, alone);
    if (shape == kAlone) return alone;
    return instance(shape, rows.data());
}

} // namespace sumora
