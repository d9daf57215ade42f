#include "korvane/forms/ssp/ssp_input.hpp"

#include <algorithm>
#include <cctype>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/store/companion.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/sql.hpp"
#include "korvane/store/text.hpp"

namespace korvane::ssp {
namespace {

// A buyer without a tax number.
constexpr std::string_view kNoBuyerNpwp = "000000000000000";

constexpr auto sameName = equalsIgnoringCase;

double numeric(const Variant& value) {
  return value.isNull() || value.isEmpty() ? 0.0 : value.toDouble();
}

// The eight key columns, each term in parentheses (the delete statements' form).
std::string parenthesisedKeys(const std::string& npwp, const std::string& form,
                              const std::string& document, std::int16_t month, std::int16_t year,
                              std::int16_t correction, const std::string& noBukti,
                              const std::string& taxKind) {
  return "(NPWP = " + sql::text(npwp) + ") AND (KD_FORM = " + sql::text(form) +
         ") AND (JENIS_DOKUMEN = " + sql::text(document) +
         ") AND (MS_PAJAK = " + sql::number(month) + ") AND (TH_PAJAK = " + sql::number(year) +
         ") AND (KD_PEMBETULAN_KE = " + sql::number(correction) +
         ") AND (NOBUKTI = " + sql::text(noBukti) +
         ") AND (KD_JENIS_PAJAK = " + sql::text(taxKind) + ")";
}

std::string periodAndCodes(const std::string& form, const std::string& document, std::int16_t month,
                           std::int16_t year, std::int16_t correction) {
  return "KD_FORM = " + sql::text(form) + " AND JENIS_DOKUMEN = " + sql::text(document) +
         " AND MS_PAJAK = " + sql::number(month) + " AND TH_PAJAK = " + sql::number(year) +
         " AND KD_PEMBETULAN_KE = " + sql::number(correction);
}

}  // namespace

std::string packByName(std::string_view formCode,
                       std::initializer_list<std::pair<std::string_view, Variant>> values) {
  auto fields = fieldList(formCode);
  std::vector<Variant> row(fields.size(), Variant(Null));
  for (const auto& [name, value] : values) {
    auto it = std::find_if(fields.begin(), fields.end(),
                           [&](const FieldDef& f) { return sameName(f.name, name); });
    if (it == fields.end()) {
      throw Error(errc::kItemNotFound, "Form \"" + std::string(formCode) + "\" has no field \"" +
                                           std::string(name) + "\".");
    }
    row[static_cast<std::size_t>(it - fields.begin())] = value;
  }
  return FieldTextCompanion::join(row);
}

SspInput::SspInput(const SspInputVariant& variant)
    : variant_(variant),
      route_(&variant.routes.front()),
      oldValues_(variant.oldValueFields.size()) {}

void SspInput::selectRoute(std::string_view formCode) {
  for (const auto& candidate : variant_.routes) {
    if (candidate.formCode == formCode) {
      route_ = &candidate;
      return;
    }
  }
  throw Error(errc::kInvalidProcedureCall, "Invalid procedure call: \"" + std::string(formCode) +
                                               "\" is not a kind of SSP this input edits.");
}

std::string SspInput::formCode(const std::string& argument) {
  if (!variant_.codesFromArguments) return std::string(route().formCode);
  selectRoute(argument);
  return argument;
}

std::string SspInput::documentKind(const std::string& argument) {
  return variant_.codesFromArguments ? argument : std::string(route().documentKind);
}

double SspInput::amount(std::string_view name) const { return numeric(field(name)); }

SlipKey SspInput::currentKey() const {
  SlipKey key;
  key.month = field("MS_PAJAK").toInt16();
  key.year = field("TH_PAJAK").toInt16();
  key.correction = field("KD_PEMBETULAN_KE").toInt16();
  if (variant_.commodityInKey) key.commodity = field("PENJUALAN").text();
  if (variant_.buyerInKeyWithoutNpwp) {
    key.buyerNpwp = field("NPWPLT").text();
    key.buyerName = field("NMWPLT").text();
    key.buyerAddress = field("ALMLT").text();
  }
  key.nttp = field("NTTP").text();
  key.seq = amount("SEQ");
  return key;
}

// The period cannot change; the other pieces are the ones the slip had when it was loaded.
SlipKey SspInput::oldKey() const {
  SlipKey key;
  key.month = field("MS_PAJAK").toInt16();
  key.year = field("TH_PAJAK").toInt16();
  key.correction = field("KD_PEMBETULAN_KE").toInt16();
  if (variant_.commodityInKey) key.commodity = oldOrCurrent("PENJUALAN");
  if (variant_.buyerInKeyWithoutNpwp) {
    if (oldBuyer_ && !adding()) {
      key.buyerNpwp = (*oldBuyer_)[0];
      key.buyerName = (*oldBuyer_)[1];
      key.buyerAddress = (*oldBuyer_)[2];
    } else {
      key.buyerNpwp = field("NPWPLT").text();
      key.buyerName = field("NMWPLT").text();
      key.buyerAddress = field("ALMLT").text();
    }
  }
  key.nttp = oldValue("NTTP").text();
  key.seq = oldAmount("SEQ");
  return key;
}

std::string SspInput::oldOrCurrent(std::string_view name) const {
  const auto& names = variant_.oldValueFields;
  auto it = std::find_if(names.begin(), names.end(),
                         [&](std::string_view n) { return sameName(n, name); });
  return it == names.end() ? field(name).text() : oldValue(name).text();
}

void SspInput::rememberOldValues(std::span<const std::string_view> only) {
  if (variant_.buyerInKeyWithoutNpwp) {
    oldBuyer_ = {field("NPWPLT").text(), field("NMWPLT").text(), field("ALMLT").text()};
  }
  for (std::size_t i = 0; i < variant_.oldValueFields.size(); ++i) {
    const auto name = variant_.oldValueFields[i];
    if (!only.empty() && std::none_of(only.begin(), only.end(),
                                      [&](std::string_view n) { return sameName(n, name); })) {
      continue;
    }
    auto value = field(name);
    if (sameName(name, "NTTP") && value.isNull()) value = "-";
    oldValues_[i] = value;
  }
}

Variant SspInput::oldValue(std::string_view name) const {
  for (std::size_t i = 0; i < variant_.oldValueFields.size(); ++i) {
    if (sameName(variant_.oldValueFields[i], name)) return oldValues_[i];
  }
  throw Error(errc::kItemNotFound, "No old value is kept for \"" + std::string(name) + "\".");
}

// Before pAssignOldValues the old amounts are 0: what a slip being added had before.
double SspInput::oldAmount(std::string_view name) const { return numeric(oldValue(name)); }

// Period values each followed by ";" (and the commodity where the kind has one), then "%;",
// the NTTP and ";", the sequence and ";". A buyer without a tax number adds name and address.
std::string SspInput::keyPattern(const SlipKey& key) const {
  std::string pattern = sql::number(key.month) + ";" + sql::number(key.year) + ";" +
                        sql::number(key.correction) + ";";
  if (variant_.commodityInKey) pattern += sql::inner(key.commodity) + ";";
  if (variant_.buyerInKeyWithoutNpwp && key.buyerNpwp == kNoBuyerNpwp) {
    pattern += "%;" + sql::inner(key.buyerName) + ";" + sql::inner(key.buyerAddress) + ";";
  }
  return pattern + "%;" + sql::inner(key.nttp) + ";" + sql::number(key.seq) + ";";
}

Profile SspInput::readProfile() const {
  auto rs = open("SELECT NPWP,NAMA_WP_PROFILE,ALAMAT FROM DAT_PROFILE");
  if (rs->EndOfFile()) return {};
  return {rs->Fields("NPWP").Value().text(), rs->Fields("NAMA_WP_PROFILE").Value().text(),
          rs->Fields("ALAMAT").Value().text()};
}

std::string SspInput::profileNpwp(const std::string& query) const {
  auto rs = open(query);
  return rs->EndOfFile() ? std::string() : rs->Fields("NPWP").Value().text();
}

std::string SspInput::keyCondition(const std::string& npwp, const std::string& form,
                                   const std::string& document, const std::string& taxKind,
                                   const SlipKey& key) const {
  return "NPWP = " + sql::text(npwp) + " AND " +
         periodAndCodes(form, document, key.month, key.year, key.correction) +
         " AND NOBUKTI = " + sql::text(key.nttp) + " AND KD_JENIS_PAJAK = " + sql::text(taxKind) +
         " AND DAT_FORM LIKE '%" + keyPattern(key) + "%'";
}

void SspInput::createSlip(const std::string& sNPWP, const std::string& snmForm,
                          const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                          std::int16_t iCorrSeq, const std::string& sNoBukti,
                          const std::string& sJnsPjk, const std::string& sNmWP,
                          const std::string& sAlamat, const Date& dTgl_Setor,
                          const std::string& strPenjualan, const std::string& strJenisWP) {
  const auto form = formCode(snmForm);
  const auto document = documentKind(sJnsDok);
  if (exists("SELECT * FROM DAT_SSP_PPh22 WHERE NPWP = " + sql::text(sNPWP) + " AND " +
             periodAndCodes(form, document, iMsPjk, iThPjk, iCorrSeq) + " AND NOBUKTI = " +
             sql::text(sNoBukti) + " AND KD_JENIS_PAJAK = " + sql::text(sJnsPjk))) {
    return;
  }
  // A collector's slip carries its identity; anyone else's leaves those fields empty. Amounts
  // and the sequence start at 0, so a new slip is found again with sequence 0.
  const bool identity = !variant_.identityByTaxpayerKind || strJenisWP == "Pemungut";
  std::vector<Variant> values;
  for (const auto& f : fieldList(form)) {
    const auto name = f.name;
    if (sameName(name, "MS_PAJAK")) {
      values.emplace_back(iMsPjk);
    } else if (sameName(name, "TH_PAJAK")) {
      values.emplace_back(iThPjk);
    } else if (sameName(name, "KD_PEMBETULAN_KE")) {
      values.emplace_back(iCorrSeq);
    } else if (sameName(name, "PENJUALAN")) {
      values.emplace_back(strPenjualan);
    } else if (sameName(name, "npwp")) {
      values.emplace_back(identity ? sNPWP : "");
    } else if (sameName(name, "NmWP")) {
      values.emplace_back(identity ? sNmWP : "");
    } else if (sameName(name, "ALM")) {
      values.emplace_back(identity ? sAlamat : "");
    } else if (sameName(name, "NTTP")) {
      values.emplace_back(sNoBukti);
    } else if (f.kind == FieldKind::Number) {
      values.emplace_back(0);
    } else {
      values.emplace_back("");
    }
  }
  const auto date = sql::text(dTgl_Setor.text());
  execute("INSERT INTO DAT_SSP_PPh22 VALUES (" + sql::text(sNPWP) + ", " + sql::text(form) + ", " +
          sql::text(document) + ", " + sql::number(iMsPjk) + ", " + sql::number(iThPjk) + ", " +
          sql::number(iCorrSeq) + ", " + sql::text(sNoBukti) + ", " + sql::text(sJnsPjk) + ", " +
          sql::text(FieldTextCompanion::join(values)) + ", " + date + ", " + date + ", '')");
}

void SspInput::openSlip(const std::string& sNPWP, const std::string& snmForm,
                        const std::string& sJnsDok, const std::string& sNoBukti,
                        const std::string& sJnsPjk, const SlipKey& key) {
  const auto form = formCode(snmForm);
  const auto document = documentKind(sJnsDok);
  SlipKey byNumber = key;
  byNumber.nttp = sNoBukti;
  rs22Hdr(open("SELECT * FROM DAT_SSP_PPh22 WHERE " +
               (variant_.npwpInLoad ? "NPWP = " + sql::text(sNPWP) + " AND " : std::string()) +
               periodAndCodes(form, document, key.month, key.year, key.correction) +
               " AND NOBUKTI = " + sql::text(sNoBukti) + " AND KD_JENIS_PAJAK = " +
               sql::text(sJnsPjk) + " AND DAT_FORM LIKE '%" + keyPattern(byNumber) + "%'"));
  rs22Form(companion().unpack(form, rs22Hdr()));
  oldBuyer_.reset();
}

void SspInput::zeroNulls(std::span<const std::string_view> only) {
  for (auto name : only.empty() ? variant_.zeroWhenNull : only) {
    const auto value = field(name);
    if (value.isNull() || value.isEmpty()) field(name, 0.0);
  }
}

void SspInput::saveSlip(const std::string& profileQuery) {
  const std::string form(route().formCode);
  const std::string document(route().documentKind);
  const auto condition = keyCondition(field("npwp").text(), form, document, "112", oldKey());
  const auto datForm = companion().pack(rs22Form());
  const auto nttp = field("NTTP").text();

  auto stored = open("SELECT * FROM DAT_SSP_PPh22 WHERE " + condition);
  // A slip whose row pCreateHdr already made is written into that row, not added twice.
  if (adding() && stored->EndOfFile()) {
    const auto npwp = profileNpwp(profileQuery);
    const auto today = Date::today().text();
    stored->AddNew();
    stored->Fields("NPWP").Value(npwp);
    stored->Fields("KD_FORM").Value(form);
    stored->Fields("JENIS_DOKUMEN").Value(document);
    stored->Fields("MS_PAJAK").Value(field("MS_PAJAK"));
    stored->Fields("TH_PAJAK").Value(field("TH_PAJAK"));
    stored->Fields("KD_PEMBETULAN_KE").Value(field("KD_PEMBETULAN_KE"));
    stored->Fields("KD_JENIS_PAJAK").Value("112");
    stored->Fields("TGL_REKAM").Value(today);
    stored->Fields("TGL_UBAH").Value(today);
    stored->Fields("NIP").Value("-");
    stored->Fields("DAT_FORM").Value(datForm);
    stored->Fields("NOBUKTI").Value(nttp);
    stored->UpdateBatch();
    return;
  }
  // A changed NTTP, commodity or sequence moves the row to its new key.
  execute("UPDATE DAT_SSP_PPh22 SET NOBUKTI = " + sql::text(nttp) +
          ", DAT_FORM = " + sql::text(datForm) + " WHERE " + condition);
}

void SspInput::deleteRow(const std::string& sNPWP, const std::string& snmForm,
                         const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                         std::int16_t iCorrSeq, const std::string& sNoBukti,
                         const std::string& sJnsPjk) {
  const auto condition = parenthesisedKeys(sNPWP, formCode(snmForm), documentKind(sJnsDok), iMsPjk,
                                           iThPjk, iCorrSeq, sNoBukti, sJnsPjk);
  if (exists("SELECT * FROM DAT_SSP_PPh22 WHERE " + condition)) {
    execute("DELETE * FROM DAT_SSP_PPh22 WHERE " + condition);
  }
}

void SspInput::deleteSlip(const std::string& sNPWP, const std::string& snmForm,
                          const std::string& sJnsDok, const std::string& sJnsPjk,
                          const SlipKey& key, std::span<const std::string_view> oldValues) {
  const auto form = formCode(snmForm);
  const auto document = documentKind(sJnsDok);
  rs22Hdr(open("SELECT * FROM DAT_SSP_PPh22 WHERE " +
               keyCondition(sNPWP, form, document, sJnsPjk, key)));
  rs22Form(companion().unpack(form, rs22Hdr()));
  // The list and the return lose what the slip had; a slip that is not there fails here.
  rememberOldValues(oldValues);
  if (!rs22Hdr()->EndOfFile()) {
    execute("DELETE * FROM DAT_SSP_PPh22 WHERE " +
            parenthesisedKeys(sNPWP, form, document, key.month, key.year, key.correction, key.nttp,
                              sJnsPjk) +
            " AND (DAT_FORM LIKE '%" + keyPattern(key) + "%')");
  }
}

RecordsetPtr SspInput::checkNttp(const std::string& sNPWP, std::int16_t iThPjk,
                                 const std::string& strNTTP, std::int16_t iMsPjk,
                                 std::int16_t iKdPembetulan) {
  return open("SELECT NOBUKTI FROM DAT_SSP_PPh22 WHERE NPWP = " + sql::text(sNPWP) +
              " AND NOBUKTI = " + sql::text(strNTTP) +
              " AND KD_PEMBETULAN_KE = " + sql::number(iKdPembetulan) +
              " AND MS_PAJAK = " + sql::number(iMsPjk) + " AND TH_PAJAK = " + sql::number(iThPjk) +
              " AND KD_JENIS_PAJAK = '112' AND KD_FORM = " + sql::text(route().formCode));
}

double SspInput::maxSeqNo(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t KdP,
                          std::int16_t iCollNo) {
  auto rs =
      open("SELECT MAX(SEQ) AS MaxOfSeqNo FROM LAMPIRAN_SSP_PPh22 WHERE MS_PAJAK = " +
           sql::number(iMsPjk) + " AND TH_PAJAK = " + sql::number(iThPjk) +
           " AND KD_PEMBETULAN_KE = " + sql::number(KdP) + " AND COLLNO = " + sql::number(iCollNo) +
           " GROUP BY KD_FORM HAVING (KD_FORM=" + sql::text(route().listForm) + ")");
  if (rs->EndOfFile()) return 0;
  return rs->Fields("MaxOfSeqNo").Value().toDouble() + 1;
}

void SspInput::adjustMainReturn(const SspRoute& moved) {
  const auto npwp = profileNpwp();
  const auto key = currentKey();
  CF113202 mainReturn;
  mainReturn.attach(*this);
  mainReturn.pGetF113202(npwp, key.month, key.year, key.correction);
  auto lines = mainReturn.rs22Form();
  if (!lines) {
    throw Error(errc::kInvalidProcedureCall,
                "Object variable not set: the main return has not been loaded.");
  }
  // New minus old; on deletion the new amounts count as 0. On adding the old ones are 0.
  for (const auto& line : moved.returnLines) {
    auto column = lines->Fields(line.returnColumn);
    const double stored = numeric(column.Value());
    if (deleting()) {
      column.Value(stored - oldAmount(line.slipField));
    } else if (adding() || editing()) {
      column.Value(stored - oldAmount(line.slipField) + amount(line.slipField));
    }
  }
  if (moved.countsInReturn) {
    auto count = lines->Fields("c2");
    if (adding()) count.Value(numeric(count.Value()) + 1);
    if (deleting()) count.Value(numeric(count.Value()) - 1);
  }
  mainReturn.pHitPjk3202(1);
  mainReturn.pUpdate();
}

}  // namespace korvane::ssp
