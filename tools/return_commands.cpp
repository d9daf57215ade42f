// return show: the main return's lines, totals, payment-slip count and check-boxes.
#include <iostream>
#include <memory>

#include "commands.hpp"
#include "output.hpp"

namespace korvane::cli {
namespace {

struct ReturnLine {
  const char* line;
  const char* description;
  const char* gross;
  const char* tax;
};

// Where each line's amounts come from, so that a reader can trace them to the slips.
constexpr ReturnLine kLines[] = {
    {"1", "Industry and exporter sectors (F113304 family)", "B13", "B14"},
    {"2", "Treasurers and state companies (F113305), sector line 7", "B23", "B24"},
    {"3", "Motor vehicles by ATPM/APM (F113304A line 10), domestic SSPs", "B33", "B34"},
    {"4a", "Imports with API (F113303 line a, import SSPs line 1)", "B4a3", "B4a4"},
    {"4b", "Imports without API (F113303 line b, import SSPs line 2)", "B4b3", "B4b4"},
    {"5", "Entered on the return itself", "B53", "B54"},
    {"6a", "Cigarettes (F113304S line 5), oil and gas final", "B6a3", "B6a4"},
    {"6b", "Gold bars (F113304S line 6), oil and gas not final", "B6b3", "B6b4"},
    {"7", "Other", "B73", "B74"},
};

constexpr const char* kCheckBoxes[] = {"CHKC1", "CHKC2", "CHKC3", "CHKC4", "CHKC5",
                                       "CHKC6", "CHKC7", "CHKC8", "CHKC9"};

Variant fieldOf(const ReturnFields& fields, std::string_view name) {
  for (const auto& [column, value] : fields) {
    if (column.size() == name.size() &&
        std::equal(column.begin(), column.end(), name.begin(), [](char a, char b) {
          return std::tolower(static_cast<unsigned char>(a)) ==
                 std::tolower(static_cast<unsigned char>(b));
        })) {
      return value;
    }
  }
  return Variant();
}

std::string plainText(const Variant& value) {
  if (value.isNull() || value.isEmpty()) return "-";
  return value.text();
}

void addReturnShow(CLI::App& app) {
  struct Options {
    StoreOptions store;
    PeriodOptions period;
    bool recompute = false;
    bool json = false;
  };
  auto o = std::make_shared<Options>();
  auto* group = app.add_subcommand("return", "The main return (form F113202)");
  group->require_subcommand(1);
  auto* cmd = group->add_subcommand("show", "Show the main return's lines and totals");
  addStoreOptions(cmd, o->store);
  addPeriodOptions(cmd, o->period);
  cmd->add_flag("--recompute", o->recompute,
                "Recompute the lines from the period's slips and payment slips first, and save");
  cmd->add_flag("--json", o->json, "Write JSON for scripts");
  cmd->callback([o] {
    Host host(o->store);
    const auto period = host.period(o->period);
    const auto fields = readReturn(host, period, o->recompute);
    const auto name = fieldOf(fields, "NmWP").text();
    if (o->json) {
      printReturnJson(std::cout, period, name, fields);
    } else {
      printReturn(std::cout, period, name, fields);
    }
  });
}

}  // namespace

ReturnFields readReturn(Host& host, const Period& period, bool recompute) {
  auto main = host.connect<CF113202>("CF113202");
  main->pGetF113202(period.npwp, period.month, period.year, period.correction);
  host.check();
  auto form = main->rs22Form();
  if (!form || form->RecordCount() == 0) {
    host.fail("The return " + period.title() + " has no main form.");
  }
  if (recompute) {
    main->pUpdF113202(period.npwp, period.month, period.year, period.correction);
    host.check();
    main->pHitPjk3202(1);
    host.check();
    main->pUpdate();
    host.check();
    form = main->rs22Form();
  }
  ReturnFields fields;
  for (std::size_t i = 0; i < form->columnCount(); ++i) {
    auto field = form->Fields(i);
    fields.emplace_back(field.Name(), field.Value());
  }
  return fields;
}

std::vector<std::string> returnLineColumns() {
  std::vector<std::string> columns;
  for (const auto& line : kLines) {
    columns.emplace_back(line.gross);
    columns.emplace_back(line.tax);
  }
  for (const char* extra : {"B25", "B71", "TotA", "TotB", "c2"}) columns.emplace_back(extra);
  return columns;
}

void printReturn(std::ostream& out, const Period& period, const std::string& name,
                 const ReturnFields& fields) {
  out << "Main return (SPT Masa PPh Pasal 22, form F113202) of " << npwpText(period.npwp) << " "
      << name << "\n"
      << "Period " << period.title() << "; tax paid on " << plainText(fieldOf(fields, "TGL_SETOR"))
      << ", reported on " << plainText(fieldOf(fields, "TGL_LAPOR")) << "\n\n";
  Table table({{"Line"},
               {"Where its amounts come from"},
               {"Gross (Rp)", Table::Align::Right},
               {"Tax (Rp)", Table::Align::Right}});
  for (const auto& line : kLines) {
    std::string description = line.description;
    if (std::string_view(line.line) == "7") {
      const auto text = fieldOf(fields, "B71").text();
      if (!text.empty()) description += ": " + text;
    }
    table.add({line.line, description, amountText(fieldOf(fields, line.gross)),
               amountText(fieldOf(fields, line.tax))});
  }
  table.rule();
  table.add(
      {"", "Total", amountText(fieldOf(fields, "TotA")), amountText(fieldOf(fields, "TotB"))});
  table.print(out, "  ");

  const auto f113305Tax = fieldOf(fields, "B25");
  if (!f113305Tax.isNull() && !f113305Tax.isEmpty() && amountText(f113305Tax) != "0") {
    out << "  Line 2: the F113305 slips' tax is B25 = Rp " << amountText(f113305Tax)
        << "; B24 shows their effective rate.\n";
  }
  out << "\n  Payment slips (SSP) counted on the return (c2): " << amountText(fieldOf(fields, "c2"))
      << ";  C3: " << amountText(fieldOf(fields, "C3"))
      << "\n  Check-boxes C1-C9 (1 = attachment enclosed):";
  for (const char* box : kCheckBoxes) out << " " << plainText(fieldOf(fields, box));
  out << "\n";
}

void printReturnJson(std::ostream& out, const Period& period, const std::string& name,
                     const ReturnFields& fields) {
  JsonWriter json(out);
  json.beginObject()
      .key("npwp")
      .value(period.npwp)
      .key("name")
      .value(name)
      .key("month")
      .value(static_cast<int>(period.month))
      .key("year")
      .value(static_cast<int>(period.year))
      .key("correction")
      .value(static_cast<int>(period.correction));
  json.key("lines").beginArray();
  for (const auto& line : kLines) {
    json.beginObject().key("line").value(line.line);
    if (std::string_view(line.line) == "7") json.key("text").value(fieldOf(fields, "B71"));
    json.key("gross")
        .value(fieldOf(fields, line.gross))
        .key("tax")
        .value(fieldOf(fields, line.tax))
        .endObject();
  }
  json.endArray();
  json.key("totals")
      .beginObject()
      .key("gross")
      .value(fieldOf(fields, "TotA"))
      .key("tax")
      .value(fieldOf(fields, "TotB"))
      .endObject();
  json.key("c2").value(fieldOf(fields, "c2")).key("C3").value(fieldOf(fields, "C3"));
  json.key("checkboxes").beginObject();
  for (const char* box : kCheckBoxes) json.key(box).value(fieldOf(fields, box));
  json.endObject();
  json.key("fields").beginObject();
  for (const auto& [column, value] : fields) json.key(column).value(value);
  json.endObject();
  json.endObject().finish();
}

void addReturnCommands(CLI::App& app) { addReturnShow(app); }

}  // namespace korvane::cli
