#include <gtest/gtest.h>

#include <algorithm>

#include "support/store_fixture.hpp"

namespace korvane {
namespace {

using Texts = std::vector<std::string>;
constexpr const char* kOther = "098765432109000";

class CGeneralClassPeriodTest : public testing::StoreTest {
 protected:
  void header(const std::string& npwp, const std::string& kind, const std::string& form,
              const std::string& document, int month, int correction,
              const std::string& number = "-", const std::string& table = "DS_FORM_INDUK") {
    exec("INSERT INTO " + table + " VALUES ('" + npwp + "', '" + form + "', '" + document + "', " +
         std::to_string(month) + ", 2013, " + std::to_string(correction) + ", '" + number + "', '" +
         kind + "', '" + npwp + ";PT MAJU JAYA', '31/05/2013', '31/05/2013', '-')");
  }
  void payment(const std::string& npwp, const std::string& kind, const std::string& form) {
    header(npwp, kind, form, "07", 5, 0, "-", "DAT_SSP_PPh22");
  }
  void line(const std::string& table, const std::string& form, int month = 5, int correction = 0,
            int seq = 1) {
    const auto n = std::to_string(seq);
    exec("INSERT INTO " + table + " VALUES ('" + form + "', " + std::to_string(month) + ", 2013, " +
         std::to_string(correction) + ", 0, " + n + ", '00000" + n + "/PPH22', '5;2013;" + n +
         ";')");
  }
  // Each row of rs as the texts of the columns, joined by blanks.
  static Texts rows(const RecordsetPtr& rs, std::initializer_list<const char*> columns) {
    Texts out;
    for (; !rs->EndOfFile(); rs->MoveNext()) {
      std::string row;
      for (const char* c : columns) row += (row.empty() ? "" : " ") + rs->Fields(c).Value().text();
      out.push_back(row);
    }
    return out;
  }
  // The rows of the period tables, sorted: "FORM month correction" and whose header it is.
  Texts remaining() {
    Texts out;
    for (std::string table :
         {"DS_FORM_INDUK", "DAT_SSP_PPh22", "DS_FORM_LAMPIRAN", "LAMPIRAN_SSP_PPh22"}) {
      const std::string whose =
          table.find("LAMPIRAN") != std::string::npos
              ? "'-'"
              : "CASE WHEN NPWP = '" + std::string(kNpwp) + "' THEN 'our' ELSE 'other' END";
      auto more = rows(
          query("SELECT KD_FORM, MS_PAJAK, KD_PEMBETULAN_KE, " + whose + " AS WHOSE FROM " + table),
          {"KD_FORM", "MS_PAJAK", "KD_PEMBETULAN_KE", "WHOSE"});
      out.insert(out.end(), more.begin(), more.end());
    }
    std::sort(out.begin(), out.end());
    return out;
  }
  Texts listed(const std::string& kind) {
    return rows(connected<CGeneralClass>()->aGetList(kNpwp, kind, 5, 2013, 0),
                {"MS_PAJAK", "KD_FORM", "JENIS_DOKUMEN", "NOBUKTI", "URAIAN"});
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
  const std::string slip = " Bukti Pemungutan PPh Pasal 22 (Impor/Bendaharawan)";
  EXPECT_EQ(listed("112"),
            (Texts{"5 F113202 01 - SPT Masa PPh Pasal 22", "5 F113303 02 000001/PPH22" + slip,
                   "5 F113303 02 000002/PPH22" + slip}));

  // Articles 21 and 23 take the code 117 they share along.
  exec("INSERT INTO DS_REF_JENIS_PAJAK VALUES ('111', '01', 'SPT Masa PPh Pasal 21')");
  exec("INSERT INTO DS_REF_JENIS_PAJAK VALUES ('114', '01', 'SPT Masa PPh Pasal 23')");
  exec("INSERT INTO DS_REF_JENIS_PAJAK VALUES ('117', '02', 'SSP PPh Pasal 21/23')");
  header(kNpwp, "111", "F1721", "01", 5, 0);
  header(kNpwp, "114", "F1723", "01", 5, 0);
  header(kNpwp, "117", "F1717", "02", 5, 0);
  const std::string shared = "5 F1717 02 - SSP PPh Pasal 21/23";
  EXPECT_EQ(listed("111"), (Texts{shared, "5 F1721 01 - SPT Masa PPh Pasal 21"}));
  EXPECT_EQ(listed("114"), (Texts{shared, "5 F1723 01 - SPT Masa PPh Pasal 23"}));
  EXPECT_EQ(listed("117"), Texts{shared});
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassPeriodTest, HighestCorrectionOfTheForm) {
  header(kNpwp, "112", "F113202", "01", 6, 7);   // another month
  header(kNpwp, "112", "D113204", "09", 5, 9);   // another form
  header(kNpwp, "111", "F113202", "01", 5, 8);   // another tax type
  header(kOther, "112", "F113202", "01", 5, 6);  // another taxpayer
  auto general = connected<CGeneralClass>();
  // The form code sits between month and year.
  auto highest = [&] { return general->aMaxKdPembetulan(kNpwp, "112", 5, "F113202", 2013); };
  EXPECT_EQ(highest(), -1);
  header(kNpwp, "112", "F113202", "01", 5, 0);
  EXPECT_EQ(highest(), 0);
  header(kNpwp, "112", "F113202", "01", 5, 2);
  header(kNpwp, "112", "F113202", "01", 5, 1);
  EXPECT_EQ(highest(), 2);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassPeriodTest, QuoteInAnArgumentShowsTheDescriptionAndGivesTheDefault) {
  header(kNpwp, "112", "F113202", "01", 5, 0);
  header(kNpwp, "112", "F113202", "01", 5, 1);
  header(kNpwp, "112", "F113303", "02", 5, 0, "000001/PPH22");
  auto general = connected<CGeneralClass>();
  EXPECT_EQ(general->aGetList("01'2", "112", 5, 2013, 0), nullptr);
  EXPECT_EQ(general->aMaxKdPembetulan("01'2", "112", 5, "F113202", 2013), 0);
  general->pDelete("01'2", "112", 5, 2013, 0);
  EXPECT_EQ(remaining().size(), 3u);
  EXPECT_EQ(general->pGetKdForm(kNpwp, "01'2", 5, 2013, 0, 22), "");
  EXPECT_EQ(general->pCheckNPWP("01'2"), nullptr);
  ASSERT_EQ(messages().size(), 5u);
  for (const auto& message : messages()) {
    EXPECT_EQ(message.text,
              "The value \"01'2\" contains a single quote, which cannot be written into a "
              "statement.");
  }
}

// Articles 21 and 23 take the code 117 they share along and leave the SSP tables alone.
TEST_F(CGeneralClassPeriodTest, DeletingArticle21TakesTheShared117AlongAndArticle23FindsNoneOfIt) {
  header(kNpwp, "111", "F1721", "01", 5, 0);
  header(kNpwp, "117", "F1717", "02", 5, 0);
  header(kNpwp, "114", "F1723", "01", 5, 0);
  header(kNpwp, "112", "F113202", "01", 5, 0);
  for (const char* form : {"D113201", "D113205", "D113204"}) line("DS_FORM_LAMPIRAN", form);
  payment(kNpwp, "111", "SSP21");
  line("LAMPIRAN_SSP_PPh22", "D113202");
  auto general = connected<CGeneralClass>();
  general->pDelete(kNpwp, "111", 5, 2013, 0);
  EXPECT_EQ(remaining(), (Texts{"D113202 5 0 -", "D113204 5 0 -", "D113205 5 0 -",
                                "F113202 5 0 our", "F1723 5 0 our", "SSP21 5 0 our"}));
  general->pDelete(kNpwp, "114", 5, 2013, 0);
  EXPECT_EQ(remaining(),
            (Texts{"D113202 5 0 -", "D113204 5 0 -", "F113202 5 0 our", "SSP21 5 0 our"}));
  EXPECT_TRUE(messages().empty());
}

// Attachment lines carry no NPWP: the period's go, another taxpayer's among them.
TEST_F(CGeneralClassPeriodTest, DeletingArticle22LeavesDomesticImportRowsAndOtherPeriods) {
  header(kNpwp, "112", "F113202", "01", 5, 0);
  header(kNpwp, "112", "F113303", "02", 5, 0, "000001/PPH22");
  header(kNpwp, "112", "F113202", "01", 5, 1);
  header(kOther, "112", "F113202", "01", 5, 0);
  line("DS_FORM_LAMPIRAN", "D113204", 5, 0, 1);
  line("DS_FORM_LAMPIRAN", "D113204", 5, 0, 2);
  line("DS_FORM_LAMPIRAN", "D113204", 5, 1, 3);
  line("DS_FORM_LAMPIRAN", "D113201");
  payment(kNpwp, "112", "D113202");
  payment(kNpwp, "112", "D113203DN");
  payment(kOther, "112", "D113202");
  for (const char* form : {"D113202", "D113203", "DImporDbyrSdr", "D113203DN"}) {
    line("LAMPIRAN_SSP_PPh22", form);
  }
  line("LAMPIRAN_SSP_PPh22", "D113202", 6);
  auto general = connected<CGeneralClass>();
  general->pDelete(kNpwp, "112", 5, 2013, 0);
  EXPECT_EQ(remaining(),
            (Texts{"D113201 5 0 -", "D113202 5 0 other", "D113202 6 0 -", "D113203DN 5 0 -",
                   "D113204 5 1 -", "F113202 5 0 other", "F113202 5 1 our"}));
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassPeriodTest, DeletingRemovesNothingWithoutAHeaderOfTheGroupAndOnlyItsOwnCode) {
  header(kOther, "112", "F113202", "01", 5, 0);
  header(kNpwp, "111", "F1721", "01", 5, 0);
  payment(kNpwp, "112", "D113202");
  line("DS_FORM_LAMPIRAN", "D113204");
  line("LAMPIRAN_SSP_PPh22", "D113202");
  auto general = connected<CGeneralClass>();
  general->pDelete(kNpwp, "112", 5, 2013, 0);
  EXPECT_EQ(remaining(), (Texts{"D113202 5 0 -", "D113202 5 0 our", "D113204 5 0 -",
                                "F113202 5 0 other", "F1721 5 0 our"}));
  header(kNpwp, "119", "F1719", "01", 5, 0);
  header(kNpwp, "112", "F113202", "01", 5, 0);
  general->pDelete(kNpwp, "119", 5, 2013, 0);
  EXPECT_EQ(remaining(), (Texts{"D113202 5 0 -", "D113202 5 0 our", "D113204 5 0 -",
                                "F113202 5 0 other", "F113202 5 0 our", "F1721 5 0 our"}));
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassPeriodTest, FormCodeOfASlipNumber) {
  header(kNpwp, "112", "F113303", "02", 5, 0, "000001/PPH22");
  header(kNpwp, "112", "F113305", "04", 5, 0, "000002/PPH22");
  header(kNpwp, "112", "F113303", "02", 5, 0, "000003/PPH22");
  header(kNpwp, "112", "F113304", "03", 5, 0, "000003/PPH22");
  header(kNpwp, "112", "F113304S", "03", 5, 0, "000004/PPH22");
  header(kNpwp, "112", "F113303", "02", 5, 1, "000004/PPH22");  // another correction
  header(kOther, "112", "F113304A", "03", 5, 0, "000005/PPH22");
  // F113305 is never found, nor a number of two slip forms; another article reads nothing.
  const std::tuple<const char*, std::int16_t, const char*> cases[] = {
      {"000001/PPH22", 22, "F113303"}, {"000004/PPH22", 22, "F113304S"},
      {"000002/PPH22", 22, ""},        {"000003/PPH22", 22, ""},
      {"000001/PPH22", 23, ""},        {"000005/PPH22", 22, "F113304A"},
      {"000009/PPH22", 22, ""},        {"0'1", 21, ""}};
  auto general = connected<CGeneralClass>();
  for (const auto& [number, article, expected] : cases) {
    EXPECT_EQ(general->pGetKdForm(kNpwp, number, 5, 2013, 0, article), expected)
        << number << " " << article;
  }
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassPeriodTest, PartnerAndServiceLookups) {
  exec("INSERT INTO DAT_PARTNER VALUES ('011111111111000', 'CV SUMBER', 'JL. MERDEKA 2')");
  exec("INSERT INTO DAT_PARTNER VALUES ('022222222222000', 'PT LAIN', 'JL. LAIN 3')");
  exec("INSERT INTO REF_JASA_PMK244 VALUES ('02', 'Jasa teknik', 23, 2)");
  exec("INSERT INTO REF_JASA_PMK244 VALUES ('01', 'Jasa manajemen', 23, 2)");
  exec("INSERT INTO REF_JASA_PMK244 VALUES ('01', 'Jasa lain', 21, 2)");
  auto general = connected<CGeneralClass>();
  EXPECT_EQ(rows(general->pCheckNPWP("011111111111000"), {"NAMA_PARTNER", "ALAMAT_PARTNER"}),
            Texts{"CV SUMBER JL. MERDEKA 2"});
  EXPECT_EQ(general->pCheckNPWP("033333333333000")->RecordCount(), 0);

  EXPECT_EQ(rows(general->rsListJasa(23), {"NAMA_KOMODITI"}),
            (Texts{"Jasa manajemen", "Jasa teknik"}));
  EXPECT_EQ(CGeneralClass().rsListJasa(23), nullptr);  // fails silently
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
