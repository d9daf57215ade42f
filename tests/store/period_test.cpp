#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "korvane/store/general_class.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kOther = "098765432109000";

class CGeneralClassPeriodTest : public testing::StoreTest {
 protected:
  void header(const std::string& npwp, const std::string& kind, const std::string& form,
              const std::string& document, std::int16_t month, std::int16_t correction,
              const std::string& number = "-") {
    exec("INSERT INTO DS_FORM_INDUK VALUES ('" + npwp + "', '" + form + "', '" + document + "', " +
         std::to_string(month) + ", 2013, " + std::to_string(correction) + ", '" + number + "', '" +
         kind + "', '" + npwp + ";PT MAJU JAYA', '31/05/2013', '31/05/2013', '-')");
  }
  void paymentHeader(const std::string& npwp, const std::string& kind, const std::string& form,
                     std::int16_t month, std::int16_t correction) {
    exec("INSERT INTO DAT_SSP_PPh22 VALUES ('" + npwp + "', '" + form + "', '07', " +
         std::to_string(month) + ", 2013, " + std::to_string(correction) + ", '-', '" + kind +
         "', '" + npwp + ";PT MAJU JAYA', '31/05/2013', '31/05/2013', '-')");
  }
  void attachment(const std::string& table, const std::string& form, std::int16_t month,
                  std::int16_t correction, int seq) {
    exec("INSERT INTO " + table + " VALUES ('" + form + "', " + std::to_string(month) + ", 2013, " +
         std::to_string(correction) + ", 0, " + std::to_string(seq) + ", '00000" +
         std::to_string(seq) + "/PPH22', '5;2013;" + std::to_string(seq) + ";')");
  }
  long headers(const std::string& kind) {
    return count("SELECT COUNT(*) FROM DS_FORM_INDUK WHERE KD_JENIS_PAJAK = '" + kind + "'");
  }
  long rows(const std::string& table, const std::string& form) {
    return count("SELECT COUNT(*) FROM " + table + " WHERE KD_FORM = '" + form + "'");
  }
  std::vector<std::string> listed(const RecordsetPtr& rs) {
    std::vector<std::string> out;
    for (rs->MoveFirst(); !rs->EndOfFile(); rs->MoveNext()) {
      out.push_back(
          rs->Fields("KD_FORM").Value().text() + " " + rs->Fields("JENIS_DOKUMEN").Value().text() +
          " " + rs->Fields("NOBUKTI").Value().text() + " " + rs->Fields("URAIAN").Value().text());
    }
    return out;
  }
};

TEST_F(CGeneralClassPeriodTest, ListJoinsTheDocumentKindAndOrdersByFormKindAndNumber) {
  header(kNpwp, "112", "F113303", "02", 5, 0, "000002/PPH22");
  header(kNpwp, "112", "F113202", "01", 5, 0);
  header(kNpwp, "112", "F113303", "02", 5, 0, "000001/PPH22");
  header(kNpwp, "112", "F113303", "02", 5, 0, "000001/PPH22");   // listed once
  header(kNpwp, "112", "F999999", "99", 5, 0);                   // no description: not listed
  header(kNpwp, "112", "F113305", "04", 5, 1, "000003/PPH22");   // another correction
  header(kNpwp, "112", "F113305", "04", 6, 0, "000003/PPH22");   // another month
  header(kOther, "112", "F113305", "04", 5, 0, "000003/PPH22");  // another taxpayer
  auto general = connected<CGeneralClass>();

  auto list = general->aGetList(kNpwp, "112", 5, 2013, 0);

  ASSERT_NE(list, nullptr);
  EXPECT_EQ(listed(list), (std::vector<std::string>{
                              "F113202 01 - SPT Masa PPh Pasal 22",
                              "F113303 02 000001/PPH22 Bukti Pemungutan PPh Pasal 22 "
                              "(Impor/Bendaharawan)",
                              "F113303 02 000002/PPH22 Bukti Pemungutan PPh Pasal 22 "
                              "(Impor/Bendaharawan)",
                          }));
  list->MoveFirst();
  EXPECT_EQ(list->Fields("MS_PAJAK").Value().toInt16(), 5);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassPeriodTest, ListOfArticles21And23TakesTheSharedCode117Along) {
  exec("INSERT INTO DS_REF_JENIS_PAJAK VALUES ('111', '01', 'SPT Masa PPh Pasal 21')");
  exec("INSERT INTO DS_REF_JENIS_PAJAK VALUES ('114', '01', 'SPT Masa PPh Pasal 23')");
  exec("INSERT INTO DS_REF_JENIS_PAJAK VALUES ('117', '02', 'SSP PPh Pasal 21/23')");
  header(kNpwp, "111", "F1721", "01", 5, 0);
  header(kNpwp, "114", "F1723", "01", 5, 0);
  header(kNpwp, "117", "F1717", "02", 5, 0);
  header(kNpwp, "112", "F113202", "01", 5, 0);
  auto general = connected<CGeneralClass>();

  EXPECT_EQ(listed(general->aGetList(kNpwp, "111", 5, 2013, 0)),
            (std::vector<std::string>{"F1717 02 - SSP PPh Pasal 21/23",
                                      "F1721 01 - SPT Masa PPh Pasal 21"}));
  EXPECT_EQ(listed(general->aGetList(kNpwp, "114", 5, 2013, 0)),
            (std::vector<std::string>{"F1717 02 - SSP PPh Pasal 21/23",
                                      "F1723 01 - SPT Masa PPh Pasal 23"}));
  EXPECT_EQ(listed(general->aGetList(kNpwp, "117", 5, 2013, 0)),
            (std::vector<std::string>{"F1717 02 - SSP PPh Pasal 21/23"}));
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassPeriodTest, ListFailureShowsTheDescriptionAndGivesNoRecordset) {
  auto general = connected<CGeneralClass>();

  EXPECT_EQ(general->aGetList("01'2", "112", 5, 2013, 0), nullptr);

  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text,
            "The value \"01'2\" contains a single quote, which cannot be written into a "
            "statement.");
}

struct MaxCorrectionCase {
  const char* name;
  std::vector<std::int16_t> corrections;  // of the main return in May
  bool quoteInTaxpayerNumber;
  std::int16_t expected;
  std::size_t messages;
};
void PrintTo(const MaxCorrectionCase& value, std::ostream* os) { *os << value.name; }

const MaxCorrectionCase kMaxCorrectionCases[] = {
    {"EmptyPeriod", {}, false, -1, 0},
    {"FirstReturnOnly", {0}, false, 0, 0},
    {"TwoCorrections", {0, 2, 1}, false, 2, 0},
    {"FailureGivesZero", {0, 1}, true, 0, 1},
};

class CGeneralClassMaxCorrectionTest : public CGeneralClassPeriodTest,
                                       public ::testing::WithParamInterface<MaxCorrectionCase> {};

TEST_P(CGeneralClassMaxCorrectionTest, HighestCorrectionOfTheForm) {
  for (auto correction : GetParam().corrections)
    header(kNpwp, "112", "F113202", "01", 5, correction);
  header(kNpwp, "112", "F113202", "01", 6, 7);   // another month
  header(kNpwp, "112", "D113204", "09", 5, 9);   // another form
  header(kNpwp, "111", "F113202", "01", 5, 8);   // another tax type
  header(kOther, "112", "F113202", "01", 5, 6);  // another taxpayer
  auto general = connected<CGeneralClass>();

  // The form code sits between month and year.
  EXPECT_EQ(general->aMaxKdPembetulan(GetParam().quoteInTaxpayerNumber ? "01'2" : kNpwp, "112", 5,
                                      "F113202", 2013),
            GetParam().expected);
  EXPECT_EQ(messages().size(), GetParam().messages);
}

INSTANTIATE_TEST_SUITE_P(Cases, CGeneralClassMaxCorrectionTest,
                         ::testing::ValuesIn(kMaxCorrectionCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST_F(CGeneralClassPeriodTest, DeletingArticle21TakesTheShared117AlongAndArticle23FindsNoneOfIt) {
  header(kNpwp, "111", "F1721", "01", 5, 0);
  header(kNpwp, "117", "F1717", "02", 5, 0);
  header(kNpwp, "114", "F1723", "01", 5, 0);
  header(kNpwp, "112", "F113202", "01", 5, 0);
  attachment("DS_FORM_LAMPIRAN", "D113201", 5, 0, 1);
  attachment("DS_FORM_LAMPIRAN", "D113205", 5, 0, 1);
  attachment("DS_FORM_LAMPIRAN", "D113204", 5, 0, 1);
  paymentHeader(kNpwp, "111", "SSP21", 5, 0);
  attachment("LAMPIRAN_SSP_PPh22", "D113202", 5, 0, 1);
  auto general = connected<CGeneralClass>();

  general->pDelete(kNpwp, "111", 5, 2013, 0);

  EXPECT_EQ(headers("111"), 0);
  EXPECT_EQ(headers("117"), 0);
  EXPECT_EQ(headers("114"), 1);
  EXPECT_EQ(headers("112"), 1);
  EXPECT_EQ(rows("DS_FORM_LAMPIRAN", "D113201"), 0);
  EXPECT_EQ(rows("DS_FORM_LAMPIRAN", "D113205"), 1);
  EXPECT_EQ(rows("DS_FORM_LAMPIRAN", "D113204"), 1);
  // Articles 21 and 23 leave the SSP tables alone.
  EXPECT_EQ(rows("DAT_SSP_PPh22", "SSP21"), 1);
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", "D113202"), 1);

  general->pDelete(kNpwp, "114", 5, 2013, 0);

  EXPECT_EQ(headers("114"), 0);
  EXPECT_EQ(headers("117"), 0);
  EXPECT_EQ(rows("DS_FORM_LAMPIRAN", "D113205"), 0);
  EXPECT_EQ(headers("112"), 1);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassPeriodTest, DeletingArticle22LeavesDomesticImportRowsAndOtherPeriods) {
  header(kNpwp, "112", "F113202", "01", 5, 0);
  header(kNpwp, "112", "F113303", "02", 5, 0, "000001/PPH22");
  header(kNpwp, "112", "F113202", "01", 5, 1);   // the next correction stays
  header(kOther, "112", "F113202", "01", 5, 0);  // so does another taxpayer's return
  attachment("DS_FORM_LAMPIRAN", "D113204", 5, 0, 1);
  attachment("DS_FORM_LAMPIRAN", "D113204", 5, 0, 2);  // another taxpayer's line: no NPWP
  attachment("DS_FORM_LAMPIRAN", "D113204", 5, 1, 3);
  attachment("DS_FORM_LAMPIRAN", "D113201", 5, 0, 1);
  paymentHeader(kNpwp, "112", "D113202", 5, 0);
  paymentHeader(kNpwp, "112", "D113203DN", 5, 0);
  paymentHeader(kOther, "112", "D113202", 5, 0);
  for (const char* form : {"D113202", "D113203", "DImporDbyrSdr", "D113203DN"}) {
    attachment("LAMPIRAN_SSP_PPh22", form, 5, 0, 1);
  }
  attachment("LAMPIRAN_SSP_PPh22", "D113202", 6, 0, 1);
  auto general = connected<CGeneralClass>();

  general->pDelete(kNpwp, "112", 5, 2013, 0);

  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK WHERE NPWP = '" + std::string(kNpwp) +
                  "' AND KD_PEMBETULAN_KE = 0"),
            0);
  EXPECT_EQ(headers("112"), 2);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN WHERE KD_FORM = 'D113204' AND "
                  "KD_PEMBETULAN_KE = 0"),
            0);
  EXPECT_EQ(rows("DS_FORM_LAMPIRAN", "D113204"), 1);
  EXPECT_EQ(rows("DS_FORM_LAMPIRAN", "D113201"), 1);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_SSP_PPh22 WHERE NPWP = '" + std::string(kNpwp) + "'"),
            0);
  EXPECT_EQ(rows("DAT_SSP_PPh22", "D113202"), 1);
  EXPECT_EQ(count("SELECT COUNT(*) FROM LAMPIRAN_SSP_PPh22 WHERE MS_PAJAK = 5"), 1);
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", "D113203DN"), 1);
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", "D113202"), 1);  // June's
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassPeriodTest, DeletingAPeriodWithoutAHeaderOfTheGroupDeletesNothing) {
  header(kOther, "112", "F113202", "01", 5, 0);
  header(kNpwp, "111", "F1721", "01", 5, 0);
  paymentHeader(kNpwp, "112", "D113202", 5, 0);
  attachment("DS_FORM_LAMPIRAN", "D113204", 5, 0, 1);
  attachment("LAMPIRAN_SSP_PPh22", "D113202", 5, 0, 1);
  auto general = connected<CGeneralClass>();

  general->pDelete(kNpwp, "112", 5, 2013, 0);

  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK"), 2);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_SSP_PPh22"), 1);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN"), 1);
  EXPECT_EQ(count("SELECT COUNT(*) FROM LAMPIRAN_SSP_PPh22"), 1);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassPeriodTest, DeletingAnotherCodeRemovesOnlyItsHeaders) {
  header(kNpwp, "119", "F1719", "01", 5, 0);
  header(kNpwp, "112", "F113202", "01", 5, 0);
  attachment("DS_FORM_LAMPIRAN", "D113204", 5, 0, 1);
  attachment("LAMPIRAN_SSP_PPh22", "D113202", 5, 0, 1);
  auto general = connected<CGeneralClass>();

  general->pDelete(kNpwp, "119", 5, 2013, 0);

  EXPECT_EQ(headers("119"), 0);
  EXPECT_EQ(headers("112"), 1);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN"), 1);
  EXPECT_EQ(count("SELECT COUNT(*) FROM LAMPIRAN_SSP_PPh22"), 1);
}

TEST_F(CGeneralClassPeriodTest, DeletingWithAQuoteInTheTaxpayerNumberDeletesNothing) {
  header(kNpwp, "112", "F113202", "01", 5, 0);
  auto general = connected<CGeneralClass>();

  general->pDelete("01'2", "112", 5, 2013, 0);

  EXPECT_EQ(headers("112"), 1);
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text,
            "The value \"01'2\" contains a single quote, which cannot be written into a "
            "statement.");
}

struct SlipFormCase {
  const char* name;
  std::string number;
  std::int16_t article;
  std::string expected;
};
void PrintTo(const SlipFormCase& value, std::ostream* os) { *os << value.name; }

const SlipFormCase kSlipFormCases[] = {
    {"UniqueF113303", "000001/PPH22", 22, "F113303"},
    {"UniqueF113304S", "000004/PPH22", 22, "F113304S"},
    {"F113305NeverFound", "000002/PPH22", 22, ""},
    {"NumberOfTwoSlipForms", "000003/PPH22", 22, ""},
    {"AnotherArticle", "000001/PPH22", 23, ""},
    {"AnotherTaxpayersSlip", "000005/PPH22", 22, "F113304A"},
    {"UnknownNumber", "000009/PPH22", 22, ""},
    {"OtherArticleReadsNothing", "0'1", 21, ""},
};

class CGeneralClassSlipFormTest : public CGeneralClassPeriodTest,
                                  public ::testing::WithParamInterface<SlipFormCase> {};

TEST_P(CGeneralClassSlipFormTest, FormCodeOfASlipNumber) {
  header(kNpwp, "112", "F113303", "02", 5, 0, "000001/PPH22");
  header(kNpwp, "112", "F113305", "04", 5, 0, "000002/PPH22");
  header(kNpwp, "112", "F113303", "02", 5, 0, "000003/PPH22");
  header(kNpwp, "112", "F113304", "03", 5, 0, "000003/PPH22");
  header(kNpwp, "112", "F113304S", "03", 5, 0, "000004/PPH22");
  header(kNpwp, "112", "F113303", "02", 5, 1, "000004/PPH22");  // another correction
  header(kOther, "112", "F113304A", "03", 5, 0, "000005/PPH22");
  auto general = connected<CGeneralClass>();

  EXPECT_EQ(general->pGetKdForm(kNpwp, GetParam().number, 5, 2013, 0, GetParam().article),
            GetParam().expected);
  EXPECT_TRUE(messages().empty());
}

INSTANTIATE_TEST_SUITE_P(Cases, CGeneralClassSlipFormTest, ::testing::ValuesIn(kSlipFormCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST_F(CGeneralClassPeriodTest, SlipFormFailureGivesEmptyText) {
  header(kNpwp, "112", "F113303", "02", 5, 0, "000001/PPH22");
  auto general = connected<CGeneralClass>();

  EXPECT_EQ(general->pGetKdForm(kNpwp, "0'1", 5, 2013, 0, 22), "");
  EXPECT_EQ(messages().size(), 1u);
}

TEST_F(CGeneralClassPeriodTest, PartnerLookup) {
  exec("INSERT INTO DAT_PARTNER VALUES ('011111111111000', 'CV SUMBER', 'JL. MERDEKA 2')");
  exec("INSERT INTO DAT_PARTNER VALUES ('022222222222000', 'PT LAIN', 'JL. LAIN 3')");
  auto general = connected<CGeneralClass>();

  auto known = general->pCheckNPWP("011111111111000");
  ASSERT_NE(known, nullptr);
  ASSERT_EQ(known->RecordCount(), 1);
  EXPECT_EQ(known->Fields("NAMA_PARTNER").Value().text(), "CV SUMBER");
  EXPECT_EQ(known->Fields("ALAMAT_PARTNER").Value().text(), "JL. MERDEKA 2");

  auto unknown = general->pCheckNPWP("033333333333000");
  ASSERT_NE(unknown, nullptr);
  EXPECT_EQ(unknown->RecordCount(), 0);
  EXPECT_TRUE(messages().empty());

  EXPECT_EQ(general->pCheckNPWP("01'1"), nullptr);
  EXPECT_EQ(messages().size(), 1u);
}

TEST_F(CGeneralClassPeriodTest, ServiceReferenceListOfAnArticle) {
  exec("INSERT INTO REF_JASA_PMK244 VALUES ('02', 'Jasa teknik', 23, 2)");
  exec("INSERT INTO REF_JASA_PMK244 VALUES ('01', 'Jasa manajemen', 23, 2)");
  exec("INSERT INTO REF_JASA_PMK244 VALUES ('01', 'Jasa lain', 21, 2)");
  auto general = connected<CGeneralClass>();

  auto list = general->rsListJasa(23);

  ASSERT_NE(list, nullptr);
  std::vector<std::string> names;
  for (; !list->EndOfFile(); list->MoveNext()) {
    names.push_back(list->Fields("NAMA_KOMODITI").Value().text());
  }
  EXPECT_EQ(names, (std::vector<std::string>{"Jasa manajemen", "Jasa teknik"}));
}

TEST_F(CGeneralClassPeriodTest, ServiceReferenceListFailsSilently) {
  CGeneralClass unconnected;

  EXPECT_EQ(unconnected.rsListJasa(23), nullptr);
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
