// The credentials companion's packed-text service: header and list rows from the store turned
// into field rows and back.
#include "korvane/store/companion.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "korvane/store/error.hpp"
#include "support/store_fixture.hpp"

namespace korvane::testing {
namespace {

std::size_t fieldCount(const std::string& packed) {
  return static_cast<std::size_t>(std::count(packed.begin(), packed.end(), ';')) + 1;
}

// A field's text in a form's packed text.
std::string fieldText(std::string_view form, const std::string& packed, std::string_view field) {
  std::string::size_type start = 0;
  for (const auto& f : fieldList(form)) {
    const auto end = packed.find(';', start);
    if (f.name == field) return packed.substr(start, end - start);
    if (end == std::string::npos) break;
    start = end + 1;
  }
  ADD_FAILURE() << field << " is not a field of " << form << " or not in " << packed;
  return "";
}

// A recordset standing for a store row that holds only its packed text.
RecordsetPtr packedRows(const std::vector<std::string>& texts) {
  auto rs = std::make_shared<Recordset>(std::vector<std::string>{"DAT_FORM"});
  for (const auto& text : texts) rs->appendRow({Variant(text)});
  return rs;
}

// The error an action raises: its number and description.
template <typename F>
std::pair<long, std::string> errorOf(F&& action) {
  try {
    action();
  } catch (const Error& e) {
    return {e.number(), e.description()};
  }
  return {0, "no error"};
}

Variant int16(std::int16_t value) { return Variant(value); }

// The current row's values, type and all (Null for Null).
void expectFields(const RecordsetPtr& rs,
                  std::initializer_list<std::pair<const char*, Variant>> expected) {
  for (const auto& [name, value] : expected) EXPECT_EQ(rs->Fields(name).Value(), value) << name;
}

// Slip F113303, import with and without API: the fields given, the rest 0.
std::string slipF113303() {
  std::string text =
      "012345678901000;098765432109000;CV IMPORTIR;JL. PELABUHAN 3;000001/PPH22;31/05/2013;"
      "INV-77;Besi;ton;12;15000.015;5;2013;0;1500;2.5;37;0;7.5;0;1500;37";
  while (fieldCount(text) < fieldList("F113303").size()) text += ";0";
  return text;
}

class CompanionStoreTest : public StoreTest {};

TEST_F(CompanionStoreTest, UnpackThenPackGivesTheSameText) {
  // clang-format off
  const struct {
    const char* form;
    const char* table;
    std::string values;  // the row, with ? standing for its DAT_FORM text
    std::string packed;
    std::vector<std::pair<std::string, std::string>> fields;  // a few, as text
  } cases[] = {
      // The main return: identity, period, two dates, the lines and the check boxes.
      {"F113202", "DS_FORM_INDUK",
       "'012345678901000', 'F113202', '01', 5, 2013, 0, '-', '112', '?', '31/05/2013', '', '-'",
       "012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;5;2013;0;15/06/2013;20/06/2013;x;1500;"
       "37;15000.015;375;0;2000000;50000;0.3;0;0;0;0;0;0;0;0;0;keterangan;0;0;2016500.315;50412;0;"
       "0;1;0;1;0;0;0;0;0;1",
       {{"NmWP", "PT MAJU JAYA"}, {"TGL_SETOR", "15/06/2013"}, {"B13", "1500"}, {"B4a3", "0.3"},
        {"B23", "15000.015"}, {"TotA", "2016500.315"}, {"CHKC9", "1"}}},
      {"F113303", "DS_FORM_INDUK",
       "'012345678901000', 'F113303', '02', 5, 2013, 0, '000001/PPH22', '112', '?', '31/05/2013', "
       "'', '-'",
       slipF113303(),
       {{"NoBukti", "000001/PPH22"}, {"Tgl_Potong", "31/05/2013"}, {"B3a3", "1500"},
        {"B3a4", "2.5"}, {"B3b4", "7.5"}}},
      // The oil and gas list keeps its comma rate as written.
      {"D113202", "DAT_SSP_PPh22",
       "'012345678901000', 'D113202', '07', 5, 2013, 0, '-', '112', '?', '31/05/2013', '', ''",
       "012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;5;2013;0;SOLAR;0,3;0;0;0;0",
       {{"PENJUALAN", "SOLAR"}, {"TARIF", "0,3"}, {"II6", "0"}}},
      {"D113204-Coll", "DS_FORM_LAMPIRAN", "'D113204', 5, 2013, 0, 0, 1, '000001/PPH22', '?'",
       "5;2013;1;098765432109000;JL. PELABUHAN 3;CV IMPORTIR;000001/PPH22;31/05/2013;1500;37",
       {{"SEQ", "1"}, {"NoBukti", "000001/PPH22"}, {"PPh22", "37"}}}};
  // clang-format on
  FieldTextCompanion companion;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.form);
    auto values = c.values;
    values.replace(values.find('?'), 1, c.packed);
    exec(std::string("INSERT INTO ") + c.table + " VALUES (" + values + ")");
    auto fields = companion.unpack(c.form, query(std::string("SELECT * FROM ") + c.table));
    ASSERT_EQ(fields->RecordCount(), 1);
    EXPECT_EQ(fields->columnCount(), fieldList(c.form).size());
    for (const auto& [name, text] : c.fields) {
      EXPECT_EQ(fields->Fields(name).Value().text(), text) << name;
    }
    EXPECT_EQ(companion.pack(fields), c.packed);
    exec(std::string("DELETE FROM ") + c.table);
  }
}

TEST(CompanionTest, ValuesAreTypedByTheirField) {
  FieldTextCompanion companion;
  auto fields = companion.unpack("D113202", packedRows({"0123;PT A;JL B;5;2013;0;SOLAR;0,3;"
                                                        "1500;15000.015;0.3;-7"}));
  // Text stays text; a rate that is not a number is kept as written.
  // clang-format off
  expectFields(fields, {{"npwp", "0123"}, {"MS_PAJAK", int16(5)}, {"TH_PAJAK", int16(2013)},
                        {"I5", 1500.0}, {"I6", 15000.015}, {"II5", 0.3}, {"II6", -7.0},
                        {"TARIF", "0,3"}});
  // clang-format on
  auto slip = companion.unpack("F113305", packedRows({"0123;;;;000001/PPH22;31/05/2013"}));
  expectFields(slip, {{"tglrekam", Date(2013, 5, 31)}});
  expectFields(companion.unpack("F113305", packedRows({"0123;;;;;31/02/2013"})),
               {{"tglrekam", "31/02/2013"}});
}

TEST(CompanionTest, EmptyFieldsAreNullAndNullPacksAsEmptyText) {
  FieldTextCompanion companion;
  auto fields = companion.unpack("D113202", packedRows({";PT A;;5;2013"}));
  // The last two lie beyond the text's end.
  expectFields(fields,
               {{"npwp", Null}, {"NmWP", "PT A"}, {"ALM", Null}, {"TARIF", Null}, {"II6", Null}});
  // Every field of the list is written back, the missing ones empty.
  EXPECT_EQ(companion.pack(fields), ";PT A;;5;2013;;;;;;;");
  EXPECT_EQ(companion.pack(companion.unpack("D113202", packedRows({""}))), ";;;;;;;;;;;");
  fields->Fields("NmWP").Value(Null);
  EXPECT_EQ(companion.pack(fields), ";;;5;2013;;;;;;;");
}

TEST(CompanionTest, PacksNumbersAsNumberTextAndDatesAsDayMonthYear) {
  FieldTextCompanion companion;
  auto fields = companion.unpack("F113202", packedRows({""}));
  // clang-format off
  const struct {
    const char* field;
    Variant value;
    const char* text;
  } cases[] = {
      {"npwp",      "012345678901000", "012345678901000"},
      {"MS_PAJAK",  int16(5),          "5"},
      {"TH_PAJAK",  2013,              "2013"},
      {"TGL_SETOR", Date(2013, 6, 1),  "01/06/2013"},
      {"B13",       1500.0,            "1500"},
      {"B14",       15000.015,         "15000.015"},
      {"B4a3",      0.3,               "0.3"},
      {"B4a4",      -2.0,              "-2"},
      {"B71",       "nihil",           "nihil"}};
  // clang-format on
  for (const auto& c : cases) fields->Fields(c.field).Value(c.value);
  const auto packed = companion.pack(fields);
  ASSERT_EQ(fieldCount(packed), fieldList("F113202").size());
  for (const auto& c : cases) EXPECT_EQ(fieldText("F113202", packed, c.field), c.text) << c.field;
  EXPECT_EQ(fieldText("F113202", packed, "TGL_LAPOR"), "");
  EXPECT_EQ(fieldText("F113202", packed, "CHKC9"), "");
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
                        {"NoBukti", "000007/PPH22"}, {"NPWPLT", Null}, {"B3a3", Null}});
  // clang-format on
  const auto packed = companion.pack(fields);
  EXPECT_EQ(fieldText("F113303", packed, "NoBukti"), "000007/PPH22");
  EXPECT_EQ(fieldText("F113303", packed, "KD_PEMBETULAN_KE"), "1");
  fields->MoveNext();
  // clang-format off
  expectFields(fields, {{"npwp", "999"}, {"NoBukti", "000001/PPH22"}, {"MS_PAJAK", int16(4)},
                        {"TH_PAJAK", int16(2013)}});
  // clang-format on

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

TEST_F(CompanionStoreTest, UnpacksOneFieldRowPerVisibleRowOfAFilteredRecordset) {
  const std::vector<std::string> lines = {
      "5;2013;1;01;JL A;CV SATU;000001/PPH22;01/05/2013;1000;25",
      "5;2013;2;02;JL B;CV DUA;000002/PPH22;02/05/2013;2000;50",
      "5;2013;3;03;JL C;CV TIGA;000003/PPH22;03/05/2013;3000;75",
      "5;2013;4;04;JL D;CV EMPAT;000004/PPH22;04/05/2013;4000;100"};
  for (std::size_t i = 0; i < lines.size(); ++i) {
    exec("INSERT INTO DS_FORM_LAMPIRAN VALUES ('D113204', 5, 2013, 0, 0, " + std::to_string(i + 1) +
         ", '00000" + std::to_string(i + 1) + "/PPH22', '" + lines[i] + "')");
  }
  auto rows = query("SELECT * FROM DS_FORM_LAMPIRAN ORDER BY SEQ");
  rows->Filter("NOBUKTI <> '000002/PPH22'");
  FieldTextCompanion companion;
  auto fields = companion.unpack("D113204-Coll", rows);
  ASSERT_EQ(fields->RecordCount(), 3);
  EXPECT_EQ(fields->AbsolutePosition(), 0);
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
  EXPECT_FALSE(hasFieldList("F999999"));
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
  EXPECT_TRUE(companion.fits("D113202", ""));
  EXPECT_FALSE(companion.fits("X", ""));
}

}  // namespace
}  // namespace korvane::testing
