// The field lists of every form and list row. The order is the order of the packed text, so it
// is part of the store's format: appending a field is safe, reordering breaks stored rows.
// Several orders are chosen so that the LIKE patterns the lists and SSP inputs search with
// find exactly one kind of row: the period comes first in list rows and SSP rows, the commodity
// right after it, and the NTTP and sequence are never the last field (every pattern value is
// followed by ";").
#include "korvane/store/companion.hpp"

#include <algorithm>
#include <cctype>
#include <map>
#include <utility>
#include <vector>

#include "korvane/store/error.hpp"
#include "korvane/store/text.hpp"

namespace korvane {
namespace {

using K = FieldKind;

// The main return. Identity and period first; then the dates, the lines, totals, section C.
constexpr FieldDef kMainReturn[] = {
    {"npwp", K::Text},       {"NmWP", K::Text},       {"ALM", K::Text},
    {"MS_PAJAK", K::Integer}, {"TH_PAJAK", K::Integer}, {"KD_PEMBETULAN_KE", K::Integer},
    {"TGL_SETOR", K::Date},  {"TGL_LAPOR", K::Date},  {"B11", K::Text},
    {"B13", K::Number},      {"B14", K::Number},      {"B23", K::Number},
    {"B24", K::Number},      {"B25", K::Number},      {"B33", K::Number},
    {"B34", K::Number},      {"B4a3", K::Number},     {"B4a4", K::Number},
    {"B4b3", K::Number},     {"B4b4", K::Number},     {"B53", K::Number},
    {"B54", K::Number},      {"B6a3", K::Number},     {"B6a4", K::Number},
    {"B6b3", K::Number},     {"B6b4", K::Number},     {"B71", K::Text},
    {"B73", K::Number},      {"B74", K::Number},      {"TotA", K::Number},
    {"TotB", K::Number},     {"c2", K::Number},       {"C3", K::Number},
    {"CHKC1", K::Integer},   {"CHKC2", K::Integer},   {"CHKC3", K::Integer},
    {"CHKC4", K::Integer},   {"CHKC5", K::Integer},   {"CHKC6", K::Integer},
    {"CHKC7", K::Integer},   {"CHKC8", K::Integer},   {"CHKC9", K::Integer},
};

constexpr FieldDef kSlipF113303[] = {
    {"npwp", K::Text},       {"NPWPLT", K::Text},     {"NMWPLT", K::Text},
    {"ALMLT", K::Text},      {"NoBukti", K::Text},    {"Tgl_Potong", K::Date},
    {"INVOICE", K::Text},    {"JnsBrg", K::Text},     {"SatBrg", K::Text},
    {"BykBrg", K::Number},   {"Nil_Impor", K::Number}, {"MS_PAJAK", K::Integer},
    {"TH_PAJAK", K::Integer}, {"KD_PEMBETULAN_KE", K::Integer}, {"B3a3", K::Number},
    {"B3a4", K::Number},     {"B3a5", K::Number},     {"B3b3", K::Number},
    {"B3b4", K::Number},     {"B3b5", K::Number},     {"JmlB3", K::Number},
    {"JmlB5", K::Number},    {"B1", K::Number},       {"B2", K::Number},
    {"B3", K::Number},       {"B4", K::Number},       {"B5", K::Number},
    {"B6", K::Number},       {"B7", K::Number},       {"B8", K::Number},
    {"B9", K::Number},       {"B10", K::Number},      {"B11", K::Number},
    {"B12", K::Number},      {"B13", K::Number},      {"B14", K::Number},
    {"B15", K::Number},      {"B16", K::Number},      {"B17", K::Number},
    {"B18", K::Number},      {"B19", K::Number},      {"B20", K::Number},
    {"B21", K::Number},      {"B22", K::Number},      {"B23", K::Number},
    {"B24", K::Number},      {"B25", K::Number},      {"B26", K::Number},
    {"B27", K::Number},
};

constexpr FieldDef kSlipF113305[] = {
    {"npwp", K::Text},     {"NPWPLT", K::Text},    {"NMWPLT", K::Text},
    {"ALMLT", K::Text},    {"NoBukti", K::Text},   {"tglrekam", K::Date},
    {"INVOICE", K::Text},  {"MS_PAJAK", K::Integer}, {"TH_PAJAK", K::Integer},
    {"KD_PEMBETULAN_KE", K::Integer}, {"b1", K::Number}, {"B2", K::Number},
    {"B3", K::Number},
};

// Eleven sector lines of five fields: description, base, multiplier, rate, tax.
#define KORVANE_SECTOR_LINE(n)                                                   \
  {"B" #n "2", K::Text}, {"B" #n "3", K::Number}, {"B" #n "4", K::Number},       \
      {"B" #n "5", K::Number}, {"B" #n "6", K::Number}
constexpr FieldDef kSlipF113304[] = {
    {"npwp", K::Text},       {"NPWPLT", K::Text},     {"NMWPLT", K::Text},
    {"ALMLT", K::Text},      {"NoBukti", K::Text},    {"Tgl_Potong", K::Date},
    {"INVOICE", K::Text},    {"MS_PAJAK", K::Integer}, {"TH_PAJAK", K::Integer},
    {"KD_PEMBETULAN_KE", K::Integer},
    KORVANE_SECTOR_LINE(1),  KORVANE_SECTOR_LINE(2),  KORVANE_SECTOR_LINE(3),
    KORVANE_SECTOR_LINE(4),  KORVANE_SECTOR_LINE(5),  KORVANE_SECTOR_LINE(6),
    KORVANE_SECTOR_LINE(7),  KORVANE_SECTOR_LINE(8),  KORVANE_SECTOR_LINE(9),
    KORVANE_SECTOR_LINE(10), KORVANE_SECTOR_LINE(11),
    {"JmlB3", K::Number},    {"JmlB6", K::Number},
};
#undef KORVANE_SECTOR_LINE

// Slip list: header with the period's totals, one line per slip.
constexpr FieldDef kSlipList[] = {
    {"npwp", K::Text},       {"NmWP", K::Text},       {"ALM", K::Text},
    {"MS_PAJAK", K::Integer}, {"TH_PAJAK", K::Integer}, {"KD_PEMBETULAN_KE", K::Integer},
    {"TotObjPPh22", K::Number}, {"TotPPh22", K::Number},
};
constexpr FieldDef kSlipListLine[] = {
    {"MS_PAJAK", K::Integer}, {"TH_PAJAK", K::Integer}, {"SEQ", K::Number},
    {"NPWPLT", K::Text},      {"ALMLT", K::Text},       {"NMWPLT", K::Text},
    {"NoBukti", K::Text},     {"TglBukti", K::Date},    {"jmlObjPPh22", K::Number},
    {"PPh22", K::Number},
};

// Oil-and-gas SSP list: one header per commodity, final rows (A5/A6) and not-final rows (B5/B6).
constexpr FieldDef kOilGasList[] = {
    {"npwp", K::Text},       {"NmWP", K::Text},       {"ALM", K::Text},
    {"MS_PAJAK", K::Integer}, {"TH_PAJAK", K::Integer}, {"KD_PEMBETULAN_KE", K::Integer},
    {"PENJUALAN", K::Text},  {"TARIF", K::Number},    {"I5", K::Number},
    {"I6", K::Number},       {"II5", K::Number},      {"II6", K::Number},
};
constexpr FieldDef kOilGasFinalRow[] = {
    {"MS_PAJAK", K::Integer}, {"TH_PAJAK", K::Integer}, {"PENJUALAN", K::Text},
    {"SEQ", K::Number},       {"NPWPLT", K::Text},      {"NMWPLT", K::Text},
    {"ALMLT", K::Text},       {"TGL_PUNGUT", K::Date},  {"A5", K::Number},
    {"A6", K::Number},        {"NTTP", K::Text},
};
constexpr FieldDef kOilGasNotFinalRow[] = {
    {"MS_PAJAK", K::Integer}, {"TH_PAJAK", K::Integer}, {"PENJUALAN", K::Text},
    {"SEQ", K::Number},       {"NPWPLT", K::Text},      {"NMWPLT", K::Text},
    {"ALMLT", K::Text},       {"TGL_PUNGUT", K::Date},  {"B5", K::Number},
    {"B6", K::Number},        {"NTTP", K::Text},
};

// Import SSP lists ("D113203" and "D113203DN" share a layout) and the self-paid list.
constexpr FieldDef kImportList[] = {
    {"npwp", K::Text},       {"NmWP", K::Text},       {"ALM", K::Text},
    {"MS_PAJAK", K::Integer}, {"TH_PAJAK", K::Integer}, {"KD_PEMBETULAN_KE", K::Integer},
    {"JmlPPh", K::Number},
};
constexpr FieldDef kImportListRow[] = {
    {"MS_PAJAK", K::Integer}, {"TH_PAJAK", K::Integer}, {"SEQ", K::Number},
    {"NPWPLT", K::Text},      {"NMWPLT", K::Text},      {"ALMLT", K::Text},
    {"NTTP", K::Text},        {"KETERANGAN", K::Text},  {"JMLBRUTO", K::Number},
    {"PPH", K::Number},
};
constexpr FieldDef kSelfPaidList[] = {
    {"npwp", K::Text},       {"NmWP", K::Text},       {"ALM", K::Text},
    {"MS_PAJAK", K::Integer}, {"TH_PAJAK", K::Integer}, {"KD_PEMBETULAN_KE", K::Integer},
    {"JMLPHSL", K::Number},  {"JmlPPh", K::Number},
};
constexpr FieldDef kSelfPaidListRow[] = {
    {"MS_PAJAK", K::Integer}, {"TH_PAJAK", K::Integer}, {"SEQ", K::Number},
    {"NTTP", K::Text},        {"TGL_BAYAR", K::Date},   {"NoPIB", K::Text},
    {"PHSL", K::Number},      {"PPH", K::Number},
};

// SSP inputs: period (and commodity) first, the NTTP and sequence followed by one more field.
constexpr FieldDef kOilGasSsp[] = {
    {"MS_PAJAK", K::Integer}, {"TH_PAJAK", K::Integer}, {"KD_PEMBETULAN_KE", K::Integer},
    {"PENJUALAN", K::Text},   {"npwp", K::Text},        {"NmWP", K::Text},
    {"ALM", K::Text},         {"NPWPLT", K::Text},      {"NMWPLT", K::Text},
    {"ALMLT", K::Text},       {"TGL_PUNGUT", K::Date},  {"JMLBRUTO", K::Number},
    {"PPH", K::Number},       {"NTTP", K::Text},        {"SEQ", K::Number},
    {"INVOICE", K::Text},
};
constexpr FieldDef kImportSsp[] = {
    {"MS_PAJAK", K::Integer}, {"TH_PAJAK", K::Integer}, {"KD_PEMBETULAN_KE", K::Integer},
    {"npwp", K::Text},        {"NmWP", K::Text},        {"ALM", K::Text},
    {"NPWPLT", K::Text},      {"NMWPLT", K::Text},      {"ALMLT", K::Text},
    {"TGL_PUNGUT", K::Date},  {"A13", K::Number},       {"A14", K::Number},
    {"A23", K::Number},       {"A24", K::Number},       {"JMLBRUTO", K::Number},
    {"PPH", K::Number},       {"NTTP", K::Text},        {"SEQ", K::Number},
    {"keterangan", K::Text},
};
constexpr FieldDef kSelfPaidSsp[] = {
    {"MS_PAJAK", K::Integer}, {"TH_PAJAK", K::Integer}, {"KD_PEMBETULAN_KE", K::Integer},
    {"npwp", K::Text},        {"NmWP", K::Text},        {"ALM", K::Text},
    {"NPWPLT", K::Text},      {"NMWPLT", K::Text},      {"ALMLT", K::Text},
    {"TGL_PUNGUT", K::Date},  {"JMLBRUTO", K::Number},  {"PPH", K::Number},
    {"NTTP", K::Text},        {"SEQ", K::Number},       {"NoPIB", K::Text},
};

struct FormFields {
  std::string_view formCode;
  std::span<const FieldDef> fields;
};

constexpr FormFields kForms[] = {
    {"F113202", kMainReturn},
    {"F113303", kSlipF113303},
    {"F113305", kSlipF113305},
    {"F113304", kSlipF113304},
    {"F113304A", kSlipF113304},
    {"F113304S", kSlipF113304},
    {"D113204", kSlipList},
    {"D113204-Coll", kSlipListLine},
    {"D113202", kOilGasList},
    {"D113202-CollA", kOilGasFinalRow},
    {"D113202-CollB", kOilGasNotFinalRow},
    {"D113203", kImportList},
    {"D113203DN", kImportList},
    {"D113203-Coll", kImportListRow},
    {"DImporDbyrSdr", kSelfPaidList},
    {"DImporDbyrSdr-Coll", kSelfPaidListRow},
    {"PPh22MigasFinal", kOilGasSsp},
    {"PPh22MigasTdkFinal", kOilGasSsp},
    {"PPh22Impor", kImportSsp},
    {"PPh22", kImportSsp},
    {"PPh22ImporDbyrSdr", kSelfPaidSsp},
};

const FormFields* findForm(std::string_view formCode) noexcept {
  for (const auto& form : kForms) {
    if (form.formCode == formCode) return &form;
  }
  return nullptr;
}

constexpr auto sameName = equalsIgnoringCase;

Variant readField(std::string_view text, FieldKind kind) {
  if (text.empty()) return Null;
  switch (kind) {
    case K::Text:
      return Variant(text);
    case K::Number: {
      double number;
      if (parseNumber(text, number)) return Variant(number);
      return Variant(text);
    }
    case K::Integer: {
      double number;
      if (parseNumber(text, number) && number == Int(number) && number >= -32768 &&
          number <= 32767) {
        return Variant(static_cast<std::int16_t>(number));
      }
      if (parseNumber(text, number)) return Variant(number);
      return Variant(text);
    }
    case K::Date: {
      Date date;
      if (Date::tryParse(text, date)) return Variant(date);
      return Variant(text);
    }
  }
  return Variant(text);
}

// Key fields of a field list that a row's own columns can complete.
struct KeySource {
  std::string_view field;
  std::string_view column;
};
constexpr KeySource kKeySources[] = {
    {"npwp", "NPWP"},         {"MS_PAJAK", "MS_PAJAK"},
    {"TH_PAJAK", "TH_PAJAK"}, {"KD_PEMBETULAN_KE", "KD_PEMBETULAN_KE"},
    {"NoBukti", "NOBUKTI"},   {"NTTP", "NOBUKTI"},
    {"SEQ", "SEQ"},
};

}  // namespace

std::span<const FieldDef> fieldList(std::string_view formCode) {
  if (auto form = findForm(formCode)) return form->fields;
  throw Error(errc::kUnknownForm, "No field list for form code \"" + std::string(formCode) + "\".");
}

bool hasFieldList(std::string_view formCode) noexcept { return findForm(formCode) != nullptr; }

void FieldTextCompanion::setCredentials(const std::string& dataSource, const std::string& userId,
                                        const std::string& password) {
  dataSource_ = dataSource;
  userId_ = userId;
  password_ = password;
}

bool FieldTextCompanion::fits(std::string_view formCode, std::string_view packed) const {
  auto form = findForm(formCode);
  if (!form) return false;
  auto fields = static_cast<std::size_t>(std::count(packed.begin(), packed.end(), ';')) + 1;
  return fields <= form->fields.size();
}

PackedFieldReader::PackedFieldReader(std::string_view formCode,
                                     std::span<const std::string_view> names) {
  auto fields = fieldList(formCode);
  for (std::size_t slot = 0; slot < names.size(); ++slot) {
    auto field = std::find_if(fields.begin(), fields.end(),
                              [&](const FieldDef& f) { return sameName(f.name, names[slot]); });
    if (field == fields.end()) {
      throw Error(errc::kItemNotFound,
                  "Item cannot be found in the collection corresponding to the requested name or "
                  "ordinal.");
    }
    wanted_.push_back({static_cast<std::size_t>(field - fields.begin()), slot, field->kind});
  }
  std::sort(wanted_.begin(), wanted_.end(),
            [](const Wanted& a, const Wanted& b) { return a.field < b.field; });
}

void PackedFieldReader::read(std::string_view packed, std::span<Variant> out) const {
  std::size_t field = 0;
  std::string_view rest = packed;
  for (const auto& wanted : wanted_) {
    for (; field < wanted.field && !rest.empty(); ++field) {
      auto end = rest.find(';');
      rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
    field = wanted.field;
    out[wanted.slot] = readField(rest.substr(0, rest.find(';')), wanted.kind);
  }
}

namespace {

// The column names of a form's field rows, made once for every list.
const std::vector<std::string>& columnNames(std::span<const FieldDef> fields) {
  static const auto made = [] {
    std::map<const FieldDef*, std::vector<std::string>> names;
    for (const auto& form : kForms) {
      auto& list = names[form.fields.data()];
      if (list.empty()) {
        for (const auto& field : form.fields) list.emplace_back(field.name);
      }
    }
    return names;
  }();
  return made.at(fields.data());
}

}  // namespace

PackedRowReader::PackedRowReader(std::string_view formCode, const Recordset& rows)
    : fields_(fieldList(formCode)), rows_(rows) {
  auto datForm = rows.columnIndex("DAT_FORM");
  if (datForm < 0) {
    throw Error(errc::kItemNotFound,
                "Item cannot be found in the collection corresponding to the requested name or "
                "ordinal.");
  }
  datForm_ = static_cast<std::size_t>(datForm);
  // Which key fields this list has, and where the rows keep them.
  for (const auto& source : kKeySources) {
    auto column = rows.columnIndex(source.column);
    if (column < 0) continue;
    for (std::size_t f = 0; f < fields_.size(); ++f) {
      if (sameName(fields_[f].name, source.field)) {
        keys_.emplace_back(f, static_cast<std::size_t>(column));
      }
    }
  }
}

long PackedRowReader::fieldIndex(std::string_view name) const {
  for (std::size_t f = 0; f < fields_.size(); ++f) {
    if (sameName(fields_[f].name, name)) return static_cast<long>(f);
  }
  return -1;
}

void PackedRowReader::read(std::size_t row, std::vector<Variant>& values,
                           const std::vector<bool>* wanted) const {
  values.assign(fields_.size(), Variant());
  const auto isWanted = [&](std::size_t f) { return !wanted || (*wanted)[f]; };
  const auto& packedValue = rows_.cell(row, datForm_);
  std::string copy;
  std::string_view rest = packedValue.textView(copy);
  for (std::size_t f = 0; f < fields_.size(); ++f) {
    auto end = rest.find(';');
    if (isWanted(f)) values[f] = readField(rest.substr(0, end), fields_[f].kind);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
  }
  for (const auto& [field, column] : keys_) {
    if (!isWanted(field) || !values[field].isNull()) continue;
    const auto& key = rows_.cell(row, column);
    if (key.isNull() || key.isEmpty() || key.text() == "-") continue;
    values[field] = readField(key.text(), fields_[field].kind);
  }
}

RecordsetPtr FieldTextCompanion::unpack(std::string_view formCode, const RecordsetPtr& rows) const {
  auto result = std::make_shared<Recordset>(columnNames(fieldList(formCode)));
  if (!rows) return result;
  const PackedRowReader reader(formCode, *rows);
  std::vector<Variant> values;
  for (long r = 0; r < rows->RecordCount(); ++r) {
    reader.read(static_cast<std::size_t>(r), values);
    result->appendRow(std::move(values));
  }
  result->MoveFirst();
  return result;
}

std::string FieldTextCompanion::pack(const RecordsetPtr& fields) const {
  if (!fields) {
    throw Error(errc::kInvalidProcedureCall, "Object variable not set: no field recordset.");
  }
  std::vector<Variant> values;
  values.reserve(fields->columnCount());
  for (std::size_t c = 0; c < fields->columnCount(); ++c) values.push_back(fields->current(c));
  return join(values);
}

std::string FieldTextCompanion::join(std::span<const Variant> values) {
  std::string out;
  bool first = true;
  for (const auto& value : values) {
    if (!first) out += ';';
    first = false;
    out += value.text();
  }
  return out;
}

}  // namespace korvane
