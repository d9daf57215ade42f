// The import SSP inputs. CInputPPh22Impor edits one SSP of article-22 tax on an import
// ("PPh22Impor": two lines of gross and tax, listed in D113203, moving the main return's lines
// 4a and 4b) or of other article-22 tax ("PPh22": gross and tax as entered, listed in D113203DN,
// moving line 3); the KD_FORM its caller passes picks which. Both count in the return's SSP
// count. CInputPPh22DbyrSdr edits one SSP of import tax that the importer paid himself
// ("PPh22ImporDbyrSdr"): it keeps its list DImporDbyrSdr in step and never touches the return.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "korvane/forms/ssp/ssp_input.hpp"

namespace korvane {
namespace ssp {

// The slip's properties and the plain operations both import inputs share.
class ImportSspInput : public SspInput {
 public:
  void pAssignOldValues();
  void pHitPjk(std::int16_t nrec);
  void pDelete(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
               std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
               const std::string& sNoBukti, const std::string& sJnsPjk);
  // A non-empty rs means the NTTP is already used by this kind of slip in the period.
  void pCheckNTTP(const std::string& sNPWP, std::int16_t iThPjk, const std::string& strNTTP,
                  std::int16_t iMsPjk, std::int16_t iKdPembetulan, RecordsetPtr& rs);
  void pGetMaxSeqNo(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t KdP,
                    std::int16_t iCollNo, double& result);

  Variant aTGL_PUNGUT();
  void aTGL_PUNGUT(const Variant& value);
  void aNPWPLT(const Variant& value);
  void aNMWPLT(const Variant& value);
  void aALMLT(const Variant& value);
  void aNTTP(const Variant& value);
  // Stored as entered: no rate applies to these slips.
  void ajmlBruto(double value);
  void aPPH(double value);
  std::string aALM();
  void aALM(const std::string& value);
  Variant aNPWP();
  void aNPWP(const Variant& value);
  Variant aNMWP();
  void aNMWP(const Variant& value);
  void aSEQ(double value);

 protected:
  explicit ImportSspInput(const SspInputVariant& variant) : SspInput(variant) {}

  // How far a list total moves for one slip field: by the new amount when adding, by new minus
  // old when editing, by the old amount (taken off) when deleting.
  double listMove(std::string_view name) const;
};

}  // namespace ssp

class CInputPPh22Impor : public ssp::ImportSspInput {
 public:
  CInputPPh22Impor();
  const char* className() const noexcept override { return "CInputPPh22Impor"; }

  // Without snmForm these work on the kind of slip the object last created, loaded or deleted
  // ("PPh22Impor" at first); with it, on the kind it names.
  using ImportSspInput::pCheckNTTP;
  using ImportSspInput::pGetMaxSeqNo;
  void pCheckNTTP(const std::string& sNPWP, std::int16_t iThPjk, const std::string& strNTTP,
                  std::int16_t iMsPjk, std::int16_t iKdPembetulan, RecordsetPtr& rs,
                  const std::string& snmForm);
  void pGetMaxSeqNo(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t KdP,
                    std::int16_t iCollNo, double& result, const std::string& snmForm);

  // The short set, for "PPh22" slips: NTTP, PPH, JMLBRUTO and SEQ.
  void pAssignOldValues_PPh();
  // Two entries of one operation. An import slip has no commodity: strPenjualan is accepted for
  // the interface's sake.
  void pCreateHdr(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
                  std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                  const std::string& sNoBukti, const std::string& sJnsPjk, const std::string& sNmWP,
                  const std::string& sAlamat, const Date& dTgl_Setor,
                  const std::string& strPenjualan, const std::string& strJenisWP = "");
  void pCreatePPhImporHdr(const std::string& sNPWP, const std::string& snmForm,
                          const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                          std::int16_t iCorrSeq, const std::string& sNoBukti,
                          const std::string& sJnsPjk, const std::string& sNmWP,
                          const std::string& sAlamat, const Date& dTgl_Setor,
                          const std::string& strPenjualan, const std::string& strJenisWP = "");
  // A buyer without a tax number ("000000000000000") is found by name and address as well: the
  // last three arguments name him.
  void pGet(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
            std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
            const std::string& sNoBukti, const std::string& sJnsPjk, const std::string& sNmWP,
            const std::string& sAlamat, const Date& dTgl_Setor, double dSeq,
            const std::string& strPenjualan = "", const std::string& sNPWPLT = "",
            const std::string& sNmWPLT = "", const std::string& sAlmLT = "");
  void pUpdate();
  void pUpdD113203();
  // Lines 4a and 4b by A13, A14, A23, A24 ("PPh22Impor" slips).
  void pUpdF113202_Impor();
  // Line 3 by JMLBRUTO and PPH ("PPh22" slips).
  void pUpdF113202();
  void pDeleteForm(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
                   std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                   const std::string& sNTTP, const std::string& sJnsPjk,
                   const std::string& strPenjualan, double dSeq, const std::string& sNPWPLT = "",
                   const std::string& sNmWPLT = "", const std::string& sAlmLT = "");
  void pHitPjk_PPh(std::int16_t nrec);

  // Each line's amount also sets the slip's total: JMLBRUTO = A13 + A23, PPH = A14 + A24.
  void aA13(double value);
  void aA14(double value);
  void aA23(double value);
  void aA24(double value);
  // The remark is kept in the slip's packed field "keterangan" (the export's last column).
  void aKeterangan(const Variant& value);
};

class CInputPPh22DbyrSdr : public ssp::ImportSspInput {
 public:
  CInputPPh22DbyrSdr();
  const char* className() const noexcept override { return "CInputPPh22DbyrSdr"; }

  void pAssignConStr_Shape(const std::string& DataSource, const std::string& UserID,
                           const std::string& password) {
    assignShapeConnection(DataSource, UserID, password);
  }

  // The slip's codes are always "PPh22ImporDbyrSdr" and "11", whatever snmForm and sJnsDok say.
  void pCreateHdr(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
                  std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                  const std::string& sNoBukti, const std::string& sJnsPjk, const std::string& sNmWP,
                  const std::string& sAlamat, const Date& dTgl_Setor,
                  const std::string& strJenisWP = "");
  void pGet(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
            std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
            const std::string& sNoBukti, const std::string& sJnsPjk, const std::string& sNmWP,
            const std::string& sAlamat, const Date& dTgl_Setor, double dSeq);
  void pUpdate();
  void pUpdD113203();
  void pDeleteForm(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
                   std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                   const std::string& sNTTP, const std::string& sJnsPjk, double dSeq);

  void aNoPIB(const Variant& value);
};

}  // namespace korvane
