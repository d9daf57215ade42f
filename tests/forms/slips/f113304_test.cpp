#include "korvane/forms/slips/f113304.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/forms/slips/slip_list.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kParty = "01.234.567.8-901.000";
constexpr const char* kPartyWithoutNpwp = "000000000123000";

// Lets a test read a slip's lines as the sector reading names them.
template <class Slip>
class SectorReading : public Slip {
 public:
  using Slip::sectorLines;
};

template <class Slip>
std::shared_ptr<slips::SectorSlip> makeSlip() {
  return std::make_shared<SectorReading<Slip>>();
}

template <class Slip>
std::vector<std::string> lineNames(slips::SectorSlip& slip) {
  std::vector<std::string> names;
  for (const auto& line : static_cast<SectorReading<Slip>&>(slip).sectorLines()) {
    names.push_back(line.description);
  }
  return names;
}

// The main return's lines that a sector slip moves.
struct MainReturnLines {
  double b13, b14, b23, b24, b33, b34, b6a3, b6a4, b6b3, b6b4;
};

struct SectorForm {
  const char* name;
  const char* form;
  std::shared_ptr<slips::SectorSlip> (*make)();
  std::vector<std::string> (*lineNames)(slips::SectorSlip&);
  // B15 .. B115 after getTaxRate with the reference settings.
  std::array<double, 11> rates;
  // After adding a slip with bases 1000 x n and taxes 10 x n on line n, and after raising line
  // 5's base by 500 and line 10's tax by 100.
  MainReturnLines added, edited;
  // With numbers 1 to 5 taken by F113304, F113304S, F113304A, F113303 and F113305.
  const char* proposedNumber;
  std::array<long, 5> numberTaken;
  // Whether pGetBukti finds slips of F113304, F113304S and F113304A.
  std::array<long, 3> finds;
  const char* lineFiveName;  // with B52 "Vaksin"
};

const SectorForm kForms[] = {
    {
        .name = "F113304",
        .form = "F113304",
        .make = makeSlip<CF113304>,
        .lineNames = lineNames<CF113304>,
        // "B64" feeds lines 8 and 9, never line 6.
        .rates = {0.25, 0.1, 0.3, 0.45, 0.3, 0, 0, 0.25, 0.25, 0, 0},
        .added = {59000, 590, 7000, 70, 0, 0, 0, 0, 0, 0},
        .edited = {59500, 690, 7000, 70, 0, 0, 0, 0, 0, 0},
        .proposedNumber = "000002X",
        .numberTaken = {1, 0, 0, 1, 1},
        .finds = {1, 0, 0},
        .lineFiveName = "Farmasi",
    },
    {
        .name = "F113304A",
        .form = "F113304A",
        .make = makeSlip<CF113304A>,
        .lineNames = lineNames<CF113304A>,
        .rates = {0.25, 0.1, 0.3, 0.45, 0, 0, 0, 0.25, 0.25, 0.45, 0},
        .added = {49000, 490, 7000, 70, 10000, 100, 0, 0, 0, 0},
        .edited = {49500, 490, 7000, 70, 10000, 200, 0, 0, 0, 0},
        .proposedNumber = "000006X",
        .numberTaken = {1, 1, 1, 1, 1},
        .finds = {1, 1, 1},
        .lineFiveName = "Vaksin",
    },
    {
        .name = "F113304S",
        .form = "F113304S",
        .make = makeSlip<CF113304S>,
        .lineNames = lineNames<CF113304S>,
        .rates = {0.25, 0.1, 0.3, 0.45, 0.15, 0.45, 0, 0.25, 0.25, 0, 0},
        .added = {48000, 480, 7000, 70, 0, 0, 5000, 50, 6000, 60},
        .edited = {48000, 580, 7000, 70, 0, 0, 5500, 50, 6000, 60},
        .proposedNumber = "000003X",
        .numberTaken = {1, 1, 0, 1, 1},
        .finds = {1, 1, 0},
        .lineFiveName = "Vaksin",
    },
};

void PrintTo(const SectorForm& form, std::ostream* out) { *out << form.name; }

using S = slips::SectorSlip;
using Setter = void (S::*)(const Variant&);
constexpr Setter kBaseSetters[] = {&S::aB13, &S::aB23, &S::aB33, &S::aB43,  &S::aB53, &S::aB63,
                                   &S::aB73, &S::aB83, &S::aB93, &S::aB103, &S::aB113};
constexpr Setter kTaxSetters[] = {&S::aB16, &S::aB26, &S::aB36, &S::aB46,  &S::aB56, &S::aB66,
                                  &S::aB76, &S::aB86, &S::aB96, &S::aB106, &S::aB116};

std::string lineField(int line, char member) { return "B" + std::to_string(line) + member; }

class CF113304FamilyTest : public testing::StoreTest,
                           public ::testing::WithParamInterface<SectorForm> {
 protected:
  const SectorForm& form() const { return GetParam(); }

  std::shared_ptr<slips::SectorSlip> connectedSlip() {
    auto slip = form().make();
    slip->pAssignConStr(store(), user(), password());
    return slip;
  }

  void beginPeriod() {
    auto mainReturn = connected<CF113202>();
    mainReturn->pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2013, 0, "-", "112", "PT MAJU JAYA",
                                  "JL. SUDIRMAN 1 JAKARTA", Date(2013, 6, 15), Date(2013, 6, 1),
                                  "Pemungut");
  }

  // A new slip as a host's screen makes it: header, load, remember, status "adding".
  std::shared_ptr<slips::SectorSlip> newSlip(const std::string& number, std::int16_t year = 2013) {
    auto slip = connectedSlip();
    slip->pCreateF113304Hdr(kNpwp, form().form, "03", 5, year, 0, number, "112", "PT MAJU JAYA",
                            "JL. SUDIRMAN 1 JAKARTA", Date(year, 5, 15));
    slip->pGetF113304(kNpwp, form().form, "03", 5, year, 0, number, "112", "", "",
                      Date(year, 5, 15));
    slip->pAssignOldValues();
    slip->pAssignStatus(true, false, false);
    return slip;
  }

  std::shared_ptr<slips::SectorSlip> editSlip(const std::string& number) {
    auto slip = connectedSlip();
    slip->pGetBukti(kNpwp, number, 5, 2013, 0);
    slip->pAssignOldValues();
    slip->pAssignStatus(false, true, false);
    return slip;
  }

  static double field(slips::SectorSlip& slip, const std::string& name) {
    return slip.rs22Form()->Fields(name).Value().toDouble();
  }

  double mainReturnField(const char* name) {
    CF113202 mainReturn;
    mainReturn.pAssignConStr(store(), user(), password());
    mainReturn.pGetF113202(kNpwp, 5, 2013, 0);
    const Variant stored = mainReturn.rs22Form()->Fields(name).Value();
    return stored.isNull() ? 0.0 : stored.toDouble();
  }

  double listTotal(const char* name) {
    cd113204 list;
    list.pAssignConStr(store(), user(), password());
    list.pGetD113204Induk(kNpwp, 5, 2013, 0);
    return list.rs22Form()->Fields(name).Value().toDouble();
  }

  void expectMainReturn(const MainReturnLines& e) {
    EXPECT_EQ(mainReturnField("B13"), e.b13);
    EXPECT_EQ(mainReturnField("B14"), e.b14);
    EXPECT_EQ(mainReturnField("B23"), e.b23);
    EXPECT_EQ(mainReturnField("B24"), e.b24);
    EXPECT_EQ(mainReturnField("B33"), e.b33);
    EXPECT_EQ(mainReturnField("B34"), e.b34);
    EXPECT_EQ(mainReturnField("B6a3"), e.b6a3);
    EXPECT_EQ(mainReturnField("B6a4"), e.b6a4);
    EXPECT_EQ(mainReturnField("B6b3"), e.b6b3);
    EXPECT_EQ(mainReturnField("B6b4"), e.b6b4);
  }

  void insertSlipRow(const std::string& slipForm, const std::string& number, int year = 2013) {
    exec(std::string("INSERT INTO DS_FORM_INDUK VALUES ('") + kNpwp + "', '" + slipForm +
         "', '03', 5, " + std::to_string(year) + ", 0, '" + number +
         "', '112', '', '01/05/2013', NULL, NULL)");
  }
};

TEST_P(CF113304FamilyTest, PartyWithoutNpwpDoublesWhateverTheYear) {
  auto slip = newSlip("000001/PPH22", 2005);
  slip->aNPWPLT(kPartyWithoutNpwp);
  slip->aB13(1000000.0);
  // A base before its rate leaves the tax empty.
  EXPECT_TRUE(slip->rs22Form()->Fields("B16").Value().isNull());
  slip->aB15(0.25);
  EXPECT_EQ(field(*slip, "B14"), 2);
  EXPECT_EQ(field(*slip, "B16"), 5000);

  slip->aNPWPLT(kParty);
  slip->aB115(0.25);
  slip->aB113(1000000.0);
  EXPECT_EQ(field(*slip, "B114"), 1);
  EXPECT_EQ(field(*slip, "B116"), 2500);
  // The tax's own setter only stores.
  slip->aB116(2400.0);
  EXPECT_EQ(field(*slip, "B116"), 2400);
  EXPECT_EQ(field(*slip, "B114"), 1);
  EXPECT_TRUE(messages().empty());
}

TEST_P(CF113304FamilyTest, SetNonNpwpWritesEveryMultiplierWithoutRecomputing) {
  auto slip = newSlip("000001/PPH22");
  slip->setNonNPWP();
  for (int line = 1; line <= 11; ++line) EXPECT_EQ(field(*slip, lineField(line, '4')), 1);

  slip->aNPWPLT(kParty);
  slip->aB75(1.0);
  slip->aB73(1000.0);
  EXPECT_EQ(field(*slip, "B76"), 10);
  slip->aNPWPLT(kPartyWithoutNpwp);
  slip->setNonNPWP();
  for (int line = 1; line <= 11; ++line) EXPECT_EQ(field(*slip, lineField(line, '4')), 2);
  EXPECT_EQ(field(*slip, "B76"), 10);
  EXPECT_TRUE(messages().empty());
}

TEST_P(CF113304FamilyTest, TaxRatesFollowTheFormsKeysWithoutRecomputing) {
  auto slip = newSlip("000001/PPH22");
  slip->aNPWPLT(kParty);
  // Rates the user entered are cleared first.
  slip->aB65(5.0);
  slip->aB75(1.0);
  slip->aB73(1000.0);
  slip->aB83(1000.0);
  slip->getTaxRate();
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  for (int line = 1; line <= 11; ++line) {
    SCOPED_TRACE(line);
    EXPECT_DOUBLE_EQ(field(*slip, lineField(line, '5')), form().rates[line - 1]);
  }
  EXPECT_EQ(field(*slip, "B76"), 10);
  EXPECT_TRUE(slip->rs22Form()->Fields("B86").Value().isNull());
}

TEST_P(CF113304FamilyTest, LinesOneToSevenKeepTheirFractions) {
  auto slip = newSlip("000001/PPH22");
  slip->aNPWPLT(kParty);
  slip->aB13(1000.9);
  slip->aB16(2500.5);
  slip->aB83(2000.5);
  slip->aB86(2500.5);
  slip->aB76(0.25);
  slip->aB116(-0.5);
  slip->pHitPjk3304(0);
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  EXPECT_EQ(field(*slip, "B16"), 2500.5);
  EXPECT_EQ(field(*slip, "B76"), 0.25);
  EXPECT_EQ(field(*slip, "B86"), 2500);
  EXPECT_EQ(field(*slip, "B116"), -1);
  EXPECT_EQ(field(*slip, "B13"), 1000);
  EXPECT_EQ(field(*slip, "B83"), 2000);
  EXPECT_EQ(field(*slip, "B23"), 0);
  EXPECT_EQ(field(*slip, "B26"), 0);
  EXPECT_EQ(field(*slip, "B15"), 0);
  EXPECT_EQ(field(*slip, "JmlB6"), 4999.75);
  EXPECT_EQ(field(*slip, "JmlB3"), 3000);
}

TEST_P(CF113304FamilyTest, AddEditAndDeleteReachTheListAndTheMainReturn) {
  beginPeriod();
  auto added = newSlip("000001/PPH22");
  added->aNPWPLT(kParty);
  added->aNMWPLT("CV SENTOSA");
  added->aALMLT("JL. MERDEKA 2");
  added->aTGL_POTONG(Date(2013, 5, 15));
  added->aB52("Vaksin");
  for (int line = 1; line <= 11; ++line) {
    // Base first: its setter recomputes the tax from the (empty) rate.
    const Variant base = 1000.0 * line;
    const Variant tax = 10.0 * line;
    std::invoke(kBaseSetters[line - 1], *added, base);
    std::invoke(kTaxSetters[line - 1], *added, tax);
  }
  added->pHitPjk3304(0);
  added->pUpdate(5, "2013", "0");
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  expectMainReturn(form().added);
  EXPECT_EQ(listTotal("TotObjPPh22"), 66000);
  EXPECT_EQ(listTotal("TotPPh22"), 660);
  EXPECT_EQ(scalar("SELECT DAT_FORM FROM DS_FORM_LAMPIRAN WHERE NOBUKTI = '000001/PPH22'").text(),
            "5;2013;1;01.234.567.8-901.000;JL. MERDEKA 2;CV SENTOSA;000001/PPH22;15/05/2013;66000;"
            "660");
  auto header = query("SELECT * FROM DS_FORM_INDUK WHERE NOBUKTI = '000001/PPH22'");
  ASSERT_EQ(header->RecordCount(), 1);
  EXPECT_EQ(header->Fields("KD_FORM").Value().text(), form().form);
  EXPECT_EQ(header->Fields("JENIS_DOKUMEN").Value().text(), "03");

  auto edited = editSlip("000001/PPH22");
  edited->aB53(5500.0);
  edited->aB56(50.0);  // the base's setter recomputed it from the rate 0
  edited->aB106(200.0);
  edited->pHitPjk3304(0);
  edited->pUpdate(5, "2013", "0");
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  expectMainReturn(form().edited);
  EXPECT_EQ(listTotal("TotObjPPh22"), 66500);
  EXPECT_EQ(listTotal("TotPPh22"), 760);

  connectedSlip()->pDeleteF113304(kNpwp, form().form, "03", 5, 2013, 0, "000001/PPH22", "112");
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  expectMainReturn({0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  EXPECT_EQ(listTotal("TotObjPPh22"), 0);
  EXPECT_EQ(listTotal("TotPPh22"), 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN"), 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK WHERE JENIS_DOKUMEN = '03'"), 0);
}

TEST_P(CF113304FamilyTest, SeesTheNumbersOfItsSequenceOnly) {
  exec("INSERT INTO SETTING_NOBUKTI_PPH VALUES (22, '000000', 'X')");
  const char* owners[] = {"F113304", "F113304S", "F113304A", "F113303", "F113305"};
  for (int i = 0; i < 5; ++i) {
    insertSlipRow(owners[i], "00000" + std::to_string(i + 1) + "X");
  }
  auto slip = connectedSlip();
  EXPECT_EQ(slip->getNoBuktiHdr(2013, 0), form().proposedNumber);
  for (int i = 0; i < 5; ++i) {
    SCOPED_TRACE(owners[i]);
    auto taken = slip->pCheckNoBukti("", 2013, "00000" + std::to_string(i + 1) + "X", 0);
    ASSERT_TRUE(taken);
    EXPECT_EQ(taken->RecordCount(), form().numberTaken[i]);
  }
  EXPECT_TRUE(messages().empty());
}

TEST_P(CF113304FamilyTest, FindsSlipsOfTheFormsItReads) {
  const char* owners[] = {"F113304", "F113304S", "F113304A"};
  for (int i = 0; i < 3; ++i) insertSlipRow(owners[i], "00000" + std::to_string(i + 1) + "/PPH22");
  auto slip = connectedSlip();
  for (int i = 0; i < 3; ++i) {
    SCOPED_TRACE(owners[i]);
    slip->pGetBukti(kNpwp, "00000" + std::to_string(i + 1) + "/PPH22", 5, 2013, 0);
    EXPECT_EQ(slip->rs22Form()->RecordCount(), form().finds[i]);
  }
  EXPECT_TRUE(messages().empty());
}

TEST_P(CF113304FamilyTest, SavedSlipReadsBackWithItsLineNames) {
  beginPeriod();
  auto slip = newSlip("000001/PPH22");
  slip->aNPWPLT(kParty);
  slip->aINVOICE("INV-9");
  slip->aTGL_POTONG(Date(2013, 5, 20));
  slip->aB52("Vaksin");
  slip->aB62("Kakao");
  slip->aB112("Karet");
  slip->pHitPjk3304(0);
  slip->pUpdate(5, "2013", "0");

  auto loaded = connectedSlip();
  loaded->pGetBukti(kNpwp, "000001/PPH22", 5, 2013, 0);
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  EXPECT_EQ(loaded->aNPWP().text(), kNpwp);
  EXPECT_EQ(loaded->aTGL_POTONG().toDate(), Date(2013, 5, 20));
  EXPECT_EQ(loaded->rs22Form()->Fields("INVOICE").Value().text(), "INV-9");
  const std::vector<std::string> expected = {
      "Semen", "Kertas", "Baja", "Otomotif", form().lineFiveName, "Kakao", "", "", "", "", "Karet"};
  EXPECT_EQ(form().lineNames(*loaded), expected);
  EXPECT_EQ(loaded->className(), "C" + std::string(form().form));
}

std::string formName(const ::testing::TestParamInfo<SectorForm>& param) { return param.param.name; }
INSTANTIATE_TEST_SUITE_P(Forms, CF113304FamilyTest, ::testing::ValuesIn(kForms), formName);

class CF113304Test : public testing::StoreTest {};

TEST_F(CF113304Test, MovesOfTheHeaderRecordsetAreRaised) {
  exec(std::string("INSERT INTO DS_FORM_INDUK VALUES ('") + kNpwp +
       "', 'F113304', '03', 5, 2013, 0, '000001/PPH22', '112', '', '01/05/2013', NULL, NULL)");
  exec(std::string("INSERT INTO DS_FORM_INDUK VALUES ('") + kNpwp +
       "', 'F113304', '03', 5, 2013, 0, '000002/PPH22', '112', '', '01/05/2013', NULL, NULL)");
  auto slip = connected<CF113304>();
  int moves = 0;
  slip->onMoveComplete([&] { ++moves; });
  slip->rs22Hdr(query("SELECT * FROM DS_FORM_INDUK ORDER BY NOBUKTI"));
  const int before = moves;
  slip->rs22Hdr()->MoveNext();
  EXPECT_EQ(moves, before + 1);
  EXPECT_EQ(slip->rs22Hdr()->Fields("NOBUKTI").Value().text(), "000002/PPH22");
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113304Test, OperationsBeforeLoadingReportAndReturnDefaults) {
  auto slip = connected<CF113304S>();
  slip->aB13(1.0);
  slip->pHitPjk3304(0);
  EXPECT_TRUE(slip->aTGL_POTONG().isEmpty());
  EXPECT_EQ(messages().size(), 3u);
  CF113304A unconnected;
  EXPECT_EQ(unconnected.getNoBuktiHdr(2013, 0), "");
  EXPECT_EQ(messages().size(), 4u);
}

}  // namespace
}  // namespace korvane
