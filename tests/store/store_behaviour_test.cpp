// What a host sees of the store itself, the same on every store the tests run on (the embedded
// file, SQLite through ODBC, PostgreSQL, MariaDB: KORVANE_TEST_STORE): text comparison, values
// and their types, names, the dialect, and writing back.
#include <gtest/gtest.h>

#include "support/store_fixture.hpp"

namespace korvane::testing {
namespace {

using Texts = std::vector<std::string>;

class StoreBehaviourTest : public StoreTest {
 protected:
  Texts names(const std::string& sql) {
    Texts out;
    for (auto rs = query(sql); !rs->EndOfFile(); rs->MoveNext()) {
      out.push_back(rs->Fields(std::size_t{0}).Value().text());
    }
    return out;
  }
  void insertPayment(const char* ntpp, const char* date) {
    exec("INSERT INTO DATSSP VALUES ('" + std::string(kNpwp) + "', 5, 2013, '411122', '100', " +
         "DATEVALUE('" + date + "'), '" + ntpp + "', 1500.5, 'F113202', 0, 22)");
  }
};

TEST_F(StoreBehaviourTest, TextComparesCaseSensitivelyAndBlanksCount) {
  for (const char* partner : {"'01', 'PT ANGIN'", "'02', 'pt angin'", "'03', 'PT ANGIN '"}) {
    exec(std::string("INSERT INTO DAT_PARTNER VALUES (") + partner + ", 'JAKARTA')");
  }
  const std::string select = "SELECT NPWP_PARTNER FROM DAT_PARTNER WHERE NAMA_PARTNER ";
  EXPECT_EQ(names(select + "= 'PT ANGIN'"), Texts{"01"});
  EXPECT_EQ(names(select + "LIKE 'PT%' ORDER BY NPWP_PARTNER"), (Texts{"01", "03"}));
  EXPECT_EQ(names(select + "LIKE '%angin'"), Texts{"02"});
}

TEST_F(StoreBehaviourTest, TextSortsAndTakesItsMaximumByteByByteAndShortListsFillTheLead) {
  for (const char* code : {"07", "9", "12", "b", "B", "a"}) {
    exec(std::string("INSERT INTO DAT_SSP_PPh22 VALUES ('1', 'D113202', '") + code +
         "', 5, 2013, 0, '-', '112', 'x', '31/05/2013', '')");
  }
  EXPECT_EQ(scalar("SELECT MAX(JENIS_DOKUMEN) AS NewKdPjk FROM DAT_SSP_PPh22 WHERE "
                   "KD_FORM = 'D113202' AND JENIS_DOKUMEN < 'A'")
                .text(),
            "9");
  EXPECT_EQ(names("SELECT JENIS_DOKUMEN FROM DAT_SSP_PPh22 ORDER BY JENIS_DOKUMEN"),
            (Texts{"07", "12", "9", "B", "a", "b"}));
  // The value list is one short of the columns: the last is left unset.
  auto rs = query("SELECT * FROM DAT_SSP_PPh22");
  EXPECT_EQ(rs->Fields("TGL_UBAH").Value().type(), VariantType::String);
  EXPECT_EQ(rs->Fields("TGL_UBAH").Value().text(), "");
  EXPECT_TRUE(rs->Fields("NIP").Value().isNull());
}

TEST_F(StoreBehaviourTest, BackslashesOtherTextAndLongPackedTextsAreStoredAsWritten) {
  const std::string address = "C:\\DATA\\n \xC3\xA9\xE2\x82\xAC \"x\" %_";
  exec("INSERT INTO DAT_PARTNER VALUES ('01', 'PT A', '" + address + "')");
  EXPECT_EQ(scalar("SELECT ALAMAT_PARTNER FROM DAT_PARTNER").text(), address);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_PARTNER WHERE ALAMAT_PARTNER LIKE '%:\\DATA\\n %'"), 1);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_PARTNER WHERE ALAMAT_PARTNER LIKE '%:\\DATA\\N %'"), 0);

  std::string text;
  // Read in pieces: some pieces end inside a two-byte character.
  for (int i = 0; text.size() < 70000; ++i) text += std::to_string(i) + (i % 3 ? ";" : "\xC3\xA9;");
  exec("INSERT INTO DS_FORM_LAMPIRAN VALUES ('D113204', 5, 2013, 0, 0, 1, 'X', '" + text + "')");
  EXPECT_EQ(scalar("SELECT DAT_FORM FROM DS_FORM_LAMPIRAN").text(), text);
  auto rs = query("SELECT * FROM DS_FORM_LAMPIRAN");
  rs->Fields("DAT_FORM").Value(text + "end;");
  rs->UpdateBatch();
  EXPECT_EQ(scalar("SELECT DAT_FORM FROM DS_FORM_LAMPIRAN").text(), text + "end;");
}

TEST_F(StoreBehaviourTest, ValuesComeBackWithTheirTypesUnderTheNamesTheSchemaSpells) {
  insertPayment("N1", "31/05/2013");
  exec("INSERT INTO DATSSP (NPWP) VALUES ('2')");
  auto rs = query("SELECT * FROM datssp ORDER BY NPWP");
  EXPECT_EQ(rs->columnNames(), (Texts{"NPWP", "MSPJK", "THPJK", "KDMAP", "KDJNSSTR", "TGLSSP",
                                      "NTPP", "JMLBYR", "KdJnsForm", "KdPmbtln", "KODEPASAL"}));
  EXPECT_EQ(rs->Fields("NPWP").Value().type(), VariantType::String);
  EXPECT_EQ(rs->Fields("MSPJK").Value().type(), VariantType::Long);
  EXPECT_EQ(rs->Fields("MSPJK").Value().toDouble(), 5);
  EXPECT_EQ(rs->Fields("JMLBYR").Value().type(), VariantType::Double);
  EXPECT_EQ(rs->Fields("JMLBYR").Value().toDouble(), 1500.5);
  EXPECT_EQ(rs->Fields("TGLSSP").Value().type(), VariantType::Date);
  EXPECT_EQ(rs->Fields("TGLSSP").Value().toDate(), Date(2013, 5, 31));
  rs->MoveNext();
  for (const char* column : {"MSPJK", "TGLSSP", "KDMAP"}) {
    EXPECT_TRUE(rs->Fields(column).Value().isNull()) << column;
  }
  EXPECT_EQ(scalar("SELECT SUM(MSPJK) AS S FROM DATSSP").toDouble(), 5);
  // A statement's own name for a column is kept as it spells it.
  EXPECT_EQ(query("SELECT MAX(JENIS_DOKUMEN) AS NewKdPjk FROM DAT_SSP_PPh22")->columnNames(),
            Texts{"NewKdPjk"});
}

// The statements are written in the components' dialect; every store runs them.
TEST_F(StoreBehaviourTest, DatesCompareThroughDateValueAndDeleteStarRuns) {
  insertPayment("N1", "31/05/2013");
  insertPayment("N2", "1/7/2013");
  const std::string select = "SELECT NTPP FROM datSSP WHERE TGLSSP ";
  EXPECT_EQ(names(select + "= DATEVALUE('31/05/2013')"), Texts{"N1"});
  EXPECT_EQ(names(select + "< DATEVALUE('1/6/2013')"), Texts{"N1"});
  EXPECT_EQ(names(select + "> DATEVALUE('31/05/2013')"), Texts{"N2"});
  exec("DELETE * FROM datSSP WHERE TGLSSP = DATEVALUE('31/05/2013')");
  EXPECT_EQ(names("SELECT NTPP FROM DATSSP"), Texts{"N2"});
  exec("DELETE * FROM DATSSP");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DATSSP"), 0);
}

// What a recordset writes back is stored as its column holds it, whatever the value's type.
// Written numbers keep 15 significant digits, as statements and packed texts write them; what
// was written then reads back alike on every store and the row is found again by its values.
TEST_F(StoreBehaviourTest, WrittenValuesTakeTheTypeOfTheirColumnAndAmountsFifteenDigits) {
  auto rs = query("SELECT * FROM datSSP");
  rs->AddNew();
  rs->Fields("NPWP").Value(Variant(12345));
  rs->Fields("MSPJK").Value("5");
  rs->Fields("THPJK").Value(Variant(std::int16_t{2013}));
  rs->Fields("KDMAP").Value(Variant(Date(2013, 5, 31)));
  rs->Fields("TGLSSP").Value("31/05/2013");
  rs->Fields("NTPP").Value(Variant(true));
  rs->Fields("JMLBYR").Value("0.00");
  rs->Fields("KdJnsForm").Value("");
  rs->Fields("KdPmbtln").Value("");
  rs->Fields("KODEPASAL").Value(Variant(true));
  rs->AddNew();
  rs->Fields("NPWP").Value(kNpwp);
  rs->Fields("JMLBYR").Value(0.1 + 0.2);
  rs->Fields("KDJNSSTR").Value(Variant(1234567890.12345));
  rs->UpdateBatch();

  auto stored = query("SELECT * FROM DATSSP ORDER BY NPWP DESC");
  auto value = [&](const char* column) { return stored->Fields(column).Value(); };
  EXPECT_EQ(value("NPWP").text(), "12345");
  EXPECT_EQ(value("MSPJK").type(), VariantType::Long);
  EXPECT_EQ(value("MSPJK").toDouble(), 5);
  EXPECT_EQ(value("KDMAP").text(), "31/05/2013");
  EXPECT_EQ(value("TGLSSP").toDate(), Date(2013, 5, 31));
  EXPECT_EQ(value("NTPP").text(), "True");
  EXPECT_EQ(value("JMLBYR").type(), VariantType::Double);
  EXPECT_EQ(value("JMLBYR").toDouble(), 0);
  EXPECT_EQ(value("KdJnsForm").text(), "");
  EXPECT_FALSE(value("KdJnsForm").isNull());
  EXPECT_TRUE(value("KdPmbtln").isNull());
  EXPECT_EQ(value("KODEPASAL").toDouble(), -1);
  stored->MoveNext();
  EXPECT_EQ(value("JMLBYR").toDouble(), 0.3);
  EXPECT_EQ(value("KDJNSSTR").text(), "1234567890.12345");
  stored->Fields("NTPP").Value("N2");
  stored->UpdateBatch();
  EXPECT_EQ(scalar("SELECT NTPP FROM DATSSP WHERE NPWP = '" + std::string(kNpwp) + "'").text(),
            "N2");
}

// The description is the store's own, on one line, naming a table of the schema as the schema
// spells it.
TEST_F(StoreBehaviourTest, StoreRefusalsCarryTheStoresOwnDescription) {
  exec("DROP TABLE PARTNER_INFO");
  try {
    exec("SELECT * FROM PARTNER_INFO");
    FAIL() << "the store read a table it does not have";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errc::kStoreFailure);
    EXPECT_NE(e.description().find("PARTNER_INFO"), std::string::npos) << e.description();
    EXPECT_EQ(e.description().find('\n'), std::string::npos);
    if (embeddedStore()) {
      EXPECT_EQ(e.description(), "no such table: PARTNER_INFO");
    }
  }
}

}  // namespace
// Inserts of plain literals run through one prepared text with the values bound; what they
// store, and how they fail, must not tell the two ways apart.
TEST_F(StoreBehaviourTest, InsertedLiteralsStoreWhatTheyWriteHoweverTheyRun) {
  struct Case {
    const char* values;  // after KD_FORM, MS_PAJAK, TH_PAJAK
    const char* seq;     // SEQ read back as text
    const char* text;    // DAT_FORM read back as text ("<null>" for Null)
  };
  std::vector<Case> cases = {
      {"0, -7, 1.5, 'N1', 'it''s; \\x ?'", "1.5", "it's; \\x ?"},
      {"0, 007, 2, 'N2', NULL", "2", "<null>"},
      {"0, 1, 1E+3, 'N3', ''", "1000", ""},
      {"0, 1, 12345678901234567890, 'N4', 'a'", "1.23456789012346E+19", "a"},
      {"0, 1, -(3), 'N5', 'VALUES (1)'", "-3", "VALUES (1)"},
  };
  if (storeKind() == TestStore::Embedded || storeKind() == TestStore::OdbcSqlite) {
    cases.push_back({"0, 1, 4, 'N6', CAST(X'414243' AS TEXT)", "4", "ABC"});  // a blob literal
  }
  for (const auto& c : cases) {
    SCOPED_TRACE(c.values);
    exec(std::string("INSERT INTO DS_FORM_LAMPIRAN VALUES ( 'D113204', 5, 2013, ") + c.values +
         " )");
  }
  auto rs = query("SELECT * FROM DS_FORM_LAMPIRAN ORDER BY NOBUKTI");
  for (const auto& c : cases) {
    SCOPED_TRACE(c.values);
    ASSERT_FALSE(rs->EndOfFile());
    EXPECT_EQ(rs->Fields("SEQ").Value().text(), c.seq);
    const Variant text = rs->Fields("DAT_FORM").Value();
    EXPECT_EQ(text.isNull() ? "<null>" : text.text(), c.text);
    rs->MoveNext();
  }
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN WHERE COLLNO = -7"), 1);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN WHERE COLLNO = 7"), 1);

  // A failing insert fails with the store's words for the statement as written.
  try {
    exec("INSERT INTO DS_FORM_LAMPIRAN VALUES ('D113204', 5, 2013, 0, 1, 1, 'N6', 'a', 'b')");
    ADD_FAILURE() << "the long insert ran";
  } catch (const Error& e) {
    if (embeddedStore()) {
      EXPECT_EQ(std::string(e.what()),
                "table DS_FORM_LAMPIRAN has 8 columns but 9 values were supplied");
    }
  }
}

}  // namespace korvane::testing
