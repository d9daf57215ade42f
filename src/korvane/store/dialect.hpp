// The components write SQL in the dialect of the desktop store they were designed for
// ("DELETE * FROM", "DATEVALUE('31/05/2013')", INSERT without a column list). Every rule that
// turns it into what the store in hand accepts lives here and nowhere else.
#pragma once

#include <string>
#include <string_view>
#include <vector>

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
//  - on PostgreSQL and MariaDB a backslash in a LIKE pattern is doubled: their LIKE takes it as
//    the escape character, the desktop store as itself;
//  - nothing else changes: text comparison is case-sensitive on every store (the schema makes
//    it so).
std::string translate(std::string_view sql, Dialect dialect);

// A query that reads one table of the schema, as every store runs it: rows in the order they
// were added, whichever index the store picks (PostgreSQL also moves a row it updates to the
// end). "ORDER BY KORVANE_ROW" ("ORDER BY rowid" on SQLite) is added to a SELECT of one known
// table without ORDER BY, GROUP BY, DISTINCT, aggregates or joins. A UNION ALL of such SELECTs
// of whole rows ("SELECT * FROM t WHERE ...") reads each part in that order, one part after the
// other; the query then returns the columns KORVANE_ROW and KORVANE_PART as well, which the
// connection drops. Any other statement is left alone.
std::string inAddedOrder(std::string_view sql, Dialect dialect);
inline constexpr std::string_view kUnionPartColumn = "KORVANE_PART";

// Names of the columns a query returned, as the other stores return them. PostgreSQL folds
// unquoted names to lower case (newkdpjk, kdjnsform); there a name written in the statement's
// select list takes the statement's spelling (NewKdPjk) and a column of the schema the schema's
// (KdJnsForm). Other stores return the names as they are.
void respellColumns(std::string_view sql, Dialect dialect, std::vector<std::string>& columns);

}  // namespace korvane::store
