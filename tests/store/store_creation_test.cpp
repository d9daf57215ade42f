// A new store: every table the components read and write, the reference data it starts with,
// its indexes, and the refusal to overwrite an existing store.
#include "korvane/store/store.hpp"

#include <gtest/gtest.h>

#include <cctype>
#include <fstream>

#include "korvane/store/schema.hpp"
#include "support/store_fixture.hpp"

namespace korvane::testing {
namespace {

std::string upper(std::string_view text) {
  std::string out(text);
  for (auto& c : out) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return out;
}

class StoreCreationTest : public StoreTest {};

// Where the components insert without column lists, the forms' own tests find a column out of
// order; here the store is held to the schema, and the empty tables to being empty.
TEST_F(StoreCreationTest, EveryTableOfTheSchemaIsThereWithItsColumnsInOrder) {
  EXPECT_EQ(store::tables().size(), 21u);
  for (const auto& table : store::tables()) {
    SCOPED_TRACE(std::string(table.name));
    auto names = query("SELECT * FROM " + std::string(table.name))->columnNames();
    ASSERT_EQ(names.size(), table.columns.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
      EXPECT_EQ(upper(names[i]), upper(table.columns[i].name));
    }
  }
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
  std::size_t indexes = 0;
  for (const auto& table : store::tables()) {
    for (const auto& index : table.indexes) {
      ++indexes;
      EXPECT_EQ(
          count("SELECT COUNT(*) FROM sqlite_master WHERE type = 'index' AND name = '" +
                std::string(index.name) + "' AND tbl_name = '" + std::string(table.name) + "'"),
          1)
          << index.name;
    }
  }
  EXPECT_GE(indexes, 10u);
  // The period lookup of the headers is answered from an index.
  auto plan = query(
      "EXPLAIN QUERY PLAN SELECT * FROM DS_FORM_INDUK WHERE KD_FORM = 'F113202' AND "
      "TH_PAJAK = 2013 AND KD_PEMBETULAN_KE = 0 AND MS_PAJAK = 5");
  std::string details;
  for (; !plan->EndOfFile(); plan->MoveNext()) details += plan->Fields("detail").Value().text();
  EXPECT_NE(details.find("USING INDEX"), std::string::npos) << details;
}

TEST_F(StoreCreationTest, CreatesMissingFoldersButNeitherOverwritesAFileNorBuildsInsideOne) {
  if (!embeddedStore()) GTEST_SKIP() << "creates embedded store files";
  const auto path = (folder() / "a" / "b" / "new.db").string();
  store::createStore(path);
  auto connection = store::Connection::openDataSource(path, "", "");
  EXPECT_EQ(connection->query("SELECT * FROM DS_REF_JENIS_PAJAK").rows.size(), 14u);
  EXPECT_EQ(connection->query("SELECT * FROM DS_FORM_INDUK").rows.size(), 0u);

  exec("INSERT INTO DAT_PARTNER VALUES ('01', 'PT A', 'JAKARTA')");
  const auto notes = (folder() / "notes.db").string();  // any existing file, not only a store
  std::ofstream(notes) << "not a store";
  const auto inside = store() + "/inside.db";  // the store file stands where a folder would
  const std::pair<std::string, std::string> refused[] = {
      {store(), "The store " + store() + " already exists."},
      {notes, "The store " + notes + " already exists."},
      {inside, "The store " + inside + " cannot be created."}};
  for (const auto& [target, description] : refused) {
    try {
      store::createStore(target);
      ADD_FAILURE() << target << " was created";
    } catch (const Error& e) {
      EXPECT_EQ(e.number(), errc::kFile);
      EXPECT_EQ(e.description(), description);
    }
  }
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_PARTNER"), 1);
  EXPECT_EQ(fileText(notes), "not a store");
  EXPECT_TRUE(std::filesystem::is_regular_file(store()));
}

}  // namespace
}  // namespace korvane::testing
