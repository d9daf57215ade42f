#include "korvane/exchange/export.hpp"

#include <deque>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "korvane/store/companion.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/message_box.hpp"
#include "korvane/store/sql.hpp"
#include "korvane/store/text.hpp"

namespace korvane {
namespace exchange {
namespace {

constexpr const char* kTitles[kColumns] = {
    "Kode Form Bukti Pungut / Kode Formulir SSP",
    "Masa Pajak",
    "Tahun Pajak",
    "Pembetulan",
    "NPWP WP yang Dipungut",
    "Nama WP yang Dipungut",
    "Alamat WP yang Dipungut",
    "Nomor Bukti Pungut / NTTP Pada SSP",
    "Tanggal Bukti Pungut / Tanggal Pembayaran SSP",
    "Jenis Barang / Nama Penjualan Produk",
    "Banyak Barang",
    "Satuan Barang",
    "Nilai Impor",
    ("(Nilai Impor API / Harga 1 / Jumlah Penjualan Rokok menurut Bandrol) / Jumlah Penjualan "
     "Bruto SSP PPh Masa Pasal 22"),
    "Tarif 1",
    "PPh Yang Dipungut 1",
    "Nilai Impor Non-API / Harga 2",
    "Tarif 2",
    "PPh Yang Dipungut 2",
    "Harga 3",
    "Tarif 3",
    "PPh Yang Dipungut 3",
    "Harga 4",
    "Tarif 4",
    "PPh Yang Dipungut 4",
    "Jenis Industri 5",
    "Harga 5",
    "Tarif 5",
    "PPh Yang Dipungut 5",
    "Sektor Industri/Eksportir 6",
    "Harga 6",
    "Tarif 6",
    "PPh Yang Dipungut 6",
    "Sektor Industri/Eksportir 7",
    "Harga 7",
    "Tarif 7",
    "PPh Yang Dipungut 7",
    "Jumlah PPh Yang Dipungut",
    "Invoice / Keterangan / Nomor PIB",
};

// One column of a row after the form code and the period: a field of the form, a filler, or
// the party (the collected party for a collector, the taxpayer itself otherwise).
struct Cell {
  enum class Kind { Field, Zero, Blank, Party } kind;
  std::string_view field;
  int party = 0;  // 0 number, 1 name, 2 address
};

constexpr Cell field(std::string_view name) { return {Cell::Kind::Field, name}; }
constexpr Cell kZero{Cell::Kind::Zero, {}};
constexpr Cell kBlank{Cell::Kind::Blank, {}};
constexpr Cell party(int which) { return {Cell::Kind::Party, {}, which}; }

// Columns 26 to 37: three sector groups the SSP rows and F113303 lack.
#define KORVANE_NO_SECTORS \
  kBlank, kZero, kZero, kZero, kBlank, kZero, kZero, kZero, kBlank, kZero, kZero, kZero

constexpr Cell kF113303Row[] = {
    field("NPWPLT"), field("NMWPLT"), field("ALMLT"), field("NoBukti"), field("Tgl_Potong"),
    field("JnsBrg"), field("BykBrg"), field("SatBrg"), field("Nil_Impor"), field("B3a3"),
    field("B3a4"), field("B3a5"), field("B3b3"), field("B3b4"), field("B3b5"),
    kZero, kZero, kZero, kZero, kZero, kZero,
    KORVANE_NO_SECTORS,
    field("JmlB5"), kBlank,
};

// The sector family exports base, multiplier and rate of lines 1 to 7 as written in its table;
// its total tax is JmlB6 (the family has no JmlB5).
constexpr Cell kF113304Row[] = {
    field("NPWPLT"), field("NMWPLT"), field("ALMLT"), field("NoBukti"), field("Tgl_Potong"),
    kBlank, kZero, kBlank, kZero,
    field("B13"), field("B14"), field("B15"), field("B23"), field("B24"), field("B25"),
    field("B33"), field("B34"), field("B35"), field("B43"), field("B44"), field("B45"),
    field("B52"), field("B53"), field("B54"), field("B55"),
    field("B62"), field("B63"), field("B64"), field("B65"),
    field("B72"), field("B73"), field("B74"), field("B75"),
    field("JmlB6"), kBlank,
};

constexpr Cell kOilGasRow[] = {
    party(0), party(1), party(2), field("NTTP"), field("TGL_PUNGUT"), field("PENJUALAN"),
    kZero, kBlank, kZero, field("JMLBRUTO"),
    kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero,
    KORVANE_NO_SECTORS,
    field("PPH"), field("INVOICE"),
};

constexpr Cell kImportRow[] = {
    party(0), party(1), party(2), field("NTTP"), field("TGL_PUNGUT"), kBlank,
    kZero, kBlank, kZero, field("JMLBRUTO"),
    kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero,
    KORVANE_NO_SECTORS,
    field("PPH"), field("keterangan"),
};

constexpr Cell kSelfPaidRow[] = {
    kBlank, kBlank, kBlank, field("NTTP"), field("TGL_PUNGUT"), kBlank,
    kZero, kBlank, kZero, field("JMLBRUTO"),
    kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero,
    KORVANE_NO_SECTORS,
    field("PPH"), field("NoPIB"),
};
#undef KORVANE_NO_SECTORS

struct RowForm {
  std::string_view formCode;
  bool slip;  // slips are told apart by number; SSPs may share one, so also by packed text
  std::span<const Cell> cells;
};

// In the order the rows are dispatched.
constexpr RowForm kRowForms[] = {
    {"F113303", true, kF113303Row},
    {"F113304", true, kF113304Row},
    {"F113304S", true, kF113304Row},
    {"F113304A", true, kF113304Row},
    {"PPh22MigasFinal", false, kOilGasRow},
    {"PPh22MigasTdkFinal", false, kOilGasRow},
    {"PPh22Impor", false, kImportRow},
    {"PPh22ImporDbyrSdr", false, kSelfPaidRow},
};

static_assert(std::size(kF113303Row) == kColumns - 4);
static_assert(std::size(kF113304Row) == kColumns - 4);
static_assert(std::size(kOilGasRow) == kColumns - 4);
static_assert(std::size(kImportRow) == kColumns - 4);
static_assert(std::size(kSelfPaidRow) == kColumns - 4);

const RowForm* findRowForm(std::string_view code) {
  for (const auto& form : kRowForms) {
    if (form.formCode == code) return &form;
  }
  return nullptr;
}

// A row's key for finding the first row stored under it, compared ignoring case.
struct RowKey {
  const RowForm* form;
  std::string_view number;
  std::string_view packed;  // payment slips only
};
struct RowKeyHash {
  std::size_t operator()(const RowKey& key) const noexcept {
    // The number and the packed text's length and first characters tell rows apart well
    // enough; equality still compares the whole key.
    std::size_t hash = std::hash<const void*>()(key.form) ^ key.packed.size();
    const auto mix = [&hash](std::string_view part) {
      for (char c : part) hash = hash * 131 + static_cast<unsigned char>(upperAscii(c));
    };
    mix(key.number);
    mix(key.packed.substr(0, 48));
    return hash;
  }
};
struct RowKeyEqual {
  bool operator()(const RowKey& a, const RowKey& b) const noexcept {
    return a.form == b.form && equalsIgnoringCase(a.number, b.number) &&
           equalsIgnoringCase(a.packed, b.packed);
  }
};

// Appends a value's text without its leading and trailing blanks.
void appendTrimmed(std::string& line, const Variant& value) {
  std::string converted;
  const std::string_view text = value.textView(converted);
  const auto begin = text.find_first_not_of(' ');
  if (begin == std::string_view::npos) return;
  line.append(text.substr(begin, text.find_last_not_of(' ') - begin + 1));
}

// A month or year arrives as text and is spliced into the statement as a number: it must be one.
std::string periodNumber(const std::string& text) { return sql::number(Variant(text).toInt16()); }

}  // namespace

const char* const* headerTitles() noexcept { return kTitles; }

std::string headerLine() {
  std::string line;
  for (int i = 0; i < kColumns; ++i) {
    if (i) line += ';';
    line += kTitles[i];
  }
  return line;
}

std::string groupThousands(long long count) {
  auto digits = std::to_string(count < 0 ? -count : count);
  std::string out;
  int n = 0;
  for (auto it = digits.rbegin(); it != digits.rend(); ++it, ++n) {
    if (n && n % 3 == 0) out.insert(out.begin(), '.');
    out.insert(out.begin(), *it);
  }
  return count < 0 ? "-" + out : out;
}

}  // namespace exchange

void CEksporBP::pEksporPPh(const std::string& sNPWP, std::int16_t iKodePasal,
                           const std::string& sMsPjk, const std::string& sThPjk,
                           std::int16_t iKdPembetulan, const std::string& strFileName,
                           const std::string& strJenisWP) {
  reported([&] {
    using namespace exchange;
    if (iKodePasal != 22) {
      throw Error(errc::kInvalidProcedureCall,
                  "Only article 22 can be exported; article " + std::to_string(iKodePasal) +
                      " was asked for.");
    }
    const std::string label = "Pasal 22";
    const std::string fileName = strFileName + "Ravelin.CSV";
    const bool collector = strJenisWP == "Pemungut";

    const std::string period = " AND NPWP = " + sql::text(sNPWP) +
                               " AND KD_PEMBETULAN_KE = " + sql::number(iKdPembetulan) +
                               " AND TH_PAJAK = " + periodNumber(sThPjk) +
                               " AND MS_PAJAK = " + periodNumber(sMsPjk);
    std::string selection;
    if (collector) {
      selection = "SELECT * FROM DS_FORM_INDUK WHERE KD_FORM IN ('F113303', 'F113304', "
                  "'F113304A', 'F113304S')" + period +
                  " UNION ALL SELECT * FROM DAT_SSP_PPh22 WHERE KD_FORM IN "
                  "('PPh22MigasFinal', 'PPh22MigasTdkFinal', 'PPh22Impor')" + period;
    } else {
      selection = "SELECT * FROM DAT_SSP_PPh22 WHERE KD_FORM IN ('PPh22MigasFinal', "
                  "'PPh22MigasTdkFinal', 'PPh22Impor', 'PPh22ImporDbyrSdr')" + period;
    }
    auto rows = open(selection);
    const long selected = rows->RecordCount();

    std::ofstream file(fileName, std::ios::binary | std::ios::trunc);
    if (!file) throw Error(errc::kFile, "Path not found: " + fileName);
    file << headerLine() << "\r\n";

    const auto kdForm = static_cast<std::size_t>(rows->columnIndex("KD_FORM"));
    const auto noBukti = static_cast<std::size_t>(rows->columnIndex("NOBUKTI"));
    const auto datForm = static_cast<std::size_t>(rows->columnIndex("DAT_FORM"));
    const std::string periodCells = ";" + periodNumber(sMsPjk) + ";" + periodNumber(sThPjk) +
                                    ";" + sql::number(iKdPembetulan) + ";";

    // A row is exported with the fields of the first row of its key (its form and number, for
    // an SSP also its packed text), compared as the Filter language compares text: a slip
    // stored twice under one number exports the first one's fields twice. A row whose number
    // is missing exports its own fields.
    // Keys point into the recordset's own texts; a value that is not text is kept aside.
    std::deque<std::string> convertedTexts;
    const auto textOf = [&](std::size_t row, std::size_t column) -> std::string_view {
      const Variant& value = rows->cell(row, column);
      if (const std::string* own = value.textIf()) return *own;
      return convertedTexts.emplace_back(value.text());
    };
    const auto keyOf = [&](std::size_t row, const RowForm& form) -> std::optional<RowKey> {
      const Variant& number = rows->cell(row, noBukti);
      if (number.isNull() || number.isEmpty()) return std::nullopt;
      return RowKey{&form, textOf(row, noBukti),
                    form.slip ? std::string_view() : textOf(row, datForm)};
    };
    std::unordered_map<RowKey, std::size_t, RowKeyHash, RowKeyEqual> firstOfKey;
    firstOfKey.reserve(static_cast<std::size_t>(selected));

    // Per form: its reader and where each cell's field sits in the form's list.
    struct FormReader {
      PackedRowReader reader;
      std::vector<long> positions;
      std::vector<bool> wanted;  // the fields the cells use
    };
    std::map<std::string_view, FormReader> readers;
    const auto readerFor = [&](const RowForm& form) -> FormReader& {
      auto found = readers.find(form.formCode);
      if (found != readers.end()) return found->second;
      FormReader made{PackedRowReader(form.formCode, *rows), {}, {}};
      made.wanted.assign(made.reader.fieldCount(), false);
      for (const auto& cell : form.cells) {
        static constexpr std::string_view kCollected[] = {"NPWPLT", "NMWPLT", "ALMLT"};
        static constexpr std::string_view kOwn[] = {"npwp", "NmWP", "ALM"};
        std::string_view name;
        if (cell.kind == Cell::Kind::Field) name = cell.field;
        if (cell.kind == Cell::Kind::Party) {
          name = collector ? kCollected[cell.party] : kOwn[cell.party];
        }
        long position = -1;
        if (!name.empty()) {
          position = made.reader.fieldIndex(name);
          if (position < 0) {
            throw Error(errc::kItemNotFound,
                        "Item cannot be found in the collection corresponding to the requested "
                        "name or ordinal.");
          }
        }
        made.positions.push_back(position);
        if (position >= 0) made.wanted[static_cast<std::size_t>(position)] = true;
      }
      return readers.emplace(form.formCode, std::move(made)).first->second;
    };

    std::string line;
    std::vector<Variant> fields;
    for (long i = 0; i < selected; ++i) {
      const auto row = static_cast<std::size_t>(i);
      const RowForm* form = findRowForm(textOf(row, kdForm));
      if (!form) continue;
      std::size_t source = row;
      if (auto key = keyOf(row, *form)) source = firstOfKey.try_emplace(*key, row).first->second;
      FormReader& formReader = readerFor(*form);
      formReader.reader.read(source, fields, &formReader.wanted);

      line.assign(form->formCode);
      line += periodCells;
      for (std::size_t c = 0; c < form->cells.size(); ++c) {
        const long position = formReader.positions[c];
        if (position >= 0) {
          appendTrimmed(line, fields[static_cast<std::size_t>(position)]);
        } else if (form->cells[c].kind == Cell::Kind::Zero) {
          line += '0';
        }
        line += ';';
      }
      // A record stays on one line whatever its values hold.
      if (line.find('\r') != std::string::npos || line.find('\n') != std::string::npos) {
        std::erase_if(line, [](char c) { return c == '\r' || c == '\n'; });
      }
      file << line << "\r\n";
    }
    file.close();
    if (!file) throw Error(errc::kFile, "The file " + fileName + " could not be written.");

    MessageBoxRequest box;
    box.title = "INFORMASI";
    box.icon = kIconInformation;
    box.buttons = kOkOnly;
    box.text = "Data Bukti Potong PPh Masa " + label + " Untuk :\r\n\r\n* Masa Pajak   : " +
               sMsPjk + "\r\n* Tahun Pajak : " + sThPjk + "\r\n* Pembetulan  : " +
               std::to_string(iKdPembetulan) + "\r\n\r\nBerhasil Diekspor Sebanyak : " +
               groupThousands(selected) + " Baris (Record) Data";
    showMessageBox(box);
  });
}

}  // namespace korvane
