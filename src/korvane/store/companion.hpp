// The credentials companion: the outside object every business object creates. It receives the
// credentials after each connection opens, and turns a form's packed field text (DAT_FORM,
// ";"-separated, in the form's field order) into a field recordset with one named column per
// field, and back.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "korvane/store/recordset.hpp"

namespace korvane {

enum class FieldKind { Text, Number, Integer, Date };

struct FieldDef {
  std::string_view name;
  FieldKind kind;
};

// The field list of a form code, in packed order; throws Error(errc::kUnknownForm) for a code
// that has none. "F113304A" and "F113304S" share "F113304"'s list.
std::span<const FieldDef> fieldList(std::string_view formCode);
bool hasFieldList(std::string_view formCode) noexcept;

// Reads chosen fields of packed texts as unpack reads them (empty fields Null, numbers and dates
// converted when their text reads as one), without building a field row per text: for walks
// over every slip of a period that need a few amounts of each.
class PackedFieldReader {
 public:
  // Throws Error(errc::kItemNotFound) for a name the form's list lacks (names compare ignoring
  // case) and Error(errc::kUnknownForm) for a code without a list.
  PackedFieldReader(std::string_view formCode, std::span<const std::string_view> names);
  // The named fields of one packed text, in the order of the names.
  void read(std::string_view packed, std::span<Variant> out) const;

 private:
  struct Wanted {
    std::size_t field;  // position in the packed text
    std::size_t slot;   // position in the output
    FieldKind kind;
  };
  std::vector<Wanted> wanted_;  // by position in the packed text
};

// Reads whole rows of a recordset of stored rows as unpack does (every field of the list, empty
// key fields completed from the row's key columns), one row at a time: for walks that need the
// fields of some rows without a field recordset for each. Keeps a reference to `rows`.
class PackedRowReader {
 public:
  // Throws Error(errc::kUnknownForm) for a code without a list and Error(errc::kItemNotFound)
  // when the rows have no DAT_FORM column.
  PackedRowReader(std::string_view formCode, const Recordset& rows);
  // The position of a field in the list (names compare ignoring case), or -1.
  long fieldIndex(std::string_view name) const;
  std::size_t fieldCount() const noexcept { return fields_.size(); }
  // The fields of the row at `row` among the visible rows, in list order. With `wanted` (one
  // flag per field) the fields not wanted stay Null, which spares a caller that needs a few
  // fields of each of many rows the conversion of all the others.
  void read(std::size_t row, std::vector<Variant>& values,
            const std::vector<bool>* wanted = nullptr) const;

 private:
  std::span<const FieldDef> fields_;
  const Recordset& rows_;
  std::size_t datForm_ = 0;
  std::vector<std::pair<std::size_t, std::size_t>> keys_;  // field, column
};

class FieldTextCompanion {
 public:
  // First operation of its interface: the component-wide credentials after a connection opens.
  void setCredentials(const std::string& dataSource, const std::string& userId,
                      const std::string& password);
  // Second operation: not used by the business objects; checks that a text fits a form's list
  // (no more fields than the list has).
  bool fits(std::string_view formCode, std::string_view packed) const;
  // Third: one field row per visible row of `rows` (from its current filter), read from its
  // DAT_FORM column. Empty fields give Null; numbers, integers and dates are converted when
  // their text reads as one and kept as text otherwise ("0,3" stays "0,3"). Empty identity and
  // period fields (npwp, MS_PAJAK, TH_PAJAK, KD_PEMBETULAN_KE, NoBukti, NTTP, SEQ) are completed
  // from the row's own key columns, so a header inserted with empty text still knows its period.
  // The result is positioned on its first row.
  RecordsetPtr unpack(std::string_view formCode, const RecordsetPtr& rows) const;
  // Fourth: the packed text of the field recordset's current row: every column's text joined
  // with ";" (Null is empty, numbers as number text, dates "DD/MM/YYYY").
  std::string pack(const RecordsetPtr& fields) const;

  // Packs a single field row given as values in list order (used to build initial texts).
  static std::string join(std::span<const Variant> values);

  const std::string& dataSource() const noexcept { return dataSource_; }
  const std::string& userId() const noexcept { return userId_; }

 private:
  std::string dataSource_;
  std::string userId_;
  std::string password_;
};

}  // namespace korvane
