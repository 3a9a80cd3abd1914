// What the kernel starts for a 32-bit program on a machine that cannot run one itself: the emulator,
// told to offer every instruction set it knows (its default stops short of AVX2). The leak checker
// of the address sanitizer is switched off, since under the emulator it waits for ever, and its
// records of allocations are kept small, since writing them takes a tenth of all time.
#include <stdlib.h>
#include <unistd.h>

int main(int argc, char** argv) {
  (void)argc;
  setenv("QEMU_CPU", "max", 0);
  setenv("ASAN_OPTIONS", "detect_leaks=0:malloc_context_size=2:quarantine_size_mb=16", 0);
  execv("/usr/bin/qemu-i386-static", argv);
  return 126;
}
