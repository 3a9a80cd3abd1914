// Drives the plugin through a simulated host of arbitrary make: its version and kind, what it
// lacks, which call fails or throws, how its pictures lie in memory; with arbitrary pictures,
// angles, colours, strings and encodings. Results are compared with a plain model wherever nothing
// was disturbed, and the host's account must be even after every call.

#include "fuzz/fuzz_case.h"
#include "simulator/plugin_snapshot.h"
#include "tests/session.h"

namespace {

/// What a host may lack besides its entries.
constexpr const char* kOtherNames[] = {"Picture",
                                       "Width",
                                       "Height",
                                       "HasAlphaChannel",
                                       "Constructor(width as integer, height as integer)",
                                       "LenB( s as string ) as integer",
                                       "NilObjectException",
                                       "Message",
                                       "libcairo.so",
                                       "libcairo.so.2",
                                       "cairo_get_target",
                                       kDrawPicture};

/// What a host may lack: any entry or other name. Exceptions: what registers the methods, and what
/// alone gives a lock or a string back, since without it the ledger could not balance.
const std::vector<std::string>& MissableNames() {
  static const std::vector<std::string> names = [] {
    const std::set<std::string> indispensable = {
        "RegisterPluginVersion", "PluginRegisterClassExtension", "REALUnlockObject",
        "REALUnlockString",      "unlockPictureDescription",     "PluginDisposeStringData"};
    std::vector<std::string> all;
    for (const std::string& name : sim::EntryNames()) {
      if (!indispensable.contains(name)) all.push_back(name);
    }
    all.insert(all.end(), std::begin(kOtherNames), std::end(kOtherNames));
    return all;
  }();
  return names;
}

const bool hasCairo = sim::InstallStorage(sim::StorageKind::kCairo).empty();

sim::StorageKind PickStorage(Input& input, sim::StorageKind usual) {
  using enum sim::StorageKind;
  const int choice = input.Below(16);
  sim::StorageKind kind = choice == 0   ? kNone
                          : choice == 1 ? kConsole
                          : choice == 2 ? kCairo
                                        : usual;
  if (kind == kCairo && !hasCairo) kind = kConsole;
  return kind;
}

sim::Settings PickSettings(Input& input) {
  constexpr double kVersions[] = {0.0,     2010.028, 2010.029, 2011.03,
                                  2011.04, 2011.99,  2012.0,   2013.0};
  sim::Settings settings;
  const uint8_t version = input.Byte();
  settings.version = version < 224 ? kVersions[version % 8] : input.Next<double>();
  settings.application = static_cast<sim::AppKind>(input.Below(4));
  const auto usual = settings.application == sim::AppKind::kDesktop ? sim::StorageKind::kCairo
                                                                    : sim::StorageKind::kConsole;
  settings.newPictures = PickStorage(input, usual);
  settings.newAlphaPictures = PickStorage(input, usual);
  settings.rows = static_cast<sim::RowLayout>(input.Below(5));
  settings.extraStrideBytes = 4 * input.Below(5);
  const auto blank = input.Next<uint32_t>();
  settings.blank = {static_cast<uint8_t>(blank), static_cast<uint8_t>(blank >> 8),
                    static_cast<uint8_t>(blank >> 16), 255};
  settings.masks = !input.Flag();
  settings.graphics = input.Below(8) != 7;
  return settings;
}

struct LoadedPlugin {
  sim::Plugin plugin{PluginPath()};
  sim::PluginSnapshot fresh{plugin};
};

/// Loaded once and never unloaded: a fuzzer keeps looking at its coverage counters.
LoadedPlugin& TheLoadedPlugin() {
  static auto* const loaded = new LoadedPlugin;
  return *loaded;
}

}  // namespace

/// Called by a fuzzer before the first input, so that it counts the plugin's coverage from then on.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  TheLoadedPlugin();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  LoadedPlugin& loaded = TheLoadedPlugin();
  loaded.fresh.Restore();

  Input input(data, size);
  sim::Settings settings = PickSettings(input);
  bool disturbed = false;
  for (int lacking = input.Below(4); lacking > 1; --lacking) {
    const std::string& name = input.OneOf(MissableNames());
    settings.missing.insert(name);
    // Nothing needs a reference of its own.
    if (name != "REALLockObject" && name != "REALLockString") disturbed = true;
  }
  sim::Host host(std::move(settings));
  host.log.enabled = false;
  loaded.plugin.Start(host);
  if (input.Below(8) == 7) {
    host.faults.failing.insert(input.OneOf(MissableNames()));
    disturbed = true;
  }
  FuzzCase fuzzCase{host, loaded.plugin, input, disturbed};
  if (input.Below(4) == 3) {
    FuzzText(fuzzCase);
  } else {
    FuzzPictures(fuzzCase);
  }
  return 0;
}
