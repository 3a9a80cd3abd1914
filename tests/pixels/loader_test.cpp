// The loaders: names in their order, entries in theirs, one attempt per process. Which real files
// are accepted is seen in tests/pixels/loader.

#include <gtest/gtest.h>

#include "tests/pixels/picture_functions.h"

namespace {

constexpr const char* kCairoNames[] = {"libcairo.so", "libcairo.so.2", "libcairo.so.2.10800.10"};

std::vector<std::string> ToolkitNames(const std::string& stem) {
  return {stem + ".so",
          stem + ".so.0",
          "/usr/lib/" + stem + ".so",
          "/usr/lib32/" + stem + ".so",
          "/usr/lib/" + stem + ".so.0",
          "/usr/lib32/" + stem + ".so.0"};
}

std::string Asked(sim::Host& host) {
  std::string names;
  for (const sim::LogLine& line : host.log.lines) names += line.arguments + "\n";
  host.log.Clear();
  return names;
}

TEST(Loaders, TryEveryNameOnceAndNeverAgain) {
  PixelSession session;
  std::string expected;
  for (const char* stem : {"libgtk-x11-2.0", "libgdk-x11-2.0"}) {
    for (const std::string& name : ToolkitNames(stem)) {
      session.host.settings.missing.insert(name);
      expected += name + "\n";
    }
  }
  EXPECT_FALSE(session.Call<bool()>("LoadGTK"));
  EXPECT_EQ(Asked(session.host), expected);
  expected = "";
  for (const std::string name : kCairoNames) {
    session.host.settings.missing.insert(name);
    expected += name + "\n";
  }
  EXPECT_FALSE(session.Call<bool()>("LoadCairo"));
  EXPECT_EQ(Asked(session.host), expected);
  // Not even when the libraries have come meanwhile.
  session.host.settings.missing.clear();
  EXPECT_FALSE(session.Call<bool()>("LoadGTK"));
  EXPECT_FALSE(session.Call<bool()>("LoadCairo"));
  EXPECT_EQ(Asked(session.host), "");
}

TEST(Loaders, AskTheirEntriesInOrder) {
  SKIP_WITHOUT(sim::StorageKind::kCairo);
  SKIP_WITHOUT(sim::StorageKind::kGdk);
  PixelSession session;
  session.host.settings.missing = {"libcairo.so", "libgtk-x11-2.0.so", "libgdk-x11-2.0.so"};
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(session.Call<bool()>("LoadCairo"));
    EXPECT_EQ(Asked(session.host),
              i > 0 ? ""
                    : "libcairo.so\nlibcairo.so.2\ncairo_image_surface_get_data\n"
                      "cairo_image_surface_get_width\ncairo_image_surface_get_height\n"
                      "cairo_image_surface_get_stride\ncairo_get_target\n");
    EXPECT_TRUE(session.Call<bool()>("LoadGTK"));
    EXPECT_EQ(Asked(session.host),
              i > 0 ? ""
                    : "libgtk-x11-2.0.so\nlibgtk-x11-2.0.so.0\nlibgdk-x11-2.0.so\n"
                      "libgdk-x11-2.0.so.0\ngdk_pixbuf_get_pixels\ngdk_pixbuf_get_rowstride\n"
                      "gdk_pixbuf_get_from_drawable\ngdk_pixbuf_unref\n"
                      "gdk_unicode_to_keyval\ngdk_keyval_to_unicode\n"
                      "gtk_settings_get_default\ng_object_get\n");
  }
}

}  // namespace
