// Fresh memory: what the kernel is asked about the pages of new pictures. That every such call
// names pages of pixels only is the simulated host's to check: it stops the process otherwise.

#include <sys/mman.h>

#include <algorithm>
#include <cerrno>

#include "tests/transforms/pictures.h"

namespace {

using sim::PageCall;
using sim::RowLayout;
using sim::StorageKind;

constexpr int kPopulateWrite = 23;
constexpr int kPageBytes = sim::kPageBytes;
// Whole, they hold a huge page wherever they lie; half the sides make a large block, but not so
// large.
constexpr int kWidth = 1201, kHeight = 1203;

/// The common set-ups, and two whose pictures lie in more than one range of memory.
std::vector<PictureSetup> Setups() {
  using sim::AppKind;
  using enum StorageKind;
  const auto all = sim::PictureSetups();
  std::vector<PictureSetup> setups(all.begin(), all.end() - sim::kUncommonSetups);
  setups.push_back(
      {"console_halves", AppKind::kConsole, kConsole, kConsole, false, RowLayout::kHalves});
  setups.push_back({"cairo_pages_between_rows", AppKind::kDesktop, kCairo, kCairo, true,
                    RowLayout::kContiguous, 2 * kPageBytes + 12});
  return setups;
}

/// Ranges of a new picture that are long enough to be asked for.
size_t RangesOf(const PictureSetup& setup) {
  if (setup.rows == RowLayout::kHalves) return 2;
  return setup.rows == RowLayout::kScattered || setup.extraStrideBytes > kPageBytes ? 0 : 1;
}

const struct {
  const char* method;
  std::vector<sim::Argument> arguments;
  size_t newPictures;
} kCalls[] = {
    {"VMirrorVel", {}, 1}, {"Rotate90Vel", {}, 1}, {"RotateVel", {30.0, sim::Color{}}, 3}};

struct Outcome {
  sim::Image image;
  std::vector<PageCall> calls;
  int error;

  size_t Count(int advice) const { return std::ranges::count(calls, advice, &PageCall::advice); }
};

class FreshMemory : public testing::TestWithParam<PictureSetup> {
 protected:
  void SetUp() override {
    if (const std::string why = Install(GetParam()); !why.empty()) GTEST_SKIP() << why;
  }

  static Outcome Run(const auto& call, bool fresh, const char* failing = "", int divisor = 1) {
    sim::Settings settings = GetParam().SettingsAt(2012.0);
    settings.pagesMissing = fresh;
    settings.warmMemory = fresh;  // New pictures are not filled.
    Session session(settings);
    session.host.faults.failing = {failing};
    std::mt19937 random(1);
    const auto source =
        RandomPicture(session.host, GetParam(), kWidth / divisor, kHeight / divisor, random);
    errno = 0;
    const auto result = session.plugin.Call(call.method, source.get(), call.arguments);
    const int error = errno;
    return {result.picture->Read(), session.host.ledger.pageCalls, error};
  }
};

TEST_P(FreshMemory, IsAskedForWhereItIsMissing) {
  const bool ownBuffers = GetParam().target == StorageKind::kGdk;
  const size_t most = size_t{kWidth} * kHeight * (ownBuffers ? 3 : 4);
  for (const auto& call : kCalls) {
    SCOPED_TRACE(call.method);
    const Outcome fresh = Run(call, true), filled = Run(call, false);
    EXPECT_EQ(fresh.image.pixels, filled.image.pixels);
    size_t asked = 0;
    for (const PageCall& each : fresh.calls) {
      if (each.advice == kPopulateWrite) asked += each.byteCount;
    }
    // All but what lies in pages that the ends of a range share with others.
    const size_t ranges = RangesOf(GetParam()), least = most - 2 * kPageBytes * ranges;
    EXPECT_GE(asked, ranges == 0 ? 0 : call.newPictures * least);
    // The host fills its pictures, nobody the plugin's own buffers.
    EXPECT_EQ(filled.Count(PageCall::kAsk) == filled.calls.size(), !ownBuffers);
    // For huge pages first.
    for (size_t i = 0; i < fresh.calls.size(); ++i) {
      if (fresh.calls[i].advice != MADV_HUGEPAGE) continue;
      EXPECT_EQ(fresh.calls.at(i + 1).advice, kPopulateWrite);
      EXPECT_EQ(fresh.calls.at(i + 1).byteCount, fresh.calls[i].byteCount);
    }
    if (ranges < 2) {
      EXPECT_EQ(fresh.Count(MADV_HUGEPAGE), ranges * call.newPictures);
    }
    if (call.newPictures == 1) {
      const Outcome large = Run(call, true, "", 2);
      EXPECT_EQ(large.Count(MADV_HUGEPAGE), 0);
      EXPECT_EQ(large.Count(kPopulateWrite), ranges);
    }
    EXPECT_TRUE(Run(call, true, "", 12).calls.empty()) << "a small picture";

    // Once where the kernel refuses.
    for (const auto& [failing, refusedCall] :
         {std::pair("mincore", PageCall::kAsk), {"madvise", kPopulateWrite}}) {
      const Outcome refused = Run(call, true, failing);
      EXPECT_EQ(refused.image.pixels, fresh.image.pixels) << "without " << failing;
      EXPECT_NE(refused.error, EPERM);
      EXPECT_EQ(refused.Count(refusedCall), ranges == 0 ? 0 : call.newPictures) << failing;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Storages, FreshMemory, testing::ValuesIn(Setups()),
                         testing::PrintToStringParamName());

}  // namespace
