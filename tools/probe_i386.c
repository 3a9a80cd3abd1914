// Tells how this machine runs 32-bit programs, by its exit status: 0 itself, 3 through an emulator
// that translates them. Not starting at all is the third possibility.
#include <cpuid.h>
#include <string.h>

// On processors that show a hypervisor, this leaf holds its signature; translators sign thus.
static const unsigned kHypervisorLeaf = 0x40000000;
static const char kTranslator[] = "TCGTCGTCGTCG";

int main(void) {
  unsigned eax, words[3];
  __cpuid(1, eax, words[0], words[1], words[2]);
  if ((words[1] & 1u << 31) == 0) return 0;
  __cpuid(kHypervisorLeaf, eax, words[0], words[1], words[2]);
  return memcmp(words, kTranslator, sizeof words) == 0 ? 3 : 0;
}
