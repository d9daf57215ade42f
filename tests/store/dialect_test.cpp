#include "korvane/store/dialect.hpp"

#include <gtest/gtest.h>

#include <string>

namespace korvane::store {
namespace {

constexpr Dialect kAllDialects[] = {Dialect::SQLite, Dialect::PostgreSQL, Dialect::MariaDB};

// One statement as the components write it, and what each store receives. Only dates differ
// between the embedded store and the servers.
struct TranslateCase {
  const char* name;
  std::string sql;
  std::string onSqlite;
  std::string onServers;  // PostgreSQL and MariaDB
};

const TranslateCase kCases[] = {
    // DELETE * FROM
    {"DeleteStar", "DELETE * FROM DS_FORM_INDUK WHERE NPWP = '0123' AND MS_PAJAK = 5",
     "DELETE FROM DS_FORM_INDUK WHERE NPWP = '0123' AND MS_PAJAK = 5",
     "DELETE FROM DS_FORM_INDUK WHERE NPWP = '0123' AND MS_PAJAK = 5"},
    {"DeleteStarAnyCaseAndBlanks", "delete\t*\n  From LAMPIRAN_SSP_PPh22 WHERE (SEQ = 1)",
     "delete From LAMPIRAN_SSP_PPh22 WHERE (SEQ = 1)",
     "delete From LAMPIRAN_SSP_PPh22 WHERE (SEQ = 1)"},
    {"DeleteStarWithoutBlanks", " DELETE*FROM DATSSP", " DELETE FROM DATSSP",
     " DELETE FROM DATSSP"},
    {"DeleteWithoutStar", "DELETE FROM DATSSP WHERE A = 1", "DELETE FROM DATSSP WHERE A = 1",
     "DELETE FROM DATSSP WHERE A = 1"},

    // DATEVALUE
    {"DateValue", "SELECT * FROM DATSSP WHERE TGLSSP = DATEVALUE('31/05/2013')",
     "SELECT * FROM DATSSP WHERE TGLSSP = '2013-05-31'",
     "SELECT * FROM DATSSP WHERE TGLSSP = DATE '2013-05-31'"},
    {"DateValueShortDayAndMonthBlanksAnyCase", "X = datevalue( '1/2/2013' ) AND Y = 1",
     "X = '2013-02-01' AND Y = 1", "X = DATE '2013-02-01' AND Y = 1"},
    {"DateValueLeapDay", "DateValue('29/02/2012')", "'2012-02-29'", "DATE '2012-02-29'"},
    {"DateValueNoLeapDay", "DATEVALUE('29/02/2013')", "DATEVALUE('29/02/2013')",
     "DATEVALUE('29/02/2013')"},
    {"DateValueDayOutOfMonth", "DATEVALUE('31/04/2013')", "DATEVALUE('31/04/2013')",
     "DATEVALUE('31/04/2013')"},
    {"DateValueMonth13", "DATEVALUE('1/13/2013')", "DATEVALUE('1/13/2013')",
     "DATEVALUE('1/13/2013')"},
    {"DateValueDayZero", "DATEVALUE('00/01/2013')", "DATEVALUE('00/01/2013')",
     "DATEVALUE('00/01/2013')"},
    {"DateValueTwoDigitYear", "DATEVALUE('1/1/13')", "DATEVALUE('1/1/13')", "DATEVALUE('1/1/13')"},
    {"DateValueIsoText", "DATEVALUE('2013-05-31')", "DATEVALUE('2013-05-31')",
     "DATEVALUE('2013-05-31')"},
    {"DateValueBlankInsideQuotes", "DATEVALUE(' 1/1/2013')", "DATEVALUE(' 1/1/2013')",
     "DATEVALUE(' 1/1/2013')"},
    {"DateValueEmpty", "DATEVALUE('')", "DATEVALUE('')", "DATEVALUE('')"},
    {"DateValueOfAColumn", "DATEVALUE(TGL_REKAM)", "DATEVALUE(TGL_REKAM)", "DATEVALUE(TGL_REKAM)"},

    // Table spelling
    {"TableSpelling", "SELECT * FROM datSSP WHERE KdJnsForm = 'D113202'",
     "SELECT * FROM DATSSP WHERE KdJnsForm = 'D113202'",
     "SELECT * FROM DATSSP WHERE KdJnsForm = 'D113202'"},
    {"TableSpellingEverywhere", "SELECT a.X FROM ds_form_induk a, dat_ssp_pph22 b",
     "SELECT a.X FROM DS_FORM_INDUK a, DAT_SSP_PPh22 b",
     "SELECT a.X FROM DS_FORM_INDUK a, DAT_SSP_PPh22 b"},
    {"TableNameInsideLongerWord", "SELECT DATSSPX, XDATSSP FROM T",
     "SELECT DATSSPX, XDATSSP FROM T", "SELECT DATSSPX, XDATSSP FROM T"},

    // INSERT without a column list
    {"InsertElevenValues",
     " INSERT INTO DAT_SSP_PPh22 VALUES ('0123', 'D113202' , '07', 5, 2013, 0, '-', '112', "
     "'0123;Nama;Alamat;5;2013;0', '31/05/2013', '')",
     " INSERT INTO DAT_SSP_PPh22 (NPWP, KD_FORM, JENIS_DOKUMEN, MS_PAJAK, TH_PAJAK, "
     "KD_PEMBETULAN_KE, NOBUKTI, KD_JENIS_PAJAK, DAT_FORM, TGL_REKAM, TGL_UBAH) VALUES ('0123', "
     "'D113202' , '07', 5, 2013, 0, '-', '112', '0123;Nama;Alamat;5;2013;0', '31/05/2013', '')",
     " INSERT INTO DAT_SSP_PPh22 (NPWP, KD_FORM, JENIS_DOKUMEN, MS_PAJAK, TH_PAJAK, "
     "KD_PEMBETULAN_KE, NOBUKTI, KD_JENIS_PAJAK, DAT_FORM, TGL_REKAM, TGL_UBAH) VALUES ('0123', "
     "'D113202' , '07', 5, 2013, 0, '-', '112', '0123;Nama;Alamat;5;2013;0', '31/05/2013', '')"},
    {"InsertAnyCaseNoBlankBeforeParenthesis", "insert  into\tdat_ssp_pph22 values('a','b')",
     "insert  into\tDAT_SSP_PPh22 (NPWP, KD_FORM) values('a','b')",
     "insert  into\tDAT_SSP_PPh22 (NPWP, KD_FORM) values('a','b')"},
    {"InsertCountsOnlyTopLevelCommasOutsideLiterals",
     "INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ( 'D113202' , 5, 2013, 0, 0, (1), 'N,1', 'a,b;'';c')",
     "INSERT INTO LAMPIRAN_SSP_PPh22 (KD_FORM, MS_PAJAK, TH_PAJAK, KD_PEMBETULAN_KE, COLLNO, SEQ, "
     "NOBUKTI, DAT_FORM) VALUES ( 'D113202' , 5, 2013, 0, 0, (1), 'N,1', 'a,b;'';c')",
     "INSERT INTO LAMPIRAN_SSP_PPh22 (KD_FORM, MS_PAJAK, TH_PAJAK, KD_PEMBETULAN_KE, COLLNO, SEQ, "
     "NOBUKTI, DAT_FORM) VALUES ( 'D113202' , 5, 2013, 0, 0, (1), 'N,1', 'a,b;'';c')"},
    {"InsertWithDateValue",
     "INSERT INTO datssp VALUES ('0123', 5, 2013, '411122', '100', DATEVALUE('31/05/2013'))",
     "INSERT INTO DATSSP (NPWP, MSPJK, THPJK, KDMAP, KDJNSSTR, TGLSSP) VALUES ('0123', 5, 2013, "
     "'411122', '100', '2013-05-31')",
     "INSERT INTO DATSSP (NPWP, MSPJK, THPJK, KDMAP, KDJNSSTR, TGLSSP) VALUES ('0123', 5, 2013, "
     "'411122', '100', DATE '2013-05-31')"},
    {"InsertWithColumnListLeftAlone",
     "INSERT INTO DATSSP(NPWP,MSPJK,THPJK,KDMAP,KDJNSSTR,TGLSSP,NTPP,JMLBYR,KdJnsForm,KdPmbtln) "
     "VALUES('0123',5,2013,'411122','100','x','N1',1000,'D113202',1)",
     "INSERT INTO DATSSP(NPWP,MSPJK,THPJK,KDMAP,KDJNSSTR,TGLSSP,NTPP,JMLBYR,KdJnsForm,KdPmbtln) "
     "VALUES('0123',5,2013,'411122','100','x','N1',1000,'D113202',1)",
     "INSERT INTO DATSSP(NPWP,MSPJK,THPJK,KDMAP,KDJNSSTR,TGLSSP,NTPP,JMLBYR,KdJnsForm,KdPmbtln) "
     "VALUES('0123',5,2013,'411122','100','x','N1',1000,'D113202',1)"},
    {"InsertMoreValuesThanColumns",
     "INSERT INTO DAT_SSP_PPh22 VALUES (1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13)",
     "INSERT INTO DAT_SSP_PPh22 VALUES (1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13)",
     "INSERT INTO DAT_SSP_PPh22 VALUES (1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13)"},
    {"InsertUnknownTable", "INSERT INTO NO_SUCH_TABLE VALUES (1)",
     "INSERT INTO NO_SUCH_TABLE VALUES (1)", "INSERT INTO NO_SUCH_TABLE VALUES (1)"},
    {"InsertUnclosedValues", "INSERT INTO DATSSP VALUES ('a', 1",
     "INSERT INTO DATSSP VALUES ('a', 1", "INSERT INTO DATSSP VALUES ('a', 1"},
    {"InsertEmptyValues", "INSERT INTO DATSSP VALUES ( )", "INSERT INTO DATSSP VALUES ( )",
     "INSERT INTO DATSSP VALUES ( )"},

    // Literals are never touched
    {"LiteralHoldingDeleteStar", "SELECT 'DELETE * FROM x'", "SELECT 'DELETE * FROM x'",
     "SELECT 'DELETE * FROM x'"},
    {"LiteralsHoldingEveryRule",
     "SELECT * FROM T WHERE A = 'datssp DATEVALUE(''1/1/2013'') INSERT INTO datssp VALUES (1)'",
     "SELECT * FROM T WHERE A = 'datssp DATEVALUE(''1/1/2013'') INSERT INTO datssp VALUES (1)'",
     "SELECT * FROM T WHERE A = 'datssp DATEVALUE(''1/1/2013'') INSERT INTO datssp VALUES (1)'"},
    {"UnclosedLiteral", "SELECT * FROM DATSSP WHERE A = 'datssp",
     "SELECT * FROM DATSSP WHERE A = 'datssp", "SELECT * FROM DATSSP WHERE A = 'datssp"},

    // Nothing to change
    {"NothingToChange",
     "SELECT  MAX(JENIS_DOKUMEN) AS NewKdPjk FROM DAT_SSP_PPh22 \r\n\tWHERE KD_FORM = 'D113202' "
     "AND DAT_FORM LIKE '%Pertamina \xC3\xA9;%' AND MS_PAJAK = 5 ",
     "SELECT  MAX(JENIS_DOKUMEN) AS NewKdPjk FROM DAT_SSP_PPh22 \r\n\tWHERE KD_FORM = 'D113202' "
     "AND DAT_FORM LIKE '%Pertamina \xC3\xA9;%' AND MS_PAJAK = 5 ",
     "SELECT  MAX(JENIS_DOKUMEN) AS NewKdPjk FROM DAT_SSP_PPh22 \r\n\tWHERE KD_FORM = 'D113202' "
     "AND DAT_FORM LIKE '%Pertamina \xC3\xA9;%' AND MS_PAJAK = 5 "},
    {"EmptyStatement", "", "", ""},
};

class TranslateTest : public testing::TestWithParam<TranslateCase> {};

TEST_P(TranslateTest, GivesEachStoreItsStatement) {
  const TranslateCase& c = GetParam();
  for (Dialect dialect : kAllDialects) {
    SCOPED_TRACE(dialectName(dialect));
    const std::string& expected = dialect == Dialect::SQLite ? c.onSqlite : c.onServers;
    EXPECT_EQ(translate(c.sql, dialect), expected);
  }
}

INSTANTIATE_TEST_SUITE_P(Statements, TranslateTest, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<TranslateCase>& row) {
                           return std::string(row.param.name);
                         });

TEST(Translate, StatementsWithNothingToChangeComeBackByteIdentical) {
  const std::string statements[] = {
      "SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE (KD_FORM = 'D113202') AND (COLLNO = 1)",
      "UPDATE DS_FORM_INDUK SET DAT_FORM = 'a;b;;c' WHERE NOBUKTI = '000001/PPH22'",
      std::string("SELECT 1\0 FROM X", 16),
      "  \t\n",
  };
  for (const std::string& sql : statements) {
    for (Dialect dialect : kAllDialects) {
      EXPECT_EQ(translate(sql, dialect), sql);
    }
  }
}

TEST(DialectName, NamesEachStore) {
  EXPECT_STREQ(dialectName(Dialect::SQLite), "SQLite");
  EXPECT_STREQ(dialectName(Dialect::PostgreSQL), "PostgreSQL");
  EXPECT_STREQ(dialectName(Dialect::MariaDB), "MariaDB");
}

}  // namespace
}  // namespace korvane::store
