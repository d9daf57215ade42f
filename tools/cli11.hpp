// CLI11 for the tool's files. At -O2, GCC 12 reports a potential null dereference inside
// CLI11's string splitting (a vector<string> growing, inlined from the standard library): a
// false positive in code that is not ours, which would stop a -Werror build. The warning stays
// on for the tool's own code.
#pragma once

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnull-dereference"
#include <CLI/CLI.hpp>
#pragma GCC diagnostic pop
