// Fails the k-th statement of one operation of each kind, for every k in turn (a bounded spread
// for long operations), and checks what a host sees: one message with the store's
// description, no exception, the statements before the failure kept (nothing is rolled back but
// by the import, which writes all or nothing) and the object still usable.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "korvane/exchange/import.hpp"
#include "korvane/korvane.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kInjected = "disk I/O error (injected)";
using testing::StoreTest;
constexpr const char* kTaxpayer = StoreTest::kNpwp;
constexpr const char* kName = StoreTest::kName;
constexpr const char* kAddress = StoreTest::kAddress;
constexpr const char* kNumber = "000001/PPH22";
constexpr const char* kNttp = "NT-1";
const Date kToday(2013, 6, 15);
const Date kCut(2013, 5, 15);
constexpr const char* kRows =
    "SELECT (SELECT COUNT(*) FROM DS_FORM_INDUK) + (SELECT COUNT(*) FROM DAT_SSP_PPh22)";

// The statements act ran; the failAt-th one fails (none with 0).
std::vector<std::string> statementsOf(const std::function<void()>& act, std::size_t failAt = 0) {
  std::vector<std::string> ran;
  std::size_t issued = 0;
  setTraceHook([&](std::string_view statement) { ran.emplace_back(statement); });
  store::setFaultHook([&](std::string_view) {
    if (++issued == failAt) throw Error(errc::kStoreFailure, kInjected);
  });
  EXPECT_NO_THROW(act());
  store::setFaultHook(nullptr);
  setTraceHook(nullptr);
  return ran;
}

// Every k up to 20, then a spread, and always the last one.
std::vector<std::size_t> failurePoints(std::size_t statements) {
  std::vector<std::size_t> points;
  const std::size_t step = statements <= 20 ? 1 : std::max<std::size_t>(1, (statements - 20) / 10);
  for (std::size_t k = 1; k <= statements; k += k < 20 ? 1 : step) points.push_back(k);
  if (points.back() != statements) points.push_back(statements);
  return points;
}

void createMainReturn(CF113202& mainReturn) {
  mainReturn.pCreateF113202Hdr(kTaxpayer, "F113202", "01", 5, 2013, 0, "-", "112", kName, kAddress,
                               kToday, Date(2013, 6, 1), "Pemungut");
}

// A slip and an SSP filled as a host fills them, not yet saved, and their deletes. A slip of
// another form, or an edit, runs through the same SlipForm save and delete; the other SSP
// classes run the same SspInput frame.
void fill(CF113303& slip) {
  slip.pCreateF113303Hdr(kTaxpayer, "F113303", "02", 5, 2013, 0, kNumber, "112", kName, kAddress,
                         kCut);
  slip.pGetF113303(kTaxpayer, "F113303", "02", 5, 2013, 0, kNumber, "112", "", "", kCut);
  slip.pAssignOldValues();
  slip.pAssignStatus(true, false, false);
  slip.aNPWPLT("01.234.567.8-901.000");
  slip.getTaxRate();
  slip.aB3a4(10.0);
  slip.aB3a3(100.0);
  slip.pHitPjk(0);
}
void fill(CInputPPh22Impor& slip) {
  slip.pCreateHdr(kTaxpayer, "PPh22Impor", "10", 5, 2013, 0, kNttp, "112", kName, kAddress, kToday,
                  "", "Pemungut");
  slip.pGet(kTaxpayer, "PPh22Impor", "10", 5, 2013, 0, kNttp, "112", kName, kAddress, kToday, 0);
  slip.pAssignOldValues();
  double seq = -1;
  slip.pGetMaxSeqNo(5, 2013, 0, 0, seq);
  slip.aSEQ(seq);
  slip.aNPWPLT("023456789012000");
  slip.aA13(1000000.0);
  slip.aA14(25000.0);
  slip.pHitPjk(1);
  slip.pAssignStatus(true, false, false);
}
void erase(CF113303& slip) {
  slip.pDeleteF113303(kTaxpayer, "F113303", "02", 5, 2013, 0, kNumber, "112");
}
void erase(CInputPPh22Impor& slip) {
  slip.pDeleteForm(kTaxpayer, "PPh22Impor", "10", 5, 2013, 0, kNttp, "112", "", 0);
}
void save(CF113303& slip) { slip.pUpdate(5, "2013", "0"); }
void save(CInputPPh22Impor& slip) { slip.pUpdate(); }

// A read any connected form object answers without a message: the object is still usable.
std::function<void()> loadsMainReturn(std::shared_ptr<BusinessObject> object) {
  return [object] {
    CF113202 mainReturn;
    mainReturn.attach(*object);
    mainReturn.pGetF113202(kTaxpayer, 5, 2013, 0);
  };
}
// The one call under test, and a read the same object must still answer afterwards (with the
// number of messages that read shows on its own).
struct Prepared {
  std::function<void()> act;
  std::function<void()> probe;
  std::size_t probeMessages = 0;
};

class FaultInjectionTest : public testing::StoreTest {
 public:
  using StoreTest::clearMessages;
  using StoreTest::connected;
  using StoreTest::folder;

  void beginPeriod() {
    insertProfile();
    createMainReturn(*connected<CF113202>());
  }
  template <class Kind>
  void add() {
    auto object = connected<Kind>();
    fill(*object);
    save(*object);
  }
  // A period with a slip and an SSP.
  void fullPeriod() {
    beginPeriod();
    add<CF113303>();
    add<CInputPPh22Impor>();
  }
};

template <class Kind>
Prepared saving(FaultInjectionTest& t) {
  t.beginPeriod();
  auto object = t.connected<Kind>();
  fill(*object);
  return {[object] { save(*object); }, loadsMainReturn(object)};
}
template <class Kind>
Prepared deleting(FaultInjectionTest& t) {
  t.beginPeriod();
  t.add<Kind>();
  auto object = t.connected<Kind>();
  return {[object] { erase(*object); }, loadsMainReturn(object)};
}

struct Operation {
  const char* name;
  Prepared (*arrange)(FaultInjectionTest&);
  // Import names the failing line around the store's description, and writes all or nothing.
  bool import = false;
};

const Operation kOperations[] = {
    {"pCreateF113202Hdr",
     [](FaultInjectionTest& t) {
       auto mainReturn = t.connected<CF113202>();
       return Prepared{[mainReturn] { createMainReturn(*mainReturn); },
                       loadsMainReturn(mainReturn)};
     }},
    {"F113303Save", saving<CF113303>},
    {"F113303Delete", deleting<CF113303>},
    {"PPh22ImporSave", saving<CInputPPh22Impor>},
    {"PPh22ImporDelete", deleting<CInputPPh22Impor>},
    {"CarryOver",
     [](FaultInjectionTest& t) {
       t.fullPeriod();
       auto mainReturn = t.connected<CF113202>();
       return Prepared{[mainReturn] { mainReturn->pCopyAllData(kTaxpayer, "112", 5, 2013, 0); },
                       loadsMainReturn(mainReturn)};
     }},
    {"PeriodDelete",
     [](FaultInjectionTest& t) {
       t.fullPeriod();
       auto general = t.connected<CGeneralClass>();
       return Prepared{
           [general] { general->pDelete(kTaxpayer, "112", 5, 2013, 0); },
           [general] { general->aMaxKdPembetulan(kTaxpayer, "112", 5, "F113202", 2013); }};
     }},
    {"Export",
     [](FaultInjectionTest& t) {
       t.fullPeriod();
       auto exporter = t.connected<CEksporBP>();
       auto run = [exporter, into = t.folder().string() + "/"] {
         exporter->pEksporPPh(kTaxpayer, 22, "5", "2013", 0, into, "Pemungut");
       };
       // The export reads everything before it creates the file: a failing read leaves the
       // file of an earlier export exactly as it was.
       run();
       const auto file = t.folder() / "Ravelin.CSV";
       const std::string before = testing::fileText(file);
       EXPECT_GT(before.size(), exchange::headerLine().size());
       t.clearMessages();
       // The read afterwards is a whole export: it ends with its count.
       return Prepared{run,
                       [run, file, before] {
                         EXPECT_EQ(testing::fileText(file), before);
                         run();
                       },
                       1};
     }},
    {"Import",
     [](FaultInjectionTest& t) {
       t.fullPeriod();
       const auto into = t.folder();
       t.connected<CEksporBP>()->pEksporPPh(kTaxpayer, 22, "5", "2013", 0, into.string() + "/",
                                            "Pemungut");
       t.connected<CGeneralClass>()->pDelete(kTaxpayer, "112", 5, 2013, 0);
       t.clearMessages();
       auto importer = t.connected<CImporBP>();
       auto load = [importer, into](const char* name) {
         importer->pImporPPh(kTaxpayer, 22, (into / name).string(), "Pemungut");
       };
       // A missing file is refused with its own message: the object still answers.
       return Prepared{[load] { load("Ravelin.CSV"); }, [load] { load("none.csv"); }, 1};
     },
     true},
};

class FaultInjectionOperationTest : public FaultInjectionTest,
                                    public ::testing::WithParamInterface<Operation> {
 protected:
  Prepared arranged() {
    Prepared prepared = GetParam().arrange(*this);
    EXPECT_TRUE(messages().empty()) << messages()[0].text;
    return prepared;
  }
};

TEST_P(FaultInjectionOperationTest, EveryFailingStatementIsReportedOnceAndKeepsWhatRan) {
  const Operation& operation = GetParam();
  const std::vector<std::string> clean = statementsOf(arranged().act);
  ASSERT_GE(clean.size(), 1u);
  // Servers hand back rows with equal sort keys in any order: there only which statements ran
  // counts, not their order.
  const bool anyOrder =
      storeKind() == testing::TestStore::PostgreSQL || storeKind() == testing::TestStore::MariaDB;

  for (std::size_t k : failurePoints(clean.size())) {
    SCOPED_TRACE(std::string(operation.name) + ": failing statement " + std::to_string(k) + " of " +
                 std::to_string(clean.size()) + ": " + clean[k - 1]);
    TearDown();
    SetUp();
    Prepared prepared = arranged();
    const long rowsBefore = count(kRows);
    std::vector<std::string> ran = statementsOf(prepared.act, k);
    ASSERT_EQ(messages().size(), 1u) << (messages().empty() ? "" : messages()[0].text);
    if (operation.import) {
      EXPECT_NE(messages()[0].text.find(kInjected), std::string::npos) << messages()[0].text;
      EXPECT_EQ(count(kRows), rowsBefore);
    } else {
      EXPECT_EQ(messages()[0].text, kInjected);
    }
    // Nothing ran after the failure, and everything before it ran as in the clean run.
    if (anyOrder) {
      ASSERT_EQ(ran.size(), k - 1);
      std::vector<std::string> sortedClean = clean;
      std::sort(ran.begin(), ran.end());
      std::sort(sortedClean.begin(), sortedClean.end());
      EXPECT_TRUE(std::includes(sortedClean.begin(), sortedClean.end(), ran.begin(), ran.end()))
          << "a statement ran that the clean run did not";
    } else {
      EXPECT_EQ(ran, std::vector<std::string>(clean.begin(), clean.begin() + (k - 1)));
    }

    clearMessages();
    ASSERT_NO_THROW(prepared.probe());
    EXPECT_EQ(messages().size(), prepared.probeMessages)
        << (messages().empty() ? "" : messages()[0].text);
    for (const auto& message : messages()) EXPECT_NE(message.text, kInjected);
  }
}

INSTANTIATE_TEST_SUITE_P(Operations, FaultInjectionOperationTest, ::testing::ValuesIn(kOperations),
                         [](const ::testing::TestParamInfo<Operation>& row) {
                           return std::string(row.param.name);
                         });

}  // namespace
}  // namespace korvane
