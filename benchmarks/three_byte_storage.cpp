#include "benchmarks/three_byte_storage.h"

#include <chrono>

#include "simulator/pixel_memory.h"

namespace velbench {
namespace {

using Clock = std::chrono::steady_clock;

double secondsConverting = 0;

class ThreeByteStorage final : public sim::Storage {
 public:
  static std::unique_ptr<sim::Storage> Make(const sim::StorageRequest& request) {
    auto storage = std::make_unique<ThreeByteStorage>(request);
    if (storage->pixels() == nullptr) return nullptr;
    return storage;
  }
  explicit ThreeByteStorage(const sim::StorageRequest& request)
      : Storage(request.width, request.height, request.alpha),
        strideBytes_((3 * request.width + 3) / 4 * 4),
        memory_(request.pool, static_cast<size_t>(strideBytes_) * request.height),
        made_(Clock::now()) {}

  sim::StorageKind kind() const override { return sim::StorageKind::kGdk; }
  bool Lock(int type, REALpictureDescription& description) override {
    if (type != 0 && type != kStorageGdkDrawable) return false;
    description.type = kStorageGdkDrawable;
    description.data = this;
    description.width = width();
    description.height = height();
    return true;
  }

  void ReadRow(int y, sim::Rgba* out) const override {
    const uint8_t* bytes = Row(y);
    for (int x = 0; x < width(); ++x, bytes += 3) out[x] = {bytes[0], bytes[1], bytes[2]};
  }
  void WriteRow(int y, const sim::Rgba* in) override {
    uint8_t* bytes = Row(y);
    for (int x = 0; x < width(); ++x, bytes += 3) {
      bytes[0] = in[x].red;
      bytes[1] = in[x].green;
      bytes[2] = in[x].blue;
    }
    // A picture is made and then written from top to bottom, with nothing in between.
    if (y == height() - 1) {
      secondsConverting += std::chrono::duration<double>(Clock::now() - made_).count();
    }
  }
  bool GuardsIntact() const override { return memory_.FencesIntact(); }
  size_t ByteCount() const override { return memory_.size(); }

  uint8_t* pixels() const { return memory_.bytes(); }
  int strideBytes() const { return strideBytes_; }

 private:
  uint8_t* Row(int y) const { return pixels() + static_cast<size_t>(y) * strideBytes_; }

  int strideBytes_;
  sim::PixelMemory memory_;
  Clock::time_point made_;
};

// The desktop's functions as the plugin calls them. A drawable and its pixbuf are both the storage.
void* FromDrawable(void*, void* drawable, void*, int, int, int, int, int, int) { return drawable; }
uint8_t* PixelsOf(const void* pixbuf) {
  return static_cast<const ThreeByteStorage*>(pixbuf)->pixels();
}
int StrideOf(const void* pixbuf) {
  return static_cast<const ThreeByteStorage*>(pixbuf)->strideBytes();
}
void Unref(void*) {}

template <class Function>
void Replace(const sim::Plugin& plugin, const char* variable, Function* function) {
  *plugin.Symbol<Function*>(variable) = function;
}

}  // namespace

void InstallThreeByteStorage() {
  sim::SetStorageFactory(sim::StorageKind::kGdk, ThreeByteStorage::Make);
}

bool HandOutThreeBytePixels(const sim::Plugin& plugin) {
  if (!plugin.Function<bool()>("LoadGTK")()) return false;
  Replace(plugin, "_gdk_pixbuf_get_from_drawable", FromDrawable);
  Replace(plugin, "_gdk_pixbuf_get_pixels", PixelsOf);
  Replace(plugin, "_gdk_pixbuf_get_rowstride", StrideOf);
  Replace(plugin, "_gdk_pixbuf_unref", Unref);
  return true;
}

double SecondsConverting() { return secondsConverting; }

}  // namespace velbench
