// The sector forms F113304, F113304A and F113304S; and which numbers and slips each of the five
// slip classes sees.
#include "korvane/forms/slips/f113304.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/forms/slips/f113303.hpp"
#include "korvane/forms/slips/f113305.hpp"
#include "korvane/forms/slips/slip_list.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

using slips::SectorSlip;
using Amounts = std::vector<double>;

constexpr const char* kParty = "01.234.567.8-901.000";
constexpr const char* kPartyWithoutNpwp = "000000000123000";

template <class Slip>
std::shared_ptr<slips::SlipForm> make() {
  return std::make_shared<Slip>();
}

struct SectorForm {
  const char* form;
  std::shared_ptr<slips::SlipForm> (*make)();
  // B76 (recomputed from line 7's base) and B15 .. B115 after getTaxRate with the reference
  // settings.
  Amounts rates;
  // The list's base and tax, then B13, B14, B23, B24, B33, B34, B6a3, B6a4, B6b3 and B6b4,
  // after adding a slip with bases 1000 x n and taxes 10 x n on line n, then raising line 5's
  // base by 500 and line 10's tax by 100.
  Amounts edited;
};

// "B64" feeds lines 8 and 9, never line 6. Line 7 goes to the main return's line 2, the rest is
// pooled in line 1 but for F113304A's line 10 (line 3) and F113304S's lines 5 and 6 (6a, 6b).
const SectorForm kForms[] = {
    {"F113304",
     make<CF113304>,
     {10, 0.25, 0.1, 0.3, 0.45, 0.3, 0, 0, 0.25, 0.25, 0, 0},
     {66500, 760, 59500, 690, 7000, 70, 0, 0, 0, 0, 0, 0}},
    {"F113304A",
     make<CF113304A>,
     {10, 0.25, 0.1, 0.3, 0.45, 0, 0, 0, 0.25, 0.25, 0.45, 0},
     {66500, 760, 49500, 490, 7000, 70, 10000, 200, 0, 0, 0, 0}},
    {"F113304S",
     make<CF113304S>,
     {10, 0.25, 0.1, 0.3, 0.45, 0.15, 0.45, 0, 0.25, 0.25, 0, 0},
     {66500, 760, 48000, 580, 7000, 70, 0, 0, 5500, 50, 6000, 60}},
};

using Setter = void (SectorSlip::*)(const Variant&);
constexpr Setter kBaseSetters[] = {&SectorSlip::aB13,  &SectorSlip::aB23, &SectorSlip::aB33,
                                   &SectorSlip::aB43,  &SectorSlip::aB53, &SectorSlip::aB63,
                                   &SectorSlip::aB73,  &SectorSlip::aB83, &SectorSlip::aB93,
                                   &SectorSlip::aB103, &SectorSlip::aB113};
constexpr Setter kTaxSetters[] = {&SectorSlip::aB16,  &SectorSlip::aB26, &SectorSlip::aB36,
                                  &SectorSlip::aB46,  &SectorSlip::aB56, &SectorSlip::aB66,
                                  &SectorSlip::aB76,  &SectorSlip::aB86, &SectorSlip::aB96,
                                  &SectorSlip::aB106, &SectorSlip::aB116};

class CF113304FamilyTest : public testing::StoreTest,
                           public ::testing::WithParamInterface<SectorForm> {
 protected:
  std::shared_ptr<SectorSlip> connectedSlip() {
    auto slip = std::static_pointer_cast<SectorSlip>(GetParam().make());
    slip->pAssignConStr(store(), user(), password());
    return slip;
  }
  // A new slip as a host's screen makes it: header, load, remember, status "adding".
  std::shared_ptr<SectorSlip> newSlip(std::int16_t year = 2013) {
    auto slip = connectedSlip();
    slip->pCreateF113304Hdr(kNpwp, GetParam().form, "03", 5, year, 0, "000001/PPH22", "112", "", "",
                            Date(year, 5, 15));
    slip->pGetF113304(kNpwp, GetParam().form, "03", 5, year, 0, "000001/PPH22", "112", "", "",
                      Date(year, 5, 15));
    slip->pAssignOldValues();
    slip->pAssignStatus(true, false, false);
    return slip;
  }
  // The named fields, then member `member` of each of the eleven lines (B<n><member>).
  static Amounts fields(SectorSlip& slip, std::vector<std::string> names, char member = 0) {
    for (int n = 1; member && n <= 11; ++n) names.push_back("B" + std::to_string(n) + member);
    Amounts out;
    for (const auto& name : names) out.push_back(slip.rs22Form()->Fields(name).Value().toDouble());
    return out;
  }
  // As SectorForm::edited.
  Amounts totals() {
    auto list = connected<cd113204>();
    list->pGetD113204Induk(kNpwp, 5, 2013, 0);
    auto mainReturn = connected<CF113202>();
    mainReturn->pGetF113202(kNpwp, 5, 2013, 0);
    Amounts out;
    for (auto name : {"TotObjPPh22", "TotPPh22", "B13", "B14", "B23", "B24", "B33", "B34", "B6a3",
                      "B6a4", "B6b3", "B6b4"}) {
      auto form = name[0] == 'T' ? list->rs22Form() : mainReturn->rs22Form();
      out.push_back(form->Fields(name).Value().toDouble());
    }
    return out;
  }
};

TEST_P(CF113304FamilyTest, PartyWithoutNpwpDoublesWhateverTheYear) {
  auto slip = newSlip(2005);
  slip->setNonNPWP();
  EXPECT_EQ(fields(*slip, {}, '4'), Amounts(11, 1));
  slip->aNPWPLT(kPartyWithoutNpwp);
  slip->aB13(1000000.0);
  // A base before its rate leaves the tax empty.
  EXPECT_TRUE(slip->rs22Form()->Fields("B16").Value().isNull());
  slip->aB15(0.25);
  EXPECT_EQ(fields(*slip, {"B14", "B16"}), (Amounts{2, 5000}));
  slip->aNPWPLT(kParty);
  slip->aB115(0.25);
  slip->aB113(1000000.0);
  EXPECT_EQ(fields(*slip, {"B114", "B116"}), (Amounts{1, 2500}));
  slip->aB116(2400.0);  // the tax's own setter only stores
  // setNonNPWP writes every multiplier without recomputing.
  slip->aNPWPLT(kPartyWithoutNpwp);
  slip->setNonNPWP();
  EXPECT_EQ(fields(*slip, {}, '4'), Amounts(11, 2));
  EXPECT_EQ(fields(*slip, {"B116"}), Amounts{2400});
  EXPECT_TRUE(messages().empty());
}

TEST_P(CF113304FamilyTest, TaxRatesFollowTheFormsKeysWithoutRecomputing) {
  auto slip = newSlip();
  slip->aNPWPLT(kParty);
  // Rates the user entered are cleared first.
  slip->aB65(5.0);
  slip->aB75(1.0);
  slip->aB73(1000.0);
  slip->aB83(1000.0);
  slip->getTaxRate();
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  EXPECT_EQ(fields(*slip, {"B76"}, '5'), GetParam().rates);
  EXPECT_TRUE(slip->rs22Form()->Fields("B86").Value().isNull());
}

TEST_P(CF113304FamilyTest, LinesOneToSevenKeepTheirFractions) {
  auto slip = newSlip();
  slip->aNPWPLT(kParty);
  slip->aB13(1000.9);
  slip->aB16(2500.5);
  slip->aB83(2000.5);
  slip->aB86(2500.5);
  slip->aB76(0.25);
  slip->aB116(-0.5);
  slip->pHitPjk3304(0);
  ASSERT_TRUE(messages().empty()) << messages()[0].text;
  EXPECT_EQ(fields(*slip, {"B16", "B76", "B86", "B116", "B13", "B83", "B23", "B26", "B15"}),
            (Amounts{2500.5, 0.25, 2500, -1, 1000, 2000, 0, 0, 0}));
  EXPECT_EQ(fields(*slip, {"JmlB6", "JmlB3"}), (Amounts{4999.75, 3000}));
}

TEST_P(CF113304FamilyTest, AddEditAndDeleteReachTheListAndTheMainReturn) {
  connected<CF113202>()->pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2013, 0, "-", "112", "", "",
                                           Date(2013, 6, 15), Date(2013, 6, 1), "Pemungut");
  auto added = newSlip();
  added->aNPWPLT(kParty);
  added->aTGL_POTONG(Date(2013, 5, 20));
  for (int line = 1; line <= 11; ++line) {
    // Base first: its setter recomputes the tax from the (empty) rate.
    std::invoke(kBaseSetters[line - 1], *added, Variant(1000.0 * line));
    std::invoke(kTaxSetters[line - 1], *added, Variant(10.0 * line));
  }
  added->pHitPjk3304(0);
  added->pUpdate(5, "2013", "0");
  // The line carries this form's own slip date.
  EXPECT_EQ(scalar("SELECT DAT_FORM FROM DS_FORM_LAMPIRAN").text(),
            "5;2013;1;01.234.567.8-901.000;;;000001/PPH22;20/05/2013;66000;660");

  auto edited = connectedSlip();
  edited->pGetBukti(kNpwp, "000001/PPH22", 5, 2013, 0);
  edited->pAssignOldValues();
  edited->pAssignStatus(false, true, false);
  edited->aB53(5500.0);
  edited->aB56(50.0);  // the base's setter recomputed it from the rate 0
  edited->aB106(200.0);
  edited->pHitPjk3304(0);
  edited->pUpdate(5, "2013", "0");
  EXPECT_EQ(totals(), GetParam().edited);

  connectedSlip()->pDeleteF113304(kNpwp, GetParam().form, "03", 5, 2013, 0, "000001/PPH22", "112");
  EXPECT_EQ(totals(), Amounts(12, 0));
  // Saving and deleting find the header under the form's own code and document kind.
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK WHERE NOBUKTI = '000001/PPH22'"), 0);
  EXPECT_TRUE(messages().empty()) << messages()[0].text;
}

std::string formName(const ::testing::TestParamInfo<SectorForm>& param) { return param.param.form; }
void PrintTo(const SectorForm& form, std::ostream* out) { *out << form.form; }
INSTANTIATE_TEST_SUITE_P(Forms, CF113304FamilyTest, ::testing::ValuesIn(kForms), formName);

class SlipNumbersTest : public testing::StoreTest {};

// The sharing is one-sided on purpose: F113304 does not see its variants' numbers, they see
// its; F113305 checks a number among the taxpayer's own slips but proposes past all of them.
TEST_F(SlipNumbersTest, EachClassSeesTheNumbersOfItsSequenceAndFindsItsOwnSlips) {
  // Of 1 to 6 X, taken by F113304, another taxpayer's F113303, F113304A, F113303, F113305 and
  // F113304S: the number proposed, what pCheckNoBukti and pGetBukti find of each.
  using Taken = std::array<long, 6>;
  const std::tuple<const char*, std::shared_ptr<slips::SlipForm> (*)(), const char*, Taken, Taken>
      classes[] = {
          {"F113303", make<CF113303>, "000003X", {1, 1, 0, 1, 1, 0}, {0, 0, 0, 1, 0, 0}},
          {"F113304", make<CF113304>, "000003X", {1, 1, 0, 1, 1, 0}, {1, 0, 0, 0, 0, 0}},
          {"F113304A", make<CF113304A>, "000007X", {1, 1, 1, 1, 1, 1}, {1, 0, 1, 0, 0, 1}},
          {"F113304S", make<CF113304S>, "000003X", {1, 1, 0, 1, 1, 1}, {1, 0, 0, 0, 0, 1}},
          {"F113305", make<CF113305>, "000003X", {1, 0, 0, 1, 1, 0}, {0, 0, 0, 0, 1, 0}},
      };
  exec("INSERT INTO SETTING_NOBUKTI_PPH VALUES (22, '000000', 'X')");
  const char* owners[] = {"F113304", "F113303", "F113304A", "F113303", "F113305", "F113304S"};
  for (int i = 0; i < 6; ++i) {
    exec(std::string("INSERT INTO DS_FORM_INDUK VALUES ('") + (i == 1 ? "099999999999000" : kNpwp) +
         "', '" + owners[i] + "', '03', 5, 2013, 0, '00000" + std::to_string(i + 1) +
         "X', '112', '', '01/05/2013', NULL, NULL)");
  }
  for (const auto& [form, create, proposed, taken, found] : classes) {
    SCOPED_TRACE(form);
    auto slip = create();
    slip->pAssignConStr(store(), user(), password());
    EXPECT_EQ(slip->getNoBuktiHdr(2013, 0), proposed);
    for (int i = 0; i < 6; ++i) {
      const std::string number = "00000" + std::to_string(i + 1) + "X";
      EXPECT_EQ(slip->pCheckNoBukti(kNpwp, 2013, number, 0)->RecordCount(), taken[i]) << number;
      slip->pGetBukti(kNpwp, number, 5, 2013, 0);
      EXPECT_EQ(slip->rs22Form()->RecordCount(), found[i]) << number;
    }
    // Year and correction are part of the key.
    EXPECT_EQ(slip->pCheckNoBukti(kNpwp, 2012, "000001X", 0)->RecordCount(), 0);
    EXPECT_EQ(slip->pCheckNoBukti(kNpwp, 2013, "000001X", 1)->RecordCount(), 0);
  }
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
