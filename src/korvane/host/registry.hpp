// The class registry: every public class is created by its programmatic identifier
// "Korvane.<class name>", and the library answers the four in-process server entry points.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "korvane/store/business_object.hpp"

namespace korvane {

// Creates an object by identifier, e.g. CreateObject("Korvane.CF113303"). Throws
// Error(errc::kUnknownClass) for an identifier the library does not serve.
std::shared_ptr<Object> CreateObject(const std::string& progId);

// Creates and casts: CreateObjectAs<CF113303>("Korvane.CF113303"); nullptr if the identifier
// names another class.
template <class T>
std::shared_ptr<T> CreateObjectAs(const std::string& progId) {
  return std::dynamic_pointer_cast<T>(CreateObject(progId));
}

// Every identifier the library serves, in registration order.
std::vector<std::string> registeredProgIds();

// What DllGetClassObject hands out: a factory for one identifier. Factories live as long as
// the library is loaded.
class ClassFactory {
 public:
  virtual ~ClassFactory() = default;
  virtual const char* progId() const noexcept = 0;
  virtual std::shared_ptr<Object> CreateInstance() const = 0;
};

// Where DllRegisterServer records the identifiers: $KORVANE_REGISTRY when set, otherwise
// $XDG_DATA_HOME/korvane/classes.reg (default ~/.local/share/korvane/classes.reg). One line per
// identifier: "Korvane.CF113202=/path/to/libkorvane.so".
std::string registrationFile();

}  // namespace korvane

// In-process server entry points, with the classic result codes: 0 success, 1 "no" (S_FALSE),
// negative failures.
extern "C" {
long DllRegisterServer();
long DllUnregisterServer();
// *factory receives a korvane::ClassFactory* for the identifier (not to be deleted).
long DllGetClassObject(const char* progId, void** factory);
long DllCanUnloadNow();
}
