// The credentials companion's packed-text service: header and list rows from the store turned
// into field rows and back.
#include "korvane/store/companion.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "korvane/store/error.hpp"
#include "support/store_fixture.hpp"

namespace korvane::testing {
namespace {

std::string joined(const std::vector<std::string>& fields) {
  std::string out;
  for (std::size_t i = 0; i < fields.size(); ++i) out += (i ? ";" : "") + fields[i];
  return out;
}

std::vector<std::string> split(const std::string& packed) {
  std::vector<std::string> out;
  std::string::size_type start = 0;
  while (true) {
    auto end = packed.find(';', start);
    out.push_back(packed.substr(start, end - start));
    if (end == std::string::npos) return out;
    start = end + 1;
  }
}

// A field's position in its form's packed text.
std::size_t positionOf(std::string_view form, std::string_view field) {
  auto fields = fieldList(form);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (fields[i].name == field) return i;
  }
  ADD_FAILURE() << field << " is not a field of " << form;
  return 0;
}

// A recordset standing for a store row that holds only its packed text.
RecordsetPtr packedRows(const std::vector<std::string>& texts) {
  auto rs = std::make_shared<Recordset>(std::vector<std::string>{"DAT_FORM"});
  for (const auto& text : texts) rs->appendRow({Variant(text)});
  return rs;
}

// The main return: identity, period, two dates, the lines and the check boxes.
const std::vector<std::string> kMainReturn = {"012345678901000",
                                              "PT MAJU JAYA",
                                              "JL. SUDIRMAN 1 JAKARTA",
                                              "5",
                                              "2013",
                                              "0",
                                              "15/06/2013",
                                              "20/06/2013",
                                              "x",
                                              "1500",
                                              "37",
                                              "15000.015",
                                              "375",
                                              "0",
                                              "2000000",
                                              "50000",
                                              "0.3",
                                              "0",
                                              "0",
                                              "0",
                                              "0",
                                              "0",
                                              "0",
                                              "0",
                                              "0",
                                              "0",
                                              "keterangan",
                                              "0",
                                              "0",
                                              "2016500.315",
                                              "50412",
                                              "0",
                                              "0",
                                              "1",
                                              "0",
                                              "1",
                                              "0",
                                              "0",
                                              "0",
                                              "0",
                                              "0",
                                              "1"};

// Slip F113303: import with and without API.
std::vector<std::string> slipF113303() {
  std::vector<std::string> fields = {"012345678901000",
                                     "098765432109000",
                                     "CV IMPORTIR",
                                     "JL. PELABUHAN 3",
                                     "000001/PPH22",
                                     "31/05/2013",
                                     "INV-77",
                                     "Besi",
                                     "ton",
                                     "12",
                                     "15000.015",
                                     "5",
                                     "2013",
                                     "0",
                                     "1500",
                                     "2.5",
                                     "37",
                                     "0",
                                     "7.5",
                                     "0",
                                     "1500",
                                     "37"};
  fields.resize(fieldList("F113303").size(), "0");
  return fields;
}

struct RoundTripCase {
  const char* name;
  std::string form;
  std::string insert;  // the row, with <packed> standing for its DAT_FORM text
  std::string select;
  std::string packed;
  // A few fields and the text their values must have.
  std::vector<std::pair<std::string, std::string>> fields;
};

class CompanionRoundTripTest : public StoreTest,
                               public ::testing::WithParamInterface<RoundTripCase> {};

TEST_P(CompanionRoundTripTest, UnpackThenPackGivesTheSameText) {
  const auto& c = GetParam();
  auto insert = c.insert;
  insert.replace(insert.find("<packed>"), 8, c.packed);
  exec(insert);
  auto rows = query(c.select);
  ASSERT_EQ(rows->RecordCount(), 1);

  FieldTextCompanion companion;
  auto fields = companion.unpack(c.form, rows);
  ASSERT_EQ(fields->RecordCount(), 1);
  EXPECT_EQ(fields->columnCount(), fieldList(c.form).size());
  for (const auto& [name, text] : c.fields) {
    EXPECT_EQ(fields->Fields(name).Value().text(), text) << name;
  }
  EXPECT_EQ(companion.pack(fields), c.packed);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, CompanionRoundTripTest,
    ::testing::Values(
        RoundTripCase{"MainReturn",
                      "F113202",
                      "INSERT INTO DS_FORM_INDUK VALUES ('012345678901000', 'F113202', '01', 5, "
                      "2013, 0, '-', '112', '<packed>', '31/05/2013', '', '-')",
                      "SELECT * FROM DS_FORM_INDUK",
                      joined(kMainReturn),
                      {{"NmWP", "PT MAJU JAYA"},
                       {"TGL_SETOR", "15/06/2013"},
                       {"B13", "1500"},
                       {"B23", "15000.015"},
                       {"B4a3", "0.3"},
                       {"TotA", "2016500.315"},
                       {"CHKC9", "1"}}},
        RoundTripCase{"SlipF113303",
                      "F113303",
                      "INSERT INTO DS_FORM_INDUK VALUES ('012345678901000', 'F113303', '02', 5, "
                      "2013, 0, '000001/PPH22', '112', '<packed>', '31/05/2013', '', '-')",
                      "SELECT * FROM DS_FORM_INDUK WHERE KD_FORM = 'F113303'",
                      joined(slipF113303()),
                      {{"NoBukti", "000001/PPH22"},
                       {"Tgl_Potong", "31/05/2013"},
                       {"B3a3", "1500"},
                       {"B3a4", "2.5"},
                       {"B3b4", "7.5"}}},
        RoundTripCase{"OilAndGasListKeepsCommaRateAsWritten",
                      "D113202",
                      "INSERT INTO DAT_SSP_PPh22 VALUES ('012345678901000', 'D113202', '07', 5, "
                      "2013, 0, '-', '112', '<packed>', '31/05/2013', '', '')",
                      "SELECT * FROM DAT_SSP_PPh22",
                      "012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;5;2013;0;SOLAR;0,3;0;"
                      "0;0;0",
                      {{"PENJUALAN", "SOLAR"}, {"TARIF", "0,3"}, {"II6", "0"}}},
        RoundTripCase{"SlipListLine",
                      "D113204-Coll",
                      "INSERT INTO DS_FORM_LAMPIRAN VALUES ('D113204', 5, 2013, 0, 0, 1, "
                      "'000001/PPH22', '<packed>')",
                      "SELECT * FROM DS_FORM_LAMPIRAN",
                      "5;2013;1;098765432109000;JL. PELABUHAN 3;CV IMPORTIR;000001/PPH22;"
                      "31/05/2013;1500;37",
                      {{"SEQ", "1"}, {"NoBukti", "000001/PPH22"}, {"PPh22", "37"}}}),
    [](const auto& param) { return std::string(param.param.name); });

TEST(CompanionTest, ValuesAreTypedByTheirField) {
  FieldTextCompanion companion;
  auto fields = companion.unpack("D113202", packedRows({"0123;PT A;JL B;5;2013;0;SOLAR;0,3;"
                                                        "1500;15000.015;0.3;-7"}));
  EXPECT_EQ(fields->Fields("npwp").Value(), Variant("0123"));  // text stays text
  EXPECT_EQ(fields->Fields("MS_PAJAK").Value(), Variant(std::int16_t{5}));
  EXPECT_EQ(fields->Fields("TH_PAJAK").Value(), Variant(std::int16_t{2013}));
  EXPECT_EQ(fields->Fields("I5").Value(), Variant(1500.0));
  EXPECT_EQ(fields->Fields("I6").Value(), Variant(15000.015));
  EXPECT_EQ(fields->Fields("II5").Value(), Variant(0.3));
  EXPECT_EQ(fields->Fields("II6").Value(), Variant(-7.0));
  EXPECT_EQ(fields->Fields("TARIF").Value(), Variant("0,3"));  // not a number: kept as written

  auto slip = companion.unpack("F113305", packedRows({"0123;;;;000001/PPH22;31/05/2013"}));
  EXPECT_EQ(slip->Fields("tglrekam").Value(), Variant(Date(2013, 5, 31)));
  auto notADate = companion.unpack("F113305", packedRows({"0123;;;;;31/02/2013"}));
  EXPECT_EQ(notADate->Fields("tglrekam").Value(), Variant("31/02/2013"));
}

TEST(CompanionTest, EmptyFieldsAreNullAndNullPacksAsEmptyText) {
  FieldTextCompanion companion;
  auto fields = companion.unpack("D113202", packedRows({";PT A;;5;2013"}));
  EXPECT_TRUE(fields->Fields("npwp").Value().isNull());
  EXPECT_EQ(fields->Fields("NmWP").Value().text(), "PT A");
  EXPECT_TRUE(fields->Fields("ALM").Value().isNull());
  EXPECT_TRUE(fields->Fields("TARIF").Value().isNull());  // beyond the text's end
  EXPECT_TRUE(fields->Fields("II6").Value().isNull());
  // Every field of the list is written back, the missing ones empty.
  EXPECT_EQ(companion.pack(fields), ";PT A;;5;2013;;;;;;;");

  auto empty = companion.unpack("D113202", packedRows({""}));
  EXPECT_EQ(companion.pack(empty), ";;;;;;;;;;;");
  fields->Fields("NmWP").Value(Null);
  EXPECT_EQ(companion.pack(fields), ";;;5;2013;;;;;;;");
}

TEST(CompanionTest, PacksNumbersAsNumberTextAndDatesAsDayMonthYear) {
  FieldTextCompanion companion;
  auto fields = companion.unpack("F113202", packedRows({""}));
  fields->Fields("npwp").Value("012345678901000");
  fields->Fields("MS_PAJAK").Value(std::int16_t{5});
  fields->Fields("TH_PAJAK").Value(2013);
  fields->Fields("TGL_SETOR").Value(Date(2013, 6, 1));
  fields->Fields("B13").Value(1500.0);
  fields->Fields("B14").Value(15000.015);
  fields->Fields("B4a3").Value(0.3);
  fields->Fields("B4a4").Value(-2.0);
  fields->Fields("B71").Value("nihil");
  auto packed = split(companion.pack(fields));
  ASSERT_EQ(packed.size(), fieldList("F113202").size());
  const std::pair<const char*, const char*> expected[] = {{"npwp", "012345678901000"},
                                                          {"MS_PAJAK", "5"},
                                                          {"TH_PAJAK", "2013"},
                                                          {"TGL_SETOR", "01/06/2013"},
                                                          {"TGL_LAPOR", ""},
                                                          {"B13", "1500"},
                                                          {"B14", "15000.015"},
                                                          {"B4a3", "0.3"},
                                                          {"B4a4", "-2"},
                                                          {"B71", "nihil"},
                                                          {"CHKC9", ""}};
  for (const auto& [field, text] : expected) {
    EXPECT_EQ(packed[positionOf("F113202", field)], text) << field;
  }
}

class CompanionStoreTest : public StoreTest {};

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
  EXPECT_EQ(fields->Fields("npwp").Value(), Variant("012345678901000"));
  EXPECT_EQ(fields->Fields("MS_PAJAK").Value(), Variant(std::int16_t{5}));
  EXPECT_EQ(fields->Fields("TH_PAJAK").Value(), Variant(std::int16_t{2013}));
  EXPECT_EQ(fields->Fields("KD_PEMBETULAN_KE").Value(), Variant(std::int16_t{1}));
  EXPECT_EQ(fields->Fields("NoBukti").Value(), Variant("000007/PPH22"));
  EXPECT_TRUE(fields->Fields("NPWPLT").Value().isNull());
  EXPECT_TRUE(fields->Fields("B3a3").Value().isNull());
  auto packed = split(companion.pack(fields));
  EXPECT_EQ(packed[positionOf("F113303", "NoBukti")], "000007/PPH22");
  EXPECT_EQ(packed[positionOf("F113303", "KD_PEMBETULAN_KE")], "1");

  fields->MoveNext();
  EXPECT_EQ(fields->Fields("npwp").Value().text(), "999");
  EXPECT_EQ(fields->Fields("NoBukti").Value().text(), "000001/PPH22");
  EXPECT_EQ(fields->Fields("MS_PAJAK").Value(), Variant(std::int16_t{4}));
  EXPECT_EQ(fields->Fields("TH_PAJAK").Value(), Variant(std::int16_t{2013}));
}

TEST_F(CompanionStoreTest, SspNumberAndLineSequenceAreCompletedToo) {
  exec(
      "INSERT INTO DAT_SSP_PPh22 VALUES ('0123', 'PPh22Impor', '10', 5, 2013, 0, "
      "'NTTP-1', '112', '', '31/05/2013', '', '')");
  exec(
      "INSERT INTO DAT_SSP_PPh22 VALUES ('0123', 'PPh22Impor', '10', 6, 2013, 0, "
      "'-', '112', '', '31/05/2013', '', '')");
  exec("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ('D113203', 5, 2013, 0, 0, 3, '-', '')");
  FieldTextCompanion companion;
  auto ssp = companion.unpack("PPh22Impor", query("SELECT * FROM DAT_SSP_PPh22 ORDER BY MS_PAJAK"));
  EXPECT_EQ(ssp->Fields("NTTP").Value().text(), "NTTP-1");
  EXPECT_EQ(ssp->Fields("npwp").Value().text(), "0123");
  ssp->MoveNext();
  EXPECT_TRUE(ssp->Fields("NTTP").Value().isNull());  // "-" is no number

  auto line = companion.unpack("D113203-Coll", query("SELECT * FROM LAMPIRAN_SSP_PPh22"));
  EXPECT_EQ(line->Fields("SEQ").Value().toDouble(), 3);
  EXPECT_EQ(line->Fields("MS_PAJAK").Value().toInt16(), 5);
  EXPECT_TRUE(line->Fields("NTTP").Value().isNull());
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
  for (auto i : {0, 2, 3}) {
    ASSERT_FALSE(fields->EndOfFile());
    EXPECT_EQ(companion.pack(fields), lines[static_cast<std::size_t>(i)]);
    fields->MoveNext();
  }
  EXPECT_TRUE(fields->EndOfFile());

  rows->Filter("NOBUKTI = 'none'");
  auto none = companion.unpack("D113204-Coll", rows);
  EXPECT_EQ(none->RecordCount(), 0);
  EXPECT_EQ(none->columnCount(), fieldList("D113204-Coll").size());
}

TEST(CompanionTest, UnknownFormCodeIsRefused) {
  FieldTextCompanion companion;
  try {
    companion.unpack("F999999", packedRows({"a;b"}));
    ADD_FAILURE() << "an unknown form was unpacked";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errc::kUnknownForm);
    EXPECT_EQ(e.description(), "No field list for form code \"F999999\".");
  }
  EXPECT_FALSE(hasFieldList("F999999"));
  EXPECT_TRUE(hasFieldList("F113304S"));
  // Form codes compare exactly.
  EXPECT_FALSE(hasFieldList("f113303"));
}

TEST(CompanionTest, SlipVariantsShareTheSlipF113304List) {
  EXPECT_EQ(fieldList("F113304A").data(), fieldList("F113304").data());
  EXPECT_EQ(fieldList("F113304S").data(), fieldList("F113304").data());
}

TEST(CompanionTest, RowsWithoutPackedTextAreRefused) {
  FieldTextCompanion companion;
  auto rows = std::make_shared<Recordset>(std::vector<std::string>{"NPWP"});
  rows->appendRow({Variant("0123")});
  try {
    companion.unpack("F113202", rows);
    ADD_FAILURE() << "rows without DAT_FORM were unpacked";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errc::kItemNotFound);
  }
  try {
    companion.pack(nullptr);
    ADD_FAILURE() << "nothing was packed";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errc::kInvalidProcedureCall);
  }
}

TEST(CompanionTest, FitsTellsWhetherATextHasNoMoreFieldsThanTheList) {
  FieldTextCompanion companion;
  EXPECT_TRUE(companion.fits("D113202", "a;b;c;d;e;f;g;h;i;j;k;l"));
  EXPECT_FALSE(companion.fits("D113202", "a;b;c;d;e;f;g;h;i;j;k;l;m"));
  EXPECT_TRUE(companion.fits("D113202", ""));
  EXPECT_FALSE(companion.fits("X", ""));
}

TEST(CompanionTest, KeepsTheCredentialsItWasGiven) {
  FieldTextCompanion companion;
  companion.setCredentials("KorvaneDSN", "budi", "rahasia");
  EXPECT_EQ(companion.dataSource(), "KorvaneDSN");
  EXPECT_EQ(companion.userId(), "budi");
}

}  // namespace
}  // namespace korvane::testing
