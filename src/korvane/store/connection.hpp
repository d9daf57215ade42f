// One open store: an embedded SQLite file or an ODBC data source. Statements arrive in the
// components' own dialect and are translated here, just before they run.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "korvane/store/dialect.hpp"
#include "korvane/store/variant.hpp"

namespace soci {
class session;
}

namespace korvane::store {

class EmbeddedStore;

// "PROVIDER=MSDASQL;dsn=...;uid=...;pwd=...;" taken apart: keys compare case-insensitively,
// ";" separates, nothing is quoted (a ";" inside a value ends it there).
class ConnectionString {
 public:
  static ConnectionString parse(std::string_view text);
  // "" when absent.
  std::string get(std::string_view key) const;

 private:
  std::map<std::string, std::string> values_;  // upper-cased keys
};

// True when a data-source name denotes an embedded store file rather than an ODBC DSN: it holds
// a '/' or ends in .db, .sqlite or .sqlite3.
bool isEmbeddedStoreName(std::string_view dataSource) noexcept;

struct QueryResult {
  std::vector<std::string> columns;
  std::vector<std::vector<Variant>> rows;
};

class Connection {
 public:
  // Opens the store a connection string names (the plain or the data-shape form; only dsn, uid
  // and pwd are used). Store failures throw Error(errc::kStoreFailure, <the store's text>).
  static std::shared_ptr<Connection> open(std::string_view connectionString);
  // Opens an embedded store file or a DSN directly.
  static std::shared_ptr<Connection> openDataSource(const std::string& dataSource,
                                                    const std::string& user,
                                                    const std::string& password);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  Dialect dialect() const noexcept { return dialect_; }

  // Runs a statement; rows it returns are discarded.
  void execute(const std::string& sql);
  // Runs a query and fetches every row.
  QueryResult query(const std::string& sql);
  // Runs a parameterized statement ("?" markers, already in the store's dialect: used only for
  // write-back); returns the number of rows affected.
  long long executeWithParameters(const std::string& sql, const std::vector<Variant>& values);

  // A transaction around a recordset's batch write-back, so that a conflict part-way leaves
  // the store as it was. rollback() never throws: it runs while another failure is under way.
  // A begin() inside another opens a savepoint; its commit() or rollback() ends only that.
  // Except on PostgreSQL through ODBC: its driver wraps every statement in a savepoint of its
  // own and releases it afterwards, which drops any savepoint the statement opened. There an
  // inner begin() joins the outer transaction, and an inner failure is undone with it (the
  // operations that nest, the import, roll the whole transaction back on any failure).
  void begin();
  void commit();
  void rollback() noexcept;
  bool inTransaction() const noexcept { return depth_ > 0; }

 private:
  Connection() = default;
  std::string prepare(const std::string& sql);
  static std::string savepointName(int depth);
  bool nestsWithSavepoints() const noexcept { return embedded_ || dialect_ != Dialect::PostgreSQL; }
  void executeDirectly(const std::string& sql);

  std::unique_ptr<soci::session> session_;
  // Reads and writes an embedded store directly; destroyed before the session it runs on.
  std::unique_ptr<EmbeddedStore> embedded_;
  Dialect dialect_ = Dialect::SQLite;
  int depth_ = 0;  // open transactions: the outermost, then savepoints
};

}  // namespace korvane::store
