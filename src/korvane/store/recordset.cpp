#include "korvane/store/recordset.hpp"

#include <algorithm>
#include <cctype>
#include <unordered_map>

#include "korvane/store/connection.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/filter.hpp"
#include "korvane/store/schema.hpp"
#include "korvane/store/shape.hpp"
#include "korvane/store/text.hpp"

namespace korvane {
namespace {

enum class RowState { Unchanged, New, Modified };

// ASCII only, as the filter compares text.
constexpr auto sameNameIgnoringCase = equalsIgnoringCase;

std::string upper(std::string_view value) { return upperAscii(value); }

[[noreturn]] void noCurrentRecord() {
  throw Error(errc::kNoCurrentRecord,
              "Either BOF or EOF is True, or the current record has been deleted. Requested "
              "operation requires a current record.");
}

[[noreturn]] void itemNotFound() {
  throw Error(errc::kItemNotFound,
              "Item cannot be found in the collection corresponding to the requested name or "
              "ordinal.");
}

// Skips a single-quoted literal starting at text[i] == '\''; returns the index after it.
std::size_t skipLiteral(std::string_view text, std::size_t i) {
  for (++i; i < text.size(); ++i) {
    if (text[i] == '\'') {
      if (i + 1 < text.size() && text[i + 1] == '\'') {
        ++i;
      } else {
        return i + 1;
      }
    }
  }
  return text.size();
}

// Upper-cased words of a statement outside literals, with single-character punctuation kept
// as its own word; enough to recognise "SELECT <list> FROM <table> [WHERE|ORDER|GROUP ...]".
std::vector<std::string> words(std::string_view text) {
  std::vector<std::string> out;
  std::size_t i = 0;
  while (i < text.size()) {
    char c = text[i];
    if (std::isspace(static_cast<unsigned char>(c))) {
      ++i;
    } else if (c == '\'') {
      auto end = skipLiteral(text, i);
      out.emplace_back("'");
      i = end;
    } else if (std::isalnum(static_cast<unsigned char>(c)) || c == '_') {
      auto start = i;
      while (i < text.size() &&
             (std::isalnum(static_cast<unsigned char>(text[i])) || text[i] == '_')) {
        ++i;
      }
      out.push_back(upper(text.substr(start, i - start)));
    } else {
      out.emplace_back(1, c);
      ++i;
    }
  }
  return out;
}

// The one table a SELECT reads, when its rows can be written back to it: a plain column list
// (no expressions), one table, no join or union. Returns "" otherwise.
std::string updatableTable(std::string_view sql) {
  auto w = words(sql);
  if (w.empty() || w[0] != "SELECT") return {};
  std::size_t i = 1;
  if (i < w.size() && w[i] == "DISTINCT") return {};
  for (; i < w.size() && w[i] != "FROM"; ++i) {
    if (w[i] == "(" || w[i] == "'") return {};
  }
  if (i + 1 >= w.size()) return {};
  std::size_t tablePos = i + 1;
  std::size_t next = tablePos + 1;
  if (next < w.size() && w[next] != "WHERE" && w[next] != "ORDER" && w[next] != "GROUP" &&
      w[next] != ";") {
    return {};
  }
  for (const auto& word : w) {
    if (word == "JOIN" || word == "UNION") return {};
  }
  // The write-back statements bypass the dialect layer, so they name a known table as the
  // schema spells it (servers may compare table names case-sensitively); others as written.
  if (auto known = store::findTable(w[tablePos])) return std::string(known->name);
  auto pos = upper(sql).find(w[tablePos], upper(sql).find("FROM"));
  return std::string(sql.substr(pos, w[tablePos].size()));
}

// Key under which a value is filed in an equality index: the same for any two values the
// filter's "=" finds equal (numbers and numeric text numerically, text case-insensitively, a
// date and a number by the date's serial). Values the filter finds unequal may share a key: the
// filter tests every row of a bucket.
bool indexKey(const Variant& value, std::string& key) {
  switch (value.type()) {
    case VariantType::Empty:
    case VariantType::Null:
    case VariantType::Recordset:
      return false;
    case VariantType::Date:
      if (!value.toDate().valid()) {
        key = "$" + value.text();
        for (char& c : key) c = upperAscii(c);
        return true;
      }
      key = "#" + numberText(value.toDouble());
      return true;
    case VariantType::String: {
      const std::string& text = *value.textIf();
      double number;
      Date date;
      if (parseNumber(text, number)) {
        key = "#" + numberText(number);
      } else if (Date::tryParse(text, date)) {
        key = "#" + numberText(Variant(date).toDouble());
      } else {
        key.assign(1, '$');
        key.reserve(text.size() + 1);
        for (char c : text) key += upperAscii(c);
      }
      return true;
    }
    default:
      key = "#" + numberText(value.toDouble());
      return true;
  }
}

}  // namespace

// A row keeps a copy of the values it was read with only once an edit begins: until then its
// values are the original ones, and a period of a hundred thousand rows is held once, not twice.
struct Recordset::Row {
  std::vector<Variant> values;
  std::vector<Variant> original;  // empty while the row is unchanged (or new)
  RowState state = RowState::Unchanged;

  const Variant& originalValue(std::size_t column) const {
    return original.empty() ? values[column] : original[column];
  }
};

struct Recordset::Index {
  std::unordered_map<std::string, std::vector<std::size_t>> buckets;
};

// Field ----------------------------------------------------------------------------------------

const std::string& Field::Name() const { return owner_->columns_.at(column_); }

Variant Field::Value() const { return owner_->current(column_); }

void Field::Value(const Variant& value) { owner_->setCurrent(column_, value); }

std::size_t Fields::Count() const { return owner_->columnCount(); }

// Construction and opening ---------------------------------------------------------------------

Recordset::Recordset(std::vector<std::string> columns) : columns_(std::move(columns)) {}

Recordset::~Recordset() = default;

std::size_t Recordset::totalRows() const noexcept { return rows_.size(); }

RecordsetPtr Recordset::open(const std::shared_ptr<store::Connection>& connection,
                             const std::string& source) {
  if (!connection) {
    throw Error(errc::kNotConnected, "Operation is not allowed when the object is closed.");
  }
  auto rs = std::make_shared<Recordset>();
  rs->connection_ = connection;
  rs->source_ = source;
  rs->fetch();
  return rs;
}

void Recordset::fetch() {
  rows_.clear();
  indexes_.clear();
  filter_.reset();
  filterText_.clear();
  filtered_ = false;
  visible_.clear();

  if (store::isShapeCommand(source_)) {
    auto shape = store::parseShape(source_);
    auto parent = connection_->query(shape.parentSql);
    columns_ = std::move(parent.columns);
    baseTable_ = updatableTable(shape.parentSql);
    baseColumns_ = columns_;
    for (auto& values : parent.rows) appendRow(std::move(values));
    for (const auto& child : shape.children) {
      auto result = connection_->query(child.sql);
      std::vector<long> childColumns, parentColumns;
      for (const auto& relation : child.relations) {
        auto c = std::find_if(result.columns.begin(), result.columns.end(), [&](const auto& n) {
          return upper(n) == upper(relation.childColumn);
        });
        if (c == result.columns.end()) itemNotFound();
        childColumns.push_back(c - result.columns.begin());
        auto p = columnIndex(relation.parentColumn);
        if (p < 0) itemNotFound();
        parentColumns.push_back(p);
      }
      // Group the child rows by their relating values once, so relating is linear.
      auto keyOf = [](const std::vector<Variant>& row, const std::vector<long>& cols) {
        std::string key;
        for (auto col : cols) {
          std::string part;
          if (!indexKey(row[static_cast<std::size_t>(col)], part)) part = "\x01";
          key += part;
          key += '\x1f';
        }
        return key;
      };
      std::unordered_map<std::string, std::vector<std::size_t>> groups;
      for (std::size_t r = 0; r < result.rows.size(); ++r) {
        groups[keyOf(result.rows[r], childColumns)].push_back(r);
      }
      auto childTable = updatableTable(child.sql);
      auto chapter = appendColumn(child.name);
      for (auto& row : rows_) {
        auto chapterRs = std::make_shared<Recordset>(result.columns);
        chapterRs->connection_ = connection_;
        chapterRs->baseTable_ = childTable;
        chapterRs->baseColumns_ = result.columns;
        auto it = groups.find(keyOf(row.values, parentColumns));
        if (it != groups.end()) {
          for (auto r : it->second) chapterRs->appendRow(result.rows[r]);
        }
        row.values[chapter] = Variant(chapterRs);
      }
    }
  } else {
    auto result = connection_->query(source_);
    columns_ = std::move(result.columns);
    baseTable_ = updatableTable(source_);
    baseColumns_ = columns_;
    rows_.reserve(result.rows.size());
    for (auto& values : result.rows) appendRow(std::move(values));
  }
  position_ = 0;
  raise(moveComplete_);
}

// Columns -------------------------------------------------------------------------------------

long Recordset::columnIndex(std::string_view name) const noexcept {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (sameNameIgnoringCase(columns_[i], name)) return static_cast<long>(i);
  }
  return -1;
}

std::size_t Recordset::appendColumn(const std::string& name) {
  columns_.push_back(name);
  for (auto& row : rows_) {
    row.values.emplace_back(Null);
    if (!row.original.empty()) row.original.emplace_back(Null);
  }
  return columns_.size() - 1;
}

Field Recordset::Fields(std::string_view name) {
  auto index = columnIndex(name);
  if (index < 0) itemNotFound();
  return Field(this, static_cast<std::size_t>(index));
}

Field Recordset::Fields(std::size_t index) {
  if (index >= columns_.size()) itemNotFound();
  return Field(this, index);
}

// Navigation ----------------------------------------------------------------------------------

long Recordset::RecordCount() const noexcept {
  return static_cast<long>(filtered_ ? visible_.size() : rows_.size());
}

bool Recordset::BOF() const noexcept { return RecordCount() == 0 || position_ < 0; }

bool Recordset::EndOfFile() const noexcept {
  return RecordCount() == 0 || position_ >= RecordCount();
}

long Recordset::AbsolutePosition() const noexcept {
  return (BOF() || EndOfFile()) ? -1 : position_;
}

void Recordset::moveTo(long visiblePosition) {
  position_ = std::clamp(visiblePosition, -1L, RecordCount());
  raise(moveComplete_);
}

void Recordset::MoveFirst() { moveTo(0); }

void Recordset::MoveLast() { moveTo(RecordCount() == 0 ? 0 : RecordCount() - 1); }

void Recordset::MoveNext() {
  if (EndOfFile()) noCurrentRecord();
  moveTo(position_ + 1);
}

void Recordset::MovePrevious() {
  if (BOF()) noCurrentRecord();
  moveTo(position_ - 1);
}

void Recordset::Move(long n) {
  // Forward from EOF or backward from BOF there is no record to count from.
  if ((n > 0 && EndOfFile()) || (n < 0 && BOF())) noCurrentRecord();
  moveTo(position_ + n);
}

// Cells ---------------------------------------------------------------------------------------

const Variant& Recordset::cell(std::size_t visibleRow, std::size_t column) const {
  std::size_t row = filtered_ ? visible_.at(visibleRow) : visibleRow;
  return rows_.at(row).values.at(column);
}

void Recordset::requireCurrent() const {
  if (BOF() || EndOfFile()) noCurrentRecord();
}

const Variant& Recordset::current(std::size_t column) const {
  requireCurrent();
  if (column >= columns_.size()) itemNotFound();
  return cell(static_cast<std::size_t>(position_), column);
}

void Recordset::setCurrent(std::size_t column, const Variant& value) {
  requireCurrent();
  if (column >= columns_.size()) itemNotFound();
  std::size_t index = filtered_ ? visible_[static_cast<std::size_t>(position_)]
                                : static_cast<std::size_t>(position_);
  auto& row = rows_[index];
  if (row.state == RowState::Unchanged) {
    raise(willChange_);
    row.original = row.values;
    row.state = RowState::Modified;
  }
  row.values[column] = value;
  indexes_.clear();
}

void Recordset::appendRow(std::vector<Variant> values) {
  values.resize(columns_.size(), Variant(Null));
  Row row;
  row.values = std::move(values);
  rows_.push_back(std::move(row));
  indexes_.clear();
}

// Editing -------------------------------------------------------------------------------------

void Recordset::AddNew() {
  raise(willChange_);
  Row row;
  row.values.assign(columns_.size(), Variant());
  row.state = RowState::New;
  rows_.push_back(std::move(row));
  indexes_.clear();
  if (filtered_) visible_.push_back(rows_.size() - 1);
  moveTo(RecordCount() - 1);
}

void Recordset::Update() {
  requireCurrent();
  std::size_t index = filtered_ ? visible_[static_cast<std::size_t>(position_)]
                                : static_cast<std::size_t>(position_);
  if (connection_ && !baseTable_.empty()) writeRow(rows_[index]);
}

void Recordset::CancelUpdate() {
  if (BOF() || EndOfFile()) return;
  std::size_t index = filtered_ ? visible_[static_cast<std::size_t>(position_)]
                                : static_cast<std::size_t>(position_);
  auto& row = rows_[index];
  if (row.state == RowState::New) {
    rows_.erase(rows_.begin() + static_cast<long>(index));
    if (filtered_) {
      visible_.erase(visible_.begin() + position_);
      for (auto& v : visible_) {
        if (v > index) --v;
      }
    }
    indexes_.clear();
    moveTo(std::min(position_, RecordCount() - 1));
  } else {
    if (!row.original.empty()) row.values = std::move(row.original);
    row.original.clear();
    row.state = RowState::Unchanged;
  }
}

void Recordset::UpdateBatch() {
  bool pending = std::any_of(rows_.begin(), rows_.end(),
                             [](const Row& row) { return row.state != RowState::Unchanged; });
  if (!pending) return;
  if (!connection_ || baseTable_.empty()) {
    throw Error(errc::kNotUpdatable,
                "The recordset cannot be written back: it was not read from one table.");
  }
  // One transaction for the batch: a conflict on any row leaves the store as it was, and the
  // rows stay pending in memory.
  connection_->begin();
  try {
    for (auto& row : rows_) issueWrite(row);
    connection_->commit();
  } catch (...) {
    connection_->rollback();
    throw;
  }
  for (auto& row : rows_) markWritten(row);
}

void Recordset::writeRow(Row& row) {
  issueWrite(row);
  markWritten(row);
}

// Runs the INSERT or UPDATE of one pending row; the row itself is left as it is.
void Recordset::issueWrite(Row& row) {
  if (row.state == RowState::Unchanged) return;
  auto isChapter = [&](std::size_t c) {
    return row.values[c].type() == VariantType::Recordset ||
           row.originalValue(c).type() == VariantType::Recordset;
  };
  std::vector<Variant> parameters;
  std::string sql;
  int marker = 0;
  auto next = [&] { return ":p" + std::to_string(++marker); };
  if (row.state == RowState::New) {
    std::string names, markers;
    for (std::size_t c = 0; c < columns_.size(); ++c) {
      if (row.values[c].isEmpty() || isChapter(c)) continue;
      if (!names.empty()) {
        names += ", ";
        markers += ", ";
      }
      names += baseColumns_[c];
      markers += next();
      parameters.push_back(row.values[c]);
    }
    if (names.empty()) return;
    sql = "INSERT INTO " + baseTable_ + " (" + names + ") VALUES (" + markers + ")";
    connection_->executeWithParameters(sql, parameters);
  } else {
    std::string sets, where;
    for (std::size_t c = 0; c < columns_.size(); ++c) {
      if (isChapter(c) || row.values[c] == row.original[c]) continue;
      if (!sets.empty()) sets += ", ";
      sets += baseColumns_[c] + " = " + next();
      parameters.push_back(row.values[c].isEmpty() ? Variant(Null) : row.values[c]);
    }
    if (sets.empty()) return;
    for (std::size_t c = 0; c < columns_.size(); ++c) {
      if (isChapter(c)) continue;
      if (!where.empty()) where += " AND ";
      if (row.original[c].isNull() || row.original[c].isEmpty()) {
        where += baseColumns_[c] + " IS NULL";
      } else {
        where += baseColumns_[c] + " = " + next();
        parameters.push_back(row.original[c]);
      }
    }
    sql = "UPDATE " + baseTable_ + " SET " + sets + " WHERE " + where;
    if (connection_->executeWithParameters(sql, parameters) == 0) {
      throw Error(errc::kWriteConflict,
                  "Row cannot be located for updating in table " + baseTable_ +
                      ": some values may have been changed since it was last read.");
    }
  }
}

void Recordset::markWritten(Row& row) {
  if (row.state == RowState::Unchanged) return;
  for (auto& value : row.values) {
    if (value.isEmpty()) value = Null;
  }
  row.original.clear();
  row.state = RowState::Unchanged;
}

void Recordset::Requery() {
  if (!connection_ || source_.empty()) {
    throw Error(errc::kNotUpdatable, "The recordset has no source to run again.");
  }
  fetch();
}

// Filter --------------------------------------------------------------------------------------

const std::vector<std::size_t>& Recordset::indexBucket(std::size_t column, const Variant& key) {
  if (indexes_.size() < columns_.size()) indexes_.resize(columns_.size());
  auto& index = indexes_[column];
  if (!index) {
    index = std::make_unique<Index>();
    index->buckets.reserve(rows_.size());
    std::string k;
    for (std::size_t r = 0; r < rows_.size(); ++r) {
      if (indexKey(rows_[r].values[column], k)) index->buckets[k].push_back(r);
    }
  }
  static const std::vector<std::size_t> kNone;
  std::string k;
  if (!indexKey(key, k)) return kNone;
  auto it = index->buckets.find(k);
  return it == index->buckets.end() ? kNone : it->second;
}

void Recordset::Filter(const std::string& criteria) {
  auto trimmed = criteria;
  trimmed.erase(0, trimmed.find_first_not_of(" \t"));
  if (trimmed.empty()) {
    filter_.reset();
    filterText_.clear();
    filtered_ = false;
    visible_.clear();
    moveTo(0);
    return;
  }
  auto filter = store::Filter::parse(criteria);
  filter->bind([this](std::string_view name) { return columnIndex(name); });
  std::vector<std::size_t> visible;
  auto equalities = filter->requiredEqualities();
  auto test = [&](std::size_t r) {
    return filter->matches(std::span<const Variant>(rows_[r].values));
  };
  if (!equalities.empty()) {
    // A bucket of one row cannot be narrowed further: the other columns' indexes are not
    // needed (nor built) then.
    const std::vector<std::size_t>* smallest = nullptr;
    for (const auto& [column, literal] : equalities) {
      const auto& bucket = indexBucket(column, literal);
      if (!smallest || bucket.size() < smallest->size()) smallest = &bucket;
      if (smallest->size() <= 1) break;
    }
    for (auto r : *smallest) {
      if (test(r)) visible.push_back(r);
    }
  } else {
    for (std::size_t r = 0; r < rows_.size(); ++r) {
      if (test(r)) visible.push_back(r);
    }
  }
  filter_ = std::move(filter);
  filterText_ = criteria;
  visible_ = std::move(visible);
  filtered_ = true;
  moveTo(0);
}

// Events --------------------------------------------------------------------------------------

Recordset::Subscription Recordset::onMoveComplete(EventHandler handler) {
  moveComplete_.emplace_back(nextSubscription_, std::move(handler));
  return nextSubscription_++;
}

Recordset::Subscription Recordset::onWillChangeRecord(EventHandler handler) {
  willChange_.emplace_back(nextSubscription_, std::move(handler));
  return nextSubscription_++;
}

void Recordset::unsubscribe(Subscription id) {
  auto drop = [id](auto& list) {
    std::erase_if(list, [id](const auto& entry) { return entry.first == id; });
  };
  drop(moveComplete_);
  drop(willChange_);
}

void Recordset::raise(const std::vector<std::pair<Subscription, EventHandler>>& handlers) {
  if (handlers.empty()) return;
  // A handler may unsubscribe itself; walk a copy.
  auto copy = handlers;
  for (auto& [id, handler] : copy) {
    if (handler) handler();
  }
}

}  // namespace korvane
