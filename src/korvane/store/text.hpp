// ASCII case rules for names, keywords, codes and the filter's text comparison: what matches
// must not depend on the host's locale.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace korvane {

constexpr char upperAscii(char c) noexcept {
  return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

constexpr char lowerAscii(char c) noexcept {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

inline std::string upperAscii(std::string_view value) {
  std::string out(value);
  for (char& c : out) c = upperAscii(c);
  return out;
}

constexpr bool equalsIgnoringCase(std::string_view a, std::string_view b) noexcept {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (upperAscii(a[i]) != upperAscii(b[i])) return false;
  }
  return true;
}

}  // namespace korvane
