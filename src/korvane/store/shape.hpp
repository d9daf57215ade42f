// The hierarchical command language the list classes open their header-with-lines views with:
//   SHAPE {parent sql} AS alias
//   APPEND ({child sql} [AS alias] RELATE p TO c[, p TO c ...]) AS name[, (...) AS name ...]
// Run client-side: the parent and each child are queried and every parent row gets a chapter
// field per child holding the related child rows.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace korvane::store {

struct ShapeRelation {
  std::string parentColumn;
  std::string childColumn;
};

struct ShapeChild {
  std::string sql;
  std::string alias;  // may be empty
  std::vector<ShapeRelation> relations;
  std::string name;   // the chapter field's name
};

struct ShapeCommand {
  std::string parentSql;
  std::string parentAlias;
  std::vector<ShapeChild> children;
};

// True when the text starts (after blanks) with the keyword SHAPE.
bool isShapeCommand(std::string_view text) noexcept;

// Throws Error(errc::kSyntax) naming what was expected for anything outside the grammar.
// Braces inside quoted text of the inner SQL do not end it.
ShapeCommand parseShape(std::string_view text);

}  // namespace korvane::store
