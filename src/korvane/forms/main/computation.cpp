// The main return's computation: normalising the lines, the line rates, the recomputation from
// the period's slips and payment slips, and the counts and totals of payments and transfers.
//
// A period may hold a hundred thousand slips: each kind is read with one query that fetches only
// the packed texts, and only the amounts a sum needs are read from each text while the sums
// are walked once.
// An empty amount field of a slip adds nothing to its sum.
#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/store/companion.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/sql.hpp"

namespace korvane {
namespace {

constexpr std::string_view kAmountColumns[] = {
    "B13", "B23", "B33", "B4a3", "B4b3", "B53", "B6a3", "B6b3",
    "B14", "B24", "B34", "B4a4", "B4b4", "B54", "B6a4", "B6b4",
};
constexpr std::string_view kGrossColumns[] = {"B13",  "B23", "B33",  "B4a3",
                                              "B4b3", "B53", "B6a3", "B6b3"};
constexpr std::string_view kTaxColumns[] = {"B14",  "B24", "B34",  "B4a4",
                                            "B4b4", "B54", "B6a4", "B6b4"};

struct CheckBoxDefault {
  std::string_view column;
  std::int16_t ticked;
};
// CHKC9 has no default: it stays as stored.
constexpr CheckBoxDefault kCheckBoxDefaults[] = {
    {"CHKC1", 1}, {"CHKC2", 1}, {"CHKC3", 1}, {"CHKC4", 0},
    {"CHKC5", 1}, {"CHKC6", 1}, {"CHKC7", 0}, {"CHKC8", 0},
};

// The rate columns getTaxRate clears when no rate is set for article 22.
constexpr std::string_view kRateColumns[] = {"B14", "B24", "B34", "B4a4", "B4b4", "B54"};

// What each kind of row contributes, in the order of its unpacked amounts.
constexpr std::array<std::string_view, 4> kImportSlipAmounts{"B3a3", "B3b3", "B3a5", "B3b5"};
constexpr std::array<std::string_view, 4> kImportPaymentAmounts{"A13", "A23", "A14", "A24"};
constexpr std::array<std::string_view, 10> kSectorSlipAmounts{
    "JmlB3", "JmlB6", "B73", "B76", "B53", "B56", "B63", "B66", "B103", "B106"};
enum SectorSlipAmount : std::size_t {
  kJmlB3,
  kJmlB6,
  kB73,
  kB76,
  kB53,
  kB56,
  kB63,
  kB66,
  kB103,
  kB106
};
constexpr std::array<std::string_view, 2> kPaymentAmounts{"JMLBRUTO", "PPH"};

bool isEmptyValue(const Variant& value) { return value.isNull() || value.isEmpty(); }

double amountOf(const Variant& value) { return isEmptyValue(value) ? 0.0 : value.toDouble(); }

// A number handed over as text (the month and year of the payment queries).
std::string numberFromText(const std::string& text) {
  double value = 0;
  if (!parseNumber(text, value)) throw Error(errc::kTypeMismatch, "Type mismatch");
  return sql::number(value);
}

[[noreturn]] void itemNotFound() {
  throw Error(errc::kItemNotFound,
              "Item cannot be found in the collection corresponding to the requested name or "
              "ordinal.");
}

// Reads the named fields of each row's DAT_FORM text under `formCode`, as unpacking would give
// them, and hands `visit` the amounts in row order. No field row is built.
template <std::size_t N, class Visit>
void forEachRow(std::string_view formCode, const RecordsetPtr& rows,
                const std::array<std::string_view, N>& names, Visit&& visit) {
  auto datForm = rows->columnIndex("DAT_FORM");
  if (datForm < 0) itemNotFound();
  const long total = rows->RecordCount();
  if (total == 0) return;
  const PackedFieldReader reader(formCode, names);
  std::array<Variant, N> fields;
  std::array<double, N> amounts{};
  std::string copy;
  for (long r = 0; r < total; ++r) {
    const Variant& packed =
        rows->cell(static_cast<std::size_t>(r), static_cast<std::size_t>(datForm));
    reader.read(packed.textView(copy), fields);
    for (std::size_t i = 0; i < N; ++i) amounts[i] = amountOf(fields[i]);
    visit(std::as_const(amounts));
  }
}

template <std::size_t N>
std::array<double, N> sumOf(std::string_view formCode, const RecordsetPtr& rows,
                            const std::array<std::string_view, N>& names) {
  std::array<double, N> sums{};
  forEachRow(formCode, rows, names, [&](const std::array<double, N>& amounts) {
    for (std::size_t i = 0; i < N; ++i) sums[i] += amounts[i];
  });
  return sums;
}

}  // namespace

void CF113202::pHitPjk3202(std::int16_t /*nrec*/) {
  reported([&] {
    for (auto column : kAmountColumns) {
      auto field = formField(column);
      auto value = field.Value();
      field.Value(isEmptyValue(value) ? 0.0 : Int(value.toDouble()));
    }
    for (const auto& box : kCheckBoxDefaults) {
      auto field = formField(box.column);
      if (isEmptyValue(field.Value())) field.Value(box.ticked);
    }
    for (auto column : {"c2", "C3"}) {
      auto field = formField(column);
      if (isEmptyValue(field.Value())) field.Value(0.0);
    }
    if (isEmptyValue(formField("B71").Value())) formField("B71").Value("");
    for (auto column : {"B73", "B74"}) {
      auto field = formField(column);
      if (isEmptyValue(field.Value())) field.Value(0.0);
    }
    // Line 7 enters the totals as the user entered it, fractions and all.
    double gross = 0;
    for (auto column : kGrossColumns) gross += formField(column).Value().toDouble();
    formField("TotA").Value(gross + formField("B73").Value().toDouble());
    double tax = 0;
    for (auto column : kTaxColumns) tax += formField(column).Value().toDouble();
    formField("TotB").Value(tax + formField("B74").Value().toDouble());
  });
}

// The rates land in the tax columns themselves: the host reads them there before it computes.
void CF113202::getTaxRate() {
  reported([&] {
    auto rates =
        open("SELECT * FROM SETTING_TARIF_PPH WHERE PASAL = 22 ORDER BY ITEM_PENGHASILAN ASC");
    if (rates->RecordCount() == 0) {
      for (auto column : kRateColumns) formField(column).Value(0.0);
      return;
    }
    auto item = rates->Fields("ITEM_PENGHASILAN");
    auto form = rates->Fields("KODE_FORM");
    auto rate = rates->Fields("TARIF_JML_BRUTO");
    for (rates->MoveFirst(); !rates->EndOfFile(); rates->MoveNext()) {
      auto itemCode = item.Value().text();
      auto formCode = form.Value().text();
      if (itemCode == "B2" && formCode == "F113305") {
        formField("B24").Value(rate.Value());
      } else if (itemCode == "B3a4" && formCode == "F113303") {
        formField("B4a4").Value(rate.Value());
      } else if (itemCode == "B3b4" && formCode == "F113303") {
        formField("B4b4").Value(rate.Value());
      }
    }
  });
}

double CF113202::pGetDefaultTaxRate(std::int16_t iKdPasal, const std::string& strKdPhsl,
                                    const std::string& strKdForm) {
  return reported(0.0, [&] {
    auto rate = open("SELECT TARIF_JML_BRUTO FROM SETTING_TARIF_PPH WHERE PASAL = " +
                     sql::number(iKdPasal) + " AND ITEM_PENGHASILAN = " + sql::text(strKdPhsl) +
                     " AND KODE_FORM = " + sql::text(strKdForm));
    if (rate->EndOfFile()) return 0.0;
    return rate->Fields("TARIF_JML_BRUTO").Value().toDouble();
  });
}

void CF113202::pUpdF113202(const std::string& sNPWP, std::int16_t iMsPjk, std::int16_t iThPjk,
                           std::int16_t iKdPemb) {
  reported([&] {
    const std::string periodFilter =
        " WHERE NPWP = " + sql::text(sNPWP) + " AND MS_PAJAK = " + sql::number(iMsPjk) +
        " AND TH_PAJAK = " + sql::number(iThPjk) +
        " AND KD_PEMBETULAN_KE = " + sql::number(iKdPemb) + " AND KD_JENIS_PAJAK = '112'";
    auto rowsOf = [&](std::string_view table, std::string_view form, std::string_view kind) {
      return open("SELECT DAT_FORM FROM " + std::string(table) + periodFilter +
                  " AND KD_FORM = " + sql::text(form) + " AND JENIS_DOKUMEN = " + sql::text(kind));
    };
    double paymentSlips = 0;

    // Line 4: import slips and import payment slips.
    auto importSlips =
        sumOf("F113303", rowsOf("DS_FORM_INDUK", "F113303", "02"), kImportSlipAmounts);
    auto importPaymentRows = rowsOf("DAT_SSP_PPh22", "PPh22Impor", "10");
    paymentSlips += static_cast<double>(importPaymentRows->RecordCount());
    auto importPayments = sumOf("PPh22Impor", importPaymentRows, kImportPaymentAmounts);
    formField("B4a3").Value(importSlips[0] + importPayments[0]);
    formField("B4a4").Value(importSlips[2] + importPayments[2]);
    formField("B4b3").Value(importSlips[1] + importPayments[1]);
    formField("B4b4").Value(importSlips[3] + importPayments[3]);

    // Lines 1, 2, 3 and 6: the sector slips, one form after the other into shared sums.
    std::array<double, 11> s{};  // s[1] .. s[10]
    auto addSectorSlips = [&](std::string_view form, auto&& addOwnLines) {
      forEachRow(form, rowsOf("DS_FORM_INDUK", form, "03"), kSectorSlipAmounts,
                 [&](const std::array<double, 10>& a) {
                   addOwnLines(a);
                   s[3] += a[kB73];
                   s[4] += a[kB76];
                 });
    };
    addSectorSlips("F113304", [&](const std::array<double, 10>& a) {
      s[1] += a[kJmlB3] - a[kB73];
      s[2] += a[kJmlB6] - a[kB76];
    });
    addSectorSlips("F113304S", [&](const std::array<double, 10>& a) {
      s[7] += a[kB53];
      s[8] += a[kB56];
      s[9] += a[kB63];
      s[10] += a[kB66];
      s[1] += a[kJmlB3] - a[kB53] - a[kB63] - a[kB73];
      s[2] += a[kJmlB6] - a[kB56] - a[kB66] - a[kB76];
    });
    addSectorSlips("F113304A", [&](const std::array<double, 10>& a) {
      s[5] += a[kB103];
      s[6] += a[kB106];
      s[1] += a[kJmlB3] - a[kB103] - a[kB73];
      s[2] += a[kJmlB6] - a[kB106] - a[kB76];
    });
    formField("B13").Value(s[1]);
    formField("B14").Value(s[2]);
    formField("B23").Value(s[3]);
    formField("B24").Value(s[4]);
    formField("B33").Value(s[5]);
    formField("B34").Value(s[6]);
    formField("B6a3").Value(s[7]);
    formField("B6a4").Value(s[8]);
    formField("B6b3").Value(s[9]);
    formField("B6b4").Value(s[10]);

    // Oil-and-gas payments reach the return through the count alone; their sums are taken and
    // deliberately written nowhere.
    for (auto [form, kind] :
         {std::pair<std::string_view, std::string_view>{"PPh22MigasFinal", "05"},
          {"PPh22MigasTdkFinal", "06"}}) {
      auto oilGasRows = rowsOf("DAT_SSP_PPh22", form, kind);
      paymentSlips += static_cast<double>(oilGasRows->RecordCount());
      [[maybe_unused]] auto oilGas = sumOf(form, oilGasRows, kPaymentAmounts);
    }

    // Other article-22 payments add to line 3.
    auto otherRows = rowsOf("DAT_SSP_PPh22", "PPh22", "14");
    paymentSlips += static_cast<double>(otherRows->RecordCount());
    auto other = sumOf("PPh22", otherRows, kPaymentAmounts);
    formField("B33").Value(s[5] + other[0]);
    formField("B34").Value(s[6] + other[1]);

    formField("c2").Value(paymentSlips);
  });
}

Variant CF113202::aTotB() {
  return reported(Variant(), [&] { return formField("TotB").Value(); });
}

double CF113202::aJumlahSSPMigasImpor(const std::string& sNPWP, std::int16_t iMsPjk,
                                      std::int16_t iThPjk, std::int16_t iKdPemb) {
  return reported(0.0, [&] {
    auto count =
        open("SELECT COUNT(KD_FORM) AS JUMLAH FROM DAT_SSP_PPh22 WHERE NPWP = " + sql::text(sNPWP) +
             " AND MS_PAJAK = " + sql::number(iMsPjk) + " AND TH_PAJAK = " + sql::number(iThPjk) +
             " AND KD_PEMBETULAN_KE = " + sql::number(iKdPemb) +
             " AND KD_FORM IN ('PPh22', 'PPh22MigasFinal', 'PPh22MigasTdkFinal','PPh22Impor',"
             "'PPh22ImporDbyrSdr')");
    return count->Fields("JUMLAH").Value().toDouble();
  });
}

double CF113202::aJumlahSSP(const std::string& sNPWP, const std::string& sMsPjk,
                            const std::string& sThPjk, std::int16_t iCorrSeq) {
  return reported(0.0, [&] {
    auto count =
        open("SELECT COUNT(*) AS JUMLAH FROM datSSP WHERE NPWP = " + sql::text(sNPWP) +
             " AND MsPjk = " + numberFromText(sMsPjk) + " AND ThPjk = " + numberFromText(sThPjk) +
             " AND KdPmbtln = " + sql::number(iCorrSeq));
    return amountOf(count->Fields("JUMLAH").Value());
  });
}

double CF113202::aJumlahPBK(const std::string& sNPWP, std::int16_t iPasal, std::int16_t iMsPjk,
                            std::int16_t iThPjk) {
  return reported(0.0, [&] {
    auto count = open(
        "SELECT COUNT(*) AS JUMLAH FROM datPBKPPhMasa WHERE NPWPTertuju = " + sql::text(sNPWP) +
        " AND PASAL = " + sql::number(iPasal) + " AND MsPjkPBK = " + sql::number(iMsPjk) +
        " AND ThPjkPBK = " + sql::number(iThPjk));
    return amountOf(count->Fields("JUMLAH").Value());
  });
}

// Across every taxpayer of the store, by design: the taxpayer is not part of the filter.
double CF113202::aTotalNominalSSP(const std::string& /*sNPWP*/, const std::string& sMsPjk,
                                  const std::string& sThPjk, double iCorrSeq) {
  return reported(0.0, [&] {
    auto total =
        open("SELECT SUM(JmlByr) AS JUMLAH FROM datSSP WHERE MsPjk = " + numberFromText(sMsPjk) +
             " AND ThPjk = " + numberFromText(sThPjk) + " AND KdPmbtln = " + sql::number(iCorrSeq));
    return amountOf(total->Fields("JUMLAH").Value());
  });
}

// Likewise across every taxpayer.
double CF113202::aTotalNominalPBK(const std::string& /*sNPWP*/, std::int16_t iPasal,
                                  std::int16_t iMsPjk, std::int16_t iThPjk) {
  return reported(0.0, [&] {
    auto total = open(
        "SELECT SUM(JumlahPBK) AS JUMLAH FROM datPBKPPhMasa WHERE PASAL = " + sql::number(iPasal) +
        " AND MsPjkPBK = " + sql::number(iMsPjk) + " AND ThPjkPBK = " + sql::number(iThPjk));
    return amountOf(total->Fields("JUMLAH").Value());
  });
}

}  // namespace korvane
