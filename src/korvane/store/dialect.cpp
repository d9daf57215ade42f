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

char upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

bool equalsKeyword(std::string_view word, std::string_view keyword) {
  return word.size() == keyword.size() && std::equal(word.begin(), word.end(), keyword.begin(),
                                                     [](char a, char b) { return upper(a) == b; });
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
  }

  std::string run() {
    for (std::size_t i = 0; i < significant_.size(); ++i) {
      rewriteDeleteStar(i);
      rewriteDateValue(i);
      addInsertColumns(i);
      respellTable(i);
    }
    return applyEdits();
  }

 private:
  // The i-th significant token, or nothing past the end.
  const Token* at(std::size_t i) const {
    return i < significant_.size() ? &tokens_[significant_[i]] : nullptr;
  }

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
      edits_.push_back({at(i)->end, at(i + 2)->begin, " "});
    }
  }

  // DATEVALUE('DD/MM/YYYY') -> the store's date literal
  void rewriteDateValue(std::size_t i) {
    if (!isWord(i, "DATEVALUE") || !isSymbol(i + 1, '(') || !isSymbol(i + 3, ')')) return;
    const Token* literal = at(i + 2);
    if (literal->kind != TokenKind::Literal) return;
    // Followed by ')', so the literal is closed: strip its two quotes.
    const std::optional<std::string> date =
        isoDate(sql_.substr(literal->begin + 1, literal->end - literal->begin - 2));
    if (!date) return;
    const std::string quoted = "'" + *date + "'";
    edits_.push_back(
        {at(i)->begin, at(i + 3)->end, dialect_ == Dialect::SQLite ? quoted : "DATE " + quoted});
  }

  // INSERT INTO t VALUES (v1, ..., vn) -> INSERT INTO t (c1, ..., cn) VALUES (...)
  void addInsertColumns(std::size_t i) {
    if (!isWord(i, "INSERT") || !isWord(i + 1, "INTO") || !isWord(i + 3, "VALUES") ||
        !isSymbol(i + 4, '(')) {
      return;
    }
    const Token* tableName = at(i + 2);
    const TableDef* table = findTable(textOf(*tableName));
    if (!table) return;

    std::size_t depth = 0;
    std::size_t commas = 0;
    bool anyValue = false;
    bool closed = false;
    for (std::size_t k = i + 4; k < significant_.size() && !closed; ++k) {
      if (isSymbol(k, '(')) {
        ++depth;
        if (depth > 1) anyValue = true;
      } else if (isSymbol(k, ')')) {
        --depth;
        closed = depth == 0;
      } else {
        anyValue = true;
        if (depth == 1 && isSymbol(k, ',')) ++commas;
      }
    }
    const std::size_t values = anyValue ? commas + 1 : 0;
    if (!closed || values == 0 || values > table->columns.size()) return;

    std::string columnList = " (";
    for (std::size_t c = 0; c < values; ++c) {
      if (c > 0) columnList += ", ";
      columnList += table->columns[c].name;
    }
    columnList += ")";
    edits_.push_back({tableName->end, tableName->end, std::move(columnList)});
  }

  // datSSP -> DATSSP
  void respellTable(std::size_t i) {
    const Token* token = at(i);
    if (token->kind != TokenKind::Word) return;
    const std::string_view word = textOf(*token);
    const TableDef* table = findTable(word);
    if (table && table->name != word) {
      edits_.push_back({token->begin, token->end, std::string(table->name)});
    }
  }

  // The rules rewrite disjoint tokens; should two edits ever meet, the later one is dropped.
  std::string applyEdits() {
    std::stable_sort(edits_.begin(), edits_.end(),
                     [](const Edit& a, const Edit& b) { return a.begin < b.begin; });
    std::string out;
    out.reserve(sql_.size() + 64);
    std::size_t copied = 0;
    for (const Edit& edit : edits_) {
      if (edit.begin < copied) continue;
      out.append(sql_.substr(copied, edit.begin - copied));
      out += edit.text;
      copied = edit.end;
    }
    out.append(sql_.substr(copied));
    return out;
  }

  std::string_view sql_;
  Dialect dialect_;
  std::vector<Token> tokens_;
  std::vector<std::size_t> significant_;
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

}  // namespace korvane::store
