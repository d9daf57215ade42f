// The statements arrive as the components wrote them for the desktop store. Each rule below
// looks at whole tokens outside quoted literals and replaces only the bytes it must; everything
// else is copied through unchanged, so a statement no rule touches comes back byte for byte.
#include "korvane/store/dialect.hpp"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "korvane/store/schema.hpp"
#include "korvane/store/text.hpp"

namespace korvane::store {
namespace {

enum class TokenKind { Blank, Word, Literal, Symbol };

struct Token {
  TokenKind kind;
  std::size_t begin;
  std::size_t end;
};

// A replacement of sql[begin, end) by text; begin == end inserts.
struct Edit {
  std::size_t begin;
  std::size_t end;
  std::string text;
};

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isWordChar(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || isDigit(c) || c == '_';
}

bool equalsKeyword(std::string_view word, std::string_view keyword) {
  return equalsIgnoringCase(word, keyword);
}

// A literal runs to its closing quote; a doubled quote inside it is one escaped quote. An
// unclosed literal runs to the end, so nothing after a stray quote is ever rewritten.
std::vector<Token> tokenize(std::string_view sql) {
  std::vector<Token> tokens;
  std::size_t pos = 0;
  while (pos < sql.size()) {
    const std::size_t begin = pos;
    TokenKind kind = TokenKind::Symbol;
    if (isBlank(sql[pos])) {
      kind = TokenKind::Blank;
      while (pos < sql.size() && isBlank(sql[pos])) ++pos;
    } else if (isWordChar(sql[pos])) {
      kind = TokenKind::Word;
      while (pos < sql.size() && isWordChar(sql[pos])) ++pos;
    } else if (sql[pos] == '\'') {
      kind = TokenKind::Literal;
      ++pos;
      while (pos < sql.size()) {
        if (sql[pos] != '\'') {
          ++pos;
        } else if (pos + 1 < sql.size() && sql[pos + 1] == '\'') {
          pos += 2;
        } else {
          ++pos;
          break;
        }
      }
    } else {
      ++pos;
    }
    tokens.push_back({kind, begin, pos});
  }
  return tokens;
}

std::string twoDigits(int value) {
  return std::string{static_cast<char>('0' + value / 10), static_cast<char>('0' + value % 10)};
}

// "D/M/YYYY" with one- or two-digit day and month, as the components format dates, turned
// into "YYYY-MM-DD"; nothing for a text that is not a real calendar date.
std::optional<std::string> isoDate(std::string_view text) {
  int parts[3] = {0, 0, 0};
  const std::size_t maxDigits[3] = {2, 2, 4};
  const std::size_t minDigits[3] = {1, 1, 4};
  std::size_t pos = 0;
  for (int part = 0; part < 3; ++part) {
    if (part > 0) {
      if (pos == text.size() || text[pos] != '/') return std::nullopt;
      ++pos;
    }
    const std::size_t start = pos;
    while (pos < text.size() && isDigit(text[pos]) && pos - start < maxDigits[part]) {
      parts[part] = parts[part] * 10 + (text[pos] - '0');
      ++pos;
    }
    if (pos - start < minDigits[part]) return std::nullopt;
  }
  if (pos != text.size()) return std::nullopt;

  const int day = parts[0];
  const int month = parts[1];
  const int year = parts[2];
  if (year < 1 || month < 1 || month > 12 || day < 1) return std::nullopt;
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  const int monthDays[12] = {31, leap ? 29 : 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (day > monthDays[month - 1]) return std::nullopt;

  return twoDigits(year / 100) + twoDigits(year % 100) + "-" + twoDigits(month) + "-" +
         twoDigits(day);
}

class Translator {
 public:
  Translator(std::string_view sql, Dialect dialect)
      : sql_(sql), dialect_(dialect), tokens_(tokenize(sql)) {
    for (std::size_t i = 0; i < tokens_.size(); ++i) {
      if (tokens_[i].kind != TokenKind::Blank) significant_.push_back(i);
    }
    measureParentheses();
  }

  std::string run() {
    for (std::size_t i = 0; i < significant_.size(); ++i) {
      rewriteDeleteStar(i);
      rewriteDateValue(i);
      addInsertColumns(i);
      respellTable(i);
      escapeLikeBackslashes(i);
    }
    return applyEdits();
  }

 private:
  // The i-th significant token, or nothing past the end.
  const Token* at(std::size_t i) const {
    return i < significant_.size() ? &tokens_[significant_[i]] : nullptr;
  }

  // The i-th significant token where a check already showed it exists.
  const Token& known(std::size_t i) const { return tokens_[significant_[i]]; }

  std::string_view textOf(const Token& token) const {
    return sql_.substr(token.begin, token.end - token.begin);
  }

  bool isWord(std::size_t i, std::string_view keyword) const {
    const Token* token = at(i);
    return token && token->kind == TokenKind::Word && equalsKeyword(textOf(*token), keyword);
  }

  bool isSymbol(std::size_t i, char symbol) const {
    const Token* token = at(i);
    return token && token->kind == TokenKind::Symbol && sql_[token->begin] == symbol;
  }

  // DELETE * FROM t -> DELETE FROM t
  void rewriteDeleteStar(std::size_t i) {
    if (isWord(i, "DELETE") && isSymbol(i + 1, '*') && isWord(i + 2, "FROM")) {
      edits_.push_back({known(i).end, known(i + 2).begin, " "});
    }
  }

  // DATEVALUE('DD/MM/YYYY') -> the store's date literal
  void rewriteDateValue(std::size_t i) {
    if (!isWord(i, "DATEVALUE") || !isSymbol(i + 1, '(') || !isSymbol(i + 3, ')')) return;
    const Token& literal = known(i + 2);
    if (literal.kind != TokenKind::Literal) return;
    // Followed by ')', so the literal is closed: strip its two quotes.
    const std::optional<std::string> date =
        isoDate(sql_.substr(literal.begin + 1, literal.end - literal.begin - 2));
    if (!date) return;
    const std::string quoted = "'" + *date + "'";
    edits_.push_back({known(i).begin, known(i + 3).end,
                      dialect_ == Dialect::SQLite ? quoted : "DATE " + quoted});
  }

  // INSERT INTO t VALUES (v1, ..., vn) -> INSERT INTO t (c1, ..., cn) VALUES (...)
  void addInsertColumns(std::size_t i) {
    if (!isWord(i, "INSERT") || !isWord(i + 1, "INTO") || !isWord(i + 3, "VALUES") ||
        !isSymbol(i + 4, '(')) {
      return;
    }
    const Token& tableName = known(i + 2);
    const TableDef* table = findTable(textOf(tableName));
    if (!table) return;

    const Parenthesis& list = parentheses_[i + 4];
    const std::size_t values = list.anyValue ? list.commas + 1 : 0;
    if (!list.closed || values == 0 || values > table->columns.size()) return;

    std::string columnList = " (";
    for (std::size_t c = 0; c < values; ++c) {
      if (c > 0) columnList += ", ";
      columnList += table->columns[c].name;
    }
    columnList += ")";
    edits_.push_back({tableName.end, tableName.end, std::move(columnList)});
  }

  // What each '(' holds at its own level, found in one pass: a rescan per INSERT would make a
  // statement with many unclosed value lists take quadratic time.
  void measureParentheses() {
    parentheses_.resize(significant_.size());
    std::vector<std::size_t> open;
    for (std::size_t k = 0; k < significant_.size(); ++k) {
      if (isSymbol(k, '(')) {
        if (!open.empty()) parentheses_[open.back()].anyValue = true;
        open.push_back(k);
      } else if (isSymbol(k, ')')) {
        if (open.empty()) continue;
        parentheses_[open.back()].closed = true;
        open.pop_back();
      } else if (!open.empty()) {
        parentheses_[open.back()].anyValue = true;
        if (isSymbol(k, ',')) ++parentheses_[open.back()].commas;
      }
    }
  }

  // datSSP -> DATSSP
  void respellTable(std::size_t i) {
    const Token& token = known(i);
    if (token.kind != TokenKind::Word) return;
    const std::string_view word = textOf(token);
    const TableDef* table = findTable(word);
    if (table && table->name != word) {
      edits_.push_back({token.begin, token.end, std::string(table->name)});
    }
  }

  // x LIKE 'a\b' -> x LIKE 'a\\b' on the servers: their LIKE takes a backslash as the escape
  // character, the desktop store's and SQLite's take it as itself.
  void escapeLikeBackslashes(std::size_t i) {
    if (dialect_ == Dialect::SQLite || !isWord(i, "LIKE")) return;
    const Token* pattern = at(i + 1);
    if (!pattern || pattern->kind != TokenKind::Literal) return;
    const std::string_view text = textOf(*pattern);
    if (text.find('\\') == std::string_view::npos) return;
    std::string escaped;
    escaped.reserve(text.size() + 8);
    for (char c : text) {
      escaped += c;
      if (c == '\\') escaped += c;
    }
    edits_.push_back({pattern->begin, pattern->end, std::move(escaped)});
  }

  // The rules rewrite disjoint tokens; should two edits ever meet, the later one is dropped.
  // Edits start and end between tokens, so a quote meeting a quote where pieces join would be
  // two literals run together (read as one with an escaped quote): a blank keeps them apart.
  std::string applyEdits() {
    std::stable_sort(edits_.begin(), edits_.end(),
                     [](const Edit& a, const Edit& b) { return a.begin < b.begin; });
    std::string out;
    out.reserve(sql_.size() + 64);
    const auto append = [&out](std::string_view piece) {
      if (!out.empty() && !piece.empty() && out.back() == '\'' && piece.front() == '\'') {
        out += ' ';
      }
      out.append(piece);
    };
    std::size_t copied = 0;
    for (const Edit& edit : edits_) {
      if (edit.begin < copied) continue;
      append(sql_.substr(copied, edit.begin - copied));
      append(edit.text);
      copied = edit.end;
    }
    append(sql_.substr(copied));
    return out;
  }

  std::string_view sql_;
  Dialect dialect_;
  std::vector<Token> tokens_;
  std::vector<std::size_t> significant_;
  struct Parenthesis {
    bool closed = false;
    bool anyValue = false;   // anything between it and its ')', nested parentheses too
    std::size_t commas = 0;  // at its own level
  };
  std::vector<Parenthesis> parentheses_;  // by significant position; used where '(' stands
  std::vector<Edit> edits_;
};

}  // namespace

const char* dialectName(Dialect dialect) noexcept {
  switch (dialect) {
    case Dialect::SQLite:
      return "SQLite";
    case Dialect::PostgreSQL:
      return "PostgreSQL";
    case Dialect::MariaDB:
      return "MariaDB";
  }
  return "";
}

std::string translate(std::string_view sql, Dialect dialect) {
  return Translator(sql, dialect).run();
}

// One SELECT of a UNION ALL (or the whole query): its tokens outside parentheses.
struct QueryPart {
  std::vector<const Token*> top;
  bool aggregate = false;  // COUNT, SUM, MAX, MIN or AVG in the select list
};

std::string inAddedOrder(std::string_view sql, Dialect dialect) {
  const std::string unchanged(sql);
  auto textOf = [&](const Token& token) {
    return sql.substr(token.begin, token.end - token.begin);
  };
  auto isWordToken = [&](const Token* token, std::string_view keyword) {
    return token->kind == TokenKind::Word && equalsKeyword(textOf(*token), keyword);
  };

  // The parts between top-level UNION ALLs.
  const std::vector<Token> tokens = tokenize(sql);
  std::vector<QueryPart> parts(1);
  int depth = 0;
  bool inSelectList = true;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const Token& token = tokens[i];
    if (token.kind == TokenKind::Blank) continue;
    const std::string_view text = textOf(token);
    // An unclosed literal (an odd number of quotes) runs to the end: nothing may follow it.
    if (token.kind == TokenKind::Literal && std::count(text.begin(), text.end(), '\'') % 2 != 0) {
      return unchanged;
    }
    if (token.kind == TokenKind::Symbol && (text == "(" || text == ")")) {
      depth += text == "(" ? 1 : -1;
      if (depth < 0) return unchanged;
      continue;
    }
    if (depth == 0 && isWordToken(&token, "UNION")) {
      std::size_t next = i + 1;
      while (next < tokens.size() && tokens[next].kind == TokenKind::Blank) ++next;
      if (next == tokens.size() || !isWordToken(&tokens[next], "ALL")) return unchanged;
      parts.emplace_back();
      inSelectList = true;
      i = next;
      continue;
    }
    if (depth == 0 && isWordToken(&token, "FROM")) inSelectList = false;
    if (inSelectList && token.kind == TokenKind::Word) {
      for (std::string_view function : {"COUNT", "SUM", "MAX", "MIN", "AVG"}) {
        parts.back().aggregate = parts.back().aggregate || equalsKeyword(text, function);
      }
    }
    if (depth == 0) parts.back().top.push_back(&token);
  }
  if (depth != 0) return unchanged;

  // Each part reads one table of the schema, plainly; its FROM position, or 0.
  auto plainFrom = [&](const QueryPart& part) -> std::size_t {
    const auto& top = part.top;
    if (part.aggregate || top.empty() || !isWordToken(top[0], "SELECT")) return 0;
    std::size_t from = 0;
    for (std::size_t k = 1; k < top.size(); ++k) {
      for (std::string_view keyword : {"ORDER", "GROUP", "HAVING", "DISTINCT", "INTERSECT",
                                       "EXCEPT", "JOIN", "LIMIT", "TOP", "FOR", "INTO", "SELECT"}) {
        if (isWordToken(top[k], keyword)) return 0;
      }
      if (from == 0 && isWordToken(top[k], "FROM")) from = k;
      if (from != 0 && top[k]->kind == TokenKind::Symbol && textOf(*top[k]) == ",") return 0;
    }
    if (from == 0 || from + 1 >= top.size() || top[from + 1]->kind != TokenKind::Word ||
        !findTable(textOf(*top[from + 1]))) {
      return 0;
    }
    return from;
  };

  // Where the statement ends: before a closing ";" and the blanks in front of it.
  std::size_t end = sql.size();
  std::size_t last = end;
  while (last > 0 && isBlank(sql[last - 1])) --last;
  if (last > 0 && sql[last - 1] == ';') {
    end = last - 1;
    while (end > 0 && isBlank(sql[end - 1])) --end;
  }
  // SQLite numbers its rows itself; the servers' tables carry a column for it.
  const bool embedded = dialect == Dialect::SQLite;
  const std::string rowOrder(embedded ? "rowid" : kRowOrderColumn);

  if (parts.size() == 1) {
    if (plainFrom(parts[0]) == 0) return unchanged;
    return std::string(sql.substr(0, end)) + " ORDER BY " + rowOrder + std::string(sql.substr(end));
  }

  // A UNION ALL of whole rows ("SELECT * FROM t ..."): each part's rows in the order they were
  // added, the parts one after the other, as the embedded store reads them.
  std::string out = "SELECT * FROM (";
  std::size_t copied = 0;
  for (std::size_t k = 0; k < parts.size(); ++k) {
    const auto& top = parts[k].top;
    const std::size_t from = plainFrom(parts[k]);
    if (from != 2 || textOf(*top[1]) != "*") return unchanged;
    // The table's own name, or its alias, qualifies the star.
    std::string_view qualifier = textOf(*top[3]);
    std::size_t alias = isWordToken(top.size() > 4 ? top[4] : top[3], "AS") ? 5 : 4;
    if (top.size() > alias && top[alias]->kind == TokenKind::Word &&
        !isWordToken(top[alias], "WHERE")) {
      qualifier = textOf(*top[alias]);
    }
    out.append(sql.substr(copied, top[1]->begin - copied));
    out += std::string(qualifier) + ".*, ";
    if (embedded)
      out += std::string(qualifier) + ".rowid AS " + std::string(kRowOrderColumn) + ", ";
    out += std::to_string(k + 1) + " AS " + std::string(kUnionPartColumn);
    copied = top[1]->end;
  }
  out.append(sql.substr(copied, end - copied));
  out += ") KORVANE_UNION ORDER BY " + std::string(kUnionPartColumn) + ", " +
         std::string(kRowOrderColumn);
  out.append(sql.substr(end));
  return out;
}

void respellColumns(std::string_view sql, Dialect dialect, std::vector<std::string>& columns) {
  if (dialect != Dialect::PostgreSQL) return;
  // The words of the select list: from the first SELECT to the FROM at the same depth.
  const std::vector<Token> tokens = tokenize(sql);
  std::vector<std::string_view> selectList;
  bool inList = false;
  int depth = 0;
  for (const Token& token : tokens) {
    const std::string_view text = sql.substr(token.begin, token.end - token.begin);
    if (token.kind == TokenKind::Symbol && text == "(") ++depth;
    if (token.kind == TokenKind::Symbol && text == ")") --depth;
    if (token.kind != TokenKind::Word) continue;
    if (!inList) {
      inList = equalsKeyword(text, "SELECT");
      depth = 0;
    } else if (depth == 0 && equalsKeyword(text, "FROM")) {
      break;
    } else {
      selectList.push_back(text);
    }
  }
  for (std::string& column : columns) {
    auto written = std::find_if(selectList.begin(), selectList.end(), [&](std::string_view word) {
      return equalsIgnoringCase(word, column);
    });
    if (written != selectList.end()) {
      column = std::string(*written);
      continue;
    }
    for (const TableDef& table : tables()) {
      auto known =
          std::find_if(table.columns.begin(), table.columns.end(),
                       [&](const ColumnDef& def) { return equalsIgnoringCase(def.name, column); });
      if (known != table.columns.end()) {
        column = std::string(known->name);
        break;
      }
    }
  }
}

}  // namespace korvane::store
