// The oil-and-gas SSP inputs: CInputMigasFinal (final tax, KD_FORM "PPh22MigasFinal") and
// CInputMigasTdkFinal (not final, "PPh22MigasTdkFinal"). One slip at a time; every save or
// delete is carried into the commodity's header of the SSP list D113202 and into the main
// return's line 6a (final) or 6b (not final) and its SSP count.
#pragma once

#include <cstdint>
#include <string>

#include "korvane/forms/ssp/ssp_input.hpp"

namespace korvane {

class CD113202;

namespace ssp {

// What tells the two classes apart beyond the frame's codes: how the list header moves.
struct OilGasVariant {
  SspInputVariant frame;
  void (CD113202::*moveListTotals)(double jPhsl, double jPPh);
};

class OilGasInput : public SspInput {
 public:
  void pAssignOldValues();
  void pCreateHdr(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
                  std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                  const std::string& sNoBukti, const std::string& sJnsPjk, const std::string& sNmWP,
                  const std::string& sAlamat, const Date& dTgl_Setor,
                  const std::string& strPenjualan, const std::string& strJenisWP = "");
  void pGet(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
            std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
            const std::string& sNoBukti, const std::string& sJnsPjk, const std::string& sNmWP,
            const std::string& sAlamat, const Date& dTgl_Setor, double dSeq,
            const std::string& strPenjualan);
  void pUpdate();
  void pUpdD113202();
  void pUpdF113202();
  void pDelete(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
               std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
               const std::string& sNoBukti, const std::string& sJnsPjk);
  void pDeleteForm(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
                   std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                   const std::string& sNTTP, const std::string& sJnsPjk,
                   const std::string& strPenjualan, double dSeq);
  void pHitPjk(std::int16_t nrec);
  // A non-empty rs means the NTTP is already used by this kind of slip in the period.
  void pCheckNTTP(const std::string& sNPWP, std::int16_t iThPjk, const std::string& strNTTP,
                  std::int16_t iMsPjk, std::int16_t iKdPembetulan, RecordsetPtr& rs);
  void pGetMaxSeqNo(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t KdP,
                    std::int16_t iCollNo, double& result);
  // Opens the commodities; must come before ajmlBruto is put.
  void getTaxRate();

  Variant aTGL_PUNGUT();
  void aTGL_PUNGUT(const Variant& value);
  void aNPWPLT(const Variant& value);
  void aNMWPLT(const Variant& value);
  void aALMLT(const Variant& value);
  void aNTTP(const Variant& value);
  // Also sets PPH from the commodity's rate.
  void ajmlBruto(double value);
  void aPPH(double value);
  std::string aALM();
  void aALM(const std::string& value);
  Variant aNPWP();
  void aNPWP(const Variant& value);
  Variant aNMWP();
  void aNMWP(const Variant& value);
  std::string aPenjualan();
  void aPenjualan(const std::string& value);
  void aINVOICE(const Variant& value);
  void aSEQ(double value);

 protected:
  explicit OilGasInput(const OilGasVariant& variant);

 private:
  const OilGasVariant& oilGas_;
  RecordsetPtr commodities_;
};

}  // namespace ssp

class CInputMigasFinal : public ssp::OilGasInput {
 public:
  CInputMigasFinal();
  const char* className() const noexcept override { return "CInputMigasFinal"; }
};

class CInputMigasTdkFinal : public ssp::OilGasInput {
 public:
  CInputMigasTdkFinal();
  const char* className() const noexcept override { return "CInputMigasTdkFinal"; }
};

}  // namespace korvane
