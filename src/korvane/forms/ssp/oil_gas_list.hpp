// CD113202: the period's list of oil-and-gas SSPs. One header per commodity sold (a row of
// DAT_SSP_PPh22 whose packed text carries the commodity and the totals I5/I6 of the final and
// II5/II6 of the not-final slips), and under it the list rows of LAMPIRAN_SSP_PPh22 in two
// collections: 0 for final slips ("D113202-CollA"), 1 for not-final ones ("D113202-CollB").
#pragma once

#include <cstdint>
#include <string>

#include "korvane/forms/ssp/ssp_input.hpp"
#include "korvane/store/business_object.hpp"

namespace korvane {

class CD113202 : public BusinessObject {
 public:
  CD113202() = default;
  const char* className() const noexcept override { return "CD113202"; }

  using BusinessObject::rs22Form;
  using BusinessObject::rs22FormColl1;
  using BusinessObject::rs22FormColl2;

  void pAssignConStr_Shape(const std::string& DataSource, const std::string& UserID,
                           const std::string& password) {
    assignShapeConnection(DataSource, UserID, password);
  }

  // Headers.
  void pCheckHdr(const std::string& sNPWP, std::int16_t iMsPjk, std::int16_t iThPjk,
                 std::int16_t iCorrSeq, const std::string& sPenjualan, bool& exists);
  void pCreateHdrInduk(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                       const std::string& sPenjualan, const std::string& sNPWP,
                       const std::string& sAlamat, const std::string& sNmWP,
                       const Date& dTgl_Rekam);

  // List rows.
  void pCreateD113202Hdr(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                         std::int16_t iCollNo, const std::string& sNoBukti,
                         const std::string& sNPWPLT, const std::string& sAlmLT,
                         const std::string& sNmWPLT, const Variant& dTgl_Potong,
                         const std::string& sPenjualan, double dJmlPhsl, double dJmlPjk,
                         double dSeq);
  // The list is always D113202: snmForm is accepted for the interface's sake.
  void pDeleteD113202Coll(const std::string& snmForm, std::int16_t iMsPjk, std::int16_t iThPjk,
                          std::int16_t iCorrSeq, const std::string& sNoBukti, std::int16_t iCollNo,
                          double dSeq);

  // Loading. pGetD113202 opens header and both collections as one hierarchical recordset, the
  // host's "Primary", "Secondary" and "Ternary" data members.
  void pGetD113202(const std::string& sNPWP, std::int16_t bulan, std::int16_t tahun,
                   std::int16_t Pembetulan, const std::string& sPenjualan);
  void pGetD113202Induk(const std::string& sNPWP, std::int16_t bulan, std::int16_t tahun,
                        std::int16_t Pembetulan, const std::string& sPenjualan);
  void pGetLampiran1(std::int16_t bulan, std::int16_t tahun, std::int16_t Pembetulan,
                     const std::string& sPenjualan);
  void pGetLampiran2(std::int16_t bulan, std::int16_t tahun, std::int16_t Pembetulan,
                     const std::string& sPenjualan);

  // Totals.
  void pPPhFinal(std::int16_t& nrec);
  void pPPhTdkFinal(std::int16_t& nrec);
  void pJmlPajakFinal(double jPhsl, double jPPh);
  void pJmlPajakTdkFinal(double jPhsl, double jPPh);
  void pUpdate();

  // The header's fields.
  Variant aNPWP();
  void aNPWP(const Variant& value);
  std::string aPenjualan();
  void aPenjualan(const std::string& value);
  void aTarif(const Variant& value);
  void aNMWP(const Variant& value);
  void aALM(const Variant& value);
};

}  // namespace korvane
