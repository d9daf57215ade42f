#include "korvane/forms/slips/f113304.hpp"

#include <string_view>

namespace korvane {
namespace {

using slips::MainReturnLine;
using slips::RateKey;
using slips::SlipTerm;
using slips::SlipVariant;

constexpr int kLines = 11;
// The base form does not see the variants' numbers, each variant sees the base form's (and
// its own): the sharing is one-sided on purpose.
constexpr std::string_view kBaseSequence[] = {"F113303", "F113304", "F113305"};
constexpr std::string_view kSequenceA[] = {"F113303", "F113304", "F113305", "F113304S", "F113304A"};
constexpr std::string_view kSequenceS[] = {"F113303", "F113304", "F113305", "F113304S"};

constexpr std::string_view kBaseForm[] = {"F113304"};
constexpr std::string_view kLookupA[] = {"F113304", "F113304S", "F113304A"};
constexpr std::string_view kLookupS[] = {"F113304", "F113304S"};
constexpr std::string_view kRateFormsA[] = {"F113304", "F113304A"};
constexpr std::string_view kRateFormsS[] = {"F113304", "F113304S"};

constexpr std::string_view kRate1[] = {"B15"};
constexpr std::string_view kRate2[] = {"B25"};
constexpr std::string_view kRate3[] = {"B35"};
constexpr std::string_view kRate4[] = {"B45"};
constexpr std::string_view kRate5[] = {"B55"};
constexpr std::string_view kRate6[] = {"B65"};
constexpr std::string_view kRate10[] = {"B105"};
// "B64" feeds lines 8 and 9, not line 6: the settled mapping.
constexpr std::string_view kRates8And9[] = {"B85", "B95"};
constexpr RateKey kRateKeys[] = {
    {"B14", kRate1}, {"B24", kRate2}, {"B34", kRate3},
    {"B44", kRate4}, {"B54", kRate5}, {"B64", kRates8And9},
};
constexpr RateKey kRateKeysA[] = {
    {"B14", kRate1}, {"B24", kRate2},      {"B34", kRate3},
    {"B44", kRate4}, {"B64", kRates8And9}, {"B104", kRate10},
};
constexpr RateKey kRateKeysS[] = {
    {"B14", kRate1}, {"B24", kRate2}, {"B34", kRate3},      {"B44", kRate4},
    {"B74", kRate5}, {"B84", kRate6}, {"B64", kRates8And9},
};
constexpr std::string_view kRates[] = {"B15", "B25", "B35", "B45",  "B55", "B65",
                                       "B75", "B85", "B95", "B105", "B115"};
constexpr std::string_view kBases[] = {"B13", "B23", "B33", "B43",  "B53", "B63",
                                       "B73", "B83", "B93", "B103", "B113"};

// Every line's base, tax and rate, the user's descriptions, and JmlB6.
constexpr std::string_view kRemembered[] = {
    "B13",  "B16",  "B15",  "B23", "B26", "B25", "B33", "B36",  "B35",  "B43",
    "B46",  "B45",  "B53",  "B56", "B55", "B63", "B66", "B65",  "B73",  "B76",
    "B75",  "B83",  "B86",  "B85", "B93", "B96", "B95", "B103", "B106", "B105",
    "B113", "B116", "B115", "B62", "B72", "B82", "B92", "B102", "B112", "JmlB6"};
// F113304A and F113304S let the user describe line 5 too (F113304 calls it "Farmasi"), so its
// description is remembered with the others.
constexpr std::string_view kRememberedNamingLineFive[] = {
    "B13", "B16", "B15", "B23", "B26", "B25",  "B33",  "B36",  "B35",  "B43",  "B46",
    "B45", "B53", "B56", "B55", "B63", "B66",  "B65",  "B73",  "B76",  "B75",  "B83",
    "B86", "B85", "B93", "B96", "B95", "B103", "B106", "B105", "B113", "B116", "B115",
    "B52", "B62", "B72", "B82", "B92", "B102", "B112", "JmlB6"};

// The main return: line 7 always goes to its line 2; the variants keep one or two more lines
// apart (F113304A line 10 in line 3, F113304S lines 5 and 6 in lines 6a and 6b); the rest is
// pooled into line 1.
constexpr SlipTerm kLine7Base[] = {{"B73", 1}};
constexpr SlipTerm kLine7Tax[] = {{"B76", 1}};

constexpr SlipTerm kPooledBases[] = {{"B13", 1}, {"B23", 1}, {"B33", 1}, {"B43", 1},  {"B53", 1},
                                     {"B63", 1}, {"B83", 1}, {"B93", 1}, {"B103", 1}, {"B113", 1}};
constexpr SlipTerm kPooledTaxes[] = {{"JmlB6", 1}, {"B76", -1}};
constexpr MainReturnLine kMainReturn[] = {
    {"B13", kPooledBases},
    {"B14", kPooledTaxes},
    {"B23", kLine7Base},
    {"B24", kLine7Tax},
};

constexpr SlipTerm kPooledBasesA[] = {{"B13", 1}, {"B23", 1}, {"B33", 1}, {"B43", 1}, {"B53", 1},
                                      {"B63", 1}, {"B83", 1}, {"B93", 1}, {"B113", 1}};
constexpr SlipTerm kPooledTaxesA[] = {{"JmlB6", 1}, {"B106", -1}, {"B76", -1}};
constexpr SlipTerm kLine10Base[] = {{"B103", 1}};
constexpr SlipTerm kLine10Tax[] = {{"B106", 1}};
constexpr MainReturnLine kMainReturnA[] = {
    {"B13", kPooledBasesA}, {"B14", kPooledTaxesA}, {"B23", kLine7Base},
    {"B24", kLine7Tax},     {"B33", kLine10Base},   {"B34", kLine10Tax},
};

constexpr SlipTerm kPooledBasesS[] = {{"B13", 1}, {"B23", 1}, {"B33", 1},  {"B43", 1},
                                      {"B83", 1}, {"B93", 1}, {"B103", 1}, {"B113", 1}};
constexpr SlipTerm kPooledTaxesS[] = {{"JmlB6", 1}, {"B56", -1}, {"B66", -1}, {"B76", -1}};
constexpr SlipTerm kLine5Base[] = {{"B53", 1}};
constexpr SlipTerm kLine5Tax[] = {{"B56", 1}};
constexpr SlipTerm kLine6Base[] = {{"B63", 1}};
constexpr SlipTerm kLine6Tax[] = {{"B66", 1}};
constexpr MainReturnLine kMainReturnS[] = {
    {"B13", kPooledBasesS}, {"B14", kPooledTaxesS}, {"B23", kLine7Base},  {"B24", kLine7Tax},
    {"B6a3", kLine5Base},   {"B6a4", kLine5Tax},    {"B6b3", kLine6Base}, {"B6b4", kLine6Tax},
};

constexpr SlipVariant kSlipF113304{
    .formCode = "F113304",
    .documentKind = "03",
    .numberSequenceForms = kBaseSequence,
    .numberCheckPerTaxpayer = false,
    .lookupForms = kBaseForm,
    .rateForms = kBaseForm,
    .rateKeys = kRateKeys,
    .ratesClearedFirst = kRates,
    .slipDateField = "Tgl_Potong",
    .baseFields = kBases,
    .taxField = "JmlB6",
    .rememberedFields = kRemembered,
    .mainReturnLines = kMainReturn,
};

constexpr SlipVariant kSlipF113304A{
    .formCode = "F113304A",
    .documentKind = "03",
    .numberSequenceForms = kSequenceA,
    .numberCheckPerTaxpayer = false,
    .lookupForms = kLookupA,
    .rateForms = kRateFormsA,
    .rateKeys = kRateKeysA,
    .ratesClearedFirst = kRates,
    .slipDateField = "Tgl_Potong",
    .baseFields = kBases,
    .taxField = "JmlB6",
    .rememberedFields = kRememberedNamingLineFive,
    .mainReturnLines = kMainReturnA,
};

constexpr SlipVariant kSlipF113304S{
    .formCode = "F113304S",
    .documentKind = "03",
    .numberSequenceForms = kSequenceS,
    .numberCheckPerTaxpayer = false,
    .lookupForms = kLookupS,
    .rateForms = kRateFormsS,
    .rateKeys = kRateKeysS,
    .ratesClearedFirst = kRates,
    .slipDateField = "Tgl_Potong",
    .baseFields = kBases,
    .taxField = "JmlB6",
    .rememberedFields = kRememberedNamingLineFive,
    .mainReturnLines = kMainReturnS,
};

std::string lineField(int line, char member) { return "B" + std::to_string(line) + member; }

}  // namespace

CF113304::CF113304() : SectorSlip(kSlipF113304) {}
CF113304A::CF113304A() : SectorSlip(kSlipF113304A) {}
CF113304S::CF113304S() : SectorSlip(kSlipF113304S) {}

namespace slips {

void SectorSlip::pCreateF113304Hdr(const std::string& sNPWP, const std::string& snmForm,
                                   const std::string& sJnsDok, std::int16_t iMsPjk,
                                   std::int16_t iThPjk, std::int16_t iCorrSeq,
                                   const std::string& sNoBukti, const std::string& sJnsPjk,
                                   const std::string& /*sNmWP*/, const std::string& /*sAlamat*/,
                                   const Date& dTgl_Setor) {
  reported([&] {
    createHeader(sNPWP, snmForm, sJnsDok, iMsPjk, iThPjk, iCorrSeq, sNoBukti, sJnsPjk, dTgl_Setor);
  });
}

void SectorSlip::pGetF113304(const std::string& /*sNPWP*/, const std::string& snmForm,
                             const std::string& sJnsDok, std::int16_t iMsPjk, std::int16_t iThPjk,
                             std::int16_t iCorrSeq, const std::string& sNoBukti,
                             const std::string& sJnsPjk, const std::string& /*sNmWP*/,
                             const std::string& /*sAlamat*/, const Date& /*dTgl_Setor*/) {
  reported([&] { loadHeader(snmForm, sJnsDok, iMsPjk, iThPjk, iCorrSeq, sNoBukti, sJnsPjk); });
}

void SectorSlip::pDeleteF113304(const std::string& sNPWP, const std::string& /*snmForm*/,
                                const std::string& /*sJnsDok*/, std::int16_t iMsPjk,
                                std::int16_t iThPjk, std::int16_t iCorrSeq,
                                const std::string& sNoBukti, const std::string& /*sJnsPjk*/) {
  reported([&] { deleteSlip(sNPWP, iMsPjk, iThPjk, iCorrSeq, sNoBukti); });
}

// Only the taxes of lines 8 to 11 are made whole; those of lines 1 to 7 carry their fractions
// into JmlB6 and on to the list and the main return. The difference is deliberate.
void SectorSlip::pHitPjk3304(std::int16_t /*nrec*/) {
  reported([&] {
    for (int line = 1; line <= kLines; ++line) {
      if (value(lineField(line, '5')).isNull()) store(lineField(line, '5'), 0.0);
    }
    for (int line = 1; line <= kLines; ++line) {
      const Variant base = value(lineField(line, '3'));
      store(lineField(line, '3'), base.isNull() ? 0.0 : Int(base));
    }
    for (int line = 1; line <= kLines; ++line) {
      const Variant tax = value(lineField(line, '6'));
      if (tax.isNull()) {
        store(lineField(line, '6'), 0.0);
      } else if (line >= 8) {
        store(lineField(line, '6'), Int(tax));
      }
    }
    double taxes = 0;
    double bases = 0;
    for (int line = 1; line <= kLines; ++line) taxes += value(lineField(line, '6')).toDouble();
    for (int line = 1; line <= kLines; ++line) bases += value(lineField(line, '3')).toDouble();
    store("JmlB6", taxes);
    store("JmlB3", bases);
  });
}

void SectorSlip::setNonNPWP() {
  reported([&] {
    const double multiplier = lineMultiplier();
    for (int line = 1; line <= kLines; ++line) store(lineField(line, '4'), multiplier);
  });
}

double SectorSlip::lineMultiplier() const {
  const Variant party = value("NPWPLT");
  return !party.isNull() && withoutNpwp(party.text()) ? 2.0 : 1.0;
}

// An amount entered before its counterpart leaves the tax empty, as base x Null would.
void SectorSlip::setLineAmount(int line, char member, const Variant& amount) {
  store(lineField(line, member), amount);
  if (member == '6') return;
  const double multiplier = lineMultiplier();
  store(lineField(line, '4'), multiplier);
  const Variant base = value(lineField(line, '3'));
  const Variant rate = value(lineField(line, '5'));
  if (base.isNull() || rate.isNull()) {
    store(lineField(line, '6'), Null);
  } else {
    store(lineField(line, '6'), base.toDouble() * (rate.toDouble() / 100) * multiplier);
  }
}

// Properties ----------------------------------------------------------------------------------

void SectorSlip::aNPWPLT(const std::string& value) {
  reported([&] { store("NPWPLT", value); });
}

Variant SectorSlip::aTGL_POTONG() {
  return reported(Variant(), [&] { return value("Tgl_Potong"); });
}
void SectorSlip::aTGL_POTONG(const Variant& value) {
  reported([&] { store("Tgl_Potong", value); });
}
void SectorSlip::aMS_PAJAK(const Variant& value) {
  reported([&] { store("MS_PAJAK", value); });
}
void SectorSlip::aTH_PAJAK(const Variant& value) {
  reported([&] { store("TH_PAJAK", value); });
}

void SectorSlip::aB13(const Variant& value) {
  reported([&] { setLineAmount(1, '3', value); });
}
void SectorSlip::aB15(const Variant& value) {
  reported([&] { setLineAmount(1, '5', value); });
}
void SectorSlip::aB16(const Variant& value) {
  reported([&] { setLineAmount(1, '6', value); });
}
void SectorSlip::aB23(const Variant& value) {
  reported([&] { setLineAmount(2, '3', value); });
}
void SectorSlip::aB25(const Variant& value) {
  reported([&] { setLineAmount(2, '5', value); });
}
void SectorSlip::aB26(const Variant& value) {
  reported([&] { setLineAmount(2, '6', value); });
}
void SectorSlip::aB33(const Variant& value) {
  reported([&] { setLineAmount(3, '3', value); });
}
void SectorSlip::aB35(const Variant& value) {
  reported([&] { setLineAmount(3, '5', value); });
}
void SectorSlip::aB36(const Variant& value) {
  reported([&] { setLineAmount(3, '6', value); });
}
void SectorSlip::aB43(const Variant& value) {
  reported([&] { setLineAmount(4, '3', value); });
}
void SectorSlip::aB45(const Variant& value) {
  reported([&] { setLineAmount(4, '5', value); });
}
void SectorSlip::aB46(const Variant& value) {
  reported([&] { setLineAmount(4, '6', value); });
}
void SectorSlip::aB53(const Variant& value) {
  reported([&] { setLineAmount(5, '3', value); });
}
void SectorSlip::aB55(const Variant& value) {
  reported([&] { setLineAmount(5, '5', value); });
}
void SectorSlip::aB56(const Variant& value) {
  reported([&] { setLineAmount(5, '6', value); });
}
void SectorSlip::aB63(const Variant& value) {
  reported([&] { setLineAmount(6, '3', value); });
}
void SectorSlip::aB65(const Variant& value) {
  reported([&] { setLineAmount(6, '5', value); });
}
void SectorSlip::aB66(const Variant& value) {
  reported([&] { setLineAmount(6, '6', value); });
}
void SectorSlip::aB73(const Variant& value) {
  reported([&] { setLineAmount(7, '3', value); });
}
void SectorSlip::aB75(const Variant& value) {
  reported([&] { setLineAmount(7, '5', value); });
}
void SectorSlip::aB76(const Variant& value) {
  reported([&] { setLineAmount(7, '6', value); });
}
void SectorSlip::aB83(const Variant& value) {
  reported([&] { setLineAmount(8, '3', value); });
}
void SectorSlip::aB85(const Variant& value) {
  reported([&] { setLineAmount(8, '5', value); });
}
void SectorSlip::aB86(const Variant& value) {
  reported([&] { setLineAmount(8, '6', value); });
}
void SectorSlip::aB93(const Variant& value) {
  reported([&] { setLineAmount(9, '3', value); });
}
void SectorSlip::aB95(const Variant& value) {
  reported([&] { setLineAmount(9, '5', value); });
}
void SectorSlip::aB96(const Variant& value) {
  reported([&] { setLineAmount(9, '6', value); });
}
void SectorSlip::aB103(const Variant& value) {
  reported([&] { setLineAmount(10, '3', value); });
}
void SectorSlip::aB105(const Variant& value) {
  reported([&] { setLineAmount(10, '5', value); });
}
void SectorSlip::aB106(const Variant& value) {
  reported([&] { setLineAmount(10, '6', value); });
}
void SectorSlip::aB113(const Variant& value) {
  reported([&] { setLineAmount(11, '3', value); });
}
void SectorSlip::aB115(const Variant& value) {
  reported([&] { setLineAmount(11, '5', value); });
}
void SectorSlip::aB116(const Variant& value) {
  reported([&] { setLineAmount(11, '6', value); });
}
void SectorSlip::aB52(const std::string& value) {
  reported([&] { store("B52", value); });
}
void SectorSlip::aB62(const std::string& value) {
  reported([&] { store("B62", value); });
}
void SectorSlip::aB72(const std::string& value) {
  reported([&] { store("B72", value); });
}
void SectorSlip::aB82(const std::string& value) {
  reported([&] { store("B82", value); });
}
void SectorSlip::aB92(const std::string& value) {
  reported([&] { store("B92", value); });
}
void SectorSlip::aB102(const std::string& value) {
  reported([&] { store("B102", value); });
}
void SectorSlip::aB112(const std::string& value) {
  reported([&] { store("B112", value); });
}

}  // namespace slips
}  // namespace korvane
