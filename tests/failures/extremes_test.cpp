// The ends of the scale: sides at and beyond their limits, pictures as large as memory, channels
// and backgrounds that are all or nothing.

#include <gtest/gtest.h>

#include "tests/transforms/pictures.h"

namespace {

constexpr int kLongestSide = 32767;

constexpr auto kFormat = model::Format::kConsole;

class Extremes : public testing::Test {
 protected:
  /// The pixels of a result, which must be there; nothing may be left behind.
  model::Raster Call(const char* method, sim::Picture& picture,
                     const std::vector<sim::Argument>& arguments = {}) {
    const sim::Result result = session.plugin.Call(method, &picture, arguments);
    session.host.CheckGuards();
    EXPECT_EQ(session.host.Imbalance(), "");
    if (result.picture) return model::Raster::Of(*result.picture);
    ADD_FAILURE() << method << " gave nothing";
    return {};
  }
  void ExpectNothing(const char* method, sim::Picture& picture,
                     const std::vector<sim::Argument>& arguments = {}) {
    EXPECT_FALSE(session.plugin.Call(method, &picture, arguments).picture) << method;
    EXPECT_EQ(session.host.Imbalance(), "") << method;
  }

  std::mt19937 random{20};
  Session session;
};

TEST_F(Extremes, SingleRowsAndColumnsOfTheLongestSide) {
  for (const auto& [width, height] : {std::pair(kLongestSide, 1), std::pair(1, kLongestSide)}) {
    SCOPED_TRACE(width);
    const auto picture = RandomPicture(session.host, kConsole, width, height, random);
    const model::Raster source = model::Raster::Of(*picture);
    for (const auto& [method, move] : model::kMoves) {
      EXPECT_EQ(Difference(Call(method, *picture), Moved(source, kFormat, move)), "") << method;
    }
    for (const double angle : {0.01, -0.01, 90.01}) {
      EXPECT_EQ(Difference(Call("RotateVel", *picture, {angle, sim::Color{0x80FF4020}}),
                           Rotated(source, kFormat, angle, 0x80FF4020).result),
                "")
          << angle;
    }
    EXPECT_TRUE(session.plugin.Call("MirrorPictureVel", picture.get()).boolean);
    EXPECT_EQ(Difference(model::Raster::Of(*picture), MovedInPlace(source, model::kTurns[2])), "");
  }
}

TEST_F(Extremes, SidesBeyondTheLimit) {
  // The first shear makes a picture of 32767 + 1 columns.
  const auto wide = RandomPicture(session.host, kConsole, kLongestSide, 4, random);
  ExpectNothing("RotateVel", *wide, {30.0});

  // An opaque picture that the host could make itself is out of reach for new ones, not in place.
  const auto wider = RandomPicture(session.host, kConsole, kLongestSide + 1, 1, random);
  const model::Raster source = model::Raster::Of(*wider);
  for (const char* method : {"Rotate90Vel", "Rotate180Vel", "HMirrorVel", "VMirrorVel"}) {
    ExpectNothing(method, *wider);
  }
  ExpectNothing("RotateVel", *wider, {0.01});
  EXPECT_TRUE(session.plugin.Call("HMirrorPictureVel", wider.get()).boolean);
  EXPECT_EQ(Difference(model::Raster::Of(*wider), MovedInPlace(source, model::kFlipColumns)), "");

  // Pictures with an alpha channel know no limit but the host's.
  const auto alpha = RandomPicture(session.host, kConsoleAlpha, 40000, 2, random);
  EXPECT_EQ(Difference(Call("Rotate90Vel", *alpha),
                       Moved(model::Raster::Of(*alpha), kFormat, model::kTurns[1])),
            "");
}

TEST_F(Extremes, ChannelsAndBackgroundsThatAreAllOrNothing) {
  for (const uint32_t word : {0x00000000U, 0xFFFFFFFFU, 0x00FFFFFFU, 0xFF000000U}) {
    const auto picture = RandomPicture(session.host, kConsoleAlpha, 9, 7, random);
    for (int i = 0; i < 63; ++i) {
      uint32_t& pixel = picture->StorageAs<sim::ConsoleStorage>().Words(i / 9)[i % 9];
      pixel = i % 3 == 0 ? ~word : word;
    }
    for (const uint32_t background : {0x00000000U, 0xFFFFFFFFU, 0x00FFFFFFU, 0xFF000000U}) {
      for (const double angle : {30.0, 44.9999, 200.0, -1e-20}) {
        const auto expected = Rotated(model::Raster::Of(*picture), kFormat, angle, background);
        EXPECT_EQ(Difference(Call("RotateVel", *picture, {angle, sim::Color{background}}),
                             expected.result),
                  "")
            << std::hex << word << " on " << background << " by " << angle;
      }
    }
  }
}

TEST(ExtremeMemory, APictureOf400MegapixelsIsTurnedOrRefused) {
#ifdef VEL_SANITIZE
  GTEST_SKIP() << "the address sanitizer leaves too little address space";
#endif
  constexpr int kSide = 20000;
  // Unwritten pixels cost no memory, so only what the plugin writes does.
  Session session({.warmMemory = true});
  sim::Host& host = session.host;
  const auto picture = sim::Ref<sim::Picture>::Adopt(host.NewPicture(kSide, kSide, false));
  if (!picture) GTEST_SKIP() << "no memory for the picture itself";
  uint32_t* const lastRow = picture->StorageAs<sim::ConsoleStorage>().Words(kSide - 1);
  lastRow[0] = 0x7F123456;
  {
    const sim::Result result = session.plugin.Call("Rotate90Vel", picture.get());
    EXPECT_EQ(host.Imbalance(), "");
    if (result.picture) {
      const auto& turned = result.picture->StorageAs<sim::ConsoleStorage>();
      EXPECT_EQ(turned.Words(kSide - 1)[kSide - 1], 0x7F123456U);
      EXPECT_EQ(turned.Words(0)[0], 0U);
    } else {
      std::puts("refused: no memory for the result");
    }
    // Beside both there is no room for a third.
    EXPECT_FALSE(session.plugin.Call("RotateVel", picture.get(), {45.0}).picture);
    EXPECT_EQ(host.Imbalance(), "");
  }
  EXPECT_EQ(lastRow[0], 0x7F123456U);
}

}  // namespace
