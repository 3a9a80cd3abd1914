#include "benchmarks/machine.h"

#include <cpuid.h>

#include <cstdint>
#include <cstring>

namespace velbench {
namespace {

constexpr uint32_t kHypervisorBit = 1u << 31;
constexpr uint32_t kFirstHypervisorLeaf = 0x40000000;
constexpr uint32_t kFirstBrandLeaf = 0x80000002;
constexpr uint32_t kLastBrandLeaf = 0x80000004;

// Whoever runs virtual machines signs here. An emulator that translates code, for one program or
// for a whole machine, signs thus; virtual machines on a real processor sign otherwise.
constexpr char kTranslatorSignature[] = "TCGTCGTCGTCG";

struct Leaf {
  uint32_t eax, ebx, ecx, edx;
};

Leaf Ask(uint32_t number) {
  Leaf leaf{};
  __cpuid(number, leaf.eax, leaf.ebx, leaf.ecx, leaf.edx);
  return leaf;
}

bool IsTranslated() {
  if ((Ask(1).ecx & kHypervisorBit) == 0) return false;
  const Leaf leaf = Ask(kFirstHypervisorLeaf);
  return std::memcmp(&leaf.ebx, kTranslatorSignature, 12) == 0;
}

std::string Brand() {
  std::string brand;
  for (uint32_t number = kFirstBrandLeaf; number <= kLastBrandLeaf; ++number) {
    const Leaf leaf = Ask(number);
    brand.append(reinterpret_cast<const char*>(&leaf), sizeof leaf);
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
  return {Brand(), IsTranslated() ? "emulated: the emulator's times, which say nothing of the "
                                    "processor's"
                                  : ""};
}

}  // namespace velbench
