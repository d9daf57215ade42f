// Hostile text and numbers through the public operations: none may escape as an exception,
// change a statement's structure or touch another taxpayer's rows.
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>

#include "korvane/korvane.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kTaxpayer = "012345678901000";
constexpr const char* kBystander = "098765432109000";
const Date kToday(2013, 6, 15);

struct HostileText {
  const char* name;
  std::string value;
};

const HostileText kTexts[] = {
    {"Quote", "O'Brien' OR '1'='1"},
    {"Semicolon", "A;B;DROP TABLE DS_FORM_INDUK;"},
    {"CrLf", "JL. MERDEKA\r\nNO. 2"},
    {"Percent", "%"},
    {"Underscore", "_"},
    {"LongText", std::string(5000, 'x')},
    {"Emoji", "Toko Ibu Ani \xF0\x9F\x8D\x9C \xE2\x80\x94 Bandung"},
    {"Empty", ""},
};

class HostileInputTest : public testing::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    insertProfile();
    for (const char* npwp : {kTaxpayer, kBystander}) {
      connected<CF113202>()->pCreateF113202Hdr(npwp, "F113202", "01", 5, 2013, 0, "-", "112",
                                               "PT MAJU JAYA", "JL. SUDIRMAN 1", kToday, kToday,
                                               "Pemungut");
    }
    // The bystander's own slip, which no call below may touch.
    save(*slipOf(kBystander, "000001/PPH22"), 1000.0);
    ASSERT_TRUE(messages().empty()) << messages()[0].text;
  }

  std::shared_ptr<CF113303> slipOf(const std::string& npwp, const std::string& number) {
    auto slip = connected<CF113303>();
    slip->pCreateF113303Hdr(npwp, "F113303", "02", 5, 2013, 0, number, "112", "PT", "JL",
                            Date(2013, 5, 15));
    slip->pGetF113303(npwp, "F113303", "02", 5, 2013, 0, number, "112", "", "", Date(2013, 5, 15));
    slip->pAssignOldValues();
    slip->pAssignStatus(true, false, false);
    slip->aNPWPLT("01.234.567.8-901.000");
    slip->getTaxRate();
    slip->aB3a4(10.0);
    return slip;
  }
  static void save(CF113303& slip, double base = 100.0, const std::string& year = "2013",
                   const std::string& correction = "0") {
    slip.aB3a3(base);
    slip.pHitPjk(0);
    slip.pUpdate(5, year, correction);
  }

  // The bystander's rows of the tables a call could reach, as one text.
  std::string bystanderRows() {
    std::string all = std::to_string(count("SELECT COUNT(*) FROM SETTING_NOBUKTI_PPH"));
    auto rows = query(std::string("SELECT * FROM DS_FORM_INDUK WHERE NPWP = '") + kBystander +
                      "' ORDER BY KD_FORM, DAT_FORM");
    for (; !rows->EndOfFile(); rows->MoveNext()) {
      for (std::size_t c = 0; c < rows->columnCount(); ++c) {
        all += (rows->Fields(c).Value().isNull() ? "<null>" : rows->Fields(c).Value().text()) + '|';
      }
    }
    return all;
  }
};

class HostileTextTest : public HostileInputTest, public ::testing::WithParamInterface<HostileText> {
 protected:
  // A refused text shows its own message; no text may change the statement it travels in (the
  // store answers the bystander's rows afterwards).
  template <class Call>
  void expectHarmless(const char* what, Call call) {
    SCOPED_TRACE(what);
    const std::string before = bystanderRows();
    EXPECT_NO_THROW(call());
    EXPECT_EQ(bystanderRows(), before);
  }
};

// The text in every place of one call after another; the period's delete comes last.
TEST_P(HostileTextTest, NeitherEscapesNorTouchesOtherRows) {
  const std::string& v = GetParam().value;
  expectHarmless("F113303 party, number and tax year, read and delete", [&] {
    auto slip = slipOf(kTaxpayer, "000002/PPH22");
    slip->aNPWPLT(v);
    slip->aNMWPLT(v);
    slip->aALMLT(v);
    save(*slip);
    save(*slipOf(kTaxpayer, v));
    save(*slipOf(kTaxpayer, "000003/PPH22"), 100.0, v, v);
    slip->pGetBukti(v, v, 5, 2013, 0);
    slip->pCheckNoBukti(v, 2013, v, 0);
    slip->pDeleteF113303(v, "F113303", "02", 5, 2013, 0, v, "112");
  });
  expectHarmless("SSP buyer and commodity, save and delete", [&] {
    auto slip = connected<CInputPPh22Impor>();
    slip->pCreateHdr(kTaxpayer, "PPh22Impor", "10", 5, 2013, 0, v, "112", v, v, kToday, v,
                     "Pemungut");
    slip->pGet(kTaxpayer, "PPh22Impor", "10", 5, 2013, 0, v, "112", v, v, kToday, 0);
    slip->pAssignOldValues();
    slip->aSEQ(1.0);
    slip->aNPWPLT(v);
    slip->aNMWPLT(v);
    slip->aALMLT(v);
    slip->aA13(1000000.0);
    slip->aA14(25000.0);
    slip->pHitPjk(1);
    slip->pAssignStatus(true, false, false);
    slip->pUpdate();
    slip->pDeleteForm(kTaxpayer, "PPh22Impor", "10", 5, 2013, 0, v, "112", v, 1.0, v, v, v);
    auto oil = connected<CInputMigasFinal>();
    oil->getTaxRate();
    oil->pCreateHdr(kTaxpayer, "PPh22MigasFinal", "05", 5, 2013, 0, v, "112", v, v, kToday, v, v);
    oil->pGet(kTaxpayer, "PPh22MigasFinal", "05", 5, 2013, 0, v, "112", v, v, kToday, 0, v);
    oil->pAssignOldValues();
    oil->aNMWPLT(v);
    oil->ajmlBruto(1000000.0);
    oil->pHitPjk(1);
    oil->pAssignStatus(true, false, false);
    oil->pUpdate();
    oil->pDeleteForm(kTaxpayer, "PPh22MigasFinal", "05", 5, 2013, 0, v, "112", v, 0);
  });
  expectHarmless("lists, main return, export, carry-over and period delete", [&] {
    auto list = connected<cd113204>();
    list->pGetD113204Induk(v, 5, 2013, 0);
    list->pGetBuktiLampiran(v, 0);
    auto mainReturn = connected<CF113202>();
    mainReturn->pCreateF113202Hdr(kTaxpayer, "F113202", "01", 6, 2013, 0, v, "112", v, v, kToday,
                                  kToday, v);
    mainReturn->pGetF113202(v, 5, 2013, 0);
    connected<CEksporBP>()->pEksporPPh(v, 22, v, v, 0, folder().string() + "/", v);
    mainReturn->pCopyAllData(v, v, 5, 2013, 0);
    auto general = connected<CGeneralClass>();
    general->aMaxKdPembetulan(v, v, 5, v, 2013);
    general->pCheckNPWP(v);
    general->pDelete(v, "112", 5, 2013, 0);
    general->pDelete(kTaxpayer, v, 5, 2013, 0);
  });
}

INSTANTIATE_TEST_SUITE_P(Texts, HostileTextTest, ::testing::ValuesIn(kTexts),
                         [](const ::testing::TestParamInfo<HostileText>& row) {
                           return std::string(row.param.name);
                         });

// Numbers: every amount setter of the slip and SSP inputs, then a save.
TEST_F(HostileInputTest, HostileNumbersNeitherEscapeNorTouchOtherRows) {
  const std::string before = bystanderRows();
  const double infinity = std::numeric_limits<double>::infinity();
  for (double number : {std::numeric_limits<double>::quiet_NaN(), infinity, -infinity, 1e300,
                        -1e300, 70000.0, -40000.0}) {
    SCOPED_TRACE(number);
    auto slip = slipOf(kTaxpayer, "000002/PPH22");
    auto sector = connected<CF113304>();
    auto ssp = connected<CInputPPh22DbyrSdr>();
    ASSERT_NO_THROW({
      slip->aB3a4(number);
      slip->aB3b3(number);
      slip->aNoBukti(number);
      save(*slip, number);
      // A month or year beyond 16 bits, given as text.
      slip->pUpdate(5, "70000", "-40000");
      sector->pCreateF113304Hdr(kTaxpayer, "F113304", "03", 5, 2013, 0, "000009/PPH22", "112", "PT",
                                "JL", kToday);
      sector->pGetF113304(kTaxpayer, "F113304", "03", 5, 2013, 0, "000009/PPH22", "112", "", "",
                          kToday);
      sector->pAssignOldValues();
      sector->pAssignStatus(true, false, false);
      sector->aB15(number);
      sector->aB13(number);
      sector->pUpdate(5, "2013", "0");
      ssp->pCreateHdr(kTaxpayer, "PPh22ImporDbyrSdr", "11", 5, 2013, 0, "NT-9", "112", "PT", "JL",
                      kToday);
      ssp->pGet(kTaxpayer, "PPh22ImporDbyrSdr", "11", 5, 2013, 0, "NT-9", "112", "PT", "JL", kToday,
                number);
      ssp->aSEQ(number);
      ssp->ajmlBruto(number);
      ssp->aPPH(number);
      ssp->pHitPjk(1);
      ssp->pAssignStatus(true, false, false);
      ssp->pUpdate();
    });
  }
  EXPECT_EQ(bystanderRows(), before);
}

}  // namespace
}  // namespace korvane
