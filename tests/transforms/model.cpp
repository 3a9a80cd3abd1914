#include "tests/transforms/model.h"

#include <cmath>
#include <utility>

namespace model {

Format FormatOf(sim::StorageKind kind, bool alpha) {
  if (kind == sim::StorageKind::kConsole) return Format::kConsole;
  if (kind == sim::StorageKind::kGdk) return Format::kBytes;
  return alpha ? Format::kArgb : Format::kRgb;
}

Raster Raster::Of(const sim::Picture& picture) {
  const sim::Storage& storage = *picture.storage;
  const Format format = FormatOf(storage.kind(), storage.alpha());
  Raster raster(format, {storage.width(), storage.height()});
  std::vector<sim::Rgba> row(static_cast<size_t>(raster.width));
  for (int y = 0; y < raster.height; ++y) {
    if (format == Format::kBytes) storage.ReadRow(y, row.data());
    for (int x = 0; x < raster.width; ++x) {
      const auto& [red, green, blue, alpha] = row[static_cast<size_t>(x)];
      raster.Word(x, y) = format == Format::kBytes
                              ? red | uint32_t{green} << 8 | uint32_t{blue} << 16
                              : picture.storage->Words(y)[x];
    }
  }
  return raster;
}

Channels Raster::Load(int x, int y) const {
  const auto byte = [&](int i) { return static_cast<int>(Word(x, y) >> 8 * i & 255); };
  if (format == Format::kBytes) return {byte(0), byte(1), byte(2), 255};
  const int alpha = byte(3), alpha7 = alpha % 128;
  return {byte(2), byte(1), byte(0),
          format == Format::kArgb      ? alpha
          : format == Format::kConsole ? 2 * alpha7 + alpha7 % 2
                                       : 255};
}

void Raster::Store(int x, int y, const Channels& channels) {
  const auto& [red, green, blue, alpha] = channels;
  const auto word = [](int a, int b, int c, int d) {
    return static_cast<uint32_t>(a) << 24 | static_cast<uint32_t>(b << 16 | c << 8 | d);
  };
  Word(x, y) = format == Format::kBytes  ? word(0, blue, green, red)
               : format == Format::kArgb ? word(alpha, red, green, blue)
               : format == Format::kRgb  ? word(255, red, green, blue)
                                         : word(alpha / 2, red, green, blue);
}

Raster Moved(const Raster& source, const Canvas& canvas, const Move& move) {
  const bool keepsWords = move == kFlipRows && canvas.format == source.format;
  Raster result(canvas, move.Of(source.size()));
  move.ForEachPixel(source.size(), [&](int x, int y, int toX, int toY) {
    result.Store(toX, toY, source.Load(x, y));
    if (keepsWords) result.Word(toX, toY) = source.Word(x, y);
  });
  return result;
}

Raster MovedInPlace(const Raster& source, const Move& move) {
  Raster result = source;
  move.ForEachPixel(source.size(), [&](int x, int y, int toX, int toY) {
    result.Word(toX, toY) = source.Word(x, y);
  });
  return result;
}

std::optional<int> QuarterTurnsOf(double angle) {
  if (std::fmod(angle, 90.0) != 0) return std::nullopt;
  return static_cast<int>(std::fmod(angle, 360.0) / 90.0 + 4) % 4;
}

Rotation Rotated(const Raster& source, const Canvas& canvas, double angle, uint32_t background) {
  if (const auto turns = QuarterTurnsOf(angle)) {
    const Move& turn = kTurns[*turns];
    return {Moved(source, canvas, turn), {turn.Of(source.size())}};
  }
  const auto channel = [background](int shift) {
    return static_cast<int>(background >> shift & 255);
  };
  const Channels back = {channel(16), channel(8), channel(0), channel(24)};
  angle = std::fmod(angle, 360.0);
  if (angle < 0.0) angle += 360.0;
  Rotation rotation;
  Raster work = source;
  if (angle > 45.0 && angle <= 315.0) {
    const int turns = angle <= 135.0 ? 1 : angle <= 225.0 ? 2 : 3;
    work = Moved(source, canvas, kTurns[turns]);
    rotation.sizes.push_back(kTurns[turns].Of(source.size()));
    angle -= turns * 90.0;
  }
  const int w = work.width, h = work.height;
  const double radians = angle * 3.141592653589793 / 180.0;
  double sine, cosine;
  sincos(radians, &sine, &cosine);
  const double t = std::tan(radians * 0.5);

  const auto shear = [&](const Raster& from, bool rows, Size size, auto offset) {
    Raster to(canvas, size);
    for (int u = 0; u < (rows ? size.height : size.width); ++u) {
      const double o = offset(u);
      const int k = static_cast<int>(std::floor(o));
      Skew(
          rows ? from.width : from.height, rows ? to.width : to.height, k, o - k, back,
          [&](int i) { return rows ? from.Load(i, u) : from.Load(u, i); },
          [&](int i, const Channels& pixel) { to.Store(rows ? i : u, rows ? u : i, pixel); });
    }
    rotation.sizes.push_back(size);
    return to;
  };
  const Raster first = shear(work, true, {w + static_cast<int>(h * std::abs(t)), h},
                             [&](int u) { return t >= 0 ? (u + 0.5) * t : (u - h + 0.5) * t; });
  const int height = static_cast<int>(w * std::abs(sine) + h * cosine) + 1;
  double o = sine > 0 ? (w - 1) * sine : -sine * (w - first.width);
  const Raster second =
      shear(first, false, {first.width, height}, [&](int) { return std::exchange(o, o - sine); });
  o = sine >= 0 ? (w - 1) * sine * -t : ((1 - height) - (w - 1) * sine) * t;
  rotation.result =
      shear(second, true, {static_cast<int>(h * std::abs(sine) + w * cosine) + 1, height},
            [&](int) { return std::exchange(o, o + t); });
  return rotation;
}

}  // namespace model
