#include "korvane/store/dialect.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

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
    // Found by fuzzing: a date's quotes right against another literal's read as escaped quotes.
    {"DateValueRightAgainstLiterals", "X IN ('a'DATEVALUE('1/2/2013')'b')",
     "X IN ('a' '2013-02-01' 'b')", "X IN ('a'DATE '2013-02-01' 'b')"},
    {"DateValuesSideBySide", "DATEVALUE('1/6/2013')datevalue('3/6/2013')",
     "'2013-06-01' '2013-06-03'", "DATE '2013-06-01'DATE '2013-06-03'"},

    // A backslash in a LIKE pattern is itself on every store: the servers' LIKE takes it as
    // the escape character unless it is doubled.
    {"LikePatternWithBackslash",
     "SELECT * FROM DAT_PARTNER WHERE ALAMAT_PARTNER LIKE '%C:\\DATA;%'",
     "SELECT * FROM DAT_PARTNER WHERE ALAMAT_PARTNER LIKE '%C:\\DATA;%'",
     "SELECT * FROM DAT_PARTNER WHERE ALAMAT_PARTNER LIKE '%C:\\\\DATA;%'"},
    {"NotLikeAnyCaseWithBackslashes", "X not like 'a\\b\\' AND Y LIKE 'c'",
     "X not like 'a\\b\\' AND Y LIKE 'c'", "X not like 'a\\\\b\\\\' AND Y LIKE 'c'"},
    {"BackslashOutsideLikeLeftAlone",
     "UPDATE DAT_PARTNER SET ALAMAT_PARTNER = 'C:\\DATA' WHERE A = 'x\\'",
     "UPDATE DAT_PARTNER SET ALAMAT_PARTNER = 'C:\\DATA' WHERE A = 'x\\'",
     "UPDATE DAT_PARTNER SET ALAMAT_PARTNER = 'C:\\DATA' WHERE A = 'x\\'"},
    {"LikeOfAColumnLeftAlone", "SELECT * FROM T WHERE A LIKE B", "SELECT * FROM T WHERE A LIKE B",
     "SELECT * FROM T WHERE A LIKE B"},

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

// Found by fuzzing: each INSERT once rescanned the rest of the statement for its closing
// parenthesis, so many unclosed value lists took quadratic time.
TEST(Translate, ManyUnclosedValueListsComeBackUnchanged) {
  std::string sql;
  for (int i = 0; i < 5000; ++i) sql += "INSERT INTO DATSSP VALUES (";
  for (Dialect dialect : kAllDialects) EXPECT_EQ(translate(sql, dialect), sql);
}

TEST(Translate, NestedValueListsEachGetTheirColumns) {
  EXPECT_EQ(translate("INSERT INTO DATSSP VALUES ('a', (1), INSERT INTO BURSA VALUES ('b'))",
                      Dialect::SQLite),
            "INSERT INTO DATSSP (NPWP, MSPJK, THPJK) VALUES ('a', (1), INSERT INTO BURSA "
            "(KODE_BURSA) VALUES ('b'))");
}

// Column names as a store returned them, and as the host sees them: PostgreSQL's folded names
// take the statement's or the schema's spelling, the other stores' are left as they are.
struct RespellCase {
  const char* name;
  std::string sql;
  std::vector<std::string> returned;  // by PostgreSQL
  std::vector<std::string> onPostgres;
};

const RespellCase kRespellCases[] = {
    {"SchemaSpellingForStar",
     "SELECT * FROM DATSSP",
     {"npwp", "mspjk", "kdjnsform", "kdpmbtln"},
     {"NPWP", "MSPJK", "KdJnsForm", "KdPmbtln"}},
    {"AliasAsWritten",
     "SELECT MAX(JENIS_DOKUMEN) AS NewKdPjk FROM DAT_SSP_PPh22",
     {"newkdpjk"},
     {"NewKdPjk"}},
    {"SelectListSpellingBeforeSchema",
     "SELECT npwp, Kd_Form FROM DS_FORM_INDUK",
     {"npwp", "kd_form"},
     {"npwp", "Kd_Form"}},
    {"FunctionNameWithoutAlias", "SELECT COUNT(*) FROM DAT_PROFILE", {"count"}, {"COUNT"}},
    {"WordsAfterFromDoNotCount",
     "SELECT * FROM DAT_PARTNER WHERE nama_partner = 'x'",
     {"npwp_partner", "nama_partner"},
     {"NPWP_PARTNER", "NAMA_PARTNER"}},
    {"SubqueryFromDoesNotEndTheList",
     "SELECT (SELECT MAX(SEQ) FROM LAMPIRAN_SSP_PPh22) AS MaxSeq, KdJnsForm FROM DATSSP",
     {"maxseq", "kdjnsform"},
     {"MaxSeq", "KdJnsForm"}},
    {"UnknownNameLeftAsReturned", "SELECT 1 AS \"Mixed\"", {"Mixed", "other"}, {"Mixed", "other"}},
    {"LiteralsDoNotCount", "SELECT 'AbC' AS abc FROM T", {"abc"}, {"abc"}},
};

class RespellColumnsTest : public testing::TestWithParam<RespellCase> {};

TEST_P(RespellColumnsTest, GivesTheNamesTheHostSees) {
  const RespellCase& c = GetParam();
  std::vector<std::string> columns = c.returned;
  respellColumns(c.sql, Dialect::PostgreSQL, columns);
  EXPECT_EQ(columns, c.onPostgres);
  for (Dialect dialect : {Dialect::SQLite, Dialect::MariaDB}) {
    columns = c.returned;
    respellColumns(c.sql, dialect, columns);
    EXPECT_EQ(columns, c.returned) << dialectName(dialect);
  }
}

INSTANTIATE_TEST_SUITE_P(Names, RespellColumnsTest, testing::ValuesIn(kRespellCases),
                         [](const testing::TestParamInfo<RespellCase>& row) {
                           return std::string(row.param.name);
                         });

// Queries of one table read rows in the order they were added: the servers are told so, SQLite
// does it by itself.
struct AddedOrderCase {
  const char* name;
  std::string sql;
  bool ordered;  // on the servers
};

const AddedOrderCase kAddedOrderCases[] = {
    {"OneTable", "SELECT * FROM DS_FORM_INDUK WHERE (KD_FORM ='F113202' AND TH_PAJAK = 2013)",
     true},
    {"TableWithAliasAnyCase", "select a.NPWP from dat_profile a", true},
    {"SubqueryInTheCondition",
     "SELECT * FROM DAT_PARTNER WHERE NPWP_PARTNER IN (SELECT NPWP FROM DAT_PROFILE)", true},
    {"KeywordsInsideLiterals", "SELECT * FROM DATSSP WHERE NTPP = 'ORDER BY; GROUP BY' ", true},
    {"AlreadyOrdered", "SELECT * FROM SETTING_TARIF_PPH WHERE PASAL = 22 ORDER BY ITEM_PENGHASILAN",
     false},
    {"Aggregate", "SELECT MAX(JENIS_DOKUMEN) AS NewKdPjk FROM DAT_SSP_PPh22", false},
    {"CountInsideAnExpression", "SELECT (COUNT(*) + 1) AS N FROM DATSSP", false},
    {"Grouped", "SELECT KD_FORM FROM LAMPIRAN_SSP_PPh22 GROUP BY KD_FORM", false},
    {"Distinct", "SELECT DISTINCT MS_PAJAK FROM DS_FORM_INDUK", false},
    {"Join", "SELECT * FROM DS_FORM_INDUK INNER JOIN DS_REF_JENIS_PAJAK ON A = B", false},
    {"TwoTables", "SELECT * FROM DS_FORM_INDUK a, DS_REF_JENIS_PAJAK b WHERE a.X = b.X", false},
    {"UnionRemovingDuplicates", "SELECT * FROM DS_FORM_INDUK UNION SELECT * FROM DAT_SSP_PPh22",
     false},
    {"UnionAllOfAColumn", "SELECT NPWP FROM DS_FORM_INDUK UNION ALL SELECT NPWP FROM DATSSP",
     false},
    {"UnknownTable", "SELECT * FROM NO_SUCH_TABLE", false},
    {"NoTable", "SELECT 1", false},
    {"NotAQuery", "DELETE FROM DATSSP WHERE NPWP = '1'", false},
    {"UnclosedLiteral", "SELECT * FROM DATSSP WHERE NTPP = 'x", false},
    {"UnbalancedParenthesis", "SELECT * FROM DATSSP WHERE (NTPP = 'x'", false},
};

class AddedOrderTest : public testing::TestWithParam<AddedOrderCase> {};

TEST_P(AddedOrderTest, EveryStoreIsToldTheOrderRowsWereAddedIn) {
  const AddedOrderCase& c = GetParam();
  const std::string ordered = c.sql + " ORDER BY KORVANE_ROW";
  EXPECT_EQ(inAddedOrder(c.sql, Dialect::SQLite), c.ordered ? c.sql + " ORDER BY rowid" : c.sql);
  EXPECT_EQ(inAddedOrder(c.sql, Dialect::PostgreSQL), c.ordered ? ordered : c.sql);
  EXPECT_EQ(inAddedOrder(c.sql, Dialect::MariaDB), c.ordered ? ordered : c.sql);
}

INSTANTIATE_TEST_SUITE_P(Queries, AddedOrderTest, testing::ValuesIn(kAddedOrderCases),
                         [](const testing::TestParamInfo<AddedOrderCase>& row) {
                           return std::string(row.param.name);
                         });

TEST(AddedOrder, UnionAllOfWholeRowsReadsEachPartInOrderOneAfterTheOther) {
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

TEST(AddedOrder, GoesBeforeAClosingSemicolon) {
  EXPECT_EQ(inAddedOrder("SELECT NPWP FROM DAT_PROFILE ; ", Dialect::PostgreSQL),
            "SELECT NPWP FROM DAT_PROFILE ORDER BY KORVANE_ROW ; ");
}

TEST(DialectName, NamesEachStore) {
  EXPECT_STREQ(dialectName(Dialect::SQLite), "SQLite");
  EXPECT_STREQ(dialectName(Dialect::PostgreSQL), "PostgreSQL");
  EXPECT_STREQ(dialectName(Dialect::MariaDB), "MariaDB");
}

}  // namespace
}  // namespace korvane::store
