#pragma once

// A host and a plugin started in it, fresh for each test.

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "simulator/host.h"
#include "simulator/plugin.h"

/// The exported function of that mangled name; throws when there is none.
template <class Signature>
Signature* Exported(const sim::Plugin& plugin, const std::string& mangled) {
  auto* const function = plugin.Symbol<Signature>(mangled.c_str());
  if (function == nullptr) throw std::runtime_error("not exported: " + mangled);
  return function;
}

/// The plugin under test: the one built beside the tests, or the file that the environment variable
/// VEL_PLUGIN names.
inline const char* PluginPath() {
  const char* const named = std::getenv("VEL_PLUGIN");
  return named != nullptr ? named : VEL_PLUGIN;
}

struct Session {
  explicit Session(sim::Settings settings = {}) : host(std::move(settings)), plugin(PluginPath()) {
    plugin.Start(host);
  }
  sim::Host host;
  sim::Plugin plugin;
};
