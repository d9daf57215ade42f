// CF113202: the return's main form. It creates a period's skeleton of rows, loads the main
// form, exposes its lines as properties, computes them from the period's slips and payment
// slips, saves them as packed text, and copies a period into its next correction.
#pragma once

#include <cstdint>
#include <string>

#include "korvane/store/business_object.hpp"

namespace korvane {

class CF113202 : public BusinessObject {
 public:
  CF113202() = default;
  const char* className() const noexcept override { return "CF113202"; }

  using BusinessObject::rs22Form;
  using BusinessObject::rs22Hdr;

  // The record (main_return.cpp). ------------------------------------------------------------
  void pCreateF113202Hdr(const std::string& sNPWP, const std::string& snmForm,
                         const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                         std::int16_t iCorrSeq, const std::string& sNoBukti,
                         const std::string& sJnsPjk, const std::string& sNmWP,
                         const std::string& sAlamat, const Date& dTgl_Setor, const Date& dTgl_Rekam,
                         const std::string& strJenisWP = "");
  // The NPWP argument takes no part in the query.
  void pGetF113202(const std::string& sNPWP, std::int16_t NBulan, std::int16_t NTahun,
                   std::int16_t Pembetulan);
  void pUpdate();

  std::string aB11();
  void aB11(const std::string& value);
  void aB13(double value);
  void aB23(double value);
  void aB33(double value);
  void aB4a3(double value);
  void aB4b3(double value);
  void aB53(double value);
  void aB6a3(double value);
  void aB6b3(double value);
  double aB14();
  void aB14(double value);
  double aB24();
  void aB24(double value);
  double aB34();
  void aB34(double value);
  double aB4a4();
  void aB4a4(double value);
  double aB4b4();
  void aB4b4(double value);
  double aB54();
  void aB54(double value);
  double aB6a4();
  void aB6a4(double value);
  double aB6b4();
  void aB6b4(double value);
  void aC2(const Variant& value);
  void aC3(const Variant& value);
  void aB71(const Variant& value);
  void aB73(const Variant& value);
  void aB74(const Variant& value);
  void aCHKC1(const Variant& value);
  void aCHKC2(const Variant& value);
  void aCHKC3(const Variant& value);
  void aCHKC4(const Variant& value);
  void aCHKC5(const Variant& value);
  void aCHKC6(const Variant& value);
  void aCHKC7(const Variant& value);
  void achkC8(const Variant& value);
  void achkC9(const Variant& value);
  Variant gChk1();
  Variant gChk2();
  Variant gChk3();
  Variant gChk4();
  Variant gChk5();
  Variant gChk6();
  Variant gChk7();
  Variant gChk8();
  Variant gChk9();
  Variant aNPWP();
  Variant aTGL_SETOR();
  void aTGL_SETOR(const Variant& value);
  Variant aTGL_LAPOR();
  void aTGL_LAPOR(const Variant& value);

  // The computation (computation.cpp). -------------------------------------------------------
  void pHitPjk3202(std::int16_t nrec);
  void getTaxRate();
  double pGetDefaultTaxRate(std::int16_t iKdPasal, const std::string& strKdPhsl,
                            const std::string& strKdForm);
  void pUpdF113202(const std::string& sNPWP, std::int16_t iMsPjk, std::int16_t iThPjk,
                   std::int16_t iKdPemb);
  Variant aTotB();
  double aJumlahSSPMigasImpor(const std::string& sNPWP, std::int16_t iMsPjk, std::int16_t iThPjk,
                              std::int16_t iKdPemb);
  double aJumlahSSP(const std::string& sNPWP, const std::string& sMsPjk, const std::string& sThPjk,
                    std::int16_t iCorrSeq);
  double aJumlahPBK(const std::string& sNPWP, std::int16_t iPasal, std::int16_t iMsPjk,
                    std::int16_t iThPjk);
  // Deliberately across every taxpayer in the store.
  double aTotalNominalSSP(const std::string& sNPWP, const std::string& sMsPjk,
                          const std::string& sThPjk, double iCorrSeq);
  double aTotalNominalPBK(const std::string& sNPWP, std::int16_t iPasal, std::int16_t iMsPjk,
                          std::int16_t iThPjk);

  // Carry-over into the next correction (carry_over.cpp). -------------------------------------
  void pCopyAllData(const std::string& sNPWP, const std::string& skdJnsPjk, std::int16_t iMsPjk,
                    std::int16_t iThPjk, std::int16_t iCorrSeq);
  void pCopyAllDataSSP(const std::string& sNPWP, const std::string& skdJnsPjk, std::int16_t iMsPjk,
                       std::int16_t iThPjk, std::int16_t iCorrSeq);
  void pCopyAllDataOldKPP(const std::string& sNpwpOld, const std::string& sNpwpNew,
                          const std::string& skdJnsPjk, std::int16_t iMsPjk, std::int16_t iThPjk,
                          std::int16_t iCorrSeq);
  void pCopyAllDataSSPOldKPP(const std::string& sNpwpOld, const std::string& sNpwpNew,
                             const std::string& skdJnsPjk, std::int16_t iMsPjk, std::int16_t iThPjk,
                             std::int16_t iCorrSeq);
  void pCopySSP(const std::string& sKdForm, std::int16_t iMsPjk, std::int16_t iThPjk,
                std::int16_t iCorrSeq);
};

}  // namespace korvane
