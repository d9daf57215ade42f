// Filter criteria are built from stored values (a packed text can be a literal), so any text
// must parse or fail with a syntax error, and a parsed filter must agree with itself: the rows
// it matches satisfy every equality it reports as required, and a recordset filtered by it
// (which answers from an equality index) shows exactly the rows a plain scan matches. LIKE is
// checked against a direct dynamic-programming matcher.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "check.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/filter.hpp"
#include "korvane/store/recordset.hpp"

namespace {

using korvane::Date;
using korvane::Null;
using korvane::Variant;
using korvane::fuzz::check;

const std::vector<std::string> kColumns = {
    "ROWNO",    "KD_FORM",   "NOBUKTI",          "DAT_FORM",
    "MS_PAJAK", "TH_PAJAK",  "KD_PEMBETULAN_KE", "COLLNO",
    "SEQ",      "TGL_SETOR", "NAMA KOMODITI",    "JENIS_DOKUMEN"};

char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

bool isWildcard(char c) { return c == '%' || c == '*'; }

std::int16_t small(int value) { return static_cast<std::int16_t>(value); }

// Rows as the stores hand them back: small integers, doubles, text (numeric text too), dates,
// Null, and Empty for a field never written.
std::vector<std::vector<Variant>> storedRows() {
  return {
      {Variant(0), Variant("F113303"), Variant("000001/PPH22"),
       Variant("012345678901000;01.234.567.8-901.000;CV SENTOSA;JL. MERDEKA 2;000001/PPH22;"
               "15/05/2013;;;;0;0;5;2013;0;100;10;10"),
       Variant(small(5)), Variant(small(2013)), Variant(small(0)), Null, Variant(1.0),
       Variant(Date(2013, 6, 10)), Variant("PREMIUM"), Variant("02")},
      {Variant(1), Variant("D113202"), Variant("-"),
       Variant("5;2013;PREMIUM;0;023456789012000;PT PEMBELI;JL. THAMRIN 2;20/05/2013;200000;"
               "600;NT-1"),
       Variant("5"), Variant("2013"), Variant(small(1)), Variant(small(0)), Variant(2.5),
       Variant("10/06/2013"), Variant("SOLAR"), Null},
      {Variant(2), Variant("PPh22Impor"), Variant("NTTP0003"),
       Variant("5;2013;0;012345678901000;;;;PT O'NEIL;;;;;;;;25000;NTTP0003;1;"), Variant(5),
       Variant(2013.0), Variant(), Variant(small(1)), Variant("7"), Null, Variant("BIO SOLAR"),
       Variant("08")},
      {Variant(3), Variant("d113204"), Variant(""), Variant(""), Null, Null, Null, Null, Null, Null,
       Variant(), Variant("")},
      {Variant(4), Variant("F113202"), Variant("BARU"), Variant("x;Y;%;*;''"), Variant(true),
       Variant(41435.0), Variant(-1), Variant(small(32767)), Variant(-0.5),
       Variant(Date(2012, 2, 29)), Variant("premium"), Variant(" 02 ")},
  };
}

long columnIndex(std::string_view name) {
  for (std::size_t c = 0; c < kColumns.size(); ++c) {
    const auto& column = kColumns[c];
    if (column.size() == name.size() &&
        std::equal(column.begin(), column.end(), name.begin(),
                   [](char a, char b) { return lowerAscii(a) == lowerAscii(b); })) {
      return static_cast<long>(c);
    }
  }
  return -1;
}

// LIKE by the book: dp[j] tells whether the text read so far matches pattern[0, j).
bool likeByTable(std::string_view text, std::string_view pattern) {
  std::vector<char> dp(pattern.size() + 1, 0);
  dp[0] = 1;
  for (std::size_t j = 1; j <= pattern.size() && isWildcard(pattern[j - 1]); ++j) dp[j] = 1;
  for (const char t : text) {
    std::vector<char> next(pattern.size() + 1, 0);
    for (std::size_t j = 1; j <= pattern.size(); ++j) {
      const char p = pattern[j - 1];
      next[j] =
          isWildcard(p) ? (next[j - 1] || dp[j]) : (dp[j - 1] && lowerAscii(p) == lowerAscii(t));
    }
    dp = std::move(next);
  }
  return dp[pattern.size()] != 0;
}

void checkLike(std::string_view text, std::string_view pattern) {
  const bool matched = korvane::store::likeMatch(text, pattern);
  if (text.size() * pattern.size() <= 1 << 16) check(matched == likeByTable(text, pattern));
}

void checkFilter(const std::string& criteria) {
  std::unique_ptr<korvane::store::Filter> filter;
  try {
    filter = korvane::store::Filter::parse(criteria);
    filter->bind(columnIndex);
  } catch (const korvane::Error& e) {
    check(e.number() == korvane::errc::kSyntax || e.number() == korvane::errc::kItemNotFound);
    return;
  }

  const auto rows = storedRows();
  const auto equalities = filter->requiredEqualities();
  std::vector<std::size_t> matching;
  for (std::size_t r = 0; r < rows.size(); ++r) {
    if (!filter->matches(std::span<const Variant>(rows[r]))) continue;
    matching.push_back(r);
    for (const auto& [column, literal] : equalities) {
      check(column < kColumns.size());
      check(korvane::compareValues(rows[r][column], literal) == 0);
    }
  }

  auto recordset = std::make_shared<korvane::Recordset>(kColumns);
  for (const auto& row : rows) recordset->appendRow(row);
  recordset->Filter(criteria);
  check(static_cast<std::size_t>(recordset->RecordCount()) == matching.size());
  for (std::size_t v = 0; v < matching.size(); ++v) {
    check(recordset->cell(v, 0) == rows[matching[v]][0]);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  checkFilter(input);

  // LIKE on its own: text and pattern split at the first NUL, or else in the middle; and the
  // whole input as a pattern over a packed text.
  const std::string_view whole(input);
  const auto nul = whole.find('\0');
  if (nul != std::string_view::npos) {
    checkLike(whole.substr(0, nul), whole.substr(nul + 1));
  } else {
    checkLike(whole.substr(0, whole.size() / 2), whole.substr(whole.size() / 2));
  }
  checkLike("5;2013;PREMIUM;0;023456789012000;PT PEMBELI;20/05/2013;200000;600;NT-1", input);
  return 0;
}
