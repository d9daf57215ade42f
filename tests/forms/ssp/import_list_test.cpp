#include "korvane/forms/ssp/import_list.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "korvane/forms/main/main_return.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

const Date kToday(2013, 6, 10);
const std::string kIdentity = "012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;";

class ImportListFixture : public testing::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    beginMay2013(kToday);
  }

  static void writeImportRow(CD113203& list, const std::string& form, const std::string& nttp,
                             const std::string& buyerNpwp, const std::string& buyerName, double tax,
                             double seq) {
    list.pCreateD113203Hdr(5, 2013, 0, 0, nttp, buyerNpwp, "JL. THAMRIN 2", buyerName, "1000000",
                           tax, seq, form);
  }

  std::string headerText(const std::string& form) {
    return rowOf("SELECT DAT_FORM FROM DAT_SSP_PPh22 WHERE KD_FORM = '" + form +
                 "' AND MS_PAJAK = 5");
  }
};

TEST_F(ImportListFixture, HeadersAreWrittenWithTheirCodesFoundByTaxpayerAndPeriodAndWhenMissing) {
  auto list = connected<CD113203>();
  bool exists = false;
  for (const char* form : {"D113203", "D113203DN"}) {
    list->pCheckHdr(kNpwp, 5, 2013, 0, form, exists);
    EXPECT_TRUE(exists) << form;
    list->pCheckHdr("099999999999000", 5, 2013, 0, form, exists);
    EXPECT_FALSE(exists) << form;
  }

  // Kept: CD113203 stores its header under a fixed piece of text, so it is not found again.
  list->pCreateHdrInduk(7, 2013, 0, kNpwp, kAddress, kName, kToday, "D113203", "08");
  EXPECT_EQ(rowOf("SELECT KD_FORM, JENIS_DOKUMEN, NOBUKTI, KD_JENIS_PAJAK, TGL_REKAM, DAT_FORM "
                  "FROM DAT_SSP_PPh22 WHERE MS_PAJAK = 7"),
            " & sKdForm &  |08|-|112|10/06/2013|" + kIdentity + "7;2013;0;0");
  list->pCheckHdr(kNpwp, 7, 2013, 0, "D113203", exists);
  EXPECT_FALSE(exists);

  // The self-paid list writes its own codes and finds its header again.
  auto selfPaid = connected<CDPPh22DbyrSdr>();
  selfPaid->pCreateHdrInduk(8, 2013, 0, kNpwp, kAddress, kName, kToday);
  EXPECT_EQ(rowOf("SELECT KD_FORM, JENIS_DOKUMEN, DAT_FORM FROM DAT_SSP_PPh22 WHERE MS_PAJAK = 8"),
            "DImporDbyrSdr|12|" + kIdentity + "8;2013;0;0;0");
  selfPaid->pCheckHdr(kNpwp, 8, 2013, 0, exists);
  EXPECT_TRUE(exists);

  // A period that was never begun has no header: a list that is adding writes one on saving.
  const struct {
    const char* form;
    int month;
    const char* kind;
  } cases[] = {{"D113203", 9, "08"}, {"D113203DN", 10, "13"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.form);
    const auto month = std::to_string(c.month);
    auto fresh = connected<CD113203>();
    fresh->pGetD113203Induk(kNpwp, c.month, 2013, 0, c.form);
    auto header = fresh->rs22Form();
    header->AddNew();
    header->Fields("MS_PAJAK").Value(static_cast<std::int16_t>(c.month));
    header->Fields("TH_PAJAK").Value(std::int16_t{2013});
    header->Fields("KD_PEMBETULAN_KE").Value(std::int16_t{0});
    header->Fields("JmlPPh").Value(0.0);
    const std::string written =
        "SELECT NPWP, KD_FORM, JENIS_DOKUMEN, NOBUKTI, KD_JENIS_PAJAK, NIP, TGL_REKAM, DAT_FORM "
        "FROM DAT_SSP_PPh22 WHERE MS_PAJAK = " +
        month;
    fresh->pAssignStatus(false, true, false);
    fresh->pUpdate();
    EXPECT_EQ(rowOf(written), "");
    fresh->pAssignStatus(true, false, false);
    fresh->pUpdate();
    EXPECT_EQ(rowOf(written), std::string(kNpwp) + "|" + c.form + "|" + c.kind + "|-|112|-|" +
                                  Date::today().text() + "|;;;" + month + ";2013;0;0");
  }
  EXPECT_TRUE(messages().empty());
}

// A row is replaced by one with the same NTTP and sequence, unless both buyers have no tax
// number and differ in name. Deleting the first buyer's row leaves what belongs to the second.
TEST_F(ImportListFixture, RowWithTheSameKeyIsReplacedUnlessBuyersWithoutTaxNumberDiffer) {
  const struct {
    const char *nttp, *buyerNpwp, *secondName;
    long rows;
  } cases[] = {{"NT-1", "000000000000000", "CV DUA", 2},
               {"NT-2", "0000000000000000", "CV DUA", 2},
               {"NT-3", "000000000000000", "CV SATU", 1},
               {"NT-4", "023456789012000", "CV DUA", 1}};
  auto list = connected<CD113203>();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.nttp);
    const std::string ofSlip = "NOBUKTI = '" + std::string(c.nttp) + "'";
    writeImportRow(*list, "D113203", c.nttp, c.buyerNpwp, "CV SATU", 25000, 1);
    writeImportRow(*list, "D113203", c.nttp, c.buyerNpwp, c.secondName, 15000, 1);
    EXPECT_EQ(count("SELECT COUNT(*) FROM LAMPIRAN_SSP_PPh22 WHERE " + ofSlip), c.rows);
    list->pDeleteD113203Coll("D113203", 5, 2013, 0, c.nttp, 0, 1, c.buyerNpwp, "CV SATU",
                             "JL. THAMRIN 2");
    EXPECT_EQ(count("SELECT COUNT(*) FROM LAMPIRAN_SSP_PPh22 WHERE " + ofSlip), c.rows - 1);
  }
  EXPECT_TRUE(messages().empty());
}

TEST_F(ImportListFixture, SelfPaidRowsAreReplacedUnderTheirKeyLoadedAndDeleted) {
  auto list = connected<CDPPh22DbyrSdr>();
  std::int16_t nrec = -1;
  list->pGetD113203(kNpwp, 5, 2013, 0);
  list->pPPhFinal(nrec);
  EXPECT_EQ(nrec, 0);

  list->pCreateD113203Hdr(5, 2013, 0, 0, "NT-1", Date(2013, 5, 20), "PIB-1", 400000, 10000, 2);
  list->pCreateD113203Hdr(5, 2013, 0, 0, "NT-1", Date(2013, 5, 21), "PIB-1", 400000, 12000, 2);
  list->pCreateD113203Hdr(5, 2013, 0, 0, "NT-2", Date(2013, 5, 21), "PIB-2", 200000, 5000, 3);
  list->pDeleteD113203Coll("DImporDbyrSdr", 5, 2013, 0, "NT-2", 0, 2);  // not there: nothing
  list->pGetD113203(kNpwp, 5, 2013, 0);
  EXPECT_EQ(list->GetDataMember("Primary")->Fields("KD_FORM").Value().text(), "DImporDbyrSdr");
  EXPECT_EQ(list->rs22FormColl1()->RecordCount(), 2);
  EXPECT_EQ(list->rs22FormColl1()->Fields("NoPIB").Value().text(), "PIB-1");
  EXPECT_EQ(rowOf("SELECT KD_FORM, DAT_FORM FROM LAMPIRAN_SSP_PPh22 WHERE NOBUKTI = 'NT-1'"),
            "DImporDbyrSdr|5;2013;2;NT-1;21/05/2013;PIB-1;400000;12000");
  list->pDeleteD113203Coll("DImporDbyrSdr", 5, 2013, 0, "NT-1", 0, 2);
  EXPECT_EQ(rowOf("SELECT NOBUKTI FROM LAMPIRAN_SSP_PPh22"), "NT-2");
  EXPECT_TRUE(messages().empty());
}

TEST_F(ImportListFixture, CollectionShowsEveryRowOfTheFormAndPeriodWhateverItsText) {
  exec(
      "INSERT INTO LAMPIRAN_SSP_PPh22 VALUES "
      "('D113203', 5, 2013, 0, 0, 1, 'NT-1', '5;2013;1;01;CV SATU;JL A;NT-1;;;100'), "
      "('D113203', 5, 2013, 0, 0, 2, 'NT-2', '6;2012;9;TEXT OF ANOTHER PERIOD'), "
      "('D113203', 5, 2013, 0, 0, 3, 'NT-3', ''), "
      "('D113203DN', 5, 2013, 0, 0, 4, 'NT-4', '5;2013;4;04;CV EMPAT;JL D;NT-4;;;400'), "
      "('D113203', 5, 2013, 1, 0, 5, 'NT-5', '5;2013;5;'), "  // another correction
      "('D113203', 6, 2013, 0, 0, 6, 'NT-6', '5;2013;6;'), "  // another month
      "('D113203', 5, 2013, 0, 1, 7, 'NT-7', '5;2013;7;'), "  // another collection
      "('DImporDbyrSdr', 5, 2013, 0, 0, 8, 'NT-8', '5;2013;8;')");

  const std::pair<const char*, long> cases[] = {{"D113203", 3}, {"D113203DN", 1}};
  for (const auto& [form, rows] : cases) {
    SCOPED_TRACE(form);
    auto list = connected<CD113203>();
    list->pAssignConStr_Shape(store(), user(), password());
    list->pGetD113203(kNpwp, 5, 2013, 0, form);
    EXPECT_TRUE(messages().empty());
    EXPECT_EQ(list->GetDataMember("Primary")->Fields("KD_FORM").Value().text(), form);
    EXPECT_EQ(list->GetDataMember("Secondary")->RecordCount(), rows);
    EXPECT_EQ(list->rs22FormColl1()->RecordCount(), rows);
    // There is no second collection: asking for it is reported.
    EXPECT_EQ(list->GetDataMember("Ternary"), nullptr);
    EXPECT_EQ(messages().size(), 1u);
    clearMessages();
  }
}

// Adding, editing and deleting move the totals as the input classes drive them (see
// ssp_input_test.cpp); without a status nothing moves, and the self-paid list's tax field that
// the period began without stays empty.
TEST_F(ImportListFixture, RecountingSavesTheCollectionsTotalAndWithoutAStatusNoTotalMoves) {
  auto list = connected<CD113203>();
  writeImportRow(*list, "D113203", "NT-1", "023456789012000", "CV SATU", 25000, 0);
  writeImportRow(*list, "D113203", "NT-2", "023456789012000", "CV SATU", 15000, 1);
  writeImportRow(*list, "D113203DN", "NT-3", "023456789012000", "CV SATU", 99000, 0);
  list->pGetD113203(kNpwp, 5, 2013, 0, "D113203");
  std::int16_t nrec = -1;
  list->pPPhFinal(nrec);
  EXPECT_EQ(nrec, 2);
  list->pAssignStatus(false, false, false);
  list->pJmlPajak(15000);
  list->pUpdate();
  EXPECT_EQ(headerText("D113203"), kIdentity + "5;2013;0;40000");
  EXPECT_EQ(headerText("D113203DN"), kIdentity + "5;2013;0;0");

  auto selfPaid = connected<CDPPh22DbyrSdr>();
  selfPaid->pGetD113203Induk(kNpwp, 5, 2013, 0);
  selfPaid->pAssignStatus(false, false, false);
  selfPaid->pJmlPajak(600000, 15000);
  selfPaid->pUpdate();
  EXPECT_EQ(headerText("DImporDbyrSdr"), kIdentity + "5;2013;0;0;");
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
