#include "korvane/forms/slips/f113305.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/forms/slips/slip_list.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kParty = "01.234.567.8-901.000";
constexpr const char* kPartyWithoutNpwp = "000000000000000";
const Date kDate(2010, 5, 15);

class CF113305Test : public testing::StoreTest {
 protected:
  // A new slip as a host's screen makes it: header, load, remember, status "adding".
  std::shared_ptr<CF113305> newSlip(const std::string& number) {
    auto slip = connected<CF113305>();
    slip->pCreateF113305Hdr(kNpwp, "F113305", "04", 5, 2010, 0, number, "112", "", "", kDate);
    slip->pGetF113305(kNpwp, "F113305", "04", 5, 2010, 0, number, "112", "", "", kDate);
    slip->pAssignOldValues();
    slip->pAssignStatus(true, false, false);
    return slip;
  }
  static void save(CF113305& slip, const std::string& party, double base, double rate) {
    slip.aNPWPLT(party);
    slip.aTglRekam(kDate);
    slip.aB2(rate);
    slip.aB1(base);
    slip.pHitPjk();
    slip.pUpdate(5, "2010", "0");
  }
  // Base, rate and tax.
  static std::vector<double> line(CF113305& slip) {
    std::vector<double> out;
    for (auto n : {"b1", "B2", "B3"}) out.push_back(slip.rs22Form()->Fields(n).Value().toDouble());
    return out;
  }
  // The list's totals, then the main return's line 2 as stored: base, the rate as the return
  // prints it (kept through the return's normalisation, which would cut it to a whole number),
  // tax.
  void expectTotals(double base, double tax, const std::string& rate) {
    auto list = connected<cd113204>();
    list->pGetD113204Induk(kNpwp, 5, 2010, 0);
    EXPECT_EQ(list->rs22Form()->Fields("TotObjPPh22").Value().toDouble(), base);
    EXPECT_EQ(list->rs22Form()->Fields("TotPPh22").Value().toDouble(), tax);
    const std::string mainReturn =
        scalar("SELECT DAT_FORM FROM DS_FORM_INDUK WHERE KD_FORM = 'F113202'").text();
    const std::string line2 = ";" + numberText(base) + ";" + rate + ";" + numberText(tax) + ";";
    EXPECT_NE(mainReturn.find(line2), std::string::npos) << line2 << " in " << mainReturn;
  }
};

// The non-NPWP year rule and the party test belong to the frame (f113303_test.cpp); here only
// this form's own setters and computation.
TEST_F(CF113305Test, SettersComputeTheTaxAndComputingTruncatesBaseAndTaxOnly) {
  auto slip = newSlip("000001/PPH22");
  slip->aNPWPLT(kPartyWithoutNpwp);
  slip->aB1(1000000.0);
  EXPECT_TRUE(slip->rs22Form()->Fields("B3").Value().isNull());  // no rate yet
  slip->aB2(1.5);
  EXPECT_EQ(line(*slip)[2], 30000);
  slip->aB3(100.0);  // the tax's own setter only stores
  EXPECT_EQ(line(*slip)[2], 100);

  slip->aNPWPLT(kParty);
  slip->aB2(1.25);
  slip->aB1(1000.9);
  slip->pHitPjk();
  EXPECT_EQ(line(*slip), (std::vector<double>{1000, 1.25, 12}));
  slip->getTaxRate();
  EXPECT_EQ(line(*slip), (std::vector<double>{1000, 1.5, 12}));
  auto empty = newSlip("000002/PPH22");
  empty->pHitPjk();
  EXPECT_EQ(line(*empty), (std::vector<double>{0, 0, 0}));
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113305Test, AddEditAndDeleteMoveTheMainReturnAndItsEffectiveRate) {
  exec("UPDATE SETTING_TARIF_PPH SET TARIF_JML_BRUTO = 2 WHERE KODE_FORM = 'F113305'");
  connected<CF113202>()->pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2010, 0, "-", "112", "", "",
                                           kDate, kDate, "Pemungut");
  save(*newSlip("000001/PPH22"), kPartyWithoutNpwp, 1000000, 1.5);  // doubled in 2010: 30,000
  save(*newSlip("000002/PPH22"), kParty, 3000000, 1.5);             // 45,000
  expectTotals(4000000, 75000, "1.88");                             // 1.875
  // The line carries this form's own slip date.
  EXPECT_EQ(scalar("SELECT DAT_FORM FROM DS_FORM_LAMPIRAN WHERE NOBUKTI = '000001/PPH22'").text(),
            "5;2010;1;000000000000000;;;000001/PPH22;15/05/2010;1000000;30000");

  // With no slip left the return falls back to the form's default rate, decimals kept.
  connected<CF113305>()->pDeleteF113305(kNpwp, "F113305", "04", 5, 2010, 0, "000001/PPH22", "112");
  connected<CF113305>()->pDeleteF113305(kNpwp, "F113305", "04", 5, 2010, 0, "000002/PPH22", "112");
  expectTotals(0, 0, "2.00");
  // Deleting finds the header under this form's own code and document kind.
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK WHERE KD_FORM = 'F113305'"), 0);

  // Halves round away from zero: 1.125 is "1.13".
  save(*newSlip("000003/PPH22"), kParty, 800000, 1.125);  // 9,000
  auto edited = connected<CF113305>();
  edited->pGetBukti(kNpwp, "000003/PPH22", 5, 2010, 0);
  EXPECT_EQ(edited->aTglRekam().toDate(), kDate);
  edited->pAssignOldValues();
  edited->pAssignStatus(false, true, false);
  edited->aNPWPLT(kParty);
  edited->aB1(1600000.0);
  edited->pHitPjk();
  edited->pUpdate(5, "2010", "0");
  expectTotals(1600000, 18000, "1.13");
  EXPECT_TRUE(messages().empty()) << messages()[0].text;
}

}  // namespace
}  // namespace korvane
