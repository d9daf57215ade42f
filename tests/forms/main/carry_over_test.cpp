#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <regex>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/store/companion.hpp"
#include "korvane/store/text.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kNewNpwp = "099999999999000";
constexpr const char* kQuoteRefused =
    "The value \"01'2\" contains a single quote, which cannot be written into a statement.";
const char* const kTables[] = {"DS_FORM_INDUK", "DAT_SSP_PPh22", "DS_FORM_LAMPIRAN",
                               "LAMPIRAN_SSP_PPh22"};

using Values = std::vector<std::pair<std::string, std::string>>;

// `text`, packed in the field order of `form`, with `field` set to `value`.
std::string withField(const std::string& text, std::string_view form, std::string_view field,
                      const std::string& value) {
  const auto fields = fieldList(form);
  std::string out;
  bool found = false;
  for (std::size_t i = 0, start = 0, end = 0; i < fields.size(); ++i, start = end + 1) {
    end = text.find(';', start);
    found = found || fields[i].name == field;
    out += (i ? ";" : "") + (fields[i].name == field ? value : text.substr(start, end - start));
  }
  EXPECT_TRUE(found) << form << " has no field " << field;
  return out;
}

class CF113202CarryOverTest : public testing::StoreTest {
 protected:
  // A header row of May 2013 whose packed text names its taxpayer, period and number, plus `more`.
  void header(const std::string& table, const std::string& form, const std::string& document,
              const std::string& number, std::int16_t c, Values more = {},
              const std::string& npwp = kNpwp, const std::string& kind = "112", int month = 5) {
    more.insert(more.begin(), {{"npwp", npwp},
                               {"MS_PAJAK", "5"},
                               {"TH_PAJAK", "2013"},
                               {"KD_PEMBETULAN_KE", std::to_string(c)}});
    if (number != "-") more.push_back({table == "DS_FORM_INDUK" ? "NoBukti" : "NTTP", number});
    std::string text(fieldList(form).size() - 1, ';');
    for (const auto& [field, value] : more) text = withField(text, form, field, value);
    exec("INSERT INTO " + table + " VALUES ('" + npwp + "', '" + form + "', '" + document + "', " +
         std::to_string(month) + ", 2013, " + std::to_string(c) + ", '" + number + "', '" + kind +
         "', '" + std::regex_replace(text, std::regex("'"), "''") +
         "', '31/05/2013', '01/06/2013', '-')");
  }
  void attachment(const std::string& table, const std::string& form, std::int16_t c, int collection,
                  int seq, const std::string& number, const std::string& text, int month = 5) {
    exec("INSERT INTO " + table + " VALUES ('" + form + "', " + std::to_string(month) + ", 2013, " +
         std::to_string(c) + ", " + std::to_string(collection) + ", " + std::to_string(seq) +
         ", '" + number + "', '" + text + "')");
  }
  // Everything an article-22 period can hold, and rows around it that must not be copied.
  void arrangePeriod(std::int16_t c) {
    // Table, form, document, number, and one packed field besides the taxpayer and period.
    const char* headers[][6] = {
        {"DS_FORM_INDUK", "F113202", "01", "-", "NmWP", "PT MAJU JAYA"},
        {"DS_FORM_INDUK", "D113204", "09", "-", "TotPPh22", "25000"},
        {"DS_FORM_INDUK", "F113303", "02", "000001/PPH22", "NMWPLT", "CV SUMBER"},
        {"DS_FORM_INDUK", "F113304", "03", "000002/PPH22", "NMWPLT", "CV SUMBER"},
        {"DS_FORM_INDUK", "F113304S", "03", "000003/PPH22", "NMWPLT", "CV SUMBER"},
        {"DS_FORM_INDUK", "F113304A", "03", "000004/PPH22", "NMWPLT", "CV SUMBER"},
        {"DS_FORM_INDUK", "F113305", "04", "000005/PPH22", "NMWPLT", "CV SUMBER"},
        {"DAT_SSP_PPh22", "D113202", "07", "-", "PENJUALAN", "PREMIUM"},
        {"DAT_SSP_PPh22", "D113202", "08", "-", "PENJUALAN", "SOLAR"},
        {"DAT_SSP_PPh22", "D113203", "08", "-", "NmWP", "PT MAJU JAYA"},
        {"DAT_SSP_PPh22", "D113203DN", "13", "-", "NmWP", "PT MAJU JAYA"},
        {"DAT_SSP_PPh22", "DImporDbyrSdr", "12", "-", "NmWP", "PT MAJU JAYA"},
        // Two slips under one NTTP, told apart by their packed text.
        {"DAT_SSP_PPh22", "PPh22MigasFinal", "05", "NTTP0001", "SEQ", "1"},
        {"DAT_SSP_PPh22", "PPh22MigasFinal", "05", "NTTP0001", "SEQ", "2"},
        {"DAT_SSP_PPh22", "PPh22MigasTdkFinal", "06", "NTTP0002", "PPH", "25000"},
        {"DAT_SSP_PPh22", "PPh22Impor", "10", "NTTP0003", "NMWPLT", "CV SUMBER"},
        {"DAT_SSP_PPh22", "PPh22ImporDbyrSdr", "11", "NTTP0004", "NMWPLT", "CV SUMBER"},
        {"DAT_SSP_PPh22", "PPh22", "14", "NTTP0005", "PPH", "25000"}};
    for (const auto& h : headers) header(h[0], h[1], h[2], h[3], c, {{h[4], h[5]}});
    // Not copied: another tax kind, another taxpayer, another month.
    header("DS_FORM_INDUK", "F113303", "02", "000009/PPH21", c, {}, kNpwp, "111");
    header("DS_FORM_INDUK", "F113303", "02", "000006/PPH22", c, {}, "098765432109000");
    header("DS_FORM_INDUK", "F113202", "01", "-", c, {}, kNpwp, "112", 6);

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

    const std::string ssp = "LAMPIRAN_SSP_PPh22";
    attachment(ssp, "D113202", c, 0, 1, "NTTP0001", "5;2013;PREMIUM;1;011;CV SUMBER");
    attachment(ssp, "D113202", c, 1, 2, "NTTP0002", "5;2013;PREMIUM;2;011;CV SUMBER");
    attachment(ssp, "D113203", c, 0, 1, "NTTP0003", "5;2013;1;011;CV SUMBER");
    attachment(ssp, "D113203DN", c, 0, 1, "NTTP0006", "5;2013;1;013;CV DALAM");
    attachment(ssp, "DImporDbyrSdr", c, 0, 1, "NTTP0004", "5;2013;1;NTTP0004;01/06/2013");
    attachment(ssp, "PPh22Impor", c, 0, 1, "NTTP0003", "5;2013;1;impor");
    attachment(ssp, "PPh22", c, 0, 1, "NTTP0005", "5;2013;1;lain");
  }

  void arrangePayments(std::int16_t c) {
    auto payment = [&](const std::string& form, int correction, const std::string& date,
                       const std::string& ntpp) {
      exec("INSERT INTO DATSSP VALUES ('" + std::string(kNpwp) + "', 5, 2013, '0112', '100', " +
           "DATEVALUE('" + date + "'), '" + ntpp + "', 37500, '" + form + "', " +
           std::to_string(correction) + ", 22)");
    };
    payment("F113202", c, "10/06/2013", "NTPP01");
    payment("F113202", c, "15/06/2013", "NTPP02");
    payment("PPh22", c, "11/06/2013", "NTPP03");
    if (c < 32767) payment("F113202", c + 1, "12/06/2013", "NTPP04");
  }

  long everything() {
    long total = count("SELECT COUNT(*) FROM DATSSP");
    for (const char* table : kTables) total += count(std::string("SELECT COUNT(*) FROM ") + table);
    return total;
  }
  // Rows as "column|column|...|" without the correction number, sorted. Headers given a
  // taxpayer are shown as their copies into correction 1 for that taxpayer must read.
  std::vector<std::string> rowsOf(const std::string& table, const std::string& where,
                                  const std::string& copiedFor = "") {
    std::vector<std::string> out;
    for (auto rs = query("SELECT * FROM " + table + " WHERE " + where); !rs->EndOfFile();
         rs->MoveNext()) {
      std::string row;
      for (std::size_t i = 0; i < rs->columnCount(); ++i) {
        const std::string name = upperAscii(rs->Fields(i).Name());
        const Variant value = rs->Fields(i).Value();
        std::string text = name == "TGLSSP" ? value.toDate().text() : value.text();
        if (name == "KD_PEMBETULAN_KE" || name == "KDPMBTLN") continue;
        if (!copiedFor.empty() && name == "NPWP") text = copiedFor;
        if (!copiedFor.empty() && name == "DAT_FORM") {
          const std::string form = rs->Fields("KD_FORM").Value().text();
          text = withField(withField(text, form, "KD_PEMBETULAN_KE", "1"), form, "npwp", copiedFor);
        }
        row += text + "|";
      }
      out.push_back(row);
    }
    std::sort(out.begin(), out.end());
    return out;
  }
};

// The form lists differ on purpose between a correction and a new taxpayer; attachments go along
// whatever the tax kind.
TEST_F(CF113202CarryOverTest, CopiesAreTheirSourcesRestampedAndFailuresWriteNothing) {
  for (std::int16_t c : {std::int16_t{0}, std::int16_t{32767}}) {
    arrangePeriod(c);
    arrangePayments(c);
  }
  const long before = everything();
  // Name, the taxpayer argument a quote is tried in (none for payment records), the call. The
  // four period copies share one path: the quote goes once into the taxpayer copied from (slips)
  // and once into the one copied to (payment slips).
  using Failing = void (*)(CF113202&, const std::string&, std::int16_t);
  const std::tuple<const char*, const char*, Failing> failing[] = {
      {"pCopyAllData", kNpwp,
       [](auto& m, auto& npwp, auto c) { m.pCopyAllData(npwp, "112", 5, 2013, c); }},
      {"pCopyAllDataSSPOldKPP", kNewNpwp,
       [](auto& m, auto& to, auto c) { m.pCopyAllDataSSPOldKPP(kNpwp, to, "112", 5, 2013, c); }},
      {"pCopySSP", nullptr, [](auto& m, auto&, auto c) { m.pCopySSP("F113202", 5, 2013, c); }},
  };
  for (auto [name, argument, run] : failing) {
    SCOPED_TRACE(name);
    const std::string taxpayer = argument ? argument : "";
    clearMessages();
    run(*connected<CF113202>(), taxpayer, 3);      // an empty period: nothing, quietly
    run(*connected<CF113202>(), taxpayer, 32767);  // the last correction has no next
    if (argument) run(*connected<CF113202>(), "01'2", 0);
    std::vector<std::string> texts;
    for (const auto& message : messages()) texts.push_back(message.text);
    EXPECT_EQ(texts, (argument ? std::vector<std::string>{"Overflow", kQuoteRefused}
                               : std::vector<std::string>{"Overflow"}));
    EXPECT_EQ(everything(), before);
  }
  clearMessages();

  struct Copy {
    const char* npwp;
    void (*run)(CF113202&);
    const char* kept[4];  // per table of kTables, the source rows that are copied
  };
  const Copy copies[] = {
      {kNpwp,
       [](CF113202& m) {
         m.pCopyAllData(kNpwp, "112", 5, 2013, 0);
         m.pCopyAllDataSSP(kNpwp, "112", 5, 2013, 0);
       },
       {"KD_JENIS_PAJAK = '112' AND KD_FORM <> 'F113305'", "KD_JENIS_PAJAK = '112'",
        "KD_FORM NOT IN ('F113305', 'D113201')", "KD_FORM <> 'PPh22'"}},
      {kNewNpwp,
       [](CF113202& m) {
         m.pCopyAllDataOldKPP(kNpwp, kNewNpwp, "112", 5, 2013, 0);
         m.pCopyAllDataSSPOldKPP(kNpwp, kNewNpwp, "112", 5, 2013, 0);
       },
       {"KD_JENIS_PAJAK = '112'",
        "KD_JENIS_PAJAK = '112' AND KD_FORM NOT IN ('D113203DN', 'PPh22')", "KD_FORM <> 'D113201'",
        "KD_FORM NOT IN ('D113203DN', 'PPh22')"}},
      {kNpwp,
       [](CF113202& m) { m.pCopyAllData(kNpwp, "111", 5, 2013, 0); },
       {"KD_JENIS_PAJAK = '111'", "0 = 1", "KD_FORM NOT IN ('F113305', 'D113201')", "0 = 1"}}};
  for (const auto& copy : copies) {
    SCOPED_TRACE(copy.kept[0]);
    copy.run(*connected<CF113202>());
    long copied = 0;
    for (int t = 0; t < 4; ++t) {
      // The taxpayer's headers restamped (kTables begins with the two header tables), the
      // attachments as they stand.
      const std::string source = "KD_PEMBETULAN_KE = 0 AND MS_PAJAK = 5 AND " +
                                 (t < 2 ? "NPWP = '" + std::string(kNpwp) + "' AND " : "") +
                                 copy.kept[t];
      const auto expected = rowsOf(kTables[t], source, t < 2 ? copy.npwp : "");
      EXPECT_EQ(rowsOf(kTables[t], "KD_PEMBETULAN_KE = 1"), expected) << kTables[t];
      copied += static_cast<long>(expected.size());
    }
    EXPECT_EQ(everything(), before + copied);
    for (const char* table : kTables)
      exec(std::string("DELETE FROM ") + table + " WHERE KD_PEMBETULAN_KE = 1");
  }

  // The tax office's payment records of the form go along with their dates.
  connected<CF113202>()->pCopySSP("F113202", 5, 2013, 0);
  const std::string npwp = kNpwp;
  EXPECT_EQ(
      rowsOf("DATSSP", "KdPmbtln = 1 AND NTPP <> 'NTPP04'"),
      (std::vector<std::string>{npwp + "|5|2013|0112|100|10/06/2013|NTPP01|37500|F113202||",
                                npwp + "|5|2013|0112|100|15/06/2013|NTPP02|37500|F113202||"}));
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113202CarryOverTest, QuoteInAPackedTextIsFoundAgainAndRefusedByTheInsert) {
  header("DAT_SSP_PPh22", "PPh22Impor", "10", "NTTP0003", 0, {{"NMWPLT", "PT O'NEIL"}});
  connected<CF113202>()->pCopyAllDataSSP(kNpwp, "112", 5, 2013, 0);

  ASSERT_EQ(messages().size(), 1u);
  EXPECT_NE(messages()[0].text.find("contains a single quote"), std::string::npos)
      << messages()[0].text;
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_SSP_PPh22 WHERE KD_PEMBETULAN_KE = 1"), 0);
}

}  // namespace
}  // namespace korvane
