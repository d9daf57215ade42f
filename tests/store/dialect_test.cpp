#include "korvane/store/dialect.hpp"

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace korvane::store {
namespace {

constexpr Dialect kAllDialects[] = {Dialect::SQLite, Dialect::PostgreSQL, Dialect::MariaDB};

// One statement as the components write it, and what each store receives. Only dates differ
// between the embedded store and the servers.
struct TranslateCase {
  const char* sql;
  const char* onSqlite;
  const char* onServers = nullptr;  // PostgreSQL and MariaDB; nullptr: as on SQLite
};

TEST(Translate, GivesEachStoreItsStatement) {
  const TranslateCase cases[] = {
      {"DELETE * FROM DS_FORM_INDUK WHERE NPWP = '0123' AND MS_PAJAK = 5",
       "DELETE FROM DS_FORM_INDUK WHERE NPWP = '0123' AND MS_PAJAK = 5"},
      {"delete\t*\n  From LAMPIRAN_SSP_PPh22 WHERE (SEQ = 1)",
       "delete From LAMPIRAN_SSP_PPh22 WHERE (SEQ = 1)"},
      {" DELETE*FROM DATSSP", " DELETE FROM DATSSP"},
      {"SELECT * FROM DATSSP WHERE TGLSSP = DATEVALUE('31/05/2013')",
       "SELECT * FROM DATSSP WHERE TGLSSP = '2013-05-31'",
       "SELECT * FROM DATSSP WHERE TGLSSP = DATE '2013-05-31'"},
      {"X = datevalue( '1/2/2013' ) AND Y = 1", "X = '2013-02-01' AND Y = 1",
       "X = DATE '2013-02-01' AND Y = 1"},
      {"DateValue('29/02/2012')", "'2012-02-29'", "DATE '2012-02-29'"},
      // Table names take the schema's spelling, whole words only.
      {"SELECT * FROM datSSP WHERE KdJnsForm = 'D113202'",
       "SELECT * FROM DATSSP WHERE KdJnsForm = 'D113202'"},
      {"SELECT a.X FROM ds_form_induk a, dat_ssp_pph22 b",
       "SELECT a.X FROM DS_FORM_INDUK a, DAT_SSP_PPh22 b"},
      // INSERT without a column list gets one, as long as the values.
      {" INSERT INTO DAT_SSP_PPh22 VALUES ('0123', 'D113202' , '07', 5, 2013, 0, '-', '112', "
       "'0123;Nama;Alamat;5;2013;0', '31/05/2013', '')",
       " INSERT INTO DAT_SSP_PPh22 (NPWP, KD_FORM, JENIS_DOKUMEN, MS_PAJAK, TH_PAJAK, "
       "KD_PEMBETULAN_KE, NOBUKTI, KD_JENIS_PAJAK, DAT_FORM, TGL_REKAM, TGL_UBAH) VALUES ('0123', "
       "'D113202' , '07', 5, 2013, 0, '-', '112', '0123;Nama;Alamat;5;2013;0', '31/05/2013', '')"},
      {"insert  into\tdat_ssp_pph22 values('a','b')",
       "insert  into\tDAT_SSP_PPh22 (NPWP, KD_FORM) values('a','b')"},
      {"INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ( 'D113202' , 5, 2013, 0, 0, (1), 'N,1', 'a,b;'';c')",
       "INSERT INTO LAMPIRAN_SSP_PPh22 (KD_FORM, MS_PAJAK, TH_PAJAK, KD_PEMBETULAN_KE, COLLNO, "
       "SEQ, NOBUKTI, DAT_FORM) VALUES ( 'D113202' , 5, 2013, 0, 0, (1), 'N,1', 'a,b;'';c')"},
      {"INSERT INTO datssp VALUES ('0123', 5, 2013, '411122', '100', DATEVALUE('31/05/2013'))",
       "INSERT INTO DATSSP (NPWP, MSPJK, THPJK, KDMAP, KDJNSSTR, TGLSSP) VALUES ('0123', 5, 2013, "
       "'411122', '100', '2013-05-31')",
       "INSERT INTO DATSSP (NPWP, MSPJK, THPJK, KDMAP, KDJNSSTR, TGLSSP) VALUES ('0123', 5, 2013, "
       "'411122', '100', DATE '2013-05-31')"},
      {"INSERT INTO DATSSP VALUES ('a', (1), INSERT INTO BURSA VALUES ('b'))",
       "INSERT INTO DATSSP (NPWP, MSPJK, THPJK) VALUES ('a', (1), INSERT INTO BURSA "
       "(KODE_BURSA) VALUES ('b'))"},
      // Found by fuzzing: a date's quotes right against another literal's read as escaped quotes.
      {"X IN ('a'DATEVALUE('1/2/2013')'b')", "X IN ('a' '2013-02-01' 'b')",
       "X IN ('a'DATE '2013-02-01' 'b')"},
      {"DATEVALUE('1/6/2013')datevalue('3/6/2013')", "'2013-06-01' '2013-06-03'",
       "DATE '2013-06-01'DATE '2013-06-03'"},
      // The servers' LIKE takes a backslash as the escape character unless it is doubled.
      {"SELECT * FROM DAT_PARTNER WHERE ALAMAT_PARTNER LIKE '%C:\\DATA;%'",
       "SELECT * FROM DAT_PARTNER WHERE ALAMAT_PARTNER LIKE '%C:\\DATA;%'",
       "SELECT * FROM DAT_PARTNER WHERE ALAMAT_PARTNER LIKE '%C:\\\\DATA;%'"},
      {"X not like 'a\\b\\' AND Y LIKE 'c'", "X not like 'a\\b\\' AND Y LIKE 'c'",
       "X not like 'a\\\\b\\\\' AND Y LIKE 'c'"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sql);
    EXPECT_EQ(translate(c.sql, Dialect::SQLite), c.onSqlite);
    for (Dialect dialect : {Dialect::PostgreSQL, Dialect::MariaDB}) {
      EXPECT_EQ(translate(c.sql, dialect), c.onServers ? c.onServers : c.onSqlite)
          << dialectName(dialect);
    }
  }
}

TEST(Translate, StatementsWithNothingToChangeComeBackByteIdentical) {
  const std::string statements[] = {
      "DELETE FROM DATSSP WHERE A = 1",
      // Not a calendar date, or not a quoted day/month/year date.
      "DATEVALUE('29/02/2013')", "DATEVALUE('31/04/2013')", "DATEVALUE('1/13/2013')",
      "DATEVALUE('00/01/2013')", "DATEVALUE('1/1/13')", "DATEVALUE('2013-05-31')",
      "DATEVALUE(' 1/1/2013')", "DATEVALUE('')", "DATEVALUE(TGL_REKAM)",
      "SELECT DATSSPX, XDATSSP FROM T",
      // A column list already, too many values, an unknown table, unclosed or empty values.
      "INSERT INTO DATSSP(NPWP,MSPJK,THPJK,KDMAP,KDJNSSTR,TGLSSP,NTPP,JMLBYR,KdJnsForm,KdPmbtln) "
      "VALUES('0123',5,2013,'411122','100','x','N1',1000,'D113202',1)",
      "INSERT INTO DAT_SSP_PPh22 VALUES (1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13)",
      "INSERT INTO NO_SUCH_TABLE VALUES (1)", "INSERT INTO DATSSP VALUES ('a', 1",
      "INSERT INTO DATSSP VALUES ( )",
      // Literals are never touched.
      "SELECT 'DELETE * FROM x'",
      "SELECT * FROM T WHERE A = 'datssp DATEVALUE(''1/1/2013'') INSERT INTO datssp VALUES (1)'",
      "SELECT * FROM DATSSP WHERE A = 'datssp",
      // Backslashes outside a LIKE pattern, LIKE of a column.
      "UPDATE DAT_PARTNER SET ALAMAT_PARTNER = 'C:\\DATA' WHERE A = 'x\\'",
      "SELECT * FROM T WHERE A LIKE B",
      "SELECT  MAX(JENIS_DOKUMEN) AS NewKdPjk FROM DAT_SSP_PPh22 \r\n\tWHERE KD_FORM = 'D113202' "
      "AND DAT_FORM LIKE '%Pertamina \xC3\xA9;%' AND MS_PAJAK = 5 ",
      "SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE (KD_FORM = 'D113202') AND (COLLNO = 1)",
      "UPDATE DS_FORM_INDUK SET DAT_FORM = 'a;b;;c' WHERE NOBUKTI = '000001/PPH22'",
      std::string("SELECT 1\0 FROM X", 16), "  \t\n", ""};
  for (const std::string& sql : statements) {
    for (Dialect dialect : kAllDialects) EXPECT_EQ(translate(sql, dialect), sql);
  }
  // Found by fuzzing: each INSERT once rescanned the rest of the statement for its closing
  // parenthesis, so many unclosed value lists took quadratic time.
  std::string unclosed;
  for (int i = 0; i < 5000; ++i) unclosed += "INSERT INTO DATSSP VALUES (";
  for (Dialect dialect : kAllDialects) EXPECT_EQ(translate(unclosed, dialect), unclosed);
}

// Names separated by blanks.
std::vector<std::string> words(const std::string& text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
}

// Column names as a store returned them, and as the host sees them: PostgreSQL's folded names
// take the statement's or the schema's spelling, the other stores' are left as they are.
TEST(RespellColumns, GivesTheNamesTheHostSees) {
  const struct {
    const char* sql;
    const char* returned;  // by PostgreSQL
    const char* onPostgres;
  } cases[] = {
      {"SELECT * FROM DATSSP", "npwp mspjk kdjnsform kdpmbtln", "NPWP MSPJK KdJnsForm KdPmbtln"},
      {"SELECT MAX(JENIS_DOKUMEN) AS NewKdPjk FROM DAT_SSP_PPh22", "newkdpjk", "NewKdPjk"},
      // The select list's spelling goes before the schema's.
      {"SELECT npwp, Kd_Form FROM DS_FORM_INDUK", "npwp kd_form", "npwp Kd_Form"},
      {"SELECT COUNT(*) FROM DAT_PROFILE", "count", "COUNT"},
      {"SELECT * FROM DAT_PARTNER WHERE nama_partner = 'x'", "npwp_partner nama_partner",
       "NPWP_PARTNER NAMA_PARTNER"},
      {"SELECT (SELECT MAX(SEQ) FROM LAMPIRAN_SSP_PPh22) AS MaxSeq, KdJnsForm FROM DATSSP",
       "maxseq kdjnsform", "MaxSeq KdJnsForm"},
      {"SELECT 1 AS \"Mixed\"", "Mixed other", "Mixed other"},
      {"SELECT 'AbC' AS abc FROM T", "abc", "abc"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sql);
    for (Dialect dialect : kAllDialects) {
      std::vector<std::string> columns = words(c.returned);
      respellColumns(c.sql, dialect, columns);
      EXPECT_EQ(columns, words(dialect == Dialect::PostgreSQL ? c.onPostgres : c.returned))
          << dialectName(dialect);
    }
  }
}

// Queries of one table read rows in the order they were added: the servers are told so, SQLite
// does it by itself.
TEST(AddedOrder, EveryStoreIsToldTheOrderRowsWereAddedIn) {
  const std::string ordered[] = {
      "SELECT * FROM DS_FORM_INDUK WHERE (KD_FORM ='F113202' AND TH_PAJAK = 2013)",
      "SELECT * FROM DAT_PARTNER WHERE NPWP_PARTNER IN (SELECT NPWP FROM DAT_PROFILE)",
      "SELECT * FROM DATSSP WHERE NTPP = 'ORDER BY; GROUP BY' ",
      "select a.NPWP from dat_profile a"};
  for (const std::string& sql : ordered) {
    EXPECT_EQ(inAddedOrder(sql, Dialect::SQLite), sql + " ORDER BY rowid");
    EXPECT_EQ(inAddedOrder(sql, Dialect::PostgreSQL), sql + " ORDER BY KORVANE_ROW");
    EXPECT_EQ(inAddedOrder(sql, Dialect::MariaDB), sql + " ORDER BY KORVANE_ROW");
  }
  const std::string leftAlone[] = {
      // Ordered already, aggregates, groups, several tables, no table or no query.
      "SELECT * FROM SETTING_TARIF_PPH WHERE PASAL = 22 ORDER BY ITEM_PENGHASILAN",
      "SELECT MAX(JENIS_DOKUMEN) AS NewKdPjk FROM DAT_SSP_PPh22",
      "SELECT (COUNT(*) + 1) AS N FROM DATSSP", "SELECT DISTINCT MS_PAJAK FROM DS_FORM_INDUK",
      "SELECT KD_FORM FROM LAMPIRAN_SSP_PPh22 GROUP BY KD_FORM",
      "SELECT * FROM DS_FORM_INDUK INNER JOIN DS_REF_JENIS_PAJAK ON A = B",
      "SELECT * FROM DS_FORM_INDUK a, DS_REF_JENIS_PAJAK b WHERE a.X = b.X",
      "SELECT * FROM DS_FORM_INDUK UNION SELECT * FROM DAT_SSP_PPh22",
      "SELECT NPWP FROM DS_FORM_INDUK UNION ALL SELECT NPWP FROM DATSSP",
      "SELECT * FROM NO_SUCH_TABLE", "SELECT 1", "DELETE FROM DATSSP WHERE NPWP = '1'",
      // Not understood.
      "SELECT * FROM DATSSP WHERE NTPP = 'x", "SELECT * FROM DATSSP WHERE (NTPP = 'x'"};
  for (const std::string& sql : leftAlone) {
    for (Dialect dialect : kAllDialects) EXPECT_EQ(inAddedOrder(sql, dialect), sql);
  }
  EXPECT_EQ(inAddedOrder("SELECT NPWP FROM DAT_PROFILE ; ", Dialect::PostgreSQL),
            "SELECT NPWP FROM DAT_PROFILE ORDER BY KORVANE_ROW ; ");

  // A UNION ALL of whole rows reads each part in order, one after the other.
  const std::string sql =
      "SELECT * FROM DS_FORM_INDUK WHERE KD_FORM IN ('F113303') AND NPWP = '1' UNION ALL "
      "SELECT * FROM DAT_SSP_PPh22 s WHERE KD_FORM IN ('PPh22Impor')";
  EXPECT_EQ(inAddedOrder(sql, Dialect::SQLite),
            "SELECT * FROM (SELECT DS_FORM_INDUK.*, DS_FORM_INDUK.rowid AS KORVANE_ROW, 1 AS "
            "KORVANE_PART FROM DS_FORM_INDUK WHERE KD_FORM IN ('F113303') AND NPWP = '1' UNION "
            "ALL SELECT s.*, s.rowid AS KORVANE_ROW, 2 AS KORVANE_PART FROM DAT_SSP_PPh22 s WHERE "
            "KD_FORM IN ('PPh22Impor')) KORVANE_UNION ORDER BY KORVANE_PART, KORVANE_ROW");
  for (Dialect dialect : {Dialect::PostgreSQL, Dialect::MariaDB}) {
    EXPECT_EQ(inAddedOrder(sql, dialect),
              "SELECT * FROM (SELECT DS_FORM_INDUK.*, 1 AS KORVANE_PART FROM DS_FORM_INDUK WHERE "
              "KD_FORM IN ('F113303') AND NPWP = '1' UNION ALL SELECT s.*, 2 AS KORVANE_PART "
              "FROM DAT_SSP_PPh22 s WHERE KD_FORM IN ('PPh22Impor')) KORVANE_UNION ORDER BY "
              "KORVANE_PART, KORVANE_ROW")
        << dialectName(dialect);
  }
}

}  // namespace
}  // namespace korvane::store
