// Every test gets a fresh embedded store in a temporary folder and a message-box service that
// records instead of showing. The folder is removed afterwards.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "korvane/korvane.hpp"
#include "korvane/store/connection.hpp"

namespace korvane::testing {

class StoreTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Path of the store (a DataSource the objects accept).
  const std::string& store() const { return store_; }
  const std::filesystem::path& folder() const { return folder_; }

  // Messages shown since the test began (or since clearMessages()).
  const std::vector<MessageBoxRequest>& messages() const { return *messages_; }
  void clearMessages() { messages_->clear(); }

  // Direct store access that bypasses the objects: for arranging rows and checking results.
  void exec(const std::string& sql);
  RecordsetPtr query(const std::string& sql);
  long count(const std::string& sql);  // a SELECT COUNT(*) ... as a number
  Variant scalar(const std::string& sql);       // first column of the first row (Null if none)

  // Creates an object by its class and connects it to the test store.
  template <class T>
  std::shared_ptr<T> connected() {
    auto object = std::make_shared<T>();
    object->pAssignConStr(store_, "", "");
    return object;
  }

  // The taxpayer profile most tests use.
  static constexpr const char* kNpwp = "012345678901000";
  void insertProfile(const std::string& jenisWp = "Pemungut");

 private:
  std::filesystem::path folder_;
  std::string store_;
  std::shared_ptr<std::vector<MessageBoxRequest>> messages_;
  std::shared_ptr<store::Connection> direct_;
};

}  // namespace korvane::testing
