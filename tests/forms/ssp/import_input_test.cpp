// Slips of every input class, imports among them, are driven on one fixture in
// ssp_input_test.cpp; here is what an import input does before any period is begun.
#include "korvane/forms/ssp/import_input.hpp"

#include <gtest/gtest.h>

#include "support/store_fixture.hpp"

namespace korvane {
namespace {

class CInputPPh22ImporTest : public testing::StoreTest {};

TEST_F(CInputPPh22ImporTest, AKindOfSlipItDoesNotEditIsRefused) {
  connected<CInputPPh22Impor>()->pCreateHdr(kNpwp, "PPh22MigasFinal", "05", 5, 2013, 0, "NT-1",
                                            "112", "PT MAJU JAYA", "JL. SUDIRMAN 1 JAKARTA",
                                            Date(2013, 6, 10), "", "Pemungut");
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text,
            "Invalid procedure call: \"PPh22MigasFinal\" is not a kind of SSP this input edits.");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_SSP_PPh22"), 0);
}

// "PPh22Impor" at first; a kind named once is the one the object works on after.
TEST_F(CInputPPh22ImporTest, WithoutAKindNamedTheSequenceIsOfTheKindLastWorkedOn) {
  exec("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ('D113203', 5, 2013, 0, 0, 0, 'NT-1', '')");
  auto probe = connected<CInputPPh22Impor>();
  double seq = -1;
  probe->pGetMaxSeqNo(5, 2013, 0, 0, seq);
  EXPECT_EQ(seq, 1);
  probe->pGetMaxSeqNo(5, 2013, 0, 0, seq, "PPh22");
  probe->pGetMaxSeqNo(5, 2013, 0, 0, seq);
  EXPECT_EQ(seq, 0);
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
