// Rotation figure by figure: the pictures it asks for, in which order it lets them go, angles and
// sizes at the edge, and independence of the caller's floating-point and stack habits.

#include <cfenv>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>

#include "tests/pixels/odd_storage.h"
#include "tests/pixels/picture_functions.h"
#include "tests/transforms/pictures.h"

namespace {

using model::Raster;
using model::Size;

constexpr double kNaN = NAN, kInfinity = INFINITY;

TEST(Rotation, MakesAndEstimatesPicturesOfTheRightSizes) {
  struct Example {
    Size source;  // 0 x 0: no picture
    double angle;
    std::vector<Size> made;  // nothing: the host is not even asked
    int64_t estimate;
  };
  const Example kExamples[] = {
      {{100, 50}, 30, {{113, 50}, {113, 94}, {112, 94}}, 153048},
      {{100, 50}, 330, {{113, 50}, {113, 94}, {112, 94}}, 153048},
      {{100, 50}, -390, {{113, 50}, {113, 94}, {112, 94}}, 153048},
      {{100, 50}, 45, {{120, 50}, {120, 107}, {107, 107}}, 199044},
      {{100, 50}, 100, {{50, 100}, {58, 100}, {58, 108}, {67, 108}}, 104832},
      {{100, 50}, 315, {{50, 100}, {91, 100}, {91, 107}, {107, 107}}, 209588},
      {{100, 50}, 135, {{50, 100}, {91, 100}, {91, 107}, {107, 107}}, 209588},
      {{100, 50}, 225, {{100, 50}, {120, 50}, {120, 107}, {107, 107}}, 219044},
      {{100, 50}, 1e-7, {{100, 50}, {100, 51}, {101, 51}}, 61408},
      {{100, 50}, -1e-20, {{100, 50}, {100, 51}, {101, 51}}, 61408},  // 360 after all, yet sheared
      {{1, 1}, 30, {{1, 1}, {1, 2}, {2, 2}}, 36},
      {{100, 50}, 0, {{100, 50}}, 20000},
      {{100, 50}, -0.0, {{100, 50}}, 20000},
      {{100, 50}, -720, {{100, 50}}, 20000},
      {{100, 50}, 360, {{100, 50}}, 20000},
      {{100, 50}, 450, {{50, 100}}, 20000},
      {{100, 50}, -90, {{50, 100}}, 20000},
      {{100, 50}, -180, {{100, 50}}, 20000},
      // The remainder is exact, however large the angle, and found at once.
      {{100, 50}, 1e299, {{100, 50}, {116, 50}, {116, 100}, {111, 100}}, 193000},
      {{100, 50}, -1e299, {{100, 50}, {116, 50}, {116, 100}, {111, 100}}, 193000},
      {{100, 50}, DBL_MAX, {{50, 100}, {84, 100}, {84, 110}, {101, 110}}, 188756},
      {{100, 50}, 0x1p60 + 4096, {{50, 100}, {51, 100}, {51, 102}, {54, 102}}, 84088},
      {{100, 50}, 12345678.9, {{100, 50}, {108, 50}, {108, 80}, {111, 80}}, 136736},
      {{100, 50}, kNaN, {}, 0},
      {{100, 50}, -kNaN, {}, 0},
      {{100, 50}, kInfinity, {}, 0},
      {{100, 50}, -kInfinity, {}, 0},
      {{0, 0}, 0, {}, 0},
      {{0, 0}, 90, {}, 0},
      {{0, 0}, 180, {}, 0},
      {{0, 0}, 30, {}, 4},
      {{0, 0}, 200, {}, 4},
      {{0, 0}, kNaN, {}, 0},
  };
  Session session;
  std::mt19937 random(1);
  for (const auto& [size, angle, sizes, estimate] : kExamples) {
    SCOPED_TRACE(angle);
    const auto source = size.width != 0
                            ? RandomPicture(session.host, kConsole, size.width, size.height, random)
                            : sim::Ref<sim::Picture>();
    session.host.log.Clear();
    EXPECT_EQ(session.plugin.Call("RotateMemoryVel", source.get(), {angle}).integer, estimate);
    EXPECT_EQ(session.host.log.CallCount(), source && std::isfinite(angle) ? 2 : 0);
    session.host.log.Clear();
    const auto made = session.plugin.Call("RotateVel", source.get(), {angle}).picture;
    std::vector<Size> asked;
    for (const sim::LogLine& line : session.host.log.lines) {
      if (line.kind != sim::LogLine::kCall || line.name != "newPicture") continue;
      Size& each = asked.emplace_back();
      std::sscanf(line.arguments.c_str(), "%d, %d, 32", &each.width, &each.height);
    }
    EXPECT_EQ(asked, sizes);
    EXPECT_EQ(session.host.Imbalance(), "");
    EXPECT_EQ(bool(made), !sizes.empty());
    EXPECT_EQ(session.host.log.Text().empty(), sizes.empty());
    if (!made || model::QuarterTurnsOf(angle) == 0) continue;
    const model::Rotation expected =
        Rotated(Raster::Of(*source), model::Format::kConsole, angle, 0xFFFFFFFF);
    EXPECT_EQ(expected.sizes, sizes) << "the model itself";
    EXPECT_EQ(Difference(Raster::Of(*made), expected.result), "");
  }
  // Sizes whose products need 64 bits, as a host may report them.
  const auto huge = session.host.MakePicture(sim::Image(1, 1));
  huge->properties["Width"].bits = huge->properties["Height"].bits = 100000;
  EXPECT_EQ(session.plugin.Call("RotateMemoryVel", huge.get(), {90.0}).integer, 40000000000);
  EXPECT_EQ(session.plugin.Call("RotateMemoryVel", huge.get(), {200.0}).integer, 254287437840);
}

TEST(Rotation, LetsItsPicturesGoInOrder) {
  const std::string open = "alpha? 10 hold ", create = "new alpha? 10 hold drop ",
                    render = "hold unlock clear drop clear ", close = "unlock drop drop ";
  const std::string shears = open + create + render + open + create + render + close + open +
                             create + render + close + close;
  // The source is picture 1, the others are numbered as they are made; each is let go for good as
  // soon as the next one stands.
  const std::tuple<double, std::string, const char*> kOrders[] = {
      {30, "hold kinds " + shears, "2431"},
      {120, "kinds " + open + create + render + "unlock drop " + shears, "13542"}};
  for (const auto& [angle, steps, lastDrops] : kOrders) {
    PixelSession session;
    const auto source = session.host.MakePicture(sim::Image(10, 5));
    const auto made = session.plugin.Call("RotateVel", source.get(), {angle}).picture;
    std::string dropped;
    for (const sim::LogLine& line : session.host.log.lines) {
      if (line.name != "REALUnlockObject" || line.kind != sim::LogLine::kCall) continue;
      std::erase(dropped, line.arguments.back());
      dropped += line.arguments.back();
    }
    EXPECT_EQ(dropped, lastDrops);
    EXPECT_EQ(session.Steps() + " ", steps);
  }
}

TEST(Rotation, ShearsSingleLinesAsTold) {
  // Channel values of a line, its offset and weight, a background, and the line it becomes.
  struct Line {
    std::vector<uint32_t> source;
    int offset;
    double weight;
    int background;
    std::vector<uint32_t> expected;
    uint32_t sourceFormat = kPixelArgb32, targetFormat = kPixelArgb32;
  };
  const Line kLines[] = {
      {{10, 10}, 3, 0.25, 0, {0, 0, 0, 8, 10, 2, 0}},
      {{200}, 0, 0.5, 0, {100, 100}},
      {{5, 6, 7}, 1, 0.0, 9, {9, 5, 6, 7, 9}},
      {{5, 6, 7}, 0, 0.0, 9, {5, 6, 7, 9}},
      {{5, 6, 7}, 4, 0.3, 9, {9, 9, 9, 9}},
      {{100, 50, 0}, -1, 0.5, 9, {75, 25, 5}},  // the trailing one lands inside
      {{100, 50, 0}, -2, 0.5, 9, {25, 5, 9}},
      {{100}, 0, 0.5, 101, {100, 101}},  // rounded towards the current pixel
      {{101}, 0, 0.5, 100, {101, 100}},
      {{}, 0, 0.5, 9, {9, 9}},
      {{5, 6}, 0, 0.5, 9, {}},
      {{5, 6}, INT_MIN, 0.5, 9, {9, 9}},
      {{5, 6}, INT_MAX, 0.5, 9, {9, 9}},
      // A format that no storage uses reads as zeros, and nothing is written in one.
      {{5, 6}, 0, 0.0, 9, {0, 0, 9}, 9},
      {{5, 6}, 0, 0.0, 9, {0x55, 0x55, 0x55}, kPixelArgb32, 9},
      {{255, 0}, 0, 1 - 0x1p-53, 255, {255, 254, 1}},
  };
  const Session session;
  using Skew = void(PictureEditor&, PictureEditor&, int, int, double, int, int, int, int);
  for (const char* name : {"SkewRow", "SkewColumn"}) {
    const auto skew = Function<Skew>(session.plugin, name);
    for (const Line& line : kLines) {
      SCOPED_TRACE(testing::Message() << name << " by " << line.offset << " + " << line.weight);
      // The line is the whole picture.
      const auto editor = [name](std::vector<uint32_t>& pixels) {
        const auto length = static_cast<int>(pixels.size());
        PictureEditor made{};
        made.width = made.height = 1;
        (name == std::string("SkewRow") ? made.width : made.height) = length;
        made.pixels = reinterpret_cast<uint8_t*>(pixels.data());
        made.rowBytes = made.width * 4, made.bytesPerPixel = 4;
        made.accessX = made.accessY = 99;
        return made;
      };
      const auto words = [](std::vector<uint32_t> channels) {
        for (uint32_t& channel : channels) channel *= 0x01010101U;
        return channels;
      };
      std::vector<uint32_t> from = words(line.source), to(line.expected.size(), 0x55555555);
      from.reserve(9), to.reserve(9);  // Lines without pixels lie somewhere, too.
      PictureEditor source = editor(from), target = editor(to);
      source.pixelType = line.sourceFormat, target.pixelType = line.targetFormat;
      const int back = line.background;
      skew(source, target, 0, line.offset, line.weight, back, back, back, back);
      EXPECT_EQ(to, words(line.expected));
      // As reading and writing pixel by pixel leaves the cursors, up to the trailing one.
      const auto expectCursor = [](const PictureEditor& moved, bool hasPixels, int y) {
        EXPECT_EQ(std::pair(moved.accessX, moved.accessY),
                  hasPixels ? std::pair(0, y) : std::pair(99, 99));
      };
      expectCursor(source, !from.empty(), source.height - 1);
      const int64_t trailing = int64_t{source.height} + line.offset;
      const bool isInside = trailing >= 0 && trailing < target.height;
      const bool isRow = name == std::string("SkewRow");
      expectCursor(target, !to.empty(),
                   isRow      ? 0
                   : isInside ? static_cast<int>(trailing)
                              : target.height - 1);
    }
  }
}

TEST(Rotation, NothingComesOfNoPicture) {
  Session session;
  session.host.log.Clear();
  for (const sim::Method& method : session.plugin.methods()) {
    const std::vector<sim::Argument> arguments(method.RequiredArguments(), int64_t{30});
    const sim::Result result = session.plugin.Call(method, nullptr, arguments);
    EXPECT_FALSE(result.picture || result.boolean) << method.name;
  }
  EXPECT_EQ(session.host.log.Text(), "");
}

TEST(Rotation, SizesThatDoNotFitAreRefused) {
  constexpr Size kTooLarge[] = {{INT_MAX, 1},   {1, INT_MAX},     {INT_MAX, INT_MAX},
                                {46341, 46341}, {INT_MAX - 1, 3}, {1 << 30, 2}};
  constexpr Size kWithoutRows[] = {{4, 0},   {4, -1},      {0, 2},        {-4, 3},
                                   {-4, -3}, {INT_MIN, 3}, {-INT_MAX, 2}, {0x20000000, 2}};
  Session session;
  session.host.log.enabled = false;
  const OddStorage::Scope odd;
  OddStorage::lockType = kStorageConsoleBlock;
  static uint8_t* rows[] = {nullptr};
  static ConsolePixelBlock block;
  block.storage = block.rowTable = rows;
  for (const bool alpha : {false, true}) {
    const auto picture =
        session.host.MakePicture(sim::Image(1, 1), {sim::StorageKind::kNone, alpha});
    for (const Size size : kTooLarge) {
      OddStorage::answer = {kStorageConsoleBlock, &block, size.width, size.height, {}};
      for (const double angle : {30.0, 45.0, 90.0, 180.0, 200.0, -44.9, 1e-7}) {
        EXPECT_FALSE(session.plugin.Call("RotateVel", picture.get(), {angle}).picture);
      }
      for (const char* method : {"MirrorVel", "HMirrorVel", "VMirrorVel"}) {
        EXPECT_FALSE(session.plugin.Call(method, picture.get()).picture) << method;
      }
      EXPECT_EQ(session.host.Imbalance(), "");
    }
    // In place, nothing is touched either, and only rows of a negative length are no rows.
    for (const Size size : kWithoutRows) {
      SCOPED_TRACE(size.width);
      OddStorage::answer = {kStorageConsoleBlock, &block, size.width, size.height, {}};
      const bool isRow = static_cast<int>(static_cast<uint32_t>(size.width) * 4) >= 0;
      EXPECT_TRUE(session.plugin.Call("MirrorPictureVel", picture.get()).boolean);
      EXPECT_EQ(session.plugin.Call("VMirrorPictureVel", picture.get()).boolean, isRow);
      if (size.width > 0 && size.height > 0) continue;
      EXPECT_TRUE(session.plugin.Call("HMirrorPictureVel", picture.get()).boolean);
    }
  }
}

TEST(Rotation, DoesNotDependOnItsCallersHabits) {
  const sim::CallerHabits kHabits[] = {
      {0x037F, 0x1F80, 0},  {0x037F, 0x1F80, 4}, {0x037F, 0x1F80, 8}, {0x037F, 0x1F80, 12},
      {0x007F, 0x1F80, 12}, {0x0F7F, 0xFFC0, 4}, {0x0B7F, 0x5F80, 8}, {0x077F, 0x3FBF, 0}};
  Session session;
  std::mt19937 random(3);
  const auto source = RandomPicture(session.host, kConsole, 23, 17, random);
  const auto tiny = session.host.MakePicture(sim::Image(1, 2));
  for (const double angle : {30.0, 17.3, 200.1, -1e-20}) {
    const Raster expected =
        Rotated(Raster::Of(*source), model::Format::kConsole, angle, 0x12345678).result;
    for (const sim::CallerHabits& habits : kHabits) {
      SCOPED_TRACE(testing::Message() << angle << std::hex << " " << habits.x87Control << " "
                                      << habits.mxcsr << " " << habits.misalignment);
      session.plugin.habits = habits;
      session.host.log.Clear();
      const sim::Result made =
          session.plugin.Call("RotateVel", source.get(), {angle, sim::Color{0x12345678}});
      // A triangle of sides 3, 4 and 5: how sizes are rounded decides which whole number is
      // reached.
      const double wholeSides = 36.869897645844027;
      EXPECT_EQ(session.plugin.Call("RotateMemoryVel", tiny.get(), {wholeSides}).integer, 68);
      for (const auto& line : session.host.log.lines) EXPECT_EQ(line.mxcsr, habits.mxcsr);
      ASSERT_TRUE(made.picture);
      EXPECT_EQ(Difference(Raster::Of(*made.picture), expected), "");
    }
    // What calculations have met so far is the caller's to know as well.
    for (const int met : {0, FE_ALL_EXCEPT}) {
      std::feclearexcept(FE_ALL_EXCEPT);
      std::feraiseexcept(met);
      session.Own<sim::Picture>(session.Call<Picture*(Picture*, double, unsigned long)>(
          "rbRotate", source->handle(), angle, 0UL));
      session.Call<long long(Picture*, double)>("rbRotateMemory", source->handle(), angle);
      EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), met);
    }
    std::feclearexcept(FE_ALL_EXCEPT);
  }
}

}  // namespace
