// Connections: the connection-string rules, which data sources are store files, statements on
// a real store (dialect, trace, journal mode), the quoting guard, and the ODBC path.
#include "korvane/store/connection.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "korvane/store/error.hpp"
#include "korvane/store/general_class.hpp"
#include "korvane/store/sql.hpp"
#include "korvane/store/trace.hpp"
#include "support/store_fixture.hpp"

namespace korvane::testing {
namespace {

using store::Connection;
using store::ConnectionString;

struct ConnectionStringCase {
  const char* name;
  std::string text;
  std::string key;
  std::string expected;
};

class ConnectionStringTest : public ::testing::TestWithParam<ConnectionStringCase> {};

TEST_P(ConnectionStringTest, GivesTheValueOfAKey) {
  EXPECT_EQ(ConnectionString::parse(GetParam().text).get(GetParam().key), GetParam().expected);
}

const std::string kPlain = "PROVIDER=MSDASQL;dsn=/data/pajak.db;uid=budi;pwd=rahasia;";
const std::string kShape =
    "PROVIDER=MSDataShape;Data PROVIDER=MSDASQL;dsn=KorvaneDSN;uid=budi;pwd=rahasia;";

INSTANTIATE_TEST_SUITE_P(
    Texts, ConnectionStringTest,
    ::testing::Values(
        ConnectionStringCase{"PlainDsn", kPlain, "dsn", "/data/pajak.db"},
        ConnectionStringCase{"PlainUid", kPlain, "uid", "budi"},
        ConnectionStringCase{"PlainPwd", kPlain, "pwd", "rahasia"},
        ConnectionStringCase{"PlainProvider", kPlain, "Provider", "MSDASQL"},
        ConnectionStringCase{"KeyInUpperCase", kPlain, "DSN", "/data/pajak.db"},
        ConnectionStringCase{"KeyWrittenInUpperCase", "DSN=A;UID=B;PWD=C;", "pwd", "C"},
        ConnectionStringCase{"ShapeProvider", kShape, "PROVIDER", "MSDataShape"},
        ConnectionStringCase{"ShapeDataProvider", kShape, "data provider", "MSDASQL"},
        ConnectionStringCase{"ShapeDsn", kShape, "dsn", "KorvaneDSN"},
        ConnectionStringCase{"SemicolonEndsThePassword", "dsn=x;uid=;pwd=ab;cd;", "pwd", "ab"},
        ConnectionStringCase{"EmptyValue", "dsn=x;uid=;pwd=;", "uid", ""},
        ConnectionStringCase{"MissingKey", "dsn=x;", "pwd", ""},
        ConnectionStringCase{"EqualsSignInsideAValue", "dsn=x;pwd=a=b;", "pwd", "a=b"},
        ConnectionStringCase{"BlanksAroundTheKey", " dsn =x;", "dsn", "x"},
        ConnectionStringCase{"NoTrailingSemicolon", "dsn=x;pwd=last", "pwd", "last"},
        ConnectionStringCase{"LaterValueWins", "dsn=x;dsn=y;", "dsn", "y"}),
    [](const auto& param) { return std::string(param.param.name); });

struct StoreNameCase {
  const char* name;
  std::string dataSource;
  bool embedded;
};

class EmbeddedStoreNameTest : public ::testing::TestWithParam<StoreNameCase> {};

TEST_P(EmbeddedStoreNameTest, TellsStoreFilesFromDataSourceNames) {
  EXPECT_EQ(store::isEmbeddedStoreName(GetParam().dataSource), GetParam().embedded);
}

INSTANTIATE_TEST_SUITE_P(
    Names, EmbeddedStoreNameTest,
    ::testing::Values(StoreNameCase{"AbsolutePath", "/var/lib/korvane/pajak", true},
                      StoreNameCase{"RelativePathWithFolder", "data/pajak", true},
                      StoreNameCase{"DbFile", "pajak.db", true},
                      StoreNameCase{"DbFileUpperCase", "PAJAK.DB", true},
                      StoreNameCase{"SqliteFile", "pajak.sqlite", true},
                      StoreNameCase{"Sqlite3File", "pajak.sqlite3", true},
                      StoreNameCase{"DsnName", "KorvaneDSN", false},
                      StoreNameCase{"DsnNameWithDot", "pajak.dbf", false},
                      StoreNameCase{"DsnEndingInDbWithoutDot", "pajakdb", false},
                      StoreNameCase{"Empty", "", false}),
    [](const auto& param) { return std::string(param.param.name); });

class ConnectionTest : public StoreTest {
 protected:
  std::shared_ptr<Connection> open() {
    return Connection::openDataSource(store(), user(), password());
  }
};

TEST_F(ConnectionTest, MissingStoreFileIsRefusedAndNotCreated) {
  auto missing = (folder() / "none" / "missing.db").string();
  try {
    Connection::openDataSource(missing, "", "");
    ADD_FAILURE() << "a missing store file was opened";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errc::kStoreFailure);
    EXPECT_EQ(e.description(), "Store file not found: " + missing);
  }
  EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST_F(ConnectionTest, OpensThroughEitherConnectionStringForm) {
  const auto credentials = ";uid=" + user() + ";pwd=" + password() + ";";
  for (const auto& text :
       {"PROVIDER=MSDASQL;dsn=" + store() + credentials,
        "PROVIDER=MSDataShape;Data PROVIDER=MSDASQL;dsn=" + store() + credentials}) {
    auto connection = Connection::open(text);
    EXPECT_EQ(connection->query("SELECT * FROM DS_REF_JENIS_PAJAK").rows.size(), 14u) << text;
  }
}

TEST_F(ConnectionTest, EmbeddedStoreRunsInWriteAheadLogMode) {
  if (!embeddedStore()) GTEST_SKIP() << "embedded store only";
  auto result = open()->query("PRAGMA journal_mode");
  ASSERT_EQ(result.rows.size(), 1u);
  EXPECT_EQ(result.rows[0][0].text(), "wal");
}

// The statements are written in the components' dialect; the store runs them.
TEST_F(ConnectionTest, DeleteStarAndDateValueRunOnTheStore) {
  auto connection = open();
  connection->execute(
      "INSERT INTO DATSSP VALUES ('0123', 5, 2013, '411122', '100', DATEVALUE('31/05/2013'), "
      "'NTPP1', 1500, 'D113202', 0)");
  connection->execute(
      "INSERT INTO DATSSP VALUES ('0123', 6, 2013, '411122', '100', DATEVALUE('1/7/2013'), "
      "'NTPP2', 2500, 'D113202', 0)");

  auto may = connection->query(
      "SELECT NTPP, TGLSSP FROM DATSSP WHERE TGLSSP = "
      "DATEVALUE('31/05/2013')");
  ASSERT_EQ(may.rows.size(), 1u);
  EXPECT_EQ(may.rows[0][0].text(), "NTPP1");
  EXPECT_EQ(may.rows[0][1].toDate(), Date(2013, 5, 31));
  EXPECT_EQ(
      connection->query("SELECT * FROM DATSSP WHERE TGLSSP > DATEVALUE('30/06/2013')").rows.size(),
      1u);

  connection->execute("DELETE * FROM DATSSP WHERE TGLSSP < DATEVALUE('1/6/2013')");
  auto left = connection->query("SELECT NTPP FROM DATSSP");
  ASSERT_EQ(left.rows.size(), 1u);
  EXPECT_EQ(left.rows[0][0].text(), "NTPP2");
  connection->execute("DELETE * FROM DATSSP");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DATSSP"), 0);
}

TEST_F(ConnectionTest, ExecuteDiscardsTheRowsOfAQuery) {
  auto connection = open();
  EXPECT_NO_THROW(connection->execute("SELECT * FROM DS_REF_JENIS_PAJAK"));
  EXPECT_EQ(connection->query("SELECT * FROM DS_REF_JENIS_PAJAK").rows.size(), 14u);
}

TEST_F(ConnectionTest, StoreFailureCarriesTheStoresOwnWords) {
  try {
    open()->query("SELECT * FROM NO_SUCH_TABLE");
    ADD_FAILURE() << "a missing table was queried";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errc::kStoreFailure);
    EXPECT_EQ(e.description().find('\n'), std::string::npos) << e.description();
    if (embeddedStore()) {
      EXPECT_EQ(e.description(), "no such table: NO_SUCH_TABLE");
    }
  }
}

// Removes the hook however the test ends.
struct TraceRecorder {
  std::vector<std::string> statements;
  TraceRecorder() {
    setTraceHook([this](std::string_view statement) { statements.emplace_back(statement); });
  }
  ~TraceRecorder() { setTraceHook(nullptr); }
  TraceRecorder(const TraceRecorder&) = delete;
  TraceRecorder& operator=(const TraceRecorder&) = delete;
};

TEST_F(ConnectionTest, TraceHookSeesEachStatementAsTheComponentWroteIt) {
  auto general = connected<CGeneralClass>();
  std::vector<std::string> seen;
  {
    TraceRecorder trace;
    general->pExecQuery("INSERT INTO DAT_PARTNER VALUES ('01', 'PT A', 'JAKARTA')");
    general->pExecQuery("DELETE * FROM DAT_PARTNER WHERE NPWP_PARTNER = '01'");
    auto rs =
        general->pGetRecordDbase("SELECT * FROM DATSSP WHERE TGLSSP = DATEVALUE('31/05/2013')");
    seen = trace.statements;
  }
  EXPECT_EQ(seen, (std::vector<std::string>{
                      "INSERT INTO DAT_PARTNER VALUES ('01', 'PT A', 'JAKARTA')",
                      "DELETE * FROM DAT_PARTNER WHERE NPWP_PARTNER = '01'",
                      "SELECT * FROM DATSSP WHERE TGLSSP = DATEVALUE('31/05/2013')"}));
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_PARTNER"), 0);

  // Nothing is seen once the hook is removed.
  TraceRecorder later;
  setTraceHook(nullptr);
  general->pExecQuery("DELETE * FROM DAT_PARTNER");
  EXPECT_TRUE(later.statements.empty());
}

TEST_F(ConnectionTest, TraceHookSeesTheWriteBackStatements) {
  auto rs = query("SELECT * FROM DAT_PARTNER");
  rs->AddNew();
  rs->Fields("NPWP_PARTNER").Value("01");
  TraceRecorder trace;
  rs->UpdateBatch();
  ASSERT_EQ(trace.statements.size(), 1u);
  EXPECT_EQ(trace.statements[0].rfind("INSERT INTO DAT_PARTNER", 0), 0u) << trace.statements[0];
}

TEST(SqlTextTest, QuotesTextAndRefusesASingleQuote) {
  EXPECT_EQ(sql::text("PT MAJU JAYA"), "'PT MAJU JAYA'");
  EXPECT_EQ(sql::text(""), "''");
  EXPECT_EQ(sql::inner("%5;2013;"), "%5;2013;");
  for (const auto& quoted : {std::string("O'BRIEN"), std::string("'"), std::string("x' OR '1")}) {
    for (auto* quote : {&sql::text, &sql::inner}) {
      try {
        quote(quoted);
        ADD_FAILURE() << quoted << " was let through";
      } catch (const Error& e) {
        EXPECT_EQ(e.number(), errc::kQuoteRefused);
        EXPECT_EQ(e.description(), "The value \"" + quoted +
                                       "\" contains a single quote, which cannot be written "
                                       "into a statement.");
      }
    }
  }
}

TEST(SqlTextTest, WritesNumbersAndDates) {
  EXPECT_EQ(sql::number(1500.0), "1500");
  EXPECT_EQ(sql::number(15000.015), "15000.015");
  EXPECT_EQ(sql::number(std::int16_t{-3}), "-3");
  EXPECT_EQ(sql::number(2013), "2013");
  EXPECT_EQ(sql::number(1234567890123LL), "1234567890123");
  EXPECT_EQ(sql::dateValue(Date(2013, 5, 1)), "DATEVALUE('01/05/2013')");
}

// The ODBC path: a data source defined in a private odbc.ini, reached by name.
//
// What unixODBC needs for this to work reliably in one process:
//  - ODBCINI names the user DSN file and is read from the environment on every lookup, so it
//    can be pointed at a file of the test's own. ODBCSYSINI (where odbcinst.ini lives) is read
//    once per process and then kept, so it is left alone: the driver name "SQLite3" resolves
//    through the system's odbcinst.ini.
//  - The driver manager caches the values it read from the ini files for some seconds, keyed
//    by data-source name and not by file, so every test defines a data source of a new name.
//  - The SQLite driver loads the installer library (libodbcinst) to read its data source and
//    unloads it again; what that library keeps for the process would then be reported as leaks
//    of an unknown module. Holding it loaded lets the leak checker name it (and its
//    suppression apply).
class ConnectionOdbcTest : public StoreTest {
 protected:
  static void SetUpTestSuite() {
    static void* const installer = ::dlopen("libodbcinst.so.2", RTLD_NOW | RTLD_GLOBAL);
    (void)installer;
  }
  void SetUp() override {
    StoreTest::SetUp();
    if (!embeddedStore()) GTEST_SKIP() << "defines its own data source for the embedded file";
    static std::atomic<int> counter{0};
    dsn_ = "KorvaneTest_" + std::to_string(::getpid()) + "_" + std::to_string(counter++);
    auto ini = folder() / "odbc.ini";
    std::ofstream(ini) << "[ODBC Data Sources]\n"
                       << dsn_ << " = SQLite3\n\n"
                       << "[" << dsn_ << "]\n"
                       << "Driver = SQLite3\n"
                       << "Database = " << store() << "\n"
                       << "Timeout = 10000\n";
    if (const char* old = std::getenv("ODBCINI")) savedOdbcIni_ = old;
    ::setenv("ODBCINI", ini.c_str(), 1);
    pointedAtOwnFile_ = true;
  }
  void TearDown() override {
    if (pointedAtOwnFile_) {
      if (savedOdbcIni_) {
        ::setenv("ODBCINI", savedOdbcIni_->c_str(), 1);
      } else {
        ::unsetenv("ODBCINI");
      }
    }
    StoreTest::TearDown();
  }
  const std::string& dsn() const { return dsn_; }

 private:
  std::string dsn_;
  std::optional<std::string> savedOdbcIni_;
  bool pointedAtOwnFile_ = false;
};

TEST_F(ConnectionOdbcTest, ObjectQueriesAndWritesBackThroughADataSourceName) {
  CGeneralClass general;
  general.pAssignConStr(dsn(), "", "");
  ASSERT_TRUE(messages().empty()) << messages().front().text;
  ASSERT_TRUE(general.connected());
  EXPECT_EQ(general.connectionString(), "PROVIDER=MSDASQL;dsn=" + dsn() + ";uid=;pwd=;");

  auto rates = general.pGetRecordDbase(
      "SELECT * FROM SETTING_TARIF_PPH WHERE KODE_FORM = 'F113303' ORDER BY ITEM_PENGHASILAN");
  ASSERT_TRUE(rates);
  ASSERT_EQ(rates->RecordCount(), 2);
  EXPECT_EQ(rates->Fields("item_penghasilan").Value().text(), "B3a4");
  EXPECT_EQ(rates->Fields("TARIF_JML_BRUTO").Value().toDouble(), 2.5);
  EXPECT_EQ(rates->Fields("PASAL").Value().toInt16(), 22);
  rates->MoveNext();
  EXPECT_EQ(rates->Fields("TARIF_JML_BRUTO").Value().toDouble(), 7.5);

  // Write-back: a new row, then a change to it.
  auto counter = general.pGetRecordDbase("SELECT * FROM SETTING_NOBUKTI_PPH WHERE PASAL = 22");
  ASSERT_TRUE(counter);
  ASSERT_TRUE(counter->EndOfFile());
  counter->AddNew();
  counter->Fields("PASAL").Value(std::int16_t{22});
  counter->Fields("NO_URUT").Value("000000");
  counter->Fields("FORMAT_STRING").Value("/PPH22");
  counter->UpdateBatch();
  counter->Requery();
  ASSERT_EQ(counter->RecordCount(), 1);
  counter->Fields("NO_URUT").Value("000042");
  counter->UpdateBatch();
  EXPECT_EQ(scalar("SELECT NO_URUT FROM SETTING_NOBUKTI_PPH WHERE PASAL = 22").text(), "000042");

  // A conflict is refused through ODBC too, and nothing is written.
  counter->Fields("NO_URUT").Value("000050");
  exec("UPDATE SETTING_NOBUKTI_PPH SET NO_URUT = '000043'");
  try {
    counter->UpdateBatch();
    ADD_FAILURE() << "a changed row was overwritten";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errc::kWriteConflict);
  }
  EXPECT_EQ(scalar("SELECT NO_URUT FROM SETTING_NOBUKTI_PPH").text(), "000043");

  // The dialect rules apply on this path as well.
  general.pExecQuery(
      "INSERT INTO DATSSP VALUES ('0123', 5, 2013, '411122', '100', DATEVALUE('31/05/2013'), "
      "'NTPP1', 1500, 'D113202', 0)");
  auto payments =
      general.pGetRecordDbase("SELECT * FROM DATSSP WHERE TGLSSP = DATEVALUE('31/05/2013')");
  ASSERT_TRUE(payments);
  EXPECT_EQ(payments->RecordCount(), 1);
  general.pExecQuery("DELETE * FROM DATSSP WHERE NTPP = 'NTPP1'");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DATSSP"), 0);
  EXPECT_TRUE(messages().empty());
}

TEST_F(ConnectionTest, UnknownDataSourceNameIsAStoreFailure) {
  try {
    Connection::openDataSource("KorvaneNoSuchDataSource", "", "");
    ADD_FAILURE() << "an unknown data source was opened";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), errc::kStoreFailure);
    EXPECT_NE(e.description().find("Data source name not found"), std::string::npos)
        << e.description();
  }
}

}  // namespace
}  // namespace korvane::testing
