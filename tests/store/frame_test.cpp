// The business-object frame as a host meets it: connecting, the two message forms, the silent
// query services, data members, the MoveComplete event, per-thread credentials and the one
// message a failure chain shows.
#include "korvane/store/business_object.hpp"

#include <gtest/gtest.h>

#include <latch>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "korvane/store/error.hpp"
#include "korvane/store/general_class.hpp"
#include "korvane/store/message_box.hpp"
#include "korvane/store/store.hpp"
#include "support/store_fixture.hpp"

namespace korvane::testing {
namespace {

constexpr const char* kClosed =
    "Operation is not allowed when the object is closed: no connection to the store.";

// A business object of the test's own, exposing a few operations through the frame's wrapper.
class ProbeObject : public BusinessObject {
 public:
  const char* className() const noexcept override { return "ProbeObject"; }
  using BusinessObject::adding;
  using BusinessObject::companion;
  using BusinessObject::deleting;
  using BusinessObject::editing;
  using BusinessObject::rs22Hdr;

  void pAssignConStr_Shape(const std::string& DataSource, const std::string& UserID,
                           const std::string& password) {
    assignShapeConnection(DataSource, UserID, password);
  }
  long countRows(const std::string& table) {
    return reported(0L, [&] { return open("SELECT * FROM " + table)->RecordCount(); });
  }
  void loadHeaders(const std::string& sql) {
    reported([&] { rs22Hdr(open(sql)); });
  }
  // Calls another object's operation, then goes on with its own work.
  long countThrough(ProbeObject& other, const std::string& table) {
    return reported(-1L, [&] {
      auto counted = other.countRows(table);
      ++continued;
      return counted + countRows(table);
    });
  }
  std::vector<std::string> proposeThrough(CGeneralClass& general) {
    return reported(std::vector<std::string>{"fallback"}, [&] {
      auto proposal = general.pGetNoBuktiHdr(22);
      ++continued;
      return proposal;
    });
  }
  void connectThrough(ProbeObject& other, const std::string& dataSource) {
    reported([&] {
      other.pAssignConStr(dataSource, "", "");
      ++continued;
    });
  }
  int continued = 0;
};

std::vector<std::string> texts(const std::vector<MessageBoxRequest>& messages) {
  std::vector<std::string> out;
  for (const auto& m : messages) out.push_back(m.text);
  return out;
}

class FrameTest : public StoreTest {};

struct WrongSourceCase {
  const char* name;
  std::string dataSource;  // "<folder>" stands for the test's folder
  std::string description;
  bool wholeText;  // false: the driver manager's text goes on after this
};

class FrameWrongSourceTest : public FrameTest,
                             public ::testing::WithParamInterface<WrongSourceCase> {};

TEST_P(FrameWrongSourceTest, ShowsOneStartUpMessageAndLeavesTheObjectUnconnected) {
  auto dataSource = GetParam().dataSource;
  auto description = GetParam().description;
  for (auto* text : {&dataSource, &description}) {
    if (auto at = text->find("<folder>"); at != std::string::npos) {
      text->replace(at, 8, folder().string());
    }
  }
  for (bool shape : {false, true}) {
    SCOPED_TRACE(shape ? "shape" : "plain");
    clearMessages();
    CGeneralClass general;
    if (shape) {
      general.pAssignConStr_Shape(dataSource, "budi", "rahasia");
    } else {
      general.pAssignConStr(dataSource, "budi", "rahasia");
    }
    ASSERT_EQ(messages().size(), 1u);
    const auto expected = "-2147467259: Class_Initialize Sub: " + description;
    const auto& shown = messages().front().text;
    EXPECT_EQ(GetParam().wholeText ? shown : shown.substr(0, expected.size()), expected);
    EXPECT_EQ(messages().front().buttons, kOkOnly);
    EXPECT_EQ(messages().front().title, "");
    EXPECT_FALSE(general.connected());

    // Later operations show the description alone and return their defaults.
    clearMessages();
    EXPECT_TRUE(general.pGetNoBuktiHdr(22).empty());
    EXPECT_EQ(texts(messages()), std::vector<std::string>{kClosed});
    clearMessages();
    EXPECT_EQ(general.pGetRecordDbase("SELECT * FROM SETTING_TARIF_PPH"), nullptr);
    general.pExecQuery("DELETE * FROM SETTING_TARIF_PPH");
    EXPECT_TRUE(messages().empty());
    EXPECT_EQ(count("SELECT COUNT(*) FROM SETTING_TARIF_PPH"), 12);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Sources, FrameWrongSourceTest,
    ::testing::Values(WrongSourceCase{"MissingStoreFile", "<folder>/missing.db",
                                      "Store file not found: <folder>/missing.db", true},
                      WrongSourceCase{"UnknownDataSourceName", "KorvaneNoSuchDataSource",
                                      "[unixODBC][Driver Manager]Data source name not found",
                                      false}),
    [](const auto& param) { return std::string(param.param.name); });

TEST_F(FrameTest, ConnectingBuildsTheConnectionStringAndHandsTheCredentialsOn) {
  if (!embeddedStore()) GTEST_SKIP() << "the embedded store takes any user and password";
  ProbeObject probe;
  EXPECT_EQ(probe.connectionString(), "");
  EXPECT_FALSE(probe.connected());
  probe.pAssignConStr(store(), "budi", "ab;cd");
  EXPECT_TRUE(messages().empty());
  EXPECT_TRUE(probe.connected());
  // Inserted as given: the ";" in the password splits the string, and nothing is escaped.
  EXPECT_EQ(probe.connectionString(), "PROVIDER=MSDASQL;dsn=" + store() + ";uid=budi;pwd=ab;cd;");
  EXPECT_EQ(probe.companion().dataSource(), store());
  EXPECT_EQ(probe.companion().userId(), "budi");
  auto credentials = componentCredentials();
  EXPECT_EQ(credentials.dataSource, store());
  EXPECT_EQ(credentials.userId, "budi");
  EXPECT_EQ(credentials.password, "ab;cd");
  EXPECT_EQ(probe.countRows("DS_REF_JENIS_PAJAK"), 14);

  probe.pAssignConStr_Shape(store(), "ani", "x");
  EXPECT_EQ(probe.connectionString(),
            "PROVIDER=MSDataShape;Data PROVIDER=MSDASQL;dsn=" + store() + ";uid=ani;pwd=x;");
  EXPECT_EQ(componentCredentials().userId, "ani");
  EXPECT_EQ(probe.countRows("DS_REF_JENIS_PAJAK"), 14);
  EXPECT_TRUE(messages().empty());
}

TEST_F(FrameTest, SecondConnectionReplacesTheFirst) {
  const auto other = (folder() / "other.db").string();
  store::createStore(other);
  auto general = connected<CGeneralClass>();
  general->pAssignConStr(other, "u2", "p2");
  EXPECT_EQ(general->connectionString(), "PROVIDER=MSDASQL;dsn=" + other + ";uid=u2;pwd=p2;");
  general->pExecQuery("INSERT INTO DAT_PARTNER VALUES ('01', 'PT A', 'JAKARTA')");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_PARTNER"), 0);
  auto there = general->pGetRecordDbase("SELECT * FROM DAT_PARTNER");
  ASSERT_TRUE(there);
  EXPECT_EQ(there->RecordCount(), 1);

  // A failing second connection leaves no connection at all, not the old one.
  general->pAssignConStr((folder() / "missing.db").string(), "", "");
  EXPECT_FALSE(general->connected());
  EXPECT_EQ(messages().size(), 1u);
}

TEST_F(FrameTest, QueryServicesAreSilent) {
  auto general = connected<CGeneralClass>();
  EXPECT_EQ(general->pGetRecordDbase("SELECT * FROM NO_SUCH_TABLE"), nullptr);
  EXPECT_EQ(general->pGetRecordDbase("SELEKT nonsense"), nullptr);
  general->pExecQuery("DELETE * FROM NO_SUCH_TABLE");
  general->pExecQuery("INSERT INTO DAT_PARTNER VALUES ('01', 'PT A')");
  EXPECT_TRUE(messages().empty());

  // And do their work when the statement is good.
  auto rates = general->pGetRecordDbase("SELECT * FROM SETTING_TARIF_PPH WHERE PASAL = 22");
  ASSERT_TRUE(rates);
  EXPECT_EQ(rates->RecordCount(), 12);
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_PARTNER WHERE ALAMAT_PARTNER IS NULL"), 1);
}

TEST_F(FrameTest, AssignStatusStoresTheThreeFlags) {
  ProbeObject probe;
  EXPECT_FALSE(probe.adding() || probe.editing() || probe.deleting());
  probe.pAssignStatus(true, false, true);
  EXPECT_TRUE(probe.adding());
  EXPECT_FALSE(probe.editing());
  EXPECT_TRUE(probe.deleting());
}

class FrameDataMemberTest : public FrameTest {
 protected:
  void SetUp() override {
    FrameTest::SetUp();
    for (int month : {5, 6}) {
      exec("INSERT INTO DAT_SSP_PPh22 VALUES ('0123', 'D113202', '07', " + std::to_string(month) +
           ", 2013, 0, '-', '112', '', '31/05/2013', '', '')");
      for (int collection : {0, 1}) {
        exec("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ('D113202', " + std::to_string(month) +
             ", 2013, 0, " + std::to_string(collection) + ", 1, '-', 'm" + std::to_string(month) +
             "c" + std::to_string(collection) + "')");
      }
    }
  }
  static constexpr const char* kShape =
      "SHAPE {SELECT * FROM DAT_SSP_PPh22 ORDER BY MS_PAJAK} AS dD113202Hdr "
      "APPEND ({SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE COLLNO = 0} AS d22Details1 "
      "RELATE KD_FORM TO KD_FORM, MS_PAJAK TO MS_PAJAK) AS d22Details1, "
      "({SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE COLLNO = 1} AS d22Details2 "
      "RELATE KD_FORM TO KD_FORM, MS_PAJAK TO MS_PAJAK) AS d22Details2";
};

TEST_F(FrameDataMemberTest, NamesTheHeaderAndTheCurrentRowsChapters) {
  ProbeObject probe;
  probe.pAssignConStr_Shape(store(), user(), password());
  EXPECT_EQ(probe.GetDataMember("Primary"), nullptr);  // nothing loaded yet
  probe.loadHeaders(kShape);
  auto hdr = probe.rs22Hdr();
  ASSERT_TRUE(hdr);
  EXPECT_EQ(probe.GetDataMember("Primary"), hdr);
  auto first = probe.GetDataMember("Secondary");
  ASSERT_TRUE(first);
  EXPECT_EQ(first->Fields("DAT_FORM").Value().text(), "m5c0");
  auto second = probe.GetDataMember("Ternary");
  ASSERT_TRUE(second);
  EXPECT_EQ(second->Fields("DAT_FORM").Value().text(), "m5c1");

  hdr->MoveNext();
  EXPECT_EQ(probe.GetDataMember("Secondary")->Fields("DAT_FORM").Value().text(), "m6c0");
  EXPECT_EQ(probe.GetDataMember("Ternary")->Fields("DAT_FORM").Value().text(), "m6c1");

  for (const char* other : {"primary", "PRIMARY", "secondary", "ternary", "Primary ", "", "Main"}) {
    EXPECT_EQ(probe.GetDataMember(other), nullptr) << other;
  }
  EXPECT_TRUE(messages().empty());
}

TEST_F(FrameDataMemberTest, MoveCompleteIsPassedOnFromTheHeaderRecordset) {
  auto probe = std::make_unique<ProbeObject>();
  probe->pAssignConStr(store(), user(), password());
  int moves = 0;
  auto id = probe->onMoveComplete([&] { ++moves; });
  probe->loadHeaders("SELECT * FROM DAT_SSP_PPh22");
  auto first = probe->rs22Hdr();
  first->MoveNext();
  first->MoveFirst();
  EXPECT_EQ(moves, 2);
  first->Fields("DAT_FORM").Value("changed");  // WillChangeRecord is not passed on
  EXPECT_EQ(moves, 2);

  // A replaced header recordset no longer reaches the object.
  probe->loadHeaders("SELECT * FROM DAT_SSP_PPh22");
  EXPECT_NE(probe->rs22Hdr(), first);
  first->MoveNext();
  EXPECT_EQ(moves, 2);
  probe->rs22Hdr()->MoveNext();
  EXPECT_EQ(moves, 3);

  probe->unsubscribe(id);
  probe->rs22Hdr()->MoveFirst();
  EXPECT_EQ(moves, 3);

  // The host may keep the header recordset after the object is gone.
  probe->onMoveComplete([&] { ++moves; });
  auto kept = probe->GetDataMember("Primary");
  probe.reset();
  kept->MoveNext();
  EXPECT_EQ(moves, 3);
}

TEST_F(FrameDataMemberTest, HandlerMayCallTheObjectAndItsFailureIsShownOnce) {
  ProbeObject probe;
  probe.pAssignConStr(store(), user(), password());
  probe.loadHeaders("SELECT * FROM DAT_SSP_PPh22");
  std::vector<long> counted;
  probe.onMoveComplete([&] {
    counted.push_back(probe.countRows("DAT_SSP_PPh22"));
    counted.push_back(probe.countRows("NO_SUCH_TABLE"));
  });
  probe.rs22Hdr()->MoveNext();
  EXPECT_EQ(counted, (std::vector<long>{2, 0}));
  ASSERT_EQ(messages().size(), 1u);
  if (embeddedStore()) {
    EXPECT_EQ(messages()[0].text, "no such table: NO_SUCH_TABLE");
  }
}

TEST_F(FrameTest, CredentialsAreKeptPerThread) {
  if (!embeddedStore()) GTEST_SKIP() << "the embedded store takes any user and password";
  std::latch bothConnected(2);
  Credentials seenA, seenB;
  auto run = [&](const std::string& user, const std::string& password, Credentials& seen) {
    ProbeObject probe;
    probe.pAssignConStr(store(), user, password);
    bothConnected.arrive_and_wait();
    seen = componentCredentials();
  };
  std::thread a(run, "alice", "pa", std::ref(seenA));
  std::thread b(run, "bob", "pb", std::ref(seenB));
  a.join();
  b.join();
  EXPECT_EQ(seenA.dataSource, store());
  EXPECT_EQ(seenA.userId, "alice");
  EXPECT_EQ(seenA.password, "pa");
  EXPECT_EQ(seenB.userId, "bob");
  EXPECT_EQ(seenB.password, "pb");
  // This thread never connected.
  EXPECT_EQ(componentCredentials().userId, "");
  EXPECT_TRUE(messages().empty());
}

TEST_F(FrameTest, FailureInsideAnotherOperationIsShownOnceByTheOutermost) {
  ProbeObject outer;
  outer.pAssignConStr(store(), user(), password());
  ProbeObject unconnected;
  EXPECT_EQ(outer.countThrough(unconnected, "DAT_PARTNER"), -1);
  EXPECT_EQ(outer.continued, 0);
  EXPECT_EQ(texts(messages()), std::vector<std::string>{kClosed});

  clearMessages();
  CGeneralClass general;
  EXPECT_EQ(outer.proposeThrough(general), std::vector<std::string>{"fallback"});
  EXPECT_EQ(outer.continued, 0);
  EXPECT_EQ(texts(messages()), std::vector<std::string>{kClosed});

  // A connection failure inside an operation takes the operation's form.
  clearMessages();
  outer.connectThrough(unconnected, (folder() / "missing.db").string());
  EXPECT_EQ(outer.continued, 0);
  EXPECT_EQ(texts(messages()), std::vector<std::string>{"Store file not found: " +
                                                        (folder() / "missing.db").string()});

  // Without a failure the chain runs through.
  clearMessages();
  ProbeObject inner;
  inner.attach(outer);
  EXPECT_EQ(outer.countThrough(inner, "DS_REF_JENIS_PAJAK"), 28);
  EXPECT_EQ(outer.continued, 1);
  EXPECT_TRUE(messages().empty());
}

TEST_F(FrameTest, WithoutAMessageServiceTheTextGoesToStandardError) {
  setMessageBoxHandler(nullptr);
  ProbeObject probe;
  ::testing::internal::CaptureStderr();
  auto counted = probe.countRows("DAT_PARTNER");
  probe.pAssignConStr((folder() / "missing.db").string(), "", "");
  auto output = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(counted, 0);
  EXPECT_EQ(output, std::string(kClosed) + "\n" +
                        "-2147467259: Class_Initialize Sub: Store file not found: " +
                        (folder() / "missing.db").string() + "\n");
}

TEST_F(FrameTest, ThrowingMessageServiceDoesNotEscape) {
  int shown = 0;
  setMessageBoxHandler([&](const MessageBoxRequest&) -> int {
    ++shown;
    throw std::runtime_error("the host's dialog failed");
  });
  ProbeObject probe;
  long counted = -5;
  EXPECT_NO_THROW(counted = probe.countRows("DAT_PARTNER"));
  EXPECT_EQ(counted, 0);
  EXPECT_NO_THROW(probe.pAssignConStr((folder() / "missing.db").string(), "", ""));
  EXPECT_EQ(shown, 2);
}

TEST_F(FrameTest, LiveObjectsAreCounted) {
  auto before = Object::liveObjects();
  {
    CGeneralClass general;
    ProbeObject probe;
    EXPECT_EQ(Object::liveObjects(), before + 2);
  }
  EXPECT_EQ(Object::liveObjects(), before);
}

}  // namespace
}  // namespace korvane::testing
