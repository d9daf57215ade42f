// The literal values of a statement taken out, for the embedded store to run statements that
// differ in their values only through one prepared text.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane::store {

// A statement with its literal values taken out: its text with "?" for each, and the values.
// SQLite spends most of a short statement parsing it, and the operations issue thousands that
// differ in their values only (a period's copy, an import); bound to one prepared text they are
// parsed once. Only the values of a statement are taken (after WHERE of a query, up to its
// ORDER BY, GROUP BY, HAVING or LIMIT; the value list of an INSERT; after SET of an UPDATE; after
// WHERE of a DELETE), never what names a result column, and only literals that bind to exactly
// what they stand for: text and whole numbers. Anything unusual leaves the statement as written.
struct BoundText {
  struct Value {
    bool isText = false;
    long long integer = 0;
    std::string text;
  };
  std::string shape;
  std::vector<Value> values;
};

// Nothing when the statement has no value to take out or holds anything unusual.
std::optional<BoundText> withBoundLiterals(std::string_view sql);

}  // namespace korvane::store
