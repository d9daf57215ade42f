// CGeneralClass: the shared services of the store that are tied to no form.
#pragma once

#include <string>

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

  // Runs a command; rows it returns are discarded. Silent: a failure shows nothing.
  void pExecQuery(const std::string& sSql);
  // Opens a client-side static recordset on the text. Silent: on failure, no recordset.
  RecordsetPtr pGetRecordDbase(const std::string& sSql);
};

}  // namespace korvane
