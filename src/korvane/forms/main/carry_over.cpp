// Carrying a period into its next correction, or from a former taxpayer number to the new one:
// every header is copied with its packed text re-stamped, every attachment row as it stands.
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/store/companion.hpp"
#include "korvane/store/connection.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/recordset.hpp"
#include "korvane/store/sql.hpp"
#include "korvane/store/text.hpp"
#include "korvane/store/variant.hpp"

namespace korvane {
namespace {

using Codes = std::span<const std::string_view>;

// The four copies differ only in their tables and form lists. The lists differ on purpose
// (F113305 goes only to a new taxpayer, D113203DN and PPh22 only to a new correction, PPh22 without
// its attachments) and are kept as they are.
struct CarryOver {
  std::string_view headerTable;
  std::string_view attachmentTable;
  Codes headerForms;
  Codes attachmentForms;
  bool paymentSlips;  // headers narrowed by their packed text too, attachments by SEQ
};

constexpr std::string_view kForms[] = {"F113202", "D113204",  "F113303",
                                       "F113304", "F113304S", "F113304A"};
constexpr std::string_view kFormsOldKpp[] = {"F113202",  "D113204",  "F113303", "F113304",
                                             "F113304S", "F113304A", "F113305"};
constexpr std::string_view kSspHeaders[] = {
    "PPh22MigasFinal",    "D113202",    "D113203", "D113203DN",    "PPh22ImporDbyrSdr",
    "PPh22MigasTdkFinal", "PPh22Impor", "PPh22",   "DImporDbyrSdr"};
constexpr std::string_view kSspAttachments[] = {
    "PPh22MigasFinal",    "D113202",    "D113203",      "D113203DN", "PPh22ImporDbyrSdr",
    "PPh22MigasTdkFinal", "PPh22Impor", "DImporDbyrSdr"};
constexpr std::string_view kSspOldKpp[] = {
    "PPh22MigasFinal",    "D113202",    "D113203",      "PPh22ImporDbyrSdr",
    "PPh22MigasTdkFinal", "PPh22Impor", "DImporDbyrSdr"};

constexpr CarryOver kCopyAllData{"DS_FORM_INDUK", "DS_FORM_LAMPIRAN", kForms, kForms, false};
constexpr CarryOver kCopyAllDataOldKpp{"DS_FORM_INDUK", "DS_FORM_LAMPIRAN", kFormsOldKpp,
                                       kFormsOldKpp, false};
constexpr CarryOver kCopyAllDataSsp{"DAT_SSP_PPh22", "LAMPIRAN_SSP_PPh22", kSspHeaders,
                                    kSspAttachments, true};
constexpr CarryOver kCopyAllDataSspOldKpp{"DAT_SSP_PPh22", "LAMPIRAN_SSP_PPh22", kSspOldKpp,
                                          kSspOldKpp, true};

enum class Kind { Text, Number };
struct Column {
  std::string_view name;
  Kind kind;
};
// Insertion order of the two header tables and of the two attachment tables.
constexpr Column kHeaderColumns[] = {
    {"NPWP", Kind::Text},       {"KD_FORM", Kind::Text},        {"JENIS_DOKUMEN", Kind::Text},
    {"MS_PAJAK", Kind::Number}, {"TH_PAJAK", Kind::Number},     {"KD_PEMBETULAN_KE", Kind::Number},
    {"NOBUKTI", Kind::Text},    {"KD_JENIS_PAJAK", Kind::Text}, {"DAT_FORM", Kind::Text},
    {"TGL_REKAM", Kind::Text},  {"TGL_UBAH", Kind::Text},       {"NIP", Kind::Text},
};
constexpr Column kAttachmentColumns[] = {
    {"KD_FORM", Kind::Text},    {"MS_PAJAK", Kind::Number},
    {"TH_PAJAK", Kind::Number}, {"KD_PEMBETULAN_KE", Kind::Number},
    {"COLLNO", Kind::Number},   {"SEQ", Kind::Number},
    {"NOBUKTI", Kind::Text},    {"DAT_FORM", Kind::Text},
};

// A value that replaces the source row's own in the copy.
struct Replacement {
  std::string_view column;
  Variant value;
};

std::string upper(std::string_view value) { return upperAscii(value); }

// "(KD_FORM = 'F113202' OR KD_FORM = 'D113204' ...)".
std::string formList(Codes forms) {
  std::string out = "(";
  for (std::size_t i = 0; i < forms.size(); ++i) {
    if (i > 0) out += " OR ";
    out += "KD_FORM = " + sql::text(forms[i]);
  }
  return out + ")";
}

// One "field = literal" term of a row's key, written as the Filter term that would narrow the
// source to it: a quote inside a literal is doubled, and a Null field reads as Null.
std::string textTerm(std::string_view field, const Variant& value) {
  if (value.isNull()) return std::string(field) + " = Null";
  std::string literal;
  for (char c : value.text()) {
    literal += c;
    if (c == '\'') literal += '\'';
  }
  return std::string(field) + " = '" + literal + "'";
}

std::string numberTerm(std::string_view field, const Variant& value) {
  if (value.isNull()) return std::string(field) + " = Null";
  return std::string(field) + " = " + numberText(value.toDouble());
}

// The three slip variants share one packed layout, read under "F113304".
std::string_view readAs(std::string_view formCode) {
  if (formCode == "F113304S" || formCode == "F113304A") return "F113304";
  return formCode;
}

// INSERT INTO <table> VALUES ( ... ) from the current row, in the table's column order.
std::string insertStatement(std::string_view table, std::span<const Column> columns, Recordset& row,
                            std::span<const Replacement> replacements) {
  std::string values;
  for (const auto& column : columns) {
    Variant value = row.Fields(column.name).Value();
    for (const auto& replacement : replacements) {
      if (replacement.column == column.name) value = replacement.value;
    }
    if (!values.empty()) values += ", ";
    values += column.kind == Kind::Text ? sql::text(value.text()) : sql::number(value.toDouble());
  }
  return "INSERT INTO " + std::string(table) + " VALUES ( " + values + " )";
}

// What the copy needs of the object it runs for: its store and its companion.
struct StoreAccess {
  std::function<RecordsetPtr(const std::string&)> open;
  std::function<void(const std::string&)> execute;
  const FieldTextCompanion& companion;
};

// The next correction number, a 16-bit integer like the period key itself: 32767 has none.
Variant nextCorrection(std::int16_t correction) {
  return Variant(Variant(static_cast<int>(correction) + 1).toInt16());
}

// Walks the source once and groups its rows by their key, keeping the order in which keys are
// first met and the rows' order within a key: each key's rows are copied together, as narrowing
// the source by the key would give them, and every source row is copied once.
void copyByKey(const RecordsetPtr& rows, const std::function<std::string(Recordset&)>& keyOf,
               const std::function<void(std::span<const std::size_t>)>& copyRows) {
  std::unordered_map<std::string, std::size_t> groupOf;
  std::vector<std::vector<std::size_t>> groups;
  const auto total = static_cast<std::size_t>(rows->RecordCount());
  if (total > 0) rows->MoveFirst();
  for (std::size_t i = 0; i < total; ++i, rows->MoveNext()) {
    const auto [found, added] = groupOf.try_emplace(upper(keyOf(*rows)), groups.size());
    if (added) groups.emplace_back();
    groups[found->second].push_back(i);
  }
  for (const auto& group : groups) copyRows(group);
}

// Positions the source on its row at `index`.
void moveTo(Recordset& rows, std::size_t index) {
  rows.MoveFirst();
  rows.Move(static_cast<long>(index));
}

long fieldPosition(const PackedRowReader& reader, std::string_view name) {
  const long position = reader.fieldIndex(name);
  if (position < 0) {
    throw Error(errc::kItemNotFound,
                "Item cannot be found in the collection corresponding to the requested name or "
                "ordinal.");
  }
  return position;
}

// A header is found again by its form and number; a payment slip also by its packed text, and
// an oil-and-gas list header, one per sales category, by its document kind as well.
std::string headerKey(Recordset& row, bool paymentSlips) {
  const Variant form = row.Fields("KD_FORM").Value();
  std::string key =
      textTerm("KD_FORM", form) + " AND " + textTerm("NOBUKTI", row.Fields("NOBUKTI").Value());
  if (paymentSlips) {
    if (form.text() == "D113202") {
      key += " AND " + textTerm("JENIS_DOKUMEN", row.Fields("JENIS_DOKUMEN").Value());
    }
    key += " AND " + textTerm("DAT_FORM", row.Fields("DAT_FORM").Value());
  }
  return key;
}

std::string attachmentKey(Recordset& row, bool paymentSlips) {
  std::string key = textTerm("KD_FORM", row.Fields("KD_FORM").Value()) + " AND " +
                    numberTerm("COLLNO", row.Fields("COLLNO").Value());
  if (paymentSlips) key += " AND " + numberTerm("SEQ", row.Fields("SEQ").Value());
  return key;
}

// Headers first, each with its packed text re-stamped with the new correction (and taxpayer);
// then the attachment rows as they stand under the new correction. The attachment rows are
// taken for every taxpayer and tax kind of the period, as they always have been.
void copyPeriod(const StoreAccess& store, const CarryOver& variant, const std::string& sourceNpwp,
                const std::optional<std::string>& newNpwp, const std::string& kdJnsPjk,
                std::int16_t month, std::int16_t year, std::int16_t correction) {
  const Variant next = nextCorrection(correction);
  const std::string period = " AND MS_PAJAK = " + sql::number(month) +
                             " AND TH_PAJAK = " + sql::number(year) +
                             " AND KD_PEMBETULAN_KE = " + sql::number(correction);

  auto headers =
      store.open("SELECT * FROM " + std::string(variant.headerTable) + " WHERE " +
                 formList(variant.headerForms) + " AND NPWP = " + sql::text(sourceNpwp) + period +
                 " AND KD_JENIS_PAJAK = " + sql::text(kdJnsPjk) + " ORDER BY KD_FORM ASC");
  std::vector<Variant> fields;
  copyByKey(
      headers, [&](Recordset& row) { return headerKey(row, variant.paymentSlips); },
      [&](std::span<const std::size_t> group) {
        moveTo(*headers, group.front());
        const std::string form = headers->Fields("KD_FORM").Value().text();
        const PackedRowReader reader(readAs(form), *headers);
        const auto correctionField =
            static_cast<std::size_t>(fieldPosition(reader, "KD_PEMBETULAN_KE"));
        const long npwpField = newNpwp ? fieldPosition(reader, "npwp") : -1;
        for (const std::size_t row : group) {
          reader.read(row, fields);
          fields[correctionField] = next;
          std::vector<Replacement> copy{{"KD_PEMBETULAN_KE", next}};
          if (newNpwp) {
            fields[static_cast<std::size_t>(npwpField)] = Variant(*newNpwp);
            copy.push_back({"NPWP", Variant(*newNpwp)});
          }
          copy.push_back({"DAT_FORM", Variant(FieldTextCompanion::join(fields))});
          moveTo(*headers, row);
          store.execute(insertStatement(variant.headerTable, kHeaderColumns, *headers, copy));
        }
      });

  auto attachments =
      store.open("SELECT * FROM " + std::string(variant.attachmentTable) + " WHERE " +
                 formList(variant.attachmentForms) + period + " ORDER BY KD_FORM ASC");
  const Replacement copy[] = {{"KD_PEMBETULAN_KE", next}};
  copyByKey(
      attachments, [&](Recordset& row) { return attachmentKey(row, variant.paymentSlips); },
      [&](std::span<const std::size_t> group) {
        for (const std::size_t row : group) {
          moveTo(*attachments, row);
          store.execute(
              insertStatement(variant.attachmentTable, kAttachmentColumns, *attachments, copy));
        }
      });
}

// The copy inserts row by row as it always has, but inside one transaction: for a period of a
// hundred thousand rows a commit per row would cost more than the rows. A failure part-way
// commits what was copied before it, since rows inserted before a failing insert remain.
void inOneTransaction(store::Connection& connection, const std::function<void()>& copy) {
  connection.begin();
  try {
    copy();
  } catch (...) {
    try {
      connection.commit();
    } catch (...) {
      connection.rollback();
    }
    throw;
  }
  connection.commit();
}

}  // namespace

void CF113202::pCopyAllData(const std::string& sNPWP, const std::string& skdJnsPjk,
                            std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq) {
  reported([&] {
    inOneTransaction(*connection(), [&] {
      copyPeriod({[this](const std::string& sql) { return open(sql); },
                  [this](const std::string& sql) { execute(sql); }, companion()},
                 kCopyAllData, sNPWP, std::nullopt, skdJnsPjk, iMsPjk, iThPjk, iCorrSeq);
    });
  });
}

void CF113202::pCopyAllDataSSP(const std::string& sNPWP, const std::string& skdJnsPjk,
                               std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq) {
  reported([&] {
    inOneTransaction(*connection(), [&] {
      copyPeriod({[this](const std::string& sql) { return open(sql); },
                  [this](const std::string& sql) { execute(sql); }, companion()},
                 kCopyAllDataSsp, sNPWP, std::nullopt, skdJnsPjk, iMsPjk, iThPjk, iCorrSeq);
    });
  });
}

void CF113202::pCopyAllDataOldKPP(const std::string& sNpwpOld, const std::string& sNpwpNew,
                                  const std::string& skdJnsPjk, std::int16_t iMsPjk,
                                  std::int16_t iThPjk, std::int16_t iCorrSeq) {
  reported([&] {
    inOneTransaction(*connection(), [&] {
      copyPeriod({[this](const std::string& sql) { return open(sql); },
                  [this](const std::string& sql) { execute(sql); }, companion()},
                 kCopyAllDataOldKpp, sNpwpOld, sNpwpNew, skdJnsPjk, iMsPjk, iThPjk, iCorrSeq);
    });
  });
}

void CF113202::pCopyAllDataSSPOldKPP(const std::string& sNpwpOld, const std::string& sNpwpNew,
                                     const std::string& skdJnsPjk, std::int16_t iMsPjk,
                                     std::int16_t iThPjk, std::int16_t iCorrSeq) {
  reported([&] {
    inOneTransaction(*connection(), [&] {
      copyPeriod({[this](const std::string& sql) { return open(sql); },
                  [this](const std::string& sql) { execute(sql); }, companion()},
                 kCopyAllDataSspOldKpp, sNpwpOld, sNpwpNew, skdJnsPjk, iMsPjk, iThPjk, iCorrSeq);
    });
  });
}

// The tax office's payment records of one form kind, carried to the next correction. The
// payment date goes back in as DATEVALUE; KODEPASAL is not carried.
void CF113202::pCopySSP(const std::string& sKdForm, std::int16_t iMsPjk, std::int16_t iThPjk,
                        std::int16_t iCorrSeq) {
  reported([&] {
    const Variant next = nextCorrection(iCorrSeq);
    auto payments = open("select * from DATSSP where KdJnsForm=" + sql::text(sKdForm) +
                         " and MsPjk=" + sql::number(iMsPjk) + " and ThPjk=" + sql::number(iThPjk) +
                         " and KdPmbtln=" + sql::number(iCorrSeq));
    for (; !payments->EndOfFile(); payments->MoveNext()) {
      auto field = [&](std::string_view name) { return payments->Fields(name).Value(); };
      execute(
          "INSERT INTO DATSSP(NPWP,MSPJK,THPJK,KDMAP,KDJNSSTR,TGLSSP,NTPP,JMLBYR,KdJnsForm,"
          "KdPmbtln) VALUES(" +
          sql::text(field("NPWP").text()) + "," + sql::number(iMsPjk) + "," + sql::number(iThPjk) +
          "," + sql::text(field("KDMAP").text()) + "," + sql::text(field("KDJNSSTR").text()) + "," +
          sql::dateValue(field("TGLSSP").toDate()) + "," + sql::text(field("NTPP").text()) + "," +
          sql::number(field("JMLBYR").toDouble()) + "," + sql::text(field("KdJnsForm").text()) +
          "," + sql::number(next.toInt16()) + ")");
    }
  });
}

}  // namespace korvane
