#include "benchmarks/cases.h"

#include <span>

namespace velbench {
namespace {

constexpr const char* kDrawnByHost = "drawn by the simulated host, whose time this is";
constexpr const char* kNoPixels = "touches no pixel";

constexpr MethodCase kMethods[] = {
    {"RotateVel(30)", Work::kRotate, false, 30, "", Sizes::kAll},
    {"RotateVel(29)", Work::kRotate, false, 29, "", Sizes::kSmall},
    {"RotateVel(20)", Work::kRotate, false, 20},
    {"RotateVel(-7)", Work::kRotate, false, -7},
    {"Rotate90Vel", Work::kQuarterLeft, false, 0, "", Sizes::kAll},
    {"Rotate180Vel", Work::kHalfTurn},
    {"Rotate270Vel", Work::kQuarterRight},
    {"MirrorVel", Work::kHalfTurn},
    {"VMirrorVel", Work::kFlip},
    {"HMirrorVel", Work::kMirror, false, 0, "", Sizes::kAll},
    {"MirrorPictureVel", Work::kHalfTurn, true},
    {"VMirrorPictureVel", Work::kFlip, true},
    {"HMirrorPictureVel", Work::kMirror, true},
    {"CloneVel", Work::kOwn, false, 0, kDrawnByHost},
    {"CloneVel(256, 256)", Work::kOwn, false, 0, kDrawnByHost},
    {"BitmapVel", Work::kOwn, false, 0, kNoPixels},
    {"RotateMemoryVel(30)", Work::kOwn, false, 0, kNoPixels},
};

constexpr StorageCase kStorages[] = {
    {"console", sim::kConsoleHost, false, 4},
    {"cairo-alpha", sim::kCairoHost, true, 4},
    {"cairo-opaque", sim::kCairoHost, false, 4},
    {"three-byte", sim::kGdkHost, false, 3},
};

// 4001 x 2999 because the strides of real pictures are multiples of 4 bytes and no more, 4096 x
// 4096 because its rows lie a power of two apart, where cache sets collide.
constexpr Size kSizes[] = {{32, 32},     {128, 128},   {256, 256},  {512, 512},
                           {1920, 1080}, {4001, 2999}, {4096, 4096}};
constexpr Size kQuickSizes[] = {{32, 32}, {512, 512}, {1920, 1080}};

bool Applies(const MethodCase& method, const StorageCase& storage, Size size) {
  // Pictures that can only be copied out refuse to be changed in place.
  if (method.inPlace && storage.host.opaque == sim::StorageKind::kGdk) return false;
  if (method.sizes == Sizes::kLarge) return !IsSmall(size);
  return method.sizes == Sizes::kAll || size.width <= 512;
}

}  // namespace

std::string NameOf(Size size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

const char* NameOf(Condition condition) { return condition == Condition::kWarm ? "warm" : "fresh"; }

std::string NameOf(const Group& group) {
  return NameOf(group.size) + "/" + group.storage->name + "/" + NameOf(group.condition);
}

std::vector<Group> SelectGroups(bool quick, const std::regex& filter) {
  std::vector<Group> groups;
  // All fresh ones first: a heap that has kept large blocks once goes on handing them out.
  for (const Condition condition : {Condition::kFresh, Condition::kWarm}) {
    for (const Size& size : quick ? std::span<const Size>(kQuickSizes) : kSizes) {
      // The C library keeps blocks this small, so they are never fresh for long.
      if (condition == Condition::kFresh && IsSmall(size)) continue;
      for (const StorageCase& storage : kStorages) {
        Group group = {&storage, size, condition, {}};
        for (const MethodCase& method : kMethods) {
          const std::string row = std::string(method.call) + "/" + NameOf(group);
          if (Applies(method, storage, size) && std::regex_search(row, filter)) {
            group.methods.push_back(&method);
          }
        }
        if (!group.methods.empty()) groups.push_back(std::move(group));
      }
    }
  }
  return groups;
}

}  // namespace velbench
