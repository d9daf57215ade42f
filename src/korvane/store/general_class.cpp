#include "korvane/store/general_class.hpp"

namespace korvane {

void CGeneralClass::pExecQuery(const std::string& sSql) {
  silent(0, [&] {
    execute(sSql);
    return 0;
  });
}

RecordsetPtr CGeneralClass::pGetRecordDbase(const std::string& sSql) {
  return silent(RecordsetPtr(), [&] { return open(sSql); });
}

}  // namespace korvane
