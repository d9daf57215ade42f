#include "korvane/store/filter.hpp"

#include <gtest/gtest.h>

#include <strings.h>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "korvane/store/error.hpp"
#include "support/store_fixture.hpp"

namespace korvane::store {
namespace {

using Row = std::vector<Variant>;
using testing::errorOf;

const std::vector<std::string> kColumns = {"KD_FORM", "NOBUKTI", "NAMA_KOMODITI", "COLLNO",
                                           "NAMA",    "TARIF",   "TGL",           "KET",
                                           "SEQ",     "NAMA WP"};

// Field names resolve case-insensitively, as a recordset resolves them.
long columnIndex(std::string_view name) {
  for (std::size_t i = 0; i < kColumns.size(); ++i) {
    if (strncasecmp(kColumns[i].c_str(), name.data(), name.size()) == 0 &&
        kColumns[i].size() == name.size()) {
      return static_cast<long>(i);
    }
  }
  return -1;
}

std::unique_ptr<Filter> boundFilter(std::string_view criteria) {
  auto filter = Filter::parse(criteria);
  filter->bind(columnIndex);
  return filter;
}

// The description of the syntax error the criteria raise ("" if they parse).
std::string syntaxError(const std::string& criteria) {
  const auto [number, description] = errorOf([&] { Filter::parse(criteria); });
  EXPECT_EQ(number, description.empty() ? 0 : errc::kSyntax) << criteria;
  return description;
}

const Row kSlip = {"F113303",    "000001/PPH22", "SOLAR", std::int16_t{0}, "O'Brien", 0.3,
                   "05/03/2013", Null,           "12",    "PT Maju"};
const Row kBioSlip = {"F113304", "000002/PPH22", "BIO SOLAR",  std::int16_t{1},
                      "Smith",   Null,           "15/01/2013", "x",
                      "9",       "CV Jaya"};

TEST(FilterTest, MatchesRowsAsTheCriteriaSay) {
  const auto expectMatches = [](std::initializer_list<const char*> list, bool slip, bool bio) {
    for (const char* criteria : list) {
      const auto filter = boundFilter(criteria);
      EXPECT_EQ(filter->matches(kSlip), slip) << criteria;
      EXPECT_EQ(filter->matches(kBioSlip), bio) << criteria;
    }
  };
  // clang-format off
  const auto slipOnly = {
      // Text ignores case and doubles its quotes; numbers and dates compare by value.
      "KD_FORM = 'F113303' AND NOBUKTI = '000001/PPH22'", "NAMA_KOMODITI = 'SOLAR'",
      "NAMA_KOMODITI = 'solar'", "COLLNO = 0", "NAMA = 'O''Brien'", "KET = Null", "SEQ = 12.0",
      "TARIF > 0", "TARIF <> 0.5", "TARIF >= 0.3", "SEQ > 10", "TGL = #5/3/2013#", "COLLNO = -0",
      // Grouping, keywords in any case, bracketed names, blanks left out.
      "KD_FORM = 'X' OR (NAMA LIKE 'o''b%' AND COLLNO = 0)", "((KD_FORM = 'F113303'))",
      "kd_form = 'f113303' and collno = 0", "[KD_FORM] = 'F113303'",
      "  KD_FORM='F113303'AND(COLLNO=0)  "};
  const auto bioSlipOnly = {
      // Numeric text against a number compares as a number; "<> Null" means "is not Null".
      "COLLNO = 1", "COLLNO <> 0", "KET <> Null", "KET = 'x'", "SEQ = 9", "COLLNO = '1'",
      "(KD_FORM = 'F113304' OR KD_FORM = 'F113303') AND COLLNO = 1", "NAMA_KOMODITI LIKE 'BIO*'",
      "TGL < #01/02/2013#", "[NAMA WP] = 'cv jaya'"};
  const auto both = {
      // Text against text compares as text: "9" > "10".
      "SEQ > '10'", "COLLNO > -1.5", "KD_FORM = 'F113303' OR KD_FORM = 'F113304'",
      "NAMA_KOMODITI LIKE '%SOLAR'", "NAMA_KOMODITI like '*sol*'",
      "KD_FORM = 'f113304' Or Collno = 0"};
  const auto neither = {
      // A Null field is unequal to nothing and orders with nothing; LIKE must match the whole text.
      "KET <> 'x'", "TARIF < Null", "NAMA_KOMODITI LIKE 'SOL'", "TARIF <= 0.29", "TARIF < -1",
      "KD_FORM = 'F113303' AND NOBUKTI = '000002/PPH22'"};
  // clang-format on
  expectMatches(slipOnly, true, false);
  expectMatches(bioSlipOnly, false, true);
  expectMatches(both, true, true);
  expectMatches(neither, false, false);
  // An Empty field is treated as Null.
  Row row = kSlip;
  row[7] = Variant();
  EXPECT_TRUE(boundFilter("KET = Null")->matches(row));
  EXPECT_FALSE(boundFilter("KET <> Null")->matches(row));
  EXPECT_FALSE(boundFilter("KET <> 'x'")->matches(row));
}

TEST(FilterTest, RejectsMalformedCriteriaSayingWhatWasExpectedAndWhere) {
  const char* const malformed[] = {
      // Missing parts, unclosed quotes, brackets and parentheses.
      "", "   ", "KD_FORM", "KD_FORM =", "KD_FORM = 'it''s", "(KD_FORM = 'a'", "KD_FORM = 'a')",
      "KD_FORM = 'a' OR", "AND KD_FORM = 'a'", "KD_FORM = 'a' KD_FORM = 'b'", "[KD_FORM = 'a'",
      "[] = 1", "()", "(", ")", "KD_FORM = 'a' ANDCOLLNO = 0", "KD_FORM = 'a' AND AND COLLNO = 0",
      // Operators and values this filter does not know.
      "KD_FORM == 'a'", "KD_FORM != 'a'", "KD_FORM = abc", "KD_FORM = \"a\"", "COLLNO = 1,5",
      "COLLNO = 1.2.3", "COLLNO = -", "COLLNO = - 1", "COLLNO = 1e5", "TGL = #31/02/2013#",
      "TGL = #05/03/2013", "KD_FORM LIKE 5", "KD_FORM LIKE Null", "NULL = 1",
      "KD_FORM NOT LIKE 'a'", "KD_FORM = 'a'; DROP"};
  for (const char* criteria : malformed) {
    EXPECT_EQ(syntaxError(criteria).rfind("Filter syntax error: ", 0), 0u) << criteria;
  }
  const std::pair<const char*, const char*> described[] = {
      {"KD_FORM = 'abc", "closing quote expected at end of criteria"},
      {"KD_FORM 'abc'", "comparison operator expected at position 9"},
      {"KD_FORM = 'a' COLLNO = 1", "AND, OR or end of criteria expected at position 15"},
      {"(KD_FORM = 'a'", "AND, OR or ')' expected at end of criteria"},
      {"KD_FORM = 'a' AND", "field name expected at end of criteria"},
      {"COLLNO = 12abc", "number expected at position 10"}};
  for (const auto& [criteria, expected] : described) {
    EXPECT_EQ(syntaxError(criteria), std::string("Filter syntax error: ") + expected);
  }
}

TEST(FilterTest, DeepNestingLongChainsAndCutCriteriaEndWellOrInASyntaxError) {
  const auto nested = [](std::size_t depth) {
    return std::string(depth, '(') + "COLLNO = 0" + std::string(depth, ')');
  };
  EXPECT_TRUE(boundFilter(nested(200))->matches(kSlip));
  EXPECT_NE(syntaxError(nested(201)), "");
  // Far deeper input must still end in an error, not in a crash.
  EXPECT_NE(syntaxError(std::string(100000, '(')), "");

  std::string chain = "COLLNO = 0";
  for (int i = 0; i < 10000; ++i) chain += " AND KD_FORM = 'F113303' OR COLLNO = 0";
  EXPECT_TRUE(boundFilter(chain)->matches(kSlip));
  EXPECT_FALSE(boundFilter(chain)->matches(kBioSlip));

  const std::string criteria =
      "(KD_FORM = 'F113303' OR [NAMA WP] LIKE '%o''b*') AND TGL >= #01/02/2013# AND "
      "TARIF <> -0.5 AND KET = Null";
  for (std::size_t length = 0; length <= criteria.size(); ++length) {
    const std::string prefix = criteria.substr(0, length);
    if (syntaxError(prefix).empty()) boundFilter(prefix)->matches(kSlip);
  }
}

TEST(FilterTest, BindRejectsUnknownFields) {
  const auto filter = Filter::parse("KD_FORM = 'a' AND NO_SUCH_FIELD = 1");
  EXPECT_EQ(errorOf([&] { filter->bind(columnIndex); }),
            std::make_pair(errc::kItemNotFound,
                           std::string("Item cannot be found in the collection corresponding to "
                                       "the requested name or ordinal.")));
}

TEST(FilterTest, RequiredEqualitiesAreTheTopLevelAndedEqualities) {
  using Pairs = std::vector<std::pair<std::size_t, Variant>>;
  // clang-format off
  const std::pair<const char*, Pairs> cases[] = {
      {"KD_FORM = 'F113303' AND NOBUKTI = '000001/PPH22'",
       {{0, Variant("F113303")}, {1, Variant("000001/PPH22")}}},
      {"COLLNO = 0", {{3, Variant(0)}}},           {"(COLLNO = 0)", {{3, Variant(0)}}},
      {"KET = Null AND COLLNO = 0", {{3, Variant(0)}}},
      {"KD_FORM <> 'a' AND TARIF = 0.3", {{5, Variant(0.3)}}},
      {"(KD_FORM = 'a' OR KD_FORM = 'b') AND COLLNO = 1", {{3, Variant(1)}}},
      {"TGL = #05/03/2013#", {{6, Variant(Date(2013, 3, 5))}}},
      {"KD_FORM = 'F113303' OR COLLNO = 0", {}},    {"NAMA LIKE 'a%'", {}}};
  // clang-format on
  for (const auto& [criteria, expected] : cases) {
    EXPECT_EQ(boundFilter(criteria)->requiredEqualities(), expected) << criteria;
  }
}

TEST(LikeMatchTest, PercentAndStarMatchAnyRunAndNothingElseIsAWildcard) {
  // clang-format off
  const struct {
    const char* text;
    const char* pattern;
    bool expected;
  } cases[] = {
      {"abc", "abc", true},  {"ABC", "a%", true},   {"abc", "*", true},    {"", "%", true},
      {"", "", true},        {"a", "", false},      {"", "a", false},      {"abc", "a*c", true},
      {"abc", "a*d", false}, {"abc", "ab", false},  {"ab", "abc", false},  {"abc", "%%%", true},
      {"a_c", "a_c", true},  {"abc", "a_c", false}, {"abc", "a?c", false}, {"aXbXc", "%b%c", true},
      {"mississippi", "m*iss*ppi", true},           {"mississippi", "m%iss%pi%x", false},
      {"5;2013;0;SOLAR;", "%5;2013;0;solar;%", true}};
  // clang-format on
  for (const auto& c : cases) {
    EXPECT_EQ(likeMatch(c.text, c.pattern), c.expected) << c.text << " LIKE " << c.pattern;
  }
  // Many wildcards over a long text still finish.
  const std::string text(20000, 'a');
  std::string pattern;
  for (int i = 0; i < 50; ++i) pattern += "%a";
  EXPECT_TRUE(likeMatch(text, pattern));
  EXPECT_FALSE(likeMatch(text, pattern + "%b"));
}

}  // namespace
}  // namespace korvane::store
