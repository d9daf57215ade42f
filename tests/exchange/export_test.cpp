#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

#include "korvane/exchange/export.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

// The packed text of a form with the given fields ("NAME=value|...") filled and the rest empty.
std::string packed(const std::string& form, const std::string& values) {
  std::map<std::string, std::string, std::less<>> byName;
  std::istringstream in(values);
  for (std::string item; std::getline(in, item, '|');) {
    byName[item.substr(0, item.find('='))] = item.substr(item.find('=') + 1);
  }
  std::string out;
  for (const auto& field : fieldList(form)) {
    if (auto it = byName.find(field.name); it != byName.end()) out += it->second;
    out += ';';
  }
  out.pop_back();
  return out;
}

class ExportTest : public testing::StoreTest {
 protected:
  void addRow(const std::string& table, const std::string& form, const std::string& kind,
              const std::string& number, const std::string& values, int month = 5) {
    exec("INSERT INTO " + table + " VALUES ('" + std::string(kNpwp) + "', '" + form + "', '" +
         kind + "', " + std::to_string(month) + ", 2013, 0, '" + number + "', '112', '" +
         packed(form, values) + "', '31/05/2013', '', '')");
  }

  // The file's lines without their CR LF; the last one ends in one too.
  std::vector<std::string> exportLines(const std::string& jenisWp = "Pemungut") {
    connected<CEksporBP>()->pEksporPPh(kNpwp, 22, "5", "2013", 0, folder().string() + "/", jenisWp);
    const auto text = testing::fileText(folder() / "Ravelin.CSV");
    EXPECT_TRUE(text.ends_with("\r\n"));
    std::vector<std::string> lines;
    for (std::size_t at = 0, end; (end = text.find("\r\n", at)) != std::string::npos;
         at = end + 2) {
      lines.push_back(text.substr(at, end - at));
    }
    return lines;
  }

  void addOneOfEachForm() {
    // Line breaks inside a value would split the record.
    addRow("DS_FORM_INDUK", "F113303", "02", "000001/PPH22",
           "NPWPLT=098765432109000|NMWPLT=CV SUMBER\r\nMAKMUR|ALMLT=JL.\nMERDEKA 5|"
           "NoBukti=000001/PPH22|Tgl_Potong=15/05/2013|JnsBrg=BESI|BykBrg=10|SatBrg=TON|"
           "Nil_Impor=1000000|B3a3=1000000|B3a4=2.5|B3a5=25000|B3b3=0|B3b4=7.5|B3b5=0|"
           "JmlB5=25000|INVOICE=INV-1");
    for (const std::string form : {"F113304", "F113304S", "F113304A"}) {
      addRow("DS_FORM_INDUK", form, "03", "000002/" + form,
             "NPWPLT=000000000000000|NMWPLT=TOKO ABC|NoBukti=000002/" + form +
                 "|B13=2000000|B14=2|B15=0.25|B16=10000|B52=OBAT|JmlB6=10000");
    }
    for (const std::string form : {"PPh22MigasFinal", "PPh22MigasTdkFinal"}) {
      addRow("DAT_SSP_PPh22", form, form[11] == 'F' ? "05" : "06", "NTTP-1",
             "PENJUALAN=SOLAR|npwp=012345678901000|NmWP=PT MAJU|ALM=JL. A|NPWPLT=011111111111000|"
             "NMWPLT=SPBU 1|ALMLT=JL. B|TGL_PUNGUT=20/05/2013|JMLBRUTO=1234567|PPH=3086|"
             "NTTP=NTTP-1|SEQ=1|INVOICE=FAK-9");
    }
    // Two SSPs sharing an NTTP keep their own values.
    for (const std::string gross : {"1250000", "400000"}) {
      addRow("DAT_SSP_PPh22", "PPh22Impor", "10", "NTTP-2",
             "NPWPLT=022222222222000|NMWPLT=PT IMPOR|ALMLT=PELABUHAN|TGL_PUNGUT=21/05/2013|"
             "PPH=31250|NTTP=NTTP-2|keterangan=PIB 77|JMLBRUTO=" +
                 gross);
    }
    addRow("DAT_SSP_PPh22", "PPh22ImporDbyrSdr", "11", "NTTP-3",
           "TGL_PUNGUT=22/05/2013|JMLBRUTO=500|PPH=12|NTTP=NTTP-3|NoPIB=PIB-123");
    // Another period and another taxpayer stay out.
    addRow("DS_FORM_INDUK", "F113303", "02", "X1", "NoBukti=X1", 6);
    exec(
        "INSERT INTO DS_FORM_INDUK VALUES ('999', 'F113303', '02', 5, 2013, 0, 'X2', '112', "
        "'', '', '', '')");
  }
};

TEST_F(ExportTest, EmptyPeriodWritesHeaderOnlyAndCountsZero) {
  auto lines = exportLines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], exchange::headerLine());
  EXPECT_EQ(std::count(lines[0].begin(), lines[0].end(), ';'), 38);
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

// The period's file after the header, each line in two: up to the date, then from the goods on.
// A collector's slips and the collected parties of his SSPs; a non-collector's SSPs, the
// self-paid ones too, under his own identity.
// clang-format off
const std::pair<const char*, std::vector<std::string>> kFiles[] = {
  {"Pemungut", {
      "F113303;5;2013;0;098765432109000;CV SUMBERMAKMUR;JL.MERDEKA 5;000001/PPH22;15/05/2013;"
      "BESI;10;TON;1000000;1000000;2.5;25000;0;7.5;0;0;0;0;0;0;0;;0;0;0;;0;0;0;;0;0;0;25000;;",
      "F113304;5;2013;0;000000000000000;TOKO ABC;;000002/F113304;;"
      ";0;;0;2000000;2;0.25;;;;;;;;;;OBAT;;;;;;;;;;;;10000;;",
      "F113304S;5;2013;0;000000000000000;TOKO ABC;;000002/F113304S;;"
      ";0;;0;2000000;2;0.25;;;;;;;;;;OBAT;;;;;;;;;;;;10000;;",
      "F113304A;5;2013;0;000000000000000;TOKO ABC;;000002/F113304A;;"
      ";0;;0;2000000;2;0.25;;;;;;;;;;OBAT;;;;;;;;;;;;10000;;",
      "PPh22MigasFinal;5;2013;0;011111111111000;SPBU 1;JL. B;NTTP-1;20/05/2013;"
      "SOLAR;0;;0;1234567;0;0;0;0;0;0;0;0;0;0;0;;0;0;0;;0;0;0;;0;0;0;3086;FAK-9;",
      "PPh22MigasTdkFinal;5;2013;0;011111111111000;SPBU 1;JL. B;NTTP-1;20/05/2013;"
      "SOLAR;0;;0;1234567;0;0;0;0;0;0;0;0;0;0;0;;0;0;0;;0;0;0;;0;0;0;3086;FAK-9;",
      "PPh22Impor;5;2013;0;022222222222000;PT IMPOR;PELABUHAN;NTTP-2;21/05/2013;"
      ";0;;0;1250000;0;0;0;0;0;0;0;0;0;0;0;;0;0;0;;0;0;0;;0;0;0;31250;PIB 77;",
      "PPh22Impor;5;2013;0;022222222222000;PT IMPOR;PELABUHAN;NTTP-2;21/05/2013;"
      ";0;;0;400000;0;0;0;0;0;0;0;0;0;0;0;;0;0;0;;0;0;0;;0;0;0;31250;PIB 77;",
  }},
  {"Bukan Pemungut", {
      "PPh22MigasFinal;5;2013;0;012345678901000;PT MAJU;JL. A;NTTP-1;20/05/2013;"
      "SOLAR;0;;0;1234567;0;0;0;0;0;0;0;0;0;0;0;;0;0;0;;0;0;0;;0;0;0;3086;FAK-9;",
      "PPh22MigasTdkFinal;5;2013;0;012345678901000;PT MAJU;JL. A;NTTP-1;20/05/2013;"
      "SOLAR;0;;0;1234567;0;0;0;0;0;0;0;0;0;0;0;;0;0;0;;0;0;0;;0;0;0;3086;FAK-9;",
      "PPh22Impor;5;2013;0;012345678901000;;;NTTP-2;21/05/2013;"
      ";0;;0;1250000;0;0;0;0;0;0;0;0;0;0;0;;0;0;0;;0;0;0;;0;0;0;31250;PIB 77;",
      "PPh22Impor;5;2013;0;012345678901000;;;NTTP-2;21/05/2013;"
      ";0;;0;400000;0;0;0;0;0;0;0;0;0;0;0;;0;0;0;;0;0;0;;0;0;0;31250;PIB 77;",
      "PPh22ImporDbyrSdr;5;2013;0;;;;NTTP-3;22/05/2013;"
      ";0;;0;500;0;0;0;0;0;0;0;0;0;0;0;;0;0;0;;0;0;0;;0;0;0;12;PIB-123;",
  }},
};
// clang-format on

TEST_F(ExportTest, EveryFormLinesUpUnderTheThirtyNineTitles) {
  addOneOfEachForm();
  for (const auto& [jenisWp, expected] : kFiles) {
    SCOPED_TRACE(jenisWp);
    clearMessages();
    auto lines = exportLines(jenisWp);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], exchange::headerLine());
    // Servers may hand the rows back in another order.
    auto sorted = expected;
    std::sort(lines.begin() + 1, lines.end());
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(std::vector<std::string>(lines.begin() + 1, lines.end()), sorted);
    ASSERT_EQ(messages().size(), 1u);
    EXPECT_TRUE(messages()[0].text.ends_with(" : " + std::to_string(expected.size()) +
                                             " Baris (Record) Data"))
        << messages()[0].text;
  }
}

TEST_F(ExportTest, CountsOfAThousandOrMoreUseTheThousandsSeparator) {
  EXPECT_EQ(exchange::groupThousands(0), "0");
  EXPECT_EQ(exchange::groupThousands(999), "999");
  EXPECT_EQ(exchange::groupThousands(1234), "1.234");
  EXPECT_EQ(exchange::groupThousands(1234567), "1.234.567");
  for (int i = 0; i < 1234; ++i) {
    addRow("DAT_SSP_PPh22", "PPh22Impor", "10", "N" + std::to_string(i),
           "NTTP=N" + std::to_string(i));
  }
  EXPECT_EQ(exportLines().size(), 1235u);
  EXPECT_NE(messages().back().text.find("Sebanyak : 1.234 Baris (Record) Data"), std::string::npos);
}

TEST_F(ExportTest, OtherArticlesAndBadPeriodsFailWithOneMessageAndNoFile) {
  auto exporter = connected<CEksporBP>();
  exporter->pEksporPPh(kNpwp, 21, "5", "2013", 0, folder().string() + "/", "Pemungut");
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_NE(messages()[0].text.find("article 22"), std::string::npos);
  exporter->pEksporPPh(kNpwp, 22, "5 OR 1=1", "2013", 0, folder().string() + "/", "Pemungut");
  ASSERT_EQ(messages().size(), 2u);
  EXPECT_EQ(messages()[1].text, "Type mismatch");
  exporter->pEksporPPh("01'23", 22, "5", "2013", 0, folder().string() + "/", "Pemungut");
  ASSERT_EQ(messages().size(), 3u);
  EXPECT_NE(messages()[2].text.find("single quote"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(folder() / "Ravelin.CSV"));
}

}  // namespace
}  // namespace korvane
