#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/store/companion.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kOtherNpwp = "098765432109000";
constexpr const char* kNotConnected =
    "Operation is not allowed when the object is closed: no connection to the store.";
constexpr const char* kNotLoaded = "Object variable not set: the form has not been loaded.";

// A packed text in the field order of `formCode`, with the named fields set and the rest empty.
std::string packedText(const std::string& formCode,
                       const std::map<std::string, std::string>& values) {
  std::string out;
  bool first = true;
  std::size_t used = 0;
  for (const auto& field : fieldList(formCode)) {
    if (!first) out += ';';
    first = false;
    auto it = values.find(std::string(field.name));
    if (it != values.end()) {
      out += it->second;
      ++used;
    }
  }
  EXPECT_EQ(used, values.size()) << "a field name is not in " << formCode << "'s list";
  return out;
}

class CF113202ComputationTest : public testing::StoreTest {
 protected:
  std::shared_ptr<CF113202> loadedMainForm(std::int16_t month = 5) {
    auto main = connected<CF113202>();
    main->pCreateF113202Hdr(kNpwp, "F113202", "01", month, 2013, 0, "-", "112", "PT MAJU JAYA",
                            "JL. SUDIRMAN 1 JAKARTA", Date(2013, 6, 10), Date(2013, 6, 15),
                            "Pemungut");
    main->pGetF113202(kNpwp, month, 2013, 0);
    return main;
  }

  // A slip header in DS_FORM_INDUK.
  void insertSlip(const std::string& form, const std::string& kind, const std::string& number,
                  const std::map<std::string, std::string>& values, const std::string& npwp = kNpwp,
                  int month = 5) {
    exec("INSERT INTO DS_FORM_INDUK VALUES ('" + npwp + "', '" + form + "', '" + kind + "', " +
         std::to_string(month) + ", 2013, 0, '" + number + "', '112', '" +
         packedText(form, values) + "', '01/06/2013', '', '-')");
  }

  // A payment slip in DAT_SSP_PPh22.
  void insertPayment(const std::string& form, const std::string& kind, const std::string& nttp,
                     const std::map<std::string, std::string>& values,
                     const std::string& npwp = kNpwp) {
    exec("INSERT INTO DAT_SSP_PPh22 VALUES ('" + npwp + "', '" + form + "', '" + kind +
         "', 5, 2013, 0, '" + nttp + "', '112', '" + packedText(form, values) +
         "', '01/06/2013', '', '-')");
  }

  static double amount(CF113202& main, const char* column) {
    return main.rs22Form()->Fields(column).Value().toDouble();
  }
};

// pHitPjk3202 --------------------------------------------------------------------------------

TEST_F(CF113202ComputationTest, EmptyCheckBoxesTakeTheirDefaultsAndNineStaysEmpty) {
  auto main = loadedMainForm();
  main->pHitPjk3202(1);
  const std::vector<Variant> boxes = {main->gChk1(), main->gChk2(), main->gChk3(), main->gChk4(),
                                      main->gChk5(), main->gChk6(), main->gChk7(), main->gChk8()};
  const std::vector<Variant> defaults = {std::int16_t{1}, std::int16_t{1}, std::int16_t{1},
                                         std::int16_t{0}, std::int16_t{1}, std::int16_t{1},
                                         std::int16_t{0}, std::int16_t{0}};
  EXPECT_EQ(boxes, defaults);
  EXPECT_TRUE(main->gChk9().isNull());
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113202ComputationTest, TickedOrClearedBoxesAreKept) {
  auto main = loadedMainForm();
  main->aCHKC1(Variant(std::int16_t{0}));
  main->aCHKC4(Variant(std::int16_t{1}));
  main->pHitPjk3202(1);
  EXPECT_EQ(main->gChk1(), Variant(std::int16_t{0}));
  EXPECT_EQ(main->gChk4(), Variant(std::int16_t{1}));
}

TEST_F(CF113202ComputationTest, EmptyLinesBecomeZeroAndSectionCDefaults) {
  auto main = loadedMainForm();
  main->pHitPjk3202(1);
  for (auto column :
       {"B13",  "B23",  "B33", "B4a3", "B4b3", "B53", "B6a3", "B6b3", "B14", "B24", "B34",
        "B4a4", "B4b4", "B54", "B6a4", "B6b4", "c2",  "C3",   "B73",  "B74", "TotA"}) {
    SCOPED_TRACE(column);
    EXPECT_EQ(main->rs22Form()->Fields(column).Value(), Variant(0.0));
  }
  EXPECT_EQ(main->rs22Form()->Fields("B71").Value(), Variant(""));
  EXPECT_EQ(main->aTotB(), Variant(0.0));
}

TEST_F(CF113202ComputationTest, AmountsAreTruncatedTowardsMinusInfinityBeforeTheTotals) {
  auto main = loadedMainForm();
  main->aB13(1234.75);
  main->aB23(1000);
  main->aB14(-0.5);
  main->aB24(1500.99);
  // Line 7 enters the totals as stored.
  main->aB73(Variant(10.5));
  main->aB74(Variant(0.25));
  main->pHitPjk3202(0);

  EXPECT_EQ(amount(*main, "B13"), 1234);
  EXPECT_EQ(main->aB14(), -1);
  EXPECT_EQ(main->aB24(), 1500);
  EXPECT_EQ(amount(*main, "B73"), 10.5);
  EXPECT_EQ(amount(*main, "TotA"), 1234 + 1000 + 10.5);
  EXPECT_EQ(main->aTotB(), Variant(-1 + 1500 + 0.25));
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113202ComputationTest, TotalsArePackedOnSave) {
  auto main = loadedMainForm();
  main->aB13(1234.75);
  main->aB14(-0.5);
  main->pHitPjk3202(0);
  main->pUpdate();
  auto reloaded = connected<CF113202>();
  reloaded->pGetF113202(kNpwp, 5, 2013, 0);
  EXPECT_EQ(reloaded->aTotB(), Variant(-1.0));
  EXPECT_EQ(amount(*reloaded, "TotA"), 1234);
}

TEST_F(CF113202ComputationTest, NormalisingWithoutAFormShowsOneMessage) {
  auto main = connected<CF113202>();
  main->pHitPjk3202(0);
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text, kNotLoaded);
}

// Rates --------------------------------------------------------------------------------------

TEST_F(CF113202ComputationTest, RatesLandInTheTaxColumns) {
  auto main = loadedMainForm();
  main->aB14(9);
  main->aB34(9);
  main->aB54(9);
  main->getTaxRate();
  EXPECT_EQ(main->aB24(), 1.5);
  EXPECT_EQ(main->aB4a4(), 2.5);
  EXPECT_EQ(main->aB4b4(), 7.5);
  // Lines without a rate of their own keep what they hold.
  EXPECT_EQ(main->aB14(), 9);
  EXPECT_EQ(main->aB34(), 9);
  EXPECT_EQ(main->aB54(), 9);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113202ComputationTest, WithoutRatesTheSixRateColumnsReadZero) {
  exec("DELETE FROM SETTING_TARIF_PPH WHERE PASAL = 22");
  auto main = loadedMainForm();
  main->aB14(9);
  main->aB24(9);
  main->aB34(9);
  main->aB4a4(9);
  main->aB4b4(9);
  main->aB54(9);
  main->aB6a4(9);
  main->getTaxRate();
  EXPECT_EQ(main->aB14(), 0);
  EXPECT_EQ(main->aB24(), 0);
  EXPECT_EQ(main->aB34(), 0);
  EXPECT_EQ(main->aB4a4(), 0);
  EXPECT_EQ(main->aB4b4(), 0);
  EXPECT_EQ(main->aB54(), 0);
  EXPECT_EQ(main->aB6a4(), 9);
  EXPECT_TRUE(messages().empty());
}

struct DefaultRateCase {
  const char* name;
  std::int16_t article;
  const char* item;
  const char* form;
  double rate;
};

TEST_F(CF113202ComputationTest, DefaultRateIsTheSettingOrZero) {
  const DefaultRateCase cases[] = {
      {"import with API", 22, "B3a4", "F113303", 2.5},
      {"treasurer purchase", 22, "B2", "F113305", 1.5},
      {"unknown line", 22, "B9", "F113303", 0},
      {"other form", 22, "B3a4", "F113305", 0},
      {"other article", 23, "B3a4", "F113303", 0},
  };
  auto main = connected<CF113202>();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(main->pGetDefaultTaxRate(c.article, c.item, c.form), c.rate);
  }
  EXPECT_TRUE(messages().empty());
}

// Recomputation ------------------------------------------------------------------------------

TEST_F(CF113202ComputationTest, RecomputationSumsEveryKindOfSlipOfThePeriod) {
  auto main = loadedMainForm();
  main->aB53(777);
  main->aB54(7);
  main->aB73(Variant(55));
  main->aB74(Variant(5));

  // Import slips and import payment slips: line 4.
  insertSlip("F113303", "02", "000001/PPH22",
             {{"B3a3", "1000"}, {"B3b3", "2000"}, {"B3a5", "25"}, {"B3b5", "150"}});
  insertSlip("F113303", "02", "000002/PPH22",
             {{"B3a3", "3000"}, {"B3b3", "0"}, {"B3a5", "75"}, {"B3b5", "0"}});
  insertPayment("PPh22Impor", "10", "NTTP-I1",
                {{"A13", "500"}, {"A14", "12"}, {"A23", "700"}, {"A24", "52"}});
  // Sector slips: lines 1, 2, 3 and 6.
  insertSlip("F113304", "03", "000003/PPH22",
             {{"JmlB3", "10000"}, {"JmlB6", "25"}, {"B73", "4000"}, {"B76", "6"}});
  insertSlip("F113304S", "03", "000004/PPH22",
             {{"JmlB3", "20000"},
              {"JmlB6", "40"},
              {"B53", "1000"},
              {"B56", "3"},
              {"B63", "2000"},
              {"B66", "4"},
              {"B73", "3000"},
              {"B76", "5"}});
  insertSlip("F113304A", "03", "000005/PPH22",
             {{"JmlB3", "30000"},
              {"JmlB6", "90"},
              {"B103", "5000"},
              {"B106", "22"},
              {"B73", "1000"},
              {"B76", "2"}});
  // Oil-and-gas payments: counted only.
  insertPayment("PPh22MigasFinal", "05", "NTTP-M1", {{"JMLBRUTO", "99999"}, {"PPH", "999"}});
  insertPayment("PPh22MigasFinal", "05", "NTTP-M2", {{"JMLBRUTO", "88888"}, {"PPH", "888"}});
  insertPayment("PPh22MigasTdkFinal", "06", "NTTP-M3", {{"JMLBRUTO", "77777"}, {"PPH", "777"}});
  // Other article-22 payments: line 3.
  insertPayment("PPh22", "14", "NTTP-P1", {{"JMLBRUTO", "8000"}, {"PPH", "40"}});
  // Not counted, not summed: self-paid imports, another taxpayer, another month.
  insertPayment("PPh22ImporDbyrSdr", "11", "NTTP-S1", {{"JMLBRUTO", "6000"}, {"PPH", "60"}});
  insertPayment("PPh22Impor", "10", "NTTP-X1", {{"A13", "1"}, {"A14", "1"}}, kOtherNpwp);
  insertSlip("F113303", "02", "000006/PPH22", {{"B3a3", "1"}}, kNpwp, 6);

  main->pUpdF113202(kNpwp, 5, 2013, 0);
  ASSERT_TRUE(messages().empty());

  struct Line {
    const char* column;
    double value;
  };
  const Line expected[] = {
      {"B4a3", 1000 + 3000 + 500},
      {"B4a4", 25 + 75 + 12},
      {"B4b3", 2000 + 0 + 700},
      {"B4b4", 150 + 0 + 52},
      {"B13", (10000 - 4000) + (20000 - 1000 - 2000 - 3000) + (30000 - 5000 - 1000)},
      {"B14", (25 - 6) + (40 - 3 - 4 - 5) + (90 - 22 - 2)},
      {"B23", 4000 + 3000 + 1000},
      {"B24", 6 + 5 + 2},
      {"B33", 5000 + 8000},
      {"B34", 22 + 40},
      {"B6a3", 1000},
      {"B6a4", 3},
      {"B6b3", 2000},
      {"B6b4", 4},
      {"c2", 1 + 2 + 1 + 1},
      // Lines 5 and 7 are the user's.
      {"B53", 777},
      {"B54", 7},
      {"B73", 55},
      {"B74", 5},
  };
  for (const auto& line : expected) {
    SCOPED_TRACE(line.column);
    EXPECT_EQ(amount(*main, line.column), line.value);
  }
}

TEST_F(CF113202ComputationTest, OilAndGasPaymentsEnterOnlyTheCount) {
  auto main = loadedMainForm();
  for (int i = 1; i <= 3; ++i) {
    insertPayment("PPh22MigasFinal", "05", "NTTP-" + std::to_string(i),
                  {{"JMLBRUTO", "100000"}, {"PPH", "300"}});
  }
  main->pUpdF113202(kNpwp, 5, 2013, 0);
  for (auto column : {"B13", "B14", "B23", "B24", "B33", "B34", "B4a3", "B4a4", "B4b3", "B4b4",
                      "B6a3", "B6a4", "B6b3", "B6b4"}) {
    SCOPED_TRACE(column);
    EXPECT_EQ(main->rs22Form()->Fields(column).Value(), Variant(0.0));
  }
  EXPECT_EQ(amount(*main, "c2"), 3);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113202ComputationTest, EmptyAmountFieldsOfASlipAddNothing) {
  auto main = loadedMainForm();
  insertSlip("F113303", "02", "000001/PPH22", {{"B3a3", "1000"}});
  main->pUpdF113202(kNpwp, 5, 2013, 0);
  EXPECT_TRUE(messages().empty());
  EXPECT_EQ(amount(*main, "B4a3"), 1000);
  EXPECT_EQ(amount(*main, "B4b4"), 0);
}

TEST_F(CF113202ComputationTest, RecomputationOverManySlipsUnpacksThemAll) {
  auto main = loadedMainForm();
  // More rows than one unpacking slice holds.
  exec("BEGIN");
  for (int i = 1; i <= 5000; ++i) {
    insertSlip("F113303", "02", std::to_string(i) + "/PPH22",
               {{"B3a3", "100"}, {"B3a5", "2.5"}, {"B3b3", "0"}, {"B3b5", "0"}});
  }
  exec("COMMIT");
  main->pUpdF113202(kNpwp, 5, 2013, 0);
  EXPECT_EQ(amount(*main, "B4a3"), 500000);
  EXPECT_EQ(amount(*main, "B4a4"), 12500);
}

TEST_F(CF113202ComputationTest, RecomputationWithoutAFormShowsOneMessage) {
  auto main = connected<CF113202>();
  main->pUpdF113202(kNpwp, 5, 2013, 0);
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text, kNotLoaded);
}

// Counts and totals of payments --------------------------------------------------------------

TEST_F(CF113202ComputationTest, PaymentSlipCountIncludesSelfPaidImports) {
  for (auto [form, kind] :
       std::vector<std::pair<std::string, std::string>>{{"PPh22", "14"},
                                                        {"PPh22MigasFinal", "05"},
                                                        {"PPh22MigasTdkFinal", "06"},
                                                        {"PPh22Impor", "10"},
                                                        {"PPh22ImporDbyrSdr", "11"},
                                                        {"D113203", "08"}}) {
    insertPayment(form, kind, "N-" + form, {});
  }
  insertPayment("PPh22", "14", "N-other", {}, kOtherNpwp);
  auto main = connected<CF113202>();
  EXPECT_EQ(main->aJumlahSSPMigasImpor(kNpwp, 5, 2013, 0), 5);
  EXPECT_EQ(main->aJumlahSSPMigasImpor(kNpwp, 6, 2013, 0), 0);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113202ComputationTest, PaymentsAreCountedPerTaxpayerAndTotalledAcrossTaxpayers) {
  auto payment = [&](const std::string& npwp, int month, int correction, const char* amount) {
    exec("INSERT INTO DATSSP (NPWP, MSPJK, THPJK, KdPmbtln, JMLBYR) VALUES ('" + npwp + "', " +
         std::to_string(month) + ", 2013, " + std::to_string(correction) + ", " + amount + ")");
  };
  payment(kNpwp, 5, 0, "1000");
  payment(kNpwp, 5, 0, "2500");
  payment(kOtherNpwp, 5, 0, "4000");
  payment(kNpwp, 6, 0, "9000");
  payment(kNpwp, 5, 1, "7000");
  auto main = connected<CF113202>();
  EXPECT_EQ(main->aJumlahSSP(kNpwp, "5", "2013", 0), 2);
  EXPECT_EQ(main->aJumlahSSP(kNpwp, "7", "2013", 0), 0);
  EXPECT_EQ(main->aTotalNominalSSP(kNpwp, "5", "2013", 0), 1000 + 2500 + 4000);
  EXPECT_EQ(main->aTotalNominalSSP("any", "5", "2013", 1), 7000);
  EXPECT_EQ(main->aTotalNominalSSP(kNpwp, "7", "2013", 0), 0);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113202ComputationTest, TransfersAreCountedPerTaxpayerAndTotalledAcrossTaxpayers) {
  auto transfer = [&](const std::string& npwp, int article, int month, const char* amount) {
    exec("INSERT INTO datPBKPPhMasa VALUES ('" + npwp + "', " + std::to_string(article) + ", " +
         std::to_string(month) + ", 2013, " + amount + ")");
  };
  transfer(kNpwp, 22, 5, "300");
  transfer(kNpwp, 22, 5, "200");
  transfer(kOtherNpwp, 22, 5, "1000");
  transfer(kNpwp, 23, 5, "50");
  transfer(kNpwp, 22, 6, "70");
  auto main = connected<CF113202>();
  EXPECT_EQ(main->aJumlahPBK(kNpwp, 22, 5, 2013), 2);
  EXPECT_EQ(main->aJumlahPBK(kNpwp, 22, 7, 2013), 0);
  EXPECT_EQ(main->aTotalNominalPBK(kNpwp, 22, 5, 2013), 300 + 200 + 1000);
  EXPECT_EQ(main->aTotalNominalPBK(kNpwp, 22, 7, 2013), 0);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113202ComputationTest, AMonthThatIsNotANumberShowsOneMessage) {
  auto main = connected<CF113202>();
  EXPECT_EQ(main->aJumlahSSP(kNpwp, "Mei", "2013", 0), 0);
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text, "Type mismatch");
}

struct UnconnectedCase {
  const char* name;
  double (*run)(CF113202&);
};

TEST_F(CF113202ComputationTest, WithoutConnectionEachOperationShowsOneMessageAndAnswersZero) {
  const UnconnectedCase cases[] = {
      {"aJumlahSSPMigasImpor",
       [](CF113202& m) { return m.aJumlahSSPMigasImpor(kNpwp, 5, 2013, 0); }},
      {"aJumlahSSP", [](CF113202& m) { return m.aJumlahSSP(kNpwp, "5", "2013", 0); }},
      {"aJumlahPBK", [](CF113202& m) { return m.aJumlahPBK(kNpwp, 22, 5, 2013); }},
      {"aTotalNominalSSP", [](CF113202& m) { return m.aTotalNominalSSP(kNpwp, "5", "2013", 0); }},
      {"aTotalNominalPBK", [](CF113202& m) { return m.aTotalNominalPBK(kNpwp, 22, 5, 2013); }},
      {"pGetDefaultTaxRate", [](CF113202& m) { return m.pGetDefaultTaxRate(22, "B2", "F113305"); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    clearMessages();
    CF113202 main;
    EXPECT_EQ(c.run(main), 0);
    ASSERT_EQ(messages().size(), 1u);
    EXPECT_EQ(messages()[0].text, kNotConnected);
  }
}

TEST_F(CF113202ComputationTest, RatesAndRecomputationWithoutConnectionShowOneMessageEach) {
  CF113202 main;
  main.getTaxRate();
  main.pUpdF113202(kNpwp, 5, 2013, 0);
  ASSERT_EQ(messages().size(), 2u);
  EXPECT_EQ(messages()[0].text, kNotConnected);
  EXPECT_EQ(messages()[1].text, kNotConnected);
}

}  // namespace
}  // namespace korvane
