#include "benchmarks/three_byte_storage.h"

#include <chrono>

#include "simulator/storage.h"

namespace velbench {
namespace {

using Clock = std::chrono::steady_clock;

double secondsConverting = 0;

size_t StrideBytes(int width) { return (3 * static_cast<size_t>(width) + 3) / 4 * 4; }

class ThreeByteStorage final : public sim::MemoryStorage {
 public:
  explicit ThreeByteStorage(const sim::StorageRequest& request)
      : MemoryStorage(request, uint64_t{StrideBytes(request.width)} * request.height),
        made_(Clock::now()) {}

  sim::StorageKind kind() const override { return sim::StorageKind::kGdk; }

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
  uint8_t* pixels() const { return memory(); }
  int strideBytes() const { return static_cast<int>(StrideBytes(width())); }

 private:
  void* Lend() override { return this; }
  uint8_t* Row(int y) const { return pixels() + static_cast<size_t>(y) * StrideBytes(width()); }

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
  sim::SetStorageFactory(sim::StorageKind::kGdk, sim::MakeStorageOf<ThreeByteStorage>);
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
