// Whether an emulator that translates code runs this program, or the whole machine: C, and C++.
#include <cpuid.h>
#include <string.h>

// On processors that show a hypervisor, who runs the virtual machines signs in a leaf of its own:
// translators thus, virtual machines on a real processor otherwise.
static inline int is_translated(void) {
  unsigned eax, words[3];
  __cpuid(1, eax, words[0], words[1], words[2]);
  if ((words[1] & 1u << 31) == 0) return 0;
  __cpuid(0x40000000, eax, words[0], words[1], words[2]);
  return memcmp(words, "TCGTCGTCGTCG", sizeof words) == 0;
}
