#pragma once

// One simulated host with the plugin loaded into it, and the way of a picture through a row of
// method calls. There is one runner per process.

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/options.h"
#include "imaging/image.h"
#include "simulator/host.h"
#include "simulator/plugin.h"

namespace velhost {

using imaging::Image;

/// A method call whose name and arguments suit what the plugin registered.
struct PreparedCall {
  std::string text;
  const sim::Method* method;
  std::vector<sim::Argument> arguments;
  std::vector<std::string> texts;  ///< of the arguments that are strings, in their order

  /// Whether what it returns is neither a picture nor about one.
  bool MakesNumber() const;
};

/// What one call did.
struct Step {
  std::string result;  ///< "320 x 480", "true", "153048"
  double milliseconds;
  int hostCalls;
};

/// A picture that the host cannot hold, or a call that came back with null or false.
struct MethodFailed : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// "320 x 480"
std::string SizeText(int width, int height);

class MethodRunner {
 public:
  /// Starts the host and the plugin. Throws UserError or sim::PluginError when something is
  /// missing.
  explicit MethodRunner(const Options& options);

  /// Throws UserError or sim::PluginError, with what would be right, when the text is no such call.
  PreparedCall Prepare(const std::string& text) const;

  /// Makes `image` a picture of the host, runs the calls on it one after the other, each on the
  /// picture that the one before returned (or changed), and returns the last, with the metadata of
  /// `image`. Throws MethodFailed.
  /// `steps`, if given, gets one entry per call.
  Image Run(Image image, const std::vector<PreparedCall>& calls,
            std::vector<Step>* steps = nullptr);

  bool HasMethod(std::string_view name) const;
  /// False where the host's pictures have no alpha channel; Run then lays `image` over the
  /// background.
  bool KeepsAlpha() const { return keepsAlpha_; }
  /// Whether the host's pictures have fewer bits of alpha than some pixels of `image` need.
  bool RoundsAlpha(const Image& image) const;
  /// "console host 2012.01"
  const std::string& HostName() const { return hostName_; }
  const sim::Plugin& plugin() const { return plugin_; }
  sim::Host& host() { return host_; }

 private:
  Step RunOne(const PreparedCall& call, sim::Ref<sim::Picture>& picture);

  std::string hostName_;
  bool keepsAlpha_, sevenBits_, log_;
  sim::Rgba background_;
  sim::Host host_;
  sim::Plugin plugin_;
  std::vector<std::unique_ptr<sim::Plugin>> neighbours_;  ///< that it is linked with
};

}  // namespace velhost
