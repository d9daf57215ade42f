// Korvane's one exception type. Everything inside the library throws it (or lets a store
// exception through to the failure wrapper, which turns it into one); the public operations
// never let it reach the host.
#pragma once

#include <stdexcept>
#include <string>

namespace korvane {

// Error numbers. The classic runtime numbers keep the values hosts of this kind of component
// already know; the store's failures carry the generic provider number with the store's own
// description; the component's own refusals have numbers of their own.
namespace errc {
inline constexpr long kInvalidProcedureCall = 5;
inline constexpr long kOverflow = 6;
inline constexpr long kTypeMismatch = 13;
inline constexpr long kInvalidUseOfNull = 94;
inline constexpr long kNoCurrentRecord = 3021;          // BOF or EOF is true
inline constexpr long kItemNotFound = 3265;             // no such field
inline constexpr long kStoreFailure = -2147467259;      // the store said no; description is its own
inline constexpr long kNotConnected = 3704;             // operation on a closed connection
inline constexpr long kQuoteRefused = 10001;            // a text value holds a single quote
inline constexpr long kWriteConflict = 10002;           // optimistic write-back found the row changed
inline constexpr long kSyntax = 10003;                  // Filter or SHAPE text not understood
inline constexpr long kUnknownClass = 10004;            // no class registered under that identifier
inline constexpr long kUnknownForm = 10005;             // no field list for a form code
inline constexpr long kNotUpdatable = 10006;            // recordset has no single base table
inline constexpr long kFile = 10007;                    // file could not be created or read
}  // namespace errc

class Error : public std::runtime_error {
 public:
  Error(long number, const std::string& description)
      : std::runtime_error(description), number_(number) {}
  long number() const noexcept { return number_; }
  std::string description() const { return what(); }

 private:
  long number_;
};

}  // namespace korvane
