// Two processes on one embedded store, and a process killed half-way through an import. (Two
// threads with different credentials are covered with the frame's own tests.)
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "korvane/exchange/import.hpp"
#include "korvane/korvane.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr int kSlipsPerProcess = 12;

std::string slipNumber(int n) {
  char text[16];
  std::snprintf(text, sizeof text, "%06d/PPH22", n);
  return text;
}

class ConcurrencyTest : public testing::StoreTest {
 protected:
  void beginPeriod() {
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

  // Runs body in a child process whose lines come back through a pipe.
  template <class Body>
  pid_t spawn(int& readEnd, Body body) {
    int ends[2];
    if (pipe(ends) != 0) ADD_FAILURE() << "no pipe";
    const pid_t pid = fork();
    if (pid == 0) {
      close(ends[0]);
      FILE* out = fdopen(ends[1], "w");
      setvbuf(out, nullptr, _IOLBF, 0);
      body(out);
      std::fflush(out);
      _exit(0);
    }
    close(ends[1]);
    readEnd = ends[0];
    return pid;
  }

  static std::string readAll(int fd) {
    std::string text;
    char buffer[512];
    for (ssize_t n; (n = read(fd, buffer, sizeof buffer)) > 0;) text.append(buffer, buffer + n);
    close(fd);
    return text;
  }

  std::string integrity() { return scalar("PRAGMA integrity_check").text(); }
};

TEST_F(ConcurrencyTest, TwoProcessesSavingSlipsLoseNothingSilently) {
  if (!embeddedStore()) GTEST_SKIP() << "embedded store only";
  beginPeriod();
  int pipes[2];
  pid_t children[2];
  for (int child = 0; child < 2; ++child) {
    children[child] = spawn(pipes[child], [&, child](FILE* out) {
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
    const std::string lines = readAll(pipes[child]);
    int status = 0;
    ASSERT_EQ(waitpid(children[child], &status, 0), children[child]);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    int number = 0;
    char word[16];
    for (const char* at = lines.c_str(); std::sscanf(at, "%d %15s", &number, word) == 2;) {
      outcome[number] = word;
      at = std::strchr(at, '\n');
      if (!at) break;
      ++at;
    }
  }

  EXPECT_EQ(integrity(), "ok");
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
  CF113202 mainReturn;
  mainReturn.pAssignConStr(store(), user(), password());
  mainReturn.pGetF113202(kNpwp, 5, 2013, 0);
  const double carried = mainReturn.rs22Form()->Fields("B4a3").Value().toDouble();
  EXPECT_GE(carried, 100.0 * (stored - reported));
  EXPECT_LE(carried, 100.0 * stored);
}

TEST_F(ConcurrencyTest, ImportKilledHalfWayLeavesASoundStore) {
  if (!embeddedStore()) GTEST_SKIP() << "embedded store only";
  beginPeriod();
  for (int n = 1; n <= 60; ++n) saveSlip(slipNumber(n));
  const auto into = folder() / "out";
  std::filesystem::create_directories(into);
  connected<CEksporBP>()->pEksporPPh(kNpwp, 22, "5", "2013", 0, into.string() + "/", "Pemungut");
  connected<CGeneralClass>()->pDelete(kNpwp, "112", 5, 2013, 0);
  const std::string file = (into / "Ravelin.CSV").string();

  int readEnd = -1;
  const pid_t child = spawn(readEnd, [&](FILE* out) {
    auto importer = connected<CImporBP>();
    importer->onProgress([out](long done, long) { std::fprintf(out, "%ld\n", done); });
    importer->pImporPPh(kNpwp, 22, file, "Pemungut");
  });
  // Killed once a few lines are in.
  FILE* in = fdopen(readEnd, "r");
  long done = 0;
  while (done < 3 && std::fscanf(in, "%ld", &done) == 1) {
  }
  kill(child, SIGKILL);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  std::fclose(in);
  ASSERT_TRUE(WIFSIGNALED(status)) << "the import ended before it was killed";

  EXPECT_EQ(integrity(), "ok");
  clearMessages();
  auto general = connected<CGeneralClass>();
  EXPECT_NE(general->pGetRecordDbase("SELECT * FROM DS_FORM_INDUK"), nullptr);
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
