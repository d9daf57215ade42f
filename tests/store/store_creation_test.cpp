// A new store: every table the components read and write, the reference data it starts with,
// its indexes, and the refusal to overwrite an existing store.
#include "korvane/store/store.hpp"

#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "korvane/store/error.hpp"
#include "korvane/store/schema.hpp"
#include "support/store_fixture.hpp"

namespace korvane::testing {
namespace {

std::string upper(std::string text) {
  for (auto& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

struct TableCase {
  const char* table;
  // The leading columns in insertion order (the components insert without column lists).
  std::vector<std::string> columns;
};

const TableCase kTables[] = {
    {"DS_FORM_INDUK",
     {"NPWP", "KD_FORM", "JENIS_DOKUMEN", "MS_PAJAK", "TH_PAJAK", "KD_PEMBETULAN_KE", "NOBUKTI",
      "KD_JENIS_PAJAK", "DAT_FORM", "TGL_REKAM", "TGL_UBAH", "NIP"}},
    {"DAT_SSP_PPh22",
     {"NPWP", "KD_FORM", "JENIS_DOKUMEN", "MS_PAJAK", "TH_PAJAK", "KD_PEMBETULAN_KE", "NOBUKTI",
      "KD_JENIS_PAJAK", "DAT_FORM", "TGL_REKAM", "TGL_UBAH"}},
    {"DS_FORM_LAMPIRAN",
     {"KD_FORM", "MS_PAJAK", "TH_PAJAK", "KD_PEMBETULAN_KE", "COLLNO", "SEQ", "NOBUKTI",
      "DAT_FORM"}},
    {"LAMPIRAN_SSP_PPh22",
     {"KD_FORM", "MS_PAJAK", "TH_PAJAK", "KD_PEMBETULAN_KE", "COLLNO", "SEQ", "NOBUKTI",
      "DAT_FORM"}},
    {"SETTING_NOBUKTI_PPH", {"PASAL", "NO_URUT", "FORMAT_STRING"}},
    {"SETTING_TARIF_PPH", {}},
    {"JENIS_KOMODITI", {"KODE_KOMODITI", "NAMA_KOMODITI"}},
    {"BURSA", {}},
    {"DAT_PROFILE", {"NPWP", "NAMA_WP_PROFILE"}},
    {"PROFILE", {"NPWP", "NAMA_WP_PROFILE"}},
    {"DS_REF_JENIS_PAJAK", {"KD_JENIS_PAJAK"}},
    {"DAT_PARTNER", {"NPWP_PARTNER", "NAMA_PARTNER", "ALAMAT_PARTNER"}},
    {"PARTNER_INFO", {}},
    {"DATSSP",
     {"NPWP", "MSPJK", "THPJK", "KDMAP", "KDJNSSTR", "TGLSSP", "NTPP", "JMLBYR", "KdJnsForm",
      "KdPmbtln"}},
    {"datPBKPPhMasa", {}},
    {"RefPTKP", {}},
    {"SETTING_UMP_PPH_MASA", {}},
    {"refSchForm", {}},
    {"REF_JASA_PER178_2006", {"KODE_KOMODITI", "NAMA_KOMODITI", "PASAL", "TARIF_NETTO"}},
    {"REF_JASA_PER70_2007", {"KODE_KOMODITI", "NAMA_KOMODITI", "PASAL", "TARIF_NETTO"}},
    {"REF_JASA_PMK244", {"KODE_KOMODITI", "NAMA_KOMODITI", "PASAL", "TARIF_NETTO"}},
};

class StoreCreationTableTest : public StoreTest, public ::testing::WithParamInterface<TableCase> {};

TEST_P(StoreCreationTableTest, TableExistsWithItsColumnsInOrder) {
  auto rs = query(std::string("SELECT * FROM ") + GetParam().table);
  ASSERT_TRUE(rs);
  const auto& expected = GetParam().columns;
  ASSERT_GE(rs->columnCount(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(upper(rs->columnNames()[i]), upper(expected[i])) << "column " << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Tables, StoreCreationTableTest, ::testing::ValuesIn(kTables),
                         [](const auto& param) { return std::string(param.param.table); });

class StoreCreationTest : public StoreTest {};

TEST_F(StoreCreationTest, EveryTableOfTheSchemaIsThere) {
  for (const auto& table : store::tables()) {
    SCOPED_TRACE(std::string(table.name));
    auto rs = query("SELECT * FROM " + std::string(table.name));
    EXPECT_EQ(rs->columnCount(), table.columns.size());
  }
  // The components name every table they use; the test list above covers the same ones.
  EXPECT_EQ(store::tables().size(), std::size(kTables));
}

TEST_F(StoreCreationTest, DocumentKindsOfTheReturnAreThere) {
  auto kinds =
      query("SELECT * FROM DS_REF_JENIS_PAJAK WHERE KD_JENIS_PAJAK = '112' ORDER BY KD_DOK_SPT");
  ASSERT_EQ(kinds->RecordCount(), 14);
  for (int code = 1; code <= 14; ++code) {
    char expected[3] = {static_cast<char>('0' + code / 10), static_cast<char>('0' + code % 10)};
    EXPECT_EQ(kinds->Fields("KD_DOK_SPT").Value().text(), expected);
    EXPECT_FALSE(kinds->Fields("URAIAN").Value().text().empty());
    kinds->MoveNext();
  }
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_REF_JENIS_PAJAK"), 14);
  EXPECT_EQ(scalar("SELECT URAIAN FROM DS_REF_JENIS_PAJAK WHERE KD_DOK_SPT = '01'").text(),
            "SPT Masa PPh Pasal 22");
}

struct RateCase {
  const char* form;
  const char* item;
  double rate;
};

TEST_F(StoreCreationTest, ArticleTwentyTwoRatesAreThere) {
  const RateCase rates[] = {
      {"F113303", "B3a4", 2.5}, {"F113303", "B3b4", 7.5}, {"F113305", "B2", 1.5}};
  for (const auto& r : rates) {
    SCOPED_TRACE(std::string(r.form) + " " + r.item);
    auto rs = query(std::string("SELECT * FROM SETTING_TARIF_PPH WHERE PASAL = 22 AND "
                                "KODE_FORM = '") +
                    r.form + "' AND ITEM_PENGHASILAN = '" + r.item + "'");
    ASSERT_EQ(rs->RecordCount(), 1);
    EXPECT_EQ(rs->Fields("TARIF_JML_BRUTO").Value().toDouble(), r.rate);
  }
  EXPECT_GT(count("SELECT COUNT(*) FROM SETTING_TARIF_PPH"), 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM SETTING_TARIF_PPH WHERE PASAL <> 22"), 0);
}

TEST_F(StoreCreationTest, FormAndCommodityTablesStartEmpty) {
  for (const char* table : {"JENIS_KOMODITI", "DS_FORM_INDUK", "DAT_SSP_PPh22", "DS_FORM_LAMPIRAN",
                            "LAMPIRAN_SSP_PPh22", "SETTING_NOBUKTI_PPH", "DATSSP", "DAT_PROFILE"}) {
    EXPECT_EQ(count(std::string("SELECT COUNT(*) FROM ") + table), 0) << table;
  }
}

TEST_F(StoreCreationTest, CounterAndServiceTablesHaveTheirKeys) {
  exec("INSERT INTO SETTING_NOBUKTI_PPH VALUES (22, '000000', '/PPH22')");
  EXPECT_THROW(exec("INSERT INTO SETTING_NOBUKTI_PPH VALUES (22, '000001', '/PPH22')"), Error);
  exec("INSERT INTO REF_JASA_PMK244 VALUES ('01', 'Jasa A', 23, 2)");
  exec("INSERT INTO REF_JASA_PMK244 VALUES ('01', 'Jasa A', 22, 2)");
  EXPECT_THROW(exec("INSERT INTO REF_JASA_PMK244 VALUES ('01', 'Jasa B', 23, 2)"), Error);
  EXPECT_EQ(count("SELECT COUNT(*) FROM REF_JASA_PMK244"), 2);
}

TEST_F(StoreCreationTest, IndexesOfTheLookupsExist) {
  if (!embeddedStore()) GTEST_SKIP() << "reads the embedded store's catalogue";
  std::size_t expected = 0;
  for (const auto& table : store::tables()) {
    for (const auto& index : table.indexes) {
      ++expected;
      EXPECT_EQ(
          count("SELECT COUNT(*) FROM sqlite_master WHERE type = 'index' AND name = '" +
                std::string(index.name) + "' AND tbl_name = '" + std::string(table.name) + "'"),
          1)
          << index.name;
    }
  }
  EXPECT_GE(expected, 10u);
  // The period lookup of the headers is answered from an index.
  auto plan = query(
      "EXPLAIN QUERY PLAN SELECT * FROM DS_FORM_INDUK WHERE KD_FORM = 'F113202' AND "
      "TH_PAJAK = 2013 AND KD_PEMBETULAN_KE = 0 AND MS_PAJAK = 5");
  std::string details;
  for (; !plan->EndOfFile(); plan->MoveNext()) details += plan->Fields("detail").Value().text();
  EXPECT_NE(details.find("USING INDEX"), std::string::npos) << details;
}

TEST_F(StoreCreationTest, ExistingFileIsRefusedAndLeftAlone) {
  if (!embeddedStore()) GTEST_SKIP() << "creates embedded store files";
  exec("INSERT INTO DAT_PARTNER VALUES ('01', 'PT A', 'JAKARTA')");
  try {
    store::createStore(store());
    ADD_FAILURE() << "an existing store was created again";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errc::kFile);
    EXPECT_EQ(e.description(), "The store " + store() + " already exists.");
  }
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_PARTNER"), 1);

  // Any existing file, not only a store.
  const auto text = (folder() / "notes.db").string();
  std::ofstream(text) << "not a store";
  EXPECT_THROW(store::createStore(text), Error);
  std::ifstream in(text);
  std::string content;
  std::getline(in, content);
  EXPECT_EQ(content, "not a store");
}

TEST_F(StoreCreationTest, CreatesMissingFoldersAndTheFullStore) {
  if (!embeddedStore()) GTEST_SKIP() << "creates embedded store files";
  const auto path = (folder() / "a" / "b" / "new.db").string();
  store::createStore(path);
  auto connection = store::Connection::openDataSource(path, "", "");
  EXPECT_EQ(connection->query("SELECT * FROM DS_REF_JENIS_PAJAK").rows.size(), 14u);
  EXPECT_EQ(connection->query("SELECT * FROM DS_FORM_INDUK").rows.size(), 0u);
}

TEST_F(StoreCreationTest, FileThatCannotBeMadeIsReportedAndNothingIsLeft) {
  if (!embeddedStore()) GTEST_SKIP() << "creates embedded store files";
  // The store file itself stands where a folder would have to be.
  const auto path = store() + "/inside.db";
  try {
    store::createStore(path);
    ADD_FAILURE() << "a store was made inside a file";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errc::kFile);
    EXPECT_EQ(e.description(), "The store " + path + " cannot be created.");
  }
  EXPECT_TRUE(std::filesystem::is_regular_file(store()));
}

}  // namespace
}  // namespace korvane::testing
