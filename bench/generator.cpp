#include "bench/generator.hpp"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <mutex>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/store/companion.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/message_box.hpp"
#include "korvane/store/store.hpp"

namespace korvane::bench {
namespace {

// The six commodities a period begins with (the main return's creation adds them).
constexpr std::string_view kCommodities[] = {"PREMIX/SUPER TT", "SOLAR",   "PREMIUM",
                                             "MINYAK TANAH",    "GAS LPG", "PELUMAS"};
constexpr double kCommodityRate = 0.3;

// Which form the i-th row of the period is: the forms are interleaved the way a month's entry
// interleaves them, so no form's rows sit in one block of the table.
enum class Kind {
  F113303,
  F113304,
  F113304S,
  F113304A,
  F113305,
  OilGasFinal,
  OilGasNotFinal,
  Import,
  Other,
  SelfPaid
};

// Twenty slots per cycle in the proportions of countsFor.
constexpr Kind kCycle[20] = {
    Kind::F113303,     Kind::F113304, Kind::OilGasFinal, Kind::F113303,  Kind::Import,
    Kind::F113304S,    Kind::F113303, Kind::F113304A,    Kind::Other,    Kind::F113303,
    Kind::OilGasFinal, Kind::F113304, Kind::F113303,     Kind::F113305,  Kind::Import,
    Kind::F113304S,    Kind::F113303, Kind::F113304A,    Kind::SelfPaid, Kind::OilGasNotFinal,
};

// Where the i-th row of the period stands: its form, its number (slip number or NTTP counter)
// and, for a payment slip, its sequence in its list and its commodity.
struct RowPlan {
  Kind kind;
  long i;
  long number = 0;
  double seq = 0;
  std::size_t commodity = 0;
};

// Each kind's form code, its document kind (slips only) and its counter in PeriodCounts, in the
// order of Kind.
struct KindInfo {
  std::string_view form;
  std::string_view documentKind;
  long PeriodCounts::*count;
};
constexpr KindInfo kKinds[] = {
    {"F113303", "02", &PeriodCounts::f113303},
    {"F113304", "03", &PeriodCounts::f113304},
    {"F113304S", "03", &PeriodCounts::f113304S},
    {"F113304A", "03", &PeriodCounts::f113304A},
    {"F113305", "04", &PeriodCounts::f113305},
    {"PPh22MigasFinal", "", &PeriodCounts::oilGasFinal},
    {"PPh22MigasTdkFinal", "", &PeriodCounts::oilGasNotFinal},
    {"PPh22Impor", "", &PeriodCounts::importSsp},
    {"PPh22", "", &PeriodCounts::otherSsp},
    {"PPh22ImporDbyrSdr", "", &PeriodCounts::selfPaidImport},
};

const KindInfo& infoOf(Kind kind) { return kKinds[static_cast<std::size_t>(kind)]; }
std::string_view formOf(Kind kind) { return infoOf(kind).form; }
bool isSlip(Kind kind) { return kind <= Kind::F113305; }

// Walks the rows of a period of n in order. Sequences start at 0 in each list, as the inputs
// number them (no row yet: 0, then the highest plus 1).
template <class Visit>
void planRows(long n, Visit&& visit) {
  long slips = 0;
  long payments = 0;
  std::array<long, std::size(kKinds)> seqs{};  // the next sequence in each payment-slip list
  for (long i = 0; i < n; ++i) {
    RowPlan plan{kCycle[i % 20], i};
    if (isSlip(plan.kind)) {
      plan.number = ++slips;
    } else {
      plan.number = ++payments;
      plan.seq = static_cast<double>(seqs[static_cast<std::size_t>(plan.kind)]++);
    }
    if (plan.kind == Kind::OilGasFinal || plan.kind == Kind::OilGasNotFinal) {
      // Mixed so that both kinds of slip meet every commodity.
      const long oilGas = seqs[static_cast<std::size_t>(Kind::OilGasFinal)] +
                          seqs[static_cast<std::size_t>(Kind::OilGasNotFinal)];
      plan.commodity = static_cast<std::size_t>(oilGas + i / 20) % std::size(kCommodities);
    }
    visit(plan);
  }
}

[[noreturn]] void storeFailure(sqlite3* db, std::string_view what) {
  throw Error(errc::kStoreFailure, std::string(what) + ": " + sqlite3_errmsg(db));
}

// One prepared INSERT, bound by position and run once per row.
class Insert {
 public:
  Insert(sqlite3* db, const char* sql) : db_(db) {
    if (sqlite3_prepare_v2(db, sql, -1, &statement_, nullptr) != SQLITE_OK) {
      storeFailure(db, sql);
    }
  }
  ~Insert() { sqlite3_finalize(statement_); }
  Insert(const Insert&) = delete;
  Insert& operator=(const Insert&) = delete;

  Insert& text(int i, std::string_view value) {
    sqlite3_bind_text(statement_, i, value.data(), static_cast<int>(value.size()),
                      SQLITE_TRANSIENT);
    return *this;
  }
  Insert& number(int i, double value) {
    sqlite3_bind_double(statement_, i, value);
    return *this;
  }
  Insert& integer(int i, long long value) {
    sqlite3_bind_int64(statement_, i, value);
    return *this;
  }
  void run() {
    if (sqlite3_step(statement_) != SQLITE_DONE) storeFailure(db_, "insert");
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
  }

 private:
  sqlite3* db_;
  sqlite3_stmt* statement_ = nullptr;
};

// A row of a form's field list, filled by name and joined into its packed text.
class PackedRow {
 public:
  explicit PackedRow(std::string_view formCode)
      : fields_(fieldList(formCode)), values_(fields_.size(), Variant(Null)) {}

  PackedRow& set(std::string_view name, Variant value) {
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      if (fields_[i].name == name) {
        values_[i] = std::move(value);
        return *this;
      }
    }
    throw Error(errc::kItemNotFound, "No field " + std::string(name));
  }
  std::string text() const { return FieldTextCompanion::join(values_); }

 private:
  std::span<const FieldDef> fields_;
  std::vector<Variant> values_;
};

// The collected party of the i-th row: one in twenty is a repeat customer's, one in ten has no
// NPWP.
struct Party {
  std::string npwp;
  std::string name;
  std::string address;
};

Party partyOf(long i, long n) {
  const long customers = std::max(1L, n / 20);
  const long p = i % customers;
  Party party;
  if (p % 10 == 9) {
    party.npwp = "000000000000000";
  } else {
    party.npwp = std::to_string(100000000000000LL + (p * 7919LL) % 800000000000000LL);
  }
  party.name = "CV SENTOSA " + std::to_string(p);
  party.address = "JL. MERDEKA " + std::to_string(p % 500 + 1) + " JAKARTA";
  return party;
}

double amountOf(long i) { return 1000000.0 + static_cast<double>((i * 37) % 1000) * 1000.0; }

std::string dateText(const Period& period, long i) {
  return Date(period.year, static_cast<unsigned>(period.month), static_cast<unsigned>(i % 28 + 1))
      .text();
}

// Writes the period's rows. Header texts of the lists are rewritten with their totals at the end.
class Filler {
 public:
  Filler(sqlite3* db, const Period& period, long n)
      : db_(db),
        period_(period),
        n_(n),
        header_(db, "INSERT INTO DS_FORM_INDUK VALUES (?,?,?,?,?,?,?,?,?,?,?,?)"),
        payment_(db, "INSERT INTO DAT_SSP_PPh22 VALUES (?,?,?,?,?,?,?,?,?,?,?,?)"),
        line_(db, "INSERT INTO DS_FORM_LAMPIRAN VALUES (?,?,?,?,?,?,?,?)"),
        paymentLine_(db, "INSERT INTO LAMPIRAN_SSP_PPh22 VALUES (?,?,?,?,?,?,?,?)") {}

  void slip(const RowPlan& plan, std::string_view document) {
    const std::string_view form = formOf(plan.kind);
    const long i = plan.i;
    const Party party = partyOf(i, n_);
    const std::string noBukti = slipNumber(plan.number);
    const std::string date = dateText(period_, i);
    PackedRow row(form);
    row.set("npwp", period_.npwp)
        .set("NPWPLT", party.npwp)
        .set("NMWPLT", party.name)
        .set("ALMLT", party.address)
        .set("NoBukti", noBukti)
        .set("INVOICE", "INV-" + std::to_string(i))
        .set("MS_PAJAK", period_.month)
        .set("TH_PAJAK", period_.year)
        .set("KD_PEMBETULAN_KE", period_.correction);
    const double multiplier = party.npwp == "000000000000000" && period_.year > 2008 ? 2.0 : 1.0;
    double base = 0;
    double tax = 0;
    if (form == "F113303") {
      const double a3 = amountOf(i);
      const double b3 = i % 3 == 0 ? 500000.0 : 0.0;
      const double a5 = std::floor(a3 * 2.5 / 100 * multiplier);
      const double b5 = std::floor(b3 * 7.5 / 100 * multiplier);
      row.set("Tgl_Potong", date)
          .set("JnsBrg", "BARANG IMPOR")
          .set("SatBrg", "UNIT")
          .set("BykBrg", static_cast<double>(i % 50 + 1))
          .set("Nil_Impor", a3 + b3)
          .set("B3a3", a3)
          .set("B3a4", 2.5)
          .set("B3a5", a5)
          .set("B3b3", b3)
          .set("B3b4", 7.5)
          .set("B3b5", b5)
          .set("JmlB3", a3 + b3)
          .set("JmlB5", a5 + b5);
      for (int member = 1; member <= 27; ++member) row.set("B" + std::to_string(member), 0.0);
      base = a3 + b3;
      tax = a5 + b5;
    } else if (form == "F113305") {
      const double b1 = amountOf(i);
      const double b3 = std::floor(b1 * 1.5 / 100 * multiplier);
      row.set("tglrekam", date).set("b1", b1).set("B2", 1.5).set("B3", b3);
      base = b1;
      tax = b3;
    } else {
      // Sector slips: one of lines 1 to 7 (line 10 for the A variant, 5 or 6 for S) and line 7
      // for every fourth slip.
      row.set("Tgl_Potong", date);
      int line = static_cast<int>(i % 4) + 1;
      if (form == "F113304A" && i % 2 == 0) line = 10;
      if (form == "F113304S" && i % 2 == 0) line = 5 + static_cast<int>(i % 4 == 0);
      const int lines[] = {line, 7};
      double jmlB3 = 0;
      double jmlB6 = 0;
      for (int k = 0; k < (i % 4 == 3 && line != 7 ? 2 : 1); ++k) {
        const std::string prefix = "B" + std::to_string(lines[k]);
        const double lineBase = amountOf(i + k);
        const double lineTax = std::floor(lineBase * 0.25 / 100);
        row.set(prefix + "2", "SEKTOR " + std::to_string(lines[k]))
            .set(prefix + "3", lineBase)
            .set(prefix + "4", 1.0)
            .set(prefix + "5", 0.25)
            .set(prefix + "6", lineTax);
        jmlB3 += lineBase;
        jmlB6 += lineTax;
      }
      row.set("JmlB3", jmlB3).set("JmlB6", jmlB6);
      base = jmlB3;
      tax = jmlB6;
    }
    header_.text(1, period_.npwp)
        .text(2, form)
        .text(3, document)
        .integer(4, period_.month)
        .integer(5, period_.year)
        .integer(6, period_.correction)
        .text(7, noBukti)
        .text(8, "112")
        .text(9, row.text())
        .text(10, date)
        .text(11, "")
        .text(12, "")
        .run();

    // Its line in the slip list, SEQ running over the period.
    const long seq = ++slipLines_;
    const std::string lineText =
        std::to_string(period_.month) + ";" + std::to_string(period_.year) + ";" +
        std::to_string(seq) + ";" + party.npwp + ";" + party.address + ";" + party.name + ";" +
        noBukti + ";" + date + ";" + numberText(base) + ";" + numberText(tax);
    line_.text(1, "D113204")
        .integer(2, period_.month)
        .integer(3, period_.year)
        .integer(4, period_.correction)
        .integer(5, 0)
        .number(6, static_cast<double>(seq))
        .text(7, noBukti)
        .text(8, lineText)
        .run();
    slipBases_ += base;
    slipTaxes_ += tax;
  }

  void oilGas(const RowPlan& plan) {
    const bool final = plan.kind == Kind::OilGasFinal;
    const long i = plan.i;
    const Party party = partyOf(i, n_);
    const std::string nttp = paymentNumber(plan.number);
    const std::string date = dateText(period_, i);
    const std::size_t c = plan.commodity;
    const std::string commodity(kCommodities[c]);
    const double gross = amountOf(i) * 10;
    const double tax = std::floor(gross * kCommodityRate * 0.01);
    const int collection = final ? 0 : 1;
    const double seq = plan.seq;
    PackedRow row(final ? "PPh22MigasFinal" : "PPh22MigasTdkFinal");
    row.set("MS_PAJAK", period_.month)
        .set("TH_PAJAK", period_.year)
        .set("KD_PEMBETULAN_KE", period_.correction)
        .set("PENJUALAN", commodity)
        .set("npwp", period_.npwp)
        .set("NmWP", period_.name)
        .set("ALM", period_.address)
        .set("NPWPLT", party.npwp)
        .set("NMWPLT", party.name)
        .set("ALMLT", party.address)
        .set("TGL_PUNGUT", date)
        .set("JMLBRUTO", gross)
        .set("PPH", tax)
        .set("NTTP", nttp)
        .set("SEQ", seq)
        .set("INVOICE", "INV-" + std::to_string(i));
    paymentRow(final ? "PPh22MigasFinal" : "PPh22MigasTdkFinal", final ? "05" : "06", nttp,
               row.text(), date);

    PackedRow listRow(final ? "D113202-CollA" : "D113202-CollB");
    listRow.set("MS_PAJAK", period_.month)
        .set("TH_PAJAK", period_.year)
        .set("PENJUALAN", commodity)
        .set("SEQ", seq)
        .set("NPWPLT", party.npwp)
        .set("NMWPLT", party.name)
        .set("ALMLT", party.address)
        .set("TGL_PUNGUT", date)
        .set(final ? "A5" : "B5", gross)
        .set(final ? "A6" : "B6", tax)
        .set("NTTP", nttp);
    paymentLine("D113202", collection, seq, nttp, listRow.text());
    auto& totals = oilGasTotals_[c];
    totals[final ? 0 : 2] += gross;
    totals[final ? 1 : 3] += tax;
  }

  void importPayment(const RowPlan& plan) {
    const bool other = plan.kind == Kind::Other;
    const long i = plan.i;
    const Party party = partyOf(i, n_);
    const std::string nttp = paymentNumber(plan.number);
    const std::string date = dateText(period_, i);
    const double a13 = amountOf(i) * 5;
    const double a23 = i % 2 == 0 ? 250000.0 : 0.0;
    const double a14 = std::floor(a13 * 2.5 / 100);
    const double a24 = std::floor(a23 * 7.5 / 100);
    const std::string form = other ? "PPh22" : "PPh22Impor";
    const std::string listForm = other ? "D113203DN" : "D113203";
    const double seq = plan.seq;
    PackedRow row(form);
    row.set("MS_PAJAK", period_.month)
        .set("TH_PAJAK", period_.year)
        .set("KD_PEMBETULAN_KE", period_.correction)
        .set("npwp", period_.npwp)
        .set("NmWP", period_.name)
        .set("ALM", period_.address)
        .set("NPWPLT", party.npwp)
        .set("NMWPLT", party.name)
        .set("ALMLT", party.address)
        .set("TGL_PUNGUT", date)
        .set("A13", a13)
        .set("A14", a14)
        .set("A23", a23)
        .set("A24", a24)
        .set("JMLBRUTO", a13 + a23)
        .set("PPH", a14 + a24)
        .set("NTTP", nttp)
        .set("SEQ", seq)
        .set("keterangan", "PIB " + std::to_string(i));
    paymentRow(form, other ? "14" : "10", nttp, row.text(), date);

    PackedRow listRow("D113203-Coll");
    listRow.set("MS_PAJAK", period_.month)
        .set("TH_PAJAK", period_.year)
        .set("SEQ", seq)
        .set("NPWPLT", party.npwp)
        .set("NMWPLT", party.name)
        .set("ALMLT", party.address)
        .set("NTTP", nttp)
        .set("KETERANGAN", "PIB " + std::to_string(i))
        .set("JMLBRUTO", a13 + a23)
        .set("PPH", a14 + a24);
    paymentLine(listForm, 0, seq, nttp, listRow.text());
    (other ? otherTax_ : importTax_) += a14 + a24;
  }

  void selfPaid(const RowPlan& plan) {
    const long i = plan.i;
    const std::string nttp = paymentNumber(plan.number);
    const std::string date = dateText(period_, i);
    const double gross = amountOf(i) * 4;
    const double tax = std::floor(gross * 2.5 / 100);
    const double seq = plan.seq;
    PackedRow row("PPh22ImporDbyrSdr");
    row.set("MS_PAJAK", period_.month)
        .set("TH_PAJAK", period_.year)
        .set("KD_PEMBETULAN_KE", period_.correction)
        .set("TGL_PUNGUT", date)
        .set("JMLBRUTO", gross)
        .set("PPH", tax)
        .set("NTTP", nttp)
        .set("SEQ", seq)
        .set("NoPIB", "PIB-" + std::to_string(i));
    paymentRow("PPh22ImporDbyrSdr", "11", nttp, row.text(), date);

    PackedRow listRow("DImporDbyrSdr-Coll");
    listRow.set("MS_PAJAK", period_.month)
        .set("TH_PAJAK", period_.year)
        .set("SEQ", seq)
        .set("NTTP", nttp)
        .set("TGL_BAYAR", date)
        .set("NoPIB", "PIB-" + std::to_string(i))
        .set("PHSL", gross)
        .set("PPH", tax);
    paymentLine("DImporDbyrSdr", 0, seq, nttp, listRow.text());
    selfPaidGross_ += gross;
    selfPaidTax_ += tax;
  }

  // The list headers of the period, rewritten with the totals of their rows.
  void writeTotals() {
    const std::string identity = period_.npwp + ";" + period_.name + ";" + period_.address + ";" +
                                 std::to_string(period_.month) + ";" +
                                 std::to_string(period_.year) + ";" +
                                 std::to_string(period_.correction) + ";";
    const std::string key = " AND MS_PAJAK = " + std::to_string(period_.month) +
                            " AND TH_PAJAK = " + std::to_string(period_.year) +
                            " AND KD_PEMBETULAN_KE = " + std::to_string(period_.correction);
    exec("UPDATE DS_FORM_INDUK SET DAT_FORM = '" + identity + numberText(slipBases_) + ";" +
         numberText(slipTaxes_) + "' WHERE KD_FORM = 'D113204'" + key);
    for (std::size_t c = 0; c < std::size(kCommodities); ++c) {
      const auto& t = oilGasTotals_[c];
      exec("UPDATE DAT_SSP_PPh22 SET DAT_FORM = '" + identity + std::string(kCommodities[c]) +
           ";0,3;" + numberText(t[0]) + ";" + numberText(t[1]) + ";" + numberText(t[2]) + ";" +
           numberText(t[3]) + "' WHERE KD_FORM = 'D113202' AND DAT_FORM LIKE '%;" +
           std::string(kCommodities[c]) + ";%'" + key);
    }
    exec("UPDATE DAT_SSP_PPh22 SET DAT_FORM = '" + identity + numberText(importTax_) +
         "' WHERE KD_FORM = 'D113203'" + key);
    exec("UPDATE DAT_SSP_PPh22 SET DAT_FORM = '" + identity + numberText(otherTax_) +
         "' WHERE KD_FORM = 'D113203DN'" + key);
    exec("UPDATE DAT_SSP_PPh22 SET DAT_FORM = '" + identity + numberText(selfPaidGross_) + ";" +
         numberText(selfPaidTax_) + "' WHERE KD_FORM = 'DImporDbyrSdr'" + key);
  }

  void exec(const std::string& sql) {
    char* message = nullptr;
    if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
      std::string text = message ? message : "unknown";
      sqlite3_free(message);
      throw Error(errc::kStoreFailure, text + " in " + sql);
    }
  }

 private:
  void paymentRow(std::string_view form, std::string_view document, const std::string& nttp,
                  const std::string& text, const std::string& date) {
    payment_.text(1, period_.npwp)
        .text(2, form)
        .text(3, document)
        .integer(4, period_.month)
        .integer(5, period_.year)
        .integer(6, period_.correction)
        .text(7, nttp)
        .text(8, "112")
        .text(9, text)
        .text(10, date)
        .text(11, date)
        .text(12, "-")
        .run();
  }

  void paymentLine(std::string_view form, int collection, double seq, const std::string& nttp,
                   const std::string& text) {
    paymentLine_.text(1, form)
        .integer(2, period_.month)
        .integer(3, period_.year)
        .integer(4, period_.correction)
        .integer(5, collection)
        .number(6, seq)
        .text(7, nttp)
        .text(8, text)
        .run();
  }

  sqlite3* db_;
  const Period& period_;
  long n_;
  Insert header_;
  Insert payment_;
  Insert line_;
  Insert paymentLine_;
  long slipLines_ = 0;
  double slipBases_ = 0;
  double slipTaxes_ = 0;
  std::array<std::array<double, 4>, std::size(kCommodities)> oilGasTotals_{};
  double importTax_ = 0;
  double otherTax_ = 0;
  double selfPaidGross_ = 0;
  double selfPaidTax_ = 0;
};

}  // namespace

PeriodCounts countsFor(long n) {
  PeriodCounts counts;
  planRows(n, [&](const RowPlan& plan) { ++(counts.*infoOf(plan.kind).count); });
  return counts;
}

std::string slipNumber(long i) {
  std::string digits = std::to_string(i);
  if (digits.size() < 6) digits.insert(0, 6 - digits.size(), '0');
  return digits + "/PPH22";
}

std::string paymentNumber(long i) {
  std::string digits = std::to_string(i);
  if (digits.size() < 10) digits.insert(0, 10 - digits.size(), '0');
  return "NTTP" + digits;
}

std::vector<RowRef> sampleRows(long n, std::string_view formCode, std::size_t count) {
  std::vector<RowRef> all;
  planRows(n, [&](const RowPlan& plan) {
    if (formOf(plan.kind) != formCode) return;
    const bool slip = isSlip(plan.kind);
    const Party party = partyOf(plan.i, n);
    all.push_back({slip ? slipNumber(plan.number) : paymentNumber(plan.number), plan.seq,
                   std::string(kCommodities[plan.commodity]), party.npwp, party.name,
                   party.address});
  });
  if (all.size() <= count) return all;
  std::vector<RowRef> picked;
  picked.reserve(count);
  for (std::size_t k = 0; k < count; ++k) picked.push_back(all[k * all.size() / count]);
  return picked;
}

std::vector<std::string> takeMessages() {
  static std::mutex mutex;
  static std::vector<std::string> shown;
  static std::once_flag installed;
  std::call_once(installed, [] {
    setMessageBoxHandler([](const MessageBoxRequest& box) {
      std::lock_guard lock(mutex);
      shown.push_back(box.text);
      return kAnswerOk;
    });
  });
  std::lock_guard lock(mutex);
  return std::exchange(shown, {});
}

PeriodCounts generateStore(const std::string& path, long n, const Period& period) {
  takeMessages();
  store::createStore(path);
  {
    // The period's skeleton as a host begins it: main form, list headers, commodities.
    CF113202 mainReturn;
    mainReturn.pAssignConStr(path, "", "");
    mainReturn.pCreateF113202Hdr(
        period.npwp, "F113202", "01", period.month, period.year, period.correction, "-", "112",
        period.name, period.address, Date(period.year, static_cast<unsigned>(period.month), 15),
        Date(period.year, static_cast<unsigned>(period.month), 1), "Pemungut");
  }

  sqlite3* db = nullptr;
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
    std::string text = db ? sqlite3_errmsg(db) : "cannot open";
    sqlite3_close(db);
    throw Error(errc::kStoreFailure, text);
  }
  const PeriodCounts counts = countsFor(n);
  try {
    sqlite3_busy_timeout(db, 10000);
    Filler filler(db, period, n);
    filler.exec("BEGIN");
    filler.exec("INSERT INTO DAT_PROFILE (NPWP, NAMA_WP_PROFILE, ALAMAT, JENIS_WP) VALUES ('" +
                period.npwp + "', '" + period.name + "', '" + period.address + "', 'Pemungut')");
    planRows(n, [&](const RowPlan& plan) {
      switch (plan.kind) {
        case Kind::F113303:
        case Kind::F113304:
        case Kind::F113304S:
        case Kind::F113304A:
        case Kind::F113305:
          filler.slip(plan, infoOf(plan.kind).documentKind);
          break;
        case Kind::OilGasFinal:
        case Kind::OilGasNotFinal:
          filler.oilGas(plan);
          break;
        case Kind::Import:
        case Kind::Other:
          filler.importPayment(plan);
          break;
        case Kind::SelfPaid:
          filler.selfPaid(plan);
          break;
      }
    });
    filler.writeTotals();
    // The counter stands at the last number issued, as after a month of entry.
    filler.exec("INSERT INTO SETTING_NOBUKTI_PPH VALUES (22, '" +
                slipNumber(counts.slips()).substr(0, 6) + "', '/PPH22')");
    filler.exec("COMMIT");
  } catch (...) {
    sqlite3_close(db);
    throw;
  }
  sqlite3_close(db);

  // The main return computed from the rows, as a host recomputes it.
  {
    CF113202 mainReturn;
    mainReturn.pAssignConStr(path, "", "");
    mainReturn.pGetF113202(period.npwp, period.month, period.year, period.correction);
    mainReturn.pUpdF113202(period.npwp, period.month, period.year, period.correction);
    mainReturn.pHitPjk3202(0);
    mainReturn.pUpdate();
  }
  auto messages = takeMessages();
  if (!messages.empty()) {
    throw Error(errc::kStoreFailure, "Generating the store failed: " + messages.front());
  }
  return counts;
}

}  // namespace korvane::bench
