#pragma once

// GDK storage: a pixmap of the real GDK 2 on an X display. Its pixels live in the X server, so they
// travel as whole pictures: rows written are collected and sent before anybody else looks, rows
// read come from a copy fetched back. There is no alpha channel.

#include <string>
#include <vector>

#include "simulator/storage.h"

namespace sim {

/// Opens the 32-bit GDK 2 and the display that DISPLAY names. Returns an empty string, or what is
/// missing.
std::string InstallGdk();

class GdkStorage final : public Storage {
 public:
  /// None can be had with alpha channel, or of a size that the X server refuses.
  explicit GdkStorage(const StorageRequest& request);
  ~GdkStorage() override;

  StorageKind kind() const override { return StorageKind::kGdk; }
  std::string Unlock() override {
    copy_.clear();
    return "";
  }
  void ReadRow(int y, Rgba* out) const override;
  void WriteRow(int y, const Rgba* in) override;
  /// Nobody reaches an X server's memory.
  bool GuardsIntact() const override { return true; }
  size_t ByteCount() const override { return size_t{4} * width() * height(); }

 private:
  void* Lend() override;
  void Fetch() const;
  void Send() const;

  PixelPool& pool_;
  void* pixmap_ = nullptr;
  // Three bytes per pixel, no gaps; empty while only the X server knows the pixels.
  mutable std::vector<uint8_t> copy_;
  mutable bool unsent_ = false;
};

}  // namespace sim
