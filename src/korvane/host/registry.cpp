#include "korvane/host/registry.hpp"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "korvane/korvane.hpp"

namespace korvane {
namespace {

struct Entry {
  const char* progId;
  std::function<std::shared_ptr<Object>()> make;
};

template <class T>
Entry entry(const char* progId) {
  return {progId, [] { return std::shared_ptr<Object>(std::make_shared<T>()); }};
}

const std::vector<Entry>& entries() {
  static const std::vector<Entry> table = {
      entry<CGeneralClass>("Korvane.CGeneralClass"),
      entry<CF113202>("Korvane.CF113202"),
      entry<CEksporBP>("Korvane.CEksporBP"),
      entry<CImporBP>("Korvane.CImporBP"),
      entry<CF113303>("Korvane.CF113303"),
      entry<CF113304>("Korvane.CF113304"),
      entry<CF113304A>("Korvane.CF113304A"),
      entry<CF113304S>("Korvane.CF113304S"),
      entry<CF113305>("Korvane.CF113305"),
      entry<cd113204>("Korvane.cd113204"),
      entry<cd113204A>("Korvane.cd113204A"),
      entry<cd113204S>("Korvane.cd113204S"),
      entry<CD113202>("Korvane.CD113202"),
      entry<CInputMigasFinal>("Korvane.CInputMigasFinal"),
      entry<CInputMigasTdkFinal>("Korvane.CInputMigasTdkFinal"),
      entry<CD113203>("Korvane.CD113203"),
      entry<CDPPh22DbyrSdr>("Korvane.CDPPh22DbyrSdr"),
      entry<CInputPPh22Impor>("Korvane.CInputPPh22Impor"),
      entry<CInputPPh22DbyrSdr>("Korvane.CInputPPh22DbyrSdr"),
  };
  return table;
}

class Factory final : public ClassFactory {
 public:
  explicit Factory(const Entry& e) : entry_(e) {}
  const char* progId() const noexcept override { return entry_.progId; }
  std::shared_ptr<Object> CreateInstance() const override { return entry_.make(); }

 private:
  const Entry& entry_;
};

const Factory* findFactory(std::string_view progId) {
  static const std::vector<Factory> factories = [] {
    std::vector<Factory> out;
    for (const auto& e : entries()) out.emplace_back(e);
    return out;
  }();
  for (const auto& f : factories) {
    if (progId == f.progId()) return &f;
  }
  return nullptr;
}

std::string libraryPath() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&DllCanUnloadNow), &info) && info.dli_fname) {
    std::error_code ec;
    auto path = std::filesystem::absolute(info.dli_fname, ec);
    return ec ? std::string(info.dli_fname) : path.string();
  }
  return "libkorvane.so";
}

// Lines of the registration file that do not belong to this library's identifiers.
std::vector<std::string> foreignLines(const std::string& file) {
  std::vector<std::string> kept;
  std::ifstream in(file);
  std::string line;
  while (std::getline(in, line)) {
    auto eq = line.find('=');
    auto id = line.substr(0, eq);
    if (!findFactory(id)) kept.push_back(line);
  }
  return kept;
}

long writeRegistration(bool add) {
  try {
    auto file = registrationFile();
    auto lines = foreignLines(file);
    if (add) {
      auto path = libraryPath();
      for (const auto& e : entries()) lines.push_back(std::string(e.progId) + "=" + path);
    }
    // A bare file name is written where the host runs; there is no folder to make.
    if (auto folder = std::filesystem::path(file).parent_path(); !folder.empty()) {
      std::filesystem::create_directories(folder);
    }
    std::ofstream out(file, std::ios::trunc);
    for (const auto& line : lines) out << line << '\n';
    return out ? 0 : -2147220991;  // SELFREG_E_CLASS
  } catch (...) {
    return -2147220991;
  }
}

}  // namespace

std::shared_ptr<Object> CreateObject(const std::string& progId) {
  if (auto factory = findFactory(progId)) return factory->CreateInstance();
  throw Error(errc::kUnknownClass, "ActiveX component can't create object: " + progId);
}

std::vector<std::string> registeredProgIds() {
  std::vector<std::string> out;
  for (const auto& e : entries()) out.emplace_back(e.progId);
  return out;
}

std::string registrationFile() {
  if (const char* file = std::getenv("KORVANE_REGISTRY"); file && *file) return file;
  std::filesystem::path base;
  if (const char* data = std::getenv("XDG_DATA_HOME"); data && *data) {
    base = data;
  } else if (const char* home = std::getenv("HOME"); home && *home) {
    base = std::filesystem::path(home) / ".local" / "share";
  } else {
    base = ".";
  }
  return (base / "korvane" / "classes.reg").string();
}

}  // namespace korvane

extern "C" {

long DllRegisterServer() { return korvane::writeRegistration(true); }

long DllUnregisterServer() { return korvane::writeRegistration(false); }

long DllGetClassObject(const char* progId, void** factory) {
  if (!factory) return -2147467261;  // E_POINTER
  *factory = nullptr;
  if (!progId) return -2147221231;  // CLASS_E_CLASSNOTAVAILABLE
  auto found = korvane::findFactory(progId);
  if (!found) return -2147221231;
  *factory =
      const_cast<void*>(static_cast<const void*>(static_cast<const korvane::ClassFactory*>(found)));
  return 0;
}

long DllCanUnloadNow() { return korvane::Object::liveObjects() == 0 ? 0 : 1; }
}
