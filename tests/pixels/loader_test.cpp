// The loaders: names in their order, entries in theirs, one attempt per process, and what they can
// do without.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "tests/pixels/picture_functions.h"

namespace {

using Names = std::vector<std::string>;

/// What is asked of the loader in one call.
Names Asked(PixelSession& session, const char* loader, bool loads) {
  session.host.log.Clear();
  EXPECT_EQ(session.Call<bool()>(loader), loads);
  Names names;
  for (const sim::LogLine& line : session.host.log.lines) names.push_back(line.arguments);
  return names;
}

TEST(Loaders, TryEveryNameOnceAndNeverAgain) {
  PixelSession session;
  const auto expect = [&](const char* loader, const Names& names) {
    session.host.settings.missing.insert(names.begin(), names.end());
    EXPECT_EQ(Asked(session, loader, false), names);
    // Not even when the libraries have come meanwhile.
    session.host.settings.missing.clear();
    EXPECT_EQ(Asked(session, loader, false), Names());
  };
  Names toolkit;
  for (const std::string stem : {"libgtk-x11-2.0.so", "libgdk-x11-2.0.so"}) {
    toolkit.insert(toolkit.end(), {stem, stem + ".0", "/usr/lib/" + stem, "/usr/lib32/" + stem,
                                   "/usr/lib/" + stem + ".0", "/usr/lib32/" + stem + ".0"});
  }
  expect("LoadGTK", toolkit);
  expect("LoadCairo", {"libcairo.so", "libcairo.so.2", "libcairo.so.2.10800.10"});
}

TEST(Loaders, AcceptLibrariesThatHaveWhatIsNeeded) {
  SKIP_WITHOUT(sim::StorageKind::kCairo);
  SKIP_WITHOUT(sim::StorageKind::kGdk);
  struct Entry {
    std::string library;
    std::string name;
    bool needed;
  };
  constexpr const char* kCairo = "libcairo.so.2";
  constexpr const char* kGdk = "libgdk-x11-2.0.so.0";
  constexpr const char* kGtk = "libgtk-x11-2.0.so.0";
  // In the order of their look-up.
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
  Names missing = {"", "libcairo", "libgdk-x11-2.0", "libgtk-x11-2.0"};
  for (const Entry& each : kEntries) missing.push_back(each.name);
  for (const std::string& name : missing) {
    SCOPED_TRACE("without " + name);
    PixelSession session;
    session.LoseLibrary(name);
    Names cairo = {"libcairo.so", "libcairo.so.2"};
    Names toolkit = {"libgtk-x11-2.0.so", kGtk, "libgdk-x11-2.0.so", kGdk};
    session.host.settings.missing.insert({cairo[0], toolkit[0], toolkit[2]});
    bool loadsCairo = true, loadsToolkit = true;
    for (const auto& [library, entry, needed] : kEntries) {
      const bool isMissing = name == entry || library.starts_with(name + ".so");
      if (needed && isMissing) (library == kCairo ? loadsCairo : loadsToolkit) = false;
      (library == kCairo ? cairo : toolkit).push_back(entry);
    }
    const Names askedOfCairo = Asked(session, "LoadCairo", loadsCairo);
    const Names askedOfToolkit = Asked(session, "LoadGTK", loadsToolkit);
    if (name.empty()) {
      EXPECT_EQ(askedOfCairo, cairo);
      EXPECT_EQ(askedOfToolkit, toolkit);
    }
    for (const auto& [library, entry, needed] : kEntries) {
      const bool isMissing = name == entry || library.starts_with(name + ".so");
      EXPECT_EQ(Variable<void*>(session.plugin, "_" + entry),
                isMissing ? nullptr : dlsym(dlopen(library.c_str(), RTLD_NOW), entry.c_str()))
          << entry;
    }
  }
}

}  // namespace
