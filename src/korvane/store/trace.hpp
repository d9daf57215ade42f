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
void traceStatement(std::string_view statement);
}  // namespace store

}  // namespace korvane
