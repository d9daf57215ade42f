// The components write SQL in the dialect of the desktop store they were designed for
// ("DELETE * FROM", "DATEVALUE('31/05/2013')", INSERT without a column list). Every rule that
// turns it into what the store in hand accepts lives here and nowhere else.
#pragma once

#include <string>
#include <string_view>

namespace korvane::store {

enum class Dialect { SQLite, PostgreSQL, MariaDB };

const char* dialectName(Dialect dialect) noexcept;

// Rewrites one statement for a store. Text inside single-quoted literals is never touched.
//  - "DELETE * FROM t" becomes "DELETE FROM t";
//  - DATEVALUE('DD/MM/YYYY') becomes the store's date literal ('YYYY-MM-DD' on SQLite,
//    DATE 'YYYY-MM-DD' on the servers); an unreadable date is left for the store to refuse;
//  - a known table's name is written as the schema spells it (servers may compare table names
//    case-sensitively: datSSP -> DATSSP);
//  - "INSERT INTO t VALUES (v1, ..., vn)" for a known table gets the explicit list of its first
//    n columns, so a short value list fills the leading columns and server column order does
//    not matter;
//  - on PostgreSQL and MariaDB nothing else changes: text comparison is case-sensitive on every
//    store (the schema makes it so).
std::string translate(std::string_view sql, Dialect dialect);

}  // namespace korvane::store
