// Fails the k-th statement of each multi-statement operation, for every k in turn (a bounded
// spread for long operations), and checks what a host sees: one message with the store's
// description, no exception, the statements before the failure kept (nothing is rolled back)
// and the object still usable.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "korvane/exchange/import.hpp"
#include "korvane/korvane.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kInjected = "disk I/O error (injected)";
// The fixture's taxpayer, for the table's functions.
constexpr const char* kTaxpayer = "012345678901000";
constexpr const char* kParty = "01.234.567.8-901.000";
const Date kToday(2013, 6, 15);

// What an arranged operation offers: the one call under test, and a read the same object must
// still answer afterwards (with the number of messages that read shows on its own).
struct Prepared {
  std::function<void()> act;
  std::function<void()> probe;
  std::size_t probeMessages = 0;
};

class FaultInjectionTest;

struct Operation {
  const char* name;
  Prepared (*arrange)(FaultInjectionTest&);
  // Import names the failing line around the store's description.
  bool descriptionInside = false;
};

class FaultInjectionTest : public testing::StoreTest {
 public:
  using StoreTest::clearMessages;
  using StoreTest::connected;
  using StoreTest::folder;
  using StoreTest::insertProfile;
  using StoreTest::SetUp;
  using StoreTest::store;
  using StoreTest::TearDown;

  void beginPeriod(std::int16_t correction = 0) {
    insertProfile();
    auto mainReturn = connected<CF113202>();
    mainReturn->pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2013, correction, "-", "112",
                                  "PT MAJU JAYA", "JL. SUDIRMAN 1 JAKARTA", kToday,
                                  Date(2013, 6, 1), "Pemungut");
  }

  std::shared_ptr<CF113303> newF113303(const std::string& number) {
    auto slip = connected<CF113303>();
    slip->pCreateF113303Hdr(kNpwp, "F113303", "02", 5, 2013, 0, number, "112", "PT MAJU JAYA",
                            "JL. SUDIRMAN 1 JAKARTA", Date(2013, 5, 15));
    slip->pGetF113303(kNpwp, "F113303", "02", 5, 2013, 0, number, "112", "", "", Date(2013, 5, 15));
    slip->pAssignOldValues();
    slip->pAssignStatus(true, false, false);
    slip->aNPWPLT(kParty);
    slip->aNMWPLT("CV SENTOSA");
    slip->aALMLT("JL. MERDEKA 2");
    slip->aTGL_POTONG(Date(2013, 5, 15));
    slip->getTaxRate();
    slip->aB3a4(10.0);
    slip->aB3a3(100.0);
    slip->aB3b3(2000.0);
    slip->pHitPjk(0);
    return slip;
  }

  std::shared_ptr<CF113305> newF113305(const std::string& number) {
    auto slip = connected<CF113305>();
    slip->pCreateF113305Hdr(kNpwp, "F113305", "04", 5, 2013, 0, number, "112", "PT MAJU JAYA",
                            "JL. SUDIRMAN 1 JAKARTA", Date(2013, 5, 15));
    slip->pGetF113305(kNpwp, "F113305", "04", 5, 2013, 0, number, "112", "", "", Date(2013, 5, 15));
    slip->pAssignOldValues();
    slip->pAssignStatus(true, false, false);
    slip->aNPWPLT(kParty);
    slip->aNMWPLT("CV SENTOSA");
    slip->aALMLT("JL. MERDEKA 2");
    slip->aTglRekam(Date(2013, 5, 15));
    slip->aB2(5.0);
    slip->aB1(1000.0);
    slip->pHitPjk();
    return slip;
  }

  template <class Slip>
  std::shared_ptr<Slip> newSector(const std::string& form, const std::string& number) {
    auto slip = connected<Slip>();
    slip->pCreateF113304Hdr(kNpwp, form, "03", 5, 2013, 0, number, "112", "PT MAJU JAYA",
                            "JL. SUDIRMAN 1 JAKARTA", Date(2013, 5, 15));
    slip->pGetF113304(kNpwp, form, "03", 5, 2013, 0, number, "112", "", "", Date(2013, 5, 15));
    slip->pAssignOldValues();
    slip->pAssignStatus(true, false, false);
    slip->aNPWPLT(kParty);
    slip->aB15(0.25);
    slip->aB13(100000.0);
    slip->aB25(0.1);
    slip->aB23(200000.0);
    return slip;
  }

  template <class Slip>
  std::shared_ptr<Slip> newOilGas(const std::string& form, const std::string& document,
                                  std::int16_t collection, const std::string& nttp) {
    auto slip = connected<Slip>();
    slip->getTaxRate();
    slip->pCreateHdr(kNpwp, form, document, 5, 2013, 0, nttp, "112", "PT MAJU JAYA",
                     "JL. SUDIRMAN 1 JAKARTA", kToday, "SOLAR", "Pemungut");
    slip->pGet(kNpwp, form, document, 5, 2013, 0, nttp, "112", "PT MAJU JAYA",
               "JL. SUDIRMAN 1 JAKARTA", kToday, 0, "SOLAR");
    slip->pAssignOldValues();
    double seq = -1;
    slip->pGetMaxSeqNo(5, 2013, 0, collection, seq);
    slip->aSEQ(seq);
    slip->aNPWPLT("023456789012000");
    slip->aNMWPLT("PT PEMBELI");
    slip->aALMLT("JL. THAMRIN 2");
    slip->aTGL_PUNGUT(Date(2013, 5, 20));
    slip->ajmlBruto(1000000.0);
    slip->pHitPjk(1);
    slip->pAssignStatus(true, false, false);
    return slip;
  }

  std::shared_ptr<CInputPPh22Impor> newImport(const std::string& nttp) {
    auto slip = connected<CInputPPh22Impor>();
    slip->pCreateHdr(kNpwp, "PPh22Impor", "10", 5, 2013, 0, nttp, "112", "PT MAJU JAYA",
                     "JL. SUDIRMAN 1 JAKARTA", kToday, "", "Pemungut");
    slip->pGet(kNpwp, "PPh22Impor", "10", 5, 2013, 0, nttp, "112", "PT MAJU JAYA",
               "JL. SUDIRMAN 1 JAKARTA", kToday, 0);
    slip->pAssignOldValues();
    double seq = -1;
    slip->pGetMaxSeqNo(5, 2013, 0, 0, seq, "PPh22Impor");
    slip->aSEQ(seq);
    slip->aNPWPLT("023456789012000");
    slip->aNMWPLT("PT PEMBELI");
    slip->aALMLT("JL. THAMRIN 2");
    slip->aTGL_PUNGUT(Date(2013, 5, 20));
    slip->aA13(1000000.0);
    slip->aA14(25000.0);
    slip->pHitPjk(1);
    slip->pAssignStatus(true, false, false);
    return slip;
  }

  std::shared_ptr<CInputPPh22DbyrSdr> newSelfPaid(const std::string& nttp) {
    auto slip = connected<CInputPPh22DbyrSdr>();
    slip->pCreateHdr(kNpwp, "PPh22ImporDbyrSdr", "11", 5, 2013, 0, nttp, "112", "PT MAJU JAYA",
                     "JL. SUDIRMAN 1 JAKARTA", kToday);
    slip->pGet(kNpwp, "PPh22ImporDbyrSdr", "11", 5, 2013, 0, nttp, "112", "PT MAJU JAYA",
               "JL. SUDIRMAN 1 JAKARTA", kToday, 0);
    slip->pAssignOldValues();
    double seq = -1;
    slip->pGetMaxSeqNo(5, 2013, 0, 0, seq);
    slip->aSEQ(seq);
    slip->aTGL_PUNGUT(Date(2013, 5, 20));
    slip->aNoPIB("PIB-1");
    slip->ajmlBruto(400000.0);
    slip->aPPH(10000.0);
    slip->pHitPjk(1);
    slip->pAssignStatus(true, false, false);
    return slip;
  }

  // A period with one slip of each kind and one SSP of each kind.
  void fullPeriod() {
    beginPeriod();
    newF113303("000001/PPH22")->pUpdate(5, "2013", "0");
    newF113305("000002/PPH22")->pUpdate(5, "2013", "0");
    newSector<CF113304>("F113304", "000003/PPH22")->pUpdate(5, "2013", "0");
    newOilGas<CInputMigasFinal>("PPh22MigasFinal", "05", 0, "NT-1")->pUpdate();
    newImport("NT-2")->pUpdate();
    newSelfPaid("NT-3")->pUpdate();
  }

  // A read any connected form object answers without a message.
  template <class T>
  static std::function<void()> loadsMainReturn(std::shared_ptr<T> object) {
    return [object] {
      CF113202 mainReturn;
      mainReturn.attach(*object);
      mainReturn.pGetF113202(kNpwp, 5, 2013, 0);
    };
  }
  template <class Slip>
  static std::function<void()> readsSlip(std::shared_ptr<Slip> slip, const std::string& number) {
    return [slip, number] { slip->pGetBukti(kNpwp, number, 5, 2013, 0); };
  }
};

template <class Slip>
Prepared sectorSave(FaultInjectionTest& t, const char* form) {
  t.beginPeriod();
  auto slip = t.newSector<Slip>(form, "000001/PPH22");
  return {[slip] { slip->pUpdate(5, "2013", "0"); },
          FaultInjectionTest::readsSlip(slip, "000001/PPH22")};
}
template <class Slip>
Prepared sectorDelete(FaultInjectionTest& t, const char* form) {
  t.beginPeriod();
  t.newSector<Slip>(form, "000001/PPH22")->pUpdate(5, "2013", "0");
  auto slip = t.connected<Slip>();
  return {[slip, form] {
            slip->pDeleteF113304(kTaxpayer, form, "03", 5, 2013, 0, "000001/PPH22", "112");
          },
          FaultInjectionTest::readsSlip(slip, "000001/PPH22")};
}

const Operation kOperations[] = {
    {"pCreateF113202Hdr",
     [](FaultInjectionTest& t) {
       auto mainReturn = t.connected<CF113202>();
       return Prepared{[mainReturn] {
                         mainReturn->pCreateF113202Hdr(
                             kTaxpayer, "F113202", "01", 5, 2013, 0, "-", "112", "PT MAJU JAYA",
                             "JL. SUDIRMAN 1 JAKARTA", kToday, Date(2013, 6, 1), "Pemungut");
                       },
                       FaultInjectionTest::loadsMainReturn(mainReturn)};
     }},
    {"F113303Save",
     [](FaultInjectionTest& t) {
       t.beginPeriod();
       auto slip = t.newF113303("000001/PPH22");
       return Prepared{[slip] { slip->pUpdate(5, "2013", "0"); },
                       FaultInjectionTest::readsSlip(slip, "000001/PPH22")};
     }},
    {"F113303Edit",
     [](FaultInjectionTest& t) {
       t.beginPeriod();
       t.newF113303("000001/PPH22")->pUpdate(5, "2013", "0");
       auto slip = t.connected<CF113303>();
       slip->pGetBukti(kTaxpayer, "000001/PPH22", 5, 2013, 0);
       slip->pAssignOldValues();
       slip->pAssignStatus(false, true, false);
       slip->aNPWPLT(kParty);
       slip->aB3a3(150.0);
       slip->pHitPjk(0);
       return Prepared{[slip] { slip->pUpdate(5, "2013", "0"); },
                       FaultInjectionTest::readsSlip(slip, "000001/PPH22")};
     }},
    {"F113303Delete",
     [](FaultInjectionTest& t) {
       t.beginPeriod();
       t.newF113303("000001/PPH22")->pUpdate(5, "2013", "0");
       auto slip = t.connected<CF113303>();
       return Prepared{[slip] {
                         slip->pDeleteF113303(kTaxpayer, "F113303", "02", 5, 2013, 0,
                                              "000001/PPH22", "112");
                       },
                       FaultInjectionTest::readsSlip(slip, "000001/PPH22")};
     }},
    {"F113305Save",
     [](FaultInjectionTest& t) {
       t.beginPeriod();
       auto slip = t.newF113305("000001/PPH22");
       return Prepared{[slip] { slip->pUpdate(5, "2013", "0"); },
                       FaultInjectionTest::readsSlip(slip, "000001/PPH22")};
     }},
    {"F113305Delete",
     [](FaultInjectionTest& t) {
       t.beginPeriod();
       t.newF113305("000001/PPH22")->pUpdate(5, "2013", "0");
       auto slip = t.connected<CF113305>();
       return Prepared{[slip] {
                         slip->pDeleteF113305(kTaxpayer, "F113305", "04", 5, 2013, 0,
                                              "000001/PPH22", "112");
                       },
                       FaultInjectionTest::readsSlip(slip, "000001/PPH22")};
     }},
    {"F113304Save", [](FaultInjectionTest& t) { return sectorSave<CF113304>(t, "F113304"); }},
    {"F113304Delete", [](FaultInjectionTest& t) { return sectorDelete<CF113304>(t, "F113304"); }},
    {"F113304ASave", [](FaultInjectionTest& t) { return sectorSave<CF113304A>(t, "F113304A"); }},
    {"F113304ADelete",
     [](FaultInjectionTest& t) { return sectorDelete<CF113304A>(t, "F113304A"); }},
    {"F113304SSave", [](FaultInjectionTest& t) { return sectorSave<CF113304S>(t, "F113304S"); }},
    {"F113304SDelete",
     [](FaultInjectionTest& t) { return sectorDelete<CF113304S>(t, "F113304S"); }},
    {"MigasFinalSave",
     [](FaultInjectionTest& t) {
       t.beginPeriod();
       auto slip = t.newOilGas<CInputMigasFinal>("PPh22MigasFinal", "05", 0, "NT-1");
       return Prepared{[slip] { slip->pUpdate(); }, FaultInjectionTest::loadsMainReturn(slip)};
     }},
    {"MigasTdkFinalSave",
     [](FaultInjectionTest& t) {
       t.beginPeriod();
       auto slip = t.newOilGas<CInputMigasTdkFinal>("PPh22MigasTdkFinal", "06", 1, "NT-1");
       return Prepared{[slip] { slip->pUpdate(); }, FaultInjectionTest::loadsMainReturn(slip)};
     }},
    {"MigasFinalDelete",
     [](FaultInjectionTest& t) {
       t.beginPeriod();
       t.newOilGas<CInputMigasFinal>("PPh22MigasFinal", "05", 0, "NT-1")->pUpdate();
       auto slip = t.connected<CInputMigasFinal>();
       return Prepared{[slip] {
                         slip->pDeleteForm(kTaxpayer, "PPh22MigasFinal", "05", 5, 2013, 0, "NT-1",
                                           "112", "SOLAR", 0);
                       },
                       FaultInjectionTest::loadsMainReturn(slip)};
     }},
    {"PPh22ImporSave",
     [](FaultInjectionTest& t) {
       t.beginPeriod();
       auto slip = t.newImport("NT-1");
       return Prepared{[slip] { slip->pUpdate(); }, FaultInjectionTest::loadsMainReturn(slip)};
     }},
    {"PPh22ImporDelete",
     [](FaultInjectionTest& t) {
       t.beginPeriod();
       t.newImport("NT-1")->pUpdate();
       auto slip = t.connected<CInputPPh22Impor>();
       return Prepared{[slip] {
                         slip->pDeleteForm(kTaxpayer, "PPh22Impor", "10", 5, 2013, 0, "NT-1", "112",
                                           "", 0);
                       },
                       FaultInjectionTest::loadsMainReturn(slip)};
     }},
    {"PPh22DbyrSdrSave",
     [](FaultInjectionTest& t) {
       t.beginPeriod();
       auto slip = t.newSelfPaid("NT-1");
       return Prepared{[slip] { slip->pUpdate(); }, FaultInjectionTest::loadsMainReturn(slip)};
     }},
    {"PPh22DbyrSdrDelete",
     [](FaultInjectionTest& t) {
       t.beginPeriod();
       t.newSelfPaid("NT-1")->pUpdate();
       auto slip = t.connected<CInputPPh22DbyrSdr>();
       return Prepared{[slip] {
                         slip->pDeleteForm(kTaxpayer, "PPh22ImporDbyrSdr", "11", 5, 2013, 0, "NT-1",
                                           "112", 0);
                       },
                       FaultInjectionTest::loadsMainReturn(slip)};
     }},
    {"CarryOver",
     [](FaultInjectionTest& t) {
       t.fullPeriod();
       auto mainReturn = t.connected<CF113202>();
       return Prepared{[mainReturn] { mainReturn->pCopyAllData(kTaxpayer, "112", 5, 2013, 0); },
                       FaultInjectionTest::loadsMainReturn(mainReturn)};
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
       const std::string into = t.folder().string() + "/";
       // The read afterwards is a whole export: it ends with its count.
       auto run = [exporter, into] {
         exporter->pEksporPPh(kTaxpayer, 22, "5", "2013", 0, into, "Pemungut");
       };
       return Prepared{run, run, 1};
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
       const std::string file = (into / "Ravelin.CSV").string();
       return Prepared{[importer, file] { importer->pImporPPh(kTaxpayer, 22, file, "Pemungut"); },
                       // A missing file is refused with its own message: the object still answers.
                       [importer, into] {
                         importer->pImporPPh(kTaxpayer, 22, (into / "none.csv").string(),
                                             "Pemungut");
                       },
                       1};
     },
     true},
};

// Records the statements that ran; fails the k-th one when asked to.
class StatementWatch {
 public:
  explicit StatementWatch(std::size_t failAt = 0) : failAt_(failAt) {
    setTraceHook([this](std::string_view statement) { ran_.emplace_back(statement); });
    store::setFaultHook([this](std::string_view) {
      if (++issued_ == failAt_) throw Error(errc::kStoreFailure, kInjected);
    });
  }
  ~StatementWatch() {
    store::setFaultHook(nullptr);
    setTraceHook(nullptr);
  }
  StatementWatch(const StatementWatch&) = delete;
  StatementWatch& operator=(const StatementWatch&) = delete;
  const std::vector<std::string>& ran() const { return ran_; }

 private:
  std::size_t failAt_;
  std::size_t issued_ = 0;
  std::vector<std::string> ran_;
};

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

class FaultInjectionOperationTest : public FaultInjectionTest,
                                    public ::testing::WithParamInterface<Operation> {};

TEST_P(FaultInjectionOperationTest, EveryFailingStatementIsReportedOnceAndKeepsWhatRan) {
  const Operation& operation = GetParam();
  std::vector<std::string> clean;
  {
    Prepared prepared = operation.arrange(*this);
    ASSERT_TRUE(messages().empty()) << messages()[0].text;
    StatementWatch watch;
    prepared.act();
    clean = watch.ran();
  }
  ASSERT_GE(clean.size(), 1u);

  for (std::size_t k : failurePoints(clean.size())) {
    SCOPED_TRACE(std::string(operation.name) + ": failing statement " + std::to_string(k) + " of " +
                 std::to_string(clean.size()) + ": " + clean[k - 1]);
    TearDown();
    SetUp();
    Prepared prepared = operation.arrange(*this);
    ASSERT_TRUE(messages().empty()) << messages()[0].text;
    std::vector<std::string> ran;
    {
      StatementWatch watch(k);
      ASSERT_NO_THROW(prepared.act());
      ran = watch.ran();
    }
    ASSERT_EQ(messages().size(), 1u) << (messages().empty() ? "" : messages()[0].text);
    if (operation.descriptionInside) {
      EXPECT_NE(messages()[0].text.find(kInjected), std::string::npos) << messages()[0].text;
    } else {
      EXPECT_EQ(messages()[0].text, kInjected);
    }
    // Nothing ran after the failure, and everything before it ran as in the clean run. Servers
    // hand back rows with equal sort keys in any order, so there only the statements count.
    if (storeKind() == korvane::testing::TestStore::PostgreSQL ||
        storeKind() == korvane::testing::TestStore::MariaDB) {
      ASSERT_EQ(ran.size(), k - 1);
      std::vector<std::string> sortedRan = ran, sortedClean = clean;
      std::sort(sortedRan.begin(), sortedRan.end());
      std::sort(sortedClean.begin(), sortedClean.end());
      EXPECT_TRUE(
          std::includes(sortedClean.begin(), sortedClean.end(), sortedRan.begin(), sortedRan.end()))
          << "a statement ran that the clean run did not";
    } else {
      EXPECT_EQ(ran, std::vector<std::string>(clean.begin(), clean.begin() + (k - 1)));
    }

    clearMessages();
    ASSERT_NO_THROW(prepared.probe());
    EXPECT_EQ(messages().size(), prepared.probeMessages)
        << (messages().empty() ? "" : messages()[0].text);
    if (!messages().empty()) {
      EXPECT_NE(messages()[0].text, kInjected);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Operations, FaultInjectionOperationTest, ::testing::ValuesIn(kOperations),
                         [](const ::testing::TestParamInfo<Operation>& row) {
                           return std::string(row.param.name);
                         });

// The export reads everything before it creates the file: a failing read leaves the file of an
// earlier export exactly as it was.
TEST_F(FaultInjectionTest, FailedExportLeavesTheFileAsItWas) {
  fullPeriod();
  auto exporter = connected<CEksporBP>();
  const auto file = folder() / "Ravelin.CSV";
  std::size_t statements = 0;
  {
    StatementWatch watch;
    exporter->pEksporPPh(kNpwp, 22, "5", "2013", 0, folder().string() + "/", "Pemungut");
    statements = watch.ran().size();
  }
  ASSERT_GE(statements, 1u);
  auto contents = [&] { return testing::fileText(file); };
  const std::string before = contents();
  ASSERT_GT(before.size(), exchange::headerLine().size());
  clearMessages();
  for (std::size_t k = 1; k <= statements; ++k) {
    StatementWatch watch(k);
    exporter->pEksporPPh(kNpwp, 22, "5", "2013", 0, folder().string() + "/", "Pemungut");
  }
  ASSERT_EQ(messages().size(), statements);
  EXPECT_EQ(messages()[0].text, kInjected);
  EXPECT_EQ(contents(), before);
}

// A failure while the file is being checked writes nothing at all.
TEST_F(FaultInjectionTest, FailureWhileCheckingAnImportWritesNothing) {
  Prepared prepared = kOperations[std::size(kOperations) - 1].arrange(*this);
  const long before =
      count("SELECT COUNT(*) FROM DS_FORM_INDUK") + count("SELECT COUNT(*) FROM DAT_SSP_PPh22");
  {
    StatementWatch watch(1);
    prepared.act();
    EXPECT_TRUE(watch.ran().empty());
  }
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(
      count("SELECT COUNT(*) FROM DS_FORM_INDUK") + count("SELECT COUNT(*) FROM DAT_SSP_PPh22"),
      before);
}

}  // namespace
}  // namespace korvane
