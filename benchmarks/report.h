#pragma once

// What was measured, and its three forms: a table that grows as rows come in, JSON, and a picture.
// All figures are nanoseconds per pixel of the source.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "benchmarks/cases.h"
#include "benchmarks/machine.h"
#include "cli/imaging/image.h"

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
  void PrintGroup(const Group& group);
  void PrintRow(const Row& row);
  /// What the marks beside the figures stand for.
  void PrintNotes() const;

 private:
  char Mark(const std::string& note);

  std::map<std::string, char> marks_;
};

std::string ToJson(const Report& report);

/// The largest pictures' warm rows (of the first storage that has such): how many times as long as
/// copying the pixels each column took.
velhost::Image Plot(const Report& report);

}  // namespace velbench
