// Every method on every storage at every host version that makes a difference, against the model.

#include "tests/transforms/pictures.h"

namespace {

using model::Raster;
using sim::StorageKind;

const auto kLockable =
    sim::PictureSetups().first(sim::PictureSetups().size() - sim::kUncommonSetups);

class Methods : public testing::TestWithParam<PictureSetup> {
 protected:
  void SetUp() override {
    if (const std::string why = Install(GetParam()); !why.empty()) GTEST_SKIP() << why;
  }

  static model::Format FormatOfResults() {
    return model::FormatOf(GetParam().target, GetParam().alpha);
  }

  /// Calls a method that makes a picture, and checks what must hold for all of them.
  sim::Ref<sim::Picture> Make(Session& session, const char* method, sim::Picture* source,
                              const std::vector<sim::Argument>& arguments = {}) {
    const Raster before = Raster::Of(*source);
    const int clears = source->cacheClears;
    sim::Result result = session.plugin.Call(method, source, arguments);
    EXPECT_EQ(session.host.Imbalance(), "") << method;
    EXPECT_EQ(session.host.ledger.livePictures, result.picture ? 2 : 1) << method;
    EXPECT_EQ(Difference(Raster::Of(*source), before), "") << method << " changed its source";
    EXPECT_EQ(source->cacheClears, clears);
    if (result.picture) {
      EXPECT_EQ(result.picture->references(), 1) << method;
      EXPECT_GT(result.picture->cacheClears, 0) << method;
    }
    return std::move(result.picture);
  }

  void Compare(Session& session, sim::Picture* source, bool possible,
               const model::Canvas& format = FormatOfResults()) {
    const Raster before = Raster::Of(*source);
    const auto expect = [&](const char* method, const Raster& expected,
                            const std::vector<sim::Argument>& arguments = {}) {
      const auto made = Make(session, method, source, arguments);
      EXPECT_EQ(bool(made), possible) << method;
      if (made) {
        EXPECT_EQ(Difference(Raster::Of(*made), expected), "") << method;
      }
    };
    for (const auto& [method, move] : model::kMoves) {
      Raster expected = Moved(before, format, move);
      // Rows that move whole take their padding along, into pixels that nobody asked for.
      const bool isWhole = move == model::kFlipRows && GetParam().source == GetParam().target;
      const int padding = isWhole ? GetParam().extraStrideBytes / 4 : 0;
      for (int x = before.width; x < std::min(before.width + padding, expected.width); ++x) {
        for (int y = 0; y < before.height; ++y) expected.Word(x, y) = sim::kGuardByte * 0x01010101U;
      }
      expect(method, expected);
    }
    for (const double angle : {-630.0, 180.0, -90.0, 30.0, -44.5, 100.0, 135.0, 225.5, 1e-7}) {
      expect("RotateVel", Rotated(before, format, angle, 0x80FF4011).result,
             {angle, sim::Color{0x80FF4011}});
    }
    const double version = session.host.settings.version;
    expect("RotateVel", Rotated(before, format, 17, version < 2011.04 ? 0xFFFFFF : ~0U).result,
           {17.0});
  }

  void CompareInPlace(Session& session, sim::Picture* picture) {
    const bool possible = GetParam().source != StorageKind::kGdk;
    for (const auto& [method, move] : model::kMovesInPlace) {
      const Raster before = Raster::Of(*picture);
      for (const bool again : {false, true}) {
        const int clears = picture->cacheClears;
        EXPECT_EQ(session.plugin.Call(method, picture).boolean, possible) << method;
        EXPECT_EQ(picture->cacheClears, clears + 1);
        const Raster expected = again || !possible ? before : MovedInPlace(before, move);
        EXPECT_EQ(Difference(Raster::Of(*picture), expected), "") << method;
        EXPECT_EQ(session.host.Imbalance(), "") << method;
      }
    }
  }

  void CompareClones(Session& session, sim::Picture* source) {
    const StorageKind target = GetParam().target;
    const sim::Image image = source->Read();
    for (const auto& [width, height] : {std::pair{0, 0}, {image.width + 2, 1}, {2, 5}}) {
      sim::Image expected(width > 0 ? width : image.width, width > 0 ? height : image.height,
                          {255, 255, 255, 255});
      for (int y = 0; y < std::min(expected.height, image.height); ++y) {
        for (int x = 0; x < std::min(expected.width, image.width); ++x) {
          expected.At(x, y) = sim::Over(image.At(x, y), expected.At(x, y));
        }
      }
      std::vector<sim::Argument> arguments;
      if (width > 0) arguments = {int64_t{width}, int64_t{height}};
      const auto made = session.plugin.Call("CloneVel", source, arguments).picture;
      ASSERT_TRUE(made);
      EXPECT_FALSE(made->storage->alpha());
      const auto drawn = session.host.MakePicture(expected, {.storage = target});
      EXPECT_EQ(Difference(Raster::Of(*made), Raster::Of(*drawn)), "");
    }
    EXPECT_EQ(session.plugin.Call("BitmapVel", source).picture.get(), source);
    EXPECT_EQ(session.host.Imbalance(), "");
  }
};

TEST_P(Methods, DoWhatTheModelDoesAtEveryVersion) {
  const std::pair<int, int> kSizes[] = {{1, 1}, {1, 6}, {7, 1}, {4, 5}, {13, 6}, {9, 17}};
  for (const double version : {0.0, 2010.028, 2011.03, 2011.04, 2012.0}) {
    Session session(GetParam().SettingsAt(version));
    for (const auto& [width, height] : kSizes) {
      SCOPED_TRACE(testing::Message() << version << ": " << width << " x " << height);
      std::mt19937 random(static_cast<uint32_t>(width * 100 + height));
      const auto source = RandomPicture(session.host, GetParam(), width, height, random);
      ASSERT_TRUE(source);
      Compare(session, source.get(), !GetParam().alpha || version >= 2011.04);
      CompareClones(session, source.get());
      CompareInPlace(session, source.get());
      if (HasFailure()) return;
    }
  }
}

TEST_P(Methods, RotateRandomPicturesByRandomAngles) {
  constexpr double kCorners[] = {0, 45, 90, 135, 180, 225, 270, 315, 360, -45, -90, 720};
  Session session(GetParam().SettingsAt(2012.01));
  session.host.log.enabled = false;
  for (uint32_t seed = 1; seed <= 30; ++seed) {
    std::mt19937 random(seed);
    const auto pick = [&](int least, int most) {
      return std::uniform_int_distribution<int>(least, most)(random);
    };
    const bool small = seed % 10 != 0;
    const int width = pick(1, small ? 40 : 150), height = pick(1, small ? 30 : 120);
    double angle = std::uniform_real_distribution<double>(-800, 800)(random);
    if (seed % 3 == 0) angle = pick(0, 71) * 30 - 1080 + 15 * pick(0, 1);
    if (seed % 5 == 0) {
      angle = kCorners[pick(0, 11)] + std::ldexp(pick(0, 1) ? 1.0 : -1.0, -pick(1, 40));
    }
    if (std::fmod(angle, 90) == 0) angle += 45;
    const auto background = static_cast<uint32_t>(random());
    SCOPED_TRACE(testing::Message()
                 << "seed " << seed << ": " << width << " x " << height << " by "
                 << std::setprecision(17) << angle << " on " << std::hex << background);
    const auto source = RandomPicture(session.host, GetParam(), width, height, random);
    const auto made = Make(session, "RotateVel", source.get(), {angle, sim::Color{background}});
    ASSERT_TRUE(made);
    const Raster expected =
        Rotated(Raster::Of(*source), FormatOfResults(), angle, background).result;
    ASSERT_EQ(Difference(Raster::Of(*made), expected), "");
  }
}

TEST_P(Methods, FillLargerPicturesFromTheTopLeftAndRefuseSmallerOnes) {
  for (const model::Size surplus :
       {model::Size{3, 2}, {0, 2}, {3, 0}, {-1, 0}, {0, -1}, {3, -1}, {-1, 2}}) {
    SCOPED_TRACE(testing::Message() << surplus.width << " x " << surplus.height);
    sim::Settings settings = GetParam().SettingsAt(2012.0);
    settings.surplusColumns = surplus.width, settings.surplusRows = surplus.height;
    Session session(settings);
    std::mt19937 random(4);
    const auto source = RandomPicture(session.host, GetParam(), 9, 6, random);
    // A buffer of the plugin's own has the size that it wants.
    if (GetParam().target == StorageKind::kGdk) {
      Compare(session, source.get(), true);
      continue;
    }
    uint32_t blank = 0;
    {
      const auto fresh =
          sim::Ref<sim::Picture>::Adopt(session.host.NewPicture(1, 1, GetParam().alpha));
      blank = Raster::Of(*fresh).Word(0, 0);
    }
    const bool isLarger = surplus.width >= 0 && surplus.height >= 0;
    Compare(session, source.get(), isLarger,
            {FormatOfResults(), isLarger ? surplus : model::Size{}, blank});
  }
}

TEST(Mirrors, MoveRowsWholeWhereFormatsAgreeAndPaddingAsFarAsItFits) {
  if (const std::string why = sim::InstallStorage(StorageKind::kCairo); !why.empty()) {
    GTEST_SKIP() << why;
  }
  Session session({.application = sim::AppKind::kDesktop});
  ASSERT_TRUE(session.Call<bool()>("LoadCairo"));
  // Four columns and one that is none.
  Variable<int (*)(void*)>(session.plugin, "_cairo_image_surface_get_width") = [](void*) {
    return 4;
  };
  const auto picture = session.host.MakePicture(sim::PatternImage(5, 3), {StorageKind::kCairo});
  for (const auto& [method, move] : model::kMovesInPlace) {
    const Raster before = Raster::Of(*picture);
    Raster expected = before;
    const bool isWhole = move == model::kFlipRows;
    move.ForEachPixel({isWhole ? 5 : 4, 3}, [&](int x, int y, int toX, int toY) {
      expected.Word(toX, toY) = before.Word(x, y);
    });
    EXPECT_TRUE(session.plugin.Call(method, picture.get()).boolean);
    EXPECT_EQ(Difference(Raster::Of(*picture), expected), "") << method;
  }
  // The new picture's rows are shorter, and have no room for a fifth.
  const Raster source = Raster::Of(*picture);
  Raster expected(source.format, {4, 3});
  model::kFlipRows.ForEachPixel(expected.size(), [&](int x, int y, int toX, int toY) {
    expected.Word(toX, toY) = source.Word(x, y);
  });
  sim::Settings& settings = session.host.settings;
  settings.newPictures = settings.newAlphaPictures = StorageKind::kCairo;
  const auto made = session.plugin.Call("VMirrorVel", picture.get()).picture;
  ASSERT_TRUE(made);
  EXPECT_EQ(Difference(Raster::Of(*made), expected), "");

  // Once the source is open, nothing is said to have an alpha channel: the formats differ.
  using Target = void*(void*);
  static Target* target;
  target = std::exchange(Variable<Target*>(session.plugin, "_cairo_get_target"), [](void* context) {
    sim::Host::Current().settings.missing = {"HasAlphaChannel"};
    return target(context);
  });
  const auto alpha = session.host.MakePicture(sim::PatternImage(4, 3), {StorageKind::kCairo, true});
  const auto opaque = session.plugin.Call("VMirrorVel", alpha.get()).picture;
  ASSERT_TRUE(opaque);
  EXPECT_EQ(Raster::Of(*opaque).words,
            Moved(Raster::Of(*alpha), model::Format::kRgb, model::kFlipRows).words);
}

TEST_P(Methods, PutPixelsWhereTheyBelong) {
  const std::pair<const char*, const char*> kResults[] = {
      {"MirrorVel", "fed cba "},    {"HMirrorVel", "cba fed "},   {"VMirrorVel", "def abc "},
      {"Rotate90Vel", "cf be ad "}, {"Rotate180Vel", "fed cba "}, {"Rotate270Vel", "da eb fc "},
      {"CloneVel", "abc def "},     {"BitmapVel", "abc def "},
  };
  Session session(GetParam().SettingsAt(2012.01));
  sim::Image letters(3, 2, {0, 0, 0, 255});
  for (size_t i = 0; i < 6; ++i) letters.pixels[i].green = static_cast<uint8_t>("abcdef"[i]);
  const auto source = session.host.MakePicture(letters, {GetParam().source, GetParam().alpha});
  for (const auto& [method, expected] : kResults) {
    const sim::Image made = session.plugin.Call(method, source.get()).picture->Read();
    std::string text;
    for (int i = 0; i < made.width * made.height; ++i) {
      text += static_cast<char>(made.pixels[static_cast<size_t>(i)].green);
      if ((i + 1) % made.width == 0) text += ' ';
    }
    EXPECT_EQ(text, expected) << method;
    EXPECT_EQ(session.host.Imbalance(), "") << method;
  }
}

INSTANTIATE_TEST_SUITE_P(Storages, Methods, testing::ValuesIn(kLockable.begin(), kLockable.end()),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace
