#include "korvane/store/connection.hpp"

#include <soci/odbc/soci-odbc.h>
#include <soci/soci.h>
#include <soci/sqlite3/soci-sqlite3.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <filesystem>
#include <list>
#include <optional>
#include <unordered_map>

#include "korvane/store/bound_literals.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/schema.hpp"
#include "korvane/store/text.hpp"
#include "korvane/store/trace.hpp"

// SOCI's reading of date text, which its SQLite backend applies to DATE columns; exported by
// SOCI's core for its backends.
namespace soci::details {
void parse_std_tm(char const* buf, std::tm& t);
}

namespace korvane::store {
namespace {

std::string trim(std::string_view text) {
  auto begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string_view::npos) return {};
  auto end = text.find_last_not_of(" \t\r\n");
  return std::string(text.substr(begin, end - begin + 1));
}

bool endsWith(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() &&
         equalsIgnoringCase(text.substr(text.size() - suffix.size()), suffix);
}

// SOCI puts the backend function that failed in front of the store's message
// ("sqlite3_statement_backend::prepare: no such table: X"); the user is shown the store's part.
std::string withoutBackendPrefix(std::string text) {
  auto colon = text.find(": ");
  if (colon == std::string::npos) return text;
  auto prefix = std::string_view(text).substr(0, colon);
  bool qualifiedName = prefix.find("::") != std::string_view::npos &&
                       std::all_of(prefix.begin(), prefix.end(), [](char c) {
                         return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == ':';
                       });
  return qualifiedName ? text.substr(colon + 2) : text;
}

// Table names in a store's message as the schema spells them: PostgreSQL names the tables it
// folded in lower case ('relation "setting_nobukti_pph" does not exist').
std::string withSchemaSpelling(std::string text) {
  for (std::size_t i = 0; i < text.size();) {
    auto isNameChar = [&](std::size_t k) {
      return std::isalnum(static_cast<unsigned char>(text[k])) || text[k] == '_';
    };
    if (!isNameChar(i)) {
      ++i;
      continue;
    }
    std::size_t end = i;
    while (end < text.size() && isNameChar(end)) ++end;
    if (const TableDef* table = findTable(std::string_view(text).substr(i, end - i))) {
      text.replace(i, end - i, table->name);
    }
    i = end;
  }
  return text;
}

// The store's own words, first line only: that is what the host shows the user.
[[noreturn]] void storeFailure(const std::exception& e) {
  std::string text = e.what();
  if (auto odbc = dynamic_cast<const soci::odbc_soci_error*>(&e)) {
    text = reinterpret_cast<const char*>(odbc->odbc_error_message());
    if (text.empty()) text = e.what();
  } else if (auto soci = dynamic_cast<const soci::soci_error*>(&e)) {
    // Without the statement SOCI appends as context.
    text = withoutBackendPrefix(soci->get_error_message());
  }
  auto newline = text.find('\n');
  if (newline != std::string::npos) text.erase(newline);
  throw Error(errc::kStoreFailure, trim(withSchemaSpelling(text)));
}

Variant fetchValue(const soci::row& row, std::size_t i) {
  if (row.get_indicator(i) == soci::i_null) return Null;
  switch (row.get_properties(i).get_data_type()) {
    case soci::dt_string:
    case soci::dt_xml:
      return Variant(row.get<std::string>(i));
    case soci::dt_double:
      return Variant(row.get<double>(i));
    case soci::dt_integer:
      return Variant(row.get<int>(i));
    case soci::dt_long_long:
      return Variant(static_cast<long long>(row.get<long long>(i)));
    case soci::dt_unsigned_long_long:
      return Variant(static_cast<double>(row.get<unsigned long long>(i)));
    case soci::dt_date: {
      auto tm = row.get<std::tm>(i);
      return Variant(Date(tm.tm_year + 1900, static_cast<unsigned>(tm.tm_mon + 1),
                          static_cast<unsigned>(tm.tm_mday)));
    }
    case soci::dt_blob:
      return Null;
  }
  return Null;
}

// The ODBC connection handle of a session. The ODBC backend's class has no exported run-time
// type, so the sanitizer's type check of this downcast could not link; the cast itself is sound.
__attribute__((no_sanitize("vptr"))) SQLHDBC odbcConnection(soci::session& session) {
  return static_cast<soci::odbc_session_backend*>(session.get_backend())->hdbc_;
}

// Which server an ODBC session reached, by the name its driver gives ("PostgreSQL", "MariaDB",
// "MySQL", "SQLite"; SOCI knows MariaDB only by MySQL's name). Anything else is taken to speak
// SQLite's dialect.
Dialect odbcDialect(soci::session& session) {
  SQLCHAR name[256] = {};
  SQLSMALLINT length = 0;
  SQLGetInfo(odbcConnection(session), SQL_DBMS_NAME, name, static_cast<SQLSMALLINT>(sizeof name),
             &length);
  const std::string product = upperAscii(reinterpret_cast<const char*>(name));
  if (product.find("POSTGRES") != std::string::npos) return Dialect::PostgreSQL;
  if (product.find("MARIADB") != std::string::npos || product.find("MYSQL") != std::string::npos) {
    return Dialect::MariaDB;
  }
  return Dialect::SQLite;
}

// The driver's first diagnostic, as SOCI's ODBC errors report it.
[[noreturn]] void odbcFailure(SQLSMALLINT handleType, SQLHANDLE handle) {
  SQLCHAR state[SQL_SQLSTATE_SIZE + 1] = {};
  SQLCHAR message[SQL_MAX_MESSAGE_LENGTH + 1] = {};
  SQLINTEGER native = 0;
  SQLSMALLINT length = 0;
  std::string text;
  if (SQL_SUCCEEDED(SQLGetDiagRec(handleType, handle, 1, state, &native, message,
                                  static_cast<SQLSMALLINT>(sizeof message), &length))) {
    text = reinterpret_cast<const char*>(message);
  }
  if (text.empty()) text = "The store failed without saying why.";
  auto newline = text.find('\n');
  if (newline != std::string::npos) text.erase(newline);
  throw Error(errc::kStoreFailure, trim(withSchemaSpelling(text)));
}

// Rows of an ODBC store are read with SQLGetData, long texts in pieces, rather than through
// SOCI: SOCI binds a 100 MB buffer for every column longer than 8000 characters (memo columns,
// MAX over text on PostgreSQL) and some drivers clear all of it for every row.
class OdbcReader {
 public:
  explicit OdbcReader(SQLHDBC connection) {
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement_))) {
      odbcFailure(SQL_HANDLE_DBC, connection);
    }
  }
  ~OdbcReader() { SQLFreeHandle(SQL_HANDLE_STMT, statement_); }
  OdbcReader(const OdbcReader&) = delete;
  OdbcReader& operator=(const OdbcReader&) = delete;

  QueryResult run(const std::string& sql) {
    std::string text = sql;
    SQLRETURN rc = SQLExecDirect(statement_, reinterpret_cast<SQLCHAR*>(text.data()),
                                 static_cast<SQLINTEGER>(text.size()));
    if (rc == SQL_NO_DATA) return {};
    check(rc);
    SQLSMALLINT count = 0;
    check(SQLNumResultCols(statement_, &count));
    QueryResult result;
    std::vector<Column> columns(static_cast<std::size_t>(count));
    for (SQLUSMALLINT c = 1; c <= count; ++c) {
      SQLCHAR name[512] = {};
      SQLSMALLINT nameLength = 0;
      SQLSMALLINT nullable = 0;
      Column& column = columns[c - 1u];
      check(SQLDescribeCol(statement_, c, name, static_cast<SQLSMALLINT>(sizeof name), &nameLength,
                           &column.type, &column.size, &column.digits, &nullable));
      result.columns.emplace_back(reinterpret_cast<const char*>(name));
    }
    while ((rc = SQLFetch(statement_)) != SQL_NO_DATA) {
      check(rc);
      std::vector<Variant> values;
      values.reserve(columns.size());
      for (SQLUSMALLINT c = 1; c <= count; ++c) values.push_back(value(c, columns[c - 1u]));
      result.rows.push_back(std::move(values));
    }
    return result;
  }

 private:
  struct Column {
    SQLSMALLINT type = 0;
    SQLULEN size = 0;
    SQLSMALLINT digits = 0;
  };

  void check(SQLRETURN rc) {
    if (!SQL_SUCCEEDED(rc)) odbcFailure(SQL_HANDLE_STMT, statement_);
  }

  // Reads a fixed-size value; false for Null.
  bool get(SQLUSMALLINT column, SQLSMALLINT cType, void* target, SQLLEN size) {
    SQLLEN indicator = 0;
    check(SQLGetData(statement_, column, cType, target, size, &indicator));
    return indicator != SQL_NULL_DATA;
  }

  // Integers come back as integers, other numbers as doubles, dates and times as dates, text
  // as text and binary data as Null, as the embedded store's values do.
  Variant value(SQLUSMALLINT column, const Column& info) {
    switch (info.type) {
      case SQL_BIT:
      case SQL_TINYINT:
      case SQL_SMALLINT:
      case SQL_INTEGER: {
        SQLINTEGER number = 0;
        return get(column, SQL_C_SLONG, &number, 0) ? Variant(static_cast<int>(number))
                                                    : Variant(Null);
      }
      case SQL_BIGINT: {
        SQLBIGINT number = 0;
        return get(column, SQL_C_SBIGINT, &number, 0) ? Variant(static_cast<long long>(number))
                                                      : Variant(Null);
      }
      case SQL_DECIMAL:
      case SQL_NUMERIC: {
        // Exact decimals (MariaDB's SUM over integers) are read as text: whole numbers become
        // integers like the other stores' sums, the rest doubles.
        Variant text = textValue(column);
        if (text.isNull()) return text;
        const std::string digits = text.toString();
        char* end = nullptr;
        errno = 0;
        const long long whole = std::strtoll(digits.c_str(), &end, 10);
        if (end && *end == '\0' && errno == 0 && !digits.empty()) return Variant(whole);
        return Variant(std::strtod(digits.c_str(), nullptr));
      }
      case SQL_REAL:
      case SQL_FLOAT:
      case SQL_DOUBLE: {
        double number = 0;
        return get(column, SQL_C_DOUBLE, &number, 0) ? Variant(number) : Variant(Null);
      }
      case SQL_DATE:
      case SQL_TIMESTAMP:
      case SQL_TYPE_DATE:
      case SQL_TYPE_TIMESTAMP: {
        SQL_TIMESTAMP_STRUCT stamp{};
        if (!get(column, SQL_C_TYPE_TIMESTAMP, &stamp, static_cast<SQLLEN>(sizeof stamp))) {
          return Null;
        }
        return Variant(Date(stamp.year, stamp.month, stamp.day));
      }
      case SQL_BINARY:
      case SQL_VARBINARY:
      case SQL_LONGVARBINARY:
        return Null;
      default:
        return textValue(column);
    }
  }

  Variant textValue(SQLUSMALLINT column) {
    std::string text;
    char buffer[8192];
    for (;;) {
      SQLLEN indicator = 0;
      SQLRETURN rc = SQLGetData(statement_, column, SQL_C_CHAR, buffer,
                                static_cast<SQLLEN>(sizeof buffer), &indicator);
      if (rc == SQL_NO_DATA) break;
      check(rc);
      if (indicator == SQL_NULL_DATA) return Null;
      // A piece that filled the buffer (the driver says "truncated") leaves the rest for the
      // next call; its last byte is the terminating zero.
      const bool last = indicator != SQL_NO_TOTAL && indicator < static_cast<SQLLEN>(sizeof buffer);
      text.append(buffer, last ? static_cast<std::size_t>(indicator) : sizeof buffer - 1);
      if (last) break;
    }
    return Variant(std::move(text));
  }

  SQLHSTMT statement_ = nullptr;
};

constexpr auto sameName = equalsIgnoringCase;

// The servers' row-order columns are the store's own business: "SELECT *" does not show them.
void withoutRowOrder(QueryResult& result) {
  for (std::size_t c = result.columns.size(); c-- > 0;) {
    if (!sameName(result.columns[c], kRowOrderColumn) &&
        !sameName(result.columns[c], kUnionPartColumn)) {
      continue;
    }
    result.columns.erase(result.columns.begin() + static_cast<std::ptrdiff_t>(c));
    for (auto& row : result.rows) row.erase(row.begin() + static_cast<std::ptrdiff_t>(c));
  }
}

// The schema column each marker (":p1", "?") of a write-back statement stands for: the column
// lists of "INSERT INTO t (a, b) VALUES (:p1, :p2)" pair up in order, and elsewhere a marker
// follows its column and "=" ("UPDATE t SET a = :p1 WHERE b = :p2"). Nothing for what the
// schema does not know.
std::vector<const ColumnDef*> markerColumns(std::string_view sql) {
  std::vector<std::string> words;  // words, markers as "?", other symbols as themselves
  for (std::size_t i = 0; i < sql.size();) {
    const auto c = static_cast<unsigned char>(sql[i]);
    if (std::isspace(c)) {
      ++i;
    } else if (std::isalnum(c) || c == '_' || c == ':') {
      const std::size_t start = i++;
      while (i < sql.size() &&
             (std::isalnum(static_cast<unsigned char>(sql[i])) || sql[i] == '_')) {
        ++i;
      }
      words.emplace_back(c == ':' ? "?" : std::string(sql.substr(start, i - start)));
    } else {
      words.emplace_back(1, sql[i++]);
    }
  }
  std::vector<const ColumnDef*> out;
  if (words.size() < 3) return out;
  const bool insert = sameName(words[0], "INSERT");
  const TableDef* table = findTable(insert ? words[2] : words[1]);
  auto column = [&](std::string_view name) -> const ColumnDef* {
    if (!table) return nullptr;
    for (const auto& def : table->columns) {
      if (sameName(def.name, name)) return &def;
    }
    return nullptr;
  };
  std::vector<std::string_view> insertColumns;
  bool inColumnList = false;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (insert && words[i] == "(" && insertColumns.empty() && !inColumnList) {
      inColumnList = true;
    } else if (inColumnList) {
      if (words[i] == ")") inColumnList = false;
      if (words[i] != "," && words[i] != ")") insertColumns.push_back(words[i]);
    } else if (words[i] == "?") {
      if (insert) {
        out.push_back(out.size() < insertColumns.size() ? column(insertColumns[out.size()])
                                                        : nullptr);
      } else {
        out.push_back(i >= 2 && words[i - 1] == "=" ? column(words[i - 2]) : nullptr);
      }
    }
  }
  return out;
}

// Numbers are stored with 15 significant digits, as statements and packed texts write them, so
// that what was written reads back exactly on every store (the SQLite ODBC driver reads numbers
// with no more) and a written row is found again by its values.
double fifteenDigits(double value) {
  if (!std::isfinite(value)) return value;
  char text[40];
  std::snprintf(text, sizeof text, "%.15g", value);
  return std::strtod(text, nullptr);
}

// A value as its column holds it, the same on every store: text columns take the value's text
// (numbers as number text, dates "DD/MM/YYYY", booleans "True"/"False"); number columns take
// numeric text as a number, booleans as -1 and 0, and empty text as Null; date columns take
// date text as a date and empty text as Null. Anything else is left for the store to judge.
Variant asColumnHolds(const Variant& value, const ColumnDef* column) {
  if (!column || value.isNull() || value.isEmpty() || value.type() == VariantType::Recordset) {
    return value;
  }
  switch (column->type) {
    case ColumnType::Text:
    case ColumnType::Memo:
      return value.isText() ? value : Variant(value.text());
    case ColumnType::SmallInt:
    case ColumnType::Integer:
    case ColumnType::Double:
      if (value.type() == VariantType::Boolean) return Variant(value.toInt32());
      if (value.isText()) {
        double number = 0;
        if (value.toString().empty()) return Null;
        if (parseNumber(value.toString(), number)) return Variant(number);
      }
      return value;
    case ColumnType::Date:
      if (value.isText()) {
        Date date;
        if (value.toString().empty()) return Null;
        if (Date::tryParse(value.toString(), date)) return Variant(date);
      }
      return value;
  }
  return value;
}

// What a write-back binds for a value: as its column holds it, numbers to 15 digits.
Variant asStored(const Variant& value, const ColumnDef* column) {
  Variant stored = asColumnHolds(value, column);
  if (stored.type() == VariantType::Double) stored = Variant(fifteenDigits(stored.toDouble()));
  return stored;
}

}  // namespace

// SOCI's SQLite header declares SQLite's interface inside this namespace.
using namespace sqlite_api;

namespace {

// How SOCI's SQLite backend reads a column, which the embedded store keeps: by the declared
// type with blanks removed, cut at the first character that is not a letter or digit, in lower
// case; an expression (no declared type) is text, and a type it does not know takes the kind
// of the value in the first row.
enum class ReadAs { Int32, Int64, UInt64, Double, Text, Date, Blob, FirstRow };

ReadAs readAsDeclared(const char* declared) {
  if (!declared) return ReadAs::Text;
  std::string type;
  for (const char* p = declared; *p; ++p) {
    const auto c = static_cast<unsigned char>(*p);
    if (!std::isspace(c)) type += static_cast<char>(std::tolower(c));
  }
  type.erase(std::find_if(type.begin(), type.end(),
                          [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }),
             type.end());
  static const std::unordered_map<std::string, ReadAs> kTypes = {
      {"smallint", ReadAs::Int32},
      {"int", ReadAs::Int32},
      {"integer", ReadAs::Int32},
      {"int2", ReadAs::Int32},
      {"tinyint", ReadAs::Int32},
      {"mediumint", ReadAs::Int32},
      {"boolean", ReadAs::Int32},
      {"bigint", ReadAs::Int64},
      {"int8", ReadAs::Int64},
      {"unsignedbigint", ReadAs::UInt64},
      {"real", ReadAs::Double},
      {"float", ReadAs::Double},
      {"decimal", ReadAs::Double},
      {"number", ReadAs::Double},
      {"numeric", ReadAs::Double},
      {"double", ReadAs::Double},
      {"doubleprecision", ReadAs::Double},
      {"char", ReadAs::Text},
      {"character", ReadAs::Text},
      {"clob", ReadAs::Text},
      {"nativecharacter", ReadAs::Text},
      {"nchar", ReadAs::Text},
      {"nvarchar", ReadAs::Text},
      {"text", ReadAs::Text},
      {"varchar", ReadAs::Text},
      {"varyingcharacter", ReadAs::Text},
      {"date", ReadAs::Date},
      {"time", ReadAs::Date},
      {"datetime", ReadAs::Date},
      {"blob", ReadAs::Blob},
  };
  auto it = kTypes.find(type);
  return it == kTypes.end() ? ReadAs::FirstRow : it->second;
}

ReadAs readAsStored(int storageClass) {
  switch (storageClass) {
    case SQLITE_INTEGER:
      return ReadAs::Int32;
    case SQLITE_FLOAT:
      return ReadAs::Double;
    case SQLITE_BLOB:
      return ReadAs::Blob;
    default:
      return ReadAs::Text;
  }
}

Variant readValue(sqlite3_stmt* statement, int column, ReadAs as) {
  if (sqlite3_column_type(statement, column) == SQLITE_NULL) return Null;
  switch (as) {
    case ReadAs::Int32:
      return Variant(sqlite3_column_int(statement, column));
    case ReadAs::Int64:
      return Variant(static_cast<long long>(sqlite3_column_int64(statement, column)));
    case ReadAs::UInt64:
      return Variant(static_cast<double>(
          static_cast<unsigned long long>(sqlite3_column_int64(statement, column))));
    case ReadAs::Double:
      return Variant(sqlite3_column_double(statement, column));
    case ReadAs::Date: {
      std::tm tm{};
      soci::details::parse_std_tm(
          reinterpret_cast<const char*>(sqlite3_column_text(statement, column)), tm);
      return Variant(Date(tm.tm_year + 1900, static_cast<unsigned>(tm.tm_mon + 1),
                          static_cast<unsigned>(tm.tm_mday)));
    }
    case ReadAs::Blob:
      return Null;
    case ReadAs::Text:
    case ReadAs::FirstRow: {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
      const int bytes = sqlite3_column_bytes(statement, column);
      return Variant(std::string(text ? text : "", static_cast<std::size_t>(bytes)));
    }
  }
  return Null;
}

// Binds the values a BoundText took out of its statement.
int bindValues(sqlite3_stmt* statement, const std::vector<BoundText::Value>& values) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    const int position = static_cast<int>(i) + 1;
    const auto& value = values[i];
    const int rc = value.isText
                       ? sqlite3_bind_text(statement, position, value.text.data(),
                                           static_cast<int>(value.text.size()), SQLITE_STATIC)
                       : sqlite3_bind_int64(statement, position, value.integer);
    if (rc != SQLITE_OK) return rc;
  }
  return SQLITE_OK;
}

// The SQLite connection handle of an embedded session.
__attribute__((no_sanitize("vptr"))) sqlite3* sqliteHandle(soci::session& session) {
  return static_cast<soci::sqlite3_session_backend*>(session.get_backend())->conn_;
}

}  // namespace

// The embedded store is read and written through SQLite's own interface, on SOCI's connection:
// a period of a hundred thousand rows is read in one query, and SOCI's dynamic rows cost
// several times what SQLite itself does. Prepared statements are kept by their text, since the
// operations issue the same lookups again and again (the period's headers, the profile, the
// counter). Values, failures and affected-row counts are SOCI's, so nothing above can tell.
class EmbeddedStore {
 public:
  explicit EmbeddedStore(sqlite3* db) : db_(db) {}
  ~EmbeddedStore() {
    for (auto& entry : entries_) sqlite3_finalize(entry.statement);
  }
  EmbeddedStore(const EmbeddedStore&) = delete;
  EmbeddedStore& operator=(const EmbeddedStore&) = delete;

  // As SOCI runs a statement: one step (a query's first row is fetched and dropped).
  void execute(const std::string& sql) {
    if (auto bound = withBoundLiterals(sql); bound && executeBound(*bound)) return;
    Lease lease(*this, sql);
    if (!lease.statement) return;
    const int rc = sqlite3_step(lease.statement);
    if (rc != SQLITE_ROW && rc != SQLITE_DONE) fail();
  }

  QueryResult query(const std::string& sql) {
    const auto bound = withBoundLiterals(sql);
    std::optional<Lease> lease;
    if (bound) {
      lease.emplace(*this, bound->shape, /*mayFail=*/true);
      if (lease->statement && bindValues(lease->statement, bound->values) != SQLITE_OK) {
        lease.reset();
      }
    }
    if (!lease || !lease->statement) lease.emplace(*this, sql);
    QueryResult result;
    sqlite3_stmt* statement = lease->statement;
    if (!statement) return result;
    const int count = sqlite3_column_count(statement);
    std::vector<ReadAs> readAs(static_cast<std::size_t>(count));
    bool firstRowDecides = false;
    for (int c = 0; c < count; ++c) {
      result.columns.emplace_back(sqlite3_column_name(statement, c));
      readAs[static_cast<std::size_t>(c)] = readAsDeclared(sqlite3_column_decltype(statement, c));
      firstRowDecides = firstRowDecides || readAs[static_cast<std::size_t>(c)] == ReadAs::FirstRow;
    }
    // Columns without a declared type (of a UNION) read as their first row holds them. That row
    // is read in the same run: stepping again from the start would sort a sorted query twice.
    int rc = sqlite3_step(statement);
    if (firstRowDecides) {
      for (int c = 0; c < count; ++c) {
        auto& as = readAs[static_cast<std::size_t>(c)];
        if (as == ReadAs::FirstRow) {
          as = rc == SQLITE_ROW ? readAsStored(sqlite3_column_type(statement, c)) : ReadAs::Text;
        }
      }
    }
    for (; rc == SQLITE_ROW; rc = sqlite3_step(statement)) {
      std::vector<Variant> values;
      values.reserve(static_cast<std::size_t>(count));
      for (int c = 0; c < count; ++c) {
        values.push_back(readValue(statement, c, readAs[static_cast<std::size_t>(c)]));
      }
      result.rows.push_back(std::move(values));
    }
    if (rc != SQLITE_DONE) fail();
    return result;
  }

  // A statement through its shared text. False, with nothing done, when that text does not
  // prepare or take the values: the statement then runs as written, to fail with the store's
  // own words for it.
  bool executeBound(const BoundText& bound) {
    Lease lease(*this, bound.shape, /*mayFail=*/true);
    if (!lease.statement || bindValues(lease.statement, bound.values) != SQLITE_OK) return false;
    const int rc = sqlite3_step(lease.statement);
    if (rc != SQLITE_ROW && rc != SQLITE_DONE) fail();
    return true;
  }

  // Values as SOCI binds them: Null, whole numbers as 32-bit integers, doubles, text, and dates
  // as ISO text.
  long long executeWithParameters(const std::string& sql, const std::vector<Variant>& values) {
    Lease lease(*this, sql);
    sqlite3_stmt* statement = lease.statement;
    if (!statement) return 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
      const int position = static_cast<int>(i) + 1;
      const Variant& value = values[i];
      int rc = SQLITE_OK;
      switch (value.type()) {
        case VariantType::Empty:
        case VariantType::Null:
        case VariantType::Recordset:
          rc = sqlite3_bind_null(statement, position);
          break;
        case VariantType::Boolean:
        case VariantType::Integer:
        case VariantType::Long:
          rc = sqlite3_bind_int(statement, position, value.toInt32());
          break;
        case VariantType::Double:
          rc = sqlite3_bind_double(statement, position, value.toDouble());
          break;
        case VariantType::String:
        case VariantType::Date: {
          const std::string text =
              value.type() == VariantType::Date ? value.toDate().iso() : value.toString();
          rc = sqlite3_bind_text(statement, position, text.data(), static_cast<int>(text.size()),
                                 SQLITE_TRANSIENT);
          break;
        }
      }
      if (rc != SQLITE_OK) fail();
    }
    const int rc = sqlite3_step(statement);
    if (rc != SQLITE_ROW && rc != SQLITE_DONE) fail();
    return sqlite3_changes(db_);
  }

 private:
  struct Entry {
    std::string sql;
    sqlite3_stmt* statement = nullptr;
    bool inUse = false;
  };
  static constexpr std::size_t kCapacity = 64;

  // A statement checked out for one run, reset (and its bindings cleared) when handed back. A
  // text already running (a statement issued while another one's rows are read) gets a
  // statement of its own.
  class Lease {
   public:
    Lease(EmbeddedStore& store, const std::string& sql, bool mayFail = false) {
      auto found = store.index_.find(sql);
      if (found != store.index_.end() && !found->second->inUse) {
        entry_ = found->second;
        cached_ = true;
        store.entries_.splice(store.entries_.begin(), store.entries_, entry_);
        entry_->inUse = true;
        statement = entry_->statement;
        return;
      }
      if (sqlite3_prepare_v3(store.db_, sql.c_str(), static_cast<int>(sql.size()) + 1,
                             SQLITE_PREPARE_PERSISTENT, &statement, nullptr) != SQLITE_OK) {
        if (mayFail) {
          sqlite3_finalize(statement);
          statement = nullptr;
          return;
        }
        store.fail();
      }
      if (!statement || found != store.index_.end()) return;
      store.entries_.push_front(Entry{sql, statement, true});
      entry_ = store.entries_.begin();
      cached_ = true;
      store.index_.emplace(entry_->sql, entry_);
      store.evict();
    }
    ~Lease() {
      if (!statement) return;
      sqlite3_reset(statement);
      sqlite3_clear_bindings(statement);
      if (cached_) {
        entry_->inUse = false;
      } else {
        sqlite3_finalize(statement);
      }
    }
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    sqlite3_stmt* statement = nullptr;

   private:
    std::list<Entry>::iterator entry_;
    bool cached_ = false;
  };

  // Drops the least recently used statements beyond the capacity.
  void evict() {
    auto it = entries_.end();
    while (entries_.size() > kCapacity && it != entries_.begin()) {
      --it;
      if (it->inUse) continue;
      index_.erase(it->sql);
      sqlite3_finalize(it->statement);
      it = entries_.erase(it);
    }
  }

  // The store's own words, first line only, as SOCI reported them.
  [[noreturn]] void fail() const {
    std::string text = sqlite3_errmsg(db_);
    auto newline = text.find('\n');
    if (newline != std::string::npos) text.erase(newline);
    throw Error(errc::kStoreFailure, trim(text));
  }

  sqlite3* db_;
  std::list<Entry> entries_;  // most recently used first
  std::unordered_map<std::string_view, std::list<Entry>::iterator> index_;
};

ConnectionString ConnectionString::parse(std::string_view text) {
  ConnectionString out;
  while (!text.empty()) {
    auto end = text.find(';');
    auto piece = text.substr(0, end);
    auto eq = piece.find('=');
    if (eq != std::string_view::npos) {
      out.values_[upperAscii(trim(piece.substr(0, eq)))] = std::string(piece.substr(eq + 1));
    }
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
  return out;
}

std::string ConnectionString::get(std::string_view key) const {
  auto it = values_.find(upperAscii(key));
  return it == values_.end() ? std::string() : it->second;
}

bool isEmbeddedStoreName(std::string_view dataSource) noexcept {
  return dataSource.find('/') != std::string_view::npos || endsWith(dataSource, ".db") ||
         endsWith(dataSource, ".sqlite") || endsWith(dataSource, ".sqlite3");
}

std::shared_ptr<Connection> Connection::open(std::string_view connectionString) {
  auto parts = ConnectionString::parse(connectionString);
  return openDataSource(parts.get("dsn"), parts.get("uid"), parts.get("pwd"));
}

std::shared_ptr<Connection> Connection::openDataSource(const std::string& dataSource,
                                                       const std::string& user,
                                                       const std::string& password) {
  std::shared_ptr<Connection> connection(new Connection());
  try {
    if (isEmbeddedStoreName(dataSource)) {
      // A missing file is a wrong data source, not a new store: stores are made by createStore.
      std::error_code ec;
      if (!std::filesystem::is_regular_file(dataSource, ec)) {
        throw Error(errc::kStoreFailure, "Store file not found: " + dataSource);
      }
      connection->session_ = std::make_unique<soci::session>(
          soci::sqlite3, "dbname=\"" + dataSource + "\" timeout=10");
      connection->dialect_ = Dialect::SQLite;
      auto& session = *connection->session_;
      session << "PRAGMA journal_mode=WAL";
      session << "PRAGMA synchronous=NORMAL";
      session << "PRAGMA case_sensitive_like=ON";
      session << "PRAGMA foreign_keys=OFF";
      // A period of a hundred thousand slips makes a store of some 70 MB: SQLite's default
      // 2 MB page cache would read the indexes a save walks from the file again on every save.
      session << "PRAGMA cache_size=-8192";
      connection->embedded_ = std::make_unique<EmbeddedStore>(sqliteHandle(session));
    } else {
      // Empty credentials are left out, so that those stored with the data source apply.
      std::string odbc = "DSN=" + dataSource + ";";
      if (!user.empty()) odbc += "UID=" + user + ";";
      if (!password.empty()) odbc += "PWD=" + password + ";";
      connection->session_ = std::make_unique<soci::session>(soci::odbc, odbc);
      connection->dialect_ = odbcDialect(*connection->session_);
      // Sessions that read text the way the embedded store does: a backslash in a literal is
      // itself (MariaDB takes it as an escape unless told otherwise), a value that does not fit
      // its column is refused rather than cut, and LIKE compares case-sensitively on SQLite.
      switch (connection->dialect_) {
        case Dialect::SQLite:
          *connection->session_ << "PRAGMA case_sensitive_like=ON";
          break;
        case Dialect::PostgreSQL:
          *connection->session_ << "SET standard_conforming_strings = on";
          break;
        case Dialect::MariaDB:
          *connection->session_
              << "SET SESSION sql_mode = "
                 "'STRICT_TRANS_TABLES,NO_BACKSLASH_ESCAPES,NO_ENGINE_SUBSTITUTION'";
          break;
      }
    }
  } catch (const Error&) {
    throw;
  } catch (const std::exception& e) {
    storeFailure(e);
  }
  return connection;
}

Connection::~Connection() = default;

std::string Connection::prepare(const std::string& sql) {
  traceStatement(sql);
  if (!session_)
    throw Error(errc::kNotConnected, "Operation is not allowed when the object is closed.");
  return translate(sql, dialect_);
}

void Connection::execute(const std::string& sql) {
  auto text = prepare(sql);
  if (embedded_) return embedded_->execute(text);
  try {
    soci::statement st = (session_->prepare << text);
    st.execute(true);
  } catch (const std::exception& e) {
    storeFailure(e);
  }
}

QueryResult Connection::query(const std::string& sql) {
  auto text = prepare(sql);
  QueryResult result;
  if (embedded_) {
    try {
      result = embedded_->query(inAddedOrder(text, dialect_));
      withoutRowOrder(result);
      return result;
    } catch (const Error&) {
      throw;
    } catch (const std::exception& e) {
      storeFailure(e);  // a date SOCI's reading refuses
    }
  }
  if (session_->get_backend_name() == "odbc") {
    result = OdbcReader(odbcConnection(*session_)).run(inAddedOrder(text, dialect_));
    withoutRowOrder(result);
    respellColumns(text, dialect_, result.columns);
    return result;
  }
  try {
    soci::row row;
    // Built step by step rather than with "prepare << text, into(row)": that form needs the
    // run-time type of a SOCI class its library does not export (sanitized builds fail to link).
    soci::statement st(*session_);
    st.exchange(soci::into(row));
    st.alloc();
    st.prepare(text);
    st.define_and_bind();
    bool more = st.execute(true);
    result.columns.reserve(row.size());
    for (std::size_t i = 0; i < row.size(); ++i) {
      result.columns.push_back(row.get_properties(i).get_name());
    }
    while (more) {
      std::vector<Variant> values;
      values.reserve(row.size());
      for (std::size_t i = 0; i < row.size(); ++i) values.push_back(fetchValue(row, i));
      result.rows.push_back(std::move(values));
      more = st.fetch();
    }
  } catch (const std::exception& e) {
    storeFailure(e);
  }
  return result;
}

// Transactions nest: an operation that runs others inside one transaction (an import, a
// carry-over) keeps each inner batch's all-or-nothing through a savepoint of its own.
void Connection::begin() {
  if (!session_) {
    throw Error(errc::kNotConnected, "Operation is not allowed when the object is closed.");
  }
  try {
    if (depth_ > 0) {
      if (nestsWithSavepoints()) executeDirectly("SAVEPOINT " + savepointName(depth_));
    } else {
      session_->begin();
    }
  } catch (const Error&) {
    throw;
  } catch (const std::exception& e) {
    storeFailure(e);
  }
  ++depth_;
}

void Connection::commit() {
  if (!session_) {
    throw Error(errc::kNotConnected, "Operation is not allowed when the object is closed.");
  }
  try {
    if (depth_ > 1) {
      if (nestsWithSavepoints()) executeDirectly("RELEASE SAVEPOINT " + savepointName(depth_ - 1));
    } else {
      session_->commit();
    }
  } catch (const Error&) {
    throw;
  } catch (const std::exception& e) {
    storeFailure(e);
  }
  if (depth_ > 0) --depth_;
}

void Connection::rollback() noexcept {
  if (!session_) return;
  try {
    if (depth_ > 1) {
      if (nestsWithSavepoints()) {
        const auto name = savepointName(depth_ - 1);
        executeDirectly("ROLLBACK TO SAVEPOINT " + name);
        executeDirectly("RELEASE SAVEPOINT " + name);
      }
    } else {
      session_->rollback();
    }
  } catch (...) {
    // The failure that made us roll back is the one worth reporting.
  }
  if (depth_ > 0) --depth_;
}

std::string Connection::savepointName(int depth) { return "KORVANE_" + std::to_string(depth); }

// Transaction control of the component's own: not traced, not translated.
void Connection::executeDirectly(const std::string& sql) {
  if (embedded_) return embedded_->execute(sql);
  soci::statement st = (session_->prepare << sql);
  st.execute(true);
}

long long Connection::executeWithParameters(const std::string& sql,
                                            const std::vector<Variant>& values) {
  traceStatement(sql);
  if (!session_)
    throw Error(errc::kNotConnected, "Operation is not allowed when the object is closed.");
  // Table names as the schema spells them (the recordset kept the spelling of its SELECT).
  const std::string text = translate(sql, dialect_);
  const std::vector<const ColumnDef*> columns = markerColumns(text);
  if (embedded_) {
    std::vector<Variant> stored;
    stored.reserve(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
      stored.push_back(asStored(values[i], i < columns.size() ? columns[i] : nullptr));
    }
    return embedded_->executeWithParameters(text, stored);
  }
  try {
    soci::statement st(*session_);
    // SOCI keeps references to the bound values: deques never move their elements.
    std::deque<std::string> texts;
    std::deque<double> doubles;
    std::deque<int> integers;
    std::deque<std::tm> dates;
    std::deque<soci::indicator> indicators;
    for (std::size_t i = 0; i < values.size(); ++i) {
      const Variant value = asStored(values[i], i < columns.size() ? columns[i] : nullptr);
      switch (value.type()) {
        case VariantType::Empty:
        case VariantType::Null:
        case VariantType::Recordset:
          texts.emplace_back();
          indicators.push_back(soci::i_null);
          st.exchange(soci::use(texts.back(), indicators.back()));
          break;
        case VariantType::Boolean:
        case VariantType::Integer:
        case VariantType::Long:
          integers.push_back(value.toInt32());
          st.exchange(soci::use(integers.back()));
          break;
        case VariantType::Double:
          doubles.push_back(value.toDouble());
          st.exchange(soci::use(doubles.back()));
          break;
        case VariantType::String:
          texts.push_back(value.toString());
          st.exchange(soci::use(texts.back()));
          break;
        case VariantType::Date: {
          auto date = value.toDate();
          if (dialect_ == Dialect::SQLite) {
            texts.push_back(date.iso());
            st.exchange(soci::use(texts.back()));
          } else {
            std::tm tm{};
            tm.tm_year = date.year() - 1900;
            tm.tm_mon = static_cast<int>(date.month()) - 1;
            tm.tm_mday = static_cast<int>(date.day());
            dates.push_back(tm);
            st.exchange(soci::use(dates.back()));
          }
          break;
        }
      }
    }
    st.alloc();
    st.prepare(text);
    st.define_and_bind();
    st.execute(true);
    return st.get_affected_rows();
  } catch (const std::exception& e) {
    storeFailure(e);
  }
}

}  // namespace korvane::store
