#pragma once

// Drawing on images, as much as a contact sheet needs: rectangles, images over
// images, and plain text in a built-in pixel font. Everything is clipped to the target.

#include <string>

#include "imaging/image.h"

namespace imaging {

void FillRectangle(Image& target, int x, int y, int width, int height, sim::Rgba color);

/// Light and dark squares, on which transparency shows.
void FillCheckerboard(Image& target, int x, int y, int width, int height);

/// Lays `source` over `target`, its corner at (x, y).
void DrawImage(Image& target, const Image& source, int x, int y);

/// Draws `text` with its upper left corner at (x, y); a letter is about 8 × scale pixels high.
void DrawText(Image& target, int x, int y, int scale, const std::string& text, sim::Rgba color);

/// How wide DrawText draws `text`.
int TextWidth(int scale, const std::string& text);

/// `image` without its alpha channel, as it looks on the (opaque) background.
Image Flattened(Image image, sim::Rgba background);

}  // namespace imaging
