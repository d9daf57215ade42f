// The SHAPE commands come from the list classes only, so the parser accepts exactly their
// grammar and names the first thing it missed; it reads each byte at most once and never
// recurses, so any text ends in a result or an Error.
#include "korvane/store/shape.hpp"

#include <cstddef>
#include <string>
#include <utility>

#include "korvane/store/error.hpp"

namespace korvane::store {
namespace {

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

bool isNameChar(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

bool isNameStart(char c) { return isNameChar(c) && !(c >= '0' && c <= '9'); }

char upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

// A keyword counts only as a whole word: "SHAPEX" is not SHAPE.
bool startsWithKeyword(std::string_view text, std::string_view keyword) {
  if (text.size() < keyword.size()) return false;
  for (std::size_t i = 0; i < keyword.size(); ++i) {
    if (upper(text[i]) != keyword[i]) return false;
  }
  return text.size() == keyword.size() || !isNameChar(text[keyword.size()]);
}

class ShapeParser {
 public:
  explicit ShapeParser(std::string_view text) : text_(text) {}

  ShapeCommand parse() {
    ShapeCommand command;
    expectKeyword("SHAPE");
    command.parentSql = braced();
    expectKeyword("AS");
    command.parentAlias = name("alias");
    expectKeyword("APPEND");
    do {
      command.children.push_back(child());
    } while (accept(','));
    skipBlanks();
    if (pos_ != text_.size()) fail("',' or end of command");
    return command;
  }

 private:
  ShapeChild child() {
    ShapeChild result;
    expect('(', "'('");
    result.sql = braced();
    if (acceptKeyword("AS")) result.alias = name("alias");
    expectKeyword("RELATE");
    do {
      ShapeRelation relation;
      relation.parentColumn = name("parent column");
      expectKeyword("TO");
      relation.childColumn = name("child column");
      result.relations.push_back(std::move(relation));
    } while (accept(','));
    expect(')', "')'");
    expectKeyword("AS");
    result.name = name("chapter name");
    return result;
  }

  // "{sql}": the first '}' outside a quoted literal ends it. A doubled quote inside a literal
  // closes and reopens it, which leaves the state as an escaped quote would.
  std::string braced() {
    expect('{', "'{'");
    const std::size_t start = pos_;
    bool inLiteral = false;
    while (pos_ < text_.size()) {
      const char c = text_[pos_];
      if (c == '\'') {
        inLiteral = !inLiteral;
      } else if (c == '}' && !inLiteral) {
        break;
      }
      ++pos_;
    }
    if (pos_ == text_.size()) fail("'}'");
    const std::string_view sql = trimmed(text_.substr(start, pos_ - start));
    if (sql.empty()) {
      pos_ = start;
      fail("command text");
    }
    ++pos_;
    return std::string(sql);
  }

  std::string name(const char* what) {
    skipBlanks();
    if (pos_ == text_.size() || !isNameStart(text_[pos_])) fail(what);
    const std::size_t start = pos_;
    while (pos_ < text_.size() && isNameChar(text_[pos_])) ++pos_;
    return std::string(text_.substr(start, pos_ - start));
  }

  bool acceptKeyword(std::string_view keyword) {
    skipBlanks();
    if (!startsWithKeyword(text_.substr(pos_), keyword)) return false;
    pos_ += keyword.size();
    return true;
  }

  void expectKeyword(const char* keyword) {
    if (!acceptKeyword(keyword)) fail(keyword);
  }

  bool accept(char c) {
    skipBlanks();
    if (pos_ == text_.size() || text_[pos_] != c) return false;
    ++pos_;
    return true;
  }

  void expect(char c, const char* what) {
    if (!accept(c)) fail(what);
  }

  void skipBlanks() {
    while (pos_ < text_.size() && isBlank(text_[pos_])) ++pos_;
  }

  // Positions count from 1, as the hosts' own string functions do.
  [[noreturn]] void fail(std::string_view what) const {
    throw Error(errc::kSyntax, "SHAPE command syntax error: expected " + std::string(what) +
                                   " at position " + std::to_string(pos_ + 1));
  }

  std::string_view text_;
  std::size_t pos_ = 0;
};

}  // namespace

bool isShapeCommand(std::string_view text) noexcept {
  std::size_t pos = 0;
  while (pos < text.size() && isBlank(text[pos])) ++pos;
  return startsWithKeyword(text.substr(pos), "SHAPE");
}

ShapeCommand parseShape(std::string_view text) { return ShapeParser(text).parse(); }

}  // namespace korvane::store
