// velbench: how long the Picture methods take, beside memcpy and other libraries. Exit status 0
// when all was measured, 1 when a method failed, 2 when the command line is not right.

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <exception>
#include <map>

#include "benchmarks/method_timer.h"
#include "benchmarks/options.h"
#include "benchmarks/peers/peers.h"
#include "benchmarks/report.h"
#include "benchmarks/timing.h"
#include "imaging/image_file.h"
#include "imaging/output_file.h"

namespace velbench {
namespace {

enum ExitStatus { kDone = 0, kFailed = 1, kWrong = 2 };

constexpr Effort kThorough = {5, 0.05};
constexpr Effort kThoroughWhenSmall = {5, 0.02};
constexpr const char* kHostIncluded =
    "with the simulated host's own work, about a microsecond for each picture made";
constexpr Effort kQuick = {3, 0.005};

Size Canvas(const MethodCase& method, Size size) {
  const double radians = method.angleDegrees * std::numbers::pi / 180;
  const double sine = std::abs(std::sin(radians)), cosine = std::abs(std::cos(radians));
  switch (method.work) {
    case Work::kQuarterLeft:
    case Work::kQuarterRight:
      return {size.height, size.width};
    case Work::kRotate:
      return {static_cast<int>(size.height * sine + size.width * cosine) + 1,
              static_cast<int>(size.width * sine + size.height * cosine) + 1};
    default:
      return size;
  }
}

/// Measures the rows of one group.
class GroupRun {
 public:
  /// The first build is ours, a second one stands in the last column, behind the peers.
  GroupRun(const Group& group, bool quick, const std::vector<Build>& builds,
           const std::vector<Peer>& peers)
      : group_(group),
        peers_(peers),
        effort_(quick                 ? kQuick
                : IsSmall(group.size) ? kThoroughWhenSmall
                                      : kThorough),
        timer_(group, builds),
        buildCount_(builds.size()),
        byteCount_(static_cast<size_t>(group.size.width) * group.size.height *
                   group.storage->bytesPerPixel),
        pixels_(NewPixels(byteCount_)) {
    for (size_t i = 0; i < byteCount_; ++i) pixels_[i] = static_cast<uint8_t>(i * 37 + i / 251);
  }

  Row Measure(const MethodCase& method) {
    Row row = {&method,
               group_.storage,
               group_.size,
               group_.condition,
               {{}, IsSmall(group_.size) ? kHostIncluded : method.note},
               {},
               std::vector<Figure>(peers_.size() + buildCount_ - 1)};
    std::vector<Column> builds, columns = {{"memcpy", Timed([&] { Copy(); })}};
    std::vector<Figure*> buildFigures, figures = {&row.memcpy};
    for (size_t i = 0; i < buildCount_; ++i) {
      builds.push_back({"build " + std::to_string(i), [&, i] { return timer_.Run(method, i); }});
      buildFigures.push_back(i == 0 ? &row.ours : &row.peers.back());
    }
    for (size_t i = 0; i < peers_.size(); ++i) {
      PeerWork work = Prepare(peers_[i], method);
      if (!work.run) continue;
      row.peers[i].note = work.note;
      columns.push_back({peers_[i].name, Timed(std::move(work.run))});
      figures.push_back(&row.peers[i]);
    }
    if (buildCount_ > 1) {
      Fill(buildFigures, TimeByTurns(builds, effort_));
    } else {
      columns.push_back(builds[0]);
      figures.push_back(&row.ours);
    }
    Fill(figures, TimeColumns(columns, effort_));
    return row;
  }

 private:
  void Fill(const std::vector<Figure*>& figures,
            const std::vector<std::optional<double>>& seconds) const {
    for (size_t i = 0; i < figures.size(); ++i) {
      if (seconds[i]) {
        figures[i]->nanoseconds = *seconds[i] * 1e9 / group_.size.width / group_.size.height;
      } else {
        figures[i]->note = "failed";
      }
    }
  }

  static std::function<std::optional<double>()> Timed(std::function<void()> work) {
    return [work = std::move(work)] {
      const auto start = std::chrono::steady_clock::now();
      work();
      const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
      return time.count();
    };
  }

  void Copy() const {
    const auto copy = NewPixels(byteCount_);
    std::memcpy(copy.get(), pixels_.get(), byteCount_);
    // The compiler shall not see that nobody reads it.
    asm volatile("" : : "r"(copy.get()) : "memory");
  }

  PeerWork Prepare(const Peer& peer, const MethodCase& method) const {
    if (!peer.problem.empty() || method.work == Work::kOwn) return {};
    return peer.prepare({method.work, method.inPlace, method.angleDegrees, group_.size,
                         Canvas(method, group_.size), group_.storage->bytesPerPixel,
                         pixels_.get()});
  }

  const Group& group_;
  const std::vector<Peer>& peers_;
  Effort effort_;
  MethodTimer timer_;
  size_t buildCount_;
  size_t byteCount_;
  std::unique_ptr<uint8_t[]> pixels_;
};

/// Removes the groups whose storage cannot be had, and says why in the report.
void KeepAvailable(std::vector<Group>& groups, Report& report) {
  std::map<std::string, std::string> problems;
  for (const Group& group : groups) {
    if (!problems.contains(group.storage->name)) {
      problems[group.storage->name] = PrepareStorage(group.storage->host.opaque);
    }
  }
  for (const auto& [name, problem] : problems) {
    if (!problem.empty()) report.missing.push_back(name + " pictures are left out: " + problem);
  }
  std::erase_if(groups, [&](const Group& group) { return !problems[group.storage->name].empty(); });
}

ExitStatus Run(const Options& options) {
  std::vector<Group> groups = SelectGroups(options.quick, options.filter);
  if (groups.empty()) {
    throw std::runtime_error(
        "--filter matches no row: rows are Rotate90Vel/1920x1080/console/warm");
  }
  const bool compares = !options.against.empty();
  std::vector<Build> builds = {FindBuild("", options.kernels)};
  if (compares) builds.push_back(FindBuild(options.against, options.kernels));
  Report report = {ThisMachine(), builds[0].kernels, {}};
  const std::vector<Peer> peers = compares ? std::vector<Peer>() : OpenPeers();
  for (const Peer& peer : peers) {
    report.peers.push_back(peer.name);
    if (!peer.problem.empty()) {
      report.missing.push_back(std::string(peer.name) + " is left out: " + peer.problem);
    }
  }
  if (compares) report.peers.push_back("the other " + builds[1].kernels);
  KeepAvailable(groups, report);
  if (groups.empty()) throw std::runtime_error(report.missing.back());

  Table table(report);
  bool good = true;
  for (const Group& group : groups) {
    table.PrintGroup(group);
    GroupRun run(group, options.quick, builds, peers);
    for (const MethodCase* const method : group.methods) {
      report.rows.push_back(run.Measure(*method));
      table.PrintRow(report.rows.back());
      good = good && report.rows.back().ours.nanoseconds;
    }
    table.PrintNotes();
  }
  if (!options.json.empty()) imaging::ReplaceFile(options.json, ToJson(report));
  if (!options.markdown.empty()) imaging::ReplaceFile(options.markdown, ToMarkdown(report));
  if (!options.plot.empty()) imaging::WriteImage(options.plot, Plot(report));
  return good ? kDone : kFailed;
}

int Main(int argc, const char* const* argv) {
  try {
    const auto options = ParseOptions(argc, argv);
    return options ? Run(*options) : kDone;
  } catch (const std::exception& problem) {
    std::fflush(stdout);
    std::fprintf(stderr, "velbench: %s\n", problem.what());
    return kWrong;
  }
}

}  // namespace
}  // namespace velbench

int main(int argc, char** argv) { return velbench::Main(argc, argv); }
