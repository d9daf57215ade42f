#include "entry.hpp"

namespace korvane::cli {

Variant entryValue(const std::string& flag, ValueKind kind, const std::string& text) {
  const std::string name = "--" + flag;
  switch (kind) {
    case ValueKind::Text:
      return quotable(name, text);
    case ValueKind::Npwp:
      return npwpOption(name, text);
    case ValueKind::Date:
      return dateOption(name, text);
    case ValueKind::Number:
      return numberOption(name, text);
  }
  return text;
}

const Variant* findValue(const EntryValues& values, std::string_view flag) {
  for (const auto& [name, value] : values) {
    if (name == flag) return &value;
  }
  return nullptr;
}

void EntryFlags::add(CLI::App* command, const std::string& flag, const std::string& help,
                     ValueKind kind, const std::string& group) {
  auto& entry = flags_.emplace_back();
  entry.name = flag;
  entry.kind = kind;
  static constexpr const char* kTypeNames[] = {"TEXT", "NPWP", "DATE", "NUMBER"};
  entry.option = command->add_option("--" + flag, entry.text, help)
                     ->group(group)
                     ->type_name(kTypeNames[static_cast<int>(kind)]);
}

EntryValues EntryFlags::values() const {
  EntryValues values;
  for (const auto& flag : flags_) {
    if (flag.option->count() > 0) {
      values.emplace_back(flag.name, entryValue(flag.name, flag.kind, flag.text));
    }
  }
  return values;
}

}  // namespace korvane::cli
