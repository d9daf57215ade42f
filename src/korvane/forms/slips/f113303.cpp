#include "korvane/forms/slips/f113303.hpp"

#include <string_view>

namespace korvane {
namespace {

using slips::MainReturnLine;
using slips::RateKey;
using slips::SlipTerm;

constexpr std::string_view kNumberSequence[] = {"F113303", "F113304", "F113305"};
constexpr std::string_view kOwnForm[] = {"F113303"};
constexpr std::string_view kLineARate[] = {"B3a4"};
constexpr std::string_view kLineBRate[] = {"B3b4"};
constexpr RateKey kRateKeys[] = {{"B3a4", kLineARate}, {"B3b4", kLineBRate}};
constexpr std::string_view kBases[] = {"B3a3", "B3b3"};
constexpr std::string_view kRemembered[] = {"B3a3", "B3a4", "B3a5", "B3b3",
                                            "B3b4", "B3b5", "JmlB5"};
constexpr SlipTerm kLineABase[] = {{"B3a3", 1}};
constexpr SlipTerm kLineATax[] = {{"B3a5", 1}};
constexpr SlipTerm kLineBBase[] = {{"B3b3", 1}};
constexpr SlipTerm kLineBTax[] = {{"B3b5", 1}};
constexpr MainReturnLine kMainReturn[] = {
    {"B4a3", kLineABase},
    {"B4a4", kLineATax},
    {"B4b3", kLineBBase},
    {"B4b4", kLineBTax},
};

constexpr slips::SlipVariant kSlipF113303{
    .formCode = "F113303",
    .documentKind = "02",
    .numberSequenceForms = kNumberSequence,
    .numberCheckPerTaxpayer = false,
    .lookupForms = kOwnForm,
    .rateForms = kOwnForm,
    .rateKeys = kRateKeys,
    .ratesClearedFirst = {},
    .slipDateField = "Tgl_Potong",
    .baseFields = kBases,
    .taxField = "JmlB5",
    .rememberedFields = kRemembered,
    .mainReturnLines = kMainReturn,
};

// Normalised by pHitPjk in this order; false: a rate or a quantity, kept with its fractions.
struct Normalised {
  std::string_view field;
  bool truncated;
};
constexpr Normalised kLineFields[] = {
    {"B3a5", true}, {"B3b5", true}, {"B3a4", false},   {"B3b4", false},
    {"B3a3", true}, {"B3b3", true}, {"BykBrg", false}, {"Nil_Impor", false},
};

std::string tripleField(int member) { return "B" + std::to_string(member); }

}  // namespace

CF113303::CF113303() : SlipForm(kSlipF113303) {}

void CF113303::pCreateF113303Hdr(const std::string& sNPWP, const std::string& snmForm,
                                 const std::string& sJnsDok, std::int16_t iMsPjk,
                                 std::int16_t iThPjk, std::int16_t iCorrSeq,
                                 const std::string& sNoBukti, const std::string& sJnsPjk,
                                 const std::string& /*sNmWP*/, const std::string& /*sAlamat*/,
                                 const Date& dTgl_Setor) {
  reported([&] {
    createHeader(sNPWP, snmForm, sJnsDok, iMsPjk, iThPjk, iCorrSeq, sNoBukti, sJnsPjk, dTgl_Setor);
  });
}

void CF113303::pGetF113303(const std::string& /*sNPWP*/, const std::string& snmForm,
                           const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                           std::int16_t iCorrSeq, const std::string& sNoBukti,
                           const std::string& sJnsPjk, const std::string& /*sNmWP*/,
                           const std::string& /*sAlamat*/, const Date& /*dTgl_Setor*/) {
  reported([&] { loadHeader(snmForm, sJnsDok, iMsPjk, iThPjk, iCorrSeq, sNoBukti, sJnsPjk); });
}

void CF113303::pDeleteF113303(const std::string& sNPWP, const std::string& /*snmForm*/,
                              const std::string& /*sJnsDok*/, std::int16_t iMsPjk,
                              std::int16_t iThPjk, std::int16_t iCorrSeq,
                              const std::string& sNoBukti, const std::string& /*sJnsPjk*/) {
  reported([&] { deleteSlip(sNPWP, iMsPjk, iThPjk, iCorrSeq, sNoBukti); });
}

// The triples take no part in the totals.
void CF113303::pHitPjk(std::int16_t /*nrec*/) {
  reported([&] {
    auto normalise = [&](std::string_view field, bool truncated) {
      const Variant stored = value(field);
      if (stored.isNull()) {
        store(field, 0.0);
      } else if (truncated) {
        store(field, Int(stored));
      }
    };
    for (const auto& line : kLineFields) normalise(line.field, line.truncated);
    for (int member = 1; member <= 27; ++member) {
      normalise(tripleField(member), member % 3 != 2);
    }
    store("JmlB5", value("B3a5").toDouble() + value("B3b5").toDouble());
    store("JmlB3", value("B3a3").toDouble() + value("B3b3").toDouble());
  });
}

// Properties ----------------------------------------------------------------------------------

void CF113303::aNPWPLT(const std::string& value) {
  reported([&] { storeCollectedParty(value); });
}

Variant CF113303::aTGL_POTONG() {
  return reported(Variant(), [&] { return value("Tgl_Potong"); });
}
void CF113303::aTGL_POTONG(const Variant& value) {
  reported([&] { store("Tgl_Potong", value); });
}
void CF113303::aJnsBrg(const Variant& value) {
  reported([&] { store("JnsBrg", value); });
}
void CF113303::aSatBrg(const Variant& value) {
  reported([&] { store("SatBrg", value); });
}
void CF113303::aBykBrg(const Variant& value) {
  reported([&] { store("BykBrg", value); });
}
void CF113303::aNil_Impor(const Variant& value) {
  reported([&] { store("Nil_Impor", value); });
}
void CF113303::aMS_PAJAK(const Variant& value) {
  reported([&] { store("MS_PAJAK", value); });
}
void CF113303::aTH_PAJAK(const Variant& value) {
  reported([&] { store("TH_PAJAK", value); });
}

// Lines a and b: member '3' base, '4' rate, '5' tax.
void CF113303::setLine(char line, char member, const Variant& value) {
  const std::string prefix = std::string("B3") + line;
  store(prefix + member, value);
  if (member == '5') return;
  store(prefix + '5',
        percentOf(this->value(prefix + '3'), this->value(prefix + '4'), nonNpwpMultiplier()));
}

void CF113303::aB3a3(const Variant& value) {
  reported([&] { setLine('a', '3', value); });
}
void CF113303::aB3a4(const Variant& value) {
  reported([&] { setLine('a', '4', value); });
}
void CF113303::aB3a5(const Variant& value) {
  reported([&] { setLine('a', '5', value); });
}
void CF113303::aB3b3(const Variant& value) {
  reported([&] { setLine('b', '3', value); });
}
void CF113303::aB3b4(const Variant& value) {
  reported([&] { setLine('b', '4', value); });
}
void CF113303::aB3b5(const Variant& value) {
  reported([&] { setLine('b', '5', value); });
}

// Members 3k+1 and 3k+2 (base and rate) recompute member 3k+3 (tax).
void CF113303::setTripleMember(int member, const Variant& value) {
  store(tripleField(member), value);
  if (member % 3 == 0) return;
  const int base = member - (member - 1) % 3;
  store(tripleField(base + 2),
        percentOf(this->value(tripleField(base)), this->value(tripleField(base + 1)), 1.0));
}

void CF113303::aB1(const Variant& value) {
  reported([&] { setTripleMember(1, value); });
}
void CF113303::aB2(const Variant& value) {
  reported([&] { setTripleMember(2, value); });
}
void CF113303::aB3(const Variant& value) {
  reported([&] { setTripleMember(3, value); });
}
void CF113303::aB4(const Variant& value) {
  reported([&] { setTripleMember(4, value); });
}
void CF113303::aB5(const Variant& value) {
  reported([&] { setTripleMember(5, value); });
}
void CF113303::aB6(const Variant& value) {
  reported([&] { setTripleMember(6, value); });
}
void CF113303::aB7(const Variant& value) {
  reported([&] { setTripleMember(7, value); });
}
void CF113303::aB8(const Variant& value) {
  reported([&] { setTripleMember(8, value); });
}
void CF113303::aB9(const Variant& value) {
  reported([&] { setTripleMember(9, value); });
}
void CF113303::aB10(const Variant& value) {
  reported([&] { setTripleMember(10, value); });
}
void CF113303::aB11(const Variant& value) {
  reported([&] { setTripleMember(11, value); });
}
void CF113303::aB12(const Variant& value) {
  reported([&] { setTripleMember(12, value); });
}
void CF113303::aB13(const Variant& value) {
  reported([&] { setTripleMember(13, value); });
}
void CF113303::aB14(const Variant& value) {
  reported([&] { setTripleMember(14, value); });
}
void CF113303::aB15(const Variant& value) {
  reported([&] { setTripleMember(15, value); });
}
void CF113303::aB16(const Variant& value) {
  reported([&] { setTripleMember(16, value); });
}
void CF113303::aB17(const Variant& value) {
  reported([&] { setTripleMember(17, value); });
}
void CF113303::aB18(const Variant& value) {
  reported([&] { setTripleMember(18, value); });
}
void CF113303::aB19(const Variant& value) {
  reported([&] { setTripleMember(19, value); });
}
void CF113303::aB20(const Variant& value) {
  reported([&] { setTripleMember(20, value); });
}
void CF113303::aB21(const Variant& value) {
  reported([&] { setTripleMember(21, value); });
}
void CF113303::aB22(const Variant& value) {
  reported([&] { setTripleMember(22, value); });
}
void CF113303::aB23(const Variant& value) {
  reported([&] { setTripleMember(23, value); });
}
void CF113303::aB24(const Variant& value) {
  reported([&] { setTripleMember(24, value); });
}
void CF113303::aB25(const Variant& value) {
  reported([&] { setTripleMember(25, value); });
}
void CF113303::aB26(const Variant& value) {
  reported([&] { setTripleMember(26, value); });
}
void CF113303::aB27(const Variant& value) {
  reported([&] { setTripleMember(27, value); });
}

}  // namespace korvane
