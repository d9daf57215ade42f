// Recordsets opened on a real store: what a host walking, filtering, editing and writing back
// rows sees.
#include "korvane/store/recordset.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>

#include "korvane/store/error.hpp"
#include "support/store_fixture.hpp"

namespace korvane::testing {
namespace {

// The error an action raises: its number and description.
std::pair<long, std::string> errorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const Error& e) {
    return {e.number(), e.description()};
  }
  return {0, ""};
}

// The visible rows from the first: "; " between rows, a blank between the columns, Null as "-".
// RecordCount must agree. Leaves the recordset on its first row.
std::string rows(const RecordsetPtr& rs,
                 std::initializer_list<const char*> columns = {"NPWP_PARTNER"}) {
  std::string out;
  long walked = 0;
  if (rs->RecordCount() > 0) {
    for (rs->MoveFirst(); !rs->EndOfFile(); rs->MoveNext()) {
      out += walked++ ? "; " : "";
      for (const char* name : columns) {
        const Variant value = rs->Fields(name).Value();
        out += (name == *columns.begin() ? "" : " ") + (value.isNull() ? "-" : value.text());
      }
    }
    rs->MoveFirst();
  }
  EXPECT_EQ(rs->RecordCount(), walked);
  return out;
}

// Where a partner recordset stands: the current row's NPWP, or BOF and/or EOF, where reading a
// field raises "no current record".
std::string at(const RecordsetPtr& rs) {
  if (!rs->BOF() && !rs->EndOfFile()) return rs->Fields("NPWP_PARTNER").Value().text();
  EXPECT_EQ(errorOf([&] { rs->Fields("NPWP_PARTNER").Value(); }).first, errc::kNoCurrentRecord);
  return rs->BOF() && rs->EndOfFile() ? "BOF EOF" : rs->BOF() ? "BOF" : "EOF";
}

void addNew(const RecordsetPtr& rs, std::initializer_list<std::pair<const char*, Variant>> values) {
  rs->AddNew();
  for (const auto& [name, value] : values) rs->Fields(name).Value(value);
}

std::string slipNumber(int running) {
  return std::to_string(1000000 + running).substr(1) + "/PPH22";
}

class RecordsetTest : public StoreTest {
 protected:
  // Five partners, ordered by NPWP: one name with a quote, one Null, one in lower case.
  static constexpr const char* kPartners =
      "01 PT ANGIN RIBUT JAKARTA; 02 O'BRIEN TRADING BANDUNG; 03 - SURABAYA; "
      "04 pt angin ribut MEDAN; 05 CV BUMI JAKARTA";
  RecordsetPtr partners() {
    for (const char* row : {"'01', 'PT ANGIN RIBUT', 'JAKARTA'",
                            "'02', 'O''BRIEN TRADING', 'BANDUNG'", "'03', NULL, 'SURABAYA'",
                            "'04', 'pt angin ribut', 'MEDAN'", "'05', 'CV BUMI', 'JAKARTA'"}) {
      exec(std::string("INSERT INTO DAT_PARTNER VALUES (") + row + ")");
    }
    return query("SELECT * FROM DAT_PARTNER ORDER BY NPWP_PARTNER");
  }
  // What the store holds, as kPartners shows it.
  std::string storedPartners() {
    return rows(query("SELECT * FROM DAT_PARTNER ORDER BY NPWP_PARTNER"),
                {"NPWP_PARTNER", "NAMA_PARTNER", "ALAMAT_PARTNER"});
  }
};

TEST_F(RecordsetTest, OpeningStandsOnTheFirstRowOrBofAndEofWhenEmptyAndMovesStopAtEitherEnd) {
  // An empty result still knows its columns.
  auto none = query("SELECT * FROM DAT_PARTNER WHERE NPWP_PARTNER = 'none'");
  EXPECT_EQ(at(none), "BOF EOF");
  EXPECT_EQ(none->Fields().Count(), 3u);
  EXPECT_EQ(errorOf([&] { none->Move(1); }).first, errc::kNoCurrentRecord);

  auto rs = partners();
  EXPECT_EQ(at(rs), "01");
  // Each step and where it leaves the recordset; a step that raises moves nothing.
  const std::pair<std::function<void()>, std::string> steps[] = {
      {[&] { rs->Move(2); }, "03"},           {[&] { rs->Move(-1); }, "02"},
      {[&] { rs->Move(0); }, "02"},           {[&] { rs->Move(10); }, "EOF"},
      {[&] { rs->Move(1); }, "raises"},       {[&] { rs->Move(-1); }, "05"},
      {[&] { rs->Move(-10); }, "BOF"},        {[&] { rs->Move(-1); }, "raises"},
      {[&] { rs->Move(1); }, "01"},           {[&] { rs->MoveLast(); }, "05"},
      {[&] { rs->MoveNext(); }, "EOF"},       {[&] { rs->MoveNext(); }, "raises"},
      {[&] { rs->MoveFirst(); }, "01"},       {[&] { rs->MovePrevious(); }, "BOF"},
      {[&] { rs->MovePrevious(); }, "raises"}};
  std::string where = "01";
  for (std::size_t i = 0; i < std::size(steps); ++i) {
    const bool raises = steps[i].second == "raises";
    EXPECT_EQ(errorOf(steps[i].first).first, raises ? errc::kNoCurrentRecord : 0) << "step " << i;
    if (!raises) where = steps[i].second;
    EXPECT_EQ(at(rs), where) << "step " << i;
  }

  // Field names compare case-insensitively.
  rs->MoveFirst();
  EXPECT_EQ(rs->Fields("nama_partner").Value().text(), "PT ANGIN RIBUT");
  EXPECT_STRCASEEQ(rs->Fields("Nama_Partner").Name().c_str(), "NAMA_PARTNER");
  EXPECT_EQ(errorOf([&] { rs->Fields("NAMA"); }).first, errc::kItemNotFound);
}

// Each filter shows exactly the matching rows from the first; an empty one shows every row
// again from the first. How criteria match is FilterTest's; these go through the recordset's
// equality index or past it.
TEST_F(RecordsetTest, FilterShowsExactlyTheMatchingRowsFromTheFirst) {
  auto rs = partners();
  const std::pair<std::string, std::string> cases[] = {
      {"ALAMAT_PARTNER = 'JAKARTA'", "01; 05"},
      {"NAMA_PARTNER = 'PT Angin Ribut'", "01; 04"},  // equality ignores case
      {"NAMA_PARTNER = Null", "03"},
      {"NAMA_PARTNER LIKE '%RIBUT%' AND ALAMAT_PARTNER = 'MEDAN'", "04"},
      {"NAMA_PARTNER = 'pt angin ribut' AND ALAMAT_PARTNER = 'JAKARTA'", "01"},
      {"NPWP_PARTNER = '02' OR NPWP_PARTNER = '05'", "02; 05"},
      {"ALAMAT_PARTNER = 'BOGOR'", ""}};
  for (const auto& [criteria, expected] : cases) {
    SCOPED_TRACE(criteria);
    rs->MoveLast();
    rs->Filter(criteria);
    EXPECT_EQ(rs->filterText(), criteria);
    EXPECT_EQ(at(rs), expected.empty() ? "BOF EOF" : expected.substr(0, 2));
    EXPECT_EQ(rs->AbsolutePosition(), expected.empty() ? -1 : 0);
    EXPECT_EQ(rows(rs), expected);
    if (!expected.empty()) rs->MoveNext();
    rs->Filter("");
    EXPECT_EQ(rs->AbsolutePosition(), 0);
    EXPECT_EQ(rows(rs), "01; 02; 03; 04; 05");
  }
}

// The slip lists filter one large recordset over and over; the answers must stay exact.
TEST_F(RecordsetTest, ManyEqualityFiltersOnTenThousandRows) {
  auto rs = query("SELECT * FROM DS_FORM_LAMPIRAN");
  for (int i = 0; i < 10000; ++i) {
    addNew(rs, {{"KD_FORM", i % 2 == 0 ? "D113204" : "D113204A"},
                {"MS_PAJAK", std::int16_t(1 + i % 12)},
                {"SEQ", static_cast<double>(i)},
                {"NOBUKTI", slipNumber(i)}});
  }
  rs->UpdateBatch();
  rs->Requery();
  for (int i = 0; i < 10000; i += 37) {
    rs->Filter("NOBUKTI = '" + slipNumber(i) + "'");
    ASSERT_EQ(rows(rs, {"SEQ"}), std::to_string(i));
  }
  // A value changed in memory is found under its new value and no longer under the old one.
  rs->Filter("NOBUKTI = '000074/PPH22'");
  rs->Fields("NOBUKTI").Value("999999/PPH22");
  rs->Filter("NOBUKTI = '000074/PPH22'");
  EXPECT_EQ(rows(rs, {"SEQ"}), "");
  rs->Filter("NOBUKTI = '999999/PPH22'");
  EXPECT_EQ(rows(rs, {"SEQ"}), "74");
  rs->Filter("");
  EXPECT_EQ(rs->RecordCount(), 10000);
}

// Nothing is written before the batch, each new row once, the fields left unset as Null.
TEST_F(RecordsetTest, AddNewAndUpdateBatchInsertTheRowOnceWithUnsetFieldsNull) {
  auto rs = query("SELECT * FROM SETTING_NOBUKTI_PPH WHERE PASAL = 22");
  addNew(rs, {{"PASAL", std::int16_t{22}}, {"NO_URUT", "000000"}, {"FORMAT_STRING", "/PPH22"}});
  EXPECT_EQ(count("SELECT COUNT(*) FROM SETTING_NOBUKTI_PPH"), 0);
  rs->UpdateBatch();
  addNew(rs, {{"PASAL", std::int16_t{99}}, {"NO_URUT", "000000"}});
  rs->UpdateBatch();
  EXPECT_EQ(rows(query("SELECT * FROM SETTING_NOBUKTI_PPH ORDER BY PASAL"),
                 {"PASAL", "NO_URUT", "FORMAT_STRING"}),
            "22 000000 /PPH22; 99 000000 -");
}

// Components spell table names as they like; the write-back names the table as the store has
// it, and writes only what changed, Nulls included.
TEST_F(RecordsetTest, WriteBackUpdatesChangedRowsAndInsertsNewOnes) {
  partners();
  auto rs = query("SELECT * FROM dat_partner WHERE ALAMAT_PARTNER = 'JAKARTA'");
  EXPECT_EQ(rs->baseTable(), "DAT_PARTNER");
  rs->MoveNext();
  rs->Fields("NAMA_PARTNER").Value("CV BUMI LESTARI");
  addNew(rs, {{"NPWP_PARTNER", "06"}});
  rs->UpdateBatch();
  rs->MoveFirst();
  rs->Fields("ALAMAT_PARTNER").Value("DEPOK");
  rs->Update();  // writes the current row at once
  auto nulls =
      query("SELECT * FROM DAT_PARTNER WHERE NPWP_PARTNER IN ('01', '03') ORDER BY NPWP_PARTNER");
  nulls->Fields("NAMA_PARTNER").Value(Null);
  nulls->MoveNext();
  nulls->Fields("NAMA_PARTNER").Value("UD TIGA");
  nulls->UpdateBatch();
  EXPECT_EQ(storedPartners(),
            "01 - DEPOK; 02 O'BRIEN TRADING BANDUNG; 03 UD TIGA SURABAYA; "
            "04 pt angin ribut MEDAN; 05 CV BUMI LESTARI JAKARTA; 06 - -");
}

// A row changed behind the recordset's back: the write-back refuses, names the table and writes
// none of the batch. Nor is a join written back.
TEST_F(RecordsetTest, WriteBackRefusesAConflictOrAJoinAndWritesNothing) {
  auto rs = partners();
  rs->Fields("ALAMAT_PARTNER").Value("DEPOK");  // 01: no conflict
  rs->MoveNext();
  rs->Fields("ALAMAT_PARTNER").Value("CIREBON");  // 02: changed behind our back below
  rs->MoveNext();
  rs->Fields("ALAMAT_PARTNER").Value("MALANG");  // 03: no conflict
  addNew(rs, {{"NPWP_PARTNER", "06"}});
  exec("UPDATE DAT_PARTNER SET NAMA_PARTNER = 'OBRIEN' WHERE NPWP_PARTNER = '02'");
  const auto [number, description] = errorOf([&] { rs->UpdateBatch(); });
  EXPECT_EQ(number, errc::kWriteConflict);
  EXPECT_NE(description.find("DAT_PARTNER"), std::string::npos) << description;
  EXPECT_EQ(storedPartners(),
            "01 PT ANGIN RIBUT JAKARTA; 02 OBRIEN BANDUNG; 03 - SURABAYA; "
            "04 pt angin ribut MEDAN; 05 CV BUMI JAKARTA");

  exec("INSERT INTO PARTNER_INFO VALUES ('01', 'langganan')");
  auto join = query(
      "SELECT p.NPWP_PARTNER, i.KETERANGAN FROM DAT_PARTNER p JOIN PARTNER_INFO i ON "
      "p.NPWP_PARTNER = i.NPWP_PARTNER");
  join->Fields("KETERANGAN").Value("lama");
  EXPECT_EQ(errorOf([&] { join->UpdateBatch(); }).first, errc::kNotUpdatable);
  EXPECT_EQ(scalar("SELECT KETERANGAN FROM PARTNER_INFO").text(), "langganan");
}

// What was not written is dropped: a cancelled change or new row, and on a requery the filter
// and whatever the store no longer holds.
TEST_F(RecordsetTest, CancelUpdateRestoresTheRowAndRequeryReadsTheStoreAgain) {
  auto rs = partners();
  rs->Fields("NAMA_PARTNER").Value("CHANGED");
  rs->CancelUpdate();
  EXPECT_EQ(rs->Fields("NAMA_PARTNER").Value().text(), "PT ANGIN RIBUT");
  addNew(rs, {{"NPWP_PARTNER", "06"}});
  rs->CancelUpdate();
  EXPECT_EQ(rs->RecordCount(), 5);
  rs->UpdateBatch();
  EXPECT_EQ(storedPartners(), kPartners);

  rs->Filter("ALAMAT_PARTNER = 'JAKARTA'");
  exec("INSERT INTO DAT_PARTNER VALUES ('00', 'FIRMA NOL', 'BOGOR')");
  exec("DELETE * FROM DAT_PARTNER WHERE NPWP_PARTNER = '05'");
  EXPECT_EQ(rs->RecordCount(), 2);
  rs->Requery();
  EXPECT_EQ(rs->filterText(), "");
  EXPECT_EQ(rs->AbsolutePosition(), 0);
  EXPECT_EQ(rows(rs), "00; 01; 02; 03; 04");
}

// MoveComplete comes on every move; WillChangeRecord once before a row's first change, with
// the row still as it was.
TEST_F(RecordsetTest, EventsComeOnEveryMoveAndOnceBeforeARowIsFirstChanged) {
  auto rs = partners();
  std::string events;
  auto id = rs->onMoveComplete([&] { events += " move"; });
  rs->onWillChangeRecord(
      [&] { events += " change " + rs->Fields("ALAMAT_PARTNER").Value().text(); });
  rs->Fields("ALAMAT_PARTNER").Value("DEPOK");
  rs->Fields("ALAMAT_PARTNER").Value("BOGOR");
  rs->MoveNext();
  rs->Fields("NAMA_PARTNER").Value("X");
  rs->MoveLast();
  rs->MoveFirst();
  events += " / filter:";
  rs->Filter("ALAMAT_PARTNER = 'JAKARTA'");
  events += " / requery:";
  rs->Requery();
  events += " / add:";
  rs->AddNew();
  events += " / unsubscribed:";
  rs->unsubscribe(id);
  rs->MoveFirst();
  EXPECT_EQ(events,
            " change JAKARTA move change BANDUNG move move / filter: move / requery: move / add:"
            " change JAKARTA move / unsubscribed:");
}

// Three list headers: May and June have lines, July has none. Chapters follow their header's
// row, and both are written back to their own tables.
TEST_F(RecordsetTest, ShapedRecordsetsHoldExactlyTheRelatedChildRowsAndAreWrittenBack) {
  for (int month : {5, 6, 7}) {
    exec("INSERT INTO DAT_SSP_PPh22 VALUES ('0123', 'D113202', '07', " + std::to_string(month) +
         ", 2013, 0, '-', '112', 'hdr " + std::to_string(month) + "', '31/05/2013', '', '')");
  }
  for (const char* line : {"5, 2013, 0, 0, 1, '-', '5;2013;1'", "5, 2013, 0, 0, 2, '-', '5;2013;2'",
                           "5, 2013, 0, 1, 3, '-', '5;2013;3'", "6, 2013, 0, 0, 1, '-', '6;2013;1'",
                           "6, 2013, 0, 1, 2, '-', '6;2013;2'", "6, 2013, 0, 1, 3, '-', '6;2013;3'",
                           // Same month, another correction: relates to no header.
                           "5, 2013, 1, 0, 9, '-', 'x'"}) {
    exec(std::string("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ('D113202', ") + line + ")");
  }
  auto rs = query(
      "SHAPE {SELECT * FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' ORDER BY MS_PAJAK} AS hdr "
      "APPEND ({SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE COLLNO = 0 ORDER BY SEQ} AS d22Details1 "
      "RELATE KD_FORM TO KD_FORM, MS_PAJAK TO MS_PAJAK, TH_PAJAK TO TH_PAJAK, "
      "KD_PEMBETULAN_KE TO KD_PEMBETULAN_KE) AS d22Details1, "
      "({SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE COLLNO = 1 ORDER BY SEQ} AS d22Details2 "
      "RELATE KD_FORM TO KD_FORM, MS_PAJAK TO MS_PAJAK, TH_PAJAK TO TH_PAJAK, "
      "KD_PEMBETULAN_KE TO KD_PEMBETULAN_KE) AS d22Details2");
  std::string shape;  // each header's month, then its chapters' rows
  for (rs->MoveFirst(); !rs->EndOfFile(); rs->MoveNext()) {
    shape += rs->Fields("MS_PAJAK").Value().text() + ":";
    for (const char* chapter : {"d22Details1", "d22Details2"}) {
      auto lines = rs->Fields(chapter).Value().toRecordset();
      ASSERT_TRUE(lines);
      EXPECT_EQ(lines->columnCount(), 8u);
      shape += " [" + rows(lines, {"DAT_FORM"}) + "]";
    }
    shape += " ";
  }
  EXPECT_EQ(shape,
            "5: [5;2013;1; 5;2013;2] [5;2013;3] 6: [6;2013;1] [6;2013;2; 6;2013;3] 7: [] [] ");

  rs->MoveFirst();
  rs->Fields("DAT_FORM").Value("hdr 5 changed");
  auto lines = rs->Fields("d22Details1").Value().toRecordset();
  lines->MoveNext();
  lines->Fields("DAT_FORM").Value("5;2013;2;changed");
  lines->UpdateBatch();
  rs->UpdateBatch();
  EXPECT_EQ(rows(query("SELECT * FROM DAT_SSP_PPh22 ORDER BY MS_PAJAK"), {"DAT_FORM"}),
            "hdr 5 changed; hdr 6; hdr 7");
  EXPECT_EQ(rows(query("SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE DAT_FORM LIKE '%changed'"),
                 {"MS_PAJAK", "SEQ"}),
            "5 2");
}

}  // namespace
}  // namespace korvane::testing
