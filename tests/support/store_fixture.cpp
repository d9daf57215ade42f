#include "support/store_fixture.hpp"

#include <atomic>
#include <unistd.h>

namespace korvane::testing {

void StoreTest::SetUp() {
  static std::atomic<int> counter{0};
  folder_ = std::filesystem::temp_directory_path() /
            ("korvane-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
  std::filesystem::remove_all(folder_);
  std::filesystem::create_directories(folder_);
  store_ = (folder_ / "store.db").string();
  messages_ = std::make_shared<std::vector<MessageBoxRequest>>();
  auto sink = messages_;
  setMessageBoxHandler([sink](const MessageBoxRequest& request) {
    sink->push_back(request);
    return kAnswerOk;
  });
  store::createStore(store_);
  direct_ = store::Connection::openDataSource(store_, "", "");
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
