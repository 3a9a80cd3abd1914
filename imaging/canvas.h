#pragma once

// Drawing on images, as much as contact sheets and plots need: rectangles, images over images, and
// lines of text in the font that is built in. Everything is clipped to the target, and comes out
// the same to the bit everywhere.

#include <string>

#include "imaging/image.h"

namespace imaging {

void FillRectangle(Image& target, int x, int y, int width, int height, sim::Rgba color);

/// Light and dark squares, on which transparency shows.
void FillCheckerboard(Image& target, int x, int y, int width, int height);

/// Lays `source` over `target`, its corner at (x, y).
void DrawImage(Image& target, const Image& source, int x, int y);

/// Draws a line of text, in UTF-8, with its upper left corner at (x, y). `size` is the font's em in
/// pixels. A box stands for what the font lacks: it has the letters of Western Europe.
void DrawText(Image& target, int x, int y, int size, const std::string& text, sim::Rgba color);

/// How wide and high the line is that DrawText draws.
int TextWidth(int size, const std::string& text);
constexpr int TextHeight(int size) { return size * 7 / 6; }

/// `image` without its alpha channel, as it looks on the (opaque) background.
Image Flattened(Image image, sim::Rgba background);

}  // namespace imaging
