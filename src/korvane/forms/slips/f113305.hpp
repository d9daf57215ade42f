// CF113305: one collection slip of form F113305 (document kind "04"): a single line of base
// (b1), rate (B2) and tax (B3). Saving keeps the slip list and the main return's line 2 in
// step, where B24 then shows the effective rate over the period's F113305 slips (see
// slip_form.hpp for the shared steps).
//
// Calling order: load (pGetF113305 or pGetBukti), pAssignOldValues, aNPWPLT before the amounts
// (it fixes the non-NPWP multiplier), the other properties, pHitPjk, pAssignStatus, pUpdate.
#pragma once

#include <cstdint>
#include <string>

#include "korvane/forms/slips/slip_form.hpp"

namespace korvane {

class CF113305 : public slips::SlipForm {
 public:
  CF113305();
  const char* className() const noexcept override { return "CF113305"; }

  // Inserts the header row unless one with exactly this key exists.
  void pCreateF113305Hdr(const std::string& sNPWP, const std::string& snmForm,
                         const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                         std::int16_t iCorrSeq, const std::string& sNoBukti,
                         const std::string& sJnsPjk, const std::string& sNmWP,
                         const std::string& sAlamat, const Date& dTgl_Setor);
  // Loads one slip into rs22Form (the NPWP takes no part in finding it).
  void pGetF113305(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
                   std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                   const std::string& sNoBukti, const std::string& sJnsPjk,
                   const std::string& sNmWP, const std::string& sAlamat, const Date& dTgl_Setor);
  // Deletes the slip and takes its amounts out of the slip list and the main return.
  void pDeleteF113305(const std::string& sNPWP, const std::string& snmForm,
                      const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                      std::int16_t iCorrSeq, const std::string& sNoBukti,
                      const std::string& sJnsPjk);
  // Empty fields become 0, base and tax their integer part; the rate is kept. No totals.
  void pHitPjk();

  // Sets NPWPLT and the non-NPWP multiplier (doubling from tax year 2009).
  void aNPWPLT(const std::string& value);
  Variant aTglRekam();
  void aTglRekam(const Variant& value);
  // Base and rate recompute the tax with the multiplier; the tax's own setter only stores.
  void aB1(double value);
  void aB2(double value);
  void aB3(double value);

 protected:
  // Writes the main return's B24 as text with two decimals: B25 x 100 / B23, or the default
  // rate of the form when B23 is 0.
  void adjustMainReturn(CF113202& mainReturn) override;

 private:
  void setLine(std::string_view field, double value);
};

}  // namespace korvane
