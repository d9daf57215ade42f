#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/store_fixture.hpp"

namespace korvane {
namespace {

using Proposal = std::vector<std::string>;

class CGeneralClassNumberingTest : public testing::StoreTest {
 protected:
  void storeCounter(std::int16_t pasal, const std::string& noUrut, const std::string& format) {
    exec("INSERT INTO SETTING_NOBUKTI_PPH VALUES (" + std::to_string(pasal) + ", '" + noUrut +
         "', '" + format + "')");
  }
  Variant stored(const char* column, std::int16_t pasal = 22) {
    return scalar(std::string("SELECT ") + column +
                  " FROM SETTING_NOBUKTI_PPH WHERE PASAL = " + std::to_string(pasal));
  }
};

TEST_F(CGeneralClassNumberingTest, FirstRecordingOnlyCreatesTheCounter) {
  auto general = connected<CGeneralClass>();
  EXPECT_EQ(general->pGetNoBuktiHdr(22), (Proposal{"000001", "/PPH22", ""}));

  general->pUpdateNoNuktiHdr(22, "000001/PPH22");
  EXPECT_EQ(stored("NO_URUT").text(), "000000");
  EXPECT_EQ(stored("FORMAT_STRING").text(), "/PPH22");
  EXPECT_EQ(general->pGetNoBuktiHdr(22), (Proposal{"000001", "/PPH22", ""}));

  // From now on the counter follows the numbers used.
  general->pUpdateNoNuktiHdr(22, "000001/PPH22");
  EXPECT_EQ(general->pGetNoBuktiHdr(22), (Proposal{"000002", "/PPH22", ""}));
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassNumberingTest, ProposesTheNumberAfterTheStoredOne) {
  struct Case {
    const char* name;
    const char* noUrut;
    const char* format;
    Proposal expected;
  };
  const Case cases[] = {
      {"running", "000041", "/PPH22", {"000042", "/PPH22", ""}},
      {"padded with blanks", " 41 ", " /PPH22 ", {"000042", "/PPH22", ""}},
      {"suffix from the row", "000007", "/X", {"000008", "/X", ""}},
      {"seven digits after 999999", "999999", "/PPH22", {"1000000", "/PPH22", ""}},
  };
  auto general = connected<CGeneralClass>();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    exec("DELETE FROM SETTING_NOBUKTI_PPH");
    storeCounter(22, c.noUrut, c.format);
    EXPECT_EQ(general->pGetNoBuktiHdr(22), c.expected);
  }
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassNumberingTest, AdvancesOnlyForAHigherNumberOfItsOwnSuffix) {
  struct Case {
    const char* name;
    const char* recorded;
    const char* expected;
  };
  const Case cases[] = {
      {"next number", "000042/PPH22", "000042"},
      {"a jump ahead", "000100/PPH22", "000100"},
      {"the same number", "000041/PPH22", "000041"},
      {"a lower number", "000040/PPH22", "000041"},
      {"another suffix", "000050/PPH23", "000041"},
      {"suffix in other case", "000050/pph22", "000041"},
      {"five digits", "12345/PPH22", "000041"},
      {"no suffix", "000050", "000041"},
      {"letters", "00A050/PPH22", "000041"},
      {"empty", "", "000041"},
  };
  auto general = connected<CGeneralClass>();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    exec("DELETE FROM SETTING_NOBUKTI_PPH");
    storeCounter(22, "000041", "/PPH22");
    general->pUpdateNoNuktiHdr(22, c.recorded);
    EXPECT_EQ(stored("NO_URUT").text(), c.expected);
    EXPECT_EQ(stored("FORMAT_STRING").text(), "/PPH22");
  }
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassNumberingTest, NeverGoesBackwards) {
  storeCounter(22, "000041", "/PPH22");
  auto general = connected<CGeneralClass>();
  general->pUpdateNoNuktiHdr(22, "000042/PPH22");
  general->pUpdateNoNuktiHdr(22, "000040/PPH22");
  EXPECT_EQ(stored("NO_URUT").text(), "000042");
  EXPECT_EQ(general->pGetNoBuktiHdr(22), (Proposal{"000043", "/PPH22", ""}));
  EXPECT_EQ(count("SELECT COUNT(*) FROM SETTING_NOBUKTI_PPH"), 1);
}

TEST_F(CGeneralClassNumberingTest, DefaultSuffixesOfTheArticles) {
  struct Case {
    std::int16_t pasal;
    const char* suffix;
  };
  const Case cases[] = {{4, "/PPH4"},   {15, "/PPH15"}, {21, "/PPH21"},
                        {22, "/PPH22"}, {23, "/PPH23"}, {99, ""}};
  auto general = connected<CGeneralClass>();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.pasal);
    EXPECT_EQ(general->pGetNoBuktiHdr(c.pasal), (Proposal{"000001", c.suffix, ""}));
    general->pUpdateNoNuktiHdr(c.pasal, std::string("000009") + c.suffix);
    EXPECT_EQ(stored("NO_URUT", c.pasal).text(), "000000");
  }
  EXPECT_EQ(count("SELECT COUNT(*) FROM SETTING_NOBUKTI_PPH"), 6);
}

TEST_F(CGeneralClassNumberingTest, ArticleWithoutDefaultSuffixLeavesTheFormatUnset) {
  auto general = connected<CGeneralClass>();
  EXPECT_EQ(general->pGetNoBuktiHdr(99), (Proposal{"000001", "", ""}));
  general->pUpdateNoNuktiHdr(99, "000001");
  EXPECT_EQ(stored("NO_URUT", 99).text(), "000000");
  EXPECT_TRUE(stored("FORMAT_STRING", 99).isNull());
  // Without a format no number can match it, so the counter stays where it was made.
  general->pUpdateNoNuktiHdr(99, "000005/X");
  general->pUpdateNoNuktiHdr(99, "0000050");
  EXPECT_EQ(stored("NO_URUT", 99).text(), "000000");
  EXPECT_EQ(general->pGetNoBuktiHdr(99), (Proposal{"000001", "", ""}));
  EXPECT_TRUE(messages().empty());
}

TEST_F(CGeneralClassNumberingTest, DamagedCounterFailsWithOneMessage) {
  storeCounter(22, "", "/PPH22");
  auto general = connected<CGeneralClass>();
  EXPECT_TRUE(general->pGetNoBuktiHdr(22).empty());
  ASSERT_EQ(messages().size(), 1u);

  general->pUpdateNoNuktiHdr(22, "000005/PPH22");
  EXPECT_EQ(messages().size(), 2u);
  EXPECT_EQ(stored("NO_URUT").text(), "");
}

TEST_F(CGeneralClassNumberingTest, MissingTableShowsTheStoresDescription) {
  exec("DROP TABLE SETTING_NOBUKTI_PPH");
  auto general = connected<CGeneralClass>();
  EXPECT_TRUE(general->pGetNoBuktiHdr(22).empty());
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_NE(messages()[0].text.find("SETTING_NOBUKTI_PPH"), std::string::npos);
}

TEST_F(CGeneralClassNumberingTest, UnconnectedObjectReturnsNothing) {
  CGeneralClass general;
  EXPECT_TRUE(general.pGetNoBuktiHdr(22).empty());
  general.pUpdateNoNuktiHdr(22, "000001/PPH22");
  EXPECT_EQ(messages().size(), 2u);
}

}  // namespace
}  // namespace korvane
