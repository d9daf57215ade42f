#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "korvane/korvane.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kCollector = "Pemungut";
constexpr const char* kNotCollector = "Bukan Pemungut";
constexpr const char* kNoNpwp = "000000000000000";
constexpr std::int16_t kMonth = 5;
constexpr std::int16_t kYear = 2013;
const Date kToday(2013, 6, 10);
using Sector = slips::SectorSlip;
using SectorSetter = void (Sector::*)(const Variant&);

// A data line: the leading values ("a;b;c"), then the given columns; the rest "0" under numeric
// titles and empty elsewhere, as the export fills an SSP.
std::string dataLine(const std::string& leading, const std::map<std::size_t, std::string>& more) {
  std::vector<std::string> values(39);
  for (std::size_t c = 10; c < 37; ++c) {
    if (c != 11 && c != 25 && c != 29 && c != 33) values[c] = "0";
  }
  std::istringstream in(leading);
  for (std::size_t c = 0; std::getline(in, values[c], ';'); ++c) {
  }
  for (const auto& [column, value] : more) values[column] = value;
  std::string line;
  for (const auto& value : values) line += value + ";";
  return line;
}

std::string sspLine(const std::string& form, const std::string& nttp,
                    const std::string& month = "5", const std::string& gross = "1000",
                    const std::string& commodity = "SOLAR") {
  return dataLine(form + ";" + month + ";2013;0;011111111111000;SPBU;JL. TOL;" + nttp +
                      ";20/05/2013;" + (form.starts_with("PPh22Migas") ? commodity : ""),
                  {{13, gross}, {37, "30"}});
}

std::string slipLine(const std::string& month, const std::string& number) {
  return dataLine("F113303;" + month + ";2013;0;098765432109000;;;" + number,
                  {{13, "1000"}, {14, "1.5"}, {15, "15"}, {37, "15"}});
}

std::string withHeader(const std::vector<std::string>& lines) {
  std::string text = exchange::headerLine() + "\r\n";
  for (const auto& line : lines) text += line + "\r\n";
  return text;
}

// The rows as "a=b c=d", a row's columns joined by "=".
std::string rowsOf(const RecordsetPtr& rows) {
  if (!rows) return "(nothing)";
  std::string out;
  for (rows->MoveFirst(); !rows->EndOfFile(); rows->MoveNext()) {
    for (std::size_t c = 0; c < rows->columnCount(); ++c) {
      out += (c ? "=" : out.empty() ? "" : " ") + rows->Fields(c).Value().text();
    }
  }
  return out;
}

std::string importedAll(const std::filesystem::path& file, int lines) {
  return "Data Bukti Potong PPh Masa Pasal 22 Dari :\r\n\r\n* File : " + file.string() +
         "\r\n\r\nBerhasil Diimpor Sebanyak : " + std::to_string(lines) + " Baris (Record) Data";
}

std::string notImported(const std::filesystem::path& file, const std::string& problems) {
  return "The file " + file.string() + " was not imported; nothing was written:\r\n" + problems;
}

// A period is entered through the classes as a host would and exported; the period is then
// deleted, with what a store of another computer would lack, and the file imported.
class CImporBPTest : public testing::StoreTest {
 protected:
  void begin(const std::string& jenisWp) {
    jenisWp_ = jenisWp;
    insertProfile(jenisWp);
  }

  std::string queried(const std::string& sql) { return rowsOf(query(sql)); }
  // Every table an import may write, counted.
  std::string rowCounts() {
    return queried(
        "SELECT (SELECT COUNT(*) FROM DS_FORM_INDUK), (SELECT COUNT(*) FROM DS_FORM_LAMPIRAN), "
        "(SELECT COUNT(*) FROM DAT_SSP_PPh22), (SELECT COUNT(*) FROM LAMPIRAN_SSP_PPh22), (SELECT "
        "COUNT(*) FROM JENIS_KOMODITI), (SELECT COUNT(*) FROM DAT_PARTNER), (SELECT COUNT(*) FROM "
        "SETTING_NOBUKTI_PPH)");
  }
  // The one message the last step gave (under the title given), forgotten for the next step.
  std::string said(const std::string& title = "") {
    EXPECT_EQ(messages().size(), 1u);
    if (messages().empty()) return "";
    EXPECT_TRUE(title.empty() || messages().back().title == title) << messages().back().title;
    const std::string text = messages().back().text;
    clearMessages();
    return text;
  }

  // A new slip as a host opens it, its party and date put.
  template <class T>
  std::shared_ptr<T> openSlip(const std::string& form, const std::string& number,
                              const std::string& party) {
    auto slip = connected<T>();
    if constexpr (std::is_same_v<T, CF113303>) {
      slip->pCreateF113303Hdr(kNpwp, form, "02", kMonth, kYear, 0, number, "112", kName, kAddress,
                              kToday);
      slip->pGetF113303(kNpwp, form, "02", kMonth, kYear, 0, number, "112", kName, kAddress,
                        kToday);
    } else {
      slip->pCreateF113304Hdr(kNpwp, form, "03", kMonth, kYear, 0, number, "112", kName, kAddress,
                              kToday);
      slip->pGetF113304(kNpwp, form, "03", kMonth, kYear, 0, number, "112", kName, kAddress,
                        kToday);
    }
    slip->pAssignOldValues();
    slip->getTaxRate();
    slip->aNPWPLT(party);
    slip->aNMWPLT("CV " + number);
    slip->aALMLT("JL. MERDEKA 5");
    slip->aTGL_POTONG(Date(2013, 5, 15));
    return slip;
  }

  template <class T>
  void addSectorSlip(const std::string& form, const std::string& number, const std::string& party,
                     const std::vector<std::tuple<std::size_t, double, double>>& lines) {
    static constexpr SectorSetter kBase[] = {&Sector::aB13, &Sector::aB23, &Sector::aB33,
                                             &Sector::aB43, &Sector::aB53, &Sector::aB63,
                                             &Sector::aB73};
    static constexpr SectorSetter kRate[] = {&Sector::aB15, &Sector::aB25, &Sector::aB35,
                                             &Sector::aB45, &Sector::aB55, &Sector::aB65,
                                             &Sector::aB75};
    auto slip = openSlip<T>(form, number, party);
    slip->aB52("OBAT");
    slip->aB62("PUPUK");
    slip->aB72("ROKOK");
    for (const auto& [line, base, rate] : lines) {
      (slip.get()->*kBase[line - 1])(base);
      (slip.get()->*kRate[line - 1])(rate);
    }
    slip->pHitPjk3304(0);
    slip->pAssignStatus(true, false, false);
    slip->pUpdate(kMonth, "2013", "0");
  }

  // An SSP as a host enters it; a tax of 0 is left to the computation where there is one.
  template <class T>
  void addSsp(const std::string& form, const std::string& kind, const std::string& nttp,
              const std::string& party, const std::string& commodity, double gross,
              double tax = 0) {
    constexpr bool oil = std::is_base_of_v<ssp::OilGasInput, T>;
    constexpr bool selfPaid = std::is_same_v<T, CInputPPh22DbyrSdr>;
    auto in = connected<T>();
    if constexpr (oil) in->getTaxRate();
    double seq = 0;
    in->pGetMaxSeqNo(kMonth, kYear, 0, form == "PPh22MigasTdkFinal" ? 1 : 0, seq);
    if constexpr (selfPaid) {
      in->pCreateHdr(kNpwp, form, kind, kMonth, kYear, 0, nttp, "112", kName, kAddress, kToday,
                     jenisWp_);
      in->pGet(kNpwp, form, kind, kMonth, kYear, 0, nttp, "112", kName, kAddress, kToday, 0);
    } else {
      in->pCreateHdr(kNpwp, form, kind, kMonth, kYear, 0, nttp, "112", kName, kAddress, kToday,
                     commodity, jenisWp_);
      in->pGet(kNpwp, form, kind, kMonth, kYear, 0, nttp, "112", kName, kAddress, kToday, 0,
               commodity);
    }
    in->pAssignOldValues();
    in->aSEQ(seq);
    if constexpr (!selfPaid) {
      in->aNPWPLT(party);
      in->aNMWPLT("CV " + nttp);
      in->aALMLT("JL. TOL");
    }
    in->aTGL_PUNGUT(Date(2013, 5, 20));
    if constexpr (oil) {
      in->ajmlBruto(gross);
      if (tax != 0) in->aPPH(tax);
      in->aINVOICE("FAK-" + nttp);
    } else if constexpr (selfPaid) {
      in->ajmlBruto(gross);
      in->aPPH(tax);
      in->aNoPIB("PIB-" + nttp);
    } else {
      in->aA13(gross);
      in->aA14(tax);
      in->aKeterangan("PIB " + nttp);
    }
    in->pHitPjk(1);
    in->pAssignStatus(true, false, false);
    in->pUpdate();
  }

  // Every form the export carries; a non-collector has no slips.
  void enterPeriod() {
    exec("INSERT INTO JENIS_KOMODITI VALUES ('07', 'AVTUR', 22, 0.3)");
    if (jenisWp_ == kCollector) {
      // Without an NPWP the rate doubles; a typed tax wins over the computed one.
      const std::tuple<const char*, const char*, double, double, Variant> collections[] = {
          {"000001/PPH22", "098765432109000", 1000000, 250000, Variant()},
          {"000002/PPH22", kNoNpwp, 1000001, 0, 99999}};
      for (const auto& [number, party, baseA, baseB, taxA] : collections) {
        auto slip = openSlip<CF113303>("F113303", number, party);
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
      addSectorSlip<CF113304>(
          "F113304", "000003/PPH22", "023456789012000",
          {{1, 2000000, 0.25}, {2, 1000001, 0.1}, {5, 500000, 0.3}, {7, 300000, 1.5}});
      addSectorSlip<CF113304S>("F113304S", "000004/PPH22", kNoNpwp,
                               {{3, 1500000, 0.3}, {5, 700000, 0.45}, {6, 900000, 0.5}});
      addSectorSlip<CF113304A>("F113304A", "000005/PPH22", "034567890123000",
                               {{4, 800000, 0.45}, {6, 100000, 1}});
    }
    const std::string station = "011111111111000";
    addSsp<CInputMigasFinal>("PPh22MigasFinal", "05", "NT-1", station, "SOLAR", 1234567);
    addSsp<CInputMigasFinal>("PPh22MigasFinal", "05", "NT-2", station, "AVTUR", 2000000, 7777);
    addSsp<CInputMigasTdkFinal>("PPh22MigasTdkFinal", "06", "NT-3", station, "PREMIUM", 3000000,
                                9000);
    addSsp<CInputPPh22Impor>("PPh22Impor", "10", "NT-4", "045678901234000", "", 1250000, 31250);
    addSsp<CInputPPh22DbyrSdr>("PPh22ImporDbyrSdr", "11", "NT-6", "", "", 500000, 12500);
  }

  // Enters the period, exports it, deletes it and imports the file, then exports again: the
  // files and the main returns must be the same. Gives the import's result.
  std::string roundTrip(const char* jenisWp, int lines) {
    begin(jenisWp);
    connected<CF113202>()->pCreateF113202Hdr(kNpwp, "F113202", "01", kMonth, kYear, 0, "-", "112",
                                             kName, kAddress, kToday, kToday, jenisWp);
    enterPeriod();
    const auto source = folder() / "Ravelin.CSV", again = folder() / "again/";
    connected<CEksporBP>()->pEksporPPh(kNpwp, 22, "5", "2013", 0, folder().string() + "/", jenisWp);
    const auto entered = mainReturn();
    connected<CGeneralClass>()->pDelete(kNpwp, "112", kMonth, kYear, 0);
    exec("DELETE FROM DAT_PARTNER");
    exec("DELETE FROM JENIS_KOMODITI WHERE NAMA_KOMODITI = 'AVTUR'");
    clearMessages();
    const auto imported = rowsOf(importInto(source));
    EXPECT_EQ(said("INFORMASI"), importedAll(source, lines));
    std::filesystem::create_directories(again);
    connected<CEksporBP>()->pEksporPPh(kNpwp, 22, "5", "2013", 0, again.string(), jenisWp);
    EXPECT_EQ(testing::fileText(again / "Ravelin.CSV"), testing::fileText(source));
    EXPECT_EQ(mainReturn(), entered);
    // A commodity the store lacks is added under the next code.
    EXPECT_EQ(queried("SELECT KODE_KOMODITI, PASAL FROM JENIS_KOMODITI WHERE NAMA_KOMODITI = "
                      "'AVTUR'"),
              "07=22");
    return imported;
  }

  RecordsetPtr importInto(const std::filesystem::path& file, std::int16_t article = 22,
                          const std::string& jenisWp = "") {
    return connected<CImporBP>()->pImporPPh(kNpwp, article, file.string(),
                                            jenisWp.empty() ? jenisWp_ : jenisWp);
  }

  std::filesystem::path writeFile(const std::string& name, const std::string& text) {
    const auto path = folder() / name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }

  // The period's main return as a host reads it, but its dates.
  std::string mainReturn() {
    auto mainReturn = connected<CF113202>();
    mainReturn->pGetF113202(kNpwp, kMonth, kYear, 0);
    const auto row = mainReturn->rs22Form();
    std::string values;
    for (std::size_t c = 0; c < row->columnCount(); ++c) {
      const auto field = row->Fields(c);
      if (!field.Name().starts_with("TGL")) {
        values += field.Name() + "=" + field.Value().text() + " ";
      }
    }
    return values;
  }

  std::string jenisWp_ = kCollector;
};

// Each collected party is recorded once by NPWP, under its first name; the two without one by
// name as well.
TEST_F(CImporBPTest, CollectorRoundTripKeepsFileAndReturnAndRecordsTheParties) {
  EXPECT_EQ(roundTrip(kCollector, 9),
            "F113303=2 F113304=1 F113304S=1 F113304A=1 PPh22MigasFinal=2 PPh22MigasTdkFinal=1 "
            "PPh22Impor=1");
  EXPECT_EQ(
      queried("SELECT NPWP_PARTNER, NAMA_PARTNER, ALAMAT_PARTNER FROM DAT_PARTNER ORDER BY "
              "NPWP_PARTNER, NAMA_PARTNER"),
      "000000000000000=CV 000002/PPH22=JL. MERDEKA 5 000000000000000=CV 000004/PPH22=JL. "
      "MERDEKA 5 011111111111000=CV NT-1=JL. TOL 023456789012000=CV 000003/PPH22=JL. MERDEKA 5 "
      "034567890123000=CV 000005/PPH22=JL. MERDEKA 5 045678901234000=CV NT-4=JL. TOL "
      "098765432109000=CV 000001/PPH22=JL. MERDEKA 5");
}

TEST_F(CImporBPTest, NonCollectorRoundTripKeepsFileAndReturn) {
  EXPECT_EQ(roundTrip(kNotCollector, 5),
            "PPh22MigasFinal=2 PPh22MigasTdkFinal=1 PPh22Impor=1 PPh22ImporDbyrSdr=1");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_PARTNER"), 0);
}

TEST_F(CImporBPTest, EachLineInItsOwnPeriodWithProgressThenBomAndHeaderOnlyFiles) {
  begin(kCollector);
  std::string progress;
  auto importer = connected<CImporBP>();
  importer->onProgress([&](long done, long total) {
    progress += std::to_string(done) + "/" + std::to_string(total) + " ";
  });
  const auto periods = writeFile(
      "periods.csv",
      withHeader({sspLine("PPh22MigasFinal", "NT-1", "5"), sspLine("PPh22Impor", "NT-2", "6"),
                  sspLine("PPh22MigasFinal", "NT-3", "6", "1000", "solar"),
                  sspLine("PPh22MigasFinal", "NT-1", "7")}));
  EXPECT_EQ(rowsOf(importer->pImporPPh(kNpwp, 22, periods.string(), kCollector)),
            "PPh22MigasFinal=3 PPh22Impor=1");
  EXPECT_EQ(said("INFORMASI"), importedAll(periods, 4));
  EXPECT_EQ(progress, "0/4 1/4 2/4 3/4 4/4 ");
  EXPECT_EQ(queried("SELECT MS_PAJAK, COUNT(*) FROM DS_FORM_INDUK WHERE KD_FORM = 'F113202' "
                    "GROUP BY MS_PAJAK ORDER BY MS_PAJAK"),
            "5=1 6=1 7=1");
  // "solar" is the store's SOLAR, not a new commodity.
  EXPECT_EQ(count("SELECT COUNT(*) FROM JENIS_KOMODITI"), 6);

  // A spreadsheet's byte order mark, LF line ends and a missing closing ";" are taken.
  const auto text = "\xEF\xBB\xBF" + exchange::headerLine() + "\n" + sspLine("PPh22Impor", "NT-9");
  const auto bom = writeFile("bom.csv", text.substr(0, text.size() - 1) + "\n");
  EXPECT_EQ(rowsOf(importInto(bom)), "PPh22Impor=1");
  EXPECT_EQ(said("INFORMASI"), importedAll(bom, 1));

  const auto empty = writeFile("empty.csv", withHeader({}));
  EXPECT_EQ(rowsOf(importInto(empty)), "");
  EXPECT_EQ(said("INFORMASI"), importedAll(empty, 0));
}

// Refused as a whole, also for a store failure part-way: nothing is written and one message
// tells why.
TEST_F(CImporBPTest, RefusedFilesBadLinesAndFailuresWriteNothingAndSayWhy) {
  begin(kCollector);
  // Taken already: a slip number of the year and an NTTP of the period in the store.
  importInto(writeFile("first.csv",
                       withHeader({slipLine("3", "000001/PPH22"), sspLine("PPh22Impor", "NT-9")})));
  clearMessages();
  const auto before = rowCounts();
  const auto refused = [&](const std::filesystem::path& path, std::int16_t article = 22,
                           const std::string& jenisWp = "") {
    EXPECT_EQ(importInto(path, article, jenisWp), nullptr);
    EXPECT_EQ(rowCounts(), before);
    return said();
  };
  const auto good = writeFile("good.csv", withHeader({sspLine("PPh22Impor", "NT-1")}));
  EXPECT_EQ(refused(good, 21),
            "The import of article 21 is not served yet: only article 22 can be imported.");
  EXPECT_EQ(refused(folder() / "nowhere.csv"),
            "Path not found: " + (folder() / "nowhere.csv").string());
  const auto header = writeFile("header.csv", "Kode;Masa\r\nF113303;5;2013;0;\r\n");
  EXPECT_EQ(refused(header),
            notImported(header, "Line 1: the header line is not the export's 39 titles"));
  const auto empty = writeFile("empty.csv", "");
  EXPECT_EQ(refused(empty), notImported(empty, "Line 1: the file is empty"));

  const auto nonCollector =
      writeFile("noncollector.csv", withHeader({dataLine("F113303;5;2013;0;;;;000002/PPH22", {}),
                                                sspLine("PPh22Impor", "NT-1")}));
  EXPECT_EQ(refused(nonCollector, 22, kNotCollector),
            notImported(nonCollector,
                        "Line 2, \"Kode Form Bukti Pungut / Kode Formulir SSP\": \"F113303\" is a "
                        "collection slip, and the taxpayer is not a collector\r\nLine 3, \"NPWP WP "
                        "yang Dipungut\": \"011111111111000\" is not the taxpayer's NPWP, which a "
                        "non-collector's payment slip carries"));

  // Each line with what the message says of it after "Line N": all of them at once. Of two equal
  // NTTPs the second is named.
  const std::string number = ", \"Nomor Bukti Pungut / NTTP Pada SSP\": ";
  const std::pair<std::string, std::string> bad[] = {
      {sspLine("PPh22MigasFinal", "NT-1", "13"), ", \"Masa Pajak\": \"13\" is not a month 1 to 12"},
      {sspLine("PPh22MigasFinal", "NT-2", "5", "12a"),
       ", \"(Nilai Impor API / Harga 1 / Jumlah Penjualan Rokok menurut Bandrol) / Jumlah "
       "Penjualan Bruto SSP PPh Masa Pasal 22\": \"12a\" is not a number"},
      {sspLine("F999", "NT-3"),
       ", \"Kode Form Bukti Pungut / Kode Formulir SSP\": \"F999\" is not a form code of the "
       "export"},
      {dataLine("PPh22Impor;5;2013;0;;TOKO D'ARTAGNAN;;NT-4", {}),
       ", \"Nama WP yang Dipungut\": \"TOKO D'ARTAGNAN\" holds a single quote, which the store "
       "cannot take"},
      {"PPh22Impor;5;2013;0;", ": holds 4 values instead of 39"},
      {dataLine("F113304;5;2013;0;;;;000001/PPH22", {}),
       number + "slip number \"000001/PPH22\" is already used in the store in 2013, correction 0"},
      {sspLine("PPh22Impor", "NT-9"),
       number + "NTTP \"NT-9\" is already used by a PPh22Impor payment slip in the store of "
                "05/2013, correction 0"},
      {sspLine("PPh22MigasFinal", "NT-2"), ""},
      {sspLine("PPh22MigasFinal", "NT-2"),
       number + "NTTP \"NT-2\" is already used by a PPh22MigasFinal payment slip on line 9"},
      {sspLine("PPh22MigasTdkFinal", "NT-5", "5", "1000", ""),
       ", \"Jenis Barang / Nama Penjualan Produk\": the oil-and-gas payment slip names no "
       "commodity"},
      {dataLine("F113304A;5;2013;0;;;;000009/PPH22",
                {{13, "1000000"}, {14, "1"}, {15, "0.25"}, {37, "4000"}}),
       ", \"Jumlah PPh Yang Dipungut\": \"4000\" is not the total tax of the slip's lines 1 to 7 "
       "(the file cannot carry lines 8 to 11, nor taxes typed over the computed ones), 2500"},
      {dataLine("PPh22Impor;5;20x3;0;;;;NT-11", {}), ", \"Tahun Pajak\": \"20x3\" is not a year"},
      {dataLine("PPh22Impor;5;2013;-1;;;;NT-12", {}),
       ", \"Pembetulan\": \"-1\" is not a correction number"},
      {dataLine("PPh22Impor;5;2013;0;;;;NT-13;31/02/2013", {}),
       ", \"Tanggal Bukti Pungut / Tanggal Pembayaran SSP\": \"31/02/2013\" is not a date "
       "DD/MM/YYYY"},
  };
  std::vector<std::string> lines;
  std::string problems;
  for (const auto& [line, problem] : bad) {
    lines.push_back(line);
    if (!problem.empty()) problems += "\r\nLine " + std::to_string(lines.size() + 1) + problem;
  }
  const auto path = writeFile("bad.csv", withHeader(lines));
  EXPECT_EQ(refused(path), notImported(path, problems.substr(2)));

  // A store failure while writing names the line; the lines before it are taken back.
  store::setFaultHook([](std::string_view sql) {
    if (sql.find("LAMPIRAN_SSP_PPh22") != sql.npos) throw Error(errc::kStoreFailure, "disk full");
  });
  const auto failing = importInto(
      writeFile("failing.csv",
                withHeader({slipLine("5", "000002/PPH22"), sspLine("PPh22MigasFinal", "NT-1")})));
  store::setFaultHook(nullptr);
  EXPECT_EQ(failing, nullptr);
  EXPECT_EQ(rowCounts(), before);
  EXPECT_EQ(said(),
            "Line 3 (PPh22MigasFinal NT-1) could not be imported: disk full\r\nNothing was "
            "imported.");

  exec("DELETE FROM DAT_PROFILE");
  EXPECT_EQ(refused(good), "The store holds no taxpayer profile for NPWP " + std::string(kNpwp) +
                               " (DAT_PROFILE): nothing was imported.");
}

}  // namespace
}  // namespace korvane
