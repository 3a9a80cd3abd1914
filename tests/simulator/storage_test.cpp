// The desktop storages themselves, against the real Cairo and GDK: what is written comes back as
// the library keeps it, a lock is described as the plugin expects it, and damage is noticed.

#include <gtest/gtest.h>

#include "simulator/image.h"
#include "simulator/storage.h"

namespace sim {
namespace {

std::unique_ptr<Storage> MakeCairo(int width, int height, bool alpha, int extraStrideBytes,
                                   PixelPool& pool) {
  EXPECT_EQ(InstallStorage(StorageKind::kCairo), "");
  return MakeStorage(StorageKind::kCairo,
                     {width, height, alpha, RowLayout::kContiguous, extraStrideBytes, pool});
}

TEST(DesktopStorages, KeepPixelsThroughALock) {
  struct Case {
    StorageKind kind;
    bool alpha;
    int extraStrideBytes;
    int32_t lockType;
  };
  for (const auto& [kind, alpha, extraStrideBytes, lockType] :
       {Case{StorageKind::kCairo, true, 0, kStorageCairoContext},
        {StorageKind::kCairo, true, 12, kStorageCairoContext},
        {StorageKind::kCairo, false, 4, kStorageCairoContext},
        {StorageKind::kGdk, false, 0, kStorageGdkDrawable}}) {
    ASSERT_EQ(InstallStorage(kind), "");
    PixelPool pool;
    for (const auto& [width, height] : {std::pair{1, 1}, {1, 9}, {9, 1}, {7, 3}, {64, 5}}) {
      SCOPED_TRACE(testing::Message() << lockType << ": " << width << " x " << height);
      const auto storage =
          MakeStorage(kind, {width, height, alpha, RowLayout::kContiguous, extraStrideBytes, pool});
      ASSERT_NE(storage, nullptr);
      Image image = PatternImage(width, height);
      for (size_t i = 0; i < image.pixels.size(); ++i) {
        // Colours that no premultiplication rounds away.
        Rgba& pixel = image.pixels[i];
        pixel = alpha && i % 3 == 1 ? Rgba{255, 0, 255, pixel.alpha}
                                    : Rgba{pixel.red, pixel.green, pixel.blue, 255};
      }
      for (int y = 0; y < height; ++y) storage->WriteRow(y, image.Row(y));

      REALpictureDescription description{};
      ASSERT_FALSE(storage->Lock(kStorageConsoleBlock, description));
      ASSERT_EQ(description.data, nullptr);
      ASSERT_TRUE(storage->Lock(lockType, description));
      EXPECT_EQ(description.type, lockType);
      EXPECT_NE(description.data, nullptr);
      EXPECT_EQ(std::pair(description.width, description.height), std::pair(width, height));
      storage->Unlock();

      Image back(width, height);
      for (int y = 0; y < height; ++y) storage->ReadRow(y, back.Row(y));
      EXPECT_EQ(back, image);
      EXPECT_TRUE(storage->GuardsIntact());
      EXPECT_EQ(pool.liveBytes, storage->ByteCount());
    }
    EXPECT_EQ(pool.liveBytes, 0U);
  }
}

TEST(CairoStorageTest, HoldsPremultipliedWordsOrAnUnusedByte) {
  PixelPool pool;
  const Rgba pixel{255, 128, 0, 128};
  for (const auto& [alpha, word] : {std::pair{true, 0x80804000U}, {false, 0x5AFF8000U}}) {
    const auto storage = MakeCairo(1, 1, alpha, 0, pool);
    storage->WriteRow(0, &pixel);
    EXPECT_EQ(*storage->Words(0), word);
    Rgba back;
    storage->ReadRow(0, &back);
    EXPECT_EQ(back, (Rgba{255, 128, 0, static_cast<uint8_t>(alpha ? 128 : 255)}));
  }
}

TEST(CairoStorageTest, NoticesDamageAroundItsPixels) {
  PixelPool pool;
  for (const int damagedWord : {-1, 3, 4, 11}) {  // of rows that are three pixels and a gap of one
    const auto storage = MakeCairo(3, 3, true, 4, pool);
    storage->Words(0)[damagedWord] ^= 1;
    const bool isPixel = damagedWord == 4;
    EXPECT_EQ(storage->GuardsIntact(), isPixel) << damagedWord;
  }
}

}  // namespace
}  // namespace sim
