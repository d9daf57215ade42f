#include "korvane/store/filter.hpp"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "korvane/store/error.hpp"

namespace korvane::store {
namespace {

using Row = std::vector<Variant>;

const std::vector<std::string> kColumns = {"KD_FORM", "NOBUKTI", "NAMA_KOMODITI", "COLLNO",
                                           "NAMA",    "TARIF",   "TGL",           "KET",
                                           "SEQ",     "NAMA WP"};

// Field names resolve case-insensitively, as a recordset resolves them.
long columnIndex(std::string_view name) {
  for (std::size_t i = 0; i < kColumns.size(); ++i) {
    const std::string& column = kColumns[i];
    if (column.size() != name.size()) continue;
    bool same = true;
    for (std::size_t j = 0; j < name.size() && same; ++j) {
      same = std::toupper(static_cast<unsigned char>(column[j])) ==
             std::toupper(static_cast<unsigned char>(name[j]));
    }
    if (same) return static_cast<long>(i);
  }
  return -1;
}

std::unique_ptr<Filter> boundFilter(std::string_view criteria) {
  auto filter = Filter::parse(criteria);
  filter->bind(columnIndex);
  return filter;
}

const Row kSlip = {"F113303",    "000001/PPH22", "SOLAR", std::int16_t{0}, "O'Brien", 0.3,
                   "05/03/2013", Null,           "12",    "PT Maju"};
const Row kBioSlip = {"F113304", "000002/PPH22", "BIO SOLAR",  std::int16_t{1},
                      "Smith",   Null,           "15/01/2013", "x",
                      "9",       "CV Jaya"};

TEST(FilterTest, MatchesRowsAsTheCriteriaSay) {
  struct Case {
    const char* criteria;
    bool slip;
    bool bioSlip;
  };
  const Case cases[] = {
      {"KD_FORM = 'F113303' AND NOBUKTI = '000001/PPH22'", true, false},
      {"KD_FORM = 'F113303' AND NOBUKTI = '000002/PPH22'", false, false},
      {"NAMA_KOMODITI = 'SOLAR'", true, false},
      {"NAMA_KOMODITI = 'solar'", true, false},
      {"COLLNO = 0", true, false},
      {"COLLNO = 1", false, true},
      {"COLLNO <> 0", false, true},
      {"NAMA = 'O''Brien'", true, false},
      {"KET = Null", true, false},
      {"KET <> Null", false, true},
      {"KET = 'x'", false, true},
      {"KET <> 'x'", false, false},
      {"TARIF > 0", true, false},
      {"TARIF <> 0.5", true, false},
      {"TARIF >= 0.3", true, false},
      {"TARIF <= 0.29", false, false},
      {"TARIF < -1", false, false},
      {"TARIF < Null", false, false},
      {"(KD_FORM = 'F113304' OR KD_FORM = 'F113303') AND COLLNO = 1", false, true},
      {"KD_FORM = 'X' OR (NAMA LIKE 'o''b%' AND COLLNO = 0)", true, false},
      {"KD_FORM = 'F113303' OR KD_FORM = 'F113304'", true, true},
      {"((KD_FORM = 'F113303'))", true, false},
      {"NAMA_KOMODITI LIKE '%SOLAR'", true, true},
      {"NAMA_KOMODITI LIKE 'BIO*'", false, true},
      {"NAMA_KOMODITI like '*sol*'", true, true},
      {"NAMA_KOMODITI LIKE 'SOL'", false, false},
      {"kd_form = 'f113303' and collno = 0", true, false},
      {"KD_FORM = 'f113304' Or Collno = 0", true, true},
      {"SEQ = 9", false, true},
      {"SEQ > 10", true, false},
      {"SEQ > '10'", true, true},
      {"SEQ = 12.0", true, false},
      {"COLLNO = '1'", false, true},
      {"TGL < #01/02/2013#", false, true},
      {"TGL = #5/3/2013#", true, false},
      {"[KD_FORM] = 'F113303'", true, false},
      {"[NAMA WP] = 'cv jaya'", false, true},
      {"  KD_FORM='F113303'AND(COLLNO=0)  ", true, false},
      {"COLLNO = -0", true, false},
      {"COLLNO > -1.5", true, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.criteria);
    const auto filter = boundFilter(c.criteria);
    EXPECT_EQ(filter->matches(kSlip), c.slip);
    EXPECT_EQ(filter->matches(kBioSlip), c.bioSlip);
  }
}

TEST(FilterTest, EmptyFieldIsTreatedAsNull) {
  Row row = kSlip;
  row[7] = Variant();
  EXPECT_TRUE(boundFilter("KET = Null")->matches(row));
  EXPECT_FALSE(boundFilter("KET <> Null")->matches(row));
  EXPECT_FALSE(boundFilter("KET <> 'x'")->matches(row));
}

TEST(FilterTest, RejectsMalformedCriteria) {
  const char* cases[] = {
      "",
      "   ",
      "KD_FORM",
      "KD_FORM =",
      "KD_FORM = 'abc",
      "KD_FORM = 'it''s",
      "KD_FORM 'abc'",
      "(KD_FORM = 'a'",
      "KD_FORM = 'a')",
      "KD_FORM = 'a' AND",
      "KD_FORM = 'a' OR",
      "AND KD_FORM = 'a'",
      "KD_FORM = 'a' KD_FORM = 'b'",
      "KD_FORM == 'a'",
      "KD_FORM != 'a'",
      "KD_FORM = abc",
      "KD_FORM = \"a\"",
      "COLLNO = 12abc",
      "COLLNO = 1,5",
      "COLLNO = 1.2.3",
      "COLLNO = -",
      "COLLNO = - 1",
      "COLLNO = 1e5",
      "[KD_FORM = 'a'",
      "[] = 1",
      "TGL = #31/02/2013#",
      "TGL = #05/03/2013",
      "KD_FORM LIKE 5",
      "KD_FORM LIKE Null",
      "()",
      "(",
      ")",
      "NULL = 1",
      "KD_FORM = 'a' ANDCOLLNO = 0",
      "KD_FORM = 'a' AND AND COLLNO = 0",
      "KD_FORM NOT LIKE 'a'",
      "KD_FORM = 'a'; DROP",
  };
  for (const char* criteria : cases) {
    SCOPED_TRACE(criteria);
    try {
      Filter::parse(criteria);
      ADD_FAILURE() << "parsed";
    } catch (const Error& e) {
      EXPECT_EQ(e.number(), errc::kSyntax);
      EXPECT_EQ(e.description().rfind("Filter syntax error: ", 0), 0u) << e.description();
    }
  }
}

TEST(FilterTest, SyntaxErrorsSayWhatWasExpectedAndWhere) {
  struct Case {
    const char* criteria;
    const char* description;
  };
  const Case cases[] = {
      {"KD_FORM = 'abc", "Filter syntax error: closing quote expected at end of criteria"},
      {"KD_FORM 'abc'", "Filter syntax error: comparison operator expected at position 9"},
      {"KD_FORM = 'a' COLLNO = 1",
       "Filter syntax error: AND, OR or end of criteria expected at position 15"},
      {"(KD_FORM = 'a'", "Filter syntax error: AND, OR or ')' expected at end of criteria"},
      {"KD_FORM = 'a' AND", "Filter syntax error: field name expected at end of criteria"},
      {"COLLNO = 12abc", "Filter syntax error: number expected at position 10"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.criteria);
    try {
      Filter::parse(c.criteria);
      ADD_FAILURE() << "parsed";
    } catch (const Error& e) {
      EXPECT_EQ(e.description(), c.description);
    }
  }
}

TEST(FilterTest, NestingIsBoundedAtTwoHundredParentheses) {
  const auto nested = [](int depth) {
    return std::string(static_cast<std::size_t>(depth), '(') + "COLLNO = 0" +
           std::string(static_cast<std::size_t>(depth), ')');
  };
  EXPECT_TRUE(boundFilter(nested(200))->matches(kSlip));
  try {
    Filter::parse(nested(201));
    FAIL() << "parsed";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errc::kSyntax);
  }
  // Far deeper input must still end in an error, not in a crash.
  EXPECT_THROW(Filter::parse(std::string(100000, '(')), Error);
}

TEST(FilterTest, LongChainsOfTermsWork) {
  std::string criteria = "COLLNO = 0";
  for (int i = 0; i < 10000; ++i) criteria += " AND KD_FORM = 'F113303' OR COLLNO = 0";
  EXPECT_TRUE(boundFilter(criteria)->matches(kSlip));
  EXPECT_FALSE(boundFilter(criteria)->matches(kBioSlip));
}

TEST(FilterTest, EveryPrefixOfValidCriteriaParsesOrRaisesSyntaxError) {
  const std::string criteria =
      "(KD_FORM = 'F113303' OR [NAMA WP] LIKE '%o''b*') AND TGL >= #01/02/2013# AND "
      "TARIF <> -0.5 AND KET = Null";
  for (std::size_t length = 0; length <= criteria.size(); ++length) {
    const std::string prefix = criteria.substr(0, length);
    SCOPED_TRACE(prefix);
    try {
      boundFilter(prefix)->matches(kSlip);
    } catch (const Error& e) {
      EXPECT_EQ(e.number(), errc::kSyntax);
    }
  }
}

TEST(FilterTest, BindRejectsUnknownFields) {
  const auto filter = Filter::parse("KD_FORM = 'a' AND NO_SUCH_FIELD = 1");
  try {
    filter->bind(columnIndex);
    FAIL() << "bound";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errc::kItemNotFound);
    EXPECT_EQ(e.description(),
              "Item cannot be found in the collection corresponding to the requested name or "
              "ordinal.");
  }
}

TEST(FilterTest, RequiredEqualitiesAreTheTopLevelAndedEqualities) {
  using Pairs = std::vector<std::pair<std::size_t, Variant>>;
  struct Case {
    const char* criteria;
    Pairs expected;
  };
  const Case cases[] = {
      {"KD_FORM = 'F113303' AND NOBUKTI = '000001/PPH22'",
       {{0, Variant("F113303")}, {1, Variant("000001/PPH22")}}},
      {"COLLNO = 0", {{3, Variant(0)}}},
      {"(COLLNO = 0)", {{3, Variant(0)}}},
      {"KD_FORM = 'F113303' OR COLLNO = 0", {}},
      {"KET = Null AND COLLNO = 0", {{3, Variant(0)}}},
      {"KD_FORM <> 'a' AND TARIF = 0.3", {{5, Variant(0.3)}}},
      {"(KD_FORM = 'a' OR KD_FORM = 'b') AND COLLNO = 1", {{3, Variant(1)}}},
      {"NAMA LIKE 'a%'", {}},
      {"TGL = #05/03/2013#", {{6, Variant(Date(2013, 3, 5))}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.criteria);
    EXPECT_EQ(boundFilter(c.criteria)->requiredEqualities(), c.expected);
  }
}

TEST(LikeMatchTest, PercentAndStarMatchAnyRun) {
  struct Case {
    const char* text;
    const char* pattern;
    bool expected;
  };
  const Case cases[] = {
      {"abc", "abc", true},
      {"ABC", "a%", true},
      {"abc", "*", true},
      {"", "%", true},
      {"", "", true},
      {"a", "", false},
      {"", "a", false},
      {"abc", "a*c", true},
      {"abc", "a*d", false},
      {"aXbXc", "%b%c", true},
      {"mississippi", "m*iss*ppi", true},
      {"mississippi", "m%iss%pi%x", false},
      {"abc", "ab", false},
      {"ab", "abc", false},
      {"5;2013;0;SOLAR;", "%5;2013;0;solar;%", true},
      {"a_c", "a_c", true},
      {"abc", "a_c", false},
      {"abc", "a?c", false},
      {"abc", "%%%", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.text) + " LIKE " + c.pattern);
    EXPECT_EQ(likeMatch(c.text, c.pattern), c.expected);
  }
}

TEST(LikeMatchTest, ManyWildcardsOverLongTextFinish) {
  const std::string text(20000, 'a');
  std::string pattern;
  for (int i = 0; i < 50; ++i) pattern += "%a";
  EXPECT_TRUE(likeMatch(text, pattern));
  EXPECT_FALSE(likeMatch(text, pattern + "%b"));
}

}  // namespace
}  // namespace korvane::store
