#include <nlohmann/json.hpp>

#include "benchmarks/report.h"

namespace velbench {
namespace {

using Json = nlohmann::ordered_json;

Json FigureJson(const Figure& figure, const Figure& ours) {
  Json json = {{"nsPerPixel", nullptr}};
  if (figure.nanoseconds) json["nsPerPixel"] = *figure.nanoseconds;
  if (figure.nanoseconds && ours.nanoseconds && &figure != &ours) {
    json["oursDividedByIt"] = *ours.nanoseconds / *figure.nanoseconds;
  }
  if (!figure.note.empty()) json["note"] = figure.note;
  return json;
}

}  // namespace

std::string ToJson(const Report& report) {
  Json json = {{"processor", report.machine.processor},
               {"caveat", report.machine.caveat},
               {"kernels", report.kernels},
               {"missing", report.missing},
               {"rows", Json::array()}};
  for (const Row& row : report.rows) {
    Json peers = Json::object();
    for (size_t i = 0; i < report.peers.size(); ++i) {
      if (row.peers[i].nanoseconds) peers[report.peers[i]] = FigureJson(row.peers[i], row.ours);
    }
    json["rows"].push_back({{"method", row.method->call},
                            {"width", row.size.width},
                            {"height", row.size.height},
                            {"storage", row.storage->name},
                            {"condition", NameOf(row.condition)},
                            {"ours", FigureJson(row.ours, row.ours)},
                            {"memcpy", FigureJson(row.memcpy, row.ours)},
                            {"peers", std::move(peers)}});
  }
  return json.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace velbench
