// Making a store: the tables, their indexes and the reference data a new store starts with.
#pragma once

#include <string>

namespace korvane::store {

// Creates a new embedded store file with every table, index and the reference data (document
// kinds of the return, article-22 rates). Throws Error when the file exists or cannot be made.
void createStore(const std::string& path);

// Creates the same schema and reference data in the empty database an ODBC data source names
// (PostgreSQL, MariaDB or SQLite behind the DSN).
void createSchema(const std::string& dataSource, const std::string& user,
                  const std::string& password);

}  // namespace korvane::store
