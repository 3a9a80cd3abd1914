#include "cli/method_runner.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <utility>

#include "cli/user_error.h"
#include "imaging/canvas.h"
#include "transforms/kernels/variant_names.h"

namespace velhost {
namespace {

// Below this version a host has no pictures with alpha channel.
constexpr double kAlphaSince = 2011.04;

const sim::HostKind& KindOf(const Options& options) {
  // One of them: no other name is taken from the command line.
  return *std::find_if(sim::kHostKinds, std::end(sim::kHostKinds) - 1,
                       [&options](const sim::HostKind& kind) { return kind.name == options.host; });
}

void InstallStorage(const Options& options) {
  const std::string missing = sim::InstallStorage(KindOf(options).opaque);
  if (missing.empty()) return;
  throw UserError("--host " + options.host + " cannot start: " + missing);
}

sim::Settings SettingsFor(const Options& options) {
  InstallStorage(options);
  const sim::HostKind& kind = KindOf(options);
  sim::Settings settings;
  settings.version = options.hostVersion;
  settings.application = kind.application;
  settings.newPictures = kind.opaque;
  settings.newAlphaPictures = kind.alpha;
  settings.allowLeaks = true;  // They are reported, not fatal.
  return settings;
}

std::string NameOf(const Options& options) {
  char text[64];
  std::snprintf(text, sizeof text, "%s host %.7g", options.host.c_str(), options.hostVersion);
  return text;
}

std::string PluginPath(const Options& options) {
  namespace fs = std::filesystem;
  std::error_code error;
  fs::path path = options.plugin;
  if (path.empty()) {
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    path = folder / "VelPicture.so";
    if (!fs::exists(path, error)) path = folder / VELHOST_PLUGIN_FOLDER / "VelPicture.so";
  }
  path = fs::absolute(path);
  if (!fs::exists(path, error)) {
    throw UserError("there is no plugin " + path.string() +
                    ": build it, or name one with --plugin FILE");
  }
  return path;
}

void SelectKernels(const sim::Plugin& plugin, const std::string& name) {
  auto* const select = plugin.Function<bool(const char*)>("SelectKernels");
  if (select == nullptr) {
    throw UserError("--kernels: this plugin has no choice of kernels; leave the option out");
  }
  if (!select(name.c_str())) {
    throw UserError("--kernels " + name + ": unknown, or this machine lacks it; there are" +
                    velpicture::kVariantList);
  }
}

}  // namespace

std::string SizeText(int width, int height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

bool PreparedCall::MakesNumber() const {
  return method->result != sim::Type::kPicture && method->result != sim::Type::kBoolean;
}

MethodRunner::MethodRunner(const Options& options)
    : hostName_(NameOf(options)),
      keepsAlpha_(KindOf(options).alpha != sim::StorageKind::kNone &&
                  options.hostVersion >= kAlphaSince),
      sevenBits_(KindOf(options).alpha == sim::StorageKind::kConsole),
      log_(options.log),
      background_(options.write.background),
      host_(SettingsFor(options)),
      plugin_(PluginPath(options)) {
  for (const std::string& neighbour : plugin_.Neighbours()) {
    neighbours_.push_back(std::make_unique<sim::Plugin>(neighbour));
    neighbours_.back()->Start(host_);
  }
  plugin_.Start(host_);
  const auto& unreadable = plugin_.unreadable();
  if (plugin_.methods().empty() && !unreadable.empty()) {
    throw sim::PluginError(unreadable.front().Text());
  }
  if (!options.kernels.empty()) SelectKernels(plugin_, options.kernels);
  if (log_) std::fputs(host_.log.Text().c_str(), stdout);
}

bool MethodRunner::HasMethod(std::string_view name) const {
  const auto& methods = plugin_.methods();
  return std::any_of(methods.begin(), methods.end(), [name](const sim::Method& method) {
    return sim::SameWord(method.name, name);
  });
}

PreparedCall MethodRunner::Prepare(const std::string& text) const {
  sim::CallText call;
  try {
    call = sim::ParseCall(text);
    const sim::Method& method = plugin_.Choose(call.name, call.arguments);
    return {text, &method, std::move(call.arguments), std::move(call.texts)};
  } catch (const sim::Unreadable& why) {
    throw UserError("-m \"" + text + "\": " + why.what());
  } catch (const sim::PluginError& error) {
    if (HasMethod(call.name)) throw;
    throw UserError(std::string(error.what()) + " --list shows all");
  }
}

bool MethodRunner::RoundsAlpha(const Image& image) const {
  return image.hasAlpha && keepsAlpha_ && sevenBits_ &&
         std::any_of(image.pixels.begin(), image.pixels.end(), [](const sim::Rgba& pixel) {
           // Of eight bits the last becomes what the last but one is.
           return ((pixel.alpha ^ pixel.alpha >> 1) & 1) != 0;
         });
}

Image MethodRunner::Run(Image image, const std::vector<PreparedCall>& calls,
                        std::vector<Step>* steps) {
  const bool alpha = image.hasAlpha && keepsAlpha_;
  if (image.hasAlpha && !alpha) image = imaging::Flattened(std::move(image), background_);
  sim::Ref<sim::Picture> picture = host_.MakePicture(image, alpha);
  if (!picture) {
    throw MethodFailed("the " + hostName_ + " cannot hold a picture of " +
                       SizeText(image.width, image.height) + ": give a smaller one");
  }
  imaging::Metadata metadata = std::move(image.metadata);
  image = {};  // Where addresses have 32 bits, large pictures leave no room for another copy.
  for (const PreparedCall& call : calls) {
    const Step step = RunOne(call, picture);
    if (steps != nullptr) steps->push_back(step);
  }
  image = Image(picture->Read(), picture->storage->alpha());
  image.metadata = std::move(metadata);
  return image;
}

Step MethodRunner::RunOne(const PreparedCall& call, sim::Ref<sim::Picture>& picture) {
  std::vector<sim::Argument> arguments = call.arguments;
  std::vector<sim::Ref<sim::String>> strings;
  for (sim::Argument& argument : arguments) {
    if (!std::holds_alternative<sim::String*>(argument)) continue;
    strings.push_back(host_.MakeString(call.texts[strings.size()], kEncodingUtf8));
    argument = strings.back().get();
  }
  host_.log.Clear();
  const auto start = std::chrono::steady_clock::now();
  sim::Result result = plugin_.Call(*call.method, picture.get(), arguments);
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
  if (log_) std::fputs(host_.log.Text().c_str(), stdout);

  Step step{{}, time.count(), host_.log.CallCount()};
  if (result.type == sim::Type::kBoolean) {
    if (!result.boolean) {
      throw MethodFailed(call.text + " returned false: the " + hostName_ +
                         " does not let this picture be changed in place");
    }
    step.result = "changed in place";
  } else if (call.MakesNumber()) {
    step.result = result.Describe();
  } else {
    if (!result.picture) {
      throw MethodFailed(call.text +
                         " returned no picture: a size that cannot be, or memory is short");
    }
    picture = std::move(result.picture);
    step.result = SizeText(picture->storage->width(), picture->storage->height());
  }
  return step;
}

}  // namespace velhost
