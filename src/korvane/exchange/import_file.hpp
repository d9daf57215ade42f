// Reading an export file back: the header line, ";"-separated values, CR LF or LF line ends.
// The whole file is checked before anything is written; every bad line is reported with its
// number and the title of the column at fault, all at once.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace korvane::exchange {

struct ImportLine {
  int lineNumber = 0;                    // 1-based, the header is line 1
  std::array<std::string, 39> values{};  // by column, as written (blanks trimmed)
  const std::string& formCode() const { return values[0]; }
  std::int16_t month = 0;
  std::int16_t year = 0;
  std::int16_t correction = 0;
};

struct ImportProblem {
  int lineNumber = 0;
  std::string column;  // the column's title; empty for a problem of the whole line
  std::string text;
};

struct ImportFile {
  std::vector<ImportLine> lines;
  std::vector<ImportProblem> problems;
};

// Checks and splits the text of a file. A data line holds 39 values each followed by ";" (the
// final ";" may be missing); its form code is one of the eight the export writes; month 1-12,
// year and correction whole numbers; numeric columns empty or numbers; date columns empty or
// DD/MM/YYYY; no value may hold a single quote (the store could not take it). Never throws on
// bad text: everything wrong ends up in `problems`.
ImportFile readImportText(std::string_view text);

// The problems as one message, a line each: `Line 3, "Masa Pajak": month 13 is not 1 to 12`.
std::string describeProblems(const std::vector<ImportProblem>& problems, std::size_t limit = 50);

}  // namespace korvane::exchange
