// The desktop storages themselves, against the real Cairo and GDK: what is written comes back as
// the library keeps it, a lock is described as the plugin expects it, and damage is noticed.

#include <gtest/gtest.h>

#include <ostream>

#include "simulator/cairo_storage.h"
#include "simulator/gdk_storage.h"

namespace {

using sim::CairoStorage;
using sim::Rgba;
using sim::StorageKind;

struct StorageCase {
  const char* name;
  StorageKind kind;
  bool alpha;
  int extraStrideBytes;
  int32_t lockType;
};
void PrintTo(const StorageCase& param, std::ostream* out) { *out << param.name; }

class DesktopStorage : public testing::TestWithParam<StorageCase> {
 protected:
  void SetUp() override {
    const bool gdk = GetParam().kind == StorageKind::kGdk;
    ASSERT_EQ(gdk ? sim::InstallGdkStorage() : sim::InstallCairoStorage(), "");
  }
  std::unique_ptr<sim::Storage> Make(int width, int height) {
    const StorageCase& c = GetParam();
    return sim::MakeStorage(
        c.kind, {width, height, c.alpha, sim::RowLayout::kContiguous, c.extraStrideBytes, pool_});
  }
  sim::PixelPool pool_;
};

TEST_P(DesktopStorage, KeepsPixelsThroughALock) {
  for (const auto& [width, height] : {std::pair{1, 1}, {1, 9}, {9, 1}, {7, 3}, {64, 5}}) {
    SCOPED_TRACE(testing::Message() << width << " x " << height);
    const auto storage = Make(width, height);
    ASSERT_NE(storage, nullptr);
    sim::Image image(width, height);
    for (size_t i = 0; i < image.pixels.size(); ++i) {
      // Colours that no premultiplication rounds away.
      const auto odd = static_cast<uint8_t>(i * 37), even = static_cast<uint8_t>(255 - i);
      image.pixels[i] =
          i % 3 || !GetParam().alpha ? Rgba{odd, even, 9, 255} : Rgba{255, 0, 255, even};
      if (image.pixels[i].alpha == 0) image.pixels[i] = {0, 0, 0, 0};
    }
    for (int y = 0; y < height; ++y) storage->WriteRow(y, image.Row(y));

    REALpictureDescription description{};
    ASSERT_FALSE(storage->Lock(kStorageConsoleBlock, description));
    ASSERT_EQ(description.data, nullptr);
    ASSERT_TRUE(storage->Lock(GetParam().lockType, description));
    EXPECT_EQ(description.type, GetParam().lockType);
    EXPECT_NE(description.data, nullptr);
    EXPECT_EQ(std::pair(description.width, description.height), std::pair(width, height));
    storage->Unlock();

    sim::Image back(width, height);
    for (int y = 0; y < height; ++y) storage->ReadRow(y, back.Row(y));
    EXPECT_EQ(back, image);
    EXPECT_TRUE(storage->GuardsIntact());
    EXPECT_EQ(pool_.liveBytes, storage->ByteCount());
  }
  EXPECT_EQ(pool_.liveBytes, 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, DesktopStorage,
    testing::Values(StorageCase{"Argb32", StorageKind::kCairo, true, 0, kStorageCairoContext},
                    StorageCase{"Argb32Padded", StorageKind::kCairo, true, 12,
                                kStorageCairoContext},
                    StorageCase{"Rgb24Padded", StorageKind::kCairo, false, 4, kStorageCairoContext},
                    StorageCase{"Gdk", StorageKind::kGdk, false, 0, kStorageGdkDrawable}),
    [](const auto& instance) { return instance.param.name; });

TEST(CairoStorageTest, HoldsPremultipliedWordsOrAnUnusedByte) {
  ASSERT_EQ(sim::InstallCairoStorage(), "");
  sim::PixelPool pool;
  const Rgba pixel{255, 128, 0, 128};
  for (const auto& [alpha, word] : {std::pair{true, 0x80804000U}, {false, 0x5AFF8000U}}) {
    const auto storage = CairoStorage::Make({1, 1, alpha, sim::RowLayout::kContiguous, 0, pool});
    storage->WriteRow(0, &pixel);
    EXPECT_EQ(*dynamic_cast<CairoStorage&>(*storage).Words(0), word);
    Rgba back;
    storage->ReadRow(0, &back);
    EXPECT_EQ(back, (alpha ? Rgba{255, 128, 0, 128} : Rgba{255, 128, 0, 255}));
  }
}

TEST(CairoStorageTest, NoticesDamageAroundItsPixels) {
  ASSERT_EQ(sim::InstallCairoStorage(), "");
  sim::PixelPool pool;
  for (const int damagedWord : {-1, 3, 4, 11}) {  // of rows that are three pixels and a gap of one
    const auto storage = CairoStorage::Make({3, 3, true, sim::RowLayout::kContiguous, 4, pool});
    const bool isPixel = damagedWord == 4;
    dynamic_cast<CairoStorage&>(*storage).Words(0)[damagedWord] ^= 1;
    EXPECT_EQ(storage->GuardsIntact(), isPixel) << damagedWord;
  }
}

}  // namespace
