#pragma once

// The desktop's libraries, opened at run time by file name: the plugin links none of them. Each
// loader tries once per process and then answers from memory; libraries stay open.

#include <cstdint>

#include "host/export.h"

/// Opens GTK 2 and GDK 2; true when the four pixbuf entries are there. GTK itself may be missing.
VEL_EXPORT bool LoadGTK();

/// Opens Cairo; true when all five entries are there.
VEL_EXPORT bool LoadCairo();

// The libraries' entries, null until found. One that was found stays usable even when its loader
// answered false.

VEL_EXPORT extern unsigned char* (*_gdk_pixbuf_get_pixels)(const void* pixbuf);
VEL_EXPORT extern int (*_gdk_pixbuf_get_rowstride)(const void* pixbuf);
/// A new pixbuf with one reference when `destination` is null.
VEL_EXPORT extern void* (*_gdk_pixbuf_get_from_drawable)(void* destination, void* drawable,
                                                         void* colormap, int sourceX, int sourceY,
                                                         int destinationX, int destinationY,
                                                         int width, int height);
VEL_EXPORT extern void (*_gdk_pixbuf_unref)(void* pixbuf);
VEL_EXPORT extern unsigned int (*_gdk_unicode_to_keyval)(uint32_t character);
VEL_EXPORT extern uint32_t (*_gdk_keyval_to_unicode)(unsigned int keyval);
VEL_EXPORT extern void* (*_gtk_settings_get_default)();
VEL_EXPORT extern void (*_g_object_get)(void* object, const char* firstProperty, ...);
VEL_EXPORT extern unsigned char* (*_cairo_image_surface_get_data)(void* surface);
VEL_EXPORT extern int (*_cairo_image_surface_get_width)(void* surface);
VEL_EXPORT extern int (*_cairo_image_surface_get_height)(void* surface);
VEL_EXPORT extern int (*_cairo_image_surface_get_stride)(void* surface);
/// The surface that the context draws to; the reference stays the context's.
VEL_EXPORT extern void* (*_cairo_get_target)(void* context);
