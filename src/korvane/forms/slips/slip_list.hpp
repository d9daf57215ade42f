// The slip list (form D113204): per period one header row carrying the totals of the period's
// collection slips (TotObjPPh22, TotPPh22) and one line row per slip in DS_FORM_LAMPIRAN. The
// slip classes keep it in step after every save and deletion; hosts load it to show the list.
// cd113204, cd113204A and cd113204S are one class under three names: same texts, same steps,
// all writing form "D113204".
#pragma once

#include <cstdint>
#include <string>

#include "korvane/store/business_object.hpp"

namespace korvane {

namespace slips {

// The implementation the three visible names share.
class SlipList : public BusinessObject {
 public:
  using BusinessObject::rs22Form;
  using BusinessObject::rs22FormColl1;
  using BusinessObject::rs22Hdr;

  void pAssignConStr_Shape(const std::string& DataSource, const std::string& UserID,
                           const std::string& password) {
    assignShapeConnection(DataSource, UserID, password);
  }

  // Adds a line row. Its SEQ continues the run of the month and year across all corrections;
  // its packed text is datForm1 ";" SEQ ";" datForm2. sNPWP is not stored in the line.
  void pCreateD113204Br(const std::string& sNPWP, std::int16_t iMsPjk, std::int16_t iThPjk,
                        std::int16_t iCorrSeq, const std::string& datForm1,
                        const std::string& datForm2, const std::string& NoBukti);
  // Header and lines as one hierarchy: rs22Hdr holds the header rows with the chapter
  // "d22Details1"; rs22Form the unpacked header, rs22FormColl1 the unpacked lines.
  void pGetD113204(const std::string& sNPWP, std::int16_t bulan, std::int16_t tahun,
                   std::int16_t Pembetulan);
  // The header only: rs22Hdr and the unpacked rs22Form.
  void pGetD113204Induk(const std::string& sNPWP, std::int16_t bulan, std::int16_t tahun,
                        std::int16_t Pembetulan);
  // The header rows of any form carrying the slip number in the period.
  RecordsetPtr pGetBukti(const std::string& sNPWP, const std::string& NoBukti, std::int16_t iMsPjk,
                         std::int16_t iThPjk, std::int16_t Pembetulan);
  // The line rows of a slip number in a correction, of any month and year, into rs22FormColl1.
  void pGetBuktiLampiran(const std::string& NoBukti, std::int16_t Pembetulan);
  // Removes a slip's line rows. The form is always "D113204", whatever snmForm says.
  void pDeleteD113204Coll(const std::string& snmForm, std::int16_t iMsPjk, std::int16_t iThPjk,
                          std::int16_t iCorrSeq, const std::string& sNoBukti, std::int16_t iCollNo);
  /// Recomputes the header totals from the lines in rs22FormColl1. Each line's jmlObjPPh22
  /// and PPh22 is compared with 0 on its own: a negative value (or an empty one) is left out of
  /// its total; zero and positive values are added. nrec is not used.
  void pJmlPPh(std::int16_t nrec);
  // Moves the header totals by a slip's amounts: added when adding or editing (an edit passes
  // its changes, which may be negative), subtracted otherwise. After subtracting, only
  // TotObjPPh22 is held at zero, and it is tested twice; TotPPh22 may go negative.
  void pHitungPajak(double dJmlPhsl, double dJmlPPh);
  // Saves the header row of rs22Form's period.
  void pUpdate();
  // The header's npwp.
  Variant aNPWP();

 protected:
  SlipList() = default;
};

}  // namespace slips

class cd113204 final : public slips::SlipList {
 public:
  const char* className() const noexcept override { return "cd113204"; }
};

class cd113204A final : public slips::SlipList {
 public:
  const char* className() const noexcept override { return "cd113204A"; }
};

class cd113204S final : public slips::SlipList {
 public:
  const char* className() const noexcept override { return "cd113204S"; }
};

}  // namespace korvane
