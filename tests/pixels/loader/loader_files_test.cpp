// Which library files the loaders accept. The files lie on the library path; the environment says
// what to expect of them: VEL_LOADS names the loaders that succeed, VEL_FOUND the entries found.

#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <sstream>

#include "tests/host/plugin_function.h"

namespace {

std::set<std::string> Words(const char* variable) {
  std::istringstream text(std::getenv(variable));
  return {std::istream_iterator<std::string>(text), {}};
}

TEST(LoaderFiles, AreAcceptedWhenTheyHaveWhatIsNeeded) {
  Session session;
  for (const char* stem : {"libgtk-x11-2.0.so", "libgdk-x11-2.0.so"}) {
    for (const std::string folder : {"/usr/lib/", "/usr/lib32/"}) {
      session.host.settings.missing.insert({folder + stem, folder + stem + ".0"});
    }
  }
  const std::set<std::string> loads = Words("VEL_LOADS"), found = Words("VEL_FOUND");
  const auto loadCairo = Function<bool()>(session.plugin, "LoadCairo");
  const auto loadGtk = Function<bool()>(session.plugin, "LoadGTK");
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(loadCairo(), loads.contains("cairo"));
    EXPECT_EQ(loadGtk(), loads.contains("gtk"));
    // The second time nothing is opened.
    EXPECT_EQ(session.host.log.Libraries("libcairo.so"), 1);
    EXPECT_EQ(session.host.log.Libraries("libgdk-x11-2.0.so"), 1);
  }
  for (const char* entry :
       {"gdk_pixbuf_get_pixels", "gdk_pixbuf_get_rowstride", "gdk_pixbuf_get_from_drawable",
        "gdk_pixbuf_unref", "gdk_unicode_to_keyval", "gdk_keyval_to_unicode",
        "gtk_settings_get_default", "g_object_get", "cairo_image_surface_get_data",
        "cairo_image_surface_get_width", "cairo_image_surface_get_height",
        "cairo_image_surface_get_stride", "cairo_get_target"}) {
    auto* const address = Variable<int (*)()>(session.plugin, ("_" + std::string(entry)).c_str());
    EXPECT_EQ(address != nullptr, found.contains(entry)) << entry;
    // The entry of the file on the path, not of some other library.
    if (address != nullptr) {
      EXPECT_EQ(address(), 1) << entry;
    }
  }
}

}  // namespace
