#include "korvane/forms/ssp/oil_gas_input.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/forms/ssp/oil_gas_list.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kName = "PT MAJU JAYA";
constexpr const char* kAddress = "JL. SUDIRMAN 1 JAKARTA";
const Date kToday(2013, 6, 10);
using Slip = std::shared_ptr<ssp::OilGasInput>;

// What a host sees of each class: its codes, its list collection and totals, its return lines.
struct Codes {
  const char* className;
  const char *form, *document;
  std::int16_t collection;
  const char *listGross, *listTax, *returnGross, *returnTax;
  bool npwpInLoad;  // kept: the final class loads without an NPWP condition
  Slip (*make)();
};
template <class T>
Slip make() {
  return std::make_shared<T>();
}
const Codes kFinal{
    "CInputMigasFinal",    "PPh22MigasFinal", "05", 0, "I5", "I6", "B6a3", "B6a4", false,
    make<CInputMigasFinal>};
const Codes kNotFinal{
    "CInputMigasTdkFinal",    "PPh22MigasTdkFinal", "06", 1, "II5", "II6", "B6b3", "B6b4", true,
    make<CInputMigasTdkFinal>};
void PrintTo(const Codes& c, std::ostream* os) { *os << c.className; }

// After a step: the commodity's list totals of one class, its return lines and the SSP count,
// and how many slip rows and list rows the class has.
struct Carried {
  double listGross, listTax, returnGross, returnTax, ssps;
  long slipRows, listRows;
};

class OilGasInputFixture : public testing::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    insertProfile();
    connected<CF113202>()->pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2013, 0, "-", "112", kName,
                                             kAddress, kToday, kToday, "Pemungut");
    exec(
        "UPDATE JENIS_KOMODITI SET TARIF_NETTO = 0.3 WHERE NAMA_KOMODITI IN "
        "('SOLAR', 'PREMIUM')");
  }

  Slip slipOf(const Codes& c) {
    auto slip = c.make();
    slip->pAssignConStr(store(), user(), password());
    return slip;
  }

  // A slip as a host opens it: the commodities opened, the row loaded and, if found, its old
  // values taken.
  Slip loadSlip(const Codes& c, const std::string& nttp, const std::string& commodity, double seq,
                const std::string& npwp = kNpwp) {
    auto slip = slipOf(c);
    slip->getTaxRate();
    slip->pGet(npwp, c.form, c.document, 5, 2013, 0, nttp, "112", kName, kAddress, kToday, seq,
               commodity);
    if (slip->rs22Form()->RecordCount() > 0) slip->pAssignOldValues();
    return slip;
  }

  // A new slip: its row made and loaded, the buyer and the next sequence filled in.
  Slip newSlip(const Codes& c, const std::string& nttp, const std::string& commodity) {
    slipOf(c)->pCreateHdr(kNpwp, c.form, c.document, 5, 2013, 0, nttp, "112", kName, kAddress,
                          kToday, commodity, "Pemungut");
    auto slip = loadSlip(c, nttp, commodity, 0);
    double seq = -1;
    slip->pGetMaxSeqNo(5, 2013, 0, c.collection, seq);
    slip->aSEQ(seq);
    slip->aNPWPLT("023456789012000");
    slip->aNMWPLT("PT PEMBELI");
    slip->aALMLT("JL. THAMRIN 2");
    slip->aTGL_PUNGUT(Date(2013, 5, 20));
    return slip;
  }

  static double save(ssp::OilGasInput& slip, bool adding) {
    slip.pHitPjk(1);
    slip.pAssignStatus(adding, !adding, false);
    slip.pUpdate();
    return slip.rs22Form()->Fields("SEQ").Value().toDouble();
  }

  double addSlip(const Codes& c, const std::string& nttp, const std::string& commodity,
                 double gross) {
    auto slip = newSlip(c, nttp, commodity);
    slip->ajmlBruto(gross);
    return save(*slip, true);
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

  void expectCarried(const char* step, const Codes& c, const char* commodity, const Carried& e) {
    SCOPED_TRACE(step);
    EXPECT_EQ(listTotal(commodity, c.listGross), e.listGross);
    EXPECT_EQ(listTotal(commodity, c.listTax), e.listTax);
    EXPECT_EQ(returnLine(c.returnGross), e.returnGross);
    EXPECT_EQ(returnLine(c.returnTax), e.returnTax);
    EXPECT_EQ(returnLine("c2"), e.ssps);
    EXPECT_EQ(sspRows(c.form), e.slipRows);
    EXPECT_EQ(listRows(c.collection), e.listRows);
  }
};

class CInputMigasTest : public OilGasInputFixture, public ::testing::WithParamInterface<Codes> {};

// One slip of the other class shares the NTTP all along and must come out untouched.
TEST_P(CInputMigasTest, SlipsCarryIntoTheListAndTheMainReturnThroughAddEditMoveAndDelete) {
  const Codes& c = GetParam();
  const Codes& other = c.collection == kFinal.collection ? kNotFinal : kFinal;
  auto probe = slipOf(c);
  double seq = -1;
  probe->pGetMaxSeqNo(5, 2013, 0, c.collection, seq);
  EXPECT_EQ(seq, 0);
  RecordsetPtr used;
  probe->pCheckNTTP(kNpwp, 2013, "NT-1", 5, 0, used);
  ASSERT_NE(used, nullptr);
  EXPECT_EQ(used->RecordCount(), 0);
  addSlip(other, "NT-1", "SOLAR", 40000);
  probe->pCheckNTTP(kNpwp, 2013, "NT-1", 5, 0, used);
  EXPECT_EQ(used->RecordCount(), 0);

  EXPECT_EQ(addSlip(c, "NT-1", "SOLAR", 100000), 0);
  probe->pCheckNTTP(kNpwp, 2013, "NT-1", 5, 0, used);
  EXPECT_EQ(used->RecordCount(), 1);
  expectCarried("added", c, "SOLAR", {100000, 300, 100000, 300, 2, 1, 1});
  EXPECT_EQ(
      scalar("SELECT DAT_FORM FROM DAT_SSP_PPh22 WHERE KD_FORM = '" + std::string(c.form) + "'")
          .text(),
      "5;2013;0;SOLAR;012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;023456789012000;"
      "PT PEMBELI;JL. THAMRIN 2;20/05/2013;100000;300;NT-1;0;");
  EXPECT_EQ(loadSlip(c, "NT-1", "SOLAR", 0, "099999999999000")->rs22Form()->RecordCount(),
            c.npwpInLoad ? 0 : 1);
  EXPECT_EQ(loadSlip(c, "NT-1", "SOLAR", 1)->rs22Form()->RecordCount(), 0);

  EXPECT_EQ(addSlip(c, "NT-2", "SOLAR", 50000), 1);
  expectCarried("second", c, "SOLAR", {150000, 450, 150000, 450, 3, 2, 2});

  auto edit = loadSlip(c, "NT-1", "SOLAR", 0);
  ASSERT_EQ(edit->rs22Form()->RecordCount(), 1);
  edit->ajmlBruto(150000);
  save(*edit, false);
  expectCarried("edited", c, "SOLAR", {200000, 600, 200000, 600, 3, 2, 2});

  edit = loadSlip(c, "NT-1", "SOLAR", 0);
  edit->aPenjualan("PREMIUM");
  edit->ajmlBruto(200000);
  save(*edit, false);
  expectCarried("moved", c, "PREMIUM", {200000, 600, 250000, 750, 3, 2, 2});
  EXPECT_EQ(listTotal("SOLAR", c.listGross), 50000);
  EXPECT_EQ(listTotal("SOLAR", c.listTax), 150);
  EXPECT_NE(scalar("SELECT DAT_FORM FROM LAMPIRAN_SSP_PPh22 WHERE NOBUKTI = 'NT-1' AND COLLNO = " +
                   std::to_string(c.collection))
                .text()
                .find(";PREMIUM;"),
            std::string::npos);
  EXPECT_EQ(loadSlip(c, "NT-1", "SOLAR", 0)->rs22Form()->RecordCount(), 0);
  EXPECT_EQ(loadSlip(c, "NT-1", "PREMIUM", 0)->rs22Form()->RecordCount(), 1);

  probe->pDeleteForm(kNpwp, c.form, c.document, 5, 2013, 0, "NT-1", "112", "PREMIUM", 0);
  expectCarried("deleted", c, "PREMIUM", {0, 0, 50000, 150, 2, 1, 1});
  probe->pDeleteForm(kNpwp, c.form, c.document, 5, 2013, 0, "NT-2", "112", "SOLAR", 1);
  expectCarried("all deleted", c, "SOLAR", {0, 0, 0, 0, 1, 0, 0});
  expectCarried("other class", other, "SOLAR", {40000, 120, 40000, 120, 1, 1, 1});
  EXPECT_TRUE(messages().empty());

  // Rows of another list, collection or period do not count for the next sequence.
  const auto row = [&](const char* form, int month, int collection, int rowSeq) {
    exec("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ('" + std::string(form) + "', " +
         std::to_string(month) + ", 2013, 0, " + std::to_string(collection) + ", " +
         std::to_string(rowSeq) + ", 'NT-" + std::to_string(rowSeq) + "', '')");
  };
  row("D113202", 5, c.collection, 4);
  row("D113203", 5, c.collection, 9);
  row("D113202", 5, 1 - c.collection, 7);
  row("D113202", 6, c.collection, 8);
  probe->pGetMaxSeqNo(5, 2013, 0, c.collection, seq);
  EXPECT_EQ(seq, 5);
}

INSTANTIATE_TEST_SUITE_P(Classes, CInputMigasTest, ::testing::Values(kFinal, kNotFinal),
                         [](const auto& row) { return std::string(row.param.className); });

TEST_F(OilGasInputFixture, GrossSetsTheTaxFromTheCommodityRateCutToAWholeRupiah) {
  exec("INSERT INTO JENIS_KOMODITI VALUES ('07', 'AVGAS', 22, 0.25)");
  const struct {
    const char *nttp, *commodity, *rate;
    double tax;  // the tax was 777 before the gross was put
  } cases[] = {{"NT-1", "AVGAS", "0.25", 3086},
               {"NT-2", "AVTUR", "0.25", 777},  // not in the table: the tax stays
               {"NT-3", "AVGAS", "NULL", 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.nttp);
    exec("UPDATE JENIS_KOMODITI SET TARIF_NETTO = " + std::string(c.rate) +
         " WHERE NAMA_KOMODITI = 'AVGAS'");
    auto slip = newSlip(kFinal, c.nttp, c.commodity);
    slip->aPPH(777);
    slip->ajmlBruto(1234567);
    EXPECT_EQ(slip->rs22Form()->Fields("JMLBRUTO").Value().toDouble(), 1234567);
    EXPECT_EQ(slip->rs22Form()->Fields("PPH").Value().toDouble(), c.tax);
  }
  EXPECT_TRUE(messages().empty());

  auto unopened = slipOf(kFinal);
  unopened->pGet(kNpwp, kFinal.form, "05", 5, 2013, 0, "NT-1", "112", kName, kAddress, kToday, 0,
                 "AVGAS");
  unopened->ajmlBruto(1000);
  EXPECT_EQ(messages().size(), 1u);
}

TEST_F(OilGasInputFixture, NewRowIsMadeOnceAndCarriesTheIdentityOnlyForACollector) {
  const struct {
    const char *jenisWp, *nttp, *text;
  } cases[] = {
      {"Pemungut", "NT-1",
       "5;2013;0;SOLAR;012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;;;;;0;0;NT-1;0;"},
      {"", "NT-2", "5;2013;0;SOLAR;;;;;;;;0;0;NT-2;0;"}};
  auto slip = slipOf(kNotFinal);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.nttp);
    for (int i = 0; i < 2; ++i) {
      slip->pCreateHdr(kNpwp, kNotFinal.form, "06", 5, 2013, 0, c.nttp, "112", kName, kAddress,
                       kToday, "SOLAR", c.jenisWp);
    }
    auto rs = query("SELECT * FROM DAT_SSP_PPh22 WHERE NOBUKTI = '" + std::string(c.nttp) + "'");
    ASSERT_EQ(rs->RecordCount(), 1);
    EXPECT_EQ(rs->Fields("DAT_FORM").Value().text(), c.text);
    EXPECT_EQ(rs->Fields("JENIS_DOKUMEN").Value().text(), "06");
    EXPECT_EQ(rs->Fields("KD_JENIS_PAJAK").Value().text(), "112");
    EXPECT_EQ(rs->Fields("TGL_REKAM").Value().text(), "10/06/2013");
  }
}

// pDelete takes the slip's row alone; saving while adding writes the row again if it is gone.
TEST_F(OilGasInputFixture, RowIsWrittenMovedToANewNttpAndDeletedAlone) {
  auto slip = newSlip(kFinal, "NT-1", "SOLAR");
  auto bare = slipOf(kFinal);
  bare->pDelete(kNpwp, kFinal.form, "05", 5, 2013, 0, "NT-1", "112");
  EXPECT_EQ(sspRows(kFinal.form), 0);
  slip->ajmlBruto(100000);
  save(*slip, true);
  auto rs = query("SELECT * FROM DAT_SSP_PPh22 WHERE KD_FORM = 'PPh22MigasFinal'");
  ASSERT_EQ(rs->RecordCount(), 1);
  EXPECT_EQ(rs->Fields("NPWP").Value().text(), kNpwp);
  EXPECT_EQ(rs->Fields("JENIS_DOKUMEN").Value().text(), "05");
  EXPECT_EQ(rs->Fields("NOBUKTI").Value().text(), "NT-1");
  EXPECT_EQ(rs->Fields("MS_PAJAK").Value().toInt16(), 5);
  EXPECT_EQ(rs->Fields("NIP").Value().text(), "-");
  EXPECT_EQ(returnLine("c2"), 1);

  auto edit = loadSlip(kFinal, "NT-1", "SOLAR", 0);
  edit->aNTTP("NT-9");
  save(*edit, false);
  EXPECT_EQ(sspRows(kFinal.form), 1);
  EXPECT_EQ(scalar("SELECT NOBUKTI FROM DAT_SSP_PPh22 WHERE KD_FORM = 'PPh22MigasFinal'").text(),
            "NT-9");
  EXPECT_EQ(loadSlip(kFinal, "NT-9", "SOLAR", 0)->rs22Form()->RecordCount(), 1);
  EXPECT_EQ(listTotal("SOLAR", "I5"), 100000);

  const long listed = listRows(0);
  bare->pDelete(kNpwp, kFinal.form, "05", 5, 2013, 0, "NT-9", "112");
  bare->pDelete(kNpwp, kFinal.form, "05", 5, 2013, 0, "NT-2", "112");
  EXPECT_EQ(sspRows(kFinal.form), 0);
  EXPECT_EQ(listRows(0), listed);
  EXPECT_EQ(returnLine("c2"), 1);
  EXPECT_TRUE(messages().empty());
}

TEST_F(OilGasInputFixture, PropertiesReadBackAndEmptyAmountsAreNormalisedToZero) {
  auto slip = newSlip(kFinal, "NT-1", "SOLAR");
  slip->aALM("JL. BARU");
  slip->aNMWP("PT BARU");
  slip->aINVOICE("INV-7");
  EXPECT_EQ(slip->aALM(), "JL. BARU");
  EXPECT_EQ(slip->aNMWP().text(), "PT BARU");
  EXPECT_EQ(slip->aNPWP().text(), kNpwp);
  EXPECT_EQ(slip->aPenjualan(), "SOLAR");
  EXPECT_EQ(slip->aTGL_PUNGUT(), Variant(Date(2013, 5, 20)));
  auto form = slip->rs22Form();
  EXPECT_EQ(form->Fields("INVOICE").Value().text(), "INV-7");
  form->Fields("JMLBRUTO").Value(Null);
  form->Fields("PPH").Value(Null);
  slip->pHitPjk(1);
  EXPECT_EQ(form->Fields("JMLBRUTO").Value().toDouble(), 0);
  EXPECT_EQ(form->Fields("PPH").Value().toDouble(), 0);
}

TEST_F(OilGasInputFixture, ACommodityWithoutAHeaderGetsOneNumberedAfterTheOthers) {
  addSlip(kFinal, "NT-1", "BIO SOLAR", 100000);
  EXPECT_EQ(scalar("SELECT JENIS_DOKUMEN FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' AND "
                   "DAT_FORM LIKE '%;BIO SOLAR;%'")
                .text(),
            "13");
  EXPECT_EQ(listTotal("BIO SOLAR", "I5"), 100000);
  EXPECT_EQ(returnLine("B6a3"), 100000);
  EXPECT_TRUE(messages().empty());
}

// Nothing is rolled back: what ran before the failure stays.
TEST_F(OilGasInputFixture, SavingWithoutAMainReturnFailsOnceAfterTheList) {
  exec("DELETE FROM DS_FORM_INDUK WHERE KD_FORM = 'F113202'");
  addSlip(kFinal, "NT-1", "SOLAR", 100000);
  EXPECT_EQ(messages().size(), 1u);
  EXPECT_EQ(sspRows(kFinal.form), 1);
  EXPECT_EQ(listRows(0), 1);
}

TEST_F(OilGasInputFixture, SavingInAPeriodWithoutListHeadersFailsOnceAtTheNumbering) {
  exec("DELETE FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202'");
  addSlip(kFinal, "NT-1", "SOLAR", 100000);
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text, "Invalid use of Null");
  EXPECT_EQ(sspRows("D113202"), 0);
  EXPECT_EQ(listRows(0), 0);
  EXPECT_EQ(returnLine("c2"), 0);
}

}  // namespace
}  // namespace korvane
