// The frame every public class stands on: one store connection, the credentials companion,
// the edit-mode flags, the recordsets the host binds to, the MoveComplete event and the one
// failure path every public operation goes through.
#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "korvane/store/companion.hpp"
#include "korvane/store/recordset.hpp"

namespace korvane {

namespace store {
class Connection;
}

// The component-wide DataSource, UserID and password: one copy per thread of the host,
// overwritten by every pAssignConStr / pAssignConStr_Shape on that thread.
struct Credentials {
  std::string dataSource;
  std::string userId;
  std::string password;
};
Credentials componentCredentials();

// What the class registry hands out; every public class is one.
class Object {
 public:
  Object();
  virtual ~Object();
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual const char* className() const noexcept = 0;
  // Objects of the library alive in the process (the in-process server's unload answer).
  static long liveObjects() noexcept;
};

namespace detail {
// How a trapped failure is shown: the connection operations use the start-up form.
enum class Report { Description, ClassInitialize, Silent };
// Shows the failure by the rule, or rethrows it when an operation of the component is already
// running below on this thread (the outermost operation reports it, once).
void handleFailure(std::exception_ptr failure, Report report);
// Depth of public operations running on this thread.
class OperationScope {
 public:
  OperationScope() noexcept;
  ~OperationScope();
  OperationScope(const OperationScope&) = delete;
  OperationScope& operator=(const OperationScope&) = delete;
  static bool nested() noexcept;
};
// Lets a host callback (an event handler) call the component as an outermost caller.
class HostCallbackScope {
 public:
  HostCallbackScope() noexcept;
  ~HostCallbackScope();
  HostCallbackScope(const HostCallbackScope&) = delete;
  HostCallbackScope& operator=(const HostCallbackScope&) = delete;

 private:
  int saved_;
};
}  // namespace detail

class BusinessObject : public Object {
 public:
  using EventHandler = std::function<void()>;

  ~BusinessObject() override;

  // Builds "PROVIDER=MSDASQL;dsn=...;uid=...;pwd=...;", copies the three values to the
  // component-wide credentials, opens a new connection (replacing any previous one) and hands
  // the credentials to the companion. Failures show "<number>: Class_Initialize Sub: <text>".
  void pAssignConStr(const std::string& DataSource, const std::string& UserID,
                     const std::string& password);
  void pAssignStatus(bool bAddData, bool bEditData, bool bDeleteData);

  // Data binding: "Primary" is rs22Hdr, "Secondary" the chapter "d22Details1" of its current
  // row, "Ternary" the chapter "d22Details2". Exact and case-sensitive; anything else: nullptr.
  RecordsetPtr GetDataMember(const std::string& DataMember);

  // The MoveComplete event: raised whenever rs22Hdr's current row changes.
  Recordset::Subscription onMoveComplete(EventHandler handler);
  void unsubscribe(Recordset::Subscription id);

  // The connection string the last connection operation built (empty before).
  const std::string& connectionString() const noexcept { return connectionString_; }
  bool connected() const noexcept { return connection_ != nullptr; }

  // Shares another object's open connection and credentials: for the objects one operation
  // creates inside another (a slip's save drives the slip list and the main return this way).
  // Hosts connect with pAssignConStr.
  void attach(const BusinessObject& owner);

 protected:
  BusinessObject();

  // The hierarchical form, for the classes that open SHAPE commands.
  void assignShapeConnection(const std::string& DataSource, const std::string& UserID,
                             const std::string& password);
  // The failure wrapper. Every public operation's body runs inside one of these. Not noexcept:
  // inside another operation of the component the failure travels on to the outermost one,
  // which is the only place that catches it for good.
  template <class T, class Body>
  T reported(T fallback, Body&& body) {
    detail::OperationScope scope;
    try {
      return std::forward<Body>(body)();
    } catch (...) {
      detail::handleFailure(std::current_exception(), detail::Report::Description);
    }
    return fallback;
  }
  template <class Body>
  void reported(Body&& body) {
    detail::OperationScope scope;
    try {
      std::forward<Body>(body)();
    } catch (...) {
      detail::handleFailure(std::current_exception(), detail::Report::Description);
    }
  }
  template <class T, class Body>
  T silent(T fallback, Body&& body) {
    detail::OperationScope scope;
    try {
      return std::forward<Body>(body)();
    } catch (...) {
      detail::handleFailure(std::current_exception(), detail::Report::Silent);
    }
    return fallback;
  }

  // Store access for the operations; throw when not connected.
  const std::shared_ptr<store::Connection>& connection() const;
  RecordsetPtr open(const std::string& sql) const;
  void execute(const std::string& sql) const;
  // True unless the query's result is at BOF and EOF at once.
  bool exists(const std::string& sql) const;
  const FieldTextCompanion& companion() const { return *companion_; }

  // Edit mode.
  bool adding() const noexcept { return bAddData_; }
  bool editing() const noexcept { return bEditData_; }
  bool deleting() const noexcept { return bDeleteData_; }

  // The recordsets. Public classes expose the ones they have with a using-declaration.
  RecordsetPtr rs22Hdr() const { return hdr_; }
  void rs22Hdr(RecordsetPtr rs);
  RecordsetPtr rs22Form() const { return form_; }
  void rs22Form(RecordsetPtr rs) { form_ = std::move(rs); }
  RecordsetPtr rs22FormColl1() const { return coll1_; }
  void rs22FormColl1(RecordsetPtr rs) { coll1_ = std::move(rs); }
  RecordsetPtr rs22FormColl2() const { return coll2_; }
  void rs22FormColl2(RecordsetPtr rs) { coll2_ = std::move(rs); }

  // The current row's field of rs22Form (throws when there is no form or no current row).
  Field formField(std::string_view name) const;

 private:
  void connect(const std::string& connectionString, const std::string& DataSource,
               const std::string& UserID, const std::string& password);
  void raiseMoveComplete();

  RecordsetPtr hdr_;
  Recordset::Subscription hdrSubscription_ = 0;
  RecordsetPtr form_;
  RecordsetPtr coll1_;
  RecordsetPtr coll2_;
  std::unique_ptr<FieldTextCompanion> companion_;
  std::shared_ptr<store::Connection> connection_;
  std::string connectionString_;
  bool bAddData_ = false;
  bool bEditData_ = false;
  bool bDeleteData_ = false;
  std::vector<std::pair<Recordset::Subscription, EventHandler>> moveHandlers_;
  Recordset::Subscription nextHandler_ = 1;
};

}  // namespace korvane
