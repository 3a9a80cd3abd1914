#pragma once

// What was measured, and its forms: a table that grows as rows come in, JSON, the tables of the
// documentation, and a picture.
// All figures are nanoseconds per pixel of the source.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "benchmarks/cases.h"
#include "benchmarks/machine.h"
#include "imaging/image.h"

namespace velbench {

struct Figure {
  /// Empty where there is nothing to measure, or it failed; the note then says so.
  std::optional<double> nanoseconds = {};
  std::string note = {};
};

struct Row {
  const MethodCase* method;
  const StorageCase* storage;
  Size size;
  Condition condition;
  Figure ours;
  Figure memcpy;
  /// One for each of the report's peers.
  std::vector<Figure> peers;
};

struct Report {
  Machine machine;
  std::string kernels;
  std::vector<std::string> peers;
  /// Libraries and storages that are not there, with the reason.
  std::vector<std::string> missing = {};
  std::vector<Row> rows = {};
};

class Table {
 public:
  /// Prints what the figures are and the columns' names.
  explicit Table(const Report& report);
  /// Begins a group: its name, then its rows, then what the marks beside its figures stand for.
  void PrintGroup(const Group& group);
  void PrintRow(const Row& row);
  void PrintNotes() const;

 private:
  char Mark(const std::string& note);

  std::map<std::string, char> marks_;
};

/// A figure as a person reads it: three digits that count.
std::string Digits(double value);

std::string ToJson(const Report& report);

/// Our own figures as tables in Markdown, fresh ones first, a column for each size: small pictures
/// in nanoseconds a pixel, large ones in times as long as copying the pixels. A cell has a figure
/// for each storage, in the order that its title tells.
std::string ToMarkdown(const Report& report);

/// The fresh rows (warm ones where there are none) of the size nearest to a screen's, of the first
/// storage that has such: how many times as long as copying the pixels each column took.
imaging::Image Plot(const Report& report);

}  // namespace velbench
