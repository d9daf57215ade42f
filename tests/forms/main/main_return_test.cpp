#include "korvane/forms/main/main_return.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "support/store_fixture.hpp"

namespace korvane {
namespace {

using Rows = std::vector<std::string>;

// The amount lines in packed order, with what the round trip saves in each.
struct Line {
  const char* column;
  void (CF113202::*set)(double);
  double (CF113202::*get)();  // the tax lines only
  double saved;
};
const Line kLines[] = {
    {"B13", &CF113202::aB13, nullptr, 100.5},   {"B14", &CF113202::aB14, &CF113202::aB14, 1.5},
    {"B23", &CF113202::aB23, nullptr, 200.5},   {"B24", &CF113202::aB24, &CF113202::aB24, 2.5},
    {"B33", &CF113202::aB33, nullptr, 300.5},   {"B34", &CF113202::aB34, &CF113202::aB34, 3.5},
    {"B4a3", &CF113202::aB4a3, nullptr, 400.5}, {"B4a4", &CF113202::aB4a4, &CF113202::aB4a4, 4.5},
    {"B4b3", &CF113202::aB4b3, nullptr, 500.5}, {"B4b4", &CF113202::aB4b4, &CF113202::aB4b4, 5.5},
    {"B53", &CF113202::aB53, nullptr, 600.5},   {"B54", &CF113202::aB54, &CF113202::aB54, 6.5},
    {"B6a3", &CF113202::aB6a3, nullptr, 700.5}, {"B6a4", &CF113202::aB6a4, &CF113202::aB6a4, 7.5},
    {"B6b3", &CF113202::aB6b3, nullptr, 800.5}, {"B6b4", &CF113202::aB6b4, &CF113202::aB6b4, 8.5}};

// Check boxes C1 to C9.
const std::pair<void (CF113202::*)(const Variant&), Variant (CF113202::*)()> kBoxes[] = {
    {&CF113202::aCHKC1, &CF113202::gChk1}, {&CF113202::aCHKC2, &CF113202::gChk2},
    {&CF113202::aCHKC3, &CF113202::gChk3}, {&CF113202::aCHKC4, &CF113202::gChk4},
    {&CF113202::aCHKC5, &CF113202::gChk5}, {&CF113202::aCHKC6, &CF113202::gChk6},
    {&CF113202::aCHKC7, &CF113202::gChk7}, {&CF113202::achkC8, &CF113202::gChk8},
    {&CF113202::achkC9, &CF113202::gChk9}};

class CF113202RecordTest : public testing::StoreTest {
 protected:
  // The skeleton of May 2013.
  void create(CF113202& main, const std::string& jenisWp = "Pemungut", std::int16_t c = 0,
              const Date& recorded = Date(2013, 6, 15)) {
    main.pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2013, c, "-", "112", kName, kAddress,
                           Date(2013, 6, 10), recorded, jenisWp);
  }

  // A collector's identity and the period, as the packed texts begin.
  static std::string collectorPrefix() {
    return std::string(kNpwp) + ";" + kName + ";" + kAddress + ";5;2013;0;";
  }

  // A query's rows as "column|column|...".
  Rows rowsOf(const std::string& sql) {
    Rows out;
    for (auto rs = query(sql); !rs->EndOfFile(); rs->MoveNext()) {
      std::string row;
      for (std::size_t i = 0; i < rs->columnCount(); ++i) {
        row += (i ? "|" : "") + rs->Fields(i).Value().text();
      }
      out.push_back(row);
    }
    return out;
  }
};

TEST_F(CF113202RecordTest, NewPeriodNamesOnlyACollectorInItsListsAndASecondCreationAddsLittle) {
  // The kind of taxpayer, and how its lists begin.
  const std::pair<const char*, std::string> cases[] = {
      {"Pemungut", collectorPrefix()}, {"", ";;;5;2013;0;"}, {"Bukan Pemungut", ";;;5;2013;0;"}};
  for (const auto& [jenisWp, listPrefix] : cases) {
    SCOPED_TRACE(jenisWp);
    for (auto table : {"DS_FORM_INDUK", "DAT_SSP_PPh22", "JENIS_KOMODITI"})
      exec(std::string("DELETE FROM ") + table);
    exec("INSERT INTO JENIS_KOMODITI VALUES ('99', 'JASA', 23, 1.5)");
    create(*connected<CF113202>(), jenisWp);

    // The main form and the slip list always name the taxpayer.
    const std::string head = std::string(kNpwp) + "|-|112|15/06/2013|||";
    const std::string select =
        "SELECT KD_FORM, JENIS_DOKUMEN, NPWP, NOBUKTI, KD_JENIS_PAJAK, TGL_REKAM, TGL_UBAH, NIP, "
        "DAT_FORM FROM ";
    EXPECT_EQ(
        rowsOf(select + "DS_FORM_INDUK ORDER BY KD_FORM"),
        (Rows{"D113204|09|" + head + collectorPrefix() + "0;0",
              "F113202|01|" + head + collectorPrefix() + "10/06/2013" + std::string(35, ';')}));
    const std::string list = head + listPrefix;
    const std::string rate = ";0,3;0;0;0;0";
    EXPECT_EQ(
        rowsOf(select + "DAT_SSP_PPh22 ORDER BY KD_FORM, JENIS_DOKUMEN"),
        (Rows{"D113202|07|" + list + "PREMIX/SUPER TT" + rate,
              "D113202|08|" + list + "SOLAR" + rate, "D113202|09|" + list + "PREMIUM" + rate,
              "D113202|10|" + list + "MINYAK TANAH" + rate, "D113202|11|" + list + "GAS LPG" + rate,
              "D113202|12|" + list + "PELUMAS" + rate, "D113203|08|" + list + "0",
              "D113203DN|13|" + list + "0", "DImporDbyrSdr|12|" + list + "0"}));
    // Article 22 had no commodities: the defaults are added, at a zero net rate.
    EXPECT_EQ(rowsOf("SELECT KODE_KOMODITI, NAMA_KOMODITI, TARIF_NETTO FROM JENIS_KOMODITI WHERE "
                     "PASAL = 22 ORDER BY KODE_KOMODITI"),
              (Rows{"01|PREMIX/SUPER TT|0", "02|SOLAR|0", "03|PREMIUM|0", "04|MINYAK TANAH|0",
                    "05|GAS LPG|0", "06|PELUMAS|0"}));
  }

  // Kept: the domestic import list is looked for under kind "11" and written under "13", so
  // every creation adds one; nothing else is made twice.
  create(*connected<CF113202>());
  EXPECT_EQ(rowsOf("SELECT KD_FORM, COUNT(*) FROM DS_FORM_INDUK GROUP BY KD_FORM ORDER BY KD_FORM"),
            (Rows{"D113204|1", "F113202|1"}));
  EXPECT_EQ(rowsOf("SELECT KD_FORM, JENIS_DOKUMEN, COUNT(*) FROM DAT_SSP_PPh22 WHERE KD_FORM <> "
                   "'D113202' GROUP BY KD_FORM, JENIS_DOKUMEN ORDER BY KD_FORM"),
            (Rows{"D113203|08|1", "D113203DN|13|2", "DImporDbyrSdr|12|1"}));
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202'"), 6);
  // A correction gets its own skeleton; the commodities stay as they are.
  create(*connected<CF113202>(), "Pemungut", 1, Date(2013, 7, 1));
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK WHERE KD_FORM = 'F113202'"), 2);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202'"), 12);
  EXPECT_EQ(count("SELECT COUNT(*) FROM JENIS_KOMODITI WHERE PASAL = 22"), 6);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113202RecordTest, ExistingCommoditiesAreUsedInsteadOfTheDefaults) {
  exec(
      "INSERT INTO JENIS_KOMODITI VALUES ('B2', 'AVTUR', 22, 0.25), ('A1', 'BENSIN', 22, 0.3), "
      "('C3', 'ASPAL', 22, 1), ('00', 'JASA', 23, 2)");
  create(*connected<CF113202>(), "");

  EXPECT_EQ(rowsOf("SELECT JENIS_DOKUMEN, DAT_FORM FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' "
                   "ORDER BY JENIS_DOKUMEN"),
            (Rows{"07|;;;5;2013;0;BENSIN;0.3;0;0;0;0", "08|;;;5;2013;0;AVTUR;0.25;0;0;0;0",
                  "09|;;;5;2013;0;ASPAL;1;0;0;0;0"}));
  EXPECT_EQ(count("SELECT COUNT(*) FROM JENIS_KOMODITI"), 4);
}

// Without a connection or a loaded form: computation_test.cpp, with the messages' texts.
TEST_F(CF113202RecordTest, PropertiesWriteTheirColumnsAndSurviveSaveAndReload) {
  // Before its creation the period loads an empty form, which cannot be saved.
  auto main = connected<CF113202>();
  main->pGetF113202(kNpwp, 5, 2013, 0);
  ASSERT_NE(main->rs22Form(), nullptr);
  EXPECT_EQ(main->rs22Form()->RecordCount(), 0);
  main->pUpdate();
  EXPECT_EQ(messages().size(), 1u);  // the save's only
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK"), 0);
  clearMessages();

  create(*main);
  // The NPWP argument takes no part in loading.
  main->pGetF113202("999999999999999", 5, 2013, 0);
  ASSERT_EQ(main->rs22Form()->RecordCount(), 1);
  EXPECT_EQ(main->aNPWP(), Variant(std::string(kNpwp)));
  EXPECT_EQ(main->aTGL_SETOR(), Variant(Date(2013, 6, 10)));
  // B11 reads an empty line as empty text and writes it back.
  EXPECT_TRUE(main->rs22Form()->Fields("B11").Value().isNull());
  EXPECT_EQ(main->aB11(), "");
  EXPECT_EQ(main->rs22Form()->Fields("B11").Value(), Variant(""));

  // Every line survives save and reload through the packed text, amounts uncut, the untyped
  // ones as given.
  main->aB11("X-1");
  for (const auto& line : kLines) ((*main).*line.set)(line.saved);
  main->aB71(Variant("Lainnya"));
  main->aB73(Variant("12,5"));
  main->aB74(Variant(9));
  main->aC2(Variant(3));
  main->aC3(Variant(2));
  for (std::size_t i = 0; i < std::size(kBoxes); ++i)
    ((*main).*kBoxes[i].first)(Variant(i % 2 ? 0 : 1));
  main->aTGL_LAPOR(Variant(Date(2013, 6, 20)));
  main->pUpdate();

  EXPECT_EQ(
      scalar("SELECT DAT_FORM FROM DS_FORM_INDUK WHERE KD_FORM = 'F113202'").text(),
      collectorPrefix() +
          "10/06/2013;20/06/2013;X-1;100.5;1.5;200.5;2.5;;300.5;3.5;400.5;4.5;500.5;5.5;600.5;6.5;"
          "700.5;7.5;800.5;8.5;Lainnya;12,5;9;;;3;2;1;0;1;0;1;0;1;0;1");

  auto reloaded = connected<CF113202>();
  reloaded->pGetF113202(kNpwp, 5, 2013, 0);
  for (const auto& line : kLines) {
    if (line.get) {
      EXPECT_EQ(((*reloaded).*line.get)(), line.saved) << line.column;
    }
  }
  for (std::size_t i = 0; i < std::size(kBoxes); ++i)
    EXPECT_EQ(((*reloaded).*kBoxes[i].second)(), Variant(std::int16_t(i % 2 ? 0 : 1))) << i + 1;
  EXPECT_EQ(reloaded->aTGL_LAPOR(), Variant(Date(2013, 6, 20)));
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
