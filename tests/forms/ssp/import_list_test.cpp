#include "korvane/forms/ssp/import_list.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "korvane/forms/main/main_return.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kName = "PT MAJU JAYA";
constexpr const char* kAddress = "JL. SUDIRMAN 1 JAKARTA";
const Date kToday(2013, 6, 10);

class ImportListFixture : public testing::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    insertProfile();
    // May 2013 is begun as the main return begins a period: its list headers are there.
    connected<CF113202>()->pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2013, 0, "-", "112", kName,
                                             kAddress, kToday, kToday, "Pemungut");
  }

  static void writeImportRow(CD113203& list, const std::string& form, const std::string& nttp,
                             const std::string& buyerNpwp, const std::string& buyerName, double tax,
                             double seq) {
    list.pCreateD113203Hdr(5, 2013, 0, 0, nttp, buyerNpwp, "JL. THAMRIN 2", buyerName, "1000000",
                           tax, seq, form);
  }

  long listRows(const std::string& form, const std::string& where = "") {
    return count("SELECT COUNT(*) FROM LAMPIRAN_SSP_PPh22 WHERE KD_FORM = '" + form + "'" +
                 (where.empty() ? "" : " AND " + where));
  }

  // The totals of a list header: its packed text after the taxpayer and the period.
  std::string headerTotals(const std::string& form) {
    const auto text =
        scalar("SELECT DAT_FORM FROM DAT_SSP_PPh22 WHERE KD_FORM = '" + form + "' AND MS_PAJAK = 5")
            .text();
    std::size_t start = 0;
    for (int field = 0; field < 6 && start != std::string::npos; ++field) {
      start = text.find(';', start);
      if (start != std::string::npos) ++start;
    }
    return start == std::string::npos ? std::string() : text.substr(start);
  }
};

TEST_F(ImportListFixture, HeadersAreWrittenWithTheirCodesAndFoundByTaxpayerAndPeriod) {
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
  auto header = query("SELECT * FROM DAT_SSP_PPh22 WHERE MS_PAJAK = 7");
  ASSERT_EQ(header->RecordCount(), 1);
  EXPECT_EQ(header->Fields("KD_FORM").Value().text(), " & sKdForm &  ");
  EXPECT_EQ(header->Fields("JENIS_DOKUMEN").Value().text(), "08");
  EXPECT_EQ(header->Fields("NOBUKTI").Value().text(), "-");
  EXPECT_EQ(header->Fields("KD_JENIS_PAJAK").Value().text(), "112");
  EXPECT_EQ(header->Fields("TGL_REKAM").Value().text(), "10/06/2013");
  EXPECT_EQ(header->Fields("DAT_FORM").Value().text(),
            "012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;7;2013;0;0");
  for (const char* form : {"D113203", "D113203DN"}) {
    exists = true;
    list->pCheckHdr(kNpwp, 7, 2013, 0, form, exists);
    EXPECT_FALSE(exists) << form;
  }

  // The self-paid list writes its own codes and finds its header again.
  auto selfPaid = connected<CDPPh22DbyrSdr>();
  selfPaid->pCreateHdrInduk(8, 2013, 0, kNpwp, kAddress, kName, kToday);
  header = query("SELECT * FROM DAT_SSP_PPh22 WHERE MS_PAJAK = 8");
  ASSERT_EQ(header->RecordCount(), 1);
  EXPECT_EQ(header->Fields("KD_FORM").Value().text(), "DImporDbyrSdr");
  EXPECT_EQ(header->Fields("JENIS_DOKUMEN").Value().text(), "12");
  EXPECT_EQ(header->Fields("DAT_FORM").Value().text(),
            "012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;8;2013;0;0;0");
  selfPaid->pCheckHdr(kNpwp, 8, 2013, 0, exists);
  EXPECT_TRUE(exists);
  EXPECT_TRUE(messages().empty());
}

// A period that was never begun has no header: a list that is adding writes one on saving.
TEST_F(ImportListFixture, SavingWhileAddingWritesTheMissingHeader) {
  const struct {
    const char* form;
    std::int16_t month;
    const char* kind;
  } cases[] = {{"D113203", 8, "08"}, {"D113203DN", 9, "13"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.form);
    const auto month = std::to_string(c.month);
    auto list = connected<CD113203>();
    list->pGetD113203Induk(kNpwp, c.month, 2013, 0, c.form);
    auto form = list->rs22Form();
    ASSERT_NE(form, nullptr);
    ASSERT_EQ(form->RecordCount(), 0);
    form->AddNew();
    form->Fields("MS_PAJAK").Value(c.month);
    form->Fields("TH_PAJAK").Value(std::int16_t{2013});
    form->Fields("KD_PEMBETULAN_KE").Value(std::int16_t{0});
    form->Fields("JmlPPh").Value(0.0);

    list->pAssignStatus(false, true, false);
    list->pUpdate();
    EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_SSP_PPh22 WHERE MS_PAJAK = " + month), 0);

    list->pAssignStatus(true, false, false);
    list->pUpdate();
    auto header = query("SELECT * FROM DAT_SSP_PPh22 WHERE MS_PAJAK = " + month);
    ASSERT_EQ(header->RecordCount(), 1);
    EXPECT_EQ(header->Fields("NPWP").Value().text(), kNpwp);
    EXPECT_EQ(header->Fields("KD_FORM").Value().text(), c.form);
    EXPECT_EQ(header->Fields("JENIS_DOKUMEN").Value().text(), c.kind);
    EXPECT_EQ(header->Fields("NOBUKTI").Value().text(), "-");
    EXPECT_EQ(header->Fields("KD_JENIS_PAJAK").Value().text(), "112");
    EXPECT_EQ(header->Fields("NIP").Value().text(), "-");
    EXPECT_EQ(header->Fields("TGL_REKAM").Value().text(), Date::today().text());
    EXPECT_EQ(header->Fields("DAT_FORM").Value().text(), ";;;" + month + ";2013;0;0");
    bool exists = false;
    list->pCheckHdr(kNpwp, c.month, 2013, 0, c.form, exists);
    EXPECT_TRUE(exists);
  }
  EXPECT_TRUE(messages().empty());
}

// A row is replaced by one with the same NTTP and sequence, unless both buyers have no tax
// number and differ in name.
TEST_F(ImportListFixture, RowWithTheSameKeyIsReplacedAndPackedInItsFieldOrder) {
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
    EXPECT_EQ(listRows("D113203", ofSlip), c.rows);
    // Deleting the first buyer's row leaves what belongs to the second.
    list->pDeleteD113203Coll("D113203", 5, 2013, 0, c.nttp, 0, 1, c.buyerNpwp, "CV SATU",
                             "JL. THAMRIN 2");
    EXPECT_EQ(listRows("D113203", ofSlip), c.rows - 1);
  }

  writeImportRow(*list, "D113203DN", "NT-5", "023456789012000", "CV SATU", 25000, 3);
  auto row = query("SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE KD_FORM = 'D113203DN'");
  ASSERT_EQ(row->RecordCount(), 1);
  EXPECT_EQ(row->Fields("COLLNO").Value().toInt16(), 0);
  EXPECT_EQ(row->Fields("SEQ").Value().toDouble(), 3);
  EXPECT_EQ(row->Fields("NOBUKTI").Value().text(), "NT-5");
  EXPECT_EQ(row->Fields("DAT_FORM").Value().text(),
            "5;2013;3;023456789012000;CV SATU;JL. THAMRIN 2;NT-5;1000000;;25000");
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
  auto row = query("SELECT * FROM LAMPIRAN_SSP_PPh22");
  ASSERT_EQ(row->RecordCount(), 1);
  EXPECT_EQ(row->Fields("KD_FORM").Value().text(), "DImporDbyrSdr");
  EXPECT_EQ(row->Fields("DAT_FORM").Value().text(), "5;2013;2;NT-1;21/05/2013;PIB-1;400000;12000");

  list->pCreateD113203Hdr(5, 2013, 0, 0, "NT-2", Date(2013, 5, 21), "PIB-2", 200000, 5000, 3);
  list->pGetD113203(kNpwp, 5, 2013, 0);
  ASSERT_TRUE(messages().empty());
  EXPECT_EQ(list->GetDataMember("Primary")->Fields("KD_FORM").Value().text(), "DImporDbyrSdr");
  ASSERT_NE(list->rs22FormColl1(), nullptr);
  EXPECT_EQ(list->rs22FormColl1()->RecordCount(), 2);
  EXPECT_EQ(list->rs22FormColl1()->Fields("NoPIB").Value().text(), "PIB-1");

  // Another sequence is another row; deleting what is not there does nothing.
  list->pDeleteD113203Coll("DImporDbyrSdr", 5, 2013, 0, "NT-1", 0, 3);
  EXPECT_EQ(listRows("DImporDbyrSdr"), 2);
  list->pDeleteD113203Coll("DImporDbyrSdr", 5, 2013, 0, "NT-1", 0, 2);
  EXPECT_EQ(listRows("DImporDbyrSdr"), 1);
  EXPECT_TRUE(messages().empty());
}

TEST_F(ImportListFixture, CollectionShowsEveryRowOfTheFormAndPeriodWhateverItsText) {
  auto row = [&](const char* form, int month, int correction, int collection, int seq,
                 const char* text) {
    exec("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ('" + std::string(form) + "', " +
         std::to_string(month) + ", 2013, " + std::to_string(correction) + ", " +
         std::to_string(collection) + ", " + std::to_string(seq) + ", 'NT-" + std::to_string(seq) +
         "', '" + text + "')");
  };
  row("D113203", 5, 0, 0, 1, "5;2013;1;01;CV SATU;JL A;NT-1;;;100");
  row("D113203", 5, 0, 0, 2, "6;2012;9;TEXT OF ANOTHER PERIOD");
  row("D113203", 5, 0, 0, 3, "");
  row("D113203DN", 5, 0, 0, 4, "5;2013;4;04;CV EMPAT;JL D;NT-4;;;400");
  row("D113203", 5, 1, 0, 5, "5;2013;5;");  // another correction
  row("D113203", 6, 0, 0, 6, "5;2013;6;");  // another month
  row("D113203", 5, 0, 1, 7, "5;2013;7;");  // another collection
  row("DImporDbyrSdr", 5, 0, 0, 8, "5;2013;8;");

  const std::pair<const char*, long> cases[] = {{"D113203", 3}, {"D113203DN", 1}};
  for (const auto& [form, rows] : cases) {
    SCOPED_TRACE(form);
    auto list = connected<CD113203>();
    list->pAssignConStr_Shape(store(), user(), password());
    list->pGetD113203(kNpwp, 5, 2013, 0, form);
    for (auto& m : messages()) ADD_FAILURE() << m.text;
    auto primary = list->GetDataMember("Primary");
    ASSERT_NE(primary, nullptr);
    ASSERT_EQ(primary->RecordCount(), 1);
    EXPECT_EQ(primary->Fields("KD_FORM").Value().text(), form);
    auto secondary = list->GetDataMember("Secondary");
    ASSERT_NE(secondary, nullptr);
    EXPECT_EQ(secondary->RecordCount(), rows);
    // There is no second collection: asking for it is reported.
    EXPECT_EQ(list->GetDataMember("Ternary"), nullptr);
    EXPECT_EQ(messages().size(), 1u);
    clearMessages();
    ASSERT_NE(list->rs22FormColl1(), nullptr);
    EXPECT_EQ(list->rs22FormColl1()->RecordCount(), rows);
    EXPECT_EQ(list->rs22Form()->Fields("JmlPPh").Value().toDouble(), 0);
  }
}

TEST_F(ImportListFixture, CD113203RecountsItsCollectionAndSavesTheTotal) {
  auto list = connected<CD113203>();
  writeImportRow(*list, "D113203", "NT-1", "023456789012000", "CV SATU", 25000, 0);
  writeImportRow(*list, "D113203", "NT-2", "023456789012000", "CV SATU", 15000, 1);
  writeImportRow(*list, "D113203DN", "NT-3", "023456789012000", "CV SATU", 99000, 0);
  list->pGetD113203(kNpwp, 5, 2013, 0, "D113203");
  std::int16_t nrec = -1;
  list->pPPhFinal(nrec);
  EXPECT_EQ(nrec, 2);
  list->pUpdate();
  EXPECT_EQ(headerTotals("D113203"), "40000");
  EXPECT_EQ(headerTotals("D113203DN"), "0");
  EXPECT_TRUE(messages().empty());
}

TEST_F(ImportListFixture, OneSlipMovesTheTotalsByTheListStatus) {
  const std::string selfPaidBegun =
      scalar("SELECT DAT_FORM FROM DAT_SSP_PPh22 WHERE KD_FORM = 'DImporDbyrSdr'").text();
  const struct {
    const char* name;
    bool adding, editing, deleting;
    double tax;            // from 40000, moved by one slip of 15000
    const char* selfPaid;  // gross and tax, moved by 600000 and 15000
  } cases[] = {{"Adding", true, false, false, 55000, "600000;15000"},
               {"Editing", false, true, false, 55000, "600000;15000"},
               {"Deleting", false, false, true, 25000, "-600000;-15000"},
               {"None", false, false, false, 40000, "0;"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    exec("UPDATE DAT_SSP_PPh22 SET DAT_FORM = '" + std::string(kNpwp) +
         ";;;5;2013;0;40000' WHERE KD_FORM = 'D113203'");
    exec("UPDATE DAT_SSP_PPh22 SET DAT_FORM = '" + selfPaidBegun +
         "' WHERE KD_FORM = 'DImporDbyrSdr'");
    auto list = connected<CD113203>();
    list->pGetD113203Induk(kNpwp, 5, 2013, 0, "D113203");
    list->pAssignStatus(c.adding, c.editing, c.deleting);
    list->pJmlPajak(15000);
    list->pUpdate();
    EXPECT_EQ(headerTotals("D113203"), numberText(c.tax));

    // The self-paid list moves its gross and tax alike; the tax field the period began without
    // counts as 0.
    auto selfPaid = connected<CDPPh22DbyrSdr>();
    selfPaid->pGetD113203Induk(kNpwp, 5, 2013, 0);
    selfPaid->pAssignStatus(c.adding, c.editing, c.deleting);
    selfPaid->pJmlPajak(600000, 15000);
    selfPaid->pUpdate();
    EXPECT_EQ(headerTotals("DImporDbyrSdr"), c.selfPaid);
  }
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
