// Connection strings come from hosts as typed by users. Any text must take apart without
// failing; keys compare case-insensitively; no value can hold the separator; and the string
// the component builds from the parts it read gives the same parts back.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "check.hpp"
#include "korvane/store/connection.hpp"

namespace {

using korvane::fuzz::check;
using korvane::store::ConnectionString;

std::string lowered(std::string_view text) {
  std::string out(text);
  for (auto& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const auto parts = ConnectionString::parse(text);
  const std::string dsn = parts.get("dsn");
  const std::string uid = parts.get("UID");
  const std::string pwd = parts.get("Pwd");
  for (const auto& value : {dsn, uid, pwd, parts.get("PROVIDER")}) {
    check(value.find(';') == std::string::npos);
  }
  check(parts.get("DSN") == dsn && parts.get("uid") == uid && parts.get("PWD") == pwd);

  // The key of the input's first part, in any case, finds the same value.
  const std::string_view first = std::string_view(text).substr(0, text.find(';'));
  const std::string_view key = first.substr(0, first.find('='));
  check(parts.get(key) == parts.get(lowered(key)));

  const auto rebuilt =
      ConnectionString::parse("PROVIDER=MSDASQL;dsn=" + dsn + ";uid=" + uid + ";pwd=" + pwd + ";");
  check(rebuilt.get("dsn") == dsn && rebuilt.get("uid") == uid && rebuilt.get("pwd") == pwd);

  for (const std::string_view name : {std::string_view(text), std::string_view(dsn)}) {
    const bool embedded = korvane::store::isEmbeddedStoreName(name);
    if (name.find('/') != std::string_view::npos) check(embedded);
  }
  return 0;
}
