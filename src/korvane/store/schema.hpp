// The store's tables as data: one definition serves the embedded store and the servers, the
// dialect layer (INSERT column lists, table spelling) and store creation.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "korvane/store/dialect.hpp"

namespace korvane::store {

enum class ColumnType { Text, Memo, SmallInt, Integer, Double, Date };

struct ColumnDef {
  std::string_view name;
  ColumnType type;
};

struct IndexDef {
  std::string_view name;
  std::span<const std::string_view> columns;
  bool unique = false;
};

struct TableDef {
  std::string_view name;  // as the schema spells it
  std::span<const ColumnDef> columns;
  std::span<const std::string_view> primaryKey;
  std::span<const IndexDef> indexes;
};

// On the servers every table has one more column, numbering its rows in the order they were
// added (SQLite's rowid does this on the embedded store). Queries read rows in that order (see
// inAddedOrder) and never show the column.
inline constexpr std::string_view kRowOrderColumn = "KORVANE_ROW";

std::span<const TableDef> tables() noexcept;
// Case-insensitive lookup; nullptr for a table the schema does not know.
const TableDef* findTable(std::string_view name) noexcept;

// CREATE TABLE / CREATE INDEX statements for a dialect, in order.
std::vector<std::string> schemaStatements(Dialect dialect);
// INSERT statements of the reference data a new store starts with.
std::vector<std::string> referenceDataStatements();

}  // namespace korvane::store
