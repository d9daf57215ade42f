// The class registry and the four in-process server entry points, as a host finds them: by
// identifier in the process, and by symbol in the loaded library.
#include "korvane/host/registry.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "korvane/store/error.hpp"
#include "korvane/store/general_class.hpp"

namespace korvane {
namespace {

// Sets an environment variable for the life of the object and puts the old value back.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char* name, const std::optional<std::string>& value) : name_(name) {
    if (const char* old = std::getenv(name)) saved_ = old;
    set(value);
  }
  ~ScopedEnvironment() { set(saved_); }
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  void set(const std::optional<std::string>& value) {
    if (value) {
      ::setenv(name_, value->c_str(), 1);
    } else {
      ::unsetenv(name_);
    }
  }
  const char* name_;
  std::optional<std::string> saved_;
};

std::filesystem::path freshFolder(const char* kind) {
  static std::atomic<int> counter{0};
  auto folder = std::filesystem::temp_directory_path() /
                ("korvane-" + std::string(kind) + "-" + std::to_string(::getpid()) + "-" +
                 std::to_string(counter++));
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  return folder;
}

std::vector<std::string> linesOf(const std::filesystem::path& file) {
  std::vector<std::string> lines;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

TEST(RegistryTest, CreatesAnObjectByItsIdentifier) {
  auto object = CreateObject("Korvane.CGeneralClass");
  ASSERT_TRUE(object);
  EXPECT_STREQ(object->className(), "CGeneralClass");
  auto general = CreateObjectAs<CGeneralClass>("Korvane.CGeneralClass");
  ASSERT_TRUE(general);
  EXPECT_FALSE(general->connected());
  EXPECT_NE(general, object);  // a new object each time
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

TEST(RegistryTest, EveryRegisteredIdentifierCreatesItsOwnClass) {
  auto ids = registeredProgIds();
  ASSERT_FALSE(ids.empty());
  EXPECT_EQ(ids.front(), "Korvane.CGeneralClass");
  std::set<std::string> unique(ids.begin(), ids.end());
  EXPECT_EQ(unique.size(), ids.size());
  for (const auto& id : ids) {
    SCOPED_TRACE(id);
    ASSERT_EQ(id.rfind("Korvane.", 0), 0u);
    auto object = CreateObject(id);
    ASSERT_TRUE(object);
    EXPECT_EQ(std::string(object->className()), id.substr(8));
  }
}

TEST(RegistryTest, RegistrationFileFollowsTheEnvironment) {
  {
    ScopedEnvironment file("KORVANE_REGISTRY", "/srv/korvane/classes.reg");
    EXPECT_EQ(registrationFile(), "/srv/korvane/classes.reg");
  }
  ScopedEnvironment noFile("KORVANE_REGISTRY", std::nullopt);
  {
    ScopedEnvironment data("XDG_DATA_HOME", "/srv/data");
    EXPECT_EQ(registrationFile(), "/srv/data/korvane/classes.reg");
  }
  ScopedEnvironment noData("XDG_DATA_HOME", std::nullopt);
  ScopedEnvironment home("HOME", "/home/budi");
  EXPECT_EQ(registrationFile(), "/home/budi/.local/share/korvane/classes.reg");
}

#ifdef KORVANE_LIBRARY_PATH

// The library as a host loads it: by path, through its exported entry points.
class RegistryLibraryTest : public ::testing::Test {
 protected:
  using Status = long (*)();
  using GetClassObject = long (*)(const char*, void**);

  void SetUp() override {
    library_ = ::dlopen(KORVANE_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library_, nullptr) << ::dlerror();
    registerServer_ = symbol<Status>("DllRegisterServer");
    unregisterServer_ = symbol<Status>("DllUnregisterServer");
    getClassObject_ = symbol<GetClassObject>("DllGetClassObject");
    canUnloadNow_ = symbol<Status>("DllCanUnloadNow");
    folder_ = freshFolder("registry");
    registry_ = folder_ / "classes.reg";
    environment_.emplace("KORVANE_REGISTRY", registry_.string());
  }
  void TearDown() override {
    environment_.reset();
    if (library_) ::dlclose(library_);
    std::error_code ec;
    std::filesystem::remove_all(folder_, ec);
  }

  template <class F>
  F symbol(const char* name) {
    void* address = ::dlsym(library_, name);
    EXPECT_NE(address, nullptr) << name;
    return reinterpret_cast<F>(address);
  }

  // What registration writes for this library.
  static std::vector<std::string> ourLines() {
    std::vector<std::string> lines;
    for (const auto& id : registeredProgIds()) lines.push_back(id + "=" KORVANE_LIBRARY_PATH);
    return lines;
  }
  // The registration file's lines, with the library path as written replaced by the one the
  // test knows when both name the same file.
  std::vector<std::string> registeredLines() const {
    auto lines = linesOf(registry_);
    for (auto& line : lines) {
      auto eq = line.find('=');
      if (eq == std::string::npos) continue;
      std::error_code ec;
      if (std::filesystem::equivalent(line.substr(eq + 1), KORVANE_LIBRARY_PATH, ec)) {
        line = line.substr(0, eq + 1) + KORVANE_LIBRARY_PATH;
      }
    }
    return lines;
  }

  void* library_ = nullptr;
  Status registerServer_ = nullptr;
  Status unregisterServer_ = nullptr;
  GetClassObject getClassObject_ = nullptr;
  Status canUnloadNow_ = nullptr;
  std::filesystem::path folder_;
  std::filesystem::path registry_;
  std::optional<ScopedEnvironment> environment_;
};

TEST_F(RegistryLibraryTest, RegistersItsIdentifiersAndKeepsForeignLines) {
  const std::vector<std::string> foreign = {"Other.Component=/opt/other/libother.so",
                                            "Korvane.Legacy=/opt/old/libkorvane.so"};
  {
    std::ofstream out(registry_);
    for (const auto& line : foreign) out << line << '\n';
  }
  ASSERT_EQ(registerServer_(), 0);
  auto expected = foreign;
  for (const auto& line : ourLines()) expected.push_back(line);
  EXPECT_EQ(registeredLines(), expected);

  // Registering again replaces our lines instead of adding a second set.
  ASSERT_EQ(registerServer_(), 0);
  EXPECT_EQ(registeredLines(), expected);

  ASSERT_EQ(unregisterServer_(), 0);
  EXPECT_EQ(linesOf(registry_), foreign);
}

TEST_F(RegistryLibraryTest, RegistrationMakesTheFilesFolder) {
  auto nested = folder_ / "a" / "b" / "classes.reg";
  ScopedEnvironment file("KORVANE_REGISTRY", nested.string());
  ASSERT_EQ(registerServer_(), 0);
  EXPECT_EQ(linesOf(nested).size(), registeredProgIds().size());
  ASSERT_EQ(unregisterServer_(), 0);
  EXPECT_TRUE(linesOf(nested).empty());
}

TEST_F(RegistryLibraryTest, RegistrationFileWithoutAFolderIsWrittenWhereTheHostRuns) {
  const auto saved = std::filesystem::current_path();
  std::filesystem::current_path(folder_);
  ScopedEnvironment file("KORVANE_REGISTRY", "relative.reg");
  auto registered = registerServer_();
  std::filesystem::current_path(saved);
  EXPECT_EQ(registered, 0);
  EXPECT_EQ(linesOf(folder_ / "relative.reg").size(), registeredProgIds().size());
}

TEST_F(RegistryLibraryTest, ClassObjectCreatesInstancesOfItsIdentifier) {
  void* factory = nullptr;
  ASSERT_EQ(getClassObject_("Korvane.CGeneralClass", &factory), 0);
  ASSERT_NE(factory, nullptr);
  auto* classFactory = static_cast<ClassFactory*>(factory);
  EXPECT_STREQ(classFactory->progId(), "Korvane.CGeneralClass");
  auto object = classFactory->CreateInstance();
  ASSERT_TRUE(object);
  EXPECT_STREQ(object->className(), "CGeneralClass");

  constexpr long kClassNotAvailable = -2147221231;
  constexpr long kPointer = -2147467261;
  factory = &factory;
  EXPECT_EQ(getClassObject_("Korvane.CNoSuchClass", &factory), kClassNotAvailable);
  EXPECT_EQ(factory, nullptr);
  EXPECT_EQ(getClassObject_(nullptr, &factory), kClassNotAvailable);
  EXPECT_EQ(factory, nullptr);
  EXPECT_EQ(getClassObject_("Korvane.CGeneralClass", nullptr), kPointer);
}

TEST_F(RegistryLibraryTest, CanUnloadOnlyWhenNoObjectLives) {
  ASSERT_EQ(Object::liveObjects(), 0) << "another test left objects alive";
  EXPECT_EQ(canUnloadNow_(), 0);
  void* factory = nullptr;
  ASSERT_EQ(getClassObject_("Korvane.CGeneralClass", &factory), 0);
  auto object = static_cast<ClassFactory*>(factory)->CreateInstance();
  EXPECT_EQ(canUnloadNow_(), 1);
  auto second = CreateObject("Korvane.CGeneralClass");
  object.reset();
  EXPECT_EQ(canUnloadNow_(), 1);
  second.reset();
  EXPECT_EQ(canUnloadNow_(), 0);
}

#endif  // KORVANE_LIBRARY_PATH

}  // namespace
}  // namespace korvane
