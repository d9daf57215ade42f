#include "korvane/store/business_object.hpp"


#include "korvane/store/connection.hpp"
#include "korvane/store/error.hpp"
#include "korvane/store/message_box.hpp"

namespace korvane {
namespace {

thread_local Credentials threadCredentials;
thread_local int operationDepth = 0;
std::atomic<long> liveObjectCount{0};

// Number and description of whatever was thrown. Foreign exceptions (the standard library's,
// the data-access library's) become store-style failures with their own text.
std::pair<long, std::string> describe(std::exception_ptr failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const Error& e) {
    return {e.number(), e.description()};
  } catch (const std::bad_alloc&) {
    return {7, "Out of memory"};
  } catch (const std::exception& e) {
    return {errc::kStoreFailure, e.what()};
  } catch (...) {
    return {errc::kStoreFailure, "Unknown failure"};
  }
}

}  // namespace

Credentials componentCredentials() { return threadCredentials; }

// Object ---------------------------------------------------------------------------------------

Object::Object() { ++liveObjectCount; }
Object::~Object() { --liveObjectCount; }
long Object::liveObjects() noexcept { return liveObjectCount.load(); }

// The failure rule ----------------------------------------------------------------------------

namespace detail {

OperationScope::OperationScope() noexcept { ++operationDepth; }
OperationScope::~OperationScope() { --operationDepth; }
bool OperationScope::nested() noexcept { return operationDepth > 1; }

HostCallbackScope::HostCallbackScope() noexcept : saved_(operationDepth) { operationDepth = 0; }
HostCallbackScope::~HostCallbackScope() { operationDepth = saved_; }

void handleFailure(std::exception_ptr failure, Report report) {
  // Inside another operation of the component the failure belongs to the outermost one: it
  // stops the whole chain and is reported there, once.
  if (OperationScope::nested()) std::rethrow_exception(failure);
  if (report == Report::Silent) return;
  auto [number, description] = describe(failure);
  MessageBoxRequest box;
  box.buttons = kOkOnly;
  box.text = report == Report::ClassInitialize
                 ? std::to_string(number) + ": Class_Initialize Sub: " + description
                 : description;
  try {
    showMessageBox(box);
  } catch (...) {
    // A host's message service that throws must not take the host down with it.
  }
}

}  // namespace detail

// BusinessObject ------------------------------------------------------------------------------

BusinessObject::BusinessObject() {
  detail::OperationScope scope;
  try {
    companion_ = std::make_unique<FieldTextCompanion>();
  } catch (...) {
    detail::handleFailure(std::current_exception(), detail::Report::ClassInitialize);
  }
}

// Destruction order: the header recordset first (its events detached), then the others, the
// companion, and the connection last.
BusinessObject::~BusinessObject() {
  if (hdr_ && hdrSubscription_) hdr_->unsubscribe(hdrSubscription_);
  hdr_.reset();
  form_.reset();
  coll1_.reset();
  coll2_.reset();
  companion_.reset();
  connection_.reset();
}

void BusinessObject::connect(const std::string& connectionString, const std::string& DataSource,
                             const std::string& UserID, const std::string& password) {
  detail::OperationScope scope;
  try {
    connectionString_ = connectionString;
    threadCredentials = Credentials{DataSource, UserID, password};
    connection_.reset();
    connection_ = store::Connection::open(connectionString);
    if (companion_) {
      companion_->setCredentials(threadCredentials.dataSource, threadCredentials.userId,
                                 threadCredentials.password);
    }
  } catch (...) {
    detail::handleFailure(std::current_exception(), detail::Report::ClassInitialize);
  }
}

void BusinessObject::pAssignConStr(const std::string& DataSource, const std::string& UserID,
                                   const std::string& password) {
  connect("PROVIDER=MSDASQL;dsn=" + DataSource + ";uid=" + UserID + ";pwd=" + password + ";",
          DataSource, UserID, password);
}

void BusinessObject::assignShapeConnection(const std::string& DataSource,
                                           const std::string& UserID,
                                           const std::string& password) {
  connect("PROVIDER=MSDataShape;Data PROVIDER=MSDASQL;dsn=" + DataSource + ";uid=" + UserID +
              ";pwd=" + password + ";",
          DataSource, UserID, password);
}

void BusinessObject::attach(const BusinessObject& owner) {
  connection_ = owner.connection();
  connectionString_ = owner.connectionString_;
  if (companion_ && owner.companion_) *companion_ = *owner.companion_;
}

void BusinessObject::pAssignStatus(bool bAddData, bool bEditData, bool bDeleteData) {
  bAddData_ = bAddData;
  bEditData_ = bEditData;
  bDeleteData_ = bDeleteData;
}

RecordsetPtr BusinessObject::GetDataMember(const std::string& DataMember) {
  return reported(RecordsetPtr(), [&]() -> RecordsetPtr {
    if (DataMember == "Primary") return hdr_;
    const char* chapter = DataMember == "Secondary" ? "d22Details1"
                          : DataMember == "Ternary" ? "d22Details2"
                                                    : nullptr;
    if (!chapter || !hdr_ || hdr_->BOF() || hdr_->EndOfFile()) return nullptr;
    return hdr_->Fields(chapter).Value().toRecordset();
  });
}

Recordset::Subscription BusinessObject::onMoveComplete(EventHandler handler) {
  moveHandlers_.emplace_back(nextHandler_, std::move(handler));
  return nextHandler_++;
}

void BusinessObject::unsubscribe(Recordset::Subscription id) {
  std::erase_if(moveHandlers_, [id](const auto& entry) { return entry.first == id; });
}

void BusinessObject::raiseMoveComplete() {
  if (moveHandlers_.empty()) return;
  detail::HostCallbackScope hostCode;
  auto handlers = moveHandlers_;
  for (auto& [id, handler] : handlers) {
    try {
      if (handler) handler();
    } catch (...) {
      // The host's own handler failing is the host's business; it must not break our state.
    }
  }
}

void BusinessObject::rs22Hdr(RecordsetPtr rs) {
  if (hdr_ && hdrSubscription_) hdr_->unsubscribe(hdrSubscription_);
  hdrSubscription_ = 0;
  hdr_ = std::move(rs);
  // WillChangeRecord is let through: only moves are passed on to the host.
  if (hdr_) hdrSubscription_ = hdr_->onMoveComplete([this] { raiseMoveComplete(); });
}

const std::shared_ptr<store::Connection>& BusinessObject::connection() const {
  if (!connection_) {
    throw Error(errc::kNotConnected,
                "Operation is not allowed when the object is closed: no connection to the store.");
  }
  return connection_;
}

RecordsetPtr BusinessObject::open(const std::string& sql) const {
  return Recordset::open(connection(), sql);
}

void BusinessObject::execute(const std::string& sql) const { connection()->execute(sql); }

bool BusinessObject::exists(const std::string& sql) const {
  auto rs = open(sql);
  return !(rs->BOF() && rs->EndOfFile());
}

Field BusinessObject::formField(std::string_view name) const {
  if (!form_) {
    throw Error(errc::kInvalidProcedureCall,
                "Object variable not set: the form has not been loaded.");
  }
  return form_->Fields(name);
}

}  // namespace korvane
