#include "cli/sheet.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "cli/canvas.h"

namespace velhost {
namespace {

constexpr int kColumns = 5;
constexpr int kFrame = 304;
constexpr int kCaption = 58;
constexpr int kMargin = 12;
constexpr sim::Rgba kPaper{250, 250, 248};
constexpr sim::Rgba kInk{30, 34, 40};
constexpr sim::Rgba kFaint{110, 116, 124};

// Half the size; each pixel is the average of four, weighted by their alphas.
Image Halved(const Image& image) {
  Image half(std::max(image.width / 2, 1), std::max(image.height / 2, 1));
  half.hasAlpha = image.hasAlpha;
  for (int y = 0; y < half.height; ++y) {
    for (int x = 0; x < half.width; ++x) {
      uint32_t red = 0, green = 0, blue = 0, alpha = 0;
      for (int i = 0; i < 4; ++i) {
        const sim::Rgba& pixel = image.At(std::min(2 * x + i % 2, image.width - 1),
                                          std::min(2 * y + i / 2, image.height - 1));
        red += pixel.red * pixel.alpha;
        green += pixel.green * pixel.alpha;
        blue += pixel.blue * pixel.alpha;
        alpha += pixel.alpha;
      }
      if (alpha == 0) {
        half.At(x, y) = {0, 0, 0, 0};
        continue;
      }
      const auto mean = [alpha](uint32_t sum) {
        return static_cast<uint8_t>((sum + alpha / 2) / alpha);
      };
      half.At(x, y) = {mean(red), mean(green), mean(blue), static_cast<uint8_t>((alpha + 2) / 4)};
    }
  }
  return half;
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
  Image shown;
  std::string title;
  std::string detail;
};

// All cells share one scale, so that sizes can be compared.
int Halvings(const std::vector<Cell>& cells) {
  int longest = 1;
  for (const Cell& cell : cells) {
    longest = std::max({longest, cell.shown.width, cell.shown.height});
  }
  int halvings = 0;
  while (longest >> halvings > kFrame) ++halvings;
  return halvings;
}

void DrawCell(Image& sheet, int x, int y, const Cell& cell, int halvings) {
  Image shown = cell.shown;
  for (int i = 0; i < halvings; ++i) shown = Halved(shown);
  const int left = x + (kFrame - shown.width) / 2;
  const int top = y + (kFrame - shown.height) / 2;
  FillCheckerboard(sheet, left, top, shown.width, shown.height);
  DrawImage(sheet, shown, left, top);
  DrawText(sheet, x, y + kFrame + 8, 2, cell.title, kInk);
  DrawText(sheet, x, y + kFrame + 32, 2, cell.detail, kFaint);
}

std::string Detail(const Step& step, bool times) {
  if (!times) return step.result;
  char text[64];
  std::snprintf(text, sizeof text, "%s, %.2f ms", step.result.c_str(), step.milliseconds);
  return text;
}

Cell CellOf(Session& session, const PreparedCall& call, const Image& image, bool times) {
  std::vector<Step> steps;
  try {
    Image after = session.Run(image, {call}, &steps);
    return {std::move(after), call.text, Detail(steps.back(), times)};
  } catch (const MethodFailed&) {
    return {image, call.text, "not on this host"};
  }
}

}  // namespace

Image ContactSheet(Session& session, const Image& image, std::vector<PreparedCall> calls,
                   bool times) {
  if (calls.empty()) {
    for (const sim::Method& method : session.plugin().methods()) {
      calls.push_back(session.Prepare(CallOf(method, image)));
    }
  }
  std::vector<Cell> cells = {
      {image, "before", std::to_string(image.width) + " x " + std::to_string(image.height)}};
  for (const PreparedCall& call : calls) cells.push_back(CellOf(session, call, image, times));

  const int count = static_cast<int>(cells.size());
  const int rows = (count + kColumns - 1) / kColumns;
  Image sheet(kMargin + std::min(count, kColumns) * (kFrame + kMargin),
              kMargin + rows * (kFrame + kCaption + kMargin), kPaper);
  const int halvings = Halvings(cells);
  int x = kMargin, y = kMargin;
  for (size_t i = 0; i < cells.size(); ++i) {
    DrawCell(sheet, x, y, cells[i], halvings);
    const bool lastOfRow = (i + 1) % kColumns == 0;
    x = lastOfRow ? kMargin : x + kFrame + kMargin;
    if (lastOfRow) y += kFrame + kCaption + kMargin;
  }
  return sheet;
}

}  // namespace velhost
