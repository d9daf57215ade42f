#include "korvane/forms/slips/f113305.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

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
  void beginPeriod(std::int16_t year = 2010) {
    auto mainReturn = connected<CF113202>();
    mainReturn->pCreateF113202Hdr(kNpwp, "F113202", "01", 5, year, 0, "-", "112", "PT MAJU JAYA",
                                  "JL. SUDIRMAN 1 JAKARTA", Date(year, 6, 15), Date(year, 6, 1),
                                  "Pemungut");
  }

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

  template <class Slip = CF113305>
  std::shared_ptr<Slip> editSlip(const std::string& number) {
    auto slip = connected<Slip>();
    slip->pGetBukti(kNpwp, number, 5, 2010, 0);
    slip->pAssignOldValues();
    slip->pAssignStatus(false, true, false);
    slip->aNPWPLT(slip->rs22Form()->Fields("NPWPLT").Value().text());
    return slip;
  }

  static void enter(CF113305& slip, const std::string& party, double base, double rate) {
    slip.aNPWPLT(party);
    slip.aNMWPLT("CV SENTOSA");
    slip.aALMLT("JL. MERDEKA 2");
    slip.aTglRekam(Date(2010, 5, 15));
    slip.aB2(rate);
    slip.aB1(base);
    slip.pHitPjk();
  }

  static double field(CF113305& slip, const char* name) {
    return slip.rs22Form()->Fields(name).Value().toDouble();
  }

  double mainReturnField(const char* name) {
    CF113202 mainReturn;
    mainReturn.pAssignConStr(store(), user(), password());
    mainReturn.pGetF113202(kNpwp, 5, 2010, 0);
    const Variant stored = mainReturn.rs22Form()->Fields(name).Value();
    return stored.isNull() ? 0.0 : stored.toDouble();
  }

  double listTotal(const char* name) {
    cd113204 list;
    list.pAssignConStr(store(), user(), password());
    list.pGetD113204Induk(kNpwp, 5, 2010, 0);
    return list.rs22Form()->Fields(name).Value().toDouble();
  }
};

TEST_F(CF113305Test, PartyWithoutNpwpDoublesFrom2009) {
  struct Case {
    const char* name;
    std::int16_t year;
    const char* party;
    double expected;
  };
  const Case cases[] = {
      {"without NPWP in 2010", 2010, kPartyWithoutNpwp, 30000},
      {"without NPWP in 2009", 2009, kPartyWithoutNpwp, 30000},
      {"without NPWP in 2008", 2008, kPartyWithoutNpwp, 15000},
      {"with NPWP in 2010", 2010, kParty, 15000},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto slip = newSlip("000001/PPH22", c.year);
    slip->aNPWPLT(c.party);
    slip->aB1(1000000.0);
    EXPECT_TRUE(slip->rs22Form()->Fields("B3").Value().isNull());
    slip->aB2(1.5);
    EXPECT_EQ(field(*slip, "B3"), c.expected);
    slip->aB3(100.0);  // the tax's own setter only stores
    EXPECT_EQ(field(*slip, "B3"), 100);
  }
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113305Test, ComputingTruncatesBaseAndTaxOnly) {
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
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113305Test, RateComesFromTheSettingsWithoutRecomputing) {
  auto slip = newSlip("000001/PPH22");
  slip->aNPWPLT(kParty);
  slip->aB1(1000.0);
  slip->getTaxRate();
  EXPECT_EQ(field(*slip, "B2"), 1.5);
  EXPECT_TRUE(slip->rs22Form()->Fields("B3").Value().isNull());
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113305Test, MainReturnShowsTheEffectiveRateOfThePeriod) {
  beginPeriod();
  auto first = newSlip("000001/PPH22");
  enter(*first, kPartyWithoutNpwp, 1000000, 1.5);  // doubled: 30,000
  first->pUpdate(5, "2010", "0");
  auto second = newSlip<RateWatchingSlip>("000002/PPH22");
  enter(*second, kParty, 3000000, 1.5);  // 45,000
  second->pUpdate(5, "2010", "0");
  ASSERT_TRUE(messages().empty()) << messages()[0].text;

  EXPECT_EQ(second->rateWritten, Variant("1.88"));  // 1.875
  EXPECT_EQ(mainReturnField("B23"), 4000000);
  EXPECT_EQ(mainReturnField("B25"), 75000);
  // Stored as the return prints it, not cut to 1 by the return's normalisation.
  EXPECT_DOUBLE_EQ(mainReturnField("B24"), 1.88);
  EXPECT_EQ(listTotal("TotObjPPh22"), 4000000);
  EXPECT_EQ(listTotal("TotPPh22"), 75000);
  EXPECT_EQ(scalar("SELECT DAT_FORM FROM DS_FORM_LAMPIRAN WHERE NOBUKTI = '000001/PPH22'").text(),
            "5;2010;1;000000000000000;JL. MERDEKA 2;CV SENTOSA;000001/PPH22;15/05/2010;1000000;"
            "30000");
}

TEST_F(CF113305Test, RateTextRoundsHalvesAwayFromZero) {
  beginPeriod();
  auto slip = newSlip<RateWatchingSlip>("000001/PPH22");
  enter(*slip, kParty, 800000, 1.125);  // 9,000: an effective 1.125
  slip->pUpdate(5, "2010", "0");
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  EXPECT_EQ(slip->rateWritten, Variant("1.13"));
}

TEST_F(CF113305Test, EditAndDeleteMoveTheMainReturn) {
  exec("UPDATE SETTING_TARIF_PPH SET TARIF_JML_BRUTO = 2 WHERE KODE_FORM = 'F113305'");
  beginPeriod();
  auto added = newSlip("000001/PPH22");
  enter(*added, kParty, 1000000, 2);
  added->pUpdate(5, "2010", "0");

  auto edited = editSlip("000001/PPH22");
  edited->aB1(1500000.0);
  edited->pHitPjk();
  edited->pUpdate(5, "2010", "0");
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  EXPECT_EQ(mainReturnField("B23"), 1500000);
  EXPECT_EQ(mainReturnField("B25"), 30000);
  EXPECT_EQ(mainReturnField("B24"), 2);
  EXPECT_EQ(listTotal("TotObjPPh22"), 1500000);
  EXPECT_EQ(listTotal("TotPPh22"), 30000);

  // The only slip gone, the return falls back to the form's default rate.
  RateWatchingSlip deleting;
  deleting.pAssignConStr(store(), user(), password());
  deleting.pDeleteF113305(kNpwp, "F113305", "04", 5, 2010, 0, "000001/PPH22", "112");
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  EXPECT_EQ(deleting.rateWritten, Variant("2.00"));
  EXPECT_EQ(mainReturnField("B23"), 0);
  EXPECT_EQ(mainReturnField("B25"), 0);
  EXPECT_EQ(mainReturnField("B24"), 2);
  EXPECT_EQ(listTotal("TotObjPPh22"), 0);
  EXPECT_EQ(listTotal("TotPPh22"), 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK WHERE KD_FORM = 'F113305'"), 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN"), 0);
}

TEST_F(CF113305Test, DefaultRateKeepsItsDecimalsInTheText) {
  beginPeriod();
  auto added = newSlip("000001/PPH22");
  enter(*added, kParty, 1000000, 1.5);
  added->pUpdate(5, "2010", "0");

  RateWatchingSlip deleting;
  deleting.pAssignConStr(store(), user(), password());
  deleting.pDeleteF113305(kNpwp, "F113305", "04", 5, 2010, 0, "000001/PPH22", "112");
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  EXPECT_EQ(deleting.rateWritten, Variant("1.50"));
  EXPECT_EQ(mainReturnField("B23"), 0);
  EXPECT_EQ(mainReturnField("B25"), 0);
  EXPECT_DOUBLE_EQ(mainReturnField("B24"), 1.5);
}

TEST_F(CF113305Test, SavedSlipReadsBack) {
  beginPeriod();
  auto slip = newSlip("000001/PPH22");
  enter(*slip, kParty, 1000000, 1.5);
  slip->aINVOICE("INV-3");
  slip->pUpdate(5, "2010", "0");

  auto header = query("SELECT * FROM DS_FORM_INDUK WHERE KD_FORM = 'F113305'");
  ASSERT_EQ(header->RecordCount(), 1);
  EXPECT_EQ(header->Fields("JENIS_DOKUMEN").Value().text(), "04");
  EXPECT_EQ(header->Fields("NOBUKTI").Value().text(), "000001/PPH22");

  auto loaded = connected<CF113305>();
  loaded->pGetBukti(kNpwp, "000001/PPH22", 5, 2010, 0);
  EXPECT_EQ(loaded->aNPWP().text(), kNpwp);
  EXPECT_EQ(loaded->aTglRekam().toDate(), Date(2010, 5, 15));
  EXPECT_EQ(loaded->rs22Form()->Fields("INVOICE").Value().text(), "INV-3");
  EXPECT_EQ(field(*loaded, "B3"), 15000);
  EXPECT_STREQ(loaded->className(), "CF113305");
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113305Test, ChecksANumberAmongTheTaxpayersOwnSlips) {
  exec(
      "INSERT INTO DS_FORM_INDUK VALUES ('099999999999000', 'F113303', '02', 3, 2010, 0, "
      "'000007/PPH22', '112', '', '01/03/2010', NULL, NULL)");
  auto slip = connected<CF113305>();
  EXPECT_EQ(slip->pCheckNoBukti(kNpwp, 2010, "000007/PPH22", 0)->RecordCount(), 0);
  EXPECT_EQ(slip->pCheckNoBukti("099999999999000", 2010, "000007/PPH22", 0)->RecordCount(), 1);
  EXPECT_EQ(slip->pCheckNoBukti("099999999999000", 2011, "000007/PPH22", 0)->RecordCount(), 0);

  exec("INSERT INTO SETTING_NOBUKTI_PPH VALUES (22, '000006', '/PPH22')");
  EXPECT_EQ(slip->getNoBuktiHdr(2010, 0), "000008/PPH22");
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
