#include "korvane/store/variant.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "korvane/store/error.hpp"

namespace korvane {
namespace {

constexpr long kNoError = 0;

// The error number a conversion raises, or kNoError.
template <typename F>
long errorOf(F&& convert) {
  try {
    convert();
  } catch (const Error& e) {
    return e.number();
  }
  return kNoError;
}

Variant int16(std::int16_t value) { return Variant(value); }

struct IntegerCase {
  const char* name;
  Variant value;
  long expected;
  long error;
};

TEST(VariantTest, ToInt16RoundsHalfToEvenAndRaisesOverflowOutsideRange) {
  const IntegerCase cases[] = {
      {"largest", 32767, 32767, kNoError},
      {"one past largest", 32768, 0, errc::kOverflow},
      {"smallest", -32768, -32768, kNoError},
      {"one past smallest", -32769, 0, errc::kOverflow},
      {"2.5 to even below", 2.5, 2, kNoError},
      {"3.5 to even above", 3.5, 4, kNoError},
      {"-2.5 to even", -2.5, -2, kNoError},
      {"1.5", 1.5, 2, kNoError},
      {"2.4", 2.4, 2, kNoError},
      {"32767.4 rounds into range", 32767.4, 32767, kNoError},
      {"32767.5 rounds out of range", 32767.5, 0, errc::kOverflow},
      {"integer", int16(-7), -7, kNoError},
      {"numeric text", "12", 12, kNoError},
      {"numeric text with blanks", "  7 ", 7, kNoError},
      {"numeric text rounds", "2.5", 2, kNoError},
      {"True", true, -1, kNoError},
      {"False", false, 0, kNoError},
      {"Empty", Variant(), 0, kNoError},
      {"Null", Null, 0, errc::kInvalidUseOfNull},
      {"non-numeric text", "abc", 0, errc::kTypeMismatch},
      {"empty text", "", 0, errc::kTypeMismatch},
      {"NaN", std::nan(""), 0, errc::kOverflow},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::int16_t result = 0;
    EXPECT_EQ(errorOf([&] { result = c.value.toInt16(); }), c.error);
    if (c.error == kNoError) {
      EXPECT_EQ(result, c.expected);
    }
  }
}

TEST(VariantTest, ToInt32RoundsHalfToEvenAndRaisesOverflowOutsideRange) {
  const IntegerCase cases[] = {
      {"largest", 2147483647, 2147483647, kNoError},
      {"one past largest", 2147483648.0, 0, errc::kOverflow},
      {"smallest", -2147483648.0, -2147483648L, kNoError},
      {"one past smallest", -2147483649.0, 0, errc::kOverflow},
      {"beyond 16 bits", 40000, 40000, kNoError},
      {"2.5", 2.5, 2, kNoError},
      {"3.5", 3.5, 4, kNoError},
      {"numeric text", "-123456", -123456, kNoError},
      {"True", true, -1, kNoError},
      {"Null", Null, 0, errc::kInvalidUseOfNull},
      {"non-numeric text", "12abc", 0, errc::kTypeMismatch},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::int32_t result = 0;
    EXPECT_EQ(errorOf([&] { result = c.value.toInt32(); }), c.error);
    if (c.error == kNoError) {
      EXPECT_EQ(result, c.expected);
    }
  }
}

TEST(VariantTest, ToDoubleFollowsBasicConversions) {
  struct Case {
    const char* name;
    Variant value;
    double expected;
    long error;
  };
  const Case cases[] = {
      {"numeric text", "12.5", 12.5, kNoError},
      {"numeric text with blanks", "  12.5  ", 12.5, kNoError},
      {"negative text", "-3", -3, kNoError},
      {"text with exponent", "1E3", 1000, kNoError},
      {"integer", int16(5), 5, kNoError},
      {"long", 70000, 70000, kNoError},
      {"True is -1", true, -1, kNoError},
      {"False is 0", false, 0, kNoError},
      {"Empty is 0", Variant(), 0, kNoError},
      {"date serial", Date(1900, 1, 1), 2, kNoError},
      {"Null", Null, 0, errc::kInvalidUseOfNull},
      {"non-numeric text", "abc", 0, errc::kTypeMismatch},
      {"thousands separator", "1,5", 0, errc::kTypeMismatch},
      {"empty text", "", 0, errc::kTypeMismatch},
      {"recordset", RecordsetPtr(), 0, errc::kTypeMismatch},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    double result = 0;
    EXPECT_EQ(errorOf([&] { result = c.value.toDouble(); }), c.error);
    if (c.error == kNoError) {
      EXPECT_EQ(result, c.expected);
    }
  }
}

TEST(VariantTest, ToBoolAcceptsNumbersAndTrueFalseText) {
  struct Case {
    const char* name;
    Variant value;
    bool expected;
    long error;
  };
  const Case cases[] = {
      {"one", 1, true, kNoError},
      {"zero", 0, false, kNoError},
      {"fraction", 0.5, true, kNoError},
      {"True text", "True", true, kNoError},
      {"false text any case", "fALSE", false, kNoError},
      {"TRUE with blanks", " TRUE ", true, kNoError},
      {"numeric text zero", "0", false, kNoError},
      {"numeric text -1", "-1", true, kNoError},
      {"Empty", Variant(), false, kNoError},
      {"Boolean", true, true, kNoError},
      {"other text", "yes", false, errc::kTypeMismatch},
      {"Null", Null, false, errc::kInvalidUseOfNull},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    bool result = false;
    EXPECT_EQ(errorOf([&] { result = c.value.toBool(); }), c.error);
    if (c.error == kNoError) {
      EXPECT_EQ(result, c.expected);
    }
  }
}

TEST(VariantTest, TextAndToString) {
  struct Case {
    const char* name;
    Variant value;
    std::string text;
    long toStringError;
  };
  const Case cases[] = {
      {"Null", Null, "", errc::kInvalidUseOfNull},
      {"Empty", Variant(), "", kNoError},
      {"True", true, "True", kNoError},
      {"False", false, "False", kNoError},
      {"whole amount", 1500.0, "1500", kNoError},
      {"fraction", 15000.015, "15000.015", kNoError},
      {"integer", int16(-12), "-12", kNoError},
      {"long", 2000000, "2000000", kNoError},
      {"text", "O'Brien", "O'Brien", kNoError},
      {"date", Date(2013, 3, 5), "05/03/2013", kNoError},
      {"recordset", RecordsetPtr(), "", errc::kTypeMismatch},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.value.text(), c.text);
    std::string converted;
    EXPECT_EQ(errorOf([&] { converted = c.value.toString(); }), c.toStringError);
    if (c.toStringError == kNoError) {
      EXPECT_EQ(converted, c.text);
    }
  }
}

TEST(VariantTest, ConversionErrorsCarryBasicDescriptions) {
  try {
    Variant(Null).toDouble();
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.description(), "Invalid use of Null");
  }
  try {
    Variant("abc").toDouble();
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.description(), "Type mismatch");
  }
  try {
    Variant(32768).toInt16();
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.description(), "Overflow");
  }
}

TEST(VariantTest, WideIntegersAreLongWhenTheyFitElseDouble) {
  EXPECT_EQ(Variant(5L).type(), VariantType::Long);
  EXPECT_EQ(Variant(-2147483648LL).type(), VariantType::Long);
  EXPECT_EQ(Variant(2147483648LL).type(), VariantType::Double);
  EXPECT_EQ(Variant(3000000000LL).toDouble(), 3000000000.0);
  EXPECT_EQ(Variant(int16(1)).type(), VariantType::Integer);
  EXPECT_EQ(Variant(1).type(), VariantType::Long);
}

TEST(VariantTest, TypeQueries) {
  EXPECT_TRUE(Variant().isEmpty());
  EXPECT_TRUE(Variant(Null).isNull());
  EXPECT_TRUE(Variant(true).isNumeric());
  EXPECT_TRUE(Variant(1.5).isNumeric());
  EXPECT_FALSE(Variant("1").isNumeric());
  EXPECT_TRUE(Variant("1").isText());
  EXPECT_FALSE(Variant(Date()).isNumeric());
  EXPECT_EQ(Variant(RecordsetPtr()).type(), VariantType::Recordset);
  EXPECT_EQ(Variant("x").toRecordset(), nullptr);
  EXPECT_EQ(Variant(RecordsetPtr()).toRecordset(), nullptr);
}

TEST(VariantTest, EqualityNeedsSameTypeAndValue) {
  EXPECT_EQ(Variant(1), Variant(1));
  EXPECT_NE(Variant(1), Variant(1.0));
  EXPECT_NE(Variant(1), Variant(int16(1)));
  EXPECT_EQ(Variant("a"), Variant(std::string("a")));
  EXPECT_NE(Variant("a"), Variant("A"));
  EXPECT_EQ(Variant(Null), Variant(Null));
  EXPECT_NE(Variant(), Variant(Null));
  EXPECT_EQ(Variant(Date(2013, 3, 5)), Variant(Date(2013, 3, 5)));
  EXPECT_EQ(Variant(RecordsetPtr()), Variant(RecordsetPtr()));
}

TEST(VariantTest, NumberTextIsPlainDecimalWithFifteenSignificantDigits) {
  struct Case {
    const char* name;
    double value;
    const char* text;
  };
  const Case cases[] = {
      {"whole", 1500, "1500"},
      {"fraction", 15000.015, "15000.015"},
      {"tenths", 0.3, "0.3"},
      {"eighths", 1.875, "1.875"},
      {"negative half", -0.5, "-0.5"},
      {"1e14 without exponent", 1e14, "100000000000000"},
      {"sum rounded to 15 digits", 0.1 + 0.2, "0.3"},
      {"two thirds", 2.0 / 3.0, "0.666666666666667"},
      {"zero", 0, "0"},
      {"negative zero", -0.0, "0"},
      {"hundred", 100, "100"},
      {"negative amount", -1234.5, "-1234.5"},
      {"small", 0.00001, "0.00001"},
      {"tiny uses exponent", 0.000001, "1E-06"},
      {"huge uses exponent", 1.5e20, "1.5E+20"},
      {"NaN", std::numeric_limits<double>::quiet_NaN(), "NaN"},
      {"infinity", std::numeric_limits<double>::infinity(), "Inf"},
      {"minus infinity", -std::numeric_limits<double>::infinity(), "-Inf"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(numberText(c.value), c.text);
  }
}

TEST(VariantTest, NumberTextReadsBack) {
  const double values[] = {1500, 15000.015, -0.5, 1e14, 123456.789, 1.5e20, 1e-6, 1e300, -2e-300};
  for (double value : values) {
    SCOPED_TRACE(numberText(value));
    double back = 0;
    ASSERT_TRUE(parseNumber(numberText(value), back));
    EXPECT_DOUBLE_EQ(back, value);
  }
}

TEST(VariantTest, ParseNumberAcceptsPlainDecimals) {
  struct Case {
    const char* text;
    double expected;
  };
  const Case cases[] = {
      {"12", 12},      {" 12.5 ", 12.5}, {"-0.5", -0.5},  {"+3", 3},
      {".5", 0.5},     {"5.", 5},        {"1e3", 1000},   {"1.5E+20", 1.5e20},
      {"1E-06", 1e-6}, {"\t7\t", 7},     {"000123", 123}, {"1e-400", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    double result = -99;
    ASSERT_TRUE(parseNumber(c.text, result));
    EXPECT_DOUBLE_EQ(result, c.expected);
  }
}

TEST(VariantTest, ParseNumberRejectsAnythingElse) {
  const char* cases[] = {"",    " ",   "1,5", "12abc", "0,3",   "abc", "-",     ".",   "1e",
                         "1 2", "--1", "1e+", "e5",    "1.2.3", "$5",  "1e400", "inf", "nan"};
  for (const char* text : cases) {
    SCOPED_TRACE(text);
    double result = 42;
    EXPECT_FALSE(parseNumber(text, result));
    EXPECT_EQ(result, 42);
  }
}

TEST(VariantTest, IntRoundsTowardsMinusInfinity) {
  EXPECT_EQ(Int(1234.75), 1234);
  EXPECT_EQ(Int(-0.5), -1);
  EXPECT_EQ(Int(1500.99), 1500);
  EXPECT_EQ(Int(-1500.0), -1500);
  EXPECT_EQ(Int(Variant("12.7")), 12);
  EXPECT_EQ(Int(Variant()), 0);
  EXPECT_EQ(errorOf([] { Int(Variant(Null)); }), errc::kInvalidUseOfNull);
  EXPECT_EQ(errorOf([] { Int(Variant("x")); }), errc::kTypeMismatch);
}

TEST(VariantTest, DateParsesBothFormsAndValidatesTheCalendar) {
  struct Case {
    const char* text;
    Date expected;
  };
  const Case cases[] = {
      {"05/03/2013", Date(2013, 3, 5)},          {"5/3/2013", Date(2013, 3, 5)},
      {"31/12/2013", Date(2013, 12, 31)},        {"29/02/2012", Date(2012, 2, 29)},
      {"2013-03-05", Date(2013, 3, 5)},          {"2013-03-05 00:00:00", Date(2013, 3, 5)},
      {"2013-03-05T10:20:30", Date(2013, 3, 5)}, {"2013-03-05T10:20:30.000Z", Date(2013, 3, 5)},
      {" 05/03/2013 ", Date(2013, 3, 5)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(Date::parse(c.text), c.expected);
    Date out;
    EXPECT_TRUE(Date::tryParse(c.text, out));
    EXPECT_EQ(out, c.expected);
  }
}

TEST(VariantTest, InvalidDatesAreTypeMismatch) {
  const char* cases[] = {
      "31/02/2013",      "29/02/2013", "",    "05/13/2013", "00/01/2013",  "2013/03/05",
      "5-3-2013",        "05/03/13",   "abc", "2013-02-30", "05/03/2013x", "2013-03-05X",
      "2013-03-05 noon", "123/1/2013"};
  for (const char* text : cases) {
    SCOPED_TRACE(text);
    EXPECT_EQ(errorOf([&] { Date::parse(text); }), errc::kTypeMismatch);
    Date out(2000, 1, 1);
    EXPECT_FALSE(Date::tryParse(text, out));
    EXPECT_EQ(out, Date(2000, 1, 1));
  }
}

TEST(VariantTest, DateTextForms) {
  EXPECT_EQ(Date(2013, 3, 5).text(), "05/03/2013");
  EXPECT_EQ(Date(2013, 3, 5).iso(), "2013-03-05");
  EXPECT_EQ(Date().text(), "30/12/1899");
  EXPECT_TRUE(Date().valid());
  EXPECT_FALSE(Date(2013, 2, 31).valid());
  EXPECT_TRUE(Date::today().valid());
  EXPECT_EQ(Variant("05/03/2013").toDate(), Date(2013, 3, 5));
  EXPECT_EQ(Variant().toDate(), Date());
  EXPECT_EQ(Variant(2.0).toDate(), Date(1900, 1, 1));
  EXPECT_EQ(errorOf([] { Variant("31/02/2013").toDate(); }), errc::kTypeMismatch);
  EXPECT_EQ(errorOf([] { Variant(Null).toDate(); }), errc::kInvalidUseOfNull);
  EXPECT_EQ(errorOf([] { Variant(1e12).toDate(); }), errc::kOverflow);
}

TEST(VariantTest, CompareValuesFollowsBasicOrdering) {
  struct Case {
    const char* name;
    Variant a;
    Variant b;
    int expectedSign;
  };
  const Case cases[] = {
      {"Null before number", Null, -1e300, -1},
      {"Null before text", Null, "", -1},
      {"Empty before text", Variant(), "a", -1},
      {"text after Empty", "a", Variant(), 1},
      {"Null equals Null", Null, Null, 0},
      {"numbers", 1, 2.5, -1},
      {"True is -1", true, 0, -1},
      {"number against numeric text", 2, "10", -1},
      {"numeric text against number", " 10 ", 10.0, 0},
      {"two numeric texts compare as text", "2", "10", 1},
      {"text ignores case", "abc", "ABC", 0},
      {"text order", "a", "B", -1},
      {"prefix first", "SOLAR", "SOLARX", -1},
      {"number against other text", 5, "abc", -1},
      {"dates", Date(2013, 1, 15), Date(2013, 3, 5), -1},
      {"date against date text", Date(2013, 3, 5), "15/01/2013", 1},
      {"date against equal text", "2013-03-05", Date(2013, 3, 5), 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const int result = compareValues(c.a, c.b);
    EXPECT_EQ((result > 0) - (result < 0), c.expectedSign);
  }
}

}  // namespace
}  // namespace korvane
