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

class CD113202Test : public testing::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    insertProfile();
  }

  // A period as the main return begins it: list headers "07" to "12" for the six commodities.
  void beginPeriod(std::int16_t month, std::int16_t year = 2013, std::int16_t correction = 0) {
    auto mainReturn = connected<CF113202>();
    mainReturn->pCreateF113202Hdr(kNpwp, "F113202", "01", month, year, correction, "-", "112",
                                  kName, kAddress, Date(2013, 6, 10), Date(2013, 6, 10),
                                  "Pemungut");
  }

  std::vector<std::string> headerCodes(std::int16_t month) {
    std::vector<std::string> codes;
    auto rs = query(
        "SELECT JENIS_DOKUMEN FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' AND "
        "MS_PAJAK = " +
        std::to_string(month) + " ORDER BY JENIS_DOKUMEN");
    for (; !rs->EndOfFile(); rs->MoveNext())
      codes.push_back(rs->Fields("JENIS_DOKUMEN").Value().text());
    return codes;
  }

  void writeRow(CD113202& list, std::int16_t collection, const std::string& nttp,
                const std::string& commodity, double gross, double tax, double seq,
                std::int16_t month = 5) {
    list.pCreateD113202Hdr(month, 2013, 0, collection, nttp, "023456789012000", "JL. THAMRIN 2",
                           "PT PEMBELI", Date(2013, 5, 20), commodity, gross, tax, seq);
  }

  long listRows(const std::string& where = "") {
    return count("SELECT COUNT(*) FROM LAMPIRAN_SSP_PPh22 WHERE KD_FORM = 'D113202'" +
                 (where.empty() ? "" : " AND " + where));
  }
};

// ---- Header codes ------------------------------------------------------------------------------

struct CodeCase {
  const char* name;
  std::vector<std::string> existing;  // codes of the period's headers before the new one
  const char* expected;
};

class CD113202HeaderCodeTest : public CD113202Test,
                               public ::testing::WithParamInterface<CodeCase> {};

TEST_P(CD113202HeaderCodeTest, NewHeaderTakesTheLargestTextCodePlusOne) {
  for (const auto& code : GetParam().existing) {
    exec("INSERT INTO DAT_SSP_PPh22 VALUES ('" + std::string(kNpwp) + "', 'D113202', '" + code +
         "', 5, 2013, 0, '-', '112', ';;;5;2013;0;X" + code + ";0,3;0;0;0;0', '10/06/2013', '')");
  }
  auto list = connected<CD113202>();
  list->pCreateHdrInduk(5, 2013, 0, "BIO SOLAR", kNpwp, kAddress, kName, Date(2013, 6, 10));

  EXPECT_TRUE(messages().empty());
  EXPECT_EQ(scalar("SELECT JENIS_DOKUMEN FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' AND "
                   "DAT_FORM LIKE '%;BIO SOLAR;%'")
                .text(),
            GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Codes, CD113202HeaderCodeTest,
    ::testing::Values(CodeCase{"AfterSevenComesEightWithoutZeroFill", {"07"}, "8"},
                      CodeCase{
                          "AfterTwelveComesThirteen", {"07", "08", "09", "10", "11", "12"}, "13"},
                      CodeCase{"OneDigitNineRanksAboveTwelve", {"12", "9"}, "10"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(CD113202Test, NewHeaderAfterTheMainReturnsSixIsThirteenWithTheInitialText) {
  beginPeriod(5);
  auto list = connected<CD113202>();
  list->pCreateHdrInduk(5, 2013, 0, "BIO SOLAR", kNpwp, kAddress, kName, Date(2013, 6, 10));

  auto rs = query(
      "SELECT * FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' AND "
      "JENIS_DOKUMEN = '13'");
  ASSERT_EQ(rs->RecordCount(), 1);
  EXPECT_EQ(rs->Fields("DAT_FORM").Value().text(),
            "012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;5;2013;0;BIO SOLAR;0,3;0;0;0;0");
  EXPECT_EQ(rs->Fields("NOBUKTI").Value().text(), "-");
  EXPECT_EQ(rs->Fields("KD_JENIS_PAJAK").Value().text(), "112");
  EXPECT_EQ(rs->Fields("TGL_REKAM").Value().text(), "10/06/2013");
}

TEST_F(CD113202Test, NewHeaderInAPeriodWithoutHeadersFailsOnceAndAddsNothing) {
  auto list = connected<CD113202>();
  list->pCreateHdrInduk(5, 2013, 0, "BIO SOLAR", kNpwp, kAddress, kName, Date(2013, 6, 10));

  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text, "Invalid use of Null");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202'"), 0);
}

// ---- Finding headers by commodity ---------------------------------------------------------

TEST_F(CD113202Test, SolarIsNeverFoundAsBioSolarOrSolarX) {
  beginPeriod(5);
  auto list = connected<CD113202>();
  list->pCreateHdrInduk(5, 2013, 0, "BIO SOLAR", kNpwp, kAddress, kName, Date(2013, 6, 10));
  list->pCreateHdrInduk(5, 2013, 0, "SOLAR X", kNpwp, kAddress, kName, Date(2013, 6, 10));
  exec("DELETE FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' AND DAT_FORM LIKE '%;SOLAR;0,3;%'");

  bool exists = true;
  list->pCheckHdr(kNpwp, 5, 2013, 0, "SOLAR", exists);
  EXPECT_FALSE(exists);
  list->pCheckHdr(kNpwp, 5, 2013, 0, "BIO SOLAR", exists);
  EXPECT_TRUE(exists);

  list->pGetD113202Induk(kNpwp, 5, 2013, 0, "SOLAR");
  EXPECT_EQ(list->rs22Form()->RecordCount(), 0);
  list->pGetD113202Induk(kNpwp, 5, 2013, 0, "BIO SOLAR");
  ASSERT_EQ(list->rs22Form()->RecordCount(), 1);
  EXPECT_EQ(list->aPenjualan(), "BIO SOLAR");
  EXPECT_TRUE(messages().empty());
}

TEST_F(CD113202Test, ListRowsOfSolarAndBioSolarStayApart) {
  auto list = connected<CD113202>();
  writeRow(*list, 0, "NT-1", "SOLAR", 100000, 300, 0);
  writeRow(*list, 0, "NT-2", "BIO SOLAR", 200000, 600, 1);

  list->pGetLampiran1(5, 2013, 0, "SOLAR");
  ASSERT_EQ(list->rs22FormColl1()->RecordCount(), 1);
  EXPECT_EQ(list->rs22FormColl1()->Fields("NTTP").Value().text(), "NT-1");
  list->pGetLampiran1(5, 2013, 0, "BIO SOLAR");
  ASSERT_EQ(list->rs22FormColl1()->RecordCount(), 1);
  EXPECT_EQ(list->rs22FormColl1()->Fields("A5").Value().toDouble(), 200000);
}

TEST_F(CD113202Test, JanuaryAndNovemberHeadersAreToldApartByTheMonth) {
  beginPeriod(1);
  beginPeriod(11);
  auto list = connected<CD113202>();
  list->pGetD113202Induk(kNpwp, 1, 2013, 0, "SOLAR");
  ASSERT_EQ(list->rs22Form()->RecordCount(), 1);
  EXPECT_EQ(list->rs22Form()->Fields("MS_PAJAK").Value().toInt16(), 1);

  bool exists = false;
  list->pCheckHdr(kNpwp, 11, 2013, 0, "SOLAR", exists);
  EXPECT_TRUE(exists);
}

// ---- List rows --------------------------------------------------------------------------------

TEST_F(CD113202Test, WritingARowTwiceLeavesOneWithTheLaterValues) {
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
}

TEST_F(CD113202Test, RowsOfTheOtherCollectionOrSequenceAreNotReplaced) {
  auto list = connected<CD113202>();
  writeRow(*list, 0, "NT-1", "SOLAR", 100000, 300, 0);
  writeRow(*list, 1, "NT-1", "SOLAR", 100000, 300, 0);
  writeRow(*list, 0, "NT-1", "SOLAR", 100000, 300, 1);
  EXPECT_EQ(listRows(), 3);
}

TEST_F(CD113202Test, DeletingARowRemovesOnlyThatRowAndAMissingOneIsNoFailure) {
  auto list = connected<CD113202>();
  writeRow(*list, 0, "NT-1", "SOLAR", 100000, 300, 0);
  writeRow(*list, 0, "NT-2", "SOLAR", 100000, 300, 1);

  list->pDeleteD113202Coll("D113202", 5, 2013, 0, "NT-1", 0, 0);
  list->pDeleteD113202Coll("D113202", 5, 2013, 0, "NT-9", 0, 7);

  EXPECT_EQ(listRows(), 1);
  EXPECT_EQ(listRows("NOBUKTI = 'NT-2'"), 1);
  EXPECT_TRUE(messages().empty());
}

// ---- The hierarchical view --------------------------------------------------------------

TEST_F(CD113202Test, HierarchyAnswersPrimarySecondaryAndTernary) {
  beginPeriod(5);
  auto list = std::make_shared<CD113202>();
  list->pAssignConStr_Shape(store(), "", "");
  writeRow(*list, 0, "NT-1", "SOLAR", 100000, 300, 0);
  writeRow(*list, 0, "NT-2", "SOLAR", 200000, 600, 1);
  writeRow(*list, 1, "NT-3", "SOLAR", 50000, 150, 0);
  writeRow(*list, 0, "NT-4", "PREMIUM", 70000, 210, 2);

  list->pGetD113202(kNpwp, 5, 2013, 0, "SOLAR");

  auto primary = list->GetDataMember("Primary");
  ASSERT_NE(primary, nullptr);
  ASSERT_EQ(primary->RecordCount(), 1);
  EXPECT_EQ(primary->Fields("JENIS_DOKUMEN").Value().text(), "08");
  auto secondary = list->GetDataMember("Secondary");
  ASSERT_NE(secondary, nullptr);
  EXPECT_EQ(secondary->RecordCount(), 2);
  auto ternary = list->GetDataMember("Ternary");
  ASSERT_NE(ternary, nullptr);
  ASSERT_EQ(ternary->RecordCount(), 1);
  EXPECT_EQ(ternary->Fields("NOBUKTI").Value().text(), "NT-3");
  EXPECT_EQ(list->GetDataMember("primary"), nullptr);

  // The same rows as fields.
  EXPECT_EQ(list->aPenjualan(), "SOLAR");
  EXPECT_EQ(list->rs22FormColl1()->RecordCount(), 2);
  EXPECT_EQ(list->rs22FormColl2()->Fields("B5").Value().toDouble(), 50000);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CD113202Test, MoveCompleteOfTheHeaderReachesTheHost) {
  beginPeriod(5);
  auto list = connected<CD113202>();
  int moves = 0;
  list->onMoveComplete([&] { ++moves; });
  list->pGetD113202(kNpwp, 5, 2013, 0, "SOLAR");
  list->GetDataMember("Primary")->MoveNext();
  EXPECT_GE(moves, 1);
}

// ---- Totals -------------------------------------------------------------------------------

TEST_F(CD113202Test, RecountSumsBothCollectionsIntoTheHeader) {
  beginPeriod(5);
  auto list = connected<CD113202>();
  writeRow(*list, 0, "NT-1", "SOLAR", 100000, 300, 0);
  writeRow(*list, 0, "NT-2", "SOLAR", 200000, 600, 1);
  writeRow(*list, 1, "NT-3", "SOLAR", 50000, 150, 0);
  list->pGetD113202(kNpwp, 5, 2013, 0, "SOLAR");

  std::int16_t finalRows = -1, notFinalRows = -1;
  list->pPPhFinal(finalRows);
  list->pPPhTdkFinal(notFinalRows);
  EXPECT_EQ(finalRows, 2);
  EXPECT_EQ(notFinalRows, 1);
  EXPECT_EQ(list->rs22Form()->Fields("I5").Value().toDouble(), 300000);
  EXPECT_EQ(list->rs22Form()->Fields("I6").Value().toDouble(), 900);
  EXPECT_EQ(list->rs22Form()->Fields("II5").Value().toDouble(), 50000);
  EXPECT_EQ(list->rs22Form()->Fields("II6").Value().toDouble(), 150);
}

TEST_F(CD113202Test, RecountOfAnEmptyCollectionLeavesTheTotals) {
  beginPeriod(5);
  auto list = connected<CD113202>();
  list->pGetD113202(kNpwp, 5, 2013, 0, "SOLAR");
  list->rs22Form()->Fields("I5").Value(123.0);

  std::int16_t rows = 0;
  list->pPPhFinal(rows);
  EXPECT_EQ(rows, 0);
  EXPECT_EQ(list->rs22Form()->Fields("I5").Value().toDouble(), 123);
  EXPECT_TRUE(messages().empty());
}

struct TotalsCase {
  const char* name;
  bool add, edit, remove;
  double expectedGross, expectedTax;  // from 1000 / 30 by 200 / 6
};

class CD113202TotalsTest : public CD113202Test, public ::testing::WithParamInterface<TotalsCase> {};

TEST_P(CD113202TotalsTest, TotalsMoveByOneSlipAsTheStatusSays) {
  const auto& c = GetParam();
  beginPeriod(5);
  for (bool final : {true, false}) {
    auto list = connected<CD113202>();
    list->pGetD113202Induk(kNpwp, 5, 2013, 0, "SOLAR");
    list->rs22Form()->Fields(final ? "I5" : "II5").Value(1000.0);
    list->rs22Form()->Fields(final ? "I6" : "II6").Value(30.0);
    list->pAssignStatus(c.add, c.edit, c.remove);
    if (final) {
      list->pJmlPajakFinal(200, 6);
    } else {
      list->pJmlPajakTdkFinal(200, 6);
    }
    list->pUpdate();

    auto reread = connected<CD113202>();
    reread->pGetD113202Induk(kNpwp, 5, 2013, 0, "SOLAR");
    EXPECT_EQ(reread->rs22Form()->Fields(final ? "I5" : "II5").Value().toDouble(), c.expectedGross);
    EXPECT_EQ(reread->rs22Form()->Fields(final ? "I6" : "II6").Value().toDouble(), c.expectedTax);
  }
  EXPECT_TRUE(messages().empty());
}

INSTANTIATE_TEST_SUITE_P(Status, CD113202TotalsTest,
                         ::testing::Values(TotalsCase{"Adding", true, false, false, 1200, 36},
                                           TotalsCase{"Editing", false, true, false, 1200, 36},
                                           TotalsCase{"Deleting", false, false, true, 800, 24},
                                           TotalsCase{"NoStatus", false, false, false, 1000, 30}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(CD113202Test, SavingKeepsTheRateFieldAsWrittenAndOneHeader) {
  beginPeriod(5);
  auto list = connected<CD113202>();
  list->pGetD113202Induk(kNpwp, 5, 2013, 0, "SOLAR");
  list->pAssignStatus(true, false, false);
  list->pJmlPajakFinal(100000, 300);
  list->pUpdate();

  auto rs = query(
      "SELECT DAT_FORM FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' AND "
      "JENIS_DOKUMEN = '08'");
  ASSERT_EQ(rs->RecordCount(), 1);
  EXPECT_EQ(
      rs->Fields("DAT_FORM").Value().text(),
      "012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;5;2013;0;SOLAR;0,3;100000;300;0;0");
  EXPECT_EQ(headerCodes(5).size(), 6u);
}

TEST_F(CD113202Test, PropertiesWriteTheHeaderFields) {
  beginPeriod(5);
  auto list = connected<CD113202>();
  list->pGetD113202Induk(kNpwp, 5, 2013, 0, "SOLAR");
  list->aNPWP("099999999999000");
  list->aNMWP("PT LAIN");
  list->aALM("JL. LAIN");
  list->aTarif("0,5");
  EXPECT_EQ(list->aNPWP().text(), "099999999999000");
  list->pUpdate();

  EXPECT_EQ(scalar("SELECT DAT_FORM FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' AND "
                   "JENIS_DOKUMEN = '08'")
                .text(),
            "099999999999000;PT LAIN;JL. LAIN;5;2013;0;SOLAR;0,5;0;0;0;0");
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
