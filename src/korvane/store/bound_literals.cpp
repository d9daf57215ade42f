#include "korvane/store/bound_literals.hpp"

#include <cstdlib>

#include "korvane/store/text.hpp"

namespace korvane::store {

std::optional<BoundText> withBoundLiterals(std::string_view sql) {
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  const auto isWordChar = [&](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '$' || isDigit(c);
  };
  std::string_view start;
  static constexpr std::string_view kQueryEnds[] = {"ORDER", "GROUP", "HAVING", "LIMIT"};
  const auto firstWord = sql.substr(0, sql.find(' '));
  if (equalsIgnoringCase(firstWord, "SELECT") || equalsIgnoringCase(firstWord, "DELETE")) {
    start = "WHERE";
  } else if (equalsIgnoringCase(firstWord, "INSERT")) {
    start = "VALUES";
  } else if (equalsIgnoringCase(firstWord, "UPDATE")) {
    start = "SET";
  } else {
    return std::nullopt;
  }
  const bool query = equalsIgnoringCase(firstWord, "SELECT");

  BoundText bound;
  bound.shape.reserve(sql.size());
  bool inValues = false;
  bool afterLike = false;  // the last word was LIKE or GLOB
  int depth = 0;
  for (std::size_t at = 0; at < sql.size();) {
    const char c = sql[at];
    if (c == '\'') {
      // A blob literal (X'00') is not text.
      if (at > 0 && isWordChar(sql[at - 1])) return std::nullopt;
      std::string text;
      std::size_t end = at + 1;
      for (;; ++end) {
        if (end >= sql.size()) return std::nullopt;
        if (sql[end] != '\'') {
          text += sql[end];
        } else if (end + 1 < sql.size() && sql[end + 1] == '\'') {
          text += '\'';
          ++end;
        } else {
          break;
        }
      }
      // A bound LIKE pattern would have SQLite plan the statement anew for each value.
      if (inValues && !afterLike) {
        bound.shape += '?';
        bound.values.push_back({true, 0, std::move(text)});
      } else {
        bound.shape.append(sql, at, end + 1 - at);
      }
      at = end + 1;
    } else if (isDigit(c)) {
      std::size_t end = at;
      while (end < sql.size() && isDigit(sql[end])) ++end;
      // Decimals, exponents and numbers beyond a whole 64-bit value stay as written.
      if (end < sql.size() && (isWordChar(sql[end]) || sql[end] == '.')) return std::nullopt;
      if (inValues && end - at <= 18) {
        bound.shape += '?';
        BoundText::Value value;
        value.integer = std::strtoll(std::string(sql.substr(at, end - at)).c_str(), nullptr, 10);
        bound.values.push_back(std::move(value));
      } else {
        bound.shape.append(sql, at, end - at);
      }
      at = end;
    } else if (isWordChar(c) && c != '$') {
      std::size_t end = at;
      while (end < sql.size() && isWordChar(sql[end])) ++end;
      const std::string_view word = sql.substr(at, end - at);
      if (depth == 0 && !inValues && equalsIgnoringCase(word, start)) inValues = true;
      if (depth == 0 && inValues && query) {
        for (auto stop : kQueryEnds) {
          if (equalsIgnoringCase(word, stop)) inValues = false;
        }
      }
      bound.shape.append(word);
      afterLike = equalsIgnoringCase(word, "LIKE") || equalsIgnoringCase(word, "GLOB");
      at = end;
      continue;
    } else {
      // Quoted names, comments, parameters, a second statement and stray bytes are left to the
      // store as written.
      const char next = at + 1 < sql.size() ? sql[at + 1] : '\0';
      if (c == '"' || c == '`' || c == '[' || c == '?' || c == ':' || c == '@' || c == '#' ||
          c == ';' || c == '$' || c == '\0' || (c == '.' && isDigit(next)) ||
          (c == '-' && next == '-') || (c == '/' && next == '*')) {
        return std::nullopt;
      }
      if (c == '(') ++depth;
      if (c == ')') --depth;
      bound.shape += c;
      ++at;
    }
  }
  if (bound.values.empty()) return std::nullopt;
  return bound;
}

}  // namespace korvane::store
