// demo: prepares a whole return on a new embedded store with the same steps as the other
// commands, tells a newcomer what each step did, then carries the return to a second store
// through the export file and shows that both returns agree.
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>

#include "commands.hpp"
#include "output.hpp"

namespace korvane::cli {
namespace {

namespace fs = std::filesystem;

constexpr std::int16_t kMonth = 3;
constexpr std::int16_t kYear = 2013;

struct Example {
  const char* form;  // a slip form, or a kind of payment slip
  const char* what;
  EntryValues values;
};

// A month of a cement and steel trader who also imports, sells fuel and buys for the state.
std::vector<Example> slipExamples() {
  const Date date(kYear, kMonth, 15);
  return {
      {"F113303",
       "an importer with an API licence (line a, 2.5%)",
       {{"party-npwp", "021234567013000"},
        {"party-name", "PT Bumi Niaga Impor"},
        {"party-address", "Jl. Yos Sudarso 88, Jakarta Utara"},
        {"date", date},
        {"goods", "Suku cadang mesin"},
        {"base-a", 480000000.0}}},
      {"F113303",
       "an importer without an API licence (line b, 7.5%)",
       {{"party-npwp", "037654321014000"},
        {"party-name", "CV Sentosa Abadi"},
        {"party-address", "Jl. Pahlawan 12, Surabaya"},
        {"date", date},
        {"goods", "Tekstil"},
        {"base-b", 150000000.0}}},
      {"F113303",
       "a party without an NPWP: the rate is doubled",
       {{"party-npwp", "000000000000000"},
        {"party-name", "Budi Santoso"},
        {"party-address", "Jl. Melati 5, Bekasi"},
        {"date", date},
        {"goods", "Alat elektronik"},
        {"base-a", 20000000.0}}},
      {"F113304",
       "cement and steel sold to a contractor (0.25% and 0.3%)",
       {{"party-npwp", "016543210015000"},
        {"party-name", "PT Karya Bangun Persada"},
        {"party-address", "Jl. MT Haryono 7, Jakarta Selatan"},
        {"date", date},
        {"base-1", 800000000.0},
        {"base-3", 500000000.0}}},
      {"F113304A",
       "vehicles for a dealer, on a line it names itself (0.45%)",
       {{"party-npwp", "019876543016000"},
        {"party-name", "PT Mobil Sejahtera"},
        {"party-address", "Jl. Daan Mogot 101, Jakarta Barat"},
        {"date", date},
        {"goods-5", "Kendaraan bermotor"},
        {"rate-5", 0.45},
        {"base-5", 1200000000.0}}},
      {"F113304S",
       "cigarettes and gold bars (0.15% and 0.45%)",
       {{"party-npwp", "023344556017000"},
        {"party-name", "PT Niaga Emas Rokok"},
        {"party-address", "Jl. Pemuda 20, Semarang"},
        {"date", date},
        {"goods-5", "Rokok kretek"},
        {"base-5", 300000000.0},
        {"goods-6", "Emas batangan"},
        {"base-6", 150000000.0}}},
  };
}

// The export file has no columns for this form: it is entered by hand in both stores.
Example treasurerSlip() {
  return {"F113305",
          "a state treasurer's purchase (1.5%)",
          {{"party-npwp", "001234567071000"},
           {"party-name", "Bendahara Dinas Pekerjaan Umum"},
           {"party-address", "Jl. Taman Jatibaru 1, Jakarta Pusat"},
           {"date", Date(kYear, kMonth, 18)},
           {"base", 250000000.0}}};
}

std::vector<Example> sspExamples() {
  const Date date(kYear, kMonth, 20);
  return {
      {"migas-final",
       "diesel sold to a fuel station, final tax",
       {{"nttp", "110302130000101"},
        {"party-npwp", "024444555016000"},
        {"party-name", "SPBU 34.171.01"},
        {"party-address", "Jl. Raya Bogor Km 20, Jakarta Timur"},
        {"date", date},
        {"commodity", "SOLAR"},
        {"gross", 2000000000.0}}},
      {"migas-nonfinal",
       "lubricants sold to a distributor, tax not final",
       {{"nttp", "110302130000102"},
        {"party-npwp", "025555666017000"},
        {"party-name", "PT Pelumas Jaya"},
        {"party-address", "Jl. Industri 3, Cikarang"},
        {"date", date},
        {"commodity", "PELUMAS"},
        {"gross", 300000000.0}}},
      {"import",
       "tax paid at customs on an import with API",
       {{"nttp", "110302130000103"},
        {"party-npwp", "021234567013000"},
        {"party-name", "PT Bumi Niaga Impor"},
        {"party-address", "Jl. Yos Sudarso 88, Jakarta Utara"},
        {"date", date},
        {"gross-1", 200000000.0},
        {"tax-1", 5000000.0}}},
      {"self-paid",
       "import tax the importer paid himself (it stays off the return)",
       {{"nttp", "110302130000104"},
        {"date", date},
        {"pib", "000123/KPU.01/2013"},
        {"gross", 50000000.0},
        {"tax", 1250000.0}}},
  };
}

// The sales rates of the fuels, which an office keeps in the commodity table (percent).
void setFuelRates(Host& host) {
  host.general().pExecQuery(
      "UPDATE JENIS_KOMODITI SET TARIF_NETTO = 0.25 WHERE PASAL = 22 AND NAMA_KOMODITI = 'SOLAR'");
  host.general().pExecQuery(
      "UPDATE JENIS_KOMODITI SET TARIF_NETTO = 0.3 WHERE PASAL = 22 AND NAMA_KOMODITI <> 'SOLAR'");
  host.check();
}

void step(int number, const std::string& text) {
  std::cout << "\n" << number << ". " << text << "\n";
}

void enterSlip(Host& host, const Period& period, const Example& example) {
  const auto result = addSlip(host, period, example.form, example.values);
  std::cout << "   " << result.form << " " << result.number << "  " << example.what << "\n"
            << "      base Rp " << amountText(result.base) << "  ->  tax Rp "
            << amountText(result.tax) << "\n";
}

Variant fieldOf(const ReturnFields& fields, const std::string& name) {
  for (const auto& [column, value] : fields) {
    if (column == name) return value;
  }
  return Variant();
}

// Equal as amounts when both read as numbers, else as text.
bool sameValue(const Variant& a, const Variant& b) {
  double x = 0;
  double y = 0;
  if (parseNumber(a.text(), x) && parseNumber(b.text(), y)) return x == y;
  return a.text() == b.text();
}

void runDemo(const std::string& givenStore) {
  const auto started = std::chrono::steady_clock::now();
  fs::path folder;
  fs::path storePath;
  if (givenStore.empty()) {
    std::string pattern = (fs::temp_directory_path() / "korvane-demo-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw Error(errc::kFile, "No temporary folder could be made.");
    folder = pattern;
    storePath = folder / "return.db";
  } else {
    storePath = fs::absolute(givenStore);
    folder = storePath.parent_path();
  }
  const fs::path copyPath = folder / (storePath.stem().string() + "-imported.db");
  const fs::path exportFolder = folder / "export";

  std::cout
      << "Korvane demo: a collector of article-22 tax prepares its monthly return (SPT Masa\n"
         "PPh Pasal 22) for March 2013, the way an accountant does with the korvane command.\n";

  Profile profile;
  profile.npwp = "013456789012000";
  profile.name = "PT Sinar Baja Nusantara";
  profile.address = "Jl. Gatot Subroto Kav. 12, Jakarta Selatan";
  profile.kind = "Pemungut";
  const StoreOptions store{storePath.string(), "", ""};

  step(1, "Create a store with its reference data and the taxpayer's profile  (korvane init)");
  createStore(store, profile);
  std::cout << "   " << storePath.string() << "\n"
            << "   holds every table, the article-22 rates and document kinds, and the taxpayer\n"
            << "   " << npwpText(profile.npwp) << " " << profile.name
            << ", a collector (\"Pemungut\").\n";
  Host host(store);

  step(2, "Begin the return of March 2013  (korvane period open)");
  const auto period = openPeriod(host, profile.npwp, kMonth, kYear, false, Date(kYear, 4, 10));
  setFuelRates(host);
  std::cout << "   The main form F113202 starts empty, with an empty slip list, payment-slip\n"
            << "   lists, and one oil-and-gas list per commodity. The commodities' sales rates\n"
            << "   are set to 0.25% for diesel (SOLAR) and 0.3% for the others (reference data\n"
            << "   an office keeps).\n";

  step(3, "Enter the collection slips (bukti pungut) of the month  (korvane slip add)");
  std::cout << "   Each form's class numbers the slip, computes its tax from the store's rates,\n"
            << "   adds it to the slip list and moves the main return by its amounts.\n";
  for (const auto& example : slipExamples()) enterSlip(host, period, example);

  step(4, "Enter the tax payment slips (SSP) of the month  (korvane ssp add)");
  for (const auto& example : sspExamples()) {
    const auto result = addSsp(host, period, example.form, example.values);
    std::cout << "   " << example.form << " NTTP " << result.number << "  " << example.what
              << "\n      gross Rp " << amountText(result.base) << "  ->  tax Rp "
              << amountText(result.tax) << "\n";
  }
  {
    const auto result =
        editSsp(host, period, "migas-final", "110302130000101", -1, {{"commodity", "PREMIUM"}});
    std::cout
        << "   The diesel slip was in fact for petrol: its commodity becomes PREMIUM\n"
        << "   (korvane ssp edit). It moves from the SOLAR list to the PREMIUM list, and its\n"
        << "   tax follows PREMIUM's rate: Rp " << amountText(result.tax) << ".\n";
  }
  std::cout << "   Last, a slip that came in late: a purchase by a state treasurer.\n";
  enterSlip(host, period, treasurerSlip());

  step(5, "The main return as the slips have left it  (korvane return show)");
  const auto first = readReturn(host, period, false);
  printReturn(std::cout, period, profile.name, first);

  step(6, "Export the period's slips and payment slips  (korvane export)");
  Reporter::setInformationPrefix("   | ");
  std::cout << "   The export class writes the file and reports what it exported:\n";
  const auto file = exportPeriod(host, period, exportFolder.string());
  long lines = 0;
  {
    std::ifstream in(file, std::ios::binary);
    for (std::string line; std::getline(in, line);) ++lines;
  }
  std::cout << "   " << file << ": a header line and " << (lines > 0 ? lines - 1 : 0)
            << " data lines.\n";

  step(7, "Import the file into a second store  (korvane init, korvane import)");
  const StoreOptions copyStore{copyPath.string(), "", ""};
  createStore(copyStore, profile);
  Host copyHost(copyStore);
  const auto imported = importFile(copyHost, profile.npwp, file);
  Reporter::setInformationPrefix("");
  std::cout << "   " << copyPath.string() << " now holds, entered through the same\n"
            << "   classes as by hand:\n  ";
  std::string separator = " ";
  for (const auto& [form, count] : imported) {
    std::cout << separator << count << " " << form;
    separator = ", ";
  }
  std::cout
      << ".\n   The export format has no columns for F113305 slips (nor, for a collector, for\n"
      << "   self-paid SSPs, which stay off the return): the treasurer's slip is entered\n"
      << "   there by hand.\n";
  enterSlip(copyHost, period, treasurerSlip());

  step(8, "Compare the two returns");
  const auto second = readReturn(copyHost, period, false);
  std::vector<std::string> differences;
  for (const auto& column : returnLineColumns()) {
    const auto a = fieldOf(first, column);
    const auto b = fieldOf(second, column);
    if (!sameValue(a, b)) differences.push_back(column + ": " + a.text() + " / " + b.text());
  }
  if (!differences.empty()) {
    std::string text = "The imported return differs from the first one:";
    for (const auto& difference : differences) text += "\n  " + difference;
    host.fail(text);
  }
  std::cout << "   Both returns agree on every line, both totals (gross Rp "
            << amountText(fieldOf(second, "TotA")) << ", tax Rp "
            << amountText(fieldOf(second, "TotB")) << ")\n   and the number of payment slips ("
            << amountText(fieldOf(second, "c2")) << ").\n";

  const auto seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  std::cout << "\nDone in " << numberText(static_cast<double>(static_cast<long>(seconds * 10)) / 10)
            << " s. Everything is kept in " << folder.string() << "; look around with e.g.\n"
            << "   korvane slip list --store " << storePath.string() << " --month 3 --year 2013\n"
            << "   korvane ssp list --store " << storePath.string() << " --month 3 --year 2013\n"
            << "   korvane return show --store " << copyPath.string()
            << " --month 3 --year 2013 --json\n";
}

}  // namespace

void addDemoCommand(CLI::App& app) {
  auto store = std::make_shared<std::string>();
  auto* cmd = app.add_subcommand(
      "demo", "Prepare a whole return on a new embedded store and explain each step");
  cmd->add_option("--store", *store,
                  "Path of the new store (default: in a new temporary folder); the imported copy "
                  "and the export folder go beside it");
  cmd->callback([store] { runDemo(*store); });
}

}  // namespace korvane::cli
