// CGeneralClass: the shared services of the store that are tied to no form: generic queries,
// slip numbering, and the period-level listing, correction sequence and deletion.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "korvane/store/business_object.hpp"

namespace korvane {

class CGeneralClass : public BusinessObject {
 public:
  CGeneralClass() = default;
  const char* className() const noexcept override { return "CGeneralClass"; }

  void pAssignConStr_Shape(const std::string& DataSource, const std::string& UserID,
                           const std::string& password) {
    assignShapeConnection(DataSource, UserID, password);
  }

  // Generic queries (general_class.cpp). Silent: a failure shows nothing.
  void pExecQuery(const std::string& sSql);
  RecordsetPtr pGetRecordDbase(const std::string& sSql);
  // The service reference list of an article (REF_JASA_PMK244). Silent like the two above.
  RecordsetPtr rsListJasa(std::int16_t iPasal);

  // Slip numbering (numbering.cpp). The proposal is three texts: running number, suffix, "";
  // empty on failure. The recording's name is spelled as the interface has always spelled it.
  std::vector<std::string> pGetNoBuktiHdr(std::int16_t intPasal);
  void pUpdateNoNuktiHdr(std::int16_t intPasal, const std::string& strNoBukti);

  // Period services (period.cpp).
  RecordsetPtr aGetList(const std::string& sNPWP, const std::string& sJnsSpt, std::int16_t iMsPjk,
                        std::int16_t iThPjk, std::int16_t iKdPembtln);
  std::int16_t aMaxKdPembetulan(const std::string& sNPWP, const std::string& sJnsSpt,
                                std::int16_t iMsPjk, const std::string& sKdForm,
                                std::int16_t iThPjk);
  void pDelete(const std::string& sNPWP, const std::string& sJnsSpt, std::int16_t iMsPjk,
               std::int16_t iThPjk, std::int16_t iKdPembtln);
  std::string pGetKdForm(const std::string& sNPWP, const std::string& strBukti,
                         std::int16_t iMsPjk, std::int16_t iThPjk, std::int16_t iKdPembtln,
                         std::int16_t iKdPasal);
  RecordsetPtr pCheckNPWP(const std::string& strNPWP);

 private:
  bool pCheckExist(const std::string& sNPWP, const std::string& sJnsSpt, std::int16_t iMsPjk,
                   std::int16_t iThPjk, std::int16_t iKdPembtln);
  RecordsetPtr pGetSSPList(const std::string& sNPWP, const std::string& sJnsSpt,
                           std::int16_t iMsPjk, std::int16_t iThPjk);
  RecordsetPtr pGetPBKList(const std::string& sNPWP, const std::string& sJnsSpt,
                           std::int16_t iMsPjk, std::int16_t iThPjk);
};

}  // namespace korvane
