// Writers: which sizes and hosts they accept, what they hold, what rendering gives and gives back.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "tests/pixels/picture_functions.h"

namespace {

using sim::AppKind;
using sim::StorageKind;
using Sized = bool(PictureEditor&, int, int);
using Like = bool(PictureEditor&, PictureEditor&, int, int);
using LikeSize = bool(PictureEditor&, PictureEditor&);
using Into = bool(PictureEditor&, Picture*, int, int);
using MaybeAlpha = bool(PictureEditor&, int, int, signed char);

const std::string kOpened = "new alpha? 10 hold drop";
const std::string kAlphaOpened = "instance method? construct alpha? 10 hold drop";

/// A session whose plugin knows its application.
class Writers : public PixelSession {
 public:
  explicit Writers(const sim::Settings& settings = {}) : PixelSession(settings) {
    isConsole() = settings.application == AppKind::kConsole;
    isDesktop() = settings.application == AppKind::kDesktop;
  }
  template <class Signature, class... Args>
  bool Open(PictureEditor& editor, Args&&... args) {
    std::memset(&editor, 0xA5, sizeof editor);
    host.log.Clear();
    return Call<Signature>("NewPictureWriter", editor, args...);
  }
  sim::Ref<sim::Picture> Render(PictureEditor& editor) {
    return Own(Call<Picture*(PictureEditor&)>("RenderPictureWriter", editor));
  }
  void Free(PictureEditor& editor) { Call<void(PictureEditor&)>("FreePictureWriter", editor); }
  /// Opens a writer and gives it up. Tells the steps of the opening and what was opened, if
  /// anything: "new alpha? 10 hold drop: 4 x 3", with " alpha" behind it.
  template <class Signature, class... Args>
  std::string Try(Args&&... args) {
    PictureEditor editor;
    const bool opened = Open<Signature>(editor, args...);
    std::string told = Steps();
    EXPECT_EQ(editor.picture != nullptr, opened);
    if (opened) {
      told += ": " + std::to_string(editor.width) + " x " + std::to_string(editor.height);
      if (editor.hasAlpha) told += " alpha";
      EXPECT_TRUE(editor.writable && !editor.allowCopy);
    }
    Free(editor);
    EXPECT_EQ(Steps(), opened ? "unlock clear drop" : "");
    EXPECT_EQ(host.Imbalance(), "");
    return told;
  }
};

TEST(WritersTest, SizesHaveLimits) {
  Writers session;
  for (const auto& [width, height] : {std::pair{1, 1}, {32767, 1}, {1, 32767}}) {
    EXPECT_EQ(session.Try<Sized>(width, height),
              kOpened + ": " + std::to_string(width) + " x " + std::to_string(height));
  }
  for (const auto& [width, height] :
       {std::pair{32768, 1}, {1, 32768}, {0, 5}, {5, 0}, {-1, 5}, {5, -32768}}) {
    EXPECT_EQ(session.Try<Sized>(width, height), "") << "the host is not even asked";
    const bool positive = width > 0 && height > 0;
    for (const bool alpha : {false, true}) {
      const auto made = session.Own(
          session.Call<Picture*(int, int, signed char)>("NewPicture", width, height, alpha));
      EXPECT_EQ(made && made->storage->alpha() == alpha, positive);
    }
    // With alpha channel the host alone sets limits.
    PictureEditor editor;
    std::memset(&editor, 0xA5, sizeof editor);
    EXPECT_EQ(session.Call<Sized>("NewPictureWriterWithAlphaChannel", editor, width, height),
              positive);
    session.Free(editor);
    EXPECT_EQ(session.Steps().empty(), !positive);
  }
}

TEST(WritersTest, AlphaNeedsAHostThatCan) {
  struct AlphaCase {
    double version;
    const char* missing;
    std::string steps;  // of the alpha writer
  };
  for (const AlphaCase& each :
       {AlphaCase{2011.04, "", kAlphaOpened}, AlphaCase{2011.03, "", ""}, AlphaCase{0.0, "", ""},
        AlphaCase{std::nan(""), "", ""}, AlphaCase{2012.0, "PluginNewInstance", ""},
        AlphaCase{2012.0, "Picture", "instance"},
        AlphaCase{2012.0, "Constructor(width as integer, height as integer)",
                  "instance method? drop"}}) {
    SCOPED_TRACE(std::to_string(each.version) + " without " + each.missing);
    Writers session({.version = each.version, .missing = {each.missing}});
    const bool possible = each.steps == kAlphaOpened;
    const auto told = [&](const char* size) {
      return possible ? kAlphaOpened + size + " alpha" : each.steps;
    };
    // Exactly like its model, or not at all.
    PictureEditor like{};
    like.width = 4, like.height = 3, like.hasAlpha = true;
    EXPECT_EQ(session.Try<LikeSize>(like), told(": 4 x 3"));
    EXPECT_EQ(session.Try<Like>(like, 2, 5), told(": 2 x 5"));
    like.hasAlpha = false;
    EXPECT_EQ(session.Try<Like>(like, 2, 5), kOpened + ": 2 x 5");
    // Alpha where possible, else without.
    const std::string failing = each.steps.empty() ? "" : each.steps + " ";
    EXPECT_EQ(session.Try<MaybeAlpha>(2, 5, true),
              possible ? told(": 2 x 5") : failing + kOpened + ": 2 x 5");
    EXPECT_EQ(session.Try<MaybeAlpha>(2, 5, false), kOpened + ": 2 x 5");

    const auto made =
        session.Own(session.Call<Picture*(int, int)>("NewPictureWithAlphaChannel", 3, 2));
    EXPECT_EQ(made && made->references() == 1, possible);
    const auto maybe =
        session.Own(session.Call<Picture*(int, int, signed char)>("NewPicture", 3, 2, true));
    ASSERT_TRUE(maybe);
    EXPECT_EQ(maybe->storage->alpha(), possible);
  }
}

TEST(WritersTest, WriteIntoAPictureThatIsLargeEnough) {
  Writers session;
  const auto picture = session.host.MakePicture(sim::Image(20, 30));
  Picture* const given = picture->handle();
  EXPECT_EQ(session.Try<Into>(given, 10, 10), "side? side? alpha? 10 hold: 20 x 30");
  EXPECT_EQ(session.Try<Into>(given, 20, 30), "side? side? alpha? 10 hold: 20 x 30");
  EXPECT_EQ(session.Try<Into>(given, 21, 30), "side? " + kOpened + ": 21 x 30");
  EXPECT_EQ(session.Try<Into>(given, 20, 31), "side? side? " + kOpened + ": 20 x 31");
  EXPECT_EQ(session.Try<Into>(nullptr, 2, 2), kOpened + ": 2 x 2");
  // A picture that cannot be opened, and no second one to be had.
  picture->StorageAs<sim::ConsoleStorage>().block().flags = 1;
  session.host.faults.failing.insert("newPicture");
  EXPECT_EQ(session.Try<Into>(given, 2, 2), "side? side? alpha? 10 unlock new");
}

TEST(WritersTest, RenderingAWriterOnAPictureReturnsThatPicture) {
  for (const bool alpha : {false, true}) {
    Writers session;
    PictureEditor editor;
    ASSERT_TRUE(session.Open<MaybeAlpha>(editor, 3, 2, alpha));
    auto* const before = editor.picture;
    session.Call<void(PictureEditor&)>("NextRow", editor);
    session.Steps();
    const auto rendered = session.Render(editor);
    EXPECT_EQ(session.Steps(), "hold unlock clear drop clear");
    EXPECT_EQ(rendered->handle(), before);
    EXPECT_EQ(rendered->references(), 1);
    EXPECT_EQ(editor.picture, nullptr);
    EXPECT_FALSE(session.Render(editor)) << "nothing is left to render";
    EXPECT_EQ(session.Steps(), "");
  }
}

TEST(WritersTest, OwnBuffersBecomePicturesOrGo) {
  Writers session;
  const auto linux = [&](PictureEditor& editor, long width, long height) {
    return session.Call<bool(PictureEditor&, long, long)>("NewPictureWriterLinux", editor, width,
                                                          height);
  };
  PictureEditor editor;
  for (const bool render : {true, false}) {
    editor = {};
    editor.hasAlpha = editor.writable = true;
    editor.accessX = editor.accessY = 7;
    ASSERT_TRUE(linux(editor, 10, 4));
    uint8_t* const buffer = editor.ownedBuffer;
    EXPECT_EQ(session.host.ledger.pluginAllocations.at(buffer).size, 150U);
    EXPECT_EQ(std::count(buffer, buffer + 150, 0), 150);
    EXPECT_EQ(std::tuple(editor.baseAddress, editor.pixels), std::tuple(buffer, buffer));
    EXPECT_EQ(std::tuple(editor.width, editor.height, editor.rowBytes, editor.bytesPerPixel),
              std::tuple(10, 4, 30, 3));
    EXPECT_EQ(std::tuple(editor.pixelType, editor.accessX, editor.accessY), std::tuple(11U, 0, 0));
    EXPECT_TRUE(editor.hasAlpha && editor.writable && !editor.allowCopy);
    EXPECT_EQ(session.Steps(), "");
    if (render) {
      for (int i = 0; i < 120; ++i) buffer[i] = static_cast<uint8_t>(i);
      const auto rendered = session.Render(editor);
      ASSERT_TRUE(rendered);
      EXPECT_NE(session.host.log.Text().find("(10, 4, 1, *, 30)"), std::string::npos);
      EXPECT_EQ(session.Steps(), "build clear");
      EXPECT_EQ(rendered->Read().At(9, 3), (sim::Rgba{117, 118, 119, 255}));
    } else {
      for (const char* name : {"ClosePictureReader", "ClosePictureEditor"}) {
        session.Call<void(PictureEditor&)>(name, editor);
        EXPECT_EQ(editor.ownedBuffer, buffer) << "given up by the writers' name alone";
      }
      for (int i = 0; i < 2; ++i) session.Free(editor);
      EXPECT_EQ(session.Steps(), "");
    }
    EXPECT_EQ(session.host.Imbalance(), "") << "the buffer is freed";
  }
  // A host that builds no picture, no memory, and sizes beyond an int.
  ASSERT_TRUE(linux(editor = {}, 10, 4));
  session.host.faults.FailNth(1);
  EXPECT_FALSE(session.Render(editor));
  EXPECT_EQ(session.Steps(), "build");
  // The largest buffer of all is tried.
  session.host.faults.FailNth(1);
  EXPECT_FALSE(linux(editor = {}, 1, 0x7FFFFFFF / 3 - 1));
  EXPECT_TRUE(session.host.faults.fired());
  const std::pair<long, long> kTooLarge[] = {
      {32767, 32767}, {1L << 30, 1L << 30}, {0x7FFFFFFF, 0x7FFFFFFF}, {-1, 4}, {4, -2}};
  session.host.faults.Clear();
  for (const auto& [width, height] : kTooLarge) EXPECT_FALSE(linux(editor = {}, width, height));
  EXPECT_EQ(session.host.faults.fallible(), 0) << "no memory is asked for";
  for (const auto& [width, height] : {std::pair{4, 0}, {0, 4}}) {
    EXPECT_TRUE(linux(editor = {}, width, height)) << "the spare row alone, or rows of no length";
    session.Free(editor);
  }
}

TEST(WritersTest, PicturesThatOnlyGiveACopyAreReplacedByABuffer) {
  SKIP_WITHOUT(StorageKind::kGdk);
  Writers session({.application = AppKind::kDesktop, .newPictures = StorageKind::kGdk});
  const auto given = session.host.MakePicture(sim::Image(12, 6));
  for (const bool into : {false, true}) {
    PictureEditor editor;
    ASSERT_TRUE(into ? session.Open<Into>(editor, given->handle(), 10, 4)
                     : session.Open<Sized>(editor, 10, 4));
    EXPECT_EQ(session.Steps(), into ? "side? side? alpha? 12 6 hold unlock clear drop"
                                    : "new alpha? 12 6 hold unlock clear drop drop");
    EXPECT_EQ(editor.picture, nullptr);
    EXPECT_EQ(editor.pixbuf, nullptr);
    EXPECT_EQ(std::tuple(editor.width, editor.height, editor.rowBytes), std::tuple(10, 4, 30));
    editor.ownedBuffer[119] = 9;
    const auto rendered = session.Render(editor);
    EXPECT_EQ(session.Steps(), "build clear");
    EXPECT_EQ(rendered->Read().At(9, 3), (sim::Rgba{0, 0, 9, 255}));
  }
}

}  // namespace
