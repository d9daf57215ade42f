// What every command of the korvane tool shares: the store options, the message-box service
// that turns the component's failure boxes into a non-zero exit, connecting objects by their
// identifiers, the taxpayer's profile and the period a command works on.
#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>

#include "cli11.hpp"
#include "korvane/korvane.hpp"

namespace korvane::cli {

// A command line the tool cannot act on; the text names the flag. Exit code 2.
class UsageError : public std::runtime_error {
 public:
  UsageError(const std::string& flag, const std::string& problem)
      : std::runtime_error(flag + ": " + problem) {}
};

// A failure that has already been shown on standard error. Exit code 1.
class CommandFailed : public std::exception {
 public:
  const char* what() const noexcept override { return "command failed"; }
};

inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

// The message-box service of the tool. Failure boxes go to standard error as
// "korvane: <text>" and are counted; information boxes (the export's closing message) go to
// standard output, each line after the prefix.
class Reporter {
 public:
  static void install();
  static long failures() noexcept;
  static void setInformationPrefix(std::string prefix);
  // Shows a failure of the tool's own in the same way as the component's.
  static void fail(const std::string& text);
};

struct StoreOptions {
  std::string store;
  std::string user;
  std::string password;
};
// --store (also $KORVANE_STORE), --user, --password.
void addStoreOptions(CLI::App* command, StoreOptions& options);

struct PeriodOptions {
  std::string npwp;
  int month = 0;
  int year = 0;
  int correction = -1;  // -1: the latest correction of the period
};
// --month and --year (required), --correction and --npwp (default: the profile's).
void addPeriodOptions(CLI::App* command, PeriodOptions& options);

class Host;
struct Period;
// A "list" subcommand of `parent` with the store and period options and --json, which runs
// `list` on the period.
void addListCommand(CLI::App* parent, const std::string& description,
                    void (*list)(Host&, const Period&, bool json, std::ostream& out));

// The taxpayer as DAT_PROFILE holds him.
struct Profile {
  std::string npwp;
  std::string name;
  std::string address;
  std::string kind;  // JENIS_WP: "Pemungut" (a collector) or "Bukan Pemungut"
  bool collector() const { return kind == "Pemungut"; }
};

// One return: the taxpayer and the period key.
struct Period {
  std::string npwp;
  std::int16_t month = 0;
  std::int16_t year = 0;
  std::int16_t correction = 0;
  // "03/2013".
  std::string monthYear() const;
  // "03/2013, first return" or "03/2013, correction 1".
  std::string title() const;
};

// The connection to one store, shared by the objects a command creates.
class Host {
 public:
  explicit Host(StoreOptions options);

  // Creates "Korvane.<className>" and connects it with pAssignConStr.
  template <class T>
  std::shared_ptr<T> connect(const std::string& className) {
    auto object = CreateObjectAs<T>("Korvane." + className);
    if (!object) fail("Korvane." + className + " is not the class this tool expects.");
    object->pAssignConStr(options_.store, options_.user, options_.password);
    check();
    return object;
  }

  // Throws CommandFailed when a failure was shown since the last check.
  void check();
  // Shows the tool's own failure and throws CommandFailed.
  [[noreturn]] void fail(const std::string& text);

  // The shared services object, connected on first use.
  CGeneralClass& general();
  // SELECT through the shared services; a failed query is a failure of the command (the
  // service itself is silent).
  RecordsetPtr query(const std::string& sql);

  // The taxpayer's profile; fails when the store has none.
  Profile profile();
  // The period a command names; with mustBeOpen, fails unless its main form exists. A missing
  // correction means the latest one.
  Period period(const PeriodOptions& options, bool mustBeOpen = true);
  // The highest correction of the period's main form, -1 when it has not been begun.
  std::int16_t latestCorrection(const std::string& npwp, std::int16_t month, std::int16_t year);

  const StoreOptions& options() const noexcept { return options_; }

 private:
  StoreOptions options_;
  long failuresSeen_;
  std::shared_ptr<CGeneralClass> general_;
  std::unique_ptr<Profile> profile_;
};

// Checks that text can be written into a statement (the library refuses single quotes).
std::string quotable(const std::string& flag, const std::string& value);
// "01.234.567.8-012.000" or "012345678012000" -> "012345678012000"; anything else is a usage
// error of the flag.
std::string npwpOption(const std::string& flag, const std::string& value);
// "31/03/2013" or "2013-03-31".
Date dateOption(const std::string& flag, const std::string& value);
// A plain decimal amount or rate ("1500000", "2.5", "-100").
double numberOption(const std::string& flag, const std::string& value);

}  // namespace korvane::cli
