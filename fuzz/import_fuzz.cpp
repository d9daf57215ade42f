// Import files come from other offices and other programs, so any text must be read without
// failing, and what the reader accepts must survive being written again: every accepted line,
// its values joined the export's way, reads back as the same line with no problem. Problems
// name lines of the file and describe as one message.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "check.hpp"
#include "korvane/exchange/export.hpp"
#include "korvane/exchange/import_file.hpp"

namespace {

using korvane::fuzz::check;
namespace exchange = korvane::exchange;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  // Most inputs get the real header so the fuzzer spends its time on the data lines.
  std::string text;
  if (!input.empty() && input.front() == 'H') {
    text = exchange::headerLine() + "\r\n";
    input.remove_prefix(1);
  }
  text.append(input);

  const exchange::ImportFile file = exchange::readImportText(text);
  std::size_t lineCount = 1;
  for (char c : text) lineCount += c == '\n';
  for (const auto& problem : file.problems) {
    check(problem.lineNumber >= 1 && static_cast<std::size_t>(problem.lineNumber) <= lineCount);
    check(!problem.text.empty());
  }
  (void)exchange::describeProblems(file.problems);
  (void)exchange::describeProblems(file.problems, 1);

  std::string again = exchange::headerLine() + "\r\n";
  int previous = 1;
  for (const auto& line : file.lines) {
    check(line.lineNumber > previous);
    previous = line.lineNumber;
    check(line.month >= 1 && line.month <= 12);
    for (const auto& value : line.values) {
      check(value.find(';') == std::string::npos && value.find('\n') == std::string::npos);
      check(value.find('\'') == std::string::npos);
      again += value;
      again += ';';
    }
    again += "\r\n";
  }
  const exchange::ImportFile reread = exchange::readImportText(again);
  check(reread.problems.empty());
  check(reread.lines.size() == file.lines.size());
  for (std::size_t i = 0; i < reread.lines.size(); ++i) {
    check(reread.lines[i].values == file.lines[i].values);
    check(reread.lines[i].month == file.lines[i].month);
    check(reread.lines[i].year == file.lines[i].year);
    check(reread.lines[i].correction == file.lines[i].correction);
  }
  return 0;
}
