// The frame of the collection slips (F113303, F113305 and the F113304 family). A slip is one
// DS_FORM_INDUK header row whose fields travel packed in DAT_FORM; saving it numbers it, keeps
// its line in the slip list and moves the main return by the change of its amounts. What the
// forms differ in is data (SlipVariant) plus a few per-form hooks; each visible slip class is
// this frame bound to its table, with its own field logic and the operations named after it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "korvane/store/business_object.hpp"

namespace korvane {

class CF113202;

namespace slips {

// A rate setting getTaxRate copies into the slip: rows whose ITEM_PENGHASILAN is `item` fill
// `fields` (one key may feed two lines).
struct RateKey {
  std::string_view item;
  std::span<const std::string_view> fields;
};

// A slip field whose change moves a main-return field, added (+1) or subtracted (-1).
struct SlipTerm {
  std::string_view field;
  double sign;
};

// A main-return field and the slip fields that feed it.
struct MainReturnLine {
  std::string_view mainField;
  std::span<const SlipTerm> terms;
};

struct SlipVariant {
  std::string_view formCode;      // KD_FORM written, read and deleted; the companion's code
  std::string_view documentKind;  // JENIS_DOKUMEN
  // The forms whose numbers getNoBuktiHdr and pCheckNoBukti see: one shared sequence per tax
  // year and correction.
  std::span<const std::string_view> numberSequenceForms;
  bool numberCheckPerTaxpayer;  // pCheckNoBukti looks at the given NPWP's slips only
  std::span<const std::string_view> lookupForms;  // the forms pGetBukti finds
  std::span<const std::string_view> rateForms;    // KODE_FORM of the settings getTaxRate reads
  std::span<const RateKey> rateKeys;
  std::span<const std::string_view> ratesClearedFirst;  // set to 0 before the settings are read
  // The slip's line in the slip list: the date field, the fields summed into the base, the tax.
  std::string_view slipDateField;
  std::span<const std::string_view> baseFields;
  std::string_view taxField;
  // What pAssignOldValues remembers besides the number: the basis of every delta.
  std::span<const std::string_view> rememberedFields;
  std::span<const MainReturnLine> mainReturnLines;
  // Main-return fields the form writes as printed text (a rate "1.88"): they keep that text
  // through the return's normalisation, which would cut them to whole numbers.
  std::span<const std::string_view> mainReturnTextFields = {};
};

class SlipForm : public BusinessObject {
 public:
  using BusinessObject::rs22Form;

  // Properties every slip has.
  Variant aNPWP();
  void aNPWP(const Variant& value);
  void aNMWPLT(const std::string& value);
  void aALMLT(const std::string& value);
  void aNoBukti(const Variant& value);
  void aINVOICE(const Variant& value);

  // Remembers the number ("-" when it has none) and the variant's fields, so that saving and
  // deleting move the list and the main return by new minus old. Call it right after loading.
  void pAssignOldValues();
  // Loads the slip carrying a number in the period into rs22Form.
  void pGetBukti(const std::string& sNPWP, const std::string& NoBukti, std::int16_t iMsPjk,
                 std::int16_t iThPjk, std::int16_t Pembetulan);
  // Copies the rate settings into the record; taxes are not recomputed.
  void getTaxRate();
  // The first free number at or above the counter's NO_URUT + 1 among the numbers of the
  // sequence's forms in the tax year and correction (all months), with the counter's format.
  std::string getNoBuktiHdr(std::int16_t iThPjk, std::int16_t iKdPembetulan);
  // The slips of the sequence's forms already carrying strBukti in the year and correction.
  RecordsetPtr pCheckNoBukti(const std::string& sNPWP, std::int16_t iThPjk,
                             const std::string& strBukti, std::int16_t iKdPembetulan);
  // Saves the slip's header row (found by its remembered number, so a renumbered slip keeps
  // its row), records its number with the article-22 counter, then updates the slip list and
  // the main return. The period comes from the record; the arguments are not used.
  void pUpdate(std::int16_t MasaPajak, const std::string& TahunPajak,
               const std::string& Pembetulan);
  // Writes the slip's line (unless deleting) and moves the list's totals.
  void pUpdD113204();
  // Moves the main return's fields by the changes of the slip's amounts.
  void pUpdF113202();
  // Deletes header rows by the full key; nothing else is touched.
  void pDelete(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
               std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
               const std::string& sNoBukti, const std::string& sJnsPjk,
               const std::string& sUserName, const std::string& sNmWP, const std::string& sAlamat,
               const Date& dTgl_Setor);

 protected:
  explicit SlipForm(const SlipVariant& variant) : variant_(variant) {}

  // Steps of the operations named after each form (pCreate<form>Hdr, pGet<form>,
  // pDelete<form>); the visible class runs them inside its own reported().
  void createHeader(const std::string& sNPWP, const std::string& snmForm,
                    const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                    std::int16_t iCorrSeq, const std::string& sNoBukti, const std::string& sJnsPjk,
                    const Date& recorded);
  void loadHeader(const std::string& snmForm, const std::string& sJnsDok, std::int16_t iMsPjk,
                  std::int16_t iThPjk, std::int16_t iCorrSeq, const std::string& sNoBukti,
                  const std::string& sJnsPjk);
  void deleteSlip(const std::string& sNPWP, std::int16_t iMsPjk, std::int16_t iThPjk,
                  std::int16_t iCorrSeq, const std::string& sNoBukti);

  // The current row of rs22Form.
  Variant value(std::string_view field) const;
  void store(std::string_view field, const Variant& value);
  // A stored amount for sums and deltas: Null (never entered) counts as 0.
  static double amount(const Variant& value);
  // base x rate / 100 x multiplier; Null when base or rate is Null, as entry order allows.
  static Variant percentOf(const Variant& base, const Variant& rate, double multiplier);
  // "000000000" in the first nine characters (trimmed): the collected party has no NPWP.
  static bool withoutNpwp(std::string_view npwplt);

  // NPWPLT with the year-bound non-NPWP rule of F113303 and F113305: the multiplier is 2.0 for
  // a party without NPWP when the tax year is after 2008, else 1.0.
  void storeCollectedParty(const std::string& npwplt);
  // 0 until storeCollectedParty has run, so amounts entered before the party compute no tax.
  double nonNpwpMultiplier() const noexcept { return nonNpwpMultiplier_; }

  const std::string& oldNumber() const noexcept { return oldNumber_; }
  Variant oldValue(std::string_view field) const;
  double oldAmount(std::string_view field) const { return amount(oldValue(field)); }

  // Hook: runs on the loaded main return after the variant's lines were moved and before it
  // is computed and saved (F113305 sets its rate there).
  virtual void adjustMainReturn(CF113202& mainReturn);

  const SlipVariant& variant() const noexcept { return variant_; }

 private:
  struct ListLine {
    std::string key;   // MS_PAJAK;TH_PAJAK
    std::string text;  // NPWPLT;ALMLT;NMWPLT;NoBukti;date;base;tax
    double base;
    double tax;
  };
  ListLine listLine() const;
  // A field's move of the dependants: new minus old when adding or editing, minus old
  // otherwise.
  double change(std::string_view field) const;

  const SlipVariant& variant_;
  std::string oldNumber_;
  std::vector<Variant> oldValues_;  // in the order of variant_.rememberedFields
  double nonNpwpMultiplier_ = 0;
  std::int16_t collectedPartyMonth_ = 0;
  std::int16_t collectedPartyYear_ = 0;
};

}  // namespace slips
}  // namespace korvane
