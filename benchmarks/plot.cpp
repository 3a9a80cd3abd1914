#include <algorithm>
#include <cmath>

#include "benchmarks/report.h"
#include "imaging/canvas.h"

namespace velbench {
namespace {

using imaging::DrawText;
using imaging::FillRectangle;

constexpr int kWidth = 960, kLeft = 180, kRight = 940, kTop = 108, kDot = 10, kLane = kDot + 2;
constexpr int kRowGap = 14;
constexpr int kTextSize = 13, kTextHeight = imaging::TextHeight(kTextSize);
constexpr sim::Rgba kInk = {40, 40, 40}, kGrid = {225, 225, 225};
constexpr sim::Rgba kOurs = {214, 39, 40};
constexpr sim::Rgba kPeerColors[] = {{31, 119, 180},  {255, 127, 14}, {44, 160, 44},
                                     {148, 103, 189}, {140, 86, 75},  {127, 127, 127}};

// What the picture shows: one size, storage and condition.
std::vector<const Row*> RowsToShow(const Report& report) {
  const auto rank = [](const Row& row) {
    const double screens = double(row.size.width) * row.size.height / (1920 * 1080);
    return std::pair(row.condition == Condition::kFresh, -std::abs(std::log2(screens)));
  };
  const Row& best = *std::max_element(report.rows.begin(), report.rows.end(),
                                      [&](auto& a, auto& b) { return rank(a) < rank(b); });
  std::vector<const Row*> shown;
  for (const Row& row : report.rows) {
    const bool same = rank(row) == rank(best) && row.storage == best.storage;
    if (same && row.method->work != Work::kOwn) shown.push_back(&row);
  }
  return shown;
}

std::optional<double> Times(const Figure& figure, const Row& row) {
  if (!figure.nanoseconds || !row.memcpy.nanoseconds) return std::nullopt;
  return *figure.nanoseconds / *row.memcpy.nanoseconds;
}

/// From left to right: the time that memcpy takes, halved and doubled as often as the figures need.
class Axis {
 public:
  explicit Axis(const std::vector<const Row*>& rows) {
    for (const Row* const row : rows) {
      Include(Times(row->ours, *row));
      for (const Figure& figure : row->peers) Include(Times(figure, *row));
    }
  }

  int PlaceOf(double times) const {
    const double part = (std::log2(times) - first_) / (last_ - first_);
    return kLeft + static_cast<int>(std::lround(part * (kRight - kLeft)));
  }

  void Draw(imaging::Image& image) const {
    for (int doubling = first_; doubling <= last_; ++doubling) {
      const int x = PlaceOf(std::exp2(doubling));
      FillRectangle(image, x, kTop - 4, 1, image.height - kTop, doubling == 0 ? kInk : kGrid);
      const std::string text = (doubling < 0 ? "1/" : "") + std::to_string(1 << std::abs(doubling));
      DrawText(image, x - imaging::TextWidth(kTextSize, text) / 2, kTop - 5 - kTextHeight,
               kTextSize, text, kInk);
    }
  }

 private:
  void Include(std::optional<double> times) {
    if (!times) return;
    first_ = std::min(first_, static_cast<int>(std::floor(std::log2(*times))));
    last_ = std::max(last_, static_cast<int>(std::ceil(std::log2(*times))));
  }

  int first_ = -1;
  int last_ = 3;
};

void DrawDot(imaging::Image& image, int centreX, int centreY, sim::Rgba color,
             bool hollow = false) {
  const int x = centreX - kDot / 2, y = centreY - kDot / 2, edge = 2;
  FillRectangle(image, x, y, kDot, kDot, color);
  if (hollow) {
    FillRectangle(image, x + edge, y + edge, kDot - 2 * edge, kDot - 2 * edge, {255, 255, 255});
  }
}

struct Marker {
  int x;
  sim::Rgba color;
  /// Of a figure with a note.
  bool hollow;
  int lane = 0;
};

/// Markers that would hide one another lie in lanes of their own.
std::vector<Marker> Markers(const Row& row, const Axis& axis) {
  std::vector<Marker> markers;
  const auto add = [&](const Figure& figure, sim::Rgba color) {
    if (const auto times = Times(figure, row)) {
      markers.push_back({axis.PlaceOf(*times), color, !figure.note.empty()});
    }
  };
  add(row.ours, kOurs);
  for (size_t i = 0; i < row.peers.size(); ++i) {
    add(row.peers[i], kPeerColors[i % std::size(kPeerColors)]);
  }
  std::stable_sort(markers.begin(), markers.end(),
                   [](const Marker& a, const Marker& b) { return a.x < b.x; });
  std::vector<int> ends;  // of each lane, so far
  for (Marker& marker : markers) {
    const auto lane =
        std::find_if(ends.begin(), ends.end(), [&](int end) { return end < marker.x; });
    marker.lane = static_cast<int>(lane - ends.begin());
    if (lane == ends.end()) ends.push_back(0);
    ends[static_cast<size_t>(marker.lane)] = marker.x + kDot;
  }
  return markers;
}

int LaneCount(const std::vector<Marker>& markers) {
  int count = 1;
  for (const Marker& marker : markers) count = std::max(count, marker.lane + 1);
  return count;
}

void DrawLegend(imaging::Image& image, const Report& report) {
  int x = kLeft;
  const auto entry = [&](const std::string& name, sim::Rgba color) {
    DrawDot(image, x, kTop - 46, color);
    DrawText(image, x + kDot, kTop - 46 - kTextHeight / 2, kTextSize, name, kInk);
    x += imaging::TextWidth(kTextSize, name) + 4 * kDot;
  };
  entry("VelPicture", kOurs);
  for (size_t i = 0; i < report.peers.size(); ++i) {
    entry(report.peers[i], kPeerColors[i % std::size(kPeerColors)]);
  }
}

}  // namespace

imaging::Image Plot(const Report& report) {
  const std::vector<const Row*> rows = RowsToShow(report);
  const Axis axis(rows);
  int height = kTop + kRowGap;
  for (const Row* const row : rows) height += LaneCount(Markers(*row, axis)) * kLane + kRowGap;
  imaging::Image image(kWidth, height, {255, 255, 255});
  if (rows.empty()) return image;
  const Row& first = *rows.front();
  DrawText(image, 16, 12, 19,
           "Times as long as memcpy of the source: " + NameOf(first.size) + ", " +
               first.storage->name + ", " + NameOf(first.condition) + ", " + report.kernels,
           kInk);
  DrawText(image, 16, 36, kTextSize,
           "Lower is better: the further to the left, the faster. Hollow: not quite the same work.",
           kInk);
  DrawText(image, kLeft, 50, kTextSize, report.machine.caveat, kOurs);
  axis.Draw(image);
  DrawLegend(image, report);
  int y = kTop;
  for (const Row* const row : rows) {
    const std::vector<Marker> markers = Markers(*row, axis);
    const int lanes = LaneCount(markers);
    DrawText(image, 16, y + (lanes * kLane - kTextHeight) / 2, kTextSize, row->method->call, kInk);
    for (const Marker& marker : markers) {
      DrawDot(image, marker.x, y + marker.lane * kLane + kLane / 2, marker.color, marker.hollow);
    }
    y += lanes * kLane + kRowGap;
  }
  return image;
}

}  // namespace velbench
