#include "korvane/forms/slips/f113305.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "korvane/forms/main/main_return.hpp"

namespace korvane {
namespace {

using slips::MainReturnLine;
using slips::RateKey;
using slips::SlipTerm;

constexpr std::string_view kNumberSequence[] = {"F113303", "F113304", "F113305"};
constexpr std::string_view kOwnForm[] = {"F113305"};
constexpr std::string_view kRateField[] = {"B2"};
constexpr RateKey kRateKeys[] = {{"B2", kRateField}};
constexpr std::string_view kBases[] = {"b1"};
// The line: base, rate, tax.
constexpr std::string_view kLineFields[] = {"b1", "B2", "B3"};
constexpr SlipTerm kBase[] = {{"b1", 1}};
constexpr SlipTerm kTax[] = {{"B3", 1}};
// The tax goes to B25; B24 then carries the rate (adjustMainReturn) as the return prints it.
constexpr std::string_view kRateText[] = {"B24"};
constexpr MainReturnLine kMainReturn[] = {
    {"B23", kBase},
    {"B25", kTax},
};

constexpr slips::SlipVariant kSlipF113305{
    .formCode = "F113305",
    .documentKind = "04",
    .numberSequenceForms = kNumberSequence,
    .numberCheckPerTaxpayer = true,
    .lookupForms = kOwnForm,
    .rateForms = kOwnForm,
    .rateKeys = kRateKeys,
    .ratesClearedFirst = {},
    .slipDateField = "tglrekam",
    .baseFields = kBases,
    .taxField = "B3",
    .rememberedFields = kLineFields,
    .mainReturnLines = kMainReturn,
    .mainReturnTextFields = kRateText,
};

// The text BASIC's Format(x, "0.00") gives: the value's fifteen-digit decimal form rounded to
// hundredths, halves away from zero (1.875 -> "1.88", 1.005 -> "1.01").
std::string twoDecimals(double value) {
  char text[64];
  if (!std::isfinite(value) || std::fabs(value) >= 1e15) {
    std::snprintf(text, sizeof text, "%.2f", value);
    return text;
  }
  // d.dddddddddddddde+xx: the fifteen significant digits and the power of ten of the first.
  std::snprintf(text, sizeof text, "%.14e", std::fabs(value));
  std::string digits(1, text[0]);
  digits.append(text + 2, 14);
  const int exponent = std::atoi(std::strchr(text, 'e') + 1);
  const int kept = exponent + 3;  // the digits down to the hundredths
  long long hundredths = 0;
  for (int i = 0; i < kept; ++i) hundredths = hundredths * 10 + (i < 15 ? digits[i] - '0' : 0);
  if (kept >= 0 && kept < 15 && digits[kept] >= '5') ++hundredths;
  std::snprintf(text, sizeof text, "%s%lld.%02lld", value < 0 && hundredths > 0 ? "-" : "",
                hundredths / 100, hundredths % 100);
  return text;
}

}  // namespace

CF113305::CF113305() : SlipForm(kSlipF113305) {}

void CF113305::pCreateF113305Hdr(const std::string& sNPWP, const std::string& snmForm,
                                 const std::string& sJnsDok, std::int16_t iMsPjk,
                                 std::int16_t iThPjk, std::int16_t iCorrSeq,
                                 const std::string& sNoBukti, const std::string& sJnsPjk,
                                 const std::string& /*sNmWP*/, const std::string& /*sAlamat*/,
                                 const Date& dTgl_Setor) {
  reported([&] {
    createHeader(sNPWP, snmForm, sJnsDok, iMsPjk, iThPjk, iCorrSeq, sNoBukti, sJnsPjk, dTgl_Setor);
  });
}

void CF113305::pGetF113305(const std::string& /*sNPWP*/, const std::string& snmForm,
                           const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                           std::int16_t iCorrSeq, const std::string& sNoBukti,
                           const std::string& sJnsPjk, const std::string& /*sNmWP*/,
                           const std::string& /*sAlamat*/, const Date& /*dTgl_Setor*/) {
  reported([&] { loadHeader(snmForm, sJnsDok, iMsPjk, iThPjk, iCorrSeq, sNoBukti, sJnsPjk); });
}

void CF113305::pDeleteF113305(const std::string& sNPWP, const std::string& /*snmForm*/,
                              const std::string& /*sJnsDok*/, std::int16_t iMsPjk,
                              std::int16_t iThPjk, std::int16_t iCorrSeq,
                              const std::string& sNoBukti, const std::string& /*sJnsPjk*/) {
  reported([&] { deleteSlip(sNPWP, iMsPjk, iThPjk, iCorrSeq, sNoBukti); });
}

void CF113305::pHitPjk() {
  reported([&] {
    for (auto field : kLineFields) {
      const Variant stored = value(field);
      if (stored.isNull()) {
        store(field, 0.0);
      } else if (field != "B2") {
        store(field, Int(stored));
      }
    }
  });
}

// B23 and B25 hold the sums over every F113305 slip of the period, so the rate is the period's
// effective one, saved as its two-decimal text (1.88): the frame keeps that text through the
// main return's normalisation, which would otherwise cut it to 1.
void CF113305::adjustMainReturn(CF113202& mainReturn) {
  auto form = mainReturn.rs22Form();
  const double base = amount(form->Fields("B23").Value());
  const double rate = base == 0 ? mainReturn.pGetDefaultTaxRate(22, "B2", "F113305")
                                : amount(form->Fields("B25").Value()) * 100 / base;
  form->Fields("B24").Value(twoDecimals(rate));
}

// Properties ----------------------------------------------------------------------------------

void CF113305::aNPWPLT(const std::string& value) {
  reported([&] { storeCollectedParty(value); });
}

Variant CF113305::aTglRekam() {
  return reported(Variant(), [&] { return value("tglrekam"); });
}
void CF113305::aTglRekam(const Variant& value) {
  reported([&] { store("tglrekam", value); });
}

void CF113305::setLine(std::string_view field, double amount) {
  store(field, amount);
  if (field == "B3") return;
  store("B3", percentOf(value("b1"), value("B2"), nonNpwpMultiplier()));
}

void CF113305::aB1(double value) {
  reported([&] { setLine("b1", value); });
}
void CF113305::aB2(double value) {
  reported([&] { setLine("B2", value); });
}
void CF113305::aB3(double value) {
  reported([&] { setLine("B3", value); });
}

}  // namespace korvane
