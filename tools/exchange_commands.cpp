// export and import: the period's slips and payment slips in and out of the store.
#include <atomic>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <thread>

#include "commands.hpp"
#include "korvane/exchange/import.hpp"
#include "korvane/store/sql.hpp"
#include "output.hpp"

namespace korvane::cli {
namespace {

namespace fs = std::filesystem;

// How many rows the export will write, for the progress bar only: a collector's export holds
// his slips and all payment slips but the self-paid ones, anyone else's the payment slips.
long rowsToExport(Host& host, const Period& period, bool collector) {
  const std::string key = " WHERE NPWP = " + sql::text(period.npwp) +
                          " AND MS_PAJAK = " + sql::number(period.month) +
                          " AND TH_PAJAK = " + sql::number(period.year) +
                          " AND KD_PEMBETULAN_KE = " + sql::number(period.correction);
  long rows = 0;
  auto count = [&](const std::string& sql) {
    auto result = host.query(sql);
    if (!result->EndOfFile()) rows += result->Fields("N").Value().toInt32();
  };
  if (collector) {
    count("SELECT COUNT(*) AS N FROM DS_FORM_INDUK" + key +
          " AND KD_FORM IN ('F113303', 'F113304', 'F113304A', 'F113304S')");
    count("SELECT COUNT(*) AS N FROM DAT_SSP_PPh22" + key +
          " AND KD_FORM IN ('PPh22MigasFinal', 'PPh22MigasTdkFinal', 'PPh22Impor')");
  } else {
    count("SELECT COUNT(*) AS N FROM DAT_SSP_PPh22" + key +
          " AND KD_FORM IN ('PPh22MigasFinal', 'PPh22MigasTdkFinal', 'PPh22Impor', "
          "'PPh22ImporDbyrSdr')");
  }
  return rows;
}

// Follows a file another part of the process is writing and reports its data lines (the
// first line is the header).
class FileWatcher {
 public:
  FileWatcher(std::string path, Progress& progress)
      : path_(std::move(path)), progress_(progress), thread_([this] { run(); }) {}
  ~FileWatcher() {
    stop_ = true;
    thread_.join();
  }
  FileWatcher(const FileWatcher&) = delete;
  FileWatcher& operator=(const FileWatcher&) = delete;

 private:
  void run() {
    std::streamoff offset = 0;
    long lines = 0;
    std::vector<char> buffer(1 << 16);
    while (!stop_) {
      std::ifstream in(path_, std::ios::binary);
      if (in) {
        in.seekg(offset);
        while (in.read(buffer.data(), static_cast<std::streamsize>(buffer.size())) ||
               in.gcount() > 0) {
          const auto got = in.gcount();
          for (std::streamsize i = 0; i < got; ++i)
            lines += buffer[static_cast<std::size_t>(i)] == '\n';
          offset += got;
        }
        progress_.update(lines > 0 ? lines - 1 : 0);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
  }

  std::string path_;
  Progress& progress_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

void addExport(CLI::App& app) {
  struct Options {
    StoreOptions store;
    PeriodOptions period;
    std::string folder = ".";
  };
  auto o = std::make_shared<Options>();
  auto* cmd = app.add_subcommand(
      "export", "Write the period's slips and payment slips to <folder>/Ravelin.CSV");
  addStoreOptions(cmd, o->store);
  addPeriodOptions(cmd, o->period);
  cmd->add_option("--folder", o->folder, "Folder of the export file (default: the current one)");
  cmd->callback([o] {
    Host host(o->store);
    const auto period = host.period(o->period);
    const auto file = exportPeriod(host, period, o->folder);
    std::cout << "Wrote " << file << "\n";
  });
}

void addImport(CLI::App& app) {
  struct Options {
    StoreOptions store;
    std::string file;
    std::string npwp;
  };
  auto o = std::make_shared<Options>();
  auto* cmd = app.add_subcommand(
      "import", "Enter the slips and payment slips of an export file into the store");
  addStoreOptions(cmd, o->store);
  cmd->add_option("--file", o->file, "The file to import (an export file, e.g. Ravelin.CSV)")
      ->required();
  cmd->add_option("--npwp", o->npwp, "Taxpayer number (default: the one in the store's profile)");
  cmd->callback([o] {
    Host host(o->store);
    const auto npwp = o->npwp.empty() ? host.profile().npwp : npwpOption("--npwp", o->npwp);
    const auto imported = importFile(host, npwp, o->file);
    Table table({{"Form"}, {"Lines", Table::Align::Right}});
    for (const auto& [form, lines] : imported) table.add({form, std::to_string(lines)});
    if (!table.empty()) table.print(std::cout);
  });
}

}  // namespace

std::vector<std::pair<std::string, long>> importFile(Host& host, const std::string& npwp,
                                                     const std::string& file) {
  if (!fs::is_regular_file(file)) throw UsageError("--file", "there is no file " + file + ".");
  const auto profile = host.profile();
  auto importer = host.connect<CImporBP>("CImporBP");
  const long failuresBefore = Reporter::failures();
  std::unique_ptr<Progress> progress;
  importer->onProgress([&progress](long done, long total) {
    if (!progress) progress = std::make_unique<Progress>("Importing", total);
    progress->update(done);
  });
  auto result = importer->pImporPPh(npwp, 22, file, profile.kind);
  if (progress && Reporter::failures() == failuresBefore) progress->finish();
  progress.reset();
  host.check();
  if (!result) host.fail("The file " + file + " could not be imported.");
  std::vector<std::pair<std::string, long>> imported;
  for (result->MoveFirst(); !result->EndOfFile(); result->MoveNext()) {
    imported.emplace_back(result->Fields("KD_FORM").Value().text(),
                          result->Fields("JUMLAH").Value().toInt32());
  }
  return imported;
}

std::string exportPeriod(Host& host, const Period& period, const std::string& folder) {
  const auto profile = host.profile();
  std::error_code ec;
  fs::create_directories(folder, ec);
  std::string prefix = folder;
  if (prefix.empty()) prefix = ".";
  if (prefix.back() != '/') prefix += '/';
  const std::string file = prefix + "Ravelin.CSV";

  Progress progress("Exporting", rowsToExport(host, period, profile.collector()));
  auto exporter = host.connect<CEksporBP>("CEksporBP");
  {
    std::unique_ptr<FileWatcher> watcher;
    if (progress.shown()) watcher = std::make_unique<FileWatcher>(file, progress);
    exporter->pEksporPPh(period.npwp, 22, std::to_string(period.month), std::to_string(period.year),
                         period.correction, prefix, profile.kind);
  }
  host.check();
  progress.finish();
  return file;
}

void addExchangeCommands(CLI::App& app) {
  addExport(app);
  addImport(app);
}

}  // namespace korvane::cli
