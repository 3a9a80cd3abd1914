#pragma once

// The plugin's entry point and the functions that hand records to the host.

#include "host/export.h"
#include "host/host_types.h"

namespace velpicture {

/// Declared to the host at start-up and in every class record.
constexpr int kPluginInterfaceVersion = 9;

}  // namespace velpicture

/// Set once a control was registered.
VEL_EXPORT extern bool gHasControls;

/// Called once by the host, before anything else: stores the resolver, declares the interface
/// version, asks the host's version and registers what the plugin offers. Other plugins that
/// include this header define their own.
extern "C" VEL_EXPORT void REALPluginMain(void* (*resolver)(const char* name));

/// Registers the Picture extension, adjusted to the host's version. No method takes more than 48 KB
/// of stack.
VEL_EXPORT void PluginEntry();

// Registration of a record. The host keeps its address, so the record and all that it points to
// (tables, names, declarations) must live unchanged as long as the process: a local one crashes the
// host later.

VEL_EXPORT void MyREALRegisterClassExtension(REALclassDefinition* definition);
/// Rounds the record's size up to a multiple of 16, in place, then registers it. A record whose
/// size already is one is not written to.
VEL_EXPORT void MyREALRegisterClass(REALclassDefinition* definition);
VEL_EXPORT void MyREALRegisterControl(REALcontrol* control);
