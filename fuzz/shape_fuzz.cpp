// Any text must parse as a SHAPE command or fail with a syntax error. A parsed command, written
// out again in the plain form the list classes use, must parse to the same command: that shows
// the parser kept every part whole (the inner SQL up to its own closing brace, names entire).
#include <cstddef>
#include <cstdint>
#include <string>

#include "check.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/shape.hpp"

namespace {

using korvane::fuzz::check;
using korvane::store::ShapeCommand;

std::string written(const ShapeCommand& command) {
  std::string text = "SHAPE {" + command.parentSql + "} AS " + command.parentAlias + " APPEND ";
  for (std::size_t c = 0; c < command.children.size(); ++c) {
    const auto& child = command.children[c];
    if (c > 0) text += ", ";
    text += "({" + child.sql + "}";
    if (!child.alias.empty()) text += " AS " + child.alias;
    text += " RELATE ";
    for (std::size_t r = 0; r < child.relations.size(); ++r) {
      if (r > 0) text += ", ";
      text += child.relations[r].parentColumn + " TO " + child.relations[r].childColumn;
    }
    text += ") AS " + child.name;
  }
  return text;
}

bool same(const ShapeCommand& a, const ShapeCommand& b) {
  if (a.parentSql != b.parentSql || a.parentAlias != b.parentAlias ||
      a.children.size() != b.children.size()) {
    return false;
  }
  for (std::size_t c = 0; c < a.children.size(); ++c) {
    const auto& x = a.children[c];
    const auto& y = b.children[c];
    if (x.sql != y.sql || x.alias != y.alias || x.name != y.name ||
        x.relations.size() != y.relations.size()) {
      return false;
    }
    for (std::size_t r = 0; r < x.relations.size(); ++r) {
      if (x.relations[r].parentColumn != y.relations[r].parentColumn ||
          x.relations[r].childColumn != y.relations[r].childColumn) {
        return false;
      }
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const bool looksLikeShape = korvane::store::isShapeCommand(text);
  ShapeCommand command;
  try {
    command = korvane::store::parseShape(text);
  } catch (const korvane::Error& e) {
    check(e.number() == korvane::errc::kSyntax);
    return 0;
  }
  check(looksLikeShape);
  check(!command.parentSql.empty() && !command.parentAlias.empty() && !command.children.empty());
  for (const auto& child : command.children) {
    check(!child.sql.empty() && !child.name.empty() && !child.relations.empty());
  }
  check(same(korvane::store::parseShape(written(command)), command));
  return 0;
}
