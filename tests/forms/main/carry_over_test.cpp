#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/store/companion.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kNewNpwp = "099999999999000";
constexpr const char* kOtherNpwp = "098765432109000";
constexpr const char* kQuoteRefused =
    "The value \"01'2\" contains a single quote, which cannot be written into a statement.";

using Values = std::initializer_list<std::pair<std::string_view, std::string>>;

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (;;) {
    auto end = text.find(';', start);
    parts.push_back(text.substr(start, end - start));
    if (end == std::string::npos) return parts;
    start = end + 1;
  }
}

std::string join(const std::vector<std::string>& parts) {
  std::string out;
  for (std::size_t i = 0; i < parts.size(); ++i) out += (i ? ";" : "") + parts[i];
  return out;
}

std::size_t position(std::string_view form, std::string_view field) {
  auto fields = fieldList(form);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (fields[i].name == field) return i;
  }
  ADD_FAILURE() << form << " has no field " << field;
  return 0;
}

// The packed text of a form with the given fields, every other field empty.
std::string packed(std::string_view form, Values values) {
  std::vector<std::string> parts(fieldList(form).size());
  for (const auto& [field, value] : values) parts[position(form, field)] = value;
  return join(parts);
}

std::string fieldOf(const std::string& text, std::string_view form, std::string_view field) {
  return split(text).at(position(form, field));
}

std::string withField(const std::string& text, std::string_view form, std::string_view field,
                      const std::string& value) {
  auto parts = split(text);
  parts.at(position(form, field)) = value;
  return join(parts);
}

std::string quoted(const std::string& text) {
  std::string out = "'";
  for (char c : text) out += c == '\'' ? std::string("''") : std::string(1, c);
  return out + "'";
}

class CF113202CarryOverTest : public testing::StoreTest {
 protected:
  // A header row of DS_FORM_INDUK or DAT_SSP_PPh22 in May 2013.
  void header(const std::string& table, const std::string& npwp, const std::string& kind,
              const std::string& form, const std::string& document, std::int16_t correction,
              const std::string& number, const std::string& datForm, std::int16_t month = 5) {
    exec("INSERT INTO " + table + " VALUES (" + quoted(npwp) + ", " + quoted(form) + ", " +
         quoted(document) + ", " + std::to_string(month) + ", 2013, " + std::to_string(correction) +
         ", " + quoted(number) + ", " + quoted(kind) + ", " + quoted(datForm) +
         ", '31/05/2013', '01/06/2013', '-')");
  }
  void attachment(const std::string& table, const std::string& form, std::int16_t correction,
                  int collection, int seq, const std::string& number, const std::string& datForm,
                  std::int16_t month = 5) {
    exec("INSERT INTO " + table + " VALUES (" + quoted(form) + ", " + std::to_string(month) +
         ", 2013, " + std::to_string(correction) + ", " + std::to_string(collection) + ", " +
         std::to_string(seq) + ", " + quoted(number) + ", " + quoted(datForm) + ")");
  }

  std::string mainReturn(const std::string& npwp, std::int16_t correction) {
    return packed("F113202", {{"npwp", npwp},
                              {"NmWP", "PT MAJU JAYA"},
                              {"ALM", "JL. SUDIRMAN 1 JAKARTA"},
                              {"MS_PAJAK", "5"},
                              {"TH_PAJAK", "2013"},
                              {"KD_PEMBETULAN_KE", std::to_string(correction)},
                              {"TGL_SETOR", "10/06/2013"},
                              {"B13", "1500000"},
                              {"B14", "37500"},
                              {"B4a3", "0,3"}});
  }
  std::string slip(const std::string& form, const std::string& number, std::int16_t correction,
                   const std::string& npwp = kNpwp) {
    return packed(form, {{"npwp", npwp},
                         {"NPWPLT", "011111111111000"},
                         {"NMWPLT", "CV SUMBER"},
                         {"NoBukti", number},
                         {"MS_PAJAK", "5"},
                         {"TH_PAJAK", "2013"},
                         {"KD_PEMBETULAN_KE", std::to_string(correction)},
                         {"INVOICE", "INV-" + number}});
  }
  std::string listHeader(
      const std::string& form, std::int16_t correction,
      std::initializer_list<std::pair<std::string_view, std::string>> more = {}) {
    std::vector<std::string> parts =
        split(packed(form, {{"npwp", kNpwp},
                            {"NmWP", "PT MAJU JAYA"},
                            {"MS_PAJAK", "5"},
                            {"TH_PAJAK", "2013"},
                            {"KD_PEMBETULAN_KE", std::to_string(correction)}}));
    for (const auto& [field, value] : more) parts[position(form, field)] = value;
    return join(parts);
  }
  std::string paymentSlip(const std::string& form, const std::string& nttp, int seq,
                          std::int16_t correction, const std::string& buyer = "CV SUMBER") {
    return packed(form, {{"MS_PAJAK", "5"},
                         {"TH_PAJAK", "2013"},
                         {"KD_PEMBETULAN_KE", std::to_string(correction)},
                         {"npwp", kNpwp},
                         {"NMWPLT", buyer},
                         {"NTTP", nttp},
                         {"SEQ", std::to_string(seq)},
                         {"PPH", "25000"}});
  }

  // Everything an article-22 period can hold, and rows around it that must not be copied.
  void arrangePeriod(std::int16_t c) {
    const std::string induk = "DS_FORM_INDUK";
    header(induk, kNpwp, "112", "F113202", "01", c, "-", mainReturn(kNpwp, c));
    header(induk, kNpwp, "112", "D113204", "09", c, "-",
           listHeader("D113204", c, {{"TotObjPPh22", "1000000"}, {"TotPPh22", "25000"}}));
    header(induk, kNpwp, "112", "F113303", "02", c, "000001/PPH22",
           slip("F113303", "000001/PPH22", c));
    header(induk, kNpwp, "112", "F113304", "03", c, "000002/PPH22",
           slip("F113304", "000002/PPH22", c));
    header(induk, kNpwp, "112", "F113304S", "03", c, "000003/PPH22",
           slip("F113304S", "000003/PPH22", c));
    header(induk, kNpwp, "112", "F113304A", "03", c, "000004/PPH22",
           slip("F113304A", "000004/PPH22", c));
    header(induk, kNpwp, "112", "F113305", "04", c, "000005/PPH22",
           slip("F113305", "000005/PPH22", c));
    // Not copied: another tax kind, another taxpayer, another month.
    header(induk, kNpwp, "111", "F113303", "02", c, "000009/PPH21",
           slip("F113303", "000009/PPH21", c));
    header(induk, kOtherNpwp, "112", "F113303", "02", c, "000006/PPH22",
           slip("F113303", "000006/PPH22", c, kOtherNpwp));
    header(induk, kNpwp, "112", "F113202", "01", c, "-", mainReturn(kNpwp, c), 6);

    const std::string lampiran = "DS_FORM_LAMPIRAN";
    for (int seq = 1; seq <= 6; ++seq) {  // the sixth is the other taxpayer's slip
      const std::string number = "00000" + std::to_string(seq) + "/PPH22";
      attachment(lampiran, "D113204", c, 0, seq, number,
                 "5;2013;" + std::to_string(seq) + ";011111111111000;JL. MERDEKA 2;CV SUMBER;" +
                     number + ";31/05/2013;1000000;25000");
    }
    attachment(lampiran, "F113303", c, 0, 1, "000001/PPH22", "5;2013;1;barang A");
    attachment(lampiran, "F113303", c, 1, 1, "000001/PPH22", "5;2013;1;barang B");
    attachment(lampiran, "F113304A", c, 0, 1, "000004/PPH22", "5;2013;1;mobil");
    attachment(lampiran, "F113305", c, 0, 1, "000005/PPH22", "5;2013;1;alat tulis");
    attachment(lampiran, "D113201", c, 0, 1, "-", "5;2013;1;pegawai");
    attachment(lampiran, "D113204", c, 0, 7, "000007/PPH22", "6;2013;7;juni", 6);

    const std::string ssp = "DAT_SSP_PPh22";
    header(ssp, kNpwp, "112", "D113202", "07", c, "-",
           listHeader("D113202", c, {{"PENJUALAN", "PREMIUM"}, {"TARIF", "0,3"}}));
    header(ssp, kNpwp, "112", "D113202", "08", c, "-",
           listHeader("D113202", c, {{"PENJUALAN", "SOLAR"}, {"TARIF", "0,3"}}));
    header(ssp, kNpwp, "112", "D113203", "08", c, "-", listHeader("D113203", c));
    header(ssp, kNpwp, "112", "D113203DN", "13", c, "-", listHeader("D113203DN", c));
    header(ssp, kNpwp, "112", "DImporDbyrSdr", "12", c, "-", listHeader("DImporDbyrSdr", c));
    // Two slips under one NTTP, told apart by their packed text.
    header(ssp, kNpwp, "112", "PPh22MigasFinal", "05", c, "NTTP0001",
           paymentSlip("PPh22MigasFinal", "NTTP0001", 1, c));
    header(ssp, kNpwp, "112", "PPh22MigasFinal", "05", c, "NTTP0001",
           paymentSlip("PPh22MigasFinal", "NTTP0001", 2, c));
    header(ssp, kNpwp, "112", "PPh22MigasTdkFinal", "06", c, "NTTP0002",
           paymentSlip("PPh22MigasTdkFinal", "NTTP0002", 1, c));
    header(ssp, kNpwp, "112", "PPh22Impor", "10", c, "NTTP0003",
           paymentSlip("PPh22Impor", "NTTP0003", 1, c));
    header(ssp, kNpwp, "112", "PPh22ImporDbyrSdr", "11", c, "NTTP0004",
           paymentSlip("PPh22ImporDbyrSdr", "NTTP0004", 1, c));
    header(ssp, kNpwp, "112", "PPh22", "14", c, "NTTP0005", paymentSlip("PPh22", "NTTP0005", 1, c));

    const std::string sspRows = "LAMPIRAN_SSP_PPh22";
    attachment(sspRows, "D113202", c, 0, 1, "NTTP0001", "5;2013;PREMIUM;1;011;CV SUMBER");
    attachment(sspRows, "D113202", c, 1, 2, "NTTP0002", "5;2013;PREMIUM;2;011;CV SUMBER");
    attachment(sspRows, "D113202", c, 0, 3, "NTTP0001", "5;2013;SOLAR;3;011;CV SUMBER");
    attachment(sspRows, "D113203", c, 0, 1, "NTTP0003", "5;2013;1;011;CV SUMBER");
    attachment(sspRows, "D113203", c, 0, 2, "NTTP0003", "5;2013;2;012;CV LAIN");
    attachment(sspRows, "D113203DN", c, 0, 1, "NTTP0006", "5;2013;1;013;CV DALAM");
    attachment(sspRows, "DImporDbyrSdr", c, 0, 1, "NTTP0004", "5;2013;1;NTTP0004;01/06/2013");
    attachment(sspRows, "PPh22Impor", c, 0, 1, "NTTP0003", "5;2013;1;impor");
    attachment(sspRows, "PPh22", c, 0, 1, "NTTP0005", "5;2013;1;lain");
  }

  void arrangePayments(std::int16_t c) {
    auto payment = [&](const std::string& form, std::int16_t correction, const std::string& date,
                       const std::string& ntpp) {
      exec("INSERT INTO DATSSP VALUES ('" + std::string(kNpwp) + "', 5, 2013, '0112', '100', " +
           "DATEVALUE('" + date + "'), '" + ntpp + "', 37500, '" + form + "', " +
           std::to_string(correction) + ", 22)");
    };
    payment("F113202", c, "10/06/2013", "NTPP01");
    payment("F113202", c, "15/06/2013", "NTPP02");
    payment("PPh22", c, "11/06/2013", "NTPP03");
    if (c < 32767) payment("F113202", static_cast<std::int16_t>(c + 1), "12/06/2013", "NTPP04");
  }

  long rowsOf(const std::string& table, const std::string& form, std::int16_t correction) {
    return count("SELECT COUNT(*) FROM " + table + " WHERE KD_FORM = '" + form +
                 "' AND KD_PEMBETULAN_KE = " + std::to_string(correction));
  }
  long everything() {
    long total = 0;
    for (const char* table :
         {"DS_FORM_INDUK", "DS_FORM_LAMPIRAN", "DAT_SSP_PPh22", "LAMPIRAN_SSP_PPh22", "DATSSP"}) {
      total += count(std::string("SELECT COUNT(*) FROM ") + table);
    }
    return total;
  }
  // Header rows as "form|kind|document|number|taxpayer|packed|recorded", sorted.
  std::vector<std::string> headerRows(const std::string& table, const std::string& where) {
    std::vector<std::string> out;
    auto rs = query("SELECT * FROM " + table + " WHERE " + where);
    for (; !rs->EndOfFile(); rs->MoveNext()) {
      std::string row;
      for (const char* column : {"KD_FORM", "KD_JENIS_PAJAK", "JENIS_DOKUMEN", "NOBUKTI", "NPWP",
                                 "DAT_FORM", "TGL_REKAM", "TGL_UBAH", "NIP"}) {
        row += rs->Fields(column).Value().text() + "|";
      }
      out.push_back(row);
    }
    std::sort(out.begin(), out.end());
    return out;
  }
  std::vector<std::string> attachmentRows(const std::string& table, const std::string& where) {
    std::vector<std::string> out;
    auto rs = query("SELECT * FROM " + table + " WHERE " + where);
    for (; !rs->EndOfFile(); rs->MoveNext()) {
      std::string row;
      for (const char* column :
           {"KD_FORM", "MS_PAJAK", "TH_PAJAK", "COLLNO", "SEQ", "NOBUKTI", "DAT_FORM"}) {
        row += rs->Fields(column).Value().text() + "|";
      }
      out.push_back(row);
    }
    std::sort(out.begin(), out.end());
    return out;
  }
};

struct Presence {
  const char* table;
  const char* form;
  long onCorrection;   // rows under correction 1 after the two correction copies
  long onNewTaxpayer;  // rows under correction 1 after the two taxpayer-change copies
};

const Presence kPresence[] = {
    {"DS_FORM_INDUK", "F113202", 1, 1},
    {"DS_FORM_INDUK", "D113204", 1, 1},
    {"DS_FORM_INDUK", "F113303", 1, 1},
    {"DS_FORM_INDUK", "F113304", 1, 1},
    {"DS_FORM_INDUK", "F113304S", 1, 1},
    {"DS_FORM_INDUK", "F113304A", 1, 1},
    {"DS_FORM_INDUK", "F113305", 0, 1},
    {"DS_FORM_LAMPIRAN", "D113204", 6, 6},
    {"DS_FORM_LAMPIRAN", "F113303", 2, 2},
    {"DS_FORM_LAMPIRAN", "F113304A", 1, 1},
    {"DS_FORM_LAMPIRAN", "F113305", 0, 1},
    {"DS_FORM_LAMPIRAN", "D113201", 0, 0},
    {"DAT_SSP_PPh22", "D113202", 2, 2},
    {"DAT_SSP_PPh22", "D113203", 1, 1},
    {"DAT_SSP_PPh22", "D113203DN", 1, 0},
    {"DAT_SSP_PPh22", "DImporDbyrSdr", 1, 1},
    {"DAT_SSP_PPh22", "PPh22MigasFinal", 2, 2},
    {"DAT_SSP_PPh22", "PPh22MigasTdkFinal", 1, 1},
    {"DAT_SSP_PPh22", "PPh22Impor", 1, 1},
    {"DAT_SSP_PPh22", "PPh22ImporDbyrSdr", 1, 1},
    {"DAT_SSP_PPh22", "PPh22", 1, 0},
    {"LAMPIRAN_SSP_PPh22", "D113202", 3, 3},
    {"LAMPIRAN_SSP_PPh22", "D113203", 2, 2},
    {"LAMPIRAN_SSP_PPh22", "D113203DN", 1, 0},
    {"LAMPIRAN_SSP_PPh22", "DImporDbyrSdr", 1, 1},
    {"LAMPIRAN_SSP_PPh22", "PPh22Impor", 1, 1},
    {"LAMPIRAN_SSP_PPh22", "PPh22", 0, 0},
};

TEST_F(CF113202CarryOverTest, CorrectionCopiesTheFormsItsListsName) {
  arrangePeriod(0);
  const long before = everything();
  auto main = connected<CF113202>();

  main->pCopyAllData(kNpwp, "112", 5, 2013, 0);
  main->pCopyAllDataSSP(kNpwp, "112", 5, 2013, 0);

  EXPECT_TRUE(messages().empty());
  long copied = 0;
  for (const auto& expected : kPresence) {
    EXPECT_EQ(rowsOf(expected.table, expected.form, 1), expected.onCorrection)
        << expected.table << " " << expected.form;
    copied += expected.onCorrection;
  }
  EXPECT_EQ(everything(), before + copied);
  // Copies keep their taxpayer; the sources stay as they were.
  EXPECT_EQ(count("SELECT COUNT(*) FROM DS_FORM_INDUK WHERE KD_PEMBETULAN_KE = 1 AND NPWP <> '" +
                  std::string(kNpwp) + "'"),
            0);
  EXPECT_EQ(rowsOf("DS_FORM_INDUK", "F113305", 0), 1);
}

TEST_F(CF113202CarryOverTest, TaxpayerChangeCopiesTheFormsItsListsName) {
  arrangePeriod(0);
  const long before = everything();
  auto main = connected<CF113202>();

  main->pCopyAllDataOldKPP(kNpwp, kNewNpwp, "112", 5, 2013, 0);
  main->pCopyAllDataSSPOldKPP(kNpwp, kNewNpwp, "112", 5, 2013, 0);

  EXPECT_TRUE(messages().empty());
  long copied = 0;
  for (const auto& expected : kPresence) {
    EXPECT_EQ(rowsOf(expected.table, expected.form, 1), expected.onNewTaxpayer)
        << expected.table << " " << expected.form;
    copied += expected.onNewTaxpayer;
  }
  EXPECT_EQ(everything(), before + copied);
  for (const char* table : {"DS_FORM_INDUK", "DAT_SSP_PPh22"}) {
    EXPECT_EQ(count(std::string("SELECT COUNT(*) FROM ") + table +
                    " WHERE KD_PEMBETULAN_KE = 1 AND NPWP <> '" + kNewNpwp + "'"),
              0)
        << table;
  }
}

// Every copied header is its source with the new correction (and taxpayer) in the row and in
// the packed text; nothing else changes.
struct Restamp {
  const char* name;
  const char* newNpwp;  // empty: a correction copy
};
void PrintTo(const Restamp& value, std::ostream* os) { *os << value.name; }

class CF113202CarryOverRestampTest : public CF113202CarryOverTest,
                                     public ::testing::WithParamInterface<Restamp> {};

TEST_P(CF113202CarryOverRestampTest, PackedTextsShowTheNewCorrectionAndTaxpayer) {
  arrangePeriod(0);
  const std::string newNpwp = GetParam().newNpwp;
  const std::string npwp = newNpwp.empty() ? std::string(kNpwp) : newNpwp;
  auto main = connected<CF113202>();

  if (newNpwp.empty()) {
    main->pCopyAllData(kNpwp, "112", 5, 2013, 0);
    main->pCopyAllDataSSP(kNpwp, "112", 5, 2013, 0);
  } else {
    main->pCopyAllDataOldKPP(kNpwp, newNpwp, "112", 5, 2013, 0);
    main->pCopyAllDataSSPOldKPP(kNpwp, newNpwp, "112", 5, 2013, 0);
  }

  for (const char* table : {"DS_FORM_INDUK", "DAT_SSP_PPh22"}) {
    std::vector<std::string> expected;
    auto sources = query(std::string("SELECT * FROM ") + table + " WHERE NPWP = '" + kNpwp +
                         "' AND KD_JENIS_PAJAK = '112' AND MS_PAJAK = 5 AND KD_PEMBETULAN_KE = 0");
    for (; !sources->EndOfFile(); sources->MoveNext()) {
      const std::string form = sources->Fields("KD_FORM").Value().text();
      if (rowsOf(table, form, 1) == 0) continue;  // a form the copy does not take
      std::string text =
          withField(sources->Fields("DAT_FORM").Value().text(), form, "KD_PEMBETULAN_KE", "1");
      text = withField(text, form, "npwp", npwp);
      std::string row;
      for (const char* column : {"KD_FORM", "KD_JENIS_PAJAK", "JENIS_DOKUMEN", "NOBUKTI"}) {
        row += sources->Fields(column).Value().text() + "|";
      }
      expected.push_back(row + npwp + "|" + text + "|31/05/2013|01/06/2013|-|");
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(headerRows(table, "KD_PEMBETULAN_KE = 1"), expected) << table;
  }

  const std::string copy =
      scalar(
          "SELECT DAT_FORM FROM DS_FORM_INDUK WHERE KD_FORM = 'F113304A' AND KD_PEMBETULAN_KE = 1")
          .text();
  EXPECT_EQ(fieldOf(copy, "F113304", "KD_PEMBETULAN_KE"), "1");
  EXPECT_EQ(fieldOf(copy, "F113304", "npwp"), npwp);
  EXPECT_EQ(fieldOf(copy, "F113304", "NoBukti"), "000004/PPH22");
  EXPECT_TRUE(messages().empty());
}

const Restamp kRestamps[] = {{"NewCorrection", ""}, {"NewTaxpayer", kNewNpwp}};
INSTANTIATE_TEST_SUITE_P(Cases, CF113202CarryOverRestampTest, ::testing::ValuesIn(kRestamps),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST_F(CF113202CarryOverTest, AttachmentRowsAreCopiedAsTheyStand) {
  arrangePeriod(0);
  auto main = connected<CF113202>();

  main->pCopyAllData(kNpwp, "112", 5, 2013, 0);
  main->pCopyAllDataSSP(kNpwp, "112", 5, 2013, 0);

  const std::string forms = "KD_FORM IN ('D113204', 'F113303', 'F113304A')";
  EXPECT_EQ(attachmentRows("DS_FORM_LAMPIRAN", forms + " AND KD_PEMBETULAN_KE = 1"),
            attachmentRows("DS_FORM_LAMPIRAN", forms + " AND KD_PEMBETULAN_KE = 0 AND "
                                                       "MS_PAJAK = 5"));
  const std::string lists = "KD_FORM IN ('D113202', 'D113203', 'D113203DN', 'DImporDbyrSdr')";
  EXPECT_EQ(attachmentRows("LAMPIRAN_SSP_PPh22", lists + " AND KD_PEMBETULAN_KE = 1"),
            attachmentRows("LAMPIRAN_SSP_PPh22", lists + " AND KD_PEMBETULAN_KE = 0"));
}

TEST_F(CF113202CarryOverTest, OnlyTheRequestedTaxKindIsCopied) {
  arrangePeriod(0);
  auto main = connected<CF113202>();

  main->pCopyAllData(kNpwp, "111", 5, 2013, 0);

  EXPECT_EQ(headerRows("DS_FORM_INDUK", "KD_PEMBETULAN_KE = 1"),
            (std::vector<std::string>{
                "F113303|111|02|000009/PPH21|" + std::string(kNpwp) + "|" +
                withField(slip("F113303", "000009/PPH21", 0), "F113303", "KD_PEMBETULAN_KE", "1") +
                "|31/05/2013|01/06/2013|-|"}));
  // The attachments go along whatever the tax kind.
  EXPECT_EQ(rowsOf("DS_FORM_LAMPIRAN", "D113204", 1), 6);
}

TEST_F(CF113202CarryOverTest, PaymentRecordsGoToTheNextCorrectionWithTheirDates) {
  arrangePayments(0);
  auto main = connected<CF113202>();

  main->pCopySSP("F113202", 5, 2013, 0);

  EXPECT_TRUE(messages().empty());
  auto copies = query("SELECT * FROM DATSSP WHERE KdPmbtln = 1 AND NTPP <> 'NTPP04' ORDER BY NTPP");
  std::vector<std::string> rows;
  for (; !copies->EndOfFile(); copies->MoveNext()) {
    std::string row;
    for (const char* column : {"NPWP", "MSPJK", "THPJK", "KDMAP", "KDJNSSTR", "NTPP", "JMLBYR",
                               "KdJnsForm", "KODEPASAL"}) {
      row += copies->Fields(column).Value().text() + "|";
    }
    rows.push_back(row + copies->Fields("TGLSSP").Value().toDate().text());
  }
  EXPECT_EQ(rows, (std::vector<std::string>{
                      std::string(kNpwp) + "|5|2013|0112|100|NTPP01|37500|F113202||10/06/2013",
                      std::string(kNpwp) + "|5|2013|0112|100|NTPP02|37500|F113202||15/06/2013",
                  }));
  EXPECT_EQ(count("SELECT COUNT(*) FROM DATSSP WHERE KdJnsForm = 'PPh22' AND KdPmbtln = 1"), 0);
}

struct Operation {
  const char* name;
  std::function<void(CF113202&, const std::string& npwp, std::int16_t)> run;
};
void PrintTo(const Operation& value, std::ostream* os) { *os << value.name; }

const Operation kOperations[] = {
    {"CopyAllData", [](CF113202& main, const std::string& npwp,
                       std::int16_t c) { main.pCopyAllData(npwp, "112", 5, 2013, c); }},
    {"CopyAllDataSSP", [](CF113202& main, const std::string& npwp,
                          std::int16_t c) { main.pCopyAllDataSSP(npwp, "112", 5, 2013, c); }},
    {"CopyAllDataOldKPP",
     [](CF113202& main, const std::string& npwp, std::int16_t c) {
       main.pCopyAllDataOldKPP(npwp, kNewNpwp, "112", 5, 2013, c);
     }},
    {"CopyAllDataSSPOldKPP",
     [](CF113202& main, const std::string& npwp, std::int16_t c) {
       main.pCopyAllDataSSPOldKPP(npwp, kNewNpwp, "112", 5, 2013, c);
     }},
    {"CopySSP",
     [](CF113202& main, const std::string& npwp, std::int16_t c) {
       (void)npwp;
       main.pCopySSP("F113202", 5, 2013, c);
     }},
};

class CF113202CarryOverOperationTest : public CF113202CarryOverTest,
                                       public ::testing::WithParamInterface<Operation> {};

TEST_P(CF113202CarryOverOperationTest, LastCorrectionNumberOverflowsAndWritesNothing) {
  arrangePeriod(32767);
  arrangePayments(32767);
  const long before = everything();
  auto main = connected<CF113202>();

  GetParam().run(*main, kNpwp, 32767);

  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text, "Overflow");
  EXPECT_EQ(everything(), before);
}

TEST_P(CF113202CarryOverOperationTest, EmptyPeriodCopiesNothingQuietly) {
  arrangePeriod(0);
  arrangePayments(0);
  const long before = everything();
  auto main = connected<CF113202>();

  GetParam().run(*main, kNpwp, 3);

  EXPECT_TRUE(messages().empty());
  EXPECT_EQ(everything(), before);
}

INSTANTIATE_TEST_SUITE_P(Cases, CF113202CarryOverOperationTest, ::testing::ValuesIn(kOperations),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

struct QuoteCase {
  const char* name;
  std::function<void(CF113202&, const std::string& npwp)> run;
};
void PrintTo(const QuoteCase& value, std::ostream* os) { *os << value.name; }

const QuoteCase kQuoteCases[] = {
    {"SourceTaxpayer",
     [](CF113202& main, const std::string& npwp) {
       (void)npwp;
       main.pCopyAllData("01'2", "112", 5, 2013, 0);
     }},
    {"SourceTaxpayerOfPaymentSlips",
     [](CF113202& main, const std::string& npwp) {
       (void)npwp;
       main.pCopyAllDataSSP("01'2", "112", 5, 2013, 0);
     }},
    {"NewTaxpayer",
     [](CF113202& main, const std::string& npwp) {
       main.pCopyAllDataOldKPP(npwp, "01'2", "112", 5, 2013, 0);
     }},
    {"NewTaxpayerOfPaymentSlips",
     [](CF113202& main, const std::string& npwp) {
       main.pCopyAllDataSSPOldKPP(npwp, "01'2", "112", 5, 2013, 0);
     }},
};

class CF113202CarryOverQuoteTest : public CF113202CarryOverTest,
                                   public ::testing::WithParamInterface<QuoteCase> {};

TEST_P(CF113202CarryOverQuoteTest, QuoteInATaxpayerNumberFailsBeforeWriting) {
  arrangePeriod(0);
  const long before = everything();
  auto main = connected<CF113202>();

  GetParam().run(*main, kNpwp);

  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text, kQuoteRefused);
  EXPECT_EQ(everything(), before);
}

INSTANTIATE_TEST_SUITE_P(Cases, CF113202CarryOverQuoteTest, ::testing::ValuesIn(kQuoteCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST_F(CF113202CarryOverTest, QuoteInAPackedTextIsFoundAgainAndRefusedByTheInsert) {
  header("DAT_SSP_PPh22", kNpwp, "112", "PPh22Impor", "10", 0, "NTTP0003",
         paymentSlip("PPh22Impor", "NTTP0003", 1, 0, "PT O'NEIL"));
  auto main = connected<CF113202>();

  main->pCopyAllDataSSP(kNpwp, "112", 5, 2013, 0);

  ASSERT_EQ(messages().size(), 1u);
  EXPECT_NE(messages()[0].text.find("contains a single quote"), std::string::npos)
      << messages()[0].text;
  EXPECT_EQ(rowsOf("DAT_SSP_PPh22", "PPh22Impor", 1), 0);
}

}  // namespace
}  // namespace korvane
