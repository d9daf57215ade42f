#include "korvane/store/variant.hpp"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <limits>
#include <system_error>

#include "korvane/store/error.hpp"
#include "korvane/store/text.hpp"

namespace korvane {

namespace {

[[noreturn]] void throwTypeMismatch() { throw Error(errc::kTypeMismatch, "Type mismatch"); }
[[noreturn]] void throwInvalidUseOfNull() {
  throw Error(errc::kInvalidUseOfNull, "Invalid use of Null");
}
[[noreturn]] void throwOverflow() { throw Error(errc::kOverflow, "Overflow"); }

bool isBlank(char c) noexcept { return c == ' ' || c == '\t'; }

std::string_view trimBlanks(std::string_view text) noexcept {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

int compareTextIgnoreCase(std::string_view a, std::string_view b) noexcept {
  const std::size_t n = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < n; ++i) {
    const auto ca = static_cast<unsigned char>(lowerAscii(a[i]));
    const auto cb = static_cast<unsigned char>(lowerAscii(b[i]));
    if (ca != cb) return ca < cb ? -1 : 1;
  }
  if (a.size() == b.size()) return 0;
  return a.size() < b.size() ? -1 : 1;
}

template <typename T>
int threeWay(const T& a, const T& b) noexcept {
  if (a < b) return -1;
  if (b < a) return 1;
  return 0;
}

// BASIC's date serial: whole days since 30/12/1899, which is what a date is as a number.
constexpr std::chrono::sys_days kSerialEpoch{std::chrono::year{1899} / std::chrono::December / 30};
// The dates BASIC can hold: 01/01/0100 to 31/12/9999.
constexpr long kFirstSerial = -657434;
constexpr long kLastSerial = 2958465;

long dateSerial(const Date& date) noexcept {
  const std::chrono::year_month_day ymd{std::chrono::year{date.year()},
                                        std::chrono::month{date.month()},
                                        std::chrono::day{date.day()}};
  return static_cast<long>((std::chrono::sys_days{ymd} - kSerialEpoch).count());
}

Date dateFromSerial(double serial) {
  // The time of day is dropped; BASIC keeps the date part of a negative serial by truncation.
  const double whole = std::trunc(serial);
  if (!(whole >= kFirstSerial && whole <= kLastSerial)) throwOverflow();
  const std::chrono::year_month_day ymd{kSerialEpoch + std::chrono::days{static_cast<long>(whole)}};
  return Date(static_cast<int>(ymd.year()), static_cast<unsigned>(ymd.month()),
              static_cast<unsigned>(ymd.day()));
}

// CInt and CLng round to the nearest integer, a half going to the even neighbour.
double roundHalfEven(double value) noexcept {
  if (std::fabs(value - std::trunc(value)) == 0.5) return 2.0 * std::round(value / 2.0);
  return std::round(value);
}

template <typename Int>
Int toRoundedInteger(double value) {
  const double rounded = roundHalfEven(value);
  if (std::isnan(rounded) || rounded < static_cast<double>(std::numeric_limits<Int>::min()) ||
      rounded > static_cast<double>(std::numeric_limits<Int>::max())) {
    throwOverflow();
  }
  return static_cast<Int>(rounded);
}

// Reads a run of digits; returns how many were read.
std::size_t skipDigits(std::string_view text, std::size_t pos) noexcept {
  std::size_t start = pos;
  while (pos < text.size() && isDigit(text[pos])) ++pos;
  return pos - start;
}

bool readUnsigned(std::string_view digits, unsigned& out) noexcept {
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), out);
  return result.ec == std::errc{} && result.ptr == digits.data() + digits.size();
}

// "D/M/YYYY" or "DD/MM/YYYY".
bool parseDayFirst(std::string_view text, Date& out) noexcept {
  const std::size_t dayLength = skipDigits(text, 0);
  if (dayLength < 1 || dayLength > 2 || dayLength >= text.size() || text[dayLength] != '/') {
    return false;
  }
  const std::size_t monthStart = dayLength + 1;
  const std::size_t monthLength = skipDigits(text, monthStart);
  const std::size_t yearStart = monthStart + monthLength + 1;
  if (monthLength < 1 || monthLength > 2 || yearStart > text.size() || text[yearStart - 1] != '/' ||
      text.size() - yearStart != 4 || skipDigits(text, yearStart) != 4) {
    return false;
  }
  unsigned day = 0, month = 0, year = 0;
  if (!readUnsigned(text.substr(0, dayLength), day) ||
      !readUnsigned(text.substr(monthStart, monthLength), month) ||
      !readUnsigned(text.substr(yearStart), year)) {
    return false;
  }
  out = Date(static_cast<int>(year), month, day);
  return true;
}

// A time part as server stores append it: " 00:00:00", "T00:00:00.000", "T00:00:00Z".
bool looksLikeTime(std::string_view text) noexcept {
  if (text.empty() || !isDigit(text.front())) return false;
  for (char c : text) {
    if (!isDigit(c) && c != ':' && c != '.' && c != '+' && c != '-' && c != 'Z') return false;
  }
  return true;
}

// "YYYY-MM-DD", optionally followed by a time part.
bool parseIso(std::string_view text, Date& out) noexcept {
  if (text.size() < 10 || skipDigits(text, 0) != 4 || text[4] != '-' || skipDigits(text, 5) != 2 ||
      text[7] != '-' || skipDigits(text, 8) != 2) {
    return false;
  }
  if (text.size() > 10) {
    if ((text[10] != ' ' && text[10] != 'T') || !looksLikeTime(trimBlanks(text.substr(11)))) {
      return false;
    }
  }
  unsigned year = 0, month = 0, day = 0;
  if (!readUnsigned(text.substr(0, 4), year) || !readUnsigned(text.substr(5, 2), month) ||
      !readUnsigned(text.substr(8, 2), day)) {
    return false;
  }
  out = Date(static_cast<int>(year), month, day);
  return true;
}

bool isNullOrEmpty(const Variant& value) noexcept { return value.isNull() || value.isEmpty(); }

}  // namespace

// ---- Date ----

Date::Date(int year, unsigned month, unsigned day) : year_(year), month_(month), day_(day) {}

bool Date::valid() const noexcept {
  if (year_ < 100 || year_ > 9999 || month_ < 1 || month_ > 12 || day_ < 1 || day_ > 31) {
    return false;
  }
  const std::chrono::year_month_day ymd{std::chrono::year{year_}, std::chrono::month{month_},
                                        std::chrono::day{day_}};
  return ymd.ok();
}

std::string Date::text() const {
  char buffer[48];
  std::snprintf(buffer, sizeof buffer, "%02u/%02u/%04d", day_, month_, year_);
  return buffer;
}

std::string Date::iso() const {
  char buffer[48];
  std::snprintf(buffer, sizeof buffer, "%04d-%02u-%02u", year_, month_, day_);
  return buffer;
}

Date Date::parse(std::string_view text) {
  Date date;
  if (!tryParse(text, date)) throwTypeMismatch();
  return date;
}

bool Date::tryParse(std::string_view text, Date& out) noexcept {
  text = trimBlanks(text);
  Date date;
  if (!parseDayFirst(text, date) && !parseIso(text, date)) return false;
  if (!date.valid()) return false;
  out = date;
  return true;
}

Date Date::today() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
#ifdef _WIN32
  localtime_s(&local, &now);
#else
  localtime_r(&now, &local);
#endif
  return Date(local.tm_year + 1900, static_cast<unsigned>(local.tm_mon + 1),
              static_cast<unsigned>(local.tm_mday));
}

// ---- Variant ----

Variant::Variant(long i) : Variant(static_cast<long long>(i)) {}

Variant::Variant(long long i) {
  if (i >= std::numeric_limits<std::int32_t>::min() &&
      i <= std::numeric_limits<std::int32_t>::max()) {
    value_ = static_cast<std::int32_t>(i);
  } else {
    value_ = static_cast<double>(i);
  }
}

bool Variant::isNumeric() const noexcept {
  switch (type()) {
    case VariantType::Boolean:
    case VariantType::Integer:
    case VariantType::Long:
    case VariantType::Double:
      return true;
    default:
      return false;
  }
}

bool Variant::toBool() const {
  switch (type()) {
    case VariantType::Empty:
      return false;
    case VariantType::Boolean:
      return std::get<bool>(value_);
    case VariantType::String: {
      const std::string_view text = trimBlanks(std::get<std::string>(value_));
      if (equalsIgnoringCase(text, "True")) return true;
      if (equalsIgnoringCase(text, "False")) return false;
      double number = 0;
      if (!parseNumber(text, number)) throwTypeMismatch();
      return number != 0;
    }
    default:
      return toDouble() != 0;
  }
}

std::int16_t Variant::toInt16() const {
  if (type() == VariantType::Integer) return std::get<std::int16_t>(value_);
  return toRoundedInteger<std::int16_t>(toDouble());
}

std::int32_t Variant::toInt32() const {
  if (type() == VariantType::Long) return std::get<std::int32_t>(value_);
  return toRoundedInteger<std::int32_t>(toDouble());
}

double Variant::toDouble() const {
  switch (type()) {
    case VariantType::Empty:
      return 0;
    case VariantType::Null:
      throwInvalidUseOfNull();
    case VariantType::Boolean:
      return std::get<bool>(value_) ? -1 : 0;
    case VariantType::Integer:
      return std::get<std::int16_t>(value_);
    case VariantType::Long:
      return std::get<std::int32_t>(value_);
    case VariantType::Double:
      return std::get<double>(value_);
    case VariantType::String: {
      double number = 0;
      if (!parseNumber(std::get<std::string>(value_), number)) throwTypeMismatch();
      return number;
    }
    case VariantType::Date: {
      const Date& date = std::get<Date>(value_);
      if (!date.valid()) throwTypeMismatch();
      return static_cast<double>(dateSerial(date));
    }
    case VariantType::Recordset:
      break;
  }
  throwTypeMismatch();
}

std::string Variant::toString() const {
  switch (type()) {
    case VariantType::Null:
      throwInvalidUseOfNull();
    case VariantType::Recordset:
      throwTypeMismatch();
    default:
      return text();
  }
}

Date Variant::toDate() const {
  switch (type()) {
    case VariantType::Empty:
      return Date();
    case VariantType::Null:
      throwInvalidUseOfNull();
    case VariantType::Date:
      return std::get<Date>(value_);
    case VariantType::String:
      return Date::parse(std::get<std::string>(value_));
    case VariantType::Recordset:
      throwTypeMismatch();
    default:
      return dateFromSerial(toDouble());
  }
}

RecordsetPtr Variant::toRecordset() const {
  if (type() == VariantType::Recordset) return std::get<RecordsetPtr>(value_);
  return nullptr;
}

std::string Variant::text() const {
  switch (type()) {
    case VariantType::Boolean:
      return std::get<bool>(value_) ? "True" : "False";
    case VariantType::Integer:
    case VariantType::Long:
    case VariantType::Double:
      return numberText(toDouble());
    case VariantType::String:
      return std::get<std::string>(value_);
    case VariantType::Date:
      return std::get<Date>(value_).text();
    default:
      return std::string();
  }
}

bool operator==(const Variant& a, const Variant& b) { return a.value_ == b.value_; }

// ---- Numbers ----

double Int(double value) { return std::floor(value); }

double Int(const Variant& value) {
  if (value.isNull()) throwInvalidUseOfNull();
  return Int(value.toDouble());
}

std::string numberText(double value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value < 0 ? "-Inf" : "Inf";
  if (value == 0) return "0";
  // Whole amounts, the usual case, have at most fifteen digits: printed exactly as they are.
  if (std::fabs(value) < 1e15 && value == std::trunc(value)) {
    char whole[24];
    const auto end = std::to_chars(whole, whole + sizeof whole, static_cast<long long>(value));
    return std::string(whole, end.ptr);
  }

  // Fifteen significant digits, as "d.dddddddddddddde+XX"; to_chars ignores the locale.
  char buffer[64];
  const auto printed = std::to_chars(buffer, buffer + sizeof buffer, std::fabs(value),
                                     std::chars_format::scientific, 14);
  const std::string_view scientific(buffer, static_cast<std::size_t>(printed.ptr - buffer));
  const std::size_t ePos = scientific.find('e');
  std::string digits;
  for (char c : scientific.substr(0, ePos)) {
    if (isDigit(c)) digits += c;
  }
  while (digits.size() > 1 && digits.back() == '0') digits.pop_back();
  std::string_view exponentText = scientific.substr(ePos + 1);
  const bool negativeExponent = exponentText.front() == '-';
  exponentText.remove_prefix(1);
  int exponent = 0;
  std::from_chars(exponentText.data(), exponentText.data() + exponentText.size(), exponent);
  if (negativeExponent) exponent = -exponent;

  std::string out = value < 0 ? "-" : "";
  if (exponent >= 0 && exponent < 15) {
    const auto integerLength = static_cast<std::size_t>(exponent) + 1;
    if (digits.size() <= integerLength) {
      out += digits;
      out.append(integerLength - digits.size(), '0');
    } else {
      out += digits.substr(0, integerLength);
      out += '.';
      out += digits.substr(integerLength);
    }
  } else if (exponent < 0 && exponent >= -5) {
    out += "0.";
    out.append(static_cast<std::size_t>(-exponent - 1), '0');
    out += digits;
  } else {
    // Beyond amounts: BASIC's own form, "1.5E+20", which parseNumber reads back.
    out += digits.front();
    if (digits.size() > 1) {
      out += '.';
      out += digits.substr(1);
    }
    char exponentBuffer[16];
    std::snprintf(exponentBuffer, sizeof exponentBuffer, "E%c%02d", negativeExponent ? '-' : '+',
                  negativeExponent ? -exponent : exponent);
    out += exponentBuffer;
  }
  return out;
}

bool parseNumber(std::string_view text, double& out) noexcept {
  text = trimBlanks(text);
  std::size_t pos = 0;
  bool negative = false;
  if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) {
    negative = text[pos] == '-';
    ++pos;
  }
  const std::size_t mantissaStart = pos;
  const std::size_t integerDigits = skipDigits(text, pos);
  pos += integerDigits;
  std::size_t fractionDigits = 0;
  if (pos < text.size() && text[pos] == '.') {
    fractionDigits = skipDigits(text, pos + 1);
    pos += 1 + fractionDigits;
  }
  if (integerDigits + fractionDigits == 0) return false;
  const std::size_t mantissaEnd = pos;

  long exponent = 0;
  if (pos < text.size() && (text[pos] == 'e' || text[pos] == 'E')) {
    ++pos;
    bool negativeExponent = false;
    if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) {
      negativeExponent = text[pos] == '-';
      ++pos;
    }
    const std::size_t exponentDigits = skipDigits(text, pos);
    if (exponentDigits == 0) return false;
    for (std::size_t i = pos; i < pos + exponentDigits; ++i) {
      exponent = std::min(exponent * 10 + (text[i] - '0'), 100000L);
    }
    if (negativeExponent) exponent = -exponent;
    pos += exponentDigits;
  }
  if (pos != text.size()) return false;

  double magnitude = 0;
  const std::string_view unsignedText = text.substr(mantissaStart, pos - mantissaStart);
  const auto result =
      std::from_chars(unsignedText.data(), unsignedText.data() + unsignedText.size(), magnitude);
  if (result.ec == std::errc::result_out_of_range) {
    // Too small to hold reads as zero; too large to hold is not a number we can give back.
    const std::string_view mantissa = text.substr(mantissaStart, mantissaEnd - mantissaStart);
    const std::size_t firstSignificant = mantissa.find_first_not_of("0.");
    if (firstSignificant == std::string_view::npos) {
      magnitude = 0;
    } else {
      const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
      const long decimalPosition =
          static_cast<long>(point) - static_cast<long>(firstSignificant) + exponent;
      if (decimalPosition > 0) return false;
      magnitude = 0;
    }
  } else if (result.ec != std::errc{} || result.ptr != unsignedText.data() + unsignedText.size()) {
    return false;
  }
  out = negative ? -magnitude : magnitude;
  return true;
}

int compareValues(const Variant& a, const Variant& b) {
  if (isNullOrEmpty(a) || isNullOrEmpty(b)) {
    const auto rank = [](const Variant& v) { return v.isNull() ? 0 : v.isEmpty() ? 1 : 2; };
    return threeWay(rank(a), rank(b));
  }

  const bool aDate = a.type() == VariantType::Date;
  const bool bDate = b.type() == VariantType::Date;
  if (aDate || bDate) {
    Date left, right;
    const auto asDate = [](const Variant& v, Date& out) {
      if (v.type() == VariantType::Date) {
        out = v.toDate();
        return out.valid();
      }
      return v.isText() && Date::tryParse(v.text(), out);
    };
    if (asDate(a, left) && asDate(b, right)) return threeWay(left, right);
    if ((aDate && b.isNumeric() && a.toDate().valid()) ||
        (bDate && a.isNumeric() && b.toDate().valid())) {
      return threeWay(a.toDouble(), b.toDouble());
    }
  } else {
    double left = 0, right = 0;
    const auto asNumber = [](const Variant& v, double& out) {
      if (v.isNumeric()) {
        out = v.toDouble();
        return true;
      }
      return v.isText() && parseNumber(v.text(), out);
    };
    if ((a.isNumeric() || b.isNumeric()) && asNumber(a, left) && asNumber(b, right)) {
      return threeWay(left, right);
    }
  }
  return compareTextIgnoreCase(a.text(), b.text());
}

}  // namespace korvane
