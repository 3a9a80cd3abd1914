// Whole pictures: sizes, clones with and without masks, drawing through the host and without it.

#include <gtest/gtest.h>

#include "tests/pixels/picture_functions.h"

namespace {

using sim::AppKind;
using sim::StorageKind;
using Clone = Picture*(Picture*);
using SizedClone = Picture*(Picture*, int, int);
using Draw = bool(Picture*, Picture*, long, long, long, long, long, long, long, long);
using DrawInto = bool(REALgraphicsStruct*, Picture*, Picture*, long, long, long, long, long, long,
                      long, long);

const char kDrawPicture[] =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
    "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";

/// The image cut or filled up with white to width x height.
sim::Image Cropped(const sim::Image& image, int width, int height) {
  sim::Image cropped(width, height, {255, 255, 255, 255});
  for (int y = 0; y < std::min(height, image.height); ++y) {
    for (int x = 0; x < std::min(width, image.width); ++x) cropped.At(x, y) = image.At(x, y);
  }
  return cropped;
}

sim::Image Opaque(sim::Image image) {
  for (sim::Rgba& pixel : image.pixels) pixel.alpha = 255;
  return image;
}

struct CloneCase {
  const char* missing;
  bool graphics;
  double version;
  /// After "new graphics", for the form without a mask, and whether the pixels travel.
  const char* steps;
  bool drawn;
  int oldEntryLookups;
};

const CloneCase kClones[] = {
    {"", true, 2012.0, " method? draw drop", true, 0},
    {"", false, 2012.0, "", false, 0},
    {kDrawPicture, true, 2012.0, " method? 10 10 unlock unlock clear drop", true, 0},
    {kDrawPicture, true, 2011.99, " method? 10 10 unlock unlock clear drop", true, 1},
    {"REALLoadObjectMethod", true, 0.0, " 10 10 unlock unlock clear drop", true, 1},
};

TEST(Helpers, ClonesAreDrawnByTheHostOrCopiedRowByRow) {
  for (const CloneCase& each : kClones) {
    SCOPED_TRACE(std::string(each.steps) + " at " + std::to_string(each.version));
    PixelSession session({.version = each.version,
                          .rows = sim::RowLayout::kReversed,
                          .missing = {each.missing},
                          .graphics = each.graphics});
    const sim::Image image = Opaque(Numbered(6, 4));
    const auto source = session.host.MakePicture(image, {.rows = sim::RowLayout::kScattered});
    const sim::Image blank = Cropped(sim::Image(), 6, 4);
    const auto whole = session.Own(session.Call<Clone>("rbClonePicture", source->handle()));
    EXPECT_EQ(session.host.log.Lookups("RuntimeGraphicsDrawPicture"), each.oldEntryLookups);
    EXPECT_EQ(session.Steps(), std::string("side? side? new graphics") + each.steps);
    EXPECT_EQ(whole->Read(), each.drawn ? image : blank);
    EXPECT_EQ(whole->references(), 1);
    // Of another size: drawn unscaled by the host; nothing can be copied row by row.
    const bool byHost = std::string(each.missing).empty() && each.graphics;
    for (const auto& [width, height] : {std::pair{9, 2}, {3, 7}, {6, 4}}) {
      const auto sized = session.Own(session.Call<Picture*(Picture*, long, long)>(
          "rbClonePicture2", source->handle(), long{width}, long{height}));
      const bool sameSize = width == 6 && height == 4;
      EXPECT_EQ(sized->Read(), byHost || (sameSize && each.drawn)
                                   ? Cropped(image, width, height)
                                   : Cropped(sim::Image(), width, height));
      EXPECT_EQ(session.host.log.Calls("REALGetPropValueInt"), 0);
      EXPECT_EQ(session.host.log.Lookups("RuntimeGraphicsDrawPicture"), each.oldEntryLookups);
      session.Steps();
    }
    // With a mask the second form of drawing is at work: it copies without a Graphics, too.
    for (const bool masked : {false, true}) {
      if (masked) {
        auto* const mask = session.host.NewPicture(6, 4, false);
        mask->Fill({1, 2, 3, 255});
        source->mask = mask;
      }
      const auto clone = session.Own(session.Call<Clone>("ClonePictureWithMask", source->handle()));
      EXPECT_EQ(clone->Read(), image);
      EXPECT_EQ(clone->mask != nullptr, masked);
      if (masked) {
        EXPECT_EQ(clone->mask->Read(), sim::Image(6, 4, {1, 2, 3, 255}));
      }
      const std::string steps = session.Steps();
      EXPECT_EQ(steps.substr(steps.size() - 4), masked ? "drop" : "mask") << steps;
    }
    EXPECT_EQ(source->Read(), image);
    EXPECT_EQ(session.host.Imbalance(), "");
  }
}

TEST(Helpers, WhatCannotBeClonedIsNull) {
  PixelSession session;
  const auto source = session.host.MakePicture(sim::Image(6, 4));
  const std::pair<int, int> kSizes[] = {{0, 4}, {6, 0}, {-1, 4}, {6, -5}};
  for (const auto& [width, height] : kSizes) {
    for (const char* name : {"ClonePicture", "ClonePictureWithMask"}) {
      EXPECT_EQ(session.Call<SizedClone>(name, source->handle(), width, height), nullptr);
      EXPECT_EQ(session.Call<SizedClone>(name, static_cast<Picture*>(nullptr), 6, 4), nullptr);
      EXPECT_EQ(session.Call<Clone>(name, static_cast<Picture*>(nullptr)), nullptr);
    }
  }
  EXPECT_EQ(session.Call<Clone>("rbBitmapPicture", static_cast<Picture*>(nullptr)), nullptr);
  using Side = int(Picture*);
  for (const char* side : {"GetPictureWidth", "GetPictureHeight"}) {
    EXPECT_EQ(session.Call<Side>(side, static_cast<Picture*>(nullptr)), 0);
  }
  EXPECT_EQ(session.Steps(), "");
  EXPECT_EQ(session.Call<Side>("GetPictureWidth", source->handle()), 6);
  EXPECT_EQ(session.Call<Side>("GetPictureHeight", source->handle()), 4);
  EXPECT_FALSE(session.Call<bool(Picture*)>("PictureHasAlphaChannel", source->handle()));
  const auto alpha = session.host.MakePicture(sim::Image(2, 2), true);
  EXPECT_TRUE(session.Call<bool(Picture*)>("PictureHasAlphaChannel", alpha->handle()));
  EXPECT_EQ(session.Steps(), "side? side? alpha? alpha?");
  EXPECT_FALSE(
      session.Call<bool(Picture*)>("PictureHasAlphaChannel", static_cast<Picture*>(nullptr)));
  EXPECT_EQ(session.Steps(), "alpha?") << "null is the host's to judge";
  session.host.settings.missing = {"Width", "Height", "HasAlphaChannel"};
  EXPECT_EQ(session.Call<Side>("GetPictureWidth", source->handle()), 0);
  EXPECT_EQ(session.Call<Side>("GetPictureHeight", source->handle()), 0);
  EXPECT_FALSE(session.Call<bool(Picture*)>("PictureHasAlphaChannel", alpha->handle()));
  EXPECT_EQ(session.Call<Clone>("rbClonePicture", source->handle()), nullptr);
  session.host.settings.missing.clear();
  session.host.faults.failing.insert("newPicture");
  EXPECT_EQ(session.Call<Clone>("ClonePictureWithMask", source->handle()), nullptr);
  EXPECT_EQ(session.Call<Clone>("rbClonePicture", source->handle()), nullptr);

  const auto same = session.Own(session.Call<Clone>("rbBitmapPicture", source->handle()));
  EXPECT_EQ(same.get(), source.get());
  EXPECT_EQ(source->references(), 2);
  EXPECT_EQ(session.host.Imbalance(), "");
}

TEST(Helpers, MasksFollowOnlyWhereTheHostGivesThem) {
  PixelSession session;
  const auto source = session.host.MakePicture(sim::Image(6, 4));
  source->mask = session.host.NewPicture(6, 4, false);
  session.host.faults.FailNth(7);  // the copy's mask
  const auto clone = session.Own(session.Call<Clone>("ClonePictureWithMask", source->handle()));
  EXPECT_TRUE(session.host.faults.fired());
  ASSERT_TRUE(clone);
  EXPECT_EQ(clone->mask, nullptr);
  EXPECT_EQ(session.Steps(), "side? side? new graphics method? draw drop mask mask drop");
  EXPECT_EQ(session.host.Imbalance(), "");
}

TEST(Helpers, DrawingHandsTheRectanglesOver) {
  PixelSession session;
  const auto source = session.host.MakePicture(Opaque(Numbered(6, 4)));
  const auto target = session.host.MakePicture(sim::Image(9, 9, {255, 255, 255, 255}));
  EXPECT_TRUE(session.Call<Draw>("GraphicsDrawPicture", target->handle(), source->handle(), 1L, 2L,
                                 4L, 3L, 2L, 1L, 3L, 2L));
  EXPECT_NE(session.host.log.Text().find("picture#1, 1, 2, 4, 3, 2, 1, 3, 2)"), std::string::npos)
      << session.host.log.Text();
  EXPECT_EQ(session.Steps(), "graphics method? draw drop");
  // Without a source, or without a Graphics, nobody is asked for the method.
  EXPECT_FALSE(session.Call<Draw>("GraphicsDrawPicture", target->handle(),
                                  static_cast<Picture*>(nullptr), 0L, 0L, 6L, 4L, 0L, 0L, 6L, 4L));
  EXPECT_EQ(session.Steps(), "graphics drop");
  EXPECT_FALSE(session.Call<DrawInto>("GraphicsDrawPicture",
                                      static_cast<REALgraphicsStruct*>(nullptr), target->handle(),
                                      source->handle(), 0L, 0L, 6L, 4L, 0L, 0L, 6L, 4L));
  EXPECT_EQ(session.Steps(), "10 10 unlock unlock clear");
  EXPECT_EQ(session.host.Imbalance(), "");
}

struct CopyCase {
  const char* name;
  const char* steps;
  bool copied = false;
  /// x, y, w, h, sx, sy, sw, sh.
  long rectangles[8] = {0, 0, 6, 4, 0, 0, 6, 4};
  void (*spoil)(sim::Picture& target, ConsolePixelBlock& to, ConsolePixelBlock& from) = nullptr;
  sim::Image (*makeTarget)() = [] { return sim::Image(6, 4); };
  double version = 2012.0;
  int failingLock = 0;
};

TEST(Helpers, OwnCopyIsParticular) {
  using Block = ConsolePixelBlock;
  const CopyCase kCases[] = {
      {"Whole", "10 10 unlock unlock clear", true},
      {"AnyEqualSize", "10 10 unlock unlock clear", true, {0, 0, -3, 99, 0, 0, -3, 99}},
      {"X", "", false, {1, 0, 6, 4, 0, 0, 6, 4}},
      {"Y", "", false, {0, 1, 6, 4, 0, 0, 6, 4}},
      {"SourceX", "", false, {0, 0, 6, 4, 1, 0, 6, 4}},
      {"SourceY", "", false, {0, 0, 6, 4, 0, 1, 6, 4}},
      {"Width", "", false, {0, 0, 6, 4, 0, 0, 5, 4}},
      {"Height", "", false, {0, 0, 6, 4, 0, 0, 6, 3}},
      {.name = "SourceLock", .steps = "10", .failingLock = 1},
      {.name = "OldSourceLock", .steps = "10 unlock", .version = 2011.99, .failingLock = 1},
      {.name = "TargetLock", .steps = "10 10 unlock clear", .failingLock = 2},
      {.name = "OldTargetLock",
       .steps = "10 10 unlock unlock clear",
       .version = 0.0,
       .failingLock = 2},
      {.name = "OtherWidth",
       .steps = "10 10 unlock unlock clear",
       .makeTarget = [] { return sim::Image(7, 4); }},
      {.name = "OtherHeight",
       .steps = "10 10 unlock unlock clear",
       .makeTarget = [] { return sim::Image(6, 3); }},
      {.name = "TargetFlags",
       .steps = "10 10 unlock unlock clear",
       .spoil = [](sim::Picture&, Block& to, Block&) { to.flags = 1; }},
      {.name = "SourceFlags",
       .steps = "10 10 unlock unlock clear",
       .spoil = [](sim::Picture&, Block&, Block& from) { from.flags = 2; }},
      {.name = "TargetRows",
       .steps = "10 10 unlock unlock clear",
       .spoil = [](sim::Picture&, Block& to, Block&) { to.rowTable = nullptr; }},
      {.name = "SourceRows",
       .steps = "10 10 unlock unlock clear",
       .spoil = [](sim::Picture&, Block&, Block& from) { from.rowTable = nullptr; }},
      {.name = "WithoutStorageWord",
       .steps = "10 10 unlock unlock clear",
       .copied = true,
       .spoil = [](sim::Picture&, Block& to, Block& from) { to.storage = from.storage = nullptr; }},
  };
  for (const CopyCase& each : kCases) {
    SCOPED_TRACE(each.name);
    PixelSession session({.version = each.version});
    const sim::Image image = Opaque(Numbered(6, 4));
    const auto source = session.host.MakePicture(image, {.rows = sim::RowLayout::kScattered});
    const auto target =
        session.host.MakePicture(each.makeTarget(), {.rows = sim::RowLayout::kReversed});
    const sim::Image before = target->Read();
    auto& from = source->StorageAs<sim::ConsoleStorage>().block();
    auto& to = target->StorageAs<sim::ConsoleStorage>().block();
    if (each.spoil != nullptr) each.spoil(*target, to, from);
    if (each.failingLock != 0) session.host.faults.FailNth(each.failingLock);
    const auto& r = each.rectangles;
    EXPECT_EQ(session.Call<Draw>("OwnCopy", target->handle(), source->handle(), r[0], r[1], r[2],
                                 r[3], r[4], r[5], r[6], r[7]),
              each.copied);
    EXPECT_EQ(session.Steps(), each.steps);
    EXPECT_EQ(target->Read(), each.copied ? image : before);
    EXPECT_EQ(session.Call<Draw>("OwnCopy", static_cast<Picture*>(nullptr), source->handle(), 0L,
                                 0L, 6L, 4L, 0L, 0L, 6L, 4L),
              false);
    EXPECT_EQ(session.Call<Draw>("OwnCopy", target->handle(), static_cast<Picture*>(nullptr), 0L,
                                 0L, 6L, 4L, 0L, 0L, 6L, 4L),
              false);
    EXPECT_EQ(session.Steps(), "");
    EXPECT_EQ(session.host.Imbalance(), "");
  }
}

}  // namespace
