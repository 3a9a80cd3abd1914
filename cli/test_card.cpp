#include "cli/test_card.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "imaging/canvas.h"

namespace velhost {
namespace {

using imaging::DrawText;
using imaging::FillRectangle;

constexpr int kWidth = 480;
constexpr int kHeight = 320;
constexpr sim::Rgba kWhite{255, 255, 255};
constexpr sim::Rgba kInk{24, 32, 48};

// Before rounding.
struct Rgb {
  double red, green, blue;
};

Rgb Mix(Rgb from, Rgb to, double share) {
  const double t = std::clamp(share, 0.0, 1.0);
  return {from.red + (to.red - from.red) * t, from.green + (to.green - from.green) * t,
          from.blue + (to.blue - from.blue) * t};
}

/// A grain between -1 and 1 that belongs to its pixel.
double Grain(int x, int y) {
  uint32_t hash = static_cast<uint32_t>(x) * 0x9E3779B1u ^ static_cast<uint32_t>(y) * 0x85EBCA77u;
  hash = (hash ^ hash >> 15) * 0xC2B2AE3Du;
  return (hash >> 16) / 32767.5 - 1;
}

double Ridge(double x, double base, double height, double phase) {
  return base - height * (0.6 * std::sin(x / 71 + phase) + 0.3 * std::sin(x / 29 + 2 * phase) +
                          0.1 * std::sin(x / 11 + 3 * phase));
}

// A mountain evening: sky, sun, three ridges that grow darker, meadow.
Rgb Landscape(int x, int y) {
  const double fromSun = std::hypot(x - 330.0, y - 92.0);
  Rgb color = Mix({70, 120, 190}, {250, 205, 150}, y / 170.0);
  color = Mix({255, 246, 214}, color, std::max((fromSun - 20) / 3, 0.72 + fromSun / 400));
  color = Mix(color, {132, 140, 176}, Ridge(x, 150, 22, 0.4) < y ? 0.9 : 0);
  color = Mix(color, {84, 104, 136}, Ridge(x, 178, 20, 2.1) < y ? 1 : 0);
  color = Mix(color, {46, 74, 84}, Ridge(x, 206, 14, 4.0) < y ? 1 : 0);
  if (Ridge(x, 232, 9, 5.3) < y) color = Mix({96, 134, 62}, {36, 66, 30}, (y - 226) / 100.0);
  const double grain = 5 * Grain(x, y);
  return {color.red + grain, color.green + grain, color.blue + grain};
}

uint8_t Channel(double value) {
  return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

void DrawLandscape(Image& card) {
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const Rgb color = Landscape(x, y);
      card.At(x, y) = {Channel(color.red), Channel(color.green), Channel(color.blue)};
    }
  }
}

// Black and white spokes: any blur or unevenness shows near the middle.
void DrawStar(Image& card, int centerX, int centerY, int radius) {
  for (int y = -radius; y <= radius; ++y) {
    for (int x = -radius; x <= radius; ++x) {
      if (x * x + y * y > radius * radius) continue;
      const double turn = std::atan2(y, x) / (2 * std::numbers::pi) * 24 + 24.25;
      const bool dark = static_cast<int>(turn * 2) % 2 != 0;
      FillRectangle(card, centerX + x, centerY + y, 1, 1, dark ? kInk : kWhite);
    }
  }
}

// Lines one pixel wide, one to eight pixels apart, down and across.
void DrawLines(Image& card, int x, int y) {
  FillRectangle(card, x, y, 84, 84, kWhite);
  int at = 3;
  for (int gap = 2; gap <= 9; ++gap) {
    for (int line = 0; line < 2 && at < 82; ++line, at += gap) {
      FillRectangle(card, x + at, y + 2, 1, 38, kInk);
      FillRectangle(card, x + 2, y + at, 38, 1, {160, 32, 32});
    }
  }
  for (int i = 0; i < 38; ++i) {
    FillRectangle(card, x + 44 + i, y + 44 + i, 1, 1, kInk);
    FillRectangle(card, x + 44 + i, y + 44 + i / 2, 1, 1, kInk);
    FillRectangle(card, x + 44 + i / 2, y + 44 + i, 1, 1, kInk);
  }
}

void DrawGrayRamp(Image& card, int x, int y) {
  for (int i = 0; i < 256; ++i) {
    const uint8_t smooth = static_cast<uint8_t>(i), steps = static_cast<uint8_t>(i / 16 * 17);
    FillRectangle(card, x + i, y, 1, 9, {smooth, smooth, smooth});
    FillRectangle(card, x + i, y + 9, 1, 9, {steps, steps, steps});
  }
}

void DrawCorners(Image& card) {
  constexpr int kSide = 36;
  const struct {
    int x, y;
    const char* name;
    sim::Rgba color;
  } corners[] = {{0, 0, "1", {208, 40, 40}},
                 {kWidth - kSide, 0, "2", {40, 150, 60}},
                 {0, kHeight - kSide, "3", {40, 80, 208}},
                 {kWidth - kSide, kHeight - kSide, "4", {224, 176, 0}}};
  for (const auto& corner : corners) {
    FillRectangle(card, corner.x, corner.y, kSide, kSide, corner.color);
    DrawText(card, corner.x + 6, corner.y + 6, 3, corner.name, kWhite);
  }
}

// A round window with a soft rim, and a right-hand side that fades out.
void SetAlpha(Image& card) {
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const double window = (std::hypot(x - 412.5, y - 205.5) - 24) / 20;
      const double side = (kWidth - 0.5 - x) / 24;
      const double share = std::clamp(std::min(window, side), 0.0, 1.0);
      card.At(x, y).alpha = Channel(255 * share * share * (3 - 2 * share));
    }
  }
}

}  // namespace

Image TestCard() {
  Image card(kWidth, kHeight);
  card.hasAlpha = true;
  DrawLandscape(card);
  DrawCorners(card);
  DrawText(card, 44, 21, 5, "VelPicture", kInk);
  DrawText(card, 42, 19, 5, "VelPicture", kWhite);
  DrawText(card, 44, 68, 2, "up is where this line reads", kInk);
  DrawStar(card, 84, 200, 46);
  DrawLines(card, 166, 158);
  DrawGrayRamp(card, 92, kHeight - 30);
  SetAlpha(card);
  return card;
}

}  // namespace velhost
