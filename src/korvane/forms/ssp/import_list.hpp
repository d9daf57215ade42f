// The period's lists of import SSPs: one header per period and list form (a DAT_SSP_PPh22 row
// whose packed text carries the taxpayer, the period and the totals) and under it one collection
// of list rows (LAMPIRAN_SSP_PPh22, COLLNO 0), one per slip. CD113203 serves two list forms that
// its callers pass: "D113203" for import slips and "D113203DN" for the other article-22 slips;
// CDPPh22DbyrSdr serves "DImporDbyrSdr", the imports the importer paid himself.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "korvane/store/business_object.hpp"

namespace korvane {
namespace ssp {

// A header total and the row amount it sums.
struct ListTotal {
  std::string_view headerField;
  std::string_view rowField;
};

// What tells the two list classes apart.
struct ImportListVariant {
  std::string_view fixedForm;         // the one list form, or empty: the caller names it
  std::string_view rowFields;         // field list of the collection
  std::span<const ListTotal> totals;  // in the order pJmlPajak takes its amounts
  bool buyerInRowKey;  // rows of buyers without a tax number are told apart by name and address
};

// JENIS_DOKUMEN of a list header: "08" (D113203), "13" (D113203DN), "12" (DImporDbyrSdr).
std::string_view listDocumentKind(std::string_view listForm);

class ImportList : public BusinessObject {
 public:
  using BusinessObject::rs22Form;
  using BusinessObject::rs22FormColl1;

  void pAssignConStr_Shape(const std::string& DataSource, const std::string& UserID,
                           const std::string& password) {
    assignShapeConnection(DataSource, UserID, password);
  }

  // Counts the loaded collection and sums its amounts into the header's totals.
  void pPPhFinal(std::int16_t& nrec);
  // Saves the loaded header; when adding and the period has none, writes a new one.
  void pUpdate();

 protected:
  explicit ImportList(const ImportListVariant& variant) : variant_(variant) {}

  // The list form an operation works on (see ImportListVariant::fixedForm).
  std::string listForm(const std::string& argument) const;

  bool headerExists(const std::string& npwp, std::int16_t month, std::int16_t year,
                    std::int16_t correction, const std::string& form) const;
  // storedForm is what the INSERT writes to KD_FORM; fieldsForm names the packed text's list.
  void insertHeader(const std::string& storedForm, const std::string& fieldsForm,
                    const std::string& documentKind, std::int16_t month, std::int16_t year,
                    std::int16_t correction, const std::string& npwp, const std::string& address,
                    const std::string& name, const Date& recorded);

  // A list row's identity: its form, period, collection, slip number and sequence, and for a
  // buyer without a tax number the buyer's name and address.
  struct RowKey {
    std::string form;
    std::int16_t month = 0;
    std::int16_t year = 0;
    std::int16_t correction = 0;
    std::int16_t collection = 0;
    std::string nttp;
    double seq = 0;
    std::string buyerNpwp;
    std::string buyerName;
    std::string buyerAddress;
  };
  // Deletes the row with the same key, then inserts it with the given packed text.
  void replaceRow(const RowKey& key, const std::string& datForm);
  void removeRow(const RowKey& key);

  void load(const std::string& form, std::int16_t month, std::int16_t year,
            std::int16_t correction);
  void loadHeader(const std::string& npwp, const std::string& form, std::int16_t month,
                  std::int16_t year, std::int16_t correction);
  // Moves each total by its amount: up when adding or editing, down when deleting.
  void moveTotals(std::span<const double> amounts);

 private:
  std::string buyerCondition(const RowKey& key) const;

  const ImportListVariant& variant_;
  std::string loadedForm_;  // the list form of the loaded header, which pUpdate saves
};

}  // namespace ssp

class CD113203 : public ssp::ImportList {
 public:
  CD113203();
  const char* className() const noexcept override { return "CD113203"; }

  void pCheckHdr(const std::string& sNPWP, std::int16_t iMsPjk, std::int16_t iThPjk,
                 std::int16_t iCorrSeq, const std::string& sKdForm, bool& exists);
  // The header is stored with KD_FORM " & sKdForm &  ", not the form code: see the source.
  void pCreateHdrInduk(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                       const std::string& sNPWP, const std::string& sAlamat,
                       const std::string& sNmWP, const Date& dTgl_Rekam, const std::string& sKdForm,
                       const std::string& sJnsDok);
  void pCreateD113203Hdr(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                         std::int16_t iCollNo, const std::string& sNoBukti,
                         const std::string& sNPWPLT, const std::string& sAlmLT,
                         const std::string& sNmWPLT, const std::string& sKet, double dJmlPjk,
                         double dSeq, const std::string& sKdForm);
  // The NPWP argument takes no part in the query; the data members are "Primary" (the header)
  // and "Secondary" (its collection).
  void pGetD113203(const std::string& sNPWP, std::int16_t bulan, std::int16_t tahun,
                   std::int16_t Pembetulan, const std::string& sKdForm);
  void pGetD113203Induk(const std::string& sNPWP, std::int16_t bulan, std::int16_t tahun,
                        std::int16_t Pembetulan, const std::string& sKdForm);
  void pDeleteD113203Coll(const std::string& snmForm, std::int16_t iMsPjk, std::int16_t iThPjk,
                          std::int16_t iCorrSeq, const std::string& sNoBukti, std::int16_t iCollNo,
                          double dSeq, const std::string& sNPWPLT, const std::string& sNmLT,
                          const std::string& sAlmLT);
  void pJmlPajak(double jPPh);
};

class CDPPh22DbyrSdr : public ssp::ImportList {
 public:
  CDPPh22DbyrSdr();
  const char* className() const noexcept override { return "CDPPh22DbyrSdr"; }

  void pCheckHdr(const std::string& sNPWP, std::int16_t iMsPjk, std::int16_t iThPjk,
                 std::int16_t iCorrSeq, bool& exists);
  void pCreateHdrInduk(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                       const std::string& sNPWP, const std::string& sAlamat,
                       const std::string& sNmWP, const Date& dTgl_Rekam);
  void pCreateD113203Hdr(std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iCorrSeq,
                         std::int16_t iCollNo, const std::string& sNoBukti,
                         const Variant& dtBayarSSP, const std::string& sNoPIB, double dPhsl,
                         double dJmlPjk, double dSeq);
  void pGetD113203(const std::string& sNPWP, std::int16_t bulan, std::int16_t tahun,
                   std::int16_t Pembetulan);
  void pGetD113203Induk(const std::string& sNPWP, std::int16_t bulan, std::int16_t tahun,
                        std::int16_t Pembetulan);
  // The list is always DImporDbyrSdr: snmForm is accepted for the interface's sake.
  void pDeleteD113203Coll(const std::string& snmForm, std::int16_t iMsPjk, std::int16_t iThPjk,
                          std::int16_t iCorrSeq, const std::string& sNoBukti, std::int16_t iCollNo,
                          double dSeq);
  void pJmlPajak(double jPhsl, double jPPh);
};

}  // namespace korvane
