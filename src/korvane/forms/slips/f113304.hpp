// CF113304, CF113304A and CF113304S: collection slips of the industry-sector forms (document
// kind "03"). A slip carries eleven sector lines, each a description, gross base, multiplier,
// rate and tax (B<n>2 .. B<n>6). The three forms are one design bound to three tables: they
// differ in the rate keys they read, the forms whose slips and numbers they see, line 5's
// description, and which lines the main return keeps apart from its pooled line 1 (see
// slip_form.hpp for the steps every slip shares).
//
// Calling order: load (pGetF113304 or pGetBukti), pAssignOldValues, aNPWPLT before the amounts
// (a line's multiplier is read from it whenever the line's base or rate is set), the other
// properties, pHitPjk3304, pAssignStatus, pUpdate.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "korvane/forms/slips/slip_form.hpp"

namespace korvane {
namespace slips {

// The implementation the three visible classes share.
class SectorSlip : public SlipForm {
 public:
  // A host may hand a header recordset here; its moves are raised as MoveComplete.
  using BusinessObject::rs22Hdr;

  // Inserts the header row unless one with exactly this key exists.
  void pCreateF113304Hdr(const std::string& sNPWP, const std::string& snmForm,
                         const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                         std::int16_t iCorrSeq, const std::string& sNoBukti,
                         const std::string& sJnsPjk, const std::string& sNmWP,
                         const std::string& sAlamat, const Date& dTgl_Setor);
  // Loads one slip into rs22Form (the NPWP takes no part in finding it).
  void pGetF113304(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
                   std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                   const std::string& sNoBukti, const std::string& sJnsPjk,
                   const std::string& sNmWP, const std::string& sAlamat, const Date& dTgl_Setor);
  // Deletes the slip and takes its amounts out of the slip list and the main return.
  void pDeleteF113304(const std::string& sNPWP, const std::string& snmForm,
                      const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                      std::int16_t iCorrSeq, const std::string& sNoBukti,
                      const std::string& sJnsPjk);
  // Empty rates become 0, bases their integer part; taxes of lines 8 to 11 their integer part
  // while lines 1 to 7 keep their fractions. Then JmlB6 and JmlB3 over the eleven lines. nrec
  // is not used.
  void pHitPjk3304(std::int16_t nrec);
  // Writes every line's multiplier (2 for a party without NPWP, whatever the year, else 1)
  // without recomputing the taxes.
  void setNonNPWP();

  // Stores NPWPLT; the lines read their multiplier from it.
  void aNPWPLT(const std::string& value);
  Variant aTGL_POTONG();
  void aTGL_POTONG(const Variant& value);
  void aMS_PAJAK(const Variant& value);
  void aTH_PAJAK(const Variant& value);

  // Bases (aB<n>3) and rates (aB<n>5) store the value, write the line's multiplier and
  // recompute its tax; the taxes' own setters (aB<n>6) only store.
  void aB13(const Variant& value);
  void aB15(const Variant& value);
  void aB16(const Variant& value);
  void aB23(const Variant& value);
  void aB25(const Variant& value);
  void aB26(const Variant& value);
  void aB33(const Variant& value);
  void aB35(const Variant& value);
  void aB36(const Variant& value);
  void aB43(const Variant& value);
  void aB45(const Variant& value);
  void aB46(const Variant& value);
  void aB53(const Variant& value);
  void aB55(const Variant& value);
  void aB56(const Variant& value);
  void aB63(const Variant& value);
  void aB65(const Variant& value);
  void aB66(const Variant& value);
  void aB73(const Variant& value);
  void aB75(const Variant& value);
  void aB76(const Variant& value);
  void aB83(const Variant& value);
  void aB85(const Variant& value);
  void aB86(const Variant& value);
  void aB93(const Variant& value);
  void aB95(const Variant& value);
  void aB96(const Variant& value);
  void aB103(const Variant& value);
  void aB105(const Variant& value);
  void aB106(const Variant& value);
  void aB113(const Variant& value);
  void aB115(const Variant& value);
  void aB116(const Variant& value);

  // Descriptions of the goods of lines 5 to 11.
  void aB52(const std::string& value);
  void aB62(const std::string& value);
  void aB72(const std::string& value);
  void aB82(const std::string& value);
  void aB92(const std::string& value);
  void aB102(const std::string& value);
  void aB112(const std::string& value);

 protected:
  explicit SectorSlip(const SlipVariant& variant) : SlipForm(variant) {}

 private:
  // Member '3' base, '5' rate, '6' tax.
  void setLineAmount(int line, char member, const Variant& value);
  // 2 when NPWPLT begins with nine zeros, else 1 (no year condition in these forms).
  double lineMultiplier() const;
};

}  // namespace slips

class CF113304 : public slips::SectorSlip {
 public:
  CF113304();
  const char* className() const noexcept override { return "CF113304"; }
};

class CF113304A : public slips::SectorSlip {
 public:
  CF113304A();
  const char* className() const noexcept override { return "CF113304A"; }
};

class CF113304S : public slips::SectorSlip {
 public:
  CF113304S();
  const char* className() const noexcept override { return "CF113304S"; }
};

}  // namespace korvane
