#include "korvane/forms/slips/slip_list.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>

#include "support/store_fixture.hpp"

namespace korvane {
namespace {

class cd113204Test : public testing::StoreTest {
 protected:
  // The list header as a period's beginning writes it: identity, period, totals.
  void insertHeader(int month, int correction, const std::string& totals) {
    const std::string period = std::to_string(month) + ";2013;" + std::to_string(correction);
    exec(std::string("INSERT INTO DS_FORM_INDUK VALUES ('") + kNpwp + "', 'D113204', '09', " +
         std::to_string(month) + ", 2013, " + std::to_string(correction) + ", '-', '112', '" +
         kNpwp + ";PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;" + period + ";" + totals +
         "', '01/01/2013', NULL, NULL)");
  }
  // A slip's line as the slip classes write it.
  static void addLine(slips::SlipList& list, int correction, const std::string& number, double base,
                      double tax, int month = 5) {
    list.pCreateD113204Br(kNpwp, static_cast<std::int16_t>(month), 2013,
                          static_cast<std::int16_t>(correction), std::to_string(month) + ";2013",
                          "01.234.567.8-901.000;JL. MERDEKA 2;CV SENTOSA;" + number +
                              ";15/05/2013;" + numberText(base) + ";" + numberText(tax),
                          number);
  }
  double seqOf(const std::string& number) {
    return scalar("SELECT SEQ FROM DS_FORM_LAMPIRAN WHERE NOBUKTI = '" + number + "'").toDouble();
  }
};

TEST_F(cd113204Test, LinesShareOneSequenceLoadAsOneHierarchyAndAreFoundAndDeletedByNumber) {
  auto list = std::make_shared<cd113204S>();
  list->pAssignConStr_Shape(store(), "", "");
  list->pGetD113204(kNpwp, 5, 2013, 0);
  EXPECT_EQ(list->rs22Hdr()->RecordCount(), 0);
  EXPECT_EQ(list->GetDataMember("Secondary"), nullptr);

  insertHeader(5, 0, "3000;75");
  insertHeader(5, 1, "0;0");
  addLine(*list, 0, "000001/PPH22", 1000, 25);
  addLine(*list, 0, "000002/PPH22", 2000, 50);
  addLine(*list, 0, "000005/PPH22", -400, 10);      // a negative base alone is left out
  addLine(*list, 0, "000006/PPH22", 300, -5);       // and a negative tax alone
  addLine(*list, 1, "000003/PPH22", 4000, 100);     // another correction
  addLine(*list, 0, "000004/PPH22", 8000, 200, 6);  // another month
  // Whatever its name, the list writes form D113204; a month's run goes on across corrections.
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN WHERE KD_FORM = 'D113204'"), 6);
  EXPECT_EQ(seqOf("000006/PPH22"), 4);
  EXPECT_EQ(seqOf("000003/PPH22"), 5);
  EXPECT_EQ(seqOf("000004/PPH22"), 1);
  list->pCreateD113204Br(kNpwp, 5, 2013, 0, "5;2013", "x;O'Hara;y", "000009/PPH22");
  EXPECT_EQ(messages().size(), 1u);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN"), 6);
  clearMessages();

  exec("INSERT INTO DS_FORM_LAMPIRAN VALUES ('D113204', 5, 2013, 0, 1, 9, 'X', 'x')");
  list->pGetD113204(kNpwp, 5, 2013, 0);
  EXPECT_EQ(list->rs22Hdr()->RecordCount(), 1);
  EXPECT_EQ(list->rs22Hdr()->Fields("KD_PEMBETULAN_KE").Value().toInt16(), 0);
  EXPECT_EQ(list->rs22Form()->Fields("TotObjPPh22").Value().toDouble(), 3000);
  EXPECT_EQ(list->rs22Form()->Fields("TotPPh22").Value().toDouble(), 75);
  EXPECT_EQ(list->aNPWP().text(), kNpwp);

  // The lines of the period and correction, unpacked (their layout: companion_test.cpp), in
  // their order; pJmlPPh below sums their amounts.
  EXPECT_EQ(list->rs22FormColl1()->RecordCount(), 4);
  EXPECT_EQ(list->rs22FormColl1()->Fields("NoBukti").Value().text(), "000001/PPH22");

  // Data binding: the header's chapter is the lines (the names are the frame's).
  auto chapter = list->GetDataMember("Secondary");
  ASSERT_TRUE(chapter);
  EXPECT_EQ(chapter->Fields("NOBUKTI").Value().text(), "000001/PPH22");

  list->pJmlPPh(0);
  EXPECT_EQ(list->rs22Form()->Fields("TotObjPPh22").Value().toDouble(), 3300);
  EXPECT_EQ(list->rs22Form()->Fields("TotPPh22").Value().toDouble(), 85);

  // A slip's header rows, of any form, and its lines are found and deleted by its number.
  exec(std::string("INSERT INTO DS_FORM_INDUK VALUES ('") + kNpwp +
       "', 'F113304', '03', 5, 2013, 0, '000007/PPH22', '112', '', '01/05/2013', NULL, NULL)");
  auto found = list->pGetBukti(kNpwp, "000007/PPH22", 5, 2013, 0);
  ASSERT_EQ(found->RecordCount(), 1);
  EXPECT_EQ(found->Fields("KD_FORM").Value().text(), "F113304");
  EXPECT_EQ(list->pGetBukti(kNpwp, "000007/PPH22", 6, 2013, 0)->RecordCount(), 0);
  addLine(*list, 0, "000007/PPH22", 1000, 25);
  addLine(*list, 0, "000007/PPH22", 500, 5, 7);
  addLine(*list, 1, "000007/PPH22", 9, 9);
  list->pGetBuktiLampiran("000007/PPH22", 0);
  EXPECT_EQ(list->rs22FormColl1()->RecordCount(), 2);  // any month, its correction only
  // The form named takes no part: D113204's lines of the month and correction go.
  list->pDeleteD113204Coll("F113303", 5, 2013, 0, "000007/PPH22", 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN WHERE NOBUKTI = '000007/PPH22'"), 2);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN"), 9);
  // Nothing to delete is no failure.
  list->pDeleteD113204Coll("D113204", 5, 2013, 0, "000009/PPH22", 0);
  EXPECT_TRUE(messages().empty());
}

TEST_F(cd113204Test, MovesTheTotalsBySlipAmountsAndSavesTheHeaderRow) {
  // Editing, deleting, no status (adding and deleting as such: the slips' stories in
  // f113303_test.cpp): only the base is held at zero after subtracting.
  const std::tuple<const char*, bool, bool, bool, double, double, const char*> cases[] = {
      {"editing down", false, true, false, -1000, -25, "2000;50"},
      {"deleting more than the list holds", false, false, true, 5000, 100, "0;-25"},
      {"no status counts as deleting", false, false, false, 1000, 25, "2000;50"},
  };
  for (const auto& [name, adding, editing, deleting, base, tax, totals] : cases) {
    SCOPED_TRACE(name);
    exec("DELETE FROM DS_FORM_INDUK");
    insertHeader(5, 0, "3000;75");
    auto list = connected<cd113204>();
    list->pGetD113204Induk(kNpwp, 5, 2013, 0);
    list->pAssignStatus(adding, editing, deleting);
    list->pHitungPajak(base, tax);
    list->pUpdate();
    auto row = query("SELECT * FROM DS_FORM_INDUK WHERE KD_FORM = 'D113204'");
    ASSERT_EQ(row->RecordCount(), 1);
    EXPECT_EQ(row->Fields("DAT_FORM").Value().text(),
              std::string(kNpwp) + ";PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;5;2013;0;" + totals);
    EXPECT_EQ(row->Fields("TGL_UBAH").Value().text(), Date::today().text());
    EXPECT_EQ(row->Fields("NIP").Value().text(), "");
  }
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
