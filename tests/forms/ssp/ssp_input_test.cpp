// The SSP input classes stand on one frame: the story they share is driven once for every kind,
// next to what only the oil-and-gas or the import slips do, all on one fixture.
#include "korvane/forms/ssp/oil_gas_input.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "korvane/forms/main/main_return.hpp"
#include "korvane/forms/ssp/import_input.hpp"
#include "korvane/forms/ssp/import_list.hpp"
#include "korvane/forms/ssp/oil_gas_list.hpp"
#include "support/store_fixture.hpp"

namespace korvane {
namespace {

const Date kToday(2013, 6, 10);
const std::string kSeller = "012345678901000;PT MAJU JAYA;JL. SUDIRMAN 1 JAKARTA;";
const std::string kBuyer = "023456789012000;PT PEMBELI;JL. THAMRIN 2;";
const std::string kNpwpOnly = "012345678901000;;;";  // a slip made for no collector, once saved

using Object = std::variant<std::shared_ptr<ssp::OilGasInput>, std::shared_ptr<CInputPPh22Impor>,
                            std::shared_ptr<CInputPPh22DbyrSdr>>;
template <class T>
Object make() {
  return std::make_shared<T>();
}
template <class Ptr, class T>
constexpr bool isA = std::is_same_v<typename std::decay_t<Ptr>::element_type, T>;

// One kind of SSP as a host enters it. An amount x goes in as gross x with the tax by the
// commodity's rate (oil and gas, 0.5%), as gross x and tax x / 40 (other and self-paid), or as the
// import lines x, x / 25, x / 4 and x / 100.
struct Kind {
  const char *name, *form, *document, *listForm;
  std::int16_t collection;
  Object (*make)();
  // The list header totals and the return lines it moves (none: it stays out of the return), each
  // with the share of the slip's amount it takes (amount / share).
  std::vector<std::pair<const char*, double>> list, lines;
  bool npwpInLoad;                 // kept: the final oil-and-gas class loads without it
  std::string slipText, listText;  // NT-1 of 100000 as stored
  int other;                       // the kind that shares NT-1 in the story
};
// clang-format off
const Kind kKinds[] = {
    {"MigasFinal", "PPh22MigasFinal", "05", "D113202", 0, make<CInputMigasFinal>,
     {{"I5", 1}, {"I6", 200}}, {{"B6a3", 1}, {"B6a4", 200}}, false,
     "05|5;2013;0;SOLAR;" + kNpwpOnly + kBuyer + "20/05/2013;100000;500;NT-1;0;",
     "5;2013;SOLAR;0;" + kBuyer + "20/05/2013;100000;500;NT-1", 1},
    {"MigasTdkFinal", "PPh22MigasTdkFinal", "06", "D113202", 1, make<CInputMigasTdkFinal>,
     {{"II5", 1}, {"II6", 200}}, {{"B6b3", 1}, {"B6b4", 200}}, true,
     "06|5;2013;0;SOLAR;" + kNpwpOnly + kBuyer + "20/05/2013;100000;500;NT-1;0;",
     "5;2013;SOLAR;0;" + kBuyer + "20/05/2013;100000;500;NT-1", 0},
    {"Impor", "PPh22Impor", "10", "D113203", 0, make<CInputPPh22Impor>,
     {{"JmlPPh", 20}}, {{"B4a3", 1}, {"B4a4", 25}, {"B4b3", 4}, {"B4b4", 100}}, true,
     "10|5;2013;0;" + kNpwpOnly + kBuyer + "20/05/2013;100000;4000;25000;1000;125000;5000;NT-1;0;"
     "MESIN BUBUT",
     "5;2013;0;" + kBuyer + "NT-1;125000;;5000", 3},
    {"Other", "PPh22", "14", "D113203DN", 0, make<CInputPPh22Impor>,
     {{"JmlPPh", 40}}, {{"B33", 1}, {"B34", 40}}, true,
     "14|5;2013;0;" + kNpwpOnly + kBuyer + "20/05/2013;0;0;0;0;100000;2500;NT-1;0;",
     "5;2013;0;" + kBuyer + "NT-1;100000;;2500", 2},
    // The self-paid class writes its own document code whatever its caller passes.
    {"SelfPaid", "PPh22ImporDbyrSdr", "10", "DImporDbyrSdr", 0, make<CInputPPh22DbyrSdr>,
     {{"JMLPHSL", 1}, {"JmlPPh", 40}}, {}, true,
     "11|5;2013;0;" + kSeller + kBuyer + "20/05/2013;100000;2500;NT-1;0;PIB-1",
     "5;2013;0;NT-1;20/05/2013;PIB-1;100000;2500", 2}};
// clang-format on
const Kind& kFinal = kKinds[0];
const Kind& kImports = kKinds[2];
void PrintTo(const Kind& k, std::ostream* os) { *os << k.name; }

class SspInputFixture : public testing::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    beginMay2013(kToday);
    exec("UPDATE JENIS_KOMODITI SET TARIF_NETTO = 0.5 WHERE NAMA_KOMODITI IN ('SOLAR', 'PREMIUM')");
  }

  static long found(const Object& o) {
    return std::visit([](const auto& s) { return s->rs22Form()->RecordCount(); }, o);
  }

  // A slip as a host opens it: its row made first when `fresh` (for no collector, so without his
  // identity; the self-paid class takes the commodity as that kind and ignores it), loaded and, if
  // found, its old values taken.
  Object load(const Kind& k, const std::string& nttp, double seq, bool fresh = false,
              const std::string& commodity = "SOLAR", const std::string& npwp = kNpwp) {
    auto slip = k.make();
    std::visit(
        [&](const auto& s) {
          s->pAssignConStr(store(), user(), password());
          if (fresh) {
            s->pCreateHdr(kNpwp, k.form, k.document, 5, 2013, 0, nttp, "112", kName, kAddress,
                          kToday, commodity);
          }
          if constexpr (isA<decltype(s), ssp::OilGasInput>) {
            s->getTaxRate();
            s->pGet(npwp, k.form, k.document, 5, 2013, 0, nttp, "112", kName, kAddress, kToday, seq,
                    commodity);
          } else {
            s->pGet(npwp, k.form, k.document, 5, 2013, 0, nttp, "112", kName, kAddress, kToday,
                    seq);
          }
          if (s->rs22Form()->RecordCount() == 0) return;
          if constexpr (isA<decltype(s), CInputPPh22Impor>) {
            if (k.form == std::string("PPh22")) return s->pAssignOldValues_PPh();
          }
          s->pAssignOldValues();
        },
        slip);
    return slip;
  }

  // How often the kind uses an NTTP in the period, and its next sequence.
  std::pair<long, double> usage(const Kind& k, const std::string& nttp) {
    RecordsetPtr used;
    double seq = -1;
    std::visit(
        [&](const auto& s) {
          if constexpr (isA<decltype(s), CInputPPh22Impor>) {
            s->pCheckNTTP(kNpwp, 2013, nttp, 5, 0, used, k.form);
            s->pGetMaxSeqNo(5, 2013, 0, k.collection, seq, k.form);
          } else {
            s->pCheckNTTP(kNpwp, 2013, nttp, 5, 0, used);
            s->pGetMaxSeqNo(5, 2013, 0, k.collection, seq);
          }
        },
        load(k, "-", 0));
    return {used->RecordCount(), seq};
  }

  // A new slip: made and loaded, with the next sequence, the buyer and the PIB put.
  Object newSlip(const Kind& k, const std::string& nttp, const std::string& commodity = "SOLAR") {
    auto slip = load(k, nttp, 0, true, commodity);
    const double seq = usage(k, nttp).second;
    std::visit(
        [&](const auto& s) {
          s->aSEQ(seq);
          s->aTGL_PUNGUT(Date(2013, 5, 20));
          s->aNPWPLT("023456789012000");
          s->aNMWPLT("PT PEMBELI");
          s->aALMLT("JL. THAMRIN 2");
          if constexpr (isA<decltype(s), CInputPPh22DbyrSdr>) s->aNoPIB("PIB-1");
        },
        slip);
    return slip;
  }

  // Enters amount x (see Kind) and saves; the sequence as saved.
  static double save(const Kind& k, const Object& slip, double x, bool adding) {
    return std::visit(
        [&](const auto& s) {
          s->aPPH(x / 40);
          s->ajmlBruto(x);  // the oil-and-gas classes put the tax again by the rate
          if constexpr (isA<decltype(s), CInputPPh22Impor>) {
            if (k.form == std::string("PPh22Impor")) {
              s->aA13(x);
              s->aA14(x / 25);
              s->aA23(x / 4);
              s->aA24(x / 100);
              s->aKeterangan("MESIN BUBUT");
            }
          }
          s->pHitPjk(1);
          s->pAssignStatus(adding, !adding, false);
          s->pUpdate();
          return s->rs22Form()->Fields("SEQ").Value().toDouble();
        },
        slip);
  }
  double addSlip(const Kind& k, const std::string& nttp, double x) {
    return save(k, newSlip(k, nttp), x, true);
  }

  void remove(const Kind& k, const std::string& nttp, double seq) {
    std::visit(
        [&](const auto& s) {
          if constexpr (isA<decltype(s), CInputPPh22DbyrSdr>) {
            s->pDeleteForm(kNpwp, k.form, k.document, 5, 2013, 0, nttp, "112", seq);
          } else {
            s->pDeleteForm(kNpwp, k.form, k.document, 5, 2013, 0, nttp, "112", "SOLAR", seq);
          }
        },
        load(k, "-", 0));
  }

  double listTotal(const Kind& k, const char* field, const std::string& commodity = "SOLAR") {
    const std::string form = k.listForm;
    auto oilGasList = connected<CD113202>();
    auto importList = connected<CD113203>();
    auto selfPaidList = connected<CDPPh22DbyrSdr>();
    oilGasList->pGetD113202Induk(kNpwp, 5, 2013, 0, commodity);
    importList->pGetD113203Induk(kNpwp, 5, 2013, 0, form);
    selfPaidList->pGetD113203Induk(kNpwp, 5, 2013, 0);
    auto header = form == "D113202"         ? oilGasList->rs22Form()
                  : form == "DImporDbyrSdr" ? selfPaidList->rs22Form()
                                            : importList->rs22Form();
    return header->Fields(field).Value().toDouble();
  }

  // A line of the main return; an empty line reads 0.
  double returnLine(const char* column) {
    auto mainReturn = connected<CF113202>();
    mainReturn->pGetF113202(kNpwp, 5, 2013, 0);
    auto value = mainReturn->rs22Form()->Fields(column).Value();
    return value.isNull() ? 0 : value.toDouble();
  }
  std::string mainReturnText() {
    return scalar("SELECT DAT_FORM FROM DS_FORM_INDUK WHERE KD_FORM = 'F113202'").text();
  }

  long rows(const std::string& table, const std::string& form, const std::string& where = "") {
    return count("SELECT COUNT(*) FROM " + table + " WHERE KD_FORM = '" + form + "'" +
                 (where.empty() ? "" : " AND " + where));
  }
  // A query's rows as "column|column|...", one a line.
  std::string rowsOf(const std::string& sql) {
    std::string out;
    for (auto rs = query(sql); !rs->EndOfFile(); rs->MoveNext()) {
      for (std::size_t i = 0; i < rs->columnCount(); ++i) {
        out += (i ? "|" : out.empty() ? "" : "\n") + rs->Fields(i).Value().text();
      }
    }
    return out;
  }

  // The kind's list totals and return lines for its slips' amounts together, and its rows; a kind
  // without return lines leaves the main return as it was.
  void expectCarried(const char* step, const Kind& k, double total, long slips) {
    SCOPED_TRACE(step);
    for (const auto& [column, by] : k.list) EXPECT_EQ(listTotal(k, column), total / by) << column;
    for (const auto& [column, by] : k.lines) EXPECT_EQ(returnLine(column), total / by) << column;
    EXPECT_EQ(k.lines.empty() ? mainReturnText() : mainBefore_, mainBefore_);
    EXPECT_EQ(rows("DAT_SSP_PPh22", k.form), slips);
    EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", k.listForm, "COLLNO = " + std::to_string(k.collection)),
              slips);
  }
  std::string mainBefore_;
};

class SspInputKindTest : public SspInputFixture, public ::testing::WithParamInterface<Kind> {};
class OilGasInputFixture : public SspInputFixture {};
class ImportInputFixture : public SspInputFixture {};

// A slip of another kind shares the NTTP all along and must come out untouched.
TEST_P(SspInputKindTest, SlipsCarryIntoTheListAndTheMainReturnThroughAddEditAndDelete) {
  const Kind& k = GetParam();
  const Kind& other = kKinds[k.other];
  addSlip(other, "NT-1", 40000);
  mainBefore_ = mainReturnText();
  EXPECT_EQ(usage(k, "NT-1"), std::make_pair(0L, 0.0));

  EXPECT_EQ(addSlip(k, "NT-1", 100000), 0);
  EXPECT_EQ(usage(k, "NT-1"), std::make_pair(1L, 1.0));
  EXPECT_EQ(usage(other, "NT-1").first, 1);
  EXPECT_EQ(rowsOf("SELECT JENIS_DOKUMEN, DAT_FORM FROM DAT_SSP_PPh22 WHERE KD_FORM = '" +
                   std::string(k.form) + "'"),
            k.slipText);
  EXPECT_EQ(rowsOf("SELECT DAT_FORM FROM LAMPIRAN_SSP_PPh22 WHERE KD_FORM = '" +
                   std::string(k.listForm) + "' AND COLLNO = " + std::to_string(k.collection)),
            k.listText);
  EXPECT_EQ(found(load(k, "NT-1", 0, false, "SOLAR", "099999999999000")), k.npwpInLoad ? 0 : 1);
  EXPECT_EQ(found(load(k, "NT-1", 1)), 0);

  EXPECT_EQ(addSlip(k, "NT-2", 50000), 1);
  save(k, load(k, "NT-1", 0), 150000, false);
  expectCarried("edited", k, 200000, 2);
  remove(k, "NT-2", 1);
  expectCarried("deleted", k, 150000, 1);
  EXPECT_EQ(returnLine("c2"), k.lines.empty() ? 1 : 2);
  expectCarried("other kind", other, 40000, 1);
  EXPECT_TRUE(messages().empty());

  // Rows of another list, collection or period do not count for the next sequence.
  const std::string form = k.listForm, coll = std::to_string(k.collection);
  exec("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ('" + form + "', 5, 2013, 0, " + coll +
       ", 4, '-', ''), ('X', 5, 2013, 0, " + coll + ", 9, '-', ''), ('" + form + "', 5, 2013, 0, " +
       std::to_string(1 - k.collection) + ", 7, '-', ''), ('" + form + "', 6, 2013, 0, " + coll +
       ", 8, '-', '')");
  EXPECT_EQ(usage(k, "NT-9").second, 5);
}

INSTANTIATE_TEST_SUITE_P(Kinds, SspInputKindTest, ::testing::ValuesIn(kKinds),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(OilGasInputFixture, GrossSetsTheTaxFromTheCommodityRateCutToAWholeRupiah) {
  exec("INSERT INTO JENIS_KOMODITI VALUES ('07', 'AVGAS', 22, 0.25)");
  const struct {
    const char *nttp, *commodity, *rate;
    double tax;  // the tax was 777 before the gross was put
  } cases[] = {{"NT-1", "AVGAS", "0.25", 3086},
               {"NT-2", "AVTUR", "0.25", 777},  // not in the table: the tax stays
               {"NT-3", "AVGAS", "NULL", 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.nttp);
    exec("UPDATE JENIS_KOMODITI SET TARIF_NETTO = " + std::string(c.rate) +
         " WHERE NAMA_KOMODITI = 'AVGAS'");
    auto slip = std::get<0>(newSlip(kFinal, c.nttp, c.commodity));
    slip->aPPH(777);
    slip->ajmlBruto(1234567);
    EXPECT_EQ(slip->rs22Form()->Fields("PPH").Value().toDouble(), c.tax);
  }
  // A gross put before the commodities are opened is reported; nothing above was.
  auto unopened = connected<CInputMigasFinal>();
  unopened->pGet(kNpwp, kFinal.form, "05", 5, 2013, 0, "NT-1", "112", kName, kAddress, kToday, 0,
                 "AVGAS");
  unopened->ajmlBruto(1000);
  EXPECT_EQ(messages().size(), 1u);
}

TEST_F(OilGasInputFixture, NewRowIsMadeOnceAndCarriesTheIdentityOnlyForACollector) {
  auto slip = connected<CInputMigasTdkFinal>();
  for (const char* jenisWp : {"Pemungut", ""}) {
    for (int i = 0; i < 2; ++i) {
      slip->pCreateHdr(kNpwp, "PPh22MigasTdkFinal", "06", 5, 2013, 0, *jenisWp ? "NT-1" : "NT-2",
                       "112", kName, kAddress, kToday, "SOLAR", jenisWp);
    }
  }
  EXPECT_EQ(rowsOf("SELECT JENIS_DOKUMEN, KD_JENIS_PAJAK, TGL_REKAM, DAT_FORM FROM DAT_SSP_PPh22 "
                   "WHERE KD_FORM = 'PPh22MigasTdkFinal' ORDER BY NOBUKTI"),
            "06|112|10/06/2013|5;2013;0;SOLAR;" + kSeller + ";;;;0;0;NT-1;0;\n" +
                "06|112|10/06/2013|5;2013;0;SOLAR;;;;;;;;0;0;NT-2;0;");
}

// pDelete takes the slip's row alone; saving while adding writes the row again if it is gone.
TEST_F(OilGasInputFixture, RowIsWrittenAgainMovedByItsKeyAndDeletedAlone) {
  auto slip = newSlip(kFinal, "NT-1");
  auto bare = connected<CInputMigasFinal>();
  bare->pDelete(kNpwp, kFinal.form, "05", 5, 2013, 0, "NT-1", "112");
  EXPECT_EQ(rows("DAT_SSP_PPh22", kFinal.form), 0);
  save(kFinal, slip, 100000, true);

  // A new commodity and NTTP move the row: the list totals go to the new commodity's header, the
  // return moves by the difference.
  auto edit = load(kFinal, "NT-1", 0);
  std::get<0>(edit)->aPenjualan("PREMIUM");
  std::get<0>(edit)->aNTTP("NT-9");
  save(kFinal, edit, 200000, false);
  EXPECT_EQ(rowsOf("SELECT NPWP, JENIS_DOKUMEN, NOBUKTI, MS_PAJAK, NIP, DAT_FORM FROM "
                   "DAT_SSP_PPh22 WHERE KD_FORM = 'PPh22MigasFinal'"),
            "012345678901000|05|NT-9|5|-|5;2013;0;PREMIUM;" + kNpwpOnly + kBuyer +
                "20/05/2013;200000;1000;NT-9;0;");
  EXPECT_EQ(listTotal(kFinal, "I5"), 0);
  EXPECT_EQ(listTotal(kFinal, "I5", "PREMIUM"), 200000);
  EXPECT_EQ(returnLine("B6a3"), 200000);
  EXPECT_EQ(rowsOf("SELECT DAT_FORM FROM LAMPIRAN_SSP_PPh22 WHERE NOBUKTI = 'NT-9'"),
            "5;2013;PREMIUM;0;" + kBuyer + "20/05/2013;200000;1000;NT-9");

  const long listed = rows("LAMPIRAN_SSP_PPh22", "D113202");
  bare->pDelete(kNpwp, kFinal.form, "05", 5, 2013, 0, "NT-9", "112");
  bare->pDelete(kNpwp, kFinal.form, "05", 5, 2013, 0, "NT-2", "112");
  EXPECT_EQ(rows("DAT_SSP_PPh22", kFinal.form), 0);
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", "D113202"), listed);
  EXPECT_EQ(returnLine("c2"), 1);
  EXPECT_TRUE(messages().empty());
}

TEST_F(OilGasInputFixture, PropertiesReadBackAndEmptyAmountsAreNormalisedToZero) {
  auto slip = std::get<0>(newSlip(kFinal, "NT-1"));
  slip->aALM("JL. BARU");
  slip->aNMWP("PT BARU");
  slip->aINVOICE("INV-7");
  auto form = slip->rs22Form();
  EXPECT_EQ(slip->aALM() + "|" + slip->aNMWP().text() + "|" + slip->aNPWP().text() + "|" +
                slip->aPenjualan() + "|" + slip->aTGL_PUNGUT().text() + "|" +
                form->Fields("INVOICE").Value().text(),
            "JL. BARU|PT BARU|012345678901000|SOLAR|20/05/2013|INV-7");
  form->Fields("JMLBRUTO").Value(Null);
  form->Fields("PPH").Value(Null);
  slip->pHitPjk(1);
  EXPECT_EQ(form->Fields("JMLBRUTO").Value().text() + "|" + form->Fields("PPH").Value().text(),
            "0|0");
}

TEST_F(OilGasInputFixture, ACommodityWithoutAHeaderGetsOneNumberedAfterTheOthers) {
  save(kFinal, newSlip(kFinal, "NT-1", "BIO SOLAR"), 100000, true);
  EXPECT_EQ(
      rows("DAT_SSP_PPh22", "D113202", "DAT_FORM LIKE '%;BIO SOLAR;%' AND JENIS_DOKUMEN = '13'"),
      1);
  EXPECT_EQ(listTotal(kFinal, "I5", "BIO SOLAR"), 100000);
  EXPECT_TRUE(messages().empty());
}

// Nothing is rolled back: what ran before the failure stays.
TEST_F(OilGasInputFixture, SavingWithoutAMainReturnFailsOnceAfterTheList) {
  exec("DELETE FROM DS_FORM_INDUK WHERE KD_FORM = 'F113202'");
  addSlip(kFinal, "NT-1", 100000);
  EXPECT_EQ(messages().size(), 1u);
  EXPECT_EQ(rows("DAT_SSP_PPh22", kFinal.form), 1);
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", "D113202"), 1);
}

// The numbering's message itself is checked with the list.
TEST_F(OilGasInputFixture, SavingInAPeriodWithoutListHeadersFailsOnceAtTheNumbering) {
  exec("DELETE FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202'");
  addSlip(kFinal, "NT-1", 100000);
  EXPECT_EQ(messages().size(), 1u);
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", "D113202"), 0);
  EXPECT_EQ(returnLine("c2"), 0);
}

// The story puts the lines in order and so ends each total on line 2; here they end on line 1.
TEST_F(ImportInputFixture, LinesAddUpWhicheverIsPutLast) {
  auto slip = std::get<1>(newSlip(kImports, "NT-1"));
  slip->aA23(250000);
  slip->aA24(12500);
  slip->aA13(1000000);
  slip->aA14(25000);
  EXPECT_EQ(slip->rs22Form()->Fields("JMLBRUTO").Value().text() + "|" +
                slip->rs22Form()->Fields("PPH").Value().text(),
            "1250000|37500");
}

TEST_F(ImportInputFixture, BuyersWithoutTaxNumberUnderOneNttpAreSeparateSlipsFoundByName) {
  const auto byName = [&](const std::string& buyer) {
    auto slip = connected<CInputPPh22Impor>();
    slip->pGet(kNpwp, "PPh22Impor", "10", 5, 2013, 0, "NT-1", "112", kName, kAddress, kToday, 0, "",
               "000000000000000", buyer, "JL. THAMRIN 2");
    if (slip->rs22Form()->RecordCount() > 0) slip->pAssignOldValues();
    return slip;
  };
  const auto grossOf = [&](const std::string& buyer) {
    auto form = byName(buyer)->rs22Form();
    return form->RecordCount() == 1 ? form->Fields("JMLBRUTO").Value().toDouble() : -1;
  };
  // The second buyer is entered on the same NTTP and sequence.
  for (const auto& [buyer, gross] : {std::pair{"CV SATU", 100000.0}, {"CV DUA", 40000.0}}) {
    auto slip = newSlip(kImports, "NT-1");
    std::get<1>(slip)->aSEQ(0);
    std::get<1>(slip)->aNPWPLT("000000000000000");
    std::get<1>(slip)->aNMWPLT(buyer);
    save(kImports, slip, gross, true);
  }
  EXPECT_EQ(grossOf("CV SATU"), 125000);
  EXPECT_EQ(grossOf("CV DUA"), 50000);
  EXPECT_EQ(returnLine("B4a3"), 140000);
  EXPECT_EQ(rows("LAMPIRAN_SSP_PPh22", "D113203"), 2);

  connected<CInputPPh22Impor>()->pDeleteForm(kNpwp, "PPh22Impor", "10", 5, 2013, 0, "NT-1", "112",
                                             "", 0, "000000000000000", "CV DUA", "JL. THAMRIN 2");
  EXPECT_EQ(grossOf("CV DUA"), -1);
  EXPECT_EQ(rowsOf("SELECT DAT_FORM FROM LAMPIRAN_SSP_PPh22"),
            "5;2013;0;000000000000000;CV SATU;JL. THAMRIN 2;NT-1;125000;;5000");
  EXPECT_EQ(returnLine("c2"), 1);

  // Renaming the buyer edits the same slip: the name it was loaded with still finds the row.
  auto edit = byName("CV SATU");
  edit->aNMWPLT("CV SATU ABADI");
  save(kImports, edit, 110000, false);
  EXPECT_EQ(grossOf("CV SATU"), -1);
  EXPECT_EQ(grossOf("CV SATU ABADI"), 137500);
  EXPECT_EQ(returnLine("B4a3"), 110000);
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace korvane
