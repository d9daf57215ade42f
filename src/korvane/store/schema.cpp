// The store's tables. Column order is insertion order: the components insert with VALUES lists
// in this order, so it must not change.
#include "korvane/store/schema.hpp"

#include <algorithm>
#include <array>
#include <cctype>

namespace korvane::store {
namespace {

using T = ColumnType;
using Names = std::string_view;

// Form headers and SSP headers share one layout. DAT_SSP_PPh22 keeps NIP like DS_FORM_INDUK:
// the list classes insert eleven values (NIP left Null), the SSP inputs set it.
constexpr ColumnDef kHeaderColumns[] = {
    {"NPWP", T::Text},         {"KD_FORM", T::Text},        {"JENIS_DOKUMEN", T::Text},
    {"MS_PAJAK", T::SmallInt}, {"TH_PAJAK", T::SmallInt},   {"KD_PEMBETULAN_KE", T::SmallInt},
    {"NOBUKTI", T::Text},      {"KD_JENIS_PAJAK", T::Text}, {"DAT_FORM", T::Memo},
    {"TGL_REKAM", T::Text},    {"TGL_UBAH", T::Text},       {"NIP", T::Text},
};
constexpr ColumnDef kAttachmentColumns[] = {
    {"KD_FORM", T::Text},      {"MS_PAJAK", T::SmallInt},
    {"TH_PAJAK", T::SmallInt}, {"KD_PEMBETULAN_KE", T::SmallInt},
    {"COLLNO", T::SmallInt},   {"SEQ", T::Double},
    {"NOBUKTI", T::Text},      {"DAT_FORM", T::Memo},
};

// Header lookups: by form and period (lists, main return, numbering by year), by slip number
// within a period (saves, deletes, duplicate checks) and by number across a year (numbering).
// The key columns the queries compare come last so one index answers the whole condition.
constexpr Names kHdrPeriod[] = {"KD_FORM", "TH_PAJAK", "KD_PEMBETULAN_KE", "MS_PAJAK", "NPWP"};
constexpr Names kHdrNumber[] = {"NOBUKTI",  "TH_PAJAK", "KD_PEMBETULAN_KE",
                                "MS_PAJAK", "KD_FORM",  "NPWP"};
constexpr Names kHdrYear[] = {"TH_PAJAK", "KD_PEMBETULAN_KE", "NOBUKTI", "KD_FORM"};
constexpr Names kHdrTaxpayer[] = {"NPWP", "TH_PAJAK", "MS_PAJAK", "KD_PEMBETULAN_KE"};
constexpr IndexDef kFormIndukIndexes[] = {
    {"IX_FORM_INDUK_PERIOD", kHdrPeriod},
    {"IX_FORM_INDUK_NOBUKTI", kHdrNumber},
    {"IX_FORM_INDUK_YEAR", kHdrYear},
    {"IX_FORM_INDUK_NPWP", kHdrTaxpayer},
};
constexpr IndexDef kSspIndexes[] = {
    {"IX_SSP_PERIOD", kHdrPeriod},
    {"IX_SSP_NOBUKTI", kHdrNumber},
    {"IX_SSP_NPWP", kHdrTaxpayer},
};
// Attachment rows: by form and period (lists, computation, export), by slip (a slip's own rows)
// and in entry order within a period.
constexpr Names kAttPeriod[] = {"KD_FORM", "MS_PAJAK", "TH_PAJAK", "KD_PEMBETULAN_KE", "COLLNO"};
constexpr Names kAttNumber[] = {"NOBUKTI",  "KD_PEMBETULAN_KE", "KD_FORM",
                                "MS_PAJAK", "TH_PAJAK",         "COLLNO"};
constexpr Names kAttOrder[] = {"KD_FORM", "MS_PAJAK", "TH_PAJAK", "SEQ"};
constexpr IndexDef kLampiranIndexes[] = {
    {"IX_LAMPIRAN_PERIOD", kAttPeriod},
    {"IX_LAMPIRAN_NOBUKTI", kAttNumber},
    {"IX_LAMPIRAN_SEQ", kAttOrder},
};
constexpr IndexDef kLampiranSspIndexes[] = {
    {"IX_LAMPIRAN_SSP_PERIOD", kAttPeriod},
    {"IX_LAMPIRAN_SSP_NOBUKTI", kAttNumber},
    {"IX_LAMPIRAN_SSP_SEQ", kAttOrder},
};

constexpr ColumnDef kNumbering[] = {
    {"PASAL", T::SmallInt}, {"NO_URUT", T::Text}, {"FORMAT_STRING", T::Text}};
constexpr Names kNumberingKey[] = {"PASAL"};

constexpr ColumnDef kRates[] = {{"PASAL", T::SmallInt},
                                {"KODE_FORM", T::Text},
                                {"ITEM_PENGHASILAN", T::Text},
                                {"URAIAN", T::Text},
                                {"TARIF_JML_BRUTO", T::Double}};
constexpr Names kRatesIdx[] = {"PASAL", "KODE_FORM", "ITEM_PENGHASILAN"};
constexpr IndexDef kRatesIndexes[] = {{"IX_TARIF", kRatesIdx}};

constexpr ColumnDef kCommodities[] = {{"KODE_KOMODITI", T::Text},
                                      {"NAMA_KOMODITI", T::Text},
                                      {"PASAL", T::SmallInt},
                                      {"TARIF_NETTO", T::Double}};
constexpr ColumnDef kExchanges[] = {{"KODE_BURSA", T::Text}, {"NAMA_BURSA", T::Text}};
constexpr ColumnDef kProfile[] = {{"NPWP", T::Text},   {"NAMA_WP_PROFILE", T::Text},
                                  {"ALAMAT", T::Text}, {"JENIS_WP", T::Text},
                                  {"KOTA", T::Text},   {"TELEPON", T::Text}};
constexpr ColumnDef kTaxKinds[] = {
    {"KD_JENIS_PAJAK", T::Text}, {"KD_DOK_SPT", T::Text}, {"URAIAN", T::Text}};
constexpr Names kTaxKindsKey[] = {"KD_JENIS_PAJAK", "KD_DOK_SPT"};
constexpr ColumnDef kPartners[] = {
    {"NPWP_PARTNER", T::Text}, {"NAMA_PARTNER", T::Text}, {"ALAMAT_PARTNER", T::Text}};
constexpr Names kPartnerIdx[] = {"NPWP_PARTNER"};
constexpr IndexDef kPartnerIndexes[] = {{"IX_PARTNER_NPWP", kPartnerIdx}};
constexpr ColumnDef kPartnerInfo[] = {{"NPWP_PARTNER", T::Text}, {"KETERANGAN", T::Text}};
// Payment records of the tax office's own application; KODEPASAL closes the insertion order.
constexpr ColumnDef kPayments[] = {
    {"NPWP", T::Text},         {"MSPJK", T::SmallInt},    {"THPJK", T::SmallInt},
    {"KDMAP", T::Text},        {"KDJNSSTR", T::Text},     {"TGLSSP", T::Date},
    {"NTPP", T::Text},         {"JMLBYR", T::Double},     {"KdJnsForm", T::Text},
    {"KdPmbtln", T::SmallInt}, {"KODEPASAL", T::SmallInt}};
constexpr Names kPaymentsIdx[] = {"KdJnsForm", "MSPJK", "THPJK", "KdPmbtln"};
constexpr IndexDef kPaymentsIndexes[] = {{"IX_DATSSP_PERIOD", kPaymentsIdx}};
constexpr ColumnDef kTransfers[] = {{"NPWPTertuju", T::Text},
                                    {"PASAL", T::SmallInt},
                                    {"MsPjkPBK", T::SmallInt},
                                    {"ThPjkPBK", T::SmallInt},
                                    {"JumlahPBK", T::Double}};
constexpr ColumnDef kPtkp[] = {{"KODE_PTKP", T::Text}, {"URAIAN", T::Text}, {"NILAI", T::Double}};
constexpr ColumnDef kUmp[] = {{"PASAL", T::SmallInt}, {"NILAI_UMP", T::Double}};
constexpr ColumnDef kSchForm[] = {
    {"KD_FORM", T::Text}, {"NAMA_FORM", T::Text}, {"KD_JENIS_PAJAK", T::Text}};
constexpr ColumnDef kServiceRef[] = {{"KODE_KOMODITI", T::Text},
                                     {"NAMA_KOMODITI", T::Memo},
                                     {"PASAL", T::SmallInt},
                                     {"TARIF_NETTO", T::Double}};
constexpr Names kServiceRefKey[] = {"KODE_KOMODITI", "PASAL"};

constexpr TableDef kTables[] = {
    {"DS_FORM_INDUK", kHeaderColumns, {}, kFormIndukIndexes},
    {"DAT_SSP_PPh22", kHeaderColumns, {}, kSspIndexes},
    {"DS_FORM_LAMPIRAN", kAttachmentColumns, {}, kLampiranIndexes},
    {"LAMPIRAN_SSP_PPh22", kAttachmentColumns, {}, kLampiranSspIndexes},
    {"SETTING_NOBUKTI_PPH", kNumbering, kNumberingKey, {}},
    {"SETTING_TARIF_PPH", kRates, {}, kRatesIndexes},
    {"JENIS_KOMODITI", kCommodities, {}, {}},
    {"BURSA", kExchanges, {}, {}},
    {"DAT_PROFILE", kProfile, {}, {}},
    {"PROFILE", kProfile, {}, {}},
    {"DS_REF_JENIS_PAJAK", kTaxKinds, kTaxKindsKey, {}},
    {"DAT_PARTNER", kPartners, {}, kPartnerIndexes},
    {"PARTNER_INFO", kPartnerInfo, {}, {}},
    {"DATSSP", kPayments, {}, kPaymentsIndexes},
    {"datPBKPPhMasa", kTransfers, {}, {}},
    {"RefPTKP", kPtkp, {}, {}},
    {"SETTING_UMP_PPH_MASA", kUmp, {}, {}},
    {"refSchForm", kSchForm, {}, {}},
    {"REF_JASA_PER178_2006", kServiceRef, kServiceRefKey, {}},
    {"REF_JASA_PER70_2007", kServiceRef, kServiceRefKey, {}},
    {"REF_JASA_PMK244", kServiceRef, kServiceRefKey, {}},
};

bool equalsIgnoreCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::toupper(static_cast<unsigned char>(x)) ==
                  std::toupper(static_cast<unsigned char>(y));
         });
}

// Text columns are VARCHAR(255) so the servers can index them; packed texts are unbounded.
// Text compares, sorts and takes its MAX byte by byte on every store, as SQLite does: exact case
// and trailing blanks count ('a' <> 'A', 'a' <> 'a ', MAX('9', '12') = '9'). PostgreSQL columns
// use the "C" collation, MariaDB tables a binary collation without padding.
std::string columnType(ColumnType type, Dialect dialect) {
  const char* collation = dialect == Dialect::PostgreSQL ? " COLLATE \"C\"" : "";
  switch (type) {
    case T::Text:
      return std::string("VARCHAR(255)") + collation;
    case T::Memo:
      return dialect == Dialect::MariaDB ? "LONGTEXT" : std::string("TEXT") + collation;
    case T::SmallInt:
      return "SMALLINT";
    case T::Integer:
      return "INTEGER";
    case T::Double:
      return dialect == Dialect::SQLite ? "DOUBLE" : "DOUBLE PRECISION";
    case T::Date:
      return "DATE";
  }
  return "TEXT";
}

std::string joined(std::span<const std::string_view> names) {
  std::string out;
  for (auto name : names) {
    if (!out.empty()) out += ", ";
    out += name;
  }
  return out;
}

}  // namespace

std::span<const TableDef> tables() noexcept { return kTables; }

const TableDef* findTable(std::string_view name) noexcept {
  for (const auto& table : kTables) {
    if (equalsIgnoreCase(table.name, name)) return &table;
  }
  return nullptr;
}

std::vector<std::string> schemaStatements(Dialect dialect) {
  std::vector<std::string> out;
  for (const auto& table : kTables) {
    std::string sql = "CREATE TABLE " + std::string(table.name) + " (";
    bool first = true;
    for (const auto& column : table.columns) {
      if (!first) sql += ", ";
      first = false;
      sql += std::string(column.name) + " " + columnType(column.type, dialect);
    }
    const std::string rowOrder(kRowOrderColumn);
    if (dialect == Dialect::PostgreSQL) {
      sql += ", " + rowOrder + " BIGINT GENERATED BY DEFAULT AS IDENTITY";
    } else if (dialect == Dialect::MariaDB) {
      sql += ", " + rowOrder + " BIGINT NOT NULL AUTO_INCREMENT, KEY (" + rowOrder + ")";
    }
    if (!table.primaryKey.empty()) sql += ", PRIMARY KEY (" + joined(table.primaryKey) + ")";
    sql += ")";
    if (dialect == Dialect::MariaDB) sql += " CHARACTER SET utf8mb4 COLLATE utf8mb4_nopad_bin";
    out.push_back(std::move(sql));
    for (const auto& index : table.indexes) {
      out.push_back(std::string(index.unique ? "CREATE UNIQUE INDEX " : "CREATE INDEX ") +
                    std::string(index.name) + " ON " + std::string(table.name) + " (" +
                    joined(index.columns) + ")");
    }
  }
  return out;
}

std::vector<std::string> referenceDataStatements() {
  std::vector<std::string> out;
  // Document kinds of the article-22 return, for the period listing.
  static constexpr std::pair<std::string_view, std::string_view> kDocuments[] = {
      {"01", "SPT Masa PPh Pasal 22"},
      {"02", "Bukti Pemungutan PPh Pasal 22 (Impor/Bendaharawan)"},
      {"03", "Bukti Pemungutan PPh Pasal 22 (Industri/Eksportir Tertentu)"},
      {"04", "Bukti Pemungutan PPh Pasal 22 (Bendaharawan/BUMN)"},
      {"05", "SSP PPh Pasal 22 Migas Final"},
      {"06", "SSP PPh Pasal 22 Migas Tidak Final"},
      {"07", "Daftar SSP PPh Pasal 22 Penjualan Migas"},
      {"08", "Daftar SSP PPh Pasal 22 Impor"},
      {"09", "Daftar Bukti Pemungutan PPh Pasal 22"},
      {"10", "SSP PPh Pasal 22 Impor"},
      {"11", "SSP PPh Pasal 22 Impor Dibayar Sendiri"},
      {"12", "Daftar SSP PPh Pasal 22 Impor Dibayar Sendiri"},
      {"13", "Daftar SSP PPh Pasal 22 Dalam Negeri"},
      {"14", "SSP PPh Pasal 22"},
  };
  for (const auto& [code, text] : kDocuments) {
    out.push_back("INSERT INTO DS_REF_JENIS_PAJAK VALUES ('112', '" + std::string(code) + "', '" +
                  std::string(text) + "')");
  }
  // Article-22 rates in percent, as the regulations of the return's era set them; an office
  // keeps them current by editing SETTING_TARIF_PPH.
  struct Rate {
    std::string_view form, item, text;
    double rate;
  };
  static constexpr Rate kRatesData[] = {
      {"F113303", "B3a4", "Impor dengan API", 2.5},
      {"F113303", "B3b4", "Impor tanpa API", 7.5},
      {"F113305", "B2", "Pembelian oleh bendaharawan/BUMN", 1.5},
      {"F113304", "B14", "Industri semen", 0.25},
      {"F113304", "B24", "Industri kertas", 0.1},
      {"F113304", "B34", "Industri baja", 0.3},
      {"F113304", "B44", "Industri otomotif", 0.45},
      {"F113304", "B54", "Industri farmasi", 0.3},
      {"F113304", "B64", "Pembelian bahan oleh industri/eksportir", 0.25},
      {"F113304A", "B104", "Penjualan kendaraan bermotor oleh ATPM/APM", 0.45},
      {"F113304S", "B74", "Industri rokok", 0.15},
      {"F113304S", "B84", "Penjualan emas batangan", 0.45},
  };
  for (const auto& r : kRatesData) {
    std::string number = std::to_string(r.rate);
    while (!number.empty() && number.back() == '0') number.pop_back();
    if (!number.empty() && number.back() == '.') number.pop_back();
    out.push_back("INSERT INTO SETTING_TARIF_PPH VALUES (22, '" + std::string(r.form) + "', '" +
                  std::string(r.item) + "', '" + std::string(r.text) + "', " + number + ")");
  }
  return out;
}

}  // namespace korvane::store
