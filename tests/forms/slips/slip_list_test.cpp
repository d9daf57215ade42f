#include "korvane/forms/slips/slip_list.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/store_fixture.hpp"

namespace korvane {
namespace {

class cd113204Test : public testing::StoreTest {
 protected:
  // The list header as a period's beginning writes it: identity, period, totals.
  void insertHeader(int month, int year, int correction, const std::string& totals = "0;0") {
    exec(std::string("INSERT INTO DS_FORM_INDUK VALUES ('") + kNpwp + "', 'D113204', '09', " +
         std::to_string(month) + ", " + std::to_string(year) + ", " + std::to_string(correction) +
         ", '-', '112', '" + kNpwp + ";PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;" +
         std::to_string(month) + ";" + std::to_string(year) + ";" + std::to_string(correction) +
         ";" + totals + "', '01/01/2013', NULL, NULL)");
  }
  // A slip's line as the slip classes build it.
  static std::string line(const std::string& number, double base, double tax) {
    return "01.234.567.8-901.000;JL. MERDEKA 2;CV SENTOSA;" + number + ";15/05/2013;" +
           numberText(base) + ";" + numberText(tax);
  }
  void addLine(cd113204& list, int correction, const std::string& number, double base, double tax,
               int month = 5) {
    list.pCreateD113204Br(kNpwp, static_cast<std::int16_t>(month), 2013,
                          static_cast<std::int16_t>(correction), std::to_string(month) + ";2013",
                          line(number, base, tax), number);
  }
  std::shared_ptr<cd113204> shapeConnected() {
    auto list = std::make_shared<cd113204>();
    list->pAssignConStr_Shape(store(), "", "");
    return list;
  }
  static double value(const RecordsetPtr& rs, const char* field) {
    return rs->Fields(field).Value().toDouble();
  }
};

TEST_F(cd113204Test, ThreeNamesOfOneList) {
  EXPECT_STREQ(cd113204().className(), "cd113204");
  EXPECT_STREQ(cd113204A().className(), "cd113204A");
  EXPECT_STREQ(cd113204S().className(), "cd113204S");

  // Whatever its name, the list writes form D113204.
  insertHeader(5, 2013, 0);
  auto list = std::make_shared<cd113204S>();
  list->pAssignConStr(store(), "", "");
  list->pCreateD113204Br(kNpwp, 5, 2013, 0, "5;2013", line("000001/PPH22", 100, 2), "000001/PPH22");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN WHERE KD_FORM = 'D113204'"), 1);
  EXPECT_TRUE(messages().empty());
}

TEST_F(cd113204Test, LinesShareOneSequenceAcrossCorrections) {
  auto list = connected<cd113204>();
  addLine(*list, 0, "000001/PPH22", 1000, 25);
  addLine(*list, 1, "000002/PPH22", 2000, 50);
  addLine(*list, 0, "000003/PPH22", 3000, 75, 6);

  EXPECT_EQ(scalar("SELECT SEQ FROM DS_FORM_LAMPIRAN WHERE NOBUKTI = '000001/PPH22'").toDouble(),
            1);
  EXPECT_EQ(scalar("SELECT SEQ FROM DS_FORM_LAMPIRAN WHERE NOBUKTI = '000002/PPH22'").toDouble(),
            2);
  // Another month begins its own run.
  EXPECT_EQ(scalar("SELECT SEQ FROM DS_FORM_LAMPIRAN WHERE NOBUKTI = '000003/PPH22'").toDouble(),
            1);
  auto stored = query("SELECT * FROM DS_FORM_LAMPIRAN WHERE NOBUKTI = '000002/PPH22'");
  EXPECT_EQ(stored->Fields("DAT_FORM").Value().text(),
            "5;2013;2;01.234.567.8-901.000;JL. MERDEKA 2;CV SENTOSA;000002/PPH22;15/05/2013;2000;"
            "50");
  EXPECT_EQ(stored->Fields("KD_PEMBETULAN_KE").Value().toInt16(), 1);
  EXPECT_EQ(stored->Fields("COLLNO").Value().toInt16(), 0);
  EXPECT_TRUE(messages().empty());
}

TEST_F(cd113204Test, LoadsHeaderAndLinesAsOneHierarchy) {
  insertHeader(5, 2013, 0, "3000;75");
  insertHeader(5, 2013, 1, "0;0");
  auto list = shapeConnected();
  addLine(*list, 0, "000001/PPH22", 1000, 25);
  addLine(*list, 0, "000002/PPH22", 2000, 50);
  addLine(*list, 1, "000003/PPH22", 4000, 100);     // another correction
  addLine(*list, 0, "000004/PPH22", 8000, 200, 6);  // another month
  exec("INSERT INTO DS_FORM_LAMPIRAN VALUES ('D113204', 5, 2013, 0, 1, 9, 'X', 'x')");

  list->pGetD113204(kNpwp, 5, 2013, 0);
  ASSERT_TRUE(messages().empty());
  auto header = list->rs22Hdr();
  ASSERT_TRUE(header);
  EXPECT_EQ(header->RecordCount(), 1);
  EXPECT_EQ(header->Fields("KD_PEMBETULAN_KE").Value().toInt16(), 0);

  EXPECT_EQ(value(list->rs22Form(), "TotObjPPh22"), 3000);
  EXPECT_EQ(value(list->rs22Form(), "TotPPh22"), 75);
  EXPECT_EQ(list->aNPWP().text(), kNpwp);

  auto lines = list->rs22FormColl1();
  ASSERT_EQ(lines->RecordCount(), 2);
  lines->MoveFirst();
  EXPECT_EQ(lines->Fields("NoBukti").Value().text(), "000001/PPH22");
  EXPECT_EQ(lines->Fields("SEQ").Value().toDouble(), 1);
  EXPECT_EQ(lines->Fields("NMWPLT").Value().text(), "CV SENTOSA");
  EXPECT_EQ(lines->Fields("TglBukti").Value().toDate(), Date(2013, 5, 15));
  EXPECT_EQ(value(lines, "jmlObjPPh22"), 1000);
  lines->MoveNext();
  EXPECT_EQ(value(lines, "PPh22"), 50);

  // Data binding: the header itself, its first chapter, and nothing for other names.
  EXPECT_EQ(list->GetDataMember("Primary"), header);
  auto chapter = list->GetDataMember("Secondary");
  ASSERT_TRUE(chapter);
  EXPECT_EQ(chapter->RecordCount(), 2);
  EXPECT_EQ(chapter->Fields("NOBUKTI").Value().text(), "000001/PPH22");
  EXPECT_EQ(list->GetDataMember("primary"), nullptr);
  EXPECT_EQ(list->GetDataMember("Detail"), nullptr);
  EXPECT_TRUE(messages().empty());
}

TEST_F(cd113204Test, HeaderMovesRaiseMoveComplete) {
  insertHeader(5, 2013, 0);
  auto list = shapeConnected();
  list->pGetD113204(kNpwp, 5, 2013, 0);
  int moves = 0;
  list->onMoveComplete([&] { ++moves; });
  list->rs22Hdr()->MoveLast();
  list->rs22Hdr()->MoveFirst();
  EXPECT_EQ(moves, 2);
}

TEST_F(cd113204Test, PeriodWithoutHeaderLoadsEmpty) {
  auto list = shapeConnected();
  list->pGetD113204(kNpwp, 5, 2013, 0);
  EXPECT_TRUE(messages().empty());
  EXPECT_EQ(list->rs22Hdr()->RecordCount(), 0);
  EXPECT_EQ(list->rs22Form()->RecordCount(), 0);
  EXPECT_EQ(list->rs22FormColl1()->RecordCount(), 0);
  EXPECT_EQ(list->GetDataMember("Secondary"), nullptr);
}

TEST_F(cd113204Test, MovesTheTotalsBySlipAmounts) {
  struct Case {
    const char* name;
    bool adding, editing, deleting;
    double base, tax;
    double expectedBase, expectedTax;
  };
  const Case cases[] = {
      {"adding", true, false, false, 500, 10, 3500, 85},
      {"editing down", false, true, false, -1000, -25, 2000, 50},
      {"deleting", false, false, true, 1000, 25, 2000, 50},
      {"deleting more than the list holds", false, false, true, 5000, 100, 0, -25},
      {"no status counts as deleting", false, false, false, 1000, 25, 2000, 50},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    exec("DELETE FROM DS_FORM_INDUK");
    insertHeader(5, 2013, 0, "3000;75");
    auto list = connected<cd113204>();
    list->pGetD113204Induk(kNpwp, 5, 2013, 0);
    list->pAssignStatus(c.adding, c.editing, c.deleting);
    list->pHitungPajak(c.base, c.tax);
    list->pUpdate();

    auto reloaded = connected<cd113204>();
    reloaded->pGetD113204Induk(kNpwp, 5, 2013, 0);
    EXPECT_EQ(value(reloaded->rs22Form(), "TotObjPPh22"), c.expectedBase);
    EXPECT_EQ(value(reloaded->rs22Form(), "TotPPh22"), c.expectedTax);
  }
  EXPECT_TRUE(messages().empty());
}

TEST_F(cd113204Test, SavesTheHeaderRow) {
  insertHeader(5, 2013, 0, "3000;75");
  auto list = connected<cd113204>();
  list->pGetD113204Induk(kNpwp, 5, 2013, 0);
  list->pAssignStatus(true, false, false);
  list->pHitungPajak(1000, 25);
  list->pUpdate();

  auto row = query("SELECT * FROM DS_FORM_INDUK WHERE KD_FORM = 'D113204'");
  ASSERT_EQ(row->RecordCount(), 1);
  EXPECT_EQ(row->Fields("DAT_FORM").Value().text(),
            std::string(kNpwp) + ";PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;5;2013;0;4000;100");
  EXPECT_EQ(row->Fields("NOBUKTI").Value().text(), "-");
  EXPECT_EQ(row->Fields("TGL_UBAH").Value().text(), Date::today().text());
  EXPECT_EQ(row->Fields("NIP").Value().text(), "");
  EXPECT_EQ(row->Fields("TGL_REKAM").Value().text(), "01/01/2013");
}

TEST_F(cd113204Test, SumsTheLinesLeavingOutNegativeValues) {
  insertHeader(5, 2013, 0, "1;1");
  auto list = shapeConnected();
  addLine(*list, 0, "000001/PPH22", 1000, 25);
  addLine(*list, 0, "000002/PPH22", 2000, 50);
  addLine(*list, 0, "000003/PPH22", -400, 10);  // a negative base alone is left out
  addLine(*list, 0, "000004/PPH22", 300, -5);   // and a negative tax alone
  list->pGetD113204(kNpwp, 5, 2013, 0);
  list->pJmlPPh(0);
  EXPECT_EQ(value(list->rs22Form(), "TotObjPPh22"), 3300);
  EXPECT_EQ(value(list->rs22Form(), "TotPPh22"), 85);
  EXPECT_TRUE(messages().empty());
}

TEST_F(cd113204Test, DeletesASlipsLinesWhateverFormItNames) {
  auto list = connected<cd113204>();
  addLine(*list, 0, "000001/PPH22", 1000, 25);
  addLine(*list, 0, "000002/PPH22", 2000, 50);
  addLine(*list, 1, "000001/PPH22", 1000, 25);

  list->pDeleteD113204Coll("F113303", 5, 2013, 0, "000001/PPH22", 0);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN WHERE NOBUKTI = '000001/PPH22'"), 1);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN"), 2);
  // Nothing to delete is no failure.
  list->pDeleteD113204Coll("D113204", 5, 2013, 0, "000009/PPH22", 0);
  EXPECT_TRUE(messages().empty());
}

TEST_F(cd113204Test, FindsSlipsByNumber) {
  exec(std::string("INSERT INTO DS_FORM_INDUK VALUES ('") + kNpwp +
       "', 'F113304', '03', 5, 2013, 0, '000007/PPH22', '112', '', '01/05/2013', NULL, NULL)");
  auto list = connected<cd113204>();
  auto found = list->pGetBukti(kNpwp, "000007/PPH22", 5, 2013, 0);
  ASSERT_TRUE(found);
  ASSERT_EQ(found->RecordCount(), 1);
  EXPECT_EQ(found->Fields("KD_FORM").Value().text(), "F113304");
  EXPECT_EQ(list->pGetBukti(kNpwp, "000007/PPH22", 6, 2013, 0)->RecordCount(), 0);

  addLine(*list, 0, "000007/PPH22", 1000, 25);
  addLine(*list, 0, "000007/PPH22", 500, 5, 7);
  addLine(*list, 1, "000007/PPH22", 9, 9);
  list->pGetBuktiLampiran("000007/PPH22", 0);
  EXPECT_EQ(list->rs22FormColl1()->RecordCount(), 2);
  EXPECT_TRUE(messages().empty());
}

TEST_F(cd113204Test, QuoteInALineIsRefusedWithOneMessage) {
  auto list = connected<cd113204>();
  list->pCreateD113204Br(kNpwp, 5, 2013, 0, "5;2013", "x;O'Hara;y", "000001/PPH22");
  EXPECT_EQ(messages().size(), 1u);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN"), 0);
}

}  // namespace
}  // namespace korvane
