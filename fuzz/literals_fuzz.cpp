// The embedded store runs a statement through its text with the literal values bound. Whatever
// the statement, that must store and answer exactly what running it as written does: the input
// is run both ways on two stores holding the same rows, and the rows and answers compared.
// The input's first line is an INSERT's value list, the rest a query's condition.
#include <sqlite3.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "check.hpp"
#include "korvane/store/bound_literals.hpp"

namespace {

using korvane::fuzz::check;

// A store of one table with a column of every affinity and a few rows.
sqlite3* openStore() {
  sqlite3* db = nullptr;
  sqlite3_open(":memory:", &db);
  sqlite3_exec(db,
               "PRAGMA case_sensitive_like=ON;"
               "CREATE TABLE T (A TEXT, B INTEGER, C REAL, D NUMERIC, E);"
               "INSERT INTO T VALUES ('x', 1, 1.5, '007', X'00');"
               "INSERT INTO T VALUES ('Y''s', -2, NULL, 3.0, 'z');",
               nullptr, nullptr, nullptr);
  return db;
}

// Runs a statement and returns every row it answers, or "failed".
std::string run(sqlite3* db, const std::string& sql, bool bound) {
  sqlite3_stmt* statement = nullptr;
  // Bound as SQLITE_STATIC: the values must outlive the run.
  const auto split = bound ? korvane::store::withBoundLiterals(sql) : std::nullopt;
  if (bound) {
    if (split &&
        sqlite3_prepare_v2(db, split->shape.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
        statement) {
      // Values the text does not take send the statement the written way, as the store does.
      for (std::size_t i = 0; statement && i < split->values.size(); ++i) {
        const auto& value = split->values[i];
        const int position = static_cast<int>(i) + 1;
        if ((value.isText ? sqlite3_bind_text(statement, position, value.text.data(),
                                              static_cast<int>(value.text.size()), SQLITE_STATIC)
                          : sqlite3_bind_int64(statement, position, value.integer)) != SQLITE_OK) {
          sqlite3_finalize(statement);
          statement = nullptr;
        }
      }
    } else {
      sqlite3_finalize(statement);
      statement = nullptr;
    }
  }
  if (!statement && sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size()), &statement,
                                       nullptr) != SQLITE_OK) {
    sqlite3_finalize(statement);
    return "failed";
  }
  std::string out;
  int rc;
  while ((rc = sqlite3_step(statement)) == SQLITE_ROW) {
    for (int c = 0; c < sqlite3_column_count(statement); ++c) {
      out += std::to_string(sqlite3_column_type(statement, c)) + ":";
      const auto* text = sqlite3_column_blob(statement, c);
      out.append(static_cast<const char*>(text ? text : ""),
                 static_cast<std::size_t>(sqlite3_column_bytes(statement, c)));
      out += '|';
    }
    out += '\n';
  }
  sqlite3_finalize(statement);
  return rc == SQLITE_DONE ? out : "failed";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  if (input.find('\0') != std::string_view::npos) return 0;
  const auto newline = input.find('\n');
  const std::string values(input.substr(0, newline));
  const std::string condition(newline == std::string_view::npos ? "1" : input.substr(newline + 1));

  sqlite3* asWritten = openStore();
  sqlite3* asBound = openStore();
  const std::string insert = "INSERT INTO T VALUES (" + values + ")";
  check(run(asWritten, insert, false) == run(asBound, insert, true));
  const std::string all = "SELECT A, B, C, D, E FROM T ORDER BY rowid";
  check(run(asWritten, all, false) == run(asBound, all, false));
  const std::string query = "SELECT A, B, C, D, E FROM T WHERE " + condition + " ORDER BY rowid";
  check(run(asWritten, query, false) == run(asBound, query, true));
  const std::string update = "UPDATE T SET A = " + values + " WHERE " + condition;
  check(run(asWritten, update, false) == run(asBound, update, true));
  check(run(asWritten, all, false) == run(asBound, all, false));
  sqlite3_close(asWritten);
  sqlite3_close(asBound);
  return 0;
}
