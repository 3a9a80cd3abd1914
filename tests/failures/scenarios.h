#pragma once

// What another module may ask of the plugin (and some methods, for the rest of which velhost
// --check does the same), each as one short scenario that describes its outcome as text: what came
// back, down to the last pixel or byte. The failure tests run every scenario again and again, with
// another call failing each time.

#include <span>
#include <string>
#include <vector>

#include "tests/transforms/pictures.h"

/// What the scenarios need, made before anything fails. The plugin is one for all fixtures, and
/// fresh for each: it knows nothing of its host.
struct Fixture {
  Fixture(const PictureSetup& setup, sim::Settings settings);

  sim::Host host;
  const sim::Plugin& plugin;
  sim::Ref<sim::Picture> picture;  ///< small, with a mask
  sim::Ref<sim::Picture> other;    ///< of the same size, to draw into
  sim::Ref<sim::String> string;
  sim::Ref<sim::MemoryBlock> block;
  sim::Ref<sim::Array> array;  ///< of two strings; the first element is `string`
};

struct Scenario {
  const char* name;
  /// Describes the outcome; what the call returned is given back by then. Is given the scenario's
  /// own name.
  std::string (*run)(Fixture& fixture, const char* name);
  /// Other outcomes that are fine when something fails; of pictures their size, where one may be
  /// made afresh.
  std::vector<std::string> alternatives = {};

  std::string Run(Fixture& fixture) const { return run(fixture, name); }
};

/// Scenarios about pictures, and about strings, data and arrays.
std::span<const Scenario> PictureScenarios();
std::span<const Scenario> TextScenarios();
