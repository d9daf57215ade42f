// The one way values enter SQL text. The components build statements by concatenation, so a
// text value holding a single quote would change the statement's structure: text() refuses it
// before anything reaches the store.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "korvane/store/variant.hpp"

namespace korvane::sql {

// 'value' — throws Error(errc::kQuoteRefused) when the value contains a single quote.
std::string text(std::string_view value);
// The value without the surrounding quotes, for pieces spliced inside a quoted literal
// (LIKE patterns); same refusal.
std::string inner(std::string_view value);
// Plain decimal text of a number (16-bit integers, counters, amounts).
std::string number(double value);
std::string number(long long value);
inline std::string number(int value) { return number(static_cast<long long>(value)); }
inline std::string number(std::int16_t value) { return number(static_cast<long long>(value)); }
// DATEVALUE('DD/MM/YYYY'): the dialect layer turns it into the store's date literal.
std::string dateValue(const Date& date);

}  // namespace korvane::sql
