#include "benchmarks/method_timer.h"

#include <malloc.h>

#include <chrono>
#include <climits>
#include <filesystem>
#include <random>
#include <vector>

#include "benchmarks/three_byte_storage.h"
#include "transforms/kernels/variant_names.h"

namespace velbench {
namespace {

constexpr const char* kPluginPath = VEL_PLUGIN;

bool Select(const sim::Plugin& plugin, const std::string& name) {
  return plugin.Function<bool(const char*)>("SelectKernels")(name.c_str());
}

// Lets the C library treat large blocks as the host treats pictures, for the buffers of the plugin
// and the other libraries: straight from the kernel each time, or kept for the next.
void SetLargeBlocks(Condition condition) {
  constexpr int kMostBlocks = 65536, kLargeBytes = 128 << 10;
  const bool warm = condition == Condition::kWarm;
  mallopt(M_MMAP_THRESHOLD, kLargeBytes);
  mallopt(M_MMAP_MAX, warm ? 0 : kMostBlocks);
  mallopt(M_TRIM_THRESHOLD, warm ? INT_MAX : kLargeBytes);
  malloc_trim(0);
}

sim::Settings SettingsFor(const Group& group) {
  sim::Settings settings;
  settings.application = group.storage->host.application;
  settings.newPictures = group.storage->host.opaque;
  settings.newAlphaPictures = group.storage->host.alpha;
  settings.warmMemory = true;  // New pictures are not filled, in either condition.
  return settings;
}

sim::Ref<sim::Picture> NoisyPicture(sim::Host& host, const Group& group) {
  auto picture = sim::Ref<sim::Picture>::Adopt(
      host.NewPicture(group.size.width, group.size.height, group.storage->alpha));
  if (!picture) throw std::runtime_error("memory is short for a picture of " + NameOf(group.size));
  // One row of noise, begun elsewhere in each row of the picture.
  std::mt19937 random(1);
  constexpr int kShifts = 64;
  std::vector<sim::Rgba> noise(static_cast<size_t>(group.size.width) + kShifts);
  for (sim::Rgba& pixel : noise) {
    const uint32_t bits = random();
    pixel = {static_cast<uint8_t>(bits), static_cast<uint8_t>(bits >> 8),
             static_cast<uint8_t>(bits >> 16), static_cast<uint8_t>(bits >> 24)};
  }
  for (int y = 0; y < group.size.height; ++y) picture->storage->WriteRow(y, &noise[y % kShifts]);
  return picture;
}

}  // namespace

std::string PrepareStorage(sim::StorageKind kind) {
  if (kind != sim::StorageKind::kGdk) return sim::InstallStorage(kind);
  InstallThreeByteStorage();
  const sim::Plugin plugin(kPluginPath, false);
  return HandOutThreeBytePixels(plugin) ? "" : "GDK 2 is missing";
}

Build FindBuild(const std::string& file, const std::string& kernels) {
  const std::string path = file.empty() ? kPluginPath : std::filesystem::absolute(file).string();
  const sim::Plugin plugin(path, false);
  for (const char* const name : velpicture::kVariantNames) {
    if ((kernels.empty() || kernels == name) && Select(plugin, name)) return {path, name};
  }
  throw std::runtime_error("--kernels " + kernels + ": unknown" +
                           (file.empty() ? "" : " to " + file) +
                           ", or this machine lacks it; there are" + velpicture::kVariantList);
}

MethodTimer::MethodTimer(const Group& group, const std::vector<Build>& builds)
    : host_(SettingsFor(group)) {
  SetLargeBlocks(group.condition);
  host_.log.enabled = false;
  host_.memory.warm = group.condition == Condition::kWarm;
  for (const Build& build : builds) {
    plugins_.push_back(std::make_unique<sim::Plugin>(build.path, false));
    const sim::Plugin& plugin = *plugins_.back();
    plugins_.back()->Start(host_);
    Select(plugin, build.kernels);
    if (group.storage->host.opaque == sim::StorageKind::kGdk) HandOutThreeBytePixels(plugin);
  }
  picture_ = NoisyPicture(host_, group);
}

std::optional<double> MethodTimer::Run(const MethodCase& method, size_t build) {
  const sim::Plugin& plugin = *plugins_[build];
  const auto call = sim::ParseCall(method.call);
  const sim::Method& declared = plugin.Choose(call.name, call.arguments);
  const double convertingBefore = SecondsConverting();
  const auto start = std::chrono::steady_clock::now();
  bool done = false;
  {
    const sim::Result result = plugin.Call(declared, picture_.get(), call.arguments);
    done = result.boolean || result.picture || result.integer != 0;
  }
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  if (!done) return std::nullopt;
  // Drawing is the host's in every storage, and is left in.
  const bool drawn = method.work == Work::kOwn;
  return time.count() - (drawn ? 0 : SecondsConverting() - convertingBefore);
}

}  // namespace velbench
