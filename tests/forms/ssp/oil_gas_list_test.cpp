#include "korvane/forms/ssp/oil_gas_list.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "korvane/forms/main/main_return.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

const Date kToday(2013, 6, 10);

// A recordset as "<rows>:<field of its current row>", "none" when there is none.
std::string summary(const RecordsetPtr& rs, const char* field) {
  if (!rs) return "none";
  return std::to_string(rs->RecordCount()) + ":" +
         (rs->EndOfFile() ? "" : rs->Fields(field).Value().text());
}

class CD113202Test : public testing::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    insertProfile();
  }

  // A period as the main return begins it: list headers "07" to "12" for the six commodities.
  void beginPeriod(std::int16_t month) {
    connected<CF113202>()->pCreateF113202Hdr(kNpwp, "F113202", "01", month, 2013, 0, "-", "112",
                                             kName, kAddress, kToday, kToday, "Pemungut");
  }

  static void writeRow(CD113202& list, std::int16_t collection, const std::string& nttp,
                       const std::string& commodity, double gross, double seq) {
    list.pCreateD113202Hdr(5, 2013, 0, collection, nttp, "023456789012000", "JL. THAMRIN 2",
                           "PT PEMBELI", Date(2013, 5, 20), commodity, gross, gross * 3 / 1000,
                           seq);
  }
};

TEST_F(CD113202Test, NewHeaderTakesTheLargestTextCodePlusOne) {
  auto list = connected<CD113202>();
  const auto newHeader = [&](int month) {
    list->pCreateHdrInduk(month, 2013, 0, "BIO SOLAR", kNpwp, kAddress, kName, kToday);
    return rowOf(
        "SELECT JENIS_DOKUMEN, NOBUKTI, KD_JENIS_PAJAK, TGL_REKAM, DAT_FORM FROM "
        "DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' AND MS_PAJAK = " +
        std::to_string(month) + " AND DAT_FORM LIKE '%;BIO SOLAR;%'");
  };
  // A period without headers has no largest code: it fails once and adds nothing.
  EXPECT_EQ(newHeader(4), "");
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text, "Invalid use of Null");

  // Text codes, the new one in plain decimal: after the six of a begun period comes "13", "07"
  // alone is followed by "8", and "9" ranks above "12".
  const struct {
    int month;
    const char *change, *code;
  } cases[] = {
      {5, "", "13"},
      {6, "DELETE FROM DAT_SSP_PPh22 WHERE MS_PAJAK = 6 AND JENIS_DOKUMEN <> '07'", "8"},
      {7,
       "UPDATE DAT_SSP_PPh22 SET JENIS_DOKUMEN = '9' WHERE MS_PAJAK = 7 AND JENIS_DOKUMEN = '08'",
       "10"}};
  for (const auto& c : cases) {
    beginPeriod(c.month);
    if (*c.change) exec(c.change);
    EXPECT_EQ(newHeader(c.month), std::string(c.code) + "|-|112|10/06/2013|" + kNpwp +
                                      ";PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;" +
                                      std::to_string(c.month) + ";2013;0;BIO SOLAR;0,3;0;0;0;0");
  }
  EXPECT_EQ(messages().size(), 1u);
}

TEST_F(CD113202Test, HeadersAndRowsAreFoundByTheWholeCommodityAndTheMonth) {
  beginPeriod(1);
  beginPeriod(11);
  auto list = connected<CD113202>();
  list->pGetD113202Induk(kNpwp, 1, 2013, 0, "SOLAR");
  EXPECT_EQ(summary(list->rs22Form(), "MS_PAJAK"), "1:1");

  // "SOLAR" is never found as "BIO SOLAR" or "SOLAR X".
  list->pCreateHdrInduk(11, 2013, 0, "BIO SOLAR", kNpwp, kAddress, kName, kToday);
  list->pCreateHdrInduk(11, 2013, 0, "SOLAR X", kNpwp, kAddress, kName, kToday);
  bool before = false, solar = true, bioSolar = false;
  list->pCheckHdr(kNpwp, 11, 2013, 0, "SOLAR", before);
  exec(
      "DELETE FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' AND MS_PAJAK = 11 AND "
      "DAT_FORM LIKE '%;SOLAR;%'");
  list->pCheckHdr(kNpwp, 11, 2013, 0, "SOLAR", solar);
  list->pCheckHdr(kNpwp, 11, 2013, 0, "BIO SOLAR", bioSolar);
  EXPECT_TRUE(before && !solar && bioSolar);
  list->pGetD113202Induk(kNpwp, 11, 2013, 0, "SOLAR");
  EXPECT_EQ(summary(list->rs22Form(), "PENJUALAN"), "0:");
  list->pGetD113202Induk(kNpwp, 11, 2013, 0, "BIO SOLAR");
  EXPECT_EQ(summary(list->rs22Form(), "PENJUALAN"), "1:BIO SOLAR");
  EXPECT_EQ(list->aPenjualan(), "BIO SOLAR");

  writeRow(*list, 0, "NT-1", "SOLAR", 100000, 0);
  writeRow(*list, 0, "NT-2", "BIO SOLAR", 200000, 1);
  list->pGetLampiran1(5, 2013, 0, "SOLAR");
  EXPECT_EQ(summary(list->rs22FormColl1(), "NTTP"), "1:NT-1");
  list->pGetLampiran1(5, 2013, 0, "BIO SOLAR");
  EXPECT_EQ(summary(list->rs22FormColl1(), "A5"), "1:200000");
  EXPECT_TRUE(messages().empty());
}

TEST_F(CD113202Test, RowsAreKeptUnderTheirKeyAndTheHierarchyAnswersAndRecountsThem) {
  beginPeriod(5);
  auto list = std::make_shared<CD113202>();
  list->pAssignConStr_Shape(store(), user(), password());
  // Recounting an empty collection leaves the totals as they are.
  list->pGetD113202(kNpwp, 5, 2013, 0, "SOLAR");
  list->rs22Form()->Fields("I5").Value(123.0);
  std::int16_t finalRows = -1, notFinalRows = -1;
  list->pPPhFinal(finalRows);
  EXPECT_EQ(finalRows, 0);
  EXPECT_EQ(list->rs22Form()->Fields("I5").Value().toDouble(), 123);

  // A row's key is its period, collection, NTTP and sequence: the same key replaces the row, and
  // a row is deleted alone.
  writeRow(*list, 0, "NT-1", "SOLAR", 40000, 0);
  writeRow(*list, 0, "NT-1", "SOLAR", 100000, 0);
  writeRow(*list, 0, "NT-2", "SOLAR", 200000, 1);
  writeRow(*list, 0, "NT-2", "SOLAR", 900000, 4);
  writeRow(*list, 1, "NT-3", "SOLAR", 50000, 0);
  writeRow(*list, 0, "NT-4", "PREMIUM", 70000, 2);
  list->pDeleteD113202Coll("D113202", 5, 2013, 0, "NT-2", 0, 4);
  list->pDeleteD113202Coll("D113202", 5, 2013, 0, "NT-9", 0, 7);
  list->pGetD113202(kNpwp, 5, 2013, 0, "SOLAR");
  EXPECT_EQ(summary(list->GetDataMember("Primary"), "JENIS_DOKUMEN"), "1:08");
  EXPECT_EQ(summary(list->GetDataMember("Secondary"), "NOBUKTI"), "2:NT-1");
  EXPECT_EQ(summary(list->GetDataMember("Ternary"), "NOBUKTI"), "1:NT-3");

  // The same rows as fields, and their sums.
  EXPECT_EQ(summary(list->rs22FormColl1(), "NTTP"), "2:NT-1");
  EXPECT_EQ(summary(list->rs22FormColl2(), "B5"), "1:50000");
  list->pPPhFinal(finalRows);
  list->pPPhTdkFinal(notFinalRows);
  EXPECT_EQ(finalRows, 2);
  EXPECT_EQ(notFinalRows, 1);
  auto header = list->rs22Form();
  EXPECT_EQ(header->Fields("I5").Value().text() + ";" + header->Fields("I6").Value().text() + ";" +
                header->Fields("II5").Value().text() + ";" + header->Fields("II6").Value().text(),
            "300000;900;50000;150");
  EXPECT_TRUE(messages().empty());
}

// Adding, editing and deleting move the totals as the input classes drive them (see
// ssp_input_test.cpp).
TEST_F(CD113202Test, WithoutAStatusNoTotalMovesAndHeaderFieldsAreWritten) {
  beginPeriod(5);
  auto list = connected<CD113202>();
  list->pGetD113202Induk(kNpwp, 5, 2013, 0, "SOLAR");
  const std::pair<const char*, double> totals[] = {
      {"I5", 1000}, {"I6", 30}, {"II5", 2000}, {"II6", 60}};
  for (const auto& [field, value] : totals) list->rs22Form()->Fields(field).Value(value);
  list->pAssignStatus(false, false, false);
  list->pJmlPajakFinal(200, 6);
  list->pJmlPajakTdkFinal(100, 3);
  list->aNPWP("099999999999000");
  list->aNMWP("PT LAIN");
  list->aALM("JL. LAIN");
  list->aTarif("0,5");
  EXPECT_EQ(list->aNPWP().text(), "099999999999000");
  list->pUpdate();
  EXPECT_EQ(rowOf("SELECT DAT_FORM FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' AND "
                  "JENIS_DOKUMEN = '08'"),
            "099999999999000;PT LAIN;JL. LAIN;5;2013;0;SOLAR;0,5;1000;30;2000;60");
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
