#include <gtest/gtest.h>

#include "support/store_fixture.hpp"

namespace korvane {
namespace {

using Proposal = std::vector<std::string>;

class CGeneralClassNumberingTest : public testing::StoreTest {
 protected:
  void storeCounter(const std::string& noUrut, const std::string& format) {
    exec("DELETE FROM SETTING_NOBUKTI_PPH");
    exec("INSERT INTO SETTING_NOBUKTI_PPH VALUES (22, '" + noUrut + "', '" + format + "')");
  }
  Variant stored(const char* column, std::int16_t pasal = 22) {
    return scalar(std::string("SELECT ") + column +
                  " FROM SETTING_NOBUKTI_PPH WHERE PASAL = " + std::to_string(pasal));
  }
};

// The first recording of an article only creates its counter; from then on it follows the
// numbers used.
TEST_F(CGeneralClassNumberingTest, FirstRecordingOnlyCreatesTheCounterWithTheArticlesSuffix) {
  const std::pair<std::int16_t, const char*> suffixes[] = {
      {4, "/PPH4"}, {15, "/PPH15"}, {21, "/PPH21"}, {22, "/PPH22"}, {23, "/PPH23"}, {99, ""}};
  auto general = connected<CGeneralClass>();
  for (const auto& [pasal, suffix] : suffixes) {
    SCOPED_TRACE(pasal);
    EXPECT_EQ(general->pGetNoBuktiHdr(pasal), (Proposal{"000001", suffix, ""}));
    general->pUpdateNoNuktiHdr(pasal, std::string("000009") + suffix);
    EXPECT_EQ(stored("NO_URUT", pasal).text(), "000000");
    EXPECT_EQ(general->pGetNoBuktiHdr(pasal), (Proposal{"000001", suffix, ""}));
  }
  EXPECT_EQ(count("SELECT COUNT(*) FROM SETTING_NOBUKTI_PPH"), 6);
  EXPECT_EQ(stored("FORMAT_STRING").text(), "/PPH22");
  general->pUpdateNoNuktiHdr(22, "000001/PPH22");
  EXPECT_EQ(general->pGetNoBuktiHdr(22), (Proposal{"000002", "/PPH22", ""}));
  // Without a format no number can match it, so the counter stays where it was made.
  EXPECT_TRUE(stored("FORMAT_STRING", 99).isNull());
  general->pUpdateNoNuktiHdr(99, "000005/X");
  general->pUpdateNoNuktiHdr(99, "0000050");
  EXPECT_EQ(stored("NO_URUT", 99).text(), "000000");
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassNumberingTest, ProposesTheNumberAfterTheStoredOne) {
  const std::tuple<const char*, const char*, Proposal> cases[] = {
      {"000041", "/PPH22", {"000042", "/PPH22", ""}},
      {" 41 ", " /PPH22 ", {"000042", "/PPH22", ""}},
      {"000007", "/X", {"000008", "/X", ""}},
      {"999999", "/PPH22", {"1000000", "/PPH22", ""}}};
  auto general = connected<CGeneralClass>();
  for (const auto& [noUrut, format, expected] : cases) {
    storeCounter(noUrut, format);
    EXPECT_EQ(general->pGetNoBuktiHdr(22), expected) << "'" << noUrut << "'";
  }
  EXPECT_TRUE(messages().empty());
}

// Only a higher number of the counter's own suffix moves it, and never backwards.
TEST_F(CGeneralClassNumberingTest, AdvancesOnlyForAHigherNumberOfItsOwnSuffix) {
  const std::pair<const char*, const char*> recordings[] = {
      {"000040/PPH22", "000041"}, {"000041/PPH22", "000041"},
      {"000050/PPH23", "000041"}, {"000050/pph22", "000041"},
      {"12345/PPH22", "000041"},  {"000050", "000041"},
      {"00A050/PPH22", "000041"}, {"", "000041"},
      {"000042/PPH22", "000042"}, {"000100/PPH22", "000100"},
      {"000099/PPH22", "000100"}};
  storeCounter("000041", "/PPH22");
  auto general = connected<CGeneralClass>();
  for (const auto& [recorded, expected] : recordings) {
    general->pUpdateNoNuktiHdr(22, recorded);
    EXPECT_EQ(stored("NO_URUT").text(), expected) << recorded;
    EXPECT_EQ(stored("FORMAT_STRING").text(), "/PPH22") << recorded;
  }
  EXPECT_EQ(general->pGetNoBuktiHdr(22), (Proposal{"000101", "/PPH22", ""}));
  EXPECT_EQ(count("SELECT COUNT(*) FROM SETTING_NOBUKTI_PPH"), 1);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassNumberingTest, FailuresShowOneMessageEachAndChangeNothing) {
  CGeneralClass unconnected;
  EXPECT_TRUE(unconnected.pGetNoBuktiHdr(22).empty());
  unconnected.pUpdateNoNuktiHdr(22, "000001/PPH22");
  EXPECT_EQ(messages().size(), 2u);

  storeCounter("", "/PPH22");  // a damaged counter
  auto general = connected<CGeneralClass>();
  EXPECT_TRUE(general->pGetNoBuktiHdr(22).empty());
  EXPECT_EQ(messages().size(), 3u);
  general->pUpdateNoNuktiHdr(22, "000005/PPH22");
  EXPECT_EQ(messages().size(), 4u);
  EXPECT_EQ(stored("NO_URUT").text(), "");

  clearMessages();
  exec("DROP TABLE SETTING_NOBUKTI_PPH");
  EXPECT_TRUE(general->pGetNoBuktiHdr(22).empty());
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_NE(messages()[0].text.find("SETTING_NOBUKTI_PPH"), std::string::npos);
}

}  // namespace
}  // namespace korvane
