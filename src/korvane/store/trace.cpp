#include "korvane/store/trace.hpp"

#include <atomic>
#include <memory>
#include <mutex>

namespace korvane {
namespace {

std::mutex hookMutex;
std::shared_ptr<const TraceHook> installedHook;
std::atomic<bool> hookInstalled{false};
std::shared_ptr<const store::FaultHook> installedFault;

}  // namespace

void setTraceHook(TraceHook hook) {
  std::lock_guard lock(hookMutex);
  installedHook = hook ? std::make_shared<const TraceHook>(std::move(hook)) : nullptr;
  hookInstalled = installedHook != nullptr || installedFault != nullptr;
}

namespace store {

void setFaultHook(FaultHook hook) {
  std::lock_guard lock(hookMutex);
  installedFault = hook ? std::make_shared<const FaultHook>(std::move(hook)) : nullptr;
  hookInstalled = installedHook != nullptr || installedFault != nullptr;
}

void traceStatement(std::string_view statement) {
  // The common case (no hook) costs one atomic load.
  if (!hookInstalled.load(std::memory_order_relaxed)) return;
  std::shared_ptr<const TraceHook> hook;
  std::shared_ptr<const FaultHook> fault;
  {
    std::lock_guard lock(hookMutex);
    hook = installedHook;
    fault = installedFault;
  }
  if (fault) (*fault)(statement);
  if (hook) (*hook)(statement);
}

}  // namespace store
}  // namespace korvane
