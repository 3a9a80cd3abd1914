#include "benchmarks/machine.h"

#include <cstdint>
#include <cstring>

#include "tools/translator.h"

namespace velbench {
namespace {

constexpr uint32_t kFirstBrandLeaf = 0x80000002;
constexpr uint32_t kLastBrandLeaf = 0x80000004;

std::string Brand() {
  std::string brand;
  for (uint32_t number = kFirstBrandLeaf; number <= kLastBrandLeaf; ++number) {
    uint32_t leaf[4];
    __cpuid(number, leaf[0], leaf[1], leaf[2], leaf[3]);
    brand.append(reinterpret_cast<const char*>(leaf), sizeof leaf);
  }
  brand.resize(std::strlen(brand.c_str()));
  brand.erase(brand.find_last_not_of(' ') + 1);
  return brand;
}

}  // namespace

Machine ThisMachine() {
  if (sizeof(void*) == 8) {
    return {Brand(),
            "a 64-bit stand-in for the plugin, its kernels kept to eight vector registers"};
  }
  return {Brand(), is_translated() ? "emulated: the emulator's times, which say nothing of the "
                                     "processor's"
                                   : ""};
}

}  // namespace velbench
