#include "korvane/forms/ssp/import_input.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

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

class ImportInputFixture : public testing::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    insertProfile();
    auto mainReturn = connected<CF113202>();
    mainReturn->pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2013, 0, "-", "112", kName, kAddress,
                                  kToday, kToday, "Pemungut");
  }

  static const char* documentOf(const std::string& form) {
    return form == "PPh22Impor" ? "10" : "14";
  }

  // A new slip as a host begins it: the row is made and loaded, its old values taken, and the
  // buyer and the next sequence of its list filled in.
  std::shared_ptr<CInputPPh22Impor> newSlip(const std::string& form, const std::string& nttp,
                                            const std::string& buyerNpwp = "023456789012000",
                                            const std::string& buyerName = "PT PEMBELI") {
    auto slip = connected<CInputPPh22Impor>();
    slip->pCreateHdr(kNpwp, form, documentOf(form), 5, 2013, 0, nttp, "112", kName, kAddress,
                     kToday, "", "Pemungut");
    slip->pGet(kNpwp, form, documentOf(form), 5, 2013, 0, nttp, "112", kName, kAddress, kToday, 0);
    if (form == "PPh22") {
      slip->pAssignOldValues_PPh();
    } else {
      slip->pAssignOldValues();
    }
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

  double addSlip(const std::string& form, const std::string& nttp, const Amounts& a,
                 const std::string& buyerNpwp = "023456789012000",
                 const std::string& buyerName = "PT PEMBELI") {
    auto slip = newSlip(form, nttp, buyerNpwp, buyerName);
    enter(*slip, form, a);
    slip->pAssignStatus(true, false, false);
    slip->pUpdate();
    return slip->rs22Form()->Fields("SEQ").Value().toDouble();
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

  double importListTax(const std::string& listForm) {
    auto list = connected<CD113203>();
    list->pGetD113203Induk(kNpwp, 5, 2013, 0, listForm);
    return list->rs22Form()->Fields("JmlPPh").Value().toDouble();
  }

  long rows(const std::string& table, const std::string& form, const std::string& where = "") {
    return count("SELECT COUNT(*) FROM " + table + " WHERE KD_FORM = '" + form + "'" +
                 (where.empty() ? "" : " AND " + where));
  }
};

// ---- Amounts -----------------------------------------------------------------------------------

class CInputPPh22ImporTotalsTest : public ImportInputFixture,
                                   public ::testing::WithParamInterface<bool> {};

TEST_P(CInputPPh22ImporTotalsTest, LinesAddUpWhicheverIsPutLast) {
  auto slip = newSlip("PPh22Impor", "NT-1");
  if (GetParam()) {
    slip->aA13(1000000);
    slip->aA23(250000);
    slip->aA14(25000);
    slip->aA24(12500);
  } else {
    slip->aA23(250000);
    slip->aA13(1000000);
    slip->aA24(12500);
    slip->aA14(25000);
  }
  EXPECT_EQ(slip->rs22Form()->Fields("JMLBRUTO").Value().toDouble(), 1250000);
  EXPECT_EQ(slip->rs22Form()->Fields("PPH").Value().toDouble(), 37500);
  EXPECT_TRUE(messages().empty());
}

INSTANTIATE_TEST_SUITE_P(Order, CInputPPh22ImporTotalsTest, ::testing::Values(true, false),
                         [](const auto& row) {
                           return std::string(row.param ? "Line1First" : "Line2First");
                         });

TEST_F(ImportInputFixture, SavedSlipKeepsItsRemarkInItsPackedText) {
  auto slip = newSlip("PPh22Impor", "NT-1");
  enter(*slip, "PPh22Impor", {1000000, 25000, 250000, 12500, 0, 0});
  slip->aKeterangan("MESIN BUBUT");
  slip->pAssignStatus(true, false, false);
  slip->pUpdate();

  auto saved = query("SELECT * FROM DAT_SSP_PPh22 WHERE KD_FORM = 'PPh22Impor'");
  ASSERT_EQ(saved->RecordCount(), 1);
  EXPECT_EQ(saved->Fields("JENIS_DOKUMEN").Value().text(), "10");
  EXPECT_EQ(saved->Fields("NOBUKTI").Value().text(), "NT-1");
  EXPECT_EQ(saved->Fields("DAT_FORM").Value().text(),
            "5;2013;0;012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;023456789012000;"
            "PT PEMBELI;JL. THAMRIN 2;20/05/2013;1000000;25000;250000;12500;1250000;37500;NT-1;0;"
            "MESIN BUBUT");
  // The list row carries the slip's buyer, its tax, and its gross in the remark column.
  EXPECT_EQ(scalar("SELECT DAT_FORM FROM LAMPIRAN_SSP_PPh22").text(),
            "5;2013;0;023456789012000;PT PEMBELI;JL. THAMRIN 2;NT-1;1250000;;37500");
  EXPECT_TRUE(messages().empty());
}

// ---- Routes ------------------------------------------------------------------------------------

struct RouteCase {
  const char* name;
  const char* form;
  const char* listForm;
  Amounts first;
  Amounts second;
  std::vector<std::pair<const char*, double>> linesOfBoth;   // after adding both slips
  std::vector<std::pair<const char*, double>> linesOfFirst;  // after deleting the second
};

class CInputPPh22ImporRouteTest : public ImportInputFixture,
                                  public ::testing::WithParamInterface<RouteCase> {};

TEST_P(CInputPPh22ImporRouteTest, SavingAndDeletingMoveTheirListAndTheirReturnLines) {
  const auto& c = GetParam();
  addSlip(c.form, "NT-1", c.first);
  const double seq = addSlip(c.form, "NT-2", c.second);
  EXPECT_EQ(seq, 1);

  for (const auto& [column, value] : c.linesOfBoth) EXPECT_EQ(returnLine(column), value) << column;
  EXPECT_EQ(returnLine("c2"), 2);
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", c.listForm), 2);
  EXPECT_EQ(importListTax(c.listForm),
            c.first.a14 + c.first.a24 + c.first.tax + c.second.a14 + c.second.a24 + c.second.tax);

  auto remove = connected<CInputPPh22Impor>();
  remove->pDeleteForm(kNpwp, c.form, documentOf(c.form), 5, 2013, 0, "NT-2", "112", "", seq);

  EXPECT_EQ(rows("DAT_SSP_PPh22", c.form), 1);
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", c.listForm), 1);
  for (const auto& [column, value] : c.linesOfFirst) EXPECT_EQ(returnLine(column), value) << column;
  EXPECT_EQ(returnLine("c2"), 1);
  EXPECT_EQ(importListTax(c.listForm), c.first.a14 + c.first.a24 + c.first.tax);
  EXPECT_TRUE(messages().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Forms, CInputPPh22ImporRouteTest,
    ::testing::Values(RouteCase{"Import",
                                "PPh22Impor",
                                "D113203",
                                {1000000, 25000, 250000, 12500, 0, 0},
                                {400000, 10000, 100000, 5000, 0, 0},
                                {{"B4a3", 1400000},
                                 {"B4a4", 35000},
                                 {"B4b3", 350000},
                                 {"B4b4", 17500},
                                 {"B33", 0},
                                 {"B34", 0}},
                                {{"B4a3", 1000000},
                                 {"B4a4", 25000},
                                 {"B4b3", 250000},
                                 {"B4b4", 12500},
                                 {"B33", 0},
                                 {"B34", 0}}},
                      RouteCase{"Other",
                                "PPh22",
                                "D113203DN",
                                {0, 0, 0, 0, 500000, 7500},
                                {0, 0, 0, 0, 200000, 3000},
                                {{"B33", 700000}, {"B34", 10500}, {"B4a3", 0}, {"B4b4", 0}},
                                {{"B33", 500000}, {"B34", 7500}, {"B4a3", 0}, {"B4b4", 0}}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(ImportInputFixture, EditingMovesTheReturnByTheDifferenceAndKeepsTheCount) {
  const double seq = addSlip("PPh22Impor", "NT-1", {1000000, 25000, 250000, 12500, 0, 0});
  auto edit = connected<CInputPPh22Impor>();
  edit->pGet(kNpwp, "PPh22Impor", "10", 5, 2013, 0, "NT-1", "112", kName, kAddress, kToday, seq);
  ASSERT_EQ(edit->rs22Form()->RecordCount(), 1);
  edit->pAssignOldValues();
  edit->aA13(1200000);
  edit->aA14(30000);
  edit->pAssignStatus(false, true, false);
  edit->pUpdate();

  EXPECT_EQ(returnLine("B4a3"), 1200000);
  EXPECT_EQ(returnLine("B4a4"), 30000);
  EXPECT_EQ(returnLine("B4b3"), 250000);
  EXPECT_EQ(returnLine("c2"), 1);
  EXPECT_EQ(importListTax("D113203"), 42500);
  EXPECT_EQ(rows("DAT_SSP_PPh22", "PPh22Impor"), 1);
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", "D113203"), 1);
  EXPECT_TRUE(messages().empty());
}

// ---- Buyers without a tax number ---------------------------------------------------------------

TEST_F(ImportInputFixture, BuyersWithoutTaxNumberUnderOneNttpAreSeparateSlips) {
  addSlip("PPh22Impor", "NT-1", {1000000, 25000, 0, 0, 0, 0}, kNoNpwp, "CV SATU");
  // The second buyer is entered on the same NTTP and sequence.
  auto second = newSlip("PPh22Impor", "NT-1", kNoNpwp, "CV DUA");
  second->aSEQ(0);
  enter(*second, "PPh22Impor", {400000, 10000, 0, 0, 0, 0});
  second->pAssignStatus(true, false, false);
  second->pUpdate();

  auto load = [&](const char* buyerName) {
    auto slip = connected<CInputPPh22Impor>();
    slip->pGet(kNpwp, "PPh22Impor", "10", 5, 2013, 0, "NT-1", "112", kName, kAddress, kToday, 0, "",
               kNoNpwp, buyerName, "JL. THAMRIN 2");
    return slip->rs22Form();
  };
  for (const char* buyer : {"CV SATU", "CV DUA"}) {
    auto slip = load(buyer);
    ASSERT_EQ(slip->RecordCount(), 1) << buyer;
    EXPECT_EQ(slip->Fields("NMWPLT").Value().text(), buyer);
  }
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", "D113203"), 2);
  EXPECT_EQ(returnLine("B4a3"), 1400000);
  EXPECT_EQ(returnLine("c2"), 2);
  EXPECT_EQ(importListTax("D113203"), 35000);

  // Deleting one buyer's slip leaves the other's slip and list row.
  auto remove = connected<CInputPPh22Impor>();
  remove->pDeleteForm(kNpwp, "PPh22Impor", "10", 5, 2013, 0, "NT-1", "112", "", 0, kNoNpwp,
                      "CV DUA", "JL. THAMRIN 2");
  EXPECT_EQ(load("CV DUA")->RecordCount(), 0);
  EXPECT_EQ(load("CV SATU")->RecordCount(), 1);
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", "D113203"), 1);
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", "D113203", "DAT_FORM LIKE '%;CV SATU;%'"), 1);
  EXPECT_EQ(returnLine("B4a3"), 1000000);
  EXPECT_EQ(returnLine("c2"), 1);
  EXPECT_EQ(importListTax("D113203"), 25000);
  EXPECT_TRUE(messages().empty());
}

TEST_F(ImportInputFixture, RenamingABuyerWithoutTaxNumberEditsTheSameSlip) {
  addSlip("PPh22Impor", "NT-1", {1000000, 25000, 0, 0, 0, 0}, kNoNpwp, "CV SATU");
  auto load = [&](const char* buyerName) {
    auto slip = connected<CInputPPh22Impor>();
    slip->pGet(kNpwp, "PPh22Impor", "10", 5, 2013, 0, "NT-1", "112", kName, kAddress, kToday, 0, "",
               kNoNpwp, buyerName, "JL. THAMRIN 2");
    return slip;
  };
  auto edit = load("CV SATU");
  ASSERT_EQ(edit->rs22Form()->RecordCount(), 1);
  edit->pAssignOldValues();
  edit->aNMWPLT("CV SATU ABADI");
  edit->aA13(1100000);
  edit->pHitPjk(1);
  edit->pAssignStatus(false, true, false);
  edit->pUpdate();

  EXPECT_EQ(load("CV SATU")->rs22Form()->RecordCount(), 0);
  auto renamed = load("CV SATU ABADI")->rs22Form();
  ASSERT_EQ(renamed->RecordCount(), 1);
  EXPECT_EQ(renamed->Fields("JMLBRUTO").Value().toDouble(), 1100000);
  EXPECT_EQ(rows("DAT_SSP_PPh22", "PPh22Impor", "DAT_FORM LIKE '%;CV SATU ABADI;%'"), 1);
  EXPECT_EQ(returnLine("B4a3"), 1100000);
  EXPECT_EQ(returnLine("c2"), 1);
  EXPECT_TRUE(messages().empty());
}

// ---- Numbers and sequences ---------------------------------------------------------------------

TEST_F(ImportInputFixture, NttpAndSequenceAreCheckedPerKindOfSlip) {
  addSlip("PPh22Impor", "NT-1", {1000000, 25000, 0, 0, 0, 0});
  auto slip = connected<CInputPPh22Impor>();
  RecordsetPtr used;
  slip->pCheckNTTP(kNpwp, 2013, "NT-1", 5, 0, used, "PPh22Impor");
  ASSERT_NE(used, nullptr);
  EXPECT_EQ(used->RecordCount(), 1);
  slip->pCheckNTTP(kNpwp, 2013, "NT-1", 5, 0, used, "PPh22");
  EXPECT_EQ(used->RecordCount(), 0);

  double seq = -1;
  slip->pGetMaxSeqNo(5, 2013, 0, 0, seq, "PPh22Impor");
  EXPECT_EQ(seq, 1);
  slip->pGetMaxSeqNo(5, 2013, 0, 0, seq, "PPh22");
  EXPECT_EQ(seq, 0);
  // Without a kind named, the object's own: the one it last worked on.
  slip->pGetMaxSeqNo(5, 2013, 0, 0, seq);
  EXPECT_EQ(seq, 0);
  EXPECT_TRUE(messages().empty());
}

TEST_F(ImportInputFixture, AKindOfSlipItDoesNotEditIsRefused) {
  auto slip = connected<CInputPPh22Impor>();
  slip->pCreateHdr(kNpwp, "PPh22MigasFinal", "05", 5, 2013, 0, "NT-1", "112", kName, kAddress,
                   kToday, "", "Pemungut");
  EXPECT_EQ(messages().size(), 1u);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_SSP_PPh22 WHERE NOBUKTI = 'NT-1'"), 0);
}

// ---- Self-paid imports -------------------------------------------------------------------------

class CInputPPh22DbyrSdrTest : public ImportInputFixture {
 protected:
  std::shared_ptr<CInputPPh22DbyrSdr> newSelfPaid(const std::string& nttp) {
    auto slip = connected<CInputPPh22DbyrSdr>();
    slip->pCreateHdr(kNpwp, "PPh22ImporDbyrSdr", "11", 5, 2013, 0, nttp, "112", kName, kAddress,
                     kToday);
    slip->pGet(kNpwp, "PPh22ImporDbyrSdr", "11", 5, 2013, 0, nttp, "112", kName, kAddress, kToday,
               0);
    slip->pAssignOldValues();
    double seq = -1;
    slip->pGetMaxSeqNo(5, 2013, 0, 0, seq);
    slip->aSEQ(seq);
    slip->aTGL_PUNGUT(Date(2013, 5, 20));
    slip->aNoPIB("PIB-1");
    return slip;
  }

  std::pair<double, double> listTotals() {
    auto list = connected<CDPPh22DbyrSdr>();
    list->pGetD113203Induk(kNpwp, 5, 2013, 0);
    auto form = list->rs22Form();
    return {form->Fields("JMLPHSL").Value().toDouble(), form->Fields("JmlPPh").Value().toDouble()};
  }
};

TEST_F(CInputPPh22DbyrSdrTest, SlipMovesItsListAndLeavesTheMainReturn) {
  const auto mainBefore = mainReturnText();
  auto slip = newSelfPaid("NT-9");
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
  auto saved = query("SELECT * FROM DAT_SSP_PPh22 WHERE KD_FORM = 'PPh22ImporDbyrSdr'");
  ASSERT_EQ(saved->RecordCount(), 1);
  EXPECT_EQ(saved->Fields("JENIS_DOKUMEN").Value().text(), "11");
  EXPECT_EQ(saved->Fields("DAT_FORM").Value().text(),
            "5;2013;0;012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;;;;20/05/2013;400000;"
            "10000;NT-9;0;PIB-1");

  // Raising the tax from 10,000 to 12,000 moves the list by 2,000 and still not the return.
  auto edit = connected<CInputPPh22DbyrSdr>();
  edit->pGet(kNpwp, "PPh22ImporDbyrSdr", "11", 5, 2013, 0, "NT-9", "112", kName, kAddress, kToday,
             0);
  ASSERT_EQ(edit->rs22Form()->RecordCount(), 1);
  edit->pAssignOldValues();
  edit->aPPH(12000);
  edit->pAssignStatus(false, true, false);
  edit->pUpdate();
  EXPECT_EQ(listTotals(), std::make_pair(400000.0, 12000.0));
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", "DImporDbyrSdr"), 1);
  EXPECT_EQ(mainReturnText(), mainBefore);

  auto remove = connected<CInputPPh22DbyrSdr>();
  remove->pDeleteForm(kNpwp, "PPh22ImporDbyrSdr", "11", 5, 2013, 0, "NT-9", "112", 0);
  EXPECT_EQ(rows("DAT_SSP_PPh22", "PPh22ImporDbyrSdr"), 0);
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", "DImporDbyrSdr"), 0);
  EXPECT_EQ(listTotals(), std::make_pair(0.0, 0.0));
  EXPECT_EQ(mainReturnText(), mainBefore);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CInputPPh22DbyrSdrTest, CodesAreItsOwnWhateverTheCallerPasses) {
  auto slip = connected<CInputPPh22DbyrSdr>();
  slip->pCreateHdr(kNpwp, "PPh22Impor", "10", 5, 2013, 0, "NT-9", "112", kName, kAddress, kToday);
  EXPECT_EQ(rows("DAT_SSP_PPh22", "PPh22ImporDbyrSdr", "JENIS_DOKUMEN = '11'"), 1);
  EXPECT_EQ(rows("DAT_SSP_PPh22", "PPh22Impor"), 0);

  RecordsetPtr used;
  slip->pCheckNTTP(kNpwp, 2013, "NT-9", 5, 0, used);
  ASSERT_NE(used, nullptr);
  EXPECT_EQ(used->RecordCount(), 1);
  auto import = connected<CInputPPh22Impor>();
  import->pCheckNTTP(kNpwp, 2013, "NT-9", 5, 0, used, "PPh22Impor");
  EXPECT_EQ(used->RecordCount(), 0);
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
