// The dynamic value a host reads from and writes into Korvane's recordsets and properties.
// Conversions follow the BASIC rules the return's arithmetic was designed against: numeric
// text converts to a number, Null in arithmetic is an error (94), a 16-bit integer outside
// -32768..32767 is an overflow (6), Int() rounds towards minus infinity.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

namespace korvane {

class Recordset;
using RecordsetPtr = std::shared_ptr<Recordset>;

// A calendar date, written and read as "DD/MM/YYYY".
class Date {
 public:
  Date() = default;
  Date(int year, unsigned month, unsigned day);

  int year() const noexcept { return year_; }
  unsigned month() const noexcept { return month_; }
  unsigned day() const noexcept { return day_; }
  bool valid() const noexcept;

  std::string text() const;  // "DD/MM/YYYY"
  std::string iso() const;   // "YYYY-MM-DD", for stores that take ISO dates
  // Accepts "DD/MM/YYYY" (one or two digit day and month) and "YYYY-MM-DD" (with an optional
  // time part, as server stores hand dates back). Throws Error 13 otherwise.
  static Date parse(std::string_view text);
  static bool tryParse(std::string_view text, Date& out) noexcept;
  static Date today();

  friend bool operator==(const Date&, const Date&) = default;
  friend auto operator<=>(const Date&, const Date&) = default;

 private:
  int year_ = 1899;
  unsigned month_ = 12;
  unsigned day_ = 30;
};

// Declared ahead of the constant Null so that GCC's -Wshadow does not flag the enumerator.
enum class VariantType { Empty, Null, Boolean, Integer, Long, Double, String, Date, Recordset };

struct NullValue {
  friend bool operator==(NullValue, NullValue) { return true; }
};
inline constexpr NullValue Null{};

class Variant {
 public:
  Variant() = default;  // Empty
  Variant(NullValue) : value_(NullValue{}) {}
  Variant(bool b) : value_(b) {}
  Variant(std::int16_t i) : value_(i) {}
  Variant(int i) : value_(static_cast<std::int32_t>(i)) {}
  Variant(long i);       // Long when it fits 32 bits, Double otherwise
  Variant(long long i);  // likewise
  Variant(double d) : value_(d) {}
  Variant(const char* s) : value_(std::string(s)) {}
  Variant(std::string s) : value_(std::move(s)) {}
  Variant(std::string_view s) : value_(std::string(s)) {}
  Variant(const Date& d) : value_(d) {}
  Variant(RecordsetPtr rs) : value_(std::move(rs)) {}

  VariantType type() const noexcept { return static_cast<VariantType>(value_.index()); }
  bool isEmpty() const noexcept { return type() == VariantType::Empty; }
  bool isNull() const noexcept { return type() == VariantType::Null; }
  bool isNumeric() const noexcept;  // Boolean, Integer, Long, Double
  bool isText() const noexcept { return type() == VariantType::String; }

  // Conversions (CBool, CInt, CLng, CDbl, CStr, CDate). Null raises 94; text that is not a
  // number raises 13; CInt/CLng round half to even as BASIC does and raise 6 when out of range.
  bool toBool() const;
  std::int16_t toInt16() const;
  std::int32_t toInt32() const;
  double toDouble() const;
  std::string toString() const;
  Date toDate() const;
  RecordsetPtr toRecordset() const;  // null pointer unless the value holds a recordset
  // The text a String holds, without a copy; nullptr for any other type.
  const std::string* textIf() const noexcept { return std::get_if<std::string>(&value_); }
  // text() without a copy when the value holds text; otherwise converted into `spare`, which
  // must outlive the view.
  std::string_view textView(std::string& spare) const {
    if (const std::string* own = textIf()) return *own;
    return spare = text();
  }

  // Text of the value as a field of packed text or an export line: Null and Empty give "",
  // numbers their number text, dates "DD/MM/YYYY", booleans "True"/"False" (BASIC's CStr).
  std::string text() const;

  // Same type and value (a Recordset compares by identity). Not BASIC's "=".
  friend bool operator==(const Variant& a, const Variant& b);

 private:
  std::variant<std::monostate, NullValue, bool, std::int16_t, std::int32_t, double, std::string,
               Date, RecordsetPtr>
      value_;
};

// Int(): the greatest integer not greater than the value, as a double. Null raises 94.
double Int(double value);
double Int(const Variant& value);

// Number text: decimal, "." as separator, up to 15 significant digits, no exponent for amounts,
// no trailing zeros (1500 -> "1500", 15000.015 -> "15000.015", 0.3 -> "0.3"). The packed text
// and the export file rely on this form; NaN and the infinities are written "NaN", "Inf", "-Inf".
std::string numberText(double value);

// Reads number text the way BASIC's Val/CDbl does for what the stores hold: optional blanks and
// sign, digits with an optional "." fraction and exponent. Thousands separators are not accepted.
// Returns false for anything else (including empty text).
bool parseNumber(std::string_view text, double& out) noexcept;

// BASIC-style comparison used by Filter and sorting: numbers numerically, text
// case-insensitively, dates by date; returns <0, 0, >0. Null sorts before everything.
int compareValues(const Variant& a, const Variant& b);

}  // namespace korvane
