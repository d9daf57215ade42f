#include "korvane/forms/slips/slip_form.hpp"

#include <vector>
#include <algorithm>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/forms/slips/slip_list.hpp"
#include "korvane/store/general_class.hpp"
#include "korvane/store/sql.hpp"

namespace korvane::slips {
namespace {

constexpr std::int16_t kArticle = 22;

std::string trimBlanks(std::string_view text) {
  auto first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  auto last = text.find_last_not_of(' ');
  return std::string(text.substr(first, last - first + 1));
}

// "column = 'A'" for one form, "column IN ('A', 'B')" for several.
std::string formCondition(std::string_view column, std::span<const std::string_view> forms) {
  std::string condition(column);
  if (forms.size() == 1) return condition + " = " + sql::text(forms.front());
  condition += " IN (";
  for (std::size_t i = 0; i < forms.size(); ++i) {
    if (i > 0) condition += ", ";
    condition += sql::text(forms[i]);
  }
  return condition + ")";
}

// Six digits at least, zero-filled on the left.
std::string zeroFilled(double sequence) {
  std::string digits = numberText(sequence);
  if (digits.size() < 6) digits.insert(0, 6 - digits.size(), '0');
  return digits;
}

std::string period(std::int16_t month, std::int16_t year, std::int16_t correction) {
  return " AND MS_PAJAK = " + sql::number(month) + " AND TH_PAJAK = " + sql::number(year) +
         " AND KD_PEMBETULAN_KE = " + sql::number(correction);
}

}  // namespace

// Properties ----------------------------------------------------------------------------------

Variant SlipForm::aNPWP() {
  return reported(Variant(), [&] { return value("npwp"); });
}
void SlipForm::aNPWP(const Variant& value) {
  reported([&] { store("npwp", value); });
}
void SlipForm::aNMWPLT(const std::string& value) {
  reported([&] { store("NMWPLT", value); });
}
void SlipForm::aALMLT(const std::string& value) {
  reported([&] { store("ALMLT", value); });
}
void SlipForm::aNoBukti(const Variant& value) {
  reported([&] { store("NoBukti", value); });
}
void SlipForm::aINVOICE(const Variant& value) {
  reported([&] { store("INVOICE", value); });
}

// Field helpers -------------------------------------------------------------------------------

Variant SlipForm::value(std::string_view field) const { return formField(field).Value(); }

void SlipForm::store(std::string_view field, const Variant& value) {
  formField(field).Value(value);
}

double SlipForm::amount(const Variant& value) {
  return value.isNull() || value.isEmpty() ? 0.0 : value.toDouble();
}

Variant SlipForm::percentOf(const Variant& base, const Variant& rate, double multiplier) {
  if (base.isNull() || rate.isNull()) return Null;
  return base.toDouble() * rate.toDouble() / 100 * multiplier;
}

bool SlipForm::withoutNpwp(std::string_view npwplt) {
  return trimBlanks(npwplt.substr(0, 9)) == "000000000";
}

// Up to 2008 a party without NPWP paid the ordinary rate; the doubling begins with 2009.
void SlipForm::storeCollectedParty(const std::string& npwplt) {
  store("NPWPLT", npwplt);
  collectedPartyMonth_ = value("MS_PAJAK").toInt16();
  collectedPartyYear_ = value("TH_PAJAK").toInt16();
  nonNpwpMultiplier_ = collectedPartyYear_ > 2008 && withoutNpwp(npwplt) ? 2.0 : 1.0;
}

Variant SlipForm::oldValue(std::string_view field) const {
  const auto& names = variant_.rememberedFields;
  auto it = std::find(names.begin(), names.end(), field);
  auto index = static_cast<std::size_t>(it - names.begin());
  if (it == names.end() || index >= oldValues_.size()) return Null;
  return oldValues_[index];
}

double SlipForm::change(std::string_view field) const {
  if (adding() || editing()) return amount(value(field)) - oldAmount(field);
  return -oldAmount(field);
}

void SlipForm::adjustMainReturn(CF113202& /*mainReturn*/) {}

// Loading and remembering ---------------------------------------------------------------------

void SlipForm::pAssignOldValues() {
  reported([&] {
    const Variant number = value("NoBukti");
    std::vector<Variant> remembered;
    for (auto field : variant_.rememberedFields) remembered.push_back(value(field));
    oldNumber_ = number.isNull() ? "-" : number.text();
    oldValues_ = std::move(remembered);
  });
}

// The header row inserted here has an empty packed text: loading completes the slip's
// identity and period from the row's own columns. Name and address have no column of a slip
// header and are not stored; the date given becomes TGL_REKAM.
void SlipForm::createHeader(const std::string& sNPWP, const std::string& snmForm,
                            const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                            std::int16_t iCorrSeq, const std::string& sNoBukti,
                            const std::string& sJnsPjk, const Date& recorded) {
  const std::string key =
      " WHERE NPWP = " + sql::text(sNPWP) + " AND KD_FORM = " + sql::text(snmForm) +
      " AND JENIS_DOKUMEN = " + sql::text(sJnsDok) + period(iMsPjk, iThPjk, iCorrSeq) +
      " AND NOBUKTI = " + sql::text(sNoBukti) + " AND KD_JENIS_PAJAK = " + sql::text(sJnsPjk);
  if (exists("SELECT * FROM DS_FORM_INDUK" + key)) return;
  execute("INSERT INTO DS_FORM_INDUK VALUES (" + sql::text(sNPWP) + ", " + sql::text(snmForm) +
          ", " + sql::text(sJnsDok) + ", " + sql::number(iMsPjk) + ", " + sql::number(iThPjk) +
          ", " + sql::number(iCorrSeq) + ", " + sql::text(sNoBukti) + ", " + sql::text(sJnsPjk) +
          ", '', " + sql::text(recorded.text()) + ")");
}

// The NPWP takes no part in finding the slip.
void SlipForm::loadHeader(const std::string& snmForm, const std::string& sJnsDok,
                          std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                          const std::string& sNoBukti, const std::string& sJnsPjk) {
  auto header =
      open("SELECT * FROM DS_FORM_INDUK WHERE KD_FORM = " + sql::text(snmForm) +
           " AND JENIS_DOKUMEN = " + sql::text(sJnsDok) + period(iMsPjk, iThPjk, iCorrSeq) +
           " AND NOBUKTI = " + sql::text(sNoBukti) + " AND KD_JENIS_PAJAK = " + sql::text(sJnsPjk));
  rs22Form(companion().unpack(variant_.formCode, header));
}

void SlipForm::pGetBukti(const std::string& sNPWP, const std::string& NoBukti, std::int16_t iMsPjk,
                         std::int16_t iThPjk, std::int16_t Pembetulan) {
  reported([&] {
    auto header = open(
        "SELECT * FROM DS_FORM_INDUK WHERE NPWP = " + sql::text(sNPWP) + " AND " +
        formCondition("KD_FORM", variant_.lookupForms) + " AND NOBUKTI = " + sql::text(NoBukti) +
        " AND KD_PEMBETULAN_KE = " + sql::number(Pembetulan) +
        " AND MS_PAJAK = " + sql::number(iMsPjk) + " AND TH_PAJAK = " + sql::number(iThPjk));
    rs22Form(companion().unpack(variant_.formCode, header));
  });
}

// Rates and numbers ---------------------------------------------------------------------------

void SlipForm::getTaxRate() {
  reported([&] {
    for (auto field : variant_.ratesClearedFirst) store(field, 0.0);
    auto rates =
        open("SELECT * FROM SETTING_TARIF_PPH WHERE PASAL = 22 AND " +
             formCondition("KODE_FORM", variant_.rateForms) + " ORDER BY ITEM_PENGHASILAN ASC");
    auto item = rates->Fields("ITEM_PENGHASILAN");
    auto rate = rates->Fields("TARIF_JML_BRUTO");
    for (rates->MoveFirst(); !rates->EndOfFile(); rates->MoveNext()) {
      const std::string key = item.Value().text();
      for (const auto& rateKey : variant_.rateKeys) {
        if (key != rateKey.item) continue;
        for (auto field : rateKey.fields) store(field, rate.Value());
      }
    }
  });
}

// One query and one walk: the numbers arrive in ascending order, and among numbers of one
// length and one suffix text order is number order, so the candidate only ever moves up past
// the numbers that are taken.
std::string SlipForm::getNoBuktiHdr(std::int16_t iThPjk, std::int16_t iKdPembetulan) {
  return reported(std::string(), [&] {
    double lastIssued = 0;
    std::string format;
    auto counter = open("SELECT * FROM SETTING_NOBUKTI_PPH WHERE PASAL = " + sql::number(kArticle));
    if (counter->RecordCount() == 1) {
      const Variant noUrut = counter->Fields("NO_URUT").Value();
      lastIssued =
          noUrut.isNull() ? noUrut.toDouble() : Variant(trimBlanks(noUrut.text())).toDouble();
      format = trimBlanks(counter->Fields("FORMAT_STRING").Value().text());
    }
    auto numbers =
        open("SELECT NOBUKTI FROM DS_FORM_INDUK WHERE TH_PAJAK = " + sql::number(iThPjk) +
             " AND KD_PEMBETULAN_KE = " + sql::number(iKdPembetulan) + " AND " +
             formCondition("KD_FORM", variant_.numberSequenceForms) + " ORDER BY NOBUKTI ASC");
    double candidate = lastIssued + 1;
    auto nobukti = numbers->Fields("NOBUKTI");
    for (numbers->MoveFirst(); !numbers->EndOfFile(); numbers->MoveNext()) {
      const std::string number = nobukti.Value().text();
      if (number.empty() || number == "-" || number == "TempleteKodeNoBukti") continue;
      if (number.size() != format.size() + 6 || number.compare(6, std::string::npos, format) != 0) {
        continue;
      }
      double sequence = 0;
      if (!parseNumber(std::string_view(number).substr(0, 6), sequence)) continue;
      if (sequence == candidate) candidate += 1;
    }
    return zeroFilled(candidate) + format;
  });
}

RecordsetPtr SlipForm::pCheckNoBukti(const std::string& sNPWP, std::int16_t iThPjk,
                                     const std::string& strBukti, std::int16_t iKdPembetulan) {
  return reported(RecordsetPtr(), [&] {
    const std::string taxpayer =
        variant_.numberCheckPerTaxpayer ? "NPWP = " + sql::text(sNPWP) + " AND " : "";
    return open("SELECT NOBUKTI FROM DS_FORM_INDUK WHERE " + taxpayer + "NOBUKTI = " +
                sql::text(strBukti) + " AND KD_PEMBETULAN_KE = " + sql::number(iKdPembetulan) +
                " AND TH_PAJAK = " + sql::number(iThPjk) + " AND KD_JENIS_PAJAK = '112' AND " +
                formCondition("KD_FORM", variant_.numberSequenceForms));
  });
}

// Saving --------------------------------------------------------------------------------------

SlipForm::ListLine SlipForm::listLine() const {
  ListLine line{};
  for (auto field : variant_.baseFields) line.base += amount(value(field));
  line.tax = amount(value(variant_.taxField));
  line.key = value("MS_PAJAK").text() + ";" + value("TH_PAJAK").text();
  line.text = value("NPWPLT").text() + ";" + value("ALMLT").text() + ";" + value("NMWPLT").text() +
              ";" + value("NoBukti").text() + ";" + value(variant_.slipDateField).text() + ";" +
              numberText(line.base) + ";" + numberText(line.tax);
  return line;
}

void SlipForm::pUpdate(std::int16_t /*MasaPajak*/, const std::string& /*TahunPajak*/,
                       const std::string& /*Pembetulan*/) {
  reported([&] {
    // What the list will receive as statement text is checked before the first write, so a
    // refused value leaves the store as it was instead of a slip without its line.
    for (auto field : {std::string_view("NPWPLT"), std::string_view("ALMLT"),
                       std::string_view("NMWPLT"), std::string_view("NoBukti")}) {
      sql::inner(value(field).text());
    }

    const std::int16_t month = value("MS_PAJAK").toInt16();
    const std::int16_t year = value("TH_PAJAK").toInt16();
    const std::int16_t correction = value("KD_PEMBETULAN_KE").toInt16();
    auto header =
        open("SELECT * FROM DS_FORM_INDUK WHERE KD_FORM = " + sql::text(variant_.formCode) +
             " AND JENIS_DOKUMEN = " + sql::text(variant_.documentKind) +
             period(month, year, correction) + " AND NOBUKTI = " + sql::text(oldNumber_) +
             " AND KD_JENIS_PAJAK = '112'");
    const std::string packed = companion().pack(rs22Form());
    const std::string today = Date::today().text();
    if (header->BOF() && header->EndOfFile()) {
      header->AddNew();
      header->Fields("NPWP").Value(value("npwp"));
      header->Fields("KD_FORM").Value(variant_.formCode);
      header->Fields("JENIS_DOKUMEN").Value(variant_.documentKind);
      header->Fields("MS_PAJAK").Value(month);
      header->Fields("TH_PAJAK").Value(year);
      header->Fields("KD_PEMBETULAN_KE").Value(correction);
      header->Fields("KD_JENIS_PAJAK").Value("112");
      header->Fields("TGL_REKAM").Value(today);
    } else {
      header->Fields("TGL_UBAH").Value(today);
      header->Fields("NIP").Value("");
    }
    header->Fields("DAT_FORM").Value(packed);
    header->Fields("NOBUKTI").Value(value("NoBukti"));
    header->Update();
    header->Requery();

    CGeneralClass general;
    general.attach(*this);
    general.pUpdateNoNuktiHdr(kArticle, value("NoBukti").text());

    pUpdD113204();
    pUpdF113202();
  });
}

// The line is written on every save but a deletion: an edit adds the slip's line again, and
// the totals move by the change only.
void SlipForm::pUpdD113204() {
  reported([&] {
    const ListLine line = listLine();
    const std::string npwp = value("npwp").text();
    const std::int16_t month = value("MS_PAJAK").toInt16();
    const std::int16_t year = value("TH_PAJAK").toInt16();
    const std::int16_t correction = value("KD_PEMBETULAN_KE").toInt16();

    cd113204 list;
    list.attach(*this);
    if (!deleting()) {
      list.pCreateD113204Br(npwp, month, year, correction, line.key, line.text,
                            value("NoBukti").text());
    }
    list.pGetD113204Induk(npwp, month, year, correction);
    if (!adding() && !editing()) {
      list.pAssignStatus(false, false, true);
      list.pHitungPajak(line.base, line.tax);
    } else {
      double oldBase = 0;
      for (auto field : variant_.baseFields) oldBase += oldAmount(field);
      list.pAssignStatus(adding(), editing(), false);
      list.pHitungPajak(line.base - oldBase, line.tax - oldAmount(variant_.taxField));
    }
    list.pUpdate();
  });
}

// A main return whose lines were never computed holds them empty; they count as 0 here.
void SlipForm::pUpdF113202() {
  reported([&] {
    CF113202 mainReturn;
    mainReturn.attach(*this);
    mainReturn.pGetF113202(value("npwp").text(), value("MS_PAJAK").toInt16(),
                           value("TH_PAJAK").toInt16(), value("KD_PEMBETULAN_KE").toInt16());
    auto form = mainReturn.rs22Form();
    for (const auto& line : variant_.mainReturnLines) {
      double moved = 0;
      for (const auto& term : line.terms) moved += term.sign * change(term.field);
      auto field = form->Fields(line.mainField);
      field.Value(amount(field.Value()) + moved);
    }
    adjustMainReturn(mainReturn);
    std::vector<std::pair<Field, Variant>> printed;
    for (auto name : variant_.mainReturnTextFields) {
      auto field = form->Fields(name);
      printed.emplace_back(field, field.Value());
    }
    mainReturn.pHitPjk3202(0);
    for (auto& [field, text] : printed) field.Value(text);
    mainReturn.pUpdate();
  });
}

// Deleting ------------------------------------------------------------------------------------

void SlipForm::pDelete(const std::string& sNPWP, const std::string& snmForm,
                       const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                       std::int16_t iCorrSeq, const std::string& sNoBukti,
                       const std::string& sJnsPjk, const std::string& /*sUserName*/,
                       const std::string& /*sNmWP*/, const std::string& /*sAlamat*/,
                       const Date& /*dTgl_Setor*/) {
  reported([&] {
    const std::string key =
        " WHERE NPWP = " + sql::text(sNPWP) + " AND KD_FORM = " + sql::text(snmForm) +
        " AND JENIS_DOKUMEN = " + sql::text(sJnsDok) + period(iMsPjk, iThPjk, iCorrSeq) +
        " AND NOBUKTI = " + sql::text(sNoBukti) + " AND KD_JENIS_PAJAK = " + sql::text(sJnsPjk);
    if (exists("SELECT * FROM DS_FORM_INDUK" + key)) execute("DELETE * FROM DS_FORM_INDUK" + key);
  });
}

// The slip is loaded first so that the list and the main return lose exactly its amounts.
void SlipForm::deleteSlip(const std::string& sNPWP, std::int16_t iMsPjk, std::int16_t iThPjk,
                          std::int16_t iCorrSeq, const std::string& sNoBukti) {
  const std::string key = " WHERE NPWP = " + sql::text(sNPWP) +
                          " AND KD_FORM = " + sql::text(variant_.formCode) +
                          " AND JENIS_DOKUMEN = " + sql::text(variant_.documentKind) +
                          period(iMsPjk, iThPjk, iCorrSeq) +
                          " AND NOBUKTI = " + sql::text(sNoBukti) + " AND KD_JENIS_PAJAK = '112'";
  auto header = open("SELECT * FROM DS_FORM_INDUK" + key);
  rs22Form(companion().unpack(variant_.formCode, header));
  pAssignOldValues();
  pAssignStatus(false, false, true);
  execute("DELETE * FROM DS_FORM_INDUK" + key);

  cd113204 list;
  list.attach(*this);
  list.pDeleteD113204Coll("D113204", iMsPjk, iThPjk, iCorrSeq, sNoBukti, 0);

  pUpdD113204();
  pUpdF113202();
}

}  // namespace korvane::slips
