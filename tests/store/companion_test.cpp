// The credentials companion's packed-text service: header and list rows from the store turned
// into field rows and back.
#include "korvane/store/companion.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "korvane/store/error.hpp"
#include "support/store_fixture.hpp"

namespace korvane::testing {
namespace {

// A recordset standing for a store row that holds only its packed text.
RecordsetPtr packedRows(const std::vector<std::string>& texts) {
  auto rs = std::make_shared<Recordset>(std::vector<std::string>{"DAT_FORM"});
  for (const auto& text : texts) rs->appendRow({Variant(text)});
  return rs;
}

Variant int16(std::int16_t value) { return Variant(value); }

// The current row's values, type and all (Null for Null).
void expectFields(const RecordsetPtr& rs,
                  std::initializer_list<std::pair<const char*, Variant>> expected) {
  for (const auto& [name, value] : expected) EXPECT_EQ(rs->Fields(name).Value(), value) << name;
}

class CompanionStoreTest : public StoreTest {};

// The main return: identity, period, two dates, the lines and the check boxes.
TEST_F(CompanionStoreTest, UnpackThenPackGivesTheSameText) {
  const std::string packed =
      "012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;5;2013;0;15/06/2013;20/06/2013;x;1500;"
      "37;15000.015;375;0;2000000;50000;0.3;0;0;0;0;0;0;0;0;0;keterangan;0;0;2016500.315;50412;0;"
      "0;1;0;1;0;0;0;0;0;1";
  exec(
      "INSERT INTO DS_FORM_INDUK VALUES ('012345678901000', 'F113202', '01', 5, 2013, 0, '-', "
      "'112', '" +
      packed + "', '31/05/2013', '', '-')");
  FieldTextCompanion companion;
  auto fields = companion.unpack("F113202", query("SELECT * FROM DS_FORM_INDUK"));
  // clang-format off
  expectFields(fields, {{"NmWP", "PT MAJU JAYA"}, {"TGL_SETOR", Date(2013, 6, 15)}, {"B13", 1500.0},
                        {"B23", 15000.015}, {"TotA", 2016500.315}, {"CHKC9", int16(1)}});
  // clang-format on
  EXPECT_EQ(companion.pack(fields), packed);
}

// Text stays text; a rate that is not a number is kept as written, and so is an impossible date.
// An empty field, or one beyond the text's end, is Null, and a Null packs as empty text: every
// field of the list is written back.
TEST(CompanionTest, ValuesAreTypedByTheirFieldAndEmptyOnesAreNull) {
  FieldTextCompanion companion;
  auto fields = companion.unpack("D113202", packedRows({"0123;PT A;JL B;5;2013;0;SOLAR;0,3;"
                                                        "1500;15000.015;0.3;-7"}));
  // clang-format off
  expectFields(fields, {{"npwp", "0123"}, {"MS_PAJAK", int16(5)}, {"TH_PAJAK", int16(2013)},
                        {"I5", 1500.0}, {"I6", 15000.015}, {"II5", 0.3}, {"II6", -7.0},
                        {"TARIF", "0,3"}});
  // clang-format on
  auto slip = companion.unpack("F113305", packedRows({"0123;;;;000001/PPH22;31/05/2013"}));
  expectFields(slip, {{"tglrekam", Date(2013, 5, 31)}});
  expectFields(companion.unpack("F113305", packedRows({"0123;;;;;31/02/2013"})),
               {{"tglrekam", "31/02/2013"}});

  fields = companion.unpack("D113202", packedRows({";PT A;;5;2013"}));
  expectFields(fields,
               {{"npwp", Null}, {"NmWP", "PT A"}, {"ALM", Null}, {"TARIF", Null}, {"II6", Null}});
  EXPECT_EQ(companion.pack(fields), ";PT A;;5;2013;;;;;;;");
  EXPECT_EQ(companion.pack(companion.unpack("D113202", packedRows({""}))), ";;;;;;;;;;;");
  fields->Fields("NmWP").Value(Null);
  EXPECT_EQ(companion.pack(fields), ";;;5;2013;;;;;;;");
}

// Numbers as their shortest text, dates as DD/MM/YYYY, every field of the list in its place.
TEST(CompanionTest, PacksNumbersAsNumberTextAndDatesAsDayMonthYear) {
  FieldTextCompanion companion;
  auto fields = companion.unpack("F113202", packedRows({""}));
  for (const auto& [field, value] :
       std::initializer_list<std::pair<const char*, Variant>>{{"MS_PAJAK", int16(5)},
                                                              {"TH_PAJAK", 2013},
                                                              {"TGL_SETOR", Date(2013, 6, 1)},
                                                              {"B13", 1500.0},
                                                              {"B4a3", 0.3},
                                                              {"B4a4", -2.0},
                                                              {"B71", "nihil"}}) {
    fields->Fields(field).Value(value);
  }
  EXPECT_EQ(companion.pack(fields),
            ";;;5;2013;;01/06/2013;;;1500;;;;;;;0.3;-2;;;;;;;;;nihil;;;;;;;;;;;;;;;");
}

// A header inserted with empty text still knows its period and number: empty key fields are
// completed from the row's own columns, filled ones are left as they are.
TEST_F(CompanionStoreTest, EmptyKeyFieldsAreCompletedFromTheRowsColumns) {
  exec(
      "INSERT INTO DS_FORM_INDUK VALUES ('012345678901000', 'F113303', '02', 5, 2013, 1, "
      "'000007/PPH22', '112', '', '31/05/2013', '', '-')");
  exec(
      "INSERT INTO DS_FORM_INDUK VALUES ('012345678901000', 'F113303', '02', 6, 2013, 0, "
      "'000008/PPH22', '112', '999;;;;000001/PPH22;;;;;;;4', '31/05/2013', '', '-')");
  FieldTextCompanion companion;
  auto fields = companion.unpack(
      "F113303", query("SELECT * FROM DS_FORM_INDUK WHERE KD_FORM = 'F113303' ORDER BY MS_PAJAK"));
  ASSERT_EQ(fields->RecordCount(), 2);
  // clang-format off
  expectFields(fields, {{"npwp", "012345678901000"}, {"MS_PAJAK", int16(5)},
                        {"TH_PAJAK", int16(2013)}, {"KD_PEMBETULAN_KE", int16(1)},
                        {"NoBukti", "000007/PPH22"}});
  // clang-format on
  fields->MoveNext();
  expectFields(fields, {{"npwp", "999"},
                        {"NoBukti", "000001/PPH22"},
                        {"MS_PAJAK", int16(4)},
                        {"TH_PAJAK", int16(2013)}});

  // The payment's number and a list line's sequence are completed too; "-" is no number.
  exec(
      "INSERT INTO DAT_SSP_PPh22 VALUES ('0123', 'PPh22Impor', '10', 5, 2013, 0, 'NTTP-1', '112', "
      "'', '31/05/2013', '', '')");
  exec(
      "INSERT INTO DAT_SSP_PPh22 VALUES ('0123', 'PPh22Impor', '10', 6, 2013, 0, '-', '112', '', "
      "'31/05/2013', '', '')");
  exec("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ('D113203', 5, 2013, 0, 0, 3, '-', '')");
  auto ssp = companion.unpack("PPh22Impor", query("SELECT * FROM DAT_SSP_PPh22 ORDER BY MS_PAJAK"));
  expectFields(ssp, {{"NTTP", "NTTP-1"}, {"npwp", "0123"}});
  ssp->MoveNext();
  expectFields(ssp, {{"NTTP", Null}});
  auto line = companion.unpack("D113203-Coll", query("SELECT * FROM LAMPIRAN_SSP_PPh22"));
  expectFields(line, {{"SEQ", 3.0}, {"MS_PAJAK", int16(5)}, {"NTTP", Null}});
}

// Slip list lines: each packs back exactly as it was stored.
TEST_F(CompanionStoreTest, UnpacksOneFieldRowPerVisibleRowOfAFilteredRecordset) {
  std::vector<std::string> lines;
  for (int seq = 1; seq <= 4; ++seq) {
    const auto n = std::to_string(seq);
    lines.push_back("5;2013;" + n + ";0" + n + ";JL " + n + ";CV " + n + ";00000" + n + "/PPH22;0" +
                    n + "/05/2013;" + n + "000;" + std::to_string(25 * seq));
    exec("INSERT INTO DS_FORM_LAMPIRAN VALUES ('D113204', 5, 2013, 0, 0, " + n + ", '00000" + n +
         "/PPH22', '" + lines.back() + "')");
  }
  auto rows = query("SELECT * FROM DS_FORM_LAMPIRAN ORDER BY SEQ");
  rows->Filter("NOBUKTI <> '000002/PPH22'");
  FieldTextCompanion companion;
  auto fields = companion.unpack("D113204-Coll", rows);
  ASSERT_EQ(fields->RecordCount(), 3);
  EXPECT_EQ(fields->AbsolutePosition(), 0);
  expectFields(fields, {{"SEQ", 1.0}, {"NoBukti", "000001/PPH22"}, {"PPh22", 25.0}});
  std::string packed;
  for (; !fields->EndOfFile(); fields->MoveNext()) packed += companion.pack(fields) + "\n";
  EXPECT_EQ(packed, lines[0] + "\n" + lines[2] + "\n" + lines[3] + "\n");

  rows->Filter("NOBUKTI = 'none'");
  auto none = companion.unpack("D113204-Coll", rows);
  EXPECT_EQ(none->RecordCount(), 0);
  EXPECT_EQ(none->columnCount(), fieldList("D113204-Coll").size());
}

TEST(CompanionTest, RefusesUnknownFormsAndRowsWithoutPackedText) {
  FieldTextCompanion companion;
  EXPECT_EQ(
      errorOf([&] { companion.unpack("F999999", packedRows({"a;b"})); }),
      std::make_pair(errc::kUnknownForm, std::string("No field list for form code \"F999999\".")));
  EXPECT_TRUE(hasFieldList("F113304S"));
  EXPECT_FALSE(hasFieldList("f113303"));  // form codes compare exactly
  // The slip variants share slip F113304's list.
  EXPECT_EQ(fieldList("F113304A").data(), fieldList("F113304").data());
  EXPECT_EQ(fieldList("F113304S").data(), fieldList("F113304").data());

  auto rows = std::make_shared<Recordset>(std::vector<std::string>{"NPWP"});
  rows->appendRow({Variant("0123")});
  EXPECT_EQ(errorOf([&] { companion.unpack("F113202", rows); }).first, errc::kItemNotFound);
  EXPECT_EQ(errorOf([&] { companion.pack(nullptr); }).first, errc::kInvalidProcedureCall);

  // A text fits when it has no more fields than the list.
  EXPECT_TRUE(companion.fits("D113202", "a;b;c;d;e;f;g;h;i;j;k;l"));
  EXPECT_FALSE(companion.fits("D113202", "a;b;c;d;e;f;g;h;i;j;k;l;m"));
  EXPECT_FALSE(companion.fits("X", ""));
}

}  // namespace
}  // namespace korvane::testing
