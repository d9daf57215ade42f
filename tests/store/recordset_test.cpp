// Recordsets opened on a real store: what a host walking, filtering, editing and writing back
// rows sees.
#include "korvane/store/recordset.hpp"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "korvane/store/error.hpp"
#include "support/store_fixture.hpp"

namespace korvane::testing {
namespace {

// The values of one column over every visible row, walked from the first.
std::vector<std::string> column(const RecordsetPtr& rs, const std::string& name) {
  std::vector<std::string> out;
  if (rs->RecordCount() == 0) return out;
  rs->MoveFirst();
  while (!rs->EndOfFile()) {
    out.push_back(rs->Fields(name).Value().text());
    rs->MoveNext();
  }
  rs->MoveFirst();
  return out;
}

// Servers may hand column names back in another case; the recordset does not mind.
std::string upper(std::string text) {
  for (auto& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

std::string slipNumber(int running) {
  char number[32];
  std::snprintf(number, sizeof number, "%06d/PPH22", running);
  return number;
}

long errorNumberOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

class RecordsetTest : public StoreTest {
 protected:
  void insertPartners() {
    exec("INSERT INTO DAT_PARTNER VALUES ('01', 'PT ANGIN RIBUT', 'JAKARTA')");
    exec("INSERT INTO DAT_PARTNER VALUES ('02', 'O''BRIEN TRADING', 'BANDUNG')");
    exec("INSERT INTO DAT_PARTNER VALUES ('03', NULL, 'SURABAYA')");
    exec("INSERT INTO DAT_PARTNER VALUES ('04', 'pt angin ribut', 'MEDAN')");
    exec("INSERT INTO DAT_PARTNER VALUES ('05', 'CV BUMI', 'JAKARTA')");
  }
  RecordsetPtr partners() { return query("SELECT * FROM DAT_PARTNER ORDER BY NPWP_PARTNER"); }
};

TEST_F(RecordsetTest, OpeningFetchesEveryRowAndStandsOnTheFirst) {
  insertPartners();
  auto rs = partners();
  EXPECT_EQ(rs->RecordCount(), 5);
  EXPECT_FALSE(rs->BOF());
  EXPECT_FALSE(rs->EndOfFile());
  EXPECT_EQ(rs->Fields("NPWP_PARTNER").Value().text(), "01");
  EXPECT_EQ(column(rs, "NPWP_PARTNER"), (std::vector<std::string>{"01", "02", "03", "04", "05"}));
  EXPECT_EQ(rs->baseTable(), "DAT_PARTNER");
}

TEST_F(RecordsetTest, EmptyResultIsAtBofAndEofAtOnceAndStillKnowsItsColumns) {
  auto rs = query("SELECT * FROM DAT_PARTNER WHERE NPWP_PARTNER = 'none'");
  EXPECT_TRUE(rs->BOF());
  EXPECT_TRUE(rs->EndOfFile());
  EXPECT_EQ(rs->RecordCount(), 0);
  std::vector<std::string> names;
  for (const auto& name : rs->columnNames()) names.push_back(upper(name));
  EXPECT_EQ(names, (std::vector<std::string>{"NPWP_PARTNER", "NAMA_PARTNER", "ALAMAT_PARTNER"}));
  EXPECT_EQ(rs->Fields().Count(), 3u);
  EXPECT_EQ(errorNumberOf([&] { rs->Fields("NAMA_PARTNER").Value(); }), errc::kNoCurrentRecord);
}

TEST_F(RecordsetTest, MovingPastTheEndRaisesNoCurrentRecord) {
  insertPartners();
  auto rs = partners();
  rs->MoveLast();
  EXPECT_EQ(rs->Fields("NPWP_PARTNER").Value().text(), "05");
  rs->MoveNext();
  EXPECT_TRUE(rs->EndOfFile());
  EXPECT_EQ(errorNumberOf([&] { rs->MoveNext(); }), errc::kNoCurrentRecord);
  EXPECT_EQ(errorNumberOf([&] { rs->Fields("NPWP_PARTNER").Value(); }), errc::kNoCurrentRecord);
  rs->MoveFirst();
  rs->MovePrevious();
  EXPECT_TRUE(rs->BOF());
  EXPECT_EQ(errorNumberOf([&] { rs->MovePrevious(); }), errc::kNoCurrentRecord);
}

TEST_F(RecordsetTest, MoveCountsFromTheCurrentRow) {
  insertPartners();
  auto rs = partners();
  rs->Move(2);
  EXPECT_EQ(rs->Fields("NPWP_PARTNER").Value().text(), "03");
  rs->Move(-1);
  EXPECT_EQ(rs->Fields("NPWP_PARTNER").Value().text(), "02");
  rs->Move(0);
  EXPECT_EQ(rs->Fields("NPWP_PARTNER").Value().text(), "02");
  rs->Move(10);
  EXPECT_TRUE(rs->EndOfFile());
  EXPECT_EQ(errorNumberOf([&] { rs->Move(1); }), errc::kNoCurrentRecord);
  rs->Move(-1);
  EXPECT_EQ(rs->Fields("NPWP_PARTNER").Value().text(), "05");
  rs->Move(-10);
  EXPECT_TRUE(rs->BOF());
  EXPECT_EQ(errorNumberOf([&] { rs->Move(-1); }), errc::kNoCurrentRecord);
  rs->Move(1);
  EXPECT_EQ(rs->Fields("NPWP_PARTNER").Value().text(), "01");

  auto empty = query("SELECT * FROM DAT_PARTNER WHERE NPWP_PARTNER = 'none'");
  EXPECT_EQ(errorNumberOf([&] { empty->Move(1); }), errc::kNoCurrentRecord);
}

TEST_F(RecordsetTest, FieldNamesCompareCaseInsensitively) {
  insertPartners();
  auto rs = partners();
  EXPECT_EQ(rs->Fields("nama_partner").Value().text(), "PT ANGIN RIBUT");
  EXPECT_EQ(upper(rs->Fields("Nama_Partner").Name()), "NAMA_PARTNER");
  rs->Fields("alamat_PARTNER").Value("BOGOR");
  EXPECT_EQ(rs->Fields("ALAMAT_PARTNER").Value().text(), "BOGOR");
  EXPECT_EQ(errorNumberOf([&] { rs->Fields("NAMA"); }), errc::kItemNotFound);
}

struct FilterCase {
  const char* name;
  std::string criteria;
  std::vector<std::string> expected;  // NPWP_PARTNER of the visible rows, in order
};

class RecordsetFilterTest : public RecordsetTest,
                            public ::testing::WithParamInterface<FilterCase> {};

TEST_P(RecordsetFilterTest, ShowsExactlyTheMatchingRowsFromTheFirst) {
  insertPartners();
  auto rs = partners();
  rs->MoveLast();
  rs->Filter(GetParam().criteria);
  EXPECT_EQ(rs->RecordCount(), static_cast<long>(GetParam().expected.size()));
  if (GetParam().expected.empty()) {
    EXPECT_TRUE(rs->BOF());
    EXPECT_TRUE(rs->EndOfFile());
  } else {
    EXPECT_EQ(rs->AbsolutePosition(), 0);
    EXPECT_EQ(rs->Fields("NPWP_PARTNER").Value().text(), GetParam().expected.front());
  }
  EXPECT_EQ(column(rs, "NPWP_PARTNER"), GetParam().expected);
  EXPECT_EQ(rs->filterText(), GetParam().criteria);
}

INSTANTIATE_TEST_SUITE_P(
    Criteria, RecordsetFilterTest,
    ::testing::Values(
        FilterCase{"Equality", "ALAMAT_PARTNER = 'JAKARTA'", {"01", "05"}},
        FilterCase{"EqualityIgnoresCase", "NAMA_PARTNER = 'PT Angin Ribut'", {"01", "04"}},
        FilterCase{"QuoteDoubledInLiteral", "NAMA_PARTNER = 'O''BRIEN TRADING'", {"02"}},
        FilterCase{"NullMatchesOnlyNull", "NAMA_PARTNER = Null", {"03"}},
        FilterCase{"NotNull", "NAMA_PARTNER <> Null", {"01", "02", "04", "05"}},
        FilterCase{"Like", "NAMA_PARTNER LIKE 'PT%'", {"01", "04"}},
        FilterCase{
            "LikeInside", "NAMA_PARTNER LIKE '%RIBUT%' AND ALAMAT_PARTNER = 'MEDAN'", {"04"}},
        FilterCase{"OrOfEqualities", "NPWP_PARTNER = '02' OR NPWP_PARTNER = '05'", {"02", "05"}},
        FilterCase{"NothingMatches", "ALAMAT_PARTNER = 'BOGOR'", {}}),
    [](const auto& param) { return std::string(param.param.name); });

TEST_F(RecordsetTest, EmptyFilterShowsEveryRowAgainFromTheFirst) {
  insertPartners();
  auto rs = partners();
  rs->Filter("ALAMAT_PARTNER = 'JAKARTA'");
  rs->MoveNext();
  rs->Filter("");
  EXPECT_EQ(rs->RecordCount(), 5);
  EXPECT_EQ(rs->AbsolutePosition(), 0);
  EXPECT_EQ(rs->Fields("NPWP_PARTNER").Value().text(), "01");
  EXPECT_EQ(rs->filterText(), "");
}

TEST_F(RecordsetTest, FilterSeesValuesChangedInMemory) {
  insertPartners();
  auto rs = partners();
  rs->Filter("NPWP_PARTNER = '03'");
  rs->Fields("ALAMAT_PARTNER").Value("JAKARTA");
  rs->Filter("ALAMAT_PARTNER = 'JAKARTA'");
  EXPECT_EQ(column(rs, "NPWP_PARTNER"), (std::vector<std::string>{"01", "03", "05"}));
  rs->Filter("ALAMAT_PARTNER = 'SURABAYA'");
  EXPECT_EQ(rs->RecordCount(), 0);
}

// The slip lists filter one large recordset over and over; the answers must stay exact.
TEST_F(RecordsetTest, ManyEqualityFiltersOnTenThousandRows) {
  {
    auto writer = query("SELECT * FROM DS_FORM_LAMPIRAN");
    for (int i = 0; i < 10000; ++i) {
      writer->AddNew();
      writer->Fields("KD_FORM").Value(i % 2 == 0 ? "D113204" : "D113204A");
      writer->Fields("MS_PAJAK").Value(std::int16_t(1 + i % 12));
      writer->Fields("TH_PAJAK").Value(std::int16_t{2013});
      writer->Fields("KD_PEMBETULAN_KE").Value(std::int16_t{0});
      writer->Fields("COLLNO").Value(std::int16_t{0});
      writer->Fields("SEQ").Value(static_cast<double>(i));
      writer->Fields("NOBUKTI").Value(slipNumber(i));
      writer->Fields("DAT_FORM").Value("row " + std::to_string(i));
    }
    writer->UpdateBatch();
  }
  auto rs = query("SELECT * FROM DS_FORM_LAMPIRAN");
  ASSERT_EQ(rs->RecordCount(), 10000);

  for (int i = 0; i < 10000; i += 37) {
    rs->Filter("NOBUKTI = '" + slipNumber(i) + "'");
    ASSERT_EQ(rs->RecordCount(), 1) << slipNumber(i);
    EXPECT_EQ(rs->Fields("SEQ").Value().toDouble(), i);
    EXPECT_EQ(rs->Fields("DAT_FORM").Value().text(), "row " + std::to_string(i));
  }
  for (int month = 1; month <= 12; ++month) {
    rs->Filter("KD_FORM = 'D113204' AND MS_PAJAK = " + std::to_string(month));
    long expected = 0;
    for (int i = 0; i < 10000; ++i) expected += (i % 2 == 0 && 1 + i % 12 == month) ? 1 : 0;
    EXPECT_EQ(rs->RecordCount(), expected) << month;
    while (!rs->EndOfFile()) {
      ASSERT_EQ(rs->Fields("MS_PAJAK").Value().toDouble(), month);
      ASSERT_EQ(rs->Fields("KD_FORM").Value().text(), "D113204");
      rs->MoveNext();
    }
  }
  // A value changed in memory is found under its new value and no longer under the old one.
  rs->Filter("NOBUKTI = '000074/PPH22'");
  rs->Fields("NOBUKTI").Value("999999/PPH22");
  rs->Filter("NOBUKTI = '000074/PPH22'");
  EXPECT_EQ(rs->RecordCount(), 0);
  rs->Filter("NOBUKTI = '999999/PPH22'");
  ASSERT_EQ(rs->RecordCount(), 1);
  EXPECT_EQ(rs->Fields("SEQ").Value().toDouble(), 74);
  rs->Filter("");
  EXPECT_EQ(rs->RecordCount(), 10000);
}

TEST_F(RecordsetTest, AddNewAndUpdateBatchInsertTheRow) {
  auto rs = query("SELECT * FROM SETTING_NOBUKTI_PPH WHERE PASAL = 22");
  ASSERT_TRUE(rs->EndOfFile());
  rs->AddNew();
  rs->Fields("PASAL").Value(std::int16_t{22});
  rs->Fields("NO_URUT").Value("000000");
  rs->Fields("FORMAT_STRING").Value("/PPH22");
  EXPECT_EQ(count("SELECT COUNT(*) FROM SETTING_NOBUKTI_PPH"), 0);
  rs->UpdateBatch();
  EXPECT_EQ(count("SELECT COUNT(*) FROM SETTING_NOBUKTI_PPH"), 1);
  EXPECT_EQ(scalar("SELECT NO_URUT FROM SETTING_NOBUKTI_PPH WHERE PASAL = 22").text(), "000000");
  EXPECT_EQ(scalar("SELECT FORMAT_STRING FROM SETTING_NOBUKTI_PPH").text(), "/PPH22");

  // Written once: a second batch has nothing to do.
  rs->UpdateBatch();
  EXPECT_EQ(count("SELECT COUNT(*) FROM SETTING_NOBUKTI_PPH"), 1);
}

TEST_F(RecordsetTest, AddNewLeavesUnsetFieldsNull) {
  auto rs = query("SELECT * FROM SETTING_NOBUKTI_PPH WHERE PASAL = 99");
  rs->AddNew();
  rs->Fields("PASAL").Value(std::int16_t{99});
  rs->Fields("NO_URUT").Value("000000");
  rs->UpdateBatch();
  EXPECT_EQ(count("SELECT COUNT(*) FROM SETTING_NOBUKTI_PPH WHERE PASAL = 99 AND "
                  "FORMAT_STRING IS NULL"),
            1);
  rs->Requery();
  ASSERT_EQ(rs->RecordCount(), 1);
  EXPECT_TRUE(rs->Fields("FORMAT_STRING").Value().isNull());
}

TEST_F(RecordsetTest, ChangedRowIsUpdatedAndOthersAreLeftAlone) {
  insertPartners();
  auto rs = query("SELECT * FROM DAT_PARTNER WHERE ALAMAT_PARTNER = 'JAKARTA'");
  ASSERT_EQ(rs->RecordCount(), 2);
  rs->MoveNext();
  rs->Fields("NAMA_PARTNER").Value("CV BUMI LESTARI");
  rs->UpdateBatch();
  EXPECT_EQ(scalar("SELECT NAMA_PARTNER FROM DAT_PARTNER WHERE NPWP_PARTNER = '05'").text(),
            "CV BUMI LESTARI");
  EXPECT_EQ(scalar("SELECT NAMA_PARTNER FROM DAT_PARTNER WHERE NPWP_PARTNER = '01'").text(),
            "PT ANGIN RIBUT");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_PARTNER"), 5);

  // A row whose stored Null is replaced, and a value set back to Null.
  auto nulls = query(
      "SELECT * FROM DAT_PARTNER WHERE NPWP_PARTNER IN ('01', '03') "
      "ORDER BY NPWP_PARTNER");
  nulls->Fields("NAMA_PARTNER").Value(Null);
  nulls->MoveNext();
  nulls->Fields("NAMA_PARTNER").Value("UD TIGA");
  nulls->UpdateBatch();
  EXPECT_TRUE(scalar("SELECT NAMA_PARTNER FROM DAT_PARTNER WHERE NPWP_PARTNER = '01'").isNull());
  EXPECT_EQ(scalar("SELECT NAMA_PARTNER FROM DAT_PARTNER WHERE NPWP_PARTNER = '03'").text(),
            "UD TIGA");
}

// Components spell table names as they like; the write-back names the table as the store
// has it.
TEST_F(RecordsetTest, WriteBackOfATableSpelledInAnotherCase) {
  insertPartners();
  auto rs = query("SELECT * FROM dat_partner WHERE NPWP_PARTNER = '01'");
  EXPECT_EQ(rs->baseTable(), "DAT_PARTNER");
  rs->Fields("ALAMAT_PARTNER").Value("DEPOK");
  rs->AddNew();
  rs->Fields("NPWP_PARTNER").Value("06");
  rs->UpdateBatch();
  EXPECT_EQ(scalar("SELECT ALAMAT_PARTNER FROM DAT_PARTNER WHERE NPWP_PARTNER = '01'").text(),
            "DEPOK");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_PARTNER"), 6);
}

TEST_F(RecordsetTest, UpdateWritesTheCurrentRowAtOnce) {
  insertPartners();
  auto rs = partners();
  rs->Fields("ALAMAT_PARTNER").Value("DEPOK");
  rs->Update();
  EXPECT_EQ(scalar("SELECT ALAMAT_PARTNER FROM DAT_PARTNER WHERE NPWP_PARTNER = '01'").text(),
            "DEPOK");
}

// The row was changed behind the recordset's back: the write-back refuses, names the table and
// writes none of the batch.
TEST_F(RecordsetTest, WriteBackConflictRaisesAndWritesNothing) {
  insertPartners();
  auto rs = partners();
  rs->Fields("ALAMAT_PARTNER").Value("DEPOK");  // 01: no conflict
  rs->MoveNext();
  rs->Fields("ALAMAT_PARTNER").Value("CIREBON");  // 02: changed behind our back below
  rs->MoveNext();
  rs->Fields("ALAMAT_PARTNER").Value("MALANG");  // 03: no conflict
  rs->AddNew();
  rs->Fields("NPWP_PARTNER").Value("06");
  exec("UPDATE DAT_PARTNER SET NAMA_PARTNER = 'OBRIEN' WHERE NPWP_PARTNER = '02'");

  try {
    rs->UpdateBatch();
    ADD_FAILURE() << "UpdateBatch wrote over a changed row";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errc::kWriteConflict);
    EXPECT_NE(e.description().find("DAT_PARTNER"), std::string::npos) << e.description();
  }
  EXPECT_EQ(column(query("SELECT ALAMAT_PARTNER FROM DAT_PARTNER ORDER BY NPWP_PARTNER"),
                   "ALAMAT_PARTNER"),
            (std::vector<std::string>{"JAKARTA", "BANDUNG", "SURABAYA", "MEDAN", "JAKARTA"}));
  EXPECT_EQ(scalar("SELECT NAMA_PARTNER FROM DAT_PARTNER WHERE NPWP_PARTNER = '02'").text(),
            "OBRIEN");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_PARTNER"), 5);
}

TEST_F(RecordsetTest, RequeryReadsTheStoreAgainAndClearsTheFilter) {
  insertPartners();
  auto rs = partners();
  rs->Filter("ALAMAT_PARTNER = 'JAKARTA'");
  exec("INSERT INTO DAT_PARTNER VALUES ('00', 'FIRMA NOL', 'BOGOR')");
  exec("DELETE * FROM DAT_PARTNER WHERE NPWP_PARTNER = '05'");
  EXPECT_EQ(rs->RecordCount(), 2);
  rs->Requery();
  EXPECT_EQ(rs->filterText(), "");
  EXPECT_EQ(column(rs, "NPWP_PARTNER"), (std::vector<std::string>{"00", "01", "02", "03", "04"}));
  EXPECT_EQ(rs->AbsolutePosition(), 0);
}

TEST_F(RecordsetTest, CancelUpdateRestoresTheRowAndDropsANewOne) {
  insertPartners();
  auto rs = partners();
  rs->Fields("NAMA_PARTNER").Value("CHANGED");
  rs->CancelUpdate();
  EXPECT_EQ(rs->Fields("NAMA_PARTNER").Value().text(), "PT ANGIN RIBUT");

  rs->AddNew();
  rs->Fields("NPWP_PARTNER").Value("06");
  EXPECT_EQ(rs->RecordCount(), 6);
  rs->CancelUpdate();
  EXPECT_EQ(rs->RecordCount(), 5);

  rs->UpdateBatch();
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_PARTNER"), 5);
  EXPECT_EQ(scalar("SELECT NAMA_PARTNER FROM DAT_PARTNER WHERE NPWP_PARTNER = '01'").text(),
            "PT ANGIN RIBUT");
}

TEST_F(RecordsetTest, RecordsetOfAJoinIsNotWrittenBack) {
  insertPartners();
  exec("INSERT INTO PARTNER_INFO VALUES ('01', 'langganan')");
  auto rs = query(
      "SELECT p.NPWP_PARTNER, i.KETERANGAN FROM DAT_PARTNER p JOIN PARTNER_INFO i ON "
      "p.NPWP_PARTNER = i.NPWP_PARTNER");
  ASSERT_EQ(rs->RecordCount(), 1);
  rs->Fields("KETERANGAN").Value("lama");
  EXPECT_EQ(errorNumberOf([&] { rs->UpdateBatch(); }), errc::kNotUpdatable);
  EXPECT_EQ(scalar("SELECT KETERANGAN FROM PARTNER_INFO").text(), "langganan");
}

class RecordsetShapeTest : public RecordsetTest {
 protected:
  void SetUp() override {
    RecordsetTest::SetUp();
    // Three list headers: May and June have lines, July has none.
    for (int month : {5, 6, 7}) {
      exec("INSERT INTO DAT_SSP_PPh22 VALUES ('0123', 'D113202', '07', " + std::to_string(month) +
           ", 2013, 0, '-', '112', 'hdr " + std::to_string(month) + "', '31/05/2013', '', '')");
    }
    auto line = [&](int month, int collection, int seq) {
      exec("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ('D113202', " + std::to_string(month) +
           ", 2013, 0, " + std::to_string(collection) + ", " + std::to_string(seq) + ", '-', '" +
           std::to_string(month) + ";2013;" + std::to_string(seq) + "')");
    };
    line(5, 0, 1);
    line(5, 0, 2);
    line(5, 1, 3);
    line(6, 0, 1);
    line(6, 1, 2);
    line(6, 1, 3);
    // Same month, another correction: relates to no header.
    exec("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ('D113202', 5, 2013, 1, 0, 9, '-', 'x')");
  }

  static constexpr const char* kShape =
      "SHAPE {SELECT * FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' ORDER BY MS_PAJAK} AS hdr "
      "APPEND ({SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE COLLNO = 0 ORDER BY SEQ} AS d22Details1 "
      "RELATE KD_FORM TO KD_FORM, MS_PAJAK TO MS_PAJAK, TH_PAJAK TO TH_PAJAK, "
      "KD_PEMBETULAN_KE TO KD_PEMBETULAN_KE) AS d22Details1, "
      "({SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE COLLNO = 1 ORDER BY SEQ} AS d22Details2 "
      "RELATE KD_FORM TO KD_FORM, MS_PAJAK TO MS_PAJAK, TH_PAJAK TO TH_PAJAK, "
      "KD_PEMBETULAN_KE TO KD_PEMBETULAN_KE) AS d22Details2";
};

TEST_F(RecordsetShapeTest, EachParentRowHoldsExactlyItsRelatedChildRows) {
  auto rs = query(kShape);
  ASSERT_EQ(rs->RecordCount(), 3);
  struct Expected {
    int month;
    std::vector<std::string> first, second;
  };
  const Expected expected[] = {{5, {"1", "2"}, {"3"}}, {6, {"1"}, {"2", "3"}}, {7, {}, {}}};
  for (const auto& e : expected) {
    SCOPED_TRACE(e.month);
    ASSERT_FALSE(rs->EndOfFile());
    EXPECT_EQ(rs->Fields("MS_PAJAK").Value().toInt16(), e.month);
    auto first = rs->Fields("d22Details1").Value().toRecordset();
    auto second = rs->Fields("d22Details2").Value().toRecordset();
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    EXPECT_EQ(column(first, "SEQ"), e.first);
    EXPECT_EQ(column(second, "SEQ"), e.second);
    if (e.first.empty()) {
      EXPECT_TRUE(first->BOF() && first->EndOfFile());
      EXPECT_EQ(first->columnCount(), 8u);
    } else {
      EXPECT_EQ(first->Fields("MS_PAJAK").Value().toInt16(), e.month);
    }
    rs->MoveNext();
  }
}

TEST_F(RecordsetShapeTest, ParentAndChapterRowsAreWrittenBackToTheirTables) {
  auto rs = query(kShape);
  rs->Fields("DAT_FORM").Value("hdr 5 changed");
  auto lines = rs->Fields("d22Details1").Value().toRecordset();
  lines->MoveNext();
  lines->Fields("DAT_FORM").Value("5;2013;2;changed");
  lines->UpdateBatch();
  rs->UpdateBatch();
  EXPECT_EQ(scalar("SELECT DAT_FORM FROM DAT_SSP_PPh22 WHERE MS_PAJAK = 5").text(),
            "hdr 5 changed");
  EXPECT_EQ(scalar("SELECT DAT_FORM FROM LAMPIRAN_SSP_PPh22 WHERE MS_PAJAK = 5 AND SEQ = 2").text(),
            "5;2013;2;changed");
  EXPECT_EQ(count("SELECT COUNT(*) FROM LAMPIRAN_SSP_PPh22 WHERE DAT_FORM LIKE '%changed'"), 1);
}

TEST_F(RecordsetTest, MoveCompleteIsRaisedOnEveryMove) {
  insertPartners();
  auto rs = partners();
  int moves = 0;
  auto id = rs->onMoveComplete([&] { ++moves; });
  rs->MoveNext();
  rs->MoveLast();
  rs->MoveFirst();
  EXPECT_EQ(moves, 3);
  rs->Filter("ALAMAT_PARTNER = 'JAKARTA'");
  EXPECT_EQ(moves, 4);
  rs->Requery();
  EXPECT_EQ(moves, 5);
  rs->AddNew();
  EXPECT_EQ(moves, 6);
  rs->unsubscribe(id);
  rs->MoveFirst();
  EXPECT_EQ(moves, 6);
}

TEST_F(RecordsetTest, WillChangeRecordIsRaisedOnceBeforeARowIsFirstChanged) {
  insertPartners();
  auto rs = partners();
  std::vector<std::string> seen;  // the value of the field when the event came
  rs->onWillChangeRecord(
      [&] { seen.push_back(rs->EndOfFile() ? "" : rs->Fields("ALAMAT_PARTNER").Value().text()); });
  rs->Fields("ALAMAT_PARTNER").Value("DEPOK");
  rs->Fields("ALAMAT_PARTNER").Value("BOGOR");
  rs->MoveNext();
  rs->Fields("NAMA_PARTNER").Value("X");
  EXPECT_EQ(seen, (std::vector<std::string>{"JAKARTA", "BANDUNG"}));
  rs->AddNew();
  EXPECT_EQ(seen.size(), 3u);
}

}  // namespace
}  // namespace korvane::testing
