#include <sstream>

#include "benchmarks/report.h"

namespace velbench {
namespace {

std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char letter : text) {
    if (letter == '"' || letter == '\\') quoted += '\\';
    quoted += static_cast<unsigned char>(letter) < ' ' ? ' ' : letter;
  }
  return quoted + '"';
}

// Commas between what is written one after the other.
class Items {
 public:
  std::ostream& Next(std::ostream& out) {
    out << separator_;
    separator_ = ",\n";
    return out;
  }

 private:
  const char* separator_ = "\n";
};

void WriteFigure(std::ostream& out, const Figure& figure, const Figure& ours) {
  out << "{\"nsPerPixel\": ";
  if (figure.nanoseconds) {
    out << *figure.nanoseconds;
  } else {
    out << "null";
  }
  if (figure.nanoseconds && ours.nanoseconds && &figure != &ours) {
    out << ", \"oursDividedByIt\": " << *ours.nanoseconds / *figure.nanoseconds;
  }
  if (!figure.note.empty()) out << ", \"note\": " << Quoted(figure.note);
  out << "}";
}

void WriteRow(std::ostream& out, const Row& row, const std::vector<std::string>& peers) {
  out << "    {\"method\": " << Quoted(row.method->call) << ", \"width\": " << row.size.width
      << ", \"height\": " << row.size.height << ", \"storage\": " << Quoted(row.storage->name)
      << ", \"condition\": " << Quoted(NameOf(row.condition)) << ",\n     \"ours\": ";
  WriteFigure(out, row.ours, row.ours);
  out << ",\n     \"memcpy\": ";
  WriteFigure(out, row.memcpy, row.ours);
  out << ",\n     \"peers\": {";
  Items items;
  for (size_t i = 0; i < peers.size(); ++i) {
    if (!row.peers[i].nanoseconds) continue;
    items.Next(out) << "      " << Quoted(peers[i]) << ": ";
    WriteFigure(out, row.peers[i], row.ours);
  }
  out << "}}";
}

}  // namespace

std::string ToJson(const Report& report) {
  std::ostringstream out;
  out << "{\n  \"processor\": " << Quoted(report.machine.processor)
      << ",\n  \"caveat\": " << Quoted(report.machine.caveat)
      << ",\n  \"kernels\": " << Quoted(report.kernels) << ",\n  \"missing\": [";
  Items missing;
  for (const std::string& text : report.missing) missing.Next(out) << "    " << Quoted(text);
  out << "],\n  \"rows\": [";
  Items rows;
  for (const Row& row : report.rows) WriteRow(rows.Next(out), row, report.peers);
  out << "]\n}\n";
  return out.str();
}

}  // namespace velbench
