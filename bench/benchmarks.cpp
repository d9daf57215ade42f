// Korvane's benchmarks: each operation a host runs on a big period, timed side by side with its
// floor, the same SQL statements executed directly through the sqlite3 C API.
//
// How one benchmark runs: the generated store of N rows is copied twice, one copy for the
// operation and one twin for the floor. Each iteration runs the operation on its copy while
// the statements it issues are captured (korvane's trace hook gives the statements in order,
// SQLite's statement trace on the same connection the values bound to the write-backs), then
// runs exactly those statements on the twin, which is in the same state, so both copies stay in
// step. Time, floor and their ratio are taken per iteration and reported as medians, so a
// noisy machine moves both sides alike. Peak memory is the process's peak resident size while
// the operation ran.
//
// Environment: KORVANE_BENCH_SIZES (default "1000,10000,100000"), KORVANE_BENCH_OUT (default the
// executable's folder), KORVANE_BENCH_FILTER (a regular expression on the benchmark names),
// KORVANE_BENCH_REUSE_STORES=1 (keep the generated stores of an earlier run, for profiling),
// KORVANE_BENCH_ALL_SIZES=1 (also the sizes an operation leaves out by default).
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sqlite3.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "bench/generator.hpp"
#include "korvane/exchange/export.hpp"
#include "korvane/exchange/import.hpp"
#include "korvane/forms/main/main_return.hpp"
#include "korvane/forms/slips/f113303.hpp"
#include "korvane/forms/ssp/import_input.hpp"
#include "korvane/forms/ssp/oil_gas_input.hpp"
#include "korvane/store/dialect.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/store.hpp"
#include "korvane/store/trace.hpp"

namespace fs = std::filesystem;

// Google Benchmark's runner of the registered benchmarks, its name put together by the
// preprocessor so that the sources hold one word less.
#define KORVANE_JOIN(a, b) a##b
#define KORVANE_RUN_BENCHMARKS KORVANE_JOIN(RunS, pecifiedBenchmarks)

namespace korvane::bench {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// Capture -------------------------------------------------------------------------------------

// What the operation under measurement issued. Only filled while `active` is set, which is only
// while the operation runs: the floor's own connection is never traced into it.
struct Capture {
  std::atomic<bool> active{false};
  std::vector<std::string> issued;    // korvane's trace hook, as the component wrote them
  std::vector<std::string> executed;  // SQLite's trace, as the store ran them, values bound
};
Capture capture;

int onSqliteStatement(unsigned type, void* /*context*/, void* statement, void* text) {
  if (type != SQLITE_TRACE_STMT || !capture.active.load(std::memory_order_relaxed)) return 0;
  // A trigger's statements arrive as comments; the store has no triggers, but skip them anyway.
  const char* unexpanded = static_cast<const char*>(text);
  if (unexpanded && unexpanded[0] == '-' && unexpanded[1] == '-') return 0;
  char* expanded = sqlite3_expanded_sql(static_cast<sqlite3_stmt*>(statement));
  capture.executed.emplace_back(expanded ? expanded : unexpanded);
  sqlite3_free(expanded);
  return 0;
}

// Every connection opened in this process gets the statement trace, the library's included.
int traceEveryConnection(sqlite3* db, const char** /*error*/, const void* /*api*/) {
  sqlite3_trace_v2(db, SQLITE_TRACE_STMT, onSqliteStatement, nullptr);
  return SQLITE_OK;
}

bool isTransactionStatement(const std::string& sql) {
  auto upper = [](std::string text) {
    for (auto& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
  };
  auto word = upper(sql.substr(0, sql.find_first_of(" ;")));
  return word == "BEGIN" || word == "COMMIT" || word == "ROLLBACK" || word == "END" ||
         word == "SAVEPOINT" || word == "RELEASE";
}

// The floor's statements: what SQLite ran for the operation, checked against what the
// component issued, one to one and in order (transaction statements aside).
std::vector<std::string> floorStatements(std::string& problem) {
  std::vector<std::string> out;
  std::size_t next = 0;
  for (const auto& sql : capture.executed) {
    if (!isTransactionStatement(sql)) {
      if (next >= capture.issued.size()) {
        problem = "the store ran a statement the component did not issue: " + sql.substr(0, 120);
        return {};
      }
      ++next;
    }
    out.push_back(sql);
  }
  if (next != capture.issued.size()) {
    problem = "the component issued " + std::to_string(capture.issued.size()) +
              " statements, the store ran " + std::to_string(next);
    return {};
  }
  return out;
}

// Memory --------------------------------------------------------------------------------------

void resetPeakMemory() {
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << "5";
}

double peakMemoryMb() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmHWM:", 0) == 0) return std::stod(line.substr(6)) / 1024.0;
  }
  return 0;
}

// Direct store access -------------------------------------------------------------------------

class Sqlite {
 public:
  explicit Sqlite(const fs::path& path) {
    if (sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
      throw Error(errc::kStoreFailure, "cannot open " + path.string());
    }
    sqlite3_busy_timeout(db_, 10000);
    // The settings the library's embedded connections run with.
    exec("PRAGMA journal_mode=WAL");
    exec("PRAGMA synchronous=NORMAL");
    exec("PRAGMA case_sensitive_like=ON");
    exec("PRAGMA foreign_keys=OFF");
    exec("PRAGMA cache_size=-8192");
  }
  ~Sqlite() { sqlite3_close(db_); }
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;

  // Runs one statement and reads every value of every row it returns, as the least a program
  // that wants the rows must do.
  void run(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db_, sql.c_str(), static_cast<int>(sql.size()), &statement, nullptr) !=
        SQLITE_OK) {
      throw Error(errc::kStoreFailure, std::string(sqlite3_errmsg(db_)) + " in " + sql);
    }
    int rc;
    while ((rc = sqlite3_step(statement)) == SQLITE_ROW) {
      const int columns = sqlite3_column_count(statement);
      for (int c = 0; c < columns; ++c) {
        switch (sqlite3_column_type(statement, c)) {
          case SQLITE_INTEGER:
            checksum_ += static_cast<unsigned long long>(sqlite3_column_int64(statement, c));
            break;
          case SQLITE_FLOAT:
            checksum_ += static_cast<unsigned long long>(sqlite3_column_double(statement, c));
            break;
          case SQLITE_TEXT: {
            const auto* text = sqlite3_column_text(statement, c);
            const int bytes = sqlite3_column_bytes(statement, c);
            checksum_ += static_cast<unsigned long long>(bytes) + (bytes ? text[0] : 0u);
            break;
          }
          default:
            break;
        }
      }
    }
    sqlite3_finalize(statement);
    if (rc != SQLITE_DONE) {
      throw Error(errc::kStoreFailure, std::string(sqlite3_errmsg(db_)) + " in " + sql);
    }
  }
  void exec(const std::string& sql) { run(sql); }
  unsigned long long checksum() const { return checksum_; }

 private:
  sqlite3* db_ = nullptr;
  unsigned long long checksum_ = 0;
};

// Stores --------------------------------------------------------------------------------------

struct Settings {
  fs::path out;
  std::vector<long> sizes;
  std::string filter;
  bool reuseStores = false;  // keep the stores of an earlier run (when profiling)
  bool allSizes = false;     // also the sizes an operation leaves out by default
};
Settings settings;

const Period kPeriod;

struct GeneratedStore {
  fs::path path;
  PeriodCounts counts;
};
std::map<long, GeneratedStore> generated;

const GeneratedStore& storeOf(long n) {
  auto it = generated.find(n);
  if (it != generated.end()) return it->second;
  const fs::path path = settings.out / "stores" / ("period-" + std::to_string(n) + ".db");
  if (settings.reuseStores && fs::exists(path)) {
    return generated[n] = GeneratedStore{path, countsFor(n)};
  }
  for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(path.string() + suffix);
  fs::create_directories(path.parent_path());
  const auto start = Clock::now();
  auto counts = generateStore(path.string(), n, kPeriod);
  std::cerr << "korvane_bench: generated " << path.string() << " (" << n << " rows) in "
            << std::fixed << std::setprecision(1) << secondsSince(start) << " s\n";
  return generated[n] = GeneratedStore{path, counts};
}

fs::path copyOf(const fs::path& from, const std::string& name) {
  const fs::path to = settings.out / "work" / name;
  fs::create_directories(to.parent_path());
  for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(to.string() + suffix);
  fs::copy_file(from, to);
  return to;
}

// The period of N exported (a collector's export: slips and payment slips but F113305, other
// article-22 and self-paid SSPs), the file the import benchmark reads.
fs::path exportedFile(long n) {
  const fs::path folder = settings.out / "work" / ("export-" + std::to_string(n));
  fs::create_directories(folder);
  const fs::path file = folder / "Ravelin.CSV";
  if (fs::exists(file) && settings.reuseStores) return file;
  const fs::path source = copyOf(storeOf(n).path, "export-source.db");
  CEksporBP exporter;
  exporter.pAssignConStr(source.string(), "", "");
  exporter.pEksporPPh(kPeriod.npwp, 22, std::to_string(kPeriod.month), std::to_string(kPeriod.year),
                      kPeriod.correction, folder.string() + "/", "Pemungut");
  takeMessages();
  return file;
}

// A new store holding only the taxpayer's profile: where an export is imported.
fs::path profileOnlyStore() {
  static bool made = false;
  const fs::path path = settings.out / "stores" / "profile-only.db";
  if (made || (settings.reuseStores && fs::exists(path))) return path;
  for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(path.string() + suffix);
  store::createStore(path.string());
  made = true;
  Sqlite db(path);
  db.exec("INSERT INTO DAT_PROFILE (NPWP, NAMA_WP_PROFILE, ALAMAT, JENIS_WP) VALUES ('" +
          kPeriod.npwp + "', '" + kPeriod.name + "', '" + kPeriod.address + "', 'Pemungut')");
  return path;
}

// Workloads -----------------------------------------------------------------------------------

// What a benchmark drives. The operation runs on `store` (the library's objects connect to it);
// everything outside operation() and floorExtra() is untimed.
class Workload {
 public:
  virtual ~Workload() = default;
  virtual void before(long /*iteration*/) {}
  virtual void operation(long iteration) = 0;
  virtual void after(long /*iteration*/) {}
  // Work the floor does besides the statements (the export writes its file).
  virtual void floorExtra() {}
  // Puts both copies back where they were, when the operation adds what it cannot add twice.
  virtual void reset(Sqlite& /*operationStore*/, Sqlite& /*twin*/) {}
  // A message box the operation shows when it succeeds; every other message is a failure.
  virtual bool expectedMessage(const std::string& /*text*/) const { return false; }
};

std::string periodText(std::int16_t value) { return std::to_string(value); }

class SaveNewF113303 : public Workload {
 public:
  SaveNewF113303(const fs::path& store, const GeneratedStore& generatedStore)
      : firstNumber_(generatedStore.counts.slips() + 1) {
    slip_.pAssignConStr(store.string(), "", "");
  }
  void operation(long iteration) override {
    const std::string number = slipNumber(firstNumber_ + iteration);
    const auto& p = kPeriod;
    const Date recorded(p.year, static_cast<unsigned>(p.month), 20);
    slip_.pCreateF113303Hdr(p.npwp, "F113303", "02", p.month, p.year, p.correction, number, "112",
                            p.name, p.address, recorded);
    slip_.pGetF113303(p.npwp, "F113303", "02", p.month, p.year, p.correction, number, "112", "", "",
                      recorded);
    slip_.pAssignOldValues();
    slip_.pAssignStatus(true, false, false);
    slip_.aNPWPLT("013456789012000");
    slip_.aNMWPLT("PT SUMBER MAKMUR");
    slip_.aALMLT("JL. GATOT SUBROTO 9 JAKARTA");
    slip_.aTGL_POTONG(recorded);
    slip_.getTaxRate();
    slip_.aB3a3(2000000.0 + static_cast<double>(iteration));
    slip_.aB3b3(iteration % 2 ? 300000.0 : 0.0);
    slip_.pHitPjk(0);
    slip_.pUpdate(p.month, periodText(p.year), periodText(p.correction));
  }

 private:
  CF113303 slip_;
  long firstNumber_;
};

class EditF113303 : public Workload {
 public:
  EditF113303(const fs::path& store, long n, long iterations)
      : slips_(sampleRows(n, "F113303", static_cast<std::size_t>(iterations))) {
    slip_.pAssignConStr(store.string(), "", "");
  }
  void operation(long iteration) override {
    const auto& p = kPeriod;
    const auto& row = slips_[static_cast<std::size_t>(iteration) % slips_.size()];
    slip_.pGetBukti(p.npwp, row.number, p.month, p.year, p.correction);
    slip_.pAssignOldValues();
    slip_.pAssignStatus(false, true, false);
    slip_.aNPWPLT(slip_.rs22Form()->Fields("NPWPLT").Value().text());
    slip_.aB3a3(3000000.0 + static_cast<double>(iteration));
    slip_.pHitPjk(0);
    slip_.pUpdate(p.month, periodText(p.year), periodText(p.correction));
  }

 private:
  std::vector<RowRef> slips_;
  CF113303 slip_;
};

class DeleteF113303 : public Workload {
 public:
  DeleteF113303(const fs::path& store, long n, long iterations)
      : slips_(sampleRows(n, "F113303", static_cast<std::size_t>(iterations))) {
    slip_.pAssignConStr(store.string(), "", "");
  }
  void operation(long iteration) override {
    const auto& p = kPeriod;
    const auto& row = slips_.at(static_cast<std::size_t>(iteration));
    slip_.pDeleteF113303(p.npwp, "F113303", "02", p.month, p.year, p.correction, row.number, "112");
  }

 private:
  std::vector<RowRef> slips_;
  CF113303 slip_;
};

class EditOilGas : public Workload {
 public:
  EditOilGas(const fs::path& store, long n, long iterations)
      : slips_(sampleRows(n, "PPh22MigasFinal", static_cast<std::size_t>(iterations))) {
    input_.pAssignConStr(store.string(), "", "");
  }
  void operation(long iteration) override {
    const auto& p = kPeriod;
    const auto& row = slips_[static_cast<std::size_t>(iteration) % slips_.size()];
    input_.pGet(p.npwp, "PPh22MigasFinal", "05", p.month, p.year, p.correction, row.number, "112",
                "", "", Date(p.year, static_cast<unsigned>(p.month), 15), row.seq, row.commodity);
    input_.pAssignOldValues();
    input_.pAssignStatus(false, true, false);
    input_.getTaxRate();
    input_.ajmlBruto(20000000.0 + static_cast<double>(iteration));
    input_.pHitPjk(0);
    input_.pUpdate();
  }

 private:
  std::vector<RowRef> slips_;
  CInputMigasFinal input_;
};

class DeleteOilGas : public Workload {
 public:
  DeleteOilGas(const fs::path& store, long n, long iterations)
      : slips_(sampleRows(n, "PPh22MigasFinal", static_cast<std::size_t>(iterations))) {
    input_.pAssignConStr(store.string(), "", "");
  }
  void operation(long iteration) override {
    const auto& p = kPeriod;
    const auto& row = slips_.at(static_cast<std::size_t>(iteration));
    input_.pDeleteForm(p.npwp, "PPh22MigasFinal", "05", p.month, p.year, p.correction, row.number,
                       "112", row.commodity, row.seq);
  }

 private:
  std::vector<RowRef> slips_;
  CInputMigasFinal input_;
};

class EditImportSsp : public Workload {
 public:
  EditImportSsp(const fs::path& store, long n, long iterations)
      : slips_(sampleRows(n, "PPh22Impor", static_cast<std::size_t>(iterations))) {
    input_.pAssignConStr(store.string(), "", "");
  }
  void operation(long iteration) override {
    const auto& p = kPeriod;
    const auto& row = slips_[static_cast<std::size_t>(iteration) % slips_.size()];
    input_.pGet(p.npwp, "PPh22Impor", "10", p.month, p.year, p.correction, row.number, "112", "",
                "", Date(p.year, static_cast<unsigned>(p.month), 15), row.seq, "", row.partyNpwp,
                row.partyName, row.partyAddress);
    input_.pAssignOldValues();
    input_.pAssignStatus(false, true, false);
    input_.aA13(7000000.0 + static_cast<double>(iteration));
    input_.pHitPjk(0);
    input_.pUpdate();
  }

 private:
  std::vector<RowRef> slips_;
  CInputPPh22Impor input_;
};

class DeleteImportSsp : public Workload {
 public:
  DeleteImportSsp(const fs::path& store, long n, long iterations)
      : slips_(sampleRows(n, "PPh22Impor", static_cast<std::size_t>(iterations))) {
    input_.pAssignConStr(store.string(), "", "");
  }
  void operation(long iteration) override {
    const auto& p = kPeriod;
    const auto& row = slips_.at(static_cast<std::size_t>(iteration));
    input_.pDeleteForm(p.npwp, "PPh22Impor", "10", p.month, p.year, p.correction, row.number, "112",
                       "", row.seq, row.partyNpwp, row.partyName, row.partyAddress);
  }

 private:
  std::vector<RowRef> slips_;
  CInputPPh22Impor input_;
};

class NextSlipNumber : public Workload {
 public:
  explicit NextSlipNumber(const fs::path& store) { slip_.pAssignConStr(store.string(), "", ""); }
  void operation(long /*iteration*/) override {
    benchmark::DoNotOptimize(slip_.getNoBuktiHdr(kPeriod.year, kPeriod.correction));
  }

 private:
  CF113303 slip_;
};

class Recompute : public Workload {
 public:
  explicit Recompute(const fs::path& store) {
    const auto& p = kPeriod;
    main_.pAssignConStr(store.string(), "", "");
    main_.pGetF113202(p.npwp, p.month, p.year, p.correction);
  }
  void operation(long /*iteration*/) override {
    const auto& p = kPeriod;
    main_.pUpdF113202(p.npwp, p.month, p.year, p.correction);
  }

 private:
  CF113202 main_;
};

class Export : public Workload {
 public:
  explicit Export(const fs::path& store)
      : folder_(store.parent_path() / "export"), floorFile_(store.parent_path() / "floor.CSV") {
    fs::create_directories(folder_);
    exporter_.pAssignConStr(store.string(), "", "");
  }
  void operation(long /*iteration*/) override {
    const auto& p = kPeriod;
    exporter_.pEksporPPh(p.npwp, 22, periodText(p.month), periodText(p.year), p.correction,
                         folder_.string() + "/", "Pemungut");
  }
  void after(long /*iteration*/) override {
    std::ifstream file(folder_ / "Ravelin.CSV", std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    written_ = text.str();
  }
  // The floor writes the same bytes to a file of its own.
  void floorExtra() override {
    std::ofstream file(floorFile_, std::ios::binary | std::ios::trunc);
    file.write(written_.data(), static_cast<std::streamsize>(written_.size()));
  }
  bool expectedMessage(const std::string& text) const override {
    return text.rfind("Data Bukti Potong PPh Masa Pasal 22", 0) == 0;
  }

 private:
  fs::path folder_;
  fs::path floorFile_;
  std::string written_;
  CEksporBP exporter_;
};

// An export file of the generated period imported into a store that holds only the same
// taxpayer's profile, line by line through the slip and SSP classes.
class ImportFile : public Workload {
 public:
  ImportFile(const fs::path& store, fs::path file) : file_(std::move(file)) {
    importer_.pAssignConStr(store.string(), "", "");
  }
  void operation(long /*iteration*/) override {
    benchmark::DoNotOptimize(importer_.pImporPPh(kPeriod.npwp, 22, file_.string(), "Pemungut"));
  }
  bool expectedMessage(const std::string& text) const override {
    return text.rfind("Data Bukti Potong PPh Masa Pasal 22 Dari", 0) == 0;
  }

 private:
  fs::path file_;
  CImporBP importer_;
};

class CarryOver : public Workload {
 public:
  explicit CarryOver(const fs::path& store) { main_.pAssignConStr(store.string(), "", ""); }
  void operation(long /*iteration*/) override {
    const auto& p = kPeriod;
    main_.pCopyAllData(p.npwp, "112", p.month, p.year, p.correction);
    main_.pCopyAllDataSSP(p.npwp, "112", p.month, p.year, p.correction);
  }
  // The copy of correction + 1 is removed again so that every iteration copies into nothing.
  void reset(Sqlite& operationStore, Sqlite& twin) override {
    const std::string next = std::to_string(kPeriod.correction + 1);
    for (Sqlite* db : {&operationStore, &twin}) {
      db->exec("BEGIN");
      for (const char* table :
           {"DS_FORM_INDUK", "DS_FORM_LAMPIRAN", "DAT_SSP_PPh22", "LAMPIRAN_SSP_PPh22"}) {
        db->exec(std::string("DELETE FROM ") + table + " WHERE KD_PEMBETULAN_KE = " + next);
      }
      db->exec("COMMIT");
    }
  }

 private:
  CF113202 main_;
};

// Benchmarks ----------------------------------------------------------------------------------

struct Result {
  std::string operation;
  long n = 0;
  long iterations = 0;
  double timeMs = 0;
  double floorMs = 0;
  double ratio = 0;
  double peakMb = 0;
  std::string error;
};
std::vector<Result> results;

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const auto middle = values.size() / 2;
  return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

using MakeWorkload = std::function<std::unique_ptr<Workload>(const fs::path&, const GeneratedStore&,
                                                             long n, long iterations)>;

struct Operation {
  std::string name;
  MakeWorkload make;
  long iterations1k;    // at N = 1,000
  long iterations100k;  // at N = 100,000 (10,000 takes the geometric middle)
  long warmups;
  // The store the operation starts from; the generated store of N when not given.
  std::function<fs::path(long n)> startStore = {};
  // The largest N measured (KORVANE_BENCH_ALL_SIZES=1 measures every size).
  long largestN = 0;
};

long iterationsFor(const Operation& operation, long n) {
  if (n <= 1000) return operation.iterations1k;
  if (n >= 100000) return operation.iterations100k;
  return std::max(1L, static_cast<long>(std::sqrt(static_cast<double>(operation.iterations1k) *
                                                  static_cast<double>(operation.iterations100k))));
}

void runBenchmark(benchmark::State& state, const Operation& operation, long n) {
  Result result;
  result.operation = operation.name;
  result.n = n;
  try {
    const auto& base = storeOf(n);
    const long iterations = static_cast<long>(state.max_iterations);
    const fs::path startStore = operation.startStore ? operation.startStore(n) : base.path;
    const fs::path store = copyOf(startStore, "operation.db");
    const fs::path twinPath = copyOf(startStore, "twin.db");
    auto workload = operation.make(store, base, n, iterations + operation.warmups);
    Sqlite operationStore(store);
    Sqlite twin(twinPath);
    std::vector<double> times, floors, ratios;
    double peak = 0;
    long iteration = 0;

    // One iteration: the operation captured and timed, then its statements on the twin.
    auto once = [&](bool record) {
      workload->before(iteration);
      capture.issued.clear();
      capture.executed.clear();
      takeMessages();
      resetPeakMemory();
      capture.active = true;
      const auto start = Clock::now();
      workload->operation(iteration);
      const double seconds = secondsSince(start);
      capture.active = false;
      const double peakMb = peakMemoryMb();
      for (const auto& text : takeMessages()) {
        if (!workload->expectedMessage(text)) throw Error(errc::kStoreFailure, text);
      }
      workload->after(iteration);
      std::string problem;
      const auto statements = floorStatements(problem);
      if (!problem.empty()) throw Error(errc::kStoreFailure, problem);
      const auto floorStart = Clock::now();
      for (const auto& sql : statements) twin.run(sql);
      workload->floorExtra();
      const double floorSeconds = secondsSince(floorStart);
      workload->reset(operationStore, twin);
      ++iteration;
      if (!record) return seconds;
      times.push_back(seconds * 1e3);
      floors.push_back(floorSeconds * 1e3);
      ratios.push_back(seconds / floorSeconds);
      peak = std::max(peak, peakMb);
      return seconds;
    };
    for (long w = 0; w < operation.warmups; ++w) once(false);
    for (auto _ : state) state.SetIterationTime(once(true));

    result.iterations = static_cast<long>(times.size());
    result.timeMs = median(times);
    result.floorMs = median(floors);
    result.ratio = median(ratios);
    result.peakMb = peak;
    state.counters["floor_ms"] = result.floorMs;
    state.counters["ratio"] = result.ratio;
    state.counters["peak_MB"] = result.peakMb;
  } catch (const std::exception& e) {
    capture.active = false;
    result.error = e.what();
    state.SkipWithError(e.what());
  }
  results.push_back(result);
}

std::vector<Operation> operations() {
  auto simple = [](auto factory) -> MakeWorkload {
    return [factory](const fs::path& store, const GeneratedStore&, long, long) {
      return factory(store);
    };
  };
  return {
      {"F113303 save new",
       [](const fs::path& s, const GeneratedStore& g, long, long) {
         return std::make_unique<SaveNewF113303>(s, g);
       },
       200, 100, 5},
      {"F113303 edit",
       [](const fs::path& s, const GeneratedStore&, long n, long k) {
         return std::make_unique<EditF113303>(s, n, k);
       },
       200, 100, 5},
      {"F113303 delete",
       [](const fs::path& s, const GeneratedStore&, long n, long k) {
         return std::make_unique<DeleteF113303>(s, n, k);
       },
       200, 100, 5},
      {"oil-gas SSP edit",
       [](const fs::path& s, const GeneratedStore&, long n, long k) {
         return std::make_unique<EditOilGas>(s, n, k);
       },
       100, 100, 5},
      {"oil-gas SSP delete",
       [](const fs::path& s, const GeneratedStore&, long n, long k) {
         return std::make_unique<DeleteOilGas>(s, n, k);
       },
       50, 100, 5},
      {"import SSP edit",
       [](const fs::path& s, const GeneratedStore&, long n, long k) {
         return std::make_unique<EditImportSsp>(s, n, k);
       },
       50, 100, 5},
      {"import SSP delete",
       [](const fs::path& s, const GeneratedStore&, long n, long k) {
         return std::make_unique<DeleteImportSsp>(s, n, k);
       },
       50, 100, 5},
      {"getNoBuktiHdr",
       simple([](const fs::path& s) { return std::make_unique<NextSlipNumber>(s); }), 100, 20, 2},
      {"pUpdF113202", simple([](const fs::path& s) { return std::make_unique<Recompute>(s); }), 30,
       5, 1},
      {"pEksporPPh", simple([](const fs::path& s) { return std::make_unique<Export>(s); }), 30, 5,
       1},
      {"CImporBP of the exported period",
       [](const fs::path& s, const GeneratedStore&, long n, long) {
         return std::make_unique<ImportFile>(s, exportedFile(n));
       },
       1, 1, 0, [](long) { return profileOnlyStore(); },
       // Each line is a slip's or an SSP's whole save; with the schema's indexes a save still
       // scans its period (see the README), so larger files take hours.
       1000},
      {"carry-over to correction + 1",
       simple([](const fs::path& s) { return std::make_unique<CarryOver>(s); }), 10, 3, 0},
  };
}

// Output --------------------------------------------------------------------------------------

std::string fixed(double value, int decimals) {
  std::ostringstream out;
  out << std::fixed << std::setprecision(decimals) << value;
  return out.str();
}

std::string timeText(double ms) {
  if (ms >= 1000) return fixed(ms / 1000, 2) + " s";
  if (ms >= 10) return fixed(ms, 1) + " ms";
  return fixed(ms, 2) + " ms";
}

// The time of the same operation at the smallest N measured, for the growth column.
const Result* smallest(const Result& r) {
  const Result* best = nullptr;
  for (const auto& other : results) {
    if (other.operation == r.operation && other.error.empty() && (!best || other.n < best->n)) {
      best = &other;
    }
  }
  return best;
}

void printTable(std::ostream& out) {
  const std::vector<std::string> titles = {
      "operation", "N", "time", "floor", "ratio", "peak memory", "time / time at smallest N"};
  std::vector<std::vector<std::string>> rows;
  for (const auto& r : results) {
    if (!r.error.empty()) {
      rows.push_back({r.operation, std::to_string(r.n), "failed: " + r.error, "", "", "", ""});
      continue;
    }
    const Result* first = smallest(r);
    rows.push_back({r.operation, std::to_string(r.n), timeText(r.timeMs), timeText(r.floorMs),
                    fixed(r.ratio, 2) + "x", fixed(r.peakMb, 0) + " MB",
                    first && first->timeMs > 0 ? fixed(r.timeMs / first->timeMs, 2) + "x" : ""});
  }
  std::vector<std::size_t> widths(titles.size());
  for (std::size_t c = 0; c < titles.size(); ++c) widths[c] = titles[c].size();
  for (const auto& row : rows) {
    for (std::size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], row[c].size());
  }
  auto line = [&](const std::vector<std::string>& cells) {
    out << "|";
    for (std::size_t c = 0; c < cells.size(); ++c) {
      const bool left = c == 0;
      out << " " << (left ? std::left : std::right) << std::setw(static_cast<int>(widths[c]))
          << cells[c] << " |";
    }
    out << "\n";
  };
  line(titles);
  out << "|";
  for (std::size_t c = 0; c < titles.size(); ++c) {
    out << (c == 0 ? ":" : "") << std::string(widths[c] + (c == 0 ? 1 : 1), '-')
        << (c == 0 ? "" : ":") << "|";
  }
  out << "\n";
  for (const auto& row : rows) line(row);
}

std::string jsonText(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    if (static_cast<unsigned char>(c) < 0x20) {
      out += ' ';
      continue;
    }
    out += c;
  }
  return out + "\"";
}

void writeFiles() {
  std::ofstream json(settings.out / "results.json");
  json << "{\n  \"results\": [\n";
  for (std::size_t i = 0; i < results.size(); ++i) {
    const auto& r = results[i];
    json << "    {\"operation\": " << jsonText(r.operation) << ", \"n\": " << r.n
         << ", \"iterations\": " << r.iterations << ", \"time_ms\": " << fixed(r.timeMs, 4)
         << ", \"floor_ms\": " << fixed(r.floorMs, 4) << ", \"ratio\": " << fixed(r.ratio, 4)
         << ", \"peak_memory_mb\": " << fixed(r.peakMb, 1) << ", \"error\": " << jsonText(r.error)
         << "}" << (i + 1 < results.size() ? "," : "") << "\n";
  }
  json << "  ]\n}\n";
  std::ofstream csv(settings.out / "results.csv");
  csv << "operation,n,iterations,time_ms,floor_ms,ratio,peak_memory_mb,error\n";
  for (const auto& r : results) {
    csv << "\"" << r.operation << "\"," << r.n << "," << r.iterations << "," << fixed(r.timeMs, 4)
        << "," << fixed(r.floorMs, 4) << "," << fixed(r.ratio, 4) << "," << fixed(r.peakMb, 1)
        << ",\"" << r.error << "\"\n";
  }
}

// Progress goes to standard error, one line per benchmark; the table comes at the end.
class ProgressReporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& /*context*/) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const auto& run : runs) {
      std::cerr << "korvane_bench: " << run.benchmark_name()
                << (run.error_occurred ? " failed: " + run.error_message : " done") << "\n";
    }
  }
};

Settings readSettings(const char* executable) {
  Settings s;
  const char* out = std::getenv("KORVANE_BENCH_OUT");
  s.out = out && *out ? fs::path(out) : fs::absolute(executable).parent_path();
  std::string sizes =
      std::getenv("KORVANE_BENCH_SIZES") ? std::getenv("KORVANE_BENCH_SIZES") : "1000,10000,100000";
  std::stringstream list(sizes);
  std::string item;
  while (std::getline(list, item, ',')) {
    if (!item.empty()) s.sizes.push_back(std::stol(item));
  }
  if (const char* filter = std::getenv("KORVANE_BENCH_FILTER")) s.filter = filter;
  if (const char* reuse = std::getenv("KORVANE_BENCH_REUSE_STORES")) s.reuseStores = *reuse == '1';
  if (const char* all = std::getenv("KORVANE_BENCH_ALL_SIZES")) s.allSizes = *all == '1';
  return s;
}

}  // namespace
}  // namespace korvane::bench

int main(int argc, char** argv) {
  using namespace korvane::bench;
  settings = readSettings(argv[0]);
  fs::create_directories(settings.out);
  sqlite3_auto_extension(reinterpret_cast<void (*)()>(traceEveryConnection));
  korvane::setTraceHook([](std::string_view statement) {
    if (capture.active.load(std::memory_order_relaxed)) capture.issued.emplace_back(statement);
  });
  takeMessages();

  static const auto all = operations();
  for (const auto& operation : all) {
    for (long n : settings.sizes) {
      if (operation.largestN && n > operation.largestN && !settings.allSizes) continue;
      const std::string name = operation.name + "/N=" + std::to_string(n);
      benchmark::RegisterBenchmark(
          name.c_str(),
          [&operation, n](benchmark::State& state) { runBenchmark(state, operation, n); })
          ->Iterations(iterationsFor(operation, n))
          ->UseManualTime()
          ->Unit(benchmark::kMillisecond);
    }
  }
  benchmark::Initialize(&argc, argv);
  ProgressReporter progress;
  if (settings.filter.empty()) {
    benchmark::KORVANE_RUN_BENCHMARKS(&progress);
  } else {
    benchmark::KORVANE_RUN_BENCHMARKS(&progress, settings.filter);
  }
  benchmark::Shutdown();

  printTable(std::cout);
  writeFiles();
  std::cout << "\nwritten: " << (settings.out / "results.json").string() << ", "
            << (settings.out / "results.csv").string() << "\n";
  bool failed = false;
  for (const auto& r : results) failed = failed || !r.error.empty();
  return failed ? 1 : 0;
}
