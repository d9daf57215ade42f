#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <sstream>

#include "support/store_fixture.hpp"

namespace korvane {
namespace {

using Texts = std::vector<std::string>;
constexpr const char* kOther = "098765432109000";

class CGeneralClassPeriodTest : public testing::StoreTest {
 protected:
  // Rows of May 2013, one a text: "our|other KIND FORM DOCUMENT [MONTH CORRECTION NUMBER]" for a
  // header (a document 07, a payment, in the SSP table), "lines|paid FORM [MONTH CORRECTION SEQ]"
  // for an attachment or payment line. Left out: month 5, correction 0, number "-", sequence 1.
  void given(std::initializer_list<const char*> rows) {
    for (const char* row : rows) {
      std::istringstream in(row);
      Texts t{std::istream_iterator<std::string>(in), {}};
      const bool line = t[0] == "lines" || t[0] == "paid";
      const char* const tail[] = {"5", "0", line ? "1" : "-"};
      for (std::size_t i = t.size() - (line ? 2 : 4); i < 3; ++i) t.push_back(tail[i]);
      if (line) {
        exec("INSERT INTO " +
             std::string(t[0] == "lines" ? "DS_FORM_LAMPIRAN" : "LAMPIRAN_SSP_PPh22") +
             " VALUES ('" + t[1] + "', " + t[2] + ", 2013, " + t[3] + ", 0, " + t[4] + ", '00000" +
             t[4] + "/PPH22', '5;2013;" + t[4] + ";')");
        continue;
      }
      const std::string npwp = t[0] == "our" ? kNpwp : kOther;
      exec("INSERT INTO " + std::string(t[3] == "07" ? "DAT_SSP_PPh22" : "DS_FORM_INDUK") +
           " VALUES ('" + npwp + "', '" + t[2] + "', '" + t[3] + "', " + t[4] + ", 2013, " + t[5] +
           ", '" + t[6] + "', '" + t[1] + "', '" + npwp +
           ";PT MAJU JAYA', '31/05/2013', '31/05/2013', '-')");
    }
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

// A header twice is listed once; one without a description, of another correction, month or
// taxpayer is not listed.
TEST_F(CGeneralClassPeriodTest, ListJoinsTheDocumentKindAndOrdersByFormKindAndNumber) {
  given({"our 112 F113303 02 5 0 000002/PPH22", "our 112 F113202 01",
         "our 112 F113303 02 5 0 000001/PPH22", "our 112 F113303 02 5 0 000001/PPH22",
         "our 112 F999999 99", "our 112 F113305 04 5 1 000003/PPH22",
         "our 112 F113305 04 6 0 000003/PPH22", "other 112 F113305 04 5 0 000003/PPH22"});
  const std::string slip = " Bukti Pemungutan PPh Pasal 22 (Impor/Bendaharawan)";
  EXPECT_EQ(listed("112"),
            (Texts{"5 F113202 01 - SPT Masa PPh Pasal 22", "5 F113303 02 000001/PPH22" + slip,
                   "5 F113303 02 000002/PPH22" + slip}));

  // Articles 21 and 23 take the code 117 they share along.
  exec("INSERT INTO DS_REF_JENIS_PAJAK VALUES ('111', '01', 'SPT Masa PPh Pasal 21')");
  exec("INSERT INTO DS_REF_JENIS_PAJAK VALUES ('114', '01', 'SPT Masa PPh Pasal 23')");
  exec("INSERT INTO DS_REF_JENIS_PAJAK VALUES ('117', '02', 'SSP PPh Pasal 21/23')");
  given({"our 111 F1721 01", "our 114 F1723 01", "our 117 F1717 02"});
  const std::string shared = "5 F1717 02 - SSP PPh Pasal 21/23";
  EXPECT_EQ(listed("111"), (Texts{shared, "5 F1721 01 - SPT Masa PPh Pasal 21"}));
  EXPECT_EQ(listed("114"), (Texts{shared, "5 F1723 01 - SPT Masa PPh Pasal 23"}));
  EXPECT_EQ(listed("117"), Texts{shared});
  EXPECT_TRUE(messages().empty());
}

// Not counted: another month, form, tax type or taxpayer.
TEST_F(CGeneralClassPeriodTest, HighestCorrectionOfTheForm) {
  given({"our 112 F113202 01 6 7", "our 112 D113204 09 5 9", "our 111 F113202 01 5 8",
         "other 112 F113202 01 5 6"});
  auto general = connected<CGeneralClass>();
  // The form code sits between month and year.
  auto highest = [&] { return general->aMaxKdPembetulan(kNpwp, "112", 5, "F113202", 2013); };
  EXPECT_EQ(highest(), -1);
  given({"our 112 F113202 01"});
  EXPECT_EQ(highest(), 0);
  given({"our 112 F113202 01 5 2", "our 112 F113202 01 5 1"});
  EXPECT_EQ(highest(), 2);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassPeriodTest, QuoteInAnArgumentShowsTheDescriptionAndGivesTheDefault) {
  given({"our 112 F113202 01", "our 112 F113202 01 5 1", "our 112 F113303 02 5 0 000001/PPH22"});
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
  given({"our 111 F1721 01", "our 117 F1717 02", "our 114 F1723 01", "our 112 F113202 01",
         "lines D113201", "lines D113205", "lines D113204", "our 111 SSP21 07", "paid D113202"});
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
  given({"our 112 F113202 01", "our 112 F113303 02 5 0 000001/PPH22", "our 112 F113202 01 5 1",
         "other 112 F113202 01", "lines D113204 5 0 1", "lines D113204 5 0 2",
         "lines D113204 5 1 3", "lines D113201", "our 112 D113202 07", "our 112 D113203DN 07",
         "other 112 D113202 07", "paid D113202", "paid D113203", "paid DImporDbyrSdr",
         "paid D113203DN", "paid D113202 6"});
  connected<CGeneralClass>()->pDelete(kNpwp, "112", 5, 2013, 0);
  EXPECT_EQ(remaining(),
            (Texts{"D113201 5 0 -", "D113202 5 0 other", "D113202 6 0 -", "D113203DN 5 0 -",
                   "D113204 5 1 -", "F113202 5 0 other", "F113202 5 1 our"}));
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassPeriodTest, DeletingRemovesNothingWithoutAHeaderOfTheGroupAndOnlyItsOwnCode) {
  given({"other 112 F113202 01", "our 111 F1721 01", "our 112 D113202 07", "lines D113204",
         "paid D113202"});
  auto general = connected<CGeneralClass>();
  general->pDelete(kNpwp, "112", 5, 2013, 0);
  EXPECT_EQ(remaining(), (Texts{"D113202 5 0 -", "D113202 5 0 our", "D113204 5 0 -",
                                "F113202 5 0 other", "F1721 5 0 our"}));
  given({"our 119 F1719 01", "our 112 F113202 01"});
  general->pDelete(kNpwp, "119", 5, 2013, 0);
  EXPECT_EQ(remaining(), (Texts{"D113202 5 0 -", "D113202 5 0 our", "D113204 5 0 -",
                                "F113202 5 0 other", "F113202 5 0 our", "F1721 5 0 our"}));
  EXPECT_TRUE(messages().empty());
}

// F113305 is never found, nor a number of two slip forms; another article reads nothing.
TEST_F(CGeneralClassPeriodTest, FormCodeOfASlipNumber) {
  given({"our 112 F113303 02 5 0 000001/PPH22", "our 112 F113305 04 5 0 000002/PPH22",
         "our 112 F113303 02 5 0 000003/PPH22", "our 112 F113304 03 5 0 000003/PPH22",
         "our 112 F113304S 03 5 0 000004/PPH22", "our 112 F113303 02 5 1 000004/PPH22",
         "other 112 F113304A 03 5 0 000005/PPH22"});
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
