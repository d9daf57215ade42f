#include "korvane/forms/ssp/import_input.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/forms/ssp/import_list.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kName = "PT MAJU JAYA";
constexpr const char* kAddress = "JL. SUDIRMAN 1 JAKARTA";
constexpr const char* kNoNpwp = "000000000000000";
const Date kToday(2013, 6, 10);

// The amounts of one import slip: line 1 and line 2 for "PPh22Impor", gross and tax for "PPh22".
struct Amounts {
  double a13 = 0, a14 = 0, a23 = 0, a24 = 0;
  double gross = 0, tax = 0;
};
Amounts operator+(const Amounts& x, const Amounts& y) {
  return {x.a13 + y.a13, x.a14 + y.a14,     x.a23 + y.a23,
          x.a24 + y.a24, x.gross + y.gross, x.tax + y.tax};
}

class ImportInputFixture : public testing::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    insertProfile();
    connected<CF113202>()->pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2013, 0, "-", "112", kName,
                                             kAddress, kToday, kToday, "Pemungut");
  }

  static const char* documentOf(const std::string& form) {
    return form == "PPh22Impor" ? "10" : "14";
  }

  // A slip as a host opens it, with its old values taken if found. A buyer named here has no tax
  // number.
  std::shared_ptr<CInputPPh22Impor> loadSlip(const std::string& form, const std::string& nttp,
                                             double seq, const std::string& buyerName = "") {
    auto slip = connected<CInputPPh22Impor>();
    const bool byName = !buyerName.empty();
    slip->pGet(kNpwp, form, documentOf(form), 5, 2013, 0, nttp, "112", kName, kAddress, kToday, seq,
               "", byName ? kNoNpwp : "", buyerName, byName ? "JL. THAMRIN 2" : "");
    if (slip->rs22Form()->RecordCount() == 0) return slip;
    if (form == "PPh22") {
      slip->pAssignOldValues_PPh();
    } else {
      slip->pAssignOldValues();
    }
    return slip;
  }

  // A new slip: its row made and loaded, the buyer and the next sequence of its list filled in.
  std::shared_ptr<CInputPPh22Impor> newSlip(const std::string& form, const std::string& nttp,
                                            const std::string& buyerNpwp = "023456789012000",
                                            const std::string& buyerName = "PT PEMBELI") {
    connected<CInputPPh22Impor>()->pCreateHdr(kNpwp, form, documentOf(form), 5, 2013, 0, nttp,
                                              "112", kName, kAddress, kToday, "", "Pemungut");
    auto slip = loadSlip(form, nttp, 0);
    double seq = -1;
    slip->pGetMaxSeqNo(5, 2013, 0, 0, seq, form);
    slip->aSEQ(seq);
    slip->aNPWPLT(buyerNpwp);
    slip->aNMWPLT(buyerName);
    slip->aALMLT("JL. THAMRIN 2");
    slip->aTGL_PUNGUT(Date(2013, 5, 20));
    return slip;
  }

  static void enter(CInputPPh22Impor& slip, const std::string& form, const Amounts& a) {
    if (form == "PPh22Impor") {
      slip.aA13(a.a13);
      slip.aA14(a.a14);
      slip.aA23(a.a23);
      slip.aA24(a.a24);
      slip.pHitPjk(1);
    } else {
      slip.ajmlBruto(a.gross);
      slip.aPPH(a.tax);
      slip.pHitPjk_PPh(1);
    }
  }

  static double save(CInputPPh22Impor& slip, bool adding) {
    slip.pAssignStatus(adding, !adding, false);
    slip.pUpdate();
    return slip.rs22Form()->Fields("SEQ").Value().toDouble();
  }

  double addSlip(const std::string& form, const std::string& nttp, const Amounts& a,
                 const std::string& buyerNpwp = "023456789012000",
                 const std::string& buyerName = "PT PEMBELI") {
    auto slip = newSlip(form, nttp, buyerNpwp, buyerName);
    enter(*slip, form, a);
    return save(*slip, true);
  }

  double returnLine(const char* column) {
    auto mainReturn = connected<CF113202>();
    mainReturn->pGetF113202(kNpwp, 5, 2013, 0);
    auto value = mainReturn->rs22Form()->Fields(column).Value();
    return value.isNull() ? 0 : value.toDouble();
  }

  std::string mainReturnText() {
    return scalar("SELECT DAT_FORM FROM DS_FORM_INDUK WHERE KD_FORM = 'F113202'").text();
  }

  long rows(const std::string& table, const std::string& form, const std::string& where = "") {
    return count("SELECT COUNT(*) FROM " + table + " WHERE KD_FORM = '" + form + "'" +
                 (where.empty() ? "" : " AND " + where));
  }

  // Import slips move lines 4a and 4b, the others line 3; both count in c2. The list's total is
  // the tax of its slips.
  void expectCarried(const char* step, const std::string& listForm, const Amounts& total,
                     double ssps, long listRows) {
    SCOPED_TRACE(step);
    EXPECT_EQ(returnLine("B4a3"), total.a13);
    EXPECT_EQ(returnLine("B4a4"), total.a14);
    EXPECT_EQ(returnLine("B4b3"), total.a23);
    EXPECT_EQ(returnLine("B4b4"), total.a24);
    EXPECT_EQ(returnLine("B33"), total.gross);
    EXPECT_EQ(returnLine("B34"), total.tax);
    EXPECT_EQ(returnLine("c2"), ssps);
    auto list = connected<CD113203>();
    list->pGetD113203Induk(kNpwp, 5, 2013, 0, listForm);
    EXPECT_EQ(list->rs22Form()->Fields("JmlPPh").Value().toDouble(),
              total.a14 + total.a24 + total.tax);
    EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", listForm), listRows);
  }
};

TEST_F(ImportInputFixture, LinesAddUpWhicheverIsPutLastAndTheSlipKeepsItsRemark) {
  auto slip = newSlip("PPh22Impor", "NT-1");
  const auto totals = [&] {
    return std::make_pair(slip->rs22Form()->Fields("JMLBRUTO").Value().toDouble(),
                          slip->rs22Form()->Fields("PPH").Value().toDouble());
  };
  slip->aA23(250000);
  slip->aA13(1000000);
  slip->aA14(25000);
  slip->aA24(12500);
  EXPECT_EQ(totals(), std::make_pair(1250000.0, 37500.0));
  // Put again, so that each total ends on its other line.
  slip->aA23(250000);
  slip->aA14(25000);
  EXPECT_EQ(totals(), std::make_pair(1250000.0, 37500.0));
  slip->aKeterangan("MESIN BUBUT");
  save(*slip, true);

  auto saved = query("SELECT * FROM DAT_SSP_PPh22 WHERE NOBUKTI = 'NT-1'");
  ASSERT_EQ(saved->RecordCount(), 1);
  EXPECT_EQ(saved->Fields("JENIS_DOKUMEN").Value().text(), "10");
  EXPECT_EQ(saved->Fields("DAT_FORM").Value().text(),
            "5;2013;0;012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;023456789012000;"
            "PT PEMBELI;JL. THAMRIN 2;20/05/2013;1000000;25000;250000;12500;1250000;37500;NT-1;0;"
            "MESIN BUBUT");
  // The list row carries the slip's buyer, its tax, and its gross in the remark column.
  EXPECT_EQ(scalar("SELECT DAT_FORM FROM LAMPIRAN_SSP_PPh22").text(),
            "5;2013;0;023456789012000;PT PEMBELI;JL. THAMRIN 2;NT-1;1250000;;37500");
  EXPECT_TRUE(messages().empty());
}

struct RouteCase {
  const char *name, *form, *otherForm, *listForm;
  Amounts first, second, edited;
};

class CInputPPh22ImporRouteTest : public ImportInputFixture,
                                  public ::testing::WithParamInterface<RouteCase> {};

TEST_P(CInputPPh22ImporRouteTest, SavingEditingAndDeletingMoveTheListAndTheReturnLinesOfTheKind) {
  const auto& c = GetParam();
  addSlip(c.form, "NT-1", c.first);
  EXPECT_EQ(addSlip(c.form, "NT-2", c.second), 1);
  expectCarried("added", c.listForm, c.first + c.second, 2, 2);

  // NTTP and sequence are per kind; without a kind named, the one the object last worked on.
  auto probe = connected<CInputPPh22Impor>();
  RecordsetPtr used;
  probe->pCheckNTTP(kNpwp, 2013, "NT-1", 5, 0, used, c.form);
  ASSERT_NE(used, nullptr);
  EXPECT_EQ(used->RecordCount(), 1);
  probe->pCheckNTTP(kNpwp, 2013, "NT-1", 5, 0, used, c.otherForm);
  EXPECT_EQ(used->RecordCount(), 0);
  double seq = -1;
  probe->pGetMaxSeqNo(5, 2013, 0, 0, seq, c.form);
  EXPECT_EQ(seq, 2);
  probe->pGetMaxSeqNo(5, 2013, 0, 0, seq, c.otherForm);
  EXPECT_EQ(seq, 0);
  probe->pGetMaxSeqNo(5, 2013, 0, 0, seq);
  EXPECT_EQ(seq, 0);

  auto edit = loadSlip(c.form, "NT-1", 0);
  ASSERT_EQ(edit->rs22Form()->RecordCount(), 1);
  enter(*edit, c.form, c.edited);
  save(*edit, false);
  expectCarried("edited", c.listForm, c.edited + c.second, 2, 2);
  EXPECT_EQ(rows("DAT_SSP_PPh22", c.form), 2);

  probe->pDeleteForm(kNpwp, c.form, documentOf(c.form), 5, 2013, 0, "NT-2", "112", "", 1);
  expectCarried("deleted", c.listForm, c.edited, 1, 1);
  EXPECT_EQ(rows("DAT_SSP_PPh22", c.form), 1);
  EXPECT_TRUE(messages().empty());
}

INSTANTIATE_TEST_SUITE_P(Forms, CInputPPh22ImporRouteTest,
                         ::testing::Values(RouteCase{"Import",
                                                     "PPh22Impor",
                                                     "PPh22",
                                                     "D113203",
                                                     {1000000, 25000, 250000, 12500},
                                                     {400000, 10000, 100000, 5000},
                                                     {1200000, 30000, 250000, 12500}},
                                           RouteCase{"Other",
                                                     "PPh22",
                                                     "PPh22Impor",
                                                     "D113203DN",
                                                     {0, 0, 0, 0, 500000, 7500},
                                                     {0, 0, 0, 0, 200000, 3000},
                                                     {0, 0, 0, 0, 600000, 9000}}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(ImportInputFixture, BuyersWithoutTaxNumberUnderOneNttpAreSeparateSlipsFoundByName) {
  addSlip("PPh22Impor", "NT-1", {1000000, 25000}, kNoNpwp, "CV SATU");
  // The second buyer is entered on the same NTTP and sequence.
  auto second = newSlip("PPh22Impor", "NT-1", kNoNpwp, "CV DUA");
  second->aSEQ(0);
  enter(*second, "PPh22Impor", {400000, 10000});
  save(*second, true);
  for (const char* buyer : {"CV SATU", "CV DUA"}) {
    auto slip = loadSlip("PPh22Impor", "NT-1", 0, buyer)->rs22Form();
    ASSERT_EQ(slip->RecordCount(), 1) << buyer;
    EXPECT_EQ(slip->Fields("NMWPLT").Value().text(), buyer);
  }
  expectCarried("both", "D113203", {1400000, 35000}, 2, 2);

  connected<CInputPPh22Impor>()->pDeleteForm(kNpwp, "PPh22Impor", "10", 5, 2013, 0, "NT-1", "112",
                                             "", 0, kNoNpwp, "CV DUA", "JL. THAMRIN 2");
  EXPECT_EQ(loadSlip("PPh22Impor", "NT-1", 0, "CV DUA")->rs22Form()->RecordCount(), 0);
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", "D113203", "DAT_FORM LIKE '%;CV SATU;%'"), 1);
  expectCarried("one deleted", "D113203", {1000000, 25000}, 1, 1);

  // Renaming the buyer edits the same slip: the name it was loaded with still finds the row.
  auto edit = loadSlip("PPh22Impor", "NT-1", 0, "CV SATU");
  ASSERT_EQ(edit->rs22Form()->RecordCount(), 1);
  edit->aNMWPLT("CV SATU ABADI");
  edit->aA13(1100000);
  edit->pHitPjk(1);
  save(*edit, false);
  EXPECT_EQ(loadSlip("PPh22Impor", "NT-1", 0, "CV SATU")->rs22Form()->RecordCount(), 0);
  auto renamed = loadSlip("PPh22Impor", "NT-1", 0, "CV SATU ABADI")->rs22Form();
  ASSERT_EQ(renamed->RecordCount(), 1);
  EXPECT_EQ(renamed->Fields("JMLBRUTO").Value().toDouble(), 1100000);
  EXPECT_EQ(rows("DAT_SSP_PPh22", "PPh22Impor", "DAT_FORM LIKE '%;CV SATU ABADI;%'"), 1);
  EXPECT_EQ(returnLine("B4a3"), 1100000);
  EXPECT_EQ(returnLine("c2"), 1);
  EXPECT_TRUE(messages().empty());
}

TEST_F(ImportInputFixture, AKindOfSlipItDoesNotEditIsRefused) {
  connected<CInputPPh22Impor>()->pCreateHdr(kNpwp, "PPh22MigasFinal", "05", 5, 2013, 0, "NT-1",
                                            "112", kName, kAddress, kToday, "", "Pemungut");
  EXPECT_EQ(messages().size(), 1u);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_SSP_PPh22 WHERE NOBUKTI = 'NT-1'"), 0);
}

TEST_F(ImportInputFixture, SelfPaidSlipKeepsItsOwnCodesMovesItsListAndLeavesTheMainReturn) {
  const auto mainBefore = mainReturnText();
  auto load = [&] {
    auto slip = connected<CInputPPh22DbyrSdr>();
    slip->pGet(kNpwp, "PPh22ImporDbyrSdr", "11", 5, 2013, 0, "NT-9", "112", kName, kAddress, kToday,
               0);
    slip->pAssignOldValues();
    return slip;
  };
  auto listTotals = [&] {
    auto list = connected<CDPPh22DbyrSdr>();
    list->pGetD113203Induk(kNpwp, 5, 2013, 0);
    auto form = list->rs22Form();
    return std::make_pair(form->Fields("JMLPHSL").Value().toDouble(),
                          form->Fields("JmlPPh").Value().toDouble());
  };
  // The codes the caller passes are not written.
  auto create = connected<CInputPPh22DbyrSdr>();
  create->pCreateHdr(kNpwp, "PPh22Impor", "10", 5, 2013, 0, "NT-9", "112", kName, kAddress, kToday);
  EXPECT_EQ(rows("DAT_SSP_PPh22", "PPh22ImporDbyrSdr", "JENIS_DOKUMEN = '11'"), 1);
  EXPECT_EQ(rows("DAT_SSP_PPh22", "PPh22Impor"), 0);
  RecordsetPtr used;
  create->pCheckNTTP(kNpwp, 2013, "NT-9", 5, 0, used);
  ASSERT_NE(used, nullptr);
  EXPECT_EQ(used->RecordCount(), 1);
  connected<CInputPPh22Impor>()->pCheckNTTP(kNpwp, 2013, "NT-9", 5, 0, used, "PPh22Impor");
  EXPECT_EQ(used->RecordCount(), 0);

  auto slip = load();
  double seq = -1;
  slip->pGetMaxSeqNo(5, 2013, 0, 0, seq);
  slip->aSEQ(seq);
  slip->aTGL_PUNGUT(Date(2013, 5, 20));
  slip->aNoPIB("PIB-1");
  slip->ajmlBruto(400000);
  slip->aPPH(10000);
  slip->pHitPjk(1);
  slip->pAssignStatus(true, false, false);
  slip->pUpdate();
  EXPECT_EQ(mainReturnText(), mainBefore);
  EXPECT_EQ(returnLine("c2"), 0);
  EXPECT_EQ(listTotals(), std::make_pair(400000.0, 10000.0));
  EXPECT_EQ(
      scalar("SELECT DAT_FORM FROM LAMPIRAN_SSP_PPh22 WHERE KD_FORM = 'DImporDbyrSdr'").text(),
      "5;2013;0;NT-9;20/05/2013;PIB-1;400000;10000");
  EXPECT_EQ(
      scalar("SELECT DAT_FORM FROM DAT_SSP_PPh22 WHERE KD_FORM = 'PPh22ImporDbyrSdr'").text(),
      "5;2013;0;012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;;;;20/05/2013;400000;10000;"
      "NT-9;0;PIB-1");

  // Raising the tax from 10,000 to 12,000 moves the list by 2,000 and still not the return.
  auto edit = load();
  ASSERT_EQ(edit->rs22Form()->RecordCount(), 1);
  edit->aPPH(12000);
  edit->pAssignStatus(false, true, false);
  edit->pUpdate();
  EXPECT_EQ(listTotals(), std::make_pair(400000.0, 12000.0));
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", "DImporDbyrSdr"), 1);
  EXPECT_EQ(mainReturnText(), mainBefore);

  edit->pDeleteForm(kNpwp, "PPh22ImporDbyrSdr", "11", 5, 2013, 0, "NT-9", "112", 0);
  EXPECT_EQ(rows("DAT_SSP_PPh22", "PPh22ImporDbyrSdr"), 0);
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", "DImporDbyrSdr"), 0);
  EXPECT_EQ(listTotals(), std::make_pair(0.0, 0.0));
  EXPECT_EQ(mainReturnText(), mainBefore);
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
