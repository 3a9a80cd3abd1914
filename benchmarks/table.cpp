#include <cstdio>

#include "benchmarks/report.h"

namespace velbench {
namespace {

constexpr int kNameWidth = 20;
constexpr int kColumnWidth = 15;

// "0.52 x1.34a": theirs, and ours divided by theirs. The mark stands right of the column.
std::string Cell(const Figure& figure, const Figure& ours, char mark) {
  std::string text = figure.nanoseconds ? Digits(*figure.nanoseconds) : "-";
  if (figure.nanoseconds && ours.nanoseconds) {
    text += " x" + Digits(*ours.nanoseconds / *figure.nanoseconds);
  }
  return text + mark;
}

}  // namespace

std::string Digits(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.*f",
                value < 1     ? 3
                : value < 10  ? 2
                : value < 100 ? 1
                              : 0,
                value);
  return text;
}

Table::Table(const Report& report) {
  std::printf("%s, kernels %s\n", report.machine.processor.c_str(), report.kernels.c_str());
  if (!report.machine.caveat.empty()) std::printf("NOTE: %s\n", report.machine.caveat.c_str());
  for (const std::string& text : report.missing) std::printf("NOTE: %s\n", text.c_str());
  std::printf("Nanoseconds per source pixel; x: ours divided by the column's.\n\n");
  std::printf("%-*s%*s ", kNameWidth, "", kColumnWidth / 2, "ours");
  std::printf("%*s ", kColumnWidth, "memcpy");
  for (const std::string& peer : report.peers) std::printf("%*s ", kColumnWidth, peer.c_str());
  std::printf("\n");
}

char Table::Mark(const std::string& note) {
  if (note.empty()) return ' ';
  return marks_.emplace(note, static_cast<char>('a' + marks_.size())).first->second;
}

void Table::PrintGroup(const Group& group) {
  std::printf("\n%s\n", NameOf(group).c_str());
  marks_.clear();
}

void Table::PrintRow(const Row& row) {
  std::printf("%-*s", kNameWidth, row.method->call);
  const Figure nothing;
  std::printf("%*s", kColumnWidth / 2 + 1, Cell(row.ours, nothing, Mark(row.ours.note)).c_str());
  std::printf("%*s", kColumnWidth + 1, Cell(row.memcpy, row.ours, ' ').c_str());
  for (const Figure& figure : row.peers) {
    std::printf("%*s", kColumnWidth + 1, Cell(figure, row.ours, Mark(figure.note)).c_str());
  }
  std::printf("\n");
  std::fflush(stdout);
}

void Table::PrintNotes() const {
  std::map<char, std::string> notes;
  for (const auto& [note, mark] : marks_) notes[mark] = note;
  for (const auto& [mark, note] : notes) std::printf("%c: %s\n", mark, note.c_str());
}

}  // namespace velbench
