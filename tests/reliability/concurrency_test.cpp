// Two processes on one embedded store, and a process killed half-way through an import. (Two
// threads with different credentials are covered with the frame's own tests.)
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <string>

#include "korvane/korvane.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr int kSlipsPerProcess = 12;

std::string slipNumber(int n) { return std::to_string(100000 + n) + "/PPH22"; }

class ConcurrencyTest : public testing::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    if (!embeddedStore()) GTEST_SKIP() << "embedded store only";
    insertProfile();
    connected<CF113202>()->pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2013, 0, "-", "112",
                                             "PT MAJU JAYA", "JL. SUDIRMAN 1", Date(2013, 6, 15),
                                             Date(2013, 6, 1), "Pemungut");
  }

  // A slip with a base of 100 on line a, saved as a host saves it.
  void saveSlip(const std::string& number) {
    auto slip = connected<CF113303>();
    slip->pCreateF113303Hdr(kNpwp, "F113303", "02", 5, 2013, 0, number, "112", "PT", "JL",
                            Date(2013, 5, 15));
    slip->pGetF113303(kNpwp, "F113303", "02", 5, 2013, 0, number, "112", "", "", Date(2013, 5, 15));
    slip->pAssignOldValues();
    slip->pAssignStatus(true, false, false);
    slip->aNPWPLT("01.234.567.8-901.000");
    slip->getTaxRate();
    slip->aB3a4(10.0);
    slip->aB3a3(100.0);
    slip->pHitPjk(0);
    slip->pUpdate(5, "2013", "0");
  }

  // Runs body in a child process; what it prints comes back through the returned stream.
  template <class Body>
  std::FILE* spawn(pid_t& pid, Body body) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    pid = fork();
    if (pid == 0) {
      std::FILE* out = fdopen(ends[1], "w");
      setvbuf(out, nullptr, _IOLBF, 0);
      body(out);
      std::fclose(out);
      _exit(0);
    }
    close(ends[1]);
    return fdopen(ends[0], "r");
  }

  static int waitFor(pid_t pid) {
    int status = 0;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    return status;
  }
};

TEST_F(ConcurrencyTest, TwoProcessesSavingSlipsLoseNothingSilently) {
  pid_t children[2];
  std::FILE* pipes[2];
  for (int child = 0; child < 2; ++child) {
    pipes[child] = spawn(children[child], [&, child](std::FILE* out) {
      for (int i = 0; i < kSlipsPerProcess; ++i) {
        const int number = 1 + child + 2 * i;
        const std::size_t before = messages().size();
        saveSlip(slipNumber(number));
        std::fprintf(out, "%d %s\n", number, messages().size() == before ? "saved" : "reported");
      }
    });
  }
  std::map<int, std::string> outcome;
  for (int child = 0; child < 2; ++child) {
    int number = 0;
    char word[16];
    while (std::fscanf(pipes[child], "%d %15s", &number, word) == 2) outcome[number] = word;
    std::fclose(pipes[child]);
    const int status = waitFor(children[child]);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  }

  EXPECT_EQ(scalar("PRAGMA integrity_check").text(), "ok");
  ASSERT_EQ(outcome.size(), 2u * kSlipsPerProcess);
  long reported = 0;
  long stored = 0;
  for (const auto& [number, word] : outcome) {
    const bool saved =
        count("SELECT COUNT(*) FROM DS_FORM_INDUK WHERE KD_FORM = 'F113303' AND NOBUKTI = '" +
              slipNumber(number) + "' AND DAT_FORM <> ''") == 1;
    // Every slip either landed or its save was reported.
    EXPECT_TRUE(saved || word == "reported") << number;
    stored += saved;
    reported += word == "reported";
  }
  // Write-back conflicts on the main return or the counter do happen here, and are reported.
  // Every slip whose save was not reported is carried by the main return: no update was lost
  // silently.
  auto mainReturn = connected<CF113202>();
  mainReturn->pGetF113202(kNpwp, 5, 2013, 0);
  const double carried = mainReturn->rs22Form()->Fields("B4a3").Value().toDouble();
  EXPECT_GE(carried, 100.0 * (stored - reported));
  EXPECT_LE(carried, 100.0 * stored);
}

TEST_F(ConcurrencyTest, ImportKilledHalfWayLeavesASoundStore) {
  for (int n = 1; n <= 60; ++n) saveSlip(slipNumber(n));
  const auto into = folder() / "out";
  std::filesystem::create_directories(into);
  connected<CEksporBP>()->pEksporPPh(kNpwp, 22, "5", "2013", 0, into.string() + "/", "Pemungut");
  connected<CGeneralClass>()->pDelete(kNpwp, "112", 5, 2013, 0);

  pid_t child = 0;
  std::FILE* in = spawn(child, [&](std::FILE* out) {
    auto importer = connected<CImporBP>();
    importer->onProgress([out](long done, long) { std::fprintf(out, "%ld\n", done); });
    importer->pImporPPh(kNpwp, 22, (into / "Ravelin.CSV").string(), "Pemungut");
  });
  // Killed once a few lines are in.
  long done = 0;
  while (done < 3 && std::fscanf(in, "%ld", &done) == 1) {
  }
  kill(child, SIGKILL);
  const int status = waitFor(child);
  std::fclose(in);
  ASSERT_TRUE(WIFSIGNALED(status)) << "the import ended before it was killed";

  EXPECT_EQ(scalar("PRAGMA integrity_check").text(), "ok");
  clearMessages();
  EXPECT_NE(connected<CGeneralClass>()->pGetRecordDbase("SELECT * FROM DS_FORM_INDUK"), nullptr);
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
