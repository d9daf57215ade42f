// The class registry and the four in-process server entry points, as a host finds them: by
// identifier in the process, and by symbol in the loaded library.
#include "korvane/host/registry.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <set>

#include "korvane/store/error.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

// Sets an environment variable (nullptr: removes it) for the life of the object.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) saved_ = old;
    set(value);
  }
  ~ScopedEnvironment() { set(saved_ ? saved_->c_str() : nullptr); }

 private:
  void set(const char* value) { value ? ::setenv(name_, value, 1) : ::unsetenv(name_); }
  const char* name_;
  std::optional<std::string> saved_;
};

std::vector<std::string> linesOf(const std::filesystem::path& file) {
  std::vector<std::string> lines;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

TEST(RegistryTest, EveryRegisteredIdentifierCreatesANewObjectOfItsOwnClass) {
  auto ids = registeredProgIds();
  ASSERT_FALSE(ids.empty());
  EXPECT_EQ(ids.front(), "Korvane.CGeneralClass");
  EXPECT_EQ(std::set<std::string>(ids.begin(), ids.end()).size(), ids.size());
  for (const auto& id : ids) {
    ASSERT_EQ(id.rfind("Korvane.", 0), 0u);
    auto object = CreateObject(id);
    ASSERT_TRUE(object) << id;
    EXPECT_EQ(std::string(object->className()), id.substr(8));
  }
  auto general = CreateObjectAs<CGeneralClass>("Korvane.CGeneralClass");
  ASSERT_TRUE(general);
  EXPECT_FALSE(general->connected());
  EXPECT_NE(general, CreateObject("Korvane.CGeneralClass"));
}

TEST(RegistryTest, UnknownIdentifierIsRefused) {
  for (const std::string id : {"Korvane.CNoSuchClass", "CGeneralClass", "Korvane.", ""}) {
    try {
      CreateObject(id);
      ADD_FAILURE() << id << " created an object";
    } catch (const Error& e) {
      EXPECT_EQ(e.number(), errc::kUnknownClass);
      EXPECT_EQ(e.description(), "ActiveX component can't create object: " + id);
    }
  }
}

TEST(RegistryTest, RegistrationFileFollowsTheEnvironment) {
  // KORVANE_REGISTRY, XDG_DATA_HOME, HOME, and the file they give.
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      {"/srv/korvane/classes.reg", "/srv/data", "/home/budi", "/srv/korvane/classes.reg"},
      {nullptr, "/srv/data", "/home/budi", "/srv/data/korvane/classes.reg"},
      {nullptr, nullptr, "/home/budi", "/home/budi/.local/share/korvane/classes.reg"}};
  for (const auto& [registry, data, home, expected] : cases) {
    ScopedEnvironment file("KORVANE_REGISTRY", registry), xdg("XDG_DATA_HOME", data),
        user("HOME", home);
    EXPECT_EQ(registrationFile(), expected);
  }
}

#ifdef KORVANE_LIBRARY_PATH

// A registration file's lines, a library path naming the same file as the test's written as
// the test's.
std::vector<std::string> registeredLines(const std::filesystem::path& file) {
  auto lines = linesOf(file);
  for (auto& line : lines) {
    auto eq = line.find('=');
    std::error_code ec;
    if (eq != std::string::npos &&
        std::filesystem::equivalent(line.substr(eq + 1), KORVANE_LIBRARY_PATH, ec)) {
      line = line.substr(0, eq + 1) + KORVANE_LIBRARY_PATH;
    }
  }
  return lines;
}

// The library's entry points, as a host finds them in it and as this process calls them.
class RegistryLibraryTest : public testing::StoreTest {};

TEST_F(RegistryLibraryTest, LibraryExportsTheFourEntryPoints) {
  void* library = ::dlopen(KORVANE_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << ::dlerror();
  for (const char* name :
       {"DllRegisterServer", "DllUnregisterServer", "DllGetClassObject", "DllCanUnloadNow"}) {
    EXPECT_NE(::dlsym(library, name), nullptr) << name;
  }
  ::dlclose(library);
}

TEST_F(RegistryLibraryTest, RegistersItsIdentifiersAndKeepsForeignLines) {
  const std::vector<std::string> foreign = {"Other.Component=/opt/other/libother.so",
                                            "Korvane.Legacy=/opt/old/libkorvane.so"};
  const auto file = folder() / "classes.reg";
  ScopedEnvironment registry("KORVANE_REGISTRY", file.c_str());
  {
    std::ofstream out(file);
    for (const auto& line : foreign) out << line << '\n';
  }
  auto expected = foreign;
  for (const auto& id : registeredProgIds()) expected.push_back(id + "=" KORVANE_LIBRARY_PATH);
  ASSERT_EQ(DllRegisterServer(), 0);
  EXPECT_EQ(registeredLines(file), expected);
  // Registering again replaces our lines instead of adding a second set.
  ASSERT_EQ(DllRegisterServer(), 0);
  EXPECT_EQ(registeredLines(file), expected);
  ASSERT_EQ(DllUnregisterServer(), 0);
  EXPECT_EQ(linesOf(file), foreign);
}

TEST_F(RegistryLibraryTest, RegistrationMakesTheFilesFolderOrWritesWhereTheHostRuns) {
  {
    auto nested = folder() / "a" / "b" / "classes.reg";
    ScopedEnvironment file("KORVANE_REGISTRY", nested.c_str());
    ASSERT_EQ(DllRegisterServer(), 0);
    EXPECT_EQ(linesOf(nested).size(), registeredProgIds().size());
    ASSERT_EQ(DllUnregisterServer(), 0);
    EXPECT_TRUE(linesOf(nested).empty());
  }
  const auto saved = std::filesystem::current_path();
  std::filesystem::current_path(folder());
  ScopedEnvironment file("KORVANE_REGISTRY", "relative.reg");
  auto registered = DllRegisterServer();
  std::filesystem::current_path(saved);
  EXPECT_EQ(registered, 0);
  EXPECT_EQ(linesOf(folder() / "relative.reg").size(), registeredProgIds().size());
}

TEST_F(RegistryLibraryTest, ClassObjectCreatesInstancesAndUnloadingWaitsForThem) {
  ASSERT_EQ(Object::liveObjects(), 0) << "another test left objects alive";
  EXPECT_EQ(DllCanUnloadNow(), 0);
  void* factory = nullptr;
  ASSERT_EQ(DllGetClassObject("Korvane.CGeneralClass", &factory), 0);
  ASSERT_NE(factory, nullptr);
  auto* classFactory = static_cast<ClassFactory*>(factory);
  EXPECT_STREQ(classFactory->progId(), "Korvane.CGeneralClass");
  auto object = classFactory->CreateInstance();
  ASSERT_TRUE(object);
  EXPECT_STREQ(object->className(), "CGeneralClass");
  EXPECT_EQ(DllCanUnloadNow(), 1);
  auto second = CreateObject("Korvane.CGeneralClass");
  object.reset();
  EXPECT_EQ(DllCanUnloadNow(), 1);
  second.reset();
  EXPECT_EQ(DllCanUnloadNow(), 0);

  constexpr long kClassNotAvailable = -2147221231;
  for (const char* id : {"Korvane.CNoSuchClass", static_cast<const char*>(nullptr)}) {
    factory = &factory;
    EXPECT_EQ(DllGetClassObject(id, &factory), kClassNotAvailable);
    EXPECT_EQ(factory, nullptr);
  }
  EXPECT_EQ(DllGetClassObject("Korvane.CGeneralClass", nullptr), -2147467261);  // E_POINTER
}

#endif  // KORVANE_LIBRARY_PATH

}  // namespace
}  // namespace korvane
