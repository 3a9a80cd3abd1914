#include "cli/sheet.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "imaging/canvas.h"

namespace velhost {
namespace {

using imaging::DrawImage;
using imaging::DrawText;
using imaging::FillCheckerboard;
using imaging::FillRectangle;
using imaging::TextHeight;
using imaging::TextWidth;

constexpr int kRowWidth = 1024;  // a sheet is not wider, unless one picture is
constexpr int kSmallSide = 200;  // pictures are made smaller only while one is longer
constexpr int kTitleSize = 15;
constexpr int kDetailSize = 13;
constexpr int kGap = 6;  // from a picture to its title
constexpr int kMargin = 12;
constexpr int kFrame = 3;
constexpr sim::Rgba kPaper{226, 228, 231};
constexpr sim::Rgba kInk{30, 34, 40};
constexpr sim::Rgba kFaint{92, 98, 106};
constexpr sim::Rgba kInPlace{196, 84, 16};

// Each pixel is the average of a square of the image's, weighted by their alphas.
Image Reduced(const Image& image, int divisor) {
  Image reduced(std::max(image.width / divisor, 1), std::max(image.height / divisor, 1));
  reduced.hasAlpha = image.hasAlpha;
  const auto count = static_cast<uint64_t>(divisor) * divisor;
  for (int y = 0; y < reduced.height; ++y) {
    for (int x = 0; x < reduced.width; ++x) {
      uint64_t red = 0, green = 0, blue = 0, alpha = 0;
      for (int i = 0; i < divisor * divisor; ++i) {
        const sim::Rgba& pixel = image.At(std::min(divisor * x + i % divisor, image.width - 1),
                                          std::min(divisor * y + i / divisor, image.height - 1));
        red += pixel.red * pixel.alpha;
        green += pixel.green * pixel.alpha;
        blue += pixel.blue * pixel.alpha;
        alpha += pixel.alpha;
      }
      const auto mean = [](uint64_t sum, uint64_t of) {
        return static_cast<uint8_t>(of == 0 ? 0 : (sum + of / 2) / of);
      };
      reduced.At(x, y) = {mean(red, alpha), mean(green, alpha), mean(blue, alpha),
                          mean(alpha, count)};
    }
  }
  return reduced;
}

/// How a picture is best asked for a method: with its defaults, and otherwise with these.
std::string CallOf(const sim::Method& method, const Image& image) {
  if (method.parameters.empty()) return method.name;
  if (method.name == "CloneVel") {
    return "CloneVel(" + std::to_string(image.width * 3 / 4) + ", " +
           std::to_string(image.height * 3 / 4) + ")";
  }
  return method.name + "(30)";
}

struct Cell {
  Image shown;  ///< empty where a method makes no picture
  std::string title;
  std::string detail;
  bool inPlace = false;
};

/// How pictures are shown: one scale for all, so that sizes can be compared.
struct Scale {
  int divisor = 1;
  int multiple = 1;

  int Of(int side) const { return std::max(side / divisor, side > 0 ? 1 : 0) * multiple; }
};

int LongestSide(const std::vector<Cell>& cells) {
  int longest = 1;
  for (const Cell& cell : cells) {
    longest = std::max({longest, cell.shown.width, cell.shown.height});
  }
  return longest;
}

int CellWidth(const Cell& cell, Scale scale) {
  return std::max({scale.Of(cell.shown.width), TextWidth(kTitleSize, cell.title),
                   TextWidth(kDetailSize, cell.detail)});
}

int CellHeight(const Cell& cell, Scale scale) {
  return scale.Of(cell.shown.height) + kGap + TextHeight(kTitleSize) + TextHeight(kDetailSize);
}

// As large as they are where they fit into one row. A photograph is made smaller, until it fits or
// is small; what is smaller than that anyway is made larger, so that its pixels show.
Scale ScaleFor(const std::vector<Cell>& cells) {
  const int longest = LongestSide(cells);
  const auto rowWidth = [&](Scale scale) {
    int width = kMargin;
    for (const Cell& cell : cells) width += CellWidth(cell, scale) + kMargin;
    return width;
  };
  Scale scale;
  while (longest / scale.divisor > kSmallSide && rowWidth(scale) > kRowWidth) ++scale.divisor;
  if (longest < kSmallSide) scale.multiple = kSmallSide / longest;
  return scale;
}

Image Scaled(const Image& image, Scale scale) {
  if (scale.multiple == 1) return Reduced(image, scale.divisor);
  Image larger(scale.Of(image.width), scale.Of(image.height));
  for (int y = 0; y < larger.height; ++y) {
    for (int x = 0; x < larger.width; ++x) {
      larger.At(x, y) = image.At(x / scale.multiple, y / scale.multiple);
    }
  }
  return larger;
}

void DrawCell(Image& sheet, int x, int y, const Cell& cell, Scale scale) {
  if (cell.shown.width > 0) {
    const Image shown = Scaled(cell.shown, scale);
    if (cell.inPlace) {
      FillRectangle(sheet, x - kFrame, y - kFrame, shown.width + 2 * kFrame,
                    shown.height + 2 * kFrame, kInPlace);
    }
    FillCheckerboard(sheet, x, y, shown.width, shown.height);
    DrawImage(sheet, shown, x, y);
    y += shown.height;
  }
  y += kGap;
  DrawText(sheet, x, y, kTitleSize, cell.title, kInk);
  DrawText(sheet, x, y + TextHeight(kTitleSize), kDetailSize, cell.detail,
           cell.inPlace ? kInPlace : kFaint);
}

/// Where the cells go, row by row, and how large that makes the sheet.
struct Layout {
  std::vector<std::pair<int, int>> corners;
  int width = 0;
  int height = 0;
};

Layout Arrange(const std::vector<Cell>& cells, Scale scale) {
  Layout layout;
  int x = kMargin, y = kMargin, rowHeight = 0;
  for (const Cell& cell : cells) {
    const int width = CellWidth(cell, scale);
    if (x > kMargin && x + width + kMargin > kRowWidth) {
      x = kMargin;
      y += rowHeight + kMargin;
      rowHeight = 0;
    }
    layout.corners.emplace_back(x, y);
    x += width + kMargin;
    rowHeight = std::max(rowHeight, CellHeight(cell, scale));
    layout.width = std::max(layout.width, x);
    layout.height = y + rowHeight + kMargin;
  }
  return layout;
}

std::string Detail(const Step& step, bool times) {
  if (!times) return step.result;
  char text[64];
  std::snprintf(text, sizeof text, "%s, %.2f ms", step.result.c_str(), step.milliseconds);
  return text;
}

Cell CellOf(MethodRunner& runner, const PreparedCall& call, const Image& image, bool times) {
  const sim::Type result = call.method->result;
  std::vector<Step> steps;
  try {
    Image after = runner.Run(image, {call}, &steps);
    if (result == sim::Type::kInt64) after = Image();
    return {std::move(after), call.text, Detail(steps.back(), times),
            result == sim::Type::kBoolean};
  } catch (const MethodFailed&) {
    return {{}, call.text, "not on this host"};
  }
}

}  // namespace

Image ContactSheet(MethodRunner& runner, const Image& image, std::vector<PreparedCall> calls,
                   bool times) {
  if (calls.empty()) {
    for (const sim::Method& method : runner.plugin().methods()) {
      calls.push_back(runner.Prepare(CallOf(method, image)));
    }
  }
  std::vector<Cell> cells = {
      {image, "before", std::to_string(image.width) + " x " + std::to_string(image.height)}};
  for (const PreparedCall& call : calls) cells.push_back(CellOf(runner, call, image, times));

  const Scale scale = ScaleFor(cells);
  const Layout layout = Arrange(cells, scale);
  Image sheet(layout.width, layout.height, kPaper);
  for (size_t i = 0; i < cells.size(); ++i) {
    DrawCell(sheet, layout.corners[i].first, layout.corners[i].second, cells[i], scale);
  }
  return sheet;
}

}  // namespace velhost
