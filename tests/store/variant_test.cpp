#include "korvane/store/variant.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

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

// Each conversion: the numbers values give, and the errors others raise.
TEST(VariantTest, ConversionsRoundHalfToEvenOrDownAndRaiseOverflowMismatchOrNullUse) {
  constexpr double kMax = 2147483647, kMin = -2147483648.0;
  const struct {
    const char* name;
    double (*convert)(const Variant&);
    std::vector<std::pair<Variant, double>> gives;
    std::vector<std::pair<Variant, long>> raises;
  } cases[] = {
      // clang-format off
      {"toInt16", [](const Variant& v) -> double { return v.toInt16(); },
       {{32767, 32767}, {-32768, -32768}, {2.5, 2}, {3.5, 4}, {-2.5, -2}, {2.4, 2},
        {32767.4, 32767}, {int16(-7), -7}, {"  7 ", 7}, {"2.5", 2}, {true, -1}, {false, 0},
        {Variant(), 0}},
       {{32768, kOverflow}, {-32769, kOverflow}, {32767.5, kOverflow}, {std::nan(""), kOverflow},
        {Null, kNullUse}, {"abc", kMismatch}, {"", kMismatch}}},
      {"toInt32", [](const Variant& v) -> double { return v.toInt32(); },
       {{kMax, kMax}, {kMin, kMin}, {40000, 40000}, {2.5, 2}, {3.5, 4}, {"-123456", -123456}},
       {{kMax + 1, kOverflow}, {kMin - 1, kOverflow}, {Null, kNullUse}, {"12abc", kMismatch}}},
      {"toDouble", [](const Variant& v) { return v.toDouble(); },
       {{"  12.5  ", 12.5}, {"1E3", 1000}, {int16(5), 5}, {70000, 70000}, {true, -1},
        {Variant(), 0}, {Date(1900, 1, 1), 2}},
       {{Null, kNullUse}, {"1,5", kMismatch}, {"", kMismatch}, {RecordsetPtr(), kMismatch}}},
      {"toBool", [](const Variant& v) -> double { return v.toBool(); },
       {{0, false}, {0.5, true}, {"fALSE", false}, {" TRUE ", true}, {"0", false}, {"-1", true},
        {Variant(), false}},
       {{"yes", kMismatch}, {Null, kNullUse}}},
      // Towards minus infinity; numbers through the double overload, the rest the Variant one.
      {"Int", [](const Variant& v) { return v.isNumeric() ? Int(v.toDouble()) : Int(v); },
       {{1234.75, 1234}, {-0.5, -1}, {-1500.0, -1500}, {"12.7", 12}, {Variant(), 0}},
       {{Null, kNullUse}, {"x", kMismatch}}}};
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    for (const auto& [value, number] : c.gives) {
      double result = 0;
      EXPECT_EQ(errorOf([&] { result = c.convert(value); }), kNoError) << value.text();
      EXPECT_EQ(result, number) << value.text();
    }
    for (const auto& [value, error] : c.raises) {
      EXPECT_EQ(errorOf([&] { c.convert(value); }), error) << value.text();
    }
  }
}

// Each value's type, the kind it counts as, and its text, which is also its string but for Null
// (Invalid use of Null) and a recordset (Type mismatch).
TEST(VariantTest, TypesKindsTextsAndEquality) {
  using T = VariantType;
  // clang-format off
  const struct {
    Variant value;
    VariantType type;
    const char* kind;
    const char* text;
  } cases[] = {
      {Variant(), T::Empty, "empty", ""},          {Null, T::Null, "null", ""},
      {true, T::Boolean, "numeric", "True"},       {false, T::Boolean, "numeric", "False"},
      {int16(-12), T::Integer, "numeric", "-12"},  {2000000, T::Long, "numeric", "2000000"},
      {-2147483648LL, T::Long, "numeric", "-2147483648"},
      {2147483648LL, T::Double, "numeric", "2147483648"},
      {1500.0, T::Double, "numeric", "1500"},      {"O'Brien", T::String, "text", "O'Brien"},
      {Date(2013, 3, 5), T::Date, "", "05/03/2013"}, {RecordsetPtr(), T::Recordset, "", ""}};
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value.text());
    const Variant& v = c.value;
    EXPECT_EQ(v.type(), c.type);
    EXPECT_EQ(std::string(v.isEmpty() ? "empty" : "") + (v.isNull() ? "null" : "") +
                  (v.isNumeric() ? "numeric" : "") + (v.isText() ? "text" : ""),
              c.kind);
    EXPECT_EQ(v.text(), c.text);
    EXPECT_EQ(v.isNull() || c.type == T::Recordset ? c.text : v.toString(), c.text);
  }
  EXPECT_EQ(errorOf([] { Variant(Null).toString(); }), kNullUse);
  EXPECT_EQ(errorOf([] { Variant(RecordsetPtr()).toString(); }), kMismatch);
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
      {1500, "1500"},       {15000.015, "15000.015"}, {1e14, "100000000000000"}, {0.1 + 0.2, "0.3"},
      {-0.0, "0"},          {2.0 / 3.0, "0.666666666666667"},               {0.00001, "0.00001"},
      {0.000001, "1E-06"},  {1.5e20, "1.5E+20"},      {-2e-300, "-2E-300"},  {kInf, "Inf"},
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
  // Blanks around, a sign, a bare point either side, leading zeros; too small is 0, too large
  // is refused. A refused text leaves the number alone.
  const std::pair<const char*, double> accepted[] = {{" 12.5 ", 12.5}, {"+3", 3},     {".5", 0.5},
                                                     {"5.", 5},        {"1e3", 1000}, {"\t7\t", 7},
                                                     {"000123", 123},  {"1e-400", 0}};
  for (const auto& [text, expected] : accepted) {
    double result = -99;
    EXPECT_TRUE(parseNumber(text, result)) << text;
    EXPECT_DOUBLE_EQ(result, expected) << text;
  }
  for (const char* text : {"", " ", "1,5", "12abc", "-", ".", "1e", "1 2", "--1", "e5", "1.2.3",
                           "$5", "1e400", "inf", "nan"}) {
    double result = 42;
    EXPECT_FALSE(parseNumber(text, result)) << text;
    EXPECT_EQ(result, 42) << text;
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
  for (const char* text :
       {"31/02/2013", "29/02/2013", "", "05/13/2013", "00/01/2013", "2013/03/05", "5-3-2013",
        "05/03/13", "2013-02-30", "05/03/2013x", "2013-03-05 noon", "123/1/2013"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(errorOf([&] { Date::parse(text); }), kMismatch);
    Date out(2000, 1, 1);
    EXPECT_FALSE(Date::tryParse(text, out));
    EXPECT_EQ(out, Date(2000, 1, 1));
  }

  EXPECT_EQ(march5.iso(), "2013-03-05");
  EXPECT_EQ(Date().text(), "30/12/1899");
  EXPECT_TRUE(Date().valid());
  EXPECT_FALSE(Date(2013, 2, 31).valid());
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
