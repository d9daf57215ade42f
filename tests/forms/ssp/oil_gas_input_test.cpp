#include "korvane/forms/ssp/oil_gas_input.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/forms/ssp/oil_gas_list.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kName = "PT MAJU JAYA";
constexpr const char* kAddress = "JL. SUDIRMAN 1 JAKARTA";
const Date kToday(2013, 6, 10);

// What a host sees of each class: its codes, its list collection and total fields, and the
// main-return line it moves.
template <class T>
struct Kind;
template <>
struct Kind<CInputMigasFinal> {
  static constexpr const char* kForm = "PPh22MigasFinal";
  static constexpr const char* kDocument = "05";
  static constexpr std::int16_t kCollection = 0;
  static constexpr const char* kListGross = "I5";
  static constexpr const char* kListTax = "I6";
  static constexpr const char* kRowGross = "A5";
  static constexpr const char* kReturnGross = "B6a3";
  static constexpr const char* kReturnTax = "B6a4";
};
template <>
struct Kind<CInputMigasTdkFinal> {
  static constexpr const char* kForm = "PPh22MigasTdkFinal";
  static constexpr const char* kDocument = "06";
  static constexpr std::int16_t kCollection = 1;
  static constexpr const char* kListGross = "II5";
  static constexpr const char* kListTax = "II6";
  static constexpr const char* kRowGross = "B5";
  static constexpr const char* kReturnGross = "B6b3";
  static constexpr const char* kReturnTax = "B6b4";
};

class OilGasInputFixture : public testing::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    insertProfile();
    auto mainReturn = connected<CF113202>();
    mainReturn->pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2013, 0, "-", "112", kName, kAddress,
                                  kToday, kToday, "Pemungut");
    exec(
        "UPDATE JENIS_KOMODITI SET TARIF_NETTO = 0.3 WHERE NAMA_KOMODITI IN "
        "('SOLAR', 'PREMIUM')");
  }

  // A new slip as a host begins it: the row is made, loaded (sequence 0) and its old values
  // taken; the buyer and the sequence are filled in.
  template <class T>
  std::shared_ptr<T> newSlip(const std::string& nttp, const std::string& commodity) {
    auto slip = connected<T>();
    slip->getTaxRate();
    slip->pCreateHdr(kNpwp, Kind<T>::kForm, Kind<T>::kDocument, 5, 2013, 0, nttp, "112", kName,
                     kAddress, kToday, commodity, "Pemungut");
    slip->pGet(kNpwp, Kind<T>::kForm, Kind<T>::kDocument, 5, 2013, 0, nttp, "112", kName, kAddress,
               kToday, 0, commodity);
    slip->pAssignOldValues();
    double seq = -1;
    slip->pGetMaxSeqNo(5, 2013, 0, Kind<T>::kCollection, seq);
    slip->aSEQ(seq);
    slip->aNPWPLT("023456789012000");
    slip->aNMWPLT("PT PEMBELI");
    slip->aALMLT("JL. THAMRIN 2");
    slip->aTGL_PUNGUT(Date(2013, 5, 20));
    return slip;
  }

  template <class T>
  double addSlip(const std::string& nttp, const std::string& commodity, double gross) {
    auto slip = newSlip<T>(nttp, commodity);
    slip->ajmlBruto(gross);
    slip->pHitPjk(1);
    slip->pAssignStatus(true, false, false);
    slip->pUpdate();
    return slip->rs22Form()->Fields("SEQ").Value().toDouble();
  }

  template <class T>
  std::shared_ptr<T> loadSlip(const std::string& nttp, const std::string& commodity, double seq) {
    auto slip = connected<T>();
    slip->getTaxRate();
    slip->pGet(kNpwp, Kind<T>::kForm, Kind<T>::kDocument, 5, 2013, 0, nttp, "112", kName, kAddress,
               kToday, seq, commodity);
    slip->pAssignOldValues();
    return slip;
  }

  double listTotal(const std::string& commodity, const char* field) {
    auto list = connected<CD113202>();
    list->pGetD113202Induk(kNpwp, 5, 2013, 0, commodity);
    return list->rs22Form()->Fields(field).Value().toDouble();
  }

  // A line of the main return; an empty line reads 0.
  double returnLine(const char* column) {
    auto mainReturn = connected<CF113202>();
    mainReturn->pGetF113202(kNpwp, 5, 2013, 0);
    auto value = mainReturn->rs22Form()->Fields(column).Value();
    return value.isNull() ? 0 : value.toDouble();
  }

  long sspRows(const std::string& form) {
    return count("SELECT COUNT(*) FROM DAT_SSP_PPh22 WHERE KD_FORM = '" + form + "'");
  }
  long listRows(std::int16_t collection) {
    return count("SELECT COUNT(*) FROM LAMPIRAN_SSP_PPh22 WHERE KD_FORM = 'D113202' AND COLLNO = " +
                 std::to_string(collection));
  }
};

// ---- Both classes ------------------------------------------------------------------------

template <class T>
class CInputMigasBothTest : public OilGasInputFixture {};

struct ClassNames {
  template <class T>
  static std::string GetName(int) {
    return T().className();
  }
};
using OilGasInputs = ::testing::Types<CInputMigasFinal, CInputMigasTdkFinal>;
TYPED_TEST_SUITE(CInputMigasBothTest, OilGasInputs, ClassNames);

TYPED_TEST(CInputMigasBothTest, AddEditAndDeleteCarryIntoTheListAndTheMainReturn) {
  using K = Kind<TypeParam>;
  const double seq = this->template addSlip<TypeParam>("NT-1", "SOLAR", 100000);

  EXPECT_EQ(this->sspRows(K::kForm), 1);
  EXPECT_EQ(this->listRows(K::kCollection), 1);
  EXPECT_EQ(this->listTotal("SOLAR", K::kListGross), 100000);
  EXPECT_EQ(this->listTotal("SOLAR", K::kListTax), 300);
  EXPECT_EQ(this->returnLine(K::kReturnGross), 100000);
  EXPECT_EQ(this->returnLine(K::kReturnTax), 300);
  EXPECT_EQ(this->returnLine("c2"), 1);

  auto edit = this->template loadSlip<TypeParam>("NT-1", "SOLAR", seq);
  ASSERT_EQ(edit->rs22Form()->RecordCount(), 1);
  edit->ajmlBruto(150000);
  edit->pHitPjk(1);
  edit->pAssignStatus(false, true, false);
  edit->pUpdate();

  EXPECT_EQ(this->sspRows(K::kForm), 1);
  EXPECT_EQ(this->listRows(K::kCollection), 1);
  EXPECT_EQ(this->listTotal("SOLAR", K::kListGross), 150000);
  EXPECT_EQ(this->listTotal("SOLAR", K::kListTax), 450);
  EXPECT_EQ(this->returnLine(K::kReturnGross), 150000);
  EXPECT_EQ(this->returnLine(K::kReturnTax), 450);
  EXPECT_EQ(this->returnLine("c2"), 1);

  auto remove = this->template connected<TypeParam>();
  remove->pDeleteForm(testing::StoreTest::kNpwp, K::kForm, K::kDocument, 5, 2013, 0, "NT-1", "112",
                      "SOLAR", seq);

  EXPECT_EQ(this->sspRows(K::kForm), 0);
  EXPECT_EQ(this->listRows(K::kCollection), 0);
  EXPECT_EQ(this->listTotal("SOLAR", K::kListGross), 0);
  EXPECT_EQ(this->listTotal("SOLAR", K::kListTax), 0);
  EXPECT_EQ(this->returnLine(K::kReturnGross), 0);
  EXPECT_EQ(this->returnLine(K::kReturnTax), 0);
  EXPECT_EQ(this->returnLine("c2"), 0);
  EXPECT_TRUE(this->messages().empty());
}

TYPED_TEST(CInputMigasBothTest, MovingASlipToAnotherCommodityMovesItsTotals) {
  using K = Kind<TypeParam>;
  const double seq = this->template addSlip<TypeParam>("NT-1", "SOLAR", 100000);

  auto edit = this->template loadSlip<TypeParam>("NT-1", "SOLAR", seq);
  edit->aPenjualan("PREMIUM");
  edit->ajmlBruto(200000);
  edit->pAssignStatus(false, true, false);
  edit->pUpdate();

  EXPECT_EQ(this->listTotal("SOLAR", K::kListGross), 0);
  EXPECT_EQ(this->listTotal("SOLAR", K::kListTax), 0);
  EXPECT_EQ(this->listTotal("PREMIUM", K::kListGross), 200000);
  EXPECT_EQ(this->listTotal("PREMIUM", K::kListTax), 600);
  EXPECT_EQ(this->returnLine(K::kReturnGross), 200000);
  EXPECT_EQ(this->returnLine("c2"), 1);

  // One slip and one list row, both under the new commodity.
  EXPECT_EQ(this->sspRows(K::kForm), 1);
  EXPECT_EQ(this->listRows(K::kCollection), 1);
  EXPECT_NE(this->scalar("SELECT DAT_FORM FROM LAMPIRAN_SSP_PPh22").text().find(";PREMIUM;"),
            std::string::npos);
  auto reloaded = this->template loadSlip<TypeParam>("NT-1", "PREMIUM", seq);
  EXPECT_EQ(reloaded->rs22Form()->RecordCount(), 1);
  EXPECT_TRUE(this->messages().empty());
}

TYPED_TEST(CInputMigasBothTest, NextSequenceIsZeroForAnEmptyCollectionThenMaximumPlusOne) {
  using K = Kind<TypeParam>;
  auto slip = this->template connected<TypeParam>();
  double result = -1;
  slip->pGetMaxSeqNo(5, 2013, 0, K::kCollection, result);
  EXPECT_EQ(result, 0);

  this->exec("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ('D113202', 5, 2013, 0, " +
             std::to_string(K::kCollection) + ", 4, 'NT-1', '5;2013;SOLAR;4;')");
  // Rows of another list, collection or period do not count.
  this->exec("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ('D113203', 5, 2013, 0, " +
             std::to_string(K::kCollection) + ", 9, 'NT-2', '')");
  this->exec("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ('D113202', 5, 2013, 0, " +
             std::to_string(1 - K::kCollection) + ", 7, 'NT-3', '')");
  this->exec("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ('D113202', 6, 2013, 0, " +
             std::to_string(K::kCollection) + ", 8, 'NT-4', '')");
  slip->pGetMaxSeqNo(5, 2013, 0, K::kCollection, result);
  EXPECT_EQ(result, 5);
}

TYPED_TEST(CInputMigasBothTest, SecondSlipTakesTheNextSequenceAndAddsUp) {
  using K = Kind<TypeParam>;
  EXPECT_EQ((this->template addSlip<TypeParam>("NT-1", "SOLAR", 100000)), 0);
  EXPECT_EQ((this->template addSlip<TypeParam>("NT-2", "SOLAR", 50000)), 1);
  EXPECT_EQ(this->listTotal("SOLAR", K::kListGross), 150000);
  EXPECT_EQ(this->returnLine(K::kReturnGross), 150000);
  EXPECT_EQ(this->returnLine("c2"), 2);
}

// ---- The tax of a slip -----------------------------------------------------------------------

struct TaxCase {
  const char* name;
  const char* commodity;
  const char* rate;  // TARIF_NETTO as SQL: a number or NULL
  double gross;
  double expectedTax;  // the tax was 777 before the gross was put
};

class CInputMigasTaxTest : public OilGasInputFixture,
                           public ::testing::WithParamInterface<TaxCase> {};

TEST_P(CInputMigasTaxTest, GrossSetsTheTaxFromTheCommodityRate) {
  const auto& c = GetParam();
  exec("INSERT INTO JENIS_KOMODITI VALUES ('07', 'AVGAS', 22, " + std::string(c.rate) + ")");
  auto slip = newSlip<CInputMigasFinal>("NT-1", c.commodity);
  slip->aPPH(777);
  slip->ajmlBruto(c.gross);
  EXPECT_EQ(slip->rs22Form()->Fields("JMLBRUTO").Value().toDouble(), c.gross);
  EXPECT_EQ(slip->rs22Form()->Fields("PPH").Value().toDouble(), c.expectedTax);
  EXPECT_TRUE(messages().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Rates, CInputMigasTaxTest,
    ::testing::Values(TaxCase{"QuarterPercentRoundsDown", "AVGAS", "0.25", 1234567, 3086},
                      TaxCase{"UnknownCommodityLeavesTheTax", "AVTUR", "0.25", 1234567, 777},
                      TaxCase{"NullRateGivesZero", "AVGAS", "NULL", 1234567, 0}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(OilGasInputFixture, GrossBeforeTheCommoditiesAreOpenedFailsOnce) {
  auto slip = connected<CInputMigasFinal>();
  slip->pCreateHdr(kNpwp, "PPh22MigasFinal", "05", 5, 2013, 0, "NT-1", "112", kName, kAddress,
                   kToday, "SOLAR", "Pemungut");
  slip->pGet(kNpwp, "PPh22MigasFinal", "05", 5, 2013, 0, "NT-1", "112", kName, kAddress, kToday, 0,
             "SOLAR");
  slip->ajmlBruto(1000);
  EXPECT_EQ(messages().size(), 1u);
}

// ---- Rows and keys --------------------------------------------------------------------------

TEST_F(OilGasInputFixture, FinalAndNotFinalSlipsWithTheSameNttpAreNoDuplicates) {
  auto final = connected<CInputMigasFinal>();
  auto notFinal = connected<CInputMigasTdkFinal>();
  RecordsetPtr used;
  final->pCheckNTTP(kNpwp, 2013, "NT-1", 5, 0, used);
  ASSERT_NE(used, nullptr);
  EXPECT_EQ(used->RecordCount(), 0);

  addSlip<CInputMigasFinal>("NT-1", "SOLAR", 100000);
  notFinal->pCheckNTTP(kNpwp, 2013, "NT-1", 5, 0, used);
  EXPECT_EQ(used->RecordCount(), 0);
  addSlip<CInputMigasTdkFinal>("NT-1", "SOLAR", 40000);

  final->pCheckNTTP(kNpwp, 2013, "NT-1", 5, 0, used);
  EXPECT_EQ(used->RecordCount(), 1);
  notFinal->pCheckNTTP(kNpwp, 2013, "NT-1", 5, 0, used);
  EXPECT_EQ(used->RecordCount(), 1);

  EXPECT_EQ(listRows(0), 1);
  EXPECT_EQ(listRows(1), 1);
  EXPECT_EQ(listTotal("SOLAR", "I5"), 100000);
  EXPECT_EQ(listTotal("SOLAR", "II5"), 40000);
  EXPECT_EQ(returnLine("B6a3"), 100000);
  EXPECT_EQ(returnLine("B6b3"), 40000);
  EXPECT_EQ(returnLine("c2"), 2);

  // Deleting the final one leaves the other.
  auto remove = connected<CInputMigasFinal>();
  remove->pDeleteForm(kNpwp, "PPh22MigasFinal", "05", 5, 2013, 0, "NT-1", "112", "SOLAR", 0);
  EXPECT_EQ(sspRows("PPh22MigasTdkFinal"), 1);
  EXPECT_EQ(listRows(1), 1);
  EXPECT_EQ(listTotal("SOLAR", "II5"), 40000);
  EXPECT_EQ(returnLine("c2"), 1);
  EXPECT_TRUE(messages().empty());
}

struct LoadCase {
  const char* name;
  bool final;
  const char* npwp;
  long expectedRows;
};

class CInputMigasLoadTest : public OilGasInputFixture,
                            public ::testing::WithParamInterface<LoadCase> {};

// The final class loads without an NPWP condition, the not-final one with it.
TEST_P(CInputMigasLoadTest, LoadingMatchesTheNpwpOnlyForTheNotFinalClass) {
  const auto& c = GetParam();
  RecordsetPtr form;
  if (c.final) {
    addSlip<CInputMigasFinal>("NT-1", "SOLAR", 100000);
    auto slip = connected<CInputMigasFinal>();
    slip->pGet(c.npwp, "PPh22MigasFinal", "05", 5, 2013, 0, "NT-1", "112", kName, kAddress, kToday,
               0, "SOLAR");
    form = slip->rs22Form();
  } else {
    addSlip<CInputMigasTdkFinal>("NT-1", "SOLAR", 100000);
    auto slip = connected<CInputMigasTdkFinal>();
    slip->pGet(c.npwp, "PPh22MigasTdkFinal", "06", 5, 2013, 0, "NT-1", "112", kName, kAddress,
               kToday, 0, "SOLAR");
    form = slip->rs22Form();
  }
  ASSERT_NE(form, nullptr);
  EXPECT_EQ(form->RecordCount(), c.expectedRows);
}

INSTANTIATE_TEST_SUITE_P(Npwp, CInputMigasLoadTest,
                         ::testing::Values(LoadCase{"FinalOwnNpwp", true, "012345678901000", 1},
                                           LoadCase{"FinalOtherNpwp", true, "099999999999000", 1},
                                           LoadCase{"NotFinalOwnNpwp", false, "012345678901000", 1},
                                           LoadCase{"NotFinalOtherNpwp", false, "099999999999000",
                                                    0}),
                         [](const auto& row) { return std::string(row.param.name); });

struct CreateCase {
  const char* name;
  const char* jenisWp;
  const char* expectedText;
};

class CInputMigasCreateTest : public OilGasInputFixture,
                              public ::testing::WithParamInterface<CreateCase> {};

TEST_P(CInputMigasCreateTest, NewRowCarriesTheIdentityOnlyForACollector) {
  auto slip = connected<CInputMigasTdkFinal>();
  for (int i = 0; i < 2; ++i) {
    slip->pCreateHdr(kNpwp, "PPh22MigasTdkFinal", "06", 5, 2013, 0, "NT-1", "112", kName, kAddress,
                     kToday, "SOLAR", GetParam().jenisWp);
  }
  auto rs = query("SELECT * FROM DAT_SSP_PPh22 WHERE KD_FORM = 'PPh22MigasTdkFinal'");
  ASSERT_EQ(rs->RecordCount(), 1);
  EXPECT_EQ(rs->Fields("DAT_FORM").Value().text(), GetParam().expectedText);
  EXPECT_EQ(rs->Fields("JENIS_DOKUMEN").Value().text(), "06");
  EXPECT_EQ(rs->Fields("NOBUKTI").Value().text(), "NT-1");
  EXPECT_EQ(rs->Fields("KD_JENIS_PAJAK").Value().text(), "112");
  EXPECT_EQ(rs->Fields("TGL_REKAM").Value().text(), "10/06/2013");
}

INSTANTIATE_TEST_SUITE_P(
    JenisWp, CInputMigasCreateTest,
    ::testing::Values(
        CreateCase{
            "Collector", "Pemungut",
            "5;2013;0;SOLAR;012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;;;;;0;0;NT-1;0;"},
        CreateCase{"Other", "", "5;2013;0;SOLAR;;;;;;;;0;0;NT-1;0;"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(OilGasInputFixture, SavedSlipIsFoundAgainByItsKeyPattern) {
  const double seq = addSlip<CInputMigasFinal>("NT-1", "SOLAR", 100000);
  auto rs = query("SELECT DAT_FORM FROM DAT_SSP_PPh22 WHERE KD_FORM = 'PPh22MigasFinal'");
  EXPECT_EQ(rs->Fields("DAT_FORM").Value().text(),
            "5;2013;0;SOLAR;012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;023456789012000;"
            "PT PEMBELI;JL. THAMRIN 2;20/05/2013;100000;300;NT-1;0;");
  // Another sequence or commodity does not find it.
  EXPECT_EQ(loadSlip<CInputMigasFinal>("NT-1", "SOLAR", seq)->rs22Form()->RecordCount(), 1);
  EXPECT_EQ(loadSlip<CInputMigasFinal>("NT-1", "SOLAR", seq + 1)->rs22Form()->RecordCount(), 0);
  EXPECT_EQ(loadSlip<CInputMigasFinal>("NT-1", "PREMIUM", seq)->rs22Form()->RecordCount(), 0);
}

TEST_F(OilGasInputFixture, ChangingTheNttpMovesTheRowToItsNewKey) {
  const double seq = addSlip<CInputMigasFinal>("NT-1", "SOLAR", 100000);
  auto edit = loadSlip<CInputMigasFinal>("NT-1", "SOLAR", seq);
  edit->aNTTP("NT-9");
  edit->pAssignStatus(false, true, false);
  edit->pUpdate();

  EXPECT_EQ(sspRows("PPh22MigasFinal"), 1);
  EXPECT_EQ(scalar("SELECT NOBUKTI FROM DAT_SSP_PPh22 WHERE KD_FORM = 'PPh22MigasFinal'").text(),
            "NT-9");
  EXPECT_EQ(loadSlip<CInputMigasFinal>("NT-9", "SOLAR", seq)->rs22Form()->RecordCount(), 1);
  EXPECT_EQ(listTotal("SOLAR", "I5"), 100000);
}

TEST_F(OilGasInputFixture, AddingWithoutAMadeRowAddsOne) {
  auto slip = newSlip<CInputMigasFinal>("NT-1", "SOLAR");
  exec("DELETE FROM DAT_SSP_PPh22 WHERE KD_FORM = 'PPh22MigasFinal'");
  slip->ajmlBruto(100000);
  slip->pAssignStatus(true, false, false);
  slip->pUpdate();

  auto rs = query("SELECT * FROM DAT_SSP_PPh22 WHERE KD_FORM = 'PPh22MigasFinal'");
  ASSERT_EQ(rs->RecordCount(), 1);
  EXPECT_EQ(rs->Fields("NPWP").Value().text(), kNpwp);
  EXPECT_EQ(rs->Fields("JENIS_DOKUMEN").Value().text(), "05");
  EXPECT_EQ(rs->Fields("NOBUKTI").Value().text(), "NT-1");
  EXPECT_EQ(rs->Fields("MS_PAJAK").Value().toInt16(), 5);
  EXPECT_EQ(rs->Fields("NIP").Value().text(), "-");
  EXPECT_EQ(returnLine("c2"), 1);
  EXPECT_TRUE(messages().empty());
}

TEST_F(OilGasInputFixture, BareDeleteRemovesOnlyTheRow) {
  addSlip<CInputMigasFinal>("NT-1", "SOLAR", 100000);
  auto slip = connected<CInputMigasFinal>();
  slip->pDelete(kNpwp, "PPh22MigasFinal", "05", 5, 2013, 0, "NT-1", "112");
  slip->pDelete(kNpwp, "PPh22MigasFinal", "05", 5, 2013, 0, "NT-2", "112");

  EXPECT_EQ(sspRows("PPh22MigasFinal"), 0);
  EXPECT_EQ(listRows(0), 1);
  EXPECT_EQ(returnLine("c2"), 1);
  EXPECT_TRUE(messages().empty());
}

TEST_F(OilGasInputFixture, NormalisingTurnsEmptyAmountsIntoZero) {
  auto slip = newSlip<CInputMigasFinal>("NT-1", "SOLAR");
  slip->rs22Form()->Fields("JMLBRUTO").Value(Null);
  slip->rs22Form()->Fields("PPH").Value(Null);
  slip->pHitPjk(1);
  EXPECT_EQ(slip->rs22Form()->Fields("JMLBRUTO").Value().toDouble(), 0);
  EXPECT_EQ(slip->rs22Form()->Fields("PPH").Value().toDouble(), 0);
}

TEST_F(OilGasInputFixture, PropertiesReadBackWhatWasPut) {
  auto slip = newSlip<CInputMigasFinal>("NT-1", "SOLAR");
  slip->aALM("JL. BARU");
  slip->aNMWP("PT BARU");
  slip->aINVOICE("INV-7");
  EXPECT_EQ(slip->aALM(), "JL. BARU");
  EXPECT_EQ(slip->aNMWP().text(), "PT BARU");
  EXPECT_EQ(slip->aNPWP().text(), kNpwp);
  EXPECT_EQ(slip->aPenjualan(), "SOLAR");
  EXPECT_EQ(slip->aTGL_PUNGUT(), Variant(Date(2013, 5, 20)));
  EXPECT_EQ(slip->rs22Form()->Fields("INVOICE").Value().text(), "INV-7");
}

TEST_F(OilGasInputFixture, SavingWithoutAMainReturnFailsOnceAfterTheList) {
  exec("DELETE FROM DS_FORM_INDUK WHERE KD_FORM = 'F113202'");
  addSlip<CInputMigasFinal>("NT-1", "SOLAR", 100000);
  EXPECT_EQ(messages().size(), 1u);
  // Nothing is rolled back: the slip and its list row stay.
  EXPECT_EQ(sspRows("PPh22MigasFinal"), 1);
  EXPECT_EQ(listRows(0), 1);
}

TEST_F(OilGasInputFixture, ACommodityWithoutAHeaderGetsOneNumberedAfterTheOthers) {
  addSlip<CInputMigasFinal>("NT-1", "BIO SOLAR", 100000);
  auto rs = query(
      "SELECT * FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' AND "
      "DAT_FORM LIKE '%;BIO SOLAR;%'");
  ASSERT_EQ(rs->RecordCount(), 1);
  EXPECT_EQ(rs->Fields("JENIS_DOKUMEN").Value().text(), "13");
  EXPECT_EQ(listTotal("BIO SOLAR", "I5"), 100000);
  EXPECT_EQ(returnLine("B6a3"), 100000);
  EXPECT_TRUE(messages().empty());
}

TEST_F(OilGasInputFixture, SavingInAPeriodWithoutListHeadersFailsOnceAtTheNumbering) {
  exec("DELETE FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202'");
  addSlip<CInputMigasFinal>("NT-1", "SOLAR", 100000);
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text, "Invalid use of Null");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202'"), 0);
  EXPECT_EQ(listRows(0), 0);
  EXPECT_EQ(returnLine("c2"), 0);
}

}  // namespace
}  // namespace korvane
