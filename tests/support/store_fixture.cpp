#include "support/store_fixture.hpp"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string_view>

#include "korvane/store/error.hpp"
#include "korvane/store/schema.hpp"

namespace korvane::testing {

std::string fileText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

namespace {

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

// The SQLite file behind the ODBC data source of this process. The data source is defined once
// (the driver manager keeps what it read of odbc.ini for a while, by data-source name); each
// test makes the file afresh. The SQLite driver loads the installer library and unloads it
// again: holding it loaded lets the leak checker name what it keeps (and the suppression apply).
class OdbcSqliteSource {
 public:
  static OdbcSqliteSource& instance() {
    static OdbcSqliteSource source;
    return source;
  }
  const std::string& name() const { return name_; }
  const std::filesystem::path& file() const { return file_; }

  ~OdbcSqliteSource() {
    std::error_code ec;
    std::filesystem::remove_all(folder_, ec);
  }

 private:
  OdbcSqliteSource()
      : folder_(std::filesystem::temp_directory_path() /
                ("korvane-odbc-" + std::to_string(::getpid()))),
        file_(folder_ / "store.db"),
        name_("korvane_test_sqlite") {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    const auto ini = folder_ / "odbc.ini";
    std::ofstream out(ini);
    out << "[" << name_ << "]\n"
        << "Driver = SQLite3\n"
        << "Database = " << file_.string() << "\n"
        << "Timeout = 10000\n"
        << "SyncPragma = NORMAL\n"
        << "NoCreat = 1\n";
    out.close();
    if (!out) throw std::runtime_error("cannot write " + ini.string());
    ::setenv("ODBCINI", ini.c_str(), 1);
    static void* const installer = ::dlopen("libodbcinst.so.2", RTLD_NOW | RTLD_GLOBAL);
    (void)installer;
  }

  std::filesystem::path folder_;
  std::filesystem::path file_;
  std::string name_;
};

bool sameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::toupper(static_cast<unsigned char>(x)) ==
                  std::toupper(static_cast<unsigned char>(y));
         });
}

// Whether every table of the schema is there with its columns (a test may have dropped one).
bool schemaIntact(store::Connection& connection) {
  for (const auto& table : store::tables()) {
    store::QueryResult result;
    try {
      result = connection.query("SELECT * FROM " + std::string(table.name) + " WHERE 1 = 0");
    } catch (const Error&) {
      return false;
    }
    if (result.columns.size() != table.columns.size()) return false;
    for (std::size_t c = 0; c < result.columns.size(); ++c) {
      if (!sameName(result.columns[c], table.columns[c].name)) return false;
    }
  }
  return true;
}

// A server's database as a new store has it. The first test of the process, and any test after
// one that changed the schema, drops every table and makes the schema and the reference data
// again; otherwise emptying the tables and adding the reference data gives the same store in a
// fraction of the time (a server's DDL takes tens of milliseconds a statement).
void resetServerStore(const std::string& dataSource, const std::string& user,
                      const std::string& password) {
  static bool schemaMade = false;
  {
    auto connection = store::Connection::openDataSource(dataSource, user, password);
    if (schemaMade && schemaIntact(*connection)) {
      for (const auto& table : store::tables()) {
        connection->execute("DELETE FROM " + std::string(table.name));
      }
      for (const auto& statement : store::referenceDataStatements()) connection->execute(statement);
      return;
    }
    for (const auto& table : store::tables()) {
      connection->execute("DROP TABLE IF EXISTS " + std::string(table.name));
    }
  }
  store::createSchema(dataSource, user, password);
  schemaMade = true;
}

}  // namespace

TestStore testStore() {
  const std::string name = environment("KORVANE_TEST_STORE");
  if (name.empty() || name == "sqlite") return TestStore::Embedded;
  if (name == "odbc-sqlite") return TestStore::OdbcSqlite;
  if (name == "postgresql") return TestStore::PostgreSQL;
  if (name == "mariadb") return TestStore::MariaDB;
  throw std::invalid_argument("KORVANE_TEST_STORE=" + name +
                              ": expected sqlite, odbc-sqlite, postgresql or mariadb");
}

const char* testStoreName(TestStore store) noexcept {
  switch (store) {
    case TestStore::Embedded:
      return "sqlite";
    case TestStore::OdbcSqlite:
      return "odbc-sqlite";
    case TestStore::PostgreSQL:
      return "postgresql";
    case TestStore::MariaDB:
      return "mariadb";
  }
  return "";
}

void StoreTest::SetUp() {
  static std::atomic<int> counter{0};
  kind_ = testStore();
  folder_ = std::filesystem::temp_directory_path() /
            ("korvane-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
  std::filesystem::remove_all(folder_);
  std::filesystem::create_directories(folder_);
  messages_ = std::make_shared<std::vector<MessageBoxRequest>>();
  auto sink = messages_;
  setMessageBoxHandler([sink](const MessageBoxRequest& request) {
    sink->push_back(request);
    return kAnswerOk;
  });
  switch (kind_) {
    case TestStore::Embedded:
      store_ = (folder_ / "store.db").string();
      store::createStore(store_);
      break;
    case TestStore::OdbcSqlite: {
      auto& source = OdbcSqliteSource::instance();
      const std::string file = source.file().string();
      for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
        std::filesystem::remove(file + suffix);
      }
      store::createStore(file);
      store_ = source.name();
      break;
    }
    case TestStore::PostgreSQL:
    case TestStore::MariaDB:
      store_ = environment("KORVANE_TEST_DSN");
      user_ = environment("KORVANE_TEST_USER");
      password_ = environment("KORVANE_TEST_PASSWORD");
      if (store_.empty()) {
        GTEST_FAIL() << "KORVANE_TEST_STORE=" << testStoreName(kind_)
                     << " needs the data source in KORVANE_TEST_DSN";
      }
      resetServerStore(store_, user_, password_);
      break;
  }
  direct_ = store::Connection::openDataSource(store_, user_, password_);
}

void StoreTest::TearDown() {
  direct_.reset();
  setMessageBoxHandler(nullptr);
  std::error_code ec;
  std::filesystem::remove_all(folder_, ec);
}

// Arranging and checking go straight to the store and throw on failure, so a broken
// arrangement fails the test instead of passing silently.
void StoreTest::exec(const std::string& sql) { direct_->execute(sql); }

void StoreTest::beginMay2013(const Date& today) {
  insertProfile();
  connected<CF113202>()->pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2013, 0, "-", "112", kName,
                                           kAddress, today, today, "Pemungut");
}

std::string StoreTest::rowOf(const std::string& sql) {
  auto rs = query(sql);
  std::string out;
  for (std::size_t i = 0; !rs->EndOfFile() && i < rs->columnCount(); ++i) {
    out += (i ? "|" : "") + rs->Fields(i).Value().text();
  }
  return out;
}

RecordsetPtr StoreTest::query(const std::string& sql) { return Recordset::open(direct_, sql); }

Variant StoreTest::scalar(const std::string& sql) {
  auto rs = query(sql);
  if (!rs || rs->EndOfFile()) return Null;
  return rs->Fields(std::size_t{0}).Value();
}

long StoreTest::count(const std::string& sql) {
  auto value = scalar(sql);
  return value.isNull() ? 0 : static_cast<long>(value.toDouble());
}

void StoreTest::insertProfile(const std::string& jenisWp) {
  exec("INSERT INTO DAT_PROFILE (NPWP, NAMA_WP_PROFILE, ALAMAT, JENIS_WP) VALUES ('" +
       std::string(kNpwp) + "', 'PT MAJU JAYA', 'JL. SUDIRMAN 1 JAKARTA', '" + jenisWp + "')");
}

}  // namespace korvane::testing
