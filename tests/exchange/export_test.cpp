#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "korvane/exchange/export.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

using Values = std::map<std::string, std::string>;

// The packed text of a form with the given fields filled and the rest empty.
std::string packed(const std::string& form, const Values& values) {
  std::string out;
  bool first = true;
  for (const auto& field : fieldList(form)) {
    if (!first) out += ';';
    first = false;
    auto it = values.find(std::string(field.name));
    if (it != values.end()) out += it->second;
  }
  return out;
}

std::vector<std::string> split(const std::string& text, const std::string& separator) {
  std::vector<std::string> out;
  std::size_t start = 0;
  while (true) {
    auto end = text.find(separator, start);
    out.push_back(text.substr(start, end - start));
    if (end == std::string::npos) break;
    start = end + separator.size();
  }
  return out;
}

class ExportTest : public testing::StoreTest {
 protected:
  void addHeader(const std::string& table, const std::string& form, const std::string& kind,
                 const std::string& number, const std::string& datForm, int month = 5) {
    exec("INSERT INTO " + table + " VALUES ('" + std::string(kNpwp) + "', '" + form + "', '" +
         kind + "', " + std::to_string(month) + ", 2013, 0, '" + number + "', '112', '" +
         datForm + "', '31/05/2013', '', '')");
  }

  // Runs the export and returns the file's lines (without their CR LF).
  std::vector<std::string> exportLines(const std::string& jenisWp = "Pemungut",
                                       std::int16_t article = 22) {
    CEksporBP exporter;
    exporter.pAssignConStr(store(), "", "");
    exporter.pEksporPPh(kNpwp, article, "5", "2013", 0, folder().string() + "/", jenisWp);
    auto text = testing::fileText(folder() / "Ravelin.CSV");
    EXPECT_TRUE(text.size() >= 2 && text.substr(text.size() - 2) == "\r\n");
    auto lines = split(text, "\r\n");
    lines.pop_back();  // after the last CR LF
    return lines;
  }

  // A data line's values: split on ";" and drop the empty text after the closing separator.
  static std::vector<std::string> columns(const std::string& line) {
    auto cells = split(line, ";");
    EXPECT_EQ(cells.back(), "") << line;
    cells.pop_back();
    return cells;
  }

  void addOneOfEachForm() {
    addHeader("DS_FORM_INDUK", "F113303", "02", "000001/PPH22",
              packed("F113303", {{"NPWPLT", "098765432109000"}, {"NMWPLT", "CV SUMBER"},
                                 {"ALMLT", "JL. MERDEKA 5"}, {"NoBukti", "000001/PPH22"},
                                 {"Tgl_Potong", "15/05/2013"}, {"JnsBrg", "BESI"},
                                 {"BykBrg", "10"}, {"SatBrg", "TON"}, {"Nil_Impor", "1000000"},
                                 {"B3a3", "1000000"}, {"B3a4", "2.5"}, {"B3a5", "25000"},
                                 {"B3b3", "0"}, {"B3b4", "7.5"}, {"B3b5", "0"},
                                 {"JmlB5", "25000"}, {"INVOICE", "INV-1"}}));
    for (const char* form : {"F113304", "F113304S", "F113304A"}) {
      addHeader("DS_FORM_INDUK", form, "03", std::string("000002/") + form,
                packed(form, {{"NPWPLT", "000000000000000"}, {"NMWPLT", "TOKO ABC"},
                              {"NoBukti", std::string("000002/") + form}, {"B13", "2000000"},
                              {"B14", "2"}, {"B15", "0.25"}, {"B16", "10000"},
                              {"B52", "OBAT"}, {"JmlB6", "10000"}}));
    }
    for (const char* form : {"PPh22MigasFinal", "PPh22MigasTdkFinal"}) {
      addHeader("DAT_SSP_PPh22", form, form[11] == 'F' ? "05" : "06", "NTTP-1",
                packed(form, {{"MS_PAJAK", "5"}, {"TH_PAJAK", "2013"},
                              {"KD_PEMBETULAN_KE", "0"}, {"PENJUALAN", "SOLAR"},
                              {"npwp", kNpwp}, {"NmWP", "PT MAJU"}, {"ALM", "JL. A"},
                              {"NPWPLT", "011111111111000"}, {"NMWPLT", "SPBU 1"},
                              {"ALMLT", "JL. B"}, {"TGL_PUNGUT", "20/05/2013"},
                              {"JMLBRUTO", "1234567"}, {"PPH", "3086"}, {"NTTP", "NTTP-1"},
                              {"SEQ", "1"}, {"INVOICE", "FAK-9"}}));
    }
    addHeader("DAT_SSP_PPh22", "PPh22Impor", "10", "NTTP-2",
              packed("PPh22Impor", {{"NPWPLT", "022222222222000"}, {"NMWPLT", "PT IMPOR"},
                                    {"ALMLT", "PELABUHAN"}, {"TGL_PUNGUT", "21/05/2013"},
                                    {"JMLBRUTO", "1250000"}, {"PPH", "31250"},
                                    {"NTTP", "NTTP-2"}, {"keterangan", "PIB 77"}}));
    addHeader("DAT_SSP_PPh22", "PPh22ImporDbyrSdr", "11", "NTTP-3",
              packed("PPh22ImporDbyrSdr", {{"TGL_PUNGUT", "22/05/2013"}, {"JMLBRUTO", "500"},
                                           {"PPH", "12"}, {"NTTP", "NTTP-3"},
                                           {"NoPIB", "PIB-123"}}));
  }
};

TEST_F(ExportTest, EmptyPeriodWritesHeaderOnlyAndCountsZero) {
  auto lines = exportLines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], exchange::headerLine());
  EXPECT_EQ(split(lines[0], ";").size(), 39u);
  ASSERT_EQ(messages().size(), 1u);
  const auto& box = messages()[0];
  EXPECT_EQ(box.title, "INFORMASI");
  EXPECT_EQ(box.icon, kIconInformation);
  EXPECT_EQ(box.buttons, kOkOnly);
  EXPECT_EQ(box.text,
            "Data Bukti Potong PPh Masa Pasal 22 Untuk :\r\n\r\n* Masa Pajak   : 5\r\n"
            "* Tahun Pajak : 2013\r\n* Pembetulan  : 0\r\n\r\n"
            "Berhasil Diekspor Sebanyak : 0 Baris (Record) Data");
}

TEST_F(ExportTest, EveryFormLinesUpUnderTheThirtyNineTitles) {
  addOneOfEachForm();
  auto lines = exportLines();
  // Collector: four slips, the two oil-and-gas SSPs and the import SSP; no self-paid SSP.
  ASSERT_EQ(lines.size(), 8u);
  std::set<std::string> forms;
  for (std::size_t i = 1; i < lines.size(); ++i) {
    auto cells = columns(lines[i]);
    ASSERT_EQ(cells.size(), 39u) << lines[i];
    forms.insert(cells[0]);
    EXPECT_EQ(cells[1], "5");
    EXPECT_EQ(cells[2], "2013");
    EXPECT_EQ(cells[3], "0");
  }
  EXPECT_EQ(forms, (std::set<std::string>{"F113303", "F113304", "F113304S", "F113304A",
                                          "PPh22MigasFinal", "PPh22MigasTdkFinal",
                                          "PPh22Impor"}));
  EXPECT_NE(messages().back().text.find("Sebanyak : 7 Baris"), std::string::npos);
}

TEST_F(ExportTest, RowsCarryTheirFieldsInTheirColumns) {
  addOneOfEachForm();
  std::map<std::string, std::vector<std::string>> byForm;
  for (const auto& line : exportLines()) {
    if (line == exchange::headerLine()) continue;
    auto cells = columns(line);
    byForm[cells[0]] = cells;
  }
  const auto& slip = byForm["F113303"];
  EXPECT_EQ(slip[4], "098765432109000");
  EXPECT_EQ(slip[5], "CV SUMBER");
  EXPECT_EQ(slip[7], "000001/PPH22");
  EXPECT_EQ(slip[8], "15/05/2013");
  EXPECT_EQ(slip[9], "BESI");
  EXPECT_EQ(slip[13], "1000000");
  EXPECT_EQ(slip[14], "2.5");
  EXPECT_EQ(slip[15], "25000");
  EXPECT_EQ(slip[19], "0");
  EXPECT_EQ(slip[25], "");
  EXPECT_EQ(slip[37], "25000");
  EXPECT_EQ(slip[38], "");

  const auto& sector = byForm["F113304A"];
  EXPECT_EQ(sector[13], "2000000");
  EXPECT_EQ(sector[14], "2");
  EXPECT_EQ(sector[15], "0.25");
  EXPECT_EQ(sector[25], "OBAT");
  EXPECT_EQ(sector[37], "10000");

  const auto& oil = byForm["PPh22MigasFinal"];
  EXPECT_EQ(oil[4], "011111111111000");  // a collector exports the collected party
  EXPECT_EQ(oil[7], "NTTP-1");
  EXPECT_EQ(oil[9], "SOLAR");
  EXPECT_EQ(oil[13], "1234567");
  EXPECT_EQ(oil[37], "3086");
  EXPECT_EQ(oil[38], "FAK-9");

  const auto& import = byForm["PPh22Impor"];
  EXPECT_EQ(import[9], "");
  EXPECT_EQ(import[13], "1250000");
  EXPECT_EQ(import[38], "PIB 77");
}

TEST_F(ExportTest, NonCollectorExportsPaymentSlipsOnlyWithItsOwnIdentity) {
  addOneOfEachForm();
  auto lines = exportLines("Bukan Pemungut");
  ASSERT_EQ(lines.size(), 5u);
  for (std::size_t i = 1; i < lines.size(); ++i) {
    auto cells = columns(lines[i]);
    ASSERT_EQ(cells.size(), 39u);
    EXPECT_EQ(cells[0].rfind("PPh22", 0), 0u) << lines[i];
    if (cells[0] == "PPh22MigasFinal") {
      EXPECT_EQ(cells[4], kNpwp);
      EXPECT_EQ(cells[5], "PT MAJU");
    }
    if (cells[0] == "PPh22ImporDbyrSdr") {
      EXPECT_EQ(cells[4], "");
      EXPECT_EQ(cells[7], "NTTP-3");
      EXPECT_EQ(cells[38], "PIB-123");
    }
  }
}

TEST_F(ExportTest, LineBreaksInsideValuesAreRemovedAndSemicolonsKept) {
  addHeader("DS_FORM_INDUK", "F113303", "02", "000001/PPH22",
            packed("F113303", {{"NMWPLT", "CV SUMBER\r\nMAKMUR"}, {"ALMLT", "JL.\nBARU"},
                               {"NoBukti", "000001/PPH22"}}));
  auto lines = exportLines();
  ASSERT_EQ(lines.size(), 2u);
  auto cells = columns(lines[1]);
  EXPECT_EQ(cells[5], "CV SUMBERMAKMUR");
  EXPECT_EQ(cells[6], "JL.BARU");
}

TEST_F(ExportTest, TwoPaymentSlipsSharingAnNttpKeepTheirOwnValues) {
  for (const char* gross : {"100", "200"}) {
    addHeader("DAT_SSP_PPh22", "PPh22Impor", "10", "SAME",
              packed("PPh22Impor", {{"NTTP", "SAME"}, {"JMLBRUTO", gross}}));
  }
  auto lines = exportLines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(columns(lines[1])[13], "100");
  EXPECT_EQ(columns(lines[2])[13], "200");
}

TEST_F(ExportTest, OtherPeriodsAndTaxpayersStayOut) {
  addHeader("DS_FORM_INDUK", "F113303", "02", "X1", packed("F113303", {{"NoBukti", "X1"}}), 6);
  exec("INSERT INTO DS_FORM_INDUK VALUES ('999', 'F113303', '02', 5, 2013, 0, 'X2', '112', "
       "'', '', '', '')");
  EXPECT_EQ(exportLines().size(), 1u);
}

TEST_F(ExportTest, CountsOfAThousandOrMoreUseTheThousandsSeparator) {
  EXPECT_EQ(exchange::groupThousands(0), "0");
  EXPECT_EQ(exchange::groupThousands(999), "999");
  EXPECT_EQ(exchange::groupThousands(1234), "1.234");
  EXPECT_EQ(exchange::groupThousands(1234567), "1.234.567");
  for (int i = 0; i < 1234; ++i) {
    addHeader("DAT_SSP_PPh22", "PPh22Impor", "10", "N" + std::to_string(i),
              packed("PPh22Impor", {{"NTTP", "N" + std::to_string(i)}}));
  }
  EXPECT_EQ(exportLines().size(), 1235u);
  EXPECT_NE(messages().back().text.find("Sebanyak : 1.234 Baris (Record) Data"),
            std::string::npos);
}

TEST_F(ExportTest, OtherArticlesAndBadPeriodsFailWithOneMessageAndNoFile) {
  CEksporBP exporter;
  exporter.pAssignConStr(store(), "", "");
  exporter.pEksporPPh(kNpwp, 21, "5", "2013", 0, folder().string() + "/", "Pemungut");
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_NE(messages()[0].text.find("article 22"), std::string::npos);
  exporter.pEksporPPh(kNpwp, 22, "5 OR 1=1", "2013", 0, folder().string() + "/", "Pemungut");
  ASSERT_EQ(messages().size(), 2u);
  EXPECT_EQ(messages()[1].text, "Type mismatch");
  exporter.pEksporPPh("01'23", 22, "5", "2013", 0, folder().string() + "/", "Pemungut");
  ASSERT_EQ(messages().size(), 3u);
  EXPECT_NE(messages()[2].text.find("single quote"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(folder() / "Ravelin.CSV"));
}

}  // namespace
}  // namespace korvane
