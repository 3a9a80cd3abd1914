// The host's account: what must be even between two calls of the plugin.

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <set>
#include <unordered_map>
#include <utility>

#include "simulator/entry_table.h"

namespace sim {
namespace {

std::string Counted(int count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// What of a picture's locks was not given back.
void AccountForLocks(const Picture& picture, std::vector<Discrepancy>& all) {
  const std::string name = picture.Name() + ": ";
  const int locks = picture.descriptionLocks;
  if (locks != 0) {
    all.push_back({Discrepancy::kLock,
                   name + "description left locked" + (locks == 1 ? "" : ", more than once"), locks,
                   picture.descriptionLockedAt});
  }
  const std::string more = picture.storage == nullptr ? "" : picture.storage->Imbalance();
  if (!more.empty()) all.push_back({Discrepancy::kLock, name + more});
  if (picture.owedUnlocks != 0) {
    all.push_back({Discrepancy::kLock,
                   name + "no unlock after a failed lock, which this host wants",
                   picture.owedUnlocks, picture.descriptionLockedAt});
  }
}

}  // namespace

std::unordered_map<const Handle*, int> Host::ExpectedReferences() const {
  std::unordered_map<const Handle*, int> expected;
  for (const auto& handle : handles_) {
    if (!handle->live()) continue;
    expected[handle.get()] += handle->heldOutside_;
    handle->VisitHeld([&](const Handle* held) {
      if (held != nullptr) ++expected[held];
    });
  }
  return expected;
}

void Host::AccountFor(const Handle& handle, int expected, std::vector<Discrepancy>& all) {
  const std::string name = handle.Name() + ": ";
  if (handle.references_ != expected) {
    all.push_back({Discrepancy::kReferences,
                   name + Counted(handle.references_, "reference") + ", " +
                       std::to_string(expected) + " expected",
                   handle.references_ - expected, handle.lockedAt_});
  }
  if (!handle.GuardsIntact()) {
    all.push_back({Discrepancy::kBounds, name + "written outside its bounds"});
  }
  if (handle.ShowsReferences() && handle.word3_ != handle.references_) {
    all.push_back({Discrepancy::kBounds, name + "its count of references was written to"});
  }
  if (const auto* const picture = dynamic_cast<const Picture*>(&handle)) {
    AccountForLocks(*picture, all);
  }
}

std::vector<Discrepancy> Host::Account() const {
  std::vector<Discrepancy> all;
  auto expected = ExpectedReferences();
  for (const auto& handle : handles_) {
    const bool isClass = dynamic_cast<const ClassRef*>(handle.get()) != nullptr;
    if (handle->live() && !isClass) AccountFor(*handle, expected[handle.get()], all);
  }
  if (ledger.borrowedStrings != 0) {
    all.push_back({Discrepancy::kBorrowed,
                   Counted(ledger.borrowedStrings, "borrowed string record") + " not given back",
                   ledger.borrowedStrings});
  }
  return all;
}

std::string Host::Imbalance() const {
  std::string text;
  for (const Discrepancy& each : Account()) text += each.text + "\n";
  std::multiset<std::string> lines;  // in an order of their own: addresses differ from run to run
  for (const auto& [address, allocation] : ledger.pluginAllocations) {
    lines.insert("the plugin holds an allocation of " + std::to_string(allocation.size) +
                 " bytes, made at " + PlaceInLibrary(allocation.site) + "\n");
  }
  return std::accumulate(lines.begin(), lines.end(), text);
}

std::vector<std::string> Host::TakeStaleCaches() {
  std::vector<std::string> names;
  for (Picture* const picture : LivePictures()) {
    if (std::exchange(picture->cacheIsStale, false)) names.push_back(picture->Name());
  }
  return names;
}

bool Host::AdmitPageCall(const char* name, const void* begin, size_t byteCount, int advice,
                         const void* callSite) {
  const CallScope scope(*this, name, callSite);
  const auto first = reinterpret_cast<uintptr_t>(begin), last = first + byteCount;
  for (const Picture* const picture : LivePictures()) {
    const Storage* const storage = picture->storage.get();
    if (storage != nullptr && storage->TouchesPages(first, WholePages(last)) &&
        !storage->CoversPages(first, last)) {
      Misuse("names pages that hold pixels of " + picture->Name() + " and something else");
    }
  }
  ledger.pageCalls.push_back({advice, byteCount});
  return !faults.Fails(name, now.site);
}

void Host::CheckFence(const void* address, const Ledger::Allocation& allocation) const {
  const auto* const fence = static_cast<const uint8_t*>(address) + allocation.size;
  if (IsGuard(fence, allocation.fence)) return;
  Misuse("the plugin wrote behind its own " + std::to_string(allocation.size) + " bytes, made at " +
         PlaceInLibrary(allocation.site));
}

void Host::CheckFences() const {
  for (const auto& [address, allocation] : ledger.pluginAllocations) {
    CheckFence(address, allocation);
  }
}

std::string PlaceInLibrary(const void* address) {
  Dl_info where;
  if (dladdr(address, &where) == 0 || where.dli_fname == nullptr) return "no library";
  const std::string_view path = where.dli_fname;
  char text[32];
  std::snprintf(text, sizeof text, "+0x%zx",
                static_cast<size_t>(static_cast<const char*>(address) -
                                    static_cast<const char*>(where.dli_fbase)));
  return std::string(path.substr(path.rfind('/') + 1)) + text;
}

void Host::CheckGuards(const Handle& handle) const {
  if (!handle.GuardsIntact()) Misuse(handle.Name() + " was written outside its bounds");
}

void Host::CheckGuards() const {
  for (const auto& handle : handles_) {
    if (handle->live()) CheckGuards(*handle);
  }
}

}  // namespace sim
