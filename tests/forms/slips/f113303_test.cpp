// F113303's own lines, and the steps every slip shares through the frame (slip_form.hpp), run
// here once on F113303; which numbers and slips each class sees is in f113304_test.cpp.
#include "korvane/forms/slips/f113303.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/forms/slips/slip_list.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kParty = "01.234.567.8-901.000";
constexpr const char* kPartyWithoutNpwp = "000000000000000";
const Date kDate(2013, 5, 15);  // the slips' date; the main return's dates play no part here
using Totals = std::vector<double>;

class CF113303Test : public testing::StoreTest {
 protected:
  void beginPeriod(std::int16_t correction = 0) {
    connected<CF113202>()->pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2013, correction, "-",
                                             "112", "", "", kDate, kDate, "Pemungut");
  }
  // A new slip as a host's screen makes it: header, load, remember, status "adding".
  std::shared_ptr<CF113303> newSlip(const std::string& number, std::int16_t year = 2013,
                                    std::int16_t correction = 0) {
    auto slip = connected<CF113303>();
    slip->pCreateF113303Hdr(kNpwp, "F113303", "02", 5, year, correction, number, "112", "", "",
                            kDate);
    slip->pGetF113303(kNpwp, "F113303", "02", 5, year, correction, number, "112", "", "", kDate);
    slip->pAssignOldValues();
    slip->pAssignStatus(true, false, false);
    return slip;
  }
  // An existing slip opened for editing.
  std::shared_ptr<CF113303> editSlip(const std::string& number) {
    auto slip = connected<CF113303>();
    slip->pGetBukti(kNpwp, number, 5, 2013, 0);
    slip->pAssignOldValues();
    slip->pAssignStatus(false, true, false);
    slip->aNPWPLT(slip->rs22Form()->Fields("NPWPLT").Value().text());
    return slip;
  }
  // Line a at 10%, line b at the stored 7.5%, then saved.
  static void save(CF113303& slip, double baseA, double baseB, const std::string& party = kParty) {
    slip.aNPWPLT(party);
    slip.aNMWPLT("CV SENTOSA");
    slip.aALMLT("JL. MERDEKA 2");
    slip.aTGL_POTONG(kDate);
    slip.aINVOICE("INV-7");
    slip.getTaxRate();
    slip.aB3a4(10.0);
    slip.aB3a3(baseA);
    slip.aB3b3(baseB);
    slip.pHitPjk(0);
    slip.pUpdate(5, "2013", "0");
  }
  static double field(CF113303& slip, const char* name) {
    return slip.rs22Form()->Fields(name).Value().toDouble();
  }
  static void expectFields(CF113303& slip, std::initializer_list<const char*> names,
                           std::initializer_list<double> values) {
    auto value = values.begin();
    for (const char* name : names) EXPECT_EQ(field(slip, name), *value++) << name;
  }
  // The list's base and tax, then the main return's lines 4a and 4b.
  std::vector<double> totals(std::int16_t correction = 0) {
    auto list = connected<cd113204>();
    list->pGetD113204Induk(kNpwp, 5, 2013, correction);
    auto mainReturn = connected<CF113202>();
    mainReturn->pGetF113202(kNpwp, 5, 2013, correction);
    std::vector<double> out;
    for (auto name : {"TotObjPPh22", "TotPPh22", "B4a3", "B4a4", "B4b3", "B4b4"}) {
      auto form = name[0] == 'T' ? list->rs22Form() : mainReturn->rs22Form();
      out.push_back(form->Fields(name).Value().toDouble());
    }
    return out;
  }
  void insertSlipRow(int month, int year, int correction, const std::string& number) {
    exec(std::string("INSERT INTO DS_FORM_INDUK VALUES ('") + kNpwp + "', 'F113303', '02', " +
         std::to_string(month) + ", " + std::to_string(year) + ", " + std::to_string(correction) +
         ", '" + number + "', '112', '', '01/05/2013', NULL, NULL)");
  }
};

TEST_F(CF113303Test, NonNpwpPartyDoublesLineTaxesFrom2009) {
  // A null party: amounts entered before any party compute no tax.
  const std::tuple<const char*, std::int16_t, const char*, double> cases[] = {
      {"without NPWP in 2009", 2009, kPartyWithoutNpwp, 30000},
      {"without NPWP in 2008", 2008, kPartyWithoutNpwp, 15000},
      {"eight zeros", 2010, "00000000 123000", 15000},
      {"no party yet", 2009, nullptr, 0},
  };
  for (const auto& [name, year, party, expected] : cases) {
    SCOPED_TRACE(name);
    auto slip = newSlip("000001/PPH22", year);
    if (party) slip->aNPWPLT(party);
    slip->aB3a4(1.5);
    slip->aB3a3(1000000.0);
    EXPECT_EQ(field(*slip, "B3a5"), expected);
  }
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113303Test, ComputingTruncatesAndRatesComeFromTheSettingsWithoutRecomputing) {
  auto slip = newSlip("000001/PPH22", 2010);
  slip->aNPWPLT(kPartyWithoutNpwp);
  slip->aB3a4(1.5);
  slip->aB3a3(1000001.0);
  EXPECT_DOUBLE_EQ(field(*slip, "B3a5"), 30000.03);  // kept until computed
  slip->aB3b3(2000.75);
  // A base entered before its rate leaves the tax empty; line b is doubled as line a.
  EXPECT_TRUE(slip->rs22Form()->Fields("B3b5").Value().isNull());
  slip->aB3b4(2.25);
  slip->aBykBrg(2.5);
  // The triples compute their third member, never doubled; a tax's own setter only stores.
  slip->aB1(1000.0);
  slip->aB2(2.5);
  EXPECT_EQ(field(*slip, "B3"), 25);
  slip->aB26(10.0);
  slip->aB25(333.0);
  EXPECT_DOUBLE_EQ(field(*slip, "B27"), 33.3);
  slip->aB27(30.0);
  EXPECT_EQ(field(*slip, "B27"), 30);
  slip->aB14(0.5);
  slip->aB13(99.9);
  slip->pHitPjk(0);
  // 90.03375 and 0.4995 cut; rates and quantity keep their fractions; the triples are no part
  // of the totals.
  expectFields(*slip, {"B3a5", "B3b3", "B3b5", "B3b4", "BykBrg", "Nil_Impor", "JmlB5", "JmlB3"},
               {30000, 2000, 90, 2.25, 2.5, 0, 30090, 1002001});
  expectFields(*slip, {"B13", "B14", "B15", "B4"}, {99, 0.5, 0, 0});

  slip->getTaxRate();
  expectFields(*slip, {"B3a4", "B3b4", "B3a5"}, {2.5, 7.5, 30000});
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113303Test, AddEditRenumberAndDeleteMoveTheListAndMainReturnOfTheirPeriod) {
  beginPeriod();
  auto added = newSlip("000001/PPH22");
  newSlip("000001/PPH22");  // the header is created once
  save(*added, 100, 2000);  // taxes 10 and 150
  auto row = query("SELECT * FROM DS_FORM_INDUK WHERE JENIS_DOKUMEN = '02'");
  ASSERT_EQ(row->RecordCount(), 1);
  EXPECT_EQ(row->Fields("TGL_REKAM").Value().text(), "15/05/2013");
  EXPECT_EQ(row->Fields("TGL_UBAH").Value().text(), Date::today().text());

  auto edited = editSlip("000001/PPH22");
  EXPECT_EQ(edited->aTGL_POTONG().toDate(), Date(2013, 5, 15));
  EXPECT_EQ(edited->rs22Form()->Fields("INVOICE").Value().text(), "INV-7");
  edited->aB3a3(150.0);
  edited->pHitPjk(0);
  edited->pUpdate(5, "2013", "0");
  EXPECT_EQ(totals(), (Totals{2150, 165, 150, 15, 2000, 150}));
  // Every save but a deletion writes the slip's line; the newest carries the new amounts.
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN"), 2);
  EXPECT_EQ(scalar("SELECT DAT_FORM FROM DS_FORM_LAMPIRAN WHERE SEQ = 2").text(),
            "5;2013;2;01.234.567.8-901.000;JL. MERDEKA 2;CV SENTOSA;000001/PPH22;15/05/2013;2150;"
            "165");

  connected<CF113303>()->pDeleteF113303(kNpwp, "F113303", "02", 5, 2013, 0, "000001/PPH22", "112");
  EXPECT_EQ(totals(), (Totals{0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN"), 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK WHERE KD_FORM = 'F113303'"), 0);

  // A renumbered slip keeps its row; unchanged amounts reach the main return once.
  save(*newSlip("000002/PPH22"), 100, 0);
  auto renumbered = editSlip("000002/PPH22");
  renumbered->aNoBukti("000005/PPH22");
  renumbered->pUpdate(5, "2013", "0");
  EXPECT_EQ(scalar("SELECT NO_URUT FROM SETTING_NOBUKTI_PPH WHERE PASAL = 22").text(), "000005");
  EXPECT_EQ(totals(), (Totals{100, 10, 100, 10, 0, 0}));
  // pDelete takes the header row alone, by its full key: the one row, under its new number.
  for (const std::string kindOfTax : {"111", "112"}) {
    renumbered->pDelete(kNpwp, "F113303", "02", 5, 2013, 0, "000005/PPH22", kindOfTax, "officer",
                        "PT", "JL", Date());
    EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK WHERE KD_FORM = 'F113303'"),
              kindOfTax == "111" ? 1 : 0);
  }
  // A slip of a correction moves that correction's list and main return only.
  beginPeriod(1);
  save(*newSlip("000001/PPH22", 2013, 1), 200, 0);
  EXPECT_EQ(totals(1), (Totals{200, 20, 200, 20, 0, 0}));
  EXPECT_EQ(totals()[2], 100);
  EXPECT_TRUE(messages().empty()) << messages()[0].text;
}

TEST_F(CF113303Test, ProposesTheFirstFreeNumberOfTheSequence) {
  // Without a counter: from one, without format.
  insertSlipRow(1, 2013, 0, "000001");
  insertSlipRow(1, 2013, 0, "000001/PPH22");
  auto slip = connected<CF113303>();
  EXPECT_EQ(slip->getNoBuktiHdr(2013, 0), "000002");

  exec("INSERT INTO SETTING_NOBUKTI_PPH VALUES (22, '000000', 'X')");
  insertSlipRow(1, 2013, 0, "000001X");
  insertSlipRow(7, 2013, 0, "000002X");
  insertSlipRow(12, 2013, 0, "000004X");
  // Numbers the sequence does not see.
  insertSlipRow(5, 2012, 0, "000003X");
  insertSlipRow(5, 2013, 1, "000003X");
  for (const char* other : {"000003Y", "0000003X", "TempleteKodeNoBukti", "-"})
    insertSlipRow(5, 2013, 0, other);
  EXPECT_EQ(slip->getNoBuktiHdr(2013, 0), "000003X");
  insertSlipRow(2, 2013, 0, "000003X");
  EXPECT_EQ(slip->getNoBuktiHdr(2013, 0), "000005X");
  // The candidate starts above the counter, gaps below it stay unused.
  exec("UPDATE SETTING_NOBUKTI_PPH SET NO_URUT = '000003'");
  EXPECT_EQ(slip->getNoBuktiHdr(2013, 0), "000005X");
  exec("UPDATE SETTING_NOBUKTI_PPH SET NO_URUT = '000009'");
  EXPECT_EQ(slip->getNoBuktiHdr(2013, 0), "000010X");
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113303Test, FailuresAreReportedOnceEach) {
  // A quote in the collected party fails before anything is written.
  beginPeriod();
  save(*newSlip("000001/PPH22"), 100, 2000, "01.234'567.8-901.000");
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_NE(messages()[0].text.find("01.234'567.8-901.000"), std::string::npos);
  EXPECT_EQ(scalar("SELECT DAT_FORM FROM DS_FORM_INDUK WHERE KD_FORM = 'F113303'").text(), "");
  // A correction without a main return to move.
  save(*newSlip("000002/PPH22", 2013, 1), 100, 0);
  EXPECT_EQ(messages().size(), 2u);
  // Before loading, and without a connection: defaults.
  auto unloaded = connected<CF113303>();
  unloaded->aB3a3(1.0);
  unloaded->pHitPjk(0);
  EXPECT_TRUE(unloaded->aNPWP().isEmpty());
  EXPECT_EQ(messages().size(), 5u);
  CF113303 unconnected;
  EXPECT_EQ(unconnected.getNoBuktiHdr(2013, 0), "");
  EXPECT_EQ(unconnected.pCheckNoBukti(kNpwp, 2013, "x", 0), nullptr);
  EXPECT_EQ(messages().size(), 7u);
}

}  // namespace
}  // namespace korvane
