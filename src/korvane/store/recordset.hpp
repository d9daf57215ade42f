// A client-side static recordset: every row is fetched when it is opened, the host walks,
// filters and edits it in memory, and UpdateBatch writes the edits back to the one table it was
// read from. Field names compare case-insensitively (NPWP and npwp are one field).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "korvane/store/variant.hpp"

namespace korvane {

namespace store {
class Connection;
class Filter;
}  // namespace store

class Recordset;

// One field of the current row. Cheap to copy; valid while its recordset lives.
class Field {
 public:
  Field(Recordset* owner, std::size_t column) : owner_(owner), column_(column) {}
  const std::string& Name() const;
  Variant Value() const;
  void Value(const Variant& value);

 private:
  Recordset* owner_;
  std::size_t column_;
};

class Fields {
 public:
  explicit Fields(Recordset* owner) : owner_(owner) {}
  std::size_t Count() const;

 private:
  Recordset* owner_;
};

class Recordset : public std::enable_shared_from_this<Recordset> {
 public:
  using EventHandler = std::function<void()>;
  using Subscription = std::uint64_t;

  // An empty, disconnected recordset with the given columns (what the field-text companion
  // and tests build).
  explicit Recordset(std::vector<std::string> columns = {});
  ~Recordset();
  Recordset(const Recordset&) = delete;
  Recordset& operator=(const Recordset&) = delete;

  // Opens on a connection: runs the text (a SHAPE command is run client-side), fetches all
  // rows and positions on the first. A recordset read from one table remembers it and each
  // row's original values so UpdateBatch can write back.
  static RecordsetPtr open(const std::shared_ptr<store::Connection>& connection,
                           const std::string& source);

  // Fields.
  Field Fields(std::string_view name);  // throws Error 3265 for an unknown name
  Field Fields(std::size_t index);
  korvane::Fields Fields() { return korvane::Fields(this); }
  std::size_t columnCount() const noexcept { return columns_.size(); }
  const std::vector<std::string>& columnNames() const noexcept { return columns_; }
  // Index of a column, or -1.
  long columnIndex(std::string_view name) const noexcept;
  // Adds a column (to every row, as Null). Used for chapter fields and built recordsets.
  std::size_t appendColumn(const std::string& name);

  // Navigation over the visible (filtered) rows.
  long RecordCount() const noexcept;
  bool BOF() const noexcept;
  bool EndOfFile() const noexcept;
  void MoveFirst();
  void MoveNext();
  void MovePrevious();
  void MoveLast();
  void Move(long n);
  long AbsolutePosition() const noexcept;  // 0-based among visible rows, -1 at BOF/EOF

  // Editing. AddNew appends a row (all Null) and makes it current.
  void AddNew();
  // Ends the edit of the current row; on an updatable recordset opened with optimistic
  // locking the change is written to the store at once, as UpdateBatch would.
  void Update();
  void CancelUpdate();
  // Writes every new row with INSERT and every changed row with an UPDATE that matches all
  // original values. A changed row that matches no stored row is a conflict (Error 10002
  // naming the table): nothing further is written.
  void UpdateBatch();
  // Runs the source again on the connection; the filter is cleared.
  void Requery();

  // Filter("KD_FORM = 'F113303' AND NOBUKTI = '000001/PPH22'"); Filter("") clears it.
  void Filter(const std::string& criteria);
  const std::string& filterText() const noexcept { return filterText_; }

  // Events.
  Subscription onMoveComplete(EventHandler handler);
  Subscription onWillChangeRecord(EventHandler handler);
  void unsubscribe(Subscription id);

  // Where the rows came from (empty when built in memory).
  const std::string& source() const noexcept { return source_; }
  const std::string& baseTable() const noexcept { return baseTable_; }

  // Raw access used by the store layer and the companion.
  const Variant& cell(std::size_t visibleRow, std::size_t column) const;
  const Variant& current(std::size_t column) const;  // throws 3021 at BOF/EOF
  void setCurrent(std::size_t column, const Variant& value);
  void appendRow(std::vector<Variant> values);  // as fetched: unchanged, not new
  std::size_t totalRows() const noexcept;

 private:
  friend class Field;
  struct Row;
  struct Index;

  void requireCurrent() const;
  void moveTo(long visiblePosition);
  void raise(const std::vector<std::pair<Subscription, EventHandler>>& handlers);
  void writeRow(Row& row);
  void issueWrite(Row& row);
  static void markWritten(Row& row);
  void fetch();
  const std::vector<std::size_t>& indexBucket(std::size_t column, const Variant& key);

  std::vector<std::string> columns_;
  std::vector<Row> rows_;
  std::vector<std::size_t> visible_;  // row numbers shown under the current filter
  bool filtered_ = false;
  long position_ = 0;  // index into visible_; -1 = BOF, size = EOF
  std::string filterText_;
  std::unique_ptr<store::Filter> filter_;
  std::vector<std::unique_ptr<Index>> indexes_;  // per column, built on first equality filter

  std::shared_ptr<store::Connection> connection_;
  std::string source_;
  std::string baseTable_;
  std::vector<std::string> baseColumns_;  // column names as the table knows them

  std::vector<std::pair<Subscription, EventHandler>> moveComplete_;
  std::vector<std::pair<Subscription, EventHandler>> willChange_;
  Subscription nextSubscription_ = 1;
};

}  // namespace korvane
