#pragma once

// A host and a plugin started in it, fresh for each test, and the plugin's exports by their names.

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>

#include "simulator/host.h"
#include "simulator/mangled_name.h"
#include "simulator/plugin.h"

/// The host's method that draws a picture, which a host may lack.
constexpr char kDrawPicture[] =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
    "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";

/// The exported function of that mangled name; throws when there is none.
template <class Signature>
Signature* Exported(const sim::Plugin& plugin, const std::string& mangled) {
  auto* const function = plugin.Symbol<Signature>(mangled.c_str());
  if (function == nullptr) throw std::runtime_error("not exported: " + mangled);
  return function;
}

/// A process-wide variable.
template <class T>
T& Variable(const sim::Plugin& plugin, const std::string& name) {
  return *Exported<T>(plugin, name);
}

/// An exported function by its plain name and its C++ type: Function<long(void*)>(plugin,
/// "REALGetArrayUBound"). One that is exported with other types is not found.
template <class Signature>
Signature* Function(const sim::Plugin& plugin, const std::string& name) {
  return Exported<Signature>(plugin, sim::MangledName<Signature>::Of(name));
}

/// The plugin under test: the one built beside the tests, or the file that the environment variable
/// VEL_PLUGIN names.
inline const char* PluginPath() {
  const char* const named = std::getenv("VEL_PLUGIN");
  return named != nullptr ? named : VEL_PLUGIN;
}

/// What is out of balance at its end stops the process.
struct Session {
  explicit Session(sim::Settings settings = {}) : host(std::move(settings)), plugin(PluginPath()) {
    plugin.Start(host);
    for (const auto& row : plugin.unreadable()) throw std::runtime_error(row.Text());
  }
  /// Calls an exported function.
  template <class Signature, class... Args>
  auto Call(const std::string& name, Args&&... args) const {
    return Function<Signature>(plugin, name)(std::forward<Args>(args)...);
  }
  /// The host's object that a function returned, with its reference taken over.
  template <class T>
  sim::Ref<T> Own(const void* returned) const {
    return sim::Ref<T>::Adopt(host.Live<T>(returned));
  }

  sim::Host host;
  sim::Plugin plugin;
};
