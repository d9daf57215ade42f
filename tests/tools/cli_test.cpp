// The korvane command, driven end to end as a script would drive it: each test runs the built
// binary in a temporary folder of its own and looks at exit codes, what it printed and the
// files it wrote. The command writes JSON without blanks, so its members are found as text.
#ifdef KORVANE_CLI_PATH

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <sstream>
#include <string>
#include <vector>

#include "support/store_fixture.hpp"

namespace {

namespace fs = std::filesystem;

const std::string kMarch = " --store return.db --month 3 --year 2013";

struct CliRun {
  int code = -1;
  std::string out;
  std::string err;
};

// The elements of a JSON array of flat objects.
long elements(const std::string& json) { return std::count(json.begin(), json.end(), '{'); }

class KorvaneCliTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "korvane-cli-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override {
    std::error_code ec;
    fs::remove_all(folder_, ec);
  }

  // Runs `korvane <args>` in the test's folder (args as the shell would take them) and checks
  // its exit code and the texts it shows: on standard output when it succeeds, on standard error
  // when it fails. No command may end in a crash report, whatever it is given.
  CliRun expect(const std::string& args, int code, std::initializer_list<std::string> shows = {}) {
    SCOPED_TRACE(args);
    const int status = std::system(("cd '" + folder_.string() + "' && env -u KORVANE_STORE '" +
                                    KORVANE_CLI_PATH + "' " + args + " >stdout.txt 2>stderr.txt")
                                       .c_str());
    CliRun run{WIFEXITED(status) ? WEXITSTATUS(status) : -1,
               korvane::testing::fileText(folder_ / "stdout.txt"),
               korvane::testing::fileText(folder_ / "stderr.txt")};
    EXPECT_EQ(run.code, code) << run.out << run.err;
    for (const auto& text : shows) {
      EXPECT_NE((code == 0 ? run.out : run.err).find(text), std::string::npos)
          << text << "\n"
          << run.out << run.err;
    }
    EXPECT_EQ(run.err.find("terminate called"), std::string::npos) << run.err;
    EXPECT_EQ(run.err.find("Sanitizer"), std::string::npos) << run.err;
    return run;
  }

  // A collector's store with the period March 2013 begun.
  void openPeriod() {
    expect(
        "init --store return.db --npwp 01.345.678.9-012.000 --name 'PT Maju Jaya' "
        "--address 'Jl. Sudirman 1, Jakarta' --collector",
        0);
    expect("period open" + kMarch, 0);
  }
  // Two slips and a payment slip: 1,000,000 at 2.5% on line a, 400,000 at 7.5% on line b, and
  // the oil-and-gas sale of 10,000,000 counted on the return.
  void enterSlips() {
    openPeriod();
    for (const char* args :
         {"slip add F113303 --party-npwp 021234567013000 --party-name 'PT Impor Satu' "
          "--date 15/03/2013 --base-a 1000000",
          "slip add F113303 --party-npwp 037654321014000 --party-name 'CV Dua' --base-b 400000",
          "ssp add migas-final --nttp 1103021300001 --party-name 'SPBU 34.171.01' "
          "--commodity solar --gross 10000000"}) {
      expect(args + kMarch, 0);
    }
  }

  fs::path folder_;
};

TEST_F(KorvaneCliTest, InitCreatesTheStoreWithTheProfile) {
  auto init =
      expect("init --store return.db --npwp 01.345.678.9-012.000 --name 'PT Maju Jaya' --collector",
             0, {"Created the store return.db", "01.345.678.9-012.000 PT Maju Jaya (collector)"});
  EXPECT_EQ(init.err, "");
  EXPECT_TRUE(fs::exists(folder_ / "return.db"));
  expect("periods --store return.db", 0, {"No period has been begun for 01.345.678.9-012.000"});
  expect("init --store return.db --npwp 013456789012000 --name X", 1,
         {"korvane: The store return.db already exists."});
}

TEST_F(KorvaneCliTest, APeriodWithSlipsReachesTheMainReturnAndItsCorrection) {
  enterSlips();
  auto list = expect("slip list" + kMarch + " --json", 0,
                     {R"([{"form":"F113303",)", R"("tax":25000},{)", R"("tax":30000}])"});
  EXPECT_EQ(elements(list.out), 2);
  list = expect("ssp list" + kMarch + " --json", 0,
                {R"([{"kind":"migas-final",)", R"("commodity":"SOLAR",)"});
  EXPECT_EQ(elements(list.out), 1);
  expect("periods --store return.db", 0, {"03/2013"});

  // Lines 4a and 4b, the totals (those of the fields too), the SSP count and the checkboxes.
  expect("return show" + kMarch + " --json", 0,
         {R"({"npwp":"013456789012000",)", R"("month":3,"year":2013,"correction":0,)",
          R"({"line":"4a","gross":1000000,"tax":25000},{"line":"4b","gross":400000,"tax":30000})",
          R"("tax":55000},"c2":1,)", R"("TotB":55000,)",
          R"("checkboxes":{"CHKC1":1,"CHKC2":1,"CHKC3":1,"CHKC4":0,)", R"("CHKC9":null},)"});
  expect("return show" + kMarch + " --recompute --json", 0,
         {R"("B4a4":25000,)", R"("tax":55000},"c2":1,)"});
  expect("return show" + kMarch, 0, {"1.000.000", "55.000"});

  // A slip number or NTTP already taken is refused.
  expect("slip add F113303" + kMarch +
             " --number 000001/PPH22 --party-npwp 021234567013000 --party-name X --base-a 1",
         1, {"The slip number 000001/PPH22 is already used in 2013."});
  expect("ssp add migas-final" + kMarch + " --nttp 1103021300001 --commodity SOLAR --gross 1", 1,
         {"The NTTP 1103021300001 is already used"});

  // A correction carries the slips over; deleting it leaves the first return.
  expect("period open" + kMarch + " --correction", 0, {"03/2013, correction 1"});
  EXPECT_EQ(elements(expect("slip list" + kMarch + " --json", 0).out), 2);
  expect("delete" + kMarch + " --correction 1", 0);
  list =
      expect("periods --store return.db --json", 0, {R"([{"month":3,"year":2013,"correction":0,)"});
  EXPECT_EQ(elements(list.out), 1);
}

TEST_F(KorvaneCliTest, AnImportedExportGivesTheSameReturn) {
  enterSlips();
  expect("export" + kMarch + " --folder out", 0,
         {"Berhasil Diekspor Sebanyak : 3 Baris (Record) Data"});
  std::istringstream file(korvane::testing::fileText(folder_ / "out" / "Ravelin.CSV"));
  std::vector<std::string> rows;
  for (std::string row; std::getline(file, row);) rows.push_back(row);
  ASSERT_EQ(rows.size(), 4u) << file.str();
  EXPECT_EQ(rows[0].rfind("Kode Form Bukti Pungut / Kode Formulir SSP;Masa Pajak;", 0), 0u);
  EXPECT_EQ(rows[1].rfind("F113303;3;2013;0;021234567013000;PT Impor Satu;", 0), 0u) << rows[1];
  EXPECT_EQ(rows[3].rfind("PPh22MigasFinal;3;2013;0;", 0), 0u) << rows[3];

  expect(
      "init --store copy.db --npwp 013456789012000 --name 'PT Maju Jaya' "
      "--address 'Jl. Sudirman 1, Jakarta' --collector",
      0);
  expect("import --store copy.db --file out/Ravelin.CSV", 0,
         {"Berhasil Diimpor Sebanyak : 3 Baris (Record) Data", "F113303", "PPh22MigasFinal"});
  // Lines, totals, SSP count and checkboxes alike.
  auto returnOf = [this](const std::string& store) {
    const auto out =
        expect("return show --store " + store + " --month 3 --year 2013 --json", 0).out;
    return out.substr(out.find("\"lines\""), out.find("\"fields\"") - out.find("\"lines\""));
  };
  EXPECT_EQ(returnOf("copy.db"), returnOf("return.db"));

  // The same file again: every slip number and NTTP is taken now, and nothing is written.
  expect("import --store copy.db --file out/Ravelin.CSV", 1, {"korvane: "});
  EXPECT_EQ(elements(expect("slip list --store copy.db --month 3 --year 2013 --json", 0).out), 2);
  expect("import --store copy.db --file nothing.csv", 2, {"--file"});
}

TEST_F(KorvaneCliTest, TheDemoPreparesAReturnAndCarriesItToASecondStore) {
  EXPECT_EQ(expect("demo --store demo/return.db", 0, {"Both returns agree on every line"}).err, "");
  for (const char* file : {"return.db", "return-imported.db", "export/Ravelin.CSV"}) {
    EXPECT_TRUE(fs::exists(folder_ / "demo" / file)) << file;
  }
  expect("demo --store demo/return.db", 1, {"already exists"});
}

TEST_F(KorvaneCliTest, UsageErrorsNameTheFlag) {
  openPeriod();
  const std::string slip = "slip add F113303" + kMarch;
  const std::string party = slip + " --party-npwp 021234567013000 --party-name ";
  const std::pair<std::string, std::string> cases[] = {
      {slip + " --bogus 1", "--bogus"},
      {"return show --store return.db --month 13 --year 2013", "--month"},
      {"return show --month 3 --year 2013", "--store"},
      {slip + " --party-npwp 123 --party-name X", "--party-npwp"},
      {party + "X --base-a lots", "--base-a"},
      {"ssp add migas-final" + kMarch + " --nttp 1 --commodity WATER", "--commodity"},
      {party + "\"Toko Pak O'Neil\"", "--party-name"},
      {"", "subcommand"},
  };
  for (const auto& [args, flag] : cases) expect(args, 2, {flag});
}

TEST_F(KorvaneCliTest, AStoreFailureIsReportedAndFailsTheCommand) {
  EXPECT_EQ(expect("return show --store nowhere/return.db --month 3 --year 2013", 1,
                   {"Class_Initialize Sub: Store file not found: nowhere/return.db"})
                .out,
            "");
  openPeriod();
  expect("return show --store return.db --month 4 --year 2013", 1,
         {"The period 04/2013 has not been begun"});
  expect("slip delete" + kMarch + " --number 000009", 1, {"has no slip numbered 000009"});
}

TEST_F(KorvaneCliTest, EverySubcommandHasHelp) {
  for (std::string command : {"",
                              "init",
                              "period",
                              "period open",
                              "periods",
                              "delete",
                              "slip",
                              "slip add",
                              "slip add F113303",
                              "slip add F113305",
                              "slip add F113304",
                              "slip add F113304A",
                              "slip add F113304S",
                              "slip edit F113304S",
                              "slip delete",
                              "slip list",
                              "ssp",
                              "ssp add migas-final",
                              "ssp add migas-nonfinal",
                              "ssp add import",
                              "ssp add domestic",
                              "ssp add self-paid",
                              "ssp edit migas-final",
                              "ssp delete",
                              "ssp list",
                              "return",
                              "return show",
                              "export",
                              "import",
                              "demo"}) {
    expect(command + " --help", 0, {"Usage: korvane " + command});
  }
}

}  // namespace

#endif  // KORVANE_CLI_PATH
