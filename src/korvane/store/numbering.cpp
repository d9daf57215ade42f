// Slip numbering of CGeneralClass: the proposal of an article's next running number and the
// counter's advance once a number has been used. One counter row per article lives in
// SETTING_NOBUKTI_PPH; a slip number is six digits followed by the article's suffix.
#include <string_view>

#include "korvane/store/general_class.hpp"
#include "korvane/store/sql.hpp"

namespace korvane {
namespace {

// The suffix an article's numbers carry when its counter row is made; other articles have none.
std::string_view defaultSuffix(std::int16_t pasal) {
  switch (pasal) {
    case 4:
      return "/PPH4";
    case 15:
      return "/PPH15";
    case 21:
      return "/PPH21";
    case 22:
      return "/PPH22";
    case 23:
      return "/PPH23";
    default:
      return {};
  }
}

std::string trimBlanks(std::string_view text) {
  auto first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  auto last = text.find_last_not_of(' ');
  return std::string(text.substr(first, last - first + 1));
}

// At least six digits: shorter number text is zero-filled on the left, longer text is kept
// whole, so 999999 + 1 proposes 1000000 rather than wrapping or truncating.
std::string zeroFilled(double number) {
  std::string digits = numberText(number);
  if (digits.size() < 6) digits.insert(0, 6 - digits.size(), '0');
  return digits;
}

// NO_URUT as a number. An empty, blank or non-numeric counter is a failure of the operation,
// not a zero: a damaged counter must not silently restart the sequence.
double storedNumber(const Variant& noUrut) {
  if (noUrut.isNull()) return noUrut.toDouble();  // raises "Invalid use of Null"
  return Variant(trimBlanks(noUrut.text())).toDouble();
}

std::string counterQuery(std::int16_t pasal) {
  return "SELECT * FROM SETTING_NOBUKTI_PPH WHERE PASAL = " + sql::number(pasal);
}

}  // namespace

std::vector<std::string> CGeneralClass::pGetNoBuktiHdr(std::int16_t intPasal) {
  return reported(std::vector<std::string>(), [&] {
    auto counter = open(counterQuery(intPasal));
    std::vector<std::string> proposal(3);
    if (counter->BOF() && counter->EndOfFile()) {
      proposal[0] = "000001";
      proposal[1] = std::string(defaultSuffix(intPasal));
    } else {
      proposal[0] = zeroFilled(storedNumber(counter->Fields("NO_URUT").Value()) + 1);
      // The suffix is the stored row's, whatever the article's default would be.
      proposal[1] = trimBlanks(counter->Fields("FORMAT_STRING").Value().text());
    }
    return proposal;
  });
}

// The first recording of an article only creates its counter at zero; the number used then is
// not looked at, so the next proposal is 000001 again. Afterwards the counter moves only
// forward and only for a well-formed number of its own suffix.
void CGeneralClass::pUpdateNoNuktiHdr(std::int16_t intPasal, const std::string& strNoBukti) {
  reported([&] {
    auto counter = open(counterQuery(intPasal));
    if (counter->BOF() && counter->EndOfFile()) {
      counter->AddNew();
      counter->Fields("PASAL").Value(intPasal);
      auto suffix = defaultSuffix(intPasal);
      if (!suffix.empty()) counter->Fields("FORMAT_STRING").Value(suffix);
      counter->Fields("NO_URUT").Value("000000");
    } else {
      const Variant format = counter->Fields("FORMAT_STRING").Value();
      double used = 0;
      const bool advances = !format.isNull() && strNoBukti.size() > 6 &&
                            parseNumber(std::string_view(strNoBukti).substr(0, 6), used) &&
                            strNoBukti.substr(6) == trimBlanks(format.text()) &&
                            used > storedNumber(counter->Fields("NO_URUT").Value());
      if (advances) counter->Fields("NO_URUT").Value(zeroFilled(used));
    }
    counter->UpdateBatch();
    counter->Requery();
  });
}

}  // namespace korvane
