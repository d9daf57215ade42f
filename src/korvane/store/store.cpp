#include "korvane/store/store.hpp"

#include <filesystem>
#include <fstream>

#include "korvane/store/connection.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/schema.hpp"

namespace korvane::store {
namespace {

void fill(Connection& connection) {
  for (const auto& statement : schemaStatements(connection.dialect())) {
    connection.execute(statement);
  }
  for (const auto& statement : referenceDataStatements()) connection.execute(statement);
}

}  // namespace

void createStore(const std::string& path) {
  std::error_code ec;
  if (std::filesystem::exists(path, ec)) {
    throw Error(errc::kFile, "The store " + path + " already exists.");
  }
  auto parent = std::filesystem::path(path).parent_path();
  if (!parent.empty()) std::filesystem::create_directories(parent, ec);
  {
    // SQLite takes an empty file as a new database.
    std::ofstream file(path, std::ios::binary);
    if (!file) throw Error(errc::kFile, "The store " + path + " cannot be created.");
  }
  auto name = path;
  if (!isEmbeddedStoreName(name)) name = "./" + name;
  try {
    auto connection = Connection::openDataSource(name, "", "");
    fill(*connection);
  } catch (...) {
    std::filesystem::remove(path, ec);
    throw;
  }
}

void createSchema(const std::string& dataSource, const std::string& user,
                  const std::string& password) {
  auto connection = Connection::openDataSource(dataSource, user, password);
  fill(*connection);
}

}  // namespace korvane::store
