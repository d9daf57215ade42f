#include "korvane/exchange/import_file.hpp"

#include <algorithm>

#include "korvane/exchange/export.hpp"
#include "korvane/store/variant.hpp"

namespace korvane::exchange {
namespace {

enum class ColumnKind { Text, Number, Date };

// What each column of the layout holds (the export writes "0" fillers under numeric titles).
constexpr ColumnKind kindOf(int column) {
  switch (column) {
    case 8:  // date
      return ColumnKind::Date;
    case 10:
    case 12:
    case 13:
    case 14:
    case 15:
    case 16:
    case 17:
    case 18:
    case 19:
    case 20:
    case 21:
    case 22:
    case 23:
    case 24:
    case 26:
    case 27:
    case 28:
    case 30:
    case 31:
    case 32:
    case 34:
    case 35:
    case 36:
    case 37:
      return ColumnKind::Number;
    default:
      return ColumnKind::Text;
  }
}

constexpr std::string_view kForms[] = {"F113303",    "F113304",          "F113304S",
                                       "F113304A",   "PPh22MigasFinal",  "PPh22MigasTdkFinal",
                                       "PPh22Impor", "PPh22ImporDbyrSdr"};

std::string trim(std::string_view text) {
  auto begin = text.find_first_not_of(' ');
  if (begin == std::string_view::npos) return {};
  auto end = text.find_last_not_of(' ');
  return std::string(text.substr(begin, end - begin + 1));
}

bool wholeNumber(const std::string& text, long low, long high, std::int16_t& out) {
  double value;
  // The range comes first: casting a number beyond long's range is undefined.
  if (!parseNumber(text, value) || !(value >= static_cast<double>(low)) ||
      !(value <= static_cast<double>(high)) ||
      value != static_cast<double>(static_cast<long>(value))) {
    return false;
  }
  out = static_cast<std::int16_t>(value);
  return true;
}

std::string shown(std::string_view value) {
  constexpr std::size_t kLongest = 40;
  std::string text(value.substr(0, kLongest));
  if (value.size() > kLongest) text += "...";
  return "\"" + text + "\"";
}

}  // namespace

ImportFile readImportText(std::string_view text) {
  ImportFile file;
  const auto titles = headerTitles();
  int lineNumber = 0;
  bool sawHeader = false;
  while (!text.empty()) {
    auto end = text.find('\n');
    auto raw = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    if (!raw.empty() && raw.back() == '\r') raw.remove_suffix(1);
    ++lineNumber;
    if (!sawHeader) {
      sawHeader = true;
      if (raw != headerLine()) {
        file.problems.push_back({lineNumber, "", "the header line is not the export's 39 titles"});
        return file;
      }
      continue;
    }
    if (raw.empty()) continue;  // a blank line (e.g. at the end) carries nothing

    std::vector<std::string_view> cells;
    std::string_view rest = raw;
    while (true) {
      auto sep = rest.find(';');
      cells.push_back(rest.substr(0, sep));
      if (sep == std::string_view::npos) break;
      rest.remove_prefix(sep + 1);
    }
    if (cells.size() == kColumns + 1 && cells.back().empty()) cells.pop_back();
    if (cells.size() != static_cast<std::size_t>(kColumns)) {
      auto values = cells.size() - (cells.size() > 1 && cells.back().empty() ? 1 : 0);
      file.problems.push_back({lineNumber, "",
                               "holds " + std::to_string(values) + " values instead of " +
                                   std::to_string(kColumns)});
      continue;
    }

    ImportLine line;
    line.lineNumber = lineNumber;
    bool good = true;
    auto problem = [&](int column, std::string what) {
      file.problems.push_back({lineNumber, titles[column], std::move(what)});
      good = false;
    };
    for (int c = 0; c < kColumns; ++c) {
      line.values[static_cast<std::size_t>(c)] = trim(cells[static_cast<std::size_t>(c)]);
      const auto& value = line.values[static_cast<std::size_t>(c)];
      if (value.find('\'') != std::string::npos) {
        problem(c, shown(value) + " holds a single quote, which the store cannot take");
        continue;
      }
      if (c < 4 || value.empty()) continue;
      switch (kindOf(c)) {
        case ColumnKind::Number: {
          double number;
          if (!parseNumber(value, number)) problem(c, shown(value) + " is not a number");
          break;
        }
        case ColumnKind::Date: {
          Date date;
          if (!Date::tryParse(value, date)) problem(c, shown(value) + " is not a date DD/MM/YYYY");
          break;
        }
        case ColumnKind::Text:
          break;
      }
    }
    if (std::find(std::begin(kForms), std::end(kForms), line.formCode()) == std::end(kForms)) {
      problem(0, shown(line.formCode()) + " is not a form code of the export");
    }
    if (!wholeNumber(line.values[1], 1, 12, line.month)) {
      problem(1, shown(line.values[1]) + " is not a month 1 to 12");
    }
    if (!wholeNumber(line.values[2], 1, 9999, line.year)) {
      problem(2, shown(line.values[2]) + " is not a year");
    }
    if (!wholeNumber(line.values[3], 0, 32767, line.correction)) {
      problem(3, shown(line.values[3]) + " is not a correction number");
    }
    if (good) file.lines.push_back(std::move(line));
  }
  if (!sawHeader) file.problems.push_back({1, "", "the file is empty"});
  return file;
}

std::string describeProblems(const std::vector<ImportProblem>& problems, std::size_t limit) {
  std::string out;
  std::size_t shownCount = 0;
  for (const auto& p : problems) {
    if (shownCount == limit) {
      out += "... and " + std::to_string(problems.size() - limit) + " more\r\n";
      break;
    }
    out += "Line " + std::to_string(p.lineNumber);
    if (!p.column.empty()) out += ", \"" + p.column + "\"";
    out += ": " + p.text + "\r\n";
    ++shownCount;
  }
  if (out.size() >= 2) out.resize(out.size() - 2);
  return out;
}

}  // namespace korvane::exchange
