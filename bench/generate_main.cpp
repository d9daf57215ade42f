// korvane_generate STORE N: makes a new store holding one period of N slips and payment slips,
// the same store the benchmarks measure on.
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

#include "bench/generator.hpp"
#include "korvane/store/error.hpp"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: korvane_generate STORE N\n"
                 "  makes the new store STORE with one period (05/2013, correction 0) of N slips\n"
                 "  and payment slips of every form\n";
    return 2;
  }
  char* end = nullptr;
  const long n = std::strtol(argv[2], &end, 10);
  if (!end || *end != '\0' || n < 0) {
    std::cerr << "korvane_generate: N must be a whole number, not \"" << argv[2] << "\"\n";
    return 2;
  }
  try {
    const auto counts = korvane::bench::generateStore(argv[1], n);
    std::cout << argv[1] << ": " << counts.slips() << " slips (F113303 " << counts.f113303
              << ", F113304 " << counts.f113304 << ", F113304S " << counts.f113304S << ", F113304A "
              << counts.f113304A << ", F113305 " << counts.f113305 << "), " << counts.paymentSlips()
              << " payment slips (oil and gas " << counts.oilGasFinal + counts.oilGasNotFinal
              << ", import " << counts.importSsp << ", other " << counts.otherSsp << ", self-paid "
              << counts.selfPaidImport << ")\n";
  } catch (const korvane::Error& e) {
    std::cerr << "korvane_generate: " << e.description() << "\n";
    return 1;
  } catch (const std::exception& e) {
    std::cerr << "korvane_generate: " << e.what() << "\n";
    return 1;
  }
  return 0;
}
