#include "korvane/forms/ssp/oil_gas_list.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "korvane/forms/main/main_return.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kName = "PT MAJU JAYA";
constexpr const char* kAddress = "JL. SUDIRMAN 1 JAKARTA";
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
                       const std::string& commodity, double gross, double tax, double seq) {
    list.pCreateD113202Hdr(5, 2013, 0, collection, nttp, "023456789012000", "JL. THAMRIN 2",
                           "PT PEMBELI", Date(2013, 5, 20), commodity, gross, tax, seq);
  }

  long listRows(const std::string& where = "") {
    return count("SELECT COUNT(*) FROM LAMPIRAN_SSP_PPh22 WHERE KD_FORM = 'D113202'" +
                 (where.empty() ? "" : " AND " + where));
  }
};

TEST_F(CD113202Test, NewHeaderTakesTheLargestTextCodePlusOne) {
  auto list = connected<CD113202>();
  const auto newHeader = [&](std::int16_t month) {
    list->pCreateHdrInduk(month, 2013, 0, "BIO SOLAR", kNpwp, kAddress, kName, kToday);
    return query("SELECT * FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' AND MS_PAJAK = " +
                 std::to_string(month) + " AND DAT_FORM LIKE '%;BIO SOLAR;%'");
  };
  // A period without headers has no largest code: it fails once and adds nothing.
  newHeader(4);
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text, "Invalid use of Null");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202'"), 0);
  clearMessages();

  beginPeriod(5);
  auto rs = newHeader(5);
  ASSERT_EQ(rs->RecordCount(), 1);
  EXPECT_EQ(rs->Fields("JENIS_DOKUMEN").Value().text(), "13");
  EXPECT_EQ(rs->Fields("DAT_FORM").Value().text(),
            "012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;5;2013;0;BIO SOLAR;0,3;0;0;0;0");
  EXPECT_EQ(rs->Fields("NOBUKTI").Value().text(), "-");
  EXPECT_EQ(rs->Fields("KD_JENIS_PAJAK").Value().text(), "112");
  EXPECT_EQ(rs->Fields("TGL_REKAM").Value().text(), "10/06/2013");

  // Text codes, the new one in plain decimal: "07" is followed by "8", and "9" ranks above "12".
  const struct {
    std::int16_t month;
    std::vector<std::string> existing;
    const char* expected;
  } cases[] = {{6, {"07"}, "8"}, {7, {"12", "9"}, "10"}};
  for (const auto& c : cases) {
    const auto month = std::to_string(c.month);
    for (const auto& code : c.existing) {
      exec("INSERT INTO DAT_SSP_PPh22 VALUES ('" + std::string(kNpwp) + "', 'D113202', '" + code +
           "', " + month + ", 2013, 0, '-', '112', ';;;" + month + ";2013;0;X" + code +
           ";0,3;0;0;0;0', '10/06/2013', '')");
    }
    EXPECT_EQ(newHeader(c.month)->Fields("JENIS_DOKUMEN").Value().text(), c.expected) << month;
  }
  EXPECT_TRUE(messages().empty());
}

TEST_F(CD113202Test, HeadersAndRowsAreFoundByTheWholeCommodityAndTheMonth) {
  beginPeriod(1);
  beginPeriod(11);
  auto list = connected<CD113202>();
  list->pGetD113202Induk(kNpwp, 1, 2013, 0, "SOLAR");
  EXPECT_EQ(summary(list->rs22Form(), "MS_PAJAK"), "1:1");
  bool exists = false;
  list->pCheckHdr(kNpwp, 11, 2013, 0, "SOLAR", exists);
  EXPECT_TRUE(exists);

  // "SOLAR" is never found as "BIO SOLAR" or "SOLAR X".
  list->pCreateHdrInduk(11, 2013, 0, "BIO SOLAR", kNpwp, kAddress, kName, kToday);
  list->pCreateHdrInduk(11, 2013, 0, "SOLAR X", kNpwp, kAddress, kName, kToday);
  exec(
      "DELETE FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' AND MS_PAJAK = 11 AND "
      "DAT_FORM LIKE '%;SOLAR;%'");
  list->pCheckHdr(kNpwp, 11, 2013, 0, "SOLAR", exists);
  EXPECT_FALSE(exists);
  list->pCheckHdr(kNpwp, 11, 2013, 0, "BIO SOLAR", exists);
  EXPECT_TRUE(exists);
  list->pGetD113202Induk(kNpwp, 11, 2013, 0, "SOLAR");
  EXPECT_EQ(summary(list->rs22Form(), "PENJUALAN"), "0:");
  list->pGetD113202Induk(kNpwp, 11, 2013, 0, "BIO SOLAR");
  EXPECT_EQ(summary(list->rs22Form(), "PENJUALAN"), "1:BIO SOLAR");
  EXPECT_EQ(list->aPenjualan(), "BIO SOLAR");

  writeRow(*list, 0, "NT-1", "SOLAR", 100000, 300, 0);
  writeRow(*list, 0, "NT-2", "BIO SOLAR", 200000, 600, 1);
  list->pGetLampiran1(5, 2013, 0, "SOLAR");
  EXPECT_EQ(summary(list->rs22FormColl1(), "NTTP"), "1:NT-1");
  list->pGetLampiran1(5, 2013, 0, "BIO SOLAR");
  EXPECT_EQ(summary(list->rs22FormColl1(), "A5"), "1:200000");
  EXPECT_TRUE(messages().empty());
}

// A row's key is its period, collection, NTTP and sequence.
TEST_F(CD113202Test, RowIsReplacedUnderItsKeyAndDeletedAlone) {
  auto list = connected<CD113202>();
  writeRow(*list, 0, "NT-1", "SOLAR", 100000, 300, 3);
  writeRow(*list, 0, "NT-1", "SOLAR", 150000, 450, 3);
  auto rs = query("SELECT * FROM LAMPIRAN_SSP_PPh22");
  ASSERT_EQ(rs->RecordCount(), 1);
  EXPECT_EQ(rs->Fields("DAT_FORM").Value().text(),
            "5;2013;SOLAR;3;023456789012000;PT PEMBELI;JL. THAMRIN 2;20/05/2013;150000;450;NT-1");
  EXPECT_EQ(rs->Fields("NOBUKTI").Value().text(), "NT-1");
  EXPECT_EQ(rs->Fields("SEQ").Value().toDouble(), 3);
  EXPECT_EQ(rs->Fields("COLLNO").Value().toInt16(), 0);

  writeRow(*list, 1, "NT-1", "SOLAR", 100000, 300, 3);
  writeRow(*list, 0, "NT-1", "SOLAR", 100000, 300, 4);
  writeRow(*list, 0, "NT-2", "SOLAR", 100000, 300, 3);
  EXPECT_EQ(listRows(), 4);

  list->pDeleteD113202Coll("D113202", 5, 2013, 0, "NT-1", 0, 3);
  list->pDeleteD113202Coll("D113202", 5, 2013, 0, "NT-9", 0, 7);
  EXPECT_EQ(listRows(), 3);
  EXPECT_EQ(listRows("COLLNO = 0 AND NOBUKTI = 'NT-1' AND SEQ = 3"), 0);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CD113202Test, HierarchyAnswersTheHeaderAndBothCollectionsAndRecountsThem) {
  beginPeriod(5);
  auto list = std::make_shared<CD113202>();
  list->pAssignConStr_Shape(store(), user(), password());
  int moves = 0;
  list->onMoveComplete([&] { ++moves; });
  // Recounting an empty collection leaves the totals as they are.
  list->pGetD113202(kNpwp, 5, 2013, 0, "SOLAR");
  list->rs22Form()->Fields("I5").Value(123.0);
  std::int16_t finalRows = -1, notFinalRows = -1;
  list->pPPhFinal(finalRows);
  EXPECT_EQ(finalRows, 0);
  EXPECT_EQ(list->rs22Form()->Fields("I5").Value().toDouble(), 123);

  writeRow(*list, 0, "NT-1", "SOLAR", 100000, 300, 0);
  writeRow(*list, 0, "NT-2", "SOLAR", 200000, 600, 1);
  writeRow(*list, 1, "NT-3", "SOLAR", 50000, 150, 0);
  writeRow(*list, 0, "NT-4", "PREMIUM", 70000, 210, 2);
  list->pGetD113202(kNpwp, 5, 2013, 0, "SOLAR");
  auto primary = list->GetDataMember("Primary");
  EXPECT_EQ(summary(primary, "JENIS_DOKUMEN"), "1:08");
  EXPECT_EQ(summary(list->GetDataMember("Secondary"), "NOBUKTI"), "2:NT-1");
  EXPECT_EQ(summary(list->GetDataMember("Ternary"), "NOBUKTI"), "1:NT-3");
  EXPECT_EQ(summary(list->GetDataMember("primary"), "NOBUKTI"), "none");

  // The same rows as fields, and their sums.
  EXPECT_EQ(list->aPenjualan(), "SOLAR");
  EXPECT_EQ(summary(list->rs22FormColl1(), "NTTP"), "2:NT-1");
  EXPECT_EQ(summary(list->rs22FormColl2(), "B5"), "1:50000");
  list->pPPhFinal(finalRows);
  list->pPPhTdkFinal(notFinalRows);
  EXPECT_EQ(finalRows, 2);
  EXPECT_EQ(notFinalRows, 1);
  EXPECT_EQ(list->rs22Form()->Fields("I5").Value().toDouble(), 300000);
  EXPECT_EQ(list->rs22Form()->Fields("I6").Value().toDouble(), 900);
  EXPECT_EQ(list->rs22Form()->Fields("II5").Value().toDouble(), 50000);
  EXPECT_EQ(list->rs22Form()->Fields("II6").Value().toDouble(), 150);

  primary->MoveNext();
  EXPECT_GE(moves, 1);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CD113202Test, SavedTotalsMoveByOneSlipAsTheStatusSaysAndHeaderFieldsAreWritten) {
  beginPeriod(5);
  const struct {
    const char* name;
    bool add, edit, remove;
    double gross, tax;  // from 1000 / 30 by 200 / 6
  } cases[] = {{"Adding", true, false, false, 1200, 36},
               {"Editing", false, true, false, 1200, 36},
               {"Deleting", false, false, true, 800, 24},
               {"NoStatus", false, false, false, 1000, 30}};
  auto list = connected<CD113202>();
  for (const auto& c : cases) {
    for (bool final : {true, false}) {
      SCOPED_TRACE(std::string(c.name) + (final ? " final" : " not final"));
      const char* gross = final ? "I5" : "II5";
      const char* tax = final ? "I6" : "II6";
      list->pGetD113202Induk(kNpwp, 5, 2013, 0, "SOLAR");
      list->rs22Form()->Fields(gross).Value(1000.0);
      list->rs22Form()->Fields(tax).Value(30.0);
      list->pAssignStatus(c.add, c.edit, c.remove);
      (list.get()->*(final ? &CD113202::pJmlPajakFinal : &CD113202::pJmlPajakTdkFinal))(200, 6);
      list->pUpdate();
      list->pGetD113202Induk(kNpwp, 5, 2013, 0, "SOLAR");
      EXPECT_EQ(list->rs22Form()->Fields(gross).Value().toDouble(), c.gross);
      EXPECT_EQ(list->rs22Form()->Fields(tax).Value().toDouble(), c.tax);
    }
  }
  const std::string header =
      "SELECT DAT_FORM FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' AND JENIS_DOKUMEN = '08'";
  // The rate field stays as it was written, and the period keeps its six headers.
  EXPECT_EQ(
      scalar(header).text(),
      "012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;5;2013;0;SOLAR;0,3;1000;30;1000;30");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202'"), 6);

  list->aNPWP("099999999999000");
  list->aNMWP("PT LAIN");
  list->aALM("JL. LAIN");
  list->aTarif("0,5");
  EXPECT_EQ(list->aNPWP().text(), "099999999999000");
  list->pUpdate();
  EXPECT_EQ(scalar(header).text(),
            "099999999999000;PT LAIN;JL. LAIN;5;2013;0;SOLAR;0,5;1000;30;1000;30");
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
