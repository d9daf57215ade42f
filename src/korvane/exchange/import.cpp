#include "korvane/exchange/import.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <fstream>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <sstream>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "korvane/exchange/export.hpp"
#include "korvane/exchange/import_file.hpp"
#include "korvane/forms/main/main_return.hpp"
#include "korvane/forms/slips/f113303.hpp"
#include "korvane/forms/slips/f113304.hpp"
#include "korvane/forms/ssp/import_input.hpp"
#include "korvane/forms/ssp/oil_gas_input.hpp"
#include "korvane/store/connection.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/message_box.hpp"
#include "korvane/store/sql.hpp"
#include "korvane/store/text.hpp"

namespace korvane {
namespace {

using exchange::ImportLine;
using exchange::ImportProblem;

// Columns of the layout (export.cpp's row builders).
constexpr std::size_t kFormColumn = 0;
constexpr std::size_t kPartyNpwp = 4;
constexpr std::size_t kPartyName = 5;
constexpr std::size_t kPartyAddress = 6;
constexpr std::size_t kNumber = 7;
constexpr std::size_t kDate = 8;
constexpr std::size_t kGoods = 9;  // F113303's kind of goods, an oil-and-gas SSP's commodity
constexpr std::size_t kQuantity = 10;
constexpr std::size_t kUnit = 11;
constexpr std::size_t kImportValue = 12;
constexpr std::size_t kGross = 13;  // an SSP's gross, F113303's B3a3, a sector slip's B13
constexpr std::size_t kTaxA = 15;   // F113303's B3a5
constexpr std::size_t kTaxB = 18;   // F113303's B3b5
constexpr std::size_t kTotal = 37;  // every row's total tax
constexpr std::size_t kRemark = 38;

enum class Kind { CollectionSlip, SectorSlip, OilGas, ImportSsp, SelfPaidSsp };

// The slip forms as bits, for the one number sequence they share per tax year and correction.
constexpr unsigned kF113303 = 1;
constexpr unsigned kF113304 = 2;
constexpr unsigned kF113305 = 4;
constexpr unsigned kF113304S = 8;
constexpr unsigned kF113304A = 16;
constexpr unsigned kBaseSequence = kF113303 | kF113304 | kF113305;

struct FormEntry {
  std::string_view formCode;
  std::string_view documentKind;
  Kind kind;
  unsigned slipBit;
  // The forms whose numbers a slip's number may not repeat: what its class's pCheckNoBukti
  // sees (the sector variants see the base form's numbers, not the other way round).
  unsigned numberSharedWith;
  std::string_view listForm;  // an SSP's list, where its sequence numbers run
  std::int16_t collection;
};

// In the export's order, which is also the order of the result's rows.
constexpr FormEntry kFormEntries[] = {
    {"F113303", "02", Kind::CollectionSlip, kF113303, kBaseSequence, {}, 0},
    {"F113304", "03", Kind::SectorSlip, kF113304, kBaseSequence, {}, 0},
    {"F113304S", "03", Kind::SectorSlip, kF113304S, kBaseSequence | kF113304S, {}, 0},
    {"F113304A", "03", Kind::SectorSlip, kF113304A, kBaseSequence | kF113304S | kF113304A, {}, 0},
    {"PPh22MigasFinal", "05", Kind::OilGas, 0, 0, "D113202", 0},
    {"PPh22MigasTdkFinal", "06", Kind::OilGas, 0, 0, "D113202", 1},
    {"PPh22Impor", "10", Kind::ImportSsp, 0, 0, "D113203", 0},
    {"PPh22ImporDbyrSdr", "11", Kind::SelfPaidSsp, 0, 0, "DImporDbyrSdr", 0},
};

const FormEntry& formEntry(std::string_view code) {
  for (const auto& entry : kFormEntries) {
    if (entry.formCode == code) return entry;
  }
  // The reader lets no other code through.
  throw Error(errc::kInvalidProcedureCall, "\"" + std::string(code) + "\" is not a form code.");
}

bool isSlip(const FormEntry& entry) { return entry.slipBit != 0; }

// The seven sector lines the file carries: their columns, the setters that enter them, and
// the rate field written when a line is not entered.
using SectorSlip = slips::SectorSlip;
struct SectorLineEntry {
  std::size_t description;  // 0: no description column
  std::size_t base;
  std::size_t multiplier;
  std::size_t rate;
  std::string_view rateField;
  void (SectorSlip::*setDescription)(const std::string&);
  void (SectorSlip::*setBase)(const Variant&);
  void (SectorSlip::*setRate)(const Variant&);
};

constexpr SectorLineEntry kSectorLines[] = {
    {0, 13, 14, 15, "B15", nullptr, &SectorSlip::aB13, &SectorSlip::aB15},
    {0, 16, 17, 18, "B25", nullptr, &SectorSlip::aB23, &SectorSlip::aB25},
    {0, 19, 20, 21, "B35", nullptr, &SectorSlip::aB33, &SectorSlip::aB35},
    {0, 22, 23, 24, "B45", nullptr, &SectorSlip::aB43, &SectorSlip::aB45},
    {25, 26, 27, 28, "B55", &SectorSlip::aB52, &SectorSlip::aB53, &SectorSlip::aB55},
    {29, 30, 31, 32, "B65", &SectorSlip::aB62, &SectorSlip::aB63, &SectorSlip::aB65},
    {33, 34, 35, 36, "B75", &SectorSlip::aB72, &SectorSlip::aB73, &SectorSlip::aB75},
};

// F113303's lines a and b: base, rate, tax.
using CollectionSetter = void (CF113303::*)(const Variant&);
constexpr std::pair<std::size_t, CollectionSetter> kCollectionAmounts[] = {
    {13, &CF113303::aB3a3}, {14, &CF113303::aB3a4}, {15, &CF113303::aB3a5},
    {16, &CF113303::aB3b3}, {17, &CF113303::aB3b4}, {18, &CF113303::aB3b5},
};

const std::string& text(const ImportLine& line, std::size_t column) { return line.values[column]; }

// The reader has checked that numeric columns are empty or numbers, and dates empty or dates.
Variant amount(const ImportLine& line, std::size_t column) {
  double value = 0;
  if (text(line, column).empty() || !parseNumber(text(line, column), value)) return Null;
  return value;
}

Variant date(const ImportLine& line, std::size_t column) {
  Date value;
  if (text(line, column).empty() || !Date::tryParse(text(line, column), value)) return Null;
  return value;
}

std::string upper(std::string_view value) { return upperAscii(value); }

// Nine zeros in front: a party without an NPWP of its own.
bool withoutNpwp(std::string_view npwp) {
  std::string_view head = npwp.substr(0, 9);
  while (!head.empty() && head.front() == ' ') head.remove_prefix(1);
  while (!head.empty() && head.back() == ' ') head.remove_suffix(1);
  return head == "000000000";
}

// A sector line the source entered carries the multiplier its setters wrote; one it never
// touched has none, and a zero base.
bool sectorLineEntered(const ImportLine& line, const SectorLineEntry& sector) {
  if (!text(line, sector.multiplier).empty()) return true;
  const Variant base = amount(line, sector.base);
  return !base.isNull() && base.toDouble() != 0;
}

// What the slip will compute as JmlB6 from the file: the taxes its setters give lines 1 to 7
// (base x rate / 100 x multiplier), in the order the slip adds them; lines 8 to 11 stay empty.
double sectorTotal(const ImportLine& line) {
  const double multiplier = withoutNpwp(text(line, kPartyNpwp)) ? 2.0 : 1.0;
  double taxes = 0;
  for (const auto& sector : kSectorLines) {
    if (!sectorLineEntered(line, sector)) continue;
    const Variant base = amount(line, sector.base);
    const Variant rate = amount(line, sector.rate);
    if (base.isNull() || rate.isNull()) continue;
    taxes += base.toDouble() * (rate.toDouble() / 100) * multiplier;
  }
  return taxes;
}

std::string periodText(std::int16_t month, std::int16_t year, std::int16_t correction) {
  std::string text = (month < 10 ? "0" : "") + std::to_string(month) + "/" + std::to_string(year);
  return text + ", correction " + std::to_string(correction);
}

struct Period {
  std::int16_t month;
  std::int16_t year;
  std::int16_t correction;
  friend auto operator<=>(const Period&, const Period&) = default;
};

Period periodOf(const ImportLine& line) { return {line.month, line.year, line.correction}; }

struct Profile {
  std::string npwp;
  std::string name;
  std::string address;
};

using Query = std::function<RecordsetPtr(const std::string&)>;
using Statement = std::function<void(const std::string&)>;

// The checks the reader cannot make: those against the taxpayer and the store. One query per
// tax year and correction for slip numbers, one per period for NTTPs.
class Checker {
 public:
  Checker(const Query& query, std::string npwp, bool collector)
      : query_(query), npwp_(std::move(npwp)), collector_(collector) {}

  void check(const ImportLine& line, std::vector<ImportProblem>& problems) {
    const auto& entry = formEntry(line.formCode());
    const auto& titles = exchange::headerTitles();
    auto problem = [&](std::size_t column, std::string what) {
      problems.push_back({line.lineNumber, titles[column], std::move(what)});
    };
    const std::string& number = text(line, kNumber);
    if (isSlip(entry)) {
      if (!collector_) {
        problem(kFormColumn, "\"" + std::string(entry.formCode) +
                                 "\" is a collection slip, and the taxpayer is not a collector");
      }
      if (number.empty()) {
        problem(kNumber, "the slip has no number");
      } else if (auto taken = slipNumberTaken(line, entry); !taken.empty()) {
        problem(kNumber, "slip number \"" + number + "\" is already used " + taken);
      }
      checkSlipTotal(line, entry, problem);
      return;
    }
    if (number.empty()) {
      problem(kNumber, "the payment slip has no NTTP");
    } else if (auto taken = nttpTaken(line, entry); !taken.empty()) {
      problem(kNumber, "NTTP \"" + number + "\" is already used by a " +
                           std::string(entry.formCode) + " payment slip " + taken);
    }
    if (entry.kind == Kind::OilGas && text(line, kGoods).empty()) {
      problem(kGoods, "the oil-and-gas payment slip names no commodity");
    }
    const bool ownIdentity = !collector_ && entry.kind != Kind::SelfPaidSsp;
    if (ownIdentity && !text(line, kPartyNpwp).empty() && text(line, kPartyNpwp) != npwp_) {
      problem(kPartyNpwp, "\"" + text(line, kPartyNpwp) +
                              "\" is not the taxpayer's NPWP, which a non-collector's payment "
                              "slip carries");
    }
  }

 private:
  struct NumberUse {
    unsigned storedForms = 0;
    std::vector<std::pair<unsigned, int>> lines;  // form bit, line number
  };

  template <class Problem>
  static void checkSlipTotal(const ImportLine& line, const FormEntry& entry, Problem& problem) {
    const Variant total = amount(line, kTotal);
    if (total.isNull()) return;
    double expected = 0;
    std::string what;
    if (entry.kind == Kind::SectorSlip) {
      expected = sectorTotal(line);
      what =
          "lines 1 to 7 (the file cannot carry lines 8 to 11, nor taxes typed over the "
          "computed ones)";
    } else {
      const Variant a = amount(line, kTaxA);
      const Variant b = amount(line, kTaxB);
      if (a.isNull() || b.isNull()) return;
      expected = Int(a) + Int(b);
      what = "lines a and b";
    }
    if (std::fabs(expected - total.toDouble()) < 1) return;
    problem(kTotal, "\"" + text(line, kTotal) + "\" is not the total tax of the slip's " + what +
                        ", " + numberText(expected));
  }

  // Empty when free; otherwise where it is taken.
  std::string slipNumberTaken(const ImportLine& line, const FormEntry& entry) {
    auto& uses = numbersOf(line.year, line.correction);
    auto& use = uses[text(line, kNumber)];
    std::string taken;
    if (use.storedForms & entry.numberSharedWith) {
      taken = "in the store in " + std::to_string(line.year) + ", correction " +
              std::to_string(line.correction);
    } else {
      for (const auto& [bit, lineNumber] : use.lines) {
        if (bit & entry.numberSharedWith) {
          taken = "on line " + std::to_string(lineNumber);
          break;
        }
      }
    }
    use.lines.emplace_back(entry.slipBit, line.lineNumber);
    return taken;
  }

  std::unordered_map<std::string, NumberUse>& numbersOf(std::int16_t year,
                                                        std::int16_t correction) {
    auto key = std::make_pair(year, correction);
    auto found = slipNumbers_.find(key);
    if (found != slipNumbers_.end()) return found->second;
    auto& uses = slipNumbers_[key];
    auto stored =
        query("SELECT KD_FORM, NOBUKTI FROM DS_FORM_INDUK WHERE TH_PAJAK = " + sql::number(year) +
              " AND KD_PEMBETULAN_KE = " + sql::number(correction) +
              " AND KD_JENIS_PAJAK = '112' AND KD_FORM IN ('F113303', 'F113304', 'F113305', "
              "'F113304S', 'F113304A')");
    const auto form = static_cast<std::size_t>(stored->columnIndex("KD_FORM"));
    const auto number = static_cast<std::size_t>(stored->columnIndex("NOBUKTI"));
    for (long i = 0; i < stored->RecordCount(); ++i) {
      const auto row = static_cast<std::size_t>(i);
      const std::string code = stored->cell(row, form).text();
      const unsigned bit = code == "F113305" ? kF113305 : formEntry(code).slipBit;
      uses[stored->cell(row, number).text()].storedForms |= bit;
    }
    return uses;
  }

  std::string nttpTaken(const ImportLine& line, const FormEntry& entry) {
    const Period period = periodOf(line);
    auto found = nttps_.find(period);
    if (found == nttps_.end()) {
      found = nttps_.emplace(period, std::unordered_map<std::string, int>()).first;
      auto stored =
          query("SELECT KD_FORM, NOBUKTI FROM DAT_SSP_PPh22 WHERE NPWP = " + sql::text(npwp_) +
                " AND KD_PEMBETULAN_KE = " + sql::number(period.correction) + " AND MS_PAJAK = " +
                sql::number(period.month) + " AND TH_PAJAK = " + sql::number(period.year) +
                " AND KD_JENIS_PAJAK = '112' AND KD_FORM IN ('PPh22MigasFinal', "
                "'PPh22MigasTdkFinal', 'PPh22Impor', 'PPh22ImporDbyrSdr')");
      const auto form = static_cast<std::size_t>(stored->columnIndex("KD_FORM"));
      const auto number = static_cast<std::size_t>(stored->columnIndex("NOBUKTI"));
      for (long i = 0; i < stored->RecordCount(); ++i) {
        const auto row = static_cast<std::size_t>(i);
        found->second.emplace(
            stored->cell(row, form).text() + '\n' + stored->cell(row, number).text(), 0);
      }
    }
    const std::string key = std::string(entry.formCode) + '\n' + text(line, kNumber);
    const auto [use, added] = found->second.emplace(key, line.lineNumber);
    if (added) return {};
    const std::string where = "of " + periodText(period.month, period.year, period.correction);
    return use->second == 0 ? "in the store " + where : "on line " + std::to_string(use->second);
  }

  RecordsetPtr query(const std::string& sql) const { return query_(sql); }

  const Query& query_;
  std::string npwp_;
  bool collector_;
  std::map<std::pair<std::int16_t, std::int16_t>, std::unordered_map<std::string, NumberUse>>
      slipNumbers_;
  std::map<Period, std::unordered_map<std::string, int>> nttps_;
};

// Enters the lines through the classes a host uses, one object of each kind for the whole file.
class Writer {
 public:
  Writer(const BusinessObject& owner, Query query, Statement execute, std::string npwp,
         Profile profile, std::string jenisWp)
      : query_(std::move(query)),
        execute_(std::move(execute)),
        npwp_(std::move(npwp)),
        profile_(std::move(profile)),
        jenisWp_(std::move(jenisWp)),
        collector_(jenisWp_ == "Pemungut"),
        today_(Date::today()) {
    for (BusinessObject* object : std::initializer_list<BusinessObject*>{
             &mainReturn_, &f113303_, &f113304_, &f113304S_, &f113304A_, &oilGasFinal_,
             &oilGasNotFinal_, &importSsp_, &selfPaidSsp_}) {
      object->attach(owner);
    }
  }

  void createSkeleton(const Period& period) {
    mainReturn_.pCreateF113202Hdr(npwp_, "F113202", "01", period.month, period.year,
                                  period.correction, "-", "112", profile_.name, profile_.address,
                                  today_, today_, jenisWp_);
  }

  // After the skeletons, which give an empty table its default commodities first.
  void addCommodities(const std::vector<ImportLine>& lines) {
    auto stored =
        query_("SELECT * FROM JENIS_KOMODITI WHERE PASAL = 22 ORDER BY KODE_KOMODITI ASC");
    const auto code = static_cast<std::size_t>(stored->columnIndex("KODE_KOMODITI"));
    const auto name = static_cast<std::size_t>(stored->columnIndex("NAMA_KOMODITI"));
    double highest = 0;
    for (long i = 0; i < stored->RecordCount(); ++i) {
      const auto row = static_cast<std::size_t>(i);
      const std::string spelled = stored->cell(row, name).text();
      commodities_.emplace(upper(spelled), spelled);
      double number = 0;
      if (parseNumber(stored->cell(row, code).text(), number)) highest = std::max(highest, number);
    }
    for (const auto& line : lines) {
      if (formEntry(line.formCode()).kind != Kind::OilGas) continue;
      const std::string& commodity = text(line, kGoods);
      if (commodities_.count(upper(commodity))) continue;
      highest += 1;
      std::string newCode = numberText(highest);
      if (newCode.size() < 2) newCode.insert(0, "0");
      execute_("INSERT INTO JENIS_KOMODITI VALUES (" + sql::text(newCode) + ", " +
               sql::text(commodity) + ", 22, 0)");
      commodities_.emplace(upper(commodity), commodity);
    }
    oilGasFinal_.getTaxRate();
    oilGasNotFinal_.getTaxRate();
  }

  void readPartners() {
    auto stored = query_("SELECT NPWP_PARTNER, NAMA_PARTNER FROM DAT_PARTNER");
    for (long i = 0; i < stored->RecordCount(); ++i) {
      const auto row = static_cast<std::size_t>(i);
      partners_.insert(partnerKey(stored->cell(row, 0).text(), stored->cell(row, 1).text()));
    }
  }

  void enter(const ImportLine& line) {
    const auto& entry = formEntry(line.formCode());
    switch (entry.kind) {
      case Kind::CollectionSlip:
        enterCollectionSlip(line);
        break;
      case Kind::SectorSlip:
        enterSectorSlip(line, entry);
        break;
      case Kind::OilGas:
        enterOilGas(line, entry);
        break;
      case Kind::ImportSsp:
        enterImportSsp(line, entry);
        break;
      case Kind::SelfPaidSsp:
        enterSelfPaidSsp(line, entry);
        break;
    }
  }

 private:
  static std::string partnerKey(const std::string& npwp, const std::string& name) {
    return withoutNpwp(npwp) ? npwp + '\n' + name : npwp;
  }

  void recordPartner(const ImportLine& line) {
    const std::string& npwp = text(line, kPartyNpwp);
    if (npwp.empty()) return;
    if (!partners_.insert(partnerKey(npwp, text(line, kPartyName))).second) return;
    execute_("INSERT INTO DAT_PARTNER VALUES (" + sql::text(npwp) + ", " +
             sql::text(text(line, kPartyName)) + ", " + sql::text(text(line, kPartyAddress)) + ")");
  }

  // The next sequence of an SSP's list in its period: the list's own proposal the first time,
  // then counted on here, so that no line asks the store for the period's highest.
  template <class Input>
  double nextSequence(Input& input, const ImportLine& line, const FormEntry& entry) {
    const auto key =
        std::make_tuple(line.month, line.year, line.correction, entry.listForm, entry.collection);
    auto found = sequences_.find(key);
    if (found == sequences_.end()) {
      double first = 0;
      input.pGetMaxSeqNo(line.month, line.year, line.correction, entry.collection, first);
      found = sequences_.emplace(key, first).first;
    }
    return found->second++;
  }

  template <class Slip>
  void save(Slip& slip, const ImportLine& line) {
    slip.pAssignStatus(true, false, false);
    slip.pUpdate(line.month, std::to_string(line.year), std::to_string(line.correction));
  }

  template <class Slip>
  void enterParty(Slip& slip, const ImportLine& line) {
    slip.aNPWPLT(text(line, kPartyNpwp));
    if (!text(line, kPartyName).empty()) slip.aNMWPLT(text(line, kPartyName));
    if (!text(line, kPartyAddress).empty()) slip.aALMLT(text(line, kPartyAddress));
    if (!text(line, kDate).empty()) slip.aTGL_POTONG(date(line, kDate));
  }

  void enterCollectionSlip(const ImportLine& line) {
    const std::string& number = text(line, kNumber);
    auto& slip = f113303_;
    slip.pCreateF113303Hdr(npwp_, "F113303", "02", line.month, line.year, line.correction, number,
                           "112", profile_.name, profile_.address, today_);
    slip.pGetF113303(npwp_, "F113303", "02", line.month, line.year, line.correction, number, "112",
                     profile_.name, profile_.address, today_);
    slip.pAssignOldValues();
    enterParty(slip, line);
    if (!text(line, kGoods).empty()) slip.aJnsBrg(text(line, kGoods));
    if (!text(line, kQuantity).empty()) slip.aBykBrg(amount(line, kQuantity));
    if (!text(line, kUnit).empty()) slip.aSatBrg(text(line, kUnit));
    if (!text(line, kImportValue).empty()) slip.aNil_Impor(amount(line, kImportValue));
    // Base, rate, tax of line a, then of line b: the file's taxes come last and win.
    for (const auto& [column, setter] : kCollectionAmounts) {
      if (!text(line, column).empty()) (slip.*setter)(amount(line, column));
    }
    slip.pHitPjk(0);
    recordPartner(line);
    save(slip, line);
  }

  SectorSlip& sectorSlip(const FormEntry& entry) {
    if (entry.formCode == "F113304S") return f113304S_;
    if (entry.formCode == "F113304A") return f113304A_;
    return f113304_;
  }

  void enterSectorSlip(const ImportLine& line, const FormEntry& entry) {
    const std::string& number = text(line, kNumber);
    const std::string form(entry.formCode);
    const std::string kind(entry.documentKind);
    auto& slip = sectorSlip(entry);
    slip.pCreateF113304Hdr(npwp_, form, kind, line.month, line.year, line.correction, number, "112",
                           profile_.name, profile_.address, today_);
    slip.pGetF113304(npwp_, form, kind, line.month, line.year, line.correction, number, "112",
                     profile_.name, profile_.address, today_);
    slip.pAssignOldValues();
    enterParty(slip, line);
    for (const auto& sector : kSectorLines) {
      if (sector.description && !text(line, sector.description).empty()) {
        (slip.*sector.setDescription)(text(line, sector.description));
      }
      if (sectorLineEntered(line, sector)) {
        (slip.*sector.setBase)(amount(line, sector.base));
        (slip.*sector.setRate)(amount(line, sector.rate));
      } else {
        slip.rs22Form()->Fields(sector.rateField).Value(amount(line, sector.rate));
      }
    }
    slip.pHitPjk3304(0);
    recordPartner(line);
    save(slip, line);
  }

  // A collector's SSP names its buyer; anyone else's carries his own identity.
  template <class Input>
  void enterIdentity(Input& input, const ImportLine& line) {
    if (collector_) {
      input.aNPWPLT(text(line, kPartyNpwp));
      if (!text(line, kPartyName).empty()) input.aNMWPLT(text(line, kPartyName));
      if (!text(line, kPartyAddress).empty()) input.aALMLT(text(line, kPartyAddress));
      recordPartner(line);
      return;
    }
    if (!text(line, kPartyNpwp).empty()) input.aNPWP(text(line, kPartyNpwp));
    if (!text(line, kPartyName).empty()) input.aNMWP(text(line, kPartyName));
    if (!text(line, kPartyAddress).empty()) input.aALM(text(line, kPartyAddress));
  }

  template <class Input>
  void finish(Input& input, const ImportLine& line) {
    if (!text(line, kDate).empty()) input.aTGL_PUNGUT(date(line, kDate));
    input.pHitPjk(1);
    input.pAssignStatus(true, false, false);
    input.pUpdate();
  }

  void enterOilGas(const ImportLine& line, const FormEntry& entry) {
    auto& input = entry.collection == 0 ? static_cast<ssp::OilGasInput&>(oilGasFinal_)
                                        : static_cast<ssp::OilGasInput&>(oilGasNotFinal_);
    const std::string& nttp = text(line, kNumber);
    const std::string form(entry.formCode);
    const std::string kind(entry.documentKind);
    const std::string commodity = commodities_.at(upper(text(line, kGoods)));
    const double seq = nextSequence(input, line, entry);
    input.pCreateHdr(npwp_, form, kind, line.month, line.year, line.correction, nttp, "112",
                     profile_.name, profile_.address, today_, commodity, jenisWp_);
    input.pGet(npwp_, form, kind, line.month, line.year, line.correction, nttp, "112",
               profile_.name, profile_.address, today_, 0, commodity);
    input.pAssignOldValues();
    input.aSEQ(seq);
    enterIdentity(input, line);
    input.aPenjualan(commodity);
    const Variant gross = amount(line, kGross);
    if (!gross.isNull()) input.ajmlBruto(gross.toDouble());
    const Variant tax = amount(line, kTotal);
    if (!tax.isNull()) input.aPPH(tax.toDouble());
    if (!text(line, kRemark).empty()) input.aINVOICE(text(line, kRemark));
    finish(input, line);
  }

  void enterImportSsp(const ImportLine& line, const FormEntry& entry) {
    auto& input = importSsp_;
    const std::string& nttp = text(line, kNumber);
    const std::string form(entry.formCode);
    const std::string kind(entry.documentKind);
    const double seq = nextSequence(input, line, entry);
    input.pCreateHdr(npwp_, form, kind, line.month, line.year, line.correction, nttp, "112",
                     profile_.name, profile_.address, today_, "", jenisWp_);
    input.pGet(npwp_, form, kind, line.month, line.year, line.correction, nttp, "112",
               profile_.name, profile_.address, today_, 0);
    input.pAssignOldValues();
    input.aSEQ(seq);
    enterIdentity(input, line);
    const Variant gross = amount(line, kGross);
    if (!gross.isNull()) input.aA13(gross.toDouble());
    const Variant tax = amount(line, kTotal);
    if (!tax.isNull()) input.aA14(tax.toDouble());
    if (!text(line, kRemark).empty()) input.aKeterangan(text(line, kRemark));
    finish(input, line);
  }

  void enterSelfPaidSsp(const ImportLine& line, const FormEntry& entry) {
    auto& input = selfPaidSsp_;
    const std::string& nttp = text(line, kNumber);
    const std::string form(entry.formCode);
    const std::string kind(entry.documentKind);
    const double seq = nextSequence(input, line, entry);
    input.pCreateHdr(npwp_, form, kind, line.month, line.year, line.correction, nttp, "112",
                     profile_.name, profile_.address, today_, jenisWp_);
    input.pGet(npwp_, form, kind, line.month, line.year, line.correction, nttp, "112",
               profile_.name, profile_.address, today_, 0);
    input.pAssignOldValues();
    input.aSEQ(seq);
    const Variant gross = amount(line, kGross);
    if (!gross.isNull()) input.ajmlBruto(gross.toDouble());
    const Variant tax = amount(line, kTotal);
    if (!tax.isNull()) input.aPPH(tax.toDouble());
    if (!text(line, kRemark).empty()) input.aNoPIB(text(line, kRemark));
    finish(input, line);
  }

  Query query_;
  Statement execute_;
  std::string npwp_;
  Profile profile_;
  std::string jenisWp_;
  bool collector_;
  Date today_;

  CF113202 mainReturn_;
  CF113303 f113303_;
  CF113304 f113304_;
  CF113304S f113304S_;
  CF113304A f113304A_;
  CInputMigasFinal oilGasFinal_;
  CInputMigasTdkFinal oilGasNotFinal_;
  CInputPPh22Impor importSsp_;
  CInputPPh22DbyrSdr selfPaidSsp_;

  std::unordered_map<std::string, std::string> commodities_;  // upper-cased name -> as stored
  std::unordered_set<std::string> partners_;
  std::map<std::tuple<std::int16_t, std::int16_t, std::int16_t, std::string_view, std::int16_t>,
           double>
      sequences_;
};

std::string readFile(const std::string& fileName) {
  std::ifstream file(fileName, std::ios::binary);
  if (!file) throw Error(errc::kFile, "Path not found: " + fileName);
  std::ostringstream content;
  content << file.rdbuf();
  if (file.bad()) throw Error(errc::kFile, "The file " + fileName + " could not be read.");
  std::string text = content.str();
  // A spreadsheet that saved the file may have put a byte-order mark in front of the header.
  if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
  return text;
}

}  // namespace

void CImporBP::onProgress(ProgressHandler handler) {
  reported([&] { progress_ = std::move(handler); });
}

// A failure of the host's callback is the host's own: it does not stop the import.
void CImporBP::tellProgress(long done, long total) {
  if (!progress_) return;
  detail::HostCallbackScope hostCode;
  try {
    progress_(done, total);
  } catch (...) {
  }
}

RecordsetPtr CImporBP::pImporPPh(const std::string& sNPWP, std::int16_t iKodePasal,
                                 const std::string& strFileName, const std::string& strJenisWP) {
  return reported(RecordsetPtr(), [&] {
    if (iKodePasal != 22) {
      throw Error(errc::kInvalidProcedureCall,
                  "The import of article " + std::to_string(iKodePasal) +
                      " is not served yet: only article 22 can be imported.");
    }
    const bool collector = strJenisWP == "Pemungut";
    const Query query = [this](const std::string& sql) { return open(sql); };
    const Statement statement = [this](const std::string& sql) { execute(sql); };

    // The SSP classes take the taxpayer from the profile's first row: it must be this one.
    auto profileRow = open("SELECT NPWP,NAMA_WP_PROFILE,ALAMAT FROM DAT_PROFILE");
    if (profileRow->EndOfFile() || profileRow->Fields("NPWP").Value().text() != sNPWP) {
      throw Error(errc::kInvalidProcedureCall, "The store holds no taxpayer profile for NPWP " +
                                                   sNPWP + " (DAT_PROFILE): nothing was imported.");
    }
    Profile profile{sNPWP, profileRow->Fields("NAMA_WP_PROFILE").Value().text(),
                    profileRow->Fields("ALAMAT").Value().text()};

    auto file = exchange::readImportText(readFile(strFileName));
    {
      Checker checker(query, sNPWP, collector);
      for (const auto& line : file.lines) checker.check(line, file.problems);
    }
    if (!file.problems.empty()) {
      std::stable_sort(file.problems.begin(), file.problems.end(),
                       [](const ImportProblem& a, const ImportProblem& b) {
                         return a.lineNumber < b.lineNumber;
                       });
      throw Error(errc::kFile, "The file " + strFileName +
                                   " was not imported; nothing was written:\r\n" +
                                   exchange::describeProblems(file.problems));
    }

    const long total = static_cast<long>(file.lines.size());
    std::map<std::string_view, long> counts;
    // One transaction for the whole file: a file of a hundred thousand lines is written at the
    // store's pace, not at a commit per statement, and a failure part-way leaves nothing behind.
    store::Connection& store = *connection();
    store.begin();
    try {
      Writer writer(*this, query, statement, sNPWP, profile, strJenisWP);
      std::set<Period> begun;
      for (const auto& line : file.lines) {
        if (begun.insert(periodOf(line)).second) writer.createSkeleton(periodOf(line));
      }
      writer.addCommodities(file.lines);
      writer.readPartners();

      tellProgress(0, total);
      long done = 0;
      for (const auto& line : file.lines) {
        try {
          writer.enter(line);
        } catch (const std::bad_alloc&) {
          throw;
        } catch (const std::exception& failure) {
          const Error* known = dynamic_cast<const Error*>(&failure);
          throw Error(known ? known->number() : errc::kStoreFailure,
                      "Line " + std::to_string(line.lineNumber) + " (" + line.formCode() + " " +
                          text(line, kNumber) + ") could not be imported: " + failure.what() +
                          "\r\nNothing was imported.");
        }
        ++counts[formEntry(line.formCode()).formCode];
        tellProgress(++done, total);
      }
      store.commit();
    } catch (...) {
      store.rollback();
      throw;
    }

    auto result = std::make_shared<Recordset>(std::vector<std::string>{"KD_FORM", "JUMLAH"});
    for (const auto& entry : kFormEntries) {
      auto found = counts.find(entry.formCode);
      if (found == counts.end()) continue;
      result->appendRow({Variant(entry.formCode), Variant(found->second)});
    }
    if (result->RecordCount() > 0) result->MoveFirst();

    MessageBoxRequest box;
    box.title = "INFORMASI";
    box.icon = kIconInformation;
    box.buttons = kOkOnly;
    box.text = "Data Bukti Potong PPh Masa Pasal 22 Dari :\r\n\r\n* File : " + strFileName +
               "\r\n\r\nBerhasil Diimpor Sebanyak : " + exchange::groupThousands(total) +
               " Baris (Record) Data";
    showMessageBox(box);
    return result;
  });
}

}  // namespace korvane
