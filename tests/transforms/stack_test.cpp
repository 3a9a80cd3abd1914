// How much stack the methods take: hosts call on threads that have little.

#include <ucontext.h>

#include <algorithm>

#include "tests/transforms/pictures.h"
#include "transforms/kernels/variant_names.h"

namespace {

/// Bytes of a painted stack that run() leaves without paint.
template <class Run>
size_t StackBytesOf(Run& run) {
  static Run* running;
  running = &run;
  std::vector<uint8_t> stack(256 << 10, 0xA5);
  ucontext_t here, there;
  getcontext(&there);
  there.uc_stack.ss_sp = stack.data();
  there.uc_stack.ss_size = stack.size();
  there.uc_link = &here;
  makecontext(
      &there, [] { (*running)(); }, 0);
  swapcontext(&here, &there);
  return stack.end() - std::find_if(stack.begin(), stack.end(), [](int b) { return b != 0xA5; });
}

TEST(Stack, OfEveryMethodIsBounded) {
#ifdef VEL_SANITIZE
  GTEST_SKIP() << "sanitizers have frames of their own";
#endif
  Session session;
  session.host.log.enabled = false;
  // Large enough to be written past the cache, and turned before it is sheared.
  for (const auto rows : {sim::RowLayout::kContiguous, sim::RowLayout::kScattered}) {
    const auto picture = session.host.MakePicture(sim::Image(1200, 1150), {.rows = rows});
    for (const char* const kernels : velpicture::kVariantNames) {
      if (!session.Call<bool(const char*)>("SelectKernels", kernels)) continue;
      for (const sim::Method& method : session.plugin.methods()) {
        const std::vector<sim::Argument> arguments(method.RequiredArguments(), int64_t{120});
        const auto call = [&] { session.plugin.Call(method, picture.get(), arguments); };
        EXPECT_LE(StackBytesOf(call), 48U << 10) << method.name << ", " << kernels;
      }
    }
  }
}

}  // namespace
