// The korvane command: a host for accountants and scripts that drives the public classes.
#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>

#include "korvane/korvane.hpp"

namespace {

int runDemo(const std::string& path) {
  namespace fs = std::filesystem;
  auto store = path.empty() ? (fs::temp_directory_path() / "korvane-demo.db").string() : path;
  std::error_code ec;
  fs::remove(store, ec);
  korvane::store::createStore(store);
  std::cout << "Created the embedded store " << store << "\n";
  auto general = korvane::CreateObjectAs<korvane::CGeneralClass>("Korvane.CGeneralClass");
  general->pAssignConStr(store, "", "");
  auto rates = general->pGetRecordDbase(
      "SELECT KODE_FORM, ITEM_PENGHASILAN, TARIF_JML_BRUTO FROM SETTING_TARIF_PPH "
      "ORDER BY KODE_FORM, ITEM_PENGHASILAN");
  if (!rates) return 1;
  std::cout << "Article-22 rates it starts with:\n";
  for (; !rates->EndOfFile(); rates->MoveNext()) {
    std::cout << "  " << rates->Fields("KODE_FORM").Value().text() << " "
              << rates->Fields("ITEM_PENGHASILAN").Value().text() << " "
              << rates->Fields("TARIF_JML_BRUTO").Value().text() << "%\n";
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"korvane - prepares the monthly article-22 income-tax return"};
  app.require_subcommand(1);
  std::string demoStore;
  auto demo = app.add_subcommand("demo", "Prepare a whole return on a new embedded store");
  demo->add_option("--store", demoStore, "Path of the store to create (default: a temporary file)");
  std::string initStore;
  auto init = app.add_subcommand("init", "Create an embedded store");
  init->add_option("store", initStore, "Path of the new store")->required();
  CLI11_PARSE(app, argc, argv);
  try {
    if (*demo) return runDemo(demoStore);
    if (*init) {
      korvane::store::createStore(initStore);
      std::cout << "Created " << initStore << "\n";
    }
  } catch (const korvane::Error& e) {
    std::cerr << "korvane: " << e.description() << "\n";
    return 1;
  }
  return 0;
}
