// Opening pictures: the order in which storages are tried, what each leads to, and what is given
// back when it leads nowhere.

#include <gtest/gtest.h>

#include "tests/pixels/picture_functions.h"

namespace {

using sim::AppKind;
using sim::StorageKind;

constexpr StorageKind kNone = StorageKind::kNone, kConsole = StorageKind::kConsole,
                      kCairo = StorageKind::kCairo, kGdk = StorageKind::kGdk;
constexpr AppKind kUnknown = AppKind::kUnknown, kDesktop = AppKind::kDesktop;

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
  const char* steps;
  uint32_t pixelType;  // 0: refused
  bool isConsole;
  bool isDesktop;
  /// Where temporary copies go.
  StorageKind copies = kConsole;
};

const ReaderCase kCases[] = {
    {"Console", AppKind::kConsole, kConsole, false, 'c', 2012.0, "kinds alpha? 10 hold", 8, 1, 0},
    {"ConsoleEdited", AppKind::kConsole, kConsole, false, 'e', 0.0, "kinds alpha? 10 hold", 8, 1,
     0},
    {"Web", AppKind::kWeb, kConsole, true, 'c', 2012.0, "kinds alpha? 10 hold", 8, 1, 0},
    {"ConsoleNotLockable", AppKind::kConsole, kNone, false, 'c', 2012.0, "kinds alpha? 10", 0, 1,
     0},
    {"OldConsoleNotLockable", AppKind::kConsole, kNone, true, 'c', 2011.99,
     "kinds alpha? 10 unlock", 0, 1, 0},
    {"Unknown", kUnknown, kConsole, false, 'r', 2012.0, "kinds alpha? 12 6 10 hold", 8, 1, 0},
    {"UnknownEdited", kUnknown, kConsole, false, 'e', 2012.0, "kinds alpha? 12 6 10 hold", 8, 1, 0},
    {"OldUnknown", kUnknown, kConsole, false, 'r', 2011.99,
     "kinds alpha? 12 unlock 6 unlock 10 hold", 8, 1, 0},
    {"UnknownAlpha", kUnknown, kConsole, true, 'c', 2012.0, "kinds alpha? 12 10 hold", 8, 1, 0},
    {"UnknownCopied", kUnknown, kConsole, false, 'c', 2012.0,
     "kinds alpha? 12 6 " COPY "kinds alpha? 12 6 10 hold drop", 8, 1, 0},
    {"UnknownNotLockable", kUnknown, kNone, false, 'r', 2012.0, "kinds alpha? 12 6 10", 0, 0, 0},
    {"CopyNotCopiedAgain", kUnknown, kNone, false, 'c', 2012.0,
     "kinds alpha? 12 6 " COPY "kinds alpha? 12 6 10 drop", 0, 0, 0, kNone},
    {"DesktopRefusesConsole", kDesktop, kConsole, false, 'r', 2012.0, "kinds alpha? 12 6", 0, 0, 1},
    {"DesktopRefusesConsoleAlpha", kDesktop, kConsole, true, 'c', 2012.0, "kinds alpha? 12", 0, 0,
     1},
    {"DesktopCopiesNothingToEdit", kDesktop, kNone, false, 'e', 2011.99,
     "kinds alpha? 12 unlock 6 unlock", 0, 0, 1},
    {"DesktopCopyOfNoUse", kDesktop, kNone, false, 'c', 2012.0,
     "kinds alpha? 12 6 " COPY "alpha? 12 6 drop", 0, 0, 1},
    {"Cairo", kDesktop, kCairo, false, 'c', 2012.0, "kinds alpha? 12 hold", 15, 0, 1},
    {"CairoAlphaEdited", kDesktop, kCairo, true, 'e', 0.0, "kinds alpha? 12 hold", 14, 0, 1},
    {"UnknownCairo", kUnknown, kCairo, true, 'c', 2012.0, "kinds alpha? 12 hold", 14, 0, 1},
    {"ConsoleRefusesCairo", AppKind::kConsole, kCairo, true, 'c', 2012.0, "kinds alpha? 10", 0, 1,
     0},
    {"DesktopCopiedToCairo", kDesktop, kNone, false, 'c', 2012.0,
     "kinds alpha? 12 6 " COPY "alpha? 12 hold drop", 15, 0, 1, kCairo},
    {"Gdk", kDesktop, kGdk, false, 'r', 2012.0, "kinds alpha? 12 6 hold", 11, 0, 1},
    {"OldUnknownGdk", kUnknown, kGdk, false, 'c', 2011.99, "kinds alpha? 12 unlock 6 hold", 11, 0,
     1},
    {"GdkNotEdited", kDesktop, kGdk, false, 'e', 2012.0, "kinds alpha? 12 6 hold unlock clear drop",
     0, 0, 1},
};

class Reader : public testing::TestWithParam<ReaderCase> {};

TEST_P(Reader, TriesTheStoragesInOrder) {
  const ReaderCase& param = GetParam();
  SKIP_WITHOUT(param.storage);
  SKIP_WITHOUT(param.copies);
  PixelSession session({.version = param.version,
                        .application = param.application,
                        .newPictures = param.copies,
                        .extraStrideBytes = 12});
  const auto options = sim::PictureOptions{param.storage, param.alpha, sim::RowLayout::kScattered};
  const sim::Image image = Numbered(5, 3);
  const auto picture = session.host.MakePicture(image, options);
  PictureEditor editor;
  std::memset(&editor, 0xA5, sizeof editor);
  const bool opened = param.mode == 'e'
                          ? Function<bool(PictureEditor&, Picture*)>(
                                session.plugin, "GetPictureEditor")(editor, picture->handle())
                      : param.mode == 'c' ? session.Read(editor, picture->handle())
                                          : session.Read(editor, picture->handle(), false, false);
  EXPECT_EQ(session.Steps(), param.steps);
  EXPECT_EQ(opened, param.pixelType != 0);
  EXPECT_EQ(session.isConsole(), param.isConsole);
  EXPECT_EQ(session.isDesktop(), param.isDesktop);
  if (opened) {
    EXPECT_EQ(editor.pixelType, param.pixelType);
    EXPECT_EQ(editor.bytesPerPixel, param.pixelType == 11 ? 3 : 4);
    EXPECT_EQ(std::pair(editor.width, editor.height), std::pair(5, 3));
    EXPECT_EQ(editor.baseAddress, editor.pixels);
    EXPECT_EQ(editor.ownedBuffer, nullptr);
    EXPECT_EQ(std::pair(editor.accessX, editor.accessY), std::pair(0, 0));
    EXPECT_EQ(editor.hasAlpha, param.alpha);
    EXPECT_EQ(editor.writable, param.mode == 'e');
    EXPECT_EQ(editor.rowTable != nullptr, param.pixelType == 8);
    EXPECT_EQ(editor.pixbuf != nullptr, param.pixelType == 11);
    if (param.pixelType == 8) {
      EXPECT_EQ(editor.rowBytes, 20);
    }
    if (param.pixelType >= 14) {
      EXPECT_EQ(editor.rowBytes, 32);
    }
    for (int i = 0; i < 15; ++i) {
      const sim::Rgba& pixel = image.At(i % 5, i / 5);
      const velpicture::Rgba read = session.Get(editor, i % 5, i / 5);
      if (param.alpha && param.storage == kConsole) {
        EXPECT_EQ(read.alpha >> 1, pixel.alpha >> 1);
      }
      if (param.alpha && param.storage == kCairo) {
        EXPECT_EQ(read.alpha, pixel.alpha);
      }
      if (!param.alpha) {
        EXPECT_EQ(read.alpha, 255);
      }
      if (param.pixelType == 14) continue;  // colours are premultiplied there
      EXPECT_EQ(std::tuple(read.red, read.green, read.blue),
                std::tuple(pixel.red, pixel.green, pixel.blue));
    }
    // The close frees a temporary copy, too.
    session.Close(editor);
    EXPECT_EQ(session.Steps(), param.mode == 'e' ? "unlock clear drop" : "unlock drop");
  } else {
    EXPECT_EQ(editor.picture, nullptr);
    EXPECT_EQ(editor.pixbuf, nullptr);
  }
  EXPECT_EQ(session.host.Imbalance(), "");
  EXPECT_EQ(session.host.ledger.livePictures, 1);
}

INSTANTIATE_TEST_SUITE_P(Order, Reader, testing::ValuesIn(kCases),
                         [](const auto& instance) { return instance.param.name; });

/// A picture that describes itself as the test wants it, whatever it is locked for.
class OddStorage final : public sim::Storage {
 public:
  static std::unique_ptr<sim::Storage> Make(const sim::StorageRequest& request) {
    return std::make_unique<OddStorage>(request.width, request.height, request.alpha);
  }
  using Storage::Storage;
  StorageKind kind() const override { return kNone; }
  bool Lock(int type, REALpictureDescription& description) override {
    if (type != lockType) return false;
    description.type = answeredType, description.data = data;
    description.width = width(), description.height = height();
    return true;
  }
  void ReadRow(int, sim::Rgba*) const override {}
  void WriteRow(int, const sim::Rgba*) override {}
  bool GuardsIntact() const override { return true; }
  size_t ByteCount() const override { return 0; }

  static inline int lockType, answeredType;
  static inline void* data;
};

TEST(ReaderChecks, OddDescriptionsAreRefusedAndGivenBack) {
  sim::SetStorageFactory(kNone, OddStorage::Make);
  static uint32_t something[2000];
  struct OddCase {
    int lockType, answeredType;
    void* data;
    const char* steps;
    const char* missingLibraries;
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
    SCOPED_TRACE(std::to_string(each.lockType) + " " + each.missingLibraries);
    PixelSession session({.application = kUnknown});
    for (const char* suffix : {".so", ".so.0", ".so.2", ".so.2.10800.10"}) {
      for (const char* folder : {"", "/usr/lib/", "/usr/lib32/"}) {
        session.host.settings.missing.insert(std::string(folder) + each.missingLibraries + suffix);
      }
    }
    const auto picture = session.host.MakePicture(sim::Image(2, 2), {.storage = kNone});
    OddStorage::lockType = each.lockType, OddStorage::answeredType = each.answeredType;
    OddStorage::data = each.data;
    PictureEditor editor;
    EXPECT_FALSE(session.Read(editor, picture->handle(), true, true));
    EXPECT_EQ(session.Steps(), std::string("kinds alpha? ") + each.steps);
    EXPECT_EQ(session.isConsole(), each.lockType == 10);
    EXPECT_EQ(session.isDesktop(), each.lockType != 10);
    EXPECT_EQ(session.host.Imbalance(), "");
  }
  sim::SetStorageFactory(kNone, sim::UnlockableStorage::Make);
}

TEST(ReaderChecks, ConsoleBlocksMustBeInOrder) {
  for (const bool alpha : {false, true}) {
    for (const uint32_t flags : {0U, 1U}) {
      for (const int absent : {0, 1806, 1807}) {
        PixelSession session;
        const auto picture = session.host.MakePicture(sim::Image(2, 2), {.alpha = alpha});
        auto& block = picture->StorageAs<sim::ConsoleStorage>().block();
        const ConsolePixelBlock intact = block;
        block.flags = flags;
        if (absent != 0) reinterpret_cast<uint32_t*>(&block)[absent] = 0;
        PictureEditor editor;
        const bool opened = session.Read(editor, picture->handle());
        EXPECT_EQ(opened, absent == 0 && (alpha || flags == 0))
            << alpha << flags << " without " << absent;
        EXPECT_EQ(session.Steps(), opened ? "kinds alpha? 10 hold" : "kinds alpha? 10 unlock");
        EXPECT_TRUE(session.isConsole());
        if (opened) session.Close(editor);
        block = intact;
        EXPECT_EQ(session.host.Imbalance(), "");
      }
    }
  }
}

TEST(ReaderChecks, SurfacesWithoutPixelsAreRefused) {
  SKIP_WITHOUT(kCairo);
  static const auto null = [](void*) -> void* { return nullptr; };
  static const auto noBytes = [](void*) -> unsigned char* { return nullptr; };
  static const auto zero = [](void*) { return 0; };
  const char* const kSides[] = {"_cairo_image_surface_get_width", "_cairo_image_surface_get_height",
                                "_cairo_image_surface_get_stride"};
  for (int broken = 0; broken < 6; ++broken) {
    PixelSession session({.application = kDesktop});
    const auto picture = session.host.MakePicture(sim::Image(2, 2), {.storage = kCairo});
    ASSERT_TRUE(session.Call<bool()>("LoadCairo"));
    if (broken < 3) Variable<int (*)(void*)>(session.plugin, kSides[broken]) = zero;
    if (broken == 3) Variable<void* (*)(void*)>(session.plugin, "_cairo_get_target") = null;
    if (broken == 4) {
      Variable<unsigned char* (*)(void*)>(session.plugin, "_cairo_image_surface_get_data") =
          noBytes;
    }
    PictureEditor editor;
    const bool opened = session.Read(editor, picture->handle());
    EXPECT_EQ(opened, broken == 5) << broken;
    EXPECT_EQ(session.Steps(), opened ? "kinds alpha? 12 hold" : "kinds alpha? 12 unlock");
    if (opened) session.Close(editor);
    EXPECT_EQ(session.host.Imbalance(), "");
  }
}

TEST(ReaderChecks, DrawablesWithoutPixelsAreRefused) {
  SKIP_WITHOUT(kGdk);
  static int unrefs;
  for (const int broken : {0, 1, 2}) {
    PixelSession session({.application = kDesktop});
    const auto picture = session.host.MakePicture(sim::Image(2, 2), {.storage = kGdk});
    ASSERT_TRUE(session.Call<bool()>("LoadGTK"));
    using Copy = void* (*)(void*, void*, void*, int, int, int, int, int, int);
    if (broken == 1) {
      Variable<Copy>(session.plugin, "_gdk_pixbuf_get_from_drawable") =
          [](void*, void*, void*, int, int, int, int, int, int) -> void* { return nullptr; };
    }
    if (broken == 2) {
      Variable<unsigned char* (*)(const void*)>(session.plugin, "_gdk_pixbuf_get_pixels") =
          [](const void*) -> unsigned char* { return nullptr; };
    }
    static void (*unref)(void*);
    unref = Variable<void (*)(void*)>(session.plugin, "_gdk_pixbuf_unref");
    Variable<void (*)(void*)>(session.plugin, "_gdk_pixbuf_unref") = [](void* pixbuf) {
      ++unrefs;
      unref(pixbuf);
    };
    unrefs = 0;
    PictureEditor editor;
    const bool opened = session.Read(editor, picture->handle());
    EXPECT_EQ(opened, broken == 0);
    if (opened) session.Close(editor);
    EXPECT_EQ(unrefs, broken == 1 ? 0 : 1) << "the pixbuf goes in any case";
    EXPECT_EQ(session.host.Imbalance(), "");
  }
}

TEST(ReaderChecks, FlagsAlphaAndNull) {
  PixelSession session({.application = AppKind::kConsole});
  PictureEditor editor;
  std::memset(&editor, 0xA5, sizeof editor);
  EXPECT_FALSE(session.Read(editor, nullptr));
  EXPECT_EQ(session.Steps(), "");
  EXPECT_EQ(editor.picture, nullptr);
  EXPECT_EQ(editor.width, 0);

  const auto alpha = session.host.MakePicture(sim::Image(2, 2), {.alpha = true});
  const auto opaque = session.host.MakePicture(sim::Image(2, 2), {.alpha = false});
  // What cannot be asked is not there: the block of an alpha picture then fails its check.
  session.host.settings.missing.insert("HasAlphaChannel");
  EXPECT_FALSE(session.Read(editor, alpha->handle()));
  EXPECT_EQ(session.Steps(), "kinds alpha? 10 unlock");
  session.host.settings.missing.clear();
  // With both flags set there is no storage left to try for an opaque picture, nor for any other.
  session.isDesktop() = true;
  EXPECT_FALSE(session.Read(editor, opaque->handle()));
  EXPECT_FALSE(session.Read(editor, alpha->handle()));
  EXPECT_EQ(session.Steps(), "alpha? alpha?");

  using Bare = void(Picture*);
  using Lock = bool(Picture*, REALpictureDescription*, long);
  REALpictureDescription description{};
  for (const auto& [version, steps] :
       {std::pair{2011.99, "6 unlock unlock"}, std::pair{2012.0, "6"}}) {
    Variable<double>(session.plugin, "rbversion_rbversion") = version;
    session.host.reportedVersion = version;
    EXPECT_FALSE(
        session.Call<Lock>("REALLockPictureDescriptionX", opaque->handle(), &description, 6L));
    opaque->owedUnlocks += version < 2012.0 ? 1 : 0;
    session.Call<Bare>("REALUnlockPictureDescriptionAfterFailure", opaque->handle());
    EXPECT_EQ(session.Steps(), steps);
  }
  EXPECT_EQ(session.Call<int(Picture*)>("GetPictureLockCount", opaque->handle()), 1);
  EXPECT_EQ(session.Call<int(Picture*)>("GetPictureLockCount", static_cast<Picture*>(nullptr)), 0);
  EXPECT_EQ(session.host.Imbalance(), "");
}

}  // namespace
