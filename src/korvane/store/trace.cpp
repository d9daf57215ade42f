#include "korvane/store/trace.hpp"

#include <atomic>
#include <memory>
#include <mutex>

namespace korvane {
namespace {

std::mutex hookMutex;
std::shared_ptr<const TraceHook> installedHook;
std::atomic<bool> hookInstalled{false};

}  // namespace

void setTraceHook(TraceHook hook) {
  std::lock_guard lock(hookMutex);
  installedHook = hook ? std::make_shared<const TraceHook>(std::move(hook)) : nullptr;
  hookInstalled = installedHook != nullptr;
}

namespace store {

void traceStatement(std::string_view statement) {
  // The common case (no hook) costs one atomic load.
  if (!hookInstalled.load(std::memory_order_relaxed)) return;
  std::shared_ptr<const TraceHook> hook;
  {
    std::lock_guard lock(hookMutex);
    hook = installedHook;
  }
  if (hook) (*hook)(statement);
}

}  // namespace store
}  // namespace korvane
