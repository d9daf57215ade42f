#include "korvane/store/filter.hpp"

#include <string>

#include "korvane/store/error.hpp"
#include "korvane/store/text.hpp"

namespace korvane::store {

namespace {

enum class CompareOp { Equal, NotEqual, Less, Greater, LessEqual, GreaterEqual, Like };

// Criteria come from hosts and from packed text; a runaway nesting must end in an error, not in
// a stack overflow.
constexpr int kMaxNesting = 200;

constexpr const char* kItemNotFoundText =
    "Item cannot be found in the collection corresponding to the requested name or ordinal.";

bool isNameChar(char c) noexcept {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

bool isBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

bool equalsIgnoreCase(std::string_view a, std::string_view b) noexcept {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (lowerAscii(a[i]) != lowerAscii(b[i])) return false;
  }
  return true;
}

bool isKeyword(std::string_view word) noexcept {
  return equalsIgnoreCase(word, "AND") || equalsIgnoreCase(word, "OR") ||
         equalsIgnoreCase(word, "LIKE") || equalsIgnoreCase(word, "NULL");
}

bool isWildcard(char c) noexcept { return c == '%' || c == '*'; }

}  // namespace

// And and Or hold their operands side by side rather than as a binary chain, so a long run of
// terms neither deepens the tree nor the recursion over it; only parentheses nest.
struct Filter::Node {
  enum class Kind { And, Or, Compare };

  Kind kind = Kind::Compare;
  std::vector<std::unique_ptr<Node>> operands;  // And, Or

  std::string field;  // Compare
  long column = -1;   // set by bind()
  CompareOp op = CompareOp::Equal;
  Variant literal;
};

namespace {

using Node = Filter::Node;

class Parser {
 public:
  explicit Parser(std::string_view criteria) : text_(criteria) {}

  std::unique_ptr<Node> parseCriteria() {
    auto node = parseExpression(0);
    skipBlanks();
    if (!atEnd()) fail("AND, OR or end of criteria expected");
    return node;
  }

 private:
  std::unique_ptr<Node> parseExpression(int nesting) {
    std::vector<std::unique_ptr<Node>> terms;
    do {
      addOperand(terms, parseTerm(nesting), Node::Kind::Or);
    } while (acceptKeyword("OR"));
    return combine(std::move(terms), Node::Kind::Or);
  }

  std::unique_ptr<Node> parseTerm(int nesting) {
    std::vector<std::unique_ptr<Node>> factors;
    do {
      addOperand(factors, parseFactor(nesting), Node::Kind::And);
    } while (acceptKeyword("AND"));
    return combine(std::move(factors), Node::Kind::And);
  }

  std::unique_ptr<Node> parseFactor(int nesting) {
    skipBlanks();
    if (!atEnd() && text_[pos_] == '(') {
      if (nesting >= kMaxNesting) fail("at most 200 nested parentheses expected");
      ++pos_;
      auto inner = parseExpression(nesting + 1);
      skipBlanks();
      if (atEnd() || text_[pos_] != ')') fail("AND, OR or ')' expected");
      ++pos_;
      return inner;
    }
    auto node = std::make_unique<Node>();
    node->field = parseField();
    node->op = parseOperator();
    node->literal = parseLiteral(node->op);
    return node;
  }

  std::string parseField() {
    skipBlanks();
    const std::size_t start = pos_;
    if (!atEnd() && text_[pos_] == '[') {
      const std::size_t close = text_.find(']', pos_ + 1);
      if (close == std::string_view::npos) fail("']' expected", text_.size());
      if (close == pos_ + 1) fail("field name expected", pos_ + 1);
      pos_ = close + 1;
      return std::string(text_.substr(start + 1, close - start - 1));
    }
    while (!atEnd() && isNameChar(text_[pos_])) ++pos_;
    const std::string_view name = text_.substr(start, pos_ - start);
    if (name.empty() || isKeyword(name)) fail("field name expected", start);
    return std::string(name);
  }

  CompareOp parseOperator() {
    skipBlanks();
    const std::string_view rest = text_.substr(pos_);
    static constexpr std::pair<std::string_view, CompareOp> kSymbols[] = {
        {"<=", CompareOp::LessEqual}, {">=", CompareOp::GreaterEqual}, {"<>", CompareOp::NotEqual},
        {"=", CompareOp::Equal},      {"<", CompareOp::Less},          {">", CompareOp::Greater}};
    for (const auto& [symbol, op] : kSymbols) {
      if (rest.starts_with(symbol)) {
        pos_ += symbol.size();
        return op;
      }
    }
    if (acceptKeyword("LIKE")) return CompareOp::Like;
    fail("comparison operator expected");
  }

  Variant parseLiteral(CompareOp op) {
    skipBlanks();
    const std::size_t start = pos_;
    Variant literal;
    if (atEnd()) {
      fail("value expected");
    } else if (text_[pos_] == '\'') {
      literal = parseText();
    } else if (text_[pos_] == '#') {
      literal = parseDate();
    } else if (isDigit(text_[pos_]) || text_[pos_] == '-' || text_[pos_] == '+' ||
               text_[pos_] == '.') {
      literal = parseNumberLiteral();
    } else if (acceptKeyword("NULL")) {
      literal = Null;
    } else {
      fail("value expected");
    }
    if (op == CompareOp::Like && !literal.isText()) fail("quoted pattern expected", start);
    return literal;
  }

  // 'text', with '' standing for one quote.
  Variant parseText() {
    std::string value;
    ++pos_;
    while (true) {
      if (atEnd()) fail("closing quote expected");
      const char c = text_[pos_++];
      if (c != '\'') {
        value += c;
      } else if (!atEnd() && text_[pos_] == '\'') {
        value += '\'';
        ++pos_;
      } else {
        return Variant(std::move(value));
      }
    }
  }

  Variant parseDate() {
    const std::size_t start = pos_;
    const std::size_t close = text_.find('#', pos_ + 1);
    if (close == std::string_view::npos) fail("closing '#' expected", text_.size());
    Date date;
    if (!Date::tryParse(text_.substr(start + 1, close - start - 1), date)) {
      fail("date as #DD/MM/YYYY# expected", start);
    }
    pos_ = close + 1;
    return Variant(date);
  }

  Variant parseNumberLiteral() {
    const std::size_t start = pos_;
    if (text_[pos_] == '-' || text_[pos_] == '+') ++pos_;
    const std::size_t digitsStart = pos_;
    skipDigits();
    bool fraction = false;
    if (!atEnd() && text_[pos_] == '.') {
      fraction = true;
      ++pos_;
      skipDigits();
    }
    const std::size_t digits = pos_ - digitsStart - (fraction ? 1 : 0);
    double value = 0;
    if (digits == 0 || (!atEnd() && (isNameChar(text_[pos_]) || text_[pos_] == '.')) ||
        !parseNumber(text_.substr(start, pos_ - start), value)) {
      fail("number expected", start);
    }
    if (!fraction && value > -2147483649.0 && value < 2147483648.0) {
      return Variant(static_cast<long long>(value));
    }
    return Variant(value);
  }

  static void addOperand(std::vector<std::unique_ptr<Node>>& operands, std::unique_ptr<Node> node,
                         Node::Kind kind) {
    if (node->kind != kind) {
      operands.push_back(std::move(node));
      return;
    }
    for (auto& inner : node->operands) operands.push_back(std::move(inner));
  }

  static std::unique_ptr<Node> combine(std::vector<std::unique_ptr<Node>> operands,
                                       Node::Kind kind) {
    if (operands.size() == 1) return std::move(operands.front());
    auto node = std::make_unique<Node>();
    node->kind = kind;
    node->operands = std::move(operands);
    return node;
  }

  // A keyword only counts as a whole word: "ORDER_NO" is a field, not OR.
  bool acceptKeyword(std::string_view keyword) {
    skipBlanks();
    if (text_.size() - pos_ < keyword.size() ||
        !equalsIgnoreCase(text_.substr(pos_, keyword.size()), keyword)) {
      return false;
    }
    const std::size_t end = pos_ + keyword.size();
    if (end < text_.size() && isNameChar(text_[end])) return false;
    pos_ = end;
    return true;
  }

  void skipDigits() noexcept {
    while (!atEnd() && isDigit(text_[pos_])) ++pos_;
  }

  void skipBlanks() noexcept {
    while (!atEnd() && isBlank(text_[pos_])) ++pos_;
  }

  bool atEnd() const noexcept { return pos_ >= text_.size(); }

  [[noreturn]] void fail(const std::string& expected) const { fail(expected, pos_); }

  [[noreturn]] void fail(const std::string& expected, std::size_t at) const {
    const std::string where =
        at >= text_.size() ? "end of criteria" : "position " + std::to_string(at + 1);
    throw Error(errc::kSyntax, "Filter syntax error: " + expected + " at " + where);
  }

  std::string_view text_;
  std::size_t pos_ = 0;
};

template <typename NodeT, typename Visit>
void forEachComparison(NodeT& node, const Visit& visit) {
  if (node.kind == Node::Kind::Compare) {
    visit(node);
    return;
  }
  for (const auto& operand : node.operands) forEachComparison(*operand, visit);
}

bool compareMatches(const Node& node, std::span<const Variant> row) {
  if (node.column < 0 || static_cast<std::size_t>(node.column) >= row.size()) {
    throw Error(errc::kItemNotFound, kItemNotFoundText);
  }
  const Variant& value = row[static_cast<std::size_t>(node.column)];
  // A field never written (Empty) is as absent as a Null one.
  const bool valueIsNull = value.isNull() || value.isEmpty();
  if (node.literal.isNull()) {
    if (node.op == CompareOp::Equal) return valueIsNull;
    if (node.op == CompareOp::NotEqual) return !valueIsNull;
    return false;
  }
  if (valueIsNull) return false;
  if (node.op == CompareOp::Like) return likeMatch(value.text(), node.literal.text());

  const int order = compareValues(value, node.literal);
  switch (node.op) {
    case CompareOp::Equal:
      return order == 0;
    case CompareOp::NotEqual:
      return order != 0;
    case CompareOp::Less:
      return order < 0;
    case CompareOp::Greater:
      return order > 0;
    case CompareOp::LessEqual:
      return order <= 0;
    case CompareOp::GreaterEqual:
      return order >= 0;
    case CompareOp::Like:
      break;
  }
  return false;
}

bool nodeMatches(const Node& node, std::span<const Variant> row) {
  switch (node.kind) {
    case Node::Kind::And:
      for (const auto& operand : node.operands) {
        if (!nodeMatches(*operand, row)) return false;
      }
      return true;
    case Node::Kind::Or:
      for (const auto& operand : node.operands) {
        if (nodeMatches(*operand, row)) return true;
      }
      return false;
    case Node::Kind::Compare:
      break;
  }
  return compareMatches(node, row);
}

}  // namespace

std::unique_ptr<Filter> Filter::parse(std::string_view criteria) {
  std::unique_ptr<Filter> filter(new Filter());
  filter->root_ = Parser(criteria).parseCriteria();
  return filter;
}

Filter::~Filter() = default;

void Filter::bind(const std::function<long(std::string_view)>& columnIndex) {
  // Resolve every name before storing any, so a failed bind leaves the filter as it was.
  std::vector<long> columns;
  forEachComparison(*root_, [&](const Node& node) {
    const long column = columnIndex(node.field);
    if (column < 0) throw Error(errc::kItemNotFound, kItemNotFoundText);
    columns.push_back(column);
  });
  std::size_t next = 0;
  forEachComparison(*root_, [&](Node& node) { node.column = columns[next++]; });
}

bool Filter::matches(std::span<const Variant> row) const { return nodeMatches(*root_, row); }

std::vector<std::pair<std::size_t, Variant>> Filter::requiredEqualities() const {
  std::vector<std::pair<std::size_t, Variant>> equalities;
  const auto consider = [&](const Node& node) {
    if (node.kind == Node::Kind::Compare && node.op == CompareOp::Equal && !node.literal.isNull() &&
        node.column >= 0) {
      equalities.emplace_back(static_cast<std::size_t>(node.column), node.literal);
    }
  };
  if (root_->kind == Node::Kind::And) {
    for (const auto& operand : root_->operands) consider(*operand);
  } else {
    consider(*root_);
  }
  return equalities;
}

// The greedy two-pointer wildcard match: on a mismatch, only the most recent wildcard is
// widened by one character, which keeps the work at most text length times pattern length.
bool likeMatch(std::string_view text, std::string_view pattern) {
  std::size_t t = 0;
  std::size_t p = 0;
  std::size_t starPattern = std::string_view::npos;
  std::size_t starText = 0;
  while (t < text.size()) {
    if (p < pattern.size() && isWildcard(pattern[p])) {
      starPattern = p++;
      starText = t;
    } else if (p < pattern.size() && lowerAscii(pattern[p]) == lowerAscii(text[t])) {
      ++p;
      ++t;
    } else if (starPattern != std::string_view::npos) {
      p = starPattern + 1;
      t = ++starText;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && isWildcard(pattern[p])) ++p;
  return p == pattern.size();
}

}  // namespace korvane::store
