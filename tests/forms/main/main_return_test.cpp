#include "korvane/forms/main/main_return.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/store_fixture.hpp"

namespace korvane {
namespace {

constexpr const char* kName = "PT MAJU JAYA";
constexpr const char* kAddress = "JL. SUDIRMAN 1 JAKARTA";
constexpr const char* kNotConnected =
    "Operation is not allowed when the object is closed: no connection to the store.";
constexpr const char* kNotLoaded = "Object variable not set: the form has not been loaded.";

class CF113202RecordTest : public testing::StoreTest {
 protected:
  // The skeleton of May 2013, first return.
  void create(CF113202& main, const std::string& jenisWp = "Pemungut") {
    main.pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2013, 0, "-", "112", kName, kAddress,
                           Date(2013, 6, 10), Date(2013, 6, 15), jenisWp);
  }

  // A collector's identity and the period, as the packed texts begin.
  static std::string collectorPrefix() {
    return std::string(kNpwp) + ";" + kName + ";" + kAddress + ";5;2013;0;";
  }

  long rows(const std::string& table, const std::string& form) {
    return count("SELECT COUNT(*) FROM " + table + " WHERE KD_FORM = '" + form + "'");
  }

  std::string packed(const std::string& table, const std::string& form, const std::string& kind) {
    return scalar("SELECT DAT_FORM FROM " + table + " WHERE KD_FORM = '" + form +
                  "' AND JENIS_DOKUMEN = '" + kind + "'")
        .text();
  }

  // JENIS_DOKUMEN and DAT_FORM of the period's oil-and-gas list headers, in kind order.
  std::vector<std::pair<std::string, std::string>> oilGasHeaders() {
    auto rs = query(
        "SELECT JENIS_DOKUMEN, DAT_FORM FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113202' "
        "ORDER BY JENIS_DOKUMEN");
    std::vector<std::pair<std::string, std::string>> out;
    for (; !rs->EndOfFile(); rs->MoveNext()) {
      out.emplace_back(rs->Fields("JENIS_DOKUMEN").Value().text(),
                       rs->Fields("DAT_FORM").Value().text());
    }
    return out;
  }
};

TEST_F(CF113202RecordTest, NewMainFormCarriesIdentityPeriodAndPaymentDate) {
  auto main = connected<CF113202>();
  create(*main, "");

  auto header = query("SELECT * FROM DS_FORM_INDUK WHERE KD_FORM = 'F113202'");
  ASSERT_EQ(header->RecordCount(), 1);
  EXPECT_EQ(header->Fields("NPWP").Value().text(), kNpwp);
  EXPECT_EQ(header->Fields("JENIS_DOKUMEN").Value().text(), "01");
  EXPECT_EQ(header->Fields("NOBUKTI").Value().text(), "-");
  EXPECT_EQ(header->Fields("KD_JENIS_PAJAK").Value().text(), "112");
  EXPECT_EQ(header->Fields("DAT_FORM").Value().text(),
            collectorPrefix() + "10/06/2013" + std::string(35, ';'));
  EXPECT_EQ(header->Fields("TGL_REKAM").Value().text(), "15/06/2013");
  EXPECT_EQ(header->Fields("TGL_UBAH").Value().text(), "");
  EXPECT_EQ(header->Fields("NIP").Value().text(), "");
  EXPECT_TRUE(messages().empty());
}

struct ListCase {
  const char* name;
  const char* jenisWp;
  std::string listPrefix;
};

TEST_F(CF113202RecordTest, ListHeadersCarryTheIdentityOnlyForACollector) {
  const ListCase cases[] = {
      {"collector", "Pemungut", collectorPrefix()},
      {"non-collector", "", ";;;5;2013;0;"},
      {"other kind", "Bukan Pemungut", ";;;5;2013;0;"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    for (auto table : {"DS_FORM_INDUK", "DAT_SSP_PPh22", "JENIS_KOMODITI"}) {
      exec(std::string("DELETE FROM ") + table);
    }
    auto main = connected<CF113202>();
    create(*main, c.jenisWp);

    // The slip list always names the taxpayer.
    EXPECT_EQ(packed("DS_FORM_INDUK", "D113204", "09"), collectorPrefix() + "0;0");
    EXPECT_EQ(packed("DAT_SSP_PPh22", "D113203", "08"), c.listPrefix + "0");
    EXPECT_EQ(packed("DAT_SSP_PPh22", "D113203DN", "13"), c.listPrefix + "0");
    EXPECT_EQ(packed("DAT_SSP_PPh22", "DImporDbyrSdr", "12"), c.listPrefix + "0");

    const std::vector<std::pair<std::string, std::string>> expected = {
        {"07", c.listPrefix + "PREMIX/SUPER TT;0,3;0;0;0;0"},
        {"08", c.listPrefix + "SOLAR;0,3;0;0;0;0"},
        {"09", c.listPrefix + "PREMIUM;0,3;0;0;0;0"},
        {"10", c.listPrefix + "MINYAK TANAH;0,3;0;0;0;0"},
        {"11", c.listPrefix + "GAS LPG;0,3;0;0;0;0"},
        {"12", c.listPrefix + "PELUMAS;0,3;0;0;0;0"},
    };
    EXPECT_EQ(oilGasHeaders(), expected);
    EXPECT_TRUE(messages().empty());
  }
}

TEST_F(CF113202RecordTest, NonCollectorImportListLeavesTheIdentityEmpty) {
  auto main = connected<CF113202>();
  create(*main, "");
  EXPECT_EQ(packed("DAT_SSP_PPh22", "D113203", "08"), ";;;5;2013;0;0");
  auto header = query("SELECT * FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113203'");
  EXPECT_EQ(header->Fields("NPWP").Value().text(), kNpwp);
  EXPECT_EQ(header->Fields("NOBUKTI").Value().text(), "-");
  EXPECT_EQ(header->Fields("KD_JENIS_PAJAK").Value().text(), "112");
  EXPECT_EQ(header->Fields("TGL_REKAM").Value().text(), "15/06/2013");
}

TEST_F(CF113202RecordTest, DefaultCommoditiesAreAddedWhenArticle22HasNone) {
  exec("INSERT INTO JENIS_KOMODITI VALUES ('99', 'JASA', 23, 1.5)");
  auto main = connected<CF113202>();
  create(*main);

  auto commodities = query(
      "SELECT KODE_KOMODITI, NAMA_KOMODITI, TARIF_NETTO FROM JENIS_KOMODITI WHERE PASAL = 22 "
      "ORDER BY KODE_KOMODITI");
  const std::vector<std::pair<std::string, std::string>> expected = {
      {"01", "PREMIX/SUPER TT"}, {"02", "SOLAR"},   {"03", "PREMIUM"},
      {"04", "MINYAK TANAH"},    {"05", "GAS LPG"}, {"06", "PELUMAS"},
  };
  std::vector<std::pair<std::string, std::string>> actual;
  for (; !commodities->EndOfFile(); commodities->MoveNext()) {
    actual.emplace_back(commodities->Fields("KODE_KOMODITI").Value().text(),
                        commodities->Fields("NAMA_KOMODITI").Value().text());
    EXPECT_EQ(commodities->Fields("TARIF_NETTO").Value().toDouble(), 0.0);
  }
  EXPECT_EQ(actual, expected);
}

TEST_F(CF113202RecordTest, ExistingCommoditiesAreUsedInsteadOfTheDefaults) {
  exec("INSERT INTO JENIS_KOMODITI VALUES ('B2', 'AVTUR', 22, 0.25)");
  exec("INSERT INTO JENIS_KOMODITI VALUES ('A1', 'BENSIN', 22, 0.3)");
  exec("INSERT INTO JENIS_KOMODITI VALUES ('C3', 'ASPAL', 22, 1)");
  exec("INSERT INTO JENIS_KOMODITI VALUES ('00', 'JASA', 23, 2)");
  auto main = connected<CF113202>();
  create(*main, "");

  const std::vector<std::pair<std::string, std::string>> expected = {
      {"07", ";;;5;2013;0;BENSIN;0.3;0;0;0;0"},
      {"08", ";;;5;2013;0;AVTUR;0.25;0;0;0;0"},
      {"09", ";;;5;2013;0;ASPAL;1;0;0;0;0"},
  };
  EXPECT_EQ(oilGasHeaders(), expected);
  EXPECT_EQ(count("SELECT COUNT(*) FROM JENIS_KOMODITI"), 4);
}

TEST_F(CF113202RecordTest, SecondCreationAddsNothingButAnotherDomesticImportList) {
  auto main = connected<CF113202>();
  create(*main);
  create(*main);

  struct Expected {
    const char* table;
    const char* form;
    long rows;
  };
  const Expected expected[] = {
      {"DS_FORM_INDUK", "F113202", 1},
      {"DS_FORM_INDUK", "D113204", 1},
      {"DAT_SSP_PPh22", "D113203", 1},
      {"DAT_SSP_PPh22", "DImporDbyrSdr", 1},
      {"DAT_SSP_PPh22", "D113202", 6},
      // Looked for under kind "11", written under "13": every call adds one.
      {"DAT_SSP_PPh22", "D113203DN", 2},
  };
  for (const auto& e : expected) {
    SCOPED_TRACE(e.form);
    EXPECT_EQ(rows(e.table, e.form), e.rows);
  }
  EXPECT_EQ(count("SELECT COUNT(*) FROM JENIS_KOMODITI"), 6);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_SSP_PPh22 WHERE KD_FORM = 'D113203DN' AND "
                  "JENIS_DOKUMEN = '13'"),
            2);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113202RecordTest, AnotherPeriodOrCorrectionGetsItsOwnSkeleton) {
  auto main = connected<CF113202>();
  create(*main);
  main->pCreateF113202Hdr(kNpwp, "F113202", "01", 5, 2013, 1, "-", "112", kName, kAddress,
                          Date(2013, 6, 10), Date(2013, 7, 1), "Pemungut");
  EXPECT_EQ(rows("DS_FORM_INDUK", "F113202"), 2);
  EXPECT_EQ(rows("DAT_SSP_PPh22", "D113202"), 12);
  EXPECT_EQ(count("SELECT COUNT(*) FROM JENIS_KOMODITI"), 6);
}

TEST_F(CF113202RecordTest, CreationWithoutConnectionShowsOneMessage) {
  CF113202 main;
  create(main);
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text, kNotConnected);
}

TEST_F(CF113202RecordTest, LoadingAMissingMainFormLeavesTheEmptyHeader) {
  auto main = connected<CF113202>();
  main->pGetF113202(kNpwp, 5, 2013, 0);
  ASSERT_NE(main->rs22Form(), nullptr);
  EXPECT_EQ(main->rs22Form(), main->rs22Hdr());
  EXPECT_EQ(main->rs22Form()->RecordCount(), 0);
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113202RecordTest, LoadingIgnoresTheNpwpArgument) {
  auto main = connected<CF113202>();
  create(*main);
  main->pGetF113202("999999999999999", 5, 2013, 0);
  ASSERT_EQ(main->rs22Form()->RecordCount(), 1);
  EXPECT_EQ(main->aNPWP(), Variant(std::string(kNpwp)));
  EXPECT_EQ(main->aTGL_SETOR(), Variant(Date(2013, 6, 10)));
  EXPECT_TRUE(main->aTGL_LAPOR().isNull());
}

TEST_F(CF113202RecordTest, LinesSurviveSaveAndReloadThroughThePackedText) {
  auto main = connected<CF113202>();
  create(*main);
  main->pGetF113202(kNpwp, 5, 2013, 0);
  main->aB11("X-1");
  main->aB13(100);
  main->aB14(1);
  main->aB23(200);
  main->aB24(2);
  main->aB33(300);
  main->aB34(3);
  main->aB4a3(400);
  main->aB4a4(4);
  main->aB4b3(500);
  main->aB4b4(5);
  main->aB53(600);
  main->aB54(6);
  main->aB6a3(700);
  main->aB6a4(7);
  main->aB6b3(800);
  main->aB6b4(8);
  main->aB71(Variant("Lainnya"));
  main->aB73(Variant(900));
  main->aB74(Variant(9));
  main->aC2(Variant(3));
  main->aC3(Variant(2));
  main->aCHKC1(Variant(1));
  main->aCHKC2(Variant(0));
  main->aCHKC3(Variant(1));
  main->aCHKC4(Variant(0));
  main->aCHKC5(Variant(1));
  main->aCHKC6(Variant(0));
  main->aCHKC7(Variant(1));
  main->achkC8(Variant(0));
  main->achkC9(Variant(1));
  main->aTGL_LAPOR(Variant(Date(2013, 6, 20)));
  main->pUpdate();
  EXPECT_TRUE(messages().empty());
  EXPECT_EQ(main->rs22Hdr()->AbsolutePosition(), 0);

  EXPECT_EQ(scalar("SELECT DAT_FORM FROM DS_FORM_INDUK WHERE KD_FORM = 'F113202'").text(),
            collectorPrefix() +
                "10/06/2013;20/06/2013;X-1;100;1;200;2;;300;3;400;4;500;5;600;6;700;7;800;8;"
                "Lainnya;900;9;;;3;2;1;0;1;0;1;0;1;0;1");

  auto reloaded = connected<CF113202>();
  reloaded->pGetF113202(kNpwp, 5, 2013, 0);
  EXPECT_EQ(reloaded->aB11(), "X-1");
  EXPECT_EQ(reloaded->aB14(), 1);
  EXPECT_EQ(reloaded->aB24(), 2);
  EXPECT_EQ(reloaded->aB34(), 3);
  EXPECT_EQ(reloaded->aB4a4(), 4);
  EXPECT_EQ(reloaded->aB4b4(), 5);
  EXPECT_EQ(reloaded->aB54(), 6);
  EXPECT_EQ(reloaded->aB6a4(), 7);
  EXPECT_EQ(reloaded->aB6b4(), 8);
  const std::vector<Variant> boxes = {reloaded->gChk1(), reloaded->gChk2(), reloaded->gChk3(),
                                      reloaded->gChk4(), reloaded->gChk5(), reloaded->gChk6(),
                                      reloaded->gChk7(), reloaded->gChk8(), reloaded->gChk9()};
  const std::vector<Variant> ticked = {std::int16_t{1}, std::int16_t{0}, std::int16_t{1},
                                       std::int16_t{0}, std::int16_t{1}, std::int16_t{0},
                                       std::int16_t{1}, std::int16_t{0}, std::int16_t{1}};
  EXPECT_EQ(boxes, ticked);
  EXPECT_EQ(reloaded->aTGL_LAPOR(), Variant(Date(2013, 6, 20)));
  EXPECT_EQ(reloaded->aNPWP(), Variant(std::string(kNpwp)));
  EXPECT_TRUE(messages().empty());
}

struct TaxLine {
  const char* column;
  void (*set)(CF113202&, double);
  double (*get)(CF113202&);
};

TEST_F(CF113202RecordTest, TaxLinesRoundTripAndReadAsDoubles) {
  const TaxLine lines[] = {
      {"B14", [](CF113202& m, double v) { m.aB14(v); }, [](CF113202& m) { return m.aB14(); }},
      {"B24", [](CF113202& m, double v) { m.aB24(v); }, [](CF113202& m) { return m.aB24(); }},
      {"B34", [](CF113202& m, double v) { m.aB34(v); }, [](CF113202& m) { return m.aB34(); }},
      {"B4a4", [](CF113202& m, double v) { m.aB4a4(v); }, [](CF113202& m) { return m.aB4a4(); }},
      {"B4b4", [](CF113202& m, double v) { m.aB4b4(v); }, [](CF113202& m) { return m.aB4b4(); }},
      {"B54", [](CF113202& m, double v) { m.aB54(v); }, [](CF113202& m) { return m.aB54(); }},
      {"B6a4", [](CF113202& m, double v) { m.aB6a4(v); }, [](CF113202& m) { return m.aB6a4(); }},
      {"B6b4", [](CF113202& m, double v) { m.aB6b4(v); }, [](CF113202& m) { return m.aB6b4(); }},
  };
  auto main = connected<CF113202>();
  create(*main);
  main->pGetF113202(kNpwp, 5, 2013, 0);
  for (const auto& line : lines) {
    SCOPED_TRACE(line.column);
    line.set(*main, 1500.25);
    EXPECT_EQ(main->rs22Form()->Fields(line.column).Value(), Variant(1500.25));
    EXPECT_EQ(line.get(*main), 1500.25);
    // Whatever the column holds, the getter answers a double.
    main->rs22Form()->Fields(line.column).Value("42");
    EXPECT_EQ(line.get(*main), 42.0);
  }
  EXPECT_TRUE(messages().empty());
}

struct GrossLine {
  const char* column;
  void (*set)(CF113202&, double);
};

TEST_F(CF113202RecordTest, GrossLinesWriteTheirColumn) {
  const GrossLine lines[] = {
      {"B13", [](CF113202& m, double v) { m.aB13(v); }},
      {"B23", [](CF113202& m, double v) { m.aB23(v); }},
      {"B33", [](CF113202& m, double v) { m.aB33(v); }},
      {"B4a3", [](CF113202& m, double v) { m.aB4a3(v); }},
      {"B4b3", [](CF113202& m, double v) { m.aB4b3(v); }},
      {"B53", [](CF113202& m, double v) { m.aB53(v); }},
      {"B6a3", [](CF113202& m, double v) { m.aB6a3(v); }},
      {"B6b3", [](CF113202& m, double v) { m.aB6b3(v); }},
  };
  auto main = connected<CF113202>();
  create(*main);
  main->pGetF113202(kNpwp, 5, 2013, 0);
  for (const auto& line : lines) {
    SCOPED_TRACE(line.column);
    line.set(*main, 250000.5);
    EXPECT_EQ(main->rs22Form()->Fields(line.column).Value(), Variant(250000.5));
  }
}

TEST_F(CF113202RecordTest, UntypedSettersStoreTheValueUnchanged) {
  auto main = connected<CF113202>();
  create(*main);
  main->pGetF113202(kNpwp, 5, 2013, 0);
  main->aB73(Variant("12,5"));
  main->aC3(Variant(true));
  main->aCHKC4(Variant("ya"));
  main->achkC9(Variant(std::int16_t{1}));
  EXPECT_EQ(main->rs22Form()->Fields("B73").Value(), Variant("12,5"));
  EXPECT_EQ(main->rs22Form()->Fields("C3").Value(), Variant(true));
  EXPECT_EQ(main->gChk4(), Variant("ya"));
  EXPECT_EQ(main->gChk9(), Variant(std::int16_t{1}));
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113202RecordTest, B11ReadsAnEmptyLineAsEmptyTextAndWritesItBack) {
  auto main = connected<CF113202>();
  create(*main);
  main->pGetF113202(kNpwp, 5, 2013, 0);
  EXPECT_TRUE(main->rs22Form()->Fields("B11").Value().isNull());
  EXPECT_EQ(main->aB11(), "");
  EXPECT_EQ(main->rs22Form()->Fields("B11").Value(), Variant(""));
  EXPECT_TRUE(messages().empty());
}

TEST_F(CF113202RecordTest, PropertiesOfAnUnloadedFormShowOneMessageEachAndAnswerDefaults) {
  auto main = connected<CF113202>();
  EXPECT_EQ(main->aB14(), 0.0);
  EXPECT_EQ(main->aB11(), "");
  EXPECT_TRUE(main->gChk1().isEmpty());
  main->aB13(5);
  ASSERT_EQ(messages().size(), 4u);
  for (const auto& message : messages()) EXPECT_EQ(message.text, kNotLoaded);
}

TEST_F(CF113202RecordTest, SavingWithoutAMainFormShowsOneMessage) {
  auto main = connected<CF113202>();
  main->pGetF113202(kNpwp, 5, 2013, 0);
  main->pUpdate();
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(rows("DS_FORM_INDUK", "F113202"), 0);
}

TEST_F(CF113202RecordTest, LoadingWithoutConnectionShowsOneMessage) {
  CF113202 main;
  main.pGetF113202(kNpwp, 5, 2013, 0);
  ASSERT_EQ(messages().size(), 1u);
  EXPECT_EQ(messages()[0].text, kNotConnected);
  EXPECT_EQ(main.rs22Form(), nullptr);
}

}  // namespace
}  // namespace korvane
