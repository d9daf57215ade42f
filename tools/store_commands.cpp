// init, period open, periods, delete: the store, its profile and its periods.
#include <iostream>
#include <memory>

#include "commands.hpp"
#include "korvane/store/connection.hpp"
#include "korvane/store/sql.hpp"
#include "output.hpp"

namespace korvane::cli {
namespace {

constexpr const char* kCollector = "Pemungut";
constexpr const char* kNotCollector = "Bukan Pemungut";

std::string correctionText(std::int16_t correction) {
  return correction == 0 ? "first return" : "correction " + std::to_string(correction);
}

void addInit(CLI::App& app) {
  struct Options {
    StoreOptions store;
    std::string npwp;
    std::string name;
    std::string address;
    bool collector = false;
  };
  auto o = std::make_shared<Options>();
  auto* cmd = app.add_subcommand(
      "init", "Create a store with its reference data and the taxpayer's profile");
  addStoreOptions(cmd, o->store);
  cmd->add_option("--npwp", o->npwp, "The taxpayer's number (NPWP)")->required();
  cmd->add_option("--name", o->name, "The taxpayer's name")->required();
  cmd->add_option("--address", o->address, "The taxpayer's address");
  cmd->add_flag("--collector", o->collector,
                "The taxpayer collects article-22 tax from others (a \"Pemungut\")");
  cmd->callback([o] {
    Profile profile;
    profile.npwp = npwpOption("--npwp", o->npwp);
    profile.name = quotable("--name", o->name);
    profile.address = quotable("--address", o->address);
    profile.kind = o->collector ? kCollector : kNotCollector;
    createStore(o->store, profile);
    std::cout << "Created the store " << o->store.store
              << " with the article-22 rates and document kinds.\n"
              << "Taxpayer: " << npwpText(profile.npwp) << " " << profile.name << " ("
              << (profile.collector() ? "collector" : "not a collector") << ")\n";
  });
}

void addPeriodOpen(CLI::App& app) {
  struct Options {
    StoreOptions store;
    PeriodOptions period;
    bool correction = false;
    std::string paidOn;
  };
  auto o = std::make_shared<Options>();
  auto* period = app.add_subcommand("period", "Begin a period's return or a correction");
  period->require_subcommand(1);
  auto* cmd = period->add_subcommand(
      "open", "Begin the return of a month, or with --correction its next correction");
  addStoreOptions(cmd, o->store);
  cmd->add_option("--month", o->period.month, "Tax month (1-12)")
      ->required()
      ->check(CLI::Range(1, 12));
  cmd->add_option("--year", o->period.year, "Tax year")->required()->check(CLI::Range(1984, 9999));
  cmd->add_option("--npwp", o->period.npwp,
                  "Taxpayer number (default: the one in the store's profile)");
  cmd->add_flag("--correction", o->correction,
                "Open the next correction, carrying over the latest one's slips and payments");
  cmd->add_option("--paid-on", o->paidOn, "Date the tax was paid (default: today)");
  cmd->callback([o] {
    const Date paidOn = o->paidOn.empty() ? Date::today() : dateOption("--paid-on", o->paidOn);
    Host host(o->store);
    const auto npwp =
        o->period.npwp.empty() ? host.profile().npwp : npwpOption("--npwp", o->period.npwp);
    const auto opened =
        openPeriod(host, npwp, static_cast<std::int16_t>(o->period.month),
                   static_cast<std::int16_t>(o->period.year), o->correction, paidOn);
    std::cout << "Opened the return " << opened.title() << " of " << npwpText(opened.npwp) << ".\n";
  });
}

void addPeriods(CLI::App& app) {
  struct Options {
    StoreOptions store;
    std::string npwp;
    int month = 0;
    int year = 0;
    int correction = -1;
    bool json = false;
  };
  auto o = std::make_shared<Options>();
  auto* cmd = app.add_subcommand(
      "periods", "List the periods of the store, or with --month and --year the forms of one");
  addStoreOptions(cmd, o->store);
  auto* month = cmd->add_option("--month", o->month, "Tax month (1-12)")->check(CLI::Range(1, 12));
  auto* year = cmd->add_option("--year", o->year, "Tax year")->check(CLI::Range(1984, 9999));
  month->needs(year);
  year->needs(month);
  cmd->add_option("--correction", o->correction, "Correction number (default: the latest)")
      ->check(CLI::Range(0, 32767))
      ->needs(month);
  cmd->add_option("--npwp", o->npwp, "Taxpayer number (default: the one in the store's profile)");
  cmd->add_flag("--json", o->json, "Write JSON for scripts");
  cmd->callback([o] {
    Host host(o->store);
    const auto npwp = o->npwp.empty() ? host.profile().npwp : npwpOption("--npwp", o->npwp);
    if (o->month == 0) {
      auto rows = host.query(
          "SELECT DISTINCT MS_PAJAK, TH_PAJAK, KD_PEMBETULAN_KE FROM DS_FORM_INDUK WHERE NPWP = " +
          sql::text(npwp) +
          " AND KD_FORM = 'F113202' AND KD_JENIS_PAJAK = '112' "
          "ORDER BY TH_PAJAK ASC, MS_PAJAK ASC, KD_PEMBETULAN_KE ASC");
      Table table({{"Period"}, {"Return"}, {"Forms", Table::Align::Right}});
      JsonWriter json(std::cout);
      if (o->json) json.beginArray();
      for (; !rows->EndOfFile(); rows->MoveNext()) {
        Period p;
        p.npwp = npwp;
        p.month = rows->Fields("MS_PAJAK").Value().toInt16();
        p.year = rows->Fields("TH_PAJAK").Value().toInt16();
        p.correction = rows->Fields("KD_PEMBETULAN_KE").Value().toInt16();
        auto forms = host.general().aGetList(npwp, "112", p.month, p.year, p.correction);
        host.check();
        const long count = forms ? forms->RecordCount() : 0;
        if (o->json) {
          json.beginObject()
              .key("month")
              .value(static_cast<int>(p.month))
              .key("year")
              .value(static_cast<int>(p.year))
              .key("correction")
              .value(static_cast<int>(p.correction))
              .key("forms")
              .value(static_cast<long long>(count))
              .endObject();
        } else {
          table.add({p.monthYear(), correctionText(p.correction), std::to_string(count)});
        }
      }
      if (o->json) {
        json.endArray().finish();
      } else if (table.empty()) {
        std::cout << "No period has been begun for " << npwpText(npwp) << ".\n";
      } else {
        table.print(std::cout);
      }
      return;
    }
    PeriodOptions options{npwp, o->month, o->year, o->correction};
    const auto period = host.period(options);
    auto forms =
        host.general().aGetList(period.npwp, "112", period.month, period.year, period.correction);
    host.check();
    if (!forms) host.fail("The forms of " + period.title() + " could not be listed.");
    Table table({{"Form"}, {"Kind"}, {"Number"}, {"Description"}});
    JsonWriter json(std::cout);
    if (o->json) json.beginArray();
    for (; !forms->EndOfFile(); forms->MoveNext()) {
      const auto form = forms->Fields("KD_FORM").Value();
      const auto kind = forms->Fields("JENIS_DOKUMEN").Value();
      const auto number = forms->Fields("NOBUKTI").Value();
      const auto text = forms->Fields("URAIAN").Value();
      if (o->json) {
        json.beginObject()
            .key("form")
            .value(form)
            .key("kind")
            .value(kind)
            .key("number")
            .value(number)
            .key("description")
            .value(text)
            .endObject();
      } else {
        table.add({form.text(), kind.text(), number.text(), text.text()});
      }
    }
    if (o->json) {
      json.endArray().finish();
    } else {
      std::cout << "Forms of the return " << period.title() << " of " << npwpText(period.npwp)
                << ":\n";
      table.print(std::cout);
    }
  });
}

void addDelete(CLI::App& app) {
  struct Options {
    StoreOptions store;
    PeriodOptions period;
  };
  auto o = std::make_shared<Options>();
  auto* cmd = app.add_subcommand(
      "delete", "Delete a period's article-22 return (one correction) with all its slips");
  addStoreOptions(cmd, o->store);
  addPeriodOptions(cmd, o->period);
  cmd->callback([o] {
    Host host(o->store);
    const auto period = host.period(o->period);
    host.general().pDelete(period.npwp, "112", period.month, period.year, period.correction);
    host.check();
    std::cout << "Deleted the return " << period.title() << " of " << npwpText(period.npwp)
              << ".\n";
  });
}

}  // namespace

void createStore(const StoreOptions& store, const Profile& profile) {
  if (store::isEmbeddedStoreName(store.store)) {
    store::createStore(store.store);
  } else {
    store::createSchema(store.store, store.user, store.password);
  }
  Host host(store);
  host.general().pExecQuery(
      "INSERT INTO DAT_PROFILE (NPWP, NAMA_WP_PROFILE, ALAMAT, JENIS_WP) VALUES (" +
      sql::text(profile.npwp) + ", " + sql::text(profile.name) + ", " + sql::text(profile.address) +
      ", " + sql::text(profile.kind) + ")");
  host.check();
  // The query service is silent: reading the profile back is how a failure shows.
  host.profile();
  // The article-22 counter is made now, so that the first slip already gets a number in the
  // article's format (000001/PPH22) rather than a bare one.
  host.general().pUpdateNoNuktiHdr(22, "");
  host.check();
}

Period openPeriod(Host& host, const std::string& npwp, std::int16_t month, std::int16_t year,
                  bool correction, const Date& paidOn) {
  const auto profile = host.profile();
  Period period;
  period.npwp = npwp;
  period.month = month;
  period.year = year;
  const auto latest = host.latestCorrection(npwp, month, year);
  auto main = host.connect<CF113202>("CF113202");
  if (correction) {
    if (latest < 0) {
      host.fail("The period " + period.monthYear() +
                " has not been begun, so it has no return to correct.");
    }
    if (latest == 32767) host.fail("The period " + period.monthYear() + " has no correction left.");
    main->pCopyAllData(npwp, "112", month, year, latest);
    host.check();
    main->pCopyAllDataSSP(npwp, "112", month, year, latest);
    host.check();
    period.correction = static_cast<std::int16_t>(latest + 1);
    // The carried-over rows hold the main form; a return that had none gets its skeleton.
    main->pGetF113202(npwp, month, year, period.correction);
    host.check();
    if (main->rs22Form() && main->rs22Form()->RecordCount() > 0) return period;
  } else if (latest >= 0) {
    host.fail("The return " + period.monthYear() + " has already been begun (latest: " +
              correctionText(latest) + "); use --correction to open a correction.");
  }
  main->pCreateF113202Hdr(npwp, "F113202", "01", month, year, period.correction, "-", "112",
                          profile.name, profile.address, paidOn, Date::today(), profile.kind);
  host.check();
  return period;
}

void addStoreCommands(CLI::App& app) {
  addInit(app);
  addPeriodOpen(app);
  addPeriods(app);
  addDelete(app);
}

}  // namespace korvane::cli
