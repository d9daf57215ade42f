// CF113303: one collection slip of form F113303 (document kind "02"): lines a and b of gross
// base, rate and tax, goods and import details, and nine further base-rate-tax triples B1..B27.
// Setting a base or rate recomputes its tax at once; saving keeps the slip list and the main
// return's lines 4a and 4b in step (see slip_form.hpp for the shared steps).
//
// Calling order: load (pGetF113303 or pGetBukti), pAssignOldValues, aNPWPLT before the amounts
// (it fixes the non-NPWP multiplier), the other properties, pHitPjk, pAssignStatus, pUpdate.
#pragma once

#include <cstdint>
#include <string>

#include "korvane/forms/slips/slip_form.hpp"

namespace korvane {

class CF113303 : public slips::SlipForm {
 public:
  CF113303();
  const char* className() const noexcept override { return "CF113303"; }

  // Inserts the header row unless one with exactly this key exists.
  void pCreateF113303Hdr(const std::string& sNPWP, const std::string& snmForm,
                         const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                         std::int16_t iCorrSeq, const std::string& sNoBukti,
                         const std::string& sJnsPjk, const std::string& sNmWP,
                         const std::string& sAlamat, const Date& dTgl_Setor);
  // Loads one slip into rs22Form (the NPWP takes no part in finding it).
  void pGetF113303(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
                   std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                   const std::string& sNoBukti, const std::string& sJnsPjk,
                   const std::string& sNmWP, const std::string& sAlamat, const Date& dTgl_Setor);
  // Deletes the slip and takes its amounts out of the slip list and the main return.
  void pDeleteF113303(const std::string& sNPWP, const std::string& snmForm,
                      const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                      std::int16_t iCorrSeq, const std::string& sNoBukti,
                      const std::string& sJnsPjk);
  // Empty fields become 0, bases and taxes their integer part (rates, quantity and import
  // value keep their fractions); then JmlB5 and JmlB3 from lines a and b. nrec is not used.
  void pHitPjk(std::int16_t nrec);

  // Sets NPWPLT and the non-NPWP multiplier of lines a and b.
  void aNPWPLT(const std::string& value);
  Variant aTGL_POTONG();
  void aTGL_POTONG(const Variant& value);
  void aJnsBrg(const Variant& value);
  void aSatBrg(const Variant& value);
  void aBykBrg(const Variant& value);
  void aNil_Impor(const Variant& value);
  void aMS_PAJAK(const Variant& value);
  void aTH_PAJAK(const Variant& value);

  // Lines a and b: base and rate recompute the tax with the non-NPWP multiplier; the tax's own
  // setter only stores, so a host may override it.
  void aB3a3(const Variant& value);
  void aB3a4(const Variant& value);
  void aB3a5(const Variant& value);
  void aB3b3(const Variant& value);
  void aB3b4(const Variant& value);
  void aB3b5(const Variant& value);

  // The nine triples: the first two members recompute the third, never doubled.
  void aB1(const Variant& value);
  void aB2(const Variant& value);
  void aB3(const Variant& value);
  void aB4(const Variant& value);
  void aB5(const Variant& value);
  void aB6(const Variant& value);
  void aB7(const Variant& value);
  void aB8(const Variant& value);
  void aB9(const Variant& value);
  void aB10(const Variant& value);
  void aB11(const Variant& value);
  void aB12(const Variant& value);
  void aB13(const Variant& value);
  void aB14(const Variant& value);
  void aB15(const Variant& value);
  void aB16(const Variant& value);
  void aB17(const Variant& value);
  void aB18(const Variant& value);
  void aB19(const Variant& value);
  void aB20(const Variant& value);
  void aB21(const Variant& value);
  void aB22(const Variant& value);
  void aB23(const Variant& value);
  void aB24(const Variant& value);
  void aB25(const Variant& value);
  void aB26(const Variant& value);
  void aB27(const Variant& value);

 private:
  void setLine(char line, char member, const Variant& value);
  void setTripleMember(int member, const Variant& value);
};

}  // namespace korvane
