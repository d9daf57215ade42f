// The subcommands of the korvane tool, and the steps the demo shares with them.
#pragma once

#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "cli11.hpp"
#include "host.hpp"

namespace korvane::cli {

void addStoreCommands(CLI::App& app);
void addReturnCommands(CLI::App& app);
void addSlipCommands(CLI::App& app);
void addSspCommands(CLI::App& app);
void addExchangeCommands(CLI::App& app);
void addDemoCommand(CLI::App& app);

// Store and period ------------------------------------------------------------------------------

// Creates the store (a new embedded file, or the schema behind a DSN) and writes the profile.
void createStore(const StoreOptions& store, const Profile& profile);
// Begins the first return of a period, or with correction the next correction of a begun one
// (the previous correction's rows are carried over). Returns the period opened.
Period openPeriod(Host& host, const std::string& npwp, std::int16_t month, std::int16_t year,
                  bool correction, const Date& paidOn);

// Main return ---------------------------------------------------------------------------------

// The main form's fields, read from the component, by column name.
using ReturnFields = std::vector<std::pair<std::string, Variant>>;
ReturnFields readReturn(Host& host, const Period& period, bool recompute);
void printReturn(std::ostream& out, const Period& period, const std::string& name,
                 const ReturnFields& fields);
void printReturnJson(std::ostream& out, const Period& period, const std::string& name,
                     const ReturnFields& fields);
// The columns a return is compared by: its lines, totals and payment-slip count.
std::vector<std::string> returnLineColumns();

// Slips and payment slips ------------------------------------------------------------------

// Values for a slip or SSP entry by flag name (without "--"), as the command line gives them.
using EntryValues = std::vector<std::pair<std::string, Variant>>;

struct EntryResult {
  std::string number;  // slip number or NTTP
  std::string form;    // KD_FORM
  double base = 0;
  double tax = 0;
};

// Adds (number empty: the component proposes one) or edits a slip of a form.
EntryResult addSlip(Host& host, const Period& period, const std::string& form,
                    const EntryValues& values, std::string number = "");
EntryResult editSlip(Host& host, const Period& period, const std::string& form,
                     const std::string& number, const EntryValues& values);
void deleteSlip(Host& host, const Period& period, const std::string& number, std::string form = "");
void listSlips(Host& host, const Period& period, bool json, std::ostream& out);

// kind: "migas-final", "migas-nonfinal", "import", "domestic", "self-paid" (or the KD_FORM).
EntryResult addSsp(Host& host, const Period& period, const std::string& kind,
                   const EntryValues& values);
EntryResult editSsp(Host& host, const Period& period, const std::string& kind,
                    const std::string& nttp, double seq, const EntryValues& values);
void deleteSsp(Host& host, const Period& period, const std::string& kind, const std::string& nttp,
               double seq);
void listSsps(Host& host, const Period& period, bool json, std::ostream& out);

// Export and import ---------------------------------------------------------------------------

// Writes the period's export file into the folder; returns the file's path.
std::string exportPeriod(Host& host, const Period& period, const std::string& folder);
// Enters an export file's lines into the store; returns the lines imported per form.
std::vector<std::pair<std::string, long>> importFile(Host& host, const std::string& npwp,
                                                     const std::string& file);

}  // namespace korvane::cli
