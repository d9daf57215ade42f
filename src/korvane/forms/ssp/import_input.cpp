#include "korvane/forms/ssp/import_input.hpp"

#include "korvane/forms/ssp/import_list.hpp"
#include "korvane/store/error.hpp"

namespace korvane {
namespace ssp {
namespace {

constexpr std::string_view kImportOldValues[] = {"NTTP", "PPH", "JMLBRUTO", "SEQ",
                                                 "A13",  "A23", "A14",      "A24"};
constexpr std::string_view kShortOldValues[] = {"NTTP", "PPH", "JMLBRUTO", "SEQ"};
constexpr std::string_view kImportZeroWhenNull[] = {"A13", "A14", "A23", "A24", "JMLBRUTO", "PPH"};
constexpr std::string_view kTotalsZeroWhenNull[] = {"JMLBRUTO", "PPH"};

constexpr ReturnLine kImportLines[] = {
    {"B4a3", "A13"}, {"B4a4", "A14"}, {"B4b3", "A23"}, {"B4b4", "A24"}};
constexpr ReturnLine kOtherLines[] = {{"B33", "JMLBRUTO"}, {"B34", "PPH"}};

constexpr SspRoute kImportRoutes[] = {
    {"PPh22Impor", "10", "D113203", 0, kImportLines, true},
    {"PPh22", "14", "D113203DN", 0, kOtherLines, true},
};
constexpr const SspRoute& kImportRoute = kImportRoutes[0];
constexpr const SspRoute& kOtherRoute = kImportRoutes[1];

constexpr SspRoute kSelfPaidRoutes[] = {
    {"PPh22ImporDbyrSdr", "11", "DImporDbyrSdr", 0, {}, false},
};

// Import slips take their codes from the caller and tell buyers without a tax number apart by
// name and address; a collector's new slip carries his identity.
constexpr SspInputVariant kImport{
    kImportRoutes, true, true, false, true, true, kImportOldValues, kImportZeroWhenNull};
constexpr SspInputVariant kSelfPaid{
    kSelfPaidRoutes, false, true, false, false, false, kShortOldValues, kTotalsZeroWhenNull};

SlipKey slipKey(std::int16_t month, std::int16_t year, std::int16_t correction,
                const std::string& nttp, double seq, const std::string& buyerNpwp = "",
                const std::string& buyerName = "", const std::string& buyerAddress = "") {
  SlipKey key;
  key.month = month;
  key.year = year;
  key.correction = correction;
  key.nttp = nttp;
  key.seq = seq;
  key.buyerNpwp = buyerNpwp;
  key.buyerName = buyerName;
  key.buyerAddress = buyerAddress;
  return key;
}

}  // namespace

double ImportSspInput::listMove(std::string_view name) const {
  if (adding()) return amount(name);
  if (editing()) return amount(name) - oldAmount(name);
  if (deleting()) return oldAmount(name);
  return 0;
}

void ImportSspInput::pAssignOldValues() {
  reported([&] { rememberOldValues(); });
}

void ImportSspInput::pHitPjk(std::int16_t /*nrec*/) {
  reported([&] { zeroNulls(); });
}

void ImportSspInput::pDelete(const std::string& sNPWP, const std::string& snmForm,
                             const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                             std::int16_t iCorrSeq, const std::string& sNoBukti,
                             const std::string& sJnsPjk) {
  reported(
      [&] { deleteRow(sNPWP, snmForm, sJnsDok, iMsPjk, iThPjk, iCorrSeq, sNoBukti, sJnsPjk); });
}

void ImportSspInput::pCheckNTTP(const std::string& sNPWP, std::int16_t iThPjk,
                                const std::string& strNTTP, std::int16_t iMsPjk,
                                std::int16_t iKdPembetulan, RecordsetPtr& rs) {
  reported([&] { rs = checkNttp(sNPWP, iThPjk, strNTTP, iMsPjk, iKdPembetulan); });
}

void ImportSspInput::pGetMaxSeqNo(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t KdP,
                                  std::int16_t iCollNo, double& result) {
  reported([&] { result = maxSeqNo(iMsPjk, iThPjk, KdP, iCollNo); });
}

Variant ImportSspInput::aTGL_PUNGUT() {
  return reported(Variant(), [&] { return field("TGL_PUNGUT"); });
}

void ImportSspInput::aTGL_PUNGUT(const Variant& value) {
  reported([&] { field("TGL_PUNGUT", value); });
}

void ImportSspInput::aNPWPLT(const Variant& value) {
  reported([&] { field("NPWPLT", value); });
}

void ImportSspInput::aNMWPLT(const Variant& value) {
  reported([&] { field("NMWPLT", value); });
}

void ImportSspInput::aALMLT(const Variant& value) {
  reported([&] { field("ALMLT", value); });
}

void ImportSspInput::aNTTP(const Variant& value) {
  reported([&] { field("NTTP", value); });
}

void ImportSspInput::ajmlBruto(double value) {
  reported([&] { field("JMLBRUTO", value); });
}

void ImportSspInput::aPPH(double value) {
  reported([&] { field("PPH", value); });
}

std::string ImportSspInput::aALM() {
  return reported(std::string(), [&] { return field("ALM").text(); });
}

void ImportSspInput::aALM(const std::string& value) {
  reported([&] { field("ALM", value); });
}

Variant ImportSspInput::aNPWP() {
  return reported(Variant(), [&] { return field("npwp"); });
}

void ImportSspInput::aNPWP(const Variant& value) {
  reported([&] { field("npwp", value); });
}

Variant ImportSspInput::aNMWP() {
  return reported(Variant(), [&] { return field("NmWP"); });
}

void ImportSspInput::aNMWP(const Variant& value) {
  reported([&] { field("NmWP", value); });
}

void ImportSspInput::aSEQ(double value) {
  reported([&] { field("SEQ", value); });
}

}  // namespace ssp

// ---- CInputPPh22Impor --------------------------------------------------------------------------

CInputPPh22Impor::CInputPPh22Impor() : ImportSspInput(ssp::kImport) {}

void CInputPPh22Impor::pCheckNTTP(const std::string& sNPWP, std::int16_t iThPjk,
                                  const std::string& strNTTP, std::int16_t iMsPjk,
                                  std::int16_t iKdPembetulan, RecordsetPtr& rs,
                                  const std::string& snmForm) {
  reported([&] {
    selectRoute(snmForm);
    rs = checkNttp(sNPWP, iThPjk, strNTTP, iMsPjk, iKdPembetulan);
  });
}

void CInputPPh22Impor::pGetMaxSeqNo(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t KdP,
                                    std::int16_t iCollNo, double& result,
                                    const std::string& snmForm) {
  reported([&] {
    selectRoute(snmForm);
    result = maxSeqNo(iMsPjk, iThPjk, KdP, iCollNo);
  });
}

void CInputPPh22Impor::pAssignOldValues_PPh() {
  reported([&] { rememberOldValues(ssp::kShortOldValues); });
}

void CInputPPh22Impor::pCreateHdr(const std::string& sNPWP, const std::string& snmForm,
                                  const std::string& sJnsDok, std::int16_t iMsPjk,
                                  std::int16_t iThPjk, std::int16_t iCorrSeq,
                                  const std::string& sNoBukti, const std::string& sJnsPjk,
                                  const std::string& sNmWP, const std::string& sAlamat,
                                  const Date& dTgl_Setor, const std::string& strPenjualan,
                                  const std::string& strJenisWP) {
  reported([&] {
    createSlip(sNPWP, snmForm, sJnsDok, iMsPjk, iThPjk, iCorrSeq, sNoBukti, sJnsPjk, sNmWP, sAlamat,
               dTgl_Setor, strPenjualan, strJenisWP);
  });
}

void CInputPPh22Impor::pCreatePPhImporHdr(const std::string& sNPWP, const std::string& snmForm,
                                          const std::string& sJnsDok, std::int16_t iMsPjk,
                                          std::int16_t iThPjk, std::int16_t iCorrSeq,
                                          const std::string& sNoBukti, const std::string& sJnsPjk,
                                          const std::string& sNmWP, const std::string& sAlamat,
                                          const Date& dTgl_Setor, const std::string& strPenjualan,
                                          const std::string& strJenisWP) {
  reported([&] {
    createSlip(sNPWP, snmForm, sJnsDok, iMsPjk, iThPjk, iCorrSeq, sNoBukti, sJnsPjk, sNmWP, sAlamat,
               dTgl_Setor, strPenjualan, strJenisWP);
  });
}

void CInputPPh22Impor::pGet(const std::string& sNPWP, const std::string& snmForm,
                            const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                            std::int16_t iCorrSeq, const std::string& sNoBukti,
                            const std::string& sJnsPjk, const std::string& /*sNmWP*/,
                            const std::string& /*sAlamat*/, const Date& /*dTgl_Setor*/, double dSeq,
                            const std::string& /*strPenjualan*/, const std::string& sNPWPLT,
                            const std::string& sNmWPLT, const std::string& sAlmLT) {
  reported([&] {
    openSlip(sNPWP, snmForm, sJnsDok, sNoBukti, sJnsPjk,
             ssp::slipKey(iMsPjk, iThPjk, iCorrSeq, sNoBukti, dSeq, sNPWPLT, sNmWPLT, sAlmLT));
  });
}

// The slip's own row, then its list ("D113203" for import slips, "D113203DN" for the others),
// then the main return's lines of its kind.
void CInputPPh22Impor::pUpdate() {
  reported([&] {
    saveSlip("SELECT * FROM DAT_PROFILE");
    pUpdD113203();
    if (route().listForm == ssp::kImportRoute.listForm) {
      pUpdF113202_Impor();
    } else {
      pUpdF113202();
    }
  });
}

void CInputPPh22Impor::pUpdD113203() {
  reported([&] {
    const auto profile = readProfile();
    const auto key = currentKey();
    const std::string listForm(route().listForm);
    CD113203 list;
    list.attach(*this);
    bool headerExists = false;
    list.pCheckHdr(profile.npwp, key.month, key.year, key.correction, listForm, headerExists);
    if (!headerExists) {
      list.pCreateHdrInduk(key.month, key.year, key.correction, profile.npwp, profile.address,
                           profile.name, Date::today(), listForm,
                           std::string(ssp::listDocumentKind(listForm)));
    }
    // The list row's remark column receives the slip's gross amount.
    if (!deleting()) {
      list.pCreateD113203Hdr(key.month, key.year, key.correction, route().listCollection, key.nttp,
                             field("NPWPLT").text(), field("ALMLT").text(), field("NMWPLT").text(),
                             numberText(amount("JMLBRUTO")), amount("PPH"), key.seq, listForm);
    }
    list.pGetD113203Induk(profile.npwp, key.month, key.year, key.correction, listForm);
    list.pAssignStatus(adding(), editing(), deleting());
    list.pJmlPajak(listMove("PPH"));
    list.pUpdate();
  });
}

void CInputPPh22Impor::pUpdF113202_Impor() {
  reported([&] { adjustMainReturn(ssp::kImportRoute); });
}

void CInputPPh22Impor::pUpdF113202() {
  reported([&] { adjustMainReturn(ssp::kOtherRoute); });
}

void CInputPPh22Impor::pDeleteForm(const std::string& sNPWP, const std::string& snmForm,
                                   const std::string& sJnsDok, std::int16_t iMsPjk,
                                   std::int16_t iThPjk, std::int16_t iCorrSeq,
                                   const std::string& sNTTP, const std::string& sJnsPjk,
                                   const std::string& /*strPenjualan*/, double dSeq,
                                   const std::string& sNPWPLT, const std::string& sNmWPLT,
                                   const std::string& sAlmLT) {
  reported([&] {
    // "PPh22" slips take the short old values; they move the return by JMLBRUTO and PPH only.
    const auto oldValues = snmForm == ssp::kOtherRoute.formCode
                               ? std::span<const std::string_view>(ssp::kShortOldValues)
                               : std::span<const std::string_view>();
    deleteSlip(sNPWP, snmForm, sJnsDok, sJnsPjk,
               ssp::slipKey(iMsPjk, iThPjk, iCorrSeq, sNTTP, dSeq, sNPWPLT, sNmWPLT, sAlmLT),
               oldValues);

    CD113203 list;
    list.attach(*this);
    list.pDeleteD113203Coll(std::string(route().listForm), iMsPjk, iThPjk, iCorrSeq, sNTTP,
                            route().listCollection, dSeq, field("NPWPLT").text(),
                            field("NMWPLT").text(), field("ALMLT").text());
    pAssignStatus(false, false, true);
    pUpdD113203();
    if (route().listForm == ssp::kImportRoute.listForm) {
      pUpdF113202_Impor();
    } else {
      pUpdF113202();
    }
  });
}

void CInputPPh22Impor::pHitPjk_PPh(std::int16_t /*nrec*/) {
  reported([&] { zeroNulls(ssp::kTotalsZeroWhenNull); });
}

void CInputPPh22Impor::aA13(double value) {
  reported([&] {
    field("A13", value);
    field("JMLBRUTO", amount("A13") + amount("A23"));
  });
}

void CInputPPh22Impor::aA14(double value) {
  reported([&] {
    field("A14", value);
    field("PPH", amount("A14") + amount("A24"));
  });
}

void CInputPPh22Impor::aA23(double value) {
  reported([&] {
    field("A23", value);
    field("JMLBRUTO", amount("A23") + amount("A13"));
  });
}

void CInputPPh22Impor::aA24(double value) {
  reported([&] {
    field("A24", value);
    field("PPH", amount("A24") + amount("A14"));
  });
}

void CInputPPh22Impor::aKeterangan(const Variant& value) {
  reported([&] { field("keterangan", value); });
}

// ---- CInputPPh22DbyrSdr ------------------------------------------------------------------------

CInputPPh22DbyrSdr::CInputPPh22DbyrSdr() : ImportSspInput(ssp::kSelfPaid) {}

void CInputPPh22DbyrSdr::pCreateHdr(const std::string& sNPWP, const std::string& snmForm,
                                    const std::string& sJnsDok, std::int16_t iMsPjk,
                                    std::int16_t iThPjk, std::int16_t iCorrSeq,
                                    const std::string& sNoBukti, const std::string& sJnsPjk,
                                    const std::string& sNmWP, const std::string& sAlamat,
                                    const Date& dTgl_Setor, const std::string& strJenisWP) {
  reported([&] {
    createSlip(sNPWP, snmForm, sJnsDok, iMsPjk, iThPjk, iCorrSeq, sNoBukti, sJnsPjk, sNmWP, sAlamat,
               dTgl_Setor, "", strJenisWP);
  });
}

void CInputPPh22DbyrSdr::pGet(const std::string& sNPWP, const std::string& snmForm,
                              const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                              std::int16_t iCorrSeq, const std::string& sNoBukti,
                              const std::string& sJnsPjk, const std::string& /*sNmWP*/,
                              const std::string& /*sAlamat*/, const Date& /*dTgl_Setor*/,
                              double dSeq) {
  reported([&] {
    openSlip(sNPWP, snmForm, sJnsDok, sNoBukti, sJnsPjk,
             ssp::slipKey(iMsPjk, iThPjk, iCorrSeq, sNoBukti, dSeq));
  });
}

// The slip's own row and its list; the main return does not count these slips.
void CInputPPh22DbyrSdr::pUpdate() {
  reported([&] {
    saveSlip();
    pUpdD113203();
  });
}

void CInputPPh22DbyrSdr::pUpdD113203() {
  reported([&] {
    const auto profile = readProfile();
    const auto key = currentKey();
    CDPPh22DbyrSdr list;
    list.attach(*this);
    bool headerExists = false;
    list.pCheckHdr(profile.npwp, key.month, key.year, key.correction, headerExists);
    if (!headerExists) {
      list.pCreateHdrInduk(key.month, key.year, key.correction, profile.npwp, profile.address,
                           profile.name, Date::today());
    }
    // The collection date is the payment's date in the list.
    if (!deleting()) {
      list.pCreateD113203Hdr(key.month, key.year, key.correction, route().listCollection, key.nttp,
                             field("TGL_PUNGUT"), field("NoPIB").text(), amount("JMLBRUTO"),
                             amount("PPH"), key.seq);
    }
    list.pGetD113203Induk(profile.npwp, key.month, key.year, key.correction);
    list.pAssignStatus(adding(), editing(), deleting());
    list.pJmlPajak(listMove("JMLBRUTO"), listMove("PPH"));
    list.pUpdate();
  });
}

void CInputPPh22DbyrSdr::pDeleteForm(const std::string& sNPWP, const std::string& snmForm,
                                     const std::string& sJnsDok, std::int16_t iMsPjk,
                                     std::int16_t iThPjk, std::int16_t iCorrSeq,
                                     const std::string& sNTTP, const std::string& sJnsPjk,
                                     double dSeq) {
  reported([&] {
    deleteSlip(sNPWP, snmForm, sJnsDok, sJnsPjk,
               ssp::slipKey(iMsPjk, iThPjk, iCorrSeq, sNTTP, dSeq));
    CDPPh22DbyrSdr list;
    list.attach(*this);
    list.pDeleteD113203Coll(std::string(route().listForm), iMsPjk, iThPjk, iCorrSeq, sNTTP,
                            route().listCollection, dSeq);
    pAssignStatus(false, false, true);
    pUpdD113203();
  });
}

void CInputPPh22DbyrSdr::aNoPIB(const Variant& value) {
  reported([&] { field("NoPIB", value); });
}

}  // namespace korvane
