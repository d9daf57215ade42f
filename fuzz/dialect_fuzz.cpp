// Statements carry user text inside their quoted literals, so translation must never change a
// literal: every literal of the output is the literal at the same place in the input, except a
// DATEVALUE argument turned into the store's date (whose text is then that date in ISO form)
// and, on the servers, a LIKE pattern with its backslashes doubled. Any text must translate
// without failing, for every store.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "check.hpp"
#include "korvane/store/dialect.hpp"

namespace {

using korvane::fuzz::check;
using korvane::store::Dialect;

struct Literal {
  std::string_view text;  // with its quotes (an unclosed one runs to the end)
  std::size_t begin;
};

// Quoted literals as the stores read them: '' inside one is an escaped quote.
std::vector<Literal> literals(std::string_view sql) {
  std::vector<Literal> found;
  std::size_t pos = 0;
  while (pos < sql.size()) {
    if (sql[pos] != '\'') {
      ++pos;
      continue;
    }
    const std::size_t begin = pos++;
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
    found.push_back({sql.substr(begin, pos - begin), begin});
  }
  return found;
}

bool isWordChar(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

// True when the whole word `keyword` ends at `end`, blanks before `end` skipped.
bool wordBefore(std::string_view sql, std::size_t end, std::string_view keyword) {
  while (end > 0 && isBlank(sql[end - 1])) --end;
  if (end < keyword.size() || (end > keyword.size() && isWordChar(sql[end - keyword.size() - 1]))) {
    return false;
  }
  for (std::size_t i = 0; i < keyword.size(); ++i) {
    char c = sql[end - keyword.size() + i];
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    if (c != keyword[i]) return false;
  }
  return true;
}

// True when the literal at `begin` is written as DATEVALUE(<literal>.
bool isDateValueArgument(std::string_view sql, std::size_t begin) {
  std::size_t end = begin;
  while (end > 0 && isBlank(sql[end - 1])) --end;
  return end > 0 && sql[end - 1] == '(' && wordBefore(sql, end - 1, "DATEVALUE");
}

std::string backslashesDoubled(std::string_view text) {
  std::string out;
  for (const char c : text) {
    out += c;
    if (c == '\\') out += c;
  }
  return out;
}

// "'D/M/YYYY'" as "'YYYY-MM-DD'", for a real calendar date only.
std::optional<std::string> isoLiteral(std::string_view literal) {
  if (literal.size() < 2 || literal.back() != '\'') return std::nullopt;
  const std::string_view date = literal.substr(1, literal.size() - 2);
  unsigned parts[3] = {0, 0, 0};
  std::size_t pos = 0;
  for (int part = 0; part < 3; ++part) {
    if (part > 0 && (pos >= date.size() || date[pos++] != '/')) return std::nullopt;
    const std::size_t start = pos;
    while (pos < date.size() && date[pos] >= '0' && date[pos] <= '9') {
      parts[part] = parts[part] * 10 + static_cast<unsigned>(date[pos++] - '0');
      if (pos - start > 4) return std::nullopt;
    }
    const std::size_t digits = pos - start;
    if (part < 2 ? (digits < 1 || digits > 2) : digits != 4) return std::nullopt;
  }
  if (pos != date.size()) return std::nullopt;
  const std::chrono::year_month_day ymd{std::chrono::year{static_cast<int>(parts[2])},
                                        std::chrono::month{parts[1]}, std::chrono::day{parts[0]}};
  if (parts[2] == 0 || !ymd.ok()) return std::nullopt;
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "'%04u-%02u-%02u'", parts[2], parts[1], parts[0]);
  return std::string(buffer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string sql(reinterpret_cast<const char*>(data), size);
  const auto before = literals(sql);
  for (const Dialect dialect : {Dialect::SQLite, Dialect::PostgreSQL, Dialect::MariaDB}) {
    const std::string translated = korvane::store::translate(sql, dialect);
    const auto after = literals(translated);
    check(after.size() == before.size());
    for (std::size_t i = 0; i < before.size(); ++i) {
      if (after[i].text == before[i].text) continue;
      if (dialect != Dialect::SQLite && wordBefore(sql, before[i].begin, "LIKE")) {
        check(after[i].text == backslashesDoubled(before[i].text));
        continue;
      }
      check(isDateValueArgument(sql, before[i].begin));
      check(after[i].text == isoLiteral(before[i].text));
    }
  }
  return 0;
}
