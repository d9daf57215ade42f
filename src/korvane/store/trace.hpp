// A host or a test may watch every statement as the component issued it (before the dialect
// layer rewrote it). Off by default; nothing is logged otherwise.
#pragma once

#include <functional>
#include <string_view>

namespace korvane {

using TraceHook = std::function<void(std::string_view statement)>;

// Installs the hook for the whole process (nullptr removes it). Statements are reported from the
// thread that issues them.
void setTraceHook(TraceHook hook);

namespace store {
// Called with every statement just before it runs. Throwing from it fails the statement as a
// store failure would: reliability tests use it to fail the k-th statement of an operation.
using FaultHook = std::function<void(std::string_view statement)>;
void setFaultHook(FaultHook hook);

void traceStatement(std::string_view statement);
}  // namespace store

}  // namespace korvane
