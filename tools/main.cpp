// The korvane command: a host for accountants and scripts. It drives the component's public
// classes as a desktop host does (created by identifier, connected with pAssignConStr, called
// in the order their interfaces ask for) and holds no tax logic of its own.
//
// Exit codes: 0 done; 1 a failure (the component's message, or the tool's, on standard
// error); 2 a command line that names no valid command or flag.
#include <iostream>

#include "cli11.hpp"
#include "commands.hpp"
#include "host.hpp"

int main(int argc, char** argv) {
  using namespace korvane::cli;
  Reporter::install();

  CLI::App app{"korvane - prepares the monthly article-22 income-tax return (SPT Masa PPh 22)",
               "korvane"};
  app.require_subcommand(1);
  app.footer(
      "Every command names its store with --store PATH (an embedded file) or --store DSN with\n"
      "--user and --password (an ODBC data source); $KORVANE_STORE is used when --store is\n"
      "left out. `korvane demo` shows a whole return being prepared.");
  addStoreCommands(app);
  addSlipCommands(app);
  addSspCommands(app);
  addReturnCommands(app);
  addExchangeCommands(app);
  addDemoCommand(app);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    const int code = app.exit(e);
    return code == 0 ? 0 : kExitUsage;
  } catch (const UsageError& e) {
    std::cout.flush();
    std::cerr << "korvane: " << e.what() << "\nRun with --help for more information.\n";
    return kExitUsage;
  } catch (const CommandFailed&) {
    return kExitFailure;
  } catch (const korvane::Error& e) {
    Reporter::fail(e.description());
    return kExitFailure;
  } catch (const std::exception& e) {
    Reporter::fail(e.what());
    return kExitFailure;
  }
  return Reporter::failures() > 0 ? kExitFailure : 0;
}
