// Fills a new store with one realistic period of a large collector: N slips and payment slips of
// every form, each with its list row, the list headers carrying their totals, and a main return
// computed from them. The rows go in directly, in one transaction, with packed texts built from
// the companion's field lists, so that a store of 100,000 rows takes seconds, not hours.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace korvane::bench {

// The period the generator fills; the defaults are the ones the benchmarks use.
struct Period {
  std::string npwp = "012345678901000";
  std::string name = "PT MAJU JAYA";
  std::string address = "JL. SUDIRMAN 1 JAKARTA";
  std::int16_t month = 5;
  std::int16_t year = 2013;
  std::int16_t correction = 0;
};

// How many rows of each kind a store of N holds. Slips share one number sequence
// ("000001/PPH22", ...); payment slips carry NTTPs of their own.
struct PeriodCounts {
  long f113303 = 0;
  long f113304 = 0;
  long f113304S = 0;
  long f113304A = 0;
  long f113305 = 0;
  long oilGasFinal = 0;
  long oilGasNotFinal = 0;
  long importSsp = 0;       // PPh22Impor
  long otherSsp = 0;        // PPh22
  long selfPaidImport = 0;  // PPh22ImporDbyrSdr

  long slips() const { return f113303 + f113304 + f113304S + f113304A + f113305; }
  long paymentSlips() const {
    return oilGasFinal + oilGasNotFinal + importSsp + otherSsp + selfPaidImport;
  }
  long total() const { return slips() + paymentSlips(); }
};

// The split of N over the forms: 30% F113303, 10% each of the three sector slips, 5% F113305,
// 10% final and 5% not-final oil-and-gas SSPs, 10% import, 5% other and 5% self-paid import SSPs.
PeriodCounts countsFor(long n);

// The slip number of the i-th slip (from 1) and the NTTP of the i-th payment slip.
std::string slipNumber(long i);
std::string paymentNumber(long i);

// A generated row the benchmarks edit or delete: its number (slip number or NTTP) and, for a
// payment slip, its sequence, commodity and buyer.
struct RowRef {
  std::string number;
  double seq = 0;
  std::string commodity;
  // The collected party (buyer): payment slips of a buyer without NPWP are found by him too.
  std::string partyNpwp;
  std::string partyName;
  std::string partyAddress;
};

// Up to `count` rows of `formCode` in a store of n, spread evenly over the period.
std::vector<RowRef> sampleRows(long n, std::string_view formCode, std::size_t count);

// Creates a new store at `path` (which must not exist) holding the period with n rows. The
// main return is computed and saved through CF113202 like a host would. Throws korvane::Error,
// also when the library reported a failure on the way.
PeriodCounts generateStore(const std::string& path, long n, const Period& period = {});

// The texts of the message boxes the library showed since the last call. The first call
// installs a recording message-box service for the whole process.
std::vector<std::string> takeMessages();

}  // namespace korvane::bench
