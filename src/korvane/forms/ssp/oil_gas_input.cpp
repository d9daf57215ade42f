#include "korvane/forms/ssp/oil_gas_input.hpp"

#include "korvane/forms/ssp/oil_gas_list.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/sql.hpp"

namespace korvane {
namespace ssp {
namespace {

constexpr std::string_view kOldValues[] = {"NTTP", "PENJUALAN", "JMLBRUTO", "PPH", "SEQ"};
constexpr std::string_view kZeroWhenNull[] = {"JMLBRUTO", "PPH"};

constexpr ReturnLine kFinalLines[] = {{"B6a3", "JMLBRUTO"}, {"B6a4", "PPH"}};
constexpr ReturnLine kNotFinalLines[] = {{"B6b3", "JMLBRUTO"}, {"B6b4", "PPH"}};

constexpr SspRoute kFinalRoutes[] = {
    {"PPh22MigasFinal", "05", "D113202", 0, kFinalLines, true},
};
constexpr SspRoute kNotFinalRoutes[] = {
    {"PPh22MigasTdkFinal", "06", "D113202", 1, kNotFinalLines, true},
};

// The final class loads its slip without an NPWP condition, the not-final one with it; both
// stay as they have always been.
constexpr OilGasVariant kMigasFinal{
    {kFinalRoutes, false, false, true, false, true, kOldValues, kZeroWhenNull},
    &CD113202::pJmlPajakFinal};
constexpr OilGasVariant kMigasTdkFinal{
    {kNotFinalRoutes, false, true, true, false, true, kOldValues, kZeroWhenNull},
    &CD113202::pJmlPajakTdkFinal};

}  // namespace

OilGasInput::OilGasInput(const OilGasVariant& variant)
    : SspInput(variant.frame), oilGas_(variant) {}

void OilGasInput::pAssignOldValues() {
  reported([&] { rememberOldValues(); });
}

void OilGasInput::pCreateHdr(const std::string& sNPWP, const std::string& snmForm,
                             const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                             std::int16_t iCorrSeq, const std::string& sNoBukti,
                             const std::string& sJnsPjk, const std::string& sNmWP,
                             const std::string& sAlamat, const Date& dTgl_Setor,
                             const std::string& strPenjualan, const std::string& strJenisWP) {
  reported([&] {
    createSlip(sNPWP, snmForm, sJnsDok, iMsPjk, iThPjk, iCorrSeq, sNoBukti, sJnsPjk, sNmWP, sAlamat,
               dTgl_Setor, strPenjualan, strJenisWP);
  });
}

void OilGasInput::pGet(const std::string& sNPWP, const std::string& snmForm,
                       const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                       std::int16_t iCorrSeq, const std::string& sNoBukti,
                       const std::string& sJnsPjk, const std::string& /*sNmWP*/,
                       const std::string& /*sAlamat*/, const Date& /*dTgl_Setor*/, double dSeq,
                       const std::string& strPenjualan) {
  reported([&] {
    SlipKey key;
    key.month = iMsPjk;
    key.year = iThPjk;
    key.correction = iCorrSeq;
    key.commodity = strPenjualan;
    key.nttp = sNoBukti;
    key.seq = dSeq;
    openSlip(sNPWP, snmForm, sJnsDok, sNoBukti, sJnsPjk, key);
  });
}

void OilGasInput::pUpdate() {
  reported([&] {
    saveSlip();
    pUpdD113202();
    pUpdF113202();
  });
}

void OilGasInput::pUpdD113202() {
  reported([&] {
    const auto profile = readProfile();
    const auto key = currentKey();
    CD113202 list;
    list.attach(*this);
    bool headerExists = false;
    list.pCheckHdr(profile.npwp, key.month, key.year, key.correction, key.commodity, headerExists);
    if (!headerExists) {
      list.pCreateHdrInduk(key.month, key.year, key.correction, key.commodity, profile.npwp,
                           profile.address, profile.name, Date::today());
    }
    const double gross = amount("JMLBRUTO");
    const double tax = amount("PPH");
    if (!deleting()) {
      list.pCreateD113202Hdr(key.month, key.year, key.correction, route().listCollection, key.nttp,
                             field("NPWPLT").text(), field("ALMLT").text(), field("NMWPLT").text(),
                             field("TGL_PUNGUT"), key.commodity, gross, tax, key.seq);
    }
    list.pGetD113202Induk(profile.npwp, key.month, key.year, key.correction, key.commodity);
    list.pAssignStatus(adding(), editing(), deleting());

    const auto moveTotals = oilGas_.moveListTotals;
    const double oldGross = oldAmount("JMLBRUTO");
    const double oldTax = oldAmount("PPH");
    const auto oldCommodity = oldValue("PENJUALAN").text();
    const bool moved = editing() && oldCommodity != key.commodity;
    if (adding() || moved) {
      (list.*moveTotals)(gross, tax);
    } else if (editing()) {
      (list.*moveTotals)(gross - oldGross, tax - oldTax);
    } else if (deleting()) {
      (list.*moveTotals)(oldGross, oldTax);
    }
    list.pUpdate();

    // A slip moved to another commodity leaves its old header.
    if (moved) {
      list.pGetD113202Induk(profile.npwp, key.month, key.year, key.correction, oldCommodity);
      list.pAssignStatus(false, false, true);
      (list.*moveTotals)(oldGross, oldTax);
      list.pUpdate();
    }
  });
}

void OilGasInput::pUpdF113202() {
  reported([&] { adjustMainReturn(); });
}

void OilGasInput::pDelete(const std::string& sNPWP, const std::string& snmForm,
                          const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                          std::int16_t iCorrSeq, const std::string& sNoBukti,
                          const std::string& sJnsPjk) {
  reported(
      [&] { deleteRow(sNPWP, snmForm, sJnsDok, iMsPjk, iThPjk, iCorrSeq, sNoBukti, sJnsPjk); });
}

void OilGasInput::pDeleteForm(const std::string& sNPWP, const std::string& snmForm,
                              const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                              std::int16_t iCorrSeq, const std::string& sNTTP,
                              const std::string& sJnsPjk, const std::string& strPenjualan,
                              double dSeq) {
  reported([&] {
    SlipKey key;
    key.month = iMsPjk;
    key.year = iThPjk;
    key.correction = iCorrSeq;
    key.commodity = strPenjualan;
    key.nttp = sNTTP;
    key.seq = dSeq;
    deleteSlip(sNPWP, snmForm, sJnsDok, sJnsPjk, key);

    CD113202 list;
    list.attach(*this);
    list.pDeleteD113202Coll("D113202", iMsPjk, iThPjk, iCorrSeq, sNTTP, route().listCollection,
                            dSeq);
    pAssignStatus(false, false, true);
    pUpdD113202();
    pUpdF113202();
  });
}

void OilGasInput::pHitPjk(std::int16_t /*nrec*/) {
  reported([&] { zeroNulls(); });
}

void OilGasInput::pCheckNTTP(const std::string& sNPWP, std::int16_t iThPjk,
                             const std::string& strNTTP, std::int16_t iMsPjk,
                             std::int16_t iKdPembetulan, RecordsetPtr& rs) {
  reported([&] { rs = checkNttp(sNPWP, iThPjk, strNTTP, iMsPjk, iKdPembetulan); });
}

void OilGasInput::pGetMaxSeqNo(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t KdP,
                               std::int16_t iCollNo, double& result) {
  reported([&] { result = maxSeqNo(iMsPjk, iThPjk, KdP, iCollNo); });
}

void OilGasInput::getTaxRate() {
  reported([&] {
    commodities_ = open("SELECT * FROM JENIS_KOMODITI WHERE PASAL = 22 ORDER BY KODE_KOMODITI ASC");
  });
}

// The rate is a percentage and the tax is cut down to a whole rupiah. A commodity that is not
// in the table leaves the tax as it was; one without a rate makes it 0.
void OilGasInput::ajmlBruto(double value) {
  reported([&] {
    field("JMLBRUTO", value);
    if (!commodities_) {
      throw Error(errc::kInvalidProcedureCall,
                  "Object variable not set: the commodities have not been opened.");
    }
    commodities_->Filter("NAMA_KOMODITI = " + sql::text(field("PENJUALAN").text()));
    if (!commodities_->EndOfFile()) {
      const auto rate = commodities_->Fields("TARIF_NETTO").Value();
      aPPH(rate.isNull() ? 0.0 : Int(value * rate.toDouble() * 0.01));
    }
    commodities_->Filter("");
  });
}

void OilGasInput::aPPH(double value) {
  reported([&] { field("PPH", value); });
}

Variant OilGasInput::aTGL_PUNGUT() {
  return reported(Variant(), [&] { return field("TGL_PUNGUT"); });
}

void OilGasInput::aTGL_PUNGUT(const Variant& value) {
  reported([&] { field("TGL_PUNGUT", value); });
}

void OilGasInput::aNPWPLT(const Variant& value) {
  reported([&] { field("NPWPLT", value); });
}

void OilGasInput::aNMWPLT(const Variant& value) {
  reported([&] { field("NMWPLT", value); });
}

void OilGasInput::aALMLT(const Variant& value) {
  reported([&] { field("ALMLT", value); });
}

void OilGasInput::aNTTP(const Variant& value) {
  reported([&] { field("NTTP", value); });
}

std::string OilGasInput::aALM() {
  return reported(std::string(), [&] { return field("ALM").text(); });
}

void OilGasInput::aALM(const std::string& value) {
  reported([&] { field("ALM", value); });
}

Variant OilGasInput::aNPWP() {
  return reported(Variant(), [&] { return field("npwp"); });
}

void OilGasInput::aNPWP(const Variant& value) {
  reported([&] { field("npwp", value); });
}

Variant OilGasInput::aNMWP() {
  return reported(Variant(), [&] { return field("NmWP"); });
}

void OilGasInput::aNMWP(const Variant& value) {
  reported([&] { field("NmWP", value); });
}

std::string OilGasInput::aPenjualan() {
  return reported(std::string(), [&] { return field("PENJUALAN").text(); });
}

void OilGasInput::aPenjualan(const std::string& value) {
  reported([&] { field("PENJUALAN", value); });
}

void OilGasInput::aINVOICE(const Variant& value) {
  reported([&] { field("INVOICE", value); });
}

void OilGasInput::aSEQ(double value) {
  reported([&] { field("SEQ", value); });
}

}  // namespace ssp

CInputMigasFinal::CInputMigasFinal() : OilGasInput(ssp::kMigasFinal) {}

CInputMigasTdkFinal::CInputMigasTdkFinal() : OilGasInput(ssp::kMigasTdkFinal) {}

}  // namespace korvane
