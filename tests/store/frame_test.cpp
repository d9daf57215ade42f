// The business-object frame as a host meets it: connecting, the two message forms, the silent
// query services, data members, the MoveComplete event, per-thread credentials and the one
// message a failure chain shows.
#include "korvane/store/business_object.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "korvane/store/message_box.hpp"
#include "korvane/store/store.hpp"
#include "support/store_fixture.hpp"

namespace korvane::testing {
namespace {

using Texts = std::vector<std::string>;
constexpr const char* kClosed =
    "Operation is not allowed when the object is closed: no connection to the store.";

// A business object of the test's own, exposing a few operations through the frame's wrapper.
class ProbeObject : public BusinessObject {
 public:
  const char* className() const noexcept override { return "ProbeObject"; }
  using BusinessObject::companion;
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
  // Runs another object's operation inside one of its own, then goes on with its own work.
  template <class T, class F>
  T through(T fallback, F other) {
    return reported(fallback, [&] {
      T result = other();
      ++continued;
      return result;
    });
  }
  int continued = 0;
};

class FrameTest : public StoreTest {
 protected:
  Texts texts() const {
    Texts out;
    for (const auto& m : messages()) out.push_back(m.text);
    return out;
  }
  std::string missing() const { return (folder() / "missing.db").string(); }
};

// The store's own description (ConnectionTest's) after the start-up prefix, plain or shaped.
TEST_F(FrameTest, WrongSourceShowsOneStartUpMessageAndLeavesTheObjectUnconnected) {
  for (bool shape : {false, true}) {
    SCOPED_TRACE(shape ? "shape" : "plain");
    clearMessages();
    CGeneralClass general;
    (general.*(shape ? &CGeneralClass::pAssignConStr_Shape : &CGeneralClass::pAssignConStr))(
        missing(), "budi", "rahasia");
    ASSERT_EQ(messages().size(), 1u);
    EXPECT_EQ(messages().front().text,
              "-2147467259: Class_Initialize Sub: Store file not found: " + missing());
    EXPECT_EQ(messages().front().buttons, kOkOnly);
    EXPECT_EQ(messages().front().title, "");

    // Later operations show the description alone and return their defaults; the query
    // services stay silent.
    clearMessages();
    EXPECT_TRUE(general.pGetNoBuktiHdr(22).empty());
    EXPECT_EQ(general.pGetRecordDbase("SELECT * FROM SETTING_TARIF_PPH"), nullptr);
    general.pExecQuery("DELETE * FROM SETTING_TARIF_PPH");
    EXPECT_EQ(texts(), Texts{kClosed});
    EXPECT_EQ(count("SELECT COUNT(*) FROM SETTING_TARIF_PPH"), 12);
  }
}

TEST_F(FrameTest, ConnectingBuildsTheConnectionStringAndHandsTheCredentialsOnPerThread) {
  if (!embeddedStore()) GTEST_SKIP() << "the embedded store takes any user and password";
  ProbeObject probe;
  probe.pAssignConStr(store(), "budi", "ab;cd");
  // Inserted as given: the ";" in the password splits the string, and nothing is escaped.
  EXPECT_EQ(probe.connectionString(), "PROVIDER=MSDASQL;dsn=" + store() + ";uid=budi;pwd=ab;cd;");
  EXPECT_EQ(probe.companion().dataSource() + " " + probe.companion().userId(), store() + " budi");
  auto credentials = componentCredentials();
  EXPECT_EQ(credentials.dataSource + " " + credentials.userId + " " + credentials.password,
            store() + " budi ab;cd");

  Credentials seen;
  std::thread([&] {
    ProbeObject own;
    own.pAssignConStr(store(), "alice", "pa");
    seen = componentCredentials();
  }).join();
  EXPECT_EQ(seen.dataSource + " " + seen.userId + " " + seen.password, store() + " alice pa");
  EXPECT_EQ(componentCredentials().userId, "budi");  // this thread's own

  probe.pAssignConStr_Shape(store(), "ani", "x");
  EXPECT_EQ(probe.connectionString(),
            "PROVIDER=MSDataShape;Data PROVIDER=MSDASQL;dsn=" + store() + ";uid=ani;pwd=x;");
  EXPECT_EQ(componentCredentials().userId, "ani");
  EXPECT_TRUE(messages().empty());
}

TEST_F(FrameTest, QueryServicesAreSilentAndASecondConnectionReplacesTheFirst) {
  auto general = connected<CGeneralClass>();
  EXPECT_EQ(general->pGetRecordDbase("SELECT * FROM NO_SUCH_TABLE"), nullptr);
  general->pExecQuery("DELETE * FROM NO_SUCH_TABLE");
  general->pExecQuery("INSERT INTO DAT_PARTNER VALUES ('01', 'PT A')");
  EXPECT_TRUE(messages().empty());
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_PARTNER WHERE ALAMAT_PARTNER IS NULL"), 1);

  const auto other = (folder() / "other.db").string();
  store::createStore(other);
  general->pAssignConStr(other, "u2", "p2");
  general->pExecQuery("INSERT INTO DAT_PARTNER VALUES ('02', 'PT B', 'JAKARTA')");
  EXPECT_EQ(count("SELECT COUNT(*) FROM DAT_PARTNER"), 1);
  auto there = general->pGetRecordDbase("SELECT * FROM DAT_PARTNER");
  ASSERT_TRUE(there);
  EXPECT_EQ(there->Fields("NPWP_PARTNER").Value().text(), "02");
  // A failing second connection leaves no connection at all, not the old one.
  general->pAssignConStr(missing(), "", "");
  EXPECT_FALSE(general->connected());
  EXPECT_EQ(messages().size(), 1u);
}

// Two headers of the oil-and-gas list, May and June, each with a line in either collection.
TEST_F(FrameTest, DataMembersFollowTheHeaderWhoseMovesArePassedOnToHandlersThatMayCallTheObject) {
  for (const char* month : {"5", "6"}) {
    exec(std::string("INSERT INTO DAT_SSP_PPh22 VALUES ('0123', 'D113202', '07', ") + month +
         ", 2013, 0, '-', '112', '', '31/05/2013', '', '')");
    for (const char* collection : {"0", "1"}) {
      exec(std::string("INSERT INTO LAMPIRAN_SSP_PPh22 VALUES ('D113202', ") + month +
           ", 2013, 0, " + collection + ", 1, '-', 'm" + month + "c" + collection + "')");
    }
  }
  auto probe = std::make_unique<ProbeObject>();
  auto member = [&](const char* name) {
    return probe->GetDataMember(name)->Fields("DAT_FORM").Value().text();
  };
  probe->pAssignConStr_Shape(store(), user(), password());
  EXPECT_EQ(probe->GetDataMember("Primary"), nullptr);  // nothing loaded yet
  const std::string shape =
      "SHAPE {SELECT * FROM DAT_SSP_PPh22 ORDER BY MS_PAJAK} AS dD113202Hdr "
      "APPEND ({SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE COLLNO = 0} AS d22Details1 "
      "RELATE KD_FORM TO KD_FORM, MS_PAJAK TO MS_PAJAK) AS d22Details1, "
      "({SELECT * FROM LAMPIRAN_SSP_PPh22 WHERE COLLNO = 1} AS d22Details2 "
      "RELATE KD_FORM TO KD_FORM, MS_PAJAK TO MS_PAJAK) AS d22Details2";
  probe->loadHeaders(shape);
  auto first = probe->rs22Hdr();
  ASSERT_TRUE(first && probe->GetDataMember("Secondary") && probe->GetDataMember("Ternary"));
  EXPECT_EQ(probe->GetDataMember("Primary"), first);
  EXPECT_EQ(member("Secondary") + " " + member("Ternary"), "m5c0 m5c1");
  for (const char* other : {"PRIMARY", "secondary", "Primary ", "", "Main"})
    EXPECT_EQ(probe->GetDataMember(other), nullptr) << other;

  // A handler may call the object; a failure there is shown once. WillChangeRecord is not
  // passed on.
  std::vector<long> counted;
  auto id = probe->onMoveComplete([&] {
    counted.push_back(probe->countRows("DAT_SSP_PPh22"));
    counted.push_back(probe->countRows("NO_SUCH_TABLE"));
  });
  first->MoveNext();
  EXPECT_EQ(member("Secondary") + " " + member("Ternary"), "m6c0 m6c1");
  first->Fields("DAT_FORM").Value("changed");
  EXPECT_EQ(counted, (std::vector<long>{2, 0}));
  ASSERT_EQ(messages().size(), 1u);
  if (embeddedStore()) {
    EXPECT_EQ(messages()[0].text, "no such table: NO_SUCH_TABLE");
  }
  probe->unsubscribe(id);

  // A replaced header recordset no longer reaches the object.
  int moves = 0;
  id = probe->onMoveComplete([&] { ++moves; });
  probe->loadHeaders(shape);
  first->MoveFirst();
  EXPECT_EQ(moves, 0);
  probe->rs22Hdr()->MoveNext();
  EXPECT_EQ(moves, 1);
  probe->unsubscribe(id);
  probe->rs22Hdr()->MoveFirst();
  EXPECT_EQ(moves, 1);

  // The host may keep the header recordset after the object is gone.
  probe->onMoveComplete([&] { ++moves; });
  auto kept = probe->GetDataMember("Primary");
  probe.reset();
  kept->MoveNext();
  EXPECT_EQ(moves, 1);
}

TEST_F(FrameTest, FailureInsideAnotherOperationIsShownOnceByTheOutermost) {
  ProbeObject outer, unconnected;
  outer.pAssignConStr(store(), user(), password());
  EXPECT_EQ(outer.through(-1L, [&] { return unconnected.countRows("DAT_PARTNER"); }), -1);
  CGeneralClass general;
  EXPECT_EQ(outer.through(Texts{"fallback"}, [&] { return general.pGetNoBuktiHdr(22); }),
            Texts{"fallback"});
  EXPECT_EQ(texts(), (Texts{kClosed, kClosed}));
  // A connection failure inside an operation takes the operation's form.
  clearMessages();
  outer.through(0, [&] {
    unconnected.pAssignConStr(missing(), "", "");
    return 0;
  });
  EXPECT_EQ(texts(), Texts{"Store file not found: " + missing()});
  EXPECT_EQ(outer.continued, 0);

  // Without a failure the chain runs through.
  clearMessages();
  ProbeObject inner;
  inner.attach(outer);
  EXPECT_EQ(outer.through(-1L,
                          [&] {
                            return inner.countRows("DS_REF_JENIS_PAJAK") +
                                   outer.countRows("DS_REF_JENIS_PAJAK");
                          }),
            28);
  EXPECT_EQ(outer.continued, 1);
  EXPECT_TRUE(messages().empty());
}

TEST_F(FrameTest, WithoutAMessageServiceTheTextGoesToStandardErrorAndAThrowingOneIsContained) {
  setMessageBoxHandler(nullptr);
  ProbeObject probe;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(probe.countRows("DAT_PARTNER"), 0);
  probe.pAssignConStr(missing(), "", "");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            std::string(kClosed) +
                "\n-2147467259: Class_Initialize Sub: Store file not found: " + missing() + "\n");

  int shown = 0;
  setMessageBoxHandler([&](const MessageBoxRequest&) -> int {
    ++shown;
    throw std::runtime_error("the host's dialog failed");
  });
  EXPECT_EQ(probe.countRows("DAT_PARTNER"), 0);  // nothing escapes
  probe.pAssignConStr(missing(), "", "");
  EXPECT_EQ(shown, 2);
}

}  // namespace
}  // namespace korvane::testing
