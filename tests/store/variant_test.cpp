#include "korvane/store/variant.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <tuple>
#include <utility>

#include "korvane/store/error.hpp"

namespace korvane {
namespace {

constexpr long kNoError = 0, kOverflow = errc::kOverflow, kMismatch = errc::kTypeMismatch,
               kNullUse = errc::kInvalidUseOfNull;

// The error number an action raises, or kNoError. Hosts show the description, so it must be
// the runtime's own words for that number.
template <typename F>
long errorOf(F&& action) {
  try {
    action();
  } catch (const Error& e) {
    EXPECT_EQ(e.description(), e.number() == kOverflow   ? "Overflow"
                               : e.number() == kMismatch ? "Type mismatch"
                                                         : "Invalid use of Null");
    return e.number();
  }
  return kNoError;
}

Variant int16(std::int16_t value) { return Variant(value); }

using Gives = std::pair<Variant, double>;
using Raises = std::pair<Variant, long>;

template <std::size_t N, std::size_t M>
void expectConversions(double (*convert)(const Variant&), const Gives (&gives)[N],
                       const Raises (&raises)[M]) {
  for (const auto& [value, number] : gives) {
    double result = 0;
    EXPECT_EQ(errorOf([&] { result = convert(value); }), kNoError) << value.text();
    EXPECT_EQ(result, number) << value.text();
  }
  for (const auto& [value, error] : raises) {
    EXPECT_EQ(errorOf([&] { convert(value); }), error) << value.text();
  }
}

TEST(VariantTest, ToInt16RoundsHalfToEvenAndRaisesOverflowOutsideRange) {
  const Gives gives[] = {{32767, 32767},  {-32768, -32768}, {2.5, 2},      {3.5, 4},
                         {-2.5, -2},      {1.5, 2},         {2.4, 2},      {32767.4, 32767},
                         {int16(-7), -7}, {"12", 12},       {"  7 ", 7},   {"2.5", 2},
                         {true, -1},      {false, 0},       {Variant(), 0}};
  const Raises raises[] = {
      {32768, kOverflow}, {-32769, kOverflow}, {32767.5, kOverflow}, {std::nan(""), kOverflow},
      {Null, kNullUse},   {"abc", kMismatch},  {"", kMismatch}};
  expectConversions([](const Variant& v) -> double { return v.toInt16(); }, gives, raises);
}

TEST(VariantTest, ToInt32RoundsHalfToEvenAndRaisesOverflowOutsideRange) {
  constexpr double kMax = 2147483647, kMin = -2147483648.0;
  const Gives gives[] = {{kMax, kMax}, {kMin, kMin},         {40000, 40000}, {2.5, 2},
                         {3.5, 4},     {"-123456", -123456}, {true, -1}};
  const Raises raises[] = {
      {kMax + 1, kOverflow}, {kMin - 1, kOverflow}, {Null, kNullUse}, {"12abc", kMismatch}};
  expectConversions([](const Variant& v) -> double { return v.toInt32(); }, gives, raises);
}

TEST(VariantTest, ToDoubleFollowsBasicConversions) {
  const Gives gives[] = {{"12.5", 12.5}, {"  12.5  ", 12.5},   {"-3", -3}, {"1E3", 1000},
                         {int16(5), 5},  {70000, 70000},       {true, -1}, {false, 0},
                         {Variant(), 0}, {Date(1900, 1, 1), 2}};
  // clang-format off
  const Raises raises[] = {{Null, kNullUse},   {"abc", kMismatch},         {"1,5", kMismatch},
                           {"", kMismatch},    {RecordsetPtr(), kMismatch}};
  // clang-format on
  expectConversions([](const Variant& v) { return v.toDouble(); }, gives, raises);
}

TEST(VariantTest, ToBoolAcceptsNumbersAndTrueFalseText) {
  const Gives gives[] = {{1, true},          {0, false},       {0.5, true},  {"True", true},
                         {"fALSE", false},   {" TRUE ", true}, {"0", false}, {"-1", true},
                         {Variant(), false}, {true, true}};
  const Raises raises[] = {{"yes", kMismatch}, {Null, kNullUse}};
  expectConversions([](const Variant& v) -> double { return v.toBool(); }, gives, raises);
}

TEST(VariantTest, IntRoundsTowardsMinusInfinity) {
  const Gives gives[] = {{1234.75, 1234},  {-0.5, -1},   {1500.99, 1500},
                         {-1500.0, -1500}, {"12.7", 12}, {Variant(), 0}};
  const Raises raises[] = {{Null, kNullUse}, {"x", kMismatch}};
  // Numbers go through the double overload, the rest through the Variant one.
  expectConversions([](const Variant& v) { return v.isNumeric() ? Int(v.toDouble()) : Int(v); },
                    gives, raises);
}

// Null and a recordset have text "" but no string.
TEST(VariantTest, TextAndToString) {
  const std::pair<Variant, std::string> cases[] = {
      {Variant(), ""},      {true, "True"},         {false, "False"},
      {1500.0, "1500"},     {int16(-12), "-12"},    {15000.015, "15000.015"},
      {2000000, "2000000"}, {"O'Brien", "O'Brien"}, {Date(2013, 3, 5), "05/03/2013"}};
  for (const auto& [value, text] : cases) {
    EXPECT_EQ(value.text(), text);
    EXPECT_EQ(value.toString(), text);
  }
  EXPECT_EQ(Variant(Null).text(), "");
  EXPECT_EQ(errorOf([] { Variant(Null).toString(); }), kNullUse);
  EXPECT_EQ(Variant(RecordsetPtr()).text(), "");
  EXPECT_EQ(errorOf([] { Variant(RecordsetPtr()).toString(); }), kMismatch);
}

TEST(VariantTest, TypesAndEquality) {
  using T = VariantType;
  // clang-format off
  const std::pair<Variant, VariantType> types[] = {
      {5L, T::Long},   {-2147483648LL, T::Long}, {2147483648LL, T::Double}, {int16(1), T::Integer},
      {1, T::Long},    {1.5, T::Double},         {"1", T::String},          {Date(), T::Date},
      {RecordsetPtr(), T::Recordset}};
  // clang-format on
  for (const auto& [value, type] : types) EXPECT_EQ(value.type(), type) << value.text();
  EXPECT_EQ(Variant(3000000000LL).toDouble(), 3000000000.0);
  EXPECT_TRUE(Variant().isEmpty());
  EXPECT_TRUE(Variant(Null).isNull());
  EXPECT_TRUE(Variant(true).isNumeric());
  EXPECT_TRUE(Variant(1.5).isNumeric());
  EXPECT_FALSE(Variant("1").isNumeric());
  EXPECT_TRUE(Variant("1").isText());
  EXPECT_FALSE(Variant(Date()).isNumeric());
  EXPECT_EQ(Variant("x").toRecordset(), nullptr);
  EXPECT_EQ(Variant(RecordsetPtr()).toRecordset(), nullptr);
  // Equal needs the same type and value.
  // clang-format off
  const std::tuple<Variant, Variant, bool> pairs[] = {
      {1, 1, true},         {1, 1.0, false},       {1, int16(1), false},   {"a", "A", false},
      {"a", std::string("a"), true},               {Null, Null, true},     {Variant(), Null, false},
      {Date(2013, 3, 5), Date(2013, 3, 5), true},  {RecordsetPtr(), RecordsetPtr(), true}};
  // clang-format on
  for (const auto& [a, b, equal] : pairs) EXPECT_EQ(a == b, equal) << a.text() << " " << b.text();
}

// Plain decimal with fifteen significant digits, exponent only for the very small and large;
// whatever is finite reads back.
TEST(VariantTest, NumberTextAndParseNumber) {
  constexpr double kInf = std::numeric_limits<double>::infinity();
  // clang-format off
  const struct {
    double value;
    const char* text;
  } cases[] = {
      {1500, "1500"},       {15000.015, "15000.015"},   {0.3, "0.3"},         {1.875, "1.875"},
      {-0.5, "-0.5"},       {1e14, "100000000000000"},  {0.1 + 0.2, "0.3"},   {0, "0"},
      {-0.0, "0"},          {2.0 / 3.0, "0.666666666666667"},                 {100, "100"},
      {-1234.5, "-1234.5"}, {0.00001, "0.00001"},       {0.000001, "1E-06"},  {1.5e20, "1.5E+20"},
      {1e300, "1E+300"},    {123456.789, "123456.789"}, {-2e-300, "-2E-300"}, {kInf, "Inf"},
      {-kInf, "-Inf"},      {std::numeric_limits<double>::quiet_NaN(), "NaN"}};
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(numberText(c.value), c.text);
    if (!std::isfinite(c.value)) continue;
    double back = 0;
    ASSERT_TRUE(parseNumber(c.text, back));
    EXPECT_DOUBLE_EQ(back, c.value);
  }

  const struct {
    const char* text;
    double expected;
  } accepted[] = {{"12", 12},      {" 12.5 ", 12.5}, {"-0.5", -0.5},  {"+3", 3},
                  {".5", 0.5},     {"5.", 5},        {"1e3", 1000},   {"1.5E+20", 1.5e20},
                  {"1E-06", 1e-6}, {"\t7\t", 7},     {"000123", 123}, {"1e-400", 0}};
  for (const auto& c : accepted) {
    double result = -99;
    EXPECT_TRUE(parseNumber(c.text, result)) << c.text;
    EXPECT_DOUBLE_EQ(result, c.expected) << c.text;
  }
  for (const char* text : {"", " ", "1,5", "12abc", "0,3", "abc", "-", ".", "1e", "1 2", "--1",
                           "1e+", "e5", "1.2.3", "$5", "1e400", "inf", "nan"}) {
    double result = 42;
    EXPECT_FALSE(parseNumber(text, result)) << text;
    EXPECT_EQ(result, 42) << text;  // left alone
  }
}

TEST(VariantTest, DatesParseBothFormsAndValidateTheCalendar) {
  const Date march5(2013, 3, 5);
  // clang-format off
  const struct {
    const char* text;
    Date expected;
  } cases[] = {
      {"05/03/2013", march5},          {"5/3/2013", march5},     {"31/12/2013", Date(2013, 12, 31)},
      {"2013-03-05", march5},          {" 05/03/2013 ", march5}, {"29/02/2012", Date(2012, 2, 29)},
      {"2013-03-05 00:00:00", march5}, {"2013-03-05T10:20:30", march5},
      {"2013-03-05T10:20:30.000Z", march5}};
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(Date::parse(c.text), c.expected);
    Date out;
    EXPECT_TRUE(Date::tryParse(c.text, out));
    EXPECT_EQ(out, c.expected);
  }
  for (const char* text : {"31/02/2013", "29/02/2013", "", "05/13/2013", "00/01/2013", "2013/03/05",
                           "5-3-2013", "05/03/13", "abc", "2013-02-30", "05/03/2013x",
                           "2013-03-05X", "2013-03-05 noon", "123/1/2013"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(errorOf([&] { Date::parse(text); }), kMismatch);
    Date out(2000, 1, 1);
    EXPECT_FALSE(Date::tryParse(text, out));
    EXPECT_EQ(out, Date(2000, 1, 1));
  }

  EXPECT_EQ(march5.text(), "05/03/2013");
  EXPECT_EQ(march5.iso(), "2013-03-05");
  EXPECT_EQ(Date().text(), "30/12/1899");
  EXPECT_TRUE(Date().valid());
  EXPECT_FALSE(Date(2013, 2, 31).valid());
  EXPECT_TRUE(Date::today().valid());
  EXPECT_EQ(Variant("05/03/2013").toDate(), march5);
  EXPECT_EQ(Variant().toDate(), Date());
  EXPECT_EQ(Variant(2.0).toDate(), Date(1900, 1, 1));
  EXPECT_EQ(errorOf([] { Variant("31/02/2013").toDate(); }), kMismatch);
  EXPECT_EQ(errorOf([] { Variant(Null).toDate(); }), kNullUse);
  EXPECT_EQ(errorOf([] { Variant(1e12).toDate(); }), kOverflow);
}

// Null first, then Empty; numbers by value, numeric text too when the other side is a number (two
// numeric texts compare as text); other text case-insensitively; dates by date.
TEST(VariantTest, CompareValuesFollowsBasicOrdering) {
  // clang-format off
  const struct {
    Variant a, b;
    int sign;
  } cases[] = {
      {Null, -1e300, -1},     {Null, "", -1},       {Variant(), "a", -1},       {"a", Variant(), 1},
      {Null, Null, 0},        {1, 2.5, -1},         {true, 0, -1},              {2, "10", -1},
      {" 10 ", 10.0, 0},      {"2", "10", 1},       {"abc", "ABC", 0},          {"a", "B", -1},
      {"SOLAR", "SOLARX", -1}, {5, "abc", -1},      {"2013-03-05", Date(2013, 3, 5), 0},
      {Date(2013, 1, 15), Date(2013, 3, 5), -1},    {Date(2013, 3, 5), "15/01/2013", 1}};
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(c.a.text() + " vs " + c.b.text());
    const int result = compareValues(c.a, c.b);
    EXPECT_EQ((result > 0) - (result < 0), c.sign);
  }
}

}  // namespace
}  // namespace korvane
