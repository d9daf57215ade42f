// The criteria language of Recordset::Filter: comparisons of a field with a literal joined by
// AND / OR with parentheses, e.g. "KD_FORM = 'F113303' AND NOBUKTI = '000001/PPH22'".
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "korvane/store/variant.hpp"

namespace korvane::store {

class Filter {
 public:
  // Parses criteria. Grammar (keywords case-insensitive):
  //   expr    := term { OR term }
  //   term    := factor { AND factor }
  //   factor  := '(' expr ')' | field op literal
  //   op      := = | <> | < | > | <= | >= | LIKE
  //   field   := name | [name with blanks]
  //   literal := 'text' ('' inside stands for ') | number | Null | #DD/MM/YYYY#
  // LIKE takes % or * as "any run of characters". Throws Error(errc::kSyntax) on anything else.
  static std::unique_ptr<Filter> parse(std::string_view criteria);
  ~Filter();

  // Resolves field names to column positions; throws Error(errc::kItemNotFound) for a field the
  // recordset lacks. Must be called before matches().
  void bind(const std::function<long(std::string_view)>& columnIndex);

  // Comparison rules: Null matches only "= Null" ("<> Null" matches every non-Null); text
  // compares case-insensitively; a number literal against numeric text compares numerically.
  bool matches(std::span<const Variant> row) const;

  // The (column, literal) pairs that every matching row must equal: the "field = literal"
  // terms joined by AND at the top level. Lets the recordset answer from an index.
  std::vector<std::pair<std::size_t, Variant>> requiredEqualities() const;

  struct Node;

 private:
  Filter() = default;
  std::unique_ptr<Node> root_;
};

// Case-insensitive LIKE with % or * for any run of characters (no other wildcard).
bool likeMatch(std::string_view text, std::string_view pattern);

}  // namespace korvane::store
