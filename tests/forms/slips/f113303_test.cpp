#include "korvane/forms/slips/f113303.hpp"

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

class CF113303Test : public testing::StoreTest {
 protected:
  void beginPeriod(std::int16_t month = 5, std::int16_t year = 2013, std::int16_t correction = 0) {
    auto mainReturn = connected<CF113202>();
    mainReturn->pCreateF113202Hdr(kNpwp, "F113202", "01", month, year, correction, "-", "112",
                                  "PT MAJU JAYA", "JL. SUDIRMAN 1 JAKARTA", Date(2013, 6, 15),
                                  Date(2013, 6, 1), "Pemungut");
  }

  // A new slip as a host's screen makes it: header, load, remember, status "adding".
  std::shared_ptr<CF113303> newSlip(const std::string& number, std::int16_t month = 5,
                                    std::int16_t year = 2013, std::int16_t correction = 0) {
    auto slip = connected<CF113303>();
    slip->pCreateF113303Hdr(kNpwp, "F113303", "02", month, year, correction, number, "112",
                            "PT MAJU JAYA", "JL. SUDIRMAN 1 JAKARTA", Date(2013, 5, 15));
    slip->pGetF113303(kNpwp, "F113303", "02", month, year, correction, number, "112", "", "",
                      Date(2013, 5, 15));
    slip->pAssignOldValues();
    slip->pAssignStatus(true, false, false);
    return slip;
  }

  // An existing slip opened for editing.
  std::shared_ptr<CF113303> editSlip(const std::string& number, std::int16_t month = 5,
                                     std::int16_t year = 2013, std::int16_t correction = 0) {
    auto slip = connected<CF113303>();
    slip->pGetBukti(kNpwp, number, month, year, correction);
    slip->pAssignOldValues();
    slip->pAssignStatus(false, true, false);
    slip->aNPWPLT(slip->rs22Form()->Fields("NPWPLT").Value().text());
    return slip;
  }

  // Line a at 10%, line b at the stored rate of 7.5%.
  static void enter(CF113303& slip, double baseA, double baseB, const std::string& party = kParty) {
    slip.aNPWPLT(party);
    slip.aNMWPLT("CV SENTOSA");
    slip.aALMLT("JL. MERDEKA 2");
    slip.aTGL_POTONG(Date(2013, 5, 15));
    slip.getTaxRate();
    slip.aB3a4(10.0);
    slip.aB3a3(baseA);
    slip.aB3b3(baseB);
    slip.pHitPjk(0);
  }

  static double field(CF113303& slip, const char* name) {
    return slip.rs22Form()->Fields(name).Value().toDouble();
  }

  double mainReturnField(const char* name, std::int16_t month = 5, std::int16_t correction = 0) {
    CF113202 mainReturn;
    mainReturn.pAssignConStr(store(), "", "");
    mainReturn.pGetF113202(kNpwp, month, 2013, correction);
    // A line no computation has touched yet is empty.
    const Variant stored = mainReturn.rs22Form()->Fields(name).Value();
    return stored.isNull() ? 0.0 : stored.toDouble();
  }

  double listTotal(const char* name, std::int16_t month = 5, std::int16_t correction = 0) {
    cd113204 list;
    list.pAssignConStr(store(), "", "");
    list.pGetD113204Induk(kNpwp, month, 2013, correction);
    return list.rs22Form()->Fields(name).Value().toDouble();
  }

  struct Expected {
    double listBase, listTax, b4a3, b4a4, b4b3, b4b4;
  };
  void expectTotals(const Expected& e) {
    EXPECT_EQ(listTotal("TotObjPPh22"), e.listBase);
    EXPECT_EQ(listTotal("TotPPh22"), e.listTax);
    EXPECT_EQ(mainReturnField("B4a3"), e.b4a3);
    EXPECT_EQ(mainReturnField("B4a4"), e.b4a4);
    EXPECT_EQ(mainReturnField("B4b3"), e.b4b3);
    EXPECT_EQ(mainReturnField("B4b4"), e.b4b4);
  }

  void insertSlipRow(const std::string& form, int month, int year, int correction,
                     const std::string& number, const std::string& npwp = kNpwp) {
    exec("INSERT INTO DS_FORM_INDUK VALUES ('" + npwp + "', '" + form + "', '02', " +
         std::to_string(month) + ", " + std::to_string(year) + ", " + std::to_string(correction) +
         ", '" + number + "', '112', '', '01/05/2013', NULL, NULL)");
  }
};

TEST_F(CF113303Test, NonNpwpPartyDoublesLineTaxesFrom2009) {
  struct Case {
    const char* name;
    std::int16_t year;
    const char* party;
    double expected;
  };
  const Case cases[] = {
      {"without NPWP in 2009", 2009, kPartyWithoutNpwp, 30000},
      {"without NPWP in 2008", 2008, kPartyWithoutNpwp, 15000},
      {"with NPWP in 2009", 2009, kParty, 15000},
      {"nine zeros then more digits", 2010, "000000000123000", 30000},
      {"eight zeros", 2010, "00000000 123000", 15000},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto slip = newSlip("000001/PPH22", 5, c.year);
    slip->aNPWPLT(c.party);
    slip->aB3a4(1.5);
    slip->aB3a3(1000000.0);
    EXPECT_EQ(field(*slip, "B3a5"), c.expected);
    slip->aB3b3(1000000.0);
    slip->aB3b4(1.5);
    EXPECT_EQ(field(*slip, "B3b5"), c.expected);
  }
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113303Test, AmountsBeforeTheCollectedPartyComputeNoTax) {
  auto slip = newSlip("000001/PPH22", 5, 2009);
  slip->aB3a4(1.5);
  slip->aB3a3(1000000.0);
  EXPECT_EQ(field(*slip, "B3a5"), 0);
  // A base entered before its rate leaves the tax empty.
  slip->aNPWPLT(kParty);
  slip->aB3b3(1000000.0);
  EXPECT_TRUE(slip->rs22Form()->Fields("B3b5").Value().isNull());
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113303Test, TaxKeepsItsFractionUntilComputed) {
  auto slip = newSlip("000001/PPH22");
  slip->aNPWPLT(kParty);
  slip->aB3a4(1.5);
  slip->aB3a3(1000001.0);
  EXPECT_DOUBLE_EQ(field(*slip, "B3a5"), 15000.015);

  slip->aB3b3(2000.75);
  slip->aB3b4(2.25);
  slip->aBykBrg(2.5);
  slip->pHitPjk(0);
  EXPECT_EQ(field(*slip, "B3a5"), 15000);
  EXPECT_EQ(field(*slip, "B3b3"), 2000);
  EXPECT_EQ(field(*slip, "B3b5"), 45);  // 45.016875
  EXPECT_EQ(field(*slip, "B3b4"), 2.25);
  EXPECT_EQ(field(*slip, "BykBrg"), 2.5);
  EXPECT_EQ(field(*slip, "Nil_Impor"), 0);
  EXPECT_EQ(field(*slip, "JmlB5"), 15045);
  EXPECT_EQ(field(*slip, "JmlB3"), 1002001);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113303Test, TriplesComputeTheirTaxWithoutTheMultiplier) {
  auto slip = newSlip("000001/PPH22", 5, 2010);
  slip->aNPWPLT(kPartyWithoutNpwp);
  slip->aB1(1000.0);
  slip->aB2(2.5);
  EXPECT_EQ(field(*slip, "B3"), 25);
  slip->aB26(10.0);
  slip->aB25(333.0);
  EXPECT_DOUBLE_EQ(field(*slip, "B27"), 33.3);
  slip->aB27(30.0);  // the tax's own setter only stores
  EXPECT_EQ(field(*slip, "B27"), 30);
  slip->aB14(0.5);
  slip->aB13(99.9);
  slip->pHitPjk(0);
  EXPECT_EQ(field(*slip, "B13"), 99);
  EXPECT_EQ(field(*slip, "B14"), 0.5);
  EXPECT_EQ(field(*slip, "B15"), 0);  // 0.4995
  EXPECT_EQ(field(*slip, "B4"), 0);
  // The triples are no part of the totals.
  EXPECT_EQ(field(*slip, "JmlB3"), 0);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113303Test, TaxRatesComeFromTheSettingsWithoutRecomputing) {
  auto slip = newSlip("000001/PPH22");
  slip->aNPWPLT(kParty);
  slip->aB3a3(1000.0);
  slip->getTaxRate();
  EXPECT_EQ(field(*slip, "B3a4"), 2.5);
  EXPECT_EQ(field(*slip, "B3b4"), 7.5);
  EXPECT_TRUE(slip->rs22Form()->Fields("B3a5").Value().isNull());

  exec("UPDATE SETTING_TARIF_PPH SET TARIF_JML_BRUTO = 3 WHERE ITEM_PENGHASILAN = 'B3a4'");
  exec("INSERT INTO SETTING_TARIF_PPH VALUES (22, 'F113304', 'B3b4', 'x', 9)");
  slip->getTaxRate();
  EXPECT_EQ(field(*slip, "B3a4"), 3);
  EXPECT_EQ(field(*slip, "B3b4"), 7.5);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113303Test, AddEditAndDeleteReachTheListAndTheMainReturn) {
  beginPeriod();
  expectTotals({0, 0, 0, 0, 0, 0});

  auto added = newSlip("000001/PPH22");
  enter(*added, 100, 2000);  // taxes 10 and 150
  added->pUpdate(5, "2013", "0");
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  expectTotals({2100, 160, 100, 10, 2000, 150});
  EXPECT_EQ(scalar("SELECT DAT_FORM FROM DS_FORM_LAMPIRAN WHERE NOBUKTI = '000001/PPH22'").text(),
            "5;2013;1;01.234.567.8-901.000;JL. MERDEKA 2;CV SENTOSA;000001/PPH22;15/05/2013;2100;"
            "160");

  auto edited = editSlip("000001/PPH22");
  edited->aB3a3(150.0);
  edited->pHitPjk(0);
  edited->pUpdate(5, "2013", "0");
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  expectTotals({2150, 165, 150, 15, 2000, 150});
  // Every save but a deletion writes the slip's line; the newest carries the new amounts.
  auto lines =
      query("SELECT * FROM DS_FORM_LAMPIRAN WHERE NOBUKTI = '000001/PPH22' ORDER BY SEQ DESC");
  ASSERT_EQ(lines->RecordCount(), 2);
  EXPECT_EQ(lines->Fields("DAT_FORM").Value().text(),
            "5;2013;2;01.234.567.8-901.000;JL. MERDEKA 2;CV SENTOSA;000001/PPH22;15/05/2013;2150;"
            "165");

  auto deleting = connected<CF113303>();
  deleting->pDeleteF113303(kNpwp, "F113303", "02", 5, 2013, 0, "000001/PPH22", "112");
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  expectTotals({0, 0, 0, 0, 0, 0});
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN"), 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK WHERE KD_FORM = 'F113303'"), 0);
}

TEST_F(CF113303Test, SavedSlipReadsBackAsEntered) {
  beginPeriod();
  auto slip = newSlip("000001/PPH22");
  enter(*slip, 100, 2000);
  slip->aINVOICE("INV-7");
  slip->aJnsBrg("Baja");
  slip->pUpdate(5, "2013", "0");

  auto row = query("SELECT * FROM DS_FORM_INDUK WHERE KD_FORM = 'F113303'");
  ASSERT_EQ(row->RecordCount(), 1);
  EXPECT_EQ(row->Fields("NOBUKTI").Value().text(), "000001/PPH22");
  EXPECT_EQ(row->Fields("JENIS_DOKUMEN").Value().text(), "02");
  EXPECT_EQ(row->Fields("TGL_REKAM").Value().text(), "15/05/2013");
  EXPECT_EQ(row->Fields("TGL_UBAH").Value().text(), Date::today().text());

  auto loaded = connected<CF113303>();
  loaded->pGetBukti(kNpwp, "000001/PPH22", 5, 2013, 0);
  EXPECT_EQ(loaded->aNPWP().text(), kNpwp);
  EXPECT_EQ(loaded->aTGL_POTONG().toDate(), Date(2013, 5, 15));
  EXPECT_EQ(loaded->rs22Form()->Fields("INVOICE").Value().text(), "INV-7");
  EXPECT_EQ(loaded->rs22Form()->Fields("NMWPLT").Value().text(), "CV SENTOSA");
  EXPECT_EQ(field(*loaded, "B3b5"), 150);
  EXPECT_EQ(field(*loaded, "JmlB5"), 160);
  // The first number recorded only creates the article's counter.
  EXPECT_EQ(scalar("SELECT NO_URUT FROM SETTING_NOBUKTI_PPH WHERE PASAL = 22").text(), "000000");
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113303Test, RenumberedSlipKeepsItsRow) {
  beginPeriod();
  auto slip = newSlip("000001/PPH22");
  enter(*slip, 100, 0);
  slip->pUpdate(5, "2013", "0");

  auto renumbered = editSlip("000001/PPH22");
  renumbered->aNoBukti("000005/PPH22");
  renumbered->pUpdate(5, "2013", "0");
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK WHERE KD_FORM = 'F113303'"), 1);
  EXPECT_EQ(scalar("SELECT NOBUKTI FROM DS_FORM_INDUK WHERE KD_FORM = 'F113303'").text(),
            "000005/PPH22");
  EXPECT_EQ(scalar("SELECT NO_URUT FROM SETTING_NOBUKTI_PPH WHERE PASAL = 22").text(), "000005");
  // Nothing changed in the amounts, so the main return keeps them once.
  EXPECT_EQ(mainReturnField("B4a3"), 100);
}

TEST_F(CF113303Test, DeletingMoreThanTheListHoldsClampsOnlyTheBase) {
  beginPeriod();
  auto slip = newSlip("000001/PPH22");
  enter(*slip, 100, 2000);
  slip->pUpdate(5, "2013", "0");
  exec(std::string("UPDATE DS_FORM_INDUK SET DAT_FORM = '") + kNpwp +
       ";PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;5;2013;0;1000;50' WHERE KD_FORM = 'D113204'");

  connected<CF113303>()->pDeleteF113303(kNpwp, "F113303", "02", 5, 2013, 0, "000001/PPH22", "112");
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  EXPECT_EQ(listTotal("TotObjPPh22"), 0);
  EXPECT_EQ(listTotal("TotPPh22"), -110);
}

TEST_F(CF113303Test, SlipsOfOneMonthShareTheLineSequenceAcrossCorrections) {
  beginPeriod(5, 2013, 0);
  beginPeriod(5, 2013, 1);
  auto first = newSlip("000001/PPH22", 5, 2013, 0);
  enter(*first, 100, 0);
  first->pUpdate(5, "2013", "0");
  auto second = newSlip("000001/PPH22", 5, 2013, 1);
  enter(*second, 200, 0);
  second->pUpdate(5, "2013", "1");
  ASSERT_TRUE(messages().empty()) << messages()[0].text;

  EXPECT_EQ(scalar("SELECT SEQ FROM DS_FORM_LAMPIRAN WHERE KD_PEMBETULAN_KE = 0").toDouble(), 1);
  EXPECT_EQ(scalar("SELECT SEQ FROM DS_FORM_LAMPIRAN WHERE KD_PEMBETULAN_KE = 1").toDouble(), 2);
  EXPECT_EQ(listTotal("TotObjPPh22", 5, 1), 200);
  EXPECT_EQ(mainReturnField("B4a3", 5, 1), 200);
  EXPECT_EQ(mainReturnField("B4a3", 5, 0), 100);
}

TEST_F(CF113303Test, ProposesTheFirstFreeNumberOfTheSharedSequence) {
  exec("INSERT INTO SETTING_NOBUKTI_PPH VALUES (22, '000000', 'X')");
  insertSlipRow("F113303", 1, 2013, 0, "000001X");
  insertSlipRow("F113304", 7, 2013, 0, "000002X", "099999999999000");
  insertSlipRow("F113305", 12, 2013, 0, "000004X");
  // Numbers the sequence does not see.
  insertSlipRow("F113304A", 5, 2013, 0, "000003X");
  insertSlipRow("F113303", 5, 2012, 0, "000003X");
  insertSlipRow("F113303", 5, 2013, 1, "000003X");
  insertSlipRow("F113303", 5, 2013, 0, "000003Y");
  insertSlipRow("F113303", 5, 2013, 0, "0000003X");
  insertSlipRow("F113303", 5, 2013, 0, "TempleteKodeNoBukti");
  insertSlipRow("F113303", 5, 2013, 0, "-");

  auto slip = connected<CF113303>();
  EXPECT_EQ(slip->getNoBuktiHdr(2013, 0), "000003X");
  insertSlipRow("F113303", 2, 2013, 0, "000003X");
  EXPECT_EQ(slip->getNoBuktiHdr(2013, 0), "000005X");
  // The candidate starts above the counter, gaps below it stay unused.
  exec("UPDATE SETTING_NOBUKTI_PPH SET NO_URUT = '000003'");
  EXPECT_EQ(slip->getNoBuktiHdr(2013, 0), "000005X");
  exec("UPDATE SETTING_NOBUKTI_PPH SET NO_URUT = '000009'");
  EXPECT_EQ(slip->getNoBuktiHdr(2013, 0), "000010X");
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113303Test, WithoutACounterTheSequenceStartsAtOneWithoutFormat) {
  insertSlipRow("F113303", 1, 2013, 0, "000001");
  insertSlipRow("F113303", 1, 2013, 0, "000001/PPH22");
  auto slip = connected<CF113303>();
  EXPECT_EQ(slip->getNoBuktiHdr(2013, 0), "000002");
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113303Test, ProposesANumberAmongAHundredThousand) {
  // The hundred thousand rows come from one recursive SELECT in the embedded store's SQL.
  if (!embeddedStore()) GTEST_SKIP() << "embedded store only";
  exec("INSERT INTO SETTING_NOBUKTI_PPH VALUES (22, '000000', '/PPH22')");
  exec(
      "INSERT INTO DS_FORM_INDUK (NPWP, KD_FORM, JENIS_DOKUMEN, MS_PAJAK, TH_PAJAK, "
      "KD_PEMBETULAN_KE, NOBUKTI, KD_JENIS_PAJAK, DAT_FORM) "
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100000) "
      "SELECT '012345678901000', 'F113303', '02', 1 + i % 12, 2013, 0, "
      "substr('000000' || i, -6) || '/PPH22', '112', '' FROM n WHERE i <> 77777");
  auto slip = connected<CF113303>();
  EXPECT_EQ(slip->getNoBuktiHdr(2013, 0), "077777/PPH22");
  exec(
      "INSERT INTO DS_FORM_INDUK (NPWP, KD_FORM, NOBUKTI, TH_PAJAK, KD_PEMBETULAN_KE) VALUES "
      "('x', 'F113305', '077777/PPH22', 2013, 0)");
  EXPECT_EQ(slip->getNoBuktiHdr(2013, 0), "100001/PPH22");
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113303Test, ChecksANumberAcrossTaxpayersAndSlipForms) {
  insertSlipRow("F113304", 3, 2013, 0, "000007/PPH22", "099999999999000");
  auto slip = connected<CF113303>();
  auto taken = slip->pCheckNoBukti(kNpwp, 2013, "000007/PPH22", 0);
  ASSERT_TRUE(taken);
  EXPECT_EQ(taken->RecordCount(), 1);
  EXPECT_EQ(slip->pCheckNoBukti(kNpwp, 2012, "000007/PPH22", 0)->RecordCount(), 0);
  EXPECT_EQ(slip->pCheckNoBukti(kNpwp, 2013, "000007/PPH22", 1)->RecordCount(), 0);
  EXPECT_EQ(slip->pCheckNoBukti(kNpwp, 2013, "000008/PPH22", 0)->RecordCount(), 0);
}

TEST_F(CF113303Test, CreatesItsHeaderOnceAndDeletesItByKey) {
  auto slip = connected<CF113303>();
  for (int i = 0; i < 2; ++i) {
    slip->pCreateF113303Hdr(kNpwp, "F113303", "02", 5, 2013, 0, "000001/PPH22", "112", "PT", "JL",
                            Date(2013, 5, 15));
  }
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK"), 1);
  slip->pGetF113303(kNpwp, "F113303", "02", 5, 2013, 0, "000001/PPH22", "112", "", "", Date());
  ASSERT_EQ(slip->rs22Form()->RecordCount(), 1);
  EXPECT_EQ(slip->rs22Form()->Fields("KD_PEMBETULAN_KE").Value().toInt16(), 0);
  EXPECT_EQ(slip->rs22Form()->Fields("NoBukti").Value().text(), "000001/PPH22");

  slip->pDelete(kNpwp, "F113303", "02", 5, 2013, 0, "000001/PPH22", "111", "officer", "PT", "JL",
                Date());
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK"), 1);
  slip->pDelete(kNpwp, "F113303", "02", 5, 2013, 0, "000001/PPH22", "112", "officer", "PT", "JL",
                Date());
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK"), 0);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113303Test, QuoteInTheCollectedPartyFailsBeforeAnythingIsWritten) {
  beginPeriod();
  auto slip = newSlip("000001/PPH22");
  enter(*slip, 100, 2000, "01.234'567.8-901.000");
  ASSERT_TRUE(messages().empty());
  slip->pUpdate(5, "2013", "0");

  ASSERT_EQ(messages().size(), 1u);
  EXPECT_NE(messages()[0].text.find("01.234'567.8-901.000"), std::string::npos);
  EXPECT_EQ(scalar("SELECT DAT_FORM FROM DS_FORM_INDUK WHERE KD_FORM = 'F113303'").text(), "");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN"), 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM SETTING_NOBUKTI_PPH"), 0);
  EXPECT_EQ(listTotal("TotObjPPh22"), 0);
  EXPECT_EQ(mainReturnField("B4a3"), 0);
}

TEST_F(CF113303Test, SavingWithoutAMainReturnFailsOnce) {
  auto slip = newSlip("000001/PPH22");
  enter(*slip, 100, 0);
  slip->pUpdate(5, "2013", "0");
  EXPECT_EQ(messages().size(), 1u);
}

TEST_F(CF113303Test, FailureInsideTheChainStopsTheSaveWhereItHappened) {
  beginPeriod();
  exec("INSERT INTO SETTING_NOBUKTI_PPH VALUES (22, '', '/PPH22')");
  auto slip = newSlip("000001/PPH22");
  enter(*slip, 100, 0);
  slip->pUpdate(5, "2013", "0");
  // The counter cannot be read: one message, the slip's row stays saved, the list and the
  // main return are not reached.
  EXPECT_EQ(messages().size(), 1u);
  EXPECT_NE(scalar("SELECT DAT_FORM FROM DS_FORM_INDUK WHERE KD_FORM = 'F113303'").text(), "");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN"), 0);
  EXPECT_EQ(mainReturnField("B4a3"), 0);
}

TEST_F(CF113303Test, OperationsBeforeLoadingReportAndReturnDefaults) {
  auto slip = connected<CF113303>();
  slip->aB3a3(1.0);
  EXPECT_TRUE(slip->aNPWP().isEmpty());
  EXPECT_EQ(messages().size(), 2u);
  CF113303 unconnected;
  EXPECT_EQ(unconnected.getNoBuktiHdr(2013, 0), "");
  EXPECT_EQ(unconnected.pCheckNoBukti(kNpwp, 2013, "x", 0), nullptr);
  EXPECT_EQ(messages().size(), 4u);
  EXPECT_STREQ(unconnected.className(), "CF113303");
}

}  // namespace
}  // namespace korvane
