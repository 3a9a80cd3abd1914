#include <algorithm>
#include <cmath>

#include "benchmarks/report.h"
#include "imaging/canvas.h"

namespace velbench {
namespace {

using imaging::DrawText;
using imaging::FillRectangle;
using imaging::TextWidth;

constexpr int kWidth = 960, kLeft = 180, kRight = 940, kTop = 126, kRowGap = 12;
constexpr int kTitleSize = 19, kTextSize = 13, kTextHeight = imaging::TextHeight(kTextSize);
constexpr int kReach = 6, kMarker = 2 * kReach + 1, kLane = kMarker + 1;
constexpr double kEdge = 1.6;  // of hollow markers
constexpr sim::Rgba kPaper = {255, 255, 255}, kInk = {40, 40, 40}, kGrid = {225, 225, 225};

/// How markers of one column look: their colour, and how far outside the edge a point lies that is
/// (x, y) from the centre (inside: negative).
struct Style {
  sim::Rgba color;
  double (*outside)(double x, double y);
};

double Triangle(double x, double y) {
  return std::max(y - 4.5, std::abs(x) * 0.866 - (y + 6.5) * 0.5);
}

// Colours that the colour-blind can tell apart (M. Okabe, K. Ito, "Color Universal Design", 2002).
constexpr Style kOurs = {{213, 94, 0},
                         [](double x, double y) { return std::sqrt(x * x + y * y) - kReach; }};
constexpr Style kPeers[] = {
    {{0, 114, 178}, [](double x, double y) { return std::max(std::abs(x), std::abs(y)) - 4.5; }},
    {{0, 158, 115}, Triangle},
    {{204, 121, 167}, [](double x, double y) { return (std::abs(x) + std::abs(y) - 6.5) * 0.707; }},
    {{230, 159, 0}, [](double x, double y) { return Triangle(x, -y); }},
    {{86, 180, 233},
     [](double x, double y) {
       const auto [shorter, longer] = std::minmax({std::abs(x), std::abs(y)});
       return std::max(longer - 5.5, shorter - 2.5);
     }},
    {{110, 110, 110},
     [](double x, double y) { return std::max(std::abs(x) - 2.5, std::abs(y) - 5.5); }},
};

const Style& StyleOf(size_t peer) { return kPeers[peer % std::size(kPeers)]; }

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
      DrawText(image, x - TextWidth(kTextSize, text) / 2, kTop - 6 - kTextHeight, kTextSize, text,
               kInk);
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

// What a marker covers, its edge moved inwards by `inset`.
void DrawShape(imaging::Image& image, int centreX, int centreY, const Style& style, double inset,
               sim::Rgba color) {
  imaging::Image shape(kMarker, kMarker, color);
  for (int y = 0; y < kMarker; ++y) {
    for (int x = 0; x < kMarker; ++x) {
      const double outside = style.outside(x - kReach, y - kReach) + inset;
      shape.At(x, y).alpha =
          static_cast<uint8_t>(std::lround(255 * std::clamp(0.5 - outside, 0.0, 1.0)));
    }
  }
  imaging::DrawImage(image, shape, centreX - kReach, centreY - kReach);
}

void DrawMarker(imaging::Image& image, int centreX, int centreY, const Style& style,
                bool hollow = false) {
  DrawShape(image, centreX, centreY, style, 0, style.color);
  if (hollow) DrawShape(image, centreX, centreY, style, kEdge, kPaper);
}

struct Marker {
  int x;
  const Style* style;
  /// Of a figure with a note.
  bool hollow;
  int lane = 0;
};

/// Markers that would hide one another lie in lanes of their own.
std::vector<Marker> Markers(const Row& row, const Axis& axis) {
  std::vector<Marker> markers;
  const auto add = [&](const Figure& figure, const Style& style) {
    if (const auto times = Times(figure, row)) {
      markers.push_back({axis.PlaceOf(*times), &style, !figure.note.empty()});
    }
  };
  add(row.ours, kOurs);
  for (size_t i = 0; i < row.peers.size(); ++i) add(row.peers[i], StyleOf(i));
  std::stable_sort(markers.begin(), markers.end(),
                   [](const Marker& a, const Marker& b) { return a.x < b.x; });
  std::vector<int> ends;  // of each lane, so far
  for (Marker& marker : markers) {
    const auto lane =
        std::find_if(ends.begin(), ends.end(), [&](int end) { return end < marker.x; });
    marker.lane = static_cast<int>(lane - ends.begin());
    if (lane == ends.end()) ends.push_back(0);
    ends[static_cast<size_t>(marker.lane)] = marker.x + kMarker;
  }
  return markers;
}

int LaneCount(const std::vector<Marker>& markers) {
  int count = 1;
  for (const Marker& marker : markers) count = std::max(count, marker.lane + 1);
  return count;
}

void DrawLegend(imaging::Image& image, const Report& report) {
  constexpr int kCentre = kTop - 38;
  int x = kLeft;
  const auto entry = [&](const std::string& name, const Style& style) {
    DrawMarker(image, x, kCentre, style);
    DrawText(image, x + kMarker, kCentre - kTextHeight / 2, kTextSize, name, kInk);
    x += TextWidth(kTextSize, name) + 3 * kMarker;
  };
  entry("VelPicture", kOurs);
  for (size_t i = 0; i < report.peers.size(); ++i) entry(report.peers[i], StyleOf(i));
}

}  // namespace

imaging::Image Plot(const Report& report) {
  const std::vector<const Row*> rows = RowsToShow(report);
  const Axis axis(rows);
  int height = kTop + kRowGap;
  for (const Row* const row : rows) height += LaneCount(Markers(*row, axis)) * kLane + kRowGap;
  imaging::Image image(kWidth, height, kPaper);
  if (rows.empty()) return image;
  const Row& first = *rows.front();
  DrawText(image, 16, 12, kTitleSize,
           "Times as long as memcpy of the source: " + NameOf(first.size) + ", " +
               first.storage->name + ", " + NameOf(first.condition) + ", " + report.kernels,
           kInk);
  DrawText(image, 16, 38, kTextSize,
           "Lower is better: the further to the left, the faster. Hollow: not quite the same work.",
           kInk);
  DrawText(image, 16, 38 + kTextHeight, kTextSize, report.machine.caveat, kOurs.color);
  axis.Draw(image);
  DrawLegend(image, report);
  int y = kTop;
  for (const Row* const row : rows) {
    const std::vector<Marker> markers = Markers(*row, axis);
    const int lanes = LaneCount(markers);
    DrawText(image, 16, y + (lanes * kLane - kTextHeight) / 2, kTextSize, row->method->call, kInk);
    for (const Marker& marker : markers) {
      DrawMarker(image, marker.x, y + marker.lane * kLane + kLane / 2, *marker.style,
                 marker.hollow);
    }
    y += lanes * kLane + kRowGap;
  }
  return image;
}

}  // namespace velbench
