// Opening pictures: the order in which storages are tried, what each leads to, and what is given
// back when it leads nowhere.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <utility>

#include "tests/pixels/odd_storage.h"
#include "tests/pixels/picture_functions.h"

namespace {

using sim::AppKind;
using sim::StorageKind;

constexpr StorageKind kNone = StorageKind::kNone, kBlock = StorageKind::kConsole,
                      kCairo = StorageKind::kCairo, kGdk = StorageKind::kGdk;
constexpr AppKind kUnknown = AppKind::kUnknown, kDesktop = AppKind::kDesktop,
                  kConsole = AppKind::kConsole, kWeb = AppKind::kWeb;

/// Drawing a temporary copy, up to its opening.
#define COPY "side? side? new graphics method? draw drop "

struct ReaderCase {
  const char* name;
  AppKind application;
  StorageKind storage;
  bool alpha;
  /// r reading, c reading with a copy allowed, e for the editor of in-place changes.
  char mode;
  double version;
  /// After "kinds alpha? ".
  std::string steps;
  uint32_t format;  // 0: refused
  /// What the application is known as afterwards: c for console, d for desktop, or neither.
  char known;
  /// Where temporary copies go.
  StorageKind copies = kBlock;
};

const ReaderCase kCases[] = {
    {"Console", kConsole, kBlock, false, 'c', 2012.0, "10 hold", kPixelConsole, 'c'},
    {"ConsoleEdited", kConsole, kBlock, false, 'e', 0.0, "10 hold", kPixelConsole, 'c'},
    {"Web", kWeb, kBlock, true, 'c', 2012.0, "10 hold", kPixelConsole, 'c'},
    {"ConsoleNotLockable", kConsole, kNone, false, 'c', 2012.0, "10", 0, 'c'},
    {"OldConsoleNotLockable", kConsole, kNone, true, 'c', 2011.99, "10 unlock", 0, 'c'},
    {"Unknown", kUnknown, kBlock, false, 'c', 2012.0, "12 6 10 hold", kPixelConsole, 'c'},
    {"UnknownEdited", kUnknown, kBlock, false, 'e', 2012.0, "12 6 10 hold", kPixelConsole, 'c'},
    {"OldUnknown", kUnknown, kBlock, false, 'r', 2011.99, "12 unlock 6 unlock 10 hold",
     kPixelConsole, 'c'},
    {"UnknownAlpha", kUnknown, kBlock, true, 'c', 2012.0, "12 10 hold", kPixelConsole, 'c'},
    {"UnknownCopied", kUnknown, kNone, false, 'c', 2012.0,
     "12 6 10 " COPY "kinds alpha? 12 6 10 hold drop", kPixelConsole, 'c'},
    {"UnknownNotLockable", kUnknown, kNone, false, 'r', 2012.0, "12 6 10", 0, '-'},
    {"CopyNotCopiedAgain", kUnknown, kNone, false, 'c', 2012.0,
     "12 6 10 " COPY "kinds alpha? 12 6 10 drop", 0, '-', kNone},
    {"DesktopRefusesConsole", kDesktop, kBlock, false, 'r', 2012.0, "12 6", 0, 'd'},
    {"DesktopRefusesConsoleAlpha", kDesktop, kBlock, true, 'c', 2012.0, "12", 0, 'd'},
    {"DesktopCopiesNothingToEdit", kDesktop, kNone, false, 'e', 2011.99, "12 unlock 6 unlock", 0,
     'd'},
    {"DesktopCopyOfNoUse", kDesktop, kNone, false, 'c', 2012.0, "12 6 " COPY "alpha? 12 6 drop", 0,
     'd'},
    {"Cairo", kDesktop, kCairo, false, 'c', 2012.0, "12 hold", kPixelRgb32, 'd'},
    {"CairoAlphaEdited", kDesktop, kCairo, true, 'e', 0.0, "12 hold", kPixelArgb32, 'd'},
    {"UnknownCairo", kUnknown, kCairo, true, 'c', 2012.0, "12 hold", kPixelArgb32, 'd'},
    {"ConsoleRefusesCairo", kConsole, kCairo, true, 'c', 2012.0, "10", 0, 'c'},
    {"DesktopCopiedToCairo", kDesktop, kNone, false, 'c', 2012.0,
     "12 6 " COPY "alpha? 12 hold drop", kPixelRgb32, 'd', kCairo},
    {"Gdk", kDesktop, kGdk, false, 'r', 2012.0, "12 6 hold", kPixelRgb24, 'd'},
    {"OldUnknownGdk", kUnknown, kGdk, false, 'c', 2011.99, "12 unlock 6 hold", kPixelRgb24, 'd'},
    {"GdkNotEdited", kDesktop, kGdk, false, 'e', 2012.0, "12 6 hold unlock clear drop", 0, 'd'},
};

void PrintTo(const ReaderCase& param, std::ostream* out) { *out << param.name; }

class Reader : public testing::TestWithParam<ReaderCase> {};

TEST_P(Reader, TriesTheStoragesInOrder) {
  const ReaderCase& param = GetParam();
  SKIP_WITHOUT(param.storage);
  SKIP_WITHOUT(param.copies);
  PixelSession session({.version = param.version,
                        .application = param.application,
                        .newPictures = param.copies,
                        .extraStrideBytes = 12});
  const sim::Image image = sim::PatternImage(5, 3);
  const auto picture =
      session.host.MakePicture(image, {param.storage, param.alpha, sim::RowLayout::kScattered});
  PictureEditor editor;
  std::memset(&editor, 0xA5, sizeof editor);
  const bool edits = param.mode == 'e';
  const bool opened = param.mode == 'r' ? session.Read(editor, picture->handle(), false, false)
                                        : session.Call<bool(PictureEditor&, Picture*)>(
                                              edits ? "GetPictureEditor" : "GetPictureReader",
                                              editor, picture->handle());
  EXPECT_EQ(session.Steps(), "kinds alpha? " + param.steps);
  EXPECT_EQ(opened, param.format != 0);
  EXPECT_EQ(session.isConsole(), param.known == 'c');
  EXPECT_EQ(session.isDesktop(), param.known == 'd');
  EXPECT_EQ(editor.picture != nullptr, opened);
  EXPECT_EQ(editor.pixbuf != nullptr, param.format == kPixelRgb24);
  if (opened) {
    EXPECT_EQ(std::tuple(editor.width, editor.height, editor.accessX, editor.accessY),
              std::tuple(5, 3, 0, 0));
    EXPECT_EQ(editor.pixelType, param.format);
    EXPECT_EQ(editor.bytesPerPixel, param.format == kPixelRgb24 ? 3 : 4);
    if (param.format != kPixelRgb24) {
      EXPECT_EQ(editor.rowBytes, param.format == kPixelConsole ? 20 : 32);
    }
    EXPECT_EQ(editor.baseAddress, editor.pixels);
    EXPECT_EQ(editor.ownedBuffer, nullptr);
    EXPECT_EQ(editor.hasAlpha, param.alpha);
    EXPECT_EQ(std::pair(editor.writable, editor.allowCopy), std::pair(edits, param.mode != 'r'));
    ASSERT_EQ(editor.rowTable != nullptr, param.format == kPixelConsole);
    EXPECT_EQ(editor.rowTable != nullptr ? *editor.rowTable : editor.pixels, editor.pixels);
    const velpicture::Rgba read = session.Get(editor, 4, 2);
    if (param.format != kPixelArgb32) {  // where colours are premultiplied
      EXPECT_EQ(std::pair(read.red, read.blue),
                std::pair(int{image.At(4, 2).red}, int{image.At(4, 2).blue}));
    }
    // The close frees a temporary copy, too.
    session.Close(editor);
    EXPECT_EQ(session.Steps(), edits ? "unlock clear drop" : "unlock drop");
  }
  EXPECT_EQ(session.host.Imbalance(), "");
  EXPECT_EQ(session.host.ledger.livePictures, 1);
}

INSTANTIATE_TEST_SUITE_P(Order, Reader, testing::ValuesIn(kCases),
                         [](const auto& instance) { return instance.param.name; });

TEST(ReaderChecks, OddDescriptionsAreRefusedAndGivenBack) {
  const OddStorage::Scope odd;
  static uint32_t something[2000];
  struct OddCase {
    int lockType, answeredType;
    void* data;
    const char* steps;
    std::string missingLibrary;
  };
  for (const OddCase& each : {OddCase{12, 12, nullptr, "12 unlock", ""},
                              {12, 10, something, "12 unlock", ""},
                              {12, 12, something, "12 unlock", "libcairo"},
                              {6, 6, nullptr, "12 6 unlock", ""},
                              {6, 12, something, "12 6 unlock", ""},
                              {6, 6, something, "12 6 unlock", "libgdk-x11-2.0"},
                              {10, 10, nullptr, "12 6 10 unlock", ""},
                              {10, 6, something, "12 6 10 unlock", ""},
                              {10, 10, something, "12 6 10 unlock", ""}}) {
    SCOPED_TRACE(std::to_string(each.lockType) + " " + each.missingLibrary);
    PixelSession session({.application = kUnknown});
    session.LoseLibrary(each.missingLibrary);
    const auto picture = session.host.MakePicture(sim::Image(2, 2), {.storage = kNone});
    OddStorage::lockType = each.lockType;
    OddStorage::answer = {each.answeredType, each.data, 2, 2, {}};
    PictureEditor editor;
    EXPECT_FALSE(session.Read(editor, picture->handle(), true, true));
    if (each.answeredType != each.lockType) {
      EXPECT_EQ(session.host.log.Libraries("libgdk-x11-2.0.so"), 0) << "nobody's drawable";
    }
    EXPECT_EQ(session.Steps(), std::string("kinds alpha? ") + each.steps);
    EXPECT_EQ(session.isConsole(), each.lockType == 10);
    EXPECT_EQ(session.isDesktop(), each.lockType != 10);
  }
}

TEST(ReaderChecks, ConsoleBlocksMustBeInOrder) {
  for (const auto& [alpha, flags] : {std::pair{false, 0U}, {false, 1U}, {true, 0U}, {true, 1U}}) {
    for (const int absent : {0, 1806, 1807}) {
      PixelSession session;
      const auto picture = session.host.MakePicture(sim::Image(2, 2), alpha);
      auto& block = picture->StorageAs<sim::ConsoleStorage>().block();
      block.flags = flags;
      if (absent != 0) reinterpret_cast<uint32_t*>(&block)[absent] = 0;
      PictureEditor editor;
      const bool opened = session.Read(editor, picture->handle());
      EXPECT_EQ(opened, absent == 0 && (alpha || flags == 0))
          << alpha << flags << " without " << absent;
      EXPECT_EQ(session.Steps(), opened ? "kinds alpha? 10 hold" : "kinds alpha? 10 unlock");
      EXPECT_TRUE(session.isConsole());
      if (opened) session.Close(editor);
    }
  }
}

TEST(ReaderChecks, ConsolePicturesAreAsLargeAsTheirDescriptionsSay) {
  PixelSession session;
  const OddStorage::Scope odd;
  OddStorage::lockType = kStorageConsoleBlock;
  static uint8_t row[4], *rows[] = {row};
  static ConsolePixelBlock block{0, 9, 9, {}, rows, rows};
  const auto picture = session.host.MakePicture(sim::Image(2, 2), {.storage = kNone});
  for (const int height : {1, 0, -1}) {
    OddStorage::answer = {kStorageConsoleBlock, &block, 5, height, {}};
    PictureEditor editor;
    ASSERT_TRUE(session.Read(editor, picture->handle()));
    EXPECT_EQ(std::tuple(editor.width, editor.height, editor.rowBytes, editor.pixels),
              std::tuple(5, height, 20, row));
    session.Close(editor);
  }
}

TEST(ReaderChecks, LibrariesThatGiveNothingAreRefused) {
  SKIP_WITHOUT(kCairo);
  SKIP_WITHOUT(kGdk);
  static int unrefs;
  static uintptr_t answer;
  static void (*unref)(void*);
  struct Silent {
    StorageKind storage;
    const char* entry;
    int pixbufs;
    uintptr_t answer = 0;
  };
  for (const Silent& each : {Silent{kCairo, "_cairo_image_surface_get_width", 0},
                             {kCairo, "_cairo_image_surface_get_width", 0, 0x40000001},
                             {kCairo, "_cairo_image_surface_get_height", 0},
                             {kCairo, "_cairo_image_surface_get_stride", 0},
                             {kCairo, "_cairo_image_surface_get_stride", 0, 7},
                             {kCairo, "_cairo_image_surface_get_data", 0},
                             {kCairo, "_cairo_get_target", 0},
                             {kGdk, "_gdk_pixbuf_get_from_drawable", 0},
                             {kGdk, "_gdk_pixbuf_get_pixels", 1},
                             {kGdk, "_gdk_pixbuf_get_rowstride", 1, 1}}) {
    SCOPED_TRACE(each.entry);
    PixelSession session({.application = kDesktop});
    ASSERT_TRUE(session.Call<bool()>("LoadCairo") && session.Call<bool()>("LoadGTK"));
    unrefs = 0;
    unref = std::exchange(Variable<void (*)(void*)>(session.plugin, "_gdk_pixbuf_unref"),
                          [](void* pixbuf) {
                            ++unrefs;
                            unref(pixbuf);
                          });
    if (each.pixbufs == 0) Variable<void*>(session.plugin, "_gdk_pixbuf_get_pixels") = nullptr;
    answer = each.answer;
    Variable<uintptr_t (*)()>(session.plugin, each.entry) = [] { return answer; };
    const auto picture = session.host.MakePicture(sim::Image(2, 2), {.storage = each.storage});
    PictureEditor editor;
    const bool opened = session.Read(editor, picture->handle());
    EXPECT_EQ(opened, each.entry == std::string("_gdk_pixbuf_get_rowstride"));
    EXPECT_EQ(editor.rowBytes, opened ? 1 : 0);
    if (opened) session.Close(editor);
    EXPECT_EQ(session.Steps(), std::string("kinds alpha? 12 ") +
                                   (each.storage == kGdk ? "6 " : "") +
                                   (opened ? "hold unlock drop" : "unlock"));
    EXPECT_EQ(unrefs, each.pixbufs);
  }
}

TEST(ReaderChecks, FlagsAlphaAndNull) {
  PixelSession session({.application = kConsole});
  PictureEditor editor;
  std::memset(&editor, 0xA5, sizeof editor);
  EXPECT_FALSE(session.Read(editor, nullptr));
  EXPECT_EQ(session.Steps(), "");
  EXPECT_TRUE(editor.picture == nullptr && editor.width == 0);

  const auto alpha = session.host.MakePicture(sim::Image(2, 2), true);
  const auto opaque = session.host.MakePicture(sim::Image(2, 2), false);
  // What cannot be asked is not there: the block of an alpha picture then fails its check.
  session.host.settings.missing = {"HasAlphaChannel"};
  EXPECT_FALSE(session.Read(editor, alpha->handle()));
  EXPECT_EQ(session.Steps(), "kinds alpha? 10 unlock");
  session.host.settings.missing.clear();
  // With both flags set there is no storage left to try for an opaque picture, nor for any other.
  session.isDesktop() = true;
  EXPECT_FALSE(session.Read(editor, opaque->handle()) || session.Read(editor, alpha->handle()));
  EXPECT_EQ(session.Steps(), "alpha? alpha?");
}

TEST(PictureLocks, AreGivenBackAfterAFailureOnOldHostsOnly) {
  constexpr const char* kLock = "REALLockPictureDescription";
  for (const auto& [version, missing, steps] : {std::tuple{2011.99, "", "6 unlock"},
                                                {2012.0, "", "6"},
                                                {std::nan(""), "", "6"},
                                                {2011.99, kLock, "unlock"},
                                                {2012.0, kLock, ""}}) {
    PixelSession session({.version = version, .missing = {missing}});
    const auto picture = session.host.MakePicture(sim::Image(2, 2));
    const bool isOld = version < 2012.0;
    REALpictureDescription description{};
    using Lock = bool(Picture*, REALpictureDescription*, long);
    EXPECT_FALSE(session.Call<Lock>("REALLockPictureDescriptionX", picture->handle(), &description,
                                    kStorageGdkDrawable));
    EXPECT_EQ(session.Steps(), steps);
    picture->owedUnlocks = isOld ? 1 : 0;
    session.Call<void(Picture*)>("REALUnlockPictureDescriptionAfterFailure", picture->handle());
    EXPECT_EQ(session.Steps(), isOld ? "unlock" : "");
    EXPECT_EQ(session.Call<int(Picture*)>("GetPictureLockCount", picture->handle()), 1);
    EXPECT_EQ(session.Call<int(Picture*)>("GetPictureLockCount", nullptr), 0);
  }
}

}  // namespace
