#include "transforms/kernels/kernels.h"

#include <cstring>

namespace velpicture {
namespace {

struct Variant {
  const Kernels* kernels;
  bool (*runsHere)();
};

// The operating system is asked too: a variant counts only when its registers are kept for us.
#define VEL_HAS(feature) (__builtin_cpu_supports(feature) != 0)
#define VEL_VARIANT(name, flags, runsHere) {&name::kKernels, [] { return runsHere; }},
constexpr Variant kVariants[] = {
#include "transforms/kernels/variants.def"
};
#undef VEL_VARIANT
#undef VEL_HAS

const Kernels* selected = nullptr;

}  // namespace

const Kernels& SelectedKernels() {
  for (const Variant& variant : kVariants) {
    if (selected == nullptr && variant.runsHere()) selected = variant.kernels;
  }
  return *selected;
}

}  // namespace velpicture

bool SelectKernels(const char* name) {
  for (const velpicture::Variant& variant : velpicture::kVariants) {
    if (name == nullptr || std::strcmp(variant.kernels->name, name) != 0) continue;
    if (!variant.runsHere()) return false;
    velpicture::selected = variant.kernels;
    return true;
  }
  return false;
}
