#include "output.hpp"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>

namespace korvane::cli {
namespace {

// Display width: the texts are UTF-8, and a continuation byte takes no column.
std::size_t width(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string grouped(std::string digits) {
  std::string out;
  const std::size_t n = digits.size();
  for (std::size_t i = 0; i < n; ++i) {
    if (i && (n - i) % 3 == 0) out += '.';
    out += digits[i];
  }
  return out;
}

}  // namespace

std::string amountText(double value) {
  if (!std::isfinite(value)) return numberText(value);
  std::string text = numberText(std::fabs(value));
  const auto point = text.find('.');
  std::string whole = text.substr(0, point);
  std::string fraction = point == std::string::npos ? "" : "," + text.substr(point + 1);
  if (whole.find_first_not_of("0123456789") != std::string::npos) return numberText(value);
  return (value < 0 ? "-" : "") + grouped(whole) + fraction;
}

std::string amountText(const Variant& value) {
  if (value.isNull() || value.isEmpty()) return "-";
  if (value.isNumeric()) return amountText(value.toDouble());
  double number = 0;
  if (value.isText() && parseNumber(value.text(), number)) return amountText(number);
  return value.text();
}

std::string npwpText(std::string_view npwp) {
  if (npwp.size() != 15 || npwp.find_first_not_of("0123456789") != std::string_view::npos) {
    return std::string(npwp);
  }
  std::string s(npwp);
  return s.substr(0, 2) + "." + s.substr(2, 3) + "." + s.substr(5, 3) + "." + s.substr(8, 1) + "-" +
         s.substr(9, 3) + "." + s.substr(12, 3);
}

// Table ----------------------------------------------------------------------------------------

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

void Table::add(std::vector<std::string> cells) {
  cells.resize(columns_.size());
  rows_.push_back(std::move(cells));
}

void Table::rule() { rows_.emplace_back(); }

void Table::print(std::ostream& out, std::string_view indent) const {
  std::vector<std::size_t> widths;
  for (const auto& column : columns_) widths.push_back(width(column.title));
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], width(row[i]));
  }
  auto line = [&](const std::vector<std::string>& cells) {
    std::string text(indent);
    for (std::size_t i = 0; i < cells.size(); ++i) {
      const std::string pad(widths[i] - width(cells[i]), ' ');
      const bool last = i + 1 == cells.size();
      if (columns_[i].align == Align::Right) {
        text += pad + cells[i];
      } else {
        text += cells[i];
        if (!last) text += pad;
      }
      if (!last) text += "  ";
    }
    while (!text.empty() && text.back() == ' ') text.pop_back();
    out << text << '\n';
  };
  std::vector<std::string> titles;
  for (const auto& column : columns_) titles.push_back(column.title);
  line(titles);
  std::size_t total = 0;
  for (auto w : widths) total += w + 2;
  const std::string rule(std::string(indent) + std::string(total > 2 ? total - 2 : 0, '-'));
  out << rule << '\n';
  for (const auto& row : rows_) {
    if (row.empty()) {
      out << rule << '\n';
    } else {
      line(row);
    }
  }
}

// JsonWriter -----------------------------------------------------------------------------------

void JsonWriter::separate() {
  if (afterKey_) {
    afterKey_ = false;
    return;
  }
  if (!first_.empty()) {
    if (!first_.back()) out_ << ',';
    first_.back() = false;
  }
}

JsonWriter& JsonWriter::beginObject() {
  separate();
  out_ << '{';
  first_.push_back(true);
  return *this;
}

JsonWriter& JsonWriter::endObject() {
  out_ << '}';
  first_.pop_back();
  return *this;
}

JsonWriter& JsonWriter::beginArray() {
  separate();
  out_ << '[';
  first_.push_back(true);
  return *this;
}

JsonWriter& JsonWriter::endArray() {
  out_ << ']';
  first_.pop_back();
  return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
  value(name);
  out_ << ':';
  afterKey_ = true;
  return *this;
}

JsonWriter& JsonWriter::value(std::string_view text) {
  separate();
  out_ << '"';
  for (char c : text) {
    switch (c) {
      case '"':
        out_ << "\\\"";
        break;
      case '\\':
        out_ << "\\\\";
        break;
      case '\n':
        out_ << "\\n";
        break;
      case '\r':
        out_ << "\\r";
        break;
      case '\t':
        out_ << "\\t";
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          char escaped[8];
          std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
          out_ << escaped;
        } else {
          out_ << c;
        }
    }
  }
  out_ << '"';
  return *this;
}

JsonWriter& JsonWriter::value(double number) {
  if (!std::isfinite(number)) return null();
  separate();
  out_ << numberText(number);
  return *this;
}

JsonWriter& JsonWriter::value(long long number) {
  separate();
  out_ << number;
  return *this;
}

JsonWriter& JsonWriter::value(bool flag) {
  separate();
  out_ << (flag ? "true" : "false");
  return *this;
}

JsonWriter& JsonWriter::null() {
  separate();
  out_ << "null";
  return *this;
}

JsonWriter& JsonWriter::value(const Variant& v) {
  switch (v.type()) {
    case VariantType::Empty:
    case VariantType::Null:
    case VariantType::Recordset:
      return null();
    case VariantType::Boolean:
      return value(v.toBool());
    case VariantType::Integer:
    case VariantType::Long:
    case VariantType::Double:
      return value(v.toDouble());
    case VariantType::Date:
      return value(v.toDate().iso());
    case VariantType::String:
      return value(v.text());
  }
  return null();
}

void JsonWriter::finish() { out_ << '\n' << std::flush; }

// Progress -------------------------------------------------------------------------------------

Progress::Progress(std::string label, long total, long worthShowingFrom)
    : label_(std::move(label)),
      total_(total),
      shown_(total >= worthShowingFrom && total > 0 && isatty(STDERR_FILENO) == 1) {
  if (shown_) draw(0);
}

// A bar left unfinished (the job failed) only gets its line ended.
Progress::~Progress() {
  if (shown_ && !finished_) std::cerr << '\n' << std::flush;
}

void Progress::update(long done) {
  if (!shown_ || finished_) return;
  const auto now = std::chrono::steady_clock::now();
  if (now - lastDraw_ < std::chrono::milliseconds(100)) return;
  draw(done);
}

void Progress::draw(long done) {
  constexpr int kBarWidth = 30;
  const long clamped = std::clamp(done, 0L, total_);
  const int percent = static_cast<int>(clamped * 100 / total_);
  lastDraw_ = std::chrono::steady_clock::now();
  if (percent == lastPercent_) return;
  lastPercent_ = percent;
  const int filled = percent * kBarWidth / 100;
  std::cerr << '\r' << label_ << " [" << std::string(static_cast<std::size_t>(filled), '#')
            << std::string(static_cast<std::size_t>(kBarWidth - filled), ' ') << "] " << percent
            << "% (" << clamped << "/" << total_ << ")" << std::flush;
}

void Progress::finish() {
  if (!shown_ || finished_) return;
  finished_ = true;
  lastPercent_ = -1;
  draw(total_);
  std::cerr << '\n' << std::flush;
}

}  // namespace korvane::cli
