// Connections: the connection-string rules, which data sources are store files, statements on
// a real store (trace, journal mode) and the quoting guard. The ODBC path is the whole suite's
// on KORVANE_TEST_STORE=odbc-sqlite.
#include "korvane/store/connection.hpp"

#include <gtest/gtest.h>

#include "korvane/store/sql.hpp"
#include "korvane/store/trace.hpp"
#include "support/store_fixture.hpp"

namespace korvane::testing {
namespace {

using store::Connection;

TEST(ConnectionStringTest, GivesTheValueOfAKey) {
  const std::string plain = "PROVIDER=MSDASQL;dsn=/data/pajak.db;uid=budi;pwd=rahasia;";
  const std::string shape =
      "PROVIDER=MSDataShape;Data PROVIDER=MSDASQL;dsn=KorvaneDSN;uid=budi;pwd=rahasia;";
  const std::tuple<std::string, const char*, const char*> cases[] = {
      {plain, "dsn", "/data/pajak.db"},
      {plain, "uid", "budi"},
      {plain, "pwd", "rahasia"},
      {plain, "Provider", "MSDASQL"},
      {plain, "DSN", "/data/pajak.db"},
      {"DSN=A;UID=B;PWD=C;", "pwd", "C"},
      {shape, "PROVIDER", "MSDataShape"},
      {shape, "data provider", "MSDASQL"},
      {shape, "dsn", "KorvaneDSN"},
      {"dsn=x;uid=;pwd=ab;cd;", "pwd", "ab"},  // a ";" ends the password
      {"dsn=x;uid=;pwd=;", "uid", ""},
      {"dsn=x;", "pwd", ""},
      {"dsn=x;pwd=a=b;", "pwd", "a=b"},
      {" dsn =x;", "dsn", "x"},
      {"dsn=x;pwd=last", "pwd", "last"},
      {"dsn=x;dsn=y;", "dsn", "y"}};
  for (const auto& [text, key, expected] : cases) {
    EXPECT_EQ(store::ConnectionString::parse(text).get(key), expected) << text << " " << key;
  }
}

TEST(EmbeddedStoreNameTest, TellsStoreFilesFromDataSourceNames) {
  for (const char* file : {"/var/lib/korvane/pajak", "data/pajak", "pajak.db", "PAJAK.DB",
                           "pajak.sqlite", "pajak.sqlite3"}) {
    EXPECT_TRUE(store::isEmbeddedStoreName(file)) << file;
  }
  for (const char* name : {"KorvaneDSN", "pajak.dbf", "pajakdb", ""}) {
    EXPECT_FALSE(store::isEmbeddedStoreName(name)) << name;
  }
}

TEST(SqlTextTest, QuotesTextRefusesASingleQuoteAndWritesNumbersAndDates) {
  EXPECT_EQ(sql::text("PT MAJU JAYA"), "'PT MAJU JAYA'");
  EXPECT_EQ(sql::text(""), "''");
  EXPECT_EQ(sql::inner("%5;2013;"), "%5;2013;");
  for (const std::string quoted : {"O'BRIEN", "'", "x' OR '1"}) {
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
  EXPECT_EQ(sql::number(1500.0), "1500");
  EXPECT_EQ(sql::number(15000.015), "15000.015");
  EXPECT_EQ(sql::number(std::int16_t{-3}), "-3");
  EXPECT_EQ(sql::number(2013), "2013");
  EXPECT_EQ(sql::number(1234567890123LL), "1234567890123");
  EXPECT_EQ(sql::dateValue(Date(2013, 5, 1)), "DATEVALUE('01/05/2013')");
}

class ConnectionTest : public StoreTest {};

TEST_F(ConnectionTest, RefusesAMissingStoreFileWithoutMakingItAndAnUnknownDataSourceName) {
  const auto missing = (folder() / "none" / "missing.db").string();
  for (const auto& source : {missing, std::string("KorvaneNoSuchDataSource")}) {
    try {
      Connection::openDataSource(source, "", "");
      ADD_FAILURE() << source << " was opened";
    } catch (const Error& e) {
      EXPECT_EQ(e.number(), errc::kStoreFailure);
      if (source == missing) {
        EXPECT_EQ(e.description(), "Store file not found: " + missing);
      } else {
        EXPECT_NE(e.description().find("Data source name not found"), std::string::npos)
            << e.description();
      }
    }
  }
  EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST_F(ConnectionTest, OpensThroughEitherConnectionStringForm) {
  const auto credentials = ";uid=" + user() + ";pwd=" + password() + ";";
  for (const auto& text :
       {"PROVIDER=MSDASQL;dsn=" + store() + credentials,
        "PROVIDER=MSDataShape;Data PROVIDER=MSDASQL;dsn=" + store() + credentials}) {
    auto connection = Connection::open(text);
    EXPECT_NO_THROW(connection->execute("SELECT * FROM DS_REF_JENIS_PAJAK"));  // rows dropped
    EXPECT_EQ(connection->query("SELECT * FROM DS_REF_JENIS_PAJAK").rows.size(), 14u) << text;
  }
}

TEST_F(ConnectionTest, EmbeddedStoreRunsInWriteAheadLogMode) {
  if (!embeddedStore()) GTEST_SKIP() << "embedded store only";
  auto result = Connection::openDataSource(store(), "", "")->query("PRAGMA journal_mode");
  ASSERT_EQ(result.rows.size(), 1u);
  EXPECT_EQ(result.rows[0][0].text(), "wal");
}

// Removes the hook however the test ends.
struct TraceRecorder {
  std::vector<std::string> statements;
  TraceRecorder() {
    setTraceHook([this](std::string_view statement) { statements.emplace_back(statement); });
  }
  ~TraceRecorder() { setTraceHook(nullptr); }
};

TEST_F(ConnectionTest, TraceHookSeesEachStatementAsTheComponentWroteItAndTheWriteBack) {
  auto general = connected<CGeneralClass>();
  const std::vector<std::string> statements = {
      "INSERT INTO DAT_PARTNER VALUES ('01', 'PT A', 'JAKARTA')",
      "DELETE * FROM DAT_PARTNER WHERE NPWP_PARTNER = '01'",
      "SELECT * FROM DATSSP WHERE TGLSSP = DATEVALUE('31/05/2013')"};
  auto rs = query("SELECT * FROM DAT_PARTNER");
  rs->AddNew();
  rs->Fields("NPWP_PARTNER").Value("02");
  {
    TraceRecorder trace;
    general->pExecQuery(statements[0]);
    general->pExecQuery(statements[1]);
    general->pGetRecordDbase(statements[2]);
    EXPECT_EQ(trace.statements, statements);
    trace.statements.clear();
    rs->UpdateBatch();
    ASSERT_EQ(trace.statements.size(), 1u);
    EXPECT_EQ(trace.statements[0].rfind("INSERT INTO DAT_PARTNER", 0), 0u) << trace.statements[0];
  }
  EXPECT_EQ(scalar("SELECT NPWP_PARTNER FROM DAT_PARTNER").text(), "02");

  // Nothing is seen once the hook is removed.
  TraceRecorder later;
  setTraceHook(nullptr);
  general->pExecQuery("DELETE * FROM DAT_PARTNER");
  EXPECT_TRUE(later.statements.empty());
}

}  // namespace
}  // namespace korvane::testing
