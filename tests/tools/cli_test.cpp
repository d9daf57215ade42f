// The korvane command, driven end to end as a script would drive it: each test runs the built
// binary in a temporary folder of its own and looks at exit codes, what it printed and the
// files it wrote.
#ifdef KORVANE_CLI_PATH

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include "support/store_fixture.hpp"

namespace {

namespace fs = std::filesystem;

// Just enough JSON to read what `return show --json` and the lists write.
struct Json {
  using Object = std::map<std::string, Json>;
  using Array = std::vector<Json>;
  std::variant<std::nullptr_t, bool, double, std::string, std::shared_ptr<Array>,
               std::shared_ptr<Object>>
      value;

  bool isNull() const { return std::holds_alternative<std::nullptr_t>(value); }
  double number() const { return std::get<double>(value); }
  const std::string& text() const { return std::get<std::string>(value); }
  const Array& array() const { return *std::get<std::shared_ptr<Array>>(value); }
  const Json& operator[](const std::string& key) const {
    return std::get<std::shared_ptr<Object>>(value)->at(key);
  }
};

class JsonReader {
 public:
  explicit JsonReader(const std::string& text) : text_(text) {}
  Json document() {
    Json json = read();
    skipBlanks();
    if (at_ != text_.size()) throw std::runtime_error("text after the JSON document");
    return json;
  }

 private:
  void skipBlanks() {
    while (at_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[at_]))) ++at_;
  }
  void expect(char c) {
    skipBlanks();
    if (at_ >= text_.size() || text_[at_] != c)
      throw std::runtime_error(std::string("expected ") + c);
    ++at_;
  }
  bool next(char c) {
    skipBlanks();
    if (at_ < text_.size() && text_[at_] == c) {
      ++at_;
      return true;
    }
    return false;
  }
  std::string string() {
    expect('"');
    std::string out;
    while (at_ < text_.size() && text_[at_] != '"') {
      char c = text_[at_++];
      if (c == '\\') {
        c = text_.at(at_++);
        if (c == 'n') c = '\n';
        if (c == 't') c = '\t';
        if (c == 'r') c = '\r';
        if (c == 'u') {
          c = static_cast<char>(std::stoi(text_.substr(at_, 4), nullptr, 16));
          at_ += 4;
        }
      }
      out += c;
    }
    expect('"');
    return out;
  }
  Json read() {
    skipBlanks();
    Json json;
    if (next('{')) {
      auto object = std::make_shared<Json::Object>();
      if (!next('}')) {
        do {
          auto key = string();
          expect(':');
          (*object)[key] = read();
        } while (next(','));
        expect('}');
      }
      json.value = object;
    } else if (next('[')) {
      auto array = std::make_shared<Json::Array>();
      if (!next(']')) {
        do array->push_back(read());
        while (next(','));
        expect(']');
      }
      json.value = array;
    } else if (at_ < text_.size() && text_[at_] == '"') {
      json.value = string();
    } else if (text_.compare(at_, 4, "null") == 0) {
      at_ += 4;
    } else if (text_.compare(at_, 4, "true") == 0) {
      at_ += 4;
      json.value = true;
    } else if (text_.compare(at_, 5, "false") == 0) {
      at_ += 5;
      json.value = false;
    } else {
      std::size_t used = 0;
      json.value = std::stod(text_.substr(at_), &used);
      at_ += used;
    }
    return json;
  }

  const std::string& text_;
  std::size_t at_ = 0;
};

Json parseJson(const std::string& text) { return JsonReader(text).document(); }

struct CliRun {
  int code = -1;
  std::string out;
  std::string err;
};

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

  // Runs `korvane <args>` in the test's folder; args are given as the shell would take them.
  CliRun korvane(const std::string& args) {
    const std::string command = "cd '" + folder_.string() + "' && env -u KORVANE_STORE '" +
                                std::string(KORVANE_CLI_PATH) + "' " + args +
                                " >stdout.txt 2>stderr.txt";
    const int status = std::system(command.c_str());
    CliRun run;
    run.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.out = korvane::testing::fileText(folder_ / "stdout.txt");
    run.err = korvane::testing::fileText(folder_ / "stderr.txt");
    return run;
  }

  // A collector's store with the period March 2013 begun.
  void openPeriod() {
    auto init = korvane(
        "init --store return.db --npwp 01.345.678.9-012.000 --name 'PT Maju Jaya' "
        "--address 'Jl. Sudirman 1, Jakarta' --collector");
    ASSERT_EQ(init.code, 0) << init.err;
    auto open = korvane("period open --store return.db --month 3 --year 2013");
    ASSERT_EQ(open.code, 0) << open.err;
  }

  // Two slips and two payment slips: 1,000,000 at 2.5% on line a, 400,000 at 7.5% on line b,
  // and the oil-and-gas sale of 10,000,000 counted on the return.
  void enterSlips() {
    auto a = korvane(
        "slip add F113303 --store return.db --month 3 --year 2013 "
        "--party-npwp 021234567013000 --party-name 'PT Impor Satu' "
        "--date 15/03/2013 --base-a 1000000");
    ASSERT_EQ(a.code, 0) << a.err;
    auto b = korvane(
        "slip add F113303 --store return.db --month 3 --year 2013 "
        "--party-npwp 037654321014000 --party-name 'CV Dua' --base-b 400000");
    ASSERT_EQ(b.code, 0) << b.err;
    auto migas = korvane(
        "ssp add migas-final --store return.db --month 3 --year 2013 "
        "--nttp 1103021300001 --party-name 'SPBU 34.171.01' --commodity solar "
        "--gross 10000000");
    ASSERT_EQ(migas.code, 0) << migas.err;
  }

  fs::path folder_;
};

// No command may end in a crash report, whatever it is given.
void expectNoCrash(const CliRun& run) {
  EXPECT_EQ(run.err.find("terminate called"), std::string::npos) << run.err;
  EXPECT_EQ(run.err.find("Sanitizer"), std::string::npos) << run.err;
}

TEST_F(KorvaneCliTest, InitCreatesTheStoreWithTheProfile) {
  auto init = korvane(
      "init --store return.db --npwp 01.345.678.9-012.000 --name 'PT Maju Jaya' "
      "--collector");
  ASSERT_EQ(init.code, 0) << init.err;
  EXPECT_NE(init.out.find("Created the store return.db"), std::string::npos) << init.out;
  EXPECT_NE(init.out.find("01.345.678.9-012.000 PT Maju Jaya (collector)"), std::string::npos)
      << init.out;
  EXPECT_TRUE(fs::exists(folder_ / "return.db"));
  EXPECT_EQ(init.err, "");

  auto periods = korvane("periods --store return.db");
  EXPECT_EQ(periods.code, 0) << periods.err;
  EXPECT_NE(periods.out.find("No period has been begun for 01.345.678.9-012.000"),
            std::string::npos)
      << periods.out;

  auto again = korvane("init --store return.db --npwp 013456789012000 --name X");
  EXPECT_EQ(again.code, 1);
  EXPECT_NE(again.err.find("korvane: The store return.db already exists."), std::string::npos)
      << again.err;
}

TEST_F(KorvaneCliTest, APeriodWithSlipsReachesTheMainReturn) {
  openPeriod();
  enterSlips();

  auto slips = korvane("slip list --store return.db --month 3 --year 2013 --json");
  ASSERT_EQ(slips.code, 0) << slips.err;
  const auto list = parseJson(slips.out);
  ASSERT_EQ(list.array().size(), 2u);
  EXPECT_EQ(list.array()[0]["form"].text(), "F113303");
  EXPECT_EQ(list.array()[0]["tax"].number(), 25000);
  EXPECT_EQ(list.array()[1]["tax"].number(), 30000);

  auto ssps = korvane("ssp list --store return.db --month 3 --year 2013 --json");
  ASSERT_EQ(ssps.code, 0) << ssps.err;
  const auto payments = parseJson(ssps.out);
  ASSERT_EQ(payments.array().size(), 1u);
  EXPECT_EQ(payments.array()[0]["kind"].text(), "migas-final");
  EXPECT_EQ(payments.array()[0]["commodity"].text(), "SOLAR");

  auto periods = korvane("periods --store return.db");
  EXPECT_EQ(periods.code, 0) << periods.err;
  EXPECT_NE(periods.out.find("03/2013"), std::string::npos) << periods.out;
}

TEST_F(KorvaneCliTest, ReturnShowJsonHasTheLinesTotalsAndCount) {
  openPeriod();
  enterSlips();

  auto shown = korvane("return show --store return.db --month 3 --year 2013 --json");
  ASSERT_EQ(shown.code, 0) << shown.err;
  const auto json = parseJson(shown.out);
  EXPECT_EQ(json["npwp"].text(), "013456789012000");
  EXPECT_EQ(json["month"].number(), 3);
  EXPECT_EQ(json["year"].number(), 2013);
  EXPECT_EQ(json["correction"].number(), 0);
  std::map<std::string, std::pair<double, double>> lines;
  for (const auto& line : json["lines"].array()) {
    lines[line["line"].text()] = {line["gross"].number(), line["tax"].number()};
  }
  EXPECT_EQ(lines["4a"], std::make_pair(1000000.0, 25000.0));
  EXPECT_EQ(lines["4b"], std::make_pair(400000.0, 30000.0));
  EXPECT_EQ(json["totals"]["tax"].number(), json["fields"]["TotB"].number());
  EXPECT_EQ(json["c2"].number(), 1);
  EXPECT_EQ(json["checkboxes"]["CHKC1"].number(), 1);
  EXPECT_EQ(json["checkboxes"]["CHKC4"].number(), 0);
  EXPECT_TRUE(json["checkboxes"]["CHKC9"].isNull());

  auto recomputed =
      korvane("return show --store return.db --month 3 --year 2013 --recompute --json");
  ASSERT_EQ(recomputed.code, 0) << recomputed.err;
  const auto again = parseJson(recomputed.out);
  EXPECT_EQ(again["fields"]["B4a4"].number(), 25000);
  EXPECT_EQ(again["totals"]["tax"].number(), 55000);
  EXPECT_EQ(again["c2"].number(), 1);

  auto table = korvane("return show --store return.db --month 3 --year 2013");
  ASSERT_EQ(table.code, 0) << table.err;
  EXPECT_NE(table.out.find("1.000.000"), std::string::npos) << table.out;
  EXPECT_NE(table.out.find("55.000"), std::string::npos) << table.out;
}

TEST_F(KorvaneCliTest, ExportWritesTheFileOfThePeriod) {
  openPeriod();
  enterSlips();

  auto exported = korvane("export --store return.db --month 3 --year 2013 --folder out");
  ASSERT_EQ(exported.code, 0) << exported.err;
  EXPECT_NE(exported.out.find("Berhasil Diekspor Sebanyak : 3 Baris (Record) Data"),
            std::string::npos)
      << exported.out;
  const auto text = korvane::testing::fileText(folder_ / "out" / "Ravelin.CSV");
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  ASSERT_EQ(lines.size(), 4u) << text;
  EXPECT_EQ(lines[0].rfind("Kode Form Bukti Pungut / Kode Formulir SSP;Masa Pajak;", 0), 0u);
  EXPECT_EQ(lines[1].rfind("F113303;3;2013;0;021234567013000;PT Impor Satu;", 0), 0u) << lines[1];
  EXPECT_EQ(lines[3].rfind("PPh22MigasFinal;3;2013;0;", 0), 0u) << lines[3];
}

TEST_F(KorvaneCliTest, AnImportedExportGivesTheSameReturn) {
  openPeriod();
  enterSlips();
  ASSERT_EQ(korvane("export --store return.db --month 3 --year 2013 --folder out").code, 0);
  auto init = korvane(
      "init --store copy.db --npwp 013456789012000 --name 'PT Maju Jaya' "
      "--address 'Jl. Sudirman 1, Jakarta' --collector");
  ASSERT_EQ(init.code, 0) << init.err;

  auto imported = korvane("import --store copy.db --file out/Ravelin.CSV");
  ASSERT_EQ(imported.code, 0) << imported.err;
  EXPECT_NE(imported.out.find("Berhasil Diimpor Sebanyak : 3 Baris (Record) Data"),
            std::string::npos)
      << imported.out;
  EXPECT_NE(imported.out.find("F113303"), std::string::npos) << imported.out;
  EXPECT_NE(imported.out.find("PPh22MigasFinal"), std::string::npos) << imported.out;

  auto first = korvane("return show --store return.db --month 3 --year 2013 --json");
  auto second = korvane("return show --store copy.db --month 3 --year 2013 --json");
  ASSERT_EQ(first.code, 0) << first.err;
  ASSERT_EQ(second.code, 0) << second.err;
  const auto a = parseJson(first.out);
  const auto b = parseJson(second.out);
  ASSERT_EQ(a["lines"].array().size(), b["lines"].array().size());
  for (std::size_t i = 0; i < a["lines"].array().size(); ++i) {
    const auto& line = a["lines"].array()[i];
    SCOPED_TRACE(line["line"].text());
    EXPECT_EQ(line["gross"].number(), b["lines"].array()[i]["gross"].number());
    EXPECT_EQ(line["tax"].number(), b["lines"].array()[i]["tax"].number());
  }
  EXPECT_EQ(a["totals"]["tax"].number(), b["totals"]["tax"].number());
  EXPECT_EQ(a["c2"].number(), b["c2"].number());

  // The same file again: every slip number and NTTP is taken now, and nothing is written.
  auto twice = korvane("import --store copy.db --file out/Ravelin.CSV");
  EXPECT_EQ(twice.code, 1);
  EXPECT_NE(twice.err.find("korvane: "), std::string::npos);
  auto slips = korvane("slip list --store copy.db --month 3 --year 2013 --json");
  EXPECT_EQ(parseJson(slips.out).array().size(), 2u);

  auto missing = korvane("import --store copy.db --file nothing.csv");
  EXPECT_EQ(missing.code, 2);
  EXPECT_NE(missing.err.find("--file"), std::string::npos) << missing.err;
}

TEST_F(KorvaneCliTest, TheDemoPreparesAReturnAndCarriesItToASecondStore) {
  auto demo = korvane("demo --store demo/return.db");
  ASSERT_EQ(demo.code, 0) << demo.out << demo.err;
  EXPECT_EQ(demo.err, "");
  EXPECT_NE(demo.out.find("Both returns agree on every line"), std::string::npos) << demo.out;
  EXPECT_TRUE(fs::exists(folder_ / "demo" / "return.db"));
  EXPECT_TRUE(fs::exists(folder_ / "demo" / "return-imported.db"));
  EXPECT_TRUE(fs::exists(folder_ / "demo" / "export" / "Ravelin.CSV"));

  auto again = korvane("demo --store demo/return.db");
  EXPECT_EQ(again.code, 1);
  EXPECT_NE(again.err.find("already exists"), std::string::npos) << again.err;
}

TEST_F(KorvaneCliTest, ATakenSlipNumberIsRefused) {
  openPeriod();
  enterSlips();
  auto taken = korvane(
      "slip add F113303 --store return.db --month 3 --year 2013 "
      "--number 000001/PPH22 --party-npwp 021234567013000 --party-name X "
      "--base-a 1");
  EXPECT_EQ(taken.code, 1);
  EXPECT_NE(taken.err.find("The slip number 000001/PPH22 is already used in 2013."),
            std::string::npos)
      << taken.err;
  auto nttp = korvane(
      "ssp add migas-final --store return.db --month 3 --year 2013 "
      "--nttp 1103021300001 --commodity SOLAR --gross 1");
  EXPECT_EQ(nttp.code, 1);
  EXPECT_NE(nttp.err.find("The NTTP 1103021300001 is already used"), std::string::npos) << nttp.err;
}

TEST_F(KorvaneCliTest, ACorrectionCarriesTheSlipsOver) {
  openPeriod();
  enterSlips();
  auto correction = korvane("period open --store return.db --month 3 --year 2013 --correction");
  ASSERT_EQ(correction.code, 0) << correction.err;
  EXPECT_NE(correction.out.find("03/2013, correction 1"), std::string::npos) << correction.out;
  auto slips = korvane("slip list --store return.db --month 3 --year 2013 --json");
  ASSERT_EQ(slips.code, 0) << slips.err;
  EXPECT_EQ(parseJson(slips.out).array().size(), 2u);

  auto deleted = korvane("delete --store return.db --month 3 --year 2013 --correction 1");
  ASSERT_EQ(deleted.code, 0) << deleted.err;
  auto periods = korvane("periods --store return.db --json");
  ASSERT_EQ(periods.code, 0) << periods.err;
  const auto list = parseJson(periods.out);
  ASSERT_EQ(list.array().size(), 1u);
  EXPECT_EQ(list.array()[0]["correction"].number(), 0);
}

struct UsageCase {
  const char* name;
  const char* args;
  const char* flag;  // what the message names
};

TEST_F(KorvaneCliTest, UsageErrorsNameTheFlag) {
  openPeriod();
  const UsageCase cases[] = {
      {"unknown flag", "slip add F113303 --store return.db --month 3 --year 2013 --bogus 1",
       "--bogus"},
      {"month out of range", "return show --store return.db --month 13 --year 2013", "--month"},
      {"missing store", "return show --month 3 --year 2013", "--store"},
      {"bad party number",
       "slip add F113303 --store return.db --month 3 --year 2013 --party-npwp 123 "
       "--party-name X",
       "--party-npwp"},
      {"amount that is no number",
       "slip add F113303 --store return.db --month 3 --year 2013 --party-npwp 021234567013000 "
       "--party-name X --base-a lots",
       "--base-a"},
      {"unknown commodity",
       "ssp add migas-final --store return.db --month 3 --year 2013 --nttp 1 --commodity WATER",
       "--commodity"},
      {"quote in a name",
       "slip add F113303 --store return.db --month 3 --year 2013 --party-npwp 021234567013000 "
       "--party-name \"Toko Pak O'Neil\"",
       "--party-name"},
      {"no subcommand", "", "subcommand"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto run = korvane(c.args);
    EXPECT_EQ(run.code, 2) << run.out << run.err;
    EXPECT_NE(run.err.find(c.flag), std::string::npos) << run.err;
    expectNoCrash(run);
  }
}

TEST_F(KorvaneCliTest, AStoreFailureIsReportedAndFailsTheCommand) {
  auto missing = korvane("return show --store nowhere/return.db --month 3 --year 2013");
  EXPECT_EQ(missing.code, 1);
  EXPECT_NE(missing.err.find("Class_Initialize Sub: Store file not found: nowhere/return.db"),
            std::string::npos)
      << missing.err;
  EXPECT_EQ(missing.out, "");
  expectNoCrash(missing);

  openPeriod();
  auto unopened = korvane("return show --store return.db --month 4 --year 2013");
  EXPECT_EQ(unopened.code, 1);
  EXPECT_NE(unopened.err.find("The period 04/2013 has not been begun"), std::string::npos)
      << unopened.err;

  auto noSlip = korvane("slip delete --store return.db --month 3 --year 2013 --number 000009");
  EXPECT_EQ(noSlip.code, 1);
  EXPECT_NE(noSlip.err.find("has no slip numbered 000009"), std::string::npos) << noSlip.err;
}

TEST_F(KorvaneCliTest, EverySubcommandHasHelp) {
  const char* commands[] = {"",
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
                            "demo"};
  for (const char* command : commands) {
    SCOPED_TRACE(command);
    auto run = korvane(std::string(command) + " --help");
    EXPECT_EQ(run.code, 0) << run.err;
    const std::string usage = "Usage: korvane " + std::string(command);
    EXPECT_NE(run.out.find(usage), std::string::npos) << run.out;
  }
}

}  // namespace

#endif  // KORVANE_CLI_PATH
