#include <gtest/gtest.h>

#include "korvane/exchange/export.hpp"
#include "korvane/exchange/import_file.hpp"

namespace korvane::exchange {
namespace {

// A data line of 39 values: the given leading ones, then "0" in numeric columns, "" elsewhere.
std::string line(std::vector<std::string> leading) {
  std::string out;
  for (int c = 0; c < kColumns; ++c) {
    if (c < static_cast<int>(leading.size())) {
      out += leading[static_cast<std::size_t>(c)];
    }
    out += ';';
  }
  return out;
}

const std::string kGood = line({"F113303", "5", "2013", "0", "011", "CV A", "JL B", "000001/PPH22",
                                "15/05/2013", "BESI", "10"});

TEST(ImportFileTest, ReadsHeaderAndLinesWithEitherLineEnd) {
  for (const char* end : {"\r\n", "\n"}) {
    auto file = readImportText(headerLine() + end + kGood + end + kGood + end);
    EXPECT_TRUE(file.problems.empty()) << describeProblems(file.problems);
    ASSERT_EQ(file.lines.size(), 2u);
    EXPECT_EQ(file.lines[0].lineNumber, 2);
    EXPECT_EQ(file.lines[0].formCode(), "F113303");
    EXPECT_EQ(file.lines[0].month, 5);
    EXPECT_EQ(file.lines[0].year, 2013);
    EXPECT_EQ(file.lines[0].values[7], "000001/PPH22");
  }
}

TEST(ImportFileTest, AcceptsALineWithoutItsClosingSeparator) {
  auto withoutLast = kGood.substr(0, kGood.size() - 1);
  auto file = readImportText(headerLine() + "\r\n" + withoutLast + "\r\n");
  EXPECT_TRUE(file.problems.empty()) << describeProblems(file.problems);
  EXPECT_EQ(file.lines.size(), 1u);
}

TEST(ImportFileTest, EveryBadLineIsNamedWithItsColumn) {
  struct Case {
    const char* name;
    std::string text;
    std::string column;
    std::string fragment;
  };
  const Case cases[] = {
      {"unknown form", line({"F999", "5", "2013", "0"}),
       "Kode Form Bukti Pungut / Kode Formulir SSP", "is not a form code"},
      {"month 13", line({"F113303", "13", "2013", "0"}), "Masa Pajak", "not a month 1 to 12"},
      {"month text", line({"F113303", "Mei", "2013", "0"}), "Masa Pajak", "not a month"},
      {"year", line({"F113303", "5", "20x3", "0"}), "Tahun Pajak", "not a year"},
      {"correction", line({"F113303", "5", "2013", "-1"}), "Pembetulan", "correction"},
      {"amount", line({"PPh22Impor", "5", "2013", "0", "", "", "", "N1", "", "", "", "", "",
                       "12a"}),
       "(Nilai Impor API / Harga 1 / Jumlah Penjualan Rokok menurut Bandrol) / Jumlah Penjualan "
       "Bruto SSP PPh Masa Pasal 22",
       "not a number"},
      {"date", line({"F113303", "5", "2013", "0", "", "", "", "1", "31/02/2013"}),
       "Tanggal Bukti Pungut / Tanggal Pembayaran SSP", "not a date"},
      {"quote", line({"F113303", "5", "2013", "0", "", "O'Brien"}), "Nama WP yang Dipungut",
       "single quote"},
  };
  std::string text = headerLine() + "\r\n";
  for (const auto& c : cases) text += c.text + "\r\n";
  auto file = readImportText(text);
  EXPECT_TRUE(file.lines.empty());
  ASSERT_EQ(file.problems.size(), std::size(cases));
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(cases[i].name);
    EXPECT_EQ(file.problems[i].lineNumber, static_cast<int>(i) + 2);
    EXPECT_EQ(file.problems[i].column, cases[i].column);
    EXPECT_NE(file.problems[i].text.find(cases[i].fragment), std::string::npos)
        << file.problems[i].text;
  }
}

TEST(ImportFileTest, WrongColumnCountAndWrongHeaderAreRefused) {
  auto file = readImportText(headerLine() + "\r\nF113303;5;2013;0;\r\n");
  ASSERT_EQ(file.problems.size(), 1u);
  EXPECT_EQ(file.problems[0].text, "holds 4 values instead of 39");
  file = readImportText("Kode;Masa\r\n" + kGood);
  ASSERT_EQ(file.problems.size(), 1u);
  EXPECT_EQ(file.problems[0].lineNumber, 1);
  EXPECT_TRUE(file.lines.empty());
  EXPECT_EQ(readImportText("").problems.size(), 1u);
}

TEST(ImportFileTest, DescribesProblemsOneLineEachUpToALimit) {
  std::vector<ImportProblem> problems = {{3, "Masa Pajak", "\"13\" is not a month 1 to 12"},
                                         {4, "", "holds 4 values instead of 39"},
                                         {5, "", "x"}};
  EXPECT_EQ(describeProblems(problems, 2),
            "Line 3, \"Masa Pajak\": \"13\" is not a month 1 to 12\r\n"
            "Line 4: holds 4 values instead of 39\r\n... and 1 more");
}

}  // namespace
}  // namespace korvane::exchange
