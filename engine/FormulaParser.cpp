#include "engine/FormulaParser.h"

#include <cmath>

#include "engine/FunctionRegistry.h"

namespace sumora {

std::string_view binaryOpText(BinaryOp op) {
    static constexpr std::string_view texts[] = {
        "=", "<>", "<", ">", "<=", ">=", "&", "+", "-", "*", "/", "^"};
    return texts[static_cast<size_t>(op)];
}

namespace {
std::optional<BinaryOp> binaryOpFrom(std::string_view t) {
    for (uint8_t i = 0; i <= static_cast<uint8_t>(BinaryOp::pow); ++i)
        if (binaryOpText(static_cast<BinaryOp>(i)) == t) return static_cast<BinaryOp>(i);
    return std::nullopt;
}
} // namespace

// Deeply nested input ("((((…" thousands deep) fails instead of exhausting the stack.
struct FormulaParser::NestingGuard {
    static constexpr int kMaxNesting = 5000;
    FormulaParser& parser;
    explicit NestingGuard(FormulaParser& p) : parser(p) {
        if (++parser.nesting_ > kMaxNesting) {
            --parser.nesting_;
            parser.fail(FormulaError::generic("Formula is nested too deeply"));
        }
    }
    ~NestingGuard() { --parser.nesting_; }
};

FormulaParser::FormulaParser(std::vector<Token> tokens, const FunctionRegistry& registry,
                             std::function<bool(std::string_view)> isWorkbookName)
    : tokens_(std::move(tokens)), registry_(&registry), isWorkbookName_(std::move(isWorkbookName)) {}

int FormulaParser::precedence(std::string_view op) {
    if (op == "=" || op == "<>" || op == "<" || op == ">" || op == "<=" || op == ">=") return 1;
    if (op == "&") return 2;
    if (op == "+" || op == "-") return 3;
    if (op == "*" || op == "/") return 4;
    if (op == "^") return 5;
    return 0;
}

void FormulaParser::fail(FormulaError e) const {
    throw FormulaParseError{std::move(e)};
}

uint32_t FormulaParser::add(FormulaNode node, uint32_t begin) {
    if (spans_) spans_->push_back({begin, pos_ > 0 ? tokens_[pos_ - 1].end : begin});
    tree_.nodes.push_back(node);
    return static_cast<uint32_t>(tree_.nodes.size() - 1);
}

uint32_t FormulaParser::addString(std::string s) {
    for (size_t i = 0; i < tree_.strings.size(); ++i)
        if (tree_.strings[i] == s) return static_cast<uint32_t>(i);
    tree_.strings.push_back(std::move(s));
    return static_cast<uint32_t>(tree_.strings.size() - 1);
}

FormulaTree FormulaParser::parse() {
    tree_.nodes.reserve(tokens_.size());
    tree_.root = parseExpression(0);
    tree_.nodes.shrink_to_fit();
    return std::move(tree_);
}

uint32_t FormulaParser::parseExpression(int minPrecedence) {
    NestingGuard guard(*this);
    uint32_t left = parsePrimary();
    while (const Token* t = peek()) {
        if (t->kind != TokenKind::op) break;
        int p = precedence(t->text);
        if (p < minPrecedence || p == 0) break;
        auto op = *binaryOpFrom(t->text);
        ++pos_;
        uint32_t right = parseExpression(op == BinaryOp::pow ? p : p + 1);
        FormulaNode n;
        n.kind = NodeKind::binaryOp;
        n.op = static_cast<uint8_t>(op);
        n.first = left;
        tree_.nodes[left].next = right;
        left = add(n, beginOf(left));
    }
    if (const Token* t = peek(); t && t->kind == TokenKind::percent) {
        ++pos_;
        FormulaNode n;
        n.kind = NodeKind::percent;
        n.first = left;
        left = add(n, beginOf(left));
    }
    return left;
}

uint32_t FormulaParser::parseReference(const Token& first) {
    FormulaNode n;
    n.ref.col = clampCoordinate(first.col);
    n.ref.row = clampCoordinate(first.row);
    if (first.kind == TokenKind::sheetCellRef) n.sheet = static_cast<int32_t>(addString(first.text));
    if (const Token* t = peek(); t && t->kind == TokenKind::colon) {
        ++pos_;
        const Token* second = peek();
        if (!second || (second->kind != TokenKind::cellRef && second->kind != TokenKind::sheetCellRef))
            fail(FormulaError(ErrorKind::invalidReference));
        ++pos_;
        n.kind = NodeKind::range;
        n.ref.col2 = clampCoordinate(second->col);
        n.ref.row2 = clampCoordinate(second->row);
        return add(n, first.begin);
    }
    n.kind = NodeKind::cellRef;
    n.ref.col2 = n.ref.col;
    n.ref.row2 = n.ref.row;
    return add(n, first.begin);
}

bool FormulaParser::isLetVariable(std::string_view upper) const {
    for (const auto& v : letScope_)
        if (v == upper) return true;
    return false;
}

uint32_t FormulaParser::parseCall(std::string name, uint32_t begin) {
    ++pos_; // "("
    FormulaNode call;
    call.kind = NodeKind::functionCall;
    call.call.function = registry_->find(name);
    call.call.argCount = 0;
    const bool isLet = call.call.function && call.call.function->is(FunctionFlags::bindsNames);
    const bool isLambda = call.call.function && call.call.function->is(FunctionFlags::bindsParameters);
    call.call.nameIndex = addString(std::move(name));
    size_t scopeMark = letScope_.size();
    const Token* t = peek();
    if (t && t->kind == TokenKind::rparen) {
        ++pos_;
        return add(call, begin);
    }
    uint32_t previous = FormulaNode::kNone;
    while (true) {
        uint32_t arg;
        const Token* a = peek();
        // LET(name1, value1, name2, value2, …, body): a bare name in a name
        // slot declares a variable visible in the arguments that follow;
        // LAMBDA(param1, …, body) declares one in every slot but the last.
        const bool nameSlot = isLambda || (isLet && call.call.argCount % 2 == 0);
        if (nameSlot && a && a->kind == TokenKind::functionName && pos_ + 1 < tokens_.size() &&
            tokens_[pos_ + 1].kind == TokenKind::comma) {
            FormulaNode n;
            n.kind = NodeKind::name;
            n.stringIndex = addString(a->text);
            letScope_.push_back(a->text);
            const uint32_t nameBegin = a->begin;
            ++pos_;
            arg = add(n, nameBegin);
        } else {
            arg = parseExpression(0);
        }
        if (previous == FormulaNode::kNone)
            call.first = arg;
        else
            tree_.nodes[previous].next = arg;
        previous = arg;
        ++call.call.argCount;
        const Token* sep = peek();
        if (sep && sep->kind == TokenKind::comma) {
            ++pos_;
            continue;
        }
        if (sep && sep->kind == TokenKind::rparen) {
            ++pos_;
            break;
        }
        fail(FormulaError::generic("Unexpected token"));
    }
    letScope_.resize(scopeMark);
    return add(call, begin);
}

uint32_t FormulaParser::parsePrimary() {
    NestingGuard guard(*this);
    const Token* t = peek();
    if (!t) fail(FormulaError::generic("Unexpected end of formula"));
    const uint32_t begin = t->begin;
    switch (t->kind) {
    case TokenKind::number: {
        FormulaNode n;
        n.literal = LiteralKind::number;
        n.number = t->number;
        ++pos_;
        return add(n, begin);
    }
    case TokenKind::string: {
        FormulaNode n;
        n.literal = LiteralKind::text;
        n.stringIndex = addString(t->text);
        ++pos_;
        return add(n, begin);
    }
    case TokenKind::boolean: {
        FormulaNode n;
        n.literal = LiteralKind::boolean;
        n.boolean = t->boolean;
        ++pos_;
        // TRUE() and FALSE() are catalogued functions; the tokenizer reads the
        // word as a boolean, so the empty call that follows is taken here.
        if (pos_ + 1 < tokens_.size() && tokens_[pos_].kind == TokenKind::lparen &&
            tokens_[pos_ + 1].kind == TokenKind::rparen)
            pos_ += 2;
        return add(n, begin);
    }
    case TokenKind::cellRef:
    case TokenKind::sheetCellRef: {
        Token first = *t;
        ++pos_;
        return parseReference(first);
    }
    case TokenKind::functionName: {
        std::string name = t->text;
        ++pos_;
        const Token* next = peek();
        if (next && next->kind == TokenKind::lparen) return parseCall(std::move(name), begin);
        if (isLetVariable(name) || (isWorkbookName_ && isWorkbookName_(name))) {
            FormulaNode n;
            n.kind = NodeKind::name;
            n.stringIndex = addString(std::move(name));
            // After a name the tokenizer folds "+1" into the number; a name is
            // an operand, so the sign is really a binary operator.
            if (const Token* after = peek(); after && after->kind == TokenKind::number && after->signFolded) {
                Token op;
                op.kind = TokenKind::op;
                op.text.assign(1, std::signbit(after->number) ? '-' : '+');
                tokens_[pos_].number = std::fabs(tokens_[pos_].number);
                tokens_[pos_].signFolded = false;
                tokens_.insert(tokens_.begin() + static_cast<ptrdiff_t>(pos_), std::move(op));
            }
            return add(n, begin);
        }
        fail(FormulaError::generic("Unexpected token"));
    }
    case TokenKind::op: {
        if (t->text != "-" && t->text != "+") fail(FormulaError::generic("Unexpected token in formula"));
        char sign = t->text[0];
        ++pos_;
        uint32_t operand = parsePrimary();
        FormulaNode n;
        n.kind = NodeKind::unaryOp;
        n.op = static_cast<uint8_t>(sign);
        n.first = operand;
        return add(n, begin);
    }
    case TokenKind::lparen: {
        ++pos_;
        uint32_t inner = parseExpression(0);
        const Token* close = peek();
        if (!close || close->kind != TokenKind::rparen) fail(FormulaError::generic("Unexpected token"));
        ++pos_;
        if (spans_) (*spans_)[inner] = {begin, close->end};
        return inner;
    }
    default:
        fail(FormulaError::generic("Unexpected token"));
    }
}

FormulaTree parseFormula(std::string_view formula, const FunctionRegistry& registry,
                         std::function<bool(std::string_view)> isWorkbookName) {
    if (!formula.empty() && formula.front() == '=') formula.remove_prefix(1);
    FormulaParser parser(FormulaTokenizer(formula).tokenize(), registry, std::move(isWorkbookName));
    return parser.parse();
}

} // namespace sumora
