// Every test gets a fresh store with the reference data and a message-box service that records
// instead of showing. Which store is chosen by KORVANE_TEST_STORE:
//   unset or "sqlite"  a new embedded file in a temporary folder (removed afterwards);
//   "odbc-sqlite"      a new SQLite file reached through an ODBC data source of a temporary
//                      odbc.ini;
//   "postgresql", "mariadb"
//                      the data source KORVANE_TEST_DSN (KORVANE_TEST_USER, KORVANE_TEST_PASSWORD),
//                      whose tables are dropped and created again before each test.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "korvane/korvane.hpp"
#include "korvane/store/connection.hpp"

namespace korvane::testing {

enum class TestStore { Embedded, OdbcSqlite, PostgreSQL, MariaDB };

// The store this run of the tests uses (from KORVANE_TEST_STORE).
TestStore testStore();
const char* testStoreName(TestStore store) noexcept;

// A file's whole content, byte for byte ("" when it cannot be read).
std::string fileText(const std::filesystem::path& path);

class StoreTest : public ::testing::Test {
 public:
  // The taxpayer profile most tests use.
  static constexpr const char* kNpwp = "012345678901000";
  static constexpr const char* kName = "PT MAJU JAYA";
  static constexpr const char* kAddress = "JL. SUDIRMAN 1 JAKARTA";

 protected:
  void SetUp() override;
  void TearDown() override;

  // The DataSource the objects accept: the file's path, or the DSN's name.
  const std::string& store() const { return store_; }
  // A temporary folder of the test's own, for files (removed afterwards).
  const std::filesystem::path& folder() const { return folder_; }
  // User and password that go with store() (empty for the embedded store).
  const std::string& user() const { return user_; }
  const std::string& password() const { return password_; }
  // Which kind of store this run uses; tests about the embedded file alone (its creation, WAL)
  // skip on the others: if (!embeddedStore()) GTEST_SKIP() << "embedded store only";
  TestStore storeKind() const { return kind_; }
  bool embeddedStore() const { return kind_ == TestStore::Embedded; }

  // Messages shown since the test began (or since clearMessages()).
  const std::vector<MessageBoxRequest>& messages() const { return *messages_; }
  void clearMessages() { messages_->clear(); }

  // Direct store access that bypasses the objects: for arranging rows and checking results.
  void exec(const std::string& sql);
  RecordsetPtr query(const std::string& sql);
  long count(const std::string& sql);      // a SELECT COUNT(*) ... as a number
  Variant scalar(const std::string& sql);  // first column of the first row (Null if none)

  // Creates an object by its class and connects it to the test store.
  template <class T>
  std::shared_ptr<T> connected() {
    auto object = std::make_shared<T>();
    object->pAssignConStr(store_, user_, password_);
    return object;
  }

  // The first row a query returns as "column|column|..." ("" when there is none).
  std::string rowOf(const std::string& sql);

  // Inserts the taxpayer profile most tests use (kNpwp, kName, kAddress).
  void insertProfile(const std::string& jenisWp = "Pemungut");
  // The profile, and May 2013 begun for it as a host begins a period: the main return (dated
  // `today`) and its list headers.
  void beginMay2013(const Date& today);

 private:
  TestStore kind_ = TestStore::Embedded;
  std::filesystem::path folder_;
  std::string store_;
  std::string user_;
  std::string password_;
  std::shared_ptr<std::vector<MessageBoxRequest>> messages_;
  std::shared_ptr<store::Connection> direct_;
};

// The error an action raises: its number and description ({0, ""} when it raises none).
template <typename F>
std::pair<long, std::string> errorOf(F&& action) {
  try {
    action();
  } catch (const Error& e) {
    return {e.number(), e.description()};
  }
  return {0, ""};
}

}  // namespace korvane::testing
