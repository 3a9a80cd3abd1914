#include "fuzz/fuzz_case.h"

#include <cstdio>
#include <cstdlib>

namespace {

/// Whether no x87 register is in use. None may be left over: they are a stack of eight, and later
/// results turn into NaNs when it is full.
bool X87StackIsEmpty() {
  struct {
    uint32_t control, status, tags, rest[4];
  } environment;
  // Storing the environment masks exceptions; loading it again undoes that.
  asm volatile("fnstenv %0\n\tfldenv %0" : "+m"(environment));
  return (environment.tags & 0xFFFF) == 0xFFFF;
}

}  // namespace

void FuzzCase::Require(bool holds, const std::string& what) const {
  if (holds) return;
  std::fprintf(stderr, "fuzz: %s\n", what.c_str());
  std::abort();
}

void FuzzCase::RequireBalance() const {
  const std::string imbalance = host.Imbalance();
  Require(imbalance.empty(), "out of balance:\n" + imbalance);
  Require(X87StackIsEmpty(), "floating-point registers left in use");
}

void FuzzCase::ArmFaults() {
  const int kind = input.Below(8);
  if (kind < 5) return;
  disturbed = true;
  const int number = 1 + input.Byte();
  if (kind == 5) host.faults.FailNth(number);
  if (kind == 6) host.faults.FailFrom(number);
  if (kind == 7) host.faults.ThrowNth(number);
}
