#pragma once

// Which kind of application hosts the plugin. It decides where a picture's pixels are looked for;
// the picture reader also sets these flags itself from the storage it finds.

#include "host/export.h"

/// The host runs a console or web application: pictures are console pixel blocks.
VEL_EXPORT extern bool IsConsole;
/// The host runs a desktop application: pictures are Cairo surfaces or GDK drawables.
VEL_EXPORT extern bool IsDesktop;

/// Sets IsDesktop or IsConsole from the application classes that the host knows; sets neither when
/// it knows none, and never clears one.
VEL_EXPORT void CheckApplication();
