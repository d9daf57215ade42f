// The frame every SSP input stands on: one DAT_SSP_PPh22 row open in rs22Form, the amounts it
// had when it was loaded, the key pattern that finds it again, and the create / load / save /
// delete statements that every kind of SSP shares. What differs between the input classes is
// data: the codes of each kind of slip, the list it is carried into, the main-return lines it
// moves, and a few deliberate differences of their statements (SspInputVariant below).
#pragma once

#include <array>
#include <cstdint>
#include <exception>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "korvane/store/business_object.hpp"

namespace korvane::ssp {

// Packs one row of a form's field list from named values (every other field is empty), so
// that new texts always follow the list's order.
std::string packByName(std::string_view formCode,
                       std::initializer_list<std::pair<std::string_view, Variant>> values);

// A main-return line that a slip moves: the return's column, by the slip's field.
struct ReturnLine {
  std::string_view returnColumn;
  std::string_view slipField;
};

// One kind of slip an input class holds, and where it is carried.
struct SspRoute {
  std::string_view formCode;      // KD_FORM of the slip row
  std::string_view documentKind;  // its JENIS_DOKUMEN
  std::string_view listForm;      // the SSP list that shows it (also pGetMaxSeqNo's HAVING)
  std::int16_t listCollection;    // COLLNO of its list row
  // The return's lines the slip moves by new minus old; empty with countsInReturn false for
  // slips that stay out of the main return.
  std::span<const ReturnLine> returnLines;
  bool countsInReturn;  // adding and deleting move the return's SSP count c2
};

struct SspInputVariant {
  std::span<const SspRoute> routes;  // the first is the one an object starts with
  // True: KD_FORM and JENIS_DOKUMEN of create, load and delete come from the caller and pick
  // the route; false: the class's own codes are written whatever the caller passes.
  bool codesFromArguments;
  bool npwpInLoad;              // pGet's query has an NPWP condition
  bool commodityInKey;          // PENJUALAN follows the period in the key pattern
  bool buyerInKeyWithoutNpwp;   // a buyer with fifteen zeros is told apart by name and address
  bool identityByTaxpayerKind;  // a new row's identity fields are filled only for "Pemungut"
  std::span<const std::string_view> oldValueFields;  // what pAssignOldValues remembers
  std::span<const std::string_view> zeroWhenNull;    // what pHitPjk normalises
};

// The values that find a slip row again: its period and the pieces of its key pattern.
struct SlipKey {
  std::int16_t month = 0;
  std::int16_t year = 0;
  std::int16_t correction = 0;
  std::string commodity;
  std::string buyerNpwp;
  std::string buyerName;
  std::string buyerAddress;
  std::string nttp;
  double seq = 0;
};

// The taxpayer's own profile; every value "" when the profile is empty.
struct Profile {
  std::string npwp;
  std::string name;
  std::string address;
};

// An input class derives from this with its constant SspInputVariant, runs each of its public
// operations around one of the contracts below, and adds what is its own: its properties and
// the step into its list class (lists differ in code, not only in codes).
class SspInput : public BusinessObject {
 public:
  using BusinessObject::rs22Form;

 protected:
  explicit SspInput(const SspInputVariant& variant);

  const SspInputVariant& variant() const noexcept { return variant_; }
  const SspRoute& route() const noexcept { return *route_; }
  // The codes an operation writes and searches with (see codesFromArguments).
  std::string formCode(const std::string& argument);
  std::string documentKind(const std::string& argument);
  void selectRoute(std::string_view formCode);

  // The open row.
  Variant field(std::string_view name) const { return formField(name).Value(); }
  void field(std::string_view name, const Variant& value) { formField(name).Value(value); }
  double amount(std::string_view name) const;  // Null counts as 0
  SlipKey currentKey() const;
  SlipKey oldKey() const;

  // Old values (pAssignOldValues). With `only`, just those of the kept fields are taken again and
  // the others stay as they were.
  void rememberOldValues(std::span<const std::string_view> only = {});
  Variant oldValue(std::string_view name) const;
  double oldAmount(std::string_view name) const;

  std::string keyPattern(const SlipKey& key) const;
  // "SELECT NPWP,NAMA_WP_PROFILE,ALAMAT FROM DAT_PROFILE" and "SELECT NPWP FROM DAT_PROFILE".
  Profile readProfile() const;
  std::string profileNpwp(const std::string& query = "SELECT NPWP FROM DAT_PROFILE") const;

  // The shared contracts; each public operation of an input class runs one of these.
  void createSlip(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
                  std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                  const std::string& sNoBukti, const std::string& sJnsPjk, const std::string& sNmWP,
                  const std::string& sAlamat, const Date& dTgl_Setor,
                  const std::string& strPenjualan, const std::string& strJenisWP);
  void openSlip(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
                const std::string& sNoBukti, const std::string& sJnsPjk, const SlipKey& key);
  // Null becomes 0 in the variant's fields, or in `only` of them.
  void zeroNulls(std::span<const std::string_view> only = {});
  // Writes the open row under its new key: a new row when adding and the old key finds none,
  // otherwise the stored row found by the old key is moved to the new one. A new row takes its
  // NPWP from the first row of profileQuery.
  void saveSlip(const std::string& profileQuery = "SELECT NPWP FROM DAT_PROFILE");
  void deleteRow(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
                 std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                 const std::string& sNoBukti, const std::string& sJnsPjk);
  // Opens the slip the key names, remembers its amounts (all, or `oldValues` of them) and deletes
  // its row; the caller then removes its list line and carries the deletion on with the deleting
  // flag set.
  void deleteSlip(const std::string& sNPWP, const std::string& snmForm, const std::string& sJnsDok,
                  const std::string& sJnsPjk, const SlipKey& key,
                  std::span<const std::string_view> oldValues = {});
  RecordsetPtr checkNttp(const std::string& sNPWP, std::int16_t iThPjk, const std::string& strNTTP,
                         std::int16_t iMsPjk, std::int16_t iKdPembetulan);
  double maxSeqNo(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t KdP, std::int16_t iCollNo);
  // Moves the main return of the open slip's period by the route's lines and its SSP count,
  // then recomputes and saves it; `moved` names another route whose lines to move.
  void adjustMainReturn() { adjustMainReturn(route()); }
  void adjustMainReturn(const SspRoute& moved);

 private:
  // NPWP, the route's codes, the period, NOBUKTI, KD_JENIS_PAJAK and the key pattern.
  std::string keyCondition(const std::string& npwp, const std::string& form,
                           const std::string& document, const std::string& taxKind,
                           const SlipKey& key) const;
  std::string oldOrCurrent(std::string_view name) const;

  const SspInputVariant& variant_;
  const SspRoute* route_;
  std::vector<Variant> oldValues_;  // parallel to variant_.oldValueFields
  // The buyer the loaded slip had when its old values were taken: with fifteen zeros the name
  // and address are part of the key, so an edited name must still find the stored row.
  std::optional<std::array<std::string, 3>> oldBuyer_;
};

}  // namespace korvane::ssp
