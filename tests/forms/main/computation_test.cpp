#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/store/companion.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kOtherNpwp = "098765432109000";
constexpr const char* kSlips = "DS_FORM_INDUK";
constexpr const char* kPayments = "DAT_SSP_PPh22";
constexpr const char* kNotConnected =
    "Operation is not allowed when the object is closed: no connection to the store.";
constexpr const char* kNotLoaded = "Object variable not set: the form has not been loaded.";

// A packed text in the field order of `form`, the fields named in "FIELD=value ..." set.
std::string packedText(const std::string& form, const std::string& values) {
  const std::string spaced = " " + values + " ";
  std::string out, separator;
  long named = 0;
  for (const auto& field : fieldList(form)) {
    const auto at = spaced.find(" " + std::string(field.name) + "=");
    const auto start = spaced.find('=', at) + 1;
    out += separator +
           (at == std::string::npos ? "" : spaced.substr(start, spaced.find(' ', start) - start));
    separator = ";";
    named += at != std::string::npos;
  }
  EXPECT_EQ(named, std::count(values.begin(), values.end(), '='))
      << values << ": not all in " << form;
  return out;
}

class CF113202ComputationTest : public testing::StoreTest {
 protected:
  std::shared_ptr<CF113202> loadedMainForm() {
    auto main = connected<CF113202>();
    main->pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2013, 0, "-", "112", "", "",
                            Date(2013, 6, 10), Date(2013, 6, 15), "Pemungut");
    main->pGetF113202(kNpwp, 5, 2013, 0);
    return main;
  }

  // A slip (kSlips) or payment slip (kPayments) of 2013, first return.
  void insert(const std::string& table, const std::string& form, const std::string& kind,
              const std::string& number, const std::string& values, const std::string& npwp = kNpwp,
              int month = 5) {
    exec("INSERT INTO " + table + " VALUES ('" + npwp + "', '" + form + "', '" + kind + "', " +
         std::to_string(month) + ", 2013, 0, '" + number + "', '112', '" +
         packedText(form, values) + "', '01/06/2013', '', '-')");
  }

  static double amount(CF113202& main, const char* column) {
    return main.rs22Form()->Fields(column).Value().toDouble();
  }
};

// Empty boxes and lines take their defaults, set boxes are kept, amounts are truncated towards
// minus infinity before the totals, and the totals are packed on save. Rates come from the
// settings, or are zero.
TEST_F(CF113202ComputationTest, NormalisingFillsDefaultsTruncatesAndTotalsAndRatesAreSettings) {
  auto main = loadedMainForm();
  main->pHitPjk3202(1);
  const std::vector<Variant> boxes = {main->gChk1(), main->gChk2(), main->gChk3(), main->gChk4(),
                                      main->gChk5(), main->gChk6(), main->gChk7(), main->gChk8()};
  const Variant on(std::int16_t{1}), off(std::int16_t{0});
  EXPECT_EQ(boxes, (std::vector<Variant>{on, on, on, off, on, on, off, off}));
  EXPECT_TRUE(main->gChk9().isNull());
  for (auto column :
       {"B13",  "B23",  "B33", "B4a3", "B4b3", "B53", "B6a3", "B6b3", "B14", "B24", "B34",
        "B4a4", "B4b4", "B54", "B6a4", "B6b4", "c2",  "C3",   "B73",  "B74", "TotA"}) {
    EXPECT_EQ(main->rs22Form()->Fields(column).Value(), Variant(0.0)) << column;
  }
  EXPECT_EQ(main->rs22Form()->Fields("B71").Value(), Variant(""));
  EXPECT_EQ(main->aTotB(), Variant(0.0));

  main->aCHKC1(off);
  main->aCHKC4(on);
  main->aB13(1234.75);
  main->aB23(1000);
  main->aB14(-0.5);
  main->aB24(1500.99);
  // Line 7 enters the totals as stored.
  main->aB73(Variant(10.5));
  main->aB74(Variant(0.25));
  main->pHitPjk3202(0);

  EXPECT_EQ(main->gChk1(), off);
  EXPECT_EQ(main->gChk4(), on);
  EXPECT_EQ(amount(*main, "B13"), 1234);
  EXPECT_EQ(main->aB14(), -1);
  main->pUpdate();
  auto reloaded = connected<CF113202>();
  reloaded->pGetF113202(kNpwp, 5, 2013, 0);
  EXPECT_EQ(reloaded->aTotB(), Variant(-1 + 1500 + 0.25));
  EXPECT_EQ(amount(*reloaded, "TotA"), 1234 + 1000 + 10.5);

  // Rates: import with API and a treasurer's purchase; an unknown line, another form, another
  // article.
  const std::tuple<std::int16_t, const char*, const char*, double> defaults[] = {
      {22, "B3a4", "F113303", 2.5},
      {22, "B2", "F113305", 1.5},
      {22, "B9", "F113303", 0},
      {22, "B3a4", "F113305", 0},
      {23, "B3a4", "F113303", 0}};
  for (auto [article, item, form, rate] : defaults)
    EXPECT_EQ(main->pGetDefaultTaxRate(article, item, form), rate) << item << " " << form;

  // Lines without a rate of their own keep what they hold; without settings the six read zero.
  const std::tuple<const char*, double, double> lines[] = {
      {"B14", 9, 0},    {"B24", 1.5, 0}, {"B34", 9, 0}, {"B4a4", 2.5, 0},
      {"B4b4", 7.5, 0}, {"B54", 9, 0},   {"B6a4", 9, 9}};
  for (bool rated : {true, false}) {
    if (!rated) exec("DELETE FROM SETTING_TARIF_PPH WHERE PASAL = 22");
    for (auto [column, withRate, without] : lines)
      main->rs22Form()->Fields(column).Value(Variant(9.0));
    main->getTaxRate();
    for (auto [column, withRate, without] : lines)
      EXPECT_EQ(amount(*main, column), rated ? withRate : without) << column << " " << rated;
  }
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113202ComputationTest, RecomputationSumsEveryKindOfSlipOfThePeriod) {
  auto main = loadedMainForm();
  main->aB53(777);
  main->aB54(7);
  main->aB73(Variant(55));
  main->aB74(Variant(5));

  // Import slips and import payment slips: line 4. Empty amount fields add nothing.
  insert(kSlips, "F113303", "02", "000001/PPH22", "B3a3=1000 B3b3=2000 B3a5=25 B3b5=150");
  insert(kSlips, "F113303", "02", "000002/PPH22", "B3a3=3000 B3a5=75");
  insert(kPayments, "PPh22Impor", "10", "NTTP-I1", "A13=500 A14=12 A23=700 A24=52");
  // Sector slips: lines 1, 2, 3 and 6.
  insert(kSlips, "F113304", "03", "000003/PPH22", "JmlB3=10000 JmlB6=25 B73=4000 B76=6");
  insert(kSlips, "F113304S", "03", "000004/PPH22",
         "JmlB3=20000 JmlB6=40 B53=1000 B56=3 B63=2000 B66=4 B73=3000 B76=5");
  insert(kSlips, "F113304A", "03", "000005/PPH22",
         "JmlB3=30000 JmlB6=90 B103=5000 B106=22 B73=1000 B76=2");
  // Oil-and-gas payments: counted only.
  insert(kPayments, "PPh22MigasFinal", "05", "NTTP-M1", "JMLBRUTO=99999 PPH=999");
  insert(kPayments, "PPh22MigasFinal", "05", "NTTP-M2", "JMLBRUTO=88888 PPH=888");
  insert(kPayments, "PPh22MigasTdkFinal", "06", "NTTP-M3", "JMLBRUTO=77777 PPH=777");
  // Other article-22 payments: line 3.
  insert(kPayments, "PPh22", "14", "NTTP-P1", "JMLBRUTO=8000 PPH=40");
  // Not counted, not summed: self-paid imports, another taxpayer, another month.
  insert(kPayments, "PPh22ImporDbyrSdr", "11", "NTTP-S1", "JMLBRUTO=6000 PPH=60");
  insert(kPayments, "PPh22Impor", "10", "NTTP-X1", "A13=1 A14=1", kOtherNpwp);
  insert(kSlips, "F113303", "02", "000006/PPH22", "B3a3=1", kNpwp, 6);

  main->pUpdF113202(kNpwp, 5, 2013, 0);
  ASSERT_TRUE(messages().empty());

  // Line 4a: 1000 + 3000 + 500 and 25 + 75 + 12; 4b: 2000 + 700 and 150 + 52. Line 1: each
  // sector slip's total less its lines 2, 3 and 6 (6000 + 14000 + 24000, 19 + 28 + 66); line 2:
  // 4000 + 3000 + 1000, 6 + 5 + 2; line 3: 5000 + 8000, 22 + 40. c2: one import, three
  // oil-and-gas and one other payment. Lines 5 and 7 are the user's.
  const std::pair<const char*, double> expected[] = {
      {"B4a3", 4500}, {"B4a4", 112}, {"B4b3", 2700}, {"B4b4", 202},  {"B13", 44000},
      {"B14", 113},   {"B23", 8000}, {"B24", 13},    {"B33", 13000}, {"B34", 62},
      {"B6a3", 1000}, {"B6a4", 3},   {"B6b3", 2000}, {"B6b4", 4},    {"c2", 5},
      {"B53", 777},   {"B54", 7},    {"B73", 55},    {"B74", 5}};
  for (auto [column, value] : expected) EXPECT_EQ(amount(*main, column), value) << column;
}

// Counts are per taxpayer; the totals deliberately run across taxpayers.
TEST_F(CF113202ComputationTest, PaymentsAndTransfersAreCountedAndTotalled) {
  const char* slips[][2] = {
      {"PPh22", "14"},      {"PPh22MigasFinal", "05"},   {"PPh22MigasTdkFinal", "06"},
      {"PPh22Impor", "10"}, {"PPh22ImporDbyrSdr", "11"}, {"D113203", "08"}};
  for (const auto& slip : slips)
    insert(kPayments, slip[0], slip[1], std::string("N-") + slip[0], "");
  insert(kPayments, "PPh22", "14", "N-other", "", kOtherNpwp);
  // Payments (month, year, correction, amount) and transfers (article, month, year, amount).
  const std::string me = "'" + std::string(kNpwp) + "', ",
                    other = "'" + std::string(kOtherNpwp) + "', ";
  exec("INSERT INTO DATSSP (NPWP, MSPJK, THPJK, KdPmbtln, JMLBYR) VALUES (" + me +
       "5, 2013, 0, 1000), (" + me + "5, 2013, 0, 2500), (" + other + "5, 2013, 0, 4000), (" + me +
       "6, 2013, 0, 9000), (" + me + "5, 2013, 1, 7000)");
  exec("INSERT INTO datPBKPPhMasa VALUES (" + me + "22, 5, 2013, 300), (" + me +
       "22, 5, 2013, 200), (" + other + "22, 5, 2013, 1000), (" + me + "23, 5, 2013, 50), (" + me +
       "22, 6, 2013, 70)");
  auto main = connected<CF113202>();

  // Self-paid imports count among the payment slips.
  EXPECT_EQ(main->aJumlahSSPMigasImpor(kNpwp, 5, 2013, 0), 5);
  EXPECT_EQ(main->aJumlahSSPMigasImpor(kNpwp, 6, 2013, 0), 0);
  EXPECT_EQ(main->aJumlahSSP(kNpwp, "5", "2013", 0), 2);
  EXPECT_EQ(main->aTotalNominalSSP(kNpwp, "5", "2013", 0), 1000 + 2500 + 4000);
  EXPECT_EQ(main->aTotalNominalSSP("any", "5", "2013", 1), 7000);
  EXPECT_EQ(main->aTotalNominalSSP(kNpwp, "7", "2013", 0), 0);
  EXPECT_EQ(main->aJumlahPBK(kNpwp, 22, 5, 2013), 2);
  EXPECT_EQ(main->aTotalNominalPBK(kNpwp, 22, 5, 2013), 300 + 200 + 1000);
  EXPECT_EQ(main->aTotalNominalPBK(kNpwp, 22, 7, 2013), 0);

  EXPECT_EQ(main->aJumlahSSP(kNpwp, "Mei", "2013", 0), 0);
  ASSERT_EQ(messages().size(), 1u);  // the bad month's only
  EXPECT_EQ(messages()[0].text, "Type mismatch");
}

// One operation of each kind: writing, loading, counting, totalling, rates, recomputing.
TEST_F(CF113202ComputationTest, WithoutConnectionOrFormEachOperationShowsOneMessage) {
  const std::pair<const char*, double (*)(CF113202&)> cases[] = {
      {"pCreateF113202Hdr",
       [](CF113202& m) {
         return m.pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2013, 0, "-", "112", "", "", {}, {}),
                0.0;
       }},
      {"pGetF113202", [](CF113202& m) { return m.pGetF113202(kNpwp, 5, 2013, 0), 0.0; }},
      {"aJumlahSSP", [](CF113202& m) { return m.aJumlahSSP(kNpwp, "5", "2013", 0); }},
      {"aTotalNominalPBK", [](CF113202& m) { return m.aTotalNominalPBK(kNpwp, 22, 5, 2013); }},
      {"pGetDefaultTaxRate", [](CF113202& m) { return m.pGetDefaultTaxRate(22, "B2", "F113305"); }},
      {"pUpdF113202", [](CF113202& m) { return m.pUpdF113202(kNpwp, 5, 2013, 0), 0.0; }},
  };
  for (auto [name, run] : cases) {
    SCOPED_TRACE(name);
    clearMessages();
    CF113202 main;
    EXPECT_EQ(run(main), 0);
    ASSERT_EQ(messages().size(), 1u);
    EXPECT_EQ(messages()[0].text, kNotConnected);
  }

  // Properties of an unloaded form answer defaults.
  clearMessages();
  auto unloaded = connected<CF113202>();
  EXPECT_EQ(unloaded->aB14(), 0.0);
  EXPECT_EQ(unloaded->aB11(), "");
  unloaded->aB13(5);
  unloaded->pHitPjk3202(0);
  unloaded->pUpdF113202(kNpwp, 5, 2013, 0);
  ASSERT_EQ(messages().size(), 5u);
  for (const auto& message : messages()) EXPECT_EQ(message.text, kNotLoaded);
}

}  // namespace
}  // namespace korvane
