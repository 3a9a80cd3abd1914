#include "pixels/gtk_cairo.h"

#include <dlfcn.h>

#if defined(__i386__)
// By default these would ask for the C library that they have lately become part of. It still has
// the versions that every older one has, too.
asm(".symver dlopen, dlopen@GLIBC_2.1");
asm(".symver dlsym, dlsym@GLIBC_2.0");
#endif

unsigned char* (*_gdk_pixbuf_get_pixels)(const void*) = nullptr;
int (*_gdk_pixbuf_get_rowstride)(const void*) = nullptr;
void* (*_gdk_pixbuf_get_from_drawable)(void*, void*, void*, int, int, int, int, int, int) = nullptr;
void (*_gdk_pixbuf_unref)(void*) = nullptr;
unsigned int (*_gdk_unicode_to_keyval)(uint32_t) = nullptr;
uint32_t (*_gdk_keyval_to_unicode)(unsigned int) = nullptr;
void* (*_gtk_settings_get_default)() = nullptr;
void (*_g_object_get)(void*, const char*, ...) = nullptr;
unsigned char* (*_cairo_image_surface_get_data)(void*) = nullptr;
int (*_cairo_image_surface_get_width)(void*) = nullptr;
int (*_cairo_image_surface_get_height)(void*) = nullptr;
int (*_cairo_image_surface_get_stride)(void*) = nullptr;
void* (*_cairo_get_target)(void*) = nullptr;

namespace {

constexpr const char* kGtkNames[] = {
    "libgtk-x11-2.0.so",
    "libgtk-x11-2.0.so.0",
    "/usr/lib/libgtk-x11-2.0.so",
    "/usr/lib32/libgtk-x11-2.0.so",
    "/usr/lib/libgtk-x11-2.0.so.0",
    "/usr/lib32/libgtk-x11-2.0.so.0",
};
constexpr const char* kGdkNames[] = {
    "libgdk-x11-2.0.so",
    "libgdk-x11-2.0.so.0",
    "/usr/lib/libgdk-x11-2.0.so",
    "/usr/lib32/libgdk-x11-2.0.so",
    "/usr/lib/libgdk-x11-2.0.so.0",
    "/usr/lib32/libgdk-x11-2.0.so.0",
};
constexpr const char* kCairoNames[] = {"libcairo.so", "libcairo.so.2", "libcairo.so.2.10800.10"};

/// The first of the names that opens, or null.
template <int kCount>
void* OpenLibrary(const char* const (&names)[kCount]) {
  for (const char* const name : names) {
    if (void* const library = dlopen(name, RTLD_NOW)) return library;
  }
  return nullptr;
}

/// Fills `entry`; false when the library, which may be null, has none of that name.
template <class Function>
bool Resolve(void* library, const char* name, Function& entry) {
  if (library != nullptr) entry = reinterpret_cast<Function>(dlsym(library, name));
  return entry != nullptr;
}

bool ResolveGtk() {
  void* const gtk = OpenLibrary(kGtkNames);
  void* const gdk = OpenLibrary(kGdkNames);
  bool all = Resolve(gdk, "gdk_pixbuf_get_pixels", _gdk_pixbuf_get_pixels);
  all &= Resolve(gdk, "gdk_pixbuf_get_rowstride", _gdk_pixbuf_get_rowstride);
  all &= Resolve(gdk, "gdk_pixbuf_get_from_drawable", _gdk_pixbuf_get_from_drawable);
  all &= Resolve(gdk, "gdk_pixbuf_unref", _gdk_pixbuf_unref);
  // Offered to callers, and not needed here.
  Resolve(gdk, "gdk_unicode_to_keyval", _gdk_unicode_to_keyval);
  Resolve(gdk, "gdk_keyval_to_unicode", _gdk_keyval_to_unicode);
  Resolve(gtk, "gtk_settings_get_default", _gtk_settings_get_default);
  Resolve(gtk, "g_object_get", _g_object_get);
  return all;
}

bool ResolveCairo() {
  void* const cairo = OpenLibrary(kCairoNames);
  bool all = Resolve(cairo, "cairo_image_surface_get_data", _cairo_image_surface_get_data);
  all &= Resolve(cairo, "cairo_image_surface_get_width", _cairo_image_surface_get_width);
  all &= Resolve(cairo, "cairo_image_surface_get_height", _cairo_image_surface_get_height);
  all &= Resolve(cairo, "cairo_image_surface_get_stride", _cairo_image_surface_get_stride);
  all &= Resolve(cairo, "cairo_get_target", _cairo_get_target);
  return all;
}

/// resolve() at the first call, and its answer from then on.
template <bool (*resolve)()>
bool Load() {
  static bool tried = false;
  static bool loaded = false;
  if (!tried) {
    tried = true;
    loaded = resolve();
  }
  return loaded;
}

}  // namespace

bool LoadGTK() { return Load<ResolveGtk>(); }

bool LoadCairo() { return Load<ResolveCairo>(); }
