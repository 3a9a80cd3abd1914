#include "transforms/kernels/kernels.h"

#include <cstring>

namespace velpicture {
namespace {

struct Variant {
  const char* name;
  const MoveKernels* moves;
  const ShearKernels* shears;
  bool (*runsHere)();
};

bool Always() { return true; }
// These ask the operating system too: a set counts only when its registers are kept for us.
bool HasAvx2() { return __builtin_cpu_supports("avx2"); }
bool HasAvx512() {
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
         __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq");
}

// Widest first.
constexpr Variant kVariants[] = {
    {"avx512", &avx512::kMoveKernels, &avx512::kShearKernels, HasAvx512},
    {"avx2", &avx2::kMoveKernels, &avx2::kShearKernels, HasAvx2},
    {"sse2", &sse2::kMoveKernels, &sse2::kShearKernels, Always},
    {"plain", &plain::kMoveKernels, &plain::kShearKernels, Always},
};

const KernelSet* selected = nullptr;

bool Take(const Variant& variant) {
  static KernelSet set;
  if (!variant.runsHere()) return false;
  set = {variant.name, *variant.moves, *variant.shears};
  selected = &set;
  return true;
}

}  // namespace

const KernelSet& SelectedKernels() {
  if (selected == nullptr) {
    for (const Variant& variant : kVariants) {
      if (Take(variant)) break;
    }
  }
  return *selected;
}

}  // namespace velpicture

bool SelectKernels(const char* name) {
  if (name == nullptr) return false;
  for (const velpicture::Variant& variant : velpicture::kVariants) {
    if (std::strcmp(variant.name, name) == 0) return velpicture::Take(variant);
  }
  return false;
}
