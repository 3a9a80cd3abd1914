// Whole pictures: sizes, clones with and without masks, drawing through the host and without it.

#include <gtest/gtest.h>

#include <cmath>

#include "tests/pixels/picture_functions.h"

namespace {

using Clone = Picture*(Picture*);
using SizedClone = Picture*(Picture*, int, int);
using Draw = bool(Picture*, Picture*, long, long, long, long, long, long, long, long);

constexpr Picture* kNoPicture = nullptr;
constexpr sim::Rgba kWhite = {255, 255, 255, 255};

sim::Image Opaque(int width, int height) {
  sim::Image image = sim::PatternImage(width, height);
  for (sim::Rgba& pixel : image.pixels) pixel.alpha = 255;
  return image;
}

struct CloneCase {
  const char* missing;
  bool graphics;
  double version;
  /// After "new graphics", for the form without a mask, and whether the pixels travel.
  std::string steps;
  bool drawn;
  int oldEntryLookups;
};

const CloneCase kClones[] = {
    {"", true, 2012.0, " method? draw drop", true, 0},
    {"", false, 2012.0, "", false, 0},
    {kDrawPicture, true, 2012.0, " method? 10 10 unlock unlock clear drop", true, 0},
    {kDrawPicture, true, std::nan(""), " method? 10 10 unlock unlock clear drop", true, 0},
    {kDrawPicture, true, 2011.99, " method? 10 10 unlock unlock clear drop", true, 1},
    {"REALLoadObjectMethod", true, 0.0, " 10 10 unlock unlock clear drop", true, 1},
};

TEST(Helpers, ClonesAreDrawnByTheHostOrCopiedRowByRow) {
  for (const CloneCase& each : kClones) {
    SCOPED_TRACE(each.steps + " at " + std::to_string(each.version));
    PixelSession session({.version = each.version,
                          .rows = sim::RowLayout::kReversed,
                          .missing = {each.missing},
                          .graphics = each.graphics});
    const sim::Image image = Opaque(6, 4);
    const auto source = session.host.MakePicture(image, {.rows = sim::RowLayout::kScattered});
    const auto whole = session.Own(session.Call<Clone>("rbClonePicture", source->handle()));
    EXPECT_EQ(session.host.log.Lookups("RuntimeGraphicsDrawPicture"), each.oldEntryLookups);
    EXPECT_EQ(session.Steps(), "side? side? new graphics" + each.steps);
    EXPECT_EQ(whole->Read(), each.drawn ? image : sim::Image(6, 4, kWhite));
    EXPECT_EQ(whole->references(), 1);
    // Of another size, nothing can be copied row by row.
    const auto sized = session.Own(
        session.Call<Picture*(Picture*, long, long)>("rbClonePicture2", source->handle(), 9, 2));
    EXPECT_EQ(session.Steps(), "new graphics" + each.steps);
    const bool byHost = each.steps.find("draw") != std::string::npos;
    EXPECT_EQ(sized->Read() != sim::Image(9, 2, kWhite), byHost);
    // With a mask the second form of drawing is at work: it copies without a Graphics, too.
    const sim::Image mask(6, 4, {1, 2, 3, 255});
    for (const bool masked : {false, true}) {
      if (masked) (source->mask = session.host.NewPicture(6, 4, false))->Write(mask);
      const auto clone = session.Own(session.Call<Clone>("ClonePictureWithMask", source->handle()));
      EXPECT_EQ(clone->Read(), image);
      ASSERT_EQ(clone->mask != nullptr, masked);
      EXPECT_TRUE(!masked || clone->mask->Read() == mask);
    }
    EXPECT_EQ(source->Read(), image);
  }
}

TEST(Helpers, AMaskThatTheHostDoesNotGiveIsLeftOut) {
  PixelSession session;
  const auto source = session.host.MakePicture(sim::Image(6, 4));
  source->mask = session.host.NewPicture(6, 4, false);
  session.host.faults.FailNth(7);
  const auto clone = session.Own(session.Call<Clone>("ClonePictureWithMask", source->handle()));
  const std::string log = session.host.log.Text();
  EXPECT_NE(log.find("Mask(picture#3, 1)", log.find("Mask(picture#1, 0)")), log.npos) << log;
  EXPECT_EQ(session.Steps(), "side? side? new graphics method? draw drop mask mask drop");
  ASSERT_TRUE(clone);
  EXPECT_EQ(clone->mask, nullptr);
  // Into a picture that the host does not make, nothing is drawn.
  session.host.faults.FailNth(3);
  EXPECT_EQ(session.Call<Clone>("ClonePicture", source->handle()), nullptr);
  EXPECT_EQ(session.Steps(), "side? side? new");
}

TEST(Helpers, WhatIsNoPictureHasNoSizeAndNoClone) {
  PixelSession session;
  const auto source = session.host.MakePicture(sim::Image(6, 4));
  for (const char* name : {"ClonePicture", "ClonePictureWithMask"}) {
    for (const auto& [width, height] : {std::pair{0, 4}, {6, 0}, {-1, 4}, {6, -5}}) {
      EXPECT_EQ(session.Call<SizedClone>(name, source->handle(), width, height), nullptr);
    }
    EXPECT_EQ(session.Call<SizedClone>(name, kNoPicture, 6, 4), nullptr);
    EXPECT_EQ(session.Call<Clone>(name, kNoPicture), nullptr);
  }
  EXPECT_EQ(session.Call<Clone>("rbBitmapPicture", kNoPicture), nullptr);
  for (const auto& [name, length] : {std::pair{"GetPictureWidth", 6}, {"GetPictureHeight", 4}}) {
    EXPECT_EQ(session.Call<int(Picture*)>(name, kNoPicture), 0);
    EXPECT_EQ(session.Steps(), "");
    EXPECT_EQ(session.Call<int(Picture*)>(name, source->handle()), length);
    EXPECT_EQ(session.Steps(), "side?");
  }
  for (const bool alpha : {false, true}) {
    const auto picture = session.host.MakePicture(sim::Image(2, 2), alpha);
    if (alpha) picture->properties["HasAlphaChannel"].bits = 2;  // true all the same
    EXPECT_EQ(session.Call<bool(Picture*)>("PictureHasAlphaChannel", picture->handle()), alpha);
  }
  session.Steps();
  EXPECT_FALSE(session.Call<bool(Picture*)>("PictureHasAlphaChannel", kNoPicture));
  EXPECT_EQ(session.Steps(), "alpha?") << "null is the host's to judge";
  const auto same = session.Own(session.Call<Clone>("rbBitmapPicture", source->handle()));
  EXPECT_EQ(same.get(), source.get());
  EXPECT_EQ(source->references(), 2);
}

TEST(Helpers, DrawingHandsTheRectanglesOver) {
  PixelSession session;
  const auto source = session.host.MakePicture(Opaque(6, 4));
  const auto target = session.host.MakePicture(sim::Image(9, 9, kWhite));
  EXPECT_TRUE(session.Call<Draw>("GraphicsDrawPicture", target->handle(), source->handle(), 1, 2, 4,
                                 3, 2, 1, 3, 2));
  const std::string log = session.host.log.Text();
  EXPECT_NE(log.find("picture#1, 1, 2, 4, 3, 2, 1, 3, 2)"), std::string::npos) << log;
  EXPECT_EQ(session.Steps(), "graphics method? draw drop");
  // Without a source, or without a Graphics, nobody is asked for the method.
  EXPECT_FALSE(session.Call<Draw>("GraphicsDrawPicture", target->handle(), kNoPicture, 0, 0, 6, 4,
                                  0, 0, 6, 4));
  EXPECT_EQ(session.Steps(), "graphics drop");
  using DrawInto =
      bool(REALgraphicsStruct*, Picture*, Picture*, long, long, long, long, long, long, long, long);
  EXPECT_FALSE(session.Call<DrawInto>("GraphicsDrawPicture", nullptr, target->handle(),
                                      source->handle(), 0, 0, 6, 4, 0, 0, 6, 4));
  EXPECT_EQ(session.Steps(), "10 10 unlock unlock clear");
}

/// One call of OwnCopy, to be changed before it is made.
struct Copy {
  ConsolePixelBlock* to;
  ConsolePixelBlock* from;
  sim::Faults* faults;
  long x = 0, y = 0, w = 6, h = 4, sx = 0, sy = 0, sw = 6, sh = 4;
};

struct CopyCase {
  const char* name;
  const char* steps;
  bool copied;
  void (*change)(Copy& copy);
};

TEST(Helpers, OwnCopyIsParticular) {
  constexpr const char* kBoth = "10 10 unlock unlock clear";
  const CopyCase kCases[] = {
      {"Whole", kBoth, true, [](Copy&) {}},
      {"AnyEqualSize", kBoth, true, [](Copy& c) { c.w = c.sw = -3, c.h = c.sh = 99; }},
      {"X", "", false, [](Copy& c) { c.x = 1; }},
      {"Y", "", false, [](Copy& c) { c.y = 1; }},
      {"SourceX", "", false, [](Copy& c) { c.sx = 1; }},
      {"SourceY", "", false, [](Copy& c) { c.sy = 1; }},
      {"Width", "", false, [](Copy& c) { c.sw = 5; }},
      {"Height", "", false, [](Copy& c) { c.sh = 3; }},
      {"SourceLock", "10", false, [](Copy& c) { c.faults->FailNth(1); }},
      {"TargetLock", "10 10 unlock clear", false, [](Copy& c) { c.faults->FailNth(2); }},
      {"OtherWidth", kBoth, false, [](Copy& c) { c.to->width = 7; }},
      {"OtherHeight", kBoth, false, [](Copy& c) { c.to->height = 3; }},
      {"TargetFlags", kBoth, false, [](Copy& c) { c.to->flags = 1; }},
      {"SourceFlags", kBoth, false, [](Copy& c) { c.from->flags = 2; }},
      {"TargetRows", kBoth, false, [](Copy& c) { c.to->rowTable = nullptr; }},
      {"SourceRows", kBoth, false, [](Copy& c) { c.from->rowTable = nullptr; }},
      {"NoWidth", kBoth, true, [](Copy& c) { c.to->width = c.from->width = 0; }},
      {"NegativeWidth", kBoth, true, [](Copy& c) { c.to->width = c.from->width = -1; }},
      {"NoStorage", kBoth, true, [](Copy& c) { c.to->storage = c.from->storage = nullptr; }},
  };
  for (const CopyCase& each : kCases) {
    SCOPED_TRACE(each.name);
    PixelSession session;
    const sim::Image image = Opaque(1, 4), before(1, 4, kWhite);
    const auto source = session.host.MakePicture(image);
    const auto target = session.host.MakePicture(before, {.rows = sim::RowLayout::kReversed});
    Copy copy{&target->StorageAs<sim::ConsoleStorage>().block(),
              &source->StorageAs<sim::ConsoleStorage>().block(), &session.host.faults};
    each.change(copy);
    const auto own = [&](Picture* to, Picture* from) {
      return session.Call<Draw>("OwnCopy", to, from, copy.x, copy.y, copy.w, copy.h, copy.sx,
                                copy.sy, copy.sw, copy.sh);
    };
    EXPECT_FALSE(own(nullptr, source->handle()) || own(target->handle(), nullptr));
    EXPECT_EQ(own(target->handle(), source->handle()), each.copied);
    EXPECT_EQ(session.Steps(), each.steps);
    EXPECT_EQ(target->Read(), each.copied && copy.to->width > 0 ? image : before);
  }
}

}  // namespace
