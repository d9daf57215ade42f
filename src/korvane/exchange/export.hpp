// CEksporBP: writes one period's collection slips and tax payment slips of article 22 to
// "<folder>Ravelin.CSV" under a fixed header line, and tells the user how many rows it selected.
//
// The file's layout: the header line is 39 titles joined by ";" with no trailing separator;
// every data line holds exactly 39 values, each followed by ";" (so a data line ends with a
// separator and a reader drops the empty text after the last one). Columns a form lacks are
// filled with "0" under a numeric title and left empty under a text title. Column 38
// ("Jumlah PPh Yang Dipungut") carries every row's total tax; column 39 the invoice, remark or
// import-document number where the form exports one. Line breaks inside a value are removed so
// a record stays on one line; a ";" inside a value is written as it is. Lines end in CR LF.
// The count in the closing message uses "." as the thousands separator, as Indonesian
// accountants write it (1.234).
#pragma once

#include <cstdint>
#include <string>

#include "korvane/store/business_object.hpp"

namespace korvane {

class CEksporBP : public BusinessObject {
 public:
  CEksporBP() = default;
  const char* className() const noexcept override { return "CEksporBP"; }

  void pEksporPPh(const std::string& sNPWP, std::int16_t iKodePasal, const std::string& sMsPjk,
                  const std::string& sThPjk, std::int16_t iKdPembetulan,
                  const std::string& strFileName, const std::string& strJenisWP);
};

namespace exchange {
// The header line's 39 titles, in order.
inline constexpr int kColumns = 39;
const char* const* headerTitles() noexcept;
std::string headerLine();
// "1234567" -> "1.234.567".
std::string groupThousands(long long count);
}  // namespace exchange

}  // namespace korvane
