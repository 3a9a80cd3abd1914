#include <algorithm>
#include <map>

#include "benchmarks/report.h"

namespace velbench {
namespace {

struct MarkdownTable {
  std::vector<std::string> storages = {};
  std::vector<std::string> sizes = {};
  std::vector<std::string> methods = {};
  /// By method and size; a figure for each storage.
  std::map<std::pair<std::string, std::string>, std::string> cells = {};
};

void AddOnce(std::vector<std::string>& names, const std::string& name) {
  if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

void Append(std::string& text, const char* separator, const std::string& more) {
  text += (text.empty() ? "" : separator) + more;
}

std::string Rendered(const MarkdownTable& table, const std::string& title) {
  std::string storages, head = "| |", rule = "\n|---|", rows;
  for (const std::string& storage : table.storages) Append(storages, " / ", storage);
  for (const std::string& size : table.sizes) {
    head += " " + size + " |";
    rule += "---|";
  }
  for (const std::string& method : table.methods) {
    rows += "\n| `" + method + "` |";
    for (const std::string& size : table.sizes) {
      const auto cell = table.cells.find({method, size});
      rows += " " + (cell == table.cells.end() ? "" : cell->second) + " |";
    }
  }
  return title + ", " + storages + ":\n\n" + head + rule + rows + "\n\n";
}

}  // namespace

std::string ToMarkdown(const Report& report) {
  std::string text;
  for (const Condition condition : {Condition::kFresh, Condition::kWarm}) {
    for (const bool small : {false, true}) {
      MarkdownTable table;
      for (const Row& row : report.rows) {
        if (row.condition != condition || row.method->work == Work::kOwn) continue;
        if (IsSmall(row.size) != small) continue;
        const bool known = row.ours.nanoseconds && row.memcpy.nanoseconds;
        const std::string figure =
            known ? Digits(*row.ours.nanoseconds / (small ? 1 : *row.memcpy.nanoseconds)) : "-";
        AddOnce(table.storages, row.storage->name);
        AddOnce(table.sizes, NameOf(row.size));
        AddOnce(table.methods, row.method->call);
        Append(table.cells[{row.method->call, NameOf(row.size)}], " / ", figure);
      }
      if (table.methods.empty()) continue;
      text += Rendered(table, std::string(NameOf(condition)) +
                                  (small ? ", nanoseconds a pixel" : ", times as long as memcpy"));
    }
  }
  return text;
}

}  // namespace velbench
