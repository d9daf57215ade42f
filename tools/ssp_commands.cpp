// ssp add|edit|delete|list: the tax payment slips (SSP) of the period, each kind driven through
// its input class.
#include <algorithm>
#include <cctype>
#include <iostream>
#include <memory>

#include "entry.hpp"
#include "korvane/forms/ssp/import_input.hpp"
#include "korvane/forms/ssp/oil_gas_input.hpp"
#include "korvane/store/companion.hpp"
#include "korvane/store/sql.hpp"
#include "output.hpp"

namespace korvane::cli {
namespace {

struct SspKindInfo {
  const char* name;          // what the command line calls it
  const char* formCode;      // KD_FORM
  const char* className;     // registered as "Korvane.<className>"
  const char* documentKind;  // JENIS_DOKUMEN
  const char* title;
};

constexpr SspKindInfo kSspKinds[] = {
    {"migas-final", "PPh22MigasFinal", "CInputMigasFinal", "05", "oil and gas sales, final tax"},
    {"migas-nonfinal", "PPh22MigasTdkFinal", "CInputMigasTdkFinal", "06",
     "oil and gas sales, tax not final"},
    {"import", "PPh22Impor", "CInputPPh22Impor", "10", "imports"},
    {"domestic", "PPh22", "CInputPPh22Impor", "14", "article-22 SSP of the domestic list"},
    {"self-paid", "PPh22ImporDbyrSdr", "CInputPPh22DbyrSdr", "11", "imports paid by the importer"},
};

bool sameText(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

const SspKindInfo& sspKind(std::string_view kind) {
  for (const auto& info : kSspKinds) {
    if (sameText(kind, info.name) || sameText(kind, info.formCode)) return info;
  }
  std::string known;
  for (const auto& info : kSspKinds) known += std::string(known.empty() ? "" : ", ") + info.name;
  throw UsageError("--kind",
                   "\"" + std::string(kind) + "\" is not a kind of payment slip (" + known + ").");
}

// What finds one payment slip again: its NTTP and list sequence, the commodity of an
// oil-and-gas slip, and the buyer of an import slip (whose name and address tell buyers
// without a tax number apart).
struct SspKey {
  std::string nttp;
  double seq = 0;
  std::string commodity;
  std::string buyerNpwp;
  std::string buyerName;
  std::string buyerAddress;
};

// The payment slips of a period as their rows hold them.
struct SspRow {
  const SspKindInfo* kind;
  SspKey key;
  Variant date;
  Variant gross;
  Variant tax;
};

std::vector<SspRow> readSsps(Host& host, const Period& period) {
  std::string forms;
  for (const auto& info : kSspKinds) {
    forms += std::string(forms.empty() ? "" : ", ") + "'" + info.formCode + "'";
  }
  auto rows = host.query("SELECT * FROM DAT_SSP_PPh22 WHERE NPWP = " + sql::text(period.npwp) +
                         " AND MS_PAJAK = " + sql::number(period.month) +
                         " AND TH_PAJAK = " + sql::number(period.year) +
                         " AND KD_PEMBETULAN_KE = " + sql::number(period.correction) +
                         " AND KD_JENIS_PAJAK = '112' AND KD_FORM IN (" + forms + ")");
  FieldTextCompanion companion;
  std::vector<SspRow> ssps;
  for (const auto& info : kSspKinds) {
    rows->Filter(std::string("KD_FORM = '") + info.formCode + "'");
    auto fields = companion.unpack(info.formCode, rows);
    const bool commodity = fields->columnIndex("PENJUALAN") >= 0;
    for (; !fields->EndOfFile(); fields->MoveNext()) {
      SspRow row;
      row.kind = &info;
      row.key.nttp = fields->Fields("NTTP").Value().text();
      const auto seq = fields->Fields("SEQ").Value();
      row.key.seq = seq.isNumeric() ? seq.toDouble() : 0;
      if (commodity) row.key.commodity = fields->Fields("PENJUALAN").Value().text();
      row.date = fields->Fields("TGL_PUNGUT").Value();
      row.key.buyerNpwp = fields->Fields("NPWPLT").Value().text();
      row.key.buyerName = fields->Fields("NMWPLT").Value().text();
      row.key.buyerAddress = fields->Fields("ALMLT").Value().text();
      row.gross = fields->Fields("JMLBRUTO").Value();
      row.tax = fields->Fields("PPH").Value();
      ssps.push_back(std::move(row));
    }
    rows->Filter("");
  }
  return ssps;
}

// The one slip of a kind with the NTTP (and sequence, when several share the NTTP).
SspKey findSsp(Host& host, const Period& period, const SspKindInfo& kind, const std::string& nttp,
               double seq) {
  std::vector<SspKey> found;
  for (const auto& row : readSsps(host, period)) {
    if (row.kind == &kind && row.key.nttp == nttp && (seq < 0 || row.key.seq == seq)) {
      found.push_back(row.key);
    }
  }
  if (found.empty()) {
    host.fail("The return " + period.title() + " has no " + kind.name + " payment slip with NTTP " +
              nttp + ".");
  }
  if (found.size() > 1) {
    throw UsageError("--seq", "several " + std::string(kind.name) + " payment slips have NTTP " +
                                  nttp + "; name one by its sequence number.");
  }
  return found.front();
}

// The commodity as the store spells it; a name it does not know is a usage error.
std::string commodityOption(Host& host, const std::string& name) {
  auto rows = host.query(
      "SELECT NAMA_KOMODITI FROM JENIS_KOMODITI WHERE PASAL = 22 "
      "ORDER BY KODE_KOMODITI ASC");
  std::string known;
  for (; !rows->EndOfFile(); rows->MoveNext()) {
    const auto stored = rows->Fields("NAMA_KOMODITI").Value().text();
    if (sameText(stored, name)) return stored;
    known += (known.empty() ? "" : ", ") + stored;
  }
  throw UsageError("--commodity", "\"" + name + "\" is not a commodity of the store (" +
                                      (known.empty() ? "none yet: open a period first" : known) +
                                      ").");
}

// The parts every kind of payment slip shares: whom it concerns, and when it was paid.
template <class T>
void addCommonProperties(std::vector<Property<T>>& p) {
  p.push_back({"party-npwp", "NPWPLT", "NPWP of the buyer (000000000000000: none)", ValueKind::Npwp,
               Stage::Party, [](T& s, const Variant& v) { s.aNPWPLT(v); }});
  p.push_back({"party-name", "NMWPLT", "Name of the buyer", ValueKind::Text, Stage::Detail,
               [](T& s, const Variant& v) { s.aNMWPLT(v); }});
  p.push_back({"party-address", "ALMLT", "Address of the buyer", ValueKind::Text, Stage::Detail,
               [](T& s, const Variant& v) { s.aALMLT(v); }});
  p.push_back({"date", "TGL_PUNGUT", "Date of payment (default: today)", ValueKind::Date,
               Stage::Detail, [](T& s, const Variant& v) { s.aTGL_PUNGUT(v); }});
}

// Oil and gas, final and not final -------------------------------------------------------------

template <class C, std::int16_t Collection>
struct OilGasSsp {
  using Class = C;
  static constexpr bool kCommodity = true;

  static const SspKindInfo& info() {
    return sspKind(Collection == 0 ? "migas-final" : "migas-nonfinal");
  }
  static void prepare(Class& s) { s.getTaxRate(); }
  static RecordsetPtr checkNttp(Class& s, const Period& p, const std::string& nttp) {
    RecordsetPtr rows;
    s.pCheckNTTP(p.npwp, p.year, nttp, p.month, p.correction, rows);
    return rows;
  }
  static double nextSeq(Class& s, const Period& p) {
    double seq = 0;
    s.pGetMaxSeqNo(p.month, p.year, p.correction, Collection, seq);
    return seq;
  }
  static void create(Class& s, const Period& p, const SspKey& key, const Profile& who,
                     const Date& date) {
    s.pCreateHdr(p.npwp, info().formCode, info().documentKind, p.month, p.year, p.correction,
                 key.nttp, "112", who.name, who.address, date, key.commodity, who.kind);
  }
  static void load(Class& s, const Period& p, const SspKey& key, const Profile& who) {
    s.pGet(p.npwp, info().formCode, info().documentKind, p.month, p.year, p.correction, key.nttp,
           "112", who.name, who.address, Date::today(), key.seq, key.commodity);
  }
  static void remove(Class& s, const Period& p, const SspKey& key) {
    s.pDeleteForm(p.npwp, info().formCode, info().documentKind, p.month, p.year, p.correction,
                  key.nttp, "112", key.commodity, key.seq);
  }
  static void assignOldValues(Class& s) { s.pAssignOldValues(); }
  static void compute(Class& s) { s.pHitPjk(1); }

  static const std::vector<Property<Class>>& properties() {
    static const auto table = [] {
      std::vector<Property<Class>> p;
      addCommonProperties<Class>(p);
      p.push_back({"invoice", "INVOICE", "Invoice number", ValueKind::Text, Stage::Detail,
                   [](Class& s, const Variant& v) { s.aINVOICE(v); }});
      p.push_back({"commodity", "PENJUALAN", "Commodity sold (a name of the store's commodities)",
                   ValueKind::Text, Stage::Detail,
                   [](Class& s, const Variant& v) { s.aPenjualan(v.text()); }});
      p.push_back({"gross", "JMLBRUTO",
                   "Gross sales in rupiah; the tax follows from the commodity's rate",
                   ValueKind::Number, Stage::Base,
                   [](Class& s, const Variant& v) { s.ajmlBruto(v.toDouble()); }});
      p.push_back({"tax", "PPH", "Tax, overriding the computed one", ValueKind::Number, Stage::Tax,
                   [](Class& s, const Variant& v) { s.aPPH(v.toDouble()); }});
      return p;
    }();
    return table;
  }
};

using MigasFinalSsp = OilGasSsp<CInputMigasFinal, 0>;
using MigasNotFinalSsp = OilGasSsp<CInputMigasTdkFinal, 1>;

// Imports, and the article-22 slips of the domestic list: one input class, the kind chosen by
// the form code it is given.
template <bool Import>
struct ImportSsp {
  using Class = CInputPPh22Impor;
  static constexpr bool kCommodity = false;

  static const SspKindInfo& info() { return sspKind(Import ? "import" : "domestic"); }
  static void prepare(Class&) {}
  static RecordsetPtr checkNttp(Class& s, const Period& p, const std::string& nttp) {
    RecordsetPtr rows;
    s.pCheckNTTP(p.npwp, p.year, nttp, p.month, p.correction, rows, info().formCode);
    return rows;
  }
  static double nextSeq(Class& s, const Period& p) {
    double seq = 0;
    s.pGetMaxSeqNo(p.month, p.year, p.correction, 0, seq, info().formCode);
    return seq;
  }
  static void create(Class& s, const Period& p, const SspKey& key, const Profile& who,
                     const Date& date) {
    s.pCreateHdr(p.npwp, info().formCode, info().documentKind, p.month, p.year, p.correction,
                 key.nttp, "112", who.name, who.address, date, "", who.kind);
  }
  static void load(Class& s, const Period& p, const SspKey& key, const Profile& who) {
    s.pGet(p.npwp, info().formCode, info().documentKind, p.month, p.year, p.correction, key.nttp,
           "112", who.name, who.address, Date::today(), key.seq, "", key.buyerNpwp, key.buyerName,
           key.buyerAddress);
  }
  static void remove(Class& s, const Period& p, const SspKey& key) {
    s.pDeleteForm(p.npwp, info().formCode, info().documentKind, p.month, p.year, p.correction,
                  key.nttp, "112", "", key.seq, key.buyerNpwp, key.buyerName, key.buyerAddress);
  }
  static void assignOldValues(Class& s) {
    if constexpr (Import) {
      s.pAssignOldValues();
    } else {
      s.pAssignOldValues_PPh();
    }
  }
  static void compute(Class& s) {
    if constexpr (Import) {
      s.pHitPjk(1);
    } else {
      s.pHitPjk_PPh(1);
    }
  }

  static const std::vector<Property<Class>>& properties() {
    static const auto table = [] {
      std::vector<Property<Class>> p;
      addCommonProperties<Class>(p);
      p.push_back({"remark", "keterangan", "Remark", ValueKind::Text, Stage::Detail,
                   [](Class& s, const Variant& v) { s.aKeterangan(v); }});
      if constexpr (Import) {
        p.push_back({"gross-1", "A13", "Line 1 (imports with API): gross in rupiah",
                     ValueKind::Number, Stage::Base,
                     [](Class& s, const Variant& v) { s.aA13(v.toDouble()); }});
        p.push_back({"gross-2", "A23", "Line 2 (imports without API): gross in rupiah",
                     ValueKind::Number, Stage::Base,
                     [](Class& s, const Variant& v) { s.aA23(v.toDouble()); }});
        p.push_back({"tax-1", "A14", "Line 1: tax paid in rupiah", ValueKind::Number, Stage::Tax,
                     [](Class& s, const Variant& v) { s.aA14(v.toDouble()); }});
        p.push_back({"tax-2", "A24", "Line 2: tax paid in rupiah", ValueKind::Number, Stage::Tax,
                     [](Class& s, const Variant& v) { s.aA24(v.toDouble()); }});
      } else {
        p.push_back({"gross", "JMLBRUTO", "Gross in rupiah", ValueKind::Number, Stage::Base,
                     [](Class& s, const Variant& v) { s.ajmlBruto(v.toDouble()); }});
        p.push_back({"tax", "PPH", "Tax paid in rupiah", ValueKind::Number, Stage::Tax,
                     [](Class& s, const Variant& v) { s.aPPH(v.toDouble()); }});
      }
      return p;
    }();
    return table;
  }
};

using ImportPaymentSsp = ImportSsp<true>;
using DomesticSsp = ImportSsp<false>;

// Imports the importer paid himself: kept in their own list, never on the main return.
struct SelfPaidSsp {
  using Class = CInputPPh22DbyrSdr;
  static constexpr bool kCommodity = false;

  static const SspKindInfo& info() { return sspKind("self-paid"); }
  static void prepare(Class&) {}
  static RecordsetPtr checkNttp(Class& s, const Period& p, const std::string& nttp) {
    RecordsetPtr rows;
    s.pCheckNTTP(p.npwp, p.year, nttp, p.month, p.correction, rows);
    return rows;
  }
  static double nextSeq(Class& s, const Period& p) {
    double seq = 0;
    s.pGetMaxSeqNo(p.month, p.year, p.correction, 0, seq);
    return seq;
  }
  static void create(Class& s, const Period& p, const SspKey& key, const Profile& who,
                     const Date& date) {
    s.pCreateHdr(p.npwp, info().formCode, info().documentKind, p.month, p.year, p.correction,
                 key.nttp, "112", who.name, who.address, date, who.kind);
  }
  static void load(Class& s, const Period& p, const SspKey& key, const Profile& who) {
    s.pGet(p.npwp, info().formCode, info().documentKind, p.month, p.year, p.correction, key.nttp,
           "112", who.name, who.address, Date::today(), key.seq);
  }
  static void remove(Class& s, const Period& p, const SspKey& key) {
    s.pDeleteForm(p.npwp, info().formCode, info().documentKind, p.month, p.year, p.correction,
                  key.nttp, "112", key.seq);
  }
  static void assignOldValues(Class& s) { s.pAssignOldValues(); }
  static void compute(Class& s) { s.pHitPjk(1); }

  static const std::vector<Property<Class>>& properties() {
    static const auto table = [] {
      std::vector<Property<Class>> p;
      addCommonProperties<Class>(p);
      p.push_back({"pib", "NoPIB", "Number of the import declaration (PIB)", ValueKind::Text,
                   Stage::Detail, [](Class& s, const Variant& v) { s.aNoPIB(v); }});
      p.push_back({"gross", "JMLBRUTO", "Import value in rupiah", ValueKind::Number, Stage::Base,
                   [](Class& s, const Variant& v) { s.ajmlBruto(v.toDouble()); }});
      p.push_back({"tax", "PPH", "Tax paid in rupiah", ValueKind::Number, Stage::Tax,
                   [](Class& s, const Variant& v) { s.aPPH(v.toDouble()); }});
      return p;
    }();
    return table;
  }
};

template <class Visitor>
void visitSspKind(const SspKindInfo& kind, Visitor&& visit) {
  const std::string_view form = kind.formCode;
  if (form == "PPh22MigasFinal") return visit.template operator()<MigasFinalSsp>();
  if (form == "PPh22MigasTdkFinal") return visit.template operator()<MigasNotFinalSsp>();
  if (form == "PPh22Impor") return visit.template operator()<ImportPaymentSsp>();
  if (form == "PPh22") return visit.template operator()<DomesticSsp>();
  return visit.template operator()<SelfPaidSsp>();
}

// The engine ----------------------------------------------------------------------------------

template <class Kind>
EntryResult resultOf(typename Kind::Class& ssp) {
  EntryResult result;
  result.form = Kind::info().formCode;
  result.number = currentValue(ssp, "NTTP").text();
  const auto gross = currentValue(ssp, "JMLBRUTO");
  const auto tax = currentValue(ssp, "PPH");
  result.base = gross.isNumeric() ? gross.toDouble() : 0;
  result.tax = tax.isNumeric() ? tax.toDouble() : 0;
  return result;
}

template <class Kind>
void refuseTakenNttp(Host& host, typename Kind::Class& ssp, const Period& period,
                     const std::string& nttp) {
  auto taken = Kind::checkNttp(ssp, period, nttp);
  host.check();
  if (taken && taken->RecordCount() > 0) {
    host.fail("The NTTP " + nttp + " is already used by a " + Kind::info().name +
              " payment slip of " + period.title() + ".");
  }
}

// The commodity given on the command line, spelled as the store spells it.
EntryValues withStoredCommodity(Host& host, EntryValues values) {
  for (auto& [flag, value] : values) {
    if (flag == "commodity") value = commodityOption(host, value.text());
  }
  return values;
}

template <class Kind>
EntryResult addSspOf(Host& host, const Period& period, EntryValues values) {
  const Variant* nttp = findValue(values, "nttp");
  if (!nttp || nttp->text().empty()) throw UsageError("--nttp", "is required.");
  SspKey key;
  key.nttp = nttp->text();
  if constexpr (Kind::kCommodity) {
    if (!findValue(values, "commodity")) throw UsageError("--commodity", "is required.");
    values = withStoredCommodity(host, values);
    key.commodity = findValue(values, "commodity")->text();
  }
  if (!findValue(values, "date")) values.emplace_back("date", Date::today());
  const auto profile = host.profile();
  auto ssp = host.connect<typename Kind::Class>(Kind::info().className);
  Kind::prepare(*ssp);
  host.check();
  refuseTakenNttp<Kind>(host, *ssp, period, key.nttp);
  const double seq = Kind::nextSeq(*ssp, period);
  host.check();

  Kind::create(*ssp, period, key, profile, findValue(values, "date")->toDate());
  host.check();
  Kind::load(*ssp, period, key, profile);
  host.check();
  if (!loaded(*ssp)) host.fail("The new payment slip " + key.nttp + " could not be loaded.");
  Kind::assignOldValues(*ssp);
  ssp->aSEQ(seq);
  host.check();
  applyValues(host, *ssp, Kind::properties(), values);
  Kind::compute(*ssp);
  ssp->pAssignStatus(true, false, false);
  ssp->pUpdate();
  host.check();
  return resultOf<Kind>(*ssp);
}

template <class Kind>
EntryResult editSspOf(Host& host, const Period& period, const std::string& nttp, double seq,
                      EntryValues values) {
  const auto key = findSsp(host, period, Kind::info(), nttp, seq);
  if constexpr (Kind::kCommodity) values = withStoredCommodity(host, values);
  auto ssp = host.connect<typename Kind::Class>(Kind::info().className);
  Kind::prepare(*ssp);
  host.check();
  Kind::load(*ssp, period, key, host.profile());
  host.check();
  if (!loaded(*ssp)) host.fail("The payment slip " + nttp + " could not be loaded.");
  Kind::assignOldValues(*ssp);
  host.check();
  if (const Variant* renumber = findValue(values, "new-nttp")) {
    if (renumber->text() != nttp) {
      refuseTakenNttp<Kind>(host, *ssp, period, renumber->text());
      ssp->aNTTP(*renumber);
      host.check();
    }
  }
  // A slip moved to another commodity has its gross entered again, so that its tax follows
  // the new commodity's rate.
  std::set<std::string> reenter;
  const Variant* commodity = findValue(values, "commodity");
  if (commodity && commodity->text() != key.commodity) reenter.insert("gross");
  applyValues(host, *ssp, Kind::properties(), values, reenter);
  Kind::compute(*ssp);
  ssp->pAssignStatus(false, true, false);
  ssp->pUpdate();
  host.check();
  return resultOf<Kind>(*ssp);
}

// The command line ------------------------------------------------------------------------------

struct SspCommand {
  StoreOptions store;
  PeriodOptions period;
  double seq = -1;
  EntryFlags flags;
};

std::string seqText(double seq) { return numberText(seq); }

template <class Kind>
void addKindCommands(CLI::App* add, CLI::App* edit) {
  const auto& info = Kind::info();
  const std::string title = std::string("payment slip: ") + info.title;
  {
    auto o = std::make_shared<SspCommand>();
    auto* cmd = add->add_subcommand(info.name, "Add a " + title)->ignore_case();
    addStoreOptions(cmd, o->store);
    addPeriodOptions(cmd, o->period);
    o->flags.add(cmd, "nttp", "The payment's receipt number (NTTP)", ValueKind::Text, "SSP");
    o->flags.add(cmd, Kind::properties(), "SSP");
    cmd->callback([o] {
      Host host(o->store);
      const auto period = host.period(o->period);
      const auto result = addSspOf<Kind>(host, period, o->flags.values());
      std::cout << "Added " << Kind::info().name << " payment slip " << result.number << " to "
                << period.title() << ": gross Rp " << amountText(result.base) << ", tax Rp "
                << amountText(result.tax) << "\n";
    });
  }
  {
    auto o = std::make_shared<SspCommand>();
    auto* cmd = edit->add_subcommand(info.name, "Change a " + title)->ignore_case();
    addStoreOptions(cmd, o->store);
    addPeriodOptions(cmd, o->period);
    o->flags.add(cmd, "nttp", "NTTP of the payment slip to change", ValueKind::Text, "SSP");
    cmd->add_option("--seq", o->seq, "Its sequence number, when several share the NTTP");
    o->flags.add(cmd, "new-nttp", "Give the payment slip a new NTTP", ValueKind::Text, "SSP");
    o->flags.add(cmd, Kind::properties(), "SSP");
    cmd->callback([o] {
      auto values = o->flags.values();
      const Variant* nttp = findValue(values, "nttp");
      if (!nttp) throw UsageError("--nttp", "is required.");
      Host host(o->store);
      const auto period = host.period(o->period);
      const auto result = editSspOf<Kind>(host, period, nttp->text(), o->seq, values);
      std::cout << "Changed " << Kind::info().name << " payment slip " << result.number << " of "
                << period.title() << ": gross Rp " << amountText(result.base) << ", tax Rp "
                << amountText(result.tax) << "\n";
    });
  }
}

void addSspDelete(CLI::App* ssp) {
  struct Options {
    StoreOptions store;
    PeriodOptions period;
    std::string kind;
    std::string nttp;
    double seq = -1;
  };
  auto o = std::make_shared<Options>();
  auto* cmd = ssp->add_subcommand(
      "delete", "Delete a payment slip; its list and the main return lose its amounts");
  addStoreOptions(cmd, o->store);
  addPeriodOptions(cmd, o->period);
  cmd->add_option("--kind", o->kind, "migas-final, migas-nonfinal, import, domestic or self-paid")
      ->required();
  cmd->add_option("--nttp", o->nttp, "NTTP of the payment slip")->required();
  cmd->add_option("--seq", o->seq, "Its sequence number, when several share the NTTP");
  cmd->callback([o] {
    Host host(o->store);
    const auto period = host.period(o->period);
    deleteSsp(host, period, o->kind, o->nttp, o->seq);
    std::cout << "Deleted " << sspKind(o->kind).name << " payment slip " << o->nttp << " of "
              << period.title() << ".\n";
  });
}

void addSspList(CLI::App* ssp) { addListCommand(ssp, "List the period's payment slips", listSsps); }

}  // namespace

EntryResult addSsp(Host& host, const Period& period, const std::string& kind,
                   const EntryValues& values) {
  EntryResult result;
  visitSspKind(sspKind(kind), [&]<class Kind>() { result = addSspOf<Kind>(host, period, values); });
  return result;
}

EntryResult editSsp(Host& host, const Period& period, const std::string& kind,
                    const std::string& nttp, double seq, const EntryValues& values) {
  EntryResult result;
  visitSspKind(sspKind(kind),
               [&]<class Kind>() { result = editSspOf<Kind>(host, period, nttp, seq, values); });
  return result;
}

void deleteSsp(Host& host, const Period& period, const std::string& kind, const std::string& nttp,
               double seq) {
  const auto& info = sspKind(kind);
  visitSspKind(info, [&]<class Kind>() {
    const auto key = findSsp(host, period, info, nttp, seq);
    auto ssp = host.connect<typename Kind::Class>(info.className);
    Kind::remove(*ssp, period, key);
    host.check();
  });
}

void listSsps(Host& host, const Period& period, bool json, std::ostream& out) {
  const auto ssps = readSsps(host, period);
  if (json) {
    JsonWriter writer(out);
    writer.beginArray();
    for (const auto& ssp : ssps) {
      writer.beginObject()
          .key("kind")
          .value(ssp.kind->name)
          .key("form")
          .value(ssp.kind->formCode)
          .key("nttp")
          .value(ssp.key.nttp)
          .key("seq")
          .value(ssp.key.seq)
          .key("date")
          .value(ssp.date)
          .key("commodity")
          .value(ssp.key.commodity)
          .key("partyNpwp")
          .value(ssp.key.buyerNpwp)
          .key("partyName")
          .value(ssp.key.buyerName)
          .key("gross")
          .value(ssp.gross)
          .key("tax")
          .value(ssp.tax)
          .endObject();
    }
    writer.endArray().finish();
    return;
  }
  if (ssps.empty()) {
    out << "The return " << period.title() << " has no payment slips.\n";
    return;
  }
  Table table({{"Kind"},
               {"NTTP"},
               {"Seq", Table::Align::Right},
               {"Date"},
               {"Commodity"},
               {"Party"},
               {"Gross (Rp)", Table::Align::Right},
               {"Tax (Rp)", Table::Align::Right}});
  for (const auto& ssp : ssps) {
    table.add({ssp.kind->name, ssp.key.nttp, seqText(ssp.key.seq), ssp.date.text(),
               ssp.key.commodity, ssp.key.buyerName, amountText(ssp.gross), amountText(ssp.tax)});
  }
  table.print(out);
}

void addSspCommands(CLI::App& app) {
  auto* ssp = app.add_subcommand("ssp", "Tax payment slips (SSP) of the period");
  ssp->require_subcommand(1);
  auto* add = ssp->add_subcommand("add", "Add a payment slip of a kind (migas-final, ...)");
  add->require_subcommand(1);
  auto* edit = ssp->add_subcommand("edit", "Change a payment slip of a kind (migas-final, ...)");
  edit->require_subcommand(1);
  addKindCommands<MigasFinalSsp>(add, edit);
  addKindCommands<MigasNotFinalSsp>(add, edit);
  addKindCommands<ImportPaymentSsp>(add, edit);
  addKindCommands<DomesticSsp>(add, edit);
  addKindCommands<SelfPaidSsp>(add, edit);
  addSspDelete(ssp);
  addSspList(ssp);
}

}  // namespace korvane::cli
