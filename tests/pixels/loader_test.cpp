// The loaders: names in their order, entries in theirs, one attempt per process, and what they can
// do without.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "tests/pixels/picture_functions.h"

namespace {

/// What was asked of the loader since the last time, a name a line.
std::string Asked(sim::Host& host) {
  std::string names;
  for (const sim::LogLine& line : host.log.lines) names += line.arguments + "\n";
  host.log.Clear();
  return names;
}

TEST(Loaders, TryEveryNameOnceAndNeverAgain) {
  PixelSession session;
  const auto expect = [&](const char* loader, const std::vector<std::string>& names) {
    session.host.settings.missing.insert(names.begin(), names.end());
    std::string expected;
    for (const std::string& name : names) expected += name + "\n";
    EXPECT_FALSE(session.Call<bool()>(loader));
    EXPECT_EQ(Asked(session.host), expected);
    // Not even when the libraries have come meanwhile.
    session.host.settings.missing.clear();
    EXPECT_FALSE(session.Call<bool()>(loader));
    EXPECT_EQ(Asked(session.host), "");
  };
  std::vector<std::string> toolkit;
  for (const std::string stem : {"libgtk-x11-2.0.so", "libgdk-x11-2.0.so"}) {
    toolkit.insert(toolkit.end(), {stem, stem + ".0", "/usr/lib/" + stem, "/usr/lib32/" + stem,
                                   "/usr/lib/" + stem + ".0", "/usr/lib32/" + stem + ".0"});
  }
  expect("LoadGTK", toolkit);
  expect("LoadCairo", {"libcairo.so", "libcairo.so.2", "libcairo.so.2.10800.10"});
}

TEST(Loaders, AskTheirEntriesInOrder) {
  SKIP_WITHOUT(sim::StorageKind::kCairo);
  SKIP_WITHOUT(sim::StorageKind::kGdk);
  PixelSession session;
  session.host.settings.missing = {"libcairo.so", "libgtk-x11-2.0.so", "libgdk-x11-2.0.so"};
  EXPECT_TRUE(session.Call<bool()>("LoadCairo"));
  EXPECT_EQ(Asked(session.host),
            "libcairo.so\nlibcairo.so.2\ncairo_image_surface_get_data\n"
            "cairo_image_surface_get_width\ncairo_image_surface_get_height\n"
            "cairo_image_surface_get_stride\ncairo_get_target\n");
  EXPECT_TRUE(session.Call<bool()>("LoadGTK"));
  EXPECT_EQ(Asked(session.host),
            "libgtk-x11-2.0.so\nlibgtk-x11-2.0.so.0\nlibgdk-x11-2.0.so\nlibgdk-x11-2.0.so.0\n"
            "gdk_pixbuf_get_pixels\ngdk_pixbuf_get_rowstride\ngdk_pixbuf_get_from_drawable\n"
            "gdk_pixbuf_unref\ngdk_unicode_to_keyval\ngdk_keyval_to_unicode\n"
            "gtk_settings_get_default\ng_object_get\n");
}

TEST(Loaders, AcceptLibrariesThatHaveWhatIsNeeded) {
  SKIP_WITHOUT(sim::StorageKind::kCairo);
  SKIP_WITHOUT(sim::StorageKind::kGdk);
  struct Entry {
    std::string library;
    const char* name;
    bool needed;
  };
  constexpr const char* kCairo = "libcairo.so.2";
  constexpr const char* kGdk = "libgdk-x11-2.0.so.0";
  constexpr const char* kGtk = "libgtk-x11-2.0.so.0";
  const Entry kEntries[] = {
      {kCairo, "cairo_image_surface_get_data", true},
      {kCairo, "cairo_image_surface_get_width", true},
      {kCairo, "cairo_image_surface_get_height", true},
      {kCairo, "cairo_image_surface_get_stride", true},
      {kCairo, "cairo_get_target", true},
      {kGdk, "gdk_pixbuf_get_pixels", true},
      {kGdk, "gdk_pixbuf_get_rowstride", true},
      {kGdk, "gdk_pixbuf_get_from_drawable", true},
      {kGdk, "gdk_pixbuf_unref", true},
      {kGdk, "gdk_unicode_to_keyval", false},
      {kGdk, "gdk_keyval_to_unicode", false},
      {kGtk, "gtk_settings_get_default", false},
      {kGtk, "g_object_get", false},
  };
  std::vector<const char*> missing = {"", "libcairo", "libgdk-x11-2.0", "libgtk-x11-2.0"};
  for (const Entry& each : kEntries) missing.push_back(each.name);
  for (const std::string name : missing) {
    SCOPED_TRACE("without " + name);
    PixelSession session;
    for (const char* folder : {"", "/usr/lib/", "/usr/lib32/"}) {
      for (const char* suffix : {"", ".so", ".so.0", ".so.2", ".so.2.10800.10"}) {
        session.host.settings.missing.insert(folder + name + suffix);
      }
    }
    const bool cairo = session.Call<bool()>("LoadCairo"), gtk = session.Call<bool()>("LoadGTK");
    bool loadsCairo = true, loadsGtk = true;
    for (const auto& [library, entry, needed] : kEntries) {
      const bool isMissing = name == entry || library.starts_with(name + ".so");
      if (needed && isMissing) (library == kCairo ? loadsCairo : loadsGtk) = false;
      EXPECT_EQ(Variable<void*>(session.plugin, ("_" + std::string(entry)).c_str()),
                isMissing ? nullptr : dlsym(dlopen(library.c_str(), RTLD_NOW), entry))
          << entry;
    }
    EXPECT_EQ(cairo, loadsCairo);
    EXPECT_EQ(gtk, loadsGtk);
  }
}

}  // namespace
