#include "fuzz/picture_model.h"

#include <cmath>

namespace model {

PictureHost::PictureHost(const sim::Settings& settings)
    : settings_(settings),
      isConsole_(settings.application == sim::AppKind::kConsole ||
                 settings.application == sim::AppKind::kWeb),
      isDesktop_(settings.application == sim::AppKind::kDesktop) {}

std::optional<Format> PictureHost::Open(sim::StorageKind kind, bool alpha) {
  if (!isConsole_ && kind == sim::StorageKind::kCairo) {
    isDesktop_ = true;
    return FormatOf(kind, alpha);
  }
  if (isDesktop_ || kind != sim::StorageKind::kConsole) return std::nullopt;
  isConsole_ = true;
  return FormatOf(kind, alpha);
}

std::optional<Raster> PictureHost::Read(const sim::Picture& picture) {
  const sim::Storage& storage = *picture.storage;
  if (isConsole_ || storage.alpha() || storage.kind() == sim::StorageKind::kCairo ||
      (storage.kind() == sim::StorageKind::kConsole && !isDesktop_)) {
    if (!Open(storage.kind(), storage.alpha())) return std::nullopt;
    return Raster::Of(picture);
  }
  // A picture without storage of the application's kind is read as what the host draws of it.
  if (!Open(settings_.newPictures, false)) return std::nullopt;
  const sim::Image copy = Clone(picture, storage.width(), storage.height());
  // Only the host knows what it leaves in bits that mean nothing.
  return Raster::Of(*sim::Host::Current().MakePicture(copy, {.storage = settings_.newPictures}));
}

bool PictureHost::CanEdit(const sim::Picture& picture) {
  return Open(picture.storage->kind(), picture.storage->alpha()).has_value();
}

std::optional<Format> PictureHost::NewFormat(bool alpha) {
  // A version that is no number is not new enough.
  if (alpha && !(settings_.version >= 2011.04)) return std::nullopt;
  return Open(alpha ? settings_.newAlphaPictures : settings_.newPictures, alpha);
}

template <class Make>
std::optional<Raster> PictureHost::MakeFrom(const sim::Picture& picture, Make make) {
  const auto source = Read(picture);
  if (!source) return std::nullopt;
  const auto format = NewFormat(picture.storage->alpha());
  if (!format) return std::nullopt;
  return make(*source, *format);
}

std::optional<Raster> PictureHost::Move(const sim::Picture& picture, const model::Move& move) {
  return MakeFrom(picture,
                  [&](const Raster& source, Format format) { return Moved(source, format, move); });
}

std::optional<Raster> PictureHost::Rotate(const sim::Picture& picture, double angle,
                                          uint32_t background) {
  if (!std::isfinite(angle)) return std::nullopt;
  return MakeFrom(picture, [&](const Raster& source, Format format) {
    return Rotated(source, format, angle, background).result;
  });
}

sim::Image PictureHost::Clone(const sim::Picture& picture, int width, int height) const {
  sim::Rgba blank = settings_.blank;
  blank.alpha = 255;
  sim::Image clone(width, height, blank);
  if (!settings_.graphics) return clone;
  const sim::Image source = picture.Read();
  for (int y = 0; y < std::min(height, source.height); ++y) {
    for (int x = 0; x < std::min(width, source.width); ++x) {
      clone.At(x, y) = sim::Over(source.At(x, y), clone.At(x, y));
      clone.At(x, y).alpha = 255;
    }
  }
  return clone;
}

bool IsFairEstimate(int64_t bytes, Size source, double angle) {
  if (!std::isfinite(angle)) return bytes == 0;
  int64_t made = 0;
  for (const Size& size : Rotated(Raster(Format::kArgb, source), Format::kArgb, angle, 0).sizes) {
    made += int64_t{size.width} * size.height * 4;
  }
  return QuarterTurnsOf(angle) ? bytes == made : bytes >= made && bytes < 2 * made;
}

}  // namespace model
