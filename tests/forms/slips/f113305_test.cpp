#include "korvane/forms/slips/f113305.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <tuple>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/forms/slips/slip_list.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kParty = "01.234.567.8-901.000";
constexpr const char* kPartyWithoutNpwp = "000000000000000";

// Keeps the rate text the slip writes into the main return's B24.
class RateWatchingSlip : public CF113305 {
 public:
  Variant rateWritten;

 protected:
  void adjustMainReturn(CF113202& mainReturn) override {
    CF113305::adjustMainReturn(mainReturn);
    rateWritten = mainReturn.rs22Form()->Fields("B24").Value();
  }
};

class CF113305Test : public testing::StoreTest {
 protected:
  // A new slip as a host's screen makes it: header, load, remember, status "adding".
  template <class Slip = CF113305>
  std::shared_ptr<Slip> newSlip(const std::string& number, std::int16_t year = 2010) {
    auto slip = connected<Slip>();
    slip->pCreateF113305Hdr(kNpwp, "F113305", "04", 5, year, 0, number, "112", "PT MAJU JAYA",
                            "JL. SUDIRMAN 1 JAKARTA", Date(year, 5, 15));
    slip->pGetF113305(kNpwp, "F113305", "04", 5, year, 0, number, "112", "", "", Date(year, 5, 15));
    slip->pAssignOldValues();
    slip->pAssignStatus(true, false, false);
    return slip;
  }
  static void save(CF113305& slip, const std::string& party, double base, double rate) {
    slip.aNPWPLT(party);
    slip.aNMWPLT("CV SENTOSA");
    slip.aALMLT("JL. MERDEKA 2");
    slip.aTglRekam(Date(2010, 5, 15));
    slip.aB2(rate);
    slip.aB1(base);
    slip.pHitPjk();
    slip.pUpdate(5, "2010", "0");
  }
  static double field(CF113305& slip, const char* name) {
    return slip.rs22Form()->Fields(name).Value().toDouble();
  }
  // The list's totals, then the main return's base, tax and rate of line 2.
  void expectTotals(double base, double tax, double rate) {
    cd113204 list;
    list.pAssignConStr(store(), user(), password());
    list.pGetD113204Induk(kNpwp, 5, 2010, 0);
    CF113202 mainReturn;
    mainReturn.pAssignConStr(store(), user(), password());
    mainReturn.pGetF113202(kNpwp, 5, 2010, 0);
    const auto stored = [](const RecordsetPtr& rs, const char* name) {
      return rs->Fields(name).Value().toDouble();
    };
    EXPECT_EQ(stored(list.rs22Form(), "TotObjPPh22"), base);
    EXPECT_EQ(stored(list.rs22Form(), "TotPPh22"), tax);
    EXPECT_EQ(stored(mainReturn.rs22Form(), "B23"), base);
    EXPECT_EQ(stored(mainReturn.rs22Form(), "B25"), tax);
    // Stored as the return prints it, not cut to a whole number by the return's normalisation.
    EXPECT_DOUBLE_EQ(stored(mainReturn.rs22Form(), "B24"), rate);
  }
};

TEST_F(CF113305Test, PartyWithoutNpwpDoublesFrom2009) {
  const std::tuple<std::int16_t, const char*, double> cases[] = {
      {2010, kPartyWithoutNpwp, 30000},
      {2009, kPartyWithoutNpwp, 30000},
      {2008, kPartyWithoutNpwp, 15000},
      {2010, kParty, 15000},
  };
  for (const auto& [year, party, expected] : cases) {
    SCOPED_TRACE(std::to_string(year) + " " + party);
    auto slip = newSlip("000001/PPH22", year);
    slip->aNPWPLT(party);
    slip->aB1(1000000.0);
    EXPECT_TRUE(slip->rs22Form()->Fields("B3").Value().isNull());  // no rate yet
    slip->aB2(1.5);
    EXPECT_EQ(field(*slip, "B3"), expected);
    slip->aB3(100.0);  // the tax's own setter only stores
    EXPECT_EQ(field(*slip, "B3"), 100);
  }
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113305Test, ComputingTruncatesBaseAndTaxOnlyAndRatesDoNotRecompute) {
  auto slip = newSlip("000001/PPH22");
  slip->pHitPjk();
  EXPECT_EQ(field(*slip, "b1"), 0);
  EXPECT_EQ(field(*slip, "B2"), 0);
  EXPECT_EQ(field(*slip, "B3"), 0);
  slip->aNPWPLT(kParty);
  slip->aB2(1.25);
  slip->aB1(1000.9);
  EXPECT_DOUBLE_EQ(field(*slip, "B3"), 12.51125);
  slip->pHitPjk();
  EXPECT_EQ(field(*slip, "b1"), 1000);
  EXPECT_EQ(field(*slip, "B2"), 1.25);
  EXPECT_EQ(field(*slip, "B3"), 12);
  slip->getTaxRate();
  EXPECT_EQ(field(*slip, "B2"), 1.5);
  EXPECT_EQ(field(*slip, "B3"), 12);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113305Test, AddEditAndDeleteMoveTheMainReturnAndItsEffectiveRate) {
  exec("UPDATE SETTING_TARIF_PPH SET TARIF_JML_BRUTO = 2 WHERE KODE_FORM = 'F113305'");
  connected<CF113202>()->pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2010, 0, "-", "112",
                                           "PT MAJU JAYA", "JL. SUDIRMAN 1 JAKARTA",
                                           Date(2010, 6, 15), Date(2010, 6, 1), "Pemungut");
  save(*newSlip("000001/PPH22"), kPartyWithoutNpwp, 1000000, 1.5);  // doubled: 30,000
  auto second = newSlip<RateWatchingSlip>("000002/PPH22");
  save(*second, kParty, 3000000, 1.5);  // 45,000
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  EXPECT_EQ(second->rateWritten, Variant("1.88"));  // 1.875
  expectTotals(4000000, 75000, 1.88);
  EXPECT_EQ(scalar("SELECT DAT_FORM FROM DS_FORM_LAMPIRAN WHERE NOBUKTI = '000001/PPH22'").text(),
            "5;2010;1;000000000000000;JL. MERDEKA 2;CV SENTOSA;000001/PPH22;15/05/2010;1000000;"
            "30000");
  auto header = query("SELECT * FROM DS_FORM_INDUK WHERE NOBUKTI = '000001/PPH22'");
  EXPECT_EQ(header->Fields("KD_FORM").Value().text(), "F113305");
  EXPECT_EQ(header->Fields("JENIS_DOKUMEN").Value().text(), "04");

  // With no slip left the return falls back to the form's default rate, decimals kept.
  connected<CF113305>()->pDeleteF113305(kNpwp, "F113305", "04", 5, 2010, 0, "000001/PPH22", "112");
  RateWatchingSlip deleting;
  deleting.pAssignConStr(store(), user(), password());
  deleting.pDeleteF113305(kNpwp, "F113305", "04", 5, 2010, 0, "000002/PPH22", "112");
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  EXPECT_EQ(deleting.rateWritten, Variant("2.00"));
  expectTotals(0, 0, 2);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK WHERE KD_FORM = 'F113305'"), 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN"), 0);

  // Halves round away from zero: 1.125 is "1.13".
  save(*newSlip("000003/PPH22"), kParty, 800000, 1.125);  // 9,000
  auto edited = connected<RateWatchingSlip>();
  edited->pGetBukti(kNpwp, "000003/PPH22", 5, 2010, 0);
  EXPECT_EQ(edited->aTglRekam().toDate(), Date(2010, 5, 15));
  EXPECT_EQ(field(*edited, "B3"), 9000);
  edited->pAssignOldValues();
  edited->pAssignStatus(false, true, false);
  edited->aNPWPLT(kParty);
  edited->aB1(1600000.0);
  edited->pHitPjk();
  edited->pUpdate(5, "2010", "0");
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  EXPECT_EQ(edited->rateWritten, Variant("1.13"));
  expectTotals(1600000, 18000, 1.13);
}

}  // namespace
}  // namespace korvane
