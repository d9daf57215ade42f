// What a host sees of the store itself, the same on every store the tests run on (the embedded
// file, SQLite through ODBC, PostgreSQL, MariaDB: KORVANE_TEST_STORE): text comparison, values
// and their types, names, and writing back.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "korvane/store/error.hpp"
#include "korvane/store/recordset.hpp"
#include "support/store_fixture.hpp"

namespace korvane::testing {
namespace {

class StoreBehaviourTest : public StoreTest {
 protected:
  void insertPartner(const std::string& npwp, const std::string& name) {
    exec("INSERT INTO DAT_PARTNER VALUES ('" + npwp + "', '" + name + "', 'JAKARTA')");
  }
  std::vector<std::string> names(const std::string& sql) {
    std::vector<std::string> out;
    for (auto rs = query(sql); !rs->EndOfFile(); rs->MoveNext()) {
      out.push_back(rs->Fields(std::size_t{0}).Value().text());
    }
    return out;
  }
  void insertPayment() {
    exec("INSERT INTO DATSSP VALUES ('" + std::string(kNpwp) +
         "', 5, 2013, '411122', '100', DATEVALUE('31/05/2013'), 'N1', 1500.5, 'F113202', 0, 22)");
  }
};

TEST_F(StoreBehaviourTest, TextComparesCaseSensitivelyAndBlanksCount) {
  insertPartner("01", "PT ANGIN");
  insertPartner("02", "pt angin");
  insertPartner("03", "PT ANGIN ");
  EXPECT_EQ(names("SELECT NPWP_PARTNER FROM DAT_PARTNER WHERE NAMA_PARTNER = 'PT ANGIN'"),
            std::vector<std::string>{"01"});
  EXPECT_EQ(names("SELECT NPWP_PARTNER FROM DAT_PARTNER WHERE NAMA_PARTNER LIKE 'PT%' "
                  "ORDER BY NPWP_PARTNER"),
            (std::vector<std::string>{"01", "03"}));
  EXPECT_EQ(names("SELECT NPWP_PARTNER FROM DAT_PARTNER WHERE NAMA_PARTNER LIKE '%angin'"),
            std::vector<std::string>{"02"});
}

TEST_F(StoreBehaviourTest, TextSortsAndTakesItsMaximumByteByByte) {
  for (const char* code : {"07", "9", "12", "b", "B", "a"}) {
    exec(std::string("INSERT INTO DAT_SSP_PPh22 VALUES ('1', 'D113202', '") + code +
         "', 5, 2013, 0, '-', '112', 'x', '31/05/2013', '')");
  }
  EXPECT_EQ(scalar("SELECT MAX(JENIS_DOKUMEN) AS NewKdPjk FROM DAT_SSP_PPh22 WHERE "
                   "KD_FORM = 'D113202' AND JENIS_DOKUMEN < 'A'")
                .text(),
            "9");
  EXPECT_EQ(names("SELECT JENIS_DOKUMEN FROM DAT_SSP_PPh22 ORDER BY JENIS_DOKUMEN"),
            (std::vector<std::string>{"07", "12", "9", "B", "a", "b"}));
}

TEST_F(StoreBehaviourTest, BackslashesAndOtherTextAreStoredAsWritten) {
  const std::string address = "C:\\DATA\\n \xC3\xA9\xE2\x82\xAC \"x\" %_";
  exec("INSERT INTO DAT_PARTNER VALUES ('01', 'PT A', '" + address + "')");
  EXPECT_EQ(scalar("SELECT ALAMAT_PARTNER FROM DAT_PARTNER").text(), address);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_PARTNER WHERE ALAMAT_PARTNER LIKE '%:\\DATA\\n %'"), 1);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_PARTNER WHERE ALAMAT_PARTNER LIKE '%:\\DATA\\N %'"), 0);
}

TEST_F(StoreBehaviourTest, LongPackedTextsComeBackWhole) {
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

TEST_F(StoreBehaviourTest, ValuesComeBackWithTheirTypes) {
  insertPayment();
  exec("INSERT INTO DATSSP (NPWP) VALUES ('2')");
  auto rs = query("SELECT * FROM DATSSP ORDER BY NPWP");
  EXPECT_EQ(rs->Fields("NPWP").Value().type(), VariantType::String);
  EXPECT_EQ(rs->Fields("MSPJK").Value().type(), VariantType::Long);
  EXPECT_EQ(rs->Fields("MSPJK").Value().toDouble(), 5);
  EXPECT_EQ(rs->Fields("JMLBYR").Value().type(), VariantType::Double);
  EXPECT_EQ(rs->Fields("JMLBYR").Value().toDouble(), 1500.5);
  EXPECT_EQ(rs->Fields("TGLSSP").Value().type(), VariantType::Date);
  EXPECT_EQ(rs->Fields("TGLSSP").Value().toDate(), Date(2013, 5, 31));
  rs->MoveNext();
  EXPECT_TRUE(rs->Fields("MSPJK").Value().isNull());
  EXPECT_TRUE(rs->Fields("TGLSSP").Value().isNull());
  EXPECT_TRUE(rs->Fields("KDMAP").Value().isNull());
  EXPECT_EQ(count("SELECT COUNT(*) FROM DATSSP"), 2);
  EXPECT_EQ(scalar("SELECT SUM(MSPJK) AS S FROM DATSSP").toDouble(), 5);
}

TEST_F(StoreBehaviourTest, ColumnsAreNamedAsTheSchemaOrTheStatementSpellsThem) {
  EXPECT_EQ(query("SELECT * FROM datssp")->columnNames(),
            (std::vector<std::string>{"NPWP", "MSPJK", "THPJK", "KDMAP", "KDJNSSTR", "TGLSSP",
                                      "NTPP", "JMLBYR", "KdJnsForm", "KdPmbtln", "KODEPASAL"}));
  EXPECT_EQ(query("SELECT MAX(JENIS_DOKUMEN) AS NewKdPjk FROM DAT_SSP_PPh22")->columnNames(),
            std::vector<std::string>{"NewKdPjk"});
}

TEST_F(StoreBehaviourTest, DatesCompareThroughDateValue) {
  insertPayment();
  EXPECT_EQ(count("SELECT COUNT(*) FROM datSSP WHERE TGLSSP = DATEVALUE('31/05/2013')"), 1);
  EXPECT_EQ(count("SELECT COUNT(*) FROM datSSP WHERE TGLSSP < DATEVALUE('1/6/2013')"), 1);
  EXPECT_EQ(count("SELECT COUNT(*) FROM datSSP WHERE TGLSSP > DATEVALUE('31/05/2013')"), 0);
  exec("DELETE * FROM datSSP WHERE TGLSSP = DATEVALUE('31/05/2013')");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DATSSP"), 0);
}

TEST_F(StoreBehaviourTest, ShortValueListsFillTheLeadingColumns) {
  exec(
      "INSERT INTO DAT_SSP_PPh22 VALUES ('1', 'D113202', '07', 5, 2013, 0, '-', '112', "
      "'x;0', '31/05/2013', '')");
  auto rs = query("SELECT * FROM DAT_SSP_PPh22");
  EXPECT_EQ(rs->Fields("TGL_UBAH").Value().type(), VariantType::String);
  EXPECT_EQ(rs->Fields("TGL_UBAH").Value().text(), "");
  EXPECT_TRUE(rs->Fields("NIP").Value().isNull());
}

// What a recordset writes back is stored as its column holds it, whatever the value's type.
TEST_F(StoreBehaviourTest, WrittenValuesTakeTheTypeOfTheirColumn) {
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
  rs->UpdateBatch();

  auto stored = query("SELECT * FROM DATSSP");
  EXPECT_EQ(stored->Fields("NPWP").Value().text(), "12345");
  EXPECT_EQ(stored->Fields("MSPJK").Value().type(), VariantType::Long);
  EXPECT_EQ(stored->Fields("MSPJK").Value().toDouble(), 5);
  EXPECT_EQ(stored->Fields("KDMAP").Value().text(), "31/05/2013");
  EXPECT_EQ(stored->Fields("TGLSSP").Value().toDate(), Date(2013, 5, 31));
  EXPECT_EQ(stored->Fields("NTPP").Value().text(), "True");
  EXPECT_EQ(stored->Fields("JMLBYR").Value().type(), VariantType::Double);
  EXPECT_EQ(stored->Fields("JMLBYR").Value().toDouble(), 0);
  EXPECT_EQ(stored->Fields("KdJnsForm").Value().text(), "");
  EXPECT_FALSE(stored->Fields("KdJnsForm").Value().isNull());
  EXPECT_TRUE(stored->Fields("KdPmbtln").Value().isNull());
  EXPECT_EQ(stored->Fields("KODEPASAL").Value().toDouble(), -1);
}

// Written numbers keep 15 significant digits, as statements and packed texts write them; what
// was written then reads back alike on every store and the row is found again by its values.
TEST_F(StoreBehaviourTest, AmountsAreStoredWithFifteenSignificantDigits) {
  {
    auto rs = query("SELECT * FROM DATSSP");
    rs->AddNew();
    rs->Fields("NPWP").Value(kNpwp);
    rs->Fields("JMLBYR").Value(0.1 + 0.2);
    rs->Fields("KDJNSSTR").Value(Variant(1234567890.12345));
    rs->UpdateBatch();
  }
  auto rs = query("SELECT * FROM DATSSP");
  EXPECT_EQ(rs->Fields("JMLBYR").Value().toDouble(), 0.3);
  EXPECT_EQ(rs->Fields("KDJNSSTR").Value().text(), "1234567890.12345");
  rs->Fields("NTPP").Value("N2");
  rs->UpdateBatch();
  EXPECT_EQ(scalar("SELECT NTPP FROM DATSSP").text(), "N2");
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
  }
}

}  // namespace
}  // namespace korvane::testing
