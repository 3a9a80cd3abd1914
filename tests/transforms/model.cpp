#include "tests/transforms/model.h"

#include <cmath>

namespace model {

Format FormatOf(sim::StorageKind kind, bool alpha) {
  if (kind == sim::StorageKind::kConsole) return Format::kConsole;
  if (kind == sim::StorageKind::kGdk) return Format::kBytes;
  return alpha ? Format::kArgb : Format::kRgb;
}

Raster Raster::Of(const sim::Picture& picture) {
  const sim::Storage& storage = *picture.storage;
  const Format format = FormatOf(storage.kind(), storage.alpha());
  Raster raster(format, storage.width(), storage.height());
  std::vector<sim::Rgba> row(static_cast<size_t>(raster.width));
  for (int y = 0; y < raster.height; ++y) {
    if (format == Format::kBytes) storage.ReadRow(y, row.data());
    for (int x = 0; x < raster.width; ++x) {
      const sim::Rgba& p = row[static_cast<size_t>(x)];
      uint32_t& word = raster.Word(x, y);
      if (format == Format::kBytes) {
        word = p.red | uint32_t{p.green} << 8 | uint32_t{p.blue} << 16;
      } else {
        word = picture.storage->Words(y)[x];
      }
    }
  }
  return raster;
}

Channels Raster::Load(int x, int y) const {
  const uint32_t word = Word(x, y);
  const int bytes[4] = {static_cast<int>(word & 255), static_cast<int>(word >> 8 & 255),
                        static_cast<int>(word >> 16 & 255), static_cast<int>(word >> 24)};
  switch (format) {
    case Format::kBytes:
      return {bytes[0], bytes[1], bytes[2], 255};
    case Format::kConsole: {
      const int alpha = bytes[3] % 128;
      return {bytes[2], bytes[1], bytes[0], alpha % 2 == 0 ? 2 * alpha : 2 * alpha + 1};
    }
    case Format::kArgb:
      return {bytes[2], bytes[1], bytes[0], bytes[3]};
    default:
      return {bytes[2], bytes[1], bytes[0], 255};
  }
}

void Raster::Store(int x, int y, const Channels& channels) {
  uint32_t c[4];
  for (size_t i = 0; i < 4; ++i) c[i] = static_cast<uint32_t>(channels[i]);
  const uint32_t colour = c[0] << 16 | c[1] << 8 | c[2];
  switch (format) {
    case Format::kBytes:
      Word(x, y) = c[2] << 16 | c[1] << 8 | c[0];
      break;
    case Format::kConsole:
      Word(x, y) = colour | c[3] / 2 << 24;
      break;
    case Format::kArgb:
      Word(x, y) = colour | c[3] << 24;
      break;
    default:
      Word(x, y) = colour | 0xFF000000;
  }
}

Raster Mirrored(const Raster& source, Format format, bool columns, bool rows) {
  if (rows && !columns && format == source.format) return MirroredInPlace(source, false, true);
  Raster result(format, source.width, source.height);
  for (int y = 0; y < source.height; ++y) {
    for (int x = 0; x < source.width; ++x) {
      result.Store(columns ? source.width - 1 - x : x, rows ? source.height - 1 - y : y,
                   source.Load(x, y));
    }
  }
  return result;
}

Raster MirroredInPlace(const Raster& source, bool columns, bool rows) {
  Raster result = source;
  for (int y = 0; y < source.height; ++y) {
    for (int x = 0; x < source.width; ++x) {
      result.Word(columns ? source.width - 1 - x : x, rows ? source.height - 1 - y : y) =
          source.Word(x, y);
    }
  }
  return result;
}

Raster Turned(const Raster& source, Format format, int quarterTurns) {
  const bool swaps = quarterTurns != 2;
  Raster result(format, swaps ? source.height : source.width, swaps ? source.width : source.height);
  for (int y = 0; y < source.height; ++y) {
    for (int x = 0; x < source.width; ++x) {
      const Channels pixel = source.Load(x, y);
      if (quarterTurns == 1) result.Store(y, source.width - 1 - x, pixel);
      if (quarterTurns == 2) result.Store(source.width - 1 - x, source.height - 1 - y, pixel);
      if (quarterTurns == 3) result.Store(source.height - 1 - y, x, pixel);
    }
  }
  return result;
}

Rotation Rotated(const Raster& source, Format format, double angle, uint32_t background) {
  const auto channel = [background](int shift) {
    return static_cast<int>(background >> shift & 255);
  };
  const Channels back = {channel(16), channel(8), channel(0), channel(24)};
  while (angle >= 360.0) angle -= 360.0;
  while (angle < 0.0) angle += 360.0;
  Rotation rotation;
  Raster work = source;
  int quarters = 0;
  if (angle > 45.0 && angle <= 135.0) quarters = 1;
  if (angle > 135.0 && angle <= 225.0) quarters = 2;
  if (angle > 225.0 && angle <= 315.0) quarters = 3;
  if (quarters != 0) {
    work = Turned(source, format, quarters);
    rotation.sizes.push_back({work.width, work.height});
    angle -= quarters * 90.0;
  }
  const int w = work.width, h = work.height;
  const double radians = angle * 3.141592653589793 / 180.0;
  double sine, cosine;
  sincos(radians, &sine, &cosine);
  const double t = std::tan(radians * 0.5);

  Raster first(format, w + static_cast<int>(h * std::abs(t)), h);
  for (int u = 0; u < h; ++u) {
    const double o = t >= 0 ? (u + 0.5) * t : (u - h + 0.5) * t;
    const int k = static_cast<int>(std::floor(o));
    Skew(
        w, first.width, k, o - k, back, [&](int i) { return work.Load(i, u); },
        [&](int x, const Channels& pixel) { first.Store(x, u, pixel); });
  }
  Raster second(format, first.width, static_cast<int>(w * std::abs(sine) + h * cosine) + 1);
  double o = sine > 0 ? (w - 1) * sine : -sine * (w - first.width);
  for (int u = 0; u < first.width; ++u, o -= sine) {
    const int k = static_cast<int>(std::floor(o));
    Skew(
        h, second.height, k, o - k, back, [&](int i) { return first.Load(u, i); },
        [&](int y, const Channels& pixel) { second.Store(u, y, pixel); });
  }
  const int height = second.height;
  Raster third(format, static_cast<int>(h * std::abs(sine) + w * cosine) + 1, height);
  o = sine >= 0 ? (w - 1) * sine * -t : ((1 - height) - (w - 1) * sine) * t;
  for (int u = 0; u < height; ++u, o += t) {
    const int k = static_cast<int>(std::floor(o));
    Skew(
        second.width, third.width, k, o - k, back, [&](int i) { return second.Load(i, u); },
        [&](int x, const Channels& pixel) { third.Store(x, u, pixel); });
  }
  for (const Raster* each : {&first, &second, &third}) {
    rotation.sizes.push_back({each->width, each->height});
  }
  rotation.result = third;
  return rotation;
}

}  // namespace model
