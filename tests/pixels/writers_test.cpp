// Writers: which sizes and hosts they accept, what they hold, what rendering gives and gives back.

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/pixels/picture_functions.h"

namespace {

using sim::StorageKind;
using Opaque = bool(PictureEditor&, int, int);
using Like = bool(PictureEditor&, PictureEditor&, int, int);
using LikeSize = bool(PictureEditor&, PictureEditor&);
using Into = bool(PictureEditor&, Picture*, int, int);
using MaybeAlpha = bool(PictureEditor&, int, int, signed char);

class Writers : public PixelSession {
 public:
  using PixelSession::PixelSession;
  template <class Signature, class... Args>
  bool Open(PictureEditor& editor, Args&&... args) {
    std::memset(&editor, 0xA5, sizeof editor);
    host.log.Clear();
    return Function<Signature>(plugin, "NewPictureWriter")(editor, args...);
  }
  bool OpenAlpha(PictureEditor& editor, int width, int height) {
    std::memset(&editor, 0xA5, sizeof editor);
    return Function<Opaque>(plugin, "NewPictureWriterWithAlphaChannel")(editor, width, height);
  }
  sim::Ref<sim::Picture> Render(PictureEditor& editor) {
    return Own(Function<Picture*(PictureEditor&)>(plugin, "RenderPictureWriter")(editor));
  }
  void Free(PictureEditor& editor) {
    Function<void(PictureEditor&)>(plugin, "FreePictureWriter")(editor);
  }
};

const char kOpened[] = "new alpha? 10 hold drop";
const char kAlphaOpened[] = "instance method? construct alpha? 10 hold drop";

TEST(WritersTest, SizesHaveLimits) {
  Writers session;
  session.isConsole() = true;
  PictureEditor editor;
  const int kGood[][2] = {{1, 1}, {32767, 1}, {1, 32767}};
  const int kBad[][2] = {{32768, 1}, {1, 32768}, {0, 5}, {5, 0}, {-1, 5}, {5, -32768}};
  for (const auto& [width, height] : kGood) {
    ASSERT_TRUE(session.Open<Opaque>(editor, width, height));
    EXPECT_EQ(session.Steps(), kOpened);
    EXPECT_EQ(std::pair(editor.width, editor.height), std::pair(width, height));
    session.Free(editor);
  }
  for (const auto& [width, height] : kBad) {
    EXPECT_FALSE(session.Open<Opaque>(editor, width, height));
    EXPECT_EQ(editor.picture, nullptr);
    EXPECT_EQ(session.Steps(), "") << "the host is not even asked";
    using New = Picture*(int, int, signed char);
    for (const bool alpha : {false, true}) {
      const auto made =
          session.Own(Function<New>(session.plugin, "NewPicture")(width, height, alpha));
      EXPECT_EQ(bool(made), width > 0 && height > 0);
      if (made) {
        EXPECT_EQ(made->storage->alpha(), alpha);
      }
    }
    // With alpha channel the host alone sets limits.
    EXPECT_EQ(session.OpenAlpha(editor, width, height), width > 0 && height > 0);
    if (editor.picture != nullptr) session.Free(editor);
  }
  EXPECT_EQ(session.host.Imbalance(), "");
}

TEST(WritersTest, AlphaNeedsAHostThatCan) {
  struct AlphaCase {
    double version;
    const char* missing;
    const char* steps;  // of the alpha writer
  };
  for (const AlphaCase& each :
       {AlphaCase{2011.04, "", kAlphaOpened}, AlphaCase{2011.03, "", ""}, AlphaCase{0.0, "", ""},
        AlphaCase{2012.0, "PluginNewInstance", ""}, AlphaCase{2012.0, "Picture", "instance"},
        AlphaCase{2012.0, "Constructor(width as integer, height as integer)",
                  "instance method? drop"}}) {
    SCOPED_TRACE(std::to_string(each.version) + " without " + each.missing);
    Writers session({.version = each.version, .missing = {each.missing}});
    session.isConsole() = true;
    const std::string steps = each.steps;
    const bool possible = steps == kAlphaOpened;
    PictureEditor like{}, editor;
    like.width = 4, like.height = 3, like.hasAlpha = true;
    // Exactly like its model, or not at all.
    EXPECT_EQ(session.Open<LikeSize>(editor, like), possible);
    EXPECT_EQ(session.Steps(), steps);
    if (possible) {
      EXPECT_EQ(std::pair(editor.width, editor.height), std::pair(4, 3));
    }
    session.Free(editor);
    EXPECT_EQ(session.Open<Like>(editor, like, 2, 5), possible);
    if (possible) {
      EXPECT_EQ(std::pair(editor.width, editor.height), std::pair(2, 5));
    }
    session.Free(editor);
    // Alpha where possible, else without.
    session.Steps();
    ASSERT_TRUE(session.Open<MaybeAlpha>(editor, 2, 5, true));
    EXPECT_EQ(session.Steps(),
              possible ? kAlphaOpened : steps + (steps.empty() ? "" : " ") + kOpened);
    EXPECT_EQ(editor.hasAlpha, possible);
    session.Free(editor);
    like.hasAlpha = false;
    ASSERT_TRUE(session.Open<Like>(editor, like, 2, 5));
    EXPECT_EQ(session.Steps(), kOpened);
    EXPECT_FALSE(editor.hasAlpha);
    session.Free(editor);
    ASSERT_TRUE(session.Open<MaybeAlpha>(editor, 2, 5, false));
    EXPECT_EQ(session.Steps(), kOpened);
    session.Free(editor);

    using New = Picture*(int, int);
    using MaybeNew = Picture*(int, int, signed char);
    const auto made =
        session.Own(Function<New>(session.plugin, "NewPictureWithAlphaChannel")(3, 2));
    EXPECT_EQ(bool(made), possible);
    if (made) {
      EXPECT_EQ(made->references(), 1);
    }
    const auto maybe = session.Own(Function<MaybeNew>(session.plugin, "NewPicture")(3, 2, 1));
    ASSERT_TRUE(maybe);
    EXPECT_EQ(maybe->storage->alpha(), possible);
    EXPECT_EQ(session.host.Imbalance(), "");
  }
}

TEST(WritersTest, WriteIntoAPictureThatIsLargeEnough) {
  struct IntoCase {
    int width, height;
    const char* steps;
    bool own;
  };
  Writers session;
  session.isConsole() = true;
  const auto picture = session.host.MakePicture(sim::Image(20, 30));
  const std::string elsewhere = kOpened;
  for (const IntoCase& each : {IntoCase{10, 10, "side? side? alpha? 10 hold", true},
                               IntoCase{20, 30, "side? side? alpha? 10 hold", true},
                               IntoCase{21, 30, "side? new alpha? 10 hold drop", false},
                               IntoCase{20, 31, "side? side? new alpha? 10 hold drop", false}}) {
    PictureEditor editor;
    ASSERT_TRUE(session.Open<Into>(editor, picture->handle(), each.width, each.height));
    EXPECT_EQ(session.Steps(), each.steps);
    EXPECT_EQ(editor.picture == picture->handle(), each.own);
    EXPECT_EQ(std::pair(editor.width, editor.height),
              each.own ? std::pair(20, 30) : std::pair(each.width, each.height));
    EXPECT_TRUE(editor.writable);
    EXPECT_FALSE(editor.allowCopy);
    session.Free(editor);
    EXPECT_EQ(session.Steps(), "unlock clear drop");
  }
  PictureEditor editor;
  ASSERT_TRUE(session.Open<Into>(editor, static_cast<Picture*>(nullptr), 2, 2));
  EXPECT_EQ(session.Steps(), kOpened);
  session.Free(editor);
  // A picture that cannot be opened, and no second one to be had.
  picture->StorageAs<sim::ConsoleStorage>().block().flags = 1;
  session.host.faults.failing.insert("newPicture");
  EXPECT_FALSE(session.Open<Into>(editor, picture->handle(), 2, 2));
  EXPECT_EQ(session.Steps(), "side? side? alpha? 10 unlock new");
  EXPECT_EQ(session.host.Imbalance(), "");
}

TEST(WritersTest, RenderingAWriterOnAPictureReturnsThatPicture) {
  for (const bool alpha : {false, true}) {
    Writers session;
    PictureEditor editor;
    ASSERT_TRUE(session.Open<MaybeAlpha>(editor, 3, 2, alpha));
    auto* const before = editor.picture;
    session.Call<void(PictureEditor&)>("NextRow", std::ref(editor));
    session.Steps();
    const auto rendered = session.Render(editor);
    EXPECT_EQ(session.Steps(), "hold unlock clear drop clear");
    EXPECT_EQ(rendered->handle(), before);
    EXPECT_EQ(rendered->references(), 1);
    EXPECT_EQ(editor.picture, nullptr);
    EXPECT_FALSE(session.Render(editor)) << "nothing is left to render";
    EXPECT_EQ(session.Steps(), "");
    EXPECT_EQ(session.host.Imbalance(), "");
  }
}

TEST(WritersTest, OwnBuffersBecomePicturesOrGo) {
  Writers session;
  const auto linux =
      Function<bool(PictureEditor&, long, long)>(session.plugin, "NewPictureWriterLinux");
  PictureEditor editor;
  for (const bool render : {true, false}) {
    std::memset(&editor, 0, sizeof editor);
    editor.hasAlpha = editor.writable = true;
    editor.accessX = editor.accessY = 7;
    ASSERT_TRUE(linux(editor, 10, 4));
    EXPECT_EQ(session.host.ledger.pluginAllocations.at(editor.ownedBuffer), 150U);
    EXPECT_EQ(std::count(editor.ownedBuffer, editor.ownedBuffer + 150, 0), 150);
    EXPECT_EQ(std::tie(editor.baseAddress, editor.pixels),
              std::tie(editor.ownedBuffer, editor.ownedBuffer));
    EXPECT_EQ(std::tuple(editor.width, editor.height, editor.rowBytes, editor.bytesPerPixel),
              std::tuple(10, 4, 30, 3));
    EXPECT_EQ(std::tuple(editor.pixelType, editor.accessX, editor.accessY), std::tuple(11U, 0, 0));
    EXPECT_TRUE(editor.hasAlpha && editor.writable && !editor.allowCopy);
    EXPECT_EQ(session.Steps(), "");
    if (!render) {
      session.Free(editor);
      EXPECT_EQ(session.Steps(), "");
    } else {
      for (int i = 0; i < 120; ++i) editor.ownedBuffer[i] = static_cast<uint8_t>(i);
      session.host.log.Clear();
      const auto rendered = session.Render(editor);
      ASSERT_TRUE(rendered);
      const sim::LogLine call = session.host.log.lines.at(1);
      EXPECT_EQ(call.arguments, "10, 4, 1, *, 30");
      EXPECT_EQ(session.Steps(), "build clear");
      EXPECT_EQ(rendered->Read().At(9, 3), (sim::Rgba{117, 118, 119, 255}));
    }
    EXPECT_EQ(session.host.Imbalance(), "") << "the buffer is freed";
  }
  // A host that builds no picture, no memory, and sizes beyond an int.
  ASSERT_TRUE(linux(editor = {}, 10, 4));
  session.host.faults.FailNth(1);
  EXPECT_FALSE(session.Render(editor));
  EXPECT_EQ(session.Steps(), "build");
  session.host.faults.FailNth(1);
  EXPECT_FALSE(linux(editor = {}, 10, 4));
  EXPECT_TRUE(session.host.faults.fired());
  session.host.faults.Clear();
  const std::pair<long, long> kTooLarge[] = {
      {32767, 32767}, {1L << 30, 1L << 30}, {0x7FFFFFFF, 0x7FFFFFFF}, {-1, 4}, {4, -2}};
  for (const auto& [width, height] : kTooLarge) EXPECT_FALSE(linux(editor = {}, width, height));
  EXPECT_EQ(editor.ownedBuffer, nullptr);
  EXPECT_EQ(session.host.Imbalance(), "");
}

TEST(WritersTest, PicturesThatOnlyGiveACopyAreReplacedByABuffer) {
  SKIP_WITHOUT(StorageKind::kGdk);
  Writers session({.application = sim::AppKind::kDesktop, .newPictures = StorageKind::kGdk});
  session.isDesktop() = true;
  const auto given = session.host.MakePicture(sim::Image(12, 6));
  for (const bool into : {false, true}) {
    PictureEditor editor;
    ASSERT_TRUE(into ? session.Open<Into>(editor, given->handle(), 10, 4)
                     : session.Open<Opaque>(editor, 10, 4));
    EXPECT_EQ(session.Steps(), into ? "side? side? alpha? 12 6 hold unlock clear drop"
                                    : "new alpha? 12 6 hold unlock clear drop drop");
    EXPECT_EQ(editor.picture, nullptr);
    EXPECT_EQ(editor.pixbuf, nullptr);
    EXPECT_EQ(std::tuple(editor.width, editor.height, editor.rowBytes), std::tuple(10, 4, 30));
    editor.ownedBuffer[119] = 9;
    const auto rendered = session.Render(editor);
    EXPECT_EQ(session.Steps(), "build clear");
    EXPECT_EQ(rendered->Read().At(9, 3), (sim::Rgba{0, 0, 9, 255}));
    EXPECT_EQ(session.host.Imbalance(), "");
  }
}

}  // namespace
