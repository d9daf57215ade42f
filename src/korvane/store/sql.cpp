#include "korvane/store/sql.hpp"

#include "korvane/store/error.hpp"

namespace korvane::sql {

std::string inner(std::string_view value) {
  if (value.find('\'') != std::string_view::npos) {
    throw Error(errc::kQuoteRefused,
                "The value \"" + std::string(value) +
                    "\" contains a single quote, which cannot be written into a statement.");
  }
  return std::string(value);
}

std::string text(std::string_view value) { return "'" + inner(value) + "'"; }

std::string number(double value) { return numberText(value); }

std::string number(long long value) { return std::to_string(value); }

std::string dateValue(const Date& date) { return "DATEVALUE('" + date.text() + "')"; }

}  // namespace korvane::sql
