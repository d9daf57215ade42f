#include "korvane/store/connection.hpp"

#include <soci/odbc/soci-odbc.h>
#include <soci/soci.h>
#include <soci/sqlite3/soci-sqlite3.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <ctime>
#include <deque>
#include <filesystem>

#include "korvane/store/error.hpp"
#include "korvane/store/trace.hpp"

namespace korvane::store {
namespace {

std::string upper(std::string_view text) {
  std::string out(text);
  for (auto& c : out) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return out;
}

std::string trim(std::string_view text) {
  auto begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string_view::npos) return {};
  auto end = text.find_last_not_of(" \t\r\n");
  return std::string(text.substr(begin, end - begin + 1));
}

bool endsWith(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() &&
         upper(text.substr(text.size() - suffix.size())) == upper(suffix);
}

// The store's own words, first line only: that is what the host shows the user.
[[noreturn]] void storeFailure(const std::exception& e) {
  std::string text = e.what();
  if (auto odbc = dynamic_cast<const soci::odbc_soci_error*>(&e)) {
    text = reinterpret_cast<const char*>(odbc->odbc_error_message());
    if (text.empty()) text = e.what();
  }
  auto newline = text.find('\n');
  if (newline != std::string::npos) text.erase(newline);
  throw Error(errc::kStoreFailure, trim(text));
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

// Which server an ODBC session reached. The ODBC backend's class has no exported run-time type,
// so the sanitizer's type check of this downcast could not link; the cast itself is sound.
__attribute__((no_sanitize("vptr"))) soci::odbc_session_backend::database_product
databaseProduct(soci::session& session) {
  return static_cast<soci::odbc_session_backend*>(session.get_backend())->get_database_product();
}

}  // namespace

ConnectionString ConnectionString::parse(std::string_view text) {
  ConnectionString out;
  while (!text.empty()) {
    auto end = text.find(';');
    auto piece = text.substr(0, end);
    auto eq = piece.find('=');
    if (eq != std::string_view::npos) {
      out.values_[upper(trim(piece.substr(0, eq)))] = std::string(piece.substr(eq + 1));
    }
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
  return out;
}

std::string ConnectionString::get(std::string_view key) const {
  auto it = values_.find(upper(key));
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
    } else {
      std::string odbc = "DSN=" + dataSource + ";UID=" + user + ";PWD=" + password + ";";
      connection->session_ = std::make_unique<soci::session>(soci::odbc, odbc);
      switch (databaseProduct(*connection->session_)) {
        case soci::odbc_session_backend::prod_postgresql:
          connection->dialect_ = Dialect::PostgreSQL;
          break;
        case soci::odbc_session_backend::prod_mysql:
          connection->dialect_ = Dialect::MariaDB;
          break;
        default:
          connection->dialect_ = Dialect::SQLite;
          break;
      }
      if (connection->dialect_ == Dialect::SQLite) {
        *connection->session_ << "PRAGMA case_sensitive_like=ON";
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
  if (!session_) throw Error(errc::kNotConnected, "Operation is not allowed when the object is closed.");
  return translate(sql, dialect_);
}

void Connection::execute(const std::string& sql) {
  auto text = prepare(sql);
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

long long Connection::executeWithParameters(const std::string& sql,
                                            const std::vector<Variant>& values) {
  traceStatement(sql);
  if (!session_) throw Error(errc::kNotConnected, "Operation is not allowed when the object is closed.");
  try {
    soci::statement st(*session_);
    // SOCI keeps references to the bound values: deques never move their elements.
    std::deque<std::string> texts;
    std::deque<double> doubles;
    std::deque<int> integers;
    std::deque<std::tm> dates;
    std::deque<soci::indicator> indicators;
    for (const auto& value : values) {
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
    st.prepare(sql);
    st.define_and_bind();
    st.execute(true);
    return st.get_affected_rows();
  } catch (const std::exception& e) {
    storeFailure(e);
  }
}

}  // namespace korvane::store
