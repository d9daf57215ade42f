// Fails the k-th statement of each multi-statement operation, for every k in turn (a bounded
// spread for long operations), and checks what a host sees: one message with the store's
// description, no exception, the statements before the failure kept (nothing is rolled back)
// and the object still usable.
#include <gtest/gtest.h>

#include <algorithm>
#include <concepts>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "korvane/exchange/import.hpp"
#include "korvane/korvane.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kInjected = "disk I/O error (injected)";
constexpr const char* kTaxpayer = "012345678901000";  // the fixture's
constexpr const char* kParty = "01.234.567.8-901.000";
constexpr const char* kName = "PT MAJU JAYA";
constexpr const char* kAddress = "JL. SUDIRMAN 1 JAKARTA";
constexpr const char* kNumber = "000001/PPH22";
constexpr const char* kNttp = "NT-1";
const Date kToday(2013, 6, 15);
const Date kCut(2013, 5, 15);

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
  for (std::size_t k = 1; k <= statements && k <= 20; ++k) points.push_back(k);
  if (statements > 20) {
    const std::size_t step = std::max<std::size_t>(1, (statements - 20) / 10);
    for (std::size_t k = 20 + step; k < statements; k += step) points.push_back(k);
    points.push_back(statements);
  }
  return points;
}

void createMainReturn(CF113202& mainReturn) {
  mainReturn.pCreateF113202Hdr(kTaxpayer, "F113202", "01", 5, 2013, 0, "-", "112", kName, kAddress,
                               kToday, Date(2013, 6, 1), "Pemungut");
}

// Each kind of slip and SSP filled as a host fills it, not yet saved; and its delete.
template <class Slip>
void opened(Slip& slip) {
  slip.pAssignOldValues();
  slip.pAssignStatus(true, false, false);
  slip.aNPWPLT(kParty);
}
void fill(CF113303& slip, const std::string& number) {
  slip.pCreateF113303Hdr(kTaxpayer, "F113303", "02", 5, 2013, 0, number, "112", kName, kAddress,
                         kCut);
  slip.pGetF113303(kTaxpayer, "F113303", "02", 5, 2013, 0, number, "112", "", "", kCut);
  opened(slip);
  slip.getTaxRate();
  slip.aB3a4(10.0);
  slip.aB3a3(100.0);
  slip.aB3b3(2000.0);
  slip.pHitPjk(0);
}
void fill(CF113305& slip, const std::string& number) {
  slip.pCreateF113305Hdr(kTaxpayer, "F113305", "04", 5, 2013, 0, number, "112", kName, kAddress,
                         kCut);
  slip.pGetF113305(kTaxpayer, "F113305", "04", 5, 2013, 0, number, "112", "", "", kCut);
  opened(slip);
  slip.aB2(5.0);
  slip.aB1(1000.0);
  slip.pHitPjk();
}
// F113304, F113304A and F113304S: the form is the class's name without its C.
void fill(slips::SectorSlip& slip, const std::string& number) {
  const std::string form = slip.className() + 1;
  slip.pCreateF113304Hdr(kTaxpayer, form, "03", 5, 2013, 0, number, "112", kName, kAddress, kCut);
  slip.pGetF113304(kTaxpayer, form, "03", 5, 2013, 0, number, "112", "", "", kCut);
  opened(slip);
  slip.aB15(0.25);
  slip.aB13(100000.0);
  slip.aB25(0.1);
  slip.aB23(200000.0);
}
template <class Ssp>
requires std::derived_from<Ssp, ssp::SspInput>
void fill(Ssp& slip, const std::string& nttp) {
  constexpr bool oilGas = std::derived_from<Ssp, ssp::OilGasInput>;
  constexpr bool imported = std::is_same_v<Ssp, CInputPPh22Impor>;
  constexpr bool finalSale = std::is_same_v<Ssp, CInputMigasFinal>;
  const char* form = oilGas ? (finalSale ? "PPh22MigasFinal" : "PPh22MigasTdkFinal")
                            : (imported ? "PPh22Impor" : "PPh22ImporDbyrSdr");
  const char* document = oilGas ? (finalSale ? "05" : "06") : (imported ? "10" : "11");
  if constexpr (oilGas) {
    slip.getTaxRate();
    slip.pCreateHdr(kTaxpayer, form, document, 5, 2013, 0, nttp, "112", kName, kAddress, kToday,
                    "SOLAR", "Pemungut");
    slip.pGet(kTaxpayer, form, document, 5, 2013, 0, nttp, "112", kName, kAddress, kToday, 0,
              "SOLAR");
  } else {
    if constexpr (imported) {
      slip.pCreateHdr(kTaxpayer, form, document, 5, 2013, 0, nttp, "112", kName, kAddress, kToday,
                      "", "Pemungut");
    } else {
      slip.pCreateHdr(kTaxpayer, form, document, 5, 2013, 0, nttp, "112", kName, kAddress, kToday);
    }
    slip.pGet(kTaxpayer, form, document, 5, 2013, 0, nttp, "112", kName, kAddress, kToday, 0);
  }
  slip.pAssignOldValues();
  double seq = -1;
  slip.pGetMaxSeqNo(5, 2013, 0, oilGas && !finalSale ? 1 : 0, seq);
  slip.aSEQ(seq);
  if constexpr (oilGas || imported) slip.aNPWPLT("023456789012000");
  if constexpr (oilGas) slip.ajmlBruto(1000000.0);
  if constexpr (imported) {
    slip.aA13(1000000.0);
    slip.aA14(25000.0);
  }
  if constexpr (!oilGas && !imported) {
    slip.ajmlBruto(400000.0);
    slip.aPPH(10000.0);
  }
  slip.pHitPjk(1);
  slip.pAssignStatus(true, false, false);
}
void erase(CF113303& slip) {
  slip.pDeleteF113303(kTaxpayer, "F113303", "02", 5, 2013, 0, kNumber, "112");
}
void erase(CF113305& slip) {
  slip.pDeleteF113305(kTaxpayer, "F113305", "04", 5, 2013, 0, kNumber, "112");
}
void erase(slips::SectorSlip& slip) {
  slip.pDeleteF113304(kTaxpayer, slip.className() + 1, "03", 5, 2013, 0, kNumber, "112");
}
void erase(CInputMigasFinal& slip) {
  slip.pDeleteForm(kTaxpayer, "PPh22MigasFinal", "05", 5, 2013, 0, kNttp, "112", "SOLAR", 0);
}
void erase(CInputPPh22Impor& slip) {
  slip.pDeleteForm(kTaxpayer, "PPh22Impor", "10", 5, 2013, 0, kNttp, "112", "", 0);
}
void erase(CInputPPh22DbyrSdr& slip) {
  slip.pDeleteForm(kTaxpayer, "PPh22ImporDbyrSdr", "11", 5, 2013, 0, kNttp, "112", 0);
}
template <class Kind>
void save(Kind& slip) {
  if constexpr (std::derived_from<Kind, slips::SlipForm>) {
    slip.pUpdate(5, "2013", "0");
  } else {
    slip.pUpdate();
  }
}

// A read any connected form object answers without a message.
std::function<void()> loadsMainReturn(std::shared_ptr<BusinessObject> object) {
  return [object] {
    CF113202 mainReturn;
    mainReturn.attach(*object);
    mainReturn.pGetF113202(kTaxpayer, 5, 2013, 0);
  };
}
// A slip reads its slip again; an SSP input the main return.
template <class Kind>
std::function<void()> probe(std::shared_ptr<Kind> object) {
  if constexpr (std::derived_from<Kind, slips::SlipForm>) {
    return [object] { object->pGetBukti(kTaxpayer, kNumber, 5, 2013, 0); };
  } else {
    return loadsMainReturn(object);
  }
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
  void add(const std::string& number) {
    auto object = connected<Kind>();
    fill(*object, number);
    save(*object);
  }
  // A period with one slip of each kind and one SSP of each kind.
  void fullPeriod() {
    beginPeriod();
    add<CF113303>("000001/PPH22");
    add<CF113305>("000002/PPH22");
    add<CF113304>("000003/PPH22");
    add<CInputMigasFinal>("NT-1");
    add<CInputPPh22Impor>("NT-2");
    add<CInputPPh22DbyrSdr>("NT-3");
  }
};

template <class Kind>
Prepared saving(FaultInjectionTest& t) {
  t.beginPeriod();
  auto object = t.connected<Kind>();
  fill(*object, std::derived_from<Kind, slips::SlipForm> ? kNumber : kNttp);
  return {[object] { save(*object); }, probe(object)};
}
template <class Kind>
Prepared deleting(FaultInjectionTest& t) {
  t.beginPeriod();
  t.add<Kind>(std::derived_from<Kind, slips::SlipForm> ? kNumber : kNttp);
  auto object = t.connected<Kind>();
  return {[object] { erase(*object); }, probe(object)};
}

struct Operation {
  const char* name;
  Prepared (*arrange)(FaultInjectionTest&);
  // Import names the failing line around the store's description.
  bool descriptionInside = false;
};

const Operation kOperations[] = {
    {"pCreateF113202Hdr",
     [](FaultInjectionTest& t) {
       auto mainReturn = t.connected<CF113202>();
       return Prepared{[mainReturn] { createMainReturn(*mainReturn); },
                       loadsMainReturn(mainReturn)};
     }},
    {"F113303Save", saving<CF113303>},
    {"F113303Edit",
     [](FaultInjectionTest& t) {
       t.beginPeriod();
       t.add<CF113303>(kNumber);
       auto slip = t.connected<CF113303>();
       slip->pGetBukti(kTaxpayer, kNumber, 5, 2013, 0);
       slip->pAssignOldValues();
       slip->pAssignStatus(false, true, false);
       slip->aNPWPLT(kParty);
       slip->aB3a3(150.0);
       slip->pHitPjk(0);
       return Prepared{[slip] { save(*slip); }, probe(slip)};
     }},
    {"F113303Delete", deleting<CF113303>},
    {"F113305Save", saving<CF113305>},
    {"F113305Delete", deleting<CF113305>},
    {"F113304Save", saving<CF113304>},
    {"F113304Delete", deleting<CF113304>},
    {"F113304ASave", saving<CF113304A>},
    {"F113304ADelete", deleting<CF113304A>},
    {"F113304SSave", saving<CF113304S>},
    {"F113304SDelete", deleting<CF113304S>},
    {"MigasFinalSave", saving<CInputMigasFinal>},
    {"MigasTdkFinalSave", saving<CInputMigasTdkFinal>},
    {"MigasFinalDelete", deleting<CInputMigasFinal>},
    {"PPh22ImporSave", saving<CInputPPh22Impor>},
    {"PPh22ImporDelete", deleting<CInputPPh22Impor>},
    {"PPh22DbyrSdrSave", saving<CInputPPh22DbyrSdr>},
    {"PPh22DbyrSdrDelete", deleting<CInputPPh22DbyrSdr>},
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
       const auto into = t.folder() / "out";
       std::filesystem::create_directories(into);
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
    std::vector<std::string> ran = statementsOf(prepared.act, k);
    ASSERT_EQ(messages().size(), 1u) << (messages().empty() ? "" : messages()[0].text);
    if (operation.descriptionInside) {
      EXPECT_NE(messages()[0].text.find(kInjected), std::string::npos) << messages()[0].text;
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

// A failure while the file is being checked writes nothing at all.
TEST_F(FaultInjectionTest, FailureWhileCheckingAnImportWritesNothing) {
  Prepared prepared = std::prev(std::end(kOperations))->arrange(*this);
  auto rows = [this] {
    return count("SELECT COUNT(*) FROM DS_FORM_INDUK") +
           count("SELECT COUNT(*) FROM DAT_SSP_PPh22");
  };
  const long before = rows();
  EXPECT_TRUE(statementsOf(prepared.act, 1).empty());
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(rows(), before);
}

}  // namespace
}  // namespace korvane
