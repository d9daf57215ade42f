#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "korvane/exchange/export.hpp"
#include "korvane/exchange/import.hpp"
#include "korvane/forms/ssp/import_input.hpp"
#include "korvane/store/store.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kName = "PT MAJU JAYA";
constexpr const char* kAddress = "JL. SUDIRMAN 1 JAKARTA";
constexpr const char* kCollector = "Pemungut";
constexpr const char* kNotCollector = "Bukan Pemungut";
constexpr std::int16_t kMonth = 5;
constexpr std::int16_t kYear = 2013;
const Date kToday(2013, 6, 10);

// The main return's lines, totals and payment-slip count: what a round trip must keep.
constexpr const char* kReturnLines[] = {"B13",  "B14",  "B23",  "B24",  "B33", "B34",  "B4a3",
                                        "B4a4", "B4b3", "B4b4", "B53",  "B54", "B6a3", "B6a4",
                                        "B6b3", "B6b4", "TotA", "TotB", "c2"};

// A sector line as a host enters it: base and rate (the tax follows).
struct SectorAmounts {
  int line;
  double base;
  double rate;
};

// Two stores: the fixture's, where a period is entered through the classes as a host would,
// and a second new one with the same profile that imports what the first exported.
class CImporBPTest : public testing::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    target_ = (folder() / "target.db").string();
    store::createStore(target_);
    targetConnection_ = store::Connection::openDataSource(target_, "", "");
  }

  void TearDown() override {
    targetConnection_.reset();
    StoreTest::TearDown();
  }

  void begin(const std::string& jenisWp) {
    jenisWp_ = jenisWp;
    insertProfile(jenisWp);
    execTarget("INSERT INTO DAT_PROFILE (NPWP, NAMA_WP_PROFILE, ALAMAT, JENIS_WP) VALUES ('" +
               std::string(kNpwp) + "', '" + kName + "', '" + kAddress + "', '" + jenisWp + "')");
    connected<CF113202>()->pCreateF113202Hdr(kNpwp, "F113202", "01", kMonth, kYear, 0, "-", "112",
                                             kName, kAddress, kToday, kToday, jenisWp);
  }

  template <class T>
  std::shared_ptr<T> connectedTo(const std::string& dataSource) {
    auto object = std::make_shared<T>();
    object->pAssignConStr(dataSource, dataSource == target_ ? "" : user(),
                          dataSource == target_ ? "" : password());
    return object;
  }

  void execTarget(const std::string& sql) { targetConnection_->execute(sql); }
  long countTarget(const std::string& sql) {
    auto rs = Recordset::open(targetConnection_, sql);
    return rs->EndOfFile() ? 0 : static_cast<long>(rs->Fields(std::size_t{0}).Value().toDouble());
  }

  // Source entries ------------------------------------------------------------------------------

  void addCollectionSlip(const std::string& number, const std::string& party, double baseA,
                         double baseB, const Variant& taxA = Variant()) {
    auto slip = connected<CF113303>();
    slip->pCreateF113303Hdr(kNpwp, "F113303", "02", kMonth, kYear, 0, number, "112", kName,
                            kAddress, kToday);
    slip->pGetF113303(kNpwp, "F113303", "02", kMonth, kYear, 0, number, "112", kName, kAddress,
                      kToday);
    slip->pAssignOldValues();
    slip->getTaxRate();
    slip->aNPWPLT(party);
    slip->aNMWPLT("CV SUMBER " + number);
    slip->aALMLT("JL. MERDEKA 5");
    slip->aTGL_POTONG(Date(2013, 5, 15));
    slip->aJnsBrg("BESI");
    slip->aBykBrg(10.5);
    slip->aSatBrg("TON");
    slip->aNil_Impor(1000000.0);
    slip->aB3a3(baseA);
    slip->aB3b3(baseB);
    if (!taxA.isEmpty()) slip->aB3a5(taxA);
    slip->pHitPjk(0);
    slip->pAssignStatus(true, false, false);
    slip->pUpdate(kMonth, "2013", "0");
  }

  template <class T>
  void addSectorSlip(const std::string& form, const std::string& number, const std::string& party,
                     const std::vector<SectorAmounts>& lines) {
    auto slip = connected<T>();
    slip->pCreateF113304Hdr(kNpwp, form, "03", kMonth, kYear, 0, number, "112", kName, kAddress,
                            kToday);
    slip->pGetF113304(kNpwp, form, "03", kMonth, kYear, 0, number, "112", kName, kAddress, kToday);
    slip->pAssignOldValues();
    slip->getTaxRate();
    slip->aNPWPLT(party);
    slip->aNMWPLT("TOKO " + number);
    slip->aALMLT("PASAR BARU");
    slip->aTGL_POTONG(Date(2013, 5, 16));
    slip->aB52("OBAT");
    slip->aB62("PUPUK");
    slip->aB72("ROKOK");
    for (const auto& l : lines) {
      switch (l.line) {
        case 1:
          slip->aB13(l.base);
          slip->aB15(l.rate);
          break;
        case 2:
          slip->aB23(l.base);
          slip->aB25(l.rate);
          break;
        case 3:
          slip->aB33(l.base);
          slip->aB35(l.rate);
          break;
        case 4:
          slip->aB43(l.base);
          slip->aB45(l.rate);
          break;
        case 5:
          slip->aB53(l.base);
          slip->aB55(l.rate);
          break;
        case 6:
          slip->aB63(l.base);
          slip->aB65(l.rate);
          break;
        case 7:
          slip->aB73(l.base);
          slip->aB75(l.rate);
          break;
        default:
          FAIL() << "line " << l.line;
      }
    }
    slip->pHitPjk3304(0);
    slip->pAssignStatus(true, false, false);
    slip->pUpdate(kMonth, "2013", "0");
  }

  template <class T>
  void addOilGas(std::int16_t collection, const std::string& nttp, const std::string& commodity,
                 double gross, const Variant& tax = Variant()) {
    const std::string form = collection == 0 ? "PPh22MigasFinal" : "PPh22MigasTdkFinal";
    const std::string kind = collection == 0 ? "05" : "06";
    auto input = connected<T>();
    input->getTaxRate();
    double seq = 0;
    input->pGetMaxSeqNo(kMonth, kYear, 0, collection, seq);
    input->pCreateHdr(kNpwp, form, kind, kMonth, kYear, 0, nttp, "112", kName, kAddress, kToday,
                      commodity, jenisWp_);
    input->pGet(kNpwp, form, kind, kMonth, kYear, 0, nttp, "112", kName, kAddress, kToday, 0,
                commodity);
    input->pAssignOldValues();
    input->aSEQ(seq);
    input->aNPWPLT("011111111111000");
    input->aNMWPLT("SPBU " + nttp);
    input->aALMLT("JL. TOL");
    input->aTGL_PUNGUT(Date(2013, 5, 20));
    input->aPenjualan(commodity);
    input->ajmlBruto(gross);
    if (!tax.isEmpty()) input->aPPH(tax.toDouble());
    input->aINVOICE("FAK-" + nttp);
    input->pHitPjk(1);
    input->pAssignStatus(true, false, false);
    input->pUpdate();
  }

  void addImport(const std::string& nttp, const std::string& buyer, double gross, double tax) {
    auto input = connected<CInputPPh22Impor>();
    double seq = 0;
    input->pGetMaxSeqNo(kMonth, kYear, 0, 0, seq, "PPh22Impor");
    input->pCreateHdr(kNpwp, "PPh22Impor", "10", kMonth, kYear, 0, nttp, "112", kName, kAddress,
                      kToday, "", jenisWp_);
    input->pGet(kNpwp, "PPh22Impor", "10", kMonth, kYear, 0, nttp, "112", kName, kAddress, kToday,
                0);
    input->pAssignOldValues();
    input->aSEQ(seq);
    input->aNPWPLT(buyer);
    input->aNMWPLT("PT IMPOR " + nttp);
    input->aALMLT("PELABUHAN");
    input->aTGL_PUNGUT(Date(2013, 5, 21));
    input->aA13(gross);
    input->aA14(tax);
    input->aKeterangan("PIB " + nttp);
    input->pHitPjk(1);
    input->pAssignStatus(true, false, false);
    input->pUpdate();
  }

  void addSelfPaid(const std::string& nttp, double gross, double tax) {
    auto input = connected<CInputPPh22DbyrSdr>();
    double seq = 0;
    input->pGetMaxSeqNo(kMonth, kYear, 0, 0, seq);
    input->pCreateHdr(kNpwp, "PPh22ImporDbyrSdr", "11", kMonth, kYear, 0, nttp, "112", kName,
                      kAddress, kToday, jenisWp_);
    input->pGet(kNpwp, "PPh22ImporDbyrSdr", "11", kMonth, kYear, 0, nttp, "112", kName, kAddress,
                kToday, 0);
    input->pAssignOldValues();
    input->aSEQ(seq);
    input->aTGL_PUNGUT(Date(2013, 5, 22));
    input->ajmlBruto(gross);
    input->aPPH(tax);
    input->aNoPIB("PIB-" + nttp);
    input->pHitPjk(1);
    input->pAssignStatus(true, false, false);
    input->pUpdate();
  }

  // A collector's period with every form the export carries.
  void enterCollectorPeriod() {
    exec("INSERT INTO JENIS_KOMODITI VALUES ('07', 'AVTUR', 22, 0.3)");
    addCollectionSlip("000001/PPH22", "098765432109000", 1000000, 250000);
    addCollectionSlip("000002/PPH22", "000000000000000", 1000001, 0, 99999);  // doubled, typed tax
    addSectorSlip<CF113304>(
        "F113304", "000003/PPH22", "023456789012000",
        {{1, 2000000, 0.25}, {2, 1000001, 0.1}, {5, 500000, 0.3}, {7, 300000, 1.5}});
    addSectorSlip<CF113304S>("F113304S", "000004/PPH22", "000000000000000",
                             {{3, 1500000, 0.3}, {5, 700000, 0.45}, {6, 900000, 0.5}});
    addSectorSlip<CF113304A>("F113304A", "000005/PPH22", "034567890123000",
                             {{4, 800000, 0.45}, {6, 100000, 1}});
    addOilGas<CInputMigasFinal>(0, "NT-1", "SOLAR", 1234567);
    addOilGas<CInputMigasFinal>(0, "NT-2", "AVTUR", 2000000, 7777.0);
    addOilGas<CInputMigasTdkFinal>(1, "NT-3", "PREMIUM", 3000000);
    addImport("NT-4", "045678901234000", 1250000, 31250);
    addImport("NT-5", "056789012345000", 400000, 10000);
    addSelfPaid("NT-6", 500000, 12500);
  }

  void enterNonCollectorPeriod() {
    addOilGas<CInputMigasFinal>(0, "NT-1", "SOLAR", 1234567);
    addOilGas<CInputMigasTdkFinal>(1, "NT-2", "PREMIUM", 3000000, 9000.0);
    addImport("NT-3", "045678901234000", 1250000, 31250);
    addSelfPaid("NT-4", 500000, 12500);
    addSelfPaid("NT-5", 600000, 15000);
  }

  // Export, import ------------------------------------------------------------------------------

  std::filesystem::path exportFrom(const std::string& dataSource, const std::string& name) {
    const auto into = folder() / name;
    std::filesystem::create_directories(into);
    connectedTo<CEksporBP>(dataSource)
        ->pEksporPPh(kNpwp, 22, "5", "2013", 0, into.string() + "/", jenisWp_);
    return into / "Ravelin.CSV";
  }

  RecordsetPtr importInto(const std::filesystem::path& file, std::int16_t article = 22) {
    return connectedTo<CImporBP>(target_)->pImporPPh(kNpwp, article, file.string(), jenisWp_);
  }

  std::filesystem::path writeFile(const std::string& name, const std::vector<std::string>& lines) {
    const auto path = folder() / name;
    std::ofstream out(path, std::ios::binary);
    out << exchange::headerLine() << "\r\n";
    for (const auto& line : lines) out << line << "\r\n";
    return path;
  }

  std::vector<std::string> returnLines(const std::string& dataSource) {
    auto mainReturn = connectedTo<CF113202>(dataSource);
    mainReturn->pGetF113202(kNpwp, kMonth, kYear, 0);
    std::vector<std::string> values;
    for (const char* column : kReturnLines) {
      values.push_back(std::string(column) + "=" +
                       mainReturn->rs22Form()->Fields(column).Value().text());
    }
    return values;
  }

  static std::vector<std::pair<std::string, long>> rowsOf(const RecordsetPtr& result) {
    std::vector<std::pair<std::string, long>> rows;
    if (!result) return rows;
    for (result->MoveFirst(); !result->EndOfFile(); result->MoveNext()) {
      rows.emplace_back(result->Fields("KD_FORM").Value().text(),
                        result->Fields("JUMLAH").Value().toInt32());
    }
    return rows;
  }

  // Every table an import may write, counted.
  std::vector<long> targetRowCounts() {
    std::vector<long> counts;
    for (const char* table :
         {"DS_FORM_INDUK", "DS_FORM_LAMPIRAN", "DAT_SSP_PPh22", "LAMPIRAN_SSP_PPh22",
          "JENIS_KOMODITI", "DAT_PARTNER", "SETTING_NOBUKTI_PPH"}) {
      counts.push_back(countTarget(std::string("SELECT COUNT(*) FROM ") + table));
    }
    return counts;
  }

  // A data line of the layout from its values by column (the rest "0" or empty as the export
  // writes them for an SSP).
  static std::string dataLine(std::vector<std::pair<int, std::string>> cells) {
    std::vector<std::string> values(39);
    for (int c = 10; c < 37; ++c) {
      if (c != 11 && c != 25 && c != 29 && c != 33) values[static_cast<std::size_t>(c)] = "0";
    }
    for (auto& [column, value] : cells) values[static_cast<std::size_t>(column)] = value;
    std::string line;
    for (const auto& value : values) line += value + ";";
    return line;
  }

  static std::string sspLine(const std::string& form, const std::string& nttp,
                             const std::string& month = "5", const std::string& gross = "1000",
                             const std::string& commodity = "SOLAR") {
    return dataLine({{0, form},
                     {1, month},
                     {2, "2013"},
                     {3, "0"},
                     {4, "011111111111000"},
                     {5, "SPBU"},
                     {6, "JL. TOL"},
                     {7, nttp},
                     {8, "20/05/2013"},
                     {9, form.starts_with("PPh22Migas") ? commodity : ""},
                     {13, gross},
                     {37, "30"}});
  }

  std::string target_;
  std::string jenisWp_ = kCollector;

 private:
  std::shared_ptr<store::Connection> targetConnection_;
};

// ---- Round trip ---------------------------------------------------------------------------------

struct RoundTripCase {
  const char* name;
  const char* jenisWp;
  std::vector<std::pair<std::string, long>> counts;
};

class CImporBPRoundTripTest : public CImporBPTest,
                              public ::testing::WithParamInterface<RoundTripCase> {};

TEST_P(CImporBPRoundTripTest, ExportImportExportGivesTheSameFileAndTheSameReturn) {
  const auto& c = GetParam();
  begin(c.jenisWp);
  if (jenisWp_ == kCollector) {
    enterCollectorPeriod();
  } else {
    enterNonCollectorPeriod();
  }
  ASSERT_TRUE(messages().empty()) << messages().front().text;
  const auto first = exportFrom(store(), "source");
  clearMessages();

  const auto result = importInto(first);
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].title, "INFORMASI") << messages()[0].text;
  EXPECT_EQ(rowsOf(result), c.counts);

  const auto second = exportFrom(target_, "target");
  EXPECT_EQ(testing::fileText(second), testing::fileText(first));
  EXPECT_EQ(returnLines(target_), returnLines(store()));
}

INSTANTIATE_TEST_SUITE_P(Taxpayers, CImporBPRoundTripTest,
                         ::testing::Values(RoundTripCase{"Collector",
                                                         kCollector,
                                                         {{"F113303", 2},
                                                          {"F113304", 1},
                                                          {"F113304S", 1},
                                                          {"F113304A", 1},
                                                          {"PPh22MigasFinal", 2},
                                                          {"PPh22MigasTdkFinal", 1},
                                                          {"PPh22Impor", 2}}},
                                           RoundTripCase{"NonCollector",
                                                         kNotCollector,
                                                         {{"PPh22MigasFinal", 1},
                                                          {"PPh22MigasTdkFinal", 1},
                                                          {"PPh22Impor", 1},
                                                          {"PPh22ImporDbyrSdr", 2}}}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(CImporBPTest, CollectedPartiesAndUnknownCommoditiesAreAdded) {
  begin(kCollector);
  enterCollectorPeriod();
  importInto(exportFrom(store(), "source"));

  EXPECT_EQ(countTarget("SELECT COUNT(*) FROM JENIS_KOMODITI WHERE NAMA_KOMODITI = 'AVTUR' AND "
                        "PASAL = 22 AND KODE_KOMODITI = '07'"),
            1);
  // Each party once, by NPWP; the two parties without NPWP by name as well.
  EXPECT_EQ(countTarget("SELECT COUNT(*) FROM DAT_PARTNER"), 8);
  EXPECT_EQ(countTarget("SELECT COUNT(*) FROM DAT_PARTNER WHERE NPWP_PARTNER = "
                        "'011111111111000'"),
            1);
  EXPECT_EQ(countTarget("SELECT COUNT(*) FROM DAT_PARTNER WHERE NPWP_PARTNER = "
                        "'098765432109000' AND NAMA_PARTNER = 'CV SUMBER 000001/PPH22' AND "
                        "ALAMAT_PARTNER = 'JL. MERDEKA 5'"),
            1);
  EXPECT_EQ(countTarget("SELECT COUNT(*) FROM DAT_PARTNER WHERE NPWP_PARTNER = "
                        "'000000000000000'"),
            2);
}

// ---- Counts, periods, progress
// --------------------------------------------------------------------

TEST_F(CImporBPTest, CountsEachFormAndBeginsEachPeriodOfTheFile) {
  begin(kCollector);
  std::vector<std::pair<long, long>> progress;
  auto importer = connectedTo<CImporBP>(target_);
  importer->onProgress([&](long done, long total) { progress.emplace_back(done, total); });
  auto result = importer->pImporPPh(
      kNpwp, 22,
      writeFile("periods.csv",
                {sspLine("PPh22MigasFinal", "NT-1", "5"), sspLine("PPh22Impor", "NT-2", "6"),
                 sspLine("PPh22MigasFinal", "NT-3", "6", "1000", "solar"),
                 sspLine("PPh22MigasFinal", "NT-1", "7")})
          .string(),
      kCollector);

  EXPECT_EQ(rowsOf(result),
            (std::vector<std::pair<std::string, long>>{{"PPh22MigasFinal", 3}, {"PPh22Impor", 1}}));
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_TRUE(messages()[0].text.ends_with("Berhasil Diimpor Sebanyak : 4 Baris (Record) Data"))
      << messages()[0].text;
  EXPECT_EQ(progress, (std::vector<std::pair<long, long>>{{0, 4}, {1, 4}, {2, 4}, {3, 4}, {4, 4}}));
  for (int month : {5, 6, 7}) {
    EXPECT_EQ(countTarget("SELECT COUNT(*) FROM DS_FORM_INDUK WHERE KD_FORM = 'F113202' AND "
                          "MS_PAJAK = " +
                          std::to_string(month)),
              1)
        << month;
  }
  // "solar" is the store's SOLAR, not a new commodity.
  EXPECT_EQ(countTarget("SELECT COUNT(*) FROM JENIS_KOMODITI"), 6);
  EXPECT_EQ(countTarget("SELECT COUNT(*) FROM DAT_SSP_PPh22 WHERE KD_FORM = 'PPh22MigasFinal' "
                        "AND MS_PAJAK = 6 AND DAT_FORM LIKE '%;SOLAR;%'"),
            1);
}

TEST_F(CImporBPTest, HeaderOnlyFileImportsNothing) {
  begin(kCollector);
  const auto before = targetRowCounts();
  auto result = importInto(writeFile("empty.csv", {}));
  ASSERT_NE(result, nullptr);
  EXPECT_EQ(result->RecordCount(), 0);
  EXPECT_EQ(targetRowCounts(), before);
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text, "Data Bukti Potong PPh Masa Pasal 22 Dari :\r\n\r\n* File : " +
                                    (folder() / "empty.csv").string() +
                                    "\r\n\r\nBerhasil Diimpor Sebanyak : 0 Baris (Record) Data");
}

TEST_F(CImporBPTest, ByteOrderMarkOfASpreadsheetIsIgnored) {
  begin(kCollector);
  const auto path = folder() / "bom.csv";
  {
    std::ofstream out(path, std::ios::binary);
    out << "\xEF\xBB\xBF" << exchange::headerLine() << "\n"
        << sspLine("PPh22Impor", "NT-1") << "\n";
  }
  EXPECT_EQ(rowsOf(importInto(path)),
            (std::vector<std::pair<std::string, long>>{{"PPh22Impor", 1}}));
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].title, "INFORMASI") << messages()[0].text;
}

// ---- Refusals ----------------------------------------------------------------------------------

class CImporBPArticleTest : public CImporBPTest,
                            public ::testing::WithParamInterface<std::int16_t> {};

TEST_P(CImporBPArticleTest, OtherArticlesAreNotServed) {
  begin(kCollector);
  const auto before = targetRowCounts();
  auto result =
      importInto(writeFile("article.csv", {sspLine("PPh22MigasFinal", "NT-1")}), GetParam());
  EXPECT_EQ(result, nullptr);
  EXPECT_EQ(targetRowCounts(), before);
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text, "The import of article " + std::to_string(GetParam()) +
                                    " is not served yet: only article 22 can be imported.");
}

INSTANTIATE_TEST_SUITE_P(Articles, CImporBPArticleTest, ::testing::Values(21, 15, 4),
                         [](const auto& row) { return "Article" + std::to_string(row.param); });

// One bad line per case, all in one file: each is named with its column, nothing is written.
struct BadLine {
  const char* name;
  std::string line;
  std::string problem;  // what the message says of it, after "Line N"
};

TEST_F(CImporBPTest, BadLinesAreAllNamedAndNothingIsWritten) {
  begin(kCollector);
  // Taken already: a slip number of the year and an NTTP of the period in the target store.
  importInto(writeFile("first.csv", {dataLine({{0, "F113303"},
                                               {1, "3"},
                                               {2, "2013"},
                                               {3, "0"},
                                               {4, "098765432109000"},
                                               {7, "000001/PPH22"},
                                               {13, "1000"},
                                               {14, "1.5"},
                                               {15, "15"},
                                               {37, "15"}}),
                                     sspLine("PPh22Impor", "NT-9")}));
  ASSERT_EQ(messages().size(), 1u) << messages()[0].text;
  clearMessages();

  const std::vector<BadLine> bad = {
      {"month", sspLine("PPh22MigasFinal", "NT-1", "13"),
       ", \"Masa Pajak\": \"13\" is not a month 1 to 12"},
      {"amount", sspLine("PPh22MigasFinal", "NT-2", "5", "12a"),
       ", \"(Nilai Impor API / Harga 1 / Jumlah Penjualan Rokok menurut Bandrol) / Jumlah "
       "Penjualan Bruto SSP PPh Masa Pasal 22\": \"12a\" is not a number"},
      {"form", sspLine("F999", "NT-3"),
       ", \"Kode Form Bukti Pungut / Kode Formulir SSP\": \"F999\" is not a form code of the "
       "export"},
      {"quote",
       dataLine({{0, "PPh22Impor"},
                 {1, "5"},
                 {2, "2013"},
                 {3, "0"},
                 {5, "TOKO D'ARTAGNAN"},
                 {7, "NT-4"}}),
       ", \"Nama WP yang Dipungut\": \"TOKO D'ARTAGNAN\" holds a single quote, which the store "
       "cannot take"},
      {"columns", "PPh22Impor;5;2013;0;", ": holds 4 values instead of 39"},
      {"slip number taken in the store",
       dataLine({{0, "F113304"}, {1, "5"}, {2, "2013"}, {3, "0"}, {7, "000001/PPH22"}}),
       ", \"Nomor Bukti Pungut / NTTP Pada SSP\": slip number \"000001/PPH22\" is already used "
       "in the store in 2013, correction 0"},
      {"NTTP taken in the store", sspLine("PPh22Impor", "NT-9"),
       ", \"Nomor Bukti Pungut / NTTP Pada SSP\": NTTP \"NT-9\" is already used by a PPh22Impor "
       "payment slip in the store of 05/2013, correction 0"},
      {"NTTP twice", sspLine("PPh22MigasFinal", "NT-2"), ""},
      {"NTTP taken on a line before", sspLine("PPh22MigasFinal", "NT-2"),
       ", \"Nomor Bukti Pungut / NTTP Pada SSP\": NTTP \"NT-2\" is already used by a "
       "PPh22MigasFinal payment slip on line 9"},
      {"no commodity", sspLine("PPh22MigasTdkFinal", "NT-5", "5", "1000", ""),
       ", \"Jenis Barang / Nama Penjualan Produk\": the oil-and-gas payment slip names no "
       "commodity"},
      {"sector total",
       dataLine({{0, "F113304A"},
                 {1, "5"},
                 {2, "2013"},
                 {3, "0"},
                 {7, "000009/PPH22"},
                 {13, "1000000"},
                 {14, "1"},
                 {15, "0.25"},
                 {37, "4000"}}),
       ", \"Jumlah PPh Yang Dipungut\": \"4000\" is not the total tax of the slip's lines 1 to 7 "
       "(the file cannot carry lines 8 to 11, nor taxes typed over the computed ones), 2500"},
  };
  std::vector<std::string> lines;
  for (const auto& b : bad) lines.push_back(b.line);
  const auto before = targetRowCounts();
  auto result = importInto(writeFile("bad.csv", lines));

  EXPECT_EQ(result, nullptr);
  EXPECT_EQ(targetRowCounts(), before);
  ASSERT_EQ(messages().size(), 1u);
  const auto& text = messages()[0].text;
  EXPECT_TRUE(text.starts_with("The file " + (folder() / "bad.csv").string() +
                               " was not imported; nothing was written:\r\n"))
      << text;
  for (std::size_t i = 0; i < bad.size(); ++i) {
    const std::string named = "Line " + std::to_string(i + 2) + bad[i].problem;
    if (bad[i].problem.empty()) {
      EXPECT_EQ(text.find("Line " + std::to_string(i + 2) + ","), std::string::npos)
          << bad[i].name << "\n"
          << text;
    } else {
      EXPECT_NE(text.find(named), std::string::npos) << bad[i].name << "\n" << text;
    }
  }
}

struct WholeFileCase {
  const char* name;
  std::string content;
  std::string message;
};

class CImporBPWholeFileTest : public CImporBPTest,
                              public ::testing::WithParamInterface<WholeFileCase> {};

TEST_P(CImporBPWholeFileTest, FileThatIsNotAnExportIsRefused) {
  begin(kCollector);
  const auto path = folder() / "whole.csv";
  {
    std::ofstream out(path, std::ios::binary);
    out << GetParam().content;
  }
  const auto before = targetRowCounts();
  EXPECT_EQ(importInto(path), nullptr);
  EXPECT_EQ(targetRowCounts(), before);
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_NE(messages()[0].text.find(GetParam().message), std::string::npos) << messages()[0].text;
}

INSTANTIATE_TEST_SUITE_P(
    Files, CImporBPWholeFileTest,
    ::testing::Values(WholeFileCase{"WrongHeader", "Kode;Masa\r\nF113303;5;2013;0;\r\n",
                                    "Line 1: the header line is not the export's 39 titles"},
                      WholeFileCase{"Empty", "", "Line 1: the file is empty"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(CImporBPTest, MissingFileIsReported) {
  begin(kCollector);
  EXPECT_EQ(importInto(folder() / "nowhere.csv"), nullptr);
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text, "Path not found: " + (folder() / "nowhere.csv").string());
}

TEST_F(CImporBPTest, StoreWithoutTheTaxpayersProfileIsRefused) {
  begin(kCollector);
  execTarget("DELETE FROM DAT_PROFILE");
  const auto before = targetRowCounts();
  EXPECT_EQ(importInto(writeFile("profile.csv", {sspLine("PPh22Impor", "NT-1")})), nullptr);
  EXPECT_EQ(targetRowCounts(), before);
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text, "The store holds no taxpayer profile for NPWP " +
                                    std::string(kNpwp) + " (DAT_PROFILE): nothing was imported.");
}

TEST_F(CImporBPTest, NonCollectorHasNoCollectionSlipsAndNoOtherIdentity) {
  begin(kNotCollector);
  const auto before = targetRowCounts();
  auto result = importInto(
      writeFile("noncollector.csv",
                {dataLine({{0, "F113303"}, {1, "5"}, {2, "2013"}, {3, "0"}, {7, "000001/PPH22"}}),
                 sspLine("PPh22Impor", "NT-1")}));
  EXPECT_EQ(result, nullptr);
  EXPECT_EQ(targetRowCounts(), before);
  ASSERT_EQ(messages().size(), 1u);
  const auto& text = messages()[0].text;
  EXPECT_NE(text.find("Line 2, \"Kode Form Bukti Pungut / Kode Formulir SSP\": \"F113303\" is a "
                      "collection slip, and the taxpayer is not a collector"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("Line 3, \"NPWP WP yang Dipungut\": \"011111111111000\" is not the "
                      "taxpayer's NPWP"),
            std::string::npos)
      << text;
}

// A failure while writing names its line, and the lines before it are taken back with it.
TEST_F(CImporBPTest, FailureWhileWritingNamesTheLineAndWritesNothing) {
  begin(kCollector);
  const long mainForms = countTarget("SELECT COUNT(*) FROM DS_FORM_INDUK");
  execTarget("DROP TABLE LAMPIRAN_SSP_PPh22");
  auto result = importInto(writeFile("failing.csv", {dataLine({{0, "F113303"},
                                                               {1, "5"},
                                                               {2, "2013"},
                                                               {3, "0"},
                                                               {4, "098765432109000"},
                                                               {7, "000001/PPH22"},
                                                               {13, "1000"},
                                                               {14, "1.5"},
                                                               {15, "15"},
                                                               {37, "15"}}),
                                                     sspLine("PPh22MigasFinal", "NT-1")}));
  EXPECT_EQ(result, nullptr);
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_TRUE(
      messages()[0].text.starts_with("Line 3 (PPh22MigasFinal NT-1) could not be imported: "))
      << messages()[0].text;
  EXPECT_TRUE(messages()[0].text.ends_with("\r\nNothing was imported.")) << messages()[0].text;
  EXPECT_EQ(countTarget("SELECT COUNT(*) FROM DS_FORM_INDUK"), mainForms);
  EXPECT_EQ(countTarget("SELECT COUNT(*) FROM DS_FORM_LAMPIRAN"), 0);
}

}  // namespace
}  // namespace korvane
