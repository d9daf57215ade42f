// How the korvane tool writes what it shows: aligned tables and amounts for people, JSON for
// scripts, and a progress bar on a terminal.
#pragma once

#include <chrono>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "korvane/store/variant.hpp"

namespace korvane::cli {

// Amounts as Indonesian accountants write them: "1.234.567", fractions after ",". Null and
// Empty give "-"; text that is not a number is shown as it is.
std::string amountText(const Variant& value);
std::string amountText(double value);
// "012345678012000" -> "01.234.567.8-012.000"; other text unchanged.
std::string npwpText(std::string_view npwp);

class Table {
 public:
  enum class Align { Left, Right };
  struct Column {
    std::string title;
    Align align = Align::Left;
  };

  explicit Table(std::vector<Column> columns);
  void add(std::vector<std::string> cells);
  // A full-width rule before the next row (above a totals row).
  void rule();
  bool empty() const noexcept { return rows_.empty(); }
  void print(std::ostream& out, std::string_view indent = "") const;

 private:
  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;  // an empty row is a rule
};

// A streaming JSON writer: objects, arrays, and values in the order they are written.
class JsonWriter {
 public:
  explicit JsonWriter(std::ostream& out) : out_(out) {}
  JsonWriter& beginObject();
  JsonWriter& endObject();
  JsonWriter& beginArray();
  JsonWriter& endArray();
  JsonWriter& key(std::string_view name);
  JsonWriter& value(std::string_view text);
  JsonWriter& value(const char* text) { return value(std::string_view(text)); }
  JsonWriter& value(const std::string& text) { return value(std::string_view(text)); }
  JsonWriter& value(double number);
  JsonWriter& value(long long number);
  JsonWriter& value(int number) { return value(static_cast<long long>(number)); }
  JsonWriter& value(bool flag);
  JsonWriter& null();
  // Numbers as numbers, dates as "YYYY-MM-DD", Null and Empty as null, the rest as text.
  JsonWriter& value(const Variant& v);
  // Ends the document with a line break.
  void finish();

 private:
  void separate();
  std::ostream& out_;
  std::vector<bool> first_;  // per open container: nothing written in it yet
  bool afterKey_ = false;
};

// A progress bar on standard error, shown only when standard error is a terminal and the job
// is long enough to be worth watching.
class Progress {
 public:
  Progress(std::string label, long total, long worthShowingFrom = 1000);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  void update(long done);
  void finish();
  bool shown() const noexcept { return shown_; }

 private:
  void draw(long done);
  std::string label_;
  long total_;
  bool shown_;
  bool finished_ = false;
  int lastPercent_ = -1;
  std::chrono::steady_clock::time_point lastDraw_{};
};

}  // namespace korvane::cli
