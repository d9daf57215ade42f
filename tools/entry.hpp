// Entering a slip or a payment slip: its properties as command-line flags, and putting the
// given values into the object in the order its interface asks for (the party first, because
// it fixes the non-NPWP multiplier; rates before bases, because a base's setter computes the
// tax from the rate; a tax last, because it overrides the computed one).
#pragma once

#include <algorithm>
#include <functional>
#include <list>
#include <set>
#include <string>
#include <vector>

#include "cli11.hpp"
#include "commands.hpp"

namespace korvane::cli {

enum class Stage { Party, Detail, Rate, Base, Tax };
inline constexpr Stage kStages[] = {Stage::Party, Stage::Detail, Stage::Rate, Stage::Base,
                                    Stage::Tax};

enum class ValueKind { Text, Npwp, Date, Number };

template <class T>
struct Property {
  std::string flag;    // without "--"
  std::string column;  // the rs22Form column the property writes
  std::string help;
  ValueKind kind;
  Stage stage;
  std::function<void(T&, const Variant&)> set;
};

// A flag's text as the value its property takes; a usage error names the flag.
Variant entryValue(const std::string& flag, ValueKind kind, const std::string& text);

// The value given for a flag, or nullptr.
const Variant* findValue(const EntryValues& values, std::string_view flag);

// The flags of one entry subcommand.
class EntryFlags {
 public:
  template <class T>
  void add(CLI::App* command, const std::vector<Property<T>>& properties,
           const std::string& group) {
    for (const auto& property : properties)
      add(command, property.flag, property.help, property.kind, group);
  }
  void add(CLI::App* command, const std::string& flag, const std::string& help, ValueKind kind,
           const std::string& group);
  // The values given on the command line, converted.
  EntryValues values() const;

 private:
  struct Flag {
    std::string name;
    ValueKind kind;
    CLI::Option* option = nullptr;
    std::string text;
  };
  std::list<Flag> flags_;  // options hold references into it
};

// Puts the values into the object stage by stage, in the order of the property table. The
// flags in `reenter` that were not given are put again with the value the object holds, so
// that the component recomputes what depends on them; afterStage runs after each stage.
template <class T>
void applyValues(Host& host, T& object, const std::vector<Property<T>>& properties,
                 const EntryValues& values, const std::set<std::string>& reenter = {},
                 const std::function<void(Stage)>& afterStage = {}) {
  for (Stage stage : kStages) {
    for (const auto& property : properties) {
      if (property.stage != stage) continue;
      if (const Variant* given = findValue(values, property.flag)) {
        property.set(object, *given);
      } else if (reenter.count(property.flag)) {
        const auto current = object.rs22Form()->Fields(property.column).Value();
        if (current.isNull() || current.isEmpty()) continue;
        property.set(object, current);
      } else {
        continue;
      }
      host.check();
    }
    if (afterStage) {
      afterStage(stage);
      host.check();
    }
  }
}

// The rs22Form value of a loaded object's current row.
template <class T>
Variant currentValue(T& object, std::string_view column) {
  auto form = object.rs22Form();
  if (!form || form->EndOfFile()) return Variant();
  return form->Fields(column).Value();
}

template <class T>
bool loaded(T& object) {
  auto form = object.rs22Form();
  return form && form->RecordCount() > 0 && !form->EndOfFile();
}

}  // namespace korvane::cli
