#include "host.hpp"

#include <atomic>
#include <cctype>
#include <iostream>
#include <mutex>
#include <utility>

#include "korvane/store/sql.hpp"

namespace korvane::cli {
namespace {

std::atomic<long> failureCount{0};
std::mutex informationMutex;
std::string informationPrefix;

// The component writes its boxes with CR LF line ends.
std::string plainLines(std::string text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    if (c != '\r') out += c;
  }
  while (!out.empty() && out.back() == '\n') out.pop_back();
  return out;
}

void writeLines(std::ostream& out, const std::string& prefix, const std::string& text) {
  std::size_t start = 0;
  while (true) {
    auto end = text.find('\n', start);
    out << prefix << text.substr(start, end - start) << '\n';
    if (end == std::string::npos) break;
    start = end + 1;
  }
  out.flush();
}

}  // namespace

void Reporter::install() {
  setMessageBoxHandler([](const MessageBoxRequest& box) {
    const auto text = plainLines(box.text);
    if (box.icon == kIconInformation) {
      std::lock_guard lock(informationMutex);
      writeLines(std::cout, informationPrefix, text);
    } else {
      ++failureCount;
      std::cout.flush();
      writeLines(std::cerr, "korvane: ", text);
    }
    return kAnswerOk;
  });
}

long Reporter::failures() noexcept { return failureCount.load(); }

void Reporter::setInformationPrefix(std::string prefix) {
  std::lock_guard lock(informationMutex);
  informationPrefix = std::move(prefix);
}

void Reporter::fail(const std::string& text) {
  ++failureCount;
  std::cout.flush();
  writeLines(std::cerr, "korvane: ", text);
}

void addStoreOptions(CLI::App* command, StoreOptions& options) {
  command
      ->add_option("--store", options.store,
                   "The store: a file path (embedded store) or an ODBC data source name")
      ->envname("KORVANE_STORE")
      ->required();
  command->add_option("--user", options.user, "User name for an ODBC data source");
  command->add_option("--password", options.password, "Password for an ODBC data source");
}

void addPeriodOptions(CLI::App* command, PeriodOptions& options) {
  command->add_option("--month", options.month, "Tax month (1-12)")
      ->required()
      ->check(CLI::Range(1, 12));
  command->add_option("--year", options.year, "Tax year")
      ->required()
      ->check(CLI::Range(1984, 9999));
  command
      ->add_option("--correction", options.correction,
                   "Correction number, 0 for the first return (default: the latest)")
      ->check(CLI::Range(0, 32767));
  command->add_option("--npwp", options.npwp,
                      "Taxpayer number (default: the one in the store's profile)");
}

void addListCommand(CLI::App* parent, const std::string& description,
                    void (*list)(Host&, const Period&, bool json, std::ostream& out)) {
  struct Options {
    StoreOptions store;
    PeriodOptions period;
    bool json = false;
  };
  auto o = std::make_shared<Options>();
  auto* cmd = parent->add_subcommand("list", description);
  addStoreOptions(cmd, o->store);
  addPeriodOptions(cmd, o->period);
  cmd->add_flag("--json", o->json, "Write JSON for scripts");
  cmd->callback([o, list] {
    Host host(o->store);
    list(host, host.period(o->period), o->json, std::cout);
  });
}

std::string Period::monthYear() const {
  return (month < 10 ? "0" : "") + std::to_string(month) + "/" + std::to_string(year);
}

std::string Period::title() const {
  return monthYear() +
         (correction == 0 ? ", first return" : ", correction " + std::to_string(correction));
}

Host::Host(StoreOptions options)
    : options_(std::move(options)), failuresSeen_(Reporter::failures()) {}

void Host::check() {
  const long now = Reporter::failures();
  if (now != failuresSeen_) {
    failuresSeen_ = now;
    throw CommandFailed();
  }
}

void Host::fail(const std::string& text) {
  Reporter::fail(text);
  failuresSeen_ = Reporter::failures();
  throw CommandFailed();
}

CGeneralClass& Host::general() {
  if (!general_) general_ = connect<CGeneralClass>("CGeneralClass");
  return *general_;
}

RecordsetPtr Host::query(const std::string& sql) {
  auto rows = general().pGetRecordDbase(sql);
  check();
  if (!rows) fail("The store could not answer a query: " + sql);
  return rows;
}

Profile Host::profile() {
  if (profile_) return *profile_;
  auto rows = query("SELECT NPWP, NAMA_WP_PROFILE, ALAMAT, JENIS_WP FROM DAT_PROFILE");
  if (rows->EndOfFile()) {
    fail("The store has no taxpayer profile; create the store with `korvane init`.");
  }
  Profile profile;
  profile.npwp = rows->Fields("NPWP").Value().text();
  profile.name = rows->Fields("NAMA_WP_PROFILE").Value().text();
  profile.address = rows->Fields("ALAMAT").Value().text();
  profile.kind = rows->Fields("JENIS_WP").Value().text();
  profile_ = std::make_unique<Profile>(profile);
  return profile;
}

std::int16_t Host::latestCorrection(const std::string& npwp, std::int16_t month,
                                    std::int16_t year) {
  const auto latest = general().aMaxKdPembetulan(npwp, "112", month, "F113202", year);
  check();
  return latest;
}

Period Host::period(const PeriodOptions& options, bool mustBeOpen) {
  Period period;
  period.npwp = options.npwp.empty() ? profile().npwp : npwpOption("--npwp", options.npwp);
  period.month = static_cast<std::int16_t>(options.month);
  period.year = static_cast<std::int16_t>(options.year);
  const auto latest = latestCorrection(period.npwp, period.month, period.year);
  if (options.correction >= 0) {
    period.correction = static_cast<std::int16_t>(options.correction);
    if (mustBeOpen && period.correction > latest) {
      fail("The return " + period.title() +
           " has not been begun; open it with `korvane period open`.");
    }
  } else if (latest >= 0) {
    period.correction = latest;
  } else if (mustBeOpen) {
    fail("The period " + period.monthYear() +
         " has not been begun; open it with `korvane period open`.");
  }
  return period;
}

std::string quotable(const std::string& flag, const std::string& value) {
  try {
    sql::text(value);
  } catch (const Error&) {
    throw UsageError(flag, "a single quote (') cannot be stored.");
  }
  return value;
}

std::string npwpOption(const std::string& flag, const std::string& value) {
  std::string digits;
  for (char c : value) {
    if (std::isdigit(static_cast<unsigned char>(c))) {
      digits += c;
    } else if (c != '.' && c != '-' && c != ' ') {
      digits.clear();
      break;
    }
  }
  if (digits.size() != 15) {
    throw UsageError(flag, "\"" + value +
                               "\" is not a taxpayer number (15 digits, e.g. 01.234.567.8-012.000;"
                               " 000000000000000 for a party without one).");
  }
  return digits;
}

Date dateOption(const std::string& flag, const std::string& value) {
  Date date;
  if (!Date::tryParse(value, date) || !date.valid()) {
    throw UsageError(flag, "\"" + value + "\" is not a date (DD/MM/YYYY or YYYY-MM-DD).");
  }
  return date;
}

double numberOption(const std::string& flag, const std::string& value) {
  double number = 0;
  if (!parseNumber(value, number)) {
    throw UsageError(flag, "\"" + value + "\" is not a number (digits, \".\" for decimals).");
  }
  return number;
}

}  // namespace korvane::cli
