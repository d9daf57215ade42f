// slip add|edit|delete|list: the collection slips (bukti pungut) of the forms F113303,
// F113305, F113304, F113304A and F113304S, each driven through its own class.
#include <algorithm>
#include <cctype>
#include <iostream>
#include <memory>
#include <type_traits>

#include "entry.hpp"
#include "korvane/forms/slips/f113303.hpp"
#include "korvane/forms/slips/f113304.hpp"
#include "korvane/forms/slips/f113305.hpp"
#include "korvane/store/companion.hpp"
#include "korvane/store/sql.hpp"
#include "output.hpp"

namespace korvane::cli {
namespace {

// What the tool needs to know of a slip form besides its class.
struct SlipFormInfo {
  const char* code;          // KD_FORM
  const char* className;     // registered as "Korvane.<className>"
  const char* documentKind;  // JENIS_DOKUMEN
  const char* title;
  const char* dateColumn;
  const char* baseColumn;  // what the slip list shows as the slip's base and tax
  const char* taxColumn;
};

constexpr SlipFormInfo kSlipForms[] = {
    {"F113303", "CF113303", "02", "imports (line a with API, line b without)", "Tgl_Potong",
     "JmlB3", "JmlB5"},
    {"F113305", "CF113305", "04", "purchases by treasurers and state companies", "tglrekam", "b1",
     "B3"},
    {"F113304", "CF113304", "03", "industry and exporter sectors", "Tgl_Potong", "JmlB3", "JmlB6"},
    {"F113304A", "CF113304A", "03", "industry sectors and motor vehicles by ATPM/APM", "Tgl_Potong",
     "JmlB3", "JmlB6"},
    {"F113304S", "CF113304S", "03", "industry sectors, cigarettes and gold bars", "Tgl_Potong",
     "JmlB3", "JmlB6"},
};

const SlipFormInfo& slipFormInfo(std::string_view code) {
  for (const auto& info : kSlipForms) {
    if (code == info.code) return info;
  }
  throw UsageError("--form", "\"" + std::string(code) + "\" is not a slip form.");
}

std::string upper(std::string text) {
  for (auto& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

// The parts every slip form shares: who the slip was collected from, and when.
template <class T>
void addPartyProperties(std::vector<Property<T>>& properties, const char* dateColumn,
                        void (T::*setDate)(const Variant&)) {
  properties.push_back({"party-npwp", "NPWPLT",
                        "NPWP of the party the tax was collected from (000000000000000: none)",
                        ValueKind::Npwp, Stage::Party,
                        [](T& slip, const Variant& v) { slip.aNPWPLT(v.text()); }});
  properties.push_back({"party-name", "NMWPLT", "Name of the party", ValueKind::Text, Stage::Detail,
                        [](T& slip, const Variant& v) { slip.aNMWPLT(v.text()); }});
  properties.push_back({"party-address", "ALMLT", "Address of the party", ValueKind::Text,
                        Stage::Detail, [](T& slip, const Variant& v) { slip.aALMLT(v.text()); }});
  properties.push_back({"date", dateColumn, "Date of the slip (default: today)", ValueKind::Date,
                        Stage::Detail,
                        [setDate](T& slip, const Variant& v) { (slip.*setDate)(v); }});
  properties.push_back({"invoice", "INVOICE", "Invoice reference", ValueKind::Text, Stage::Detail,
                        [](T& slip, const Variant& v) { slip.aINVOICE(v); }});
}

// Form F113303 ---------------------------------------------------------------------------------

struct F113303Slip {
  using Class = CF113303;
  static constexpr const char* kCode = "F113303";

  static void create(Class& slip, const Period& p, const std::string& number, const Profile& who) {
    slip.pCreateF113303Hdr(p.npwp, kCode, "02", p.month, p.year, p.correction, number, "112",
                           who.name, who.address, Date::today());
  }
  static void load(Class& slip, const Period& p, const std::string& number, const Profile& who) {
    slip.pGetF113303(p.npwp, kCode, "02", p.month, p.year, p.correction, number, "112", who.name,
                     who.address, Date::today());
  }
  static void remove(Class& slip, const Period& p, const std::string& number) {
    slip.pDeleteF113303(p.npwp, kCode, "02", p.month, p.year, p.correction, number, "112");
  }
  static void compute(Class& slip) { slip.pHitPjk(1); }
  static void afterParty(Class&) {}

  static const std::vector<Property<Class>>& properties() {
    static const auto table = [] {
      std::vector<Property<Class>> p;
      addPartyProperties<Class>(p, "Tgl_Potong", &Class::aTGL_POTONG);
      p.push_back({"goods", "JnsBrg", "Kind of goods", ValueKind::Text, Stage::Detail,
                   [](Class& s, const Variant& v) { s.aJnsBrg(v); }});
      p.push_back({"unit", "SatBrg", "Unit of the goods", ValueKind::Text, Stage::Detail,
                   [](Class& s, const Variant& v) { s.aSatBrg(v); }});
      p.push_back({"quantity", "BykBrg", "Quantity of goods", ValueKind::Number, Stage::Detail,
                   [](Class& s, const Variant& v) { s.aBykBrg(v); }});
      p.push_back({"import-value", "Nil_Impor", "Import value", ValueKind::Number, Stage::Detail,
                   [](Class& s, const Variant& v) { s.aNil_Impor(v); }});
      p.push_back({"rate-a", "B3a4", "Line a (with API): rate in percent (default: the store's)",
                   ValueKind::Number, Stage::Rate, [](Class& s, const Variant& v) { s.aB3a4(v); }});
      p.push_back({"rate-b", "B3b4", "Line b (without API): rate in percent (default: the store's)",
                   ValueKind::Number, Stage::Rate, [](Class& s, const Variant& v) { s.aB3b4(v); }});
      p.push_back({"base-a", "B3a3", "Line a (with API): gross base in rupiah", ValueKind::Number,
                   Stage::Base, [](Class& s, const Variant& v) { s.aB3a3(v); }});
      p.push_back({"base-b", "B3b3", "Line b (without API): gross base in rupiah",
                   ValueKind::Number, Stage::Base, [](Class& s, const Variant& v) { s.aB3b3(v); }});
      p.push_back({"tax-a", "B3a5", "Line a: tax, overriding the computed one", ValueKind::Number,
                   Stage::Tax, [](Class& s, const Variant& v) { s.aB3a5(v); }});
      p.push_back({"tax-b", "B3b5", "Line b: tax, overriding the computed one", ValueKind::Number,
                   Stage::Tax, [](Class& s, const Variant& v) { s.aB3b5(v); }});
      return p;
    }();
    return table;
  }
};

// Form F113305 ---------------------------------------------------------------------------------

struct F113305Slip {
  using Class = CF113305;
  static constexpr const char* kCode = "F113305";

  static void create(Class& slip, const Period& p, const std::string& number, const Profile& who) {
    slip.pCreateF113305Hdr(p.npwp, kCode, "04", p.month, p.year, p.correction, number, "112",
                           who.name, who.address, Date::today());
  }
  static void load(Class& slip, const Period& p, const std::string& number, const Profile& who) {
    slip.pGetF113305(p.npwp, kCode, "04", p.month, p.year, p.correction, number, "112", who.name,
                     who.address, Date::today());
  }
  static void remove(Class& slip, const Period& p, const std::string& number) {
    slip.pDeleteF113305(p.npwp, kCode, "04", p.month, p.year, p.correction, number, "112");
  }
  static void compute(Class& slip) { slip.pHitPjk(); }
  static void afterParty(Class&) {}

  static const std::vector<Property<Class>>& properties() {
    static const auto table = [] {
      std::vector<Property<Class>> p;
      addPartyProperties<Class>(p, "tglrekam", &Class::aTglRekam);
      p.push_back({"rate", "B2", "Rate in percent (default: the store's)", ValueKind::Number,
                   Stage::Rate, [](Class& s, const Variant& v) { s.aB2(v.toDouble()); }});
      p.push_back({"base", "b1", "Gross base in rupiah", ValueKind::Number, Stage::Base,
                   [](Class& s, const Variant& v) { s.aB1(v.toDouble()); }});
      p.push_back({"tax", "B3", "Tax, overriding the computed one", ValueKind::Number, Stage::Tax,
                   [](Class& s, const Variant& v) { s.aB3(v.toDouble()); }});
      return p;
    }();
    return table;
  }
};

// Forms F113304, F113304A and F113304S -----------------------------------------------------------

using SectorSetter = void (slips::SectorSlip::*)(const Variant&);
using SectorText = void (slips::SectorSlip::*)(const std::string&);
using slips::SectorSlip;

constexpr SectorSetter kSectorBases[] = {&SectorSlip::aB13,  &SectorSlip::aB23, &SectorSlip::aB33,
                                         &SectorSlip::aB43,  &SectorSlip::aB53, &SectorSlip::aB63,
                                         &SectorSlip::aB73,  &SectorSlip::aB83, &SectorSlip::aB93,
                                         &SectorSlip::aB103, &SectorSlip::aB113};
constexpr SectorSetter kSectorRates[] = {&SectorSlip::aB15,  &SectorSlip::aB25, &SectorSlip::aB35,
                                         &SectorSlip::aB45,  &SectorSlip::aB55, &SectorSlip::aB65,
                                         &SectorSlip::aB75,  &SectorSlip::aB85, &SectorSlip::aB95,
                                         &SectorSlip::aB105, &SectorSlip::aB115};
constexpr SectorSetter kSectorTaxes[] = {&SectorSlip::aB16,  &SectorSlip::aB26, &SectorSlip::aB36,
                                         &SectorSlip::aB46,  &SectorSlip::aB56, &SectorSlip::aB66,
                                         &SectorSlip::aB76,  &SectorSlip::aB86, &SectorSlip::aB96,
                                         &SectorSlip::aB106, &SectorSlip::aB116};
// Lines 5 to 11 carry a description of their goods.
constexpr SectorText kSectorGoods[] = {&SectorSlip::aB52, &SectorSlip::aB62, &SectorSlip::aB72,
                                       &SectorSlip::aB82, &SectorSlip::aB92, &SectorSlip::aB102,
                                       &SectorSlip::aB112};

// What a line is for, as the help shows it: the sectors with a rate in the store, and the
// lines the main return keeps apart.
std::string sectorLineName(std::string_view form, int line) {
  static constexpr const char* kFixed[] = {"cement", "paper", "steel", "automotive",
                                           "pharmaceuticals"};
  if (line <= 4 || (line == 5 && form == "F113304")) return kFixed[line - 1];
  if (line == 7) return "goes to line 2 of the return";
  if (line == 8 || line == 9) return "materials bought by industry or exporters";
  if (form == "F113304A" && line == 10) return "motor vehicles by ATPM/APM";
  if (form == "F113304S" && line == 5) return "cigarettes";
  if (form == "F113304S" && line == 6) return "gold bars";
  return "described with --goods-" + std::to_string(line);
}

template <class C>
struct SectorSlipForm {
  using Class = C;
  static constexpr const char* kCode = std::is_same_v<C, CF113304>    ? "F113304"
                                       : std::is_same_v<C, CF113304A> ? "F113304A"
                                                                      : "F113304S";

  static void create(Class& slip, const Period& p, const std::string& number, const Profile& who) {
    slip.pCreateF113304Hdr(p.npwp, kCode, "03", p.month, p.year, p.correction, number, "112",
                           who.name, who.address, Date::today());
  }
  static void load(Class& slip, const Period& p, const std::string& number, const Profile& who) {
    slip.pGetF113304(p.npwp, kCode, "03", p.month, p.year, p.correction, number, "112", who.name,
                     who.address, Date::today());
  }
  static void remove(Class& slip, const Period& p, const std::string& number) {
    slip.pDeleteF113304(p.npwp, kCode, "03", p.month, p.year, p.correction, number, "112");
  }
  static void compute(Class& slip) { slip.pHitPjk3304(1); }
  // A host sets every line's multiplier as soon as the party is known.
  static void afterParty(Class& slip) { slip.setNonNPWP(); }

  static const std::vector<Property<Class>>& properties() {
    static const auto table = [] {
      std::vector<Property<Class>> p;
      addPartyProperties<Class>(p, "Tgl_Potong", &Class::aTGL_POTONG);
      for (int line = 5; line <= 11; ++line) {
        const SectorText set = kSectorGoods[line - 5];
        const std::string n = std::to_string(line);
        p.push_back({"goods-" + n, "B" + n + "2", "Line " + n + ": description of the goods",
                     ValueKind::Text, Stage::Detail,
                     [set](Class& s, const Variant& v) { (s.*set)(v.text()); }});
      }
      auto lines = [&p](const char* what, const char* member, Stage stage,
                        const SectorSetter* setters) {
        for (int line = 1; line <= 11; ++line) {
          const SectorSetter set = setters[line - 1];
          const std::string n = std::to_string(line);
          p.push_back({std::string(what) + "-" + n, "B" + n + member,
                       "Line " + n + " (" + sectorLineName(kCode, line) + "): " +
                           (stage == Stage::Rate   ? "rate in percent"
                            : stage == Stage::Base ? "gross base in rupiah"
                                                   : "tax, overriding the computed one"),
                       ValueKind::Number, stage,
                       [set](Class& s, const Variant& v) { (s.*set)(v); }});
        }
      };
      lines("rate", "5", Stage::Rate, kSectorRates);
      lines("base", "3", Stage::Base, kSectorBases);
      lines("tax", "6", Stage::Tax, kSectorTaxes);
      return p;
    }();
    return table;
  }
};

// One place that turns a form code into its adapter.
template <class Visitor>
void visitSlipForm(std::string_view code, Visitor&& visit) {
  if (code == F113303Slip::kCode) return visit.template operator()<F113303Slip>();
  if (code == F113305Slip::kCode) return visit.template operator()<F113305Slip>();
  if (code == "F113304") return visit.template operator()<SectorSlipForm<CF113304>>();
  if (code == "F113304A") return visit.template operator()<SectorSlipForm<CF113304A>>();
  if (code == "F113304S") return visit.template operator()<SectorSlipForm<CF113304S>>();
  throw UsageError("--form", "\"" + std::string(code) + "\" is not a slip form.");
}

// The engine ----------------------------------------------------------------------------------

template <class Form>
EntryResult resultOf(typename Form::Class& slip) {
  const auto& info = slipFormInfo(Form::kCode);
  EntryResult result;
  result.form = Form::kCode;
  result.number = currentValue(slip, "NoBukti").text();
  const auto base = currentValue(slip, info.baseColumn);
  const auto tax = currentValue(slip, info.taxColumn);
  result.base = base.isNumeric() ? base.toDouble() : 0;
  result.tax = tax.isNumeric() ? tax.toDouble() : 0;
  return result;
}

template <class Form>
void refuseTakenNumber(Host& host, typename Form::Class& slip, const Period& period,
                       const std::string& number) {
  auto taken = slip.pCheckNoBukti(period.npwp, period.year, number, period.correction);
  host.check();
  if (taken && taken->RecordCount() > 0) {
    host.fail("The slip number " + number + " is already used in " + std::to_string(period.year) +
              (period.correction ? ", correction " + std::to_string(period.correction) : "") + ".");
  }
}

template <class Form>
std::shared_ptr<typename Form::Class> loadSlip(Host& host, const Period& period,
                                               const std::string& number) {
  auto slip = host.connect<typename Form::Class>(slipFormInfo(Form::kCode).className);
  Form::load(*slip, period, number, host.profile());
  host.check();
  if (!loaded(*slip)) {
    host.fail("The return " + period.title() + " has no " + Form::kCode + " slip numbered " +
              number + ".");
  }
  return slip;
}

template <class Form>
EntryResult addSlipOf(Host& host, const Period& period, EntryValues values, std::string number) {
  if (!findValue(values, "party-npwp")) throw UsageError("--party-npwp", "is required.");
  if (!findValue(values, "party-name")) throw UsageError("--party-name", "is required.");
  if (!findValue(values, "date")) values.emplace_back("date", Date::today());
  const auto profile = host.profile();
  auto slip = host.connect<typename Form::Class>(slipFormInfo(Form::kCode).className);
  if (number.empty()) {
    number = slip->getNoBuktiHdr(period.year, period.correction);
    host.check();
    if (number.empty()) host.fail("No slip number could be proposed; give one with --number.");
  }
  refuseTakenNumber<Form>(host, *slip, period, number);

  Form::create(*slip, period, number, profile);
  host.check();
  Form::load(*slip, period, number, profile);
  host.check();
  if (!loaded(*slip)) host.fail("The new slip " + number + " could not be loaded.");
  slip->pAssignOldValues();
  slip->getTaxRate();
  host.check();
  applyValues(host, *slip, Form::properties(), values, {}, [&](Stage stage) {
    if (stage == Stage::Party) Form::afterParty(*slip);
  });
  Form::compute(*slip);
  slip->pAssignStatus(true, false, false);
  slip->pUpdate(period.month, std::to_string(period.year), std::to_string(period.correction));
  host.check();
  return resultOf<Form>(*slip);
}

template <class Form>
EntryResult editSlipOf(Host& host, const Period& period, const std::string& number,
                       const EntryValues& values) {
  auto slip = loadSlip<Form>(host, period, number);
  slip->pAssignOldValues();
  host.check();
  if (const Variant* renumber = findValue(values, "new-number")) {
    if (renumber->text() != number) {
      refuseTakenNumber<Form>(host, *slip, period, renumber->text());
      slip->aNoBukti(*renumber);
      host.check();
    }
  }
  // The party is put again even when unchanged: it sets the multiplier the amounts use. A new
  // party has the bases entered again, so that the taxes follow the non-NPWP rule.
  std::set<std::string> reenter = {"party-npwp"};
  const Variant* party = findValue(values, "party-npwp");
  if (party && party->text() != currentValue(*slip, "NPWPLT").text()) {
    for (const auto& property : Form::properties()) {
      if (property.stage == Stage::Base) reenter.insert(property.flag);
    }
  }
  applyValues(host, *slip, Form::properties(), values, reenter, [&](Stage stage) {
    if (stage == Stage::Party) Form::afterParty(*slip);
  });
  Form::compute(*slip);
  slip->pAssignStatus(false, true, false);
  slip->pUpdate(period.month, std::to_string(period.year), std::to_string(period.correction));
  host.check();
  return resultOf<Form>(*slip);
}

// The slips of a period as their header rows hold them.
struct SlipRow {
  std::string form;
  std::string number;
  Variant date;
  std::string partyNpwp;
  std::string partyName;
  std::string partyAddress;
  Variant base;
  Variant tax;
};

std::vector<SlipRow> readSlips(Host& host, const Period& period) {
  std::string forms;
  for (const auto& info : kSlipForms)
    forms += std::string(forms.empty() ? "" : ", ") + "'" + info.code + "'";
  auto headers = host.query("SELECT * FROM DS_FORM_INDUK WHERE NPWP = " + sql::text(period.npwp) +
                            " AND MS_PAJAK = " + sql::number(period.month) +
                            " AND TH_PAJAK = " + sql::number(period.year) +
                            " AND KD_PEMBETULAN_KE = " + sql::number(period.correction) +
                            " AND KD_JENIS_PAJAK = '112' AND KD_FORM IN (" + forms + ")");
  FieldTextCompanion companion;
  std::vector<SlipRow> slips;
  for (const auto& info : kSlipForms) {
    headers->Filter(std::string("KD_FORM = '") + info.code + "'");
    auto fields = companion.unpack(info.code, headers);
    for (; !fields->EndOfFile(); fields->MoveNext()) {
      SlipRow row;
      row.form = info.code;
      row.number = fields->Fields("NoBukti").Value().text();
      row.date = fields->Fields(info.dateColumn).Value();
      row.partyNpwp = fields->Fields("NPWPLT").Value().text();
      row.partyName = fields->Fields("NMWPLT").Value().text();
      row.partyAddress = fields->Fields("ALMLT").Value().text();
      row.base = fields->Fields(info.baseColumn).Value();
      row.tax = fields->Fields(info.taxColumn).Value();
      slips.push_back(std::move(row));
    }
    headers->Filter("");
  }
  std::stable_sort(slips.begin(), slips.end(),
                   [](const SlipRow& a, const SlipRow& b) { return a.number < b.number; });
  return slips;
}

// The command line ------------------------------------------------------------------------------

struct SlipCommand {
  StoreOptions store;
  PeriodOptions period;
  std::string number;
  EntryFlags flags;
};

template <class Form>
void addFormCommands(CLI::App* add, CLI::App* edit) {
  const auto& info = slipFormInfo(Form::kCode);
  const std::string title = std::string("form ") + info.code + ": " + info.title;
  {
    auto o = std::make_shared<SlipCommand>();
    auto* cmd = add->add_subcommand(info.code, "Add a slip of " + title)->ignore_case();
    addStoreOptions(cmd, o->store);
    addPeriodOptions(cmd, o->period);
    cmd->add_option("--number", o->number,
                    "Slip number (default: the next free one the component proposes)");
    o->flags.add(cmd, Form::properties(), "Slip");
    cmd->callback([o] {
      Host host(o->store);
      const auto period = host.period(o->period);
      const auto result = addSlipOf<Form>(host, period, o->flags.values(), o->number);
      std::cout << "Added " << result.form << " slip " << result.number << " to " << period.title()
                << ": base Rp " << amountText(result.base) << ", tax Rp " << amountText(result.tax)
                << "\n";
    });
  }
  {
    auto o = std::make_shared<SlipCommand>();
    auto* cmd = edit->add_subcommand(info.code, "Change a slip of " + title)->ignore_case();
    addStoreOptions(cmd, o->store);
    addPeriodOptions(cmd, o->period);
    cmd->add_option("--number", o->number, "Number of the slip to change")->required();
    o->flags.add(cmd, "new-number", "Give the slip a new number", ValueKind::Text, "Slip");
    o->flags.add(cmd, Form::properties(), "Slip");
    cmd->callback([o] {
      Host host(o->store);
      const auto period = host.period(o->period);
      const auto result = editSlipOf<Form>(host, period, o->number, o->flags.values());
      std::cout << "Changed " << result.form << " slip " << result.number << " of "
                << period.title() << ": base Rp " << amountText(result.base) << ", tax Rp "
                << amountText(result.tax) << "\n";
    });
  }
}

void addSlipDelete(CLI::App* slip) {
  struct Options {
    StoreOptions store;
    PeriodOptions period;
    std::string number;
    std::string form;
  };
  auto o = std::make_shared<Options>();
  auto* cmd = slip->add_subcommand(
      "delete", "Delete a slip; the slip list and the main return lose its amounts");
  addStoreOptions(cmd, o->store);
  addPeriodOptions(cmd, o->period);
  cmd->add_option("--number", o->number, "Number of the slip")->required();
  cmd->add_option("--form", o->form, "Its form, when the number is used by two forms");
  cmd->callback([o] {
    Host host(o->store);
    const auto period = host.period(o->period);
    deleteSlip(host, period, o->number, o->form);
    std::cout << "Deleted slip " << o->number << " of " << period.title() << ".\n";
  });
}

void addSlipList(CLI::App* slip) { addListCommand(slip, "List the period's slips", listSlips); }

}  // namespace

EntryResult addSlip(Host& host, const Period& period, const std::string& form,
                    const EntryValues& values, std::string number) {
  EntryResult result;
  visitSlipForm(upper(form),
                [&]<class Form>() { result = addSlipOf<Form>(host, period, values, number); });
  return result;
}

EntryResult editSlip(Host& host, const Period& period, const std::string& form,
                     const std::string& number, const EntryValues& values) {
  EntryResult result;
  visitSlipForm(upper(form),
                [&]<class Form>() { result = editSlipOf<Form>(host, period, number, values); });
  return result;
}

void deleteSlip(Host& host, const Period& period, const std::string& number, std::string form) {
  if (form.empty()) {
    std::vector<std::string> forms;
    for (const auto& slip : readSlips(host, period)) {
      if (slip.number == number) forms.push_back(slip.form);
    }
    if (forms.empty())
      host.fail("The return " + period.title() + " has no slip numbered " + number + ".");
    if (forms.size() > 1)
      throw UsageError("--form",
                       "the number " + number + " is used by more than one slip; name the form.");
    form = forms.front();
  }
  visitSlipForm(upper(form), [&]<class Form>() {
    auto slip = loadSlip<Form>(host, period, number);
    Form::remove(*slip, period, number);
    host.check();
  });
}

void listSlips(Host& host, const Period& period, bool json, std::ostream& out) {
  const auto slips = readSlips(host, period);
  if (json) {
    JsonWriter writer(out);
    writer.beginArray();
    for (const auto& slip : slips) {
      writer.beginObject()
          .key("form")
          .value(slip.form)
          .key("number")
          .value(slip.number)
          .key("date")
          .value(slip.date)
          .key("partyNpwp")
          .value(slip.partyNpwp)
          .key("partyName")
          .value(slip.partyName)
          .key("partyAddress")
          .value(slip.partyAddress)
          .key("base")
          .value(slip.base)
          .key("tax")
          .value(slip.tax)
          .endObject();
    }
    writer.endArray().finish();
    return;
  }
  if (slips.empty()) {
    out << "The return " << period.title() << " has no slips.\n";
    return;
  }
  Table table({{"Form"},
               {"Number"},
               {"Date"},
               {"Party NPWP"},
               {"Party"},
               {"Base (Rp)", Table::Align::Right},
               {"Tax (Rp)", Table::Align::Right}});
  for (const auto& slip : slips) {
    table.add({slip.form, slip.number, slip.date.text(), npwpText(slip.partyNpwp), slip.partyName,
               amountText(slip.base), amountText(slip.tax)});
  }
  table.print(out);
}

void addSlipCommands(CLI::App& app) {
  auto* slip = app.add_subcommand("slip", "Collection slips (bukti pungut) of the period");
  slip->require_subcommand(1);
  auto* add = slip->add_subcommand("add", "Add a slip of a form (F113303, ...)");
  add->require_subcommand(1);
  auto* edit = slip->add_subcommand("edit", "Change a slip of a form (F113303, ...)");
  edit->require_subcommand(1);
  addFormCommands<F113303Slip>(add, edit);
  addFormCommands<F113305Slip>(add, edit);
  addFormCommands<SectorSlipForm<CF113304>>(add, edit);
  addFormCommands<SectorSlipForm<CF113304A>>(add, edit);
  addFormCommands<SectorSlipForm<CF113304S>>(add, edit);
  addSlipDelete(slip);
  addSlipList(slip);
}

}  // namespace korvane::cli
